// SPDX-License-Identifier: Apache-2.0
// The supervisor's loop, and its worker.
#include "supervisor/supervisor.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <stdexcept>
#include <utility>

#include <sys/random.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include "supervisor/internal.h"

namespace tool {

namespace {

// How long a worker may take to be gone, and what waits for the wire to be written at the end.
constexpr std::chrono::seconds kGone{2};
constexpr std::chrono::seconds kLastWords{1};
// More of the log's lines of level E than a failed call's answer shows.
constexpr std::size_t kErrors = 100;

// A random UUID.
std::string newSession() {
    unsigned char bytes[16] = {};
    if (getrandom(bytes, sizeof(bytes), 0) != static_cast<ssize_t>(sizeof(bytes))) {
        throw std::runtime_error("no random numbers");
    }
    bytes[6] = static_cast<unsigned char>((bytes[6] & 0x0F) | 0x40);
    bytes[8] = static_cast<unsigned char>((bytes[8] & 0x3F) | 0x80);
    std::string text;
    for (std::size_t i = 0; i < sizeof(bytes); ++i) {
        char digits[4];
        std::snprintf(digits, sizeof(digits), "%s%02x", i == 4 || i == 6 || i == 8 || i == 10 ? "-" : "", bytes[i]);
        text += digits;
    }
    return text;
}

std::string signalName(int number) {
    static constexpr std::pair<int, const char*> kNames[] = {
        {SIGABRT, "SIGABRT"}, {SIGBUS, "SIGBUS"},   {SIGFPE, "SIGFPE"},   {SIGILL, "SIGILL"},   {SIGKILL, "SIGKILL"},
        {SIGPIPE, "SIGPIPE"}, {SIGSEGV, "SIGSEGV"}, {SIGTERM, "SIGTERM"}, {SIGTRAP, "SIGTRAP"},
    };
    const auto found =
        std::find_if(std::begin(kNames), std::end(kNames), [number](const auto& name) { return name.first == number; });
    return found != std::end(kNames) ? found->second : std::to_string(number);
}

Field withTimes(Field field) {
    using namespace std::chrono;
    field.set("mono", nanoseconds(steady_clock::now().time_since_epoch()).count());
    field.set("wall", nanoseconds(system_clock::now().time_since_epoch()).count());
    return field;
}

}  // namespace

Supervisor::Supervisor(AgentOptions options, Wire& wire, int signals)
    : _options(std::move(options)), _wire(wire), _signals(signals), _session(newSession()) {
    if (!_options.hands.empty()) {
        _hands = std::make_unique<Hands>(_options.hands);
    }
}

// --- The loop --------------------------------------------------------------------------------------------------------

void Supervisor::run() {
    for (;;) {
        takeLines();
        dispatch();
        _wire.flush();
        if ((_isEnding || !_wire.isOpen()) && !mustWait()) {
            break;
        }
        wait();
        checkWorker();
    }
    leave();
}

bool Supervisor::mustWait() const {
    return std::any_of(_lanes.begin(), _lanes.end(),
                       [](const Lane& lane) { return lane.running && lane.running->mustFinish; });
}

bool Supervisor::mayRead() const {
    return !_isEnding && _wire.isOpen() && !_hello && _wire.waiting() < kFull && mayQueue();
}

bool Supervisor::mayQueue() const {
    return _lanes[kCalls].waiting.size() + _lanes[kLooks].waiting.size() < kQueued;
}

void Supervisor::wait() {
    const auto whether = [](bool wanted, int events) { return static_cast<short>(wanted ? events : 0); };
    const bool reads = mayRead(), writes = _wire.waiting() != 0 && _wire.isOpen();
    const bool takes = _worker != nullptr && _wire.waiting() < kFull && _wire.unread() < kUnread;
    const auto gives = [this](Way to) { return _worker != nullptr ? _worker->unwritten(to) : -1; };
    pollfd ends[] = {
        // Its end is noticed also while nothing is read.
        {_wire.isOpen() && !_isEnding ? _wire.in() : -1, whether(reads, POLLIN), 0},
        {writes ? _wire.out() : -1, POLLOUT, 0},
        {_signals, POLLIN, 0},
        {takes ? _worker->socket() : -1, POLLIN, 0},
        {_worker != nullptr ? _worker->log() : -1, POLLIN, 0},
        {gives(kCalls), POLLOUT, 0},
        {gives(kLooks), POLLOUT, 0},
        {gives(kAside), POLLOUT, 0},
        {_hands && mayQueue() ? _hands->descriptor() : -1, POLLIN, 0},
    };
    int timeout = -1;
    if (_goneUntil && !_isStuck) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(*_goneUntil - Clock::now());
        timeout = static_cast<int>(std::max<long long>(left.count(), 0));
    }
    if (poll(ends, std::size(ends), timeout) <= 0) {
        return;
    }
    if (ends[0].revents != 0) {
        reads ? _wire.read() : _wire.close();
    }
    if (ends[2].revents != 0) {
        readSignals();
    }
    for (const Way to : {kCalls, kLooks, kAside}) {
        if (ends[5 + to].revents != 0) {
            _worker->flush(to);
        }
    }
    if (ends[3].revents != 0) {
        // The log is checked after the socket: before what was readable there, nothing was logged that is unread.
        _isLogRead = ends[4].revents == 0;
        _worker->readLines([this](std::string_view line) { takeLineOrEnd(line); });
        _isLogRead = false;
    }
    if (ends[4].revents != 0) {
        drainLog();
    }
    if (ends[8].revents != 0) {
        _hands->read([this](Request request) { takeFromHands(std::move(request)); });
    }
}

void Supervisor::readSignals() {
    signalfd_siginfo info = {};
    while (read(_signals, &info, sizeof(info)) == static_cast<ssize_t>(sizeof(info))) {
        const bool isOfWorker = info.ssi_signo == static_cast<unsigned int>(SIGCHLD);
        (isOfWorker ? _mayHaveEnded : _isEnding) = true;
    }
}

// Ends the worker and says what it can still say.
void Supervisor::leave() {
    refuseWaiting(ErrorCode::ended, "the agent ends");
    endWorker("ended");
    const Clock::time_point until = Clock::now() + kGone;
    while (_worker != nullptr && Clock::now() < until) {
        wait();
        checkWorker();
    }
    const Clock::time_point said = Clock::now() + kLastWords;
    for (_wire.flush(); _wire.isOpen() && _wire.waiting() != 0 && Clock::now() < said; _wire.flush()) {
        pollfd out = {_wire.out(), POLLOUT, 0};
        poll(&out, 1, 100);
    }
}

// --- Answers ---------------------------------------------------------------------------------------------------------

void Supervisor::answer(const Request& request, Field result) {
    send(Answer{request.id, std::move(result), std::nullopt});
}

// The request can be made again, so its answer makes room for those of others.
void Supervisor::answerRepeatable(const Request& request, Field result) {
    _wire.spare(request.id);
    answer(request, std::move(result));
}

void Supervisor::refuse(const Request& request, ErrorCode code, const std::string& text, Field data) {
    send(failed(request.id, code, text, std::move(data)));
}

void Supervisor::send(const Answer& answer) {
    if (answer.id && Hands::isOurs(*answer.id) && _hands) {
        return _hands->answer(answer);
    }
    std::string text = toJsonText(toField(answer), true);
    if (text.size() > kLongestMessage) {
        text = toJsonText(toField(failed(answer.id, ErrorCode::internal, "the answer is too long")), true);
    }
    if (answer.id) {
        _wire.answer(*answer.id, std::move(text));
    } else {
        _wire.send(std::move(text));
    }
}

void Supervisor::notify(const char* method, Field params) {
    if (_isGreeted) {
        _wire.send(toJsonText(toField(Notification{method, std::move(params)}), true));
    }
}

// --- The worker ------------------------------------------------------------------------------------------------------

void Supervisor::startWorker() {
    std::vector<std::string> arguments;
    if (!_options.folder.empty()) {
        arguments = {"--set", _options.folder};
    }
    if (_options.damaged) {
        arguments.emplace_back("--damaged");
    }
    arguments.insert(arguments.end(), _options.limits.begin(), _options.limits.end());
    if (_hands) {
        arguments.emplace_back("--as-board");
    }
    arguments.insert(arguments.end(), {"--log-switch", _logSwitch});
    if (!_subscriptions.isNull()) {
        for (const auto& [method, params] : _subscriptions.fields()) {
            if (params["on"].flagOr(true)) {
                arguments.push_back("--" + method);
            }
        }
    }
    _worker = std::make_unique<WorkerProcess>(arguments);
    notify("worker", {{"state", "started"}});
}

void Supervisor::tellWorker(Way way, const char* method, Field params) {
    if (_worker != nullptr) {
        _worker->send(way, frame(toField(Notification{method, std::move(params)}), Framing::plain));
    }
}

// A worker whose memory is damaged may say anything.
void Supervisor::takeLineOrEnd(std::string_view line) {
    try {
        takeWorkerLine(line);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "fapi-agent: the worker talks nonsense: %s\n", error.what());
        endWorker("died");
    }
}

void Supervisor::takeWorkerLine(std::string_view line) {
    if (line.size() < kMarkSize) {
        throw MessageError("a line without a mark");
    }
    const char mark = line.front();
    // Later lines may have come since.
    const bool isLogRead = std::exchange(_isLogRead, false);
    std::string text(line.substr(kMarkSize));
    if (mark == kNotificationMark) {
        _wire.send(std::move(text));
    } else if (mark == kPieceMark) {
        _wire.sendSurely(std::move(text));
    } else if (mark == kInternalMark) {
        takeInternal(parseJsonText(text));
    } else {
        if (!isLogRead) {
            drainLog();
        }
        const bool isLast = mark == kAnswerMarks[kCalls] || mark == kAnswerMarks[kLooks];
        const bool isCall = mark == kAnswerMarks[kCalls] || mark == kStreamMarks[kCalls];
        takeAnswer(_lanes[isCall ? kCalls : kLooks], std::move(text), isLast);
    }
}

void Supervisor::takeAnswer(Lane& lane, std::string text, bool isLast) {
    if (!lane.running) {
        return;
    }
    Running& running = *lane.running;
    if (running.request.id == kIdentityId) {
        finishGreeting(parseMessage(parseJsonText(text)).answer.value());
    } else if (Hands::isOurs(running.request.id)) {
        send(parseMessage(parseJsonText(text)).answer.value());
    } else if (!running.errors.empty() && text.find("\"good\":false") != std::string::npos) {
        Answer answer = parseMessage(parseJsonText(text)).answer.value();
        Field::List log(running.errors.begin(), running.errors.end());
        answer.result.set("log", std::move(log));
        send(answer);
    } else {
        _wire.answer(running.request.id, std::move(text), !isLast);
    }
    running.isAnswered = true;
    running.isStreaming = !isLast;
    if (isLast) {
        lane.running.reset();
    }
}

void Supervisor::takeInternal(const Field& object) {
    const std::string& what = object.at("what").text();
    if (what == kStreamEnds) {
        _lanes[object.at("lane").number() == kCalls ? kCalls : kLooks].running.reset();
    } else if (what == kSwitchedOn) {
        _boots = object["boots"];
    } else if (what == kMustFinish && !_goneUntil && _lanes[kCalls].running) {
        // From here on nothing ends the worker; it begins when it reads this.
        _lanes[kCalls].running->mustFinish = true;
        tellWorker(kAside, kGo, {});
    }
}

void Supervisor::drainLog() {
    const auto takeBytes = [this](std::string_view bytes) {
        for (std::string& line : _logLines.take(bytes)) {
            takeLogLine(std::move(line));
        }
    };
    while (_worker != nullptr && _worker->readLog(takeBytes)) {
    }
}

void Supervisor::takeLogLine(std::string line) {
    std::optional<Running>& running = _lanes[kCalls].running;
    if (running && isError(line)) {
        running->errors.push_back(withoutColors(line));
        if (running->errors.size() > kErrors) {
            running->errors.erase(running->errors.begin());
        }
    }
    if (!_logIsOn) {
        return;
    }
    ++_logSeq;
    if (_wire.waiting() >= kFull) {
        ++_logDropped;
        return;
    }
    Field params = withTimes({{"seq", _logSeq}});
    if (_logDropped != 0) {
        params.set("dropped", std::exchange(_logDropped, 0));
    }
    params.set("text", Field::ofSet(std::move(line)));
    notify("log", std::move(params));
}

void Supervisor::endWorker(const char* reason) {
    if (_worker != nullptr) {
        _endReason = reason;
        _goneUntil = _goneUntil.value_or(Clock::now() + kGone);
        _worker->kill();
    }
}

void Supervisor::checkWorker() {
    if (_worker == nullptr) {
        return;
    }
    if (const std::optional<WorkerEnd> end = std::exchange(_mayHaveEnded, false) ? _worker->reap() : std::nullopt) {
        finishWorker(*end);
    } else if (_worker->socket() < 0 && !_goneUntil) {
        // It is ending, or an operation has closed its socket: it hears nothing any more.
        _goneUntil = Clock::now() + kGone;
        _worker->kill();
    } else if (_goneUntil && !_isStuck && Clock::now() >= *_goneUntil) {
        _isStuck = true;
        for (Lane& lane : _lanes) {
            if (lane.running && !std::exchange(lane.running->isAnswered, true)) {
                refuse(lane.running->request, ErrorCode::stuck, kStuckText);
            }
        }
    }
}

void Supervisor::finishWorker(const WorkerEnd& end) {
    // What it has said to the end.
    while (_worker->readLines([this](std::string_view line) { takeLineOrEnd(line); })) {
    }
    drainLog();
    if (std::string rest = _logLines.takeRest(); !rest.empty()) {
        takeLogLine(std::move(rest));
    }
    _worker.reset();
    _goneUntil.reset();
    _isStuck = false;
    const char* reason = std::exchange(_endReason, nullptr);
    reason = reason != nullptr ? reason : end.signal == 0 && end.exit == kRebootExit ? "watchdog" : "died";
    Field how = {{"reason", reason}};
    if (end.signal != 0) {
        how.set("signal", signalName(end.signal));
    } else {
        how.set("exit", end.exit);
    }
    Field ended = {{"state", "ended"}, {"kept", _identity["kind"] == Field("board")}};
    for (const auto& [name, field] : how.fields()) {
        ended.set(name, field);
    }
    notify("worker", std::move(ended));
    for (Lane& lane : _lanes) {
        if (!lane.running) {
            continue;
        }
        const Running running = *std::exchange(lane.running, std::nullopt);
        if (running.request.id == kIdentityId) {
            finishGreeting(failed(kIdentityId, ErrorCode::unavailable, "the worker ended before it said what it is"));
            continue;
        }
        const std::string text = "the worker ended while it ran (" + std::string(reason) + ")";
        if (running.isStreaming) {
            const Field error = {{"code", static_cast<int>(ErrorCode::died)}, {"message", text}, {"data", how}};
            _wire.sendSurely(
                toJsonText(toField(Notification{"stream", {{"id", running.request.id}, {"error", error}}}), true));
        } else if (!running.isAnswered) {
            refuse(running.request, ErrorCode::died, text, how);
        }
    }
    for (const Request& request : std::exchange(_whenEnded, {})) {
        answer(request, Field::Fields{});
    }
}

}  // namespace tool
