// SPDX-License-Identifier: Apache-2.0
// Start-up of the system module.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "a_vextvfapi_common.h"
#include "a_vextvfapi_sys.h"
#include "support/log_capture.h"
#include "support/set_fixture.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class SysInit : public test::SetTest {};

TEST_F(SysInit, BringsUpInOrderAndAgain) {
    EXPECT_EQ(a_vextvfapi_sys_init(), 0);
    EXPECT_THAT(calls(),
                ElementsAre("HW_FS_Open", "HW_FS_Close", "HW_SYS_Init", "HW_FLASH_Init", "HW_FS_Init", "HW_WDT_Init"));
    EXPECT_EQ(a_vextvfapi_sys_init(), 0) << "already initialised is success";
    vset::powerCycle();
    EXPECT_EQ(a_vextvfapi_sys_init(), 0);
    EXPECT_EQ(a_vextvfapi_sys_deinit(), 0);
}

struct InitRow {
    const char* pszCall;
    int s32Code;
    int s32Status;
    const char* pszText;  // empty: silent
    const char* pszLastCall;
};

TEST_F(SysInit, EachFamilyMayRefuse) {
    const InitRow kRows[] = {
        {"HW_SYS_Init", 1, 0, "", "HW_WDT_Init"},
        {"HW_SYS_Init", 2, 0, "", "HW_WDT_Init"},
        {"HW_SYS_Init", 3, -1, "", "HW_SYS_Init"},
        {"HW_FLASH_Init", 2, 0, "", "HW_WDT_Init"},
        {"HW_FLASH_Init", 1, -1, "\033[31m Error 0x1: failed to HW_FLASH_Init(...)!\033[m\n\n", "HW_WDT_Init"},
        {"HW_FS_Init", 0xA, -1, "\033[31m Error 0xa: failed to HW_FS_Init(...)!\033[m\n\n", "HW_WDT_Init"},
        {"HW_WDT_Init", 2, 0, "", "HW_WDT_Init"},
        {"HW_WDT_Init", 0xF, -1, "\033[31m Error 0xf: failed to HW_WDT_Init(...)!\033[m\n\n", "HW_WDT_Init"},
    };
    // The families are up already: what a family answers without a fault is then success.
    ASSERT_EQ(a_vextvfapi_sys_init(), 0);
    for (const InitRow& stRow : kRows) {
        SCOPED_TRACE(std::string(stRow.pszCall) + " answers " + std::to_string(stRow.s32Code));
        vset::clearFaults();
        vset::inject({stRow.pszCall, stRow.s32Code});
        const std::string strLog = test::logOf([&] { EXPECT_EQ(a_vextvfapi_sys_init(), stRow.s32Status); });
        if (*stRow.pszText == '\0') {
            EXPECT_THAT(strLog, testing::Not(HasSubstr("failed to HW_")));
        } else {
            EXPECT_THAT(strLog,
                        HasSubstr(std::string("VexTvFApiSystem(imp) [E] <a_vextvfapi_sys_init> ") + stRow.pszText));
        }
        vset::clearFaults();
        vset::clearJournal();
        vset::inject({stRow.pszCall, stRow.s32Code});
        a_vextvfapi_sys_init();
        EXPECT_EQ(calls().back(), stRow.pszLastCall);
    }
}

}  // namespace
