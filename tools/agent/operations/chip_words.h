// SPDX-License-Identifier: Apache-2.0
// Operations that change the chip tell what it holds then.
#ifndef FAPI_AGENT_OPERATIONS_CHIP_WORDS_H
#define FAPI_AGENT_OPERATIONS_CHIP_WORDS_H

#include "operations/operation.h"
#include "vset/vset.h"

namespace tool {

// Such an operation has this output.
inline Output chip() {
    return {"chip", "what the chip holds now of that"};
}

// The status of an operation that has changed the chip when it is 0; then what `words` answers is put out.
template <class Words>
long long changed(Call& call, int status, Words&& words) {
    if (status == 0 && !vset::folder().empty()) {
        call.out("chip", words());
    }
    return status;
}

}  // namespace tool

#endif
