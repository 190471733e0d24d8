// SPDX-License-Identifier: Apache-2.0
// The table of actions: what a person or a fixture does to the virtual set. Arguments and outputs are declared and
// checked as those of operations are.
#ifndef FAPI_AGENT_ACTIONS_ACTION_H
#define FAPI_AGENT_ACTIONS_ACTION_H

#include <string_view>
#include <vector>

#include "operations/call.h"
#include "operations/operation.h"

namespace tool {

class ActionRow : public Action {
public:
    using Run = void (*)(Call& call);  // throws vset::SetError

    // What begins with "Show" reads.
    ActionRow(const char* word, const char* line, std::vector<Argument> takes, std::vector<Output> answers, Run run);

    // Acts on the process that has the set, so it means nothing as a command of its own on the command line.
    ActionRow&& inSession() &&;
    // When it does what it is for, the process that has the set ends: there is nobody to answer anything.
    ActionRow&& endingWorker() &&;
    ActionRow&& checkedBy(Check together) &&;
    // The sentence that asks an operator to do it, where no fixture does.
    ActionRow&& asking(const char* sentence) &&;

    // Does it. What the set refuses is an outcome that is not good, status -1, with an output "error".
    Outcome perform(const std::vector<Value>& values) const;
    void check(const std::vector<Value>& values, const std::vector<std::string>& words) const;

private:
    Run _run;
    Check _check = nullptr;
};

const std::vector<ActionRow>& actionRows();
const ActionRow* findActionRow(std::string_view name);

// The parts of them.
std::vector<ActionRow> boardActions();       // keypad, ADC channels, pads, I2C
std::vector<ActionRow> chipActions();        // watchdog, clocks, firmware, registers, memory, network
std::vector<ActionRow> displayActions();     // display windows, display output, capture unit
std::vector<ActionRow> fileActions();        // files of the set, and its switches that are files
std::vector<ActionRow> hdmiActions();        // HDMI, CEC, PWM, factory daemon
std::vector<ActionRow> identityActions();    // customer hash, data index, partitions
std::vector<ActionRow> inputActions();       // external inputs, tuners, video decoder
std::vector<ActionRow> middlewareActions();  // its calls, what it refused, what is open in it, faults
std::vector<ActionRow> panelActions();       // on-screen graphics, colors of pixels
std::vector<ActionRow> pictureActions();     // picture settings, panel attributes, controller, driver layer
std::vector<ActionRow> playerActions();      // what the set's player has open
std::vector<ActionRow> serialActions();      // serial ports, pipe, LEDs
std::vector<ActionRow> soundActions();       // audio outputs

}  // namespace tool

#endif
