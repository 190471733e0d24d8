// SPDX-License-Identifier: Apache-2.0
// The shipped plans together: they call every operation, and the line's plan passes good sets and finds what is wrong
// with bad ones.
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "plan/plan.h"
#include "support/plan_fixture.h"
#include "support/waiting.h"

namespace {

using testing::ElementsAreArray;
using testing::HasSubstr;

const std::string kLinePlan = std::string(FAPI_PLANS) + "/line.plan";

class PlanCoverage : public test::PlanTest {
protected:
    // Returns the steps of the line that did not pass, as "name: verdict".
    std::vector<std::string> findings() const {
        std::vector<std::string> found;
        const nlohmann::json json = report();
        for (const auto& step : json["steps"]) {
            if (step["verdict"] != "passed") {
                found.push_back(step["name"].get<std::string>() + ": " + step["verdict"].get<std::string>());
            }
        }
        return found;
    }
};

TEST_F(PlanCoverage, EveryOperationIsCalledBySomePlan) {
    std::set<std::string> called;
    for (const auto& entry : std::filesystem::directory_iterator(FAPI_PLANS)) {
        if (entry.path().extension() != ".plan") {
            continue;
        }
        std::vector<tool::Problem> problems;
        const tool::Plan plan = tool::parsePlan(readFile(entry.path()), problems, entry.path());
        EXPECT_TRUE(problems.empty()) << entry.path() << ":" << problems[0].line << ": " << problems[0].text;
        for (const tool::Step& step : plan.steps) {
            for (const tool::PlanLine& line : step.lines) {
                const tool::Operation* operation = tool::findOperation(line.words.at(0));
                if (operation != nullptr) {
                    called.insert(operation->name);
                }
            }
        }
    }
    for (const tool::Operation& operation : tool::operations()) {
        EXPECT_EQ(called.count(operation.name), 1u) << operation.name << " is called by no plan";
    }
}

TEST_F(PlanCoverage, TheLinePassesAGoodSetTwice) {
    for (const char* pszTime : {"from assembly", "on its second way round"}) {
        const test::ProcessResult result = fapi({"run", "--report", reports(), kLinePlan});
        EXPECT_EQ(result.s32Exit, 0) << pszTime << result.strOutput << result.strError;
        EXPECT_THAT(result.strOutput, HasSubstr(" passed, 0 marginal, 0 failed, 0 not run in ")) << pszTime;
    }
    EXPECT_LT(report()["seconds"].get<double>(), test::patient(60));
    // The set keeps what the line has written.
    EXPECT_THAT(fapi({"call", "sys_get_emmc_env_var", "serial"}).strOutput, HasSubstr("LM55-2609-000815"));
    for (const char* pszGone : {"/mnt/usb/line", "/data/line"}) {
        EXPECT_FALSE(std::filesystem::exists(set() + "/tree" + pszGone)) << pszGone;
    }
}

TEST_F(PlanCoverage, TheLineFindsWhatIsWrongWithABadSet) {
    const struct {
        std::string strGood, strBad;
        std::vector<std::string> findings;
    } rows[] = {
        {"net_set_mac ${mac}", "net_set_mac 02:00:5E:00:00:01", {"22 Identity: MAC address: failed"}},
        {"set key 1", "set key 0", {"31 Board: every key answers, and only once: failed"}},
        {"set voltage 3 131", "set voltage 3 117", {"32 Board: supply voltage: failed"}},
        {"set drive 12 1", "set drive 12 0", {"33 Board: pads in and out: failed"}},
        {"prphrl_enable_iic 0",
         "prphrl_enable_iic 0\nset iic-remove 0 0xa0",
         {"35 Board: serial number into the EEPROM: failed"}},
        {"prphrl_set_hdmi_hpd 0 1", "", {"40 Interfaces: EDID round trip on HDMI 0: failed"}},
        {"set earc 2", "set earc -1", {"41 Interfaces: CEC and eARC: failed"}},
        {"prphrl_pwm_set_attr 2 9 1500", "prphrl_pwm_set_attr 2 9 1459", {"42 Interfaces: backlight PWM: marginal"}},
        {"prphrl_set_mic_led white",
         "set fault HW_PM_SetAttr\nprphrl_set_mic_led white",
         {"43 Interfaces: LED ring: failed"}},
        {R"(set type 0 "SERIAL?\r")",
         R"(set type 0 "SERIAL\r")",
         {"50 Serial: the station asks, the set answers: failed"}},
        {R"(prphrl_std_factory_uart_write "OK;")", "", {"51 Serial: ... what it has said is on the line: failed"}},
        {R"(set pipe "aging on;aging off;")", "set pipe aging", {"52 Serial: commands through the pipe: failed"}},
        {"aud_adv_snd_enable dolby-dap",
         "set block-path 0 on\naud_adv_snd_enable dolby-dap",
         {"60 Sound: the model's profile: failed"}},
        {"needed vga 0 1064", "needed vga 0 1089", {"70 Inputs: calibrate VGA: failed"}},
        {"needed ypbpr 0 1031 1018", "needed ypbpr 0 1031 1080", {"71 Inputs: calibrate YPbPr: marginal"}},
        {"set plug hdmi 1 3840 2160", "set plug hdmi 1 1920 1080", {"72 Inputs: HDMI 1 on screen: failed"}},
        {"set ber 0 120", "set ber 0 501", {"73 Inputs: back to the tuner, and how well it receives: failed"}},
        {"40 40 380 260 #FF0000",
         "40 40 380 260 #FF8000",
         {"80 Panel: canvas with a frame, the three colors and the logo: failed"}},
        {"disp_capture_screen_to_usb",
         "disptst_gen_gop_test_pattern_hide\ndisp_capture_screen_to_usb",
         {"81 Panel: capture it for the record: failed"}},
        {"burning_mode_adv on red,#00FF00", "burning_mode_adv on red", {"83 Panel: ... green comes round: failed"}},
        {"disp_panel_set_attr 5 1 400 20",
         "disp_panel_set_attr 5 1 451 20",
         {"85 Panel: the right panel, with its clock spread: failed"}},
        {"sys_upgrade_fw fw0", "set fault HW_SYS_UpgradeFw\nsys_upgrade_fw fw0", {"90 Chip: firmware: failed"}},
        {"set clock 1800000000", "set clock 1700000000", {"91 Chip: registers, memory clock, real-time clock: failed"}},
        {"set power-cycle\n    sys_init\n    net_init",
         "sys_set_emmc_env_var serial OTHER\nset power-cycle\nsys_init\nnet_init",
         {"92 Release: identity and calibration outlive a power cycle: failed"}},
        {"set await-reboot 20",
         "sys_set_wdt off\nset await-reboot 1",
         {"93 Release: the watchdog reboots a set that hangs: failed",
          "94 Release: who rebooted it, and who it is: failed"}},
    };
    std::string strPlan = readFile(FAPI_PLANS "/line-steps.inc");
    std::vector<std::string> expected;
    for (const auto& row : rows) {
        const std::size_t place = strPlan.find(row.strGood);
        ASSERT_NE(place, std::string::npos) << row.strGood;
        strPlan.replace(place, row.strGood.size(), row.strBad);
        expected.insert(expected.end(), row.findings.begin(), row.findings.end());
    }
    for (const char* pszName : {"/panel.bmp", "/line.limits", "/line-cleanup.inc"}) {
        std::filesystem::copy_file(FAPI_PLANS + std::string(pszName), folder() + pszName);
    }
    writeFile("line-steps.inc", strPlan);
    const test::ProcessResult result = fapi({"run", "--report", reports(), writeFile("bad.plan", readFile(kLinePlan))});
    EXPECT_EQ(result.s32Exit, 1) << result.strOutput << result.strError;
    EXPECT_THAT(findings(), ElementsAreArray(expected));
}

}  // namespace
