// SPDX-License-Identifier: Apache-2.0
// The process between the bench and a program of a plan.
#include "program/guard.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <optional>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "hub/agent_wire.h"
#include "protocol/value.h"

namespace tool {

namespace {

// A child that was killed is waited for so often before it is looked for again.
constexpr int kBetweenKills = 5;  // milliseconds

void tellResult(const std::string& how) {
    static_cast<void>(write(kGuardResult, how.data(), how.size()));
}

// In the program's process, before it is the program.
[[noreturn]] void becomeProgram(const std::string& file, const std::vector<std::string>& command) {
    setpgid(0, 0);
    fcntl(kGuardLife, F_SETFD, FD_CLOEXEC);
    fcntl(kGuardResult, F_SETFD, FD_CLOEXEC);
    const std::vector<char*> words = argumentVector(command);
    execv(file.c_str(), words.data());
    tellResult(std::string("start ") + std::strerror(errno));
    _exit(127);
}

// Those that have lost their parent are the guard's children, too.
std::vector<pid_t> children() {
    const std::string self = std::to_string(getpid());
    std::ifstream file("/proc/" + self + "/task/" + self + "/children");
    std::vector<pid_t> found;
    for (pid_t child = 0; file >> child;) {
        found.push_back(child);
    }
    return found;
}

// Ends the children, and their children when they have become the guard's, until there are none.
void endAll() {
    for (;;) {
        for (const pid_t child : children()) {
            kill(child, SIGKILL);
        }
        const pid_t ended = waitpid(-1, nullptr, WNOHANG);
        if (ended < 0 && errno == ECHILD) {
            return;
        }
        if (ended == 0) {
            poll(nullptr, 0, kBetweenKills);
        }
    }
}

// Waits for the program's end; ends it at its limit, and when the bench wants that.
std::string waitForProgram(pid_t program, Clock::time_point until) {
    std::string ending;
    const Descriptor process(static_cast<int>(syscall(SYS_pidfd_open, program, 0)));
    int life = kGuardLife;
    for (;;) {
        pollfd waited[] = {{process.get(), POLLIN, 0}, {life, POLLIN, 0}};
        poll(waited, 2, waitTime(until));
        if (waited[0].revents != 0) {
            break;
        }
        const bool isOver = waited[1].revents != 0 && life >= 0;
        if (!isOver && Clock::now() < until) {
            continue;
        }
        if (ending.empty()) {
            ending = isOver ? "stopped" : "limit";
            kill(-program, SIGTERM);
            until = Clock::now() + kProgramGrace;
            life = -1;
        } else {
            kill(-program, SIGKILL);
            kill(program, SIGKILL);
            until = Clock::now() + kProgramGrace;
        }
    }
    // Its number is its group's as long as it is not waited for.
    kill(-program, SIGKILL);
    int status = 0;
    waitpid(program, &status, 0);
    return !ending.empty()       ? ending
           : WIFSIGNALED(status) ? "signal " + std::to_string(WTERMSIG(status))
                                 : "exit " + std::to_string(WEXITSTATUS(status));
}

}  // namespace

int runGuard(const std::vector<std::string>& words) {
    long long milliseconds = 0;
    if (words.size() < 3 || !parseNumber(words[0], milliseconds)) {
        return 2;
    }
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    const Clock::time_point until = Clock::now() + std::chrono::milliseconds(milliseconds);
    const pid_t program = fork();
    if (program == 0) {
        becomeProgram(words[1], {words.begin() + 2, words.end()});
    }
    if (program < 0) {
        tellResult(std::string("start ") + std::strerror(errno));
        return 1;
    }
    setpgid(program, program);
    // What the program has open ends with the program.
    for (const int own : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO, kProgramValues}) {
        close(own);
    }
    const std::string how = waitForProgram(program, until);
    endAll();
    tellResult(how);
    return 0;
}

}  // namespace tool
