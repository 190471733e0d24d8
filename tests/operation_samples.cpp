// SPDX-License-Identifier: Apache-2.0
// Operations as the kept runs call them.
#include "operation_samples.h"

#include <chrono>

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "a_vextvfapi_aud.h"
#include "a_vextvfapi_disp.h"
#include "a_vextvfapi_disptst.h"
#include "a_vextvfapi_inpsrc.h"
#include "a_vextvfapi_net.h"
#include "a_vextvfapi_prphrl.h"
#include "a_vextvfapi_sys.h"
#include "hw3/hw_extin.h"
#include "support/set_fixture.h"
#include "support/sleeps.h"
#include "support/waiting.h"
#include "vset/cec.h"
#include "vset/disp.h"
#include "vset/dispout.h"
#include "vset/extin.h"
#include "vset/gpio.h"
#include "vset/osd.h"
#include "vset/tuner.h"

namespace test {

namespace {

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

void startStandardLink() {
    ASSERT_EQ(a_vextvfapi_prphrl_std_factory_uart_start(4, 0, fapi_core::E_VEXTVFAPI_STD_FACTORY_UART_READ_WRITE), 0);
}

void stopStandardLink() {
    a_vextvfapi_prphrl_std_factory_uart_stop();
}

// Its task waits in open() until there is a writer.
void stopPipeMode() {
    const vset::HostPaths hostPaths;
    const std::string strPipe = vset::hostPath("/data/vendor/uartCmdPipe");
    int s32Writer = -1;
    test::eventually([&] { return (s32Writer = open(strPipe.c_str(), O_WRONLY | O_NONBLOCK)) >= 0; },
                     std::chrono::seconds(1));
    a_vextvfapi_prphrl_set_uart_pipe_mode(0, nullptr);
    close(s32Writer);
}

template <unsigned char u8Level, bool bInverted>
void drivePad() {
    vset::gpio::drive(5, u8Level);
    vset::gpio::setInverted(5, bInverted);
}

void holdPad() {
    vset::gpio::hold(5);
}

void startMonitor() {
    ASSERT_EQ(a_vextvfapi_prphrl_gpio_monitor_start(5, 1000000, 0), 0);
}

void stopMonitor() {
    a_vextvfapi_prphrl_gpio_monitor_stop();
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

// Makes no call of the middleware.
Sample quiet(const char* pszOperation, std::vector<std::string> words = {}) {
    return {pszOperation, std::move(words), nullptr, nullptr, Calls::none};
}

Sample background(const char* pszOperation, std::vector<std::string> words, void (*before)(), void (*after)()) {
    return {pszOperation, std::move(words), before, after, Calls::sometimes};
}

Sample audio(const char* pszOperation, std::vector<std::string> words) {
    return {pszOperation, std::move(words), bringAudioUp, closeAudio};
}

// A window that is not open, which the operation opens and closes.
void useClosedWindow() {
    ASSERT_EQ(a_vextvfapi_disp_switch_window(1), 0);
}

void useNoWindow() {
    ASSERT_EQ(a_vextvfapi_disp_switch_window(3), 0);
}

void useFirstWindow() {
    a_vextvfapi_disp_switch_window(0);
}

Sample refused(const char* pszOperation, std::vector<std::string> words, void (*before)() = nullptr) {
    return {pszOperation, std::move(words), before, useFirstWindow, Calls::refused};
}

Sample display(const char* pszOperation, std::vector<std::string> words) {
    return {pszOperation, std::move(words), useClosedWindow, useFirstWindow};
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
    writeFile(vset::hostPath("/data/bmp"), strBmp);
}

void putCanvasUp() {
    ASSERT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_on(16, 4), 0);
}

void removeLayer() {
    vset::osd::removeLayer(1);
}

void putCanvasUpWithoutLayer() {
    removeLayer();
    putCanvasUp();
}

// Proves that the operation removes what a failure has left.
void takeCanvasAway() {
    EXPECT_EQ(a_vextvfapi_disptst_gen_gop_test_pattern_off(), 0);
    expectNothingOpen();
}

Sample canvasUp(const char* pszOperation, std::vector<std::string> words) {
    return {pszOperation, std::move(words), putBmp, takeCanvasAway};
}

void putCanvasAndBmpUp() {
    putCanvasUp();
    putBmp();
}

Sample drawn(const char* pszOperation, std::vector<std::string> words, void (*before)() = putCanvasUp) {
    return {pszOperation, std::move(words), before, takeCanvasAway, Calls::none};
}

Sample onCanvas(const char* pszOperation, std::vector<std::string> words) {
    return {pszOperation, std::move(words), putCanvasUp, takeCanvasAway};
}

void bringInputsUp() {
    ASSERT_EQ(a_vextvfapi_inpsrc_init(), 0);
}

// Inputs that are not open, which the operation opens and closes.
void plugAnalog() {
    bringInputsUp();
    vset::extin::plug(E_HW_EXTIN_TYPE_VGA, 0, {});
    vset::extin::plug(E_HW_EXTIN_TYPE_SCART, 0, {});
}

Sample analogInput(const char* pszOperation, std::vector<std::string> words) {
    return {pszOperation, std::move(words), plugAnalog};
}

Sample onInputs(const char* pszOperation, std::vector<std::string> words = {}) {
    return {pszOperation, std::move(words), bringInputsUp};
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
    return {pszOperation, std::move(words), showComposite, useFirstWindow};
}

void showNothing() {
    bringInputsUp();
    useClosedWindow();
}

void giveTunerUp() {
    bringInputsUp();
    vset::tuner::release(0);
}

// With texts that are too long for a string without memory of its own.
void nameDemodulator() {
    bringInputsUp();
    for (const unsigned int u32Command : {E_HW_TUNER_FACTORY_CMD_NAME, E_HW_TUNER_FACTORY_CMD_VERSION}) {
        vset::tuner::setFactoryText(0, u32Command, "a text of a demodulator");
    }
}

// With the display's handle, which some operations close in place of the output's.
void findOutputUp() {
    fapi_core::VexTvFApiDispHsyModelRange stRange = {};
    ASSERT_EQ(a_vextvfapi_disp_init(), 0);
    ASSERT_EQ(a_vextvfapi_disp_get_pq_range(&stRange), 0);
}

void giveOutputUp() {
    findOutputUp();
    vset::dispout::release();
}

Sample panel(const char* pszOperation, std::vector<std::string> words = {}) {
    return {pszOperation, std::move(words), giveOutputUp};
}

void bringDriversUp() {
    ASSERT_EQ(a_vextvfapi_disp_init(), 0);
}

Sample driver(const char* pszOperation, std::vector<std::string> words) {
    return {pszOperation, std::move(words), bringDriversUp};
}

const std::vector<Sample> kSamples = {
    // Before the first power cycle, which takes away the handle that the library has for its life.
    {"_a_vextvfapi_sys_get_wdt_handle", {}, nullptr, nullptr, Calls::onFirstPowerOn},
    {"a_vextvfapi_sys_get_wdt_status", {}, nullptr, nullptr, Calls::onFirstPowerOn},
    {"a_vextvfapi_sys_set_wdt", {"off"}, nullptr, nullptr, Calls::onFirstPowerOn},
    {"_a_vextvfapi_common_init", {}},
    {"a_vextvfapi_sys_init", {}},
    {"a_vextvfapi_sys_get_emmc_env_var", {"serial"}},
    {"a_vextvfapi_sys_set_emmc_env_var", {"serial", "S1"}},
    {"_a_vextvfapi_sys_get_env_var", {"bootdelay", "2048", "emmc"}},
    {"_a_vextvfapi_sys_set_env_var", {"k", "v", "nand"}},
    {"_a_vextvfapi_sys_get_flash_handle", {"emmc"}},
    {"a_vextvfapi_sys_check_file", {"/data/file"}},
    {"a_vextvfapi_sys_remove_file", {"/data/file"}},
    {"a_vextvfapi_sys_create_folder", {"/data/new"}},
    {"a_vextvfapi_sys_check_folder", {"/data"}},
    {"a_vextvfapi_sys_create_file", {"/data/new/file"}},
    refused("a_vextvfapi_sys_create_file", {"/data/file"}),
    {"a_vextvfapi_sys_copy_file", {"/data/file", "/data/new/copy", "off"}},
    {"a_vextvfapi_sys_check_file", {"/data"}},
    {"a_vextvfapi_sys_check_folder", {"/data/file"}},
    refused("a_vextvfapi_sys_check_file", {"/data/none"}),
    refused("a_vextvfapi_sys_check_folder", {"/data/none"}),
    refused("a_vextvfapi_sys_check_folder", {""}),
    refused("a_vextvfapi_sys_create_folder", {""}),
    refused("a_vextvfapi_sys_create_folder", {"/data/new/b"}),
    {"a_vextvfapi_sys_copy_file", {"/data/file", "/data/new", "on"}},
    refused("a_vextvfapi_sys_copy_file", {"/data/file", "/data/file", "on"}),
    refused("a_vextvfapi_sys_copy_file", {"/data/file", "/data/new/a/b", "on"}),
    refused("a_vextvfapi_sys_copy_file", {"/data/none", "/data/new", "on"}),
    refused("a_vextvfapi_sys_copy_file", {"", "/data/new", "on"}),
    refused("a_vextvfapi_sys_copy_file", {"/data/file", "", "on"}),
    refused("a_vextvfapi_sys_write_file", {"", "text:abc"}),
    refused("a_vextvfapi_sys_write_file", {"/data/new/a/b", "text:abc"}),
    {"a_vextvfapi_sys_read_file_one_line", {"/data/file"}},
    {"a_vextvfapi_sys_read_file_one_line", {"/data/file", "64", "4"}},
    {"a_vextvfapi_sys_read_file_one_line", {"/data/file", "3", "4"}},
    refused("a_vextvfapi_sys_read_file_one_line", {"/data/file", "64", "8"}),
    refused("a_vextvfapi_sys_read_file_one_line", {"/data/none"}),
    {"a_vextvfapi_sys_read_file", {"/data/file"}},
    {"a_vextvfapi_sys_get_file_checksum", {"/data/file"}},
    {"a_vextvfapi_sys_write_file", {"/data/new/written", "text:abc"}},
    {"a_vextvfapi_sys_sync_fs", {}},
    {"a_vextvfapi_prphrl_init", {}},
    {"_a_vextvfapi_prphrl_init_cec", {}},
    {"_a_vextvfapi_prphrl_extin_Init", {}},
    {"a_vextvfapi_prphrl_start_factory_uart", {"115200", "0", "0"}, nullptr, stopFactoryUart},
    {"a_vextvfapi_prphrl_stop_factory_uart", {"0"}, startFactoryUart, stopFactoryUart},
    {"a_vextvfapi_prphrl_write_factory_uart", {"text:abc"}, startFactoryUart, stopFactoryUart},
    {"a_vextvfapi_prphrl_set_uart_pipe_mode", {"on", ";"}, nullptr, stopPipeMode, Calls::always, true},
    {"a_vextvfapi_prphrl_set_uart_pipe_mode", {"off", ";"}},
    {"a_vextvfapi_prphrl_set_mic_led", {"off"}},
    {"a_vextvfapi_sys_get_dataindex_path", {}},
    {"a_vextvfapi_sys_get_customer_hash", {}},
    {"a_vextvfapi_info_get_ini_para", {"/vendor/factory/config/ir.ini", "IR:IR_FORMAT"}},
    {"a_vextvfapi_info_get_ini_para", {"/vendor/factory/config/ir.ini", "IR:NONE"}},
    {"a_vextvfapi_info_set_ini_para", {"/vendor/factory/config/ir.ini", "IR:IR_FORMAT", "2"}},
    {"a_vextvfapi_prphrl_get_rc_format", {"IR:IR_FORMAT"}},
    // The keypad before the ADC: with that in use, starting the keypad does not open it.
    {"a_vextvfapi_prphrl_keypad_init", {}},
    {"a_vextvfapi_prphrl_start_keypad", {}, nullptr, stopKeypad},
    {"a_vextvfapi_prphrl_stop_keypad", {}, startKeypad, stopKeypad},
    {"a_vextvfapi_prphrl_start_adc", {"on"}},
    {"a_vextvfapi_prphrl_get_sar_adc", {"2"}},
    {"a_vextvfapi_prphrl_enable_iic", {"0"}},
    {"a_vextvfapi_prphrl_disable_iic", {"0"}},
    {"a_vextvfapi_prphrl_read_from_iic", {"0", "0xA0", "hex:00", "16"}},
    {"a_vextvfapi_prphrl_write_to_iic", {"0", "0xA0", "hex:00", "text:abc"}},
    {"a_vextvfapi_prphrl_get_iic_slave_address", {"1", "0"}},
    {"a_vextvfapi_prphrl_get_iic_slave_address", {"1", "1"}, [] { ASSERT_EQ(a_vextvfapi_prphrl_enable_iic(1), 0); }},
    {"a_vextvfapi_prphrl_control_gpio", {"5", "1"}},
    {"a_vextvfapi_prphrl_get_gpio_status", {"5"}},
    {"a_vextvfapi_prphrl_control_gpio", {"0", "1"}},
    {"a_vextvfapi_prphrl_control_gpio", {"5", "0"}, holdPad},
    {"a_vextvfapi_prphrl_get_gpio_status", {"5"}, holdPad},
    {"a_vextvfapi_prphrl_get_gpio_status", {"5"}, drivePad<1, false>},
    {"a_vextvfapi_prphrl_get_gpio_status", {"5"}, drivePad<0, true>},
    {"a_vextvfapi_prphrl_get_gpio_status", {"5"}, drivePad<1, true>},
    refused("a_vextvfapi_prphrl_control_gpio", {"5", "2"}),
    {"a_vextvfapi_prphrl_set_hdmi_edid_version", {"0", "2"}},
    {"a_vextvfapi_prphrl_get_hdmi_edid_version", {"0"}},
    {"a_vextvfapi_prphrl_set_hdmi_edid_data", {"0", "3", "text:abc"}},
    {"a_vextvfapi_prphrl_get_hdmi_edid_data", {"0"}},
    {"a_vextvfapi_prphrl_set_hdmi_hpd", {"0", "0"}},
    {"_a_vextvfapi_prphrl_get_hdmi_handle", {"0"}},
    {"a_vextvfapi_prphrl_enable_cec", {"on"}},
    {"a_vextvfapi_prphrl_enable_cec", {"off"}},
    {"a_vextvfapi_prphrl_enable_cec", {"on"}, vset::cec::hold},
    {"a_vextvfapi_prphrl_get_cec_status", {}},
    {"a_vextvfapi_prphrl_get_earc_status", {}},
    {"a_vextvfapi_prphrl_pwm_set_attr", {"0", "0", "1"}},
    {"a_vextvfapi_prphrl_pwm_get_attr", {"0", "0"}},
    {"a_vextvfapi_sys_write_emmc", {"misc", "16", "text:abc"}},
    {"a_vextvfapi_sys_read_emmc", {"misc", "16", "3"}},
    refused("a_vextvfapi_sys_write_emmc", {"misc", "1048576", "text:a"}),
    refused("a_vextvfapi_sys_write_emmc", {"misc", "1048575", "text:ab"}),
    refused("a_vextvfapi_sys_write_emmc", {"misc", "4294967295", "text:ab"}),
    refused("a_vextvfapi_sys_write_emmc", {"missing", "0", "text:a"}),
    refused("a_vextvfapi_sys_read_emmc", {"misc", "1048575", "2"}),
    refused("a_vextvfapi_sys_read_emmc", {"misc", "4294967295", "2"}),
    refused("a_vextvfapi_sys_read_emmc", {"missing", "0", "1"}),
    {"a_vextvfapi_sys_set_miu_ssc", {"0", "30", "10", "on"}},
    {"a_vextvfapi_sys_set_miu_ssc", {"2", "20", "1", "off"}},
    {"a_vextvfapi_sys_upgrade_fw", {"0", "/data/file"}},
    refused("a_vextvfapi_sys_upgrade_fw", {"1", "/data/none"}),
    {"a_vextvfapi_sys_read_reg", {"1", "2"}},
    {"a_vextvfapi_sys_write_reg", {"1", "2", "3"}},
    {"a_vextvfapi_sys_get_rtc_time", {}},
    {"a_vextvfapi_net_init", {}},
    {"a_vextvfapi_net_deinit", {}},
    {"a_vextvfapi_net_open", {"eth0"}, bringNetUp},
    {"a_vextvfapi_net_close", {}, openNet},
    refused("a_vextvfapi_net_close", {}, bringNetUp),
    refused("a_vextvfapi_net_set_mac", {""}, bringNetUp),
    refused("a_vextvfapi_net_set_interface_updown", {"", "down"}, bringNetUp),
    {"a_vextvfapi_net_set_mac", {"02:00:00:00:00:01"}, bringNetUp},
    {"a_vextvfapi_net_set_interface_updown", {"eth0", "up"}, bringNetUp},
    {"a_vextvfapi_net_set_interface_updown", {"eth0", "down"}, bringNetUp},
    {"a_vextvfapi_aud_init", {}},
    {"a_vextvfapi_aud_deinit", {}, bringAudioUp},
    {"a_vextvfapi_aud_open", {}, bringAudioUp, closeAudio},
    {"a_vextvfapi_aud_close", {}, openAudio, closeAudio},
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
    {"_a_vextvfapi_disp_get_disp_handle", {}, useClosedWindow, useFirstWindow},
    {"_a_vextvfapi_disp_get_disp_handle_by_win_idx", {"1"}},
    {"a_vextvfapi_disp_capture_screen_to_usb", {"/data/new", "screen"}},
    {"_a_vextvfapi_disp_capture_video_to_usb", {"/data/new"}},
    onCanvas("_a_vextvfapi_disp_capture_osd_to_usb", {"/data/new", "1"}),
    {"_a_vextvfapi_output_bmp_file", {"/data/new", "text:12345678", "4", "1", "2"}},
    {"a_vextvfapi_disptst_init", {}},
    canvasUp("a_vextvfapi_disptst_gen_gop_test_pattern_on", {"16", "4"}),
    canvasUp("a_vextvfapi_disptst_gen_gop_test_pattern_by_bmp", {"/data/bmp", "4", "1"}),
    onCanvas("a_vextvfapi_disptst_gen_gop_test_pattern_off", {}),
    {"a_vextvfapi_disptst_gen_gop_test_pattern_on", {"16", "4"}, removeLayer, takeCanvasAway},
    {"a_vextvfapi_disptst_gen_gop_test_pattern_off", {}, putCanvasUpWithoutLayer, takeCanvasAway},
    {"a_vextvfapi_disptst_gen_gop_test_pattern_off", {}},
    onCanvas("a_vextvfapi_disptst_gen_gop_test_pattern_show", {}),
    onCanvas("a_vextvfapi_disptst_gen_gop_test_pattern_hide", {}),
    onCanvas("a_vextvfapi_disptst_gop_pattern_set_attr", {"on"}),
    {"a_vextvfapi_disptst_set_burning_mode", {"on"}, nullptr, stopBurnIn, Calls::always, true},
    {"a_vextvfapi_disptst_set_burning_mode_adv", {"on", "red,blue", "1"}, nullptr, stopBurnIn, Calls::always, true},
    {"a_vextvfapi_disptst_set_osd_layer_on_off", {"1", "2"}},
    {"a_vextvfapi_disptst_set_osd_layer_on_off", {"1", "off"}},
    refused("a_vextvfapi_disptst_set_osd_layer_on_off", {"2", "on"}),
    refused("a_vextvfapi_disptst_set_osd_layer_on_off", {"-1", "on"}),
    display("a_vextvfapi_disptst_set_pq_on_off", {"on"}),
    display("a_vextvfapi_disptst_set_pq_on_off", {"off"}),
    refused("a_vextvfapi_disptst_set_pq_on_off", {"on"}, useNoWindow),
    display("a_vextvfapi_disptst_gen_test_pattern", {"mvop", "77", "7", "red"}),
    display("a_vextvfapi_disptst_gen_test_pattern", {"mvop", "off", "7", "red"}),
    display("a_vextvfapi_disptst_gen_test_pattern", {"adc", "77", "7", "red"}),
    display("a_vextvfapi_disptst_gen_test_pattern", {"adc", "off", "7", "red"}),
    display("a_vextvfapi_disptst_gen_test_pattern", {"ipmux", "77", "7", "red"}),
    display("a_vextvfapi_disptst_gen_test_pattern", {"ipmux", "off", "7", "red"}),
    display("a_vextvfapi_disptst_gen_test_pattern", {"ip1", "77", "7", "red"}),
    display("a_vextvfapi_disptst_gen_test_pattern", {"ip1", "off", "7", "red"}),
    display("a_vextvfapi_disptst_gen_test_pattern", {"linebuff", "77", "7", "red"}),
    display("a_vextvfapi_disptst_gen_test_pattern", {"linebuff", "off", "7", "red"}),
    display("a_vextvfapi_disptst_gen_test_pattern", {"hvsp", "77", "7", "red"}),
    display("a_vextvfapi_disptst_gen_test_pattern", {"hvsp", "off", "7", "red"}),
    display("a_vextvfapi_disptst_gen_test_pattern", {"vop", "77", "7", "red"}),
    display("a_vextvfapi_disptst_gen_test_pattern", {"vop", "off", "7", "red"}),
    display("a_vextvfapi_disptst_gen_test_pattern", {"vop2", "77", "7", "red"}),
    display("a_vextvfapi_disptst_gen_test_pattern", {"vop2", "off", "7", "red"}),
    display("a_vextvfapi_disptst_gen_test_pattern", {"mod", "77", "7", "red"}),
    display("a_vextvfapi_disptst_gen_test_pattern", {"mod", "off", "7", "red"}),
    display("a_vextvfapi_disptst_gen_test_pattern", {"white-balance", "77", "7", "red"}),
    display("a_vextvfapi_disptst_gen_test_pattern", {"white-balance", "off", "7", "red"}),
    display("a_vextvfapi_disptst_gen_test_pattern", {"mute-color", "77", "7", "red"}),
    display("a_vextvfapi_disptst_gen_test_pattern", {"mute-color", "off", "7", "red"}),
    display("a_vextvfapi_disptst_gen_test_pattern", {"ipmux", "on", "8", "red"}),
    refused("a_vextvfapi_disptst_gen_test_pattern", {"mvop", "on", "8", "red"}, useClosedWindow),
    refused("a_vextvfapi_disptst_gen_test_pattern", {"adc", "on", "8", "red"}, useClosedWindow),
    refused("a_vextvfapi_disptst_gen_test_pattern", {"11", "on"}, useClosedWindow),
    refused("a_vextvfapi_disptst_gen_test_pattern", {"ipmux", "on"}, useNoWindow),
    {"a_vextvfapi_inpsrc_init", {}},
    onInputs("a_vextvfapi_inpsrc_deinit"),
    analogInput("a_vextvfapi_inpsrc_get_adc_phase", {"vga"}),
    analogInput("a_vextvfapi_inpsrc_auto_gain_offset", {"scart"}),
    analogInput("a_vextvfapi_inpsrc_set_adc_phase", {"ypbpr", "1", "2", "3"}),
    analogInput("a_vextvfapi_inpsrc_get_adc_gain_offset", {"ypbpr"}),
    analogInput("a_vextvfapi_inpsrc_set_adc_gain_offset", {"vga", "1", "2", "3", "4", "5", "6"}),
    analogInput("a_vextvfapi_inpsrc_auto_gain_offset", {"vga"}),
    refused("a_vextvfapi_inpsrc_get_adc_phase", {"scart"}, plugAnalog),
    refused("a_vextvfapi_inpsrc_get_adc_gain_offset", {"scart"}, plugAnalog),
    refused("a_vextvfapi_inpsrc_set_adc_phase", {"scart", "1", "2", "3"}, plugAnalog),
    refused("a_vextvfapi_inpsrc_set_adc_gain_offset", {"scart", "1", "2", "3", "4", "5", "6"}, plugAnalog),
    refused("a_vextvfapi_inpsrc_auto_gain_offset", {"3"}, plugAnalog),
    onInputs("_a_vextvfapi_inpsrc_get_vga_handle"),
    onInputs("_a_vextvfapi_inpsrc_get_ypbpr_handle"),
    onInputs("a_vextvfapi_inpsrc_check_vd_signal_locked"),
    onInputs("_a_vextvfapi_inpsrc_check_vd_signal_locked"),
    onInputs("a_vextvfapi_inpsrc_set_factory_vd_para", {"1", "2"}),
    onInputs("a_vextvfapi_inpsrc_get_factory_vd_para", {"1"}),
    refused("a_vextvfapi_inpsrc_set_factory_vd_para", {"18", "2"}, bringInputsUp),
    refused("a_vextvfapi_inpsrc_get_factory_vd_para", {"18"}, bringInputsUp),
    onScreen("a_vextvfapi_inpsrc_get_current_input_source"),
    onScreen("a_vextvfapi_inpsrc_get_current_input_source_type"),
    onScreen("_a_vextvfapi_inpsrc_get_current_input_source", {"type"}),
    onScreen("a_vextvfapi_inpsrc_get_input_timing"),
    onScreen("a_vextvfapi_inpsrc_get_video_standard"),
    onScreen("_a_vextvfapi_inpsrc_get_video_standard"),
    {"a_vextvfapi_inpsrc_get_ber", {}, showNothing, useFirstWindow},
    {"a_vextvfapi_inpsrc_vif_init", {}, giveTunerUp},
    onInputs("a_vextvfapi_inpsrc_get_demod_info"),
    {"a_vextvfapi_inpsrc_get_demod_info", {}, nameDemodulator},
    display("a_vextvfapi_disp_set_picture_param", {"5", "1"}),
    display("a_vextvfapi_disp_set_color_temperature", {"1", "2", "3", "4", "5", "6"}),
    display("a_vextvfapi_disp_set_picture_param_struct", {"record", "repeat:29:x"}),
    display("a_vextvfapi_disp_set_picture_param_struct", {"gamma", "hex:01"}),
    display("a_vextvfapi_disp_set_gamma_curve", {"linear"}),
    {"a_vextvfapi_disp_get_pq_range", {}, useClosedWindow, useFirstWindow},
    {"a_vextvfapi_disp_get_pq_version", {"hd1", "0"}},
    display("a_vextvfapi_disp_set_output_timing", {"4"}),
    {"a_vextvfapi_disp_set_freerun_control", {"1"}, vset::disp::releaseController},
    {"a_vextvfapi_disp_set_over_scan", {"1", "2", "3", "4"}},
    panel("a_vextvfapi_disp_panel_set_attr", {"5", "1", "2", "3"}),
    panel("a_vextvfapi_disp_panel_get_attr", {"4"}),
    panel("a_vextvfapi_disp_get_lvds_ssc"),
    panel("a_vextvfapi_disp_get_pwm_range"),
    // An attribute that it does not have, too.
    panel("a_vextvfapi_disp_panel_get_attr", {"3"}),
    panel("a_vextvfapi_disp_get_tcon_info"),
    panel("a_vextvfapi_disp_get_frc_device_info"),
    panel("a_vextvfapi_disp_get_frc_connect_status"),
    panel("a_vextvfapi_disp_upgrade_tarn_fw", {"/data/file"}),
    {"a_vextvfapi_disp_panel_set_attr", {"1", "1"}, findOutputUp},
    {"a_vextvfapi_disp_panel_get_attr", {"4"}, findOutputUp},
    {"a_vextvfapi_disp_panel_get_attr", {"3"}, findOutputUp},
    {"a_vextvfapi_disp_get_tcon_info", {}, findOutputUp},
    {"a_vextvfapi_disp_get_frc_device_info", {}, findOutputUp},
    {"a_vextvfapi_disp_get_frc_connect_status", {}, findOutputUp},
    {"a_vextvfapi_disp_upgrade_tarn_fw", {"/data/file"}, findOutputUp},
    driver("a_vextvfapi_disp_set_overscan", {"1", "2", "3", "4"}),
    driver("a_vextvfapi_disp_nty_drv_reload_param", {}),
    driver("a_vextvfapi_disp_set_pq_value", {"0", "1000"}),
    driver("a_vextvfapi_disp_set_pq_value", {"1", "1001"}),
    driver("a_vextvfapi_disp_set_pq_value", {"2", "1002"}),
    driver("a_vextvfapi_disp_set_pq_value", {"3", "1003"}),
    driver("a_vextvfapi_disp_set_pq_value", {"4", "1004"}),
    driver("a_vextvfapi_disp_set_pq_value", {"5", "1005"}),
    refused("a_vextvfapi_disp_set_pq_value", {"-1", "1"}, bringDriversUp),
    background("a_vextvfapi_prphrl_std_factory_uart_start", {"115200", "0"}, nullptr, stopStandardLink),
    refused("a_vextvfapi_prphrl_std_factory_uart_start", {"5", "0"}),
    refused("a_vextvfapi_prphrl_std_factory_uart_start", {"-1", "0"}),
    refused("a_vextvfapi_prphrl_std_factory_uart_start", {"115200", "2"}),
    refused("a_vextvfapi_prphrl_std_factory_uart_start", {"115200", "-1"}),
    refused("a_vextvfapi_prphrl_std_factory_uart_start", {"115200", "0", "3"}),
    refused("a_vextvfapi_prphrl_std_factory_uart_start", {"115200", "1", "4294967295"}),
    background("a_vextvfapi_prphrl_std_factory_uart_stop", {}, startStandardLink, stopStandardLink),
    background("a_vextvfapi_prphrl_std_factory_uart_write", {"text:abc"}, startStandardLink, stopStandardLink),
    background("a_vextvfapi_prphrl_std_factory_uart_custom_config", {"end", ";", "8"}, startStandardLink,
               stopStandardLink),
    background("a_vextvfapi_prphrl_gpio_monitor_start", {"5", "1000000"}, nullptr, stopMonitor),
    background("a_vextvfapi_prphrl_gpio_monitor_stop", {}, startMonitor, stopMonitor),
    quiet("_a_vextvfapi_common_init_debug_level"),
    quiet("_bytes_to_bool", {"hex:FE"}),
    quiet("_bytes_to_int", {"hex:12FE5678"}),
    quiet("_bytes_to_one_byte_enum", {"hex:12"}),
    quiet("_bytes_to_short", {"hex:12FE"}),
    quiet("_bytes_to_short", {"hex:FE56"}),
    quiet("a_vextvfapi_common_get_fapi_status"),
    quiet("a_vextvfapi_common_get_fapi_version"),
    quiet("a_vextvfapi_common_hw_err_msg", {"3"}),
    quiet("a_vextvfapi_prphrl_add_ir_block_key", {"1", "2"}),
    quiet("a_vextvfapi_prphrl_enable_ir_block_key", {"on"}),
    quiet("a_vextvfapi_prphrl_invert_ir_block_key", {"on"}),
    quiet("a_vextvfapi_prphrl_deinit"),
    quiet("a_vextvfapi_prphrl_switch_to_ttys1", {"off"}),
    {"_a_vextvfapi_prphrl_sar_key_callback", {"1", "press", "0x01"}, nullptr, nullptr, Calls::sometimes},
    quiet("_a_vextvfapi_sys_convert_fw_type", {"0"}),
    quiet("_a_vextvfapi_sys_get_miu_type_by_idx", {"2"}),
    quiet("_a_vextvfapi_sys_get_miu_type_by_idx", {"3"}),
    quiet("a_vextvfapi_sys_update_panel"),
    quiet("_a_vextvfapi_sys_convert_factory_cmd", {"0"}),
    quiet("a_vextvfapi_sys_change_file_mode", {"/data/file", "0444"}),
    quiet("a_vextvfapi_sys_deinit"),
    quiet("a_vextvfapi_info_init"),
    quiet("a_vextvfapi_info_deinit"),
    quiet("a_vextvfapi_disp_deinit"),
    quiet("a_vextvfapi_disp_switch_window", {"0"}),
    quiet("a_vextvfapi_disp_update_pq_ini_files"),
    quiet("a_vextvfapi_disptst_deinit"),
    drawn("a_vextvfapi_disptst_gen_gop_test_pattern_draw_bitmap", {"4", "1", "/data/bmp", "0", "0", "4", "1"},
          putCanvasAndBmpUp),
    drawn("a_vextvfapi_disptst_gen_gop_test_pattern_draw_line", {"0", "0", "15", "3", "yellow"}),
    drawn("a_vextvfapi_disptst_gen_gop_test_pattern_draw_rect", {"1", "1", "10", "2", "#C00000", "1", "white"}),
    quiet("_a_vextvfapi_inpsrc_convert_to_HW_EXTIN_FactoryType_e", {"3"}),
    quiet("_a_vextvfapi_inpsrc_convert_to_HW_EXTIN_FactoryType_e", {"18"}),
};

}  // namespace

const std::vector<Sample>& samples() {
    return kSamples;
}

}  // namespace test
