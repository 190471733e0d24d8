// SPDX-License-Identifier: Apache-2.0
// Commands of the bench as processes of their own.
#include "serve/tool_process.h"

#include <csignal>
#include <cstring>
#include <filesystem>

#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "hub/agent_wire.h"
#include "protocol/message.h"

namespace tool {

namespace {

constexpr std::size_t kMostText = 4 << 20;

}  // namespace

ToolProcess::ToolProcess(const Words& words)
    : _output(memfd_create("output", MFD_CLOEXEC)), _errors(memfd_create("errors", MFD_CLOEXEC)) {
    Words command = {std::filesystem::read_symlink("/proc/self/exe").string()};
    command.insert(command.end(), words.begin(), words.end());
    const std::vector<char*> arguments = argumentVector(command);
    posix_spawn_file_actions_t files;
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", 0, 0);
    posix_spawn_file_actions_adddup2(&files, _output.get(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&files, _errors.get(), STDERR_FILENO);
    posix_spawnattr_init(&attributes);
    sigset_t none, all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    pid_t child = -1;
    const int error = posix_spawn(&child, command[0].c_str(), &files, &attributes, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&files);
    posix_spawnattr_destroy(&attributes);
    if (error != 0) {
        throw SetError(command[0] + ": " + std::strerror(error));
    }
    _pid = child;
}

bool ToolProcess::wait(std::chrono::milliseconds limit) {
    const Descriptor process(static_cast<int>(syscall(SYS_pidfd_open, _pid, 0)));
    pollfd entry = {process.get(), POLLIN, 0};
    if (_code < 0 && poll(&entry, 1, static_cast<int>(limit.count())) == 1) {
        int status = 0;
        waitpid(static_cast<pid_t>(_pid), &status, 0);
        _code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    return _code >= 0;
}

void ToolProcess::kill() const {
    ::kill(static_cast<pid_t>(_pid), SIGKILL);
}

std::string ToolProcess::textOf(const Descriptor& file) {
    std::string text(kMostText, '\0');
    const ssize_t length = pread(file.get(), text.data(), text.size(), 0);
    text.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return text;
}

ToolResult runTool(const Words& words, std::chrono::milliseconds limit) {
    constexpr std::chrono::seconds kForTheEnd{5};
    ToolProcess process(words);
    if (!process.wait(limit)) {
        process.kill();
        process.wait(kForTheEnd);
        return {process.code(), process.output(), "it took too long and was ended\n"};
    }
    return {process.code(), process.output(), process.errors()};
}

}  // namespace tool
