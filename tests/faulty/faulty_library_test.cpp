// SPDX-License-Identifier: Apache-2.0
// Faulty libraries: each makes a shipped plan fail, at the step that looks at what is wrong.
#include <algorithm>
#include <cctype>
#include <ostream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/plan_fixture.h"

namespace {

struct Row {
    std::string fault;  // as faulty_calls.cpp names it
    std::string plan;
    std::string words;  // of the first failed step, or of its refused calls; empty: all steps pass
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.words;
}

const Row rows[] = {
    // Calls that are left out.
    {"omit HW_CAP_DisconnectInput", "panel", "no call HW_CAP_DisconnectInput"},
    {"omit HW_DISP_ApplySetting", "inputs", "no call HW_DISP_ApplySetting"},
    {"omit HW_DISP_SetMute", "inputs", "no call HW_DISP_SetMute"},
    {"omit HW_FS_Sync", "panel", "no call HW_FS_Sync"},
    {"omit HW_FS_Init", "factory-line", "no call HW_FS_Init"},
    {"omit HW_IR_Init", "board", "no call HW_IR_Init"},
    {"omit HW_OS_FreeIommuMemory", "panel", "no call HW_OS_FreeIommuMemory"},
    {"omit HW_OSD_Init", "panel", "no call HW_OSD_Init"},
    {"omit HW_OSD_SurfaceUnlock", "panel", "destroys a locked surface"},
    {"omit HW_OSD_WindowSetZOrder", "panel", "no call HW_OSD_WindowSetZOrder"},
    {"omit HW_PM_Init", "serial", "refusals is 2"},
    {"omit HW_SAR_ConfigMode", "board", "no call HW_SAR_ConfigMode"},
    {"omit HW_UART_SetBaudrate", "serial", "no call HW_UART_SetBaudrate"},
    {"omit HW_UART_UnRegisterCallback", "serial", "no call HW_UART_UnRegisterCallback"},
    {"vif-step1-only", "inputs", "initialised 0 times"},
    // Handles that stay open, are closed twice or as another family's, or belong to the player.
    {"omit HW_DISPOUT_Close", "inputs", "no call HW_DISPOUT_Close"},
    {"omit HW_EXTIN_Close", "inputs", "open is 1"},
    {"omit HW_FLASH_Close", "storage", "no call HW_FLASH_Open"},
    {"omit HW_GPIO_Close", "board", "open is 1"},
    {"omit HW_IIC_Close", "board", "no call HW_IIC_Close"},
    {"omit HW_OSD_SurfaceDestroy", "panel", "no call HW_OSD_SurfaceDestroy"},
    {"omit HW_PWM_Close", "board", "no call HW_PWM_Close"},
    {"double-close", "board", "refused HW_SYS_CloseConfigFile"},
    {"double-close", "inputs", "refused HW_EXTIN_Close"},
    {"double-close", "panel", "refused HW_OSD_SurfaceDestroy"},
    {"double-close", "sound", "refused HW_AOUT_Close"},
    {"double-close", "storage", "refused HW_FLASH_Close"},
    {"close-as-other", "inputs", "refused HW_PWM_Close"},
    {"close-as-other", "sound", "refused HW_PWM_Close"},
    {"close-as-other", "storage", "refused HW_PWM_Close"},
    {"close-players-controller", "inputs", "refused HW_DISP_CloseController"},
    {"close-players-output", "inputs", "refused HW_DISPOUT_Close"},
    // Arguments and records of the board.
    {"config-data", "board", "refused HW_SYS_GetConfigData"},
    {"config-length", "board", "refused HW_SYS_GetConfigData"},
    {"flash-name", "storage", "refused HW_FLASH_GetHandle"},
    {"hpd-flag", "board", "HW_EXTIN_SetAttr"},
    {"hpd-level", "board", "hotplug is 1"},
    {"iic-buffer", "board", "HW_IIC_Read"},
    {"iic-mode", "board", "came HW_IIC_Read"},
    {"ini-capitals", "board", "value is"},
    {"read-input", "board", "HW_EXTIN_GetAttr"},
    {"read-input", "storage", "refused HW_WDT_GetAttr"},
    {"sar-bounds", "board", "bounds is"},
    {"sar-thresholds", "board", "0 threshold 0x2a"},
    {"unregister-function", "serial", "refused HW_UART_UnRegisterCallback"},
    {"unregister-mask", "board", "HW_SAR_UnRegisterCallback"},
    {"unregister-reserved", "serial", "refused HW_UART_UnRegisterCallback"},
    {"wdt-attribute", "storage", "status is 0"},
    {"wrong-baud", "serial", "no call HW_UART_SetBaudrate baudRate=4"},
    // ... of sound and display.
    {"bypass-flag", "sound", "HW_AOUT_SetAttr"},
    {"enable-flag", "inputs", "HW_DISP_SetPictureParam"},
    {"iommu-words", "panel", "no call HW_OS_AllocateIommuMemory"},
    {"layer-first", "panel", "no call HW_OSD_LayerHide after HW_OSD_WindowHide"},
    {"mute-flag", "inputs", "refused HW_DISP_SetMute"},
    {"no-align", "panel", "HW_OSD_SurfaceCreate(width=112 height=50 pitch=448"},
    {"overscan-sides", "inputs", "top 1"},
    {"pattern-flag", "panel", "HW_DISP_SetAttr"},
    {"rect-base", "inputs", "no call HW_DISP_SetInputRect"},
    {"sel9-first", "panel", "no call HW_DISP_SetAttr mode=5"},
    // The same object without a fault. A PC has one factory daemon, so the board's plan is left to the tests of the
    // board.
    {"none", "factory-line", ""},
    {"none", "inputs", ""},
    {"none", "panel", ""},
    {"none", "serial", ""},
    {"none", "sound", ""},
    {"none", "storage", ""},
};

class FaultyLibrary : public test::PlanTest, public testing::WithParamInterface<Row> {};

TEST_P(FaultyLibrary, IsNoticed) {
    const auto& [fault, plan, words] = GetParam();
    const test::ProcessResult result =
        test::runProcess({"/usr/bin/env", "LD_PRELOAD=" FAULTY_CALLS, "FAPI_FAULTY=" + fault, FAPI_BINARY, "--set",
                          set(), "--yes", "run", "--report", reports(), FAPI_PLANS "/" + plan + ".plan"});
    EXPECT_EQ(result.s32Exit, words.empty() ? 0 : 1) << result.strOutput << result.strError;
    const nlohmann::json json = report();
    for (const auto& step : json["steps"]) {
        if (step["verdict"] != "passed") {
            EXPECT_THAT(step["text"].get<std::string>() + step["refusals"].dump(), testing::HasSubstr(words));
            break;
        }
    }
}

// Returns "double_close_in_storage".
std::string nameOf(const testing::TestParamInfo<Row>& info) {
    std::string name = info.param.fault + "_in_" + info.param.plan;
    std::replace_if(
        name.begin(), name.end(), [](unsigned char letter) { return std::isalnum(letter) == 0; }, '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(Plans, FaultyLibrary, testing::ValuesIn(rows), nameOf);

}  // namespace
