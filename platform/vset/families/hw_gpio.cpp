// SPDX-License-Identifier: Apache-2.0
// Pads.
#include "hw3/hw_gpio.h"

#include <algorithm>
#include <array>
#include <deque>
#include <mutex>

#include "vset/gpio.h"
#include "vset_call.h"
#include "vset_family.h"
#include "vset_folder.h"

namespace vset {

namespace {

struct PadState {
    bool bOutput = false;
    bool bInverted = false;
    bool bBroken = false;
    unsigned char u8Wired = 0;
    unsigned char u8Driven = 0;
    std::uint64_t u64Reads = 0;
    std::deque<unsigned char> script;

    unsigned char level() const { return bOutput ? u8Driven : u8Wired; }
};

// The pads' model. The key of a handle is its pad.
class GpioModel : public FamilyModel {
public:
    GpioModel() : FamilyModel(FamilyId::gpio, "HW_GPIO") {}

    // Runs `body` on a pad's state.
    template <class Body>
    auto withPad(std::uint64_t u64Pad, Body&& body) {
        const std::lock_guard<std::mutex> lock(_mutex);
        return body(_pads[u64Pad]);
    }

protected:
    void reset() override {
        const std::lock_guard<std::mutex> lock(_mutex);
        _pads.fill({});
    }

private:
    std::mutex _mutex;
    std::array<PadState, gpio::kPads> _pads;
};
GpioModel& model = *new GpioModel;

HW_Result_t readPad(PadState& stPad, HW_U8* pu8Level, HW_U8* pu8Inverted) {
    if (stPad.bBroken) {
        return HW_ERR_FAILED;
    }
    ++stPad.u64Reads;
    if (!stPad.script.empty()) {
        stPad.u8Wired = stPad.script.front();
        stPad.script.pop_front();
    }
    *pu8Level = stPad.level();
    *pu8Inverted = stPad.bInverted ? 1 : 0;
    return HW_OK;
}

void requirePad(unsigned int u32Pad) {
    requireSet();
    if (u32Pad >= gpio::kPads) {
        throw SetError("pad " + std::to_string(u32Pad) + ": there are only " + std::to_string(gpio::kPads));
    }
}

void requireLevel(unsigned char u8Level) {
    if (u8Level > 1) {
        throw SetError("level " + std::to_string(u8Level) + ": a pad is at 0 or 1");
    }
}

}  // namespace

}  // namespace vset

using vset::model;

HW_Result_t HW_GPIO_GetHandle(const HW_GPIO_HandleParams_t* pstParams, HW_Handle_t* phGpio) {
    return vset::call(__func__, {pstParams, phGpio}, [&]() -> HW_Result_t {
        const HW_Result_t result = vset::checkInstanceNumber(
            vset::systemReadiness(), pstParams, &HW_GPIO_HandleParams_t::u32PadNum, vset::gpio::kPads, phGpio);
        return result == HW_OK ? model.handles().find(pstParams->u32PadNum, phGpio) : result;
    });
}

HW_Result_t HW_GPIO_Open(const HW_GPIO_OpenParams_t* pstParams, HW_Handle_t* phGpio) {
    return vset::call(__func__, {pstParams, phGpio}, [&]() -> HW_Result_t {
        const HW_Result_t result = vset::checkInstanceNumber(
            vset::systemReadiness(), pstParams, &HW_GPIO_OpenParams_t::u32PadNum, vset::gpio::kPads, phGpio);
        return result == HW_OK ? model.handles().open(pstParams->u32PadNum, phGpio) : result;
    });
}

HW_Result_t HW_GPIO_Close(HW_Handle_t hGpio) {
    return vset::call(__func__, {hGpio}, [&]() -> HW_Result_t { return model.handles().close(hGpio); });
}

HW_Result_t HW_GPIO_SetOutput(HW_Handle_t hGpio, HW_U32 u32Level) {
    return vset::call(__func__, {hGpio, u32Level}, [&]() -> HW_Result_t {
        const auto pad = model.handles().key(hGpio);
        if (!pad) {
            return HW_ERR_INVALID_HANDLE;
        }
        if (u32Level > 1) {
            return HW_ERR_INVALID_PARAMETER;
        }
        model.withPad(*pad, [&](vset::PadState& stPad) {
            stPad.bOutput = true;
            stPad.u8Driven = static_cast<unsigned char>(u32Level);
        });
        return HW_OK;
    });
}

HW_Result_t HW_GPIO_GetInput(HW_Handle_t hGpio, HW_U8* pu8Level, HW_U8* pu8Inverted) {
    return vset::call(__func__, {hGpio, pu8Level, pu8Inverted}, [&]() -> HW_Result_t {
        const auto pad = model.handles().key(hGpio);
        if (!pad) {
            return HW_ERR_INVALID_HANDLE;
        }
        if (pu8Level == nullptr || pu8Inverted == nullptr) {
            return HW_ERR_INVALID_PARAMETER;
        }
        return model.withPad(*pad, [&](vset::PadState& stPad) { return vset::readPad(stPad, pu8Level, pu8Inverted); });
    });
}

// --- Control API -----------------------------------------------------------------------------------------------------

namespace vset::gpio {

Pad pad(unsigned int u32Pad) {
    requirePad(u32Pad);
    const std::optional<OpenHandle> handle = model.handles().instance(u32Pad);
    Pad stShown;
    stShown.bOpen = handle.has_value();
    stShown.bPlayer = handle && handle->bPlayer;
    model.withPad(u32Pad, [&](const PadState& stPad) {
        stShown.bOutput = stPad.bOutput;
        stShown.bInverted = stPad.bInverted;
        stShown.bBroken = stPad.bBroken;
        stShown.u8Wired = stPad.u8Wired;
        stShown.u8Level = stPad.level();
        stShown.u64Reads = stPad.u64Reads;
    });
    return stShown;
}

void drive(unsigned int u32Pad, unsigned char u8Level) {
    requirePad(u32Pad);
    requireLevel(u8Level);
    model.withPad(u32Pad, [&](PadState& stPad) {
        stPad.script.clear();
        stPad.u8Wired = u8Level;
    });
}

void play(unsigned int u32Pad, const std::vector<unsigned char>& levels) {
    requirePad(u32Pad);
    std::for_each(levels.begin(), levels.end(), requireLevel);
    model.withPad(u32Pad, [&](PadState& stPad) { stPad.script.assign(levels.begin(), levels.end()); });
}

void setInverted(unsigned int u32Pad, bool bInverted) {
    requirePad(u32Pad);
    model.withPad(u32Pad, [&](PadState& stPad) { stPad.bInverted = bInverted; });
}

void setBroken(unsigned int u32Pad, bool bBroken) {
    requirePad(u32Pad);
    model.withPad(u32Pad, [&](PadState& stPad) { stPad.bBroken = bBroken; });
}

void hold(unsigned int u32Pad) {
    requirePad(u32Pad);
    model.hold(u32Pad, "pad " + std::to_string(u32Pad));
}

void release(unsigned int u32Pad) {
    requirePad(u32Pad);
    model.release(u32Pad, "pad " + std::to_string(u32Pad));
}

}  // namespace vset::gpio
