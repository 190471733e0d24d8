// SPDX-License-Identifier: Apache-2.0
// The library's log while a plan runs.
#include "run/step_log.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <stdexcept>

#include <sys/mman.h>
#include <unistd.h>

#include "a_vextvfapi_common.h"
#include "actions/log_switch.h"
#include "protocol/characters.h"
#include "vset/vset.h"

namespace tool {

namespace {

constexpr std::size_t kKept = 65536;
constexpr std::size_t kKeptLines = 400;

// The operations that look at the switch.
constexpr const char* kReaders[] = {"a_vextvfapi_sys_init", "_a_vextvfapi_common_init"};

bool readsSwitch(const Command& command) {
    const auto isName = [&](std::string_view name) { return command.operation()->name == name; };
    return command.operation() != nullptr && std::any_of(std::begin(kReaders), std::end(kReaders), isName);
}

// Where the last `lines` lines of the text begin.
std::size_t beginOfLast(const std::string& text, std::size_t lines) {
    std::size_t start = text.size();
    for (; lines != 0 && start != 0; --lines) {
        const std::size_t newline = start >= 2 ? text.rfind('\n', start - 2) : std::string::npos;
        start = newline == std::string::npos ? 0 : newline + 1;
    }
    return start;
}

// "\033[43;31m" is gone.
std::string withoutColors(const std::string& text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isColor = text.compare(i, 2, "\033[") == 0;
        const std::size_t end = isColor ? text.find_first_not_of("0123456789;", i + 2) : std::string::npos;
        if (end != std::string::npos && text[end] == 'm') {
            i = end;
        } else {
            result += text[i];
        }
    }
    return result;
}

}  // namespace

// A ring. Written by one process at a time, under the lock of its standard output; read while it may be written.
struct StepLog::Shared {
    std::atomic<std::size_t> written{0};  // since the attempt began
    std::atomic<bool> isShown{false};     // the plan has switched the log on
    std::atomic<char> bytes[kKept] = {};

    static ssize_t write(void* shared, const char* text, std::size_t size) {
        auto& log = *static_cast<Shared*>(shared);
        std::size_t at = log.written;
        for (std::size_t i = 0; i < size; ++i) {
            log.bytes[at++ % kKept].store(text[i], std::memory_order_relaxed);
        }
        log.written = at;
        if (log.isShown) {
            std::fwrite(text, 1, size, stderr);
        }
        return static_cast<ssize_t>(size);
    }
};

StepLog::StepLog() {
    void* memory = mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::runtime_error(std::string("mmap: ") + std::strerror(errno));
    }
    _shared = new (memory) Shared;
}

StepLog::~StepLog() {
    munmap(_shared, sizeof(Shared));
}

void StepLog::takeStandardOutput() {
    FILE* stream = fopencookie(_shared, "w", {nullptr, Shared::write, nullptr, nullptr});
    if (stream != nullptr) {
        // Whoever dies has printed everything.
        setvbuf(stream, nullptr, _IONBF, 0);
        stdout = stream;
    }
}

Outcome StepLog::run(const Command& command) const {
    if (!readsSwitch(command)) {
        return command.run();
    }
    _shared->isShown = _a_vextvfapi_common_init_debug_level() != 0;
    const vset::PretendedFile on(kLogSwitch);
    return command.run();
}

void StepLog::clear() {
    flockfile(stdout);
    _shared->written = 0;
    funlockfile(stdout);
}

std::string StepLog::text() const {
    const std::size_t written = _shared->written;
    std::string text;
    for (std::size_t i = written > kKept ? written - kKept : 0; i < written; ++i) {
        text += _shared->bytes[i % kKept].load(std::memory_order_relaxed);
    }
    const std::size_t start = beginOfLast(text, kKeptLines);
    if (written > kKept || start != 0) {
        // Of the first line the beginning may be gone.
        text.erase(0, start != 0 ? start : text.find('\n') + 1);
        text.insert(0, "... what came before is not kept\n");
    }
    return validText(withoutColors(text));
}

}  // namespace tool
