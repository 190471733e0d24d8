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

// A process of the set that has opened the FIFO.
class Writer {
public:
    Writer() {
        const std::string strPipe = vset::hostPath("/data/vendor/uartCmdPipe");
        const vset::HostPaths hostPaths;
        EXPECT_TRUE(test::eventually([&] {
            _s32Fd = open(strPipe.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
            return _s32Fd >= 0;
        }));
        fcntl(_s32Fd, F_SETFL, 0);
    }
    ~Writer() { close(_s32Fd); }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    // Writes in one call; the service reads short texts in one as well.
    void write(const std::string& bytes) const {
        EXPECT_EQ(::write(_s32Fd, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }

private:
    int _s32Fd = -1;
};

Event command(const std::string& text) {
    return {kPipeCommand, 0, text, text + '\0'};
}

class PipeMode : public test::PeripheralServiceTest {
protected:
    // The service ends only while there is a writer.
    void stopService() override {
        const std::string strPipe = vset::hostPath("/data/vendor/uartCmdPipe");
        const vset::HostPaths hostPaths;
        const int s32Fd = open(strPipe.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        stop();
        close(s32Fd);
    }
};

TEST_F(PipeMode, CommandsBecomeEvents) {
    test::Events events;
    char end[] = ";end";
    ASSERT_EQ(start(end), 0);
    end[0] = '!';  // the service has its own
    const Writer writer;
    writer.write("AT;\n");
    EXPECT_THAT(events.wait(2), ElementsAre(command("AT"), command("")));
    writer.write("say_it_\n");
    EXPECT_THAT(events.wait(3), testing::Contains(command("say_it ")));
    writer.write(std::string("a\0b;c\n", 6));
    EXPECT_THAT(events.wait(5), testing::Contains(Event{kPipeCommand, 0, "a", std::string("a\0b\0", 4)}));
    EXPECT_EQ(stop(), 0);
}

TEST_F(PipeMode, LogsItsStates) {
    test::Events events;
    const std::string log = test::logOf([&] {
        ASSERT_EQ(start(), 0);
        const Writer writer;
        writer.write("AT\n");
        events.wait(1);
        std::this_thread::sleep_for(50ms);
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
    test::Events events;
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
    EXPECT_THAT(calls(), testing::Not(testing::Contains("HW_OS_DelayTask"))) << "does not wait";
    EXPECT_GT(test::secondsOf([] { EXPECT_EQ(stop(), 0); }), 0.9);
    EXPECT_EQ(start(), -1);
    { const Writer writer; }
    EXPECT_TRUE(test::eventually([] { return start() == 0; }));
    { const Writer writer; }
    // The writer has gone: the service waits for the next one without using the processor.
    const double used = test::processorSeconds();
    std::this_thread::sleep_for(500ms);
    EXPECT_LT(test::processorSeconds() - used, 0.1);
    test::Events events;
    const Writer writer;
    writer.write("x\n");
    EXPECT_THAT(events.wait(1), ElementsAre(command("x")));
}

TEST_F(PipeMode, StopsAtOnceWhenNothingRuns) {
    EXPECT_EQ(stop(), 0);
    EXPECT_THAT(calls(), ElementsAre("HW_OS_DelayTask"));
}

TEST_F(PipeMode, WithoutAnEndNothingStarts) {
    int status = -1;
    const std::string log = test::logOf([&] { status = a_vextvfapi_prphrl_set_uart_pipe_mode(255, nullptr); });
    EXPECT_EQ(status, 0);
    EXPECT_THAT(log, AllOf(HasSubstr("[E] <_a_vextvfapi_prphrl_uart_pipe_task> pUartPipeCmdEnd is NUll.\n\n"),
                           testing::Not(HasSubstr("UartPipe task started"))));
    EXPECT_THAT(calls(), testing::Contains("HW_OS_DelayTask").Times(10));
    EXPECT_EQ(start(), 0);
    { const Writer writer; }
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
    EXPECT_EQ(test::openDescriptors(), before);
    EXPECT_LT(_a_vextvfapi_prphrl_create_pipe_file(), 0);

    std::filesystem::create_directories(vset::hostPath("/data/vendor"));
    test::Events events;
    ASSERT_EQ(start(), 0);
    const Writer writer;
    writer.write("works\n");
    EXPECT_THAT(events.wait(1), ElementsAre(command("works")));
}

TEST_F(PipeMode, TheFifoIsForEverybody) {
    const mode_t before = umask(077);
    std::thread opener([] { close(_a_vextvfapi_prphrl_create_pipe_file()); });
    { const Writer writer; }
    opener.join();
    umask(before);
    struct stat status = {};
    ASSERT_EQ(stat(vset::hostPath("/data/vendor/uartCmdPipe").c_str(), &status), 0);
    EXPECT_TRUE(S_ISFIFO(status.st_mode));
    EXPECT_EQ(status.st_mode & 0777, 0777u);
}

TEST_F(PipeMode, AStopDoesNotWaitForACallbackThatTakesLong) {
    test::Events events;
    std::atomic<bool> bMayEnd{false};
    events.onEvent([&](const Event&) { test::eventually([&] { return bMayEnd.load(); }, 60s); });
    ASSERT_EQ(start(), 0);
    const Writer writer;
    writer.write("slow\n");
    events.wait(1);
    const double seconds = test::secondsOf([] { EXPECT_EQ(stop(), 0); });
    EXPECT_GT(seconds, 0.9);
    EXPECT_LT(seconds, test::patient(8));
    EXPECT_EQ(start(), -1) << "the thread is still in the callback";
    bMayEnd = true;
    EXPECT_TRUE(test::eventually([] { return start() == 0; }));
}

TEST_F(PipeMode, StartsAndStopsWhileCommandsArrive) {
    test::Events events;
    const int before = test::openDescriptors();
    signal(SIGPIPE, SIG_IGN);
    {
        const std::string strPipe = vset::hostPath("/data/vendor/uartCmdPipe");
        const test::Repeating source([&] {
            const vset::HostPaths hostPaths;
            const int s32Fd = open(strPipe.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
            if (s32Fd >= 0) {
                [[maybe_unused]] const ssize_t written = ::write(s32Fd, "go;stop\n", 8);
                close(s32Fd);
            }
            std::this_thread::sleep_for(1ms);
        });
        for (int i = 0; i < 40; ++i) {
            ASSERT_EQ(start(), 0) << i;
            ASSERT_EQ(stop(), 0) << i;
        }
    }
    EXPECT_EQ(test::openDescriptors(), before);
    for (const Event& event : events.wait(0)) {
        // Two writes may come in one read.
        ASSERT_TRUE(event == command("go") || event == command("stop") || event == command("stop\ngo")) << event.text;
    }
}

}  // namespace
