// SPDX-License-Identifier: Apache-2.0
// One line of the shell, of a plan or of `fapi call`: an operation, or something that a person does to the set.
#ifndef FAPI_BENCH_TARGET_COMMAND_H
#define FAPI_BENCH_TARGET_COMMAND_H

#include <functional>
#include <string>
#include <vector>

#include "base/words.h"
#include "operations/operation.h"

namespace tool {

// What a person does to the set: "set put /mnt/usb/serial.txt text:ABC". Rows of a table, as operations are; arguments
// and outputs are declared and checked in the same way.
struct Hand {
    const char* name;  // "put"
    const char* help;
    std::vector<Argument> arguments;
    std::vector<Output> outputs;
    void (*run)(Call& call);  // throws vset::SetError
    // Acts on the process that has the set, so it means nothing as a command of its own on the command line.
    bool sessionOnly = false;
    // When it does what it is for, the process that has the set ends: there is nobody to answer anything.
    bool endsProcess = false;
    // As an operation's.
    void (*check)(const std::vector<Value>& values, const std::vector<std::string>& words) = nullptr;
};

const std::vector<Hand>& hands();
// The parts of them.
std::vector<Hand> boardHands();       // keypad, ADC channels, pads, I2C
std::vector<Hand> chipHands();        // watchdog, clocks, firmware, registers, memory, network
std::vector<Hand> displayHands();     // display windows, display output, capture unit
std::vector<Hand> hdmiHands();        // HDMI, CEC, PWM, factory daemon
std::vector<Hand> identityHands();    // customer hash, data index, partitions
std::vector<Hand> inputHands();       // external inputs, tuners, video decoder
std::vector<Hand> middlewareHands();  // its calls, what it refused, what is open in it, faults
std::vector<Hand> panelHands();       // on-screen graphics, colors of pixels
std::vector<Hand> pictureHands();     // picture settings, panel attributes, controller, driver layer
std::vector<Hand> playerHands();      // what the set's player has open
std::vector<Hand> serialHands();      // serial ports, pipe, LEDs
std::vector<Hand> soundHands();       // audio outputs
const Hand* findHand(std::string_view name);

// The message for a name that is no operation, with the nearest one that is.
std::string unknownOperation(std::string_view word);

// A checked line, ready to run as often as wanted.
class Command {
public:
    // Throws UsageError; calls nothing. "set power-cycle" is a command too (isPowerCycle), which run() does not do.
    static Command parse(const Words& words, Together together = Together::checked);

    bool isPowerCycle() const { return _powerCycle; }
    // A power cycle, or a hand that waits for one.
    bool endsProcess() const { return _powerCycle || (_hand != nullptr && _hand->endsProcess); }
    // Null for a hand.
    const Operation* operation() const { return _operation; }
    const Hand* hand() const { return _hand; }
    const std::vector<Value>& arguments() const { return _arguments; }
    // The names of the outputs that a run may have, for checking expectations before anything runs.
    std::vector<std::string> outputNames() const;
    // The line again, with short operation name and quotes where needed.
    std::string text() const;

    // Runs it. A hand that the set refuses gives an outcome that is not good, status -1, output "error".
    Outcome run() const;
    // "ok", "failed", ...
    std::string word(const Outcome& outcome) const;

private:
    bool _powerCycle = false;
    const Operation* _operation = nullptr;
    const Hand* _hand = nullptr;
    Words _words;
    std::vector<Value> _arguments;
};

}  // namespace tool

#endif
