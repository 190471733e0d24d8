// SPDX-License-Identifier: Apache-2.0
// The hub: its process, and the loop in which it serves its clients.
#include "hub/hub.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>

#include <fcntl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>

namespace tool {

namespace {

constexpr int kWrongStart = 2;
// How long a hub waits for a first client: the one that has started it may have been killed.
constexpr std::chrono::seconds kUntilFirst{10};
// When the lock is another process's, which is about to connect.
constexpr std::chrono::milliseconds kUntilNextTry{100};
// How often a wire that may lose lines is checked for silence.
constexpr std::chrono::seconds kWatchSilence{1};
constexpr std::size_t kMostClients = 128;
// Requests are taken from no client while so much has not gone to the agent.
constexpr std::size_t kMostForAgent = 4 << 20;

Descriptor openSignals() {
    sigset_t ending;
    sigemptyset(&ending);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        sigaddset(&ending, signal);
    }
    sigprocmask(SIG_BLOCK, &ending, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    return Descriptor(signalfd(-1, &ending, SFD_CLOEXEC | SFD_NONBLOCK));
}

void sooner(std::optional<Clock::time_point>& until, const std::optional<Clock::time_point>& other) {
    if (other) {
        until = until ? std::min(*until, *other) : other;
    }
}

}  // namespace

int runHub(const std::vector<std::string>& words) {
    if (words.size() != 2 || fcntl(kHubReady, F_GETFD) < 0 || fcntl(kHubLock, F_GETFD) < 0) {
        std::fputs("fapi: hubs are started by their clients\n", stderr);
        return kWrongStart;
    }
    Descriptor ready(kHubReady), lock(kHubLock);
    fcntl(ready.get(), F_SETFD, FD_CLOEXEC);
    fcntl(lock.get(), F_SETFD, FD_CLOEXEC);
    try {
        const HubOptions options = {words[0], parseWireOptions(parseJsonText(words[1]))};
        const HubSocket socket(options.key);
        Hub hub(options, socket, socket.listen());
        [[maybe_unused]] const ssize_t told = write(ready.get(), &kHubIsReady, 1);
        ready.close();
        lock.close();
        hub.run();
        return 0;
    } catch (const std::exception& error) {
        dprintf(ready ? ready.get() : STDERR_FILENO, "%s\n", error.what());
        return 1;
    }
}

Hub::Hub(const HubOptions& options, const HubSocket& socket, Descriptor listener)
    : _options(options), _socket(socket), _listener(std::move(listener)), _signals(openSignals()) {
    if (_options.wire.isChecked) {
        // An agent at a console may remember the ids of another hub's requests.
        _lastId =
            std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::system_clock::now().time_since_epoch())
                .count();
    }
}

void Hub::run() {
    // The first client waits for the agent anyway.
    startWire();
    while (!_isOver) {
        turn();
    }
}

// Waits for something to happen, and does all that follows from it.
void Hub::turn() {
    std::vector<pollfd>& waited = _waited;
    waited.assign({{_listener.get(), POLLIN, 0}, {_signals.get(), POLLIN, 0}});
    std::optional<Clock::time_point> until;
    addClients(waited, until);
    if (_wire) {
        const auto isBehind = [](const auto& known) { return known.second->readsUntil().has_value(); };
        _wire->addTo(waited, until, std::none_of(_clients.begin(), _clients.end(), isBehind));
    }
    if (_clients.empty()) {
        sooner(until, _lastClient == 0 ? _lonelySince + kUntilFirst : Clock::now() + kUntilNextTry);
    }
    if (_power) {
        _power->addTo(waited, until, true);
        sooner(until, _powerUntil);
    }
    sooner(until, _nextTry);
    if (_upUntil && !isUp()) {
        sooner(until, _upUntil);
    }
    if (_options.wire.isChecked && (!_open.empty() || !isUp())) {
        sooner(until, Clock::now() + kWatchSilence);
    }
    poll(waited.data(), waited.size(), waitTime(until));

    if (waited[1].revents != 0) {
        // Read, since the wait for the lock may be long.
        signalfd_siginfo info = {};
        _isTerminated =
            read(_signals.get(), &info, sizeof(info)) == static_cast<ssize_t>(sizeof(info)) || _isTerminated;
    }
    if (waited[0].revents != 0) {
        accept();
    }
    for (const auto& [id, known] : _clients) {
        // The wait has not been for those that have just connected.
        const std::size_t place = known->place;
        if (place != 0 && (waited[place].revents & ~POLLOUT) != 0) {
            known->read();
        }
    }
    if (_wire) {
        std::vector<Line> lines;
        _wire->move(waited, lines);
        for (Line& line : lines) {
            receive(line);
        }
        if (_wire->isGone()) {
            endWire();
        }
    }
    if (_power) {
        movePower(waited);
    }
    advanceReturn();
    breakSilence();
    for (const auto& [id, known] : _clients) {
        serve(*known);
    }
    dropGone();
    if (_isTerminated || (_clients.empty() && (_lastClient != 0 || Clock::now() >= _lonelySince + kUntilFirst))) {
        _isOver = leave();
    }
}

void Hub::addClients(std::vector<pollfd>& waited, std::optional<Clock::time_point>& until) {
    const bool takesRequests = !_wire || _wire->waiting() < kMostForAgent;
    for (const auto& [id, known] : _clients) {
        const int input = takesRequests && known->wantsInput() ? POLLIN : 0;
        known->place = waited.size();
        waited.push_back({known->descriptor(), static_cast<short>(input | (known->hasOutput() ? POLLOUT : 0)), 0});
        sooner(until, known->readsUntil());
        sooner(until, known->collectsUntil());
    }
}

void Hub::accept() {
    for (;;) {
        Descriptor connection(accept4(_listener.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        if (!connection) {
            return;
        }
        if (_clients.size() < kMostClients) {
            ++_lastClient;
            _clients.emplace(_lastClient, std::make_unique<HubClient>(_lastClient, std::move(connection)));
        }
    }
}

// Carries out what the client has asked for, and writes what it takes.
void Hub::serve(HubClient& client) {
    while (std::optional<Line> line = client.nextLine()) {
        take(client, std::move(*line));
        client.write();
    }
    client.write();
    if (client.readsUntil() && Clock::now() >= *client.readsUntil()) {
        client.isGone = true;
    }
}

void Hub::dropGone() {
    for (auto at = _clients.begin(); at != _clients.end();) {
        if (!at->second->isGone) {
            ++at;
            continue;
        }
        const std::unique_ptr<HubClient> gone = std::move(at->second);
        at = _clients.erase(at);
        forget(*gone);
        // The last one may wait until the set is free.
        _last = _clients.empty() ? gone->takeConnection() : Descriptor();
    }
}

// Lets go of all that the client, which is no longer in the list, had of the set.
void Hub::forget(HubClient& client) {
    if (_claim.holder == client.id) {
        setClaim({}, false);
    }
    if (!client.progress.isNull()) {
        tellProgress(client);
    }
    _prompts.forget(client.id);
    const auto isHubs = [](const std::string& kind) {
        return kind == "console" || kind == kPromptWatch || kind == kRunWatch;
    };
    for (const std::string& kind : client.watches) {
        if (!isWatched(kind) && isUp() && !isHubs(kind)) {
            askAgent(kind, {{"on", false}}, nullptr);
        }
    }
    cancelLonely();
}

// Ends what the agent does for clients that are gone.
void Hub::cancelLonely() {
    std::vector<long long> lonely;
    const auto take = [&](long long id, long long& owner) {
        if (owner != 0 && client(owner) == nullptr) {
            owner = 0;
            lonely.push_back(id);
        }
    };
    if (!isUp()) {
        return;
    }
    for (auto& [id, open] : _open) {
        take(id, open.client);
    }
    for (auto& [id, reader] : _streams) {
        take(id, reader);
    }
    for (const long long id : lonely) {
        askAgent("cancel", {{"id", id}}, nullptr);
    }
}

// Ends all that there is, unless a client comes meanwhile. Returns whether it has.
bool Hub::leave() {
    if (_isTerminated) {
        endClients();
    }
    std::optional<HubLock> lock;
    try {
        lock = HubLock::take(_socket);
        if (!lock) {
            return false;
        }
    } catch (const RequestError&) {
        // The folder has been removed, and so no client finds this hub.
    }
    accept();
    if (!_clients.empty() && !_isTerminated) {
        _last.close();
        return false;
    }
    // Who connects from now on waits for the lock and starts another hub.
    _clients.clear();
    _socket.removeSocket();
    _listener.close();
    if (_wire) {
        _wire->close();
        _wire->waitForEnd();
    }
    _socket.removeLog();
    if (lock) {
        lock->remove(_socket);
    }
    return true;
}

void Hub::endClients() {
    const MessageFailure failure = {ErrorCode::ended, "the hub has received a signal to end", {}};
    refuseHeld(_held, failure);
    refuseHeld(_heldForDescription, failure);
    for (const auto& [id, open] : _open) {
        if (HubClient* asker = client(open.client)) {
            asker->answer(frame(toField(Answer{open.request, {}, failure}), Framing::plain));
        }
    }
    _open.clear();
    for (const auto& [id, known] : _clients) {
        known->write(false);
    }
    _clients.clear();
}

HubClient* Hub::client(long long id) {
    const auto found = _clients.find(id);
    return found == _clients.end() || found->second->isGone ? nullptr : found->second.get();
}

}  // namespace tool
