// SPDX-License-Identifier: Apache-2.0
// What the fault sweep allows, and why: handles that stay open, operations that are not swept, and successes although a
// call has failed.
#include <algorithm>
#include <cstring>
#include <iterator>
#include <sstream>

#include "fault_sweep.h"
#include "hw3/hw_aout.h"
#include "hw3/hw_types.h"

namespace test::sweep {

namespace {

// Handles that stay open on purpose, and why.
const std::vector<LeftOpen> kLeftOpen = {
    {{"_a_vextvfapi_sys_get_flash_handle", "_a_vextvfapi_prphrl_get_hdmi_handle", "_a_vextvfapi_disp_get_disp_handle",
      "_a_vextvfapi_disp_get_disp_handle_by_win_idx", "_a_vextvfapi_inpsrc_get_vga_handle",
      "_a_vextvfapi_inpsrc_get_ypbpr_handle"},
     1,
     0,
     "",
     "the handle is what the caller wants, and his to close"},
    {{"a_vextvfapi_prphrl_keypad_init", "a_vextvfapi_prphrl_start_keypad", "a_vextvfapi_prphrl_start_adc",
      "a_vextvfapi_prphrl_get_sar_adc"},
     1,
     0,
     "",
     "acquired once, for the life of the process"},
    {{"a_vextvfapi_prphrl_start_factory_uart"}, 1, 0, "", "until it is stopped"},
    {{"a_vextvfapi_prphrl_std_factory_uart_start"}, 0, 1, "", "until it is stopped"},
    {{"a_vextvfapi_prphrl_enable_iic", "a_vextvfapi_prphrl_read_from_iic", "a_vextvfapi_prphrl_write_to_iic"},
     1,
     0,
     "",
     "until the bus is disabled"},
    {{"a_vextvfapi_prphrl_gpio_monitor_start"}, 1, 0, "", "while the pad is watched"},
    {{"a_vextvfapi_net_open"}, 1, 0, "", "until the network is closed"},
    {{"a_vextvfapi_aud_open"}, HW_AOUT_PATH_COUNT, 0, "", "all paths, until they are closed"},
    {{"a_vextvfapi_disptst_gen_gop_test_pattern_on", "a_vextvfapi_disptst_gen_gop_test_pattern_by_bmp"},
     1,
     0,
     "HW_OSD HW_OSD_WINDOW HW_OSD_SURFACE",
     "until the canvas is taken away, which takes what a failure has left, too"},
    {{"a_vextvfapi_inpsrc_check_vd_signal_locked", "_a_vextvfapi_inpsrc_check_vd_signal_locked",
      "a_vextvfapi_inpsrc_set_factory_vd_para", "a_vextvfapi_inpsrc_get_factory_vd_para"},
     1,
     0,
     "",
     "a decoder that is closed forgets its setting"},
    {{"a_vextvfapi_inpsrc_vif_init"}, 1, 0, "", "the tuner goes on with what was set"},
    {{"a_vextvfapi_disp_get_pq_range"}, 1, 0, "", "the module's window, which its other operations find"},
    {{"a_vextvfapi_disp_panel_get_attr 3", "a_vextvfapi_disp_get_tcon_info", "a_vextvfapi_disp_get_frc_device_info",
      "a_vextvfapi_disp_get_frc_connect_status", "a_vextvfapi_disp_upgrade_tarn_fw"},
     1,
     0,
     "",
     "the line's later steps are to meet an output that is up"},
    {{"a_vextvfapi_disp_capture_screen_to_usb", "_a_vextvfapi_disp_capture_video_to_usb"},
     0,
     0,
     "HW_OSD_SURFACE HW_CAP HW_DISP",
     "a capture that fails leaves what it has made until then"},
    {{"a_vextvfapi_sys_get_rtc_time"},
     0,
     0,
     "HW_PM",
     "a clock that cannot be read leaves its handle to the next reading"},
    {{"a_vextvfapi_aud_adv_snd_enable",
      "a_vextvfapi_aud_adv_snd_enable_sub",
      "a_vextvfapi_aud_adv_snd_set_param",
      "a_vextvfapi_aud_adv_snd_set_dolby_dap_param",
      "a_vextvfapi_aud_dts_bypass",
      "a_vextvfapi_aud_get_attr",
      "a_vextvfapi_aud_adv_set_prescale",
      "a_vextvfapi_aud_adv_set_NR",
      "a_vextvfapi_aud_adv_set_peq_q_value",
      "a_vextvfapi_aud_adv_set_peq_freq_value",
      "a_vextvfapi_aud_adv_set_peq_gain_value",
      "a_vextvfapi_aud_adv_set_peq_value",
      "a_vextvfapi_aud_adv_enable_basic_sound_effect",
      "a_vextvfapi_aud_basic_snd_set_param",
      "a_vextvfapi_aud_adv_set_speaker_delay",
      "a_vextvfapi_aud_adv_get_speaker_delay",
      "a_vextvfapi_aud_adv_set_volume",
      "a_vextvfapi_aud_adv_get_volume",
      "a_vextvfapi_aud_set_volume_table",
      "a_vextvfapi_aud_load_aq_params"},
     0,
     0,
     "HW_AOUT",
     "paths are closed by the next success only"},
};

// Operations that are not called alone, and why.
const std::vector<NotSwept> kNotSwept = {
    {{"_a_vextvfapi_prphrl_create_pipe_file"}, "waits for a writer"},
    {{"a_vextvfapi_sys_send_cmd_to_factory_svc"}, "a socket of which a PC has one, and no allocation"},
    {{"_a_vextvfapi_prphrl_setBlocking", "_a_vextvfapi_prphrl_setInterfaceAttr", "_a_vextvfapi_prphrl_uartOpen",
      "_a_vextvfapi_prphrl_uartRead", "_a_vextvfapi_prphrl_uartWrite", "_a_vextvfapi_prphrl_uartWritestr"},
     "calls of the kernel alone, on the standard link's tty"},
    {{"_a_vextvfapi_prphrl_set_hdmi_hpd", "_a_vextvfapi_inpsrc_get_src_by_extin_handle",
      "_a_vextvfapi_disp_get_on_screen_input", "_a_vextvfapi_disptst_connect_disp"},
     "its handle comes from another operation, which calls it"},
};

// Successes of operations of which a call has failed.
struct Success {
    const char* pszOperations;  // with blanks between them, without "a_vextvfapi_"; every one when there is none
    const char* pszCalls;       // with blanks between them; "*_Close" stands for all that end so
    const char* pszReason;
};

constexpr Success kSuccesses[] = {
    {"", "*_GetHandle *_GetController *_GetLayerHandle", "what is not found is opened or made"},
    {"", "*_Close *_Fclose *_CloseController *_CloseConfigFile", "what was asked for has been done"},
    {"", "HW_FS_Sync", "what is written is in the file"},
    {"_common_init sys_init", "HW_FS_Open", "a debug switch that cannot be read is off"},
    {"prphrl_init sys_init", "HW_SYS_Init", "results up to HW_HAS_INITED are taken for success (contract)"},
    {"prphrl_init _prphrl_extin_Init inpsrc_init", "HW_EXTIN_GetCaps",
     "a chip that tells no inputs has none (contract)"},
    {"inpsrc_check_vd_signal_locked _inpsrc_check_vd_signal_locked", "HW_EXTIN_GetSignalStatus",
     "results up to HW_HAS_INITED are taken for success (contract)"},
    {"aud_open aud_adv_snd_enable aud_adv_snd_enable_sub aud_adv_snd_set_param aud_adv_snd_set_dolby_dap_param "
     "aud_dts_bypass aud_get_attr aud_adv_set_prescale aud_adv_set_NR aud_adv_set_peq_q_value "
     "aud_adv_set_peq_freq_value aud_adv_set_peq_gain_value aud_adv_set_peq_value aud_adv_enable_basic_sound_effect "
     "aud_basic_snd_set_param aud_adv_set_speaker_delay aud_adv_get_speaker_delay aud_adv_set_volume "
     "aud_adv_get_volume aud_set_volume_table aud_load_aq_params",
     "HW_AOUT_Open", "the other paths are open"},
    {"disp_capture_screen_to_usb _disp_capture_osd_to_usb _disp_capture_video_to_usb _output_bmp_file sys_write_file",
     "HW_FS_Fwrite", "what could be written counts (contract)"},
    {"disp_capture_screen_to_usb", "allocation", "a picture without a frame around its path's text is taken"},
    {"_disp_capture_osd_to_usb", "HW_OSD_SurfaceGetColorFormat", "the format is only logged"},
    {"disp_set_output_timing", "HW_DISP_SetMute HW_DISP_SetOutputTiming HW_DISP_SetUnMute",
     "no result of the sequence counts (contract)"},
    {"disp_set_over_scan",
     "HW_DISP_ApplySetting HW_DISP_SetInputRect HW_DISP_SetMute HW_DISP_SetUnMute HW_VIDEO_GetAttr",
     "no result of the sequence counts (contract)"},
    {"disptst_gen_gop_test_pattern_on disptst_gen_gop_test_pattern_by_bmp",
     "HW_OSD_LayerGetSize HW_OSD_SurfaceQueryCapability HW_OS_AllocateIommuMemory HW_OS_Pa2NonCachedVa",
     "another memory, region or alignment serves"},
    {"disptst_gen_gop_test_pattern_off", "HW_OS_FreeIommuMemory", "the canvas has gone"},
    {"disptst_set_burning_mode disptst_set_burning_mode_adv", "HW_DISP_SetAttr",
     "the worker goes on with the next color"},
    {"info_get_ini_para prphrl_get_rc_format", "HW_SYS_GetConfigData", "a value that is not there is empty"},
    {"prphrl_keypad_init prphrl_start_keypad", "HW_SYS_GetConfigData HW_SYS_OpenConfigFile",
     "a setting that is not there keeps its default"},
    {"net_deinit", "HW_NET_DeInit", "its result does not count (contract)"},
    {"net_set_interface_updown", "HW_NET_DeviceUp HW_NET_DeviceDown", "a refusal is only logged (contract)"},
    {"net_set_mac", "HW_NET_DhcpOff HW_NET_DhcpOn HW_NET_SetMac", "a refusal is only logged (contract)"},
    {"prphrl_control_gpio", "HW_GPIO_SetOutput", "a refusal is only logged (contract)"},
    {"prphrl_get_gpio_status", "HW_GPIO_GetInput", "a refusal is only logged (contract)"},
    {"prphrl_get_iic_slave_address", "HW_IIC_Open HW_IIC_SetDebugLevel", "the address comes out of a table"},
    {"prphrl_set_uart_pipe_mode", "HW_OS_DelayTask", "waiting less is no failure"},
    {"prphrl_stop_factory_uart", "HW_UART_UnRegisterCallback", "the link has ended all the same (contract)"},
    {"prphrl_write_factory_uart", "HW_UART_PutChar", "bytes that are lost are only logged (contract)"},
    {"sys_create_file sys_create_folder sys_write_file", "HW_FS_Stat", "what is not there is made"},
    {"sys_get_file_checksum sys_read_file", "HW_FS_Fread", "what could be read counts (contract)"},
};

bool names(const char* pszList, const std::string& strName) {
    std::istringstream list(pszList);
    std::string strWord;
    while (list >> strWord) {
        const bool bEnd = strWord.front() == '*';
        const std::string strEnd = strWord.substr(bEnd ? 1 : 0);
        if (bEnd ? strName.size() >= strEnd.size() && strName.substr(strName.size() - strEnd.size()) == strEnd
                 : strName == strEnd) {
            return true;
        }
    }
    return false;
}

// "_common_init" for "_a_vextvfapi_common_init"
std::string shortName(const std::string& strOperation) {
    std::string strName = strOperation;
    constexpr char kFrame[] = "a_vextvfapi_";
    const std::size_t at = strName.find(kFrame);
    return at == std::string::npos ? strName : strName.erase(at, std::strlen(kFrame));
}

}  // namespace

const std::vector<LeftOpen>& leftOpen() {
    return kLeftOpen;
}

const std::vector<NotSwept>& notSwept() {
    return kNotSwept;
}

std::vector<long long> failuresOf(const std::string& strCall) {
    if (strCall == "HW_TUNER_FactoryCmdApplyVif") {
        return {0};
    }
    if (strCall.rfind("HW_FS_", 0) != 0 || strCall == "HW_FS_Init") {
        return {1, HW_HAS_INITED, HW_ERR_INVALID_PARAMETER};
    }
    const bool bCounts = strCall == "HW_FS_Fread" || strCall == "HW_FS_Fwrite" || strCall == "HW_FS_Write";
    return bCounts ? std::vector<long long>{-1, 0} : std::vector<long long>{-1, -2};
}

std::string reasonOfSuccess(const std::string& strOperation, const std::string& strCall, long long s64Result) {
    if (s64Result == HW_HAS_INITED && names("*_Init", strCall)) {
        return "another has initialized it";
    }
    const auto found = std::find_if(std::begin(kSuccesses), std::end(kSuccesses), [&](const Success& stRow) {
        return names(stRow.pszCalls, strCall) &&
               (*stRow.pszOperations == '\0' || names(stRow.pszOperations, shortName(strOperation)));
    });
    return found != std::end(kSuccesses) ? found->pszReason : "";
}

}  // namespace test::sweep
