// SPDX-License-Identifier: Apache-2.0
// Picture parameters, picture quality, output timing and geometry of the display windows.
#include <cstring>
#include <tuple>

#include <gmock/gmock.h>

#include "a_vextvfapi_disp.h"
#include "hw3/hw_disp.h"
#include "hw3/hw_extin.h"
#include "support/library_fixture.h"
#include "support/log_capture.h"
#include "vset/disp.h"
#include "vset/dval.h"
#include "vset/extin.h"

namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;

using fapi_core::VexTvFApiPqType;
using fapi_core::VexTvFApiVideoWin;

class DispPicture : public test::DisplayTest {
protected:
    // A parameter that was set, as signed words.
    static std::vector<std::int32_t> words(std::uint32_t u32Param, unsigned int u32Window = 0) {
        const std::string strBytes = vset::disp::window(u32Window).pictureParameters.at(u32Param);
        std::vector<std::int32_t> all(strBytes.size() / 4);
        std::memcpy(all.data(), strBytes.data(), all.size() * 4);
        return all;
    }
};

TEST_F(DispPicture, SendsTheParametersThatTakeOneWord) {
    for (const unsigned int u32Param : {5u, 12u, 16u, 18u, 19u, 20u, 21u}) {
        EXPECT_EQ(a_vextvfapi_disp_set_picture_param(u32Param, -static_cast<int>(u32Param)), 0);
        EXPECT_THAT(words(u32Param), ElementsAre(-static_cast<int>(u32Param)));
    }
    vset::clearJournal();
    for (const unsigned int u32Param : {0u, 4u, 6u, 11u, 13u, 17u, 22u, 28u, 37u, 0xFFFFFFE5u}) {
        EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_disp_set_picture_param(u32Param, 10), -1) << u32Param; }),
                    EndsWith("HW_ERR_FAILED: 0x3, general failed\n"));
    }
    EXPECT_THAT(calls(), Not(Contains("HW_DISP_SetPictureParam")));
}

TEST_F(DispPicture, DecodesTheBigEndianStream) {
    refuses("HW_DISP_SetPictureParam");
    signed char as8Data[29] = {-2};
    for (int i = 1; i < 29; ++i) {
        as8Data[i] = static_cast<signed char>(i % 4 == 0 ? -i : 0);
    }
    // Whatever length is given, negative ones too.
    for (const int s32Length : {29, 1, -1}) {
        EXPECT_EQ(a_vextvfapi_disp_set_picture_param_struct(23, s32Length, as8Data), 0);
        EXPECT_THAT(words(23), ElementsAre(254, 252, 248, 244, 240, 236, 232, 228));
    }
    signed char s8Gamma = 1;
    EXPECT_EQ(a_vextvfapi_disp_set_picture_param_struct(27, 1, &s8Gamma), 0);
    EXPECT_EQ(vset::disp::window(0).pictureParameters.at(27), "\x01");
    s8Gamma = 3;
    EXPECT_EQ(a_vextvfapi_disp_set_picture_param_struct(27, 1, &s8Gamma), -2) << "handed on, and refused";
    EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_disp_set_picture_param_struct(5, 29, as8Data), -1); }),
                AllOf(HasSubstr("[Factory]: a_vextvfapi_disp_set_picture_param_struct non-support eParamsType = 5\n\n"),
                      EndsWith("HW_ERR_FAILED: 0x3, general failed\n")));
    EXPECT_THAT(test::logOf([&] {
                    EXPECT_EQ(a_vextvfapi_disp_set_picture_param_struct(23, 0, as8Data), -1);
                    EXPECT_EQ(a_vextvfapi_disp_set_picture_param_struct(23, 29, nullptr), -1);
                }),
                HasSubstr("> invaild Arguments\n"));
}

TEST_F(DispPicture, CopiesTheGammaCurves) {
    std::array<unsigned short, 256> red, green, blue;
    for (unsigned int i = 0; i < 256; ++i) {
        red[i] = static_cast<unsigned short>(i);
        green[i] = static_cast<unsigned short>(65535 - i);
        blue[i] = 65535;
    }
    ASSERT_EQ(a_vextvfapi_disp_set_gamma_curve(red.data(), green.data(), blue.data()), 0);
    const vset::disp::Window window = vset::disp::window(0);
    EXPECT_EQ(window.gamma[0], std::vector<std::uint16_t>(red.begin(), red.end()));
    EXPECT_EQ(window.gamma[1], std::vector<std::uint16_t>(green.begin(), green.end()));
    EXPECT_EQ(window.gamma[2], std::vector<std::uint16_t>(blue.begin(), blue.end()));
}

TEST_F(DispPicture, ReportsTheQualityRange) {
    leavesOpen("HW_DISP");
    vset::disp::setPqRange(1, {{-1, -2, -3}, {4, 5, 6}});
    a_vextvfapi_disp_switch_window(1);
    fapi_core::VexTvFApiDispHsyModelRange stRange = {};
    const std::string strLog = test::logOf([&] { EXPECT_EQ(a_vextvfapi_disp_get_pq_range(&stRange), 0); });
    EXPECT_THAT(strLog, HasSubstr("[E] <a_vextvfapi_disp_get_pq_range> Min: -2, Max: 5\n"));
    EXPECT_THAT(stRange.as32Min, ElementsAre(-1, -2, -3));
    EXPECT_THAT(stRange.as32Max, ElementsAre(4, 5, 6));
    EXPECT_TRUE(vset::disp::window(1).bOpen) << "it is never closed";
    a_vextvfapi_disp_switch_window(3);
    EXPECT_EQ(a_vextvfapi_disp_get_pq_range(&stRange), -1) << "not the earlier window";
}

TEST_F(DispPicture, ReportsTheQualityVersion) {
    struct Row {
        const char* pszText;
        unsigned int u32Length;  // of the buffer
        int s32Status;
    };
    for (const Row& stRow : {Row{"version8", 9, 0},
                             {"version8", 8, -1},
                             {"", 1, 0},
                             {"", 0, -1},
                             {"exactly thirty-two characters ok", 33, 0},
                             {"exactly thirty-two characters ok", 32, -1}}) {
        vset::disp::setPqVersion(2, 6, stRow.pszText);
        std::string strBuffer(stRow.u32Length, '#');
        EXPECT_EQ(a_vextvfapi_disp_get_pq_version(stRow.u32Length, reinterpret_cast<unsigned char*>(strBuffer.data()),
                                                  VexTvFApiVideoWin{2}, VexTvFApiPqType{6}),
                  stRow.s32Status)
            << stRow.pszText << " in " << stRow.u32Length;
        const std::string strText = stRow.s32Status == 0 ? stRow.pszText : "";
        EXPECT_EQ(strBuffer, strText + std::string(stRow.u32Length - strText.size(), '#')) << "no terminator";
        EXPECT_FALSE(vset::disp::window(2).bOpen);
    }
    EXPECT_THAT(test::logOf([] {
                    EXPECT_EQ(a_vextvfapi_disp_get_pq_version(1, nullptr, VexTvFApiVideoWin{3}, VexTvFApiPqType{7}),
                              -1);
                }),
                EndsWith("Invalid parameter\n"));
}

TEST_F(DispPicture, SetsTheOutputTiming) {
    refuses("HW_DISP_SetOutputTiming");
    EXPECT_EQ(a_vextvfapi_disp_set_output_timing(39), 0);
    EXPECT_EQ(vset::disp::controller().u32Timing, 39u);
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_disp_set_output_timing(40), 0); }),
                HasSubstr("Don't support set timing.\n\n"));
    EXPECT_EQ(vset::disp::controller().u32Timing, 39u);
    // The window is unmuted even when a call fails, and even when another program has muted it.
    unsigned int hDisp = 0;
    _a_vextvfapi_disp_get_disp_handle(&hDisp);
    ASSERT_EQ(HW_DISP_SetMute(hDisp, E_HW_DISP_MUTE_WINDOW), HW_OK);
    vset::inject({"HW_DISP_ApplySetting", 0xA});
    EXPECT_EQ(a_vextvfapi_disp_set_output_timing(1), -4);
    EXPECT_EQ(vset::disp::window(0).u32MuteFlags, 0u);
}

TEST_F(DispPicture, CutsAPieceOutOfTheInput) {
    const auto rectangle = [] {
        const HW_DISP_InputRect_t st = vset::disp::window(0).inputRectangle.value();
        return std::vector<int>{st.u16X, st.u16Y, st.u16Width, st.u16Height, st.u16BaseWidth, st.u16BaseHeight};
    };
    EXPECT_EQ(a_vextvfapi_disp_set_over_scan(1, 2, 3, 4), 0);
    EXPECT_THAT(rectangle(), ElementsAre(1, 2, 3, 4, 1920, 1080));
    EXPECT_EQ(vset::disp::window(0).u32MuteFlags, 0u);
    EXPECT_FALSE(vset::disp::window(0).bPending);
    vset::extin::Source source;
    source.stTiming = {0x10280, 480, 0, 60000};
    vset::extin::plug(E_HW_EXTIN_TYPE_HDMI, 0, source);
    vset::disp::disconnectVideo(0);
    vset::disp::connectInput(0, {E_HW_EXTIN_TYPE_HDMI, 0});
    EXPECT_EQ(a_vextvfapi_disp_set_over_scan(65535, 0, 65535, 0), 0);
    EXPECT_THAT(rectangle(), ElementsAre(65535, 0, 65535, 0, 0x280, 480));
    vset::disp::disconnectInput(0);
    EXPECT_EQ(a_vextvfapi_disp_set_over_scan(1, 1, 1, 1), 0);
    EXPECT_THAT(rectangle(), ElementsAre(1, 1, 1, 1, 0, 0));
    EXPECT_EQ(count("HW_EXTIN_GetAttr"), 1u) << "of the connected input";
    a_vextvfapi_disp_switch_window(1);
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_disp_set_over_scan(1, 1, 1, 1), -1); }),
                HasSubstr("[D] <a_vextvfapi_disp_set_over_scan> Failed to get DISP handle.\n\n"))
        << "it never opens a window";
    a_vextvfapi_disp_switch_window(3);
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_disp_set_over_scan(1, 1, 1, 1), -1); }),
                HasSubstr("[D] <a_vextvfapi_disp_set_over_scan> Error windowindex: 3\n\n"));
}

}  // namespace
