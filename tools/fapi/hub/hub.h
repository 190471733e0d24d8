// SPDX-License-Identifier: Apache-2.0
// The hub: one process a target, which owns the wire to the agent and shares it among any number of clients.
#ifndef FAPI_BENCH_HUB_H
#define FAPI_BENCH_HUB_H

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "hub/agent_description.h"
#include "hub/agent_wire.h"
#include "hub/client.h"
#include "hub/envelope.h"
#include "hub/prompts.h"
#include "hub/socket.h"
#include "hub/wire_options.h"
#include "protocol/message.h"

namespace tool {

// What `fapi hub` is started with, by the first client of a target.
struct HubOptions {
    std::string key;  // names the target
    WireOptions wire;
};

// Its open descriptors, besides the standard ones, when it is started.
constexpr int kHubReady = 3;  // takes kHubIsReady, or why there will be no hub
constexpr int kHubLock = 4;   // the lock, which it lets go of once it is ready
constexpr char kHubIsReady = '+';

// Serves clients until the last one is gone. `words` are those after "fapi hub": KEY OPTIONS, the wire's as JSON.
// Returns an exit code.
int runHub(const std::vector<std::string>& words);

// The notifications of those clients that follow runs.
constexpr char kRunWatch[] = "runs";

// The owner of what a client has given up; no client has this number.
constexpr long long kGoneClient = -1;

// Between two starts of a wire that does not come back at once; each time twice as long.
constexpr std::chrono::milliseconds kFirstPause{200};

// Who may change the set.
struct Claim {
    long long holder = 0;  // a client; 0: none
    std::string reason;
    bool isShared = false;
};

class Hub {
public:
    Hub(const HubOptions& options, const HubSocket& socket, Descriptor listener);
    // Returns when the last client is gone, with the agent ended and all files removed.
    void run();

private:
    // A request that was passed on to the agent: whose it is, or what the hub itself wants with the answer.
    struct Open {
        long long client = 0;  // 0: the hub, or one that is gone
        long long request = 0;
        std::string method;
        std::function<void(const Envelope&)> then;
        std::optional<Request> sent;  // where it may be damaged on its way
    };
    // A request that waits for the wire or for the description.
    struct Held {
        long long client;
        Request request;
    };
    using Method = void (Hub::*)(HubClient& client, const Request& request);
    static const std::map<std::string, Method>& methods();

    // hub.cpp: the loop
    void turn();
    void addClients(std::vector<pollfd>& waited, std::optional<Clock::time_point>& until);
    void accept();
    void serve(HubClient& client);
    void dropGone();
    void forget(HubClient& client);
    void cancelLonely();
    bool leave();
    void endClients();

    // hub_requests.cpp: what clients ask for
    void take(HubClient& client, Line line);
    void handle(HubClient& client, const Request& request);
    void hello(HubClient& client, const Request& request);
    void claim(HubClient& client, const Request& request);
    void release(HubClient& client, const Request& request);
    void takeClaim(HubClient& client, const Request& request);
    void listClients(HubClient& client, const Request& request);
    void share(HubClient& client, const Request& request);
    void ping(HubClient& client, const Request& request);
    void watch(HubClient& client, const Request& request);
    void describe(HubClient& client, const Request& request);
    void cancel(HubClient& client, const Request& request);
    void again(HubClient& client, const Request& request);
    void prompts(HubClient& client, const Request& request);
    void prompt(HubClient& client, const Request& request);
    void takeAnswer(HubClient& client, const Request& request);
    void refuseAnswer(HubClient& client, const Request& request);
    void closePrompt(HubClient& client, const Request& request);
    HubPrompts::Sends promptSends();
    void pass(HubClient& client, const Request& request);
    bool mayPassUnread(const HubClient& client, const Request& request) const;
    bool isFreeFor(const HubClient& client, const Request& request) const;
    bool needsClaim(const Request& request);
    void setClaim(const Claim& claim, bool isTaken);
    Field claimField() const;
    std::string claimText() const;
    bool isWatched(const std::string& kind) const;
    void answer(HubClient& client, const Request& request, Field result);
    void refuse(HubClient& client, const Request& request, ErrorCode code, const std::string& text, Field data = {});

    // runs.cpp: which runs go on, and how far they have come
    void progress(HubClient& client, const Request& request);
    void watchRuns(HubClient& client, const Request& request);
    void tellProgress(const HubClient& runner);
    static SharedLine progressLine(const HubClient& runner);

    // hub_wire.cpp: what goes to the agent and comes from it
    bool isUp() const { return _wire && _isGreeted && !_wire->isClosed(); }
    void startWire();
    void askAgent(const std::string& method, const Field& params, std::function<void(const Envelope&)> then);
    void forward(HubClient& client, const Request& request);
    void sendToAgent(Request request);
    void hold(HubClient& client, const Request& request);
    void holdForDescription(HubClient& client, const Request& request);
    void handleHeld(std::deque<Held>& held);
    void refuseHeld(std::deque<Held>& held, const MessageFailure& failure);
    void receive(Line& line);
    void receiveMessage(std::string text);
    void askAgain();
    void askNext();
    void breakSilence();
    void sendHello();
    void endStreams(const MessageFailure& failure);
    void receiveAnswer(const Envelope& answer);
    void receiveNotification(const Envelope& notification);
    void receiveHello(const Envelope& answer);
    void needDescription();
    void useDescription(AgentDescription described);
    void notifyWatchers(const std::string& method, const std::string& line);
    void notifyAll(const std::string& method, const Field& params);
    void endWire();
    void noteDamage(const std::string& what);
    bool isRepeated(const Envelope& notification);

    // hub_long.cpp: messages that are read part by part
    void askForLong();
    void readLong(long long last);
    void askForPart();
    void takePart(long long message, std::size_t number, const Envelope& answer);
    bool isUnread() const;
    void finishLong();
    void forgetLong();
    void interruptLong();

    // hub_return.cpp: wires that are lost and come back, and the set's power
    bool mayReturn() const { return _options.wire.upWithin.count() != 0; }
    bool isAwaiting() const { return !_open.empty() || !_streams.empty(); }
    void noteProgress();
    void awaitReturn();
    void advanceReturn();
    void giveUp(const std::string& why);
    void finishReturn(bool isSame);
    void failOpen(const MessageFailure& failure);
    void power(HubClient& client, const Request& request);
    void movePower(const std::vector<pollfd>& waited);
    void answerPower(const std::string& problem);

    HubClient* client(long long id);

    const HubOptions _options;
    const HubSocket& _socket;
    Descriptor _listener;
    Descriptor _signals;
    std::vector<pollfd> _waited;  // keeps its memory from one turn to the next
    std::map<long long, std::unique_ptr<HubClient>> _clients;
    Descriptor _last;  // of the client that has gone last, closed when the set is free
    long long _lastClient = 0;
    Clock::time_point _lonelySince = Clock::now();
    bool _isTerminated = false;
    bool _isOver = false;
    Claim _claim;
    HubPrompts _prompts{promptSends()};

    std::unique_ptr<AgentWire> _wire;
    bool _isGreeted = false;
    Field _hello;  // the agent's answer to it
    std::string _session;
    long long _lastId = 0;
    std::map<long long, Open> _open;          // by the id towards the agent
    std::map<long long, long long> _streams;  // which client reads a stream
    std::deque<Held> _held;                   // until the wire is up
    std::deque<Held> _heldForDescription;
    Clock::time_point _quietSince = Clock::now();    // since when nothing has come from the agent
    long long _asking = 0;                           // the request that asks for an answer once more; 0: none
    std::deque<long long> _doubtful;                 // requests whose answers are asked for after that
    bool _isInDoubt = false;                         // something else was damaged meanwhile
    std::size_t _blankLines = 0;                     // before what was asked again last
    std::map<std::string, long long> _lastSeq;       // of the notifications of a kind
    long long _longLast = 0;                         // the agent keeps long messages up to that number
    long long _longRead = 0;                         // and these have been read
    bool _isLongAsked = false;                       // whether it keeps others
    std::string _longText;                           // of the next one, as far as its parts have come
    std::size_t _partsRead = 0;                      // those in it
    std::map<std::size_t, std::string> _earlyParts;  // that have come before others
    std::size_t _partBytes = 0;                      // of all these parts
    std::size_t _partsAsked = 0;
    std::size_t _partsAhead = 1;  // how many may be asked for at a time
    bool _isDescribing = false;
    bool _isHelloDue = false;
    Clock::time_point _heard = Clock::now();  // when something has come from the agent
    bool _isReturning = false;                // the wire is lost
    bool _hasGivenUp = false;                 // the wire ends for that
    std::string _whyLost;
    int _returns = 0;                           // how often it has come back since anything was answered
    std::optional<Clock::time_point> _upUntil;  // when the agent must have answered hello, and what it was asked before
    std::optional<Clock::time_point> _nextTry;  // when the wire is to be started again
    std::chrono::milliseconds _pause{0};        // before that
    std::unique_ptr<AgentWire> _power;          // the program that switches the set off and on
    Clock::time_point _powerUntil;
    std::optional<Held> _powerAsked;
    std::optional<AgentDescription> _description;
};

}  // namespace tool

#endif
