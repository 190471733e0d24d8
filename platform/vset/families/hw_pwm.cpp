// SPDX-License-Identifier: Apache-2.0
// PWM channels.
#include "hw3/hw_pwm.h"

#include <array>
#include <map>
#include <mutex>

#include "vset/pwm.h"
#include "vset_call.h"
#include "vset_family.h"
#include "vset_folder.h"

namespace vset {

namespace {

// Attribute -> value.
using Values = std::map<HW_U32, HW_U32>;

const Values kValues = {{E_HW_PWM_ATTR_0, 0}, {E_HW_PWM_ATTR_1, 0}, {E_HW_PWM_ATTR_8, 0}};

// The channels' model. The key of a handle is its channel.
class PwmModel : public FamilyModel {
public:
    PwmModel() : FamilyModel(FamilyId::pwm, "HW_PWM") {}

    // Runs `body` on the value. Returns false when there is no such attribute.
    template <class Body>
    bool withValue(std::uint64_t u64Channel, HW_U32 u32Attr, Body&& body) {
        const std::lock_guard<std::mutex> lock(_mutex);
        const auto value = _channels[u64Channel].find(u32Attr);
        if (value == _channels[u64Channel].end()) {
            return false;
        }
        body(value->second);
        return true;
    }

protected:
    void reset() override {
        const std::lock_guard<std::mutex> lock(_mutex);
        _channels.fill(kValues);
    }

private:
    std::mutex _mutex;
    std::array<Values, pwm::kChannels> _channels;
};
PwmModel& model = *new PwmModel;

// Runs `body` on an attribute of an open channel, for the caller's record.
template <class Body>
HW_Result_t withAttr(HW_Handle_t hPwm, HW_U32 u32Attr, const void* pRecord, Body&& body) {
    const auto channel = model.handles().key(hPwm);
    if (!channel) {
        return HW_ERR_INVALID_HANDLE;
    }
    if (kValues.count(u32Attr) == 0) {
        return HW_ERR_NOT_SUPPORT;
    }
    if (pRecord == nullptr) {
        return HW_ERR_INVALID_PARAMETER;
    }
    model.withValue(*channel, u32Attr, body);
    return HW_OK;
}

void requireChannel(unsigned int u32Channel) {
    requireSet();
    if (u32Channel >= pwm::kChannels) {
        throw SetError("PWM channel " + std::to_string(u32Channel) + ": there are only " +
                       std::to_string(pwm::kChannels));
    }
}

template <class Body>
void requireValue(unsigned int u32Channel, unsigned int u32Attr, Body&& body) {
    requireChannel(u32Channel);
    if (!model.withValue(u32Channel, u32Attr, body)) {
        throw SetError("PWM attribute " + std::to_string(u32Attr) + ": there is none such");
    }
}

}  // namespace

}  // namespace vset

using vset::model;

HW_Result_t HW_PWM_Init(const HW_PWM_InitParams_t* pstParams) {
    return vset::call(__func__, {pstParams}, [&]() -> HW_Result_t { return model.initialise(pstParams); });
}

HW_Result_t HW_PWM_GetHandle(const HW_PWM_HandleParams_t* pstParams, HW_Handle_t* phPwm) {
    return vset::call(__func__, {pstParams, phPwm}, [&]() -> HW_Result_t {
        const HW_Result_t result = vset::checkInstanceNumber(
            model.readiness(), pstParams, &HW_PWM_HandleParams_t::u32Channel, vset::pwm::kChannels, phPwm);
        return result == HW_OK ? model.handles().find(pstParams->u32Channel, phPwm) : result;
    });
}

HW_Result_t HW_PWM_Open(const HW_PWM_OpenParams_t* pstParams, HW_Handle_t* phPwm) {
    return vset::call(__func__, {pstParams, phPwm}, [&]() -> HW_Result_t {
        const HW_Result_t result = vset::checkInstanceNumber(
            model.readiness(), pstParams, &HW_PWM_OpenParams_t::u32Channel, vset::pwm::kChannels, phPwm);
        return result == HW_OK ? model.handles().open(pstParams->u32Channel, phPwm) : result;
    });
}

HW_Result_t HW_PWM_Close(HW_Handle_t hPwm) {
    return vset::call(__func__, {hPwm}, [&]() -> HW_Result_t { return model.handles().close(hPwm); });
}

HW_Result_t HW_PWM_SetAttr(HW_Handle_t hPwm, HW_U32 u32Attr, const void* pParam) {
    return vset::call(__func__, {hPwm, u32Attr, pParam}, [&]() -> HW_Result_t {
        return vset::withAttr(hPwm, u32Attr, pParam,
                              [&](HW_U32& u32Value) { u32Value = *static_cast<const HW_U32*>(pParam); });
    });
}

HW_Result_t HW_PWM_GetAttr(HW_Handle_t hPwm, HW_U32 u32Attr, const void* pInput, void* pOutput) {
    return vset::call(__func__, {hPwm, u32Attr, pInput, pOutput}, [&]() -> HW_Result_t {
        // A query takes no input.
        return vset::withAttr(hPwm, u32Attr, pInput == nullptr ? pOutput : nullptr,
                              [&](const HW_U32& u32Value) { *static_cast<HW_U32*>(pOutput) = u32Value; });
    });
}

// --- Control API -----------------------------------------------------------------------------------------------------

namespace vset::pwm {

std::uint32_t value(unsigned int u32Channel, unsigned int u32Attr) {
    std::uint32_t u32Found = 0;
    requireValue(u32Channel, u32Attr, [&](const HW_U32& u32Value) { u32Found = u32Value; });
    return u32Found;
}

void setValue(unsigned int u32Channel, unsigned int u32Attr, std::uint32_t u32New) {
    requireValue(u32Channel, u32Attr, [&](HW_U32& u32Value) { u32Value = u32New; });
}

void hold(unsigned int u32Channel) {
    requireChannel(u32Channel);
    model.hold(u32Channel, "PWM channel " + std::to_string(u32Channel));
}

void release(unsigned int u32Channel) {
    requireChannel(u32Channel);
    model.release(u32Channel, "PWM channel " + std::to_string(u32Channel));
}

}  // namespace vset::pwm
