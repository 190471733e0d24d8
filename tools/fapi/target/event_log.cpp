// SPDX-License-Identifier: Apache-2.0
// Events on their way from the callbacks to whoever prints them.
#include "target/event_log.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <string_view>

#include "protocol/value.h"
#include "target/session.h"
#include "target/target_description.h"

namespace tool {

namespace {

// Nobody may be reading; the oldest events then go.
constexpr std::size_t kEventsKept = 65536;

// What is shown of a text and of bytes; programs get everything.
constexpr std::size_t kShownOfPayload = 64;

template <class Sequence>
Sequence beginning(const Sequence& all) {
    return all.size() > kShownOfPayload ? Sequence(all.begin(), all.begin() + kShownOfPayload) : all;
}

// "... (300 bytes)" behind what was cut.
std::string sizeIfCut(std::size_t size, const char* unit) {
    return size > kShownOfPayload ? "... (" + std::to_string(size) + unit + ")" : "";
}

std::string displayObject(const EventObject& object) {
    std::string text;
    if (object.value != 0 || (object.text.empty() && object.data.empty())) {
        text += " value " + std::to_string(object.value);
    }
    if (!object.text.empty()) {
        text += " text " + display(beginning(object.text)) + sizeIfCut(object.text.size(), " characters");
    }
    if (!object.data.empty()) {
        const Bytes shown = beginning(object.data);
        text += " bytes " + hexText(shown, " ") + " \"" + printableBytes(shown) + "\"" +
                sizeIfCut(object.data.size(), " bytes");
    }
    return text;
}

std::string hex(int number) {
    char text[16];
    std::snprintf(text, sizeof(text), "0x%02x", static_cast<unsigned int>(number));
    return text;
}

// What the value of an event says, where the description knows more of it: " (key code 0x1f)", " (pad high)".
std::string meaning(const Event& event) {
    const int value = event.objects[0].value;
    for (const EventKind& kind : description().events) {
        if (kind.module != event.module || kind.number != event.number || kind.fields.empty()) {
            continue;
        }
        const EventField& field = kind.fields.front();
        const auto word = std::find_if(field.words.begin(), field.words.end(),
                                       [&](const Choice& choice) { return choice.value == value; });
        const bool hasWord = word != field.words.end();
        std::string text = field.meaning.empty() ? "" : field.meaning + " " + hex(value);
        text += hasWord ? (text.empty() ? "" : ", ") + word->name : "";
        return text.empty() ? text : " (" + text + ")";
    }
    return {};
}

}  // namespace

EventLog& eventLog() {
    static EventLog log;
    return log;
}

void EventLog::add(Event event) {
    if (_events.size() == kEventsKept) {
        _events.pop_front();
    }
    _events.push_back(std::move(event));
}

bool EventLog::take(Event& event, std::chrono::steady_clock::time_point deadline) {
    while (_events.empty() && !_isInterrupted) {
        const auto left = deadline - std::chrono::steady_clock::now();
        if (left <= left.zero()) {
            return false;
        }
        session().pump(std::chrono::ceil<std::chrono::milliseconds>(left));
    }
    if (_events.empty()) {
        return false;
    }
    event = std::move(_events.front());
    _events.pop_front();
    return true;
}

std::string printableBytes(const std::vector<unsigned char>& bytes) {
    return escaped(std::string(bytes.begin(), bytes.end()), true);
}

std::string describe(const Event& event) {
    char number[32];
    std::snprintf(number, sizeof(number), " 0x%x", event.number);
    std::string text = event.module + (number + displayObject(event.objects[0])) + meaning(event);
    for (std::size_t i = 1; i < 4; ++i) {
        if (!event.objects[i].isEmpty()) {
            text += " |" + displayObject(event.objects[i]);
        }
    }
    return text;
}

std::string displayEvent(const Event& event) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(event.time);
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(event.time.time_since_epoch()).count() % 1000;
    std::tm local = {};
    localtime_r(&seconds, &local);
    char text[64];
    const std::size_t length = std::strftime(text, sizeof(text), "%H:%M:%S", &local);
    std::snprintf(text + length, sizeof(text) - length, ".%03d ", static_cast<int>(milliseconds));
    return text + describe(event);
}

}  // namespace tool
