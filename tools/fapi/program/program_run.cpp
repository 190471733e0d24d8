// SPDX-License-Identifier: Apache-2.0
// A program of a plan.
#include "program/program_run.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "hub/agent_wire.h"
#include "program/guard.h"
#include "protocol/message.h"

namespace tool {

namespace {

constexpr std::size_t kKeptEnd = 512 << 10;
constexpr std::size_t kPiece = 64 << 10;
constexpr std::size_t kPiecesAtOnce = 16;
constexpr int kAbove = 10;
// How much longer than its grace the guard may take to end everything.
constexpr std::chrono::seconds kUntilGuardEnds{8};

RequestError programError(const std::string& program, const std::string& why) {
    return RequestError(ErrorCode::stationFailed, program + ": " + why);
}

struct ProgramPipe {
    Descriptor readEnd, writeEnd;
};

ProgramPipe makeProgramPipe(const std::string& program) {
    int ends[2] = {};
    if (pipe2(ends, O_CLOEXEC) != 0) {
        throw programError(program, std::strerror(errno));
    }
    // Away from the numbers that the guard finds them at.
    ProgramPipe raised{Descriptor(fcntl(ends[0], F_DUPFD_CLOEXEC, kAbove)),
                       Descriptor(fcntl(ends[1], F_DUPFD_CLOEXEC, kAbove))};
    close(ends[0]);
    close(ends[1]);
    if (!raised.readEnd || !raised.writeEnd) {
        throw programError(program, std::strerror(errno));
    }
    return raised;
}

std::vector<std::string> environmentOf(const ProgramCall& call) {
    std::vector<std::string> all;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        all.emplace_back(*entry);
    }
    for (const auto& [name, value] : call.environment) {
        std::string begin = name;
        begin += '=';
        all.erase(std::remove_if(all.begin(), all.end(),
                                 [&](const std::string& entry) { return entry.rfind(begin, 0) == 0; }),
                  all.end());
        all.push_back(begin + value);
    }
    return all;
}

// The guard of a program, and the ends of its pipes.
class GuardedProgram {
public:
    explicit GuardedProgram(const ProgramCall& call) : _call(call) {
        ProgramPipe output = makeProgramPipe(name()), values = makeProgramPipe(name());
        ProgramPipe life = makeProgramPipe(name()), result = makeProgramPipe(name());
        start({output.writeEnd.get(), output.writeEnd.get(), values.writeEnd.get(), life.readEnd.get(),
               result.writeEnd.get()});
        _output = std::move(output.readEnd);
        _values = std::move(values.readEnd);
        _life = std::move(life.writeEnd);
        _result = std::move(result.readEnd);
        for (const Descriptor* end : {&_output, &_values, &_result}) {
            fcntl(end->get(), F_SETFL, O_NONBLOCK);
        }
    }

    // Nothing of it is left.
    ~GuardedProgram() {
        _life.close();
        const Clock::time_point until = Clock::now() + kProgramGrace + kUntilGuardEnds;
        pollfd ended = {_result.get(), 0, 0};
        while (_result && !_isOver && poll(&ended, 1, waitTime(until)) == 1 && (ended.revents & POLLHUP) == 0) {
        }
        if (!_isOver && ended.revents == 0) {
            kill(_guard, SIGKILL);
        }
        waitpid(_guard, nullptr, 0);
    }
    GuardedProgram(const GuardedProgram&) = delete;
    GuardedProgram& operator=(const GuardedProgram&) = delete;

    ProgramResult run(const Waiting& wait) {
        const Clock::time_point until = Clock::now() + _call.within + 2 * kProgramGrace + kUntilGuardEnds;
        while (!_isOver) {
            std::vector<pollfd> waited;
            for (const Descriptor* end : {&_output, &_values, &_result}) {
                waited.push_back({end->get(), POLLIN, 0});
            }
            wait(waited, until);
            move(_output, [this](std::string_view piece) { _text.add(piece); });
            move(_values, [this](std::string_view piece) { _told.values.take(piece); });
            _isOver = !move(_result, [this](std::string_view piece) { _ending.append(piece); });
            if (!_told.values.problem().empty()) {
                // Whatever else it says is not to be relied upon.
                _life.close();
            }
            if (Clock::now() >= until) {
                throw programError(name(), "does not end, not even by SIGKILL");
            }
        }
        // All that the program has written is there; what it has started is gone.
        while (move(_output, [this](std::string_view piece) { _text.add(piece); }) && hasMore(_output)) {
        }
        while (move(_values, [this](std::string_view piece) { _told.values.take(piece); }) && hasMore(_values)) {
        }
        return take();
    }

private:
    const std::string& name() const { return _call.command.at(0); }

    void start(const std::array<int, 5>& ends) {
        const char* own = std::getenv("FAPI_HUB");
        const std::string bench = own != nullptr && *own != '\0' ? own : "/proc/self/exe";
        std::vector<std::string> command = {bench, kGuardWord, std::to_string(_call.within.count()), _call.file};
        command.insert(command.end(), _call.command.begin(), _call.command.end());
        const std::vector<std::string> environment = environmentOf(_call);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        for (std::size_t i = 0; i < ends.size(); ++i) {
            posix_spawn_file_actions_adddup2(&actions, ends[i], STDOUT_FILENO + static_cast<int>(i));
        }
        posix_spawnattr_t attributes;
        sigset_t none, all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_init(&attributes);
        posix_spawnattr_setsigmask(&attributes, &none);
        posix_spawnattr_setsigdefault(&attributes, &all);
        posix_spawnattr_setpgroup(&attributes, 0);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
        const int error = posix_spawn(&_guard, bench.c_str(), &actions, &attributes, argumentVector(command).data(),
                                      argumentVector(environment).data());
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attributes);
        if (error != 0) {
            throw programError(name(), std::strerror(error));
        }
    }

    // Passes on what is there, but no more than some pieces: a program that only writes must not keep the bench from
    // all else. False at the end of the pipe.
    template <class Use>
    static bool move(Descriptor& from, Use&& use) {
        std::array<char, kPiece> piece;
        for (std::size_t i = 0; from && i < kPiecesAtOnce; ++i) {
            const ssize_t length = read(from.get(), piece.data(), piece.size());
            if (length > 0) {
                use(std::string_view(piece.data(), static_cast<std::size_t>(length)));
            } else if (length == 0 || (errno != EAGAIN && errno != EINTR)) {
                from.close();
            } else {
                break;
            }
        }
        return static_cast<bool>(from);
    }

    static bool hasMore(const Descriptor& from) {
        pollfd entry = {from.get(), POLLIN, 0};
        return poll(&entry, 1, 0) == 1 && (entry.revents & POLLIN) != 0;
    }

    ProgramResult take() {
        _told.values.finish();
        _told.output = _text.text();
        const std::string how = _ending.substr(0, _ending.find(' ')), what = _ending.substr(_ending.find(' ') + 1);
        long long code = 0;
        if (how == "exit" && parseNumber(what, code)) {
            _told.exitCode = static_cast<int>(code);
            return std::move(_told);
        }
        _told.problem = how == "limit"    ? "did not end within " + std::to_string(_call.within.count()) + " ms"
                        : how == "signal" ? "ended by signal " + what
                        : how == "start"  ? "cannot be started: " + what
                                          : "its guard has ended";
        return std::move(_told);
    }

    const ProgramCall& _call;
    pid_t _guard = -1;
    Descriptor _output, _values, _life, _result;
    bool _isOver = false;
    BoundedText _text;
    std::string _ending;
    ProgramResult _told;
};

}  // namespace

void BoundedText::add(std::string_view piece) {
    _bytes += piece.size();
    const std::size_t room = std::min(piece.size(), kKeptEnd - std::min(_head.size(), kKeptEnd));
    _head.append(piece.substr(0, room));
    _tail.append(piece.substr(room));
    if (_tail.size() > 2 * kKeptEnd) {
        _tail.erase(0, _tail.size() - kKeptEnd);
    }
}

std::string BoundedText::text() const {
    const std::string end = _tail.size() > kKeptEnd ? _tail.substr(_tail.size() - kKeptEnd) : _tail;
    const std::size_t left = _bytes - _head.size() - end.size();
    return left == 0 ? _head + end : _head + "\n(" + std::to_string(left) + " bytes left out)\n" + end;
}

std::string ProgramResult::lastLine() const {
    std::size_t end = output.find_last_not_of("\r\n \t");
    if (end == std::string::npos) {
        return "";
    }
    const std::size_t start = output.rfind('\n', end);
    return output.substr(start == std::string::npos ? 0 : start + 1,
                         end - (start == std::string::npos ? 0 : start + 1) + 1);
}

ProgramResult runPlanProgram(const ProgramCall& call, const Waiting& wait) {
    return GuardedProgram(call).run(wait);
}

}  // namespace tool
