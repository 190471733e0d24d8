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

#include "protocol/framing.h"

namespace tool {

namespace {

constexpr std::size_t kRead = 1u << 18;
constexpr std::size_t kLongestLine = kLongestMessage + kMarkSize;

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

// A connection with the worker: this process's end, and the worker's.
struct Connection {
    int own = -1;
    int workers = -1;
};
// The ways to the worker, and its log.
using Connections = std::array<Connection, kWays + 1>;
constexpr std::size_t kLog = kWays;

Connections connect() {
    Connections all;
    bool isDone = true;
    for (std::size_t i = 0; i < all.size(); ++i) {
        int ends[2] = {-1, -1};
        isDone = isDone && (i == kAside ? socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) == 0
                                        : pipe2(ends, O_CLOEXEC) == 0);
        all[i] = i == kLog ? Connection{ends[0], ends[1]} : Connection{ends[1], ends[0]};
        fcntl(all[i].own, F_SETFL, O_NONBLOCK);
    }
    if (!isDone) {
        const int error = errno;
        for (const Connection& one : all) {
            close(one.own);
            close(one.workers);
        }
        errno = error;
        fail("no pipe");
    }
    return all;
}

// What happens in the new process until it is the worker.
[[noreturn]] void execute(const std::vector<char*>& words, pid_t parent, const Connections& all) {
    setpgid(0, 0);
    // The parent may have ended before.
    if (prctl(PR_SET_PDEATHSIG, SIGKILL) != 0 || getppid() != parent) {
        _exit(127);
    }
    signal(SIGPIPE, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    dup2(all[kLog].workers, STDOUT_FILENO);
    for (std::size_t way = 0; way < kWays; ++way) {
        fcntl(all[way].workers, F_SETFD, 0);
    }
    execv(words[0], words.data());
    _exit(127);
}

}  // namespace

WorkerProcess::WorkerProcess(const std::vector<std::string>& arguments) {
    const std::string file = program();
    const Connections all = connect();
    std::vector<std::string> texts = {file};
    for (std::size_t way = 0; way < kWays; ++way) {
        _outgoing[way].descriptor = all[way].own;
        texts.insert(texts.end(), {kWayOptions[way], std::to_string(all[way].workers)});
    }
    _log = all[kLog].own;
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
        execute(words, parent, all);
    }
    const int error = errno;
    for (const Connection& one : all) {
        close(one.workers);
    }
    if (_pid < 0) {
        closeAll();
        errno = error;
        fail("no process");
    }
    setpgid(_pid, _pid);
}

WorkerProcess::~WorkerProcess() {
    kill();
    closeAll();
}

void WorkerProcess::closeAll() const {
    close(_log);
    for (const Outgoing& way : _outgoing) {
        close(way.descriptor);
    }
}

void WorkerProcess::send(Way way, std::string_view line) {
    Outgoing& to = _outgoing[way];
    to.unwritten.erase(0, std::exchange(to.written, 0));
    to.unwritten += line;
    flush(way);
}

void WorkerProcess::flush(Way way) {
    Outgoing& to = _outgoing[way];
    while (unwritten(way) >= 0) {
        const ssize_t size = write(to.descriptor, to.unwritten.data() + to.written, to.unwritten.size() - to.written);
        if (size < 0) {
            if (errno != EAGAIN && errno != EINTR) {
                // No one reads it. That the worker ends is noticed where its lines end.
                to.written = to.unwritten.size();
            }
            return;
        }
        to.written += static_cast<std::size_t>(size);
    }
}

int WorkerProcess::unwritten(Way way) const {
    const Outgoing& to = _outgoing[way];
    return to.written != to.unwritten.size() ? to.descriptor : -1;
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
    std::string_view piece = readPiece(_outgoing[kAside].descriptor, _socketPiece);
    const bool isSome = !piece.empty();
    for (std::size_t end = piece.find('\n'); end != std::string_view::npos; end = piece.find('\n')) {
        _unread += piece.substr(0, end);
        piece.remove_prefix(end + 1);
        take(_unread);
        _unread.clear();
    }
    _unread += piece;
    if (_unread.size() > kLongestLine) {
        // No worker in its senses says so much in a line.
        take({});
        _unread.clear();
    }
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
