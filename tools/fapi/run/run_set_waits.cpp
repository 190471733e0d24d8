// SPDX-License-Identifier: Apache-2.0
// What a run waits for besides the set's answers: time, events, persons, programs. Parts that run beside the one that
// waits go on meanwhile.
#include <algorithm>

#include "operator/operator.h"
#include "run/run_set.h"
#include "target/bound_actions.h"
#include "target/session.h"

namespace tool {

// --- Time and events -------------------------------------------------------------------------------------------------

void RunSet::rest(std::chrono::milliseconds time) {
    const Steady::time_point until = std::min(Steady::now() + time, limit().at);
    _lanes[lane()].isBehind = true;
    do {
        waitUntil(until);
    } while (Steady::now() < until);
    check();
}

// Returns when something has come, too.
void RunSet::waitUntil(Steady::time_point until) {
    if (_sideBySide) {
        _sideBySide->wait(std::min(until, limit().at));
        check();
    } else {
        pumpUntil(std::min(until, limit().at));
    }
}

// The same with descriptors of which one may become readable.
void RunSet::waitBesides(std::vector<pollfd>& waited, Steady::time_point until) {
    const SetWatches watches(waited, [this, part = lane()] {
        if (_sideBySide) {
            _sideBySide->wake(part);
        }
    });
    waitUntil(until);
    poll(waited.data(), waited.size(), 0);
}

// Returns when something has come, too.
void RunSet::pumpUntil(Steady::time_point until) {
    check();
    const Steady::time_point begun = Steady::now();
    if (until > begun) {
        session().pump(std::chrono::ceil<std::chrono::milliseconds>(until - begun));
        _times.waits += std::chrono::duration<double>(Steady::now() - begun).count();
        check();
    }
}

Judgement RunSet::judge(const EventCondition& condition, const std::string& text, const Variables& variables) {
    // The deadline is the agent's. Until what came before it is here, this machine's clock says when to ask.
    const Steady::time_point until = Steady::now() + condition.within;
    bool isWhole = false;
    // What has made the event may have made the chip refuse something.
    _lanes[lane()].isBehind = true;
    return events().judge(condition, text, variables, [&] {
        if (isWhole) {
            return false;
        }
        isWhole = Steady::now() >= until;
        isWhole ? askForCalls() : waitUntil(until);
        return true;
    });
}

// --- Persons and programs --------------------------------------------------------------------------------------------

RunSet::PersonsTime::PersonsTime(RunSet& set) : _set(set), _usual(set._lanes[set.lane()].usual) {
    _set._lanes[_set.lane()].usual = {};
}

RunSet::PersonsTime::~PersonsTime() {
    TimeLimit& usual = _set._lanes[_set.lane()].usual;
    usual = _usual;
    if (usual.at != Steady::time_point::max()) {
        usual.at += Steady::now() - _begun;
    }
}

std::optional<Picture> RunSet::pictureFor(const Question& question) {
    if (question.picture.empty()) {
        return std::nullopt;
    }
    try {
        const Picture picture = takePicture(question.picture);
        return question.reference.empty() ? picture : sideBySide(readPng(question.reference), picture);
    } catch (const RequestError& error) {
        if (error.code() != ErrorCode::unavailable && error.code() != ErrorCode::notSupported) {
            throw;
        }
        return std::nullopt;
    } catch (const SetError& error) {
        throw RequestError(ErrorCode::stationFailed, error.what());
    }
}

GivenAnswer RunSet::ask(const Question& question) {
    const PersonsTime time(*this);
    _lanes[lane()].isBehind = true;
    GivenAnswer answer = theOperator().ask(
        question, [this](std::vector<pollfd>& waited, Steady::time_point until) { waitBesides(waited, until); },
        [this](const Question& asked) { return pictureFor(asked); });
    keepAnswers();
    return answer;
}

// An action of the set that this station's operator carries out.
CallAnswer RunSet::runByPerson(const Command& command, const CallOptions& options) {
    const PersonsTime time(*this);
    boundActions()->waitForPersons(
        [this](std::vector<pollfd>& waited, Steady::time_point until) { waitBesides(waited, until); });
    CallAnswer answer = command.run(options);
    keepAnswers();
    return answer;
}

// The operator has answered other parts, too, before this one tells its record.
void RunSet::keepAnswers() {
    std::vector<GivenAnswer>& answers = _lanes[lane()].answers;
    for (GivenAnswer& answer : theOperator().takeAnswers()) {
        answers.push_back(std::move(answer));
    }
    if (_sideBySide) {
        _sideBySide->wakeAll();
    }
}

ProgramResult RunSet::runProgram(const ProgramCall& call) {
    _lanes[lane()].isBehind = true;
    return runPlanProgram(
        call, [this](std::vector<pollfd>& waited, Steady::time_point until) { waitBesides(waited, until); });
}

}  // namespace tool
