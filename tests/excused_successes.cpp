// SPDX-License-Identifier: Apache-2.0
// Which operations may succeed although a call of the middleware or an allocation has failed, and why.
#include <algorithm>
#include <cstring>
#include <iterator>
#include <sstream>

#include "hw3/hw_types.h"
#include "operation_samples.h"

namespace test {

namespace {

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
    {"sys_write_emmc disp_get_tcon_info", "allocation", "it was for a line of the log"},
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

}  // namespace test
