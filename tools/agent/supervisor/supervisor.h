// SPDX-License-Identifier: Apache-2.0
// The part of the agent that owns wire and log: it answers what concerns the agent, and hands all else to its worker,
// which may crash.
#ifndef FAPI_AGENT_SUPERVISOR_SUPERVISOR_H
#define FAPI_AGENT_SUPERVISOR_SUPERVISOR_H

#include <array>
#include <chrono>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <poll.h>

#include "protocol/message.h"
#include "supervisor/hands.h"
#include "supervisor/internal.h"
#include "supervisor/log_lines.h"
#include "supervisor/wire.h"
#include "supervisor/worker_process.h"

namespace tool {

// With more waiting for the wire no request is read, and what may be dropped is dropped.
constexpr std::size_t kFull = 4u << 20;
// So many requests may wait for the worker.
constexpr std::size_t kQueued = 256;
// With more to be read part by part, nothing more is taken from the worker. A picture is less.
constexpr std::size_t kUnread = 32u << 20;

constexpr char kStuckText[] = "the worker does not end: the set needs power";

struct AgentOptions {
    std::string folder;               // of the virtual set; empty: its default
    bool damaged = false;             // go on with a damaged set
    std::vector<std::string> limits;  // of a board, as options
    std::string hands;  // the socket for fixtures of a virtual set in the role of a board; empty: it has no such role
};

class Supervisor {
public:
    // `signals` is a descriptor from which signals are read: those that end the agent, and SIGCHLD.
    Supervisor(AgentOptions options, Wire& wire, int signals);

    // Until the wire or a signal ends it, and what must finish has finished.
    void run();

private:
    using Clock = std::chrono::steady_clock;

    // What the worker does now.
    struct Running {
        Request request;  // without its parameters
        bool isAnswered = false;
        bool isStreaming = false;  // its answer's stream follows
        bool mustFinish = false;
        std::vector<std::string> errors;  // the log's lines of level E meanwhile
    };
    // Requests that the worker does one after the other; each lane for itself.
    struct Lane {
        std::deque<Request> waiting;
        std::optional<Running> running;
    };

    // --- The loop
    void wait();
    void readSignals();
    bool mayRead() const;
    bool mayQueue() const;
    bool mustWait() const;
    void leave();

    // --- Requests
    void takeLines();
    void takeLine(Line line);
    void takeRequest(Request request);
    void takeFromHands(Request request);
    bool answerHere(const Request& request);
    void greet(const Request& request);
    void finishGreeting(const Answer& identity);
    void sendAgain(const Request& request);
    void sendPart(const Request& request);
    void forgetMessages(const Request& request);
    void cancel(const Request& request);
    void listenToLog(const Request& request);
    void switchLog(const Request& request);
    void switchPower(const Request& request);
    void endWorkerFor(const Request& request);
    void enqueue(Request request);
    void dispatch();
    void dispatch(Lane& lane, Request request);
    void refuseWaiting(ErrorCode code, const std::string& text);

    // --- Answers
    void answer(const Request& request, Field result);
    void answerRepeatable(const Request& request, Field result);
    void refuse(const Request& request, ErrorCode code, const std::string& text, Field data = {});
    void send(const Answer& answer);
    void notify(const char* method, Field params);

    // --- The worker
    void startWorker();
    void tellWorker(Way way, const char* method, Field params);
    void takeLineOrEnd(std::string_view line);
    void takeWorkerLine(std::string_view line);
    void takeAnswer(Lane& lane, std::string text, bool isLast);
    void takeInternal(const Field& object);
    void drainLog();
    void takeLogLine(std::string line);
    void endWorker(const char* reason);
    void checkWorker();
    void finishWorker(const WorkerEnd& end);

    const AgentOptions _options;
    Wire& _wire;
    const int _signals;
    const std::string _session;
    bool _isEnding = false;      // the agent
    bool _mayHaveEnded = false;  // the worker
    std::unique_ptr<Hands> _hands;

    Field _identity;                // what the worker says of itself; null before the first one
    bool _isGreeted = false;        // hello has been answered
    std::optional<Request> _hello;  // waits for the identity
    std::array<Lane, 2> _lanes;

    std::unique_ptr<WorkerProcess> _worker;
    std::optional<Clock::time_point> _goneUntil;  // when the worker is to be gone; nothing: it may stay
    const char* _endReason = nullptr;             // why the agent ends its worker
    bool _isStuck = false;                        // the worker is not gone in time
    std::vector<Request> _whenEnded;              // are answered when the worker is gone
    Field _subscriptions;                         // what each new worker is to report: "events", "journal"
    bool _isOff = false;                          // the set
    Field _boots;

    LogLines _logLines;
    bool _isLogRead = false;  // all that was written before the line that is taken
    bool _logIsOn = false;
    long long _logSeq = 0;
    long long _logDropped = 0;
    std::string _logSwitch = "on";
    long long _logSwitches = 0;  // how often it has changed
};

}  // namespace tool

#endif
