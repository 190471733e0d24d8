// SPDX-License-Identifier: Apache-2.0
// The display controller: free run and output timing.
#include "vset/disp.h"
#include "vset_call.h"
#include "vset_family.h"
#include "vset_folder.h"

namespace vset {

namespace {

constexpr unsigned int kInstances = 1;
constexpr unsigned int kFirstUnsupported = 40;  // the panel shows the timings below this one

struct State {
    disp::Controller controller;  // without the handles' state
    std::array<bool, disp::kTimings> supported;
};

class ControllerModel : public StatefulModel<State> {
public:
    ControllerModel() : StatefulModel(FamilyId::dispController, "HW_DISP_CONTROLLER") {}

protected:
    void reset() override {
        locked([](State& state) {
            state = {};
            std::fill_n(state.supported.begin(), kFirstUnsupported, true);
        });
        HW_Handle_t hPlayers = HW_HANDLE_NONE;
        handles().open(0, &hPlayers, true);
    }
};
ControllerModel& model = *new ControllerModel;

HW_Result_t judge(const HW_DISP_ControllerParams_t* pstParams, const HW_Handle_t* phController) {
    return checkInstanceNumber(systemReadiness(), pstParams, &HW_DISP_ControllerParams_t::u32Index, kInstances,
                               phController);
}

HW_Result_t setAttr(HW_Handle_t hController, HW_U32 u32Attr, const void* pParam) {
    if (!model.handles().key(hController)) {
        return HW_ERR_INVALID_HANDLE;
    }
    if (u32Attr != E_HW_DISP_CONTROL_FREE_RUN) {
        return HW_ERR_NOT_SUPPORT;
    }
    if (pParam == nullptr) {
        return HW_ERR_INVALID_PARAMETER;
    }
    model.locked([&](State& state) { state.controller.s32FreeRun = *static_cast<const HW_S32*>(pParam); });
    return HW_OK;
}

HW_Result_t setTiming(HW_Handle_t hController, HW_U32 u32Timing) {
    if (!model.handles().key(hController)) {
        return HW_ERR_INVALID_HANDLE;
    }
    if (u32Timing >= disp::kTimings) {
        return HW_ERR_INVALID_PARAMETER;
    }
    return model.locked([&](State& state) -> HW_Result_t {
        if (!state.supported[u32Timing]) {
            return HW_ERR_NOT_SUPPORT;
        }
        state.controller.u32Timing = u32Timing;
        return HW_OK;
    });
}

}  // namespace

}  // namespace vset

using vset::model;

HW_Result_t HW_DISP_GetController(const HW_DISP_ControllerParams_t* pstParams, HW_Handle_t* phController) {
    return vset::call(__func__, {pstParams, phController}, [&]() -> HW_Result_t {
        const HW_Result_t result = vset::judge(pstParams, phController);
        return result == HW_OK ? model.handles().find(pstParams->u32Index, phController) : result;
    });
}

HW_Result_t HW_DISP_OpenController(const HW_DISP_ControllerParams_t* pstParams, HW_Handle_t* phController) {
    return vset::call(__func__, {pstParams, phController}, [&]() -> HW_Result_t {
        const HW_Result_t result = vset::judge(pstParams, phController);
        return result == HW_OK ? model.handles().open(pstParams->u32Index, phController) : result;
    });
}

HW_Result_t HW_DISP_CloseController(HW_Handle_t hController) {
    return vset::call(__func__, {hController}, [&]() -> HW_Result_t { return model.handles().close(hController); });
}

HW_Result_t HW_DISP_SetControlAttr(HW_Handle_t hController, HW_U32 u32Attr, const void* pParam) {
    return vset::call(__func__, {hController, u32Attr, pParam},
                      [&]() -> HW_Result_t { return vset::setAttr(hController, u32Attr, pParam); });
}

HW_Result_t HW_DISP_SetOutputTiming(HW_Handle_t hController, HW_U32 u32Timing) {
    return vset::call(__func__, {hController, u32Timing},
                      [&]() -> HW_Result_t { return vset::setTiming(hController, u32Timing); });
}

// --- Control API -----------------------------------------------------------------------------------------------------

namespace vset::disp {

Controller controller() {
    requireSet();
    Controller stController = model.locked([](const State& state) { return state.controller; });
    if (const auto instance = model.handles().instance(0)) {
        stController.bOpen = true;
        stController.bPlayer = instance->bPlayer;
    }
    return stController;
}

void holdController() {
    requireSet();
    model.hold(0, "display controller");
}

void releaseController() {
    requireSet();
    model.release(0, "display controller");
}

void setTimingSupported(unsigned int u32Timing, bool bSupported) {
    requireSet();
    if (u32Timing >= kTimings) {
        throw SetError("output timing " + std::to_string(u32Timing) + ": there are only " + std::to_string(kTimings));
    }
    model.locked([&](State& state) { state.supported[u32Timing] = bSupported; });
}

}  // namespace vset::disp
