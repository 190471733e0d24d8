// SPDX-License-Identifier: Apache-2.0
// Video test patterns, and the switches of graphics and picture quality.
#include <functional>

#include <gmock/gmock.h>

#include "a_vextvfapi_disp.h"
#include "a_vextvfapi_disptst.h"
#include "support/library_fixture.h"
#include "support/log_capture.h"
#include "vset/disp.h"
#include "vset/osd.h"

namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;

class Pattern : public test::DisplayTest {
protected:
    Pattern() : DisplayTest(a_vextvfapi_disptst_init) {}

    // Expects these calls whichever of them fails, and the failure as the status.
    static void expectCalls(const std::vector<std::string>& wanted, const std::function<int()>& operation) {
        for (std::size_t failing = 0; failing <= wanted.size(); ++failing) {
            vset::clearJournal();
            if (failing != 0) {
                const std::string& strCall = wanted[failing - 1];
                const std::string strName = strCall.substr(0, strCall.find(' '));
                const auto isSame = [&](const std::string& strOther) { return strOther.rfind(strName, 0) == 0; };
                const auto number = std::count_if(wanted.begin(), wanted.begin() + static_cast<long>(failing), isSame);
                vset::inject({strName, 5, static_cast<unsigned int>(number)});
            }
            EXPECT_EQ(operation(), failing == 0 ? 0 : -6) << failing;
            std::vector<std::string> made;
            for (const vset::JournalEntry& stEntry : vset::journal()) {
                const std::string strArguments = " " + stEntry.strArguments;
                const std::size_t handleEnd = strArguments.find(' ', 1);
                made.push_back(stEntry.pszCall +
                               (handleEnd == std::string::npos ? "" : strArguments.substr(handleEnd)));
            }
            const auto isOther = [](const std::string& strCall) {
                return strCall.find("_Set") == std::string::npos && strCall.find("Show") == std::string::npos &&
                       strCall.find("Hide") == std::string::npos;
            };
            made.erase(std::remove_if(made.begin(), made.end(), isOther), made.end());
            EXPECT_EQ(made, wanted) << failing;
        }
    }
};

TEST_F(Pattern, EachSelectorHasItsStage) {
    // Modes of test patterns, and what else is set.
    const struct {
        const char* pszStage;
        std::vector<std::string> on, off;
    } rows[] = {
        {"MVOP_PATTERN_MODE", {"7"}, {"7"}},
        {"XC_ADC_PATTERN_MODE", {"8"}, {"8"}},
        {"XC_IPMUX_PATTERN_MODE", {"0"}, {"0"}},
        {"XC_IP1_PATTERN_MODE", {"1"}, {"1"}},
        {"XC_OP_LINEBUFF_PATTERN_MODE", {"2"}, {"2"}},
        {"XC_OP_HVSP_PATTERN_MODE", {"3"}, {"3"}},
        {"XC_VOP_PATTERN_MODE", {"4"}, {"4"}},
        {"XC_VOP2_PATTERN_MODE", {"5", "UnMute"}, {"Mute", "5"}},
        {"XC_MOD_PATTERN_MODE", {"6"}, {"6"}},
        {"XC_WHITE_BALANCE_PATTERN_MODE(PRE_GAMMA)", {"5", "9"}, {"5", "9"}},
        {"VIDEO_MUTE_COLOR_MODE", {"color", "Mute"}, {"color", "UnMute"}},
    };
    for (unsigned int u32Selector = 0; u32Selector < std::size(rows); ++u32Selector) {
        for (const unsigned int u32Enable : {77u, 0u}) {
            std::vector<std::string> wanted = u32Enable != 0 ? rows[u32Selector].on : rows[u32Selector].off;
            for (std::string& strCall : wanted) {
                strCall = strCall == "color" ? "HW_DISP_SetAttr attr=1 color=11,22,33"
                          : strCall.find("Mute") != std::string::npos
                              ? "HW_DISP_Set" + strCall + " flags=4"
                              : "HW_DISP_SetAttr attr=1025 mode=" + strCall +
                                    (u32Enable != 0 ? " enable=1" : " enable=0") + " param=7 color=11,22,33";
            }
            const auto generate = [&] {
                return a_vextvfapi_disptst_gen_test_pattern(u32Selector, {u32Enable, 7, {11, 22, 33}});
            };
            EXPECT_THAT(test::logOf(generate), HasSubstr(std::string("> ") + rows[u32Selector].pszStage + "\n\n"));
            expectCalls(wanted, generate);
        }
    }
}

TEST_F(Pattern, RefusesWhatItDoesNotKnow) {
    a_vextvfapi_disp_switch_window(2);
    for (const unsigned int u32Selector : {11u, 0xFFFFFFFFu}) {
        EXPECT_THAT(test::logOf([&] {
                        EXPECT_EQ(a_vextvfapi_disptst_gen_test_pattern(u32Selector, {1, 0, {}}), -1);
                    }),
                    HasSubstr("HW_ERR_FAILED"));
        EXPECT_FALSE(vset::disp::window(2).bOpen);
    }
    for (const unsigned int u32Selector : {0u, 1u}) {
        EXPECT_THAT(test::logOf([&] {
                        EXPECT_EQ(a_vextvfapi_disptst_gen_test_pattern(u32Selector, {1, 8, {1, 2, 3}}), -1);
                    }),
                    HasSubstr("HW_ERR_FAILED"));
    }
    EXPECT_EQ(vset::disp::window(2).testPattern.u32Enable, 0u);
    EXPECT_EQ(a_vextvfapi_disptst_gen_test_pattern(2, {1, 8, {1, 2, 3}}), 0);
    EXPECT_EQ(vset::disp::window(2).testPattern.u32Param, 8u);
    EXPECT_FALSE(vset::disp::window(2).bOpen) << "opened for the call";
    a_vextvfapi_disp_switch_window(3);
    EXPECT_EQ(a_vextvfapi_disptst_gen_test_pattern(2, {1, 8, {1, 2, 3}}), -1);
    EXPECT_EQ(a_vextvfapi_disptst_set_pq_on_off(1), -1);
}

TEST_F(Pattern, TellsWhetherSomethingIsConnected) {
    refuses("HW_DISP_GetConnectedNum");
    unsigned int hDisp = 0;
    EXPECT_FALSE(_a_vextvfapi_disp_get_disp_handle(&hDisp));
    vset::disp::setModuleCount(0, 64);
    EXPECT_EQ(_a_vextvfapi_disptst_connect_disp(static_cast<int>(hDisp), 1), 0);
    EXPECT_THAT(vset::journal().back().strArguments, EndsWith("room=16")) << "however many there are";
    vset::disp::disconnectVideo(0);
    EXPECT_EQ(_a_vextvfapi_disptst_connect_disp(static_cast<int>(hDisp), 1), -1);
    vset::disp::connectInput(0, {0, 0});
    EXPECT_EQ(_a_vextvfapi_disptst_connect_disp(static_cast<int>(hDisp), 0), 0);
    EXPECT_EQ(_a_vextvfapi_disptst_connect_disp(1, 0), -1);
}

TEST_F(Pattern, SwitchesPictureQuality) {
    a_vextvfapi_disp_switch_window(1);
    for (const std::string strEnable : {"1", "0"}) {
        std::vector<std::string> wanted;
        for (const std::string strIndex : {"0", "1", "2"}) {
            wanted.push_back("HW_DISP_SetPictureParam param=10 index=" + strIndex + " enable=" + strEnable);
        }
        wanted.push_back("HW_DISP_SetPictureParam param=39 enable=" + strEnable);
        expectCalls(wanted, [&] { return a_vextvfapi_disptst_set_pq_on_off(strEnable == "1"); });
        EXPECT_FALSE(vset::disp::window(1).bOpen);
    }
}

TEST_F(Pattern, SwitchesAGraphicsLayer) {
    refuses("HW_OSD_GetLayerHandle");
    const auto switchTo = [](unsigned char u8Enable) {
        return [=] { return a_vextvfapi_disptst_set_osd_layer_on_off(1, u8Enable); };
    };
    expectCalls({"HW_OSD_WindowHide", "HW_OSD_LayerHide"}, switchTo(0));
    expectCalls({"HW_OSD_LayerShow", "HW_OSD_WindowShow"}, switchTo(2));
    EXPECT_TRUE(vset::osd::layer(1)->bShown);
    for (const int s32Layer : {2, -1, 4}) {
        EXPECT_EQ(a_vextvfapi_disptst_set_osd_layer_on_off(s32Layer, 1), -1);
    }
}

}  // namespace
