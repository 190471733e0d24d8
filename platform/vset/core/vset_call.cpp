// SPDX-License-Identifier: Apache-2.0
// Functions without a model.
#include "vset_call.h"

namespace vset {

HW_Result_t unmodelled(const char* pszCall, HW_Result_t u32Failure) {
    return call(pszCall, {}, [&]() -> HW_Result_t {
        std::fprintf(stderr, "virtual set: %s is not initialised: this family has no model yet\n", pszCall);
        return u32Failure;
    });
}

}  // namespace vset
