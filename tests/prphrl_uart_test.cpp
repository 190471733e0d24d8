// SPDX-License-Identifier: Apache-2.0
// The factory UART: lines through the middleware's serial ports.
#include <gmock/gmock.h>

#include "support/descriptors.h"
#include "support/log_capture.h"
#include "support/peripheral_fixture.h"

namespace {

using test::Event;
using test::kUartData;
using namespace std::chrono_literals;
using ::testing::AllOf;
using ::testing::ContainsRegex;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class FactoryUart : public test::PeripheralServiceTest {
protected:
    void stopService() override { a_vextvfapi_prphrl_stop_factory_uart(0); }

    static int start() { return a_vextvfapi_prphrl_start_factory_uart(test::kBaud115200, 0, 0); }
};

TEST_F(FactoryUart, LinesBecomeEvents) {
    const std::string log = test::logOf([&] {
        ASSERT_EQ(start(), 1);
        vset::uart::type(0, std::string("AB\r\nC\0D\n\n\rE;F\r", 14));
        EXPECT_THAT(events.wait(3),
                    ElementsAre(Event{kUartData, 0, "AB", "AB"}, Event{kUartData, 0, "C", std::string("C\0D", 3)},
                                Event{kUartData, 0, "E;F", "E;F"}));
        EXPECT_EQ(a_vextvfapi_prphrl_stop_factory_uart(0), 1);
    });
    EXPECT_THAT(log, HasSubstr("[I] <_HW_UART_Callback> [factory_uart] AB\n\nVexTvFApiPeripheral(imp) [I] "
                               "<_HW_UART_Callback> [start_factory_uart] Uart command length is 0\n\n"));
    vset::uart::type(0, "lost\r");
    EXPECT_EQ(events.settled(50ms).size(), 3u) << "nothing comes after the stop";
}

TEST_F(FactoryUart, AMessageWithoutMemoryIsLost) {
    ASSERT_EQ(start(), 1);
    for (unsigned int from = 1; from <= 2; ++from) {
        SCOPED_TRACE(from);
        events.clear();
        vset::inject({vset::kThrowingAllocation, 0, from});
        EXPECT_THAT(test::logOf([&] {
                        vset::uart::type(0, "a text that needs memory of its own\r");
                        vset::uart::type(0, "works\r");
                        EXPECT_THAT(events.data(1), ElementsAre("works"));
                    }),
                    Not(HasSubstr("length is 0")));
        vset::clearFaults();
    }
}

TEST_F(FactoryUart, OnlyAPortOpenedHereIsClosed) {
    refuses("HW_UART_UnRegisterCallback");
    ASSERT_EQ(a_vextvfapi_prphrl_start_factory_uart(2, 4, 17), 1);
    EXPECT_TRUE(vset::uart::port(4).bOpen);
    EXPECT_EQ(vset::uart::port(4).u32BaudRate, 2u);
    EXPECT_EQ(vset::uart::port(4).u32DeviceType, 17u);
    EXPECT_EQ(a_vextvfapi_prphrl_stop_factory_uart(4), 1);
    EXPECT_FALSE(vset::uart::port(4).bOpen);

    vset::uart::hold(1);
    // The device type of a port that is open already does not count.
    ASSERT_EQ(a_vextvfapi_prphrl_start_factory_uart(1, 1, -5), 1);
    vset::uart::type(1, "found\r");
    EXPECT_THAT(events.data(1), ElementsAre("found"));
    EXPECT_EQ(a_vextvfapi_prphrl_stop_factory_uart(1), 1);
    EXPECT_TRUE(vset::uart::port(1).bOpen);
    EXPECT_FALSE(vset::uart::port(1).bCallback);
}

TEST_F(FactoryUart, WhatIsOutOfRangeTheMiddlewareRefuses) {
    refuses("HW_UART_Open");
    refuses("HW_UART_GetHandle");
    struct Row {
        signed char baudrate, port, device;
    };
    for (const Row& row :
         {Row{5, 0, 0}, Row{-1, 0, 0}, Row{4, 5, 0}, Row{4, -1, 0}, Row{4, 127, 0}, Row{4, 0, 18}, Row{4, 0, -128}}) {
        EXPECT_EQ(a_vextvfapi_prphrl_start_factory_uart(row.baudrate, row.port, row.device), 0);
        EXPECT_THAT(vset::journal().back().strArguments, HasSubstr("4294967295"));
    }
    EXPECT_EQ(start(), 1);
    EXPECT_EQ(a_vextvfapi_prphrl_stop_factory_uart(-1), 1) << "stops, but cannot name what to close";
    EXPECT_TRUE(vset::uart::port(0).bOpen);
    EXPECT_EQ(start(), 1);
    EXPECT_EQ(a_vextvfapi_prphrl_stop_factory_uart(0), 1);
    EXPECT_FALSE(vset::uart::port(0).bOpen);
}

// After a failed baud rate the callback is still registered and finds no buffer.
TEST_F(FactoryUart, BytesWithoutABufferAreLost) {
    vset::inject({"HW_UART_SetBaudrate", 3});
    const std::string log = test::logOf([] {
        ASSERT_EQ(start(), 0);
        vset::uart::type(0, "A");
        ASSERT_TRUE(test::eventually([] {
            const vset::uart::Port port = vset::uart::port(0);
            return port.u64Received == 1 && port.u32Waiting == 0;
        }));
        a_vextvfapi_prphrl_stop_factory_uart(0);
    });
    EXPECT_THAT(log, HasSubstr("[E] <_HW_UART_Callback> [factory_uart] Fail: _pu8DataBuff is invalid!\n\n"));
}

TEST_F(FactoryUart, TheLinksExcludeEachOther) {
    ASSERT_EQ(start(), 1);
    vset::clearJournal();
    const std::string log = test::logOf([] {
        EXPECT_EQ(start(), 0);
        EXPECT_EQ(a_vextvfapi_prphrl_std_factory_uart_start(4, 1, fapi_core::E_VEXTVFAPI_STD_FACTORY_UART_READ), -1);
    });
    EXPECT_THAT(calls(), Not(testing::Contains("HW_UART_GetHandle"))) << "the port is not touched";
    for (const std::string tag : {"[start_factory_uart] ", "[std_factory_uart] "}) {
        EXPECT_THAT(log, HasSubstr(tag + "FactoryUart started already.\n\n"));
        EXPECT_THAT(log, HasSubstr(tag + "Please call a_vextvfapi_prphrl_stop_factory_uart() to stop it first.\n\n"));
    }
    vset::uart::type(0, "still here\n");
    EXPECT_THAT(events.data(1), ElementsAre("still here"));
}

// 262,144 bytes are a line; the byte after them is lost together with them.
TEST_F(FactoryUart, ALineIsNoLongerThanTheBuffer) {
    ASSERT_EQ(start(), 1);
    const std::string longest(0x40000, 'x');
    const auto type = [](const std::string& bytes) {
        // The port's queue takes such portions.
        for (std::size_t i = 0; i < bytes.size(); i += 32768) {
            vset::uart::type(0, std::string_view(bytes).substr(i, 32768));
            ASSERT_TRUE(test::eventually([] { return vset::uart::port(0).u32Waiting == 0; }));
        }
    };
    type(longest + "\r");
    const std::string log = test::logOf([&] {
        type(longest + "y" + "AB\r");
        EXPECT_THAT(events.data(2, 30s), ElementsAre(longest, "AB"));
    });
    EXPECT_THAT(log,
                HasSubstr("[E] <_HW_UART_Callback> \033[43;31m[factory_uart] _pu8DataBuff is overflow\033[0m\n\n"));
    EXPECT_EQ(vset::uart::port(0).u64Dropped, 0u);
}

TEST_F(FactoryUart, WritesTheBytesAndALineEnd) {
    const unsigned char data[] = {'O', 'K', 0, 0xFF};
    const std::string log = test::logOf([&] {
        EXPECT_EQ(a_vextvfapi_prphrl_write_factory_uart(data, 0), 0);
        EXPECT_EQ(a_vextvfapi_prphrl_write_factory_uart(data, 4), 0) << "not started";
    });
    EXPECT_THAT(log, AllOf(ContainsRegex("\033\\[31m \\[write_factory_uart\\] parameter error: [0-9]+\033\\[m"),
                           ContainsRegex("\\[write_factory_uart\\] start factory uart error: [0-9]+\033\\[m")));
    EXPECT_EQ(a_vextvfapi_prphrl_stop_factory_uart(0), 1) << "nothing to stop";
    ASSERT_EQ(start(), 1);
    EXPECT_EQ(a_vextvfapi_prphrl_write_factory_uart(data, 4), 1);
    EXPECT_EQ(vset::uart::sent(0), std::string("OK\0\xFF\r\n", 6));
    vset::inject({"HW_UART_Write", 2});
    vset::uart::clearSent(0);
    EXPECT_EQ(a_vextvfapi_prphrl_write_factory_uart(data, 4), 0);
    EXPECT_THAT(vset::uart::sent(0), IsEmpty()) << "no line end without the line";
}

// The callback holds the port's thread; a stop waits for it, and what comes later has no callback any more.
TEST_F(FactoryUart, AStopWaitsForACallbackThatTakesLong) {
    std::atomic<bool> bReturned{false};
    events.onEvent([&](const Event&) {
        std::this_thread::sleep_for(300ms);
        bReturned = true;
    });
    ASSERT_EQ(start(), 1);
    vset::uart::type(0, "slow\rnext\r");
    events.wait(1);
    EXPECT_EQ(a_vextvfapi_prphrl_stop_factory_uart(0), 1);
    EXPECT_TRUE(bReturned);
    const std::size_t seen = events.count();
    EXPECT_EQ(events.settled(100ms).size(), seen);
}

TEST_F(FactoryUart, MayBeStoppedInsideTheCallback) {
    refuses("HW_UART_UnRegisterCallback");
    events.onEvent([](const Event&) { EXPECT_EQ(a_vextvfapi_prphrl_stop_factory_uart(0), 1); });
    ASSERT_EQ(start(), 1);
    vset::uart::type(0, "one\rtwo\r");
    EXPECT_THAT(events.data(1), ElementsAre("one"));
    EXPECT_EQ(events.settled(50ms).size(), 1u);
    events.onEvent(nullptr);
    events.clear();
    ASSERT_EQ(start(), 1);
    vset::uart::type(0, "three\r");
    // Bytes that had not been delivered have waited.
    EXPECT_THAT(events.data(2), ElementsAre("two", "three"));
}

TEST_F(FactoryUart, TheRoutingSwitchMovesTheLine) {
    ASSERT_EQ(a_vextvfapi_prphrl_start_factory_uart(test::kBaud115200, 1, 0), 1);
    EXPECT_EQ(a_vextvfapi_prphrl_switch_to_ttys1(true), 0);
    EXPECT_EQ(read("/sys/kernel/uart/uart_switch"), "1");
    EXPECT_TRUE(vset::uart::isCrossed());
    vset::uart::type(0, "moved\r");
    EXPECT_THAT(events.data(1), ElementsAre("moved"));
    EXPECT_EQ(a_vextvfapi_prphrl_switch_to_ttys1(false), 0);
    EXPECT_EQ(read("/sys/kernel/uart/uart_switch"), "0");
    vset::uart::type(1, "back\r");
    EXPECT_THAT(events.data(2), ElementsAre("moved", "back"));
    a_vextvfapi_prphrl_stop_factory_uart(1);

    const int before = test::openDescriptors();
    std::filesystem::remove(vset::hostPath("/sys/kernel/uart/uart_switch"));
    EXPECT_EQ(a_vextvfapi_prphrl_switch_to_ttys1(true), -1);
    int result = 0;
    const std::string log = test::logOf([&] { result = a_vextvfapi_prphrl_switch_to_ttys1(true); });
    EXPECT_THAT(log, HasSubstr("[STD UART] open /sys/kernel/uart/uart_switch fail\n\n"));
    EXPECT_GT(result, static_cast<int>(log.size())) << "how much was printed, the line number included";
    EXPECT_TRUE(test::areAllClosedSince(before));
}

TEST_F(FactoryUart, StartsAndStopsWhileBytesArrive) {
    const int before = test::openDescriptors();
    {
        // Slower than the port's queue overflows: bytes are to be missing for no other reason.
        const test::Repeating typist([] {
            if (vset::uart::port(0).u32Waiting < 30000) {
                vset::uart::type(0, "0123456789\r\n0123");
            }
        });
        for (int i = 0; i < 200; ++i) {
            ASSERT_EQ(start(), 1) << i;
            events.waitFor(events.count() + static_cast<std::size_t>(i % 3), 1s);
            ASSERT_EQ(a_vextvfapi_prphrl_stop_factory_uart(0), 1);
        }
    }
    EXPECT_TRUE(test::areAllClosedSince(before));
    for (const std::string& data : events.data(0)) {
        for (std::size_t i = 1; i < data.size(); ++i) {
            const bool bNext = data[i] == data[i - 1] + 1 || (data[i - 1] == '3' && data[i] == '0');
            ASSERT_TRUE(bNext) << "bytes are missing in " << data;
        }
    }
}

}  // namespace
