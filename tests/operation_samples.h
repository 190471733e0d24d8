// SPDX-License-Identifier: Apache-2.0
// Good calls of the operations, for tests that go through all of them.
#ifndef TESTS_OPERATION_SAMPLES_H
#define TESTS_OPERATION_SAMPLES_H

#include <cstddef>
#include <string>
#include <vector>

#include "operations/operation.h"
#include "support/set_fixture.h"
#include "target/arguments.h"

namespace test {

// When a sample calls the middleware.
enum class Calls {
    always,
    none,
    sometimes,      // when its thread comes to it, or while a device is in use: only allocations are made to fail
    refused,        // no good call; nothing is made to fail
    onFirstPowerOn  // with a handle that the library has for its life, and a set that was off loses
};

// One call of an operation, a good one if it is not said to be refused.
struct Sample {
    const char* pszOperation;
    std::vector<std::string> words;  // as the bench tool takes them
    // What the call needs, and what ends it.
    void (*before)() = nullptr;
    void (*after)() = nullptr;
    Calls eCalls = Calls::always;
    bool bThreadLogs = false;  // a thread of the operation's writes log lines when it comes to it
};

// At least one of each operation, apart from those that kept_run_test.cpp lists.
const std::vector<Sample>& samples();

// "a_vextvfapi_sys_check_file /data/file"
std::string nameWithWords(const Sample& stSample);

// Returns why an operation may succeed although a call of the middleware or an allocation has failed; nothing when it
// must not.
std::string reasonOfSuccess(const std::string& strOperation, const std::string& strCall, long long s64Result);

// A test that runs samples, each from the same state of the set.
class SampleTest : public SetTest {
protected:
    void prepare(const Sample& stSample);
    // Ends what the sample has begun; no thread may be left.
    void finish(const Sample& stSample) const;

private:
    int _s32Threads = 0;
};

}  // namespace test

#endif
