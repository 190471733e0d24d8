// SPDX-License-Identifier: Apache-2.0
// The hub: messages of an agent that are too long for a wire that may lose lines. They are read in their order, each of
// them part by part, and are then as if they had come in a line.
#include <algorithm>
#include <utility>

#include "hub/hub.h"

namespace tool {

namespace {

// So many parts are asked for at a time: others need not wait long for the wire.
constexpr std::size_t kAhead = 8;

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
    if (_longRead < _longLast && _partsAsked == 0) {
        // Its answer says how many there are.
        askForPart();
    }
}

void Hub::askForPart() {
    const long long message = _longRead + 1;
    const std::size_t number = _partsAsked++;
    askAgent("part", {{"message", message}, {"number", number + 1}},
             [this, number](const Envelope& answer) { takePart(number, answer); });
}

void Hub::takePart(std::size_t number, const Envelope& answer) {
    const Field result = parseJsonText(answer.text)["result"];
    const long long count = result["parts"].numberOr(0);
    if (count <= static_cast<long long>(number) || count > static_cast<long long>(kLongestMessage)) {
        // The agent has another idea of what has been read, and no message can be had from it in its order.
        _wire->terminate();
        return;
    }
    _parts.resize(static_cast<std::size_t>(count));
    _parts[number] = result["text"].textOr("");
    ++_partsRead;
    while (_partsAsked < std::min(_parts.size(), _partsRead + kAhead)) {
        askForPart();
    }
    if (_partsRead < _parts.size()) {
        return;
    }
    std::string text;
    for (const std::string& part : _parts) {
        text += part;
    }
    ++_longRead;
    _parts.clear();
    _partsAsked = _partsRead = 0;
    askForLong();
    readLong(_longLast);
    receiveMessage(std::move(text));
}

// Another agent counts from 1.
void Hub::forgetLong() {
    _longRead = 0;
    interruptLong();
}

// What is read now is read from its beginning, over another wire.
void Hub::interruptLong() {
    _longLast = _longRead;
    _parts.clear();
    _partsAsked = _partsRead = 0;
    _isLongAsked = false;
}

}  // namespace tool
