// SPDX-License-Identifier: Apache-2.0
// The LED ring.
#include <gmock/gmock.h>

#include "support/descriptors.h"
#include "support/log_capture.h"
#include "support/peripheral_fixture.h"
#include "vset/pm.h"

namespace {

using ::testing::AllOf;
using ::testing::Gt;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Lt;

constexpr unsigned int kCycle = 0;
constexpr unsigned int kWhite = 1;
constexpr unsigned int kOff = 2;

// Returns 0xRRGGBB when all four show the same, else -1.
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

class Leds : public test::PeripheralTest {};

TEST_F(Leds, WhiteComesAfterASecondAndStaysForTwo) {
    const std::string log = test::logOf([] {
        const double seconds = test::secondsOf([] { EXPECT_EQ(a_vextvfapi_prphrl_set_mic_led(kWhite), 0); });
        EXPECT_GT(seconds, 2.9);
        EXPECT_LT(seconds, test::patient(6));
    });
    EXPECT_EQ(colourOf(vset::pm::leds()), 0xFFFFFF);
    for (const char* pszText :
         {"[D] <a_vextvfapi_prphrl_set_mic_led> a_vextvfapi_prphrl_set_mic_led\n\n",
          "[E] <a_vextvfapi_prphrl_set_mic_led> HW_PM_GetHandle() fail\n\n",
          "[D] <a_vextvfapi_prphrl_set_mic_led> HW_PM_SetAttr ParamType_e = SET_LED_CONTROL_WHITE success\n\n",
          "[D] <a_vextvfapi_prphrl_set_mic_led> PM close handle\n\n"}) {
        EXPECT_THAT(log, HasSubstr(pszText));
    }
    EXPECT_EQ(a_vextvfapi_prphrl_set_mic_led(kOff), 0);
    EXPECT_EQ(colourOf(vset::pm::leds()), 0xFFFFFF) << "off writes no colour";
}

TEST_F(Leds, AnUnknownModeOpensAndCloses) {
    for (const unsigned int u32Mode : {3u, ~0u}) {
        EXPECT_EQ(a_vextvfapi_prphrl_set_mic_led(u32Mode), -1);
    }
    EXPECT_EQ(count("HW_PM_Open"), 2u);
}

TEST_F(Leds, AFailedCallShowsNothing) {
    for (const auto& [pszCall, pszLog] :
         {std::pair{"HW_PM_Init", "[E] <a_vextvfapi_prphrl_set_mic_led> HW_PM_Init failed \n\n"},
          std::pair{"HW_PM_Open", "[E] <a_vextvfapi_prphrl_set_mic_led> HW_PM_Open() fail\n\n"},
          std::pair{
              "HW_PM_SetAttr",
              "[E] <a_vextvfapi_prphrl_set_mic_led> HW_PM_SetAttr ParamType_e = SET_LED_CONTROL_WHITE fail\n\n"}}) {
        vset::inject({pszCall, 0xC});
        int status = 0;
        EXPECT_THAT(test::logOf([&] { status = a_vextvfapi_prphrl_set_mic_led(kWhite); }), HasSubstr(pszLog));
        EXPECT_EQ(status, -1);
    }
    EXPECT_THAT(vset::pm::ledHistory(), IsEmpty());
}

TEST_F(Leds, AFoundHandleIsNotClosed) {
    vset::pm::hold();
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_prphrl_set_mic_led(kOff), 0); }),
                AllOf(HasSubstr("[D] <a_vextvfapi_prphrl_set_mic_led> PM no open\n\n"),
                      HasSubstr("HW_PM_SetAttr ParamType_e = ClOSE_LED_CONTROL success\n\n")));
    EXPECT_EQ(count("HW_PM_Open") + count("HW_PM_Close"), 0u);
    EXPECT_EQ(opened().size(), 1u);
}

// Waits until the thread of a cycle has ended.
bool ends(int s32Threads) {
    return test::eventually([&] { return test::threads() == s32Threads; });
}

TEST_F(Leds, ACycleWithoutItsHandleRunsToItsEnd) {
    SKIP_UNDER_EMULATION();
    const int s32Threads = test::threads();
    const std::string log = test::logOf([&] {
        ASSERT_EQ(a_vextvfapi_prphrl_set_mic_led(kCycle), 0);
        EXPECT_TRUE(test::eventually([] { return colours().size() == 1; }));
        // Closes the handle that the cycle uses, after a second of four; the cycle's further steps fail.
        EXPECT_EQ(a_vextvfapi_prphrl_set_mic_led(kOff), 0);
        EXPECT_TRUE(ends(s32Threads));
    });
    EXPECT_EQ(colours().at(0), 0xFF0000);
    for (const char* text :
         {"SET_LED_CONTROL_RED success\n\n", " SET_LED_CONTROL_BLACK fail\n\n", "Stop StdFactoryledMonitor Task\n\n"}) {
        EXPECT_THAT(log, HasSubstr(text));
    }
    EXPECT_EQ(count("HW_PM_Close"), 1u) << "exactly one of the two closes";
}

TEST_F(Leds, ACycleGoesOnUntilItIsStopped) {
    SKIP_UNDER_EMULATION();
    const int s32Threads = test::threads();
    vset::pm::hold();
    ASSERT_EQ(a_vextvfapi_prphrl_set_mic_led(kCycle), 0);
    ASSERT_TRUE(test::eventually([] { return colours().size() == 5; }));
    EXPECT_EQ(a_vextvfapi_prphrl_set_mic_led(kOff), 0);
    EXPECT_TRUE(ends(s32Threads));
    EXPECT_THAT(colours(), testing::ElementsAre(0xFF0000, 0x00FF00, 0x0000FF, 0, 0xFF0000, 0x00FF00, 0x0000FF, 0));
    const std::vector<vset::pm::LedChange> history = vset::pm::ledHistory();
    std::vector<double> seconds;
    for (std::size_t i = 1; i < history.size(); ++i) {
        seconds.push_back(std::chrono::duration<double>(history[i].time - history[i - 1].time).count());
    }
    // A busy machine lengthens some steps, hardly all of them.
    EXPECT_THAT(*std::min_element(seconds.begin(), seconds.end()), AllOf(Gt(0.9), Lt(test::patient(1.9))));
}

}  // namespace
