// SPDX-License-Identifier: Apache-2.0
// Calls of the middleware with a record written in place, and a set whose system is up.
#ifndef TESTS_SUPPORT_MIDDLEWARE_CALLS_H
#define TESTS_SUPPORT_MIDDLEWARE_CALLS_H

#include <type_traits>

#include "hw3/hw_sys.h"
#include "support/set_fixture.h"

namespace test {

// Calls an Init with a blank record.
template <class Params>
HW_Result_t init(HW_Result_t (*pInit)(const Params*)) {
    const Params stParams = {};
    return pInit(&stParams);
}

// Calls a GetHandle or an Open.
template <class Params>
HW_Result_t ask(HW_Result_t (*pCall)(const Params*, HW_Handle_t*), const std::common_type_t<Params>& stParams,
                HW_Handle_t* phHandle) {
    return pCall(&stParams, phHandle);
}

// Returns the handle of a GetHandle or an Open, which must succeed.
template <class Params>
HW_Handle_t handleOf(HW_Result_t (*pCall)(const Params*, HW_Handle_t*), const std::common_type_t<Params>& stParams) {
    HW_Handle_t hHandle = HW_HANDLE_NONE;
    EXPECT_EQ(pCall(&stParams, &hHandle), HW_OK);
    return hHandle;
}

class RunningTest : public MiddlewareTest {
protected:
    void SetUp() override {
        MiddlewareTest::SetUp();
        ASSERT_EQ(HW_SYS_Init(nullptr), HW_OK);
    }
};

}  // namespace test

#endif
