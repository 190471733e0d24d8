// SPDX-License-Identifier: Apache-2.0
// "data" in plans: numbers of the set that a step keeps for its report.
#ifndef FAPI_BENCH_PLAN_DATA_H
#define FAPI_BENCH_PLAN_DATA_H

#include <functional>

#include "target/output.h"

namespace tool {

class PlanData {
public:
    // "data NAME gamma WINDOW", "data NAME calibration TYPE INDEX" or "data NAME values WORD=NUMBER...". What holds
    // variables is taken for something that fits. Throws UsageError.
    static PlanData parse(const Words& words);

    const std::string& name() const { return _name; }
    // {"name": ..., "kind": "curves" or "values", "series": [{"name": ..., "values": [...]}, ...]}. Throws
    // SetError when the set has no such numbers.
    Json take() const;

private:
    PlanData(std::string name, const char* kind, std::function<Json()> series)
        : _name(std::move(name)), _kind(kind), _series(std::move(series)) {}

    std::string _name;
    const char* _kind;
    std::function<Json()> _series;
};

}  // namespace tool

#endif
