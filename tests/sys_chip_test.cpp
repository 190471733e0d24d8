// SPDX-License-Identifier: Apache-2.0
// Watchdog, memory clock spread, firmware, registers and the real-time clock. The library keeps the watchdog's handle
// for the life of the process, so every test needs one of its own.
#include <atomic>
#include <ctime>

#include <gmock/gmock.h>

#include "a_vextvfapi_sys.h"
#include "hw3/hw_wdt.h"
#include "support/emulation.h"
#include "support/library_fixture.h"
#include "support/log_capture.h"
#include "support/waiting.h"
#include "vset/pm.h"
#include "vset/sys.h"
#include "vset/wdt.h"

namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

unsigned char* text(const char* pszText) {
    return reinterpret_cast<unsigned char*>(const_cast<char*>(pszText));
}

// --- Watchdog --------------------------------------------------------------------------------------------------------

// The module keeps its handle as long as its process lives.
class Watchdog : public test::LibraryTest {
protected:
    // Sets the timer as another program does.
    static HW_Result_t setTimer(HW_U32 u32Seconds) {
        static HW_Handle_t hWdt = HW_HANDLE_NONE;
        const HW_WDT_HandleParams_t stQuery = {};
        HW_WDT_GetHandle(&stQuery, &hWdt);
        const HW_WDT_Timer_t stTimer = {u32Seconds};
        return HW_WDT_SetAttr(hWdt, E_HW_WDT_ATTR_SET_TIMER_SEC, &stTimer);
    }
};

TEST_F(Watchdog, IsStartedAndStopped) {
    SKIP_UNDER_EMULATION();
    inFreshProcess([&] {
        EXPECT_EQ(a_vextvfapi_sys_get_wdt_status(), 0) << "it does not run";
        ASSERT_EQ(setTimer(60), HW_OK);
        EXPECT_EQ(a_vextvfapi_sys_get_wdt_status(), 1) << "this library has not stopped it";
        vset::inject({"HW_WDT_GetAttr", HW_OK});
        EXPECT_EQ(a_vextvfapi_sys_get_wdt_status(), 0) << "neither running nor stopped is not running";
        EXPECT_EQ(a_vextvfapi_sys_set_wdt(200), 0);
        EXPECT_EQ(vset::wdt::state().u32Seconds, 5u);
        EXPECT_EQ(a_vextvfapi_sys_get_wdt_status(), 1);
        EXPECT_EQ(a_vextvfapi_sys_set_wdt(0), 0);
        EXPECT_EQ(vset::wdt::state().u32Seconds, 0u);
        EXPECT_EQ(a_vextvfapi_sys_get_wdt_status(), 0);

        // Once stopped by this library it counts as stopped, even if the chip says otherwise.
        EXPECT_EQ(a_vextvfapi_sys_set_wdt(1), 0);
        vset::inject({"HW_WDT_SetAttr"});
        EXPECT_EQ(a_vextvfapi_sys_set_wdt(0), -1);
        EXPECT_EQ(vset::wdt::state().u32Seconds, 5u);
        EXPECT_EQ(a_vextvfapi_sys_get_wdt_status(), 0);
        vset::inject({"HW_WDT_SetAttr"});
        EXPECT_EQ(a_vextvfapi_sys_set_wdt(1), -1);
        EXPECT_EQ(a_vextvfapi_sys_get_wdt_status(), 1) << "the order counts, although it was refused";
    });
}

TEST_F(Watchdog, AStartAcknowledgesTheReboot) {
    SKIP_UNDER_EMULATION();
    inFreshProcess([&] {
        const auto start = [] { EXPECT_EQ(a_vextvfapi_sys_set_wdt(1), 0); };
        EXPECT_THAT(test::logOf(start), Not(HasSubstr("WDT Reboot")));
        vset::wdt::setRebooted(true);
        EXPECT_THAT(test::logOf(start), HasSubstr("WDT Reboot\n\n"));
        EXPECT_FALSE(vset::wdt::state().bRebooted);
        // A reason that cannot be read counts as one.
        vset::inject({"HW_WDT_GetAttr"});
        EXPECT_THAT(test::logOf(start), HasSubstr("WDT Reboot\n\n"));
    });
}

TEST_F(Watchdog, ASetMayBeWithout) {
    inFreshProcess([&] {
        vset::wdt::setPresent(false);
        EXPECT_EQ(a_vextvfapi_sys_set_wdt(1), -1);
        EXPECT_EQ(a_vextvfapi_sys_get_wdt_status(), 0);
        EXPECT_EQ(_a_vextvfapi_sys_get_wdt_handle(), -1);
        vset::wdt::setPresent(true);
        EXPECT_EQ(_a_vextvfapi_sys_get_wdt_handle(), 0);
        vset::clearJournal();
        EXPECT_EQ(_a_vextvfapi_sys_get_wdt_handle(), 0);
        EXPECT_THAT(calls(), IsEmpty()) << "the handle is kept";
    });
}

TEST_F(Watchdog, RebootsTheSetUnlessItIsStartedAgain) {
    refuses("HW_WDT_GetAttr");
    SKIP_UNDER_EMULATION();
    inFreshProcess([&] {
        const unsigned int u32Boots = vset::bootCount();
        ASSERT_EQ(a_vextvfapi_sys_set_wdt(1), 0);
        ASSERT_TRUE(test::eventually([] { return vset::wdt::state().remaining < 4; }));
        ASSERT_EQ(a_vextvfapi_sys_set_wdt(1), 0);
        EXPECT_GT(vset::wdt::state().remaining, 4) << "it was started again in time";
        ASSERT_EQ(setTimer(1), HW_OK);
        EXPECT_TRUE(test::eventually([&] { return vset::bootCount() == u32Boots + 1; }));
        EXPECT_TRUE(vset::wdt::state().bRebooted);
        EXPECT_EQ(vset::wdt::state().u32Seconds, 0u);
        EXPECT_THAT(calls(), Contains("WATCHDOG_REBOOT"));
        EXPECT_EQ(a_vextvfapi_sys_get_wdt_status(), 0) << "the handle is dead";
        // The reason is still there after another power cycle and in the next process.
        vset::detach();
        vset::attach(folder());
        EXPECT_TRUE(vset::wdt::state().bRebooted);
    });
}

TEST_F(Watchdog, AHostProgramMayDieInItsOwnWay) {
    SKIP_UNDER_EMULATION();
    std::atomic<bool> bDied{false};
    vset::wdt::onReboot([&] { bDied = true; });
    const unsigned int u32Boots = vset::bootCount();
    ASSERT_EQ(setTimer(1), HW_OK);
    EXPECT_TRUE(test::eventually([&] { return bDied && vset::wdt::state().bRebooted; }));
    EXPECT_EQ(vset::bootCount(), u32Boots);
    vset::wdt::onReboot(nullptr);
}

// --- Firmware --------------------------------------------------------------------------------------------------------

class Chip : public test::LibraryTest {};

TEST_F(Chip, FlashesFirmwareFromAFile) {
    write("/mnt/usb/fw.bin", "firmware");
    EXPECT_EQ(a_vextvfapi_sys_upgrade_fw(1, text("/mnt/usb/fw.bin")), 0);
    ASSERT_EQ(vset::sys::flashedFirmware().size(), 1u);
    EXPECT_EQ(vset::sys::flashedFirmware()[0].strPath, "/mnt/usb/fw.bin");
    EXPECT_EQ(vset::sys::flashedFirmware()[0].u32Crc32, 0xD5ECD7C4u);
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_sys_upgrade_fw(0, nullptr), -2); }),
                AllOf(HasSubstr("update the enFwType:0, src from: (null) - \n"), HasSubstr("success.\n\n")));
    EXPECT_EQ(_a_vextvfapi_sys_convert_fw_type(255), 2);
}

// --- Registers -------------------------------------------------------------------------------------------------------

TEST_F(Chip, ReadsAndWritesRegisters) {
    unsigned int u32Value = 77;
    EXPECT_EQ(a_vextvfapi_sys_read_reg(0x1012, 0x40, &u32Value), 0);
    EXPECT_EQ(u32Value, 0u) << "it was never written";
    EXPECT_EQ(a_vextvfapi_sys_write_reg(0x1012, 0x40, 0xDEADBEEF), 0);
    EXPECT_EQ(a_vextvfapi_sys_write_reg(0x1012, 0x41, 1), 0);
    EXPECT_EQ(vset::sys::readRegister(0x1012, 0x40), 0xDEADBEEFu);
    EXPECT_EQ(a_vextvfapi_sys_read_reg(0x1012, 0x40, &u32Value), 0);
    EXPECT_EQ(u32Value, 0xDEADBEEFu);
    EXPECT_EQ(a_vextvfapi_sys_read_reg(0, 0, nullptr), -1);
    EXPECT_THAT(test::logOf([] {
                    vset::inject({"hw_sys_ReadReg"});
                    EXPECT_EQ(a_vextvfapi_sys_read_reg(0x1012, 0x40, nullptr), -1);
                }),
                HasSubstr("hw_sys_ReadReg 0 fail\n\n"));
}

// --- Real-time clock -------------------------------------------------------------------------------------------------

TEST_F(Chip, ReportsTheTime) {
    unsigned int u32Seconds = 0;
    EXPECT_EQ(a_vextvfapi_sys_get_rtc_time(&u32Seconds), 0);
    EXPECT_NEAR(static_cast<double>(u32Seconds), static_cast<double>(std::time(nullptr)), 3.0);
    // Neither found nor opened, and the handle of the call before is closed.
    vset::inject({"HW_PM_Open"});
    EXPECT_EQ(a_vextvfapi_sys_get_rtc_time(&u32Seconds), -1);
    EXPECT_EQ(calls().back(), "HW_PM_Open");
    vset::pm::setClock(1000);
    vset::powerCycle();
    ASSERT_EQ(a_vextvfapi_sys_init(), 0);
    EXPECT_EQ(a_vextvfapi_sys_get_rtc_time(&u32Seconds), 0);
    EXPECT_GE(u32Seconds, 1000u);
    EXPECT_LE(u32Seconds, 1003u);
    EXPECT_EQ(a_vextvfapi_sys_get_rtc_time(nullptr), 0);
    EXPECT_THAT(opened(), IsEmpty());
    vset::pm::hold();
    EXPECT_EQ(a_vextvfapi_sys_get_rtc_time(&u32Seconds), 0);
    EXPECT_EQ(opened().size(), 1u) << "the player's handle stays open";
}

TEST_F(Chip, TheClockMayFail) {
    refuses("HW_PM_Open");
    inFreshProcess([&] {
        leavesOpen("HW_PM");
        unsigned int u32Seconds = 77;
        vset::inject({"HW_PM_Open"});
        EXPECT_EQ(a_vextvfapi_sys_get_rtc_time(&u32Seconds), -1) << "none was ever opened";
        vset::inject({"HW_PM_GetRtcTime"});
        EXPECT_EQ(a_vextvfapi_sys_get_rtc_time(&u32Seconds), -1);
        EXPECT_EQ(opened().size(), 1u) << "a handle that was opened stays so";
        EXPECT_EQ(u32Seconds, 77u);
        EXPECT_EQ(a_vextvfapi_sys_get_rtc_time(&u32Seconds), 0) << "the next call finds it";
        // When neither look-up nor open works, the old handle is tried, which works as long as it is open.
        vset::inject({"HW_PM_GetHandle"});
        EXPECT_EQ(a_vextvfapi_sys_get_rtc_time(&u32Seconds), 0);
        vset::powerCycle();
        ASSERT_EQ(a_vextvfapi_sys_init(), 0);
        vset::inject({"HW_PM_Open"});
        EXPECT_EQ(a_vextvfapi_sys_get_rtc_time(&u32Seconds), -1) << "and is refused when it is dead";
    });
}

}  // namespace
