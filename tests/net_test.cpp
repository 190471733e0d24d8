// SPDX-License-Identifier: Apache-2.0
// Network interfaces. The library remembers the selected interface for the life of the process, so every test needs one
// of its own.
#include <gmock/gmock.h>

#include "a_vextvfapi_net.h"
#include "a_vextvfapi_sys.h"
#include "support/library_fixture.h"
#include "support/log_capture.h"
#include "vset/net.h"

namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using vset::net::Interface;

int setMac(std::string strMac) {
    strMac.resize(64);  // room for the words that it is passed as
    return a_vextvfapi_net_set_mac(reinterpret_cast<unsigned int*>(strMac.data()));
}

class Net : public test::LibraryTest {
protected:
    Net() : LibraryTest(a_vextvfapi_net_init) {}
    static Interface interface(std::size_t index) { return vset::net::interfaces().at(index); }
};

TEST_F(Net, ComesUpAndGoesDown) {
    refuses("HW_NET_DeInit");
    refuses("HW_NET_GetInterfaceName");
    EXPECT_EQ(a_vextvfapi_net_init(), 0) << "again";
    EXPECT_EQ(a_vextvfapi_net_open("eth0"), 0);
    EXPECT_EQ(a_vextvfapi_net_deinit(), 0);
    EXPECT_THAT(opened(), IsEmpty());
    EXPECT_EQ(a_vextvfapi_net_deinit(), 0) << "whatever the middleware says";
    EXPECT_EQ(a_vextvfapi_net_open("eth0"), 255);
    vset::inject({"HW_NET_Init", HW_CONTINUE});
    EXPECT_EQ(a_vextvfapi_net_init(), -1);
}

TEST_F(Net, SetsTheMacOfEth0) {
    EXPECT_EQ(setMac("02-aB-00-11-22-33"), 0);
    EXPECT_EQ(interface(1).strMac, "02:AB:00:11:22:33");
    EXPECT_TRUE(interface(1).bDhcp) << "on again";
    vset::detach();
    vset::attach(folder());
    EXPECT_EQ(interface(1).strMac, "02:AB:00:11:22:33") << "it is kept";
}

TEST_F(Net, ARefusedMacIsASuccessWithoutDhcp) {
    refuses("HW_NET_SetMac");
    for (const char* pszMac : {"02:AB:00:11:22", "02:AB:00:11:22:3G", "02:AB:00:11:22:33:44", "nonsense"}) {
        EXPECT_EQ(setMac(pszMac), 0) << pszMac;
    }
    EXPECT_EQ(interface(1).strMac, "00:4C:55:4D:00:01");
    EXPECT_FALSE(interface(1).bDhcp);
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(setMac("02:AB:00:11:22:33"), 0); }),
                HasSubstr("LAN Device Dhcp may already off [ipv4]\n\n"))
        << "only logged";
    EXPECT_TRUE(interface(1).bDhcp);
}

TEST_F(Net, AnUnknownNameBeforeAnyOtherIsRefused) {
    inFreshProcess([] {
        vset::net::setInterfaces({{"lo"}, {"eth0"}, {"sixteen-letters!"}, {"x"}});
        for (const char* pszName : {"wlan9", "wlan", "eth", "eth0x", "sixteen-letters", "sixteen-letters!x"}) {
            EXPECT_EQ(a_vextvfapi_net_set_interface_updown(pszName, true), -1) << pszName;
        }
        vset::net::setInterfaces({{"lo"}});
        EXPECT_EQ(setMac("02:AB:00:11:22:33"), -1) << "no eth0";
    });
}

TEST_F(Net, AnUnknownNameOpensWhatWasSelectedBefore) {
    refuses("HW_NET_Open");
    EXPECT_EQ(a_vextvfapi_net_set_interface_updown("eth0", false), 0);
    EXPECT_FALSE(interface(1).bUp);
    EXPECT_EQ(a_vextvfapi_net_set_interface_updown("wlan9", true), 0);
    EXPECT_TRUE(interface(1).bUp) << "the entry at eth0's place";
    vset::net::setInterfaces({{"lo"}});
    EXPECT_EQ(a_vextvfapi_net_open("wlan9"), 255) << "an empty place, which the middleware refuses";
    EXPECT_EQ(vset::journal().back().strArguments, "name=\"\"");
}

TEST_F(Net, TakesTheLastOfEqualNamesAndNamesWithoutAnEnd) {
    vset::net::setInterfaces({{"eth0"}, {"lo"}, {"eth0"}, {"sixteen-letters!"}});
    EXPECT_EQ(a_vextvfapi_net_open("eth0"), 0);
    EXPECT_EQ(a_vextvfapi_net_close(), 0);
    // The interface that is now at that index is opened.
    vset::net::setInterfaces({{"lo"}, {"a"}, {"b"}, {"sixteen-letters!"}, {"x"}});
    EXPECT_EQ(a_vextvfapi_net_open("wlan9"), 0);
    EXPECT_EQ(vset::journal().back().strArguments, "name=\"b\"");
    EXPECT_EQ(a_vextvfapi_net_close(), 0);
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_net_open("sixteen-letters!"), 0); }),
                HasSubstr("Interface[3] is sixteen-letters!!\n\n"));
    EXPECT_EQ(a_vextvfapi_net_close(), 0);
}

TEST_F(Net, AChipThatReportsTooManyIsBelievedTwenty) {
    std::vector<Interface> interfaces;
    for (int i = 0; i < 20; ++i) {
        interfaces.push_back({"if" + std::to_string(i)});
    }
    vset::net::setInterfaces(interfaces);
    for (const unsigned int u32Count : {21u, 255u, 0xFFFFFFFFu}) {
        vset::net::setReportedCount(u32Count);
        EXPECT_EQ(a_vextvfapi_net_open("if19"), 0);
        EXPECT_EQ(vset::journal().back().strArguments, "name=\"if19\"");
        EXPECT_EQ(a_vextvfapi_net_close(), 0);
    }
}

}  // namespace
