// SPDX-License-Identifier: Apache-2.0
// The hub: wires that are lost and come back, and the set's power.
#include <algorithm>
#include <set>

#include "hub/hub.h"

namespace tool {

namespace {

constexpr std::chrono::milliseconds kLongestPause{5000};
// An agent answers at any time, also while a call runs. One that is silent for so long is out of reach.
constexpr std::chrono::seconds kUntilLost{15};

std::string secondsText(std::chrono::milliseconds time) {
    return std::to_string(std::chrono::duration_cast<std::chrono::seconds>(time).count()) + " s";
}

}  // namespace

// Keeps what was asked of the agent until it is known which agent the next wire finds.
void Hub::awaitReturn() {
    const std::string reason = _wire->reason();
    _wire.reset();
    _isGreeted = false;
    _asking = 0;
    _doubtful.clear();
    for (auto open = _open.begin(); open != _open.end();) {
        static const std::set<std::string> kOfThisWire = {"again", "hello", "long", "part"};
        open = kOfThisWire.count(open->second.method) != 0 ? _open.erase(open) : std::next(open);
    }
    if (!std::exchange(_isReturning, true)) {
        _whyLost = reason;
        _pause = kFirstPause;
        _upUntil = _upUntil.value_or(Clock::now() + _options.wire.upWithin);
        if (!_options.wire.isChecked) {
            endStreams({ErrorCode::stationFailed, "the wire was lost: " + reason, {}});
        }
        notifyAll("wire", {{"state", "lost"}, {"reason", reason}});
    } else {
        _whyLost = reason;
    }
    _nextTry = Clock::now() + _pause;
    _pause = std::min(2 * _pause, kLongestPause);
}

void Hub::advanceReturn() {
    const Clock::time_point now = Clock::now();
    if (_wire && !_wire->isClosed() && _isHelloDue && !_wire->isConversing()) {
        sendHello();
    }
    const bool isDeaf = _options.wire.isChecked && isUp() && !_open.empty() && now >= _heard + kUntilLost;
    if (isDeaf) {
        _wire->terminate();
    }
    if (isUp() && !isAwaiting()) {
        noteProgress();
    }
    if (_upUntil && now >= *_upUntil) {
        giveUp((_returns == 0 && !isUp() ? "no answer to hello within " : "nothing but hello was answered within ") +
               secondsText(_options.wire.upWithin) + (_whyLost.empty() ? "" : "; the wire was lost: " + _whyLost));
    } else if (_nextTry && now >= *_nextTry) {
        _nextTry.reset();
        startWire();
    }
}

// Answers all that waits for the wire. The next request starts it again.
void Hub::giveUp(const std::string& why) {
    const MessageFailure failure = {
        _isReturning || isUp() ? ErrorCode::ended : ErrorCode::unavailable, _options.wire.name + ": " + why, {}};
    _isReturning = false;
    _isGreeted = false;
    _nextTry.reset();
    noteProgress();
    failOpen(failure);
    // The next wire finds an agent that is greeted as if it were another one.
    forgetLong();
    refuseHeld(_heldForDescription, failure);
    refuseHeld(_held, failure);
    answerPower(failure.text);
    if (_wire) {
        _hasGivenUp = true;
        _wire->terminate();
    }
    notifyAll("wire", {{"state", "ended"}, {"reason", failure.text}});
}

// The agent has answered hello. The one of before has all that it was asked, or is asked for it once more.
void Hub::finishReturn(bool isSame) {
    _lastSeq.clear();
    ++_returns;
    answerPower(isSame ? "the program has ended, but the set's agent is still the same" : "");
    if (!std::exchange(_isReturning, false)) {
        return;
    }
    if (isSame && _options.wire.isChecked) {
        cancelLonely();
        askAgain();
        return;
    }
    const MessageFailure failure = {ErrorCode::ended,
                                    isSame
                                        ? "the wire was lost, and what it carried meanwhile cannot be asked for again"
                                        : "the wire was lost, and the set's agent is a new one: what it had in "
                                          "memory is gone",
                                    {}};
    failOpen(failure);
    refuseHeld(_heldForDescription, failure);
}

// Something was answered, or nothing is waited for: the wire is one that works, for however short a time it lives.
void Hub::noteProgress() {
    _upUntil.reset();
    _returns = 0;
    _whyLost.clear();
}

// Nothing of what was asked is answered any more.
void Hub::failOpen(const MessageFailure& failure) {
    _isDescribing = false;
    _asking = 0;
    _doubtful.clear();
    endStreams(failure);
    for (const auto& [id, open] : std::exchange(_open, {})) {
        if (HubClient* asker = client(open.client)) {
            --asker->open;
            asker->answer(frame(toField(Answer{open.request, {}, failure}), Framing::plain));
        }
    }
}

// --- Power -----------------------------------------------------------------------------------------------------------

// The station's program switches the power of the set, where the station has one for it.
void Hub::power(HubClient& client, const Request& request) {
    const std::string to = request.params["to"].textOr("");
    if (_options.wire.powerCycle.empty() || (to != "cycle" && to != "on")) {
        pass(client, request);
        return;
    }
    if (to == "on") {
        isUp() ? answer(client, request, Field::Fields()) : hold(client, request);
        return;
    }
    if (!isFreeFor(client, request)) {
        refuse(client, request, ErrorCode::claimed, claimText(), claimField());
        return;
    }
    if (_powerAsked) {
        refuse(client, request, ErrorCode::unavailable, "the set's power is being switched");
        return;
    }
    try {
        _power = std::make_unique<AgentWire>(_options.wire.powerCycle);
    } catch (const RequestError& error) {
        refuse(client, request, error.code(), _options.wire.powerPlace + ": power-cycle: " + error.what());
        return;
    }
    _power->endInput();
    _powerUntil = Clock::now() + _options.wire.upWithin;
    _powerAsked = Held{client.id, request};
    ++client.open;
}

void Hub::movePower(const std::vector<pollfd>& waited) {
    std::vector<Line> lines;
    _power->move(waited, lines);
    if (!_power->isGone()) {
        if (Clock::now() >= _powerUntil && !_power->isClosed()) {
            _power->terminate();
        }
        return;
    }
    const bool isLate = Clock::now() >= _powerUntil;
    const std::string problem = isLate                  ? "has not ended within " + secondsText(_options.wire.upWithin)
                                : _power->status() != 0 ? _power->reason()
                                                        : "";
    _power.reset();
    if (!problem.empty()) {
        answerPower(problem);
        return;
    }
    noteProgress();
    _upUntil = Clock::now() + _options.wire.upWithin;
    if (_wire) {
        // What was there is gone, and the wire to it.
        _wire->terminate();
    } else if (!_nextTry) {
        startWire();
    }
}

void Hub::answerPower(const std::string& problem) {
    if (!_powerAsked || _power) {
        return;
    }
    const Held asked = *std::exchange(_powerAsked, std::nullopt);
    HubClient* asker = client(asked.client);
    if (asker == nullptr) {
        return;
    }
    --asker->open;
    if (problem.empty()) {
        answer(*asker, asked.request, Field::Fields());
    } else {
        refuse(*asker, asked.request, ErrorCode::ended, _options.wire.powerPlace + ": power-cycle: " + problem);
    }
}

}  // namespace tool
