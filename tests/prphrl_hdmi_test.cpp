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
    using Row = std::pair<signed char, signed char>;
    for (const auto& [set, got] : {Row{1, 1}, Row{2, 2}, Row{3, 3}, Row{0, 0}, Row{-5, 0}}) {
        EXPECT_EQ(a_vextvfapi_prphrl_set_hdmi_edid_version(3, set), 0);
        EXPECT_EQ(vset::extin::hdmi(3).u32Version, static_cast<unsigned int>(got));
        signed char s8Got = 99;
        EXPECT_EQ(a_vextvfapi_prphrl_get_hdmi_edid_version(3, &s8Got), 0);
        EXPECT_EQ(s8Got, got);
        Edid stEdid = untouched();
        EXPECT_EQ(a_vextvfapi_prphrl_get_hdmi_edid_data(3, &stEdid), 0);
        EXPECT_EQ(bytesOf(stEdid), vset::extin::edid(3, static_cast<unsigned int>(got)));
        EXPECT_EQ(stEdid.au8Data[stEdid.u32Size], '#') << "what follows the EDID stays";
    }
    EXPECT_EQ(a_vextvfapi_prphrl_set_hdmi_edid_data(3, 4, 1, u8("x")), 0)
        << "data of an unknown version are the default's";
    EXPECT_EQ(vset::extin::edid(3, 0), "x");
    for (const unsigned int unknown : {4u, 5u, 0x101u}) {
        vset::extin::reportEdidVersion(3, unknown);
        signed char version = 99;
        EXPECT_EQ(a_vextvfapi_prphrl_get_hdmi_edid_version(3, &version), 0);
        EXPECT_EQ(version, 0) << unknown;
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
    EXPECT_EQ(a_vextvfapi_prphrl_set_hdmi_edid_data(1, 2, 5, nullptr), -1) << "the middleware refuses it";
    EXPECT_EQ(vset::extin::edid(1, 2), strLongest);
    EXPECT_EQ(a_vextvfapi_prphrl_set_hdmi_edid_data(1, 3, 0, nullptr), 0) << "no data: the version alone";
    EXPECT_EQ(vset::extin::hdmi(1).u32Version, 3u);
}

TEST_F(Hdmi, APortIsNoByteAndANullIsReported) {
    EXPECT_EQ(a_vextvfapi_prphrl_set_hdmi_edid_data(256, 1, 1, u8("x")), -1) << "not port 0";
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_prphrl_get_hdmi_edid_version(0, nullptr), -2); }),
                HasSubstr("ps8RtnVersion is null.!\n\n"));
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_prphrl_get_hdmi_edid_data(0, nullptr), -1); }), IsEmpty());
    EXPECT_THAT(calls(), Not(::testing::Contains("HW_EXTIN_GetHandle")));
}

TEST_F(Hdmi, DrivesTheHotPlugLine) {
    EXPECT_EQ(a_vextvfapi_prphrl_set_hdmi_hpd(2, 0), 0);
    EXPECT_EQ(vset::extin::hdmi(2).u8HotPlug, 0);
    EXPECT_EQ(_a_vextvfapi_prphrl_set_hdmi_hpd(0, 0, 1), -2);
    EXPECT_EQ(_a_vextvfapi_prphrl_set_hdmi_hpd(1, 0, 1), -1) << "no handle at all";
    vset::extin::hold(E_HW_EXTIN_TYPE_HDMI, 0);
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_prphrl_set_hdmi_hpd(0, 0), 0); }),
                HasSubstr(">  Get HDMI Device:0 \n\n"));
    EXPECT_EQ(opened().size(), 1u) << "the player's stays open";
}

TEST_F(Hdmi, ReportsWhetherTheCallerMustClose) {
    leavesOpen("HW_EXTIN");
    struct Row {
        unsigned char port;
        const char* failing;
        int status;
        unsigned char opened;
    };
    int first = 0;
    for (const Row& row :
         {Row{4, nullptr, -2, 0}, Row{1, "HW_EXTIN_Open", -1, 0}, Row{1, nullptr, 0, 1}, Row{1, nullptr, 0, 0}}) {
        if (row.failing != nullptr) {
            vset::inject({row.failing});
            EXPECT_EQ(a_vextvfapi_prphrl_set_hdmi_hpd(row.port, 1), row.status);
            vset::inject({row.failing});
        }
        int handle = 5;
        unsigned char opened = 9;
        EXPECT_EQ(_a_vextvfapi_prphrl_get_hdmi_handle(row.port, handle, opened), row.status);
        EXPECT_EQ(handle != 0, row.status == 0);
        EXPECT_EQ(opened, row.opened);
        EXPECT_TRUE(first == 0 || first == handle);
        first = handle;
    }
}

// The number of ports is the one that the last start has found, also when the start failed.
TEST_F(Hdmi, FivePortsAreTooMany) {
    refuses("HW_EXTIN_GetCaps");
    vset::extin::setInputCount(E_HW_EXTIN_TYPE_HDMI, 5);
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(_a_vextvfapi_prphrl_extin_Init(), -1); }),
                HasSubstr("\033[31m Error 0x4: HDMI device number is over &u!\033[m\n\n"));
    EXPECT_EQ(a_vextvfapi_prphrl_init(), -1);
    EXPECT_EQ(a_vextvfapi_prphrl_set_hdmi_hpd(4, 1), 0) << "the fifth";
    EXPECT_EQ(a_vextvfapi_prphrl_set_hdmi_edid_version(4, 1), -1) << "which has no choice of EDIDs";
    vset::powerCycle();
    ASSERT_EQ(a_vextvfapi_sys_init(), 0);
    vset::extin::setInputCount(E_HW_EXTIN_TYPE_HDMI, 2);
    ASSERT_EQ(a_vextvfapi_prphrl_init(), 0);
    EXPECT_EQ(a_vextvfapi_prphrl_set_hdmi_hpd(1, 1), 0);
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_prphrl_set_hdmi_edid_version(2, 1), -1); }),
                HasSubstr("Device not found\n\n"));
    vset::powerCycle();
    ASSERT_EQ(a_vextvfapi_sys_init(), 0);
    vset::inject({"HW_EXTIN_Init"});
    EXPECT_EQ(a_vextvfapi_prphrl_init(), -1);
    EXPECT_EQ(a_vextvfapi_prphrl_set_hdmi_hpd(0, 1), -2) << "inputs that are not up report none";
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
    EXPECT_EQ(set(0, 19, 1), -1);
    EXPECT_EQ(set(19, 0, 1), -1);
}

}  // namespace
