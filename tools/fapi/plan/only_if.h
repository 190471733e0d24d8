// SPDX-License-Identifier: Apache-2.0
// "only-if" on values: which runs a step or a line is for.
#ifndef FAPI_BENCH_PLAN_ONLY_IF_H
#define FAPI_BENCH_PLAN_ONLY_IF_H

#include <string>

#include "judge/condition.h"

namespace tool {

struct OnlyIf {
    Condition condition;
    std::string value;  // that is judged; may hold ${NAME}

    // Why the run is not meant; empty when it is. Throws UsageError when a value makes nonsense of the condition.
    std::string skips(const Variables& variables) const;
};

}  // namespace tool

#endif
