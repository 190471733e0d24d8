// SPDX-License-Identifier: Apache-2.0
// The set's keypad and the channels of its converter, as the middleware's caller and the person at the set see them.
#include <functional>
#include <mutex>

#include <gmock/gmock.h>

#include "hw3/hw_sar.h"
#include "support/emulation.h"
#include "support/middleware_calls.h"
#include "support/refusals.h"
#include "support/waiting.h"
#include "vset/sar.h"

namespace {

using test::eventually;
using test::kUntouched;
using ::testing::ElementsAre;
using ::testing::SizeIs;
using namespace std::chrono_literals;

// A key code, and what the ladder reads while the callback runs.
using Press = std::pair<int, int>;

// The keys that the callback has received, and what it does with them.
struct Got {
    std::mutex mutex;
    std::vector<Press> presses;
    std::thread::id thread;
    std::function<HW_Result_t(HW_U8)> action;
};
Got g_stGot;

HW_Result_t take(HW_Handle_t, HW_U32 u32Event, HW_U8* pu8Code) {
    EXPECT_EQ(u32Event, HW_U32{E_HW_SAR_EVENT_KEYPAD_PRESS});
    const std::lock_guard<std::mutex> lock(g_stGot.mutex);
    EXPECT_TRUE(g_stGot.presses.empty() || g_stGot.thread == std::this_thread::get_id());
    g_stGot.thread = std::this_thread::get_id();
    g_stGot.presses.emplace_back(*pu8Code, vset::sar::voltage(vset::sar::kKeypadChannel));
    return g_stGot.action ? g_stGot.action(*pu8Code) : HW_OK;
}

std::vector<Press> presses() {
    const std::lock_guard<std::mutex> lock(g_stGot.mutex);
    return g_stGot.presses;
}

bool areThere(std::size_t count) {
    return eventually([=] { return presses().size() >= count; });
}

constexpr HW_SAR_CallbackParams_t kTake = {take, E_HW_SAR_EVENT_KEYPAD_PRESS, 0};
constexpr HW_SAR_CallbackParams_t kNoMore = {nullptr, E_HW_SAR_EVENT_KEYPAD_PRESS, 0};

constexpr HW_SAR_CallbackParams_t kTakeReleases = {take, 3, 0}, kNoReleases = {nullptr, 3, 0};

// Five keys of eight; the fifth has the code of the second.
constexpr HW_SAR_KeypadConfig_t kFiveKeys = {
    0, 0x0A, 0xF0, 5, {0x10, 0x2A, 0x50, 0x7B, 0xA0, 0xB0, 0xC0, 0xD0}, {21, 22, 23, 24, 22, 26, 27, 28}};

class VsetSar : public test::RunningTest {
protected:
    void SetUp() override {
        RunningTest::SetUp();
        g_stGot.presses.clear();
        g_stGot.action = nullptr;
    }

    static HW_Handle_t openKeypad(HW_SAR_KeypadConfig_t stConfig = kFiveKeys) {
        const HW_Handle_t hSar = test::handleOf(HW_SAR_Open, {E_HW_SAR_MODE_KEYPAD, 0, 1, &stConfig});
        stConfig = {};  // the chip has read it
        return hSar;
    }

    static HW_Handle_t openAdc(HW_U32 u32Channel) {
        return test::handleOf(HW_SAR_Open, {E_HW_SAR_MODE_ADC, u32Channel, 0, nullptr});
    }

    static void registerCallback(HW_Handle_t hSar) {
        HW_U32 u32Mask = kUntouched;
        EXPECT_EQ(HW_SAR_RegisterCallback(hSar, &kTake, &u32Mask), HW_OK);
        EXPECT_EQ(u32Mask, 1u);
    }

    static HW_U32 value(HW_Handle_t hSar) {
        HW_U32 u32Value = kUntouched;
        EXPECT_EQ(HW_SAR_AdcGetValue(hSar, &u32Value), HW_OK);
        return u32Value;
    }
};

TEST_F(VsetSar, RefusesWhatAChipRefuses) {
    HW_Handle_t hSar = kUntouched;
    HW_U32 u32Out = kUntouched;
    const HW_Handle_t hAdc = openAdc(1), hKeypad = openKeypad();
    HW_SAR_KeypadConfig_t stKeys = kFiveKeys, stElsewhere = kFiveKeys;
    stElsewhere.u32Channel = vset::sar::kKeypadChannel + 1;
    const HW_SAR_CallbackParams_t aBegins[] = {kNoMore, {take, 0, 0}, {take, 2, 0}, {take, 5, 0}, {take, 1, 1}};
    const HW_SAR_CallbackParams_t aEnds[] = {kTake, {nullptr, 2, 0}, {nullptr, 5, 0}, {nullptr, 1, 1}};
    for (const HW_SAR_CallbackParams_t& stBegin : aBegins) {
        EXPECT_EQ(HW_SAR_RegisterCallback(hKeypad, &stBegin, &u32Out), HW_ERR_INVALID_PARAMETER) << &stBegin - aBegins;
    }
    for (const HW_SAR_CallbackParams_t& stEnd : aEnds) {
        EXPECT_EQ(HW_SAR_UnRegisterCallback(hKeypad, &stEnd), HW_ERR_INVALID_PARAMETER) << &stEnd - aEnds;
    }
    HW_SAR_KeypadConfig_t stNine = kFiveKeys;
    stNine.u8KeyLevelNum = 9;
    const HW_SAR_OpenParams_t aOpens[] = {
        {E_HW_SAR_MODE_KEYPAD, 1, 1, &stKeys},  {E_HW_SAR_MODE_KEYPAD, 0, 0, &stKeys},
        {E_HW_SAR_MODE_KEYPAD, 0, 2, &stKeys},  {E_HW_SAR_MODE_KEYPAD, 0, 1, &stNine},
        {E_HW_SAR_MODE_ADC, 2, 1, nullptr},     {E_HW_SAR_MODE_ADC, 2, 0, &stKeys},
        {E_HW_SAR_MODE_KEYPAD, 0, 1, nullptr},  {E_HW_SAR_MODE_KEYPAD, 0, 1, &stElsewhere},
        {E_HW_SAR_MODE_ADC + 1, 0, 1, &stKeys}, {E_HW_SAR_MODE_ADC, 8, 0, nullptr}};
    for (const HW_SAR_OpenParams_t& stOpen : aOpens) {
        EXPECT_EQ(HW_SAR_Open(&stOpen, &hSar), HW_ERR_INVALID_PARAMETER) << &stOpen - aOpens;
    }
    test::expectRefusals({
        {"mode 2 later", HW_ERR_INVALID_PARAMETER, [&] { return HW_SAR_ConfigMode(hAdc, 2); }},
        {"a keypad is no ADC", HW_ERR_INVALID_PARAMETER, [&] { return HW_SAR_ConfigMode(hKeypad, E_HW_SAR_MODE_ADC); }},
        {"a keypad it is", HW_OK, [&] { return HW_SAR_ConfigMode(hKeypad, E_HW_SAR_MODE_KEYPAD); }},
        {"value of the keypad itself", HW_ERR_NOT_SUPPORT, [&] { return HW_SAR_AdcGetValue(hKeypad, &u32Out); }},
        {"an ADC has no keys", HW_ERR_NOT_SUPPORT, [&] { return HW_SAR_RegisterCallback(hAdc, &kTake, &u32Out); }},
        {"nor lost any", HW_ERR_NOT_SUPPORT, [&] { return HW_SAR_UnRegisterCallback(hAdc, &kNoMore); }},
        {"mask to nowhere", HW_ERR_INVALID_PARAMETER,
         [&] { return HW_SAR_RegisterCallback(hKeypad, &kTake, nullptr); }},
        {"value before a mode", HW_ERR_FAILED, [&] { return HW_SAR_AdcGetValue(hAdc, &u32Out); }},
        {"value to nowhere", HW_ERR_INVALID_PARAMETER, [&] { return HW_SAR_AdcGetValue(hAdc, nullptr); }},
        {"no record", HW_ERR_INVALID_PARAMETER, [&] { return HW_SAR_RegisterCallback(hKeypad, nullptr, &u32Out); }},
        {"end of no record", HW_ERR_INVALID_PARAMETER, [&] { return HW_SAR_UnRegisterCallback(hKeypad, nullptr); }},
        {"end of nothing", HW_ERR_FAILED, [&] { return HW_SAR_UnRegisterCallback(hKeypad, &kNoMore); }},
        {"keypad mode", HW_OK, [&] { return HW_SAR_ConfigMode(hAdc, E_HW_SAR_MODE_KEYPAD); }},
        {"value of a keypad", HW_ERR_NOT_SUPPORT, [&] { return HW_SAR_AdcGetValue(hAdc, &u32Out); }},
    });
    EXPECT_EQ(hSar, kUntouched);
    EXPECT_EQ(u32Out, kUntouched);
    EXPECT_FALSE(vset::sar::keypad().bCallback);
}

TEST_F(VsetSar, EveryChannelReadsItsOwnVoltage) {
    std::vector<HW_Handle_t> handles;
    for (HW_U32 i = 0; i < vset::sar::kChannels; ++i) {
        handles.push_back(openAdc(i));
        EXPECT_EQ(HW_SAR_ConfigMode(handles[i], E_HW_SAR_MODE_ADC), HW_OK);
        EXPECT_EQ(value(handles[i]), 0xFFu) << "nothing is connected";
        EXPECT_EQ(HW_SAR_SetVoltageLevel(handles[i], i + 10), HW_OK);
        vset::sar::setVoltage(i, static_cast<unsigned char>(i * 36));
    }
    for (HW_U32 i = 0; i < vset::sar::kChannels; ++i) {
        EXPECT_EQ(value(handles[i]), i * 36);
        const vset::sar::Channel stChannel = vset::sar::channel(i);
        EXPECT_TRUE(stChannel.bOpen);
        EXPECT_EQ(stChannel.u32Mode, HW_U32{E_HW_SAR_MODE_ADC});
        EXPECT_EQ(stChannel.u32VoltageLevel, i + 10);
    }
    EXPECT_THROW(vset::sar::setVoltage(8, 1), vset::SetError);
    EXPECT_THROW(vset::sar::channel(8), vset::SetError);
    vset::powerCycle();
    EXPECT_EQ(vset::sar::voltage(7), vset::sar::kOpen);
    EXPECT_FALSE(vset::sar::channel(7).bOpen);
}

TEST_F(VsetSar, AChannelIsWhoseItIs) {
    vset::sar::hold(4);
    const HW_Handle_t hPlayers = test::handleOf(HW_SAR_GetHandle, {4});
    EXPECT_TRUE(vset::sar::channel(4).bPlayer);
    EXPECT_EQ(value(hPlayers), 0xFFu) << "the player has configured it";
    vset::sar::release(4);
    EXPECT_FALSE(vset::sar::channel(4).bOpen);
    HW_U32 u32Value = kUntouched;
    EXPECT_EQ(HW_SAR_AdcGetValue(openAdc(4), &u32Value), HW_ERR_FAILED) << "to be configured anew";
    EXPECT_FALSE(vset::sar::channel(4).bPlayer);

    // The keypad's level is that of its channel, unless that is open as an ADC.
    const HW_Handle_t hKeypad = openKeypad();
    EXPECT_EQ(HW_SAR_SetVoltageLevel(hKeypad, 33), HW_OK);
    EXPECT_EQ(vset::sar::channel(0).u32VoltageLevel, 33u);
    EXPECT_EQ(vset::sar::channel(1).u32VoltageLevel, 0u);
    EXPECT_EQ(HW_SAR_SetVoltageLevel(openAdc(0), 44), HW_OK);
    EXPECT_EQ(vset::sar::channel(0).u32VoltageLevel, 44u);
    vset::powerCycle();
    EXPECT_EQ(vset::sar::channel(0).u32VoltageLevel, 0u);
}

TEST_F(VsetSar, TheKeypadMayBeOpenedAgain) {
    SKIP_UNDER_EMULATION();
    const HW_Handle_t hKeypad = openKeypad();
    registerCallback(hKeypad);
    EXPECT_EQ(openKeypad({0, 1, 2, 2, {0x33, 0x44}, {51, 52}}), hKeypad);
    const vset::sar::Keypad stKeypad = vset::sar::keypad();
    EXPECT_TRUE(stKeypad.bCallback) << "registered is registered";
    EXPECT_EQ(stKeypad.u8FirstBound, 1);
    EXPECT_EQ(stKeypad.u8SecondBound, 2);
    ASSERT_THAT(stKeypad.keys, SizeIs(2));
    EXPECT_EQ(stKeypad.keys[1].u8Threshold, 0x44);
    EXPECT_EQ(stKeypad.keys[1].u8Code, 52);

    // Its channel as an ADC is another instance, and the only one that is looked up.
    HW_Handle_t hFound = kUntouched;
    EXPECT_EQ(test::ask(HW_SAR_GetHandle, {0}, &hFound), HW_ERR_FAILED);
    EXPECT_EQ(hFound, kUntouched);
    const HW_Handle_t hAdc = openAdc(0);
    EXPECT_NE(hAdc, hKeypad);
    EXPECT_EQ(test::handleOf(HW_SAR_GetHandle, {0}), hAdc);
    EXPECT_EQ(openKeypad(), hKeypad);
    vset::powerCycle();
    EXPECT_FALSE(vset::sar::keypad().bOpen);
    EXPECT_THAT(vset::sar::keypad().keys, SizeIs(0));
}

TEST_F(VsetSar, KeysReachTheCallbackOneAfterTheOther) {
    SKIP_UNDER_EMULATION();
    const HW_Handle_t hAdc = openAdc(0);
    EXPECT_EQ(HW_SAR_ConfigMode(hAdc, E_HW_SAR_MODE_ADC), HW_OK);
    g_stGot.action = [&](HW_U8 u8Code) -> HW_Result_t {
        EXPECT_EQ(value(hAdc), vset::sar::voltage(0)) << "the chip converts what is there";
        return u8Code == 24 ? HW_ERR_FAILED : HW_OK;
    };
    registerCallback(openKeypad());
    std::vector<Press> wanted;
    for (unsigned int i = 0; i < 500; ++i) {
        vset::sar::press(i * 3 % 5);
        wanted.emplace_back(kFiveKeys.au8KeyCode[i * 3 % 5], kFiveKeys.au8KeyThreshold[i * 3 % 5]);
    }
    ASSERT_TRUE(areThere(500));
    EXPECT_TRUE(presses() == wanted);
    EXPECT_NE(g_stGot.thread, std::this_thread::get_id());
    EXPECT_TRUE(eventually([] { return vset::sar::voltage(0) == vset::sar::kOpen; })) << "the key is let go";
    EXPECT_TRUE(eventually([] { return vset::sar::keypad().u64Refused == 100; }));
    EXPECT_EQ(vset::sar::keypad().u64Pressed, 500u);
    EXPECT_EQ(vset::sar::keypad().u64Dropped, 0u);
}

TEST_F(VsetSar, AKeyLeavesTheVoltageAsItWas) {
    SKIP_UNDER_EMULATION();
    const HW_Handle_t hKeypad = openKeypad();
    HW_U32 u32Mask = kUntouched;
    EXPECT_EQ(HW_SAR_RegisterCallback(hKeypad, &kTakeReleases, &u32Mask), HW_OK);
    EXPECT_EQ(u32Mask, 3u);
    vset::sar::setVoltage(0, 0x77);
    vset::sar::press(1);
    ASSERT_TRUE(areThere(1));
    EXPECT_TRUE(eventually([] { return vset::sar::voltage(0) == 0x77; })) << "that was there before";
    g_stGot.action = [](HW_U8) -> HW_Result_t {
        vset::sar::setVoltage(0, 0x66);
        return HW_OK;
    };
    vset::sar::press(2);
    ASSERT_TRUE(areThere(2));
    EXPECT_EQ(HW_SAR_UnRegisterCallback(hKeypad, &kNoReleases), HW_OK);
    EXPECT_EQ(vset::sar::voltage(0), 0x66) << "that was put on it meanwhile";
}

TEST_F(VsetSar, KeysThatNobodyHearsAreCounted) {
    SKIP_UNDER_EMULATION();
    EXPECT_THROW(vset::sar::pressCode(21), vset::SetError) << "no keypad, no codes";
    vset::sar::press(0);
    const HW_Handle_t hKeypad = openKeypad();
    vset::sar::press(4);
    registerCallback(hKeypad);
    vset::sar::press(5);
    EXPECT_THROW(vset::sar::press(8), vset::SetError);
    EXPECT_THROW(vset::sar::pressCode(26), vset::SetError) << "of a key beyond the levels";
    vset::sar::pressCode(22);
    ASSERT_TRUE(areThere(1));
    EXPECT_EQ(HW_SAR_UnRegisterCallback(hKeypad, &kNoMore), HW_OK);
    vset::sar::press(0);
    EXPECT_EQ(vset::sar::keypad().u64Pressed, 5u);
    EXPECT_EQ(vset::sar::keypad().u64Dropped, 4u);
    registerCallback(hKeypad);
    vset::sar::press(2);
    ASSERT_TRUE(areThere(2));
    EXPECT_THAT(presses(), ElementsAre(Press(22, 0x2A), Press(23, 0x50)))
        << "the first with its code; none of the earlier ones";
}

TEST_F(VsetSar, EveryKeyIsHeardOrDropped) {
    SKIP_UNDER_EMULATION();
    const HW_Handle_t hKeypad = openKeypad();
    for (int i = 0; i < 200; ++i) {
        registerCallback(hKeypad);
        {
            const test::Repeating typist([] {
                vset::sar::press(0);
                std::this_thread::sleep_for(10us);
            });
            ASSERT_TRUE(areThere(presses().size() + 1));
            ASSERT_EQ(HW_SAR_UnRegisterCallback(hKeypad, &kNoMore), HW_OK);
        }
        const vset::sar::Keypad stKeypad = vset::sar::keypad();
        ASSERT_EQ(stKeypad.u64Pressed, stKeypad.u64Dropped + presses().size()) << "one waits for the next to register";
    }
}

// However the registration ends: what runs is waited for, what waited is dropped.
TEST_F(VsetSar, NoCallbackRunsAfterTheEnd) {
    SKIP_UNDER_EMULATION();
    HW_Handle_t hKeypad = 0;
    const std::function<void()> kEnds[] = {[&] { EXPECT_EQ(HW_SAR_UnRegisterCallback(hKeypad, &kNoMore), HW_OK); },
                                           vset::powerCycle, vset::detach};
    for (std::size_t i = 0; i < std::size(kEnds); ++i) {
        SCOPED_TRACE(i);
        HW_SYS_Init(nullptr);
        hKeypad = openKeypad();
        std::atomic<bool> bInside{false};
        g_stGot.action = [&](HW_U8) -> HW_Result_t {
            bInside = true;
            std::this_thread::sleep_for(50ms);
            HW_SAR_SetVoltageLevel(hKeypad, 1);
            EXPECT_FALSE(vset::folder().empty());
            bInside = false;
            return HW_OK;
        };
        registerCallback(hKeypad);
        for (unsigned int u32Key = 0; u32Key < 5; ++u32Key) {
            vset::sar::press(u32Key);
        }
        ASSERT_TRUE(eventually([&] { return bInside.load(); }));
        kEnds[i]();
        EXPECT_FALSE(bInside);
        const std::size_t seen = presses().size();
        if (i == 0) {
            EXPECT_EQ(vset::sar::keypad().u64Dropped, 5 - seen);
            registerCallback(hKeypad);
        }
        std::this_thread::sleep_for(80ms);
        EXPECT_THAT(presses(), SizeIs(seen));
    }
}

TEST_F(VsetSar, TheCallbackMayUseTheKeypad) {
    SKIP_UNDER_EMULATION();
    const HW_Handle_t hKeypad = openKeypad();
    std::atomic<HW_Result_t> unregistered{HW_OK};
    g_stGot.action = [&](HW_U8 u8Code) -> HW_Result_t {
        if (u8Code == 21) {
            unregistered = HW_SAR_UnRegisterCallback(hKeypad, &kNoMore);
            vset::sar::press(4);
            openKeypad({0, 1, 2, 2, {0x33, 0x44}, {51, 52}});
            vset::sar::press(1);
        }
        return HW_OK;
    };
    registerCallback(hKeypad);
    vset::sar::press(0);
    ASSERT_TRUE(areThere(2)) << "still registered, and not stuck";
    EXPECT_EQ(unregistered, HW_Result_t{HW_ERR_BUSY}) << "it cannot wait for itself";
    EXPECT_THAT(presses(), ElementsAre(Press(21, 0x10), Press(52, 0x44)));
    EXPECT_EQ(vset::sar::keypad().u64Dropped, 1u) << "the keypad has no such key any more";
}

}  // namespace
