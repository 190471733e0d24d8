// SPDX-License-Identifier: Apache-2.0
// HDMI ports, CEC and PWM; and how these, buses, pads and converter channels are found, opened, held and closed.
#include <array>
#include <functional>
#include <numeric>
#include <optional>
#include <set>

#include <gmock/gmock.h>

#include "hw3/hw_cec.h"
#include "hw3/hw_extin.h"
#include "hw3/hw_gpio.h"
#include "hw3/hw_iic.h"
#include "hw3/hw_pwm.h"
#include "hw3/hw_sar.h"
#include "hw3/hw_sys.h"
#include "support/refusals.h"
#include "support/set_fixture.h"
#include "vset/cec.h"
#include "vset/extin.h"
#include "vset/gpio.h"
#include "vset/iic.h"
#include "vset/pwm.h"
#include "vset/sar.h"

namespace {

using test::kUntouched;
using ::testing::Each;
using ::testing::SizeIs;

// --- What is found, opened, held and closed --------------------------------------------------------------------------

// A query or open record of the instance with that number.
template <class Params>
Params record(HW_U32 u32Key) {
    return {u32Key};
}
template <>
HW_EXTIN_HandleParams_t record(HW_U32 u32Key) {
    return {E_HW_EXTIN_TYPE_HDMI, u32Key};
}
template <>
HW_EXTIN_OpenParams_t record(HW_U32 u32Key) {
    return {0, E_HW_EXTIN_TYPE_HDMI, u32Key};
}
template <>
HW_SAR_OpenParams_t record(HW_U32 u32Key) {
    return {E_HW_SAR_MODE_ADC, u32Key, 0, nullptr};
}

// GetHandle or Open, with the number of the instance or without a record.
using Acquire = std::function<HW_Result_t(const HW_U32* pu32Key, HW_Handle_t* phHandle)>;

template <class Params>
Acquire through(HW_Result_t (*pCall)(const Params*, HW_Handle_t*)) {
    return [=](const HW_U32* pu32Key, HW_Handle_t* phHandle) {
        const Params stParams = record<Params>(pu32Key != nullptr ? *pu32Key : 0);
        return pCall(pu32Key != nullptr ? &stParams : nullptr, phHandle);
    };
}
template <class Params>
std::function<HW_Result_t()> with(HW_Result_t (*pInit)(const Params*)) {
    return [=] {
        const Params stParams = {};
        return pInit(&stParams);
    };
}

struct Family {
    const char* pszName;
    HW_U32 u32Key, u32Other, u32Outside;  // two instances, and none
    std::function<HW_Result_t()> init;    // if it has one
    Acquire find, open;
    HW_Result_t (*pClose)(HW_Handle_t);  // if it has one
    std::function<void(HW_U32)> hold, release;
};

#define ACQUIRE(F) through(HW_##F##_GetHandle), through(HW_##F##_Open)

std::vector<Family> families() {
    return {
        {"HW_EXTIN", 3, 2, 4, with(HW_EXTIN_Init), ACQUIRE(EXTIN), HW_EXTIN_Close,
         [](HW_U32 u32Key) { vset::extin::hold(E_HW_EXTIN_TYPE_HDMI, u32Key); },
         [](HW_U32 u32Key) { vset::extin::release(E_HW_EXTIN_TYPE_HDMI, u32Key); }},
        {"HW_CEC", 0, 0, 1, with(HW_CEC_Init), ACQUIRE(CEC), HW_CEC_Close, [](HW_U32) { vset::cec::hold(); },
         [](HW_U32) { vset::cec::release(); }},
        {"HW_PWM", 18, 9, 19, with(HW_PWM_Init), ACQUIRE(PWM), HW_PWM_Close, vset::pwm::hold, vset::pwm::release},
        {"HW_IIC", 7, 0, 8, with(HW_IIC_Init), ACQUIRE(IIC), HW_IIC_Close, vset::iic::hold, vset::iic::release},
        {"HW_GPIO", 255, 0, 256, nullptr, ACQUIRE(GPIO), HW_GPIO_Close, vset::gpio::hold, vset::gpio::release},
        {"HW_SAR", 7, 0, 8, nullptr, ACQUIRE(SAR), nullptr, vset::sar::hold, vset::sar::release},
    };
}

class VsetInstances : public test::MiddlewareTest {};

TEST_F(VsetInstances, AreThereAfterTheirFamily) {
    HW_Handle_t hUntouched = kUntouched, hHandle = 0;
    const std::vector<Family> all = families();
    for (const Family& family : all) {
        EXPECT_EQ(family.find(&family.u32Key, &hUntouched), HW_ERR_NOT_INITED) << family.pszName;
        EXPECT_EQ(family.open(&family.u32Key, &hUntouched), HW_ERR_NOT_INITED) << family.pszName;
    }
    ASSERT_EQ(HW_SYS_Init(nullptr), HW_OK);
    for (const Family& family : all) {
        SCOPED_TRACE(family.pszName);
        if (family.init) {
            EXPECT_EQ(family.find(&family.u32Key, &hUntouched), HW_ERR_NOT_INITED);
            EXPECT_EQ(family.open(&family.u32Key, &hUntouched), HW_ERR_NOT_INITED);
            EXPECT_EQ(family.init(), HW_OK);
        }
        for (const Acquire& acquire : {family.find, family.open}) {
            EXPECT_EQ(acquire(&family.u32Outside, &hUntouched), HW_ERR_INVALID_PARAMETER);
            EXPECT_EQ(acquire(nullptr, &hUntouched), HW_ERR_INVALID_PARAMETER);
            EXPECT_EQ(acquire(&family.u32Key, nullptr), HW_ERR_INVALID_PARAMETER);
        }
        EXPECT_EQ(family.open(&family.u32Key, &hHandle), HW_OK);
    }
    EXPECT_EQ(hUntouched, kUntouched);
}

TEST_F(VsetInstances, AreOpenOnceAndClosedOnce) {
    ASSERT_EQ(HW_SYS_Init(nullptr), HW_OK);
    std::set<HW_Handle_t> handles;
    for (const Family& family : families()) {
        SCOPED_TRACE(family.pszName);
        if (family.init) {
            EXPECT_EQ(family.init(), HW_OK);
        }
        for (int i = 0; i < (family.pClose != nullptr ? 2 : 1); ++i) {
            HW_Handle_t hHandle = 0, hFound = 0, hUntouched = kUntouched;
            EXPECT_EQ(family.find(&family.u32Key, &hUntouched), HW_ERR_FAILED);
            ASSERT_EQ(family.open(&family.u32Key, &hHandle), HW_OK);
            EXPECT_EQ(hHandle >> 31, 0u);
            EXPECT_TRUE(handles.insert(hHandle).second) << "an earlier handle";
            EXPECT_EQ(family.open(&family.u32Key, &hUntouched), HW_ERR_BUSY);
            EXPECT_EQ(family.find(&family.u32Key, &hFound), HW_OK);
            EXPECT_EQ(hFound, hHandle);
            EXPECT_THROW(family.hold(family.u32Key), vset::SetError);
            EXPECT_THROW(family.release(family.u32Key), vset::SetError) << "not the player's";
            EXPECT_EQ(hUntouched, kUntouched);
            for (const HW_Handle_t hSome : family.pClose != nullptr ? handles : std::set<HW_Handle_t>()) {
                EXPECT_EQ(family.pClose(hSome), hSome == hHandle ? HW_OK : HW_ERR_INVALID_HANDLE);
            }
        }
    }
    EXPECT_EQ(handles.count(HW_HANDLE_NONE), 0u);
}

TEST_F(VsetInstances, MayBeHeldByThePlayer) {
    ASSERT_EQ(HW_SYS_Init(nullptr), HW_OK);
    for (const Family& family : families()) {
        SCOPED_TRACE(family.pszName);
        if (family.init) {
            EXPECT_EQ(family.init(), HW_OK);
        }
        HW_Handle_t hFound = 0, hUntouched = kUntouched;
        family.hold(family.u32Other);
        EXPECT_EQ(family.find(&family.u32Other, &hFound), HW_OK);
        EXPECT_EQ(family.open(&family.u32Other, &hUntouched), HW_ERR_BUSY);
        for (const vset::OpenHandle& stHandle : vset::openHandles()) {
            EXPECT_TRUE(stHandle.u32Handle != hFound || stHandle.bPlayer);
        }
        EXPECT_THROW(family.hold(family.u32Other), vset::SetError);
        if (family.pClose != nullptr) {
            const bool bCloses = family.pClose == HW_IIC_Close;
            EXPECT_EQ(family.pClose(hFound), bCloses ? HW_OK : HW_ERR_INVALID_HANDLE);
            EXPECT_EQ(test::lastReason(), bCloses ? "closes the player's" : "");
            EXPECT_EQ(family.find(&family.u32Other, &hFound), bCloses ? HW_ERR_FAILED : HW_OK);
            bCloses ? family.hold(family.u32Other) : void();
        }
        family.release(family.u32Other);
        EXPECT_EQ(family.find(&family.u32Other, &hUntouched), HW_ERR_FAILED);
        EXPECT_THROW(family.release(family.u32Other), vset::SetError);
        EXPECT_EQ(hUntouched, kUntouched);
    }
    vset::detach();
    for (const Family& family : families()) {
        EXPECT_THROW(family.hold(family.u32Key), vset::SetError) << "without a set";
    }
}

// --- HDMI ------------------------------------------------------------------------------------------------------------

class VsetHdmi : public test::MiddlewareTest {
protected:
    void SetUp() override {
        MiddlewareTest::SetUp();
        bringUp();
    }
    static void bringUp() {
        const HW_EXTIN_InitParams_t stInit = {};
        ASSERT_EQ(HW_SYS_Init(nullptr), HW_OK);
        ASSERT_EQ(HW_EXTIN_Init(&stInit), HW_OK);
    }

    static HW_Handle_t open(HW_U32 u32Port, HW_U32 u32Type = E_HW_EXTIN_TYPE_HDMI, HW_U32 u32OpenValue = 0) {
        const HW_EXTIN_OpenParams_t stParams = {u32OpenValue, u32Type, u32Port};
        HW_Handle_t hExtin = 0;
        EXPECT_EQ(HW_EXTIN_Open(&stParams, &hExtin), HW_OK);
        return hExtin;
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
        }
        EXPECT_THAT(different, SizeIs(vset::extin::kEdidVersions));
        EXPECT_EQ(get(open(u32Port)), Edid(1, vset::extin::edid(u32Port, 1)));
    }
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
    const HW_Handle_t hPort = open(0), hVga = open(0, E_HW_EXTIN_TYPE_VGA, 2);
    std::array<HW_U8, 255> buffer;
    buffer.fill(0xA5);
    HW_EXTIN_HdmiEdid_t stSmall = {0, kUntouched, buffer.data(), 255}, stEmpty = {0, kUntouched, buffer.data(), 0},
                        stNowhere = {0, 1, nullptr, 256};
    const HW_EXTIN_HdmiHpd_t stHigh = {0, 1}, stWrongByte = {1, 0}, stTwo = {0, 2};
    HW_Handle_t hUntouched = kUntouched;
    const HW_EXTIN_OpenParams_t stType = {0, E_HW_EXTIN_TYPE_NUM, 0}, stNoSvideo = {0, E_HW_EXTIN_TYPE_SVIDEO, 0};
    const std::string strBefore = vset::extin::edid(0, 1);
    const auto getAttr = [](HW_Handle_t hExtin, HW_U32 u32Attr, void* pOutput) {
        return [=] { return HW_EXTIN_GetAttr(hExtin, u32Attr, nullptr, pOutput); };
    };
    const auto setAttr = [](HW_Handle_t hExtin, HW_U32 u32Attr, const void* pParam) {
        return [=] { return HW_EXTIN_SetAttr(hExtin, u32Attr, pParam); };
    };
    constexpr HW_U32 kEdid = E_HW_EXTIN_ATTR_HDMI_EDID, kHpd = E_HW_EXTIN_ATTR_HDMI_HPD;
    test::expectRefusals({
        {"type 7", HW_ERR_INVALID_PARAMETER, [&] { return HW_EXTIN_Open(&stType, &hUntouched); }},
        {"no such input", HW_ERR_INVALID_PARAMETER, [&] { return HW_EXTIN_Open(&stNoSvideo, &hUntouched); }},
        {"small", HW_ERR_LIMITION, getAttr(hPort, kEdid, &stSmall)},
        {"empty", HW_ERR_LIMITION, getAttr(hPort, kEdid, &stEmpty)},
        {"to nowhere", HW_ERR_INVALID_PARAMETER, getAttr(hPort, kEdid, &stNowhere)},
        {"no record", HW_ERR_INVALID_PARAMETER, getAttr(hPort, kEdid, nullptr)},
        {"read hot plug", HW_ERR_NOT_SUPPORT, getAttr(hPort, kHpd, &stSmall)},
        {"attribute 2", HW_ERR_NOT_SUPPORT, getAttr(hPort, 2, &stSmall)},
        {"EDID of VGA", HW_ERR_NOT_SUPPORT, getAttr(hVga, kEdid, &stSmall)},
        {"no handle", HW_ERR_INVALID_HANDLE, getAttr(0, kEdid, &stSmall)},
        {"set attribute 2", HW_ERR_NOT_SUPPORT, setAttr(hPort, 2, &stSmall)},
        {"hot plug of VGA", HW_ERR_NOT_SUPPORT, setAttr(hVga, kHpd, &stHigh)},
        {"set no handle", HW_ERR_INVALID_HANDLE, setAttr(0, kEdid, &stSmall)},
        {"set no record", HW_ERR_INVALID_PARAMETER, setAttr(hPort, kEdid, nullptr)},
        {"set from nowhere", HW_ERR_INVALID_PARAMETER, setAttr(hPort, kEdid, &stNowhere)},
        {"no hot plug", HW_ERR_INVALID_PARAMETER, setAttr(hPort, kHpd, nullptr)},
        {"level in the wrong byte", HW_ERR_INVALID_PARAMETER, setAttr(hPort, kHpd, &stWrongByte)},
        {"level 2", HW_ERR_INVALID_PARAMETER, setAttr(hPort, kHpd, &stTwo)},
        {"set version 4", HW_ERR_INVALID_PARAMETER, [&] { return set(hPort, 4, "x"); }},
        {"version 4", HW_ERR_INVALID_PARAMETER, [&] { return set(hPort, 4, std::nullopt); }},
    });
    EXPECT_NE(set(hPort, 1, std::string(513, 'x')), HW_OK);
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

class VsetCecPwm : public test::MiddlewareTest {
protected:
    void SetUp() override {
        MiddlewareTest::SetUp();
        const HW_CEC_InitParams_t stCec = {};
        const HW_PWM_InitParams_t stPwm = {};
        ASSERT_EQ(HW_SYS_Init(nullptr), HW_OK);
        ASSERT_EQ(HW_CEC_Init(&stCec), HW_OK);
        ASSERT_EQ(HW_PWM_Init(&stPwm), HW_OK);
    }
};

TEST_F(VsetCecPwm, CecIsSwitchedAndSaysSo) {
    const HW_CEC_OpenParams_t stOpen = {};
    HW_Handle_t hCec = 0;
    ASSERT_EQ(HW_CEC_Open(&stOpen, &hCec), HW_OK);
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
        {"no handle", HW_ERR_INVALID_HANDLE, [&] { return HW_CEC_GetAttr(0, 5, nullptr, &u32Out); }},
        {"enable no handle", HW_ERR_INVALID_HANDLE, [&] { return HW_CEC_Enable(0); }},
        {"disable no handle", HW_ERR_INVALID_HANDLE, [&] { return HW_CEC_Disable(hCec + 1); }},
    });
    EXPECT_EQ(u32Out, kUntouched);
    EXPECT_TRUE(vset::cec::state().bEnabled && vset::cec::state().bOpen);
    vset::powerCycle();
    EXPECT_FALSE(vset::cec::state().bEnabled || vset::cec::state().bOpen);
    EXPECT_EQ(vset::cec::state().s32EarcStatus, 0);
}

TEST_F(VsetCecPwm, EveryPwmChannelHasItsOwnValues) {
    constexpr HW_U32 kAttributes[] = {0, 1, 8};
    const auto number = [](HW_U32 u32Channel, HW_U32 u32Attr) { return 0xFEDC0000u + u32Channel * 256 + u32Attr; };
    std::vector<HW_Handle_t> handles;
    for (HW_U32 i = 0; i < vset::pwm::kChannels; ++i) {
        const HW_PWM_OpenParams_t stOpen = {i};
        ASSERT_EQ(HW_PWM_Open(&stOpen, &handles.emplace_back()), HW_OK);
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
            EXPECT_EQ(vset::pwm::value(i, u32Attr), number(i, u32Attr));
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
        {"set no handle", HW_ERR_INVALID_HANDLE, [&] { return HW_PWM_SetAttr(0, 1, &u32Value); }},
        {"get no handle", HW_ERR_INVALID_HANDLE, [&] { return HW_PWM_GetAttr(0, 1, nullptr, &u32Value); }},
    });
    EXPECT_EQ(u32Value, 5u);
    EXPECT_EQ(vset::pwm::value(0, 1), number(0, 1));
    EXPECT_THROW(vset::pwm::value(19, 0), vset::SetError);
    EXPECT_THROW(vset::pwm::setValue(0, 2, 1), vset::SetError);
    vset::powerCycle();
    EXPECT_EQ(vset::pwm::value(18, 8), 0u);
}

}  // namespace
