// SPDX-License-Identifier: Apache-2.0
// What this agent says of itself.
#include "worker/description.h"

#include <algorithm>
#include <string_view>

#include "actions/action.h"
#include "actions/data_source.h"
#include "actions/middleware_words.h"
#include "actions/picture_source.h"
#include "operations/chip_words.h"
#include "operations/events.h"
#include "operations/operation.h"
#include "vset/journal.h"
#include "vset/vset.h"
#include "worker/set_session.h"

namespace tool {

namespace {

constexpr int kNoReading = 255;

std::vector<EventKind> eventKinds() {
    return {
        {"prphrl", 0x100002, "A key of the keypad.", {{"value", {}, "key code"}}},
        {"prphrl",
         0x100004,
         "A reading of an ADC channel.",
         {{"value", {{"or it could not be read", kNoReading}}, "ADC value"}}},
        {"prphrl",
         0x100005,
         "The level of a monitored pad.",
         {{"value", {{"pad low", 0}, {"pad high", 1}, {"pad monitor failed", kNoReading}}, ""}}},
    };
}

std::vector<Function> functions() {
    std::vector<Function> all;
    for (const std::string& name : vset::faultNames()) {
        Function function{name, {}, vset::ownFailures(name)};
        try {
            function.fields = vset::callFields(name);
        } catch (const vset::SetError&) {
            // An allocation is no call.
        }
        all.push_back(std::move(function));
    }
    return all;
}

// No operation puts out what a board's chip holds.
void leaveOutChip(std::vector<Output>& outputs) {
    const std::string name = chip().name;
    outputs.erase(
        std::remove_if(outputs.begin(), outputs.end(), [&](const Output& output) { return output.name == name; }),
        outputs.end());
}

Description make() {
    Description description;
    description.operations.assign(operationRows().begin(), operationRows().end());
    if (isBoard()) {
        for (Operation& operation : description.operations) {
            leaveOutChip(operation.outputs);
        }
    }
    description.actions.assign(actionRows().begin(), actionRows().end());
    description.eventModules = eventModules();
    description.events = eventKinds();
    description.functions = functions();
    description.codes = failureCodes();
    description.pictures = pictureKinds();
    description.data.assign(dataSources().begin(), dataSources().end());
    if (isBoard()) {
        // They are the virtual set's.
        description.actions.clear();
        description.functions.clear();
        description.codes.clear();
        description.pictures.clear();
        description.data.clear();
    }
    description.makeIndex();
    description.hash = hashOf(description);
    return description;
}

}  // namespace

const Description& ownActions() {
    static const Description description = [] {
        Description actions;
        actions.actions.assign(actionRows().begin(), actionRows().end());
        actions.hash = hashOf(actions);
        return actions;
    }();
    return description;
}

const Description& ownDescription() {
    static const Description description = make();
    return description;
}

}  // namespace tool
