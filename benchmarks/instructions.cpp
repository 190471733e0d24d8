// SPDX-License-Identifier: Apache-2.0
// Runs one operation ten times, after once to warm up, for a tool that counts instructions.
// usage: instructions OPERATION
#include <cstdio>
#include <cstring>

#include "a_vextvfapi_aud.h"
#include "a_vextvfapi_common.h"
#include "a_vextvfapi_disp.h"
#include "a_vextvfapi_disptst.h"
#include "a_vextvfapi_inpsrc.h"
#include "a_vextvfapi_prphrl.h"
#include "a_vextvfapi_sys.h"
#include "bench_set.h"

namespace {

unsigned char au8Buffer[4096];

const unsigned char* text(const char* pszText) {
    return reinterpret_cast<const unsigned char*>(pszText);
}

struct Sample {
    const char* pszName;
    void (*run)();
};

const Sample kSamples[] = {
    {"_bytes_to_int", [] { _bytes_to_int(reinterpret_cast<signed char*>(au8Buffer)); }},
    {"a_vextvfapi_common_hw_err_msg", [] { a_vextvfapi_common_hw_err_msg(5); }},
    {"a_vextvfapi_sys_check_file", [] { a_vextvfapi_sys_check_file(text("/data/none")); }},
    {"a_vextvfapi_prphrl_pwm_set_attr",
     [] {
         a_vextvfapi_prphrl_pwm_set_attr(fapi_core::E_VEXTVFAPI_PWM_ATTR_0, fapi_core::E_VEXTVFAPI_PWM_CHANNEL_FIRST,
                                         5);
     }},
    {"a_vextvfapi_prphrl_get_gpio_status", [] { a_vextvfapi_prphrl_get_gpio_status(7, au8Buffer); }},
    {"a_vextvfapi_aud_adv_snd_enable",
     [] {
         unsigned int u32Type = 1;
         a_vextvfapi_aud_adv_snd_enable(&u32Type);
     }},
    {"a_vextvfapi_disp_set_picture_param", [] { a_vextvfapi_disp_set_picture_param(5, 7); }},
    {"a_vextvfapi_disp_set_color_temperature", [] { a_vextvfapi_disp_set_color_temperature(1, 2, 3, 4, 5, 6); }},
    {"a_vextvfapi_inpsrc_get_input_timing",
     [] {
         fapi_core::VexTvFApiVideoTiming timing = {};
         a_vextvfapi_inpsrc_get_input_timing(timing);
     }},
    {"a_vextvfapi_inpsrc_set_adc_phase", [] { a_vextvfapi_inpsrc_set_adc_phase(0, 1, 2, 3); }},
    {"a_vextvfapi_disptst_gen_gop_test_pattern_draw_line",
     [] {
         a_vextvfapi_disptst_gen_gop_test_pattern_draw_line({0, 0, 640, 360, {1, 2, 3, 4}});
     }},
    {"a_vextvfapi_disptst_gen_gop_test_pattern_draw_rect",
     [] {
         a_vextvfapi_disptst_gen_gop_test_pattern_draw_rect({8, 8, 640, 360, {1, 2, 3, 4}, 4, {5, 6, 7, 8}});
     }},
};

}  // namespace

int main(int argc, char** argv) {
    for (const Sample& stSample : kSamples) {
        if (argc == 2 && std::strcmp(stSample.pszName, argv[1]) == 0) {
            const bench::Set set;
            a_vextvfapi_prphrl_init();
            a_vextvfapi_aud_init();
            a_vextvfapi_disp_init();
            a_vextvfapi_inpsrc_init();
            a_vextvfapi_disptst_gen_gop_test_pattern_on(1280, 720);
            for (int i = 0; i < 10; ++i) {
                stSample.run();
            }
            return 0;
        }
    }
    std::fprintf(stderr, "usage: instructions OPERATION\n");
    return 2;
}
