// SPDX-License-Identifier: Apache-2.0
// The serial services: how fast bytes become messages, in memory and over a pseudo-terminal.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <termios.h>
#include <unistd.h>

#include "a_vextvfapi_prphrl.h"
#include "base/fapi_message_framer.h"
#include "bench_set.h"
#include "limits.h"
#include "vset/uart.h"

// The reads of the standard factory link's thread, which the program's own read() counts.
static std::atomic<unsigned long> g_linkReads{0};

extern "C" __attribute__((visibility("default"))) ssize_t read(int s32Fd, void* pBuffer, std::size_t size) {
    thread_local const bool t_bLink = [] {
        char acName[16] = {};
        prctl(PR_GET_NAME, acName, 0, 0, 0);
        return std::strcmp(acName, "StdFactoryUart_") == 0;
    }();
    const ssize_t length = syscall(SYS_read, s32Fd, pBuffer, size);
    if (t_bLink && length > 0) {
        g_linkReads.fetch_add(1, std::memory_order_relaxed);
    }
    return length;
}

namespace {

using fapi_core::VexTvFApiEventCommonObject;

constexpr std::size_t kLine = 64;
constexpr std::size_t kBurst = 10;

// Returns as many lines of 64 bytes, their end included.
std::vector<unsigned char> makeLines(std::size_t count) {
    std::vector<unsigned char> bytes(count * kLine, 'x');
    for (std::size_t i = kLine - 1; i < bytes.size(); i += kLine) {
        bytes[i] = '\n';
    }
    return bytes;
}

// --- In memory -------------------------------------------------------------------------------------------------------

constexpr std::size_t kMemoryLines = fapi::ReceiveBuffer::kSize / kLine;

class Nothing : public fapi::MessageReceiver {
public:
    void receive(const VexTvFApiEventCommonObject& message) override {
        benchmark::DoNotOptimize(message.data.data());
        ++count;
    }

    std::size_t count = 0;
};

template <class Receiver>
struct Framing {
    Framing() { buffer.allocate(); }
    ~Framing() { buffer.release(); }

    fapi::ReceiveBuffer buffer;
    fapi::FramerSettings settings;
    Receiver receiver;
    fapi::MessageFramer framer{buffer, settings, receiver};
};

void frame_lines(benchmark::State& state) {
    const std::vector<unsigned char> bytes = makeLines(kMemoryLines);
    Framing<Nothing> framing;
    for (auto _ : state) {
        framing.framer.feed(bytes.data(), bytes.size());
    }
    if (framing.receiver.count != kMemoryLines * static_cast<std::size_t>(state.iterations())) {
        state.SkipWithError("lines were lost");
    }
}
BENCHMARK(frame_lines);

void frame_lines_memchr_and_copy(benchmark::State& state) {
    const std::vector<unsigned char> bytes = makeLines(kMemoryLines);
    std::vector<unsigned char> line(bytes.size());
    for (auto _ : state) {
        const unsigned char* pLine = bytes.data();
        const unsigned char* const pEnd = pLine + bytes.size();
        while (const void* pFound = std::memchr(pLine, '\n', static_cast<std::size_t>(pEnd - pLine))) {
            const auto* pLineEnd = static_cast<const unsigned char*>(pFound);
            std::memcpy(line.data(), pLine, static_cast<std::size_t>(pLineEnd - pLine));
            benchmark::DoNotOptimize(line.data());
            benchmark::ClobberMemory();
            pLine = pLineEnd + 1;
        }
    }
}
BENCHMARK(frame_lines_memchr_and_copy);

// A line in two reads, so that its beginning is held: what a message costs at most.
void frame_held_line(benchmark::State& state) {
    const std::vector<unsigned char> bytes = makeLines(1);
    Framing<Nothing> framing;
    for (auto _ : state) {
        framing.framer.feed(bytes.data(), kLine / 2);
        framing.framer.feed(bytes.data() + kLine / 2, kLine / 2);
    }
}
BENCHMARK(frame_held_line);

void frame_held_line_copy(benchmark::State& state) {
    const std::vector<unsigned char> bytes = makeLines(1);
    std::vector<unsigned char> line(kLine);
    for (auto _ : state) {
        std::memcpy(line.data(), bytes.data(), kLine);
        benchmark::DoNotOptimize(line.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(frame_held_line_copy);

int ignoreEvent(unsigned int, const VexTvFApiEventCommonObject&, const VexTvFApiEventCommonObject&,
                const VexTvFApiEventCommonObject&, const VexTvFApiEventCommonObject&) {
    return 0;
}

class EventRaiser : public fapi::MessageReceiver {
public:
    void receive(const VexTvFApiEventCommonObject& message) override {
        const VexTvFApiEventCommonObject empty;
        a_vextvfapi_prphrl_nty_event(0x100001, message, empty, empty, empty);
    }
};

void frame_bytes(benchmark::State& state) {
    const std::vector<unsigned char> bytes = makeLines(kMemoryLines);
    Framing<EventRaiser> framing;
    framing.settings.s8Mode = fapi::FramerSettings::byte;
    framing.settings.u32TargetBufferLimit = 0;
    framing.framer.adoptLimit();
    a_vextvfapi_prphrl_reg_callback(ignoreEvent);
    for (auto _ : state) {
        framing.framer.feed(bytes.data(), bytes.size());
    }
    a_vextvfapi_prphrl_unreg_callback();
    state.SetItemsProcessed(static_cast<std::int64_t>(bytes.size()) * static_cast<std::int64_t>(state.iterations()));
}
BENCHMARK(frame_bytes);

// --- Over a pseudo-terminal ------------------------------------------------------------------------------------------

constexpr std::size_t kTtyLines = 100000;

std::atomic<std::size_t> g_received{0};

int countBytes(unsigned int, const VexTvFApiEventCommonObject& a, const VexTvFApiEventCommonObject&,
               const VexTvFApiEventCommonObject&, const VexTvFApiEventCommonObject&) {
    g_received.fetch_add(a.data.size() + 1, std::memory_order_relaxed);
    return 0;
}

// False when the bytes are not all there after ten seconds.
bool waitForBytes(std::size_t wanted) {
    for (int i = 0; i < 100000 && g_received < wanted; ++i) {
        usleep(100);
    }
    return g_received == wanted;
}

void typeLines(benchmark::State& state) {
    const std::vector<unsigned char> bytes = makeLines(kTtyLines);
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    for (auto _ : state) {
        g_received = 0;
        vset::uart::type(0, text);
        if (!waitForBytes(bytes.size())) {
            state.SkipWithError("bytes were lost");
        }
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes.size()) * static_cast<std::int64_t>(state.iterations()));
}

// The link, started for as long as one lives.
class Link {
public:
    explicit Link(benchmark::State& state) {
        a_vextvfapi_prphrl_reg_callback(countBytes);
        if (a_vextvfapi_prphrl_std_factory_uart_start(4, 0, fapi_core::E_VEXTVFAPI_STD_FACTORY_UART_READ) != 0) {
            state.SkipWithError("the link does not start");
        }
    }
    ~Link() {
        a_vextvfapi_prphrl_std_factory_uart_stop();
        a_vextvfapi_prphrl_unreg_callback();
    }
};

void tty_lines(benchmark::State& state) {
    const Link link(state);
    typeLines(state);
}
BENCHMARK(tty_lines)->Unit(benchmark::kMillisecond)->UseRealTime();

// Reads in bulk and checks nothing.
void tty_lines_bare_reads(benchmark::State& state) {
    const int s32Tty = open("/dev/ttyS0", O_RDONLY | O_NOCTTY);
    _a_vextvfapi_prphrl_setInterfaceAttr(s32Tty, B115200, 0);
    std::atomic<bool> bRuns{true};
    std::thread reader([&] {
        std::vector<unsigned char> buffer(fapi::ReceiveBuffer::kSize);
        while (bRuns) {
            const ssize_t length = syscall(SYS_read, s32Tty, buffer.data(), buffer.size());
            g_received.fetch_add(length > 0 ? static_cast<std::size_t>(length) : 0, std::memory_order_relaxed);
        }
    });
    typeLines(state);
    bRuns = false;
    reader.join();
    close(s32Tty);
}
BENCHMARK(tty_lines_bare_reads)->Unit(benchmark::kMillisecond)->UseRealTime();

// Bursts of ten lines, the next when the last has been delivered: how many reads a message costs.
void tty_bursts(benchmark::State& state) {
    const Link link(state);
    const std::vector<unsigned char> bytes = makeLines(kBurst);
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    g_linkReads = 0;
    for (auto _ : state) {
        g_received = 0;
        vset::uart::type(0, text);
        while (g_received < bytes.size()) {
            std::this_thread::yield();
        }
    }
    if (g_linkReads == 0) {
        state.SkipWithError("reads are not counted");
    }
    state.counters["reads_per_message"] =
        static_cast<double>(g_linkReads) / static_cast<double>(kBurst * static_cast<std::size_t>(state.iterations()));
}
BENCHMARK(tty_bursts)->UseRealTime();

constexpr bench::Goal kGoals[] = {
    {"frame_lines", "frame_lines_memchr_and_copy", bench::Limit::timesPeer, 2.0},
    {"frame_held_line", "frame_held_line_copy", bench::Limit::nanosecondsAbove, 250},
    {"frame_bytes", nullptr, bench::Limit::itemsPerSecond, 2e6},
    {"tty_lines", "tty_lines_bare_reads", bench::Limit::timesPeer, 1.25},
    {"tty_bursts", "reads_per_message", bench::Limit::counter, 1.1},
};

}  // namespace

int main(int argc, char** argv) {
    const bench::Set set;
    if (a_vextvfapi_prphrl_init() != 0) {
        std::fprintf(stderr, "the peripherals do not start\n");
        return 1;
    }
    return bench::runAndJudge(argc, argv, kGoals, static_cast<int>(std::size(kGoals)));
}
