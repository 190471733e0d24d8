// SPDX-License-Identifier: Apache-2.0
// An event that a module of the library has delivered.
#ifndef FAPI_PROTOCOL_EVENT_H
#define FAPI_PROTOCOL_EVENT_H

#include <array>
#include <chrono>
#include <string>

#include "protocol/field.h"

namespace tool {

struct EventObject {
    int value = 0;
    std::string text;
    Bytes data;

    bool isEmpty() const { return value == 0 && text.empty() && data.empty(); }
};

struct Event {
    std::chrono::system_clock::time_point time;
    std::chrono::steady_clock::time_point mono;  // of the agent's machine
    std::string module;
    unsigned int number = 0;
    std::array<EventObject, 4> objects;
};

// Adds what a notification has of it.
void addTo(Field& params, const Event& event);
// Throws MessageError.
Event parseEvent(const Field& params);

}  // namespace tool

#endif
