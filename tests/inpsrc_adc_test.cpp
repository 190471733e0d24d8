// SPDX-License-Identifier: Apache-2.0
// Calibration of the analogue inputs.
#include <gmock/gmock.h>

#include "a_vextvfapi_inpsrc.h"
#include "hw3/hw_extin.h"
#include "hw3/hw_sys.h"
#include "support/library_fixture.h"
#include "support/log_capture.h"
#include "vset/extin.h"

namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr const char* kPrefix = "VexTvFApiInputSource(imp) ";
constexpr const char* kFinished = "\033[31m Finished!!!\033[m\n\n";

struct Analog {
    unsigned int u32Device;
    std::uint32_t u32Type;
};
constexpr Analog kVga = {0, E_HW_EXTIN_TYPE_VGA}, kYpbpr = {1, E_HW_EXTIN_TYPE_YPBPR}, kScart = {2, 5};

class Adc : public test::LibraryTest {
protected:
    Adc() : LibraryTest(a_vextvfapi_inpsrc_init) {}

    static bool isOpen(const Analog& input) { return vset::extin::input(input.u32Type, 0).bOpen; }

    std::vector<std::string> extinCalls() const {
        std::vector<std::string> all = calls();
        all.erase(std::remove_if(all.begin(), all.end(), [](const std::string& s) { return s.find("HW_EXTIN") != 0; }),
                  all.end());
        return all;
    }
};

TEST_F(Adc, KeepsEveryValueInItsPlace) {
    for (const Analog& input : {kVga, kYpbpr}) {
        const unsigned int u32Base = 100 * (input.u32Device + 1);
        ASSERT_EQ(a_vextvfapi_inpsrc_set_adc_phase(input.u32Device, u32Base + 1, u32Base + 2, u32Base + 3), 0);
        ASSERT_EQ(a_vextvfapi_inpsrc_set_adc_gain_offset(input.u32Device, u32Base + 4, u32Base + 5, u32Base + 6,
                                                         u32Base + 7, u32Base + 8, 0xFFFFFFFF),
                  0);
    }
    for (const Analog& input : {kVga, kYpbpr}) {
        const unsigned int u32Base = 100 * (input.u32Device + 1);
        const vset::extin::Calibration stHas = vset::extin::calibration(input.u32Type, 0);
        EXPECT_EQ(stHas.stPhase.u32Green, u32Base + 2);
        EXPECT_EQ(stHas.stGainOffset.u32RedOffset, u32Base + 7);
        fapi_core::VexTvFApiAdcPhase_t stPhase = {};
        ASSERT_EQ(a_vextvfapi_inpsrc_get_adc_phase(input.u32Device, &stPhase), 0);
        EXPECT_EQ(stPhase.u32RedPhase, u32Base + 1);
        EXPECT_EQ(stPhase.u32GreenPhase, u32Base + 2);
        EXPECT_EQ(stPhase.u32BluePhase, u32Base + 3);
        fapi_core::VexTvFApiAdcGainOffset_t stValues = {};
        ASSERT_EQ(a_vextvfapi_inpsrc_get_adc_gain_offset(input.u32Device, &stValues), 0);
        EXPECT_EQ(stValues.u32RedGain, u32Base + 4);
        EXPECT_EQ(stValues.u32GreenGain, u32Base + 5);
        EXPECT_EQ(stValues.u32BlueGain, u32Base + 6);
        EXPECT_EQ(stValues.u32RedOffset, u32Base + 7);
        EXPECT_EQ(stValues.u32GreenOffset, u32Base + 8);
        EXPECT_EQ(stValues.u32BlueOffset, 0xFFFFFFFF);
        EXPECT_FALSE(isOpen(input));
    }
}

TEST_F(Adc, CalibratesFromTheSignal) {
    refuses("HW_EXTIN_AutoGainOffset");
    for (const Analog& input : {kVga, kYpbpr, kScart}) {
        EXPECT_EQ(a_vextvfapi_inpsrc_auto_gain_offset(input.u32Device), -1) << "there is no signal";
        EXPECT_FALSE(isOpen(input));
        vset::extin::Source source;
        source.stNeeded = {1, 2, 3, 4, 5, 6};
        vset::extin::plug(input.u32Type, 0, source);
        EXPECT_EQ(a_vextvfapi_inpsrc_auto_gain_offset(input.u32Device), 0);
        EXPECT_EQ(vset::extin::automaticCalibrations(input.u32Type, 0), 1u);
        EXPECT_EQ(vset::extin::calibration(input.u32Type, 0).stGainOffset.u32BlueOffset, 6u);
        EXPECT_FALSE(isOpen(input));
    }
}

TEST_F(Adc, LeavesAnInputThatSomebodyHasOpen) {
    leavesOpen("HW_EXTIN");
    vset::extin::hold(kVga.u32Type, 0);
    vset::clearJournal();
    fapi_core::VexTvFApiAdcPhase_t stPhase = {};
    EXPECT_EQ(a_vextvfapi_inpsrc_get_adc_phase(0, &stPhase), 0);
    EXPECT_THAT(calls(), ElementsAre("HW_EXTIN_GetHandle", "HW_EXTIN_GetAttr"));
    EXPECT_TRUE(isOpen(kVga));
    EXPECT_EQ(_a_vextvfapi_inpsrc_get_vga_handle(), 0);
    EXPECT_EQ(_a_vextvfapi_inpsrc_get_ypbpr_handle(), 1);
    EXPECT_TRUE(isOpen(kYpbpr));
    EXPECT_EQ(_a_vextvfapi_inpsrc_get_ypbpr_handle(), 0);
}

TEST_F(Adc, FindersHaveTheirOwnTexts) {
    refuses("HW_EXTIN_AutoGainOffset");
    const auto finders = [] {
        a_vextvfapi_inpsrc_auto_gain_offset(0);
        a_vextvfapi_inpsrc_auto_gain_offset(1);
        a_vextvfapi_inpsrc_auto_gain_offset(2);
    };
    const std::string strOpened = test::logOf(finders);
    EXPECT_THAT(strOpened, HasSubstr("[E] <_a_vextvfapi_inpsrc_get_vga_handle> \033[31m HW_EXTIN_GetHandle failed.... "
                                     "try to Open handle next!\033[m\n\n"));
    EXPECT_THAT(strOpened, HasSubstr("\033[31m 0x: open VGAHandle success!\033[m\n\n"));
    EXPECT_THAT(strOpened, HasSubstr("[D] <_a_vextvfapi_inpsrc_get_ypbpr_handle> \033[31m 0x: open YPbpr Handle "
                                     "success!\033[m\n\n"));
    EXPECT_THAT(strOpened, HasSubstr("[D] <_a_vextvfapi_inpsrc_get_scart_handle> \033[31m 0x: Open ScartHandle "
                                     "success!\033[m\n\n"));
    EXPECT_THAT(strOpened, HasSubstr("Error 0x3: VGA AutoGainOffset failed!\033[m\n\n"));
    EXPECT_THAT(strOpened, HasSubstr("Error 0x3: YPbPr AutoGainOffset failed!\033[m\n\n"));
    EXPECT_THAT(strOpened, HasSubstr("Error 0x3: Scart AutoGainOffset failed!\033[m\n\n"));
    for (const Analog& input : {kVga, kYpbpr, kScart}) {
        vset::extin::hold(input.u32Type, 0);
    }
    const std::string strFound = test::logOf(finders);
    EXPECT_THAT(strFound, HasSubstr("HW_EXTIN_GetVGAHandle success\n\n"));
    EXPECT_THAT(strFound, HasSubstr("\033[31m 0x: get YPbprHandle success!\033[m\n\n"));
    EXPECT_THAT(strFound, HasSubstr("\033[31m 0x: get ScartHandle success!\033[m\n\n"));
}

TEST_F(Adc, RefusesOtherDevices) {
    fapi_core::VexTvFApiAdcPhase_t stPhase = {};
    fapi_core::VexTvFApiAdcGainOffset_t stValues = {};
    for (const unsigned int u32Device : {2u, 0xFFFFFFFFu}) {
        const std::string strLog = test::logOf([&] {
            EXPECT_EQ(a_vextvfapi_inpsrc_get_adc_phase(u32Device, &stPhase), -1);
            EXPECT_EQ(a_vextvfapi_inpsrc_get_adc_gain_offset(u32Device, &stValues), -1);
            EXPECT_EQ(a_vextvfapi_inpsrc_set_adc_phase(u32Device, 1, 2, 3), -1);
            EXPECT_EQ(a_vextvfapi_inpsrc_set_adc_gain_offset(u32Device, 1, 2, 3, 4, 5, 6), -1);
        });
        for (const char* const pszName :
             {"get_adc_phase", "get_adc_gain_offset", "set_adc_phase", "set_adc_gain_offset"}) {
            const std::string strPrefix = std::string(kPrefix) + "[D] <a_vextvfapi_inpsrc_" + pszName + "> ";
            EXPECT_THAT(strLog,
                        HasSubstr(strPrefix + "Invalid Device Type:" + std::to_string(static_cast<int>(u32Device)) +
                                  "\n\n" + strPrefix + kFinished));
        }
        EXPECT_THAT(strLog, Not(HasSubstr("Current ADC")));
    }
    EXPECT_EQ(test::logOf([] { EXPECT_EQ(a_vextvfapi_inpsrc_auto_gain_offset(3), -1); }),
              std::string(kPrefix) + "[D] <a_vextvfapi_inpsrc_auto_gain_offset> auto_gain_offset u32DevType = 3 \n\n" +
                  kPrefix + "[E] <a_vextvfapi_inpsrc_auto_gain_offset> Invalid Device Type:3\n\n");
    vset::clearJournal();
    EXPECT_EQ(a_vextvfapi_inpsrc_get_adc_phase(0, nullptr), -1);
    EXPECT_EQ(a_vextvfapi_inpsrc_get_adc_gain_offset(1, nullptr), -1);
    EXPECT_THAT(extinCalls(), ::testing::IsEmpty());
}

TEST_F(Adc, AFailedCallClosesAndAFailedCloseCounts) {
    leavesOpen("HW_EXTIN");
    fapi_core::VexTvFApiAdcPhase_t stPhase = {7, 7, 7};
    vset::inject({"HW_EXTIN_GetAttr", 5});
    std::string strLog = test::logOf([&] { EXPECT_EQ(a_vextvfapi_inpsrc_get_adc_phase(0, &stPhase), -1); });
    EXPECT_THAT(strLog, HasSubstr("  Current ADC B Phase: 0\n\n")) << "what was not read is shown as 0";
    EXPECT_THAT(strLog, HasSubstr("\033[31m Error 0x5: failed to get ADC phase!\033[m\n\n"));
    EXPECT_THAT(strLog, HasSubstr(kFinished));
    EXPECT_EQ(stPhase.u32RedPhase, 7u);
    EXPECT_FALSE(isOpen(kVga));

    struct Row {
        Analog input;
        const char* pszLog;
    };
    for (const Row& stRow : {Row{kVga, "Error 0x3: failed to Close VGA handle!\033[m\n\n"},
                             Row{kYpbpr, "Error 0x3: failed to Close YPbpr handle!\033[m\n\n"},
                             Row{kScart, "Error 0x3: failed to Close Scart handle!\033[m\n\n"}}) {
        vset::extin::plug(stRow.input.u32Type, 0, {});
        vset::inject({"HW_EXTIN_Close", 3});
        strLog = test::logOf([&] { EXPECT_EQ(a_vextvfapi_inpsrc_auto_gain_offset(stRow.input.u32Device), -1); });
        EXPECT_THAT(strLog, HasSubstr(stRow.pszLog));
        EXPECT_THAT(strLog, Not(HasSubstr("Finished!!!")));
        EXPECT_EQ(vset::extin::automaticCalibrations(stRow.input.u32Type, 0), 1u);
    }
}

// Returns the log of a call that finds no handle and cannot open one.
std::string logWithoutHandle() {
    vset::inject({"HW_EXTIN_Open", 9});
    const std::string strLog = test::logOf([] { EXPECT_EQ(a_vextvfapi_inpsrc_set_adc_phase(1, 2, 2, 2), -1); });
    EXPECT_THAT(strLog, HasSubstr("\033[31m Error 0x: failed to HW_EXTIN_Open!\033[m\n\n"));
    return strLog;
}

TEST_F(Adc, WithoutAHandleItStopsOrGoesOnWithAnOldOne) {
    inFreshProcess([] {
        EXPECT_THAT(logWithoutHandle(),
                    AllOf(HasSubstr("[E] <a_vextvfapi_inpsrc_set_adc_phase> Get YPbPr handle failed!\n"),
                          Not(HasSubstr("Finished!!!"))));
    });
    ASSERT_EQ(a_vextvfapi_inpsrc_set_adc_phase(1, 1, 1, 1), 0);
    EXPECT_THAT(logWithoutHandle(),
                AllOf(HasSubstr("Error 0x7: failed to set ADC phase!\033[m\n\n"), HasSubstr(kFinished)));
    EXPECT_EQ(vset::extin::calibration(kYpbpr.u32Type, 0).stPhase.u32Red, 1u);
}

}  // namespace
