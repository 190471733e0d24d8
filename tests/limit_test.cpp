// SPDX-License-Identifier: Apache-2.0
// Arguments at the ends of their documented ranges, and one beyond: the operations' samples with one argument
// changed.
#include <algorithm>

#include <gtest/gtest.h>

#include "a_vextvfapi_prphrl.h"
#include "a_vextvfapi_sys.h"
#include "operation.h"
#include "operation_samples.h"
#include "support/set_fixture.h"

namespace {

using test::Sample;

// The range of an argument: a number, or the length of a text or of bytes.
struct Limit {
    const char* pszOperation;
    std::size_t index;  // of the argument
    long long min, max;
    int s32Status;  // of a value beyond
};

constexpr long long kNone = -1;

constexpr Limit kLimits[] = {
    {"a_vextvfapi_common_get_fapi_version", 0, 10, kNone, -2},
    {"a_vextvfapi_sys_set_miu_ssc", 0, kNone, 2, -2},
    {"a_vextvfapi_sys_set_miu_ssc", 1, 20, 40, -2},
    {"a_vextvfapi_sys_set_miu_ssc", 2, 1, 30, -2},
    {"a_vextvfapi_sys_set_emmc_env_var", 1, kNone, 2046, -2},
    {"a_vextvfapi_sys_get_dataindex_path", 0, 128, kNone, -1},
    {"a_vextvfapi_sys_get_customer_hash", 0, 16, kNone, -1},
    {"a_vextvfapi_sys_upgrade_fw", 0, kNone, 1, -2},
    {"a_vextvfapi_sys_read_file_one_line", 1, 1, kNone, -1},
    {"a_vextvfapi_sys_read_file", 1, 1, kNone, -1},
    {"a_vextvfapi_sys_write_file", 1, 1, kNone, -1},
    {"a_vextvfapi_aud_adv_snd_enable", 0, kNone, 7, -1},
    {"a_vextvfapi_aud_adv_set_prescale", 1, 1, 255, -1},
    {"a_vextvfapi_aud_adv_set_NR", 1, kNone, 255, -1},
    {"a_vextvfapi_aud_adv_set_peq_q_value", 0, kNone, 4, -1},
    {"a_vextvfapi_aud_adv_set_peq_freq_value", 0, kNone, 4, -1},
    {"a_vextvfapi_aud_adv_set_peq_gain_value", 0, kNone, 4, -1},
    {"a_vextvfapi_aud_adv_set_peq_value", 0, kNone, 4, -1},
    {"a_vextvfapi_aud_adv_set_peq_value", 1, kNone, 360, -1},
    {"a_vextvfapi_aud_adv_set_peq_value", 2, 20, 20000, -1},
    {"a_vextvfapi_aud_adv_set_peq_value", 3, 5, 160, -1},
    {"a_vextvfapi_aud_adv_set_speaker_delay", 0, kNone, 250, -1},
    {"a_vextvfapi_aud_adv_set_volume", 0, kNone, 8, -1},
    {"a_vextvfapi_aud_adv_set_volume", 1, kNone, 100, -1},
    {"a_vextvfapi_aud_adv_get_volume", 0, kNone, 8, -1},
    {"a_vextvfapi_aud_set_volume_table", 0, kNone, 8, -2},
    {"a_vextvfapi_disp_get_pq_version", 1, kNone, 6, -1},
    {"a_vextvfapi_disp_set_output_timing", 0, kNone, 46, -1},
    {"a_vextvfapi_disp_set_pq_value", 0, kNone, 5, -1},
    {"a_vextvfapi_disptst_gen_gop_test_pattern_on", 0, 1, kNone, -1},
    {"a_vextvfapi_disptst_gen_gop_test_pattern_on", 1, 1, kNone, -1},
    {"a_vextvfapi_inpsrc_set_factory_vd_para", 0, 1, 16, -1},
    {"a_vextvfapi_inpsrc_get_factory_vd_para", 0, 1, 16, -1},
    {"a_vextvfapi_prphrl_start_factory_uart", 1, kNone, 4, 0},
    {"a_vextvfapi_prphrl_start_factory_uart", 2, kNone, 17, 0},
    {"a_vextvfapi_prphrl_get_gpio_status", 0, 1, kNone, -1},
    {"a_vextvfapi_prphrl_set_hdmi_edid_version", 0, kNone, 3, -1},
    {"a_vextvfapi_prphrl_set_hdmi_edid_version", 1, kNone, 3, -1},
    {"a_vextvfapi_prphrl_get_hdmi_edid_version", 0, kNone, 3, -2},
    {"a_vextvfapi_prphrl_set_hdmi_edid_data", 0, kNone, 3, -1},
    {"a_vextvfapi_prphrl_set_hdmi_edid_data", 2, kNone, 512, -1},
    {"a_vextvfapi_prphrl_get_hdmi_edid_data", 0, kNone, 3, -1},
    {"a_vextvfapi_prphrl_set_hdmi_hpd", 0, kNone, 3, -2},
    {"a_vextvfapi_prphrl_pwm_set_attr", 0, kNone, 2, -1},
    {"a_vextvfapi_prphrl_pwm_set_attr", 1, kNone, 17, -1},
    {"a_vextvfapi_prphrl_pwm_get_attr", 0, kNone, 2, -1},
    {"a_vextvfapi_prphrl_pwm_get_attr", 1, kNone, 17, -1},
};

class Limits : public test::SetTest {
protected:
    // Some limits are the chip's.
    Limits() {
        leavesOpen("HW_");
        refuses(kAnyCall);
    }

    tool::Outcome invoke(const Limit& stLimit, long long value) {
        const tool::Operation& operation = *tool::findOperation(stLimit.pszOperation);
        const std::vector<Sample>& samples = test::samples();
        const auto sample = std::find_if(samples.begin(), samples.end(), [&](const Sample& stSample) {
            return std::string(stSample.pszOperation) == stLimit.pszOperation;
        });
        vset::powerCycle();
        write("/data/file", "one\ntwo\n");
        EXPECT_EQ(a_vextvfapi_sys_init(), 0);
        EXPECT_EQ(a_vextvfapi_prphrl_init(), 0);
        if (sample->before != nullptr) {
            sample->before();
        }
        std::vector<tool::Value> arguments = tool::parseArguments(operation, sample->words);
        tool::Value& changed = arguments.at(stLimit.index);
        if (std::holds_alternative<long long>(changed)) {
            changed = value;
        } else if (std::holds_alternative<std::string>(changed)) {
            changed = std::string(static_cast<std::size_t>(value), 'x');
        } else {
            changed = tool::Bytes(static_cast<std::size_t>(value), 'x');
        }
        const tool::Outcome outcome = tool::invoke(operation, arguments);
        if (sample->after != nullptr) {
            sample->after();
        }
        return outcome;
    }
};

TEST_F(Limits, AreWhereTheHeadersSay) {
    for (const Limit& stLimit : kLimits) {
        SCOPED_TRACE(std::string(stLimit.pszOperation) + " argument " + std::to_string(stLimit.index));
        for (const auto& [value, beyond] : {std::pair(stLimit.min, stLimit.min - 1), {stLimit.max, stLimit.max + 1}}) {
            if (value != kNone) {
                EXPECT_TRUE(invoke(stLimit, value).good) << value;
                EXPECT_EQ(invoke(stLimit, beyond).status, stLimit.s32Status) << beyond;
            }
        }
    }
}

}  // namespace
