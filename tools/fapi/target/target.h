// SPDX-License-Identifier: Apache-2.0
// A set as a client of its hub has it: requests, calls, streams, notifications.
#ifndef FAPI_BENCH_TARGET_TARGET_H
#define FAPI_BENCH_TARGET_TARGET_H

#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "hub/agent_description.h"
#include "hub/descriptor.h"
#include "hub/wire_options.h"
#include "protocol/framing.h"
#include "protocol/message.h"
#include "target/call_answer.h"

namespace tool {

struct TargetOptions {
    std::string folder;      // of the virtual set; empty: $VSET_DIR, else vset below the user's folder of states
    std::string client;      // what other clients see this one as: "fapi shell"
    bool isDamaged = false;  // go on with a damaged set
    bool mayStart = true;    // a hub, where there is none
    std::string agent;       // the program; empty: $FAPI_AGENT, else fapi-agent beside this program
    std::string hub;         // the program; empty: $FAPI_HUB, else this program
    std::chrono::milliseconds limit{30000};  // until the hub has answered the first request
    int stop = -1;  // a descriptor that is readable when the user wants no longer to wait for that
    std::optional<WireOptions> wire = std::nullopt;  // of another set than the virtual one
    bool isObserver = false;                         // looks on: who needs the set alone does not wait for this client
};

// The set that the options mean, for messages: the virtual one's folder, or the target's name.
std::string nameOf(const TargetOptions& options);
// The folder that the options mean, as an absolute path without links.
std::string folderOf(const TargetOptions& options);
// The program of the agent that the options mean.
std::string agentOf(const TargetOptions& options);

// Takes the pieces of a stream, in their order.
using Sink = std::function<void(const Bytes& piece)>;

class Target {
public:
    // Connects to the target's hub, starting one if there is none. Throws RequestError.
    static std::unique_ptr<Target> join(const TargetOptions& options);
    ~Target();
    Target(const Target&) = delete;
    Target& operator=(const Target&) = delete;

    // What the agent answered to hello, with this client's number.
    const Field& hello() const { return _hello; }
    // From this PC's cache where that has it.
    AgentDescription description();

    // Sends a request and waits for its answer; notifications go to their listeners meanwhile. Throws RequestError:
    // what the request was answered with, or `ended` when the hub is gone.
    Field request(const std::string& method, const Field& params = Field::Fields());
    // The two halves of it, for requests that overlap.
    long long begin(const std::string& method, const Field& params = Field::Fields());
    Field finish(long long id);
    // Sends a request whose answer nobody waits for.
    void tell(const std::string& method, const Field& params) { _untold.insert(begin(method, params)); }
    // Ends the request that finish() waits for, when it is called back meanwhile: takes it back, or ends the worker
    // that carries it out, and with it what the set has in memory. Throws RequestError: `begun` when it must finish.
    void endAwaited();
    // Whether finish() would not wait.
    bool isFinished(long long id) const { return _answers.count(id) != 0; }

    CallAnswer call(const Field& params) { return parseCallAnswer(request("call", params)); }
    CallAnswer act(const Field& params) { return parseCallAnswer(request("act", params)); }

    // Sends a request that is answered with a stream, gives the stream's pieces to the sink and returns the answer.
    // Throws RequestError; also when a piece is missing or the sum is wrong. What the sink throws goes through.
    Field read(const std::string& method, const Field& params, const Sink& sink);

    // Why there is no connection any more; empty: there is one.
    const std::string& lost() const { return _lost; }

    // Readable when notifications may have come.
    int descriptor() const { return _connection.get(); }
    // Handles what comes within that time; returns as soon as something has.
    void pump(std::chrono::milliseconds limit);

    // Called for each notification of that method ("event", "journal", "log", "worker", "wire", "claim", "console"). A
    // listener may make requests of its own. An empty one ends the listening.
    using Listener = std::function<void(const Field& params)>;
    void listen(const std::string& method, Listener listener) { setOrErase(_listeners, method, std::move(listener)); }
    // Calls back, while this target waits, when the descriptor is readable. An empty function ends that.
    void watch(int descriptor, std::function<void()> isReadable) {
        setOrErase(_watched, descriptor, std::move(isReadable));
    }
    void unwatch(int descriptor) { _watched.erase(descriptor); }

    // Throws RequestError with code `claimed` when another client has the claim.
    void claim(const std::string& reason = "");
    void release() { request("release"); }
    void take(const std::string& reason) { request("take", {{"reason", reason}}); }
    void share(bool on) { request("share", {{"on", on}}); }
    struct Client {
        long long id = 0;
        std::string name;
        long long pid = 0;
        long long since = 0;  // nanoseconds since 1970
        bool hasClaim = false;
        bool isShared = false;
        bool isObserver = false;
        std::string reason;
        std::vector<std::string> watches;
    };
    std::vector<Client> clients();

private:
    // Pieces of a stream that have come and have not been read.
    struct Stream {
        std::deque<Field> pieces;
        bool isDiscarded = false;
    };

    // No empty function is kept: to call it would end the program.
    template <class Key, class Function>
    static void setOrErase(std::map<Key, Function>& functions, const Key& key, Function function) {
        if (function) {
            functions[key] = std::move(function);
        } else {
            functions.erase(key);
        }
    }

    explicit Target(Descriptor connection) : _connection(std::move(connection)) {}
    bool greet(const TargetOptions& options);
    void wait(const std::optional<std::chrono::steady_clock::time_point>& until);
    void dispatch();
    void receive(int flags);
    void write();
    void take(Message message);
    void takePiece(Field params);
    Field nextPiece(long long stream);
    void lose(const std::string& why);

    Descriptor _connection;
    LineReader _reader{Framing::plain, LineReader::Gives::text};
    std::string _out;
    std::string _lost;  // why the connection is; empty: it is not
    Field _hello;
    long long _lastId = 0;
    std::optional<long long> _awaited;  // what finish() waits for
    std::map<long long, Answer> _answers;
    std::set<long long> _untold;  // requests whose answers are dropped
    std::map<long long, Stream> _streams;
    std::deque<Notification> _notifications;
    bool _isDispatching = false;
    std::map<std::string, Listener> _listeners;
    std::map<int, std::function<void()>> _watched;
};

// What the agent describes, without a hub: as this PC's cache has it, else as an agent says that is started for it.
// Throws RequestError.
AgentDescription describeAgent(const TargetOptions& options);

struct TargetFacts {
    AgentDescription description;
    std::string kind;  // "virtual", "board"
};
// The same of a target with a wire, as its agent says it, which is kept for when the target is out of reach.
TargetFacts factsOf(Target& target, const TargetOptions& options);
// Nothing when it was never in reach.
std::optional<TargetFacts> keptFactsOf(const TargetOptions& options);

}  // namespace tool

#endif
