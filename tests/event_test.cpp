// SPDX-License-Identifier: Apache-2.0
// The event operations of all modules.
#include <atomic>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

#include "a_vextvfapi_aud.h"
#include "a_vextvfapi_disp.h"
#include "a_vextvfapi_disptst.h"
#include "a_vextvfapi_info.h"
#include "a_vextvfapi_inpsrc.h"
#include "a_vextvfapi_net.h"
#include "a_vextvfapi_prphrl.h"
#include "a_vextvfapi_sys.h"
#include "support/emulation.h"
#include "support/waiting.h"

namespace {

using fapi_core::VexTvFApiEventCommonObject;

struct Module {
    const char* pszName;
    int (*reg)(fapi_core::VexTvFApiEventCallback_t);
    int (*unreg)();
    int (*nty)(unsigned int, const VexTvFApiEventCommonObject&, const VexTvFApiEventCommonObject&,
               const VexTvFApiEventCommonObject&, const VexTvFApiEventCommonObject&);
};

#define MODULE(m) \
    { #m, a_vextvfapi_##m##_reg_callback, a_vextvfapi_##m##_unreg_callback, a_vextvfapi_##m##_nty_event }
const Module kModules[] = {MODULE(sys), MODULE(aud),     MODULE(prphrl), MODULE(info),
                           MODULE(net), MODULE(disptst), MODULE(inpsrc), MODULE(disp)};

struct Seen {
    unsigned int u32Event = 0;
    const VexTvFApiEventCommonObject* apObjects[4] = {};
    int s32Calls = 0;
};
Seen g_stSeen;

int see(unsigned int event, const VexTvFApiEventCommonObject& a, const VexTvFApiEventCommonObject& b,
        const VexTvFApiEventCommonObject& c, const VexTvFApiEventCommonObject& d) {
    g_stSeen = {event, {&a, &b, &c, &d}, g_stSeen.s32Calls + 1};
    return 4711;
}

int answerTwo(unsigned int, const VexTvFApiEventCommonObject&, const VexTvFApiEventCommonObject&,
              const VexTvFApiEventCommonObject&, const VexTvFApiEventCommonObject&) {
    return 2;
}

int throwUp(unsigned int, const VexTvFApiEventCommonObject&, const VexTvFApiEventCommonObject&,
            const VexTvFApiEventCommonObject&, const VexTvFApiEventCommonObject&) {
    throw std::runtime_error("the host's own");
}

TEST(Events, EachModuleHasItsOwnCallback) {
    const VexTvFApiEventCommonObject a, b, c, d;
    for (const Module& stModule : kModules) {
        SCOPED_TRACE(stModule.pszName);
        g_stSeen = {};
        EXPECT_EQ(stModule.nty(1, a, b, c, d), -1) << "no callback is registered";
        EXPECT_EQ(stModule.reg(answerTwo), 0);
        EXPECT_EQ(stModule.reg(see), 0);
        for (const Module& stOther : kModules) {
            EXPECT_EQ(stOther.nty(0x100005, a, b, c, d), &stOther == &stModule ? 4711 : -1) << stOther.pszName;
        }
        EXPECT_EQ(g_stSeen.s32Calls, 1);
        EXPECT_EQ(g_stSeen.u32Event, 0x100005u);
        EXPECT_EQ(g_stSeen.apObjects[0], &a) << "handed on, not copied";
        EXPECT_EQ(g_stSeen.apObjects[3], &d);
        EXPECT_EQ(stModule.unreg(), 0);
        EXPECT_EQ(stModule.unreg(), 0);
        EXPECT_EQ(stModule.nty(1, a, b, c, d), -1);
        EXPECT_EQ(stModule.reg(see), 0);
        EXPECT_EQ(stModule.reg(nullptr), 0);
        EXPECT_EQ(stModule.nty(1, a, b, c, d), -1) << "null was stored";
    }
}

TEST(Events, ACallbackThatThrowsLeavesTheModuleUsable) {
    const VexTvFApiEventCommonObject a, b, c, d;
    for (const Module& stModule : kModules) {
        stModule.reg(throwUp);
        EXPECT_EQ(stModule.nty(1, a, b, c, d), -1);
        stModule.reg(answerTwo);
        EXPECT_EQ(stModule.nty(1, a, b, c, d), 2);
        stModule.unreg();
    }
}

std::atomic<bool> g_bInside{false};
std::atomic<bool> g_bRelease{false};

int waitInside(unsigned int, const VexTvFApiEventCommonObject&, const VexTvFApiEventCommonObject&,
               const VexTvFApiEventCommonObject&, const VexTvFApiEventCommonObject&) {
    g_bInside = true;
    while (!g_bRelease) {
        std::this_thread::yield();
    }
    g_bInside = false;
    return 0;
}

TEST(Events, UnregisteringWaitsForARunningCallback) {
    SKIP_UNDER_EMULATION();
    const VexTvFApiEventCommonObject a, b, c, d;
    g_bRelease = false;
    ASSERT_EQ(a_vextvfapi_prphrl_reg_callback(waitInside), 0);
    std::thread notifier([&] { a_vextvfapi_prphrl_nty_event(1, a, b, c, d); });
    EXPECT_TRUE(test::eventually([] { return g_bInside.load(); }));
    // Another module is not held up meanwhile.
    EXPECT_EQ(a_vextvfapi_sys_nty_event(1, a, b, c, d), -1);
    bool bRanAfterwards = true;
    std::thread unregisterer([&] {
        a_vextvfapi_prphrl_unreg_callback();
        bRanAfterwards = g_bInside;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    g_bRelease = true;
    unregisterer.join();
    notifier.join();
    EXPECT_FALSE(bRanAfterwards);
}

TEST(Events, RegistrationAndDeliveryFromManyThreads) {
    SKIP_UNDER_EMULATION();
    const VexTvFApiEventCommonObject a, b, c, d;
    std::atomic<bool> bStop{false};
    std::thread registrar([&] {
        while (!bStop) {
            a_vextvfapi_prphrl_reg_callback(answerTwo);
            a_vextvfapi_prphrl_unreg_callback();
        }
    });
    int s32Delivered = 0;
    for (int i = 0; i < 20000; ++i) {
        const int s32Result = a_vextvfapi_prphrl_nty_event(1, a, b, c, d);
        ASSERT_TRUE(s32Result == 2 || s32Result == -1);
        s32Delivered += s32Result == 2;
    }
    bStop = true;
    registrar.join();
    RecordProperty("delivered", s32Delivered);
}

}  // namespace
