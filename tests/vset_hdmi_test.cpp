// SPDX-License-Identifier: Apache-2.0
// HDMI ports, CEC, PWM and the LED ring.
#include <array>
#include <cstring>
#include <functional>
#include <numeric>
#include <optional>
#include <set>

#include <gmock/gmock.h>

#include "hw3/hw_cec.h"
#include "hw3/hw_extin.h"
#include "hw3/hw_pm.h"
#include "hw3/hw_pwm.h"
#include "support/middleware_calls.h"
#include "support/refusals.h"
#include "vset/cec.h"
#include "vset/extin.h"
#include "vset/pm.h"
#include "vset/pwm.h"

namespace {

using test::kUntouched;
using ::testing::Each;
using ::testing::SizeIs;

// --- HDMI ------------------------------------------------------------------------------------------------------------

class VsetHdmi : public test::MiddlewareTest {
protected:
    void SetUp() override {
        MiddlewareTest::SetUp();
        bringUp();
    }
    static void bringUp() {
        ASSERT_EQ(HW_SYS_Init(nullptr), HW_OK);
        ASSERT_EQ(test::init(HW_EXTIN_Init), HW_OK);
    }
    static HW_Handle_t open(HW_U32 u32Port) {
        return test::handleOf(HW_EXTIN_Open, {0, E_HW_EXTIN_TYPE_HDMI, u32Port});
    }

    // Bytes under their version, or the version only.
    static HW_Result_t set(HW_Handle_t hExtin, HW_U32 u32Version, std::optional<std::string> bytes) {
        const HW_EXTIN_HdmiEdid_t stEdid = {0, u32Version, bytes ? reinterpret_cast<HW_U8*>(bytes->data()) : nullptr,
                                            bytes ? static_cast<HW_U32>(bytes->size()) : 0};
        return HW_EXTIN_SetAttr(hExtin, E_HW_EXTIN_ATTR_HDMI_EDID, &stEdid);
    }

    // Version and bytes, as a program with a large buffer gets them.
    using Edid = std::pair<HW_U32, std::string>;
    static Edid get(HW_Handle_t hExtin) {
        std::string strBuffer(600, '\xA5');
        HW_U8* const pu8Buffer = reinterpret_cast<HW_U8*>(strBuffer.data());
        HW_EXTIN_HdmiEdid_t stEdid = {0, kUntouched, pu8Buffer, HW_EXTIN_EDID_MAX_SIZE};
        EXPECT_EQ(HW_EXTIN_GetAttr(hExtin, E_HW_EXTIN_ATTR_HDMI_EDID, nullptr, &stEdid), HW_OK);
        EXPECT_EQ(stEdid.pu8Data, pu8Buffer);
        EXPECT_EQ(strBuffer.find_first_not_of('\xA5', stEdid.u32Size), std::string::npos) << "beyond the EDID";
        return {stEdid.u32Version, strBuffer.substr(0, stEdid.u32Size)};
    }
};

TEST_F(VsetHdmi, ANewSetHasAnEdidForEveryVersion) {
    std::uint32_t u32Kept = 0;
    for (unsigned int u32Port = 0; u32Port < 4; ++u32Port) {
        std::set<std::string> different;
        for (unsigned int u32Version = 0; u32Version < vset::extin::kEdidVersions; ++u32Version) {
            const std::string strEdid = vset::extin::edid(u32Port, u32Version);
            ASSERT_THAT(strEdid, SizeIs(256));
            EXPECT_EQ(strEdid.substr(0, 8), std::string("\0\xFF\xFF\xFF\xFF\xFF\xFF\0", 8));
            EXPECT_EQ(strEdid[126], 1) << "one block follows";
            EXPECT_EQ(std::accumulate(strEdid.begin(), strEdid.begin() + 128, 0) & 0xFF, 0) << u32Version;
            EXPECT_EQ(std::accumulate(strEdid.begin() + 128, strEdid.end(), 0) & 0xFF, 0) << u32Version;
            different.insert(strEdid);
            u32Kept = std::accumulate(strEdid.begin(), strEdid.end(), u32Kept, [](std::uint32_t u32Sum, char cByte) {
                return u32Sum * 31 + static_cast<unsigned char>(cByte);
            });
        }
        EXPECT_THAT(different, SizeIs(vset::extin::kEdidVersions));
        EXPECT_EQ(get(open(u32Port)), Edid(1, vset::extin::edid(u32Port, 1)));
    }
    EXPECT_EQ(u32Kept, 2486753440u) << "the EDIDs have changed; the test of their validity is BoardCli's";
}

TEST_F(VsetHdmi, AnEdidIsKeptUnderItsVersion) {
    const HW_Handle_t hPort = open(1);
    const std::string strLong(512, 'x'), strFirst = vset::extin::edid(1, 1), strNext = vset::extin::edid(2, 2);
    EXPECT_EQ(set(hPort, 2, "a short one"), HW_OK);
    EXPECT_EQ(get(hPort), Edid(2, "a short one")) << "and current";
    EXPECT_EQ(set(hPort, 0, strLong), HW_OK);
    EXPECT_EQ(get(hPort), Edid(0, strLong));
    EXPECT_EQ(set(hPort, 1, std::nullopt), HW_OK);
    EXPECT_EQ(get(hPort), Edid(1, strFirst));
    EXPECT_EQ(set(hPort, 2, std::nullopt), HW_OK);
    EXPECT_EQ(vset::extin::hdmi(1).u32Version, 2u);
    EXPECT_EQ(vset::extin::hdmi(2).u32Version, 1u) << "the port beside it";
    vset::extin::setEdid(1, 2, "from outside");
    EXPECT_EQ(get(hPort), Edid(2, "from outside"));

    HW_EXTIN_HdmiEdid_t stAsked = {0, kUntouched, nullptr, 0};
    EXPECT_EQ(HW_EXTIN_GetAttr(hPort, E_HW_EXTIN_ATTR_HDMI_EDID, nullptr, &stAsked), HW_OK);
    EXPECT_EQ(stAsked.u32Version, 2u);
    EXPECT_EQ(stAsked.u32Size, 12u);
    EXPECT_EQ(stAsked.pu8Data, nullptr);

    const std::function<void()> kNextLives[] = {vset::powerCycle, [this] {
                                                    vset::detach();
                                                    vset::attach(folder());
                                                }};
    for (const std::function<void()>& begin : kNextLives) {
        begin();
        EXPECT_EQ(vset::extin::edid(1, 0), strLong);
        EXPECT_EQ(vset::extin::edid(1, 2), "from outside");
        EXPECT_EQ(vset::extin::edid(2, 2), strNext);
        bringUp();
        EXPECT_EQ(get(open(1)), Edid(1, strFirst));
    }
}

TEST_F(VsetHdmi, RefusesWhatAPortRefuses) {
    const HW_Handle_t hPort = open(0), hVga = test::handleOf(HW_EXTIN_Open, {2, E_HW_EXTIN_TYPE_VGA, 0});
    std::array<HW_U8, 255> buffer;
    buffer.fill(0xA5);
    HW_EXTIN_HdmiEdid_t stSmall = {0, kUntouched, buffer.data(), 255}, stEmpty = {0, kUntouched, buffer.data(), 0},
                        stNowhere = {0, 1, nullptr, 256};
    const HW_EXTIN_HdmiHpd_t stHigh = {0, 1}, stWrongByte = {1, 0}, stTwo = {0, 2};
    HW_Handle_t hUntouched = kUntouched;
    const auto openType = [&](HW_U32 u32Type) {
        return [=, &hUntouched] { return test::ask(HW_EXTIN_Open, {0, u32Type, 0}, &hUntouched); };
    };
    const std::string strBefore = vset::extin::edid(0, 1);
    const auto getAttr = [](HW_Handle_t hExtin, HW_U32 u32Attr, void* pOutput) {
        return [=] { return HW_EXTIN_GetAttr(hExtin, u32Attr, nullptr, pOutput); };
    };
    const auto setAttr = [](HW_Handle_t hExtin, HW_U32 u32Attr, const void* pParam) {
        return [=] { return HW_EXTIN_SetAttr(hExtin, u32Attr, pParam); };
    };
    constexpr HW_U32 kEdid = E_HW_EXTIN_ATTR_HDMI_EDID, kHpd = E_HW_EXTIN_ATTR_HDMI_HPD;
    test::expectRefusals({
        {"type 7", HW_ERR_INVALID_PARAMETER, openType(E_HW_EXTIN_TYPE_NUM)},
        {"no such input", HW_ERR_INVALID_PARAMETER, openType(E_HW_EXTIN_TYPE_SVIDEO)},
        {"small", HW_ERR_LIMITION, getAttr(hPort, kEdid, &stSmall)},
        {"empty", HW_ERR_LIMITION, getAttr(hPort, kEdid, &stEmpty)},
        {"to nowhere", HW_ERR_INVALID_PARAMETER, getAttr(hPort, kEdid, &stNowhere)},
        {"no record", HW_ERR_INVALID_PARAMETER, getAttr(hPort, kEdid, nullptr)},
        {"read hot plug", HW_ERR_NOT_SUPPORT, getAttr(hPort, kHpd, &stSmall)},
        {"attribute 2", HW_ERR_NOT_SUPPORT, getAttr(hPort, 2, &stSmall)},
        {"EDID of VGA", HW_ERR_NOT_SUPPORT, getAttr(hVga, kEdid, &stSmall)},
        {"set attribute 2", HW_ERR_NOT_SUPPORT, setAttr(hPort, 2, &stSmall)},
        {"hot plug of VGA", HW_ERR_NOT_SUPPORT, setAttr(hVga, kHpd, &stHigh)},
        {"set no record", HW_ERR_INVALID_PARAMETER, setAttr(hPort, kEdid, nullptr)},
        {"set from nowhere", HW_ERR_INVALID_PARAMETER, setAttr(hPort, kEdid, &stNowhere)},
        {"no hot plug", HW_ERR_INVALID_PARAMETER, setAttr(hPort, kHpd, nullptr)},
        {"level in the wrong byte", HW_ERR_INVALID_PARAMETER, setAttr(hPort, kHpd, &stWrongByte)},
        {"level 2", HW_ERR_INVALID_PARAMETER, setAttr(hPort, kHpd, &stTwo)},
        {"set version 4", HW_ERR_INVALID_PARAMETER, [&] { return set(hPort, 4, "x"); }},
        {"version 4", HW_ERR_INVALID_PARAMETER, [&] { return set(hPort, 4, std::nullopt); }},
    });
    EXPECT_EQ(set(hPort, 1, std::string(513, 'x')), HW_ERR_LIMITION);
    EXPECT_EQ(hUntouched, kUntouched);
    EXPECT_THAT(buffer, Each(0xA5));
    EXPECT_EQ(stSmall.u32Version, kUntouched);
    EXPECT_EQ(stSmall.u32Size, 255u);
    EXPECT_EQ(get(hPort), Edid(1, strBefore));
    EXPECT_EQ(vset::extin::hdmi(0).u64HotPlugs, 0u);
    EXPECT_THROW(vset::extin::edid(0, 4), vset::SetError);
    EXPECT_THROW(vset::extin::edid(4, 0), vset::SetError);
    EXPECT_THROW(vset::extin::setEdid(0, 0, std::string(513, 'x')), vset::SetError);
    EXPECT_THROW(vset::extin::hold(E_HW_EXTIN_TYPE_NUM, 0), vset::SetError);
}

TEST_F(VsetHdmi, DrivesTheHotPlugLine) {
    const HW_Handle_t hPort = open(3);
    for (const HW_U8 u8Level : {HW_U8{0}, HW_U8{1}, HW_U8{0}}) {
        const HW_EXTIN_HdmiHpd_t stHpd = {0, u8Level};
        EXPECT_EQ(HW_EXTIN_SetAttr(hPort, E_HW_EXTIN_ATTR_HDMI_HPD, &stHpd), HW_OK);
        EXPECT_EQ(vset::extin::hdmi(3).u8HotPlug, u8Level);
    }
    EXPECT_EQ(vset::extin::hdmi(3).u64HotPlugs, 3u);
    EXPECT_EQ(vset::extin::hdmi(2).u8HotPlug, 1);
    vset::powerCycle();
    EXPECT_EQ(vset::extin::hdmi(3).u8HotPlug, 1);
    EXPECT_FALSE(vset::extin::hdmi(3).bOpen);
}

// --- CEC and PWM -----------------------------------------------------------------------------------------------------

class VsetCecPwm : public test::RunningTest {};

TEST_F(VsetCecPwm, CecIsSwitchedAndSaysSo) {
    ASSERT_EQ(test::init(HW_CEC_Init), HW_OK);
    const HW_Handle_t hCec = test::handleOf(HW_CEC_Open, {});
    const auto attribute = [&](HW_U32 u32Attr) {
        std::string out(8, '?');
        EXPECT_EQ(HW_CEC_GetAttr(hCec, u32Attr, nullptr, out.data()), HW_OK);
        return out;
    };
    // The first attribute has one byte, the second four.
    const std::string off("\0???????", 8), on("\1???????", 8);
    EXPECT_EQ(attribute(5), off);
    EXPECT_EQ(HW_CEC_Enable(hCec), HW_OK);
    EXPECT_EQ(attribute(5), on);
    EXPECT_TRUE(vset::cec::state().bEnabled);
    EXPECT_EQ(HW_CEC_Disable(hCec), HW_OK);
    EXPECT_EQ(attribute(5), off);
    vset::cec::setEnabled(true);
    EXPECT_EQ(attribute(5), on);
    EXPECT_EQ(attribute(6), std::string("\0\0\0\0????", 8));
    vset::cec::setEarcStatus(-2);
    EXPECT_EQ(attribute(6), "\xFE\xFF\xFF\xFF????");
    HW_U32 u32Out = kUntouched;
    test::expectRefusals({
        {"attribute 4", HW_ERR_NOT_SUPPORT, [&] { return HW_CEC_GetAttr(hCec, 4, nullptr, &u32Out); }},
        {"to nowhere", HW_ERR_INVALID_PARAMETER, [&] { return HW_CEC_GetAttr(hCec, 5, nullptr, nullptr); }},
        {"input", HW_ERR_INVALID_PARAMETER, [&] { return HW_CEC_GetAttr(hCec, 6, &hCec, &u32Out); }},
    });
    EXPECT_EQ(u32Out, kUntouched);
    EXPECT_TRUE(vset::cec::state().bEnabled && vset::cec::state().bOpen);
    vset::powerCycle();
    EXPECT_FALSE(vset::cec::state().bEnabled || vset::cec::state().bOpen || vset::cec::state().s32EarcStatus != 0);
}

TEST_F(VsetCecPwm, EveryPwmChannelHasItsOwnValues) {
    constexpr HW_U32 kAttributes[] = {0, 1, 8};
    const auto number = [](HW_U32 u32Channel, HW_U32 u32Attr) { return 0xFEDC0000u + u32Channel * 256 + u32Attr; };
    ASSERT_EQ(test::init(HW_PWM_Init), HW_OK);
    std::vector<HW_Handle_t> handles;
    for (HW_U32 i = 0; i < vset::pwm::kChannels; ++i) {
        handles.push_back(test::handleOf(HW_PWM_Open, {i}));
        for (const HW_U32 u32Attr : kAttributes) {
            EXPECT_EQ(vset::pwm::value(i, u32Attr), 0u);
            const HW_U32 u32Value = number(i, u32Attr);
            EXPECT_EQ(HW_PWM_SetAttr(handles[i], u32Attr, &u32Value), HW_OK);
        }
    }
    HW_U32 u32Value = 0;
    for (HW_U32 i = 0; i < vset::pwm::kChannels; ++i) {
        for (const HW_U32 u32Attr : kAttributes) {
            EXPECT_EQ(HW_PWM_GetAttr(handles[i], u32Attr, nullptr, &u32Value), HW_OK);
            EXPECT_EQ(u32Value, number(i, u32Attr));
        }
    }
    vset::pwm::setValue(18, 8, 5);
    EXPECT_EQ(HW_PWM_GetAttr(handles[18], 8, nullptr, &u32Value), HW_OK);
    test::expectRefusals({
        {"attribute 2", HW_ERR_NOT_SUPPORT, [&] { return HW_PWM_SetAttr(handles[0], 2, &u32Value); }},
        {"attribute 13", HW_ERR_NOT_SUPPORT, [&] { return HW_PWM_GetAttr(handles[0], 13, nullptr, &u32Value); }},
        {"from nowhere", HW_ERR_INVALID_PARAMETER, [&] { return HW_PWM_SetAttr(handles[0], 1, nullptr); }},
        {"to nowhere", HW_ERR_INVALID_PARAMETER, [&] { return HW_PWM_GetAttr(handles[0], 1, nullptr, nullptr); }},
        {"input", HW_ERR_INVALID_PARAMETER, [&] { return HW_PWM_GetAttr(handles[0], 1, &handles, &u32Value); }},
    });
    EXPECT_EQ(u32Value, 5u);
    EXPECT_EQ(vset::pwm::value(0, 1), number(0, 1));
    EXPECT_THROW(vset::pwm::value(19, 0), vset::SetError);
    EXPECT_THROW(vset::pwm::setValue(0, 2, 1), vset::SetError);
    vset::powerCycle();
    EXPECT_EQ(vset::pwm::value(18, 8), 0u);
}

TEST_F(VsetCecPwm, TheLedRingShowsWhatItIsTold) {
    const HW_Handle_t hPm = test::handleOf(HW_PM_Open, {});
    HW_PM_LedControl_t stLeds = {{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}, 4};
    HW_PM_LedControl_t stThree = stLeds;
    stThree.u8LedCount = 3;
    test::expectRefusals({
        {"three LEDs", HW_ERR_INVALID_PARAMETER, [&] { return HW_PM_SetAttr(hPm, 260, &stThree); }},
        {"null", HW_ERR_INVALID_PARAMETER, [&] { return HW_PM_SetAttr(hPm, 260, nullptr); }},
        {"another attribute", HW_ERR_NOT_SUPPORT, [&] { return HW_PM_SetAttr(hPm, 261, &stLeds); }},
    });
    EXPECT_TRUE(vset::pm::ledHistory().empty());
    for (int i = 0; i < 1100; ++i) {
        EXPECT_EQ(HW_PM_SetAttr(hPm, E_HW_PM_PARAM_LED_CONTROL, &stLeds), HW_OK);
    }
    const vset::pm::LedRing ring = vset::pm::leds();
    EXPECT_EQ(std::memcmp(&ring, &stLeds, 12), 0);
    EXPECT_EQ(vset::pm::ledHistory().size(), 1024u);
    vset::pm::clearLedHistory();
    EXPECT_TRUE(vset::pm::ledHistory().empty());
    vset::powerCycle();
    EXPECT_EQ(vset::pm::leds()[3].u8Blue, 0);
}

}  // namespace
