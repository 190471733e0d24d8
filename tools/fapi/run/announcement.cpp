// SPDX-License-Identifier: Apache-2.0
// How far a run has come, for the other clients of its set.
#include "run/announcement.h"

#include <algorithm>

#include "protocol/characters.h"
#include "record/database.h"
#include "target/session.h"

namespace tool {

namespace {

constexpr std::chrono::milliseconds kBetween{100};
constexpr std::size_t kTold = 400;  // bytes of a text

}  // namespace

Announcement::Announcement(const Plan& plan, const std::string& unit) : _plan(plan), _unit(unit) {}

void Announcement::begin(std::size_t step, std::size_t attempt) {
    _step = step;
    _attempt = attempt;
    _isDue = true;
    flush();
}

void Announcement::end(const StepResult& result) {
    ++_ended;
    _bad += isBad(result.verdict()) ? 1 : 0;
    if (result.verdict() > _worst.verdict && result.verdict() != Verdict::skipped) {
        _worst = {result.verdict(), _plan.nameAt(_step) + ": " + result.text()};
    }
    _isDue = true;
}

void Announcement::flush() {
    if (_isDue && Clock::now() - _told >= kBetween) {
        tell("running");
    }
}

void Announcement::conclude(const PlanResult& result) {
    _worst.verdict = result.verdict();
    tell(result.waiver().empty() ? "ended" : "waived");
}

Field Announcement::state(const char* word) const {
    const auto text = [](const std::string& whole) { return storedText(beginningOf(whole, kTold)); };
    const auto began = std::chrono::duration_cast<std::chrono::milliseconds>(_began.time_since_epoch()).count();
    return {{"state", word},
            {"plan", text(_plan.name)},
            {"file", text(_plan.file)},
            {"unit", text(_unit)},
            {"id", _run != nullptr ? _run->id : ""},
            {"number", _run != nullptr ? _run->number : 0},
            {"report", _run != nullptr ? _run->report : ""},
            {"began", began},
            {"steps", _plan.size()},
            {"ended", std::min(_ended, _plan.size())},
            {"bad", _bad},
            {"step", text(_step < _plan.size() ? _plan.nameAt(_step) : "")},
            {"attempt", _attempt},
            {"verdict", verdictName(_worst.verdict)},
            {"why", text(_worst.text)}};
}

// A run without a hub goes on, or ends, whoever is told of that.
void Announcement::tell(const char* word) {
    if (isSessionOpen() && session().lost().empty()) {
        session().tell("progress", state(word));
        _isDue = false;
        _told = Clock::now();
    }
}

}  // namespace tool
