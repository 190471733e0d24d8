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

TEST_F(SysInit, EachFamilyMayRefuse) {
    const struct {
        const char* pszCall;
        int s32Code;
        int s32Status;
        const char* pszLastCall;
    } kRows[] = {
        {"HW_SYS_Init", 1, 0, "HW_WDT_Init"},    {"HW_SYS_Init", 2, 0, "HW_WDT_Init"},
        {"HW_SYS_Init", 3, -1, "HW_SYS_Init"},   {"HW_FLASH_Init", 2, 0, "HW_WDT_Init"},
        {"HW_FLASH_Init", 1, -1, "HW_WDT_Init"}, {"HW_FS_Init", 2, 0, "HW_WDT_Init"},
        {"HW_FS_Init", 0xA, -1, "HW_WDT_Init"},  {"HW_WDT_Init", 2, 0, "HW_WDT_Init"},
        {"HW_WDT_Init", 1, -1, "HW_WDT_Init"},
    };
    // The families are up already: what a family answers without a fault is then success.
    ASSERT_EQ(a_vextvfapi_sys_init(), 0);
    for (const auto& stRow : kRows) {
        SCOPED_TRACE(std::string(stRow.pszCall) + " answers " + std::to_string(stRow.s32Code));
        vset::clearJournal();
        vset::inject({stRow.pszCall, stRow.s32Code});
        EXPECT_EQ(a_vextvfapi_sys_init(), stRow.s32Status);
        EXPECT_EQ(calls().back(), stRow.pszLastCall);
        vset::clearFaults();
    }
}

}  // namespace
