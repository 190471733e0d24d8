// SPDX-License-Identifier: Apache-2.0
// A program as a user or a script runs it, and a process of a test's own.
#include "support/process.h"

#include <chrono>
#include <cstdlib>
#include <stdexcept>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/waiting.h"

namespace test {

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds kLimit{110};  // less than CTest's own limit

[[noreturn]] void execute(const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    for (const std::string& strWord : command) {
        arguments.push_back(const_cast<char*>(strWord.c_str()));
    }
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    _exit(127);
}

int waitFor(pid_t child) {
    int s32Status = 0;
    waitpid(child, &s32Status, 0);
    return WIFEXITED(s32Status) ? WEXITSTATUS(s32Status) : 128 + WTERMSIG(s32Status);
}

// Reads from the descriptors until they end, and closes them; runs `act` first of all, after each piece, and after each
// second of silence. Returns the child's exit code. A child that takes too long is killed.
int listen(
    pid_t child, std::vector<pollfd> ends, const std::vector<std::string*>& texts,
    const std::function<void(bool bSilent)>& act = [](bool) {}) {
    bool bSilent = false;
    const Clock::time_point deadline = Clock::now() + patient(kLimit);
    for (std::size_t open = ends.size(); open > 0;) {
        act(bSilent);
        if (Clock::now() > deadline) {
            kill(child, SIGKILL);
        }
        bSilent = poll(ends.data(), ends.size(), 1000) == 0;
        for (std::size_t i = 0; i < ends.size(); ++i) {
            char acChunk[4096];
            const ssize_t length = ends[i].revents != 0 ? read(ends[i].fd, acChunk, sizeof(acChunk)) : 0;
            if (length > 0) {
                texts[i]->append(acChunk, static_cast<std::size_t>(length));
            } else if (ends[i].revents != 0) {
                close(ends[i].fd);
                ends[i] = {-1, 0, 0};
                --open;
            }
        }
    }
    return waitFor(child);
}

struct Pipe {
    int as32Ends[2];
    Pipe() {
        // A process that another thread starts meanwhile must not inherit it.
        if (pipe2(as32Ends, O_CLOEXEC) != 0) {
            throw std::runtime_error("no pipe");
        }
    }
    void keep(int s32End) { close(as32Ends[1 - s32End]); }
};

}  // namespace

int runInChild(const std::function<void()>& body) {
    const pid_t child = fork();
    if (child == 0) {
        body();
        _exit(0);
    }
    return waitFor(child);
}

ProcessResult runProcess(const std::vector<std::string>& command, const std::string& strInput) {
    Pipe input, output, error;
    const pid_t child = fork();
    if (child == 0) {
        dup2(input.as32Ends[0], STDIN_FILENO);
        dup2(output.as32Ends[1], STDOUT_FILENO);
        dup2(error.as32Ends[1], STDERR_FILENO);
        for (const Pipe* pPipe : {&input, &output, &error}) {
            close(pPipe->as32Ends[0]);
            close(pPipe->as32Ends[1]);
        }
        execute(command);
    }
    input.keep(1);
    output.keep(0);
    error.keep(0);
    // Inputs of tests are small: they fit into the pipe.
    signal(SIGPIPE, SIG_IGN);
    [[maybe_unused]] const ssize_t written = write(input.as32Ends[1], strInput.data(), strInput.size());
    close(input.as32Ends[1]);

    ProcessResult stResult;
    stResult.s32Exit = listen(child, {{output.as32Ends[0], POLLIN, 0}, {error.as32Ends[0], POLLIN, 0}},
                              {&stResult.strOutput, &stResult.strError});
    return stResult;
}

ProcessResult runOnTerminal(const std::vector<std::string>& command, const std::vector<Typed>& typed,
                            unsigned int u32Columns) {
    int s32Terminal = -1;
    winsize stSize = {50, static_cast<unsigned short>(u32Columns), 0, 0};
    const pid_t child = forkpty(&s32Terminal, nullptr, nullptr, &stSize);
    if (child == 0) {
        setenv("TERM", "xterm", 1);
        execute(command);
    }
    ProcessResult stResult;
    std::size_t next = 0;
    std::size_t seen = 0;
    const auto type = [&](bool bSilent) {
        for (; next < typed.size(); ++next) {
            if (bSilent && typed[next].strWaitFor == kSilence) {
                stResult.strOutput += kSilence;
            }
            const std::size_t place = stResult.strOutput.find(typed[next].strWaitFor, seen);
            if (place == std::string::npos) {
                return;
            }
            seen = place + typed[next].strWaitFor.size();
            const std::string& strKeys = typed[next].strKeys;
            const std::string& strDevice = typed[next].strDevice;
            const int s32Device = strDevice.empty() ? dup(s32Terminal) : open(strDevice.c_str(), O_WRONLY | O_NOCTTY);
            [[maybe_unused]] const ssize_t written = write(s32Device, strKeys.data(), strKeys.size());
            close(s32Device);
        }
    };
    stResult.s32Exit = listen(child, {{s32Terminal, POLLIN, 0}}, {&stResult.strOutput}, type);
    return stResult;
}

}  // namespace test
