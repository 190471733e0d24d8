// SPDX-License-Identifier: Apache-2.0
// What an argument of an operation or an action takes, by its description.
#ifndef FAPI_PROTOCOL_ARGUMENT_H
#define FAPI_PROTOCOL_ARGUMENT_H

#include <optional>
#include <string>

#include "protocol/description.h"

namespace tool {

// Returns the number that the word is for an argument which is one in the call: of a flag, a choice, a color. Nothing
// when it is none.
std::optional<long long> numberFor(const Argument& argument, const std::string& word);

// Says whether the argument takes the value, whose kind it has.
bool takes(const Argument& argument, long long number);
bool takes(const Argument& argument, const std::string& text);
bool takes(const Argument& argument, const Bytes& bytes);

}  // namespace tool

#endif
