// SPDX-License-Identifier: Apache-2.0
// What differs between two runs.
#include "record/run_comparison.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace tool {

namespace {

// Shorter and smaller differences of a duration are chance.
constexpr double kNotableSeconds = 0.02;
constexpr double kNotablePart = 0.1;

// Steps of one name are told apart by their order.
const StepRecord* counterpart(const WholeRun& in, const WholeRun& of, std::size_t index) {
    const std::vector<StepRecord>& steps = of.parts.steps;
    const auto isOfName = [&](const StepRecord& step) { return step.name == steps[index].name; };
    auto order = std::count_if(steps.begin(), steps.begin() + static_cast<std::ptrdiff_t>(index), isOfName);
    for (const StepRecord& step : in.parts.steps) {
        if (isOfName(step) && order-- == 0) {
            return &step;
        }
    }
    return nullptr;
}

bool isNotable(double before, double after) {
    const double difference = std::fabs(after - before);
    return difference >= kNotableSeconds && difference >= kNotablePart * std::max(before, after);
}

Json valueOf(const MeasurementRecord& row) {
    return row.value ? Json(*row.value) : Json(row.text.value_or(""));
}

Json valueIn(const std::vector<MeasurementRecord>& rows, const std::string& name) {
    const auto found =
        std::find_if(rows.begin(), rows.end(), [&](const MeasurementRecord& row) { return row.name == name; });
    return found == rows.end() ? Json(nullptr) : valueOf(*found);
}

void compareMeasurements(const std::string& step, const std::vector<MeasurementRecord>& before,
                         const std::vector<MeasurementRecord>& after, std::vector<Change>& changes) {
    for (const MeasurementRecord& row : after) {
        const Json old = valueIn(before, row.name);
        if (old != valueOf(row)) {
            changes.push_back({step, row.name, old, valueOf(row)});
        }
    }
    for (const MeasurementRecord& row : before) {
        if (valueIn(after, row.name).is_null()) {
            changes.push_back({step, row.name, valueOf(row), nullptr});
        }
    }
}

}  // namespace

std::vector<MeasurementRecord> finalOf(const WholeRun& run, long long step) {
    std::vector<MeasurementRecord> found;
    std::copy_if(run.parts.measurements.begin(), run.parts.measurements.end(), std::back_inserter(found),
                 [&](const MeasurementRecord& row) { return row.step == step && row.final != 0; });
    return found;
}

std::vector<Change> changesBetween(const WholeRun& before, const WholeRun& after) {
    std::vector<Change> changes;
    for (std::size_t i = 0; i < after.parts.steps.size(); ++i) {
        const StepRecord& step = after.parts.steps[i];
        const StepRecord* old = counterpart(before, after, i);
        if (old == nullptr) {
            changes.push_back({step.name, "new", nullptr, step.verdict});
            continue;
        }
        if (old->verdict != step.verdict) {
            changes.push_back({step.name, "verdict", old->verdict, step.verdict});
        }
        if (isNotable(old->seconds, step.seconds)) {
            changes.push_back({step.name, "seconds", old->seconds, step.seconds});
        }
        compareMeasurements(step.name, finalOf(before, old->number), finalOf(after, step.number), changes);
    }
    for (std::size_t i = 0; i < before.parts.steps.size(); ++i) {
        if (counterpart(after, before, i) == nullptr) {
            changes.push_back({before.parts.steps[i].name, "missing", before.parts.steps[i].verdict, nullptr});
        }
    }
    return changes;
}

}  // namespace tool
