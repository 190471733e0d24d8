// SPDX-License-Identifier: Apache-2.0
// The set's serial lines, as the middleware's caller, the tty's owner and a terminal program see them.
#include <csignal>
#include <functional>
#include <mutex>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include "hw3/hw_fs.h"
#include "hw3/hw_uart.h"
#include "support/descriptors.h"
#include "support/emulation.h"
#include "support/middleware_calls.h"
#include "support/process.h"
#include "support/refusals.h"
#include "support/waiting.h"
#include "vset/uart.h"

namespace {

using test::eventually;
using test::kUntouched;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using namespace std::chrono_literals;

// The bytes that the callback has received, and what it does with them.
struct Got {
    std::mutex mutex;
    std::string bytes;
    std::function<HW_Result_t(HW_U8)> action;
};
Got g_stGot;

HW_Result_t take(HW_Handle_t, HW_U32 u32Event, HW_U8* pu8Byte) {
    EXPECT_EQ(u32Event, HW_UART_EVENT_RX_CHAR);
    std::function<HW_Result_t(HW_U8)> action;
    {
        const std::lock_guard<std::mutex> lock(g_stGot.mutex);
        g_stGot.bytes += static_cast<char>(*pu8Byte);
        action = g_stGot.action;
    }
    return action ? action(*pu8Byte) : HW_OK;
}

std::string got() {
    const std::lock_guard<std::mutex> lock(g_stGot.mutex);
    return g_stGot.bytes;
}

constexpr HW_UART_CallbackParams_t kTake = {take, HW_UART_EVENT_RX_CHAR, 0};
constexpr HW_UART_CallbackParams_t kNoMore = {nullptr, HW_UART_EVENT_RX_CHAR, 0};

class VsetUart : public test::MiddlewareTest {
protected:
    void SetUp() override {
        MiddlewareTest::SetUp();
        bringUp();
        g_stGot.bytes.clear();
        g_stGot.action = nullptr;
    }

    static void bringUp() {
        ASSERT_EQ(HW_SYS_Init(nullptr), HW_OK);
        ASSERT_EQ(HW_UART_Init(nullptr), HW_OK);
    }

    static HW_Handle_t open(HW_U32 u32Port) { return test::handleOf(HW_UART_Open, {u32Port, 0, 4, {}}); }

    static void registerCallback(HW_Handle_t hUart) {
        HW_U32 u32Mask = 0;
        EXPECT_EQ(HW_UART_RegisterCallback(hUart, &kTake, &u32Mask), HW_OK);
        EXPECT_EQ(u32Mask, 1u);
    }

    static std::string pattern(std::size_t size) {
        std::string bytes(size, '\0');
        for (std::size_t i = 0; i < size; ++i) {
            bytes[i] = static_cast<char>(i * 31 + i / 251);
        }
        return bytes;
    }
};

// Reads from a descriptor until that many bytes have come or the line has been silent for a while.
std::string readSome(int s32Fd, std::size_t wanted) {
    std::string bytes;
    char acChunk[4096];
    pollfd stEnd = {s32Fd, POLLIN, 0};
    while (bytes.size() < wanted && poll(&stEnd, 1, 2000) > 0) {
        const ssize_t length = ::read(s32Fd, acChunk, std::min(sizeof(acChunk), wanted - bytes.size()));
        if (length <= 0) {
            break;
        }
        bytes.append(acChunk, static_cast<std::size_t>(length));
    }
    return bytes;
}

TEST_F(VsetUart, RefusesWhatAChipRefuses) {
    HW_Handle_t hUart = kUntouched;
    HW_U32 u32Out = kUntouched;
    const HW_Handle_t hOpen = open(2);
    const HW_UART_OpenParams_t stBad[] = {
        {0, 18, 0, {}}, {0, 0, 5, {}}, {0, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0, 0, 1}}, {5, 0, 0, {}}};
    const HW_UART_CallbackParams_t aBegins[] = {kNoMore, {take, 2, 0}, {take, 3, 0}, {take, 1, 1}};
    const HW_UART_CallbackParams_t aEnds[] = {kTake, {nullptr, 2, 0}, {nullptr, 3, 0}, {nullptr, 1, 1}};
    const HW_UART_WriteParams_t stNoData = {nullptr, 1, 0}, stEmpty = {test::u8("x"), 0, 0};
    const auto invalid = [](HW_Result_t result) { EXPECT_EQ(result, HW_ERR_INVALID_PARAMETER); };
    test::expectRefusals({
        {"not registered", HW_ERR_FAILED, [&] { return HW_UART_UnRegisterCallback(hOpen, &kNoMore); }},
        {"baud 5", HW_ERR_INVALID_PARAMETER, [&] { return HW_UART_SetBaudrate(hOpen, 5); }},
        {"no data", HW_ERR_INVALID_PARAMETER, [&] { return HW_UART_Write(hOpen, &stNoData, &u32Out); }},
        {"nothing is written", HW_OK, [&] { return HW_UART_Write(hOpen, &stEmpty, nullptr); }},
    });
    for (std::size_t i = 0; i < 4; ++i) {
        SCOPED_TRACE(i);
        invalid(HW_UART_Open(&stBad[i], &hUart));
        invalid(HW_UART_RegisterCallback(hOpen, &aBegins[i], &u32Out));
        invalid(HW_UART_UnRegisterCallback(hOpen, &aEnds[i]));
    }
    EXPECT_EQ(hUart, kUntouched);
    EXPECT_EQ(u32Out, kUntouched);
    test::handleOf(HW_UART_Open, {1, 17, 3, {}});
    EXPECT_EQ(HW_UART_SetBaudrate(hOpen, 1), HW_OK);
    EXPECT_EQ(vset::uart::port(1).u32DeviceType * 10 + vset::uart::port(1).u32BaudRate, 173u);
    EXPECT_EQ(vset::uart::port(2).u32DeviceType * 10 + vset::uart::port(2).u32BaudRate, 1u);
    EXPECT_THROW(vset::uart::type(5, "x"), vset::SetError);
    EXPECT_THROW(vset::uart::port(5), vset::SetError);
    EXPECT_THROW(vset::uart::hangUp(2), vset::SetError);
    vset::powerCycle();
    EXPECT_EQ(vset::uart::port(1).u32DeviceType + vset::uart::port(1).u32BaudRate, 0u);
}

TEST_F(VsetUart, BytesWithoutACallbackWait) {
    SKIP_UNDER_EMULATION();
    const std::string bytes = pattern(70000);
    vset::uart::type(3, bytes);
    ASSERT_TRUE(eventually([&] { return vset::uart::port(3).u64Received == bytes.size(); }));
    EXPECT_EQ(vset::uart::port(3).u32Waiting, 65536u);
    EXPECT_EQ(vset::uart::port(3).u64Dropped, 70000u - 65536u);
    std::atomic<unsigned int> u32LeftAtFirst{0};
    g_stGot.action = [&](HW_U8) -> HW_Result_t {
        u32LeftAtFirst = u32LeftAtFirst == 0 ? vset::uart::port(3).u32Waiting : u32LeftAtFirst.load();
        return HW_OK;
    };
    registerCallback(open(3));
    ASSERT_TRUE(eventually([] { return vset::uart::port(3).u32Waiting == 0; }));
    EXPECT_TRUE(eventually([&] { return got() == bytes.substr(0, 65536); }));
    EXPECT_EQ(u32LeftAtFirst, 65536u) << "the one that is delivered counts";
}

// However the registration ends: what runs is waited for, and may need the middleware meanwhile.
TEST_F(VsetUart, NoCallbackRunsAfterTheEnd) {
    SKIP_UNDER_EMULATION();
    HW_Handle_t hUart = 0;
    const std::function<void()> kEnds[] = {
        [&] {
            registerCallback(hUart);  // replaces the registration whose callback runs, and that one counts, too
            EXPECT_EQ(HW_UART_UnRegisterCallback(hUart, &kNoMore), HW_OK);
        },
        vset::powerCycle, vset::detach};
    for (std::size_t i = 0; i < std::size(kEnds); ++i) {
        SCOPED_TRACE(i);
        HW_SYS_Init(nullptr);
        HW_UART_Init(nullptr);
        hUart = open(i > 0 ? 1 : 0);
        g_stGot.bytes.clear();
        std::atomic<bool> bInside{false};
        g_stGot.action = [&](HW_U8 u8Byte) -> HW_Result_t {
            bInside = true;
            std::this_thread::sleep_for(20ms);
            HW_UART_PutChar(hUart, u8Byte);
            EXPECT_FALSE(vset::folder().empty());
            bInside = false;
            return HW_ERR_FAILED;
        };
        registerCallback(hUart);
        vset::uart::type(i > 0 ? 1 : 0, "abcdefgh");
        ASSERT_TRUE(eventually([&] { return bInside.load(); }));
        kEnds[i]();
        EXPECT_FALSE(bInside);
        const std::string seen = got();
        std::this_thread::sleep_for(60ms);
        EXPECT_EQ(got(), seen);
        g_stGot.action = nullptr;
        if (i == 0) {
            EXPECT_EQ(vset::uart::port(0).u64Refused, seen.size());
            registerCallback(hUart);
            EXPECT_TRUE(eventually([] { return got() == "abcdefgh"; })) << "the rest has waited";
        }
    }
    std::filesystem::remove_all(folder());
    vset::detach();
    EXPECT_FALSE(std::filesystem::exists(folder())) << "without a set there is nothing to take away";
}

TEST_F(VsetUart, InsideTheCallback) {
    SKIP_UNDER_EMULATION();
    const HW_Handle_t hUart = open(0);
    std::atomic<HW_Result_t> unregistered{HW_OK}, closed{HW_ERR_FAILED};
    g_stGot.action = [&](HW_U8 u8Byte) -> HW_Result_t {
        if (u8Byte == 'a') {
            unregistered = HW_UART_UnRegisterCallback(hUart, &kNoMore);
        } else if (u8Byte == 'b') {
            closed = HW_UART_Close(hUart);
        }
        return HW_OK;
    };
    registerCallback(hUart);
    vset::uart::type(0, "abc");
    ASSERT_TRUE(eventually([&] { return closed == HW_OK; }));
    EXPECT_EQ(unregistered, static_cast<HW_Result_t>(HW_ERR_BUSY)) << "it cannot wait for itself";
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(got(), "ab") << "closing ends the registration";
}

TEST_F(VsetUart, APowerCycleEndsEverything) {
    SKIP_UNDER_EMULATION();
    registerCallback(open(0));
    vset::uart::type(0, "x");
    ASSERT_TRUE(eventually([] { return got() == "x"; }));
    const int before = test::openDescriptors();
    const std::string strTerminal = vset::uart::connectors(folder()).at(0).strTerminal;
    write("/sys/kernel/uart/uart_switch", "1\n");
    EXPECT_TRUE(vset::uart::isCrossed());
    vset::powerCycle();
    EXPECT_EQ(read("/sys/kernel/uart/uart_switch"), "0");
    EXPECT_FALSE(vset::uart::isCrossed());
    EXPECT_FALSE(vset::uart::port(0).bCallback);
    EXPECT_FALSE(vset::uart::port(0).bOpen);
    EXPECT_TRUE(test::areAllClosedSince(before));
    EXPECT_EQ(vset::uart::connectors(folder()).at(0).strTerminal, strTerminal) << "a connected terminal stays";
    vset::uart::type(0, "y");
    ASSERT_TRUE(eventually([] { return vset::uart::port(0).u32Waiting == 1; }));
    EXPECT_EQ(got(), "x");
}

TEST_F(VsetUart, APowerCycleInsideTheCallbackForgetsTheRest) {
    SKIP_UNDER_EMULATION();
    std::atomic<bool> bDone{false};
    g_stGot.action = [&](HW_U8) -> HW_Result_t {
        // Let it all arrive, so that some of it is under way.
        EXPECT_TRUE(eventually([] { return vset::uart::port(0).u64Received == 1000; }));
        vset::powerCycle();
        bDone = true;
        return HW_OK;
    };
    registerCallback(open(0));
    vset::uart::type(0, std::string(1000, 'a'));
    ASSERT_TRUE(eventually([&] { return bDone.load(); }));
    g_stGot.action = nullptr;
    bringUp();
    EXPECT_EQ(vset::uart::port(0).u32Waiting, 0u);
    registerCallback(open(0));
    vset::uart::type(0, "b");
    ASSERT_TRUE(eventually([] { return got().size() >= 2; }));
    EXPECT_EQ(got(), "ab");
}

// The thread of the lines must not go on with descriptors that are gone, and has nothing to do when nothing comes.
TEST_F(VsetUart, IsServedInEveryLifeAndSleepsInBetween) {
    SKIP_UNDER_EMULATION();
    for (int i = 0; i < 30; ++i) {
        registerCallback(open(2));
        vset::uart::type(2, "x");
        ASSERT_TRUE(eventually([&] { return got() == std::string(static_cast<std::size_t>(i) + 1, 'x'); })) << i;
        vset::detach();
        vset::attach(folder());
        bringUp();
    }
    registerCallback(open(0));
    const int s32Tty = ::open("/dev/ttyS1", O_RDWR | O_NOCTTY);
    close(s32Tty);
    ASSERT_TRUE(eventually([] { return !vset::uart::port(1).bTtyOpen; }));
    const double used = test::processorSeconds();
    std::this_thread::sleep_for(500ms);
    EXPECT_LT(test::processorSeconds() - used, 0.1);
}

// Looking for the connectors does not keep another process from taking the set.
TEST_F(VsetUart, LookingDoesNotTakeTheSet) {
    SKIP_UNDER_EMULATION();
    const std::string strFolder = folder();
    const test::Repeating looker([&] { vset::uart::connectors(strFolder); });
    for (int i = 0; i < 50; ++i) {
        vset::detach();
        ASSERT_NO_THROW(vset::attach(strFolder));
    }
}

// A terminal program opens the connector by its path, both directions.
TEST_F(VsetUart, ATerminalConnects) {
    SKIP_UNDER_EMULATION();
    const std::vector<vset::uart::Connector> connectors = vset::uart::connectors(folder());
    ASSERT_THAT(connectors, SizeIs(5));
    EXPECT_EQ(connectors[1].strPath, folder() + "/ports/uart1");
    const int s32Terminal = ::open(connectors[1].strPath.c_str(), O_RDWR | O_NOCTTY);
    ASSERT_GE(s32Terminal, 0);
    const HW_Handle_t hUart = open(1);
    registerCallback(hUart);
    const std::string question = pattern(1000), answer = pattern(20000);
    ASSERT_EQ(::write(s32Terminal, question.data(), 1000), 1000);
    EXPECT_TRUE(eventually([&] { return got() == question; })) << "every byte there is";
    std::thread writer([&] {
        const HW_UART_WriteParams_t stParams = {test::u8(answer), 20000, 0};
        EXPECT_EQ(HW_UART_Write(hUart, &stParams, nullptr), HW_OK);
        EXPECT_EQ(HW_UART_PutChar(hUart, '!'), HW_OK);
    });
    EXPECT_TRUE(readSome(s32Terminal, 20001) == answer + "!");
    writer.join();
    EXPECT_TRUE(vset::uart::sent(1) == answer + "!");
    vset::uart::clearSent(1);
    EXPECT_THAT(vset::uart::sent(1), IsEmpty());
    close(s32Terminal);
}

// Without a reader at the far end the set goes on, and the last bytes are kept for a person.
TEST_F(VsetUart, BytesWithoutAReaderAreLost) {
    const HW_Handle_t hUart = open(0);
    const std::string bytes = pattern(100000);
    const HW_UART_WriteParams_t stParams = {test::u8(bytes), 100000, 0};
    HW_U32 u32Written = 0;
    EXPECT_LT(test::secondsOf([&] { EXPECT_EQ(HW_UART_Write(hUart, &stParams, &u32Written), HW_OK); }),
              test::patient(20));
    EXPECT_EQ(u32Written, 100000u);
    EXPECT_TRUE(vset::uart::sent(0) == bytes.substr(bytes.size() - 65536));
}

TEST_F(VsetUart, ATtyTakesTheLineWhileItIsOpen) {
    SKIP_UNDER_EMULATION();
    registerCallback(open(0));
    vset::uart::type(0, "to the port");
    ASSERT_TRUE(eventually([] { return got() == "to the port"; }));
    int s32Tty = ::open("/dev/ttyS0", O_RDWR | O_NOCTTY);
    ASSERT_GE(s32Tty, 0);
    EXPECT_TRUE(vset::uart::port(0).bTtyOpen);
    vset::uart::type(0, "to the tty");
    EXPECT_EQ(readSome(s32Tty, 10), "to the tty");
    const std::string bytes = pattern(300000);
    std::thread typist([&] { vset::uart::type(0, bytes); });
    EXPECT_TRUE(readSome(s32Tty, bytes.size()) == bytes);
    typist.join();
    ASSERT_EQ(::write(s32Tty, "out", 3), 3);
    EXPECT_TRUE(eventually([] { return vset::uart::sent(0) == "out"; }));
    // Bytes that were not read before the tty was closed are gone for the next program.
    vset::uart::type(0, "unread");
    ASSERT_TRUE(eventually([] { return vset::uart::port(0).u64Received == 11 + 10 + 300000 + 6; }));
    close(s32Tty);
    EXPECT_TRUE(eventually([] { return !vset::uart::port(0).bTtyOpen; }));
    s32Tty = ::open("/dev/ttyS0", O_RDWR | O_NOCTTY);
    vset::uart::type(0, "new");
    EXPECT_EQ(readSome(s32Tty, 3), "new");
    close(s32Tty);
    vset::uart::type(0, "!");
    EXPECT_TRUE(eventually([] { return got() == "to the port!"; }));

    // However it is opened. It may become the controlling terminal of this process.
    std::signal(SIGHUP, SIG_IGN);
    FILE* pTty = fopen("/dev/ttyS0", "r+");
    ASSERT_NE(pTty, nullptr);
    EXPECT_TRUE(vset::uart::port(0).bTtyOpen);
    fclose(pTty);
    s32Tty = HW_FS_Open("/dev/ttyS0", 2);
    EXPECT_TRUE(vset::uart::port(0).bTtyOpen);
    EXPECT_EQ(HW_FS_Close(s32Tty), 0);
}

TEST_F(VsetUart, ATtyThatIsNotReadLosesAfterASecond) {
    SKIP_UNDER_EMULATION();
    const int s32Tty = ::open("/dev/ttyS1", O_RDWR | O_NOCTTY);
    const std::string bytes(400000, 'x');
    const double seconds = test::secondsOf([&] { vset::uart::type(1, bytes); });
    EXPECT_GT(seconds, 0.9);
    EXPECT_LT(seconds, test::patient(20));
    EXPECT_TRUE(eventually([] { return vset::uart::port(1).u64Dropped > 0; }));
    // It reads again, and gets what comes from then on.
    char acChunk[65536];
    termios stRaw = {};
    tcgetattr(s32Tty, &stRaw);
    stRaw.c_cc[VMIN] = 0;
    stRaw.c_cc[VTIME] = 1;
    tcsetattr(s32Tty, TCSANOW, &stRaw);
    while (::read(s32Tty, acChunk, sizeof(acChunk)) > 0) {
    }
    vset::uart::type(1, "back");
    EXPECT_EQ(readSome(s32Tty, 4), "back");
    close(s32Tty);
}

TEST_F(VsetUart, ATypistIsToldThatTheLineIsGone) {
    SKIP_UNDER_EMULATION();
    const int s32Tty = ::open("/dev/ttyS1", O_RDWR | O_NOCTTY);
    std::atomic<bool> bTyping{false};
    std::thread typist([&] {
        bTyping = true;
        EXPECT_EQ(test::errorOf([] { vset::uart::type(1, std::string(4000000, 'x')); }), "connector 1: takes nothing");
    });
    EXPECT_TRUE(eventually([&] { return bTyping && vset::uart::port(1).u64Received > 0; }));
    vset::detach();
    typist.join();
    close(s32Tty);
}

// What came in before the set was switched on again is not read afterwards.
TEST_F(VsetUart, BytesDoNotOutliveThePower) {
    SKIP_UNDER_EMULATION();
    const int s32Terminal = ::open(vset::uart::connectors(folder()).at(4).strPath.c_str(), O_RDWR | O_NOCTTY);
    ASSERT_EQ(::write(s32Terminal, "old", 3), 3);
    vset::powerCycle();
    bringUp();
    registerCallback(open(4));
    ASSERT_EQ(::write(s32Terminal, "new", 3), 3);
    EXPECT_TRUE(eventually([] { return got().size() >= 3; }));
    EXPECT_EQ(got(), "new");
    close(s32Terminal);
}

TEST_F(VsetUart, ATtyHangsUp) {
    SKIP_UNDER_EMULATION();
    const int before = test::openDescriptors();
    const int s32Tty = ::open("/dev/ttyS0", O_RDWR | O_NOCTTY);
    vset::uart::hangUp(0);
    char cByte = 0;
    EXPECT_LE(::read(s32Tty, &cByte, 1), 0);
    EXPECT_EQ(::write(s32Tty, "x", 1), -1);
    const int s32Next = ::open("/dev/ttyS0", O_RDWR | O_NOCTTY);
    vset::uart::type(0, "y");
    EXPECT_EQ(readSome(s32Next, 1), "y");
    close(s32Tty);
    close(s32Next);
    EXPECT_TRUE(test::areAllClosedSince(before));
}

TEST_F(VsetUart, ThePlayersReleaseEndsWhatIsRegisteredThere) {
    SKIP_UNDER_EMULATION();
    vset::uart::hold(1);
    registerCallback(test::handleOf(HW_UART_GetHandle, {1}));
    vset::uart::release(1);
    EXPECT_FALSE(vset::uart::port(1).bCallback);
    registerCallback(open(1));
    EXPECT_THROW(vset::uart::release(1), vset::SetError);
    EXPECT_TRUE(vset::uart::port(1).bCallback) << "not the player's to end";
}

// Without a process that has the set there is no connector, even if a crash has left some in the folder.
TEST(VsetConnectors, BelongToASetThatIsOn) {
    SKIP_UNDER_EMULATION();
    const std::string strFolder = ::testing::TempDir() + "/vset-ports-" + std::to_string(getpid());
    const int before = test::openDescriptors();
    vset::attach(strFolder);
    EXPECT_EQ(test::runInChild([&] { _exit(vset::uart::connectors(strFolder).size() == 5 ? 0 : 1); }), 0)
        << "another process sees them without having the set";
    vset::detach();
    EXPECT_TRUE(test::areAllClosedSince(before));
    EXPECT_FALSE(std::filesystem::exists(std::filesystem::symlink_status(strFolder + "/ports/uart0")));

    std::filesystem::create_symlink("/dev/pts/0", strFolder + "/ports/uart0");
    EXPECT_THAT(vset::uart::connectors(strFolder), IsEmpty());
    EXPECT_THAT(vset::uart::connectors(strFolder + "/nothing"), IsEmpty());
    std::filesystem::remove_all(strFolder);
}

}  // namespace
