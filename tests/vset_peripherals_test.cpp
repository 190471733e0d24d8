// SPDX-License-Identifier: Apache-2.0
// The families that the peripheral module brings up, and the LED ring.
#include <cstring>

#include <gtest/gtest.h>

#include "hw3/hw_cec.h"
#include "hw3/hw_extin.h"
#include "hw3/hw_iic.h"
#include "hw3/hw_ir.h"
#include "hw3/hw_pm.h"
#include "hw3/hw_sys.h"
#include "hw3/hw_uart.h"
#include "support/refusals.h"
#include "support/set_fixture.h"
#include "vset/extin.h"
#include "vset/pm.h"

namespace {

using test::expectRefusals;
using test::kUntouched;

class VsetPeripherals : public test::MiddlewareTest {};

// A family's Init through its record, whose type each family has its own.
template <class Params>
std::function<HW_Result_t()> with(HW_Result_t (*pInit)(const Params*), HW_U32 u32Reserved) {
    return [=] {
        const Params stParams = {u32Reserved};
        return pInit(&stParams);
    };
}
template <class Params>
std::function<HW_Result_t()> without(HW_Result_t (*pInit)(const Params*)) {
    return [=] { return pInit(nullptr); };
}

struct Family {
    const char* name;
    HW_Result_t null;  // what an Init without a record answers
    std::function<HW_Result_t()> zero, rubbish, missing;
};

#define FAMILY(F, null) \
    { "HW_" #F, null, with(HW_##F##_Init, 0), with(HW_##F##_Init, 1), without(HW_##F##_Init) }

TEST_F(VsetPeripherals, AreBroughtUpAfterTheSystem) {
    const Family kFamilies[] = {FAMILY(UART, HW_HAS_INITED),
                                FAMILY(IIC, HW_HAS_INITED),
                                FAMILY(IR, HW_HAS_INITED),
                                FAMILY(EXTIN, HW_ERR_INVALID_PARAMETER),
                                FAMILY(CEC, HW_ERR_INVALID_PARAMETER),
                                FAMILY(PM, HW_ERR_INVALID_PARAMETER)};
    for (const Family& family : kFamilies) {
        EXPECT_EQ(family.zero(), HW_ERR_NOT_INITED) << family.name;
    }
    ASSERT_EQ(HW_SYS_Init(nullptr), HW_OK);
    for (const Family& family : kFamilies) {
        SCOPED_TRACE(family.name);
        EXPECT_FALSE(vset::isInitialised(family.name));
        EXPECT_EQ(family.rubbish(), HW_ERR_INVALID_PARAMETER);
        EXPECT_EQ(family.zero(), HW_OK);
        EXPECT_TRUE(vset::isInitialised(family.name));
        EXPECT_EQ(family.zero(), HW_HAS_INITED);
        EXPECT_EQ(family.missing(), family.null);
    }
    EXPECT_THROW(vset::isInitialised("HW_NOTHING"), vset::SetError);
    vset::powerCycle();
    EXPECT_FALSE(vset::isInitialised("HW_IR"));
}

TEST_F(VsetPeripherals, InputsAreCounted) {
    HW_EXTIN_Caps_t stCaps = {kUntouched & 0xFF, 1, 2, 3, 4, 5, 6, 7};
    const HW_EXTIN_Caps_t stBefore = stCaps;
    const HW_EXTIN_InitParams_t stInit = {};
    HW_SYS_Init(nullptr);
    EXPECT_EQ(HW_EXTIN_GetCaps(&stCaps), HW_ERR_NOT_INITED);
    EXPECT_EQ(std::memcmp(&stCaps, &stBefore, sizeof(stCaps)), 0);
    ASSERT_EQ(HW_EXTIN_Init(&stInit), HW_OK);
    EXPECT_EQ(HW_EXTIN_GetCaps(nullptr), HW_ERR_INVALID_PARAMETER);
    vset::extin::setInputCount(E_HW_EXTIN_TYPE_VGA, 9);
    EXPECT_EQ(HW_EXTIN_GetCaps(&stCaps), HW_OK);
    const HW_EXTIN_Caps_t stWanted = {4, 1, 9, 2, 0, 1, 1, 0};
    EXPECT_EQ(std::memcmp(&stCaps, &stWanted, sizeof(stCaps)), 0);
    EXPECT_THROW(vset::extin::setInputCount(E_HW_EXTIN_TYPE_NUM, 1), vset::SetError);
    vset::powerCycle();
    EXPECT_EQ(vset::extin::inputCount(E_HW_EXTIN_TYPE_VGA), 1);
}

TEST_F(VsetPeripherals, TheLedRingShowsWhatItIsTold) {
    const HW_PM_HandleParams_t stQuery = {}, stSecond = {1};
    const HW_PM_OpenParams_t stOpen = {};
    HW_Handle_t hPm = kUntouched;
    EXPECT_EQ(HW_PM_Open(&stOpen, &hPm), HW_ERR_NOT_INITED) << "before the system";
    HW_SYS_Init(nullptr);
    EXPECT_EQ(HW_PM_GetHandle(&stQuery, &hPm), HW_ERR_FAILED);
    EXPECT_EQ(hPm, kUntouched);
    ASSERT_EQ(HW_PM_Open(&stOpen, &hPm), HW_OK) << "the family's own Init is not asked for";

    HW_PM_LedControl_t stLeds = {{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}, 4};
    HW_PM_LedControl_t stThree = stLeds;
    stThree.u8LedCount = 3;
    HW_Handle_t hOther = 0;
    expectRefusals({
        {"open twice", HW_ERR_BUSY, [&] { return HW_PM_Open(&stOpen, &hOther); }},
        {"second instance", HW_ERR_INVALID_PARAMETER, [&] { return HW_PM_GetHandle(&stSecond, &hOther); }},
        {"three LEDs", HW_ERR_INVALID_PARAMETER, [&] { return HW_PM_SetAttr(hPm, 260, &stThree); }},
        {"null", HW_ERR_INVALID_PARAMETER, [&] { return HW_PM_SetAttr(hPm, 260, nullptr); }},
        {"another attribute", HW_ERR_NOT_SUPPORT, [&] { return HW_PM_SetAttr(hPm, 261, &stLeds); }},
        {"no handle", HW_ERR_INVALID_HANDLE, [&] { return HW_PM_SetAttr(0, 260, &stLeds); }},
    });
    EXPECT_TRUE(vset::pm::ledHistory().empty());
    EXPECT_EQ(HW_PM_SetAttr(hPm, E_HW_PM_PARAM_LED_CONTROL, &stLeds), HW_OK);
    const vset::pm::LedRing ring = vset::pm::leds();
    EXPECT_EQ(ring[0].u8Red, 1);
    EXPECT_EQ(ring[1].u8Green, 5);
    EXPECT_EQ(ring[3].u8Blue, 12);
    for (int i = 0; i < 1100; ++i) {
        HW_PM_SetAttr(hPm, E_HW_PM_PARAM_LED_CONTROL, &stLeds);
    }
    EXPECT_EQ(vset::pm::ledHistory().size(), 1024u);
    vset::pm::clearLedHistory();
    EXPECT_TRUE(vset::pm::ledHistory().empty());
    EXPECT_EQ(HW_PM_Close(hPm), HW_OK);
    EXPECT_EQ(HW_PM_Close(hPm), HW_ERR_INVALID_HANDLE);
    vset::powerCycle();
    EXPECT_EQ(vset::pm::leds()[3].u8Blue, 0);
}

}  // namespace
