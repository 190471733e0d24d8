// SPDX-License-Identifier: Apache-2.0
// "only-if" on values.
#include "plan/only_if.h"

namespace tool {

std::string OnlyIf::skips(const Variables& variables) const {
    const Judgement judgement = judge(condition, Value(substitute(value, variables)), variables);
    return isBad(judgement.verdict) ? "only if " + condition.subject + " fits: " + judgement.text : "";
}

}  // namespace tool
