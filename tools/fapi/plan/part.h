// SPDX-License-Identifier: Apache-2.0
// The parts of a plan: steps, and what holds them together.
#ifndef FAPI_BENCH_PLAN_PART_H
#define FAPI_BENCH_PLAN_PART_H

#include <cstddef>
#include <string>
#include <vector>

namespace tool {

// The values that a loop's variable takes, one a turn.
struct Loop {
    std::string name;
    bool isRange = false;
    long long first = 0, last = 0;    // of a range
    std::string limits;               // "rail *": a turn for each name of limits like that; empty: of another kind
    std::vector<std::string> values;  // of a list, and of limits once these are known

    std::size_t turns() const { return isRange ? static_cast<std::size_t>(last - first) + 1 : values.size(); }
    std::string valueAt(std::size_t turn) const {
        return isRange ? std::to_string(first + static_cast<long long>(turn)) : values[turn];
    }
};

enum class PartKind { step, group, repeat, alongside };
// Where in a group a part stands.
enum class Section { setup, steps, teardown };

struct PlanPart {
    PartKind kind = PartKind::step;
    Section section = Section::steps;  // of the group that holds it
    unsigned int line = 0;
    std::string file;             // empty: the plan's own
    std::string name;             // of a group
    std::size_t step = 0;         // of a step: which of Plan::steps
    Loop loop;                    // of a repeat
    std::vector<PlanPart> parts;  // in it

    // Steps are counted as a run meets them: in each turn of a loop once more.
    std::size_t begin = 0;  // how many come before it, from the beginning of what holds it, or of a turn
    std::size_t turn = 0;   // how many it has in one turn
    std::size_t size() const { return kind == PartKind::repeat ? turn * loop.turns() : turn; }
};

}  // namespace tool

#endif
