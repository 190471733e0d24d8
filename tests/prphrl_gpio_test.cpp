// SPDX-License-Identifier: Apache-2.0
// Pads, and the thread that watches one.
#include <atomic>
#include <memory>

#include <gmock/gmock.h>

#include "support/log_capture.h"
#include "support/peripheral_fixture.h"
#include "support/sleeps.h"
#include "support/without_threads.h"
#include "vset/gpio.h"

namespace {

using ::testing::ElementsAre;
using ::testing::Gt;
using ::testing::HasSubstr;
using ::testing::Lt;
using ::testing::Not;
using ::testing::Pair;
using namespace std::chrono_literals;

constexpr unsigned int kPadEvent = 0x100005;
constexpr unsigned int kPad = 17;
constexpr unsigned int kSecond = 1000000;  // in microseconds

class Pads : public test::PeripheralTest {};

// --- Monitor ---------------------------------------------------------------------------------------------------------

TEST_F(Pads, ServicesThatNeedAThreadDoNotStartWithoutOne) {
    SKIP_UNDER_EMULATION();
    constexpr unsigned int kCycle = 0;
    const unsigned char end[] = ";";
    auto none = std::make_unique<test::WithoutThreads>();
    EXPECT_EQ(a_vextvfapi_prphrl_gpio_monitor_start(kPad, 100, 0), -1);
    EXPECT_EQ(a_vextvfapi_prphrl_set_mic_led(kCycle), -1);
    EXPECT_EQ(a_vextvfapi_prphrl_set_uart_pipe_mode(1, end), -1);
    EXPECT_EQ(a_vextvfapi_prphrl_std_factory_uart_start(test::kBaud115200, 0,
                                                        fapi_core::E_VEXTVFAPI_STD_FACTORY_UART_READ_WRITE),
              -1);
    none.reset();
    EXPECT_EQ(a_vextvfapi_prphrl_gpio_monitor_start(kPad, 100, 0), 0);
    EXPECT_EQ(a_vextvfapi_prphrl_gpio_monitor_stop(), 0);
}

class Monitor : public test::PeripheralServiceTest {
protected:
    Monitor() { test::onSleep(); }
    void stopService() override {
        test::onSleep();
        a_vextvfapi_prphrl_gpio_monitor_stop();
    }

    // Waits for `count` events; returns the values of all events so far.
    std::vector<int> levels(std::size_t count = 0) {
        std::vector<int> values;
        for (const test::Event& event : events.wait(count)) {
            EXPECT_EQ(event, (test::Event{kPadEvent, event.value, "", ""}));
            values.push_back(event.value);
        }
        return values;
    }

    // Waits until the pad has been read that often.
    static bool reads(std::uint64_t count) {
        return test::eventually([&] { return vset::gpio::pad(kPad).u64Reads >= count; });
    }

    // A stop that waits for its whole time-out, and does so in no time.
    static void stopTimesOut() {
        test::onSleep([](unsigned int) {});
        EXPECT_EQ(a_vextvfapi_prphrl_gpio_monitor_stop(), -1);
        EXPECT_EQ(test::sleepCounts()[kSecond], 10u);
        test::onSleep();
    }
};

TEST_F(Monitor, CountsDifferingReadings) {
    struct Row {
        unsigned int debounce;
        std::vector<unsigned char> readings;  // the first is the starting level, the last one stays
        std::vector<int> reported;
    };
    for (const Row& row : {Row{2, {0, 1, 0, 1, 0, 1, 0, 0, 0}, {1, 0}}, Row{2, {0, 1, 0, 1, 0}, {}},
                           Row{1, {0, 1, 1, 0, 1, 1}, {1}}, Row{1, {1, 0, 0, 1, 1, 0, 0}, {0, 1, 0}},
                           Row{0, {0, 1, 0, 0, 1}, {1, 0, 1}}, Row{0xFFFFFFFF, {0, 1, 1, 1}, {}}}) {
        vset::gpio::play(kPad, row.readings);
        const std::uint64_t before = vset::gpio::pad(kPad).u64Reads;
        ASSERT_EQ(a_vextvfapi_prphrl_gpio_monitor_start(kPad, 100, row.debounce), 0);
        ASSERT_TRUE(reads(before + row.readings.size() + 3));
        EXPECT_EQ(a_vextvfapi_prphrl_gpio_monitor_stop(), 0);
        EXPECT_EQ(levels(), row.reported) << ::testing::PrintToString(row.readings);
        events.clear();
    }
}

TEST_F(Monitor, WatchesOnePadAtATime) {
    const std::string log = test::logOf([&] {
        ASSERT_EQ(a_vextvfapi_prphrl_gpio_monitor_start(kPad, 1500, 0), 0);
        EXPECT_EQ(a_vextvfapi_prphrl_gpio_monitor_start(kPad, 1000, 0), -1);
        ASSERT_TRUE(reads(3));
        EXPECT_THAT(test::threadNames(), ::testing::Contains("GpioMonitor_Tas"));
        // An operation on another pad does not affect the monitor.
        EXPECT_EQ(a_vextvfapi_prphrl_control_gpio(kPad + 1, 1), 0);
        vset::gpio::drive(kPad, 1);
        EXPECT_EQ(levels(1), std::vector<int>{1});
        vset::inject({"HW_GPIO_Close"});
        leavesOpen("HW_GPIO");
        EXPECT_EQ(a_vextvfapi_prphrl_gpio_monitor_stop(), 0);
    });
    EXPECT_THAT(test::sleepCounts(), ElementsAre(Pair(1500, Gt(1u)), Pair(kSecond, Lt(10u))))
        << "the delay between readings, and polls of the stop";
    for (const char* text :
         {"[gpio monitor] Start GPIO[17] monitor\n\n", "[gpio monitor] GPIO monitor started already.\n\n",
          "[gpio monitor]u32DelayUs = 1500\n\n", "[gpio monitor] Waitting for GpioMonitor task exit...\n\n",
          "[gpio monitor] GpioMonitor task stopped...\n\n", "[gpio monitor] gpio close handle fail\n\n",
          "[gpio monitor]Stop GpioMonitor Task\n\n"}) {
        EXPECT_THAT(log, HasSubstr(text));
    }
    EXPECT_EQ(a_vextvfapi_prphrl_gpio_monitor_stop(), 0) << "nothing runs";
}

TEST_F(Monitor, EndsWithOneEventWhenThePadFails) {
    refuses("HW_GPIO_GetInput");
    struct Row {
        const char* name;
        unsigned int pad;
        bool broken;         // from the beginning
        bool opens;          // else the chip answers no handle
        std::uint64_t good;  // readings until the pad breaks
    };
    // Each start works without a stop of the monitor before, which has closed its pad.
    for (const Row& row :
         {Row{"pad 0", 0, false, true, 0}, Row{"no handle", kPad, false, false, 0},
          Row{"the first reading fails", kPad, true, true, 0}, Row{"a later reading fails", kPad, false, true, 2}}) {
        SCOPED_TRACE(row.name);
        vset::gpio::setBroken(kPad, row.broken);
        if (!row.opens) {
            vset::inject({"HW_GPIO_Open", HW_OK});
        }
        const std::uint64_t before = vset::gpio::pad(kPad).u64Reads;
        ASSERT_TRUE(test::eventually([&] { return a_vextvfapi_prphrl_gpio_monitor_start(row.pad, 100, 0) == 0; }));
        ASSERT_TRUE(reads(before + row.good));
        vset::gpio::setBroken(kPad, true);
        EXPECT_EQ(levels(1), std::vector<int>{255});
        ASSERT_TRUE(test::eventually([] { return !vset::gpio::pad(kPad).bOpen; }));
        EXPECT_EQ(levels(), std::vector<int>{255});
        events.clear();
    }
}

TEST_F(Monitor, APadThatCannotBeOpenedCountsAsStartedUntilAStop) {
    refuses("HW_GPIO_GetHandle");
    refuses("HW_GPIO_Open");
    const int threads = test::threads();
    const std::string log = test::logOf([&] {
        ASSERT_EQ(a_vextvfapi_prphrl_gpio_monitor_start(256, 100, 0), 0);
        EXPECT_TRUE(test::eventually([&] { return count("HW_GPIO_Open") == 1 && test::threads() == threads; }));
        EXPECT_EQ(a_vextvfapi_prphrl_gpio_monitor_start(kPad, 100, 0), -1);
        stopTimesOut();
    });
    EXPECT_THAT(log, HasSubstr("[gpio monitor] Waitting for GpioMonitor task timeout...\n\n"));
    EXPECT_EQ(events.count(), 0u);
    const std::string goodLog = test::logOf([] {
        EXPECT_EQ(a_vextvfapi_prphrl_gpio_monitor_start(kPad, 100, 0), 0);
        EXPECT_EQ(a_vextvfapi_prphrl_gpio_monitor_stop(), 0);
    });
    EXPECT_THAT(goodLog, Not(HasSubstr("gpio close handle fail")));
    // One that a callback holds has not ended, whatever became of the one before.
    vset::gpio::play(kPad, {0, 1});
    std::atomic<bool> mayEnd{false};
    events.onEvent([&](const test::Event&) { test::eventually([&] { return mayEnd.load(); }, 60s); });
    ASSERT_EQ(a_vextvfapi_prphrl_gpio_monitor_start(kPad, 100, 0), 0);
    events.wait(1);
    stopTimesOut();
    EXPECT_EQ(a_vextvfapi_prphrl_gpio_monitor_start(kPad, 100, 0), -1) << "it still runs";
    mayEnd = true;
    EXPECT_EQ(a_vextvfapi_prphrl_gpio_monitor_stop(), 0);
}

// A pad that changes with every reading, at full speed, while another pad is used.
TEST_F(Monitor, RunsUnderLoad) {
    vset::gpio::hold(kPad + 1);
    const test::Repeating host([] {
        unsigned char level = 0;
        a_vextvfapi_prphrl_control_gpio(kPad + 1, 1);
        a_vextvfapi_prphrl_get_gpio_status(kPad + 1, &level);
    });
    std::vector<unsigned char> readings(301);
    for (std::size_t i = 0; i < readings.size(); ++i) {
        readings[i] = i % 2 == 0 ? 0 : 1;
    }
    for (const unsigned int delay : {0u, 10u}) {
        vset::gpio::play(kPad, readings);
        ASSERT_EQ(a_vextvfapi_prphrl_gpio_monitor_start(kPad, delay, 0), 0);
        EXPECT_EQ(levels(300), std::vector<int>(readings.begin() + 1, readings.end()));
        ASSERT_EQ(a_vextvfapi_prphrl_gpio_monitor_stop(), 0);
        events.clear();
    }
}

}  // namespace
