// SPDX-License-Identifier: Apache-2.0
// The worker as a process.
#include "supervisor/worker_process.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tool {

namespace {

constexpr std::size_t kRead = 1u << 18;

[[noreturn]] void fail(const std::string& what) {
    throw std::runtime_error(what + ": " + std::strerror(errno));
}

std::string program() {
    std::string file = std::filesystem::read_symlink("/proc/self/exe").string() + "-worker";
    if (access(file.c_str(), X_OK) != 0) {
        fail(file);
    }
    return file;
}

// What happens in the new process until it is the worker.
[[noreturn]] void execute(const std::vector<char*>& words, pid_t parent, int socket, int log) {
    setpgid(0, 0);
    // The parent may have ended before.
    if (prctl(PR_SET_PDEATHSIG, SIGKILL) != 0 || getppid() != parent) {
        _exit(127);
    }
    signal(SIGPIPE, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    dup2(log, STDOUT_FILENO);
    fcntl(socket, F_SETFD, 0);
    execv(words[0], words.data());
    _exit(127);
}

}  // namespace

WorkerProcess::WorkerProcess(const std::vector<std::string>& arguments) {
    int sockets[2] = {-1, -1}, logs[2] = {-1, -1};
    const std::string file = program();
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0 || pipe2(logs, O_CLOEXEC) != 0) {
        close(sockets[0]);
        close(sockets[1]);
        fail("no pipe");
    }
    _socket = sockets[0];
    _log = logs[0];
    fcntl(_socket, F_SETFL, O_NONBLOCK);
    fcntl(_log, F_SETFL, O_NONBLOCK);
    std::vector<std::string> texts = {file, "--socket", std::to_string(sockets[1])};
    texts.insert(texts.end(), arguments.begin(), arguments.end());
    std::vector<char*> words;
    words.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        words.push_back(text.data());
    }
    words.push_back(nullptr);
    const pid_t parent = getpid();
    _pid = fork();
    if (_pid == 0) {
        execute(words, parent, sockets[1], logs[1]);
    }
    const int error = errno;
    close(sockets[1]);
    close(logs[1]);
    if (_pid < 0) {
        close(_socket);
        close(_log);
        errno = error;
        fail("no process");
    }
    setpgid(_pid, _pid);
}

WorkerProcess::~WorkerProcess() {
    kill();
    for (const int descriptor : {_socket, _log}) {
        if (descriptor >= 0) {
            close(descriptor);
        }
    }
}

void WorkerProcess::send(std::string_view line) {
    _unwritten.erase(0, std::exchange(_written, 0));
    _unwritten += line;
    flush();
}

void WorkerProcess::flush() {
    while (isUnwritten() && _socket >= 0) {
        const ssize_t size = ::send(_socket, _unwritten.data() + _written, _unwritten.size() - _written, MSG_NOSIGNAL);
        if (size < 0) {
            return;
        }
        _written += static_cast<std::size_t>(size);
    }
}

// An empty piece is nothing now. At the end the descriptor is closed: it would be readable forever.
std::string_view WorkerProcess::readPiece(int& descriptor, std::vector<char>& buffer) {
    buffer.resize(kRead);
    const ssize_t size = descriptor >= 0 ? read(descriptor, buffer.data(), buffer.size()) : -1;
    if (descriptor >= 0 && (size == 0 || (size < 0 && errno != EAGAIN && errno != EINTR))) {
        close(std::exchange(descriptor, -1));
    }
    return {buffer.data(), static_cast<std::size_t>(size > 0 ? size : 0)};
}

bool WorkerProcess::readLines(const std::function<void(std::string_view line)>& take) {
    std::string_view piece = readPiece(_socket, _socketPiece);
    const bool isSome = !piece.empty();
    for (std::size_t end = piece.find('\n'); end != std::string_view::npos; end = piece.find('\n')) {
        _unread += piece.substr(0, end);
        piece.remove_prefix(end + 1);
        take(_unread);
        _unread.clear();
    }
    _unread += piece;
    return isSome;
}

bool WorkerProcess::readLog(const std::function<void(std::string_view bytes)>& take) {
    const std::string_view piece = readPiece(_log, _logPiece);
    if (!piece.empty()) {
        take(piece);
    }
    return !piece.empty();
}

void WorkerProcess::kill() const {
    if (_pid > 0) {
        ::kill(-_pid, SIGKILL);
        ::kill(_pid, SIGKILL);
    }
}

std::optional<WorkerEnd> WorkerProcess::reap() {
    int status = 0;
    if (_pid <= 0 || waitpid(_pid, &status, WNOHANG) != _pid) {
        return std::nullopt;
    }
    // Its number may be another process's from here on.
    _pid = -1;
    return WIFSIGNALED(status) ? WorkerEnd{WTERMSIG(status), 0} : WorkerEnd{0, WEXITSTATUS(status)};
}

}  // namespace tool
