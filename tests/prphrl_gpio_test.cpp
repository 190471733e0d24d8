// SPDX-License-Identifier: Apache-2.0
// Pads, and the thread that watches one.
#include <gmock/gmock.h>

#include "support/log_capture.h"
#include "support/serial_fixture.h"
#include "vset/gpio.h"

namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using namespace std::chrono_literals;

constexpr unsigned int kPadEvent = 0x100005;
constexpr unsigned int kPad = 17;

class Pads : public test::SerialTest {};

TEST_F(Pads, AreDriven) {
    vset::clearJournal();
    EXPECT_EQ(a_vextvfapi_prphrl_control_gpio(kPad, 2), -1);
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_EQ(a_vextvfapi_prphrl_control_gpio(kPad, 1), 0);
    EXPECT_TRUE(vset::gpio::pad(kPad).bOutput);
    EXPECT_EQ(vset::gpio::pad(kPad).u8Level, 1);
    EXPECT_THAT(opened(), IsEmpty());
    EXPECT_EQ(a_vextvfapi_prphrl_control_gpio(0, 1), 0) << "pad 0 may be driven";

    vset::inject({"HW_GPIO_SetOutput"});
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_prphrl_control_gpio(kPad, 0), 0); }),
                HasSubstr("[control_gpio] HW_GPIO_SetOutput fail\n\n"));
    EXPECT_EQ(vset::gpio::pad(kPad).u8Level, 1) << "a refusal is success, and changes nothing";
    vset::inject({"HW_GPIO_Close"});
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_prphrl_control_gpio(kPad, 0), -1); }),
                HasSubstr("[gpio_status] gpio close handle fail\n\n"));
}

TEST_F(Pads, AFailedOpenDrivesNoOtherPad) {
    ASSERT_EQ(a_vextvfapi_prphrl_control_gpio(kPad, 1), 0);
    vset::clearJournal();
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_prphrl_control_gpio(256, 0), -1); }),
                AllOf(HasSubstr("[control_gpio] Open handle fail\n\n"), HasSubstr("_hGpioHandle is NULL.\n\n")));
    EXPECT_THAT(calls(), Not(::testing::Contains("HW_GPIO_SetOutput")));
    EXPECT_EQ(vset::gpio::pad(kPad).u8Level, 1);
}

TEST_F(Pads, AreRead) {
    unsigned char u8Level = 9;
    EXPECT_EQ(a_vextvfapi_prphrl_get_gpio_status(0, &u8Level), -1);
    EXPECT_EQ(a_vextvfapi_prphrl_get_gpio_status(kPad, nullptr), -1);
    EXPECT_EQ(u8Level, 9);
    struct Row {
        unsigned char u8Level;
        bool bInverted;
        const char* pszLevel;
        const char* pszInvert;
    };
    for (const Row& stRow : {Row{0, false, "On(level high)", "FALSE"}, Row{1, false, "Off(level low)", "FALSE"},
                             Row{0, true, "On(level low)", "TRUE"}, Row{1, true, "Off(level high)", "TRUE"}}) {
        vset::gpio::drive(kPad, stRow.u8Level);
        vset::gpio::setInverted(kPad, stRow.bInverted);
        const std::string strLog =
            test::logOf([&] { EXPECT_EQ(a_vextvfapi_prphrl_get_gpio_status(kPad, &u8Level), 0); });
        EXPECT_EQ(u8Level, stRow.u8Level);
        EXPECT_THAT(strLog, AllOf(HasSubstr(std::string("  ==>Level: ") + stRow.pszLevel + "\n\n"),
                                  HasSubstr(std::string("  ==>Invert: ") + stRow.pszInvert + "\n\n")));
    }
    vset::gpio::setBroken(kPad, true);
    u8Level = 9;
    EXPECT_EQ(a_vextvfapi_prphrl_get_gpio_status(kPad, &u8Level), 0) << "only the log tells of it";
    EXPECT_EQ(u8Level, 9);
    EXPECT_EQ(a_vextvfapi_prphrl_get_gpio_status(256, &u8Level), -1);
    EXPECT_THAT(opened(), IsEmpty());
    vset::gpio::hold(kPad);
    EXPECT_THAT(
        test::logOf([&] { EXPECT_EQ(a_vextvfapi_prphrl_get_gpio_status(kPad, &u8Level), 0); }),
        HasSubstr("[E] <a_vextvfapi_prphrl_get_gpio_status> [gpio_status] get handle success, no need to close"));
    EXPECT_EQ(opened().size(), 1u);
}

// --- Monitor ---------------------------------------------------------------------------------------------------------

class Monitor : public test::SerialServiceTest {
protected:
    void stopService() override { a_vextvfapi_prphrl_gpio_monitor_stop(); }

    // Values of the events, of which `count` are to come.
    std::vector<int> levels(std::size_t count) {
        std::vector<int> values;
        for (const test::Event& event : events.wait(count)) {
            EXPECT_EQ(event.number, kPadEvent);
            EXPECT_TRUE(event.text.empty() && event.data.empty());
            values.push_back(event.value);
        }
        return values;
    }

    // Until the pad has been read that often.
    static bool reads(std::uint64_t u64Count) {
        return test::eventually([&] { return vset::gpio::pad(kPad).u64Reads >= u64Count; });
    }

    test::Events events;
};

TEST_F(Monitor, CountsDifferingReadings) {
    struct Row {
        unsigned int u32Debounce;
        std::vector<unsigned char> readings;  // the first is the starting level
        std::vector<int> reported;
    };
    const Row rows[] = {
        {2, {0, 1, 0, 1, 0, 1}, {1}},          {2, {0, 1, 0, 1, 0, 0}, {}},    {0, {0, 1, 0, 0, 1}, {1, 0, 1}},
        {1, {1, 0, 0, 1, 1, 0, 0}, {0, 1, 0}}, {0xFFFFFFFF, {0, 1, 1, 1}, {}},
    };
    for (const Row& stRow : rows) {
        vset::gpio::play(kPad, stRow.readings);
        const std::uint64_t u64Before = vset::gpio::pad(kPad).u64Reads;
        ASSERT_EQ(a_vextvfapi_prphrl_gpio_monitor_start(kPad, 100, stRow.u32Debounce), 0);
        ASSERT_TRUE(reads(u64Before + stRow.readings.size()));
        // The last level stays; with readings of it still differing the debounce could end later than the list.
        vset::gpio::drive(
            kPad, stRow.reported.empty() ? stRow.readings[0] : static_cast<unsigned char>(stRow.reported.back()));
        EXPECT_EQ(a_vextvfapi_prphrl_gpio_monitor_stop(), 0);
        EXPECT_EQ(levels(0), stRow.reported) << "debounce count " << stRow.u32Debounce;
        events.clear();
    }
    EXPECT_THAT(opened(), IsEmpty());
}

TEST_F(Monitor, WatchesOnePadAtATime) {
    const std::string strLog = test::logOf([&] {
        ASSERT_EQ(a_vextvfapi_prphrl_gpio_monitor_start(kPad, 1000, 0), 0);
        EXPECT_EQ(a_vextvfapi_prphrl_gpio_monitor_start(kPad, 1000, 0), -1);
        ASSERT_TRUE(reads(2));
        // An operation on another pad does not lead the monitor astray.
        EXPECT_EQ(a_vextvfapi_prphrl_control_gpio(kPad + 1, 1), 0);
        vset::gpio::drive(kPad, 1);
        EXPECT_EQ(levels(1), std::vector<int>{1});
        const double seconds = test::secondsOf([] { EXPECT_EQ(a_vextvfapi_prphrl_gpio_monitor_stop(), 0); });
        EXPECT_GT(seconds, 0.9);
        EXPECT_LT(seconds, 2.5);
    });
    for (const char* pszText :
         {"[gpio monitor] Start GPIO[17] monitor\n\n", "[gpio monitor] GPIO monitor started already.\n\n",
          "[gpio monitor]u32DelayUs = 1000\n\n", "[gpio monitor] Waitting for GpioMonitor task exit...\n\n",
          "[gpio monitor] GpioMonitor task stopped...\n\n", "[gpio monitor]Stop GpioMonitor Task\n\n"}) {
        EXPECT_THAT(strLog, HasSubstr(pszText));
    }
    EXPECT_EQ(a_vextvfapi_prphrl_gpio_monitor_stop(), 0) << "nothing runs";
}

TEST_F(Monitor, EndsWithAnEventWhenThePadFails) {
    EXPECT_EQ(a_vextvfapi_prphrl_gpio_monitor_start(0, 100, 0), 0);
    EXPECT_EQ(levels(1), std::vector<int>{255}) << "pad 0";
    events.clear();
    vset::gpio::setBroken(kPad, true);
    ASSERT_TRUE(test::eventually([] { return a_vextvfapi_prphrl_gpio_monitor_start(kPad, 100, 0) == 0; }))
        << "the next start works without a stop";
    EXPECT_EQ(levels(1), std::vector<int>{255}) << "the first reading fails";
    events.clear();
    vset::gpio::setBroken(kPad, false);
    ASSERT_TRUE(test::eventually([] { return !vset::gpio::pad(kPad).bOpen; })) << "the monitor closes what it opened";
    vset::gpio::hold(kPad);
    ASSERT_TRUE(test::eventually([] { return a_vextvfapi_prphrl_gpio_monitor_start(kPad, 100, 0) == 0; }));
    ASSERT_TRUE(reads(2));
    vset::gpio::setBroken(kPad, true);
    EXPECT_EQ(levels(1), std::vector<int>{255}) << "a later reading fails";
    std::this_thread::sleep_for(100ms);
    EXPECT_EQ(levels(0), std::vector<int>{255}) << "it is reported once";
    EXPECT_EQ(opened().size(), 1u) << "the player's handle stays open";
}

TEST_F(Monitor, APadThatCannotBeOpenedCountsAsStartedUntilAStop) {
    ASSERT_EQ(a_vextvfapi_prphrl_gpio_monitor_start(256, 100, 0), 0);
    std::this_thread::sleep_for(300ms);
    EXPECT_EQ(a_vextvfapi_prphrl_gpio_monitor_start(kPad, 100, 0), -1);
    EXPECT_EQ(events.count(), 0u);
    const std::string strLog = test::logOf([] {
        const double seconds = test::secondsOf([] { EXPECT_EQ(a_vextvfapi_prphrl_gpio_monitor_stop(), -1); });
        EXPECT_GT(seconds, 9.5);
    });
    EXPECT_THAT(strLog, HasSubstr("[gpio monitor] Waitting for GpioMonitor task timeout...\n\n"));
    EXPECT_EQ(a_vextvfapi_prphrl_gpio_monitor_start(kPad, 100, 0), 0);
    EXPECT_EQ(a_vextvfapi_prphrl_gpio_monitor_stop(), 0);
}

TEST_F(Monitor, ACallbackThatHoldsItKeepsItStarted) {
    vset::gpio::play(kPad, {0, 1});
    events.onEvent([](const test::Event&) { std::this_thread::sleep_for(12s); });
    ASSERT_EQ(a_vextvfapi_prphrl_gpio_monitor_start(kPad, 100, 0), 0);
    events.wait(1);
    EXPECT_EQ(a_vextvfapi_prphrl_gpio_monitor_stop(), -1);
    EXPECT_EQ(a_vextvfapi_prphrl_gpio_monitor_start(kPad, 100, 0), -1) << "it still runs";
    EXPECT_EQ(a_vextvfapi_prphrl_gpio_monitor_stop(), 0);
}

// A pad that changes with every reading, at full speed, while other pads are used and the callback is replaced.
TEST_F(Monitor, RunsUnderLoad) {
    vset::gpio::hold(kPad + 1);
    const test::Repeating hand([] {
        static unsigned char u8Level = 0;
        vset::gpio::drive(kPad, u8Level ^= 1);
    });
    const test::Repeating host([] {
        unsigned char u8Level = 0;
        a_vextvfapi_prphrl_control_gpio(kPad + 1, 1);
        a_vextvfapi_prphrl_get_gpio_status(kPad + 1, &u8Level);
    });
    for (int i = 0; i < 5; ++i) {
        ASSERT_EQ(a_vextvfapi_prphrl_gpio_monitor_start(kPad, i % 2 == 0 ? 0 : 100, 0), 0);
        events.waitFor(events.count() + 200, 5s);
        ASSERT_EQ(a_vextvfapi_prphrl_gpio_monitor_stop(), 0);
    }
    std::vector<int> values = levels(0);
    EXPECT_GE(values.size(), 1000u);
    EXPECT_THAT(values, ::testing::Each(::testing::AnyOf(0, 1)));
}

}  // namespace
