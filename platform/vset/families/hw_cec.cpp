// SPDX-License-Identifier: Apache-2.0
// CEC and eARC.
#include "hw3/hw_cec.h"

#include <atomic>

#include "vset/cec.h"
#include "vset_call.h"
#include "vset_family.h"
#include "vset_folder.h"

namespace {

// The model of the one instance. The key of its handle is 0.
class CecModel : public vset::FamilyModel {
public:
    CecModel() : FamilyModel(vset::FamilyId::cec, "HW_CEC") {}

    std::atomic<bool> bEnabled{false};
    std::atomic<int> s32EarcStatus{0};

protected:
    void reset() override {
        bEnabled = false;
        s32EarcStatus = 0;
    }
};
CecModel& model = *new CecModel;

HW_Result_t enable(HW_Handle_t hCec, bool bEnable) {
    if (!model.handles().key(hCec)) {
        return HW_ERR_INVALID_HANDLE;
    }
    model.bEnabled = bEnable;
    return HW_OK;
}

}  // namespace

HW_Result_t HW_CEC_Init(const HW_CEC_InitParams_t* pstParams) {
    return vset::call(__func__, {pstParams}, [&]() -> HW_Result_t { return model.initialise(pstParams); });
}

HW_Result_t HW_CEC_GetHandle(const HW_CEC_HandleParams_t* pstParams, HW_Handle_t* phCec) {
    return vset::call(__func__, {pstParams, phCec}, [&]() -> HW_Result_t {
        const HW_Result_t result =
            vset::checkInstanceNumber(model.readiness(), pstParams, &HW_CEC_HandleParams_t::u32Index, 1, phCec);
        return result == HW_OK ? model.handles().find(0, phCec) : result;
    });
}

HW_Result_t HW_CEC_Open(const HW_CEC_OpenParams_t* pstParams, HW_Handle_t* phCec) {
    return vset::call(__func__, {pstParams, phCec}, [&]() -> HW_Result_t {
        const HW_Result_t result =
            vset::checkInstanceNumber(model.readiness(), pstParams, &HW_CEC_OpenParams_t::u32Index, 1, phCec);
        return result == HW_OK ? model.handles().open(0, phCec) : result;
    });
}

HW_Result_t HW_CEC_Close(HW_Handle_t hCec) {
    return vset::call(__func__, {hCec}, [&]() -> HW_Result_t { return model.handles().close(hCec); });
}

HW_Result_t HW_CEC_Enable(HW_Handle_t hCec) {
    return vset::call(__func__, {hCec}, [&]() -> HW_Result_t { return enable(hCec, true); });
}

HW_Result_t HW_CEC_Disable(HW_Handle_t hCec) {
    return vset::call(__func__, {hCec}, [&]() -> HW_Result_t { return enable(hCec, false); });
}

HW_Result_t HW_CEC_GetAttr(HW_Handle_t hCec, HW_U32 u32Attr, const void* pInput, void* pOutput) {
    return vset::call(__func__, {hCec, u32Attr, pInput, pOutput}, [&]() -> HW_Result_t {
        if (!model.handles().key(hCec)) {
            return HW_ERR_INVALID_HANDLE;
        }
        if (u32Attr != E_HW_CEC_ATTR_ENABLE_STATUS && u32Attr != E_HW_CEC_ATTR_EARC_STATUS) {
            return HW_ERR_NOT_SUPPORT;
        }
        if (pInput != nullptr || pOutput == nullptr) {
            return HW_ERR_INVALID_PARAMETER;
        }
        if (u32Attr == E_HW_CEC_ATTR_ENABLE_STATUS) {
            *static_cast<HW_S8*>(pOutput) = model.bEnabled ? 1 : 0;
        } else {
            *static_cast<HW_S32*>(pOutput) = model.s32EarcStatus;
        }
        return HW_OK;
    });
}

// --- Control API -----------------------------------------------------------------------------------------------------

namespace vset::cec {

Cec state() {
    requireSet();
    const std::optional<OpenHandle> handle = model.handles().instance(0);
    return {handle.has_value(), handle && handle->bPlayer, model.bEnabled, model.s32EarcStatus};
}

void setEnabled(bool bEnabled) {
    requireSet();
    model.bEnabled = bEnabled;
}

void setEarcStatus(int s32Status) {
    requireSet();
    model.s32EarcStatus = s32Status;
}

void hold() {
    requireSet();
    model.hold(0, "CEC");
}

void release() {
    requireSet();
    model.release(0, "CEC");
}

}  // namespace vset::cec
