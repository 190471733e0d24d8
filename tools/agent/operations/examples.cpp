// SPDX-License-Identifier: Apache-2.0
// An example of every operation.
#include "operations/examples.h"

#include <iterator>
#include <string>
#include <unordered_map>

namespace tool {

namespace {

// What several examples begin with.
constexpr char kNote[] = "set put /mnt/usb/note.txt \"first line\\nsecond line\\n\"";
constexpr char kFirmware[] = "set put /mnt/usb/firmware.bin repeat:64:f";
constexpr char kCanvas[] = "disptst_gen_gop_test_pattern_on 640 480";
// 4 pixels of 24 bits in a row.
constexpr char kBitmap[] =
    "set put /mnt/usb/logo.bmp hex:424d4200000000000000360000002800000004000000010000000100180000000000"
    "0c0000000000000000000000000000000000000000ff00ff00ff0000ffffff";
constexpr char kUart[] = "prphrl_start_factory_uart 115200 0";
// Why not.
constexpr char kNoTty[] = "99 is no open terminal; a program passes a descriptor of its own";
constexpr char kVga[] = "set plug vga 0";
constexpr char kNoVideo[] = "set disconnect-video 0";
constexpr char kCompositeSource[] = "set plug cvbs 0 720 576 50000 interlaced locked 3";
constexpr char kComposite[] = "set connect-input 0 cvbs 0";

std::vector<Example> commonExamples() {
    return {
        {"_common_init"},
        {"_common_init_debug_level"},
        {"common_get_fapi_status"},
        {"common_get_fapi_version"},
        {"common_hw_err_msg 3"},
        {"_bytes_to_bool hex:01"},
        {"_bytes_to_int hex:00000102"},
        {"_bytes_to_one_byte_enum hex:05"},
        {"_bytes_to_short hex:0102"},
    };
}

std::vector<Example> sysExamples() {
    return {
        {"sys_init"},
        {"sys_deinit"},
        {"sys_get_emmc_env_var serial", {"sys_set_emmc_env_var serial LM55-000815"}},
        {"sys_set_emmc_env_var serial LM55-000815"},
        {"_sys_get_env_var serial 64 emmc", {"sys_set_emmc_env_var serial LM55-000815"}},
        {"_sys_set_env_var serial LM55-000815 emmc"},
        {"_sys_get_flash_handle emmc"},
        {"sys_check_file /mnt/usb/note.txt", {kNote}},
        {"sys_check_folder /mnt/usb"},
        {"sys_create_file /mnt/usb/new.txt"},
        {"sys_create_folder /mnt/usb/records"},
        {"sys_remove_file /mnt/usb/note.txt", {kNote}},
        {"sys_copy_file /mnt/usb/note.txt /data/note.txt", {kNote}},
        {"sys_change_file_mode /mnt/usb/note.txt 0444", {kNote}},
        {"sys_read_file /mnt/usb/note.txt", {kNote}},
        {"sys_read_file_one_line /mnt/usb/note.txt", {kNote}},
        {"sys_write_file /mnt/usb/note.txt \"a note\\n\""},
        {"sys_get_file_checksum /mnt/usb/note.txt", {kNote}},
        {"sys_sync_fs"},
        {"sys_get_dataindex_path"},
        {"sys_get_customer_hash"},
        {"sys_read_emmc factory 0x1000 16"},
        {"sys_write_emmc factory 0x1000 text:LM55-000815"},
        {"sys_get_rtc_time"},
        {"sys_get_wdt_status"},
        {"sys_set_wdt on"},
        {"_sys_get_wdt_handle"},
        {"sys_set_miu_ssc 0 30 10 on"},
        {"_sys_get_miu_type_by_idx 0"},
        {"sys_read_reg 0x1012 0x40"},
        {"sys_write_reg 0x1012 0x40 0xA5A5"},
        {"sys_upgrade_fw fw0 /mnt/usb/firmware.bin", {kFirmware}},
        {"_sys_convert_fw_type 0"},
        {"sys_update_panel"},
        {"sys_send_cmd_to_factory_svc 0 mode=aging", {"set daemon answer"}},
        {"_sys_convert_factory_cmd 0"},
        {"sys_reg_callback"},
        {"sys_unreg_callback"},
        {"sys_nty_event 0x100001 1", {"sys_reg_callback"}},
    };
}

std::vector<Example> infoAndNetExamples() {
    return {
        {"info_init"},
        {"info_deinit"},
        {"info_get_ini_para /vendor/factory/config/ir.ini IR:IR_FORMAT"},
        {"info_set_ini_para /vendor/factory/config/ir.ini IR:IR_FORMAT 2"},
        {"info_reg_callback"},
        {"info_unreg_callback"},
        {"info_nty_event 1 1", {"info_reg_callback"}},
        {"net_init"},
        {"net_deinit"},
        {"net_open eth0"},
        {"net_close", {"net_open eth0"}},
        {"net_set_mac 02:00:5e:00:53:01"},
        {"net_set_interface_updown eth0 up"},
        {"net_reg_callback"},
        {"net_unreg_callback"},
        {"net_nty_event 1 1", {"net_reg_callback"}},
    };
}

std::vector<Example> prphrlExamples() {
    return {
        {"prphrl_init"},
        {"prphrl_deinit"},
        {"prphrl_start_factory_uart 115200 0"},
        {"prphrl_stop_factory_uart 0", {kUart}},
        {"prphrl_write_factory_uart \"SERIAL=LM55-000815\"", {kUart}},
        {"prphrl_std_factory_uart_start 115200 0 both"},
        {"prphrl_std_factory_uart_stop", {"prphrl_std_factory_uart_start 115200 0 both"}},
        {"prphrl_std_factory_uart_write \"READY\\n\"", {"prphrl_std_factory_uart_start 115200 0 both"}},
        {"prphrl_std_factory_uart_custom_config end ; 8", {"prphrl_std_factory_uart_start 115200 0 both"}},
        {"prphrl_set_uart_pipe_mode on ;"},
        {"prphrl_switch_to_ttys1 on"},
        {"_prphrl_create_pipe_file",
         {"set remove /data/vendor"},
         "its folder is missing; where it is there, this waits until another program writes to the FIFO"},
        {"_prphrl_uartOpen /dev/ttyS0 115200"},
        {"_prphrl_uartRead 16", {"_prphrl_uartOpen /dev/ttyS0 115200", "set type 0 READY"}},
        {"_prphrl_uartWrite text:READY", {"_prphrl_uartOpen /dev/ttyS0 115200"}},
        {"_prphrl_uartWritestr READY", {"_prphrl_uartOpen /dev/ttyS0 115200"}},
        {"_prphrl_setBlocking 99 on", {}, kNoTty},
        {"_prphrl_setInterfaceAttr 99 115200", {}, kNoTty},
        {"prphrl_set_mic_led white"},
        {"prphrl_keypad_init"},
        {"prphrl_start_keypad"},
        {"prphrl_stop_keypad", {"prphrl_start_keypad"}},
        {"_prphrl_sar_key_callback 1 press 0x01"},
        {"prphrl_start_adc on"},
        {"prphrl_get_sar_adc 3", {"set voltage 3 0x7F"}},
        {"prphrl_control_gpio 20 1"},
        {"prphrl_get_gpio_status 12", {"set drive 12 1"}},
        {"prphrl_gpio_monitor_start 12"},
        {"prphrl_gpio_monitor_stop", {"prphrl_gpio_monitor_start 12"}},
        {"prphrl_enable_iic 5"},
        {"prphrl_disable_iic 5", {"prphrl_enable_iic 5"}},
        {"prphrl_read_from_iic 5 0x05A4 hex:10 6", {"set iic-device 5 0xA4 EEPROM 256 8"}},
        {"prphrl_write_to_iic 5 0x05A4 hex:10 A-0815", {"set iic-device 5 0xA4 EEPROM 256 8"}},
        {"prphrl_get_iic_slave_address 1 0"},
        {"prphrl_add_ir_block_key 1 2"},
        {"prphrl_enable_ir_block_key on"},
        {"prphrl_invert_ir_block_key on"},
        {"prphrl_get_rc_format IR:IR_FORMAT"},
        {"prphrl_enable_cec on"},
        {"_prphrl_init_cec"},
        {"prphrl_get_cec_status"},
        {"prphrl_get_earc_status"},
        {"_prphrl_extin_Init"},
        {"prphrl_get_hdmi_edid_version 0"},
        {"prphrl_set_hdmi_edid_version 0 2"},
        {"prphrl_get_hdmi_edid_data 0"},
        {"prphrl_set_hdmi_edid_data 0 2 repeat:128:e"},
        {"prphrl_set_hdmi_hpd 0 1"},
        {"_prphrl_get_hdmi_handle 0"},
        {"_prphrl_set_hdmi_hpd 0x36545F49 0 1", {"_prphrl_get_hdmi_handle 0"}},
        {"prphrl_pwm_get_attr 2 9", {"prphrl_pwm_set_attr 2 9 1500"}},
        {"prphrl_pwm_set_attr 2 9 1500"},
        {"prphrl_reg_callback"},
        {"prphrl_unreg_callback"},
        {"prphrl_nty_event 0x100005 1", {"prphrl_reg_callback"}},
    };
}

std::vector<Example> audExamples() {
    return {
        {"aud_init"},
        {"aud_deinit"},
        {"aud_open"},
        {"aud_close", {"aud_open"}},
        {"aud_adv_enable_basic_sound_effect surround on"},
        {"aud_basic_snd_set_param eq 1,2,3,4,5"},
        {"aud_adv_snd_enable srs-theater"},
        {"aud_adv_snd_enable_sub dbx sonic+night on"},
        {"aud_adv_snd_set_param dbx"},
        {"aud_adv_snd_set_dolby_dap_param -12"},
        {"aud_dts_bypass on"},
        {"aud_get_attr basic-sound bass", {"aud_basic_snd_set_param bass 12"}},
        {"aud_adv_set_prescale on 90"},
        {"aud_adv_set_NR on 7"},
        {"aud_adv_set_peq_q_value 1 9"},
        {"aud_adv_set_peq_freq_value 0 30"},
        {"aud_adv_set_peq_gain_value 2 120"},
        {"aud_adv_set_peq_value 3 120 1000 10"},
        {"aud_adv_set_speaker_delay 30"},
        {"aud_adv_get_speaker_delay"},
        {"aud_adv_set_volume 3 30"},
        {"aud_adv_get_volume 3"},
        {"aud_set_volume_table all Linear 0,25,50,75,100"},
        {"aud_load_aq_params /mnt/usb/sound.aq", {"set put /mnt/usb/sound.aq text:sound"}},
        {"aud_reg_callback"},
        {"aud_unreg_callback"},
        {"aud_nty_event 1 1", {"aud_reg_callback"}},
    };
}

std::vector<Example> dispExamples() {
    return {
        {"disp_init"},
        {"disp_deinit"},
        {"disp_switch_window 1"},
        {"_disp_get_disp_handle"},
        {"_disp_get_disp_handle_by_win_idx 1"},
        {"_disp_get_on_screen_input 0x5A545F49", {"_disp_get_disp_handle"}},
        {"disp_capture_screen_to_usb /mnt/usb/screen.bmp screen"},
        {"_disp_capture_video_to_usb /mnt/usb/video.bmp"},
        {"_disp_capture_osd_to_usb /mnt/usb/osd.bmp 1", {kCanvas}},
        {"_output_bmp_file /mnt/usb/line.bmp hex:000000ffff0000ff 8 2 1"},
        {"disp_set_picture_param 5 60"},
        {"disp_set_color_temperature 1010 1024 1040 128 127 126"},
        {"disp_set_picture_param_struct gamma hex:01"},
        {"disp_set_gamma_curve power:2.2"},
        {"disp_get_pq_range"},
        {"disp_get_pq_version hd0 0"},
        {"disp_update_pq_ini_files"},
        {"disp_set_pq_value 0 50"},
        {"disp_panel_set_attr 5 1 400 20"},
        {"disp_panel_get_attr 5"},
        {"disp_get_lvds_ssc"},
        {"disp_get_pwm_range"},
        {"disp_get_tcon_info"},
        {"disp_get_frc_device_info"},
        {"disp_get_frc_connect_status"},
        {"disp_upgrade_tarn_fw /mnt/usb/firmware.bin", {kFirmware}},
        {"disp_set_output_timing 4"},
        {"disp_set_freerun_control 1"},
        {"disp_set_over_scan 96 54 1728 972"},
        {"disp_set_overscan 1 2 3 4"},
        {"disp_nty_drv_reload_param"},
        {"disp_reg_callback"},
        {"disp_unreg_callback"},
        {"disp_nty_event 1 1", {"disp_reg_callback"}},
    };
}

std::vector<Example> disptstExamples() {
    return {
        {"disptst_init"},
        {"disptst_deinit"},
        {"disptst_gen_gop_test_pattern_on 640 480"},
        {"disptst_gen_gop_test_pattern_off", {kCanvas}},
        {"disptst_gen_gop_test_pattern_show", {kCanvas}},
        {"disptst_gen_gop_test_pattern_hide", {kCanvas}},
        {"disptst_gen_gop_test_pattern_by_bmp /mnt/usb/logo.bmp 4 1", {kBitmap}},
        {"disptst_gen_gop_test_pattern_draw_bitmap 40 40 /mnt/usb/logo.bmp 0 0 4 1", {kBitmap, kCanvas}},
        {"disptst_gen_gop_test_pattern_draw_line 0 0 639 479 yellow", {kCanvas}},
        {"disptst_gen_gop_test_pattern_draw_rect 40 40 400 240 #C00000 8 white", {kCanvas}},
        {"disptst_gop_pattern_set_attr on 50 0", {kCanvas}},
        {"disptst_gen_test_pattern mod on 1 #FF8000"},
        {"disptst_set_burning_mode on"},
        {"disptst_set_burning_mode_adv on red,#00FF00,0/0/1023 5"},
        {"disptst_set_osd_layer_on_off 1 on"},
        {"disptst_set_pq_on_off off"},
        {"_disptst_connect_disp 0x5A545F49", {"_disp_get_disp_handle"}},
        {"disptst_reg_callback"},
        {"disptst_unreg_callback"},
        {"disptst_nty_event 1 1", {"disptst_reg_callback"}},
    };
}

std::vector<Example> inpsrcExamples() {
    return {
        {"inpsrc_init"},
        {"inpsrc_deinit"},
        {"inpsrc_get_adc_phase vga", {kVga}},
        {"inpsrc_set_adc_phase vga 11 12 13", {kVga}},
        {"inpsrc_get_adc_gain_offset vga", {kVga}},
        {"inpsrc_set_adc_gain_offset vga 1065 1052 1071 131 127 134", {kVga}},
        {"inpsrc_auto_gain_offset vga", {kVga}},
        {"_inpsrc_get_vga_handle"},
        {"_inpsrc_get_ypbpr_handle"},
        {"inpsrc_check_vd_signal_locked"},
        {"_inpsrc_check_vd_signal_locked"},
        {"inpsrc_set_factory_vd_para 3 0x55"},
        {"inpsrc_get_factory_vd_para 3"},
        {"_inpsrc_convert_to_HW_EXTIN_FactoryType_e 3"},
        {"inpsrc_get_current_input_source", {kNoVideo, kComposite}},
        {"inpsrc_get_current_input_source_type", {kNoVideo, kComposite}},
        {"_inpsrc_get_current_input_source type", {kNoVideo, kComposite}},
        {"_inpsrc_get_src_by_extin_handle 0x36545F49", {"_inpsrc_get_vga_handle"}},
        {"inpsrc_get_input_timing", {kNoVideo, "set plug hdmi 1", "set connect-input 0 hdmi 1"}},
        {"inpsrc_get_video_standard", {kNoVideo, kCompositeSource, kComposite}},
        {"_inpsrc_get_video_standard", {kNoVideo, kCompositeSource, kComposite}},
        {"inpsrc_vif_init"},
        {"inpsrc_get_demod_info"},
        {"inpsrc_get_ber"},
        {"inpsrc_reg_callback"},
        {"inpsrc_unreg_callback"},
        {"inpsrc_nty_event 1 1", {"inpsrc_reg_callback"}},
    };
}

std::string firstWord(const char* line) {
    const std::string text = line;
    return text.substr(0, text.find(' '));
}

}  // namespace

const std::vector<Example>& examples() {
    static const std::vector<Example> all = [] {
        std::vector<Example> rows;
        for (std::vector<Example> some : {commonExamples(), sysExamples(), infoAndNetExamples(), prphrlExamples(),
                                          audExamples(), dispExamples(), disptstExamples(), inpsrcExamples()}) {
            std::move(some.begin(), some.end(), std::back_inserter(rows));
        }
        return rows;
    }();
    return all;
}

const Example* exampleOf(const Operation& operation) {
    static const std::unordered_map<std::string, const Example*> byName = [] {
        std::unordered_map<std::string, const Example*> names;
        for (const Example& example : examples()) {
            names.emplace(firstWord(example.line), &example);
        }
        return names;
    }();
    const auto found = byName.find(operation.shortName());
    return found != byName.end() ? found->second : nullptr;
}

}  // namespace tool
