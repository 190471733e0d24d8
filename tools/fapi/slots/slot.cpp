// SPDX-License-Identifier: Apache-2.0
// A place of the station where a unit is tested beside others.
#include "slots/slot.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "operator/operator.h"

namespace tool {

namespace {

constexpr std::size_t kMostWaiting = 1 << 20;
constexpr std::chrono::milliseconds kBetweenJoins{300};
constexpr std::chrono::milliseconds kJoinLimit{300};
enum SlotEntry : std::size_t { kProgressEntry, kMessagesEntry, kEndEntry };

// In the new process.
[[noreturn]] void becomeRun(int output, int errors, const std::string& slot, const std::vector<char*>& words) {
    // Whoever ends the bench ends its runs, with teardown and report.
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    setpgid(0, 0);
    const int null = open("/dev/null", O_RDONLY);
    dup2(null, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(errors, STDERR_FILENO);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    setenv(kSlotVariable, slot.c_str(), 1);
    execv(words[0], words.data());
    dprintf(STDERR_FILENO, "%s: %s\n", words[0], std::strerror(errno));
    _exit(kExitSet);
}

}  // namespace

Slot::~Slot() {
    if (isBusy()) {
        kill(-_child, SIGKILL);
        waitpid(_child, nullptr, 0);
    }
}

void Slot::start(Words command, const std::string& unit) {
    Words own = _target.options;
    if (_target.isFresh) {
        _fresh = std::make_unique<FreshSet>();
        own = {"--set", _fresh->folder()};
    }
    command.insert(command.begin() + 1, own.begin(), own.end());
    int output[2] = {}, errors[2] = {};
    if (pipe2(output, O_CLOEXEC) != 0 || pipe2(errors, O_CLOEXEC) != 0) {
        throw SetError(std::string("slot ") + name() + ": " + std::strerror(errno));
    }
    const std::vector<char*> words = argumentVector(command);
    _child = fork();
    if (_child == 0) {
        becomeRun(output[1], errors[1], name(), words);
    }
    close(output[1]);
    close(errors[1]);
    _output = Descriptor(output[0]);
    _errors = Descriptor(errors[0]);
    if (_child < 0) {
        throw SetError(std::string("slot ") + name() + ": " + std::strerror(errno));
    }
    setpgid(_child, _child);
    fcntl(_output.get(), F_SETFL, O_NONBLOCK);
    fcntl(_errors.get(), F_SETFL, O_NONBLOCK);
    _process = Descriptor(static_cast<int>(syscall(SYS_pidfd_open, _child, 0)));
    _state = {};
    _state.unit = unit;
    _start = Clock::now();
}

void Slot::addTo(std::vector<pollfd>& waited) {
    _place = waited.size();
    for (const Descriptor* from : {&_output, &_errors, &_process}) {
        waited.push_back({from->get(), POLLIN, 0});
    }
    if (_follower) {
        waited.push_back({_follower->descriptor(), POLLIN, 0});
    }
}

void Slot::move(const std::vector<pollfd>& waited) {
    if (!isBusy()) {
        return;
    }
    const pollfd* entries = waited.data() + _place;
    if (entries[kProgressEntry].revents != 0) {
        read(_output, _openOutput, true);
    }
    if (entries[kMessagesEntry].revents != 0) {
        read(_errors, _openError, false);
    }
    _state.seconds = std::chrono::duration<double>(Clock::now() - _start).count();
    if (entries[kEndEntry].revents != 0) {
        reap();
    }
    if (_follower) {
        try {
            _follower->pump(std::chrono::milliseconds(0));
        } catch (const SetError&) {
            _follower.reset();
        }
    }
    if (_follower && !_follower->lost().empty()) {
        _follower.reset();
        _questions.clear();
    }
}

void Slot::read(Descriptor& from, std::string& open, bool isProgress) {
    std::array<char, 65536> piece;
    for (;;) {
        const ssize_t length = ::read(from.get(), piece.data(), piece.size());
        if (length <= 0) {
            if (length == 0 || (errno != EAGAIN && errno != EINTR)) {
                from.close();
            }
            return;
        }
        open.append(piece.data(), static_cast<std::size_t>(length));
        std::size_t start = 0;
        for (std::size_t end; (end = open.find('\n', start)) != std::string::npos; start = end + 1) {
            takeLine(open.substr(start, end - start), isProgress);
        }
        open.erase(0, start);
        if (open.size() > kMostWaiting) {
            open.clear();
        }
    }
}

void Slot::takeLine(const std::string& line, bool isProgress) {
    if (!isProgress) {
        _messages.push_back(line);
        return;
    }
    Json object = Json::parse(line, nullptr, false);
    if (!object.is_object()) {
        return;
    }
    if (object.contains("step") && object.contains("verdict")) {
        _state.step = object["step"].get<std::string>();
        ++_state.steps;
    } else if (object.contains("plan") && object.contains("verdict")) {
        _state.verdict = object["verdict"].get<std::string>();
        for (const Json& report : object.value("reports", Json::array())) {
            _state.reports.push_back(report.get<std::string>());
        }
    }
    _progress.push_back(std::move(object));
}

void Slot::reap() {
    int status = 0;
    if (waitpid(_child, &status, WNOHANG) != _child) {
        return;
    }
    kill(-_child, SIGKILL);
    _child = -1;
    for (Descriptor* from : {&_output, &_errors}) {
        if (*from) {
            read(*from, from == &_output ? _openOutput : _openError, from == &_output);
        }
        from->close();
    }
    _process.close();
    _openOutput.clear();
    _openError.clear();
    _follower.reset();
    _questions.clear();
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : kExitSet;
    if (WIFSIGNALED(status)) {
        _state.verdict = verdictName(Verdict::error);
        _state.why = "the run has died of signal " + std::to_string(WTERMSIG(status));
    } else if (_state.verdict.empty()) {
        _state.verdict = verdictName(code == kExitInterrupted ? Verdict::interrupted : Verdict::error);
        _state.why = _messages.empty() ? "the run has ended with exit code " + std::to_string(code) : _messages.back();
    }
    if (_fresh) {
        _fresh->keep(code != kExitGood);
        _fresh.reset();
    }
    _end = code;
}

void Slot::interrupt() const {
    if (isBusy()) {
        kill(_child, SIGINT);
    }
}

void Slot::follow() {
    if (!isBusy() || _follower || Clock::now() < _nextTry) {
        return;
    }
    _nextTry = Clock::now() + kBetweenJoins;
    TargetOptions options = _target.target;
    options.client = "fapi run, slot " + name();
    options.mayStart = false;
    options.limit = kJoinLimit;
    if (_fresh) {
        options.folder = _fresh->folder();
    }
    try {
        std::unique_ptr<Target> target = Target::join(options);
        target->listen("prompt", [this](const Field& prompt) {
            const Field& number = prompt["prompt"];
            _questions.erase(std::remove_if(_questions.begin(), _questions.end(),
                                            [&](const Field& known) { return known["prompt"] == number; }),
                             _questions.end());
            if (prompt["state"].textOr("") == "open") {
                _questions.push_back(prompt);
            }
        });
        const Field open = target->request("prompts", {{"on", true}})["open"];
        _follower = std::move(target);
        for (const Field& prompt : open.isList() ? open.list() : Field::List()) {
            _questions.push_back(prompt);
        }
    } catch (const SetError&) {
        // The run has not come that far.
    }
}

}  // namespace tool
