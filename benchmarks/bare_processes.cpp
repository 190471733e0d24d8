// SPDX-License-Identifier: Apache-2.0
// Three processes that pass lines on, connected as hub, supervisor and worker are.
#include "bare_processes.h"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

namespace bench {

namespace {

constexpr std::size_t kRead = 1u << 16;

// One end of a connection.
struct End {
    int in;
    int out;
};
struct Connection {
    End upper, lower;
};

Connection socketConnection() {
    int ends[2] = {};
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) {
        std::abort();
    }
    return {{ends[0], ends[0]}, {ends[1], ends[1]}};
}

Connection pipeConnection() {
    int down[2] = {}, up[2] = {};
    if (pipe(down) != 0 || pipe(up) != 0) {
        std::abort();
    }
    return {{up[0], down[1]}, {down[0], up[1]}};
}

// Whole lines of what comes.
class Lines {
public:
    // Reads once and writes the lines that have ended. False at the end.
    bool pass(int in, int out) {
        const bool isOpen = read(in);
        const std::size_t end = _text.rfind('\n') + 1;
        isOpen&& end != 0 && write(out, _text.data(), end) == static_cast<ssize_t>(end);
        _text.erase(0, end);
        return isOpen;
    }
    // Reads once. False at the end.
    bool read(int in) {
        static char piece[kRead];
        const ssize_t length = ::read(in, piece, sizeof(piece));
        _text.append(piece, static_cast<std::size_t>(length > 0 ? length : 0));
        return length > 0;
    }
    // Whether a line has ended, which is taken away.
    bool takeLine() {
        const std::size_t end = _text.find('\n') + 1;
        _text.erase(0, end);
        return end != 0;
    }

private:
    std::string _text;
};

void passOn(const End& upper, const End& lower) {
    Lines down, up;
    for (;;) {
        pollfd ends[] = {{upper.in, POLLIN, 0}, {lower.in, POLLIN, 0}};
        poll(ends, 2, -1);
        if ((ends[0].revents != 0 && !down.pass(upper.in, lower.out)) ||
            (ends[1].revents != 0 && !up.pass(lower.in, upper.out))) {
            return;
        }
    }
}

void answerAll(const End& upper, std::size_t size) {
    const std::string answer = std::string(size - 1, 'x') + '\n';
    Lines lines;
    while (lines.read(upper.in)) {
        while (lines.takeLine()) {
            if (write(upper.out, answer.data(), size) != static_cast<ssize_t>(size)) {
                return;
            }
        }
    }
}

// Calls the function in a process of its own, which ends with this one.
template <class Function>
pid_t inProcess(Function&& function) {
    const pid_t process = fork();
    if (process == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        function();
        _exit(0);
    }
    return process;
}

}  // namespace

BareProcesses::BareProcesses(std::size_t answerSize) : _answerSize(answerSize) {
    const Connection first = socketConnection(), second = pipeConnection(), third = socketConnection();
    _connection = first.upper.in;
    _processes = {inProcess([&] { passOn(first.lower, second.upper); }),
                  inProcess([&] { passOn(second.lower, third.upper); }),
                  inProcess([&] { answerAll(third.lower, answerSize); })};
    for (const int descriptor : {first.lower.in, second.upper.in, second.upper.out, second.lower.in, second.lower.out,
                                 third.upper.in, third.lower.in}) {
        close(descriptor);
    }
}

BareProcesses::~BareProcesses() {
    close(_connection);
    for (const pid_t process : _processes) {
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
    }
}

bool BareProcesses::exchange(const std::string& line) {
    char piece[kRead];
    bool isSent = write(_connection, line.data(), line.size()) == static_cast<ssize_t>(line.size());
    std::size_t received = 0;
    while (isSent && received < _answerSize) {
        const ssize_t length = read(_connection, piece, sizeof(piece));
        isSent = length > 0;
        received += static_cast<std::size_t>(length > 0 ? length : 0);
    }
    return isSent && received == _answerSize;
}

}  // namespace bench
