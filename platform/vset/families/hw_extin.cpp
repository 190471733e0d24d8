// SPDX-License-Identifier: Apache-2.0
// External inputs: how many there are.
#include "hw3/hw_extin.h"

#include <array>
#include <mutex>

#include "vset/extin.h"
#include "vset_call.h"
#include "vset_family.h"
#include "vset_folder.h"

namespace {

using Counts = std::array<unsigned char, E_HW_EXTIN_TYPE_NUM>;

// The board's: HDMI, YPbPr, VGA, CVBS, S-Video, SCART, video decoder.
constexpr Counts kCounts = {4, 1, 1, 2, 0, 1, 1};

class ExtinModel : public vset::FamilyModel {
public:
    ExtinModel() : FamilyModel(vset::FamilyId::extin, "HW_EXTIN") {}

    Counts counts() {
        const std::lock_guard<std::mutex> lock(_mutex);
        return _counts;
    }

    void setCount(std::uint32_t u32Type, unsigned char u8Count) {
        const std::lock_guard<std::mutex> lock(_mutex);
        _counts[u32Type] = u8Count;
    }

protected:
    void reset() override {
        const std::lock_guard<std::mutex> lock(_mutex);
        _counts = kCounts;
    }

private:
    std::mutex _mutex;
    Counts _counts = kCounts;
};
ExtinModel& model = *new ExtinModel;

void requireType(std::uint32_t u32Type) {
    vset::requireSet();
    if (u32Type >= E_HW_EXTIN_TYPE_NUM) {
        throw vset::SetError("input type " + std::to_string(u32Type) + ": there are only " +
                             std::to_string(E_HW_EXTIN_TYPE_NUM));
    }
}

}  // namespace

HW_Result_t HW_EXTIN_Init(const HW_EXTIN_InitParams_t* pstParams) {
    return vset::call(__func__, {}, [&]() -> HW_Result_t { return model.initialise(pstParams); });
}

HW_Result_t HW_EXTIN_GetCaps(HW_EXTIN_Caps_t* pstCaps) {
    return vset::call(__func__, {}, [&]() -> HW_Result_t {
        if (pstCaps == nullptr) {
            return HW_ERR_INVALID_PARAMETER;
        }
        if (model.readiness() != HW_OK) {
            return HW_ERR_NOT_INITED;
        }
        const Counts counts = model.counts();
        *pstCaps = {counts[0], counts[1], counts[2], counts[3], counts[4], counts[5], counts[6], 0};
        return HW_OK;
    });
}

unsigned char vset::extin::inputCount(std::uint32_t u32Type) {
    requireType(u32Type);
    return model.counts()[u32Type];
}

void vset::extin::setInputCount(std::uint32_t u32Type, unsigned char u8Count) {
    requireType(u32Type);
    model.setCount(u32Type, u8Count);
}
