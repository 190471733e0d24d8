// SPDX-License-Identifier: Apache-2.0
// HDMI ports, CEC, eARC and PWM channels.
#include <gmock/gmock.h>

#include "hw3/hw_extin.h"
#include "support/log_capture.h"
#include "support/peripheral_fixture.h"
#include "support/refusals.h"
#include "vset/cec.h"
#include "vset/extin.h"
#include "vset/pwm.h"

namespace {

using test::u8;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

using Edid = fapi_core::VexTvFApiHDMI_EDID_Data_t;

class Hdmi : public test::PeripheralTest {
protected:
    static Edid untouched() {
        Edid stEdid;
        stEdid.u32Size = 77;
        std::fill(std::begin(stEdid.au8Data), std::end(stEdid.au8Data), static_cast<unsigned char>('#'));
        return stEdid;
    }
    static std::string bytesOf(const Edid& stEdid) {
        return {reinterpret_cast<const char*>(stEdid.au8Data), stEdid.u32Size};
    }
};

TEST_F(Hdmi, ThePortShowsTheVersionThatWasChosen) {
    struct Row {
        signed char s8Set;
        signed char s8Got;
    };
    for (const Row& stRow : {Row{1, 1}, Row{2, 2}, Row{3, 3}, Row{0, 0}, Row{-5, 0}}) {
        EXPECT_EQ(a_vextvfapi_prphrl_set_hdmi_edid_version(3, stRow.s8Set), 0);
        signed char s8Got = 99;
        EXPECT_EQ(a_vextvfapi_prphrl_get_hdmi_edid_version(3, &s8Got), 0);
        EXPECT_EQ(s8Got, stRow.s8Got);
        Edid stEdid = untouched();
        EXPECT_EQ(a_vextvfapi_prphrl_get_hdmi_edid_data(3, &stEdid), 0);
        EXPECT_EQ(bytesOf(stEdid), vset::extin::edid(3, static_cast<unsigned int>(stRow.s8Got)));
        EXPECT_EQ(stEdid.au8Data[stEdid.u32Size], '#') << "what follows the EDID stays";
    }
}

TEST_F(Hdmi, TakesEdidsOfUpTo512Bytes) {
    refuses("HW_EXTIN_SetAttr");
    const std::string strLongest(512, 'e');
    EXPECT_EQ(a_vextvfapi_prphrl_set_hdmi_edid_data(1, 2, 512, u8(strLongest)), 0);
    Edid stEdid = untouched();
    EXPECT_EQ(a_vextvfapi_prphrl_get_hdmi_edid_data(1, &stEdid), 0);
    EXPECT_EQ(bytesOf(stEdid), strLongest);
    EXPECT_EQ(vset::extin::hdmi(1).u32Version, 2u);
    EXPECT_EQ(a_vextvfapi_prphrl_set_hdmi_edid_data(1, 2, 513, u8(std::string(513, 'f'))), -1);
    EXPECT_EQ(a_vextvfapi_prphrl_set_hdmi_edid_data(1, 2, 5, nullptr), -1) << "the middleware refuses it";
    EXPECT_EQ(vset::extin::edid(1, 2), strLongest);
    EXPECT_EQ(a_vextvfapi_prphrl_set_hdmi_edid_data(1, 3, 0, nullptr), 0) << "no data: the version alone";
    EXPECT_EQ(vset::extin::hdmi(1).u32Version, 3u);
}

TEST_F(Hdmi, RefusesWhatIsNotThere) {
    signed char s8Version = 99;
    Edid stEdid = untouched();
    const std::string strLog = test::logOf([&] {
        EXPECT_EQ(a_vextvfapi_prphrl_set_hdmi_edid_version(4, 1), -1);
        EXPECT_EQ(a_vextvfapi_prphrl_set_hdmi_edid_version(0, 4), -1);
        EXPECT_EQ(a_vextvfapi_prphrl_get_hdmi_edid_version(0, nullptr), -2);
        EXPECT_EQ(a_vextvfapi_prphrl_get_hdmi_edid_version(4, &s8Version), -2);
        EXPECT_EQ(a_vextvfapi_prphrl_set_hdmi_edid_data(256, 1, 1, u8("x")), -1) << "not port 0";
        EXPECT_EQ(a_vextvfapi_prphrl_get_hdmi_edid_data(4, &stEdid), -1);
    });
    EXPECT_THAT(strLog, AllOf(HasSubstr("Port = 0, Version = 4\n"), HasSubstr("Port = 0, \n"),
                              HasSubstr("Device not found\n\n"), HasSubstr("Device not found!\n\n"),
                              HasSubstr("ps8RtnVersion is null.!\n\n")));
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_prphrl_get_hdmi_edid_data(0, nullptr), -1); }), IsEmpty());
    EXPECT_EQ(s8Version, 99);
    EXPECT_EQ(stEdid.u32Size, 77u);
    EXPECT_THAT(calls(), Not(::testing::Contains("HW_EXTIN_GetHandle")));
}

TEST_F(Hdmi, EveryStepMayFail) {
    struct Row {
        const char* pszCall;
        int s32Status;
        const char* pszLog;
    };
    for (const Row& stRow : {Row{"HW_EXTIN_Open", -1, "Extin get handle failed!\n\n"},
                             Row{"HW_EXTIN_GetAttr", -1, "Get HDMI EDID Data failed\n"},
                             Row{"HW_EXTIN_Close", 0, "Close handle failed!\n"}}) {
        Edid stEdid = untouched();
        vset::inject({stRow.pszCall, HW_ERR_TIMEOUT});
        EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_prphrl_get_hdmi_edid_data(0, &stEdid), stRow.s32Status); }),
                    HasSubstr(stRow.pszLog));
        EXPECT_EQ(stEdid.u32Size == 77, stRow.s32Status != 0) << stRow.pszCall;
        vset::powerCycle();
        ASSERT_EQ(a_vextvfapi_sys_init(), 0);
        ASSERT_EQ(a_vextvfapi_prphrl_init(), 0);
    }
    // The call's line, then the close, then the code.
    vset::inject({"HW_EXTIN_SetAttr", HW_ERR_TIMEOUT});
    const std::string strLog = test::logOf([] { EXPECT_EQ(a_vextvfapi_prphrl_set_hdmi_edid_version(2, 1), -1); });
    const std::size_t failed = strLog.find("Set HDMI EDID version failed\n");
    const std::size_t closed = strLog.find("Close HDMI Device:2\n");
    const std::size_t code = strLog.find("eErrCode = 13\n");
    EXPECT_TRUE(failed < closed && closed < code && code != std::string::npos) << strLog;
}

TEST_F(Hdmi, DrivesTheHotPlugLine) {
    EXPECT_EQ(a_vextvfapi_prphrl_set_hdmi_hpd(2, 0), 0);
    EXPECT_EQ(vset::extin::hdmi(2).u8HotPlug, 0);
    EXPECT_EQ(a_vextvfapi_prphrl_set_hdmi_hpd(2, 1), 0);
    EXPECT_EQ(vset::extin::hdmi(2).u8HotPlug, 1);
    EXPECT_EQ(a_vextvfapi_prphrl_set_hdmi_hpd(4, 1), -2) << "the port after the last one is refused by the handle step";
    EXPECT_EQ(a_vextvfapi_prphrl_set_hdmi_hpd(5, 1), -1);
    EXPECT_EQ(_a_vextvfapi_prphrl_set_hdmi_hpd(0, 0, 1), -2);
    EXPECT_EQ(_a_vextvfapi_prphrl_set_hdmi_hpd(1, 0, 1), -1) << "no handle at all";
    vset::inject({"HW_EXTIN_SetAttr"});
    EXPECT_EQ(a_vextvfapi_prphrl_set_hdmi_hpd(2, 0), -1);

    // A port that the player has open is used and stays open.
    vset::extin::hold(E_HW_EXTIN_TYPE_HDMI, 0);
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_prphrl_set_hdmi_hpd(0, 0), 0); }),
                HasSubstr(">  Get HDMI Device:0 \n\n"));
    EXPECT_EQ(opened().size(), 1u);
}

TEST_F(Hdmi, ReportsWhetherTheCallerMustClose) {
    leavesOpen("HW_EXTIN");
    int s32Handle = 5;
    unsigned char u8Opened = 9;
    EXPECT_EQ(_a_vextvfapi_prphrl_get_hdmi_handle(4, s32Handle, u8Opened), -2);
    EXPECT_EQ(s32Handle, 0);
    EXPECT_EQ(u8Opened, 0);
    EXPECT_EQ(_a_vextvfapi_prphrl_get_hdmi_handle(1, s32Handle, u8Opened), 0);
    EXPECT_EQ(u8Opened, 1);
    int s32Again = 0;
    EXPECT_EQ(_a_vextvfapi_prphrl_get_hdmi_handle(1, s32Again, u8Opened), 0);
    EXPECT_EQ(s32Again, s32Handle);
    EXPECT_EQ(u8Opened, 0);
}

// --- CEC and eARC ----------------------------------------------------------------------------------------------------

class Cec : public test::PeripheralTest {};

TEST_F(Cec, IsSwitchedAndAsked) {
    signed char s8Status = 99;
    for (const unsigned char u8Enable : {static_cast<unsigned char>(200), static_cast<unsigned char>(0)}) {
        EXPECT_EQ(a_vextvfapi_prphrl_enable_cec(u8Enable), 0);
        EXPECT_EQ(vset::cec::state().bEnabled, u8Enable != 0);
        EXPECT_EQ(a_vextvfapi_prphrl_get_cec_status(&s8Status), 0);
        EXPECT_EQ(s8Status, u8Enable != 0 ? 1 : 0);
    }
    vset::cec::setEarcStatus(-70000);
    int s32Earc = 0;
    EXPECT_EQ(a_vextvfapi_prphrl_get_earc_status(&s32Earc), 0);
    EXPECT_EQ(s32Earc, -70000);
    EXPECT_EQ(a_vextvfapi_prphrl_get_cec_status(nullptr), -1);
    EXPECT_EQ(a_vextvfapi_prphrl_get_earc_status(nullptr), -1);
    vset::cec::hold();
    vset::clearJournal();
    EXPECT_EQ(a_vextvfapi_prphrl_enable_cec(1), 0);
    EXPECT_THAT(calls(), ElementsAre("HW_CEC_GetHandle", "HW_CEC_Enable"));
}

TEST_F(Cec, EveryStepMayFail) {
    struct Row {
        const char* pszCall;
        int s32Enable, s32Status, s32Earc;
    };
    // Only eARC minds a close that fails; only eARC brings CEC up.
    for (const Row& stRow :
         {Row{"HW_CEC_Open", -1, -1, -1}, Row{"HW_CEC_Enable", -1, 0, 0}, Row{"HW_CEC_GetAttr", 0, -1, -1},
          Row{"HW_CEC_Close", 0, 0, -1}, Row{"HW_CEC_Init", 0, 0, -1}}) {
        const auto with = [&](int (*operation)()) {
            vset::powerCycle();
            EXPECT_EQ(a_vextvfapi_sys_init(), 0);
            EXPECT_EQ(a_vextvfapi_prphrl_init(), 0);
            vset::inject({stRow.pszCall, HW_ERR_FAILED, 1, 0});
            const int s32Status = operation();
            vset::clearFaults();
            return s32Status;
        };
        EXPECT_EQ(with([] { return a_vextvfapi_prphrl_enable_cec(1); }), stRow.s32Enable) << stRow.pszCall;
        EXPECT_EQ(with([] {
                      signed char s8Status = 0;
                      return a_vextvfapi_prphrl_get_cec_status(&s8Status);
                  }),
                  stRow.s32Status)
            << stRow.pszCall;
        EXPECT_EQ(with([] {
                      int s32Earc = 0;
                      return a_vextvfapi_prphrl_get_earc_status(&s32Earc);
                  }),
                  stRow.s32Earc)
            << stRow.pszCall;
    }
    vset::powerCycle();
    ASSERT_EQ(a_vextvfapi_sys_init(), 0);
    ASSERT_EQ(a_vextvfapi_prphrl_init(), 0);
    vset::inject({"HW_CEC_Enable"});
    EXPECT_THAT(
        test::logOf([] { a_vextvfapi_prphrl_enable_cec(1); }),
        AllOf(HasSubstr("Set CEC enable!\n\n"), HasSubstr(">  Close CEC \n\n"), HasSubstr("Set CEC fail!\n\n")));
}

// --- PWM -------------------------------------------------------------------------------------------------------------

class Pwm : public test::PeripheralTest {
protected:
    static int set(unsigned int u32Attr, unsigned int u32Channel, unsigned int u32Value) {
        return a_vextvfapi_prphrl_pwm_set_attr(static_cast<fapi_core::VexTvFApiPwmAttr>(u32Attr),
                                               static_cast<fapi_core::VexTvFApiPwmChannel>(u32Channel), u32Value);
    }
    static int get(unsigned int u32Attr, unsigned int u32Channel, unsigned int* pu32Value) {
        return a_vextvfapi_prphrl_pwm_get_attr(static_cast<fapi_core::VexTvFApiPwmAttr>(u32Attr),
                                               static_cast<fapi_core::VexTvFApiPwmChannel>(u32Channel), pu32Value);
    }
};

TEST_F(Pwm, EveryChannelAndAttributeIsItsOwn) {
    constexpr unsigned int kAttrs[] = {0, 1, 8};
    for (unsigned int u32Channel = 0; u32Channel < 18; ++u32Channel) {
        for (unsigned int u32Attr = 0; u32Attr < 3; ++u32Attr) {
            ASSERT_EQ(set(u32Attr, u32Channel, 1000 * u32Channel + u32Attr), 0);
        }
    }
    for (unsigned int u32Channel = 0; u32Channel < 18; ++u32Channel) {
        const unsigned int u32Wired = u32Channel < 9 ? u32Channel : u32Channel + 1;
        for (unsigned int u32Attr = 0; u32Attr < 3; ++u32Attr) {
            unsigned int u32Value = 0;
            EXPECT_EQ(get(u32Attr, u32Channel, &u32Value), 0);
            EXPECT_EQ(u32Value, 1000 * u32Channel + u32Attr);
            EXPECT_EQ(vset::pwm::value(u32Wired, kAttrs[u32Attr]), u32Value);
        }
    }
    EXPECT_EQ(vset::pwm::value(9, 0), 0u);
}

TEST_F(Pwm, RefusesWhatIsNotThere) {
    refuses("HW_PWM_GetAttr");
    leavesOpen("HW_PWM");
    unsigned int u32Value = 77;
    vset::clearJournal();
    for (const unsigned int u32Wrong : {18u, 19u, 0xFFFFFFFFu}) {
        EXPECT_EQ(set(0, u32Wrong, 1), -1);
        EXPECT_EQ(get(0, u32Wrong, &u32Value), -1);
        EXPECT_EQ(set(u32Wrong, 0, 1), -1);
    }
    EXPECT_EQ(set(3, 0, 1), -1);
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_EQ(get(0, 0, nullptr), -1) << "the middleware refuses it";
    for (const char* pszCall : {"HW_PWM_Init", "HW_PWM_Open", "HW_PWM_GetAttr"}) {
        vset::inject({pszCall, HW_ERR_BUSY});
        EXPECT_THAT(test::logOf([&] { EXPECT_EQ(get(0, 17, &u32Value), -1); }),
                    HasSubstr(std::string("[PWM] ") + pszCall + " failed, "));
    }
    EXPECT_EQ(u32Value, 77u);
    vset::inject({"HW_PWM_Close"});
    EXPECT_EQ(set(0, 0, 5), 0) << "a close that fails changes nothing";
}

}  // namespace
