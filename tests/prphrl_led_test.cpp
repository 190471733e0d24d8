// SPDX-License-Identifier: Apache-2.0
// The LED ring.
#include <gmock/gmock.h>

#include "support/log_capture.h"
#include "support/serial_fixture.h"
#include "vset/pm.h"

namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::HasSubstr;
using ::testing::Not;
using namespace std::chrono_literals;

constexpr unsigned int kCycle = 0;
constexpr unsigned int kWhite = 1;
constexpr unsigned int kOff = 2;

// 0xRRGGBB when all four show the same, else -1.
int colourOf(const vset::pm::LedRing& ring) {
    int s32Colour = -2;
    for (const vset::pm::Led& led : ring) {
        const int s32Led = led.u8Red << 16 | led.u8Green << 8 | led.u8Blue;
        s32Colour = s32Colour == -2 || s32Colour == s32Led ? s32Led : -1;
    }
    return s32Colour;
}

std::vector<int> colours() {
    std::vector<int> colours;
    for (const vset::pm::LedChange& change : vset::pm::ledHistory()) {
        colours.push_back(colourOf(change.ring));
    }
    return colours;
}

class Leds : public test::SerialTest {
protected:
    static std::size_t count(const std::string& strCall) {
        const std::vector<std::string> made = calls();
        return static_cast<std::size_t>(std::count(made.begin(), made.end(), strCall));
    }
};

TEST_F(Leds, White) {
    const std::string log = test::logOf([] {
        const double seconds = test::secondsOf([] { EXPECT_EQ(a_vextvfapi_prphrl_set_mic_led(kWhite), 0); });
        EXPECT_GT(seconds, 2.9);
        EXPECT_LT(seconds, 3.9);
    });
    EXPECT_EQ(colourOf(vset::pm::leds()), 0xFFFFFF);
    EXPECT_THAT(
        log,
        AllOf(HasSubstr("[D] <a_vextvfapi_prphrl_set_mic_led> a_vextvfapi_prphrl_set_mic_led\n\n"),
              HasSubstr("[E] <a_vextvfapi_prphrl_set_mic_led> HW_PM_GetHandle() fail\n\n"),
              HasSubstr(
                  "[D] <a_vextvfapi_prphrl_set_mic_led> HW_PM_SetAttr ParamType_e = SET_LED_CONTROL_WHITE success\n\n"),
              HasSubstr("[D] <a_vextvfapi_prphrl_set_mic_led> PM close handle\n\n")));
    EXPECT_TRUE(opened().empty());

    EXPECT_EQ(a_vextvfapi_prphrl_set_mic_led(kOff), 0);
    EXPECT_EQ(colourOf(vset::pm::leds()), 0xFFFFFF) << "off writes no colour";
    EXPECT_EQ(a_vextvfapi_prphrl_set_mic_led(3), -1);
    EXPECT_EQ(a_vextvfapi_prphrl_set_mic_led(~0u), -1);
    EXPECT_TRUE(opened().empty());
    EXPECT_EQ(count("HW_PM_Open"), count("HW_PM_Close"));
}

TEST_F(Leds, WhatFails) {
    struct Failure {
        std::vector<const char*> calls;
        const char* log;
    };
    for (const Failure& failure :
         {Failure{{"HW_PM_Init"}, "[E] <a_vextvfapi_prphrl_set_mic_led> HW_PM_Init failed \n\n"},
          Failure{{"HW_PM_Open"}, "[E] <a_vextvfapi_prphrl_set_mic_led> HW_PM_Open() fail\n\n"},
          Failure{{"HW_PM_SetAttr"},
                  "[E] <a_vextvfapi_prphrl_set_mic_led> HW_PM_SetAttr ParamType_e = SET_LED_CONTROL_WHITE fail\n\n"}}) {
        for (const char* pszCall : failure.calls) {
            vset::inject({pszCall, 0xC});
        }
        int status = 0;
        EXPECT_THAT(test::logOf([&] { status = a_vextvfapi_prphrl_set_mic_led(kWhite); }), HasSubstr(failure.log));
        EXPECT_EQ(status, -1);
        EXPECT_TRUE(opened().empty());
    }
    EXPECT_TRUE(vset::pm::ledHistory().empty());
}

// Somebody else's handle is used and left alone.
TEST_F(Leds, AFoundHandleIsNotClosed) {
    vset::pm::hold();
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_prphrl_set_mic_led(kOff), 0); }),
                AllOf(HasSubstr("[D] <a_vextvfapi_prphrl_set_mic_led> PM no open\n\n"),
                      HasSubstr("HW_PM_SetAttr ParamType_e = ClOSE_LED_CONTROL success\n\n")));
    EXPECT_EQ(count("HW_PM_Open") + count("HW_PM_Close"), 0u);
    EXPECT_EQ(opened().size(), 1u);
    vset::pm::release();
}

TEST_F(Leds, ACycleRunsToItsEnd) {
    SKIP_UNDER_EMULATION();
    const std::string log = test::logOf([] {
        ASSERT_EQ(a_vextvfapi_prphrl_set_mic_led(kCycle), 0);
        std::this_thread::sleep_for(500ms);
        // Closes the handle that the cycle uses, whose further steps fail.
        EXPECT_EQ(a_vextvfapi_prphrl_set_mic_led(kOff), 0);
        std::this_thread::sleep_for(3500ms);
    });
    EXPECT_THAT(colours(), testing::ElementsAre(0xFF0000, 0x00FF00));
    for (const char* text :
         {"SET_LED_CONTROL_RED success\n\n", "SET_LED_CONTROL_GREEN success\n\n", "SET_LED_CONTROL_BLUE fail\n\n",
          "SET_LED_CONTROL_BLACK fail\n\n", "Stop StdFactoryledMonitor Task\n\n"}) {
        EXPECT_THAT(log, HasSubstr(text));
    }
    EXPECT_EQ(count("HW_PM_Close"), 1u) << "exactly one of the two closes";
    EXPECT_TRUE(opened().empty());
}

TEST_F(Leds, ACycleGoesOnUntilItIsStopped) {
    SKIP_UNDER_EMULATION();
    vset::pm::hold();
    ASSERT_EQ(a_vextvfapi_prphrl_set_mic_led(kCycle), 0);
    std::this_thread::sleep_for(4500ms);
    EXPECT_EQ(a_vextvfapi_prphrl_set_mic_led(kOff), 0);
    std::this_thread::sleep_for(3500ms);
    const std::vector<vset::pm::LedChange> history = vset::pm::ledHistory();
    EXPECT_THAT(colours(), testing::ElementsAre(0xFF0000, 0x00FF00, 0x0000FF, 0, 0xFF0000, 0x00FF00, 0x0000FF, 0));
    for (std::size_t i = 1; i < history.size(); ++i) {
        const double seconds = std::chrono::duration<double>(history[i].time - history[i - 1].time).count();
        EXPECT_GT(seconds, 0.9);
        EXPECT_LT(seconds, 1.5);
    }
    vset::pm::release();
}

}  // namespace
