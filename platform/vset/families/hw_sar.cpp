// SPDX-License-Identifier: Apache-2.0
// The keypad's ladder and the ADC channels.
#include "hw3/hw_sar.h"

#include <algorithm>
#include <array>
#include <mutex>
#include <optional>

#include "callback_queue.h"
#include "vset/sar.h"
#include "vset_call.h"
#include "vset_family.h"
#include "vset_folder.h"

namespace vset {

namespace {

// The key of the keypad's handle; the handle of an ADC channel has the channel as its key.
constexpr std::uint64_t kKeypadKey = 0x100;

struct ChannelState {
    unsigned char u8Value = sar::kOpen;
    std::optional<HW_U32> mode;  // none until it is configured
    HW_U32 u32VoltageLevel = 0;
};

// Pressed keys, by their number, that wait for the registered callback.
class KeyQueue : public CallbackQueue {
private:
    HW_Result_t deliver(EventCallback_t pfnCallback, HW_Handle_t hSar, unsigned char u8Key) override;
};

class SarModel : public FamilyModel {
public:
    SarModel() : FamilyModel(FamilyId::sar, "HW_SAR") {}

    // Return a copy of the channel's state, or change it.
    ChannelState channel(std::uint64_t u64Channel) {
        const std::lock_guard<std::mutex> lock(_mutex);
        return _channels[u64Channel];
    }
    template <class Change>
    void changeChannel(std::uint64_t u64Channel, Change&& change) {
        const std::lock_guard<std::mutex> lock(_mutex);
        change(_channels[u64Channel]);
    }

    void configure(const HW_SAR_KeypadConfig_t& stConfig) {
        const std::lock_guard<std::mutex> lock(_mutex);
        _stConfig = stConfig;
    }
    void setKeypadVoltageLevel(HW_U32 u32Level) {
        const std::lock_guard<std::mutex> lock(_mutex);
        _u32KeypadLevel = u32Level;
    }
    HW_U32 keypadVoltageLevel() {
        const std::lock_guard<std::mutex> lock(_mutex);
        return _u32KeypadLevel;
    }

    HW_SAR_KeypadConfig_t config() {
        const std::lock_guard<std::mutex> lock(_mutex);
        return _stConfig;
    }

    // Returns the ladder's keys as they are configured; none while the keypad is closed.
    std::vector<sar::Key> keys() {
        const HW_SAR_KeypadConfig_t stConfig = config();
        std::vector<sar::Key> keys;
        for (unsigned int i = 0; i < std::min<unsigned int>(stConfig.u8KeyLevelNum, sar::kKeys); ++i) {
            keys.push_back({stConfig.au8KeyThreshold[i], stConfig.au8KeyCode[i]});
        }
        return keys;
    }

    KeyQueue queue;

protected:
    void powerOff(bool) override {
        // Closes the handles first, so that no client registers from here on.
        handles().closeAll();
        queue.cancelAll(HW_HANDLE_NONE);
    }
    void reset() override {
        const std::lock_guard<std::mutex> lock(_mutex);
        _channels = {};
        _stConfig = {};
        _u32KeypadLevel = 0;
        queue.reset();
    }

private:
    std::mutex _mutex;
    std::array<ChannelState, sar::kChannels> _channels;
    HW_SAR_KeypadConfig_t _stConfig = {};
    HW_U32 _u32KeypadLevel = 0;
};
SarModel& model = *new SarModel;

HW_Result_t KeyQueue::deliver(EventCallback_t pfnCallback, HW_Handle_t hSar, unsigned char u8Key) {
    const std::vector<sar::Key> keys = model.keys();
    if (u8Key >= keys.size()) {
        // The keypad has been configured again since the key was pressed.
        count(0, 1);
        return HW_OK;
    }
    unsigned char u8Code = keys[u8Key].u8Code;
    unsigned char u8Before = sar::kOpen;
    model.changeChannel(sar::kKeypadChannel, [&](ChannelState& stChannel) {
        u8Before = stChannel.u8Value;
        stChannel.u8Value = keys[u8Key].u8Threshold;
    });
    const HW_Result_t result = pfnCallback(hSar, E_HW_SAR_EVENT_KEYPAD_PRESS, &u8Code);
    model.changeChannel(sar::kKeypadChannel, [&](ChannelState& stChannel) {
        // A voltage that was put on the ladder meanwhile stays.
        if (stChannel.u8Value == keys[u8Key].u8Threshold) {
            stChannel.u8Value = u8Before;
        }
    });
    return result;
}

HW_Result_t openKeypad(const HW_SAR_OpenParams_t& stParams, HW_Handle_t* phSar) {
    const HW_SAR_KeypadConfig_t* pstConfig = stParams.pstKeypadConfig;
    if (stParams.u32Channel != 0 || stParams.u32KeypadCount != 1 || pstConfig == nullptr ||
        pstConfig->u32Channel != sar::kKeypadChannel || pstConfig->u8KeyLevelNum > HW_SAR_KEY_LEVELS) {
        return HW_ERR_INVALID_PARAMETER;
    }
    if (model.handles().find(kKeypadKey, phSar) != HW_OK) {
        const HW_Result_t result = model.handles().open(kKeypadKey, phSar);
        if (result != HW_OK) {
            return result;
        }
    }
    model.configure(*pstConfig);
    return HW_OK;
}

HW_Result_t openAdc(const HW_SAR_OpenParams_t& stParams, HW_Handle_t* phSar) {
    if (stParams.u32Channel >= sar::kChannels || stParams.u32KeypadCount != 0 || stParams.pstKeypadConfig != nullptr) {
        return HW_ERR_INVALID_PARAMETER;
    }
    const HW_Result_t result = model.handles().open(stParams.u32Channel, phSar);
    if (result == HW_OK) {
        model.changeChannel(stParams.u32Channel, [](ChannelState& stChannel) { stChannel.mode.reset(); });
    }
    return result;
}

// Returns whether a callback's record asks for presses, with or without releases, and has no other content.
bool hasEvents(const HW_SAR_CallbackParams_t& stParams) {
    constexpr HW_U32 kEvents = E_HW_SAR_EVENT_KEYPAD_PRESS | E_HW_SAR_EVENT_KEYPAD_RELEASE;
    return (stParams.u32EventMask & E_HW_SAR_EVENT_KEYPAD_PRESS) != 0 && (stParams.u32EventMask & ~kEvents) == 0 &&
           stParams.u32Reserved == 0;
}

// Returns HW_OK for the keypad's handle.
HW_Result_t judgeKeypad(HW_Handle_t hSar) {
    const auto key = model.handles().key(hSar);
    if (!key) {
        return HW_ERR_INVALID_HANDLE;
    }
    return *key == kKeypadKey ? HW_OK : HW_ERR_NOT_SUPPORT;
}

void requireChannel(unsigned int u32Channel) {
    requireSet();
    if (u32Channel >= sar::kChannels) {
        throw SetError("ADC channel " + std::to_string(u32Channel) + ": there are only " +
                       std::to_string(sar::kChannels));
    }
}

}  // namespace

}  // namespace vset

using vset::model;

HW_Result_t HW_SAR_GetHandle(const HW_SAR_HandleParams_t* pstParams, HW_Handle_t* phSar) {
    return vset::call(__func__, {pstParams, phSar}, [&]() -> HW_Result_t {
        const HW_Result_t result = vset::checkInstanceNumber(
            vset::systemReadiness(), pstParams, &HW_SAR_HandleParams_t::u32Channel, vset::sar::kChannels, phSar);
        return result == HW_OK ? model.handles().find(pstParams->u32Channel, phSar) : result;
    });
}

HW_Result_t HW_SAR_Open(const HW_SAR_OpenParams_t* pstParams, HW_Handle_t* phSar) {
    return vset::call(__func__, {pstParams, phSar}, [&]() -> HW_Result_t {
        const HW_Result_t result = vset::checkInstanceNumber(
            vset::systemReadiness(), pstParams, &HW_SAR_OpenParams_t::u32Mode, E_HW_SAR_MODE_ADC + 1u, phSar);
        if (result != HW_OK) {
            return result;
        }
        return pstParams->u32Mode == E_HW_SAR_MODE_ADC ? vset::openAdc(*pstParams, phSar)
                                                       : vset::openKeypad(*pstParams, phSar);
    });
}

HW_Result_t HW_SAR_ConfigMode(HW_Handle_t hSar, HW_U32 u32Mode) {
    return vset::call(__func__, {hSar, u32Mode}, [&]() -> HW_Result_t {
        const auto key = model.handles().key(hSar);
        if (!key) {
            return HW_ERR_INVALID_HANDLE;
        }
        if (*key == vset::kKeypadKey) {
            return u32Mode == E_HW_SAR_MODE_KEYPAD ? HW_OK : HW_ERR_INVALID_PARAMETER;
        }
        if (u32Mode > E_HW_SAR_MODE_ADC) {
            return HW_ERR_INVALID_PARAMETER;
        }
        model.changeChannel(*key, [&](vset::ChannelState& stChannel) { stChannel.mode = u32Mode; });
        return HW_OK;
    });
}

HW_Result_t HW_SAR_SetVoltageLevel(HW_Handle_t hSar, HW_U32 u32Level) {
    return vset::call(__func__, {hSar, u32Level}, [&]() -> HW_Result_t {
        const auto key = model.handles().key(hSar);
        if (!key) {
            return HW_ERR_INVALID_HANDLE;
        }
        if (*key == vset::kKeypadKey) {
            model.setKeypadVoltageLevel(u32Level);
        } else {
            model.changeChannel(*key, [&](vset::ChannelState& stChannel) { stChannel.u32VoltageLevel = u32Level; });
        }
        return HW_OK;
    });
}

HW_Result_t HW_SAR_AdcGetValue(HW_Handle_t hSar, HW_U32* pu32Value) {
    return vset::call(__func__, {hSar, pu32Value}, [&]() -> HW_Result_t {
        const auto key = model.handles().key(hSar);
        if (!key) {
            return HW_ERR_INVALID_HANDLE;
        }
        if (pu32Value == nullptr) {
            return HW_ERR_INVALID_PARAMETER;
        }
        if (*key == vset::kKeypadKey) {
            return HW_ERR_NOT_SUPPORT;
        }
        const auto mode = model.channel(*key).mode;
        if (mode != E_HW_SAR_MODE_ADC) {
            return mode ? HW_ERR_NOT_SUPPORT : HW_ERR_FAILED;
        }
        *pu32Value = model.channel(*key).u8Value;
        return HW_OK;
    });
}

HW_Result_t HW_SAR_RegisterCallback(HW_Handle_t hSar, const HW_SAR_CallbackParams_t* pstParams, HW_U32* pu32Out) {
    return vset::call(__func__, {hSar, pstParams, pu32Out}, [&]() -> HW_Result_t {
        const HW_Result_t result = vset::judgeKeypad(hSar);
        if (result != HW_OK) {
            return result;
        }
        if (pstParams == nullptr || pu32Out == nullptr || pstParams->pfnCallback == nullptr ||
            !vset::hasEvents(*pstParams)) {
            return HW_ERR_INVALID_PARAMETER;
        }
        model.queue.registerCallback(pstParams->pfnCallback, hSar);
        if (!model.handles().key(hSar)) {
            // Another thread may have switched the set off meanwhile, and may have found no registration to end.
            model.queue.cancelAll(hSar);
            return HW_ERR_INVALID_HANDLE;
        }
        *pu32Out = pstParams->u32EventMask;
        return HW_OK;
    });
}

HW_Result_t HW_SAR_UnRegisterCallback(HW_Handle_t hSar, const HW_SAR_CallbackParams_t* pstParams) {
    return vset::call(__func__, {hSar, pstParams}, [&]() -> HW_Result_t {
        HW_Result_t result = vset::judgeKeypad(hSar);
        if (result != HW_OK) {
            return result;
        }
        if (pstParams == nullptr || pstParams->pfnCallback != nullptr || !vset::hasEvents(*pstParams)) {
            return HW_ERR_INVALID_PARAMETER;
        }
        const std::uint64_t u64Cycle = vset::detail::powerCycles();
        result = model.queue.unregisterCallback(hSar);
        if (result == HW_OK && u64Cycle == vset::detail::powerCycles()) {
            // The next client to register does not get a key pressed before.
            model.queue.discardPending();
        }
        return result;
    });
}

// --- Control API -----------------------------------------------------------------------------------------------------

namespace vset::sar {

unsigned char voltage(unsigned int u32Channel) {
    requireChannel(u32Channel);
    return model.channel(u32Channel).u8Value;
}

void setVoltage(unsigned int u32Channel, unsigned char u8Value) {
    requireChannel(u32Channel);
    model.changeChannel(u32Channel, [&](ChannelState& stChannel) { stChannel.u8Value = u8Value; });
}

void press(unsigned int u32Key) {
    requireSet();
    if (u32Key >= kKeys) {
        throw SetError("key " + std::to_string(u32Key) + ": there are only " + std::to_string(kKeys));
    }
    if (u32Key >= model.keys().size()) {
        model.queue.count(1, 1);
        return;
    }
    model.queue.push(static_cast<unsigned char>(u32Key));
}

void pressCode(unsigned char u8Code) {
    requireSet();
    const std::vector<Key> keys = model.keys();
    for (unsigned int i = 0; i < keys.size(); ++i) {
        if (keys[i].u8Code == u8Code) {
            press(i);
            return;
        }
    }
    throw SetError("key code " + std::to_string(u8Code) + ": the keypad has none such");
}

Keypad keypad() {
    requireSet();
    const HW_SAR_KeypadConfig_t stConfig = model.config();
    const CallbackQueue::State stState = model.queue.state();
    Keypad stKeypad;
    stKeypad.bOpen = model.handles().instance(kKeypadKey).has_value();
    stKeypad.bCallback = stState.bCallback;
    stKeypad.u8FirstBound = stConfig.u8FirstBound;
    stKeypad.u8SecondBound = stConfig.u8SecondBound;
    stKeypad.keys = model.keys();
    stKeypad.u64Pressed = stState.u64Received;
    stKeypad.u64Dropped = stState.u64Dropped;
    stKeypad.u64Refused = stState.u64Refused;
    return stKeypad;
}

Channel channel(unsigned int u32Channel) {
    requireChannel(u32Channel);
    const std::optional<OpenHandle> handle = model.handles().instance(u32Channel);
    const ChannelState stState = model.channel(u32Channel);
    const bool bOfKeypad = u32Channel == kKeypadChannel && !handle;
    Channel stChannel;
    stChannel.bOpen = handle.has_value();
    stChannel.bPlayer = handle && handle->bPlayer;
    stChannel.u32Mode = stState.mode.value_or(E_HW_SAR_MODE_KEYPAD);
    stChannel.u32VoltageLevel = bOfKeypad ? model.keypadVoltageLevel() : stState.u32VoltageLevel;
    return stChannel;
}

void hold(unsigned int u32Channel) {
    requireChannel(u32Channel);
    model.hold(u32Channel, "ADC channel");
    model.changeChannel(u32Channel, [](ChannelState& stChannel) { stChannel.mode = E_HW_SAR_MODE_ADC; });
}

void release(unsigned int u32Channel) {
    requireChannel(u32Channel);
    model.release(u32Channel, "ADC channel");
}

}  // namespace vset::sar
