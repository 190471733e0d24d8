// SPDX-License-Identifier: Apache-2.0
// Watchdog.
#include "hw3/hw_wdt.h"

#include "vset_call.h"
#include "vset_family.h"

namespace {

class WdtModel : public vset::FamilyModel {
public:
    WdtModel() : FamilyModel(vset::FamilyId::wdt, "HW_WDT") {}
};
WdtModel& model = *new WdtModel;

}  // namespace

HW_Result_t HW_WDT_Init(const HW_WDT_InitParams_t* pstParams) {
    return vset::call(__func__, {}, [&]() -> HW_Result_t { return model.initialise(pstParams); });
}
