// SPDX-License-Identifier: Apache-2.0
// Capture of a display window's picture into the set's memory.
#include "hw3/hw_cap.h"

#include <algorithm>
#include <cstring>

#include "emulated_memory.h"
#include "panel_picture.h"
#include "vset/cap.h"
#include "vset/panel.h"
#include "vset_call.h"
#include "vset_family.h"
#include "vset_folder.h"

namespace vset {

namespace {

constexpr const char* kName = "capture unit";
constexpr HW_U32 kPitch = panel::kWidth * sizeof(std::uint32_t);
constexpr HW_U32 kPictureSize = kPitch * panel::kHeight;

struct State {
    cap::Unit unit;  // without the handle's state
    Picture lastPicture;
};

// The model of the one unit. The key of its handle is 0.
class CapModel : public StatefulModel<State> {
public:
    CapModel() : StatefulModel(FamilyId::cap, "HW_CAP") {}

    std::optional<unsigned int> window() {
        return locked([](const State& state) { return state.unit.window; });
    }
    void disconnect() {
        locked([](State& state) { state.unit.window.reset(); });
    }
};
CapModel& model = *new CapModel;

HW_Result_t openUnit(const HW_CAP_OpenParams_t* pstParams, HW_Handle_t* phCap) {
    const auto isZero = [](HW_U8 u8Byte) { return u8Byte == 0; };
    if (pstParams == nullptr || phCap == nullptr ||
        !std::all_of(std::begin(pstParams->au8Reserved), std::end(pstParams->au8Reserved), isZero)) {
        return HW_ERR_INVALID_PARAMETER;
    }
    const HW_Result_t result = systemReadiness();
    return result == HW_OK ? model.handles().open(0, phCap) : result;
}

HW_Result_t closeUnit(HW_Handle_t hCap) {
    const HW_Result_t result = model.handles().close(hCap);
    if (result == HW_OK) {
        model.disconnect();
    }
    return result;
}

// Runs `body` on the number of an open window.
template <class Body>
HW_Result_t withWindow(HW_Handle_t hCap, HW_Handle_t hDisp, Body&& body) {
    const auto window = displayWindowOf(hDisp);
    if (!model.handles().key(hCap) || !window) {
        return HW_ERR_INVALID_HANDLE;
    }
    return model.locked([&](State& state) -> HW_Result_t { return body(state.unit.window, *window); });
}

HW_Result_t connect(std::optional<unsigned int>& connected, unsigned int u32Window,
                    const HW_CAP_ConnectParams_t* pstParams) {
    if (pstParams == nullptr || pstParams->u32Reserved != 0) {
        return HW_ERR_INVALID_PARAMETER;
    }
    if (connected) {
        return HW_ERR_BUSY;
    }
    connected = u32Window;
    return HW_OK;
}

HW_Result_t disconnect(std::optional<unsigned int>& connected, unsigned int u32Window) {
    if (connected != u32Window) {
        return HW_ERR_FAILED;
    }
    connected.reset();
    return HW_OK;
}

// --- Captures --------------------------------------------------------------------------------------------------------

bool isValid(const HW_CAP_Description_t& stDescription) {
    const bool bReserved = std::any_of(std::begin(stDescription.au32Reserved), std::end(stDescription.au32Reserved),
                                       [](HW_U32 u32Word) { return u32Word != 0; });
    return !bReserved && stDescription.u32Format == E_HW_CAP_FORMAT_2 && stDescription.u32Width == panel::kWidth &&
           stDescription.u32Height == panel::kHeight && stDescription.u32Flag <= 1;
}

Picture take(unsigned int u32Window, bool bWithOsd) {
    Picture picture = blackPicture(panel::kWidth, panel::kHeight);
    paintDisplayWindow(u32Window, picture);
    if (bWithOsd) {
        paintOsd(picture);
    }
    return picture;
}

HW_Result_t capture(HW_Handle_t hCap, const HW_CAP_Description_t* pstDescription, HW_CAP_Result_t* pstResult) {
    if (!model.handles().key(hCap)) {
        return HW_ERR_INVALID_HANDLE;
    }
    if (pstDescription == nullptr || pstResult == nullptr) {
        return HW_ERR_INVALID_PARAMETER;
    }
    const auto window = model.window();
    if (!window) {
        return HW_ERR_FAILED;
    }
    const auto buffer = emulatedMemory.hostRange(pstDescription->u64VirtAddr, pstDescription->u32BufferSize);
    if (!isValid(*pstDescription) || !buffer) {
        return HW_ERR_INVALID_PARAMETER;
    }
    if (pstDescription->u32BufferSize < kPictureSize) {
        return HW_ERR_LIMITION;
    }
    const bool bWithOsd = pstDescription->u32Flag == 1;
    Picture picture = take(*window, bWithOsd);
    std::memcpy(buffer.get(), picture.pixels.data(), kPictureSize);
    model.locked([&](State& state) {
        ++state.unit.u64Captures;
        state.unit.bWithOsd = bWithOsd;
        state.lastPicture = std::move(picture);
    });
    *pstResult = {panel::kWidth, panel::kHeight, kPitch, kPictureSize};
    return HW_OK;
}

}  // namespace

}  // namespace vset

HW_Result_t HW_CAP_Open(const HW_CAP_OpenParams_t* pstParams, HW_Handle_t* phCap) {
    return vset::call(__func__, {pstParams, phCap}, [&]() -> HW_Result_t { return vset::openUnit(pstParams, phCap); });
}

HW_Result_t HW_CAP_Close(HW_Handle_t hCap) {
    return vset::call(__func__, {hCap}, [&]() -> HW_Result_t { return vset::closeUnit(hCap); });
}

HW_Result_t HW_CAP_ConnectInput(HW_Handle_t hCap, HW_Handle_t hDisp, const HW_CAP_ConnectParams_t* pstParams) {
    return vset::call(__func__, {hCap, hDisp, pstParams}, [&]() -> HW_Result_t {
        return vset::withWindow(hCap, hDisp, [&](std::optional<unsigned int>& connected, unsigned int u32Window) {
            return vset::connect(connected, u32Window, pstParams);
        });
    });
}

HW_Result_t HW_CAP_DisconnectInput(HW_Handle_t hCap, HW_Handle_t hDisp) {
    return vset::call(__func__, {hCap, hDisp},
                      [&]() -> HW_Result_t { return vset::withWindow(hCap, hDisp, vset::disconnect); });
}

HW_Result_t HW_CAP_CaptureOne(HW_Handle_t hCap, const HW_CAP_Description_t* pstDescription,
                              HW_CAP_Result_t* pstResult) {
    return vset::call(__func__, {hCap, pstDescription, pstResult},
                      [&]() -> HW_Result_t { return vset::capture(hCap, pstDescription, pstResult); });
}

// --- Control API -----------------------------------------------------------------------------------------------------

namespace vset::cap {

Unit unit() {
    requireSet();
    Unit stUnit = model.locked([](const State& state) { return state.unit; });
    if (const auto instance = model.handles().instance(0)) {
        stUnit.bOpen = true;
        stUnit.bPlayer = instance->bPlayer;
    }
    return stUnit;
}

Picture lastPicture() {
    requireSet();
    return model.locked([](const State& state) { return state.lastPicture; });
}

void hold() {
    requireSet();
    model.hold(0, kName);
}

void release() {
    requireSet();
    model.release(0, kName);
    model.disconnect();
}

}  // namespace vset::cap
