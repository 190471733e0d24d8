// SPDX-License-Identifier: Apache-2.0
// What a line of a plan has to bring about.
#ifndef FAPI_BENCH_JUDGE_EXPECTATION_H
#define FAPI_BENCH_JUDGE_EXPECTATION_H

#include <string>
#include <variant>

#include "judge/calls.h"
#include "judge/condition.h"
#include "judge/event.h"
#include "judge/measure.h"

namespace tool {

// A line that begins with "expect" or "measure".
struct Expectation {
    unsigned int line = 0;
    std::string text;  // the line again
    std::variant<Condition, EventCondition, CallsCondition, Measure> what;

    bool isAboutStatus() const;
    // Whether it is about what the chip was asked and has refused, which every line can be expected to have done.
    bool isAboutChip() const;
    // Whether it is about what comes besides answers, which a wire may lose.
    bool isAboutArrivals() const;
};

// The expectation that the words of its line make. Throws UsageError.
Expectation parseExpectation(const Words& words);

// Judges what a command has answered by a measurement.
Measured judge(const Measure& measure, const Command& command, const Outcome& outcome, const Limits& limits);

// Judges what a command has answered by a condition on its status or one of its outputs. Throws UsageError when a value
// makes nonsense of what is expected.
Judgement judge(const Condition& condition, const Command& command, const Outcome& outcome, const Variables& variables);

}  // namespace tool

#endif
