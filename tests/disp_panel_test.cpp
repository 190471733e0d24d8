// SPDX-License-Identifier: Apache-2.0
// Panel attributes and the chips at the panel.
#include <cstring>
#include <functional>

#include <gmock/gmock.h>

#include "a_vextvfapi_disp.h"
#include "hw3/hw_dispout.h"
#include "hw3/hw_sys.h"
#include "support/library_fixture.h"
#include "support/log_capture.h"
#include "vset/dispout.h"
#include "vset/sys.h"

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

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
    const std::string strLog =
        test::logOf([] { EXPECT_EQ(a_vextvfapi_disp_panel_set_attr(0, 5, 0x101, 0x1ABCD, 0x1EF01, 4), 0); });
    EXPECT_THAT(strLog, HasSubstr("bEnable = 1\n\n"));
    EXPECT_THAT(strLog, HasSubstr("u16SscSpan = 0xABCD\n\n"));
    EXPECT_THAT(strLog, HasSubstr("u16SscStep = 0xEF01\n\n"));
    EXPECT_EQ(attribute<HW_DISPOUT_LvdsSsc_t>(5).u16SscStep, 0xEF01);
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
    for (const unsigned int u32Attr : {4u, 10u, 12u, 15u, 0xFFFFFFFFu}) {
        EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_disp_panel_set_attr(0, u32Attr, 1, 2, 3, 4), -1); }),
                    HasSubstr("[Factory]: a_vextvfapi_disp_panel_set_attr non-support eAttrType = "));
    }
    EXPECT_THAT(calls(), Not(Contains("HW_DISPOUT_PanelSetAttr")));
    vset::inject({"HW_DISPOUT_PanelSetAttr", 5});
    EXPECT_EQ(a_vextvfapi_disp_panel_set_attr(0, 1, 1, 2, 3, 4), -6);
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
    unsigned char au8Out[9];
    std::fill(std::begin(au8Out), std::end(au8Out), static_cast<unsigned char>(0xEE));
    EXPECT_EQ(a_vextvfapi_disp_panel_get_attr(0, 5, nullptr, au8Out), 0);
    EXPECT_EQ(au8Out[6], 0xEE);
    EXPECT_EQ(a_vextvfapi_disp_panel_get_attr(0, 4, nullptr, au8Out), 0);
    EXPECT_EQ(au8Out[7], 0x80);
    EXPECT_EQ(au8Out[8], 0xEE);
    vset::inject({"HW_DISPOUT_PanelGetAttr", 5, 1, 2});
    EXPECT_EQ(a_vextvfapi_disp_get_pwm_range(u32Min, u32Max), -6);
    EXPECT_EQ(u32Max, 0u);
    EXPECT_EQ(a_vextvfapi_disp_get_lvds_ssc(u8Enable, u32Span, u32Step), -6);
    EXPECT_EQ(u32Step, 0u);
    EXPECT_EQ(a_vextvfapi_disp_panel_get_attr(0, 4, nullptr, nullptr), -1);
}

TEST_F(Panel, TellsOfTheChipsBeside) {
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

    vset::inject({"HW_DISPOUT_PanelGetAttr", 8, 1, 3});
    EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_disp_get_tcon_info(&stTcon), -1); }),
                HasSubstr("GetPanelAttr(TCON_INFO) fail! eRet = 8\n\n"));
    EXPECT_EQ(stTcon.u8TconData[9], 10);
    EXPECT_EQ(a_vextvfapi_disp_get_frc_device_info(&stFrc), -2);
    EXPECT_EQ(stFrc.u32FwVer, 0u) << "written all the same";
    EXPECT_EQ(a_vextvfapi_disp_get_frc_connect_status(), 0);
    EXPECT_EQ(a_vextvfapi_disp_get_tcon_info(nullptr), -1);
    EXPECT_EQ(a_vextvfapi_disp_get_frc_device_info(nullptr), -1);
}

TEST_F(Panel, FlashesItsCompanion) {
    refuses("HW_SYS_UpgradeFw");
    write("/data/tarn.bin", "firmware");
    EXPECT_EQ(a_vextvfapi_disp_upgrade_tarn_fw(reinterpret_cast<const unsigned char*>("/data/tarn.bin")), 0);
    EXPECT_THAT(test::logOf([] {
                    EXPECT_EQ(a_vextvfapi_disp_upgrade_tarn_fw(reinterpret_cast<const unsigned char*>("/data/no.bin")),
                              -1);
                }),
                HasSubstr("Upgrade TARN FW FAIL with /data/no.bin\n\n"));
    EXPECT_EQ(a_vextvfapi_disp_upgrade_tarn_fw(nullptr), -2);
}

TEST_F(Panel, WhatStaysOpenDiffers) {
    vset::dispout::release();
    fapi_core::VexTvFApiDispTconInfo stTcon = {};
    fapi_core::VexTvFApiDispExtFrcDeviceInfo stFrc = {};
    unsigned int u32Min = 0, u32Max = 0, u32Word = 0;
    struct Row {
        const char* pszWhat;
        std::function<int()> run;
        bool bStaysOpen;
    };
    write("/data/tarn.bin", "firmware");
    const Row rows[] = {
        {"set", [] { return a_vextvfapi_disp_panel_set_attr(0, 1, 1, 2, 3, 4); }, false},
        {"get", [&] { return a_vextvfapi_disp_get_pwm_range(u32Min, u32Max); }, false},
        {"get nothing", [&] { return a_vextvfapi_disp_panel_get_attr(0, 3, nullptr, &u32Word); }, true},
        {"T-CON", [&] { return a_vextvfapi_disp_get_tcon_info(&stTcon); }, true},
        {"FRC", [&] { return a_vextvfapi_disp_get_frc_device_info(&stFrc); }, true},
        {"FRC status", [] { return a_vextvfapi_disp_get_frc_connect_status() == 255 ? -1 : 0; }, true},
        {"companion",
         [] { return a_vextvfapi_disp_upgrade_tarn_fw(reinterpret_cast<const unsigned char*>("/data/tarn.bin")); },
         true},
    };
    for (const Row& stRow : rows) {
        vset::powerCycle();
        ASSERT_EQ(HW_SYS_Init(nullptr), HW_OK);
        ASSERT_EQ(a_vextvfapi_disp_init(), 0);
        vset::dispout::release();
        vset::clearJournal();
        EXPECT_EQ(stRow.run(), 0) << stRow.pszWhat;
        EXPECT_EQ(vset::dispout::output().bOpen, stRow.bStaysOpen) << stRow.pszWhat;
        // All but the one that returns early try to close: some the display's handle, which is refused.
        EXPECT_EQ(std::string(stRow.pszWhat) != "get nothing", calls().back() == "HW_DISPOUT_Close") << stRow.pszWhat;
        EXPECT_EQ(stRow.run(), 0) << stRow.pszWhat << ", once more";
    }
    // Without the display output.
    for (const Row& stRow : rows) {
        vset::powerCycle();
        ASSERT_EQ(HW_SYS_Init(nullptr), HW_OK);
        ASSERT_EQ(a_vextvfapi_disp_init(), 0);
        vset::dispout::release();
        vset::inject({"HW_DISPOUT_Open", 9});
        EXPECT_EQ(stRow.run(), -1) << stRow.pszWhat;
    }
    EXPECT_EQ(u32Max, 0u);
}

}  // namespace
