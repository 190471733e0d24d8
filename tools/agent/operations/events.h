// SPDX-License-Identifier: Apache-2.0
// The events of the library's modules: who hears them, and which modules have any.
#ifndef FAPI_AGENT_OPERATIONS_EVENTS_H
#define FAPI_AGENT_OPERATIONS_EVENTS_H

#include <string>
#include <vector>

#include "protocol/event.h"

namespace tool {

// Takes the events from now on, on the threads that deliver them; null: nobody does.
void hearEvents(void (*listener)(const Event& event));

// Registers a callback with every module, or removes all of them.
void listenToAllModules(bool on);

// The names of the modules that have events.
std::vector<std::string> eventModules();

}  // namespace tool

#endif
