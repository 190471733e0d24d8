// SPDX-License-Identifier: Apache-2.0
// Pipe mode: commands through a FIFO.
#include <atomic>
#include <csignal>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/descriptors.h"
#include "support/log_capture.h"
#include "support/peripheral_fixture.h"
#include "support/sleeps.h"

namespace {

using test::Event;
using test::kPipeCommand;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using namespace std::chrono_literals;

int start(const char* pszEnd = ";") {
    return a_vextvfapi_prphrl_set_uart_pipe_mode(1, reinterpret_cast<const unsigned char*>(pszEnd));
}

int stop() {
    return a_vextvfapi_prphrl_set_uart_pipe_mode(0, nullptr);
}

// Opens the FIFO as a process of the set does. -1 while the service does not wait for it.
int openForWriting() {
    const std::string path = vset::hostPath("/data/vendor/uartCmdPipe");
    const vset::HostPaths hostPaths;
    return std::filesystem::is_fifo(path) ? open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC) : -1;
}

class Writer {
public:
    Writer() {
        EXPECT_TRUE(test::eventually([&] { return (_fd = openForWriting()) >= 0; }));
        fcntl(_fd, F_SETFL, 0);
    }
    ~Writer() { close(_fd); }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    // Writes in one call; the service reads texts of up to 2,048 bytes in one as well.
    void write(const std::string& bytes) const {
        EXPECT_EQ(::write(_fd, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }

private:
    int _fd = -1;
};

Event command(const std::string& text) {
    return {kPipeCommand, 0, text, text + '\0'};
}

class PipeMode : public test::PeripheralServiceTest {
protected:
    // The service ends only while there is a writer, and may begin to wait for one at any time.
    void stopService() override {
        test::eventually([&] {
            const int fd = openForWriting();
            stop();
            close(fd);
            return hasEnded();
        });
    }
};

TEST_F(PipeMode, CommandsBecomeEvents) {
    char end[] = ";end";
    ASSERT_EQ(start(end), 0);
    end[0] = '!';  // the service has its own
    const Writer writer;
    writer.write("AT;\n");
    EXPECT_THAT(events.wait(2), ElementsAre(command("AT"), command("")));
    EXPECT_THAT(test::threadNames(), testing::Contains("UartPipe_Task"));
    for (const unsigned int from : {1u, 2u}) {
        events.clear();
        const std::size_t failing = vset::throwingAllocations() + from;
        vset::inject({vset::kThrowingAllocation, 0, from});
        writer.write("a command that needs memory of its own\n");
        EXPECT_TRUE(test::eventually([&] { return vset::throwingAllocations() >= failing; }));
        writer.write("AT\n");
        EXPECT_THAT(events.wait(1), ElementsAre(command("AT"))) << "the command without memory is lost";
        vset::clearFaults();
    }
    events.clear();
    const std::size_t counted = vset::throwingAllocations();
    const std::string longest(2047, 'x');
    for (const auto& [bytes, event] : {std::pair{std::string("a\0b\n", 4), Event{kPipeCommand, 0, "a", {"a\0b", 4}}},
                                       std::pair{longest + "\n", command(longest)}}) {
        writer.write(bytes);
        EXPECT_THAT(events.wait(1), ElementsAre(event));
        events.clear();
    }
    EXPECT_EQ(vset::throwingAllocations(), counted) << "none is counted without a fault";
    EXPECT_EQ(stop(), 0);
}

TEST_F(PipeMode, LogsItsStates) {
    const std::string log = test::logOf([&] {
        ASSERT_EQ(start(), 0);
        const Writer writer;
        writer.write("AT\n");
        events.wait(1);
        stop();
    });
    for (const char* text :
         {"[I] <a_vextvfapi_prphrl_set_uart_pipe_mode> Start uartCmdPipe mode!\n\n",
          "[D] <a_vextvfapi_prphrl_set_uart_pipe_mode> Waitting for UartPipe task init...\n\n",
          "[I] <_a_vextvfapi_prphrl_uart_pipe_task> start UartPipe_Task\n\n", "pUartPipeCmdEnd : 0x;\n\n",
          "Create /data/vendor/uartCmdPipe pipe file OK.\n\n", "UartPipe task started...\n\n",
          "[I] <_a_vextvfapi_prphrl_uart_pipe_task> start CmdReceiver\n\n", "######Uart cmd loop start##########\n\n",
          "[D] <_a_vextvfapi_prphrl_uart_pipe_task> callback uartPipeBuffer AT, len: 3\n\n",
          "Stop uartCmdPipe mode!\n\n",
          "[D] <a_vextvfapi_prphrl_set_uart_pipe_mode> Waitting for UartPipe task exit...\n\n",
          "Stop UartPipe_Task\n\n", "UartPipe task stopped...\n\n"}) {
        EXPECT_THAT(log, HasSubstr(text));
    }
}

TEST_F(PipeMode, AnInterruptEndsIt) {
    ASSERT_EQ(start(), 0);
    const int before = test::openDescriptors();
    {
        const Writer writer;
        writer.write("a;b\x03");
        EXPECT_THAT(events.wait(1), ElementsAre(command("a")));
        EXPECT_TRUE(test::eventually([&] { return start() == 0; })) << "it has ended by itself";
    }
    const Writer writer;
    writer.write("c\n");
    EXPECT_THAT(events.wait(2), ElementsAre(command("a"), command("c")));
    EXPECT_EQ(stop(), 0);
    EXPECT_LE(test::openDescriptors(), before + 1) << "the writer's";
}

TEST_F(PipeMode, WhileItWaitsForAWriterNothingStopsIt) {
    ASSERT_EQ(start(), 0);
    vset::clearJournal();
    const std::string log = test::logOf([] { EXPECT_EQ(start(), -1); });
    EXPECT_THAT(log, HasSubstr("[D] <a_vextvfapi_prphrl_set_uart_pipe_mode> The previous task still runing...\n\n"));
    EXPECT_EQ(count("HW_OS_DelayTask"), 0u) << "does not wait";
    EXPECT_EQ(stop(), 0);
    EXPECT_EQ(count("HW_OS_DelayTask"), 10u);
    EXPECT_EQ(start(), -1);
    { const Writer writer; }
    EXPECT_TRUE(test::eventually([] { return start() == 0; }));
    { const Writer writer; }
    // The writer has gone: the service pauses, and waits for the next one.
    test::onSleep();
    EXPECT_TRUE(test::eventually([] { return test::sleepCounts()[10000] >= 5; }));
    const Writer writer;
    writer.write("x\n");
    EXPECT_THAT(events.wait(1), ElementsAre(command("x")));
}

TEST_F(PipeMode, WithoutAnEndNothingStarts) {
    EXPECT_EQ(stop(), 0);
    EXPECT_THAT(calls(), ElementsAre("HW_OS_DelayTask")) << "nothing runs";
    const std::string log = test::logOf([] { EXPECT_EQ(a_vextvfapi_prphrl_set_uart_pipe_mode(255, nullptr), 0); });
    EXPECT_THAT(log, AllOf(HasSubstr("[E] <_a_vextvfapi_prphrl_uart_pipe_task> pUartPipeCmdEnd is NUll.\n\n"),
                           testing::Not(HasSubstr("UartPipe task started"))));
    EXPECT_EQ(count("HW_OS_DelayTask"), 11u);
    EXPECT_EQ(start(), 0);
}

TEST_F(PipeMode, AFifoThatCannotBeMadeLeavesTheNextStartFree) {
    std::filesystem::remove_all(vset::hostPath("/data/vendor"));
    const int before = test::openDescriptors();
    const std::string log = test::logOf([] {
        EXPECT_EQ(start(), 0) << "the FIFO is not checked";
        stop();
    });
    EXPECT_THAT(
        log,
        AllOf(HasSubstr("[E] <_a_vextvfapi_prphrl_create_pipe_file> /data/vendor/uartCmdPipe pipe file create "
                        "failed!\n\n"),
              HasSubstr("Chmod /data/vendor/uartCmdPipe pipe file failed!\n\n"),
              HasSubstr("Open /data/vendor/uartCmdPipe pipe file failed!\n\n"), HasSubstr("Stop UartPipe_Task\n\n")));
    EXPECT_TRUE(test::areAllClosedSince(before));
    EXPECT_LT(_a_vextvfapi_prphrl_create_pipe_file(), 0);

    std::filesystem::create_directories(vset::hostPath("/data/vendor"));
    ASSERT_EQ(start(), 0);
    const Writer writer;
    writer.write("works\n");
    EXPECT_THAT(events.wait(1), ElementsAre(command("works")));
}

TEST_F(PipeMode, TheFifoIsForEverybody) {
    const mode_t before = umask(077);
    write("/data/vendor/uartCmdPipe", "a plain file");
    std::thread opener([] { close(_a_vextvfapi_prphrl_create_pipe_file()); });
    { const Writer writer; }
    opener.join();
    umask(before);
    struct stat status = {};
    ASSERT_EQ(stat(vset::hostPath("/data/vendor/uartCmdPipe").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0777u);
}

TEST_F(PipeMode, AStopDoesNotWaitForACallbackThatTakesLong) {
    std::atomic<bool> bMayEnd{false};
    events.onEvent([&](const Event&) { test::eventually([&] { return bMayEnd.load(); }, 60s); });
    ASSERT_EQ(start(), 0);
    const Writer writer;
    writer.write("slow\n");
    events.wait(1);
    EXPECT_EQ(stop(), 0);
    EXPECT_EQ(start(), -1) << "the thread is still in the callback";
    bMayEnd = true;
    EXPECT_TRUE(test::eventually([] { return start() == 0; }));
}

TEST_F(PipeMode, StartsAndStopsWhileCommandsArrive) {
    const int before = test::openDescriptors();
    signal(SIGPIPE, SIG_IGN);
    {
        const test::Repeating source([&] {
            const int fd = openForWriting();
            if (fd >= 0) {
                [[maybe_unused]] const ssize_t written = ::write(fd, "go;stop\n", 8);
                close(fd);
            }
            std::this_thread::sleep_for(1ms);
        });
        for (int i = 0; i < 20; ++i) {
            ASSERT_EQ(start(), 0) << i;
            ASSERT_EQ(stop(), 0) << i;
        }
    }
    EXPECT_TRUE(test::areAllClosedSince(before));
    for (const Event& event : events.wait(0)) {
        // Two writes may come in one read.
        ASSERT_TRUE(event == command("go") || event == command("stop") || event == command("stop\ngo")) << event.text;
    }
}

}  // namespace
