// SPDX-License-Identifier: Apache-2.0
// Remote control: initialization.
#include "hw3/hw_ir.h"

#include "vset_call.h"
#include "vset_family.h"

namespace {

class IrModel : public vset::FamilyModel {
public:
    IrModel() : FamilyModel(vset::FamilyId::ir, "HW_IR") {}
};
IrModel& model = *new IrModel;

}  // namespace

HW_Result_t HW_IR_Init(const HW_IR_InitParams_t* pstParams) {
    return vset::call(__func__, {pstParams},
                      [&]() -> HW_Result_t { return model.initialise(pstParams, vset::NullParams::defaults); });
}
