// SPDX-License-Identifier: Apache-2.0
// Declarations that the sources of the external inputs share.
#ifndef VSET_EXTIN_INPUTS_H
#define VSET_EXTIN_INPUTS_H

#include <optional>
#include <string>

#include "hw3/hw_extin.h"
#include "vset/extin.h"

namespace vset {

struct ExtinInput {
    HW_U32 u32Type;
    HW_U32 u32Index;
};

// --- hw_extin.cpp ----------------------------------------------------------------------------------------------------

// Returns the key of an input's handle.
std::uint64_t keyOf(const ExtinInput& input);

// Returns "input 0 of type 2".
std::string nameOf(const ExtinInput& input);

// Returns the input of an open handle.
std::optional<ExtinInput> openInput(HW_Handle_t hExtin);

// Runs `body` on the input of an open handle, for a record that the caller must have given.
template <class Body>
HW_Result_t withInput(HW_Handle_t hExtin, const void* pRecord, Body&& body) {
    const std::optional<ExtinInput> input = openInput(hExtin);
    if (!input) {
        return HW_ERR_INVALID_HANDLE;
    }
    return pRecord != nullptr ? body(*input) : HW_Result_t{HW_ERR_INVALID_PARAMETER};
}

// Throws SetError when there is no such input.
void requireInput(const ExtinInput& input);

// --- hw_extin_signal.cpp ---------------------------------------------------------------------------------------------

std::optional<extin::Source> sourceOf(const ExtinInput& input);

// Set and get timing and calibration. HW_ERR_NOT_SUPPORT for other attributes and for inputs that have none.
HW_Result_t setSignalAttr(const ExtinInput& input, HW_U32 u32Attr, const void* pParam);
HW_Result_t getSignalAttr(const ExtinInput& input, HW_U32 u32Attr, void* pOutput);

}  // namespace vset

#endif
