// SPDX-License-Identifier: Apache-2.0
// The standard factory link: messages from a tty.
#include <atomic>
#include <future>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <termios.h>
#include <unistd.h>

#include "support/descriptors.h"
#include "support/log_capture.h"
#include "support/peripheral_fixture.h"
#include "support/sleeps.h"

namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ContainsRegex;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using Config = fapi_core::VexTvFApiStdFactoryUartConfig;
using test::Event;
using test::kBaud115200;
using namespace std::chrono_literals;

constexpr Config kRead = fapi_core::E_VEXTVFAPI_STD_FACTORY_UART_READ;
constexpr Config kWrite = fapi_core::E_VEXTVFAPI_STD_FACTORY_UART_WRITE;
constexpr Config kReadWrite = fapi_core::E_VEXTVFAPI_STD_FACTORY_UART_READ_WRITE;

int start(Config config = kReadWrite, signed char port = 0) {
    return a_vextvfapi_prphrl_std_factory_uart_start(kBaud115200, port, config);
}

int configure(int mode, int semicolon, unsigned int size) {
    return a_vextvfapi_prphrl_std_factory_uart_custom_config(static_cast<signed char>(mode),
                                                             static_cast<unsigned char>(semicolon), size);
}

speed_t speedOf(const std::string& path) {
    const std::string tty = vset::hostPath(path);
    const vset::HostPaths hostPaths;
    const int fd = open(tty.c_str(), O_RDONLY | O_NOCTTY | O_NONBLOCK);
    termios settings = {};
    EXPECT_EQ(tcgetattr(fd, &settings), 0);
    close(fd);
    return cfgetospeed(&settings);
}

class StdFactoryUart : public test::PeripheralServiceTest {
protected:
    // A stop sleeps until the thread has ended, at most as long as it asks for.
    StdFactoryUart() {
        test::onSleep([this](unsigned int seconds) {
            // What has just been started has no name yet.
            std::this_thread::sleep_for(5ms);
            test::eventually([this] { return hasEnded(); }, seconds * 1000ms);
        });
    }

    void stopService() override {
        // The mode outlives the link.
        configure(0, 0, 0);
        a_vextvfapi_prphrl_std_factory_uart_stop();
    }

    void expectWorks() {
        events.clear();
        ASSERT_EQ(start(), 0);
        vset::uart::type(0, "works\n");
        EXPECT_THAT(events.data(1), ElementsAre("works"));
    }
};

TEST_F(StdFactoryUart, LinesBecomeEvents) {
    ASSERT_EQ(start(), 0);
    vset::uart::type(0, std::string("AB\r\nC\0D\n\nE", 10));
    EXPECT_THAT(events.wait(2), ElementsAre(Event{test::kUartData, 0, "", "AB"},
                                            Event{test::kUartData, 0, "", std::string("C\0D", 3)}));
    vset::uart::type(0, "F\r");
    EXPECT_THAT(events.data(3), ElementsAre("AB", std::string("C\0D", 3), "EF"));
    EXPECT_THAT(test::threadNames(), Contains("StdFactoryUart_"));
}

TEST_F(StdFactoryUart, AMessageWithoutMemoryIsLost) {
    ASSERT_EQ(start(), 0);
    vset::inject({vset::kThrowingAllocation});
    vset::uart::type(0, "a text that needs memory of its own\n");
    vset::uart::type(0, "works\n");
    EXPECT_THAT(events.data(1), ElementsAre("works"));
}

// Each change of the mode may find bytes of the mode before.
TEST_F(StdFactoryUart, ModesChangeWhileItRuns) {
    ASSERT_EQ(start(), 0);
    EXPECT_EQ(configure(1, 'x', 4), 0);
    // A new limit holds from the next read on, which begins within half a second.
    const auto nextRead = [] { std::this_thread::sleep_for(test::patient(900ms)); };
    nextRead();
    vset::uart::type(0, "abcd\r\nghij");
    EXPECT_THAT(events.data(2), ElementsAre("abcd", "\r\ngh"));
    // Held bytes go out before the limit changes.
    EXPECT_EQ(configure(2, ';', 8), 0);
    EXPECT_THAT(events.data(3), ElementsAre("abcd", "\r\ngh", "ij"));
    events.clear();
    nextRead();
    vset::uart::type(0, "A\nB;;12345678;z;");
    EXPECT_THAT(events.data(3), ElementsAre("A\nB", "12345678", "z"));
}

TEST_F(StdFactoryUart, RefusesAnUnknownMode) {
    EXPECT_THAT(
        test::logOf([] { EXPECT_EQ(configure(0, 0, 0), -1); }),
        ContainsRegex("\033\\[31m \\[std_factory_uart_custom_config\\] start factory uart error: [0-9]+\033\\[m"));
    ASSERT_EQ(start(), 0);
    struct Row {
        int mode;
        unsigned int size;
        std::vector<const char*> texts;
    };
    for (const Row& row :
         {Row{4, 0, {"\033[31m [std_factory_uart_custom_config] Invalid UART mode!\033[m\n\n"}},
          Row{2, 16, {"set to mode: 2\n\n", "set custom semicolon: 0x3b\n\n", "u32TargetBufferLimit: 16\n\n"}},
          Row{1, 0, {"restore custom semicolon: 0x0d\n\n", "u32TargetBufferLimit: 16\n\n"}},
          Row{1, 0x40001, {"buffer size is larger than UART_DEFAULT_AUTO_DATA_TRANS_BUFF_SIZE!\n\n", ": 262144\n\n"}},
          Row{1, 0x3FFFF, {"u32TargetBufferLimit: 262143\n\n"}},
          Row{-1, 0, {"set to mode: -1\n\n", "u32TargetBufferLimit: 262143\n\n"}},
          Row{3, 99, {"u32TargetBufferLimit: 0\n\n"}}, Row{0, 99, {"u32TargetBufferLimit: 262144\n\n"}}}) {
        const std::string log =
            test::logOf([&] { EXPECT_EQ(configure(row.mode, ';', row.size), row.mode > 3 ? -1 : 0); });
        for (const char* text : row.texts) {
            EXPECT_THAT(log, HasSubstr(text));
        }
        EXPECT_EQ(log.find("larger") != std::string::npos, row.size == 0x40001);
    }
}

// Terminator and limit are put back, the mode is not.
TEST_F(StdFactoryUart, ARestartKeepsTheMode) {
    ASSERT_EQ(start(), 0);
    EXPECT_EQ(configure(2, ';', 3), 0);
    EXPECT_EQ(a_vextvfapi_prphrl_std_factory_uart_stop(), 0);
    ASSERT_EQ(start(), 0);
    vset::uart::type(0, "ab;cd\nef\rg");
    EXPECT_THAT(events.data(1), ElementsAre("ab;cd\nef"));
}

TEST_F(StdFactoryUart, NoByteIsLost) {
    ASSERT_EQ(start(), 0);
    std::string typed;
    std::vector<std::string> lines;
    for (int i = 0; i < 20000; ++i) {
        lines.push_back("line " + std::to_string(i) + std::string(static_cast<std::size_t>(i % 50), '.'));
        typed += lines.back() + "\n";
    }
    vset::uart::type(0, typed);
    EXPECT_EQ(events.data(lines.size(), 60s), lines);
}

TEST_F(StdFactoryUart, WritesBytesAsTheyAre) {
    const unsigned char data[] = {'O', 'K', '\n', 0, 0xFF};
    const std::string log = test::logOf([&] {
        EXPECT_EQ(a_vextvfapi_prphrl_std_factory_uart_write(data, 5), -1) << "not started";
        EXPECT_EQ(a_vextvfapi_prphrl_std_factory_uart_write(data, 0), -1);
    });
    EXPECT_THAT(log, AllOf(HasSubstr("\033[31m [write_std_factory_uart] start factory uart error: "),
                           HasSubstr("\033[31m [write_std_factory_uart] parameter error: ")));
    ASSERT_EQ(start(), 0);
    EXPECT_EQ(a_vextvfapi_prphrl_std_factory_uart_write(data, 5), 0);
    EXPECT_TRUE(test::eventually([] { return vset::uart::sent(0) == std::string("OK\n\0\xFF", 5); }));
}

TEST_F(StdFactoryUart, WhatCannotStartLeavesTheNextStartFree) {
    const int before = test::openDescriptors();
    for (const auto& [from, log] : {std::pair{1, "_pu8UartDataBuffer allocate memory failed\n\n"},
                                    std::pair{2, "_pu8UartCbBuff allocate memory failed\n\n"}}) {
        // A start that fails early has freed both buffers.
        const auto port = static_cast<signed char>(from == 2 ? 2 : 0);
        EXPECT_EQ(a_vextvfapi_prphrl_std_factory_uart_start(port == 2 ? kBaud115200 : 5, port, kRead), -1);
        vset::inject({vset::kAllocation, 0, static_cast<unsigned int>(from)});
        EXPECT_THAT(test::logOf([] { EXPECT_EQ(start(), -1); }), HasSubstr(log));
    }
    EXPECT_TRUE(test::areAllClosedSince(before));
    expectWorks();
}

TEST_F(StdFactoryUart, ATtyThatCannotBeOpenedIsReported) {
    const std::string tty = vset::hostPath("/dev/ttyS1");
    const int before = test::openDescriptors();
    std::filesystem::remove(tty);
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(start(kReadWrite, 1), -1); }),
                HasSubstr("[STD UART]error 2 opening /dev/ttyS1: No such file or directory\n\n"));
    test::writeFile(tty, "no tty");
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(start(kReadWrite, 1), -1); }),
                AllOf(HasSubstr("[STD UART]error 25 from tcgetattr\n\n"),
                      HasSubstr("[std_factory_uart] start FactoryUart FAIL!\n\n")));
    EXPECT_TRUE(test::areAllClosedSince(before));
    EXPECT_EQ(_a_vextvfapi_prphrl_uartWritestr("x"), -1) << "nothing is open";
    ASSERT_EQ(start(kReadWrite, 0), 0);
}

// Reads end at once from then on: the link pauses after each.
TEST_F(StdFactoryUart, ATtyThatGoesAwayLeavesALinkThatStopsAndStartsAgain) {
    ASSERT_EQ(start(), 0);
    vset::uart::type(0, "before\n");
    events.wait(1);
    vset::uart::hangUp(0);
    EXPECT_TRUE(test::eventually([] { return test::sleepCounts()[1000] >= 5; }));
    EXPECT_EQ(a_vextvfapi_prphrl_std_factory_uart_stop(), 0);
    ASSERT_EQ(start(), 0);
    vset::uart::type(0, "after\n");
    EXPECT_THAT(events.data(2), ElementsAre("before", "after"));
}

TEST_F(StdFactoryUart, StopsWhenItIsSilentOrIdle) {
    const int before = test::openDescriptors();
    const std::string log = test::logOf([] {
        ASSERT_EQ(start(), 0);
        EXPECT_EQ(a_vextvfapi_prphrl_std_factory_uart_stop(), 0);
    });
    EXPECT_THAT(log, AllOf(HasSubstr("[STD UART]STD factory uart config: READ and WRITE\n\n"),
                           HasSubstr("[STD UART]Port /dev/ttyS0 opened.\n\n"),
                           HasSubstr("Waitting for stdFactoryUartMonitor task exit...\n\n"),
                           HasSubstr("[std_factory_uart] close fd\n\n"),
                           HasSubstr("stdFactoryUartMonitor task stopped...\n\n")));
    EXPECT_TRUE(test::areAllClosedSince(before));
    EXPECT_EQ(_a_vextvfapi_prphrl_uartWritestr(nullptr), -1);
    test::onSleep([](unsigned int) {});
    EXPECT_EQ(a_vextvfapi_prphrl_std_factory_uart_stop(), 0);
    EXPECT_EQ(test::sleepCounts()[1000000], 1u) << "it does not wait for the whole time-out";
}

TEST_F(StdFactoryUart, AStopWaitsForACallbackThatTakesLong) {
    std::atomic<bool> bEnded{false};
    events.onEvent([&](const Event&) {
        std::this_thread::sleep_for(300ms);
        bEnded = true;
    });
    ASSERT_EQ(start(), 0);
    vset::uart::type(0, "slow\n");
    events.wait(1);
    EXPECT_EQ(a_vextvfapi_prphrl_std_factory_uart_stop(), 0);
    EXPECT_TRUE(bEnded);
}

// Stopping the other link frees the buffer of both.
TEST_F(StdFactoryUart, EndsWithoutItsBuffer) {
    const int before = test::openDescriptors();
    const std::string log = test::logOf([&] {
        ASSERT_EQ(start(), 0);
        vset::uart::type(0, "one\n");
        events.wait(1);
        EXPECT_EQ(a_vextvfapi_prphrl_stop_factory_uart(0), 1);
        EXPECT_TRUE(test::eventually([this] { return hasEnded(); }));
    });
    EXPECT_TRUE(test::areAllClosedSince(before));
    EXPECT_THAT(log, HasSubstr("[std_factory_uart] _pu8UartCbBuff becomes NULL ptr! Please check it.\n\n"));
    expectWorks();
}

// Nothing stops a write-only link before its process ends. In a host without standard input the tty has its descriptor.
TEST_F(StdFactoryUart, ATtyWithDescriptorZeroStaysOpen) {
    leavesOpen("HW_UART");
    inFreshProcess([&] {
        const unsigned char data[] = {'o', 'k'};
        for (const auto& [config, access] :
             {std::pair{kRead, O_RDONLY}, std::pair{kReadWrite, O_RDWR}, std::pair{kWrite, O_WRONLY}}) {
            close(0);
            EXPECT_EQ(start(config), 0);
            // A thread has its name a moment after its start.
            EXPECT_TRUE(test::eventually([&, isEnd = config == kWrite] { return hasEnded() == isEnd; }));
            EXPECT_EQ(fcntl(0, F_GETFL) & (O_ACCMODE | O_SYNC), access | O_SYNC);
            EXPECT_EQ(a_vextvfapi_prphrl_std_factory_uart_write(data, 2), 0);
            EXPECT_EQ(a_vextvfapi_prphrl_std_factory_uart_stop(), config == kWrite ? -1 : 0);
            EXPECT_EQ(_a_vextvfapi_prphrl_uartWritestr("!"), config == kRead ? -1 : 1);
        }
        EXPECT_TRUE(test::eventually([] { return vset::uart::sent(0) == "ok!ok!"; })) << vset::uart::sent(0);
        test::onSleep([](unsigned int) {});
        EXPECT_EQ(a_vextvfapi_prphrl_std_factory_uart_stop(), -1);
        EXPECT_EQ(test::sleepCounts()[1000000], 10u);
        EXPECT_EQ(start(), -1);
        EXPECT_EQ(a_vextvfapi_prphrl_start_factory_uart(4, 0, 0), 0);
    });
}

// The next start comes as soon as the thread has ended, while the stop before it still sleeps.
TEST_F(StdFactoryUart, StartsAndStopsWhileBytesArrive) {
    test::onSleep([](unsigned int) { std::this_thread::sleep_for(1s); });
    const int before = test::openDescriptors();
    {
        const test::Repeating typist([] { vset::uart::type(0, "0123456789\r\n0123"); });
        std::vector<std::future<int>> stops;
        for (int i = 0; i < 200; ++i) {
            const auto baudrate = static_cast<signed char>(i % 5);
            ASSERT_TRUE(test::eventually([&] {
                return a_vextvfapi_prphrl_std_factory_uart_start(baudrate, 0, kReadWrite) == 0;
            })) << i;
            constexpr speed_t kSpeeds[] = {B19200, B38400, B57600, B230400, B115200};
            ASSERT_EQ(speedOf("/dev/ttyS0"), kSpeeds[baudrate]);
            configure((199 - i) % 4, '5', 7);
            if (i % 3 == 0) {
                events.waitFor(events.count() + 1, 1s);
            }
            stops.push_back(std::async(std::launch::async, a_vextvfapi_prphrl_std_factory_uart_stop));
        }
        for (std::future<int>& stop : stops) {
            EXPECT_EQ(stop.get(), 0);
        }
    }
    EXPECT_TRUE(test::areAllClosedSince(before));
    for (const std::string& data : events.data(0)) {
        ASSERT_THAT(data.find_first_not_of("0123456789\r\n"), std::string::npos) << "only bytes that were typed";
    }
}

// --- The tty ---------------------------------------------------------------------------------------------------------

class Tty : public test::PeripheralTest {
protected:
    void SetUp() override {
        PeripheralTest::SetUp();
        const std::string path = vset::hostPath("/dev/ttyS0");
        const vset::HostPaths hostPaths;
        tty = open(path.c_str(), O_RDWR | O_NOCTTY);
    }
    void TearDown() override {
        close(tty);
        PeripheralTest::TearDown();
    }

    termios settings() const {
        termios settings = {};
        EXPECT_EQ(tcgetattr(tty, &settings), 0);
        return settings;
    }

    int tty = -1;
};

TEST_F(Tty, IsARawLineOfEightBits) {
    termios before = settings();
    before.c_iflag |= IGNBRK | ICRNL | IXON | IXANY | IXOFF | INPCK;
    before.c_oflag |= OPOST | ONLCR;
    before.c_lflag |= ICANON | ECHO | ISIG;
    before.c_cflag |= CSTOPB | PARENB | PARODD | CRTSCTS | HUPCL;
    ASSERT_EQ(tcsetattr(tty, TCSANOW, &before), 0);

    EXPECT_TRUE(_a_vextvfapi_prphrl_setInterfaceAttr(tty, B57600, 0));
    termios after = settings();
    EXPECT_EQ(cfgetispeed(&after), static_cast<speed_t>(B57600));
    EXPECT_EQ(cfgetospeed(&after), static_cast<speed_t>(B57600));
    EXPECT_EQ(after.c_iflag & (IGNBRK | ICRNL | IXON | IXANY | IXOFF), 0u);
    EXPECT_NE(after.c_iflag & INPCK, 0u) << "the others stay";
    EXPECT_EQ(after.c_oflag, 0u);
    EXPECT_EQ(after.c_lflag, 0u);
    EXPECT_EQ(after.c_cflag & (CSIZE | CSTOPB | PARODD | CRTSCTS | CREAD | CLOCAL | HUPCL),
              static_cast<tcflag_t>(CS8 | CREAD | CLOCAL | HUPCL));
    EXPECT_EQ(after.c_cc[VTIME], 5) << "half a second";
    EXPECT_EQ(after.c_cc[VMIN], 0);

    // Only the bits of the parity are set. A pseudo-terminal always drops PARENB.
    EXPECT_TRUE(_a_vextvfapi_prphrl_setInterfaceAttr(tty, B19200, static_cast<int>(PARODD | CSTOPB | CRTSCTS)));
    EXPECT_EQ(settings().c_cflag & (CSTOPB | PARODD | CRTSCTS), static_cast<tcflag_t>(PARODD));
    for (const int blocking : {1, 0}) {
        EXPECT_TRUE(_a_vextvfapi_prphrl_setBlocking(tty, blocking));
        EXPECT_EQ(settings().c_cc[VMIN], blocking);
        EXPECT_EQ(settings().c_cc[VTIME], 5);
    }
}

TEST_F(StdFactoryUart, AFailedOpenForgetsTheTtyBefore) {
    EXPECT_THAT(test::logOf([] {
                    EXPECT_FALSE(_a_vextvfapi_prphrl_uartOpen("/dev/ttyS0", B115200, 0, static_cast<Config>(3)));
                }),
                AllOf(HasSubstr("Invalid STD factory uart config"), Not(HasSubstr("opening"))));
    ASSERT_TRUE(_a_vextvfapi_prphrl_uartOpen("/dev/ttyS0", B115200, 0, kWrite));
    EXPECT_EQ(_a_vextvfapi_prphrl_uartWritestr("abc"), 3);
    EXPECT_FALSE(_a_vextvfapi_prphrl_uartOpen("/dev/null", B115200, 0, kWrite));
    EXPECT_EQ(_a_vextvfapi_prphrl_uartWritestr("abc"), -1) << "it would go to the first tty";
}

}  // namespace
