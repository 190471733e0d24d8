// SPDX-License-Identifier: Apache-2.0
// Pads, and the thread that watches one.
#include <atomic>

#include <gmock/gmock.h>

#include "support/log_capture.h"
#include "support/peripheral_fixture.h"
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

class Pads : public test::PeripheralTest {};

TEST_F(Pads, AnOutputDrivesItsLevel) {
    EXPECT_EQ(a_vextvfapi_prphrl_control_gpio(kPad, 2), -1);
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_EQ(a_vextvfapi_prphrl_control_gpio(kPad, 1), 0);
    EXPECT_TRUE(vset::gpio::pad(kPad).bOutput);
    EXPECT_EQ(vset::gpio::pad(kPad).u8Level, 1);
    EXPECT_EQ(a_vextvfapi_prphrl_control_gpio(0, 1), 0) << "pad 0 may be driven";
}

TEST_F(Pads, ARefusedOutputIsASuccessAndAFailedCloseIsNot) {
    vset::gpio::drive(kPad, 1);
    vset::inject({"HW_GPIO_SetOutput"});
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_prphrl_control_gpio(kPad, 0), 0); }),
                HasSubstr("[control_gpio] HW_GPIO_SetOutput fail\n\n"));
    EXPECT_EQ(vset::gpio::pad(kPad).u8Level, 1);
    leavesOpen("HW_GPIO");
    vset::inject({"HW_GPIO_Close"});
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_prphrl_control_gpio(kPad, 0), -1); }),
                HasSubstr("[gpio_status] gpio close handle fail\n\n"));
}

TEST_F(Pads, AFailedOpenDrivesNoOtherPad) {
    refuses("HW_GPIO_GetHandle");
    refuses("HW_GPIO_Open");
    ASSERT_EQ(a_vextvfapi_prphrl_control_gpio(kPad, 1), 0);
    vset::clearJournal();
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_prphrl_control_gpio(256, 0), -1); }),
                AllOf(HasSubstr("[control_gpio] Open handle fail\n\n"), HasSubstr("_hGpioHandle is NULL.\n\n")));
    EXPECT_THAT(calls(), Not(::testing::Contains("HW_GPIO_SetOutput")));
    EXPECT_EQ(vset::gpio::pad(kPad).u8Level, 1);
}

TEST_F(Pads, LevelAndInversionAreRead) {
    unsigned char u8Level = 9;
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
}

TEST_F(Pads, WhatCannotBeReadLeavesTheOutput) {
    refuses("HW_GPIO_GetHandle");
    refuses("HW_GPIO_Open");
    refuses("HW_GPIO_GetInput");
    unsigned char u8Level = 9;
    EXPECT_EQ(a_vextvfapi_prphrl_get_gpio_status(0, &u8Level), -1);
    EXPECT_EQ(a_vextvfapi_prphrl_get_gpio_status(256, &u8Level), -1);
    EXPECT_EQ(a_vextvfapi_prphrl_get_gpio_status(kPad, nullptr), -1);
    vset::gpio::setBroken(kPad, true);
    EXPECT_EQ(a_vextvfapi_prphrl_get_gpio_status(kPad, &u8Level), 0) << "contract: only the log reports it";
    EXPECT_EQ(u8Level, 9);
}

TEST_F(Pads, AFoundHandleIsNotClosed) {
    unsigned char u8Level = 9;
    vset::gpio::hold(kPad);
    EXPECT_THAT(
        test::logOf([&] { EXPECT_EQ(a_vextvfapi_prphrl_get_gpio_status(kPad, &u8Level), 0); }),
        HasSubstr("[E] <a_vextvfapi_prphrl_get_gpio_status> [gpio_status] get handle success, no need to close"));
    EXPECT_EQ(opened().size(), 1u);
}

// --- Monitor ---------------------------------------------------------------------------------------------------------

class Monitor : public test::PeripheralServiceTest {
protected:
    void stopService() override { a_vextvfapi_prphrl_gpio_monitor_stop(); }

    std::vector<int> reportedLevels() { return waitForLevels(0); }

    // Waits for `count` events; returns the values of all events so far.
    std::vector<int> waitForLevels(std::size_t count) {
        std::vector<int> values;
        for (const test::Event& event : events.wait(count)) {
            EXPECT_EQ(event.number, kPadEvent);
            EXPECT_TRUE(event.text.empty() && event.data.empty());
            values.push_back(event.value);
        }
        return values;
    }

    // Waits until the pad has been read that often.
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
        EXPECT_EQ(reportedLevels(), stRow.reported) << "debounce count " << stRow.u32Debounce;
        events.clear();
    }
}

TEST_F(Monitor, WatchesOnePadAtATime) {
    const std::string strLog = test::logOf([&] {
        ASSERT_EQ(a_vextvfapi_prphrl_gpio_monitor_start(kPad, 1000, 0), 0);
        EXPECT_EQ(a_vextvfapi_prphrl_gpio_monitor_start(kPad, 1000, 0), -1);
        ASSERT_TRUE(reads(2));
        // An operation on another pad does not affect the monitor.
        EXPECT_EQ(a_vextvfapi_prphrl_control_gpio(kPad + 1, 1), 0);
        vset::gpio::drive(kPad, 1);
        EXPECT_EQ(waitForLevels(1), std::vector<int>{1});
        const double seconds = test::secondsOf([] { EXPECT_EQ(a_vextvfapi_prphrl_gpio_monitor_stop(), 0); });
        EXPECT_GT(seconds, 0.9);
        EXPECT_LT(seconds, test::patient(8)) << "it does not wait for the whole time-out";
    });
    for (const char* pszText :
         {"[gpio monitor] Start GPIO[17] monitor\n\n", "[gpio monitor] GPIO monitor started already.\n\n",
          "[gpio monitor]u32DelayUs = 1000\n\n", "[gpio monitor] Waitting for GpioMonitor task exit...\n\n",
          "[gpio monitor] GpioMonitor task stopped...\n\n", "[gpio monitor]Stop GpioMonitor Task\n\n"}) {
        EXPECT_THAT(strLog, HasSubstr(pszText));
    }
    EXPECT_EQ(a_vextvfapi_prphrl_gpio_monitor_stop(), 0) << "nothing runs";
}

TEST_F(Monitor, EndsWithOneEventWhenThePadFails) {
    refuses("HW_GPIO_GetInput");
    const auto starts = [](unsigned int u32Pad) {
        return test::eventually([=] { return a_vextvfapi_prphrl_gpio_monitor_start(u32Pad, 100, 0) == 0; });
    };
    struct Row {
        const char* pszName;
        unsigned int u32Pad;
        bool bBroken;           // from the beginning
        std::uint64_t u64Good;  // readings until the pad breaks
    };
    // Each start works without a stop of the monitor before, which has closed its pad.
    for (const Row& stRow : {Row{"pad 0", 0, false, 0}, Row{"the first reading fails", kPad, true, 0},
                             Row{"a later reading fails", kPad, false, 2}}) {
        SCOPED_TRACE(stRow.pszName);
        vset::gpio::setBroken(kPad, stRow.bBroken);
        const std::uint64_t u64Before = vset::gpio::pad(kPad).u64Reads;
        ASSERT_TRUE(starts(stRow.u32Pad));
        ASSERT_TRUE(reads(u64Before + stRow.u64Good));
        vset::gpio::setBroken(kPad, true);
        EXPECT_EQ(waitForLevels(1), std::vector<int>{255});
        ASSERT_TRUE(test::eventually([] { return !vset::gpio::pad(kPad).bOpen; }));
        EXPECT_EQ(reportedLevels(), std::vector<int>{255});
        events.clear();
    }
}

TEST_F(Monitor, APadThatCannotBeOpenedCountsAsStartedUntilAStop) {
    refuses("HW_GPIO_GetHandle");
    refuses("HW_GPIO_Open");
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
    std::atomic<bool> bMayEnd{false};
    events.onEvent([&](const test::Event&) { test::eventually([&] { return bMayEnd.load(); }, 60s); });
    ASSERT_EQ(a_vextvfapi_prphrl_gpio_monitor_start(kPad, 100, 0), 0);
    events.wait(1);
    EXPECT_EQ(a_vextvfapi_prphrl_gpio_monitor_stop(), -1);
    EXPECT_EQ(a_vextvfapi_prphrl_gpio_monitor_start(kPad, 100, 0), -1) << "it still runs";
    bMayEnd = true;
    EXPECT_EQ(a_vextvfapi_prphrl_gpio_monitor_stop(), 0);
}

// A pad that changes with every reading, at full speed, while another pad is used.
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
    const std::vector<int> values = reportedLevels();
    EXPECT_GE(values.size(), 1000u);
    EXPECT_THAT(values, ::testing::Each(::testing::AnyOf(0, 1)));
}

}  // namespace
