// SPDX-License-Identifier: Apache-2.0
// Calls of the middleware that the library makes by contract although the chip refuses them. For the bench, and for
// tests of the library; a header alone, so that both can include it.
#ifndef FAPI_AGENT_ACTIONS_CONTRACT_REFUSALS_H
#define FAPI_AGENT_ACTIONS_CONTRACT_REFUSALS_H

#include <string_view>

#include "vset/vset.h"

namespace tool {

struct ContractRefusal {
    std::string_view operation;  // that makes the call or starts the thread that does, without "a_vextvfapi_"
    std::string_view call;
    long long result;
    std::string_view arguments;  // a part of the call's arguments; empty: any
    std::string_view reason;
};

// What follows only from a fault is among them where the library goes on by contract.
constexpr ContractRefusal kContractRefusals[] = {
    // What is stopped or closed without having been started or opened.
    {"prphrl_stop_factory_uart", "HW_UART_UnRegisterCallback", 7, "", "a stop unregisters also without a start"},
    {"prphrl_stop_keypad", "HW_SAR_UnRegisterCallback", 7, "handle=0x0", "a stop unregisters also without a start"},
    {"prphrl_stop_keypad", "HW_SAR_UnRegisterCallback", 3, "", "a stop unregisters also without a start"},
    {"net_close", "HW_NET_Close", 7, "", "the handle is kept after a close and closed again"},

    // The display's handle is closed as one of the display output.
    {"disp_get_frc_connect_status", "HW_DISPOUT_Close", 7, "", "the display's handle is closed as the output's"},
    {"disp_get_frc_device_info", "HW_DISPOUT_Close", 7, "", "the display's handle is closed as the output's"},
    {"disp_get_tcon_info", "HW_DISPOUT_Close", 7, "", "the display's handle is closed as the output's"},
    {"disp_upgrade_tarn_fw", "HW_DISPOUT_Close", 7, "", "the display's handle is closed as the output's"},
    {"disp_capture_screen_to_usb", "HW_DISPOUT_Close", 7, "", "the display's handle is closed as the output's"},
    {"_disp_capture_video_to_usb", "HW_DISPOUT_Close", 7, "", "the display's handle is closed as the output's"},

    // An older handle is used when none could be found or opened.
    {"sys_get_rtc_time", "HW_PM_GetRtcTime", 7, "", "an older handle is used when none can be obtained"},
    {"inpsrc_auto_gain_offset", "HW_EXTIN_AutoGainOffset", 7, "", "an older handle is used when none can be obtained"},
    {"inpsrc_get_adc_gain_offset", "HW_EXTIN_GetAttr", 7, "", "an older handle is used when none can be obtained"},
    {"inpsrc_get_adc_phase", "HW_EXTIN_GetAttr", 7, "", "an older handle is used when none can be obtained"},
    {"inpsrc_set_adc_gain_offset", "HW_EXTIN_SetAttr", 7, "", "an older handle is used when none can be obtained"},
    {"inpsrc_set_adc_phase", "HW_EXTIN_SetAttr", 7, "", "an older handle is used when none can be obtained"},

    // No handle is found out by the call that needs one.
    {"disp_set_output_timing", "HW_DISP_SetOutputTiming", 7, "handle=0x0", "the controller's look-up is not checked"},
    {"disp_capture_screen_to_usb", "HW_DISP_GetDispRect", 7, "handle=0x0", "the display's look-up is not checked"},
    {"_disp_capture_video_to_usb", "HW_DISP_GetDispRect", 7, "handle=0x0", "the display's look-up is not checked"},
    {"aud_set_volume_table", "HW_AOUT_SetAttr", 7, "handle=0x0", "a table is sent also without a handle of its path"},
    {"prphrl_set_mic_led", "HW_PM_SetAttr", 7, "", "a cycle goes on after another mode has closed the shared handle"},

    // What the chip has to say is asked by calling it, and there is another way.
    {"disptst_gen_gop_test_pattern_on", "HW_OS_AllocateIommuMemory", 0xA, "",
     "the canvas has a region of its own, too"},
    {"prphrl_start_adc", "HW_SAR_Open", 0xF, "", "a converter that is open is looked up then"},
    {"prphrl_get_sar_adc", "HW_SAR_Open", 0xF, "", "a converter that is open is looked up then"},
    {"net_set_mac", "HW_NET_DhcpOff", 3, "", "DHCP may be off already"},
    {"net_set_mac", "HW_NET_DhcpOn", 3, "", "DHCP may be on already"},
    {"prphrl_keypad_init", "HW_SYS_OpenConfigFile", 3, "path=\"\"", "a path that cannot be read is an empty one"},
    {"prphrl_start_keypad", "HW_SYS_OpenConfigFile", 3, "path=\"\"", "a path that cannot be read is an empty one"},
    {"prphrl_get_rc_format", "HW_SYS_OpenConfigFile", 3, "path=\"\"", "a path that cannot be read is an empty one"},

    // Null of the caller is handed on to the chip.
    {"sys_upgrade_fw", "HW_SYS_UpgradeFw", 8, "path=null", "a null path is handed on"},
    {"aud_set_volume_table", "HW_AOUT_SetAttr", 8, "=null", "null data are handed on"},
    {"prphrl_set_hdmi_edid_data", "HW_EXTIN_SetAttr", 8, "=null", "null data are handed on"},
};

// Returns why the library makes a call by contract that the chip refused, or an empty text. An empty operation stands
// for any: who starts a thread is not known when the thread calls.
inline std::string_view contractReason(const vset::Refusal& stRefusal, std::string_view operation = {}) {
    for (const ContractRefusal& row : kContractRefusals) {
        if ((operation.empty() || row.operation == operation) && row.call == stRefusal.strCall &&
            row.result == stRefusal.s64Result && stRefusal.strReason.empty() &&
            stRefusal.strArguments.find(row.arguments) != std::string::npos) {
            return row.reason;
        }
    }
    return {};
}

}  // namespace tool

#endif
