// SPDX-License-Identifier: Apache-2.0
// The virtual set's network interfaces and its watchdog.
#include <chrono>
#include <cstring>

#include <gtest/gtest.h>

#include "hw3/hw_net.h"
#include "hw3/hw_wdt.h"
#include "support/emulation.h"
#include "support/middleware_calls.h"
#include "support/refusals.h"
#include "support/waiting.h"
#include "vset/net.h"
#include "vset/wdt.h"

namespace {

using test::expectRefusals;
using test::kUntouched;

class VsetNet : public test::RunningTest {
protected:
    void SetUp() override {
        RunningTest::SetUp();
        ASSERT_EQ(HW_NET_Init(nullptr), HW_OK);
    }
    static HW_Handle_t opened(const char* pszName) {
        HW_NET_OpenParams_t stParams = {};
        std::memcpy(stParams.acName, pszName, strnlen(pszName, sizeof(stParams.acName)));
        return test::handleOf(HW_NET_Open, stParams);
    }
};

TEST_F(VsetNet, AHandleIsItsInterfacesHoweverTheListChanges) {
    vset::net::setInterfaces({{"lo"}, {"eth0"}, {"wlan0"}});
    const HW_Handle_t hEth = opened("eth0"), hWlan = opened("wlan0");
    vset::net::setInterfaces({{"wlan1"}, {"eth0"}});
    EXPECT_EQ(HW_NET_SetMac(hEth, "02:00:5E:00:53:01"), HW_OK);
    EXPECT_EQ(HW_NET_DeviceDown(hEth), HW_OK);
    EXPECT_EQ(vset::net::interfaces()[0].strMac, "00:00:00:00:00:00");
    EXPECT_EQ(vset::net::interfaces()[1].strMac, "02:00:5E:00:53:01");
    EXPECT_TRUE(vset::net::interfaces()[0].bUp);
    HW_NET_InterfaceName_t aNames[20] = {};
    HW_U32 u32Count = kUntouched;
    expectRefusals({
        {"taken away", HW_ERR_INVALID_HANDLE, [&] { return HW_NET_DeviceDown(hWlan); }},
        {"names to nowhere", HW_ERR_INVALID_PARAMETER, [&] { return HW_NET_GetInterfaceName(nullptr, &u32Count); }},
        {"uncounted names", HW_ERR_INVALID_PARAMETER, [&] { return HW_NET_GetInterfaceName(aNames, nullptr); }},
        {"both separators", HW_ERR_INVALID_PARAMETER, [&] { return HW_NET_SetMac(hEth, "02:00-5E:00-53:02"); }},
        {"no address", HW_ERR_INVALID_PARAMETER, [&] { return HW_NET_SetMac(hEth, ""); }},
        {"a longer one", HW_ERR_INVALID_PARAMETER, [&] { return HW_NET_SetMac(hEth, "02:00:5E:00:53:02:"); }},
        {"not switched on before", HW_ERR_FAILED, [&] { return HW_NET_DhcpOn(hEth, E_HW_NET_IPV4); }},
        {"off", HW_OK, [&] { return HW_NET_DhcpOff(hEth, E_HW_NET_IPV4); }},
        {"off again", HW_ERR_FAILED, [&] { return HW_NET_DhcpOff(hEth, E_HW_NET_IPV4); }},
        {"up", HW_OK, [&] { return HW_NET_DeviceUp(hEth); }},
        {"a group", HW_ERR_INVALID_PARAMETER, [&] { return HW_NET_SetMac(hEth, "01:00:5E:00:53:02"); }},
        {"IPv6", HW_ERR_NOT_SUPPORT, [&] { return HW_NET_DhcpOff(hEth, E_HW_NET_IPV4 + 1); }},
    });
    EXPECT_EQ(u32Count, kUntouched);
    EXPECT_TRUE(vset::net::interfaces()[1].bUp && !vset::net::interfaces()[1].bDhcp);
    // A name that fills its field has no end.
    vset::net::setInterfaces({{"eth0"}, {"sixteenletters16"}, {"eth0"}});
    std::memset(aNames, 0xA5, sizeof(aNames));
    EXPECT_EQ(HW_NET_GetInterfaceName(aNames, &u32Count), HW_OK);
    EXPECT_EQ(u32Count, 3u);
    EXPECT_EQ(std::string(aNames[0].acName, 16), "eth0" + std::string(12, '\0'));
    EXPECT_EQ(std::string(aNames[1].acName, 16), "sixteenletters16");
    EXPECT_EQ(aNames[3].acName[0], '\xA5');
    EXPECT_NE(opened("sixteenletters16"), HW_HANDLE_NONE);
    vset::net::setReportedCount(21);
    EXPECT_EQ(HW_NET_GetInterfaceName(aNames, &u32Count), HW_OK);
    EXPECT_EQ(u32Count, 21u);
    EXPECT_NO_THROW(vset::net::setInterfaces(std::vector<vset::net::Interface>(20, {"x"})));
    EXPECT_THROW(vset::net::setInterfaces(std::vector<vset::net::Interface>(21, {"x"})), vset::SetError);
    EXPECT_THROW(vset::net::setInterfaces({{""}}), vset::SetError);
}

TEST_F(VsetNet, MacAddressesAloneSurviveAPowerCycle) {
    const HW_Handle_t hEth = opened("eth0");
    EXPECT_EQ(HW_NET_SetMac(hEth, "02-00-5E-00-53-01"), HW_OK);
    EXPECT_EQ(HW_NET_DhcpOff(hEth, E_HW_NET_IPV4), HW_OK);
    EXPECT_EQ(HW_NET_DeviceDown(hEth), HW_OK);
    // A hand at another interface keeps nothing of it.
    std::vector<vset::net::Interface> interfaces = vset::net::interfaces();
    interfaces.push_back({"usb0", "02:00:5E:00:53:02", false, true});
    vset::net::setInterfaces(interfaces);
    EXPECT_FALSE(vset::net::interfaces()[1].bUp);
    vset::powerCycle();
    const vset::net::Interface stEth = vset::net::interfaces()[1];
    EXPECT_EQ(stEth.strMac, "02:00:5E:00:53:01");
    EXPECT_TRUE(stEth.bUp);
    EXPECT_TRUE(stEth.bDhcp);
    EXPECT_FALSE(vset::net::interfaces()[2].bUp) << "as a hand has made it";
}

TEST_F(VsetNet, TheWatchdogsHandleIsThereFromItsInitOn) {
    const auto watchdogs = [] {
        const std::vector<vset::OpenHandle> handles = vset::openHandles();
        return std::count_if(handles.begin(), handles.end(),
                             [](const vset::OpenHandle& stHandle) { return stHandle.strFamily == "HW_WDT"; });
    };
    EXPECT_EQ(watchdogs(), 0);
    EXPECT_EQ(test::init(HW_WDT_Init), HW_OK);
    EXPECT_EQ(watchdogs(), 1);
    vset::wdt::setPresent(false);
    HW_U32 u32Out = kUntouched;
    EXPECT_EQ(test::ask(HW_WDT_GetHandle, {}, &u32Out), HW_ERR_FAILED);
    EXPECT_EQ(watchdogs(), 0);
    vset::wdt::setPresent(true);
    const HW_Handle_t hWdt = test::handleOf(HW_WDT_GetHandle, {});
    const HW_WDT_Timer_t stTimer = {100};
    expectRefusals({
        {"no second", HW_ERR_INVALID_PARAMETER, [&] { return test::ask(HW_WDT_GetHandle, {1}, &u32Out); }},
        {"time cannot be read", HW_ERR_NOT_SUPPORT, [&] { return HW_WDT_GetAttr(hWdt, 0, nullptr, &u32Out); }},
        {"input", HW_ERR_INVALID_PARAMETER, [&] { return HW_WDT_GetAttr(hWdt, 5, &hWdt, &u32Out); }},
        {"another attribute", HW_ERR_NOT_SUPPORT, [&] { return HW_WDT_SetAttr(hWdt, 5, &stTimer); }},
    });
    EXPECT_EQ(vset::wdt::state().u32Seconds, 0u);
    EXPECT_EQ(u32Out, kUntouched);
}

TEST_F(VsetNet, TheWatchdogsRebootsAreCounted) {
    SKIP_UNDER_EMULATION();
    HW_Handle_t hWdt = HW_HANDLE_NONE;
    const auto arm = [&](HW_U32 u32Seconds) {
        HW_SYS_Init(nullptr);
        EXPECT_EQ(test::init(HW_WDT_Init), HW_OK);
        hWdt = test::handleOf(HW_WDT_GetHandle, {});
        const HW_WDT_Timer_t stTimer = {u32Seconds};
        EXPECT_EQ(HW_WDT_SetAttr(hWdt, E_HW_WDT_ATTR_SET_TIMER_SEC, &stTimer), HW_OK);
    };
    const auto word = [&](HW_U32 u32Attr) {
        HW_U32 u32Word = kUntouched;
        EXPECT_EQ(HW_WDT_GetAttr(hWdt, u32Attr, nullptr, &u32Word), HW_OK);
        return u32Word;
    };
    EXPECT_EQ(vset::wdt::state().remaining, 0);
    arm(1);
    ASSERT_TRUE(test::eventually([] { return !vset::isInitialised("HW_WDT"); }));
    vset::wdt::setPresent(false);
    vset::powerCycle();
    EXPECT_EQ(vset::wdt::state().u32Reboots, 1u) << "since the set was attached";
    EXPECT_TRUE(vset::wdt::state().bPresent);
    arm(100);
    EXPECT_NEAR(vset::wdt::state().remaining, 100, 60);
    EXPECT_EQ(word(E_HW_WDT_ATTR_RUNNING) + word(E_HW_WDT_ATTR_REBOOT_BY_WDT) + word(E_HW_WDT_ATTR_REBOOT_ACK), 3u);
    EXPECT_EQ(word(E_HW_WDT_ATTR_REBOOT_BY_WDT), 0u) << "acknowledged";
    vset::detach();
    vset::attach(folder());
    EXPECT_EQ(vset::wdt::state().u32Reboots + vset::wdt::state().u32Seconds, 0u);
}

}  // namespace
