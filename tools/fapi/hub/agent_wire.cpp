// SPDX-License-Identifier: Apache-2.0
// The wire to an agent: the standard streams of a command.
#include "hub/agent_wire.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>

namespace tool {

namespace {

constexpr std::chrono::seconds kUntilSignal{2};
constexpr int kSignals[] = {SIGTERM, SIGKILL};
constexpr int kPipeSize = 1 << 20;
constexpr std::size_t kReadSize = 256 << 10;
constexpr std::size_t kKeptErrors = 4096;
// Of what has been written to the agent already.
constexpr std::size_t kMostKept = 1 << 20;
// The entries of a wire in what is waited for, in their order.
enum Entry : std::size_t { kOutputEntry, kErrorsEntry, kProcessEntry, kInputEntry };

RequestError cannotStart(const std::string& command, int error) {
    return RequestError(ErrorCode::unavailable, command + ": " + std::strerror(error));
}

struct Pipe {
    Descriptor readEnd, writeEnd;
};

Pipe makePipe(const std::string& command) {
    int ends[2] = {};
    if (pipe2(ends, O_CLOEXEC) != 0) {
        throw cannotStart(command, errno);
    }
    // As far as this user may: a picture needs fewer turns then.
    fcntl(ends[0], F_SETPIPE_SZ, kPipeSize);
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

void stopWaiting(const Descriptor& descriptor) {
    fcntl(descriptor.get(), F_SETFL, O_NONBLOCK);
}

// The attributes of a process that begins with no signal blocked or ignored, in a group of its own.
class SpawnAttributes {
public:
    SpawnAttributes() {
        sigset_t none, all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_init(&_attributes);
        posix_spawnattr_setsigmask(&_attributes, &none);
        posix_spawnattr_setsigdefault(&_attributes, &all);
        posix_spawnattr_setpgroup(&_attributes, 0);
        posix_spawnattr_setflags(&_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
    }
    ~SpawnAttributes() { posix_spawnattr_destroy(&_attributes); }
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;
    const posix_spawnattr_t* get() const { return &_attributes; }

private:
    posix_spawnattr_t _attributes;
};

}  // namespace

std::vector<char*> argumentVector(const std::vector<std::string>& command) {
    std::vector<char*> words;
    words.reserve(command.size() + 1);
    for (const std::string& word : command) {
        words.push_back(const_cast<char*>(word.c_str()));
    }
    words.push_back(nullptr);
    return words;
}

AgentWire::AgentWire(const std::vector<std::string>& command) : _name(command.at(0)) {
    start(command);
}

AgentWire::~AgentWire() {
    if (!isGone()) {
        kill(-_child, SIGKILL);
        waitpid(_child, nullptr, 0);
    }
}

void AgentWire::start(const std::vector<std::string>& command) {
    Pipe input = makePipe(_name), output = makePipe(_name), errors = makePipe(_name);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input.readEnd.get(), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output.writeEnd.get(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errors.writeEnd.get(), STDERR_FILENO);
    const std::vector<char*> words = argumentVector(command);
    const SpawnAttributes attributes;
    const int error = posix_spawnp(&_child, words[0], &actions, attributes.get(), words.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        _child = -1;
        throw cannotStart(_name, error);
    }
    _input = std::move(input.writeEnd);
    _output = std::move(output.readEnd);
    _errors = std::move(errors.readEnd);
    for (const Descriptor* end : {&_input, &_output, &_errors}) {
        stopWaiting(*end);
    }
    // The C library's header of pidfd_open() is not for C++ everywhere.
    _process = Descriptor(static_cast<int>(syscall(SYS_pidfd_open, _child, 0)));
}

void AgentWire::addTo(std::vector<pollfd>& waited, std::optional<Clock::time_point>& until, bool reads) {
    _place = waited.size();
    waited.push_back({reads ? _output.get() : -1, POLLIN, 0});
    waited.push_back({_errors.get(), POLLIN, 0});
    waited.push_back({_process.get(), POLLIN, 0});
    waited.push_back({waiting() != 0 ? _input.get() : -1, POLLOUT, 0});
    if (_closed && _signaled < 2) {
        const Clock::time_point next = *_closed + (_signaled + 1) * kUntilSignal;
        until = until ? std::min(*until, next) : next;
    }
}

void AgentWire::move(const std::vector<pollfd>& waited, std::vector<Line>& lines) {
    const pollfd* entries = waited.data() + _place;
    if (entries[kInputEntry].revents != 0) {
        flush();
    }
    if (entries[kOutputEntry].revents != 0) {
        readOutput(lines);
    }
    if (entries[kErrorsEntry].revents != 0) {
        readErrors(lines);
    }
    if (entries[kProcessEntry].revents != 0) {
        reap(lines);
    }
    advanceEnd();
}

void AgentWire::use(Framing framing) {
    _reader.use(framing);
    _sends = framing;
}

void AgentWire::send(const Field& object) {
    sendText(toJsonText(object, _sends == Framing::checked));
}

void AgentWire::sendText(std::string text) {
    type(frameText(std::move(text), _sends));
}

void AgentWire::type(const std::string& bytes) {
    if (!_input) {
        return;
    }
    if (_sent > kMostKept) {
        // A wire that is always busy never empties it.
        _out.erase(0, std::exchange(_sent, 0));
    }
    _out += bytes;
    flush();
}

// Types what belongs to the texts that have been printed.
void AgentWire::listenForPrompt(std::string_view piece) {
    _printed += piece;
    while (!_script.empty()) {
        const std::size_t found = _printed.find(_script.front());
        if (found == std::string::npos) {
            break;
        }
        _printed.erase(0, found + _script.front().size());
        _script.pop_front();
        type(_script.front());
        _script.pop_front();
    }
    _printed.erase(0, _printed.size() - std::min(_printed.size(), kKeptErrors));
}

void AgentWire::flush() {
    while (waiting() != 0) {
        const ssize_t length = write(_input.get(), _out.data() + _sent, waiting());
        if (length < 0) {
            if (errno != EAGAIN && errno != EINTR) {
                // Its end is noticed where the agent's output ends.
                _out.clear();
                _sent = 0;
                _input.close();
            }
            return;
        }
        _sent += static_cast<std::size_t>(length);
    }
    _out.clear();
    _sent = 0;
}

void AgentWire::readOutput(std::vector<Line>& lines) {
    static char piece[kReadSize];
    const ssize_t length = read(_output.get(), piece, sizeof(piece));
    if (length > 0) {
        if (isConversing()) {
            listenForPrompt({piece, static_cast<std::size_t>(length)});
        }
        _reader.take({piece, static_cast<std::size_t>(length)}, lines);
    } else if (length == 0 || (errno != EAGAIN && errno != EINTR)) {
        _output.close();
        close();
    }
}

void AgentWire::readErrors(std::vector<Line>& lines) {
    char piece[kKeptErrors];
    const ssize_t length = read(_errors.get(), piece, sizeof(piece));
    if (length <= 0) {
        if (length == 0 || (errno != EAGAIN && errno != EINTR)) {
            _errors.close();
        }
        return;
    }
    _errorText.append(piece, static_cast<std::size_t>(length));
    for (std::size_t end; (end = _errorText.find('\n', _errorLine)) != std::string::npos; _errorLine = end + 1) {
        lines.push_back({Line::Kind::console, {}, _errorText.substr(_errorLine, end - _errorLine)});
    }
    const std::size_t old = _errorText.size() - std::min(_errorText.size(), kKeptErrors);
    _errorText.erase(0, old);
    _errorLine -= std::min(_errorLine, old);
}

void AgentWire::close() {
    if (!_closed) {
        _closed = Clock::now();
        _out.clear();
        _sent = 0;
        _input.close();
    }
}

void AgentWire::closeFor(const std::string& reason) {
    _closeReason = reason;
    close();
}

void AgentWire::terminate() {
    close();
    _closed = std::min(*_closed, Clock::now() - kUntilSignal);
    advanceEnd();
}

void AgentWire::advanceEnd() {
    while (_closed && !isGone() && _signaled < 2 && Clock::now() >= *_closed + (_signaled + 1) * kUntilSignal) {
        kill(-_child, kSignals[_signaled++]);
    }
}

void AgentWire::reap(std::vector<Line>& lines) {
    siginfo_t info = {};
    if (waitid(P_PID, static_cast<id_t>(_child), &info, WEXITED | WNOHANG | WNOWAIT) != 0 || info.si_pid == 0) {
        return;
    }
    // The dead process still keeps its group's number from being used again.
    kill(-_child, SIGKILL);
    waitpid(_child, &_status, 0);
    _child = -1;
    for (pollfd left = {_output.get(), POLLIN, 0}; _output && poll(&left, 1, 0) == 1;) {
        readOutput(lines);
    }
    for (pollfd left = {_errors.get(), POLLIN, 0}; _errors && poll(&left, 1, 0) == 1;) {
        readErrors(lines);
    }
    close();
}

void AgentWire::waitForEnd() {
    while (!isGone()) {
        std::vector<pollfd> waited;
        std::vector<Line> lines;
        std::optional<Clock::time_point> until;
        addTo(waited, until, true);
        poll(waited.data(), waited.size(), waitTime(until));
        move(waited, lines);
    }
}

std::string AgentWire::reason() const {
    if (!_closeReason.empty()) {
        return _name + ": " + _closeReason;
    }
    const std::string text =
        _name + (WIFSIGNALED(_status) ? ": ended by signal " + std::to_string(WTERMSIG(_status))
                                      : ": ended with exit code " + std::to_string(WEXITSTATUS(_status)));
    std::string last = _errorText;
    while (!last.empty() && last.back() == '\n') {
        last.pop_back();
    }
    return last.empty() ? text : text + ": " + last;
}

Answer AgentWire::ask(const Request& request, std::chrono::milliseconds limit) {
    send(toField(request));
    const Clock::time_point deadline = Clock::now() + limit;
    while (!isGone() && Clock::now() < deadline) {
        std::vector<pollfd> waited;
        std::vector<Line> lines;
        std::optional<Clock::time_point> until = deadline;
        addTo(waited, until, true);
        poll(waited.data(), waited.size(), waitTime(until));
        move(waited, lines);
        for (const Line& line : lines) {
            const Field object = line.kind == Line::Kind::message ? parseJsonText(line.text) : Field();
            if (idOf(object) == request.id && !object.has("method")) {
                Answer answer = *parseMessage(object).answer;
                if (answer.failure) {
                    throw RequestError(*answer.failure);
                }
                return answer;
            }
        }
    }
    throw RequestError(ErrorCode::unavailable, isGone() ? reason() : _name + ": does not answer");
}

int waitTime(const std::optional<Clock::time_point>& until) {
    if (!until) {
        return -1;
    }
    // Rounded up: a wait that is too short would be repeated.
    const auto rest = std::chrono::ceil<std::chrono::milliseconds>(*until - Clock::now()).count();
    return static_cast<int>(std::clamp<long long>(rest, 0, 1 << 30));
}

}  // namespace tool
