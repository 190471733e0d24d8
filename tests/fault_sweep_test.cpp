// SPDX-License-Identifier: Apache-2.0
// Every operation with every one of its middleware calls and allocations made to fail in turn: the operation answers a
// status of its kind, and leaves no handle and no descriptor behind that it does not leave behind without the fault.
#include <algorithm>
#include <functional>
#include <map>

#include <gtest/gtest.h>

#include "a_vextvfapi_aud.h"
#include "a_vextvfapi_disp.h"
#include "a_vextvfapi_disptst.h"
#include "a_vextvfapi_inpsrc.h"
#include "a_vextvfapi_net.h"
#include "a_vextvfapi_prphrl.h"
#include "a_vextvfapi_sys.h"
#include "hw3/hw_aout.h"
#include "hw3/hw_extin.h"
#include "operation.h"
#include "support/descriptors.h"
#include "support/emulation.h"
#include "support/set_fixture.h"
#include "vset/disp.h"
#include "vset/dispout.h"
#include "vset/extin.h"
#include "vset/tuner.h"

namespace {

struct Sample {
    const char* pszOperation;
    std::vector<std::string> words;
    // Handles that a failing close leaves open on purpose are those of the middleware that refused it.
    const char* pszMayLeaveOpen = "";
    // What the call needs, and what ends it.
    void (*before)() = nullptr;
    void (*after)() = nullptr;
    // Has a thread, which the user-mode emulator of another processor may not survive.
    bool bThread = false;
    // The families, with blanks between them, whose handles a failure leaves open on purpose.
    const char* pszFailureLeavesOpen = "";
    // How many handles a success leaves open, if it leaves any.
    std::size_t leftBySuccess = 1;
};

void expectNothingOpen() {
    for (const vset::OpenHandle& stHandle : vset::openHandles()) {
        EXPECT_TRUE(stHandle.bPlayer) << stHandle.strFamily;
    }
}

void startFactoryUart() {
    ASSERT_EQ(a_vextvfapi_prphrl_start_factory_uart(4, 0, 0), 1);
}

void stopFactoryUart() {
    a_vextvfapi_prphrl_stop_factory_uart(0);
}

void startKeypad() {
    ASSERT_EQ(a_vextvfapi_prphrl_start_keypad(), 1);
}

void stopKeypad() {
    a_vextvfapi_prphrl_stop_keypad();
}

void bringNetUp() {
    ASSERT_EQ(a_vextvfapi_net_init(), 0);
}

void openNet() {
    bringNetUp();
    ASSERT_EQ(a_vextvfapi_net_open("eth0"), 0);
}

void bringAudioUp() {
    ASSERT_EQ(a_vextvfapi_aud_init(), 0);
}

void openAudio() {
    bringAudioUp();
    ASSERT_EQ(a_vextvfapi_aud_open(), 0);
}

// Proves that the next success closes what a failure has left open.
void closeAudio() {
    unsigned int u32Delay = 0;
    EXPECT_EQ(a_vextvfapi_aud_adv_get_speaker_delay(&u32Delay), 0);
    expectNothingOpen();
}

Sample audio(const char* pszOperation, std::vector<std::string> words) {
    return {pszOperation, std::move(words), "", bringAudioUp, closeAudio, false, "HW_AOUT"};
}

// Where nobody has the window open, and the operation opens and closes it.
void useClosedWindow() {
    ASSERT_EQ(a_vextvfapi_disp_switch_window(1), 0);
}

void useFirstWindow() {
    a_vextvfapi_disp_switch_window(0);
}

Sample display(const char* pszOperation, std::vector<std::string> words) {
    return {pszOperation, std::move(words), "", useClosedWindow, useFirstWindow};
}

void stopBurnIn() {
    EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode(0), 0);
}

// 4 x 1 black pixels.
void putBmp() {
    std::string strBmp(54 + 12, '\0');
    strBmp.replace(0, 2, "BM");
    strBmp[10] = 54;
    strBmp[18] = 4;
    strBmp[22] = 1;
    test::writeFile(vset::hostPath("/data/bmp"), strBmp);
}

void putCanvasUp() {
    ASSERT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_on(16, 4), 0);
}

// Proves that this takes away whatever a failure has left.
void takeCanvasAway() {
    EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_off(), 0);
    expectNothingOpen();
}

// Without layer 1 the canvas has one of its own, which makes three handles of one.
Sample canvasUp(const char* pszOperation, std::vector<std::string> words) {
    return {pszOperation,
            std::move(words),
            "HW_OSD_SURFACE",
            putBmp,
            takeCanvasAway,
            false,
            "HW_OSD HW_OSD_WINDOW HW_OSD_SURFACE"};
}

Sample onCanvas(const char* pszOperation, std::vector<std::string> words) {
    return {pszOperation, std::move(words), "", putCanvasUp, takeCanvasAway};
}

// A failure leaves everything that was opened until then.
Sample videoCapture(const char* pszOperation, std::vector<std::string> words) {
    return {pszOperation, std::move(words), "", nullptr, nullptr, false, "HW_OSD_SURFACE HW_CAP HW_DISP"};
}

void bringInputsUp() {
    ASSERT_EQ(a_vextvfapi_inpsrc_init(), 0);
}

// Where nobody has the input open, and the operation opens and closes it.
void plugVga() {
    bringInputsUp();
    vset::extin::plug(E_HW_EXTIN_TYPE_VGA, 0, {});
}

Sample analogInput(const char* pszOperation, std::vector<std::string> words) {
    return {pszOperation, std::move(words), "", plugVga};
}

// The decoder, or an input's handle, stays open.
Sample leavesInputOpen(const char* pszOperation, std::vector<std::string> words) {
    return {pszOperation, std::move(words), "HW_EXTIN", bringInputsUp};
}

void showComposite() {
    bringInputsUp();
    useClosedWindow();
    vset::extin::Source source;
    source.u32TvSystem = E_HW_EXTIN_TV_SYSTEM_FIRST;
    vset::extin::plug(E_HW_EXTIN_TYPE_CVBS, 0, source);
    vset::disp::connectInput(1, {E_HW_EXTIN_TYPE_CVBS, 0});
}

Sample onScreen(const char* pszOperation, std::vector<std::string> words = {}) {
    return {pszOperation, std::move(words), "", showComposite, useFirstWindow};
}

void showNothing() {
    bringInputsUp();
    useClosedWindow();
}

void giveTunerUp() {
    bringInputsUp();
    vset::tuner::release(0);
}

void giveOutputUp() {
    ASSERT_EQ(a_vextvfapi_disp_init(), 0);
    vset::dispout::release();
}

Sample panel(const char* pszOperation, std::vector<std::string> words) {
    return {pszOperation, std::move(words), "", giveOutputUp};
}

Sample leavesOutputOpen(const char* pszOperation, std::vector<std::string> words = {}) {
    return {pszOperation, std::move(words), "HW_DISPOUT", giveOutputUp};
}

void giveControllerUp() {
    vset::disp::releaseController();
}

void bringDriversUp() {
    ASSERT_EQ(a_vextvfapi_disp_init(), 0);
}

Sample driver(const char* pszOperation, std::vector<std::string> words) {
    return {pszOperation, std::move(words), "", bringDriversUp};
}

// One good call of each operation that reaches the middleware. Operations without one are in kNoMiddleware.
const Sample kSamples[] = {
    {"_a_vextvfapi_common_init", {}},
    {"a_vextvfapi_sys_init", {}},
    {"a_vextvfapi_sys_get_emmc_env_var", {"serial"}},
    {"a_vextvfapi_sys_set_emmc_env_var", {"serial", "S1"}},
    {"_a_vextvfapi_sys_get_env_var", {"bootdelay", "2048", "emmc"}},
    {"_a_vextvfapi_sys_set_env_var", {"k", "v", "nand"}},
    {"_a_vextvfapi_sys_get_flash_handle", {"emmc"}, "HW_FLASH"},
    {"a_vextvfapi_sys_check_file", {"/data/file"}},
    {"a_vextvfapi_sys_remove_file", {"/data/file"}},
    {"a_vextvfapi_sys_create_folder", {"/data/new"}},
    {"a_vextvfapi_sys_check_folder", {"/data"}},
    {"a_vextvfapi_sys_create_file", {"/data/new/file"}},
    {"a_vextvfapi_sys_copy_file", {"/data/file", "/data/new/copy", "on"}},
    {"a_vextvfapi_sys_read_file_one_line", {"/data/file"}},
    {"a_vextvfapi_sys_read_file", {"/data/file"}},
    {"a_vextvfapi_sys_get_file_checksum", {"/data/file"}},
    {"a_vextvfapi_sys_write_file", {"/data/new/written", "text:abc"}},
    {"a_vextvfapi_sys_sync_fs", {}},
    {"a_vextvfapi_prphrl_init", {}},
    {"_a_vextvfapi_prphrl_init_cec", {}},
    {"_a_vextvfapi_prphrl_extin_Init", {}},
    {"a_vextvfapi_prphrl_start_factory_uart", {"115200", "0", "0"}, "HW_UART", nullptr, stopFactoryUart, true},
    {"a_vextvfapi_prphrl_stop_factory_uart", {"0"}, "", startFactoryUart, stopFactoryUart, true},
    {"a_vextvfapi_prphrl_write_factory_uart", {"text:abc"}, "", startFactoryUart, stopFactoryUart, true},
    {"a_vextvfapi_prphrl_set_uart_pipe_mode", {"off", ";"}},
    {"a_vextvfapi_prphrl_set_mic_led", {"off"}},
    {"a_vextvfapi_sys_get_dataindex_path", {}},
    {"a_vextvfapi_sys_get_customer_hash", {}},
    {"a_vextvfapi_info_get_ini_para", {"/vendor/factory/config/ir.ini", "IR:IR_FORMAT"}},
    {"a_vextvfapi_info_set_ini_para", {"/vendor/factory/config/ir.ini", "IR:IR_FORMAT", "2"}},
    {"a_vextvfapi_prphrl_get_rc_format", {"IR:IR_FORMAT"}},
    // The keypad before the ADC: with that in use, starting the keypad does not open it.
    {"a_vextvfapi_prphrl_keypad_init", {}, "HW_SAR"},
    {"a_vextvfapi_prphrl_start_keypad", {}, "HW_SAR", nullptr, stopKeypad, true},
    {"a_vextvfapi_prphrl_stop_keypad", {}, "", startKeypad, stopKeypad, true},
    {"a_vextvfapi_prphrl_start_adc", {"on"}, "HW_SAR"},
    {"a_vextvfapi_prphrl_get_sar_adc", {"2"}, "HW_SAR"},
    {"a_vextvfapi_prphrl_enable_iic", {"0"}, "HW_IIC"},
    {"a_vextvfapi_prphrl_disable_iic", {"0"}},
    {"a_vextvfapi_prphrl_read_from_iic", {"0", "0xA0", "hex:00", "16"}, "HW_IIC"},
    {"a_vextvfapi_prphrl_write_to_iic", {"0", "0xA0", "hex:00", "text:abc"}, "HW_IIC"},
    {"a_vextvfapi_prphrl_get_iic_slave_address", {"1", "0"}},
    {"a_vextvfapi_prphrl_control_gpio", {"5", "1"}},
    {"a_vextvfapi_prphrl_get_gpio_status", {"5"}},
    {"a_vextvfapi_prphrl_set_hdmi_edid_version", {"0", "2"}},
    {"a_vextvfapi_prphrl_get_hdmi_edid_version", {"0"}},
    {"a_vextvfapi_prphrl_set_hdmi_edid_data", {"0", "3", "text:abc"}},
    {"a_vextvfapi_prphrl_get_hdmi_edid_data", {"0"}},
    {"a_vextvfapi_prphrl_set_hdmi_hpd", {"0", "0"}},
    {"_a_vextvfapi_prphrl_get_hdmi_handle", {"0"}, "HW_EXTIN"},
    {"a_vextvfapi_prphrl_enable_cec", {"on"}},
    {"a_vextvfapi_prphrl_get_cec_status", {}},
    {"a_vextvfapi_prphrl_get_earc_status", {}},
    {"a_vextvfapi_prphrl_pwm_set_attr", {"0", "0", "1"}},
    {"a_vextvfapi_prphrl_pwm_get_attr", {"0", "0"}},
    {"a_vextvfapi_sys_write_emmc", {"misc", "16", "text:abc"}},
    {"a_vextvfapi_sys_read_emmc", {"misc", "16", "3"}},
    {"_a_vextvfapi_sys_get_wdt_handle", {}, "HW_WDT"},
    {"a_vextvfapi_sys_set_miu_ssc", {"0", "30", "10", "on"}},
    {"a_vextvfapi_sys_upgrade_fw", {"0", "/data/file"}},
    {"a_vextvfapi_sys_read_reg", {"1", "2"}},
    {"a_vextvfapi_sys_write_reg", {"1", "2", "3"}},
    {"a_vextvfapi_sys_get_rtc_time", {}, "", nullptr, nullptr, false, "HW_PM"},
    {"a_vextvfapi_net_init", {}},
    {"a_vextvfapi_net_deinit", {}},
    {"a_vextvfapi_net_open", {"eth0"}, "HW_NET", bringNetUp},
    {"a_vextvfapi_net_close", {}, "", openNet},
    {"a_vextvfapi_net_set_mac", {"02:00:00:00:00:01"}, "", bringNetUp},
    {"a_vextvfapi_net_set_interface_updown", {"eth0", "up"}, "", bringNetUp},
    {"a_vextvfapi_aud_init", {}},
    {"a_vextvfapi_aud_deinit", {}, "", bringAudioUp},
    {"a_vextvfapi_aud_open", {}, "HW_AOUT", bringAudioUp, closeAudio, false, "", HW_AOUT_PATH_COUNT},
    {"a_vextvfapi_aud_close", {}, "", openAudio, closeAudio},
    audio("a_vextvfapi_aud_adv_snd_enable", {"dolby-dap"}),
    audio("a_vextvfapi_aud_adv_snd_enable_sub", {"dbx", "sonic+night", "on"}),
    audio("a_vextvfapi_aud_adv_snd_set_param", {"dbx"}),
    audio("a_vextvfapi_aud_adv_snd_set_dolby_dap_param", {"-12"}),
    audio("a_vextvfapi_aud_dts_bypass", {"on"}),
    audio("a_vextvfapi_aud_get_attr", {"basic-sound", "bass"}),
    audio("a_vextvfapi_aud_adv_set_prescale", {"on", "90"}),
    audio("a_vextvfapi_aud_adv_set_NR", {"on", "7"}),
    audio("a_vextvfapi_aud_adv_set_peq_q_value", {"0", "10"}),
    audio("a_vextvfapi_aud_adv_set_peq_freq_value", {"1", "1000"}),
    audio("a_vextvfapi_aud_adv_set_peq_gain_value", {"2", "120"}),
    audio("a_vextvfapi_aud_adv_set_peq_value", {"3", "120", "1000", "10"}),
    audio("a_vextvfapi_aud_adv_enable_basic_sound_effect", {"limiter", "on"}),
    audio("a_vextvfapi_aud_basic_snd_set_param", {"eq", "1,2,3"}),
    audio("a_vextvfapi_aud_adv_set_speaker_delay", {"30"}),
    audio("a_vextvfapi_aud_adv_get_speaker_delay", {}),
    audio("a_vextvfapi_aud_adv_set_volume", {"3", "30"}),
    audio("a_vextvfapi_aud_adv_get_volume", {"3"}),
    audio("a_vextvfapi_aud_set_volume_table", {"all", "Linear", "0,50,100"}),
    audio("a_vextvfapi_aud_load_aq_params", {"/data/file"}),
    {"a_vextvfapi_disp_init", {}},
    {"_a_vextvfapi_disp_get_disp_handle", {}, "HW_DISP", useClosedWindow, useFirstWindow},
    {"_a_vextvfapi_disp_get_disp_handle_by_win_idx", {"1"}, "HW_DISP"},
    videoCapture("a_vextvfapi_disp_capture_screen_to_usb", {"/data/new", "screen"}),
    videoCapture("_a_vextvfapi_disp_capture_video_to_usb", {"/data/new"}),
    onCanvas("_a_vextvfapi_disp_capture_osd_to_usb", {"/data/new", "1"}),
    {"_a_vextvfapi_output_bmp_file", {"/data/new", "text:12345678", "4", "1", "2"}},
    {"a_vextvfapi_disptst_init", {}},
    canvasUp("a_vextvfapi_disptst_gen_gop_test_pattern_on", {"16", "4"}),
    canvasUp("a_vextvfapi_disptst_gen_gop_test_pattern_by_bmp", {"/data/bmp", "4", "1"}),
    onCanvas("a_vextvfapi_disptst_gen_gop_test_pattern_off", {}),
    onCanvas("a_vextvfapi_disptst_gen_gop_test_pattern_show", {}),
    onCanvas("a_vextvfapi_disptst_gen_gop_test_pattern_hide", {}),
    onCanvas("a_vextvfapi_disptst_gop_pattern_set_attr", {"on"}),
    {"a_vextvfapi_disptst_set_burning_mode", {"on"}, "", nullptr, stopBurnIn, true},
    {"a_vextvfapi_disptst_set_burning_mode_adv", {"on", "red,blue", "1"}, "", nullptr, stopBurnIn, true},
    {"a_vextvfapi_disptst_set_osd_layer_on_off", {"1", "on"}},
    display("a_vextvfapi_disptst_set_pq_on_off", {"on"}),
    display("a_vextvfapi_disptst_gen_test_pattern", {"white-balance", "on", "0", "white"}),
    {"a_vextvfapi_inpsrc_init", {}},
    {"a_vextvfapi_inpsrc_deinit", {}, "", bringInputsUp},
    analogInput("a_vextvfapi_inpsrc_get_adc_phase", {"vga"}),
    analogInput("a_vextvfapi_inpsrc_set_adc_phase", {"ypbpr", "1", "2", "3"}),
    analogInput("a_vextvfapi_inpsrc_get_adc_gain_offset", {"ypbpr"}),
    analogInput("a_vextvfapi_inpsrc_set_adc_gain_offset", {"vga", "1", "2", "3", "4", "5", "6"}),
    analogInput("a_vextvfapi_inpsrc_auto_gain_offset", {"vga"}),
    leavesInputOpen("_a_vextvfapi_inpsrc_get_vga_handle", {}),
    leavesInputOpen("_a_vextvfapi_inpsrc_get_ypbpr_handle", {}),
    leavesInputOpen("a_vextvfapi_inpsrc_check_vd_signal_locked", {}),
    leavesInputOpen("_a_vextvfapi_inpsrc_check_vd_signal_locked", {}),
    leavesInputOpen("a_vextvfapi_inpsrc_set_factory_vd_para", {"1", "2"}),
    leavesInputOpen("a_vextvfapi_inpsrc_get_factory_vd_para", {"1"}),
    onScreen("a_vextvfapi_inpsrc_get_current_input_source"),
    onScreen("a_vextvfapi_inpsrc_get_current_input_source_type"),
    onScreen("_a_vextvfapi_inpsrc_get_current_input_source", {"type"}),
    onScreen("a_vextvfapi_inpsrc_get_input_timing"),
    onScreen("a_vextvfapi_inpsrc_get_video_standard"),
    onScreen("_a_vextvfapi_inpsrc_get_video_standard"),
    {"a_vextvfapi_inpsrc_get_ber", {}, "", showNothing, useFirstWindow},
    {"a_vextvfapi_inpsrc_vif_init", {}, "HW_TUNER", giveTunerUp},
    {"a_vextvfapi_inpsrc_get_demod_info", {}, "", bringInputsUp},
    display("a_vextvfapi_disp_set_picture_param", {"5", "1"}),
    display("a_vextvfapi_disp_set_color_temperature", {"1", "2", "3", "4", "5", "6"}),
    display("a_vextvfapi_disp_set_picture_param_struct", {"record", "repeat:29:x"}),
    display("a_vextvfapi_disp_set_gamma_curve", {"linear"}),
    {"a_vextvfapi_disp_get_pq_range", {}, "HW_DISP", useClosedWindow, useFirstWindow},
    {"a_vextvfapi_disp_get_pq_version", {"hd1", "0"}},
    display("a_vextvfapi_disp_set_output_timing", {"4"}),
    {"a_vextvfapi_disp_set_freerun_control", {"1"}, "", giveControllerUp},
    {"a_vextvfapi_disp_set_over_scan", {"1", "2", "3", "4"}},
    panel("a_vextvfapi_disp_panel_set_attr", {"5", "1", "2", "3"}),
    panel("a_vextvfapi_disp_panel_get_attr", {"4"}),
    panel("a_vextvfapi_disp_get_lvds_ssc", {}),
    panel("a_vextvfapi_disp_get_pwm_range", {}),
    // An attribute that it does not have, too.
    leavesOutputOpen("a_vextvfapi_disp_panel_get_attr", {"3"}),
    leavesOutputOpen("a_vextvfapi_disp_get_tcon_info"),
    leavesOutputOpen("a_vextvfapi_disp_get_frc_device_info"),
    leavesOutputOpen("a_vextvfapi_disp_get_frc_connect_status"),
    leavesOutputOpen("a_vextvfapi_disp_upgrade_tarn_fw", {"/data/file"}),
    driver("a_vextvfapi_disp_set_overscan", {"1", "2", "3", "4"}),
    driver("a_vextvfapi_disp_nty_drv_reload_param", {}),
    driver("a_vextvfapi_disp_set_pq_value", {"0", "1"}),
};

const char* const kNoMiddleware[] = {
    "_a_vextvfapi_common_init_debug_level",
    "_bytes_to_bool",
    "_bytes_to_int",
    "_bytes_to_one_byte_enum",
    "_bytes_to_short",
    "a_vextvfapi_common_get_fapi_status",
    "a_vextvfapi_common_get_fapi_version",
    "a_vextvfapi_common_hw_err_msg",
    "a_vextvfapi_prphrl_add_ir_block_key",
    "a_vextvfapi_prphrl_deinit",
    "a_vextvfapi_prphrl_enable_ir_block_key",
    "a_vextvfapi_prphrl_invert_ir_block_key",
    // The tty, the routing switch and the FIFO are the kernel's.
    "_a_vextvfapi_prphrl_create_pipe_file",
    "_a_vextvfapi_prphrl_setBlocking",
    "_a_vextvfapi_prphrl_setInterfaceAttr",
    "_a_vextvfapi_prphrl_uartOpen",
    "_a_vextvfapi_prphrl_uartRead",
    "_a_vextvfapi_prphrl_uartWrite",
    "_a_vextvfapi_prphrl_uartWritestr",
    "a_vextvfapi_prphrl_std_factory_uart_custom_config",
    "a_vextvfapi_prphrl_std_factory_uart_start",
    "a_vextvfapi_prphrl_std_factory_uart_stop",
    "a_vextvfapi_prphrl_std_factory_uart_write",
    "a_vextvfapi_prphrl_switch_to_ttys1",
    // The middleware's calls of the monitor are made by its thread.
    "a_vextvfapi_prphrl_gpio_monitor_start",
    "a_vextvfapi_prphrl_gpio_monitor_stop",
    // Its handle comes from another operation, with which it is run above.
    "_a_vextvfapi_prphrl_set_hdmi_hpd",
    // Reaches it only while the ADC is read.
    "_a_vextvfapi_prphrl_sar_key_callback",
    // With the handle of the first power-on only, which every other run has lost.
    "a_vextvfapi_sys_get_wdt_status",
    "a_vextvfapi_sys_set_wdt",
    "_a_vextvfapi_sys_convert_fw_type",
    "_a_vextvfapi_sys_get_miu_type_by_idx",
    "a_vextvfapi_sys_update_panel",
    "_a_vextvfapi_sys_convert_factory_cmd",
    "a_vextvfapi_info_deinit",
    "a_vextvfapi_info_init",
    // A socket.
    "a_vextvfapi_sys_send_cmd_to_factory_svc",
    "a_vextvfapi_sys_change_file_mode",
    "a_vextvfapi_sys_deinit",
    "a_vextvfapi_disp_deinit",
    "a_vextvfapi_disp_switch_window",
    "a_vextvfapi_disptst_deinit",
    // Drawing goes straight into memory, and its file is the C library's.
    "a_vextvfapi_disptst_gen_gop_test_pattern_draw_bitmap",
    "a_vextvfapi_disptst_gen_gop_test_pattern_draw_line",
    "a_vextvfapi_disptst_gen_gop_test_pattern_draw_rect",
    "a_vextvfapi_disp_update_pq_ini_files",
    "_a_vextvfapi_inpsrc_convert_to_HW_EXTIN_FactoryType_e",
    // Their handle comes from another operation.
    "_a_vextvfapi_inpsrc_get_src_by_extin_handle",
    "_a_vextvfapi_disp_get_on_screen_input",
    "_a_vextvfapi_disptst_connect_disp",
};

// Of a call that is made for each row of a picture so many fail in turn.
constexpr unsigned int kMostOfACall = 20;

bool isEventOperation(const std::string& strName) {
    return strName.find("reg_callback") != std::string::npos || strName.find("_nty_event") != std::string::npos;
}

class FaultSweep : public test::SetTest {
protected:
    // The state that every run of the sample starts from.
    void prepare(const Sample& stSample) {
        vset::clearFaults();
        std::error_code error;
        std::filesystem::remove_all(vset::hostPath("/data/new"), error);
        write("/data/file", "one\ntwo\n");
        vset::powerCycle();
        ASSERT_EQ(a_vextvfapi_sys_init(), 0);
        ASSERT_EQ(a_vextvfapi_prphrl_init(), 0);
        if (stSample.before != nullptr) {
            stSample.before();
        }
        vset::clearJournal();
    }

    static void finish(const Sample& stSample) {
        vset::clearFaults();
        if (stSample.after != nullptr) {
            stSample.after();
        }
    }

    struct Left {
        std::size_t handles;
        int s32Descriptors;
        bool bRepeatable = false;  // of the operation, after a success
    };
    static Left left(const std::string& strExceptFamilies = "") {
        const std::vector<vset::OpenHandle> handles = vset::openHandles();
        const std::string strExcepted = " " + strExceptFamilies + " ";
        const auto counts = std::count_if(handles.begin(), handles.end(), [&](const vset::OpenHandle& stHandle) {
            return stHandle.bPlayer || strExcepted.find(" " + stHandle.strFamily + " ") == std::string::npos;
        });
        return {static_cast<std::size_t>(counts), test::openDescriptors(), false};
    }

    // What the operation leaves behind, run from the prepared state with a fault.
    void runWith(const Sample& stSample, const tool::Operation& operation, const vset::Fault& stFault, Left stClean) {
        SCOPED_TRACE(std::string(operation.name) + " while call " + std::to_string(stFault.u32From) + " of " +
                     stFault.strCall + " answers " + std::to_string(stFault.s64Result));
        prepare(stSample);
        const std::vector<tool::Value> arguments = tool::parseArguments(operation, stSample.words);
        const Left stBefore = left();
        vset::inject(stFault);
        const tool::Outcome outcome = tool::invoke(operation, arguments);
        vset::clearFaults();
        if (operation.result == tool::Result::status && stFault.strCall != "HW_FS_Sync" &&
            std::string(operation.name) != "_a_vextvfapi_sys_get_flash_handle") {
            EXPECT_LE(outcome.status, 0);
            EXPECT_GE(outcome.status, -6);
        }
        EXPECT_LE(left().s32Descriptors, stBefore.s32Descriptors + stClean.s32Descriptors);
        const bool bCloseRefused = stFault.strCall.find("_Close") != std::string::npos;
        if (!bCloseRefused) {
            EXPECT_LE(left(stSample.pszFailureLeavesOpen).handles, stBefore.handles + stClean.handles);
        }
        // The next call works, where one can follow and nothing was left open.
        if (stClean.bRepeatable && !bCloseRefused && *stSample.pszFailureLeavesOpen == '\0' &&
            *stSample.pszMayLeaveOpen == '\0') {
            EXPECT_TRUE(tool::invoke(operation, arguments).good) << "the next call";
        }
        finish(stSample);
    }
};

TEST_F(FaultSweep, CoversEveryOperation) {
    for (const tool::Operation& operation : tool::operations()) {
        const auto named = [&](const auto& name) { return std::string(name) == operation.name; };
        const bool bSampled = std::any_of(std::begin(kSamples), std::end(kSamples),
                                          [&](const Sample& stSample) { return named(stSample.pszOperation); });
        const bool bExcused = std::any_of(std::begin(kNoMiddleware), std::end(kNoMiddleware), named);
        EXPECT_NE(bSampled || isEventOperation(operation.name), bExcused) << operation.name;
    }
}

// One module's operations.
class FaultSweepOf : public FaultSweep, public ::testing::WithParamInterface<const char*> {
protected:
    // How often calls of the middleware, and allocations, have failed.
    std::size_t failed = 0;

    void sweep(const Sample& stSample, const tool::Operation& operation);

private:
    // Once, and from there on.
    void failWith(const Sample& stSample, const tool::Operation& operation, vset::Fault stFault, Left stClean) {
        for (const unsigned int u32Times : {1u, 0u}) {
            stFault.u32Times = u32Times;
            runWith(stSample, operation, stFault, stClean);
            ++failed;
        }
    }
};

void FaultSweepOf::sweep(const Sample& stSample, const tool::Operation& operation) {
    prepare(stSample);
    const Left stBefore = left();
    const tool::Outcome outcome = tool::invoke(operation, tool::parseArguments(operation, stSample.words));
    EXPECT_TRUE(outcome.good) << "the sample is to be a good call";
    const std::size_t handles = left().handles;
    Left stClean = {handles > stBefore.handles ? handles - stBefore.handles : 0,
                    left().s32Descriptors - stBefore.s32Descriptors, false};
    EXPECT_EQ(stClean.handles, *stSample.pszMayLeaveOpen != '\0' ? stSample.leftBySuccess : 0u);
    EXPECT_EQ(stClean.s32Descriptors, 0);

    std::map<std::string, unsigned int> made;
    for (const std::string& strCall : calls()) {
        ++made[strCall];
    }
    stClean.bRepeatable = tool::invoke(operation, tool::parseArguments(operation, stSample.words)).good;
    finish(stSample);
    EXPECT_FALSE(made.empty()) << "belongs into kNoMiddleware";
    for (const auto& [strCall, u32Count] : made) {
        const bool bFile = strCall.rfind("HW_FS_", 0) == 0 && strCall != "HW_FS_Init";
        for (unsigned int u32From = 1; u32From <= std::min(u32Count, kMostOfACall); ++u32From) {
            for (const long long s64Result :
                 bFile ? std::vector<long long>{-1, -2, 0} : std::vector<long long>{1, 3, 8}) {
                // A descriptor of 0 would be the test's own standard input.
                if (strCall != "HW_FS_Open" || s64Result != 0) {
                    failWith(stSample, operation, {strCall, s64Result, u32From}, stClean);
                }
            }
        }
    }
    for (unsigned int u32From = 1; u32From <= 4; ++u32From) {
        failWith(stSample, operation, {vset::kAllocation, 0, u32From}, stClean);
    }
}

TEST_P(FaultSweepOf, LeavesNothingBehind) {
    std::size_t operations = 0;
    for (const Sample& stSample : kSamples) {
        const tool::Operation* pOperation = tool::findOperation(stSample.pszOperation);
        ASSERT_NE(pOperation, nullptr) << stSample.pszOperation;
        if (pOperation->module() == GetParam() && !(stSample.bThread && test::kEmulated)) {
            SCOPED_TRACE(stSample.pszOperation);
            sweep(stSample, *pOperation);
            ++operations;
        }
    }
    std::printf("fault sweep: %-8s %3zu operations, %5zu calls failed, %s\n", GetParam(), operations, failed,
                HasFailure() ? "FINDINGS" : "no finding");
    EXPECT_NE(operations, 0u);
}

INSTANTIATE_TEST_SUITE_P(Modules, FaultSweepOf,
                         ::testing::Values("aud", "common", "disp", "disptst", "info", "inpsrc", "net", "prphrl",
                                           "sys"),
                         [](const auto& module) { return std::string(module.param); });

}  // namespace
