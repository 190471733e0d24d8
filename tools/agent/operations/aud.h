// SPDX-License-Identifier: Apache-2.0
// What the rows of the audio module share: calling, and telling what the chip holds then.
#ifndef FAPI_AGENT_OPERATIONS_AUD_H
#define FAPI_AGENT_OPERATIONS_AUD_H

#include <memory>
#include <utility>

#include "operations/chip_words.h"
#include "operations/operation.h"
#include "protocol/number_list.h"

namespace tool::aud {

// The words for what a call has set.
using ChipWords = std::string (*)(Call& call);

// As tool::changed().
long long changed(Call& call, int status, ChipWords words);

// Calls an operation that takes numbers by address. Each has storage of its own, so that a sanitizer sees a byte too
// many.
template <class... Numbers, std::size_t... indices>
int callByAddress(Call& call, int (*operation)(Numbers*...), std::index_sequence<indices...>) {
    return operation(std::make_unique<Numbers>(call.number<Numbers>(indices)).get()...);
}
template <class... Numbers>
int callByAddress(Call& call, int (*operation)(Numbers*...)) {
    return callByAddress(call, operation, std::index_sequence_for<Numbers...>());
}

template <auto operation, ChipWords words>
long long setByAddress(Call& call) {
    return changed(call, callByAddress(call, operation), words);
}

// A byte that switches.
Argument enable();

// A basic effect by name or number.
Argument basicEffect(const char* name, const char* help, long long max,
                     std::optional<std::string> byDefault = std::nullopt);

// An optional count: the rows of the list, unless another number is given.
Argument count(const char* name, const char* help, long long max);
long long countOr(long long count, const NumberList& rows);

// The rows of the basic effects.
std::vector<OperationRow> basicOperations();

}  // namespace tool::aud

#endif
