// SPDX-License-Identifier: Apache-2.0
// The steps of a plan in the order of a run.
#include "plan/order.h"

#include <algorithm>

#include "plan/plan.h"

namespace tool {

namespace {

// The part that has the step at `place`.
const PlanPart& partAt(const std::vector<PlanPart>& parts, std::size_t place) {
    const auto after = std::upper_bound(parts.begin(), parts.end(), place,
                                        [](std::size_t wanted, const PlanPart& part) { return wanted < part.begin; });
    return *std::prev(after);
}

// The values of names like "rail *", by what the star stands for.
std::vector<std::string> namesLike(const std::string& pattern, const Limits& limits) {
    const std::size_t star = pattern.find('*');
    const std::string before = pattern.substr(0, star), after = pattern.substr(star + 1);
    std::vector<std::string> found;
    for (const auto& [name, limit] : limits.byName) {
        if (name.size() > before.size() + after.size() && name.compare(0, before.size(), before) == 0 &&
            name.compare(name.size() - after.size(), after.size(), after) == 0) {
            found.push_back(name.substr(star, name.size() - before.size() - after.size()));
        }
    }
    return found;
}

}  // namespace

std::string StepPlace::label() const {
    std::string label;
    for (const Frame& frame : frames) {
        if (frame.part->kind == PartKind::repeat) {
            label += '[' + frame.part->loop.name + '=' + frame.part->loop.valueAt(frame.turn) + ']';
        }
    }
    return label;
}

void StepPlace::setVariables(Variables& variables) const {
    for (const Frame& frame : frames) {
        if (frame.part->kind == PartKind::repeat) {
            variables[frame.part->loop.name] = frame.part->loop.valueAt(frame.turn);
        }
    }
}

std::size_t countPlaces(std::vector<PlanPart>& parts) {
    std::size_t sum = 0;
    for (PlanPart& part : parts) {
        part.begin = sum;
        part.turn = part.kind == PartKind::step ? 1 : countPlaces(part.parts);
        const std::size_t turns = part.kind == PartKind::repeat ? part.loop.turns() : 1;
        if (part.turn > kMostPlaces || (part.turn != 0 && turns > (kMostPlaces - sum) / part.turn)) {
            return kMostPlaces + 1;
        }
        sum += part.turn * turns;
    }
    return sum;
}

StepPlace placeOf(const Plan& plan, std::size_t place) {
    if (plan.parts.empty()) {
        return {place, {}};
    }
    StepPlace found;
    const std::vector<PlanPart>* parts = &plan.parts;
    std::size_t begin = 0;  // of `parts`, in this turn
    for (;;) {
        const PlanPart& part = partAt(*parts, place - begin);
        if (!found.frames.empty() && found.frames.back().part->kind == PartKind::group) {
            found.frames.back().section = part.section;
        }
        begin += part.begin;
        if (part.kind == PartKind::step) {
            found.step = part.step;
            return found;
        }
        Frame frame = {&part, begin, begin + part.size(), 0, Section::steps};
        if (part.kind == PartKind::repeat) {
            frame.turn = (place - begin) / part.turn;
            begin += frame.turn * part.turn;
        }
        found.frames.push_back(frame);
        parts = &part.parts;
    }
}

void fillLoops(std::vector<PlanPart>& parts, const Limits& limits) {
    for (PlanPart& part : parts) {
        if (!part.loop.limits.empty()) {
            part.loop.values = namesLike(part.loop.limits, limits);
            if (part.loop.values.empty()) {
                throw UsageError((part.file.empty() ? "" : part.file + ", ") + "line " + std::to_string(part.line) +
                                 ": repeat has no turn: there are no limits " + display(part.loop.limits, 60));
            }
        }
        fillLoops(part.parts, limits);
    }
}

bool hasLoopsOverLimits(const std::vector<PlanPart>& parts) {
    return std::any_of(parts.begin(), parts.end(), [](const PlanPart& part) {
        return !part.loop.limits.empty() || hasLoopsOverLimits(part.parts);
    });
}

}  // namespace tool
