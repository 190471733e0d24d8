// SPDX-License-Identifier: Apache-2.0
// The driver layer: the values that the drivers were sent.
#include "vset/dval.h"

#include <mutex>

#include "dval/dval.h"
#include "dval/dvvdo.h"
#include "vset_call.h"
#include "vset_family.h"

namespace vset {

namespace {

// The driver layer's model, which has no handles.
class DvalModel : public FamilyModel {
public:
    DvalModel() : FamilyModel(FamilyId::dval, "DVAL") {}

    // Runs `body` on the drivers' values of a window, of which there is one.
    template <class Body>
    DVAL_Result_t withDrivers(unsigned int u32Window, Body&& body) {
        if (u32Window != 0) {
            return HW_ERR_INVALID_PARAMETER;
        }
        if (readiness() != HW_OK) {
            return HW_ERR_NOT_INITED;
        }
        const std::lock_guard<std::mutex> lock(_mutex);
        body(_drivers);
        return HW_OK;
    }
    dval::Drivers drivers() {
        const std::lock_guard<std::mutex> lock(_mutex);
        return _drivers;
    }

protected:
    void reset() override {
        const std::lock_guard<std::mutex> lock(_mutex);
        _drivers = {};
    }

private:
    std::mutex _mutex;
    dval::Drivers _drivers;
};
DvalModel& model = *new DvalModel;

bool isArgument(unsigned int u32Arg) {
    switch (u32Arg) {
        case E_DVVDO_ARG_0:
        case E_DVVDO_ARG_1:
        case E_DVVDO_ARG_2:
        case E_DVVDO_ARG_3:
        case E_DVVDO_ARG_5:
        case E_DVVDO_ARG_21:
            return true;
        default:
            return false;
    }
}

}  // namespace

}  // namespace vset

using vset::model;
using vset::dval::Drivers;

DVAL_Result_t DVAL_Init() {
    return vset::call(__func__, {}, []() -> DVAL_Result_t {
        const HW_Result_t result = model.initialise();
        // A second call succeeds, unlike the middleware's Init.
        return result == HW_HAS_INITED ? DVAL_Result_t{HW_OK} : result;
    });
}

DVAL_Result_t DVVDO_Reset(unsigned int u32Window) {
    return vset::call(__func__, {u32Window}, [&]() -> DVAL_Result_t {
        return model.withDrivers(u32Window, [](Drivers& drivers) { ++drivers.u64Resets; });
    });
}

DVAL_Result_t DVVDO_SetArg(unsigned int u32Window, unsigned int u32Arg, unsigned int u32Value) {
    return vset::call(__func__, {u32Window, u32Arg, u32Value}, [&]() -> DVAL_Result_t {
        const DVAL_Result_t result = model.withDrivers(u32Window, [&](Drivers& drivers) {
            if (vset::isArgument(u32Arg)) {
                drivers.arguments[u32Arg] = u32Value;
            }
        });
        return result != HW_OK || vset::isArgument(u32Arg) ? result : DVAL_Result_t{HW_ERR_NOT_SUPPORT};
    });
}

DVAL_Result_t DVVDO_SetOverScan(unsigned int u32Window, const DVVDO_OverScan_t* pstOverScan) {
    return vset::call(__func__, {u32Window, pstOverScan}, [&]() -> DVAL_Result_t {
        if (pstOverScan == nullptr) {
            return HW_ERR_INVALID_PARAMETER;
        }
        return model.withDrivers(u32Window, [&](Drivers& drivers) { drivers.overScan = *pstOverScan; });
    });
}

// --- Control API -----------------------------------------------------------------------------------------------------

vset::dval::Drivers vset::dval::drivers() {
    if (folder().empty()) {
        throw SetError("no set is attached");
    }
    return model.drivers();
}
