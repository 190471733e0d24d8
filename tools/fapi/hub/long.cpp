// SPDX-License-Identifier: Apache-2.0
// The hub: messages of an agent that are too long for a wire that may lose lines. They are read in their order, each of
// them part by part, and are then as if they had come in a line.
#include <algorithm>
#include <utility>

#include "hub/hub.h"

namespace tool {

namespace {

// At most so many parts are asked for at a time: others need not wait long for the wire.
constexpr std::size_t kMostAhead = 8;

}  // namespace

// Says which messages have been read, and asks which ones there are.
void Hub::askForLong() {
    if (std::exchange(_isLongAsked, true)) {
        return;
    }
    askAgent("long", {{"read", _longRead}}, [this](const Envelope& answer) {
        _isLongAsked = false;
        readLong(parseJsonText(answer.text)["result"]["last"].numberOr(0));
    });
}

void Hub::readLong(long long last) {
    _longLast = std::max(_longLast, last);
    if (_longRead < _longLast && _partsAsked == _partsRead) {
        // Its answer says how many there are.
        askForPart();
    }
}

void Hub::askForPart() {
    const long long message = _longRead + 1;
    const std::size_t number = _partsAsked++;
    askAgent("part", {{"message", message}, {"number", number + 1}},
             [this, message, number](const Envelope& answer) { takePart(message, number, answer); });
}

void Hub::takePart(long long message, std::size_t number, const Envelope& answer) {
    if (message != _longRead + 1) {
        // It was skipped meanwhile.
        return;
    }
    const Field result = parseJsonText(answer.text)["result"];
    const auto count = static_cast<std::size_t>(std::max(result["parts"].numberOr(0), 0LL));
    const std::string part = result["text"].textOr("");
    _partBytes += part.size();
    if (count <= number || part.empty() || _partBytes > kLongestMessage) {
        // The agent has another idea of what has been read, and no message can be had from it in its order.
        _wire->terminate();
        return;
    }
    _earlyParts[number] = part;
    for (auto next = _earlyParts.begin(); next != _earlyParts.end() && next->first == _partsRead; ++_partsRead) {
        _longText += next->second;
        next = _earlyParts.erase(next);
    }
    if (_partsRead < count && isUnread()) {
        finishLong();
        return;
    }
    _partsAhead = std::min(_partsAhead + 1, kMostAhead);
    while (_partsAsked < std::min(count, _partsRead + _partsAhead)) {
        askForPart();
    }
    if (_partsRead == count) {
        std::string text = std::move(_longText);
        finishLong();
        receiveMessage(std::move(text));
    }
}

// Whether the message that is read is a piece of a stream whose reader is gone.
bool Hub::isUnread() const {
    const auto id = streamOf(_longText);
    const auto stream = id ? _streams.find(*id) : _streams.end();
    return stream != _streams.end() && _clients.count(stream->second) == 0;
}

// Goes on with the next message.
void Hub::finishLong() {
    ++_longRead;
    _longText.clear();
    _earlyParts.clear();
    _partsAsked = _partsRead = _partBytes = 0;
    askForLong();
    readLong(_longLast);
}

// Another agent counts from 1, and so does one that is greeted as if it were another one.
void Hub::forgetLong() {
    _longRead = 0;
    _partsRead = 0;
    _longText.clear();
    interruptLong();
}

// What is read now goes on after its last part, over another wire: one that never lives long enough for a whole message
// still brings it. It may live too short for many parts at a time.
void Hub::interruptLong() {
    _longLast = _longRead;
    _earlyParts.clear();
    _partBytes = _longText.size();
    _partsAsked = _partsRead;
    _partsAhead = 1;
    _isLongAsked = false;
}

}  // namespace tool
