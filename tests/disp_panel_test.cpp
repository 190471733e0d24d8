// SPDX-License-Identifier: Apache-2.0
// Panel attributes and the chips at the panel.
#include <cstring>

#include <gmock/gmock.h>

#include "a_vextvfapi_disp.h"
#include "hw3/hw_dispout.h"
#include "support/library_fixture.h"
#include "support/log_capture.h"
#include "vset/dispout.h"

namespace {

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;

template <class Record>
Record attribute(std::uint32_t u32Attr) {
    Record stRecord = {};
    const std::string strBytes = vset::dispout::attribute(u32Attr);
    EXPECT_EQ(strBytes.size(), sizeof(stRecord));
    std::memcpy(&stRecord, strBytes.data(), std::min(sizeof(stRecord), strBytes.size()));
    return stRecord;
}

template <class Record>
void setAttribute(std::uint32_t u32Attr, const Record& stRecord) {
    vset::dispout::setAttribute(u32Attr, {reinterpret_cast<const char*>(&stRecord), sizeof(stRecord)});
}

class Panel : public test::DisplayTest {};

TEST_F(Panel, EachAttributeHasItsRecord) {
    for (const unsigned int u32Attr : {0u, 1u, 2u, 3u, 6u, 9u, 11u}) {
        EXPECT_EQ(a_vextvfapi_disp_panel_set_attr(77, u32Attr, 0x12345600 + u32Attr, 2, 3, 4), 0);
        EXPECT_EQ(attribute<HW_U32>(u32Attr), 0x12345600 + u32Attr);
    }
    EXPECT_EQ(a_vextvfapi_disp_panel_set_attr(0, 5, 0x101, 0x1ABCD, 0x1EF01, 4), 0);
    const auto stSsc = attribute<HW_DISPOUT_LvdsSsc_t>(5);
    EXPECT_EQ(stSsc.u8Enable, 1);
    EXPECT_EQ(stSsc.u16SscSpan, 0xABCD);
    EXPECT_EQ(stSsc.u16SscStep, 0xEF01);
    EXPECT_EQ(a_vextvfapi_disp_panel_set_attr(0, 7, 0x1A1, 0x1B2, 3, 4), 0);
    EXPECT_EQ(attribute<HW_DISPOUT_Panel7_t>(7).u8A, 0xA1);
    EXPECT_EQ(attribute<HW_DISPOUT_Panel7_t>(7).u8B, 0xB2);
    EXPECT_EQ(a_vextvfapi_disp_panel_set_attr(0, 8, 0x1C3, 0x1D4D4, 0x1E5E5, 0x1F6F6), 0);
    const auto stPanel8 = attribute<HW_DISPOUT_Panel8_t>(8);
    EXPECT_EQ(stPanel8.u8A, 0xC3);
    EXPECT_EQ(stPanel8.u16B, 0xD4D4);
    EXPECT_EQ(stPanel8.u16C, 0xE5E5);
    EXPECT_EQ(stPanel8.u16D, 0xF6F6);
    vset::clearJournal();
    vset::dispout::release();
    for (const unsigned int u32Attr : {4u, 10u, 12u, 15u, 0xFFFFFFFFu}) {
        EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_disp_panel_set_attr(0, u32Attr, 1, 2, 3, 4), -1); }),
                    AllOf(HasSubstr("[Factory]: a_vextvfapi_disp_panel_set_attr non-support eAttrType = "),
                          EndsWith("HW_ERR_FAILED: 0x3, general failed\n")));
        EXPECT_FALSE(vset::dispout::output().bOpen);
    }
    EXPECT_EQ(count("HW_DISPOUT_PanelSetAttr"), 0u);
}

TEST_F(Panel, ReadsWhatThePanelHas) {
    setAttribute(4, HW_DISPOUT_PwmRange_t{10, 0x80000000});
    setAttribute(5, HW_DISPOUT_LvdsSsc_t{1, 0x1234, 0xFFFF});
    unsigned int u32Min = 7, u32Max = 7, u32Span = 7, u32Step = 7;
    unsigned char u8Enable = 7;
    EXPECT_EQ(a_vextvfapi_disp_get_pwm_range(u32Min, u32Max), 0);
    EXPECT_EQ(u32Min, 10u);
    EXPECT_EQ(u32Max, 0x80000000u);
    EXPECT_EQ(a_vextvfapi_disp_get_lvds_ssc(u8Enable, u32Span, u32Step), 0);
    EXPECT_EQ(u8Enable, 1);
    EXPECT_EQ(u32Span, 0x1234u);
    EXPECT_EQ(u32Step, 0xFFFFu);
    // Exactly the bytes of the record.
    std::string strOut(9, '#');
    EXPECT_EQ(a_vextvfapi_disp_panel_get_attr(0, 5, nullptr, strOut.data()), 0);
    EXPECT_EQ(strOut.substr(6), "###");
    EXPECT_EQ(a_vextvfapi_disp_panel_get_attr(0, 4, nullptr, strOut.data()), 0);
    EXPECT_EQ(strOut.substr(7), "\x80#");
    EXPECT_EQ(a_vextvfapi_disp_panel_get_attr(0, 3, nullptr, strOut.data()), 0) << "unknown, and no failure";
    EXPECT_EQ(strOut.substr(7), "\x80#");
    EXPECT_EQ(a_vextvfapi_disp_panel_get_attr(0, 4, nullptr, nullptr), -1);
}

TEST_F(Panel, ReportsTheChipsNextToIt) {
    setAttribute(17,
                 HW_DISPOUT_TconInfo_t{{'s', 'i', 'x', 't', 'e', 'e', 'n', ' ', 'l', 'e', 't', 't', 'e', 'r', 's', '!'},
                                       {'c', 0, 'x'},
                                       {1, 2, 3, 4, 5, 6, 7, 8, 9, 10}});
    fapi_core::VexTvFApiDispTconInfo stTcon = {};
    EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_disp_get_tcon_info(&stTcon), 0); }),
                HasSubstr("u8TconProjectName = sixteen letters!, u8TconCustomerName = c\n\n"));
    EXPECT_EQ(stTcon.u8TconCustomerName[2], 'x');
    EXPECT_EQ(stTcon.u8TconData[9], 10);
    setAttribute(15, HW_DISPOUT_FrcDevice_t{9, 0xABCD});
    fapi_core::VexTvFApiDispExtFrcDeviceInfo stFrc = {};
    EXPECT_EQ(a_vextvfapi_disp_get_frc_device_info(&stFrc), 0);
    EXPECT_EQ(stFrc.eExtFrcModel, 9u);
    EXPECT_EQ(stFrc.u32FwVer, 0xABCDu);
    setAttribute(16, HW_U32{42});
    EXPECT_EQ(a_vextvfapi_disp_get_frc_connect_status(), 42);
}

// Operations on the chips next to the panel close the display's handle in place of the output that they have opened.
TEST_F(Panel, WithoutAWindowAHandleOfNoneIsClosed) {
    leavesOpen("HW_DISPOUT");
    fapi_core::VexTvFApiDispHsyModelRange stRange = {};
    a_vextvfapi_disp_switch_window(3);
    EXPECT_EQ(a_vextvfapi_disp_get_pq_range(&stRange), -1);
    vset::dispout::release();
    EXPECT_EQ(a_vextvfapi_disp_get_frc_connect_status(), 1);
    EXPECT_EQ(calls().back(), "HW_DISPOUT_Close");
}

}  // namespace
