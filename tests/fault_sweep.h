// SPDX-License-Identifier: Apache-2.0
// The samples of the fault sweep.
#ifndef TESTS_FAULT_SWEEP_H
#define TESTS_FAULT_SWEEP_H

#include <cstddef>
#include <string>
#include <vector>

#include "operations/operation.h"
#include "support/set_fixture.h"
#include "target/arguments.h"

namespace test::sweep {

constexpr const char* kModules[] = {"sys", "aud", "common", "disp", "disptst", "info", "inpsrc", "net", "prphrl"};

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
    bool bThreadLogs = false;  // a thread of the operation's writes log lines when it comes to it
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

// Returns what a function answers when it fails, and 1 and HW_HAS_INITED, which some callers take for
// success.
std::vector<long long> failuresOf(const std::string& strCall);

// Returns why an operation may succeed although a call of the middleware or an allocation has failed; nothing when it
// must not.
std::string reasonOfSuccess(const std::string& strOperation, const std::string& strCall, long long s64Result);

// Calls `body` with each sample of a module's operations and the operation's row.
template <class Body>
void forEachSampleOf(const std::string& strModule, Body&& body) {
    for (const Sample& stSample : samples()) {
        const tool::OperationRow* pOperation = tool::findOperationRow(stSample.pszOperation);
        ASSERT_NE(pOperation, nullptr) << stSample.pszOperation;
        if (pOperation->module == strModule) {
            SCOPED_TRACE(stSample.pszOperation);
            body(stSample, *pOperation);
        }
    }
}

// Returns the values of the sample's words.
inline std::vector<tool::Value> argumentsOf(const tool::OperationRow& operation,
                                            const std::vector<std::string>& words) {
    std::vector<tool::Value> values = tool::parseWords(operation.arguments, words);
    operation.check(values, words);
    return values;
}

// "a_vextvfapi_sys_check_file /data/file"
std::string nameWithWords(const Sample& stSample);

// A test that runs samples, each from the same state of the set.
class SampleTest : public SetTest {
protected:
    void prepare(const Sample& stSample);
    // Ends what the sample has begun; no thread may be left.
    void finish(const Sample& stSample) const;

private:
    int _s32Threads = 0;
};

}  // namespace test::sweep

#endif
