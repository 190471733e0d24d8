// SPDX-License-Identifier: Apache-2.0
// Events on their way from the callbacks to whoever prints them.
#include "target/event_log.h"

#include <cstdio>
#include <ctime>
#include <string_view>

#include "protocol/value.h"

namespace tool {

namespace {

using Object = fapi_core::VexTvFApiEventCommonObject;

// Nobody may be reading; the oldest events then go.
constexpr std::size_t kEventsKept = 65536;

// Events of the peripheral module whose value is told in words.
constexpr std::string_view kPeripheral = "prphrl";
constexpr unsigned int kKeyEvent = 0x100002;
constexpr unsigned int kAdcEvent = 0x100004;
constexpr unsigned int kPadEvent = 0x100005;
// Stands for a reading that failed.
constexpr int kNoReading = 255;

// What is shown of a text and of bytes; programs get everything.
constexpr std::size_t kShown = 64;

template <class Sequence>
Sequence beginning(const Sequence& all) {
    return all.size() > kShown ? Sequence(all.begin(), all.begin() + kShown) : all;
}

// "... (300 bytes)" behind what was cut.
std::string sizeIfCut(std::size_t size, const char* unit) {
    return size > kShown ? "... (" + std::to_string(size) + unit + ")" : "";
}

std::string displayObject(const Object& object) {
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

std::string padMeaning(int value) {
    switch (value) {
        case 0:
            return " (pad low)";
        case 1:
            return " (pad high)";
        case kNoReading:
            return " (pad monitor failed)";
        default:
            return {};
    }
}

// What the value of a key, a reading or a pad says, for a person; nothing for other events.
std::string meaning(const Event& event) {
    const int value = event.objects[0].value;
    switch (event.module == kPeripheral ? event.number : 0) {
        case kKeyEvent:
            return " (key code " + hex(value) + ")";
        case kAdcEvent:
            return " (ADC value " + hex(value) + (value == kNoReading ? ", or it could not be read)" : ")");
        case kPadEvent:
            return padMeaning(value);
        default:
            return {};
    }
}

bool isEmpty(const Object& object) {
    return object.value == 0 && object.text.empty() && object.data.empty();
}

}  // namespace

EventLog& eventLog() {
    static EventLog& log = *new EventLog;
    return log;
}

void EventLog::add(Event event) {
    const std::lock_guard<std::mutex> lock(_mutex);
    if (_events.size() == kEventsKept) {
        _events.pop_front();
    }
    _events.push_back(std::move(event));
    _changed.notify_one();
}

bool EventLog::take(Event& event, std::chrono::steady_clock::time_point deadline) {
    std::unique_lock<std::mutex> lock(_mutex);
    _changed.wait_until(lock, deadline, [this] { return _interrupted || !_events.empty(); });
    if (_events.empty()) {
        return false;
    }
    event = std::move(_events.front());
    _events.pop_front();
    return true;
}

void EventLog::interrupt() {
    const std::lock_guard<std::mutex> lock(_mutex);
    _interrupted = true;
    _changed.notify_all();
}

void EventLog::clear() {
    const std::lock_guard<std::mutex> lock(_mutex);
    _events.clear();
}

std::string printableBytes(const std::vector<unsigned char>& bytes) {
    return escaped(std::string(bytes.begin(), bytes.end()), true);
}

std::string describe(const Event& event) {
    char number[32];
    std::snprintf(number, sizeof(number), " 0x%x", event.number);
    std::string text = event.module + (number + displayObject(event.objects[0])) + meaning(event);
    for (std::size_t i = 1; i < 4; ++i) {
        if (!isEmpty(event.objects[i])) {
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
