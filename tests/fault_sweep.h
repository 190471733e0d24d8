// SPDX-License-Identifier: Apache-2.0
// The samples of the fault sweep.
#ifndef TESTS_FAULT_SWEEP_H
#define TESTS_FAULT_SWEEP_H

#include <cstddef>
#include <string>
#include <vector>

namespace test::sweep {

// When a sample calls the middleware.
enum class Calls {
    always,
    none,
    sometimes,      // when its thread comes to it, or while a device is in use: only allocations are made to fail
    onFirstPowerOn  // with a handle that the library has for its life, and a set that was off loses
};

// One good call of an operation.
struct Sample {
    const char* pszOperation;
    std::vector<std::string> words;  // as the bench tool takes them
    // What the call needs, and what ends it.
    void (*before)() = nullptr;
    void (*after)() = nullptr;
    Calls eCalls = Calls::always;
};

// Handles that operations leave open on purpose. A name may be followed by the sample's words.
struct LeftOpen {
    std::vector<std::string> operations;
    std::size_t handles;               // by a success
    int s32Descriptors;                // by a success
    const char* pszFamiliesOnFailure;  // whose handles a failure leaves, with blanks between them
    const char* pszReason;
};

struct NotSwept {
    std::vector<std::string> operations;
    const char* pszReason;
};

// At least one of each operation, apart from those that are not swept.
const std::vector<Sample>& samples();

const std::vector<LeftOpen>& leftOpen();
const std::vector<NotSwept>& notSwept();

}  // namespace test::sweep

#endif
