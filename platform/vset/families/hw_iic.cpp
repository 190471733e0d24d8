// SPDX-License-Identifier: Apache-2.0
// I2C: initialisation.
#include "hw3/hw_iic.h"

#include "vset_call.h"
#include "vset_family.h"

namespace {

class IicModel : public vset::FamilyModel {
public:
    IicModel() : FamilyModel(vset::FamilyId::iic, "HW_IIC") {}
};
IicModel& model = *new IicModel;

}  // namespace

HW_Result_t HW_IIC_Init(const HW_IIC_InitParams_t* pstParams) {
    return vset::call(__func__, {},
                      [&]() -> HW_Result_t { return model.initialise(pstParams, vset::NullParams::defaults); });
}
