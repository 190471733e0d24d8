// SPDX-License-Identifier: Apache-2.0
// Video test patterns, and the switches of graphics and picture quality.
#include <gmock/gmock.h>

#include "a_vextvfapi_disp.h"
#include "a_vextvfapi_disptst.h"
#include "support/library_fixture.h"
#include "support/log_capture.h"
#include "vset/disp.h"
#include "vset/osd.h"

namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class Pattern : public test::DisplayTest {
protected:
    Pattern() : DisplayTest(a_vextvfapi_disptst_init) {}
};

TEST_F(Pattern, StartsUpMoreThanOnce) {
    EXPECT_EQ(a_vextvfapi_disptst_init(), 0);
    EXPECT_THAT(calls(), ElementsAre("HW_SYS_Init", "HW_OSD_Init"));
    EXPECT_EQ(a_vextvfapi_disptst_deinit(), 0);
    vset::inject({"HW_SYS_Init", 1});
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_disptst_init(), -1); }),
                HasSubstr("[Pattern] HW_SYS_Init failed, code: 1\n\n"));
    vset::inject({"HW_OSD_Init", 1});
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_disptst_init(), -1); }),
                HasSubstr("[Pattern] OSD module init failed ret: 1\n\n"));
}

TEST_F(Pattern, EachSelectorHasItsStage) {
    using Calls = std::vector<std::string>;
    struct Row {
        unsigned int u32Selector;
        const char* pszStage;
        std::uint32_t u32Mode;
        Calls on, off;
    };
    const Calls kOne = {"HW_DISP_GetHandle", "HW_DISP_SetAttr"};
    const Calls kTwo = {"HW_DISP_GetHandle", "HW_DISP_SetAttr", "HW_DISP_SetAttr"};
    const Row rows[] = {
        {0, "MVOP_PATTERN_MODE", 7, kOne, kOne},
        {1, "XC_ADC_PATTERN_MODE", 8, kOne, kOne},
        {2, "XC_IPMUX_PATTERN_MODE", 0, kOne, kOne},
        {3, "XC_IP1_PATTERN_MODE", 1, kOne, kOne},
        {4, "XC_OP_LINEBUFF_PATTERN_MODE", 2, kOne, kOne},
        {5, "XC_OP_HVSP_PATTERN_MODE", 3, kOne, kOne},
        {6, "XC_VOP_PATTERN_MODE", 4, kOne, kOne},
        {7,
         "XC_VOP2_PATTERN_MODE",
         5,
         {"HW_DISP_GetHandle", "HW_DISP_SetAttr", "HW_DISP_SetUnMute"},
         {"HW_DISP_GetHandle", "HW_DISP_SetMute", "HW_DISP_SetAttr"}},
        {8, "XC_MOD_PATTERN_MODE", 6, kOne, kOne},
        {9, "XC_WHITE_BALANCE_PATTERN_MODE(PRE_GAMMA)", 9, kTwo, kTwo},
    };
    for (const Row& stRow : rows) {
        for (const unsigned int u32Enable : {77u, 0u}) {
            vset::clearJournal();
            const std::string strLog = test::logOf([&] {
                EXPECT_EQ(a_vextvfapi_disptst_gen_test_pattern(stRow.u32Selector, {u32Enable, 7, {11, 22, 33}}), 0);
            });
            EXPECT_THAT(strLog, HasSubstr(std::string("[I] <a_vextvfapi_disptst_gen_test_pattern> ") + stRow.pszStage +
                                          "\n\n"));
            std::vector<std::string> made = calls();
            // The look for the log's switch.
            made.erase(std::remove_if(made.begin(), made.end(),
                                      [](const std::string& strCall) { return strCall.find("HW_DISP") != 0; }),
                       made.end());
            EXPECT_THAT(made, ElementsAreArray(u32Enable != 0 ? stRow.on : stRow.off)) << stRow.pszStage;
            const HW_DISP_TestPattern_t stPattern = vset::disp::window(0).testPattern;
            EXPECT_EQ(stPattern.u32Mode, stRow.u32Mode) << stRow.pszStage;
            EXPECT_EQ(stPattern.u32Enable, u32Enable != 0 ? 1u : 0u);
            EXPECT_EQ(stPattern.u32Param, 7u);
            EXPECT_THAT(stPattern.au32Value, ElementsAre(11, 22, 33));
            EXPECT_EQ(vset::disp::window(0).u32MuteFlags, stRow.u32Selector == 7 && u32Enable == 0 ? 4u : 0u);
        }
        vset::powerCycle();
        ASSERT_EQ(a_vextvfapi_disptst_init(), 0);
    }
}

TEST_F(Pattern, TheMuteColorIsSeenWhileEnabled) {
    EXPECT_EQ(a_vextvfapi_disptst_gen_test_pattern(10, {1, 99, {1023, 512, 0}}), 0);
    EXPECT_EQ(vset::disp::picture(0).at(960, 540), 0xFFFF8000u);
    EXPECT_EQ(a_vextvfapi_disptst_gen_test_pattern(10, {0, 0, {0, 0, 0}}), 0);
    EXPECT_EQ(vset::disp::window(0).u32MuteFlags, 0u);
    EXPECT_THAT(vset::disp::window(0).muteColor.au32Value, Each(0u));
    // The colour is refused, the window muted all the same, and the status that of the refusal.
    vset::inject({"HW_DISP_SetAttr", 5});
    EXPECT_EQ(a_vextvfapi_disptst_gen_test_pattern(10, {1, 0, {0, 0, 0}}), -6);
    EXPECT_EQ(vset::disp::window(0).u32MuteFlags, 4u);
}

TEST_F(Pattern, RefusesWhatItDoesNotKnow) {
    a_vextvfapi_disp_switch_window(2);
    for (const unsigned int u32Selector : {11u, 0xFFFFFFFFu}) {
        EXPECT_THAT(test::logOf([&] {
                        EXPECT_EQ(a_vextvfapi_disptst_gen_test_pattern(u32Selector, {1, 0, {}}), -1);
                    }),
                    HasSubstr("[Factory]: a_vextvfapi_disptst_gen_test_pattern non-support PatternMode = "));
        EXPECT_FALSE(vset::disp::window(2).bOpen);
    }
    for (const unsigned int u32Selector : {0u, 1u}) {
        EXPECT_EQ(a_vextvfapi_disptst_gen_test_pattern(u32Selector, {1, 8, {1, 2, 3}}), -1);
    }
    EXPECT_EQ(vset::disp::window(2).testPattern.u32Enable, 0u);
    EXPECT_EQ(a_vextvfapi_disptst_gen_test_pattern(2, {1, 8, {1, 2, 3}}), 0);
    EXPECT_EQ(vset::disp::window(2).testPattern.u32Param, 8u);
    EXPECT_FALSE(vset::disp::window(2).bOpen) << "opened for the call";
    a_vextvfapi_disp_switch_window(3);
    EXPECT_THAT(test::logOf([] {
                    EXPECT_EQ(a_vextvfapi_disptst_gen_test_pattern(2, {1, 8, {1, 2, 3}}), -1);
                }),
                HasSubstr("Failed to get DISP handle.\n\n"));
    EXPECT_EQ(a_vextvfapi_disptst_set_pq_on_off(1), -1);
}

TEST_F(Pattern, TellsWhetherSomethingIsConnected) {
    refuses("HW_DISP_GetConnectedNum");
    unsigned int hDisp = 0;
    EXPECT_FALSE(_a_vextvfapi_disp_get_disp_handle(&hDisp));
    EXPECT_EQ(_a_vextvfapi_disptst_connect_disp(static_cast<int>(hDisp), 1), 0);
    vset::disp::disconnectVideo(0);
    EXPECT_EQ(_a_vextvfapi_disptst_connect_disp(static_cast<int>(hDisp), 1), -1);
    vset::disp::connectInput(0, {0, 0});
    EXPECT_EQ(_a_vextvfapi_disptst_connect_disp(static_cast<int>(hDisp), 0), 0);
    EXPECT_EQ(_a_vextvfapi_disptst_connect_disp(1, 0), -1);
}

TEST_F(Pattern, SwitchesPictureQuality) {
    a_vextvfapi_disp_switch_window(1);
    const auto parameters = [] {
        std::vector<int> values;
        for (const std::uint32_t u32Index : {0u, 1u, 2u}) {
            values.push_back(vset::disp::window(1).pictureParameters.at(10 | u32Index << 16).at(4));
        }
        values.push_back(vset::disp::window(1).pictureParameters.at(39).at(0));
        return values;
    };
    EXPECT_EQ(a_vextvfapi_disptst_set_pq_on_off(1), 0);
    EXPECT_THAT(parameters(), Each(1));
    EXPECT_EQ(a_vextvfapi_disptst_set_pq_on_off(0), 0);
    EXPECT_THAT(parameters(), Each(0));
    vset::clearJournal();
    vset::inject({"HW_DISP_SetPictureParam", 0xA, 2});
    EXPECT_EQ(a_vextvfapi_disptst_set_pq_on_off(1), -4) << "the others are made all the same";
    EXPECT_THAT(parameters(), ElementsAre(1, 0, 1, 1));
    EXPECT_EQ(calls().back(), "HW_DISP_Close");
}

TEST_F(Pattern, SwitchesAGraphicsLayer) {
    refuses("HW_OSD_GetLayerHandle");
    EXPECT_EQ(a_vextvfapi_disptst_set_osd_layer_on_off(1, 0), 0);
    EXPECT_FALSE(vset::osd::layer(1)->bShown);
    EXPECT_FALSE(vset::osd::layer(1)->windows.at(0).bShown);
    EXPECT_TRUE(vset::osd::layer(0)->bShown);
    EXPECT_EQ(a_vextvfapi_disptst_set_osd_layer_on_off(1, 2), 0);
    EXPECT_TRUE(vset::osd::layer(1)->bShown);
    EXPECT_TRUE(vset::osd::layer(1)->windows.at(0).bShown);
    for (const int s32Layer : {2, -1, 4}) {
        EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_disptst_set_osd_layer_on_off(s32Layer, 1), -1); }),
                    HasSubstr("Failed to get OSD Layer handle.\n\n"));
    }
    vset::inject({"HW_OSD_LayerQueryWindowHandle", 3});
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_disptst_set_osd_layer_on_off(1, 1), -1); }),
                HasSubstr("Failed to get OSD Window handle.\n\n"));
    vset::inject({"HW_OSD_LayerShow", 0x6});
    EXPECT_EQ(a_vextvfapi_disptst_set_osd_layer_on_off(1, 1), -3);
}

}  // namespace
