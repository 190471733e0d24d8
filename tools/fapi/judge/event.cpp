// SPDX-License-Identifier: Apache-2.0
// Expectations of events: how they are read, and how what comes is judged by them.
#include "judge/event.h"

#include <algorithm>

#include "target/event_log.h"
#include "target/target_description.h"

namespace tool {

namespace {

constexpr char kUsage[] =
    "expected: expect [no] event NUMBER [of MODULE] [with value|text|bytes [is|...] VALUE]... within TIME";
constexpr long long kLastEvent = 0xFFFFFFFF;

// The oldest go when there are more.
constexpr std::size_t kEventsKept = 65536;

// What a failure shows of the events that came, and of each.
constexpr std::size_t kShownEvents = 5;
constexpr std::size_t kShownCharacters = 200;
constexpr std::size_t kShownExpectation = 300;

// What the text of an expectation begins with.
constexpr std::string_view kExpect = "expect";

std::string wordAt(const Words& words, std::size_t i) {
    return i < words.size() ? words[i] : "";
}

// "FIELD [is|...] VALUE" from words[i] on; returns the place behind it.
std::size_t readField(const Words& words, std::size_t i, EventCondition& event) {
    Condition& condition = event.fields.emplace_back();
    condition.subject = wordAt(words, i);
    if (std::find(std::begin(kEventFields), std::end(kEventFields), condition.subject) == std::end(kEventFields)) {
        throw UsageError("with " + display(condition.subject, 40) + ": expected value, text or bytes", i);
    }
    const std::size_t next = readCondition(words, i + 1, condition);
    const bool isCompared = condition.compare == Compare::is || condition.compare == Compare::isNot;
    long long number = 0;
    if (condition.subject == "value" && isCompared && variablesOf(condition.expected).empty() &&
        !parseNumber(condition.expected, number)) {
        throw UsageError("value " + display(condition.expected, 40) + ": expected a number", next - 1);
    }
    return next;
}

std::size_t readModule(const Words& words, std::size_t i, EventCondition& event) {
    event.module = wordAt(words, i);
    const std::vector<std::string>& known = moduleNames();
    if (std::find(known.begin(), known.end(), event.module) == known.end()) {
        throw UsageError("of " + display(event.module, 40) + ": no such module", i);
    }
    return i + 1;
}

// One of the parts behind the event's number.
std::size_t readPart(const Words& words, std::size_t i, EventCondition& event, bool& hasTime) {
    if (words[i] == "of") {
        return readModule(words, i + 1, event);
    }
    if (words[i] == "with") {
        return readField(words, i + 1, event);
    }
    if (words[i] != "within") {
        throw UsageError(display(words[i], 40) + ": expected of, with or within", i);
    }
    hasTime = parseTime(wordAt(words, i + 1), event.within);
    if (!hasTime) {
        throw UsageError("within is " + display(wordAt(words, i + 1), 40) + ", expected a time like 200ms or 1.5s",
                         i + 1);
    }
    return i + 2;
}

// The worst of what the fields are judged, or a failure when it is another event.
Judgement match(const EventCondition& condition, const Event& event, const Variables& variables) {
    Judgement worst;
    if (event.number != condition.number || (!condition.module.empty() && event.module != condition.module)) {
        worst.verdict = Verdict::failed;
        return worst;
    }
    for (const Condition& field : condition.fields) {
        Judgement judgement = judge(field, fieldOf(event, field.subject), variables);
        if (judgement.verdict > worst.verdict) {
            worst = std::move(judgement);
        }
    }
    return worst;
}

template <class Iterator>
std::string listEvents(Iterator first, Iterator last) {
    std::string text;
    const auto count = static_cast<std::size_t>(last - first);
    for (std::size_t i = 0; i < std::min(count, kShownEvents); ++i, ++first) {
        std::string event = describe(*first);
        if (event.size() > kShownCharacters) {
            event.resize(kShownCharacters);
            event += "...";
        }
        text += (text.empty() ? "" : "; ") + event;
    }
    return count > kShownEvents ? text + "; and " + std::to_string(count - kShownEvents) + " more" : text;
}

}  // namespace

EventCondition parseEventCondition(const Words& words) {
    EventCondition event;
    event.comes = words[0] != "no";
    std::size_t i = event.comes ? 0 : 1;
    long long number = 0;
    if (wordAt(words, i) != "event" || i + 1 >= words.size()) {
        throw UsageError(kUsage, i);
    }
    if (!parseNumber(words[i + 1], number) || number < 0 || number > kLastEvent) {
        throw UsageError("event " + display(words[i + 1], 40) + ": expected a number from 0 to 0xffffffff", i + 1);
    }
    event.number = static_cast<unsigned int>(number);
    bool hasTime = false;
    for (i += 2; i < words.size() && !hasTime;) {
        i = readPart(words, i, event, hasTime);
    }
    if (!hasTime) {
        throw UsageError("the time is missing: within TIME", words.size());
    }
    if (i < words.size()) {
        throw UsageError(display(words[i], 40) + " is one word too many", i);
    }
    return event;
}

Value fieldOf(const Event& event, std::string_view field) {
    const EventObject& object = event.objects[0];
    if (field == "text") {
        return object.text;
    }
    if (field == "bytes") {
        return object.data;
    }
    return static_cast<long long>(object.value);
}

void EventQueue::add(Event event) {
    if (_events.size() == kEventsKept) {
        _events.pop_front();
    }
    _events.push_back(std::move(event));
}

void EventQueue::clear() {
    _events.clear();
    _taken.reset();
}

const Event* EventQueue::at(std::size_t place, std::chrono::steady_clock::time_point deadline, const More& more) {
    while (place >= _events.size()) {
        if (!more()) {
            return nullptr;
        }
    }
    return _events[place].mono <= deadline ? &_events[place] : nullptr;
}

Judgement EventQueue::judge(const EventCondition& condition, const std::string& text, const Variables& variables,
                            const More& more) {
    const auto deadline = _waitsSince + condition.within;
    const std::string wanted = "expected" + substitute(text, variables).substr(kExpect.size(), kShownExpectation);
    if (condition.comes) {
        _taken.reset();
    }
    std::size_t place = 0;
    for (const Event* event; (event = at(place, deadline, more)) != nullptr; ++place) {
        Judgement judgement = match(condition, *event, variables);
        if (isBad(judgement.verdict)) {
            continue;
        }
        if (!condition.comes) {
            return {Verdict::failed, wanted + ", but this came: " + listEvents(event, event + 1)};
        }
        _taken = std::move(_events[place]);
        _waitsSince = std::max(_waitsSince, _taken->mono);
        _events.erase(_events.begin(), _events.begin() + static_cast<std::ptrdiff_t>(place) + 1);
        return judgement;
    }
    _waitsSince = deadline;
    if (!condition.comes) {
        return {};
    }
    const auto end = _events.begin() + static_cast<std::ptrdiff_t>(place);
    const std::string came = listEvents(_events.begin(), end);
    _events.erase(_events.begin(), end);
    return {Verdict::failed, wanted + ", but " + (came.empty() ? "no event came" : "this came: " + came)};
}

}  // namespace tool
