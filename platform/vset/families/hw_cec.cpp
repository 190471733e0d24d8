// SPDX-License-Identifier: Apache-2.0
// CEC: initialisation.
#include "hw3/hw_cec.h"

#include "vset_call.h"
#include "vset_family.h"

namespace {

class CecModel : public vset::FamilyModel {
public:
    CecModel() : FamilyModel(vset::FamilyId::cec, "HW_CEC") {}
};
CecModel& model = *new CecModel;

}  // namespace

HW_Result_t HW_CEC_Init(const HW_CEC_InitParams_t* pstParams) {
    return vset::call(__func__, {}, [&]() -> HW_Result_t { return model.initialise(pstParams); });
}
