// SPDX-License-Identifier: Apache-2.0
// The control API of the driver layer (in libdval, not in libhw3). All functions throw SetError when no set is
// attached. Switching on forgets everything.
#ifndef VSET_DVAL_H
#define VSET_DVAL_H

#include <map>
#include <optional>

#include "dval/dvvdo.h"
#include "vset/vset.h"

namespace vset::dval {

struct Drivers {
    std::map<std::uint32_t, std::uint32_t> arguments;  // DVVDO_Arg_e -> the value that was set last
    std::optional<DVVDO_OverScan_t> overScan;          // as it was set last
    std::uint64_t u64Resets = 0;                       // how often the drivers were made to read their parameters
};
VSET_API Drivers drivers();

}  // namespace vset::dval

#endif
