// SPDX-License-Identifier: Apache-2.0
// Start-up of the system module.
#include <gtest/gtest.h>

#include "a_vextvfapi_sys.h"
#include "support/set_fixture.h"

namespace {

class SysInit : public test::SetTest {};

TEST_F(SysInit, BringsUpAgain) {
    EXPECT_EQ(a_vextvfapi_sys_init(), 0);
    EXPECT_EQ(a_vextvfapi_sys_init(), 0) << "already initialised is success";
    vset::powerCycle();
    EXPECT_EQ(a_vextvfapi_sys_init(), 0);
    EXPECT_EQ(a_vextvfapi_sys_deinit(), 0);
}

}  // namespace
