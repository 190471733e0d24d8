// SPDX-License-Identifier: Apache-2.0
// The event operations of all modules.
#include <atomic>
#include <fstream>
#include <map>
#include <stdexcept>
#include <thread>

#include <gmock/gmock.h>
#include <unistd.h>

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

using Object = fapi_core::VexTvFApiEventCommonObject;

struct Module {
    const char* pszName;
    int (*reg)(fapi_core::VexTvFApiEventCallback_t);
    int (*unreg)();
    int (*nty)(unsigned int, const Object&, const Object&, const Object&, const Object&);
};

#define MODULE(m) \
    { #m, a_vextvfapi_##m##_reg_callback, a_vextvfapi_##m##_unreg_callback, a_vextvfapi_##m##_nty_event }
const Module kModules[] = {MODULE(sys), MODULE(aud),     MODULE(prphrl), MODULE(info),
                           MODULE(net), MODULE(disptst), MODULE(inpsrc), MODULE(disp)};

const Object a, b, c, d;

struct Seen {
    unsigned int u32Event = 0;
    const Object* apObjects[4] = {};
    int s32Calls = 0;
};
Seen g_stSeen;

int see(unsigned int event, const Object& first, const Object& second, const Object& third, const Object& fourth) {
    g_stSeen = {event, {&first, &second, &third, &fourth}, g_stSeen.s32Calls + 1};
    return 4711;
}

int throwUp(unsigned int, const Object&, const Object&, const Object&, const Object&) {
    throw std::runtime_error("the host's own");
}

TEST(Events, EachModuleHasItsOwnCallback) {
    for (const Module& stModule : kModules) {
        SCOPED_TRACE(stModule.pszName);
        g_stSeen = {};
        EXPECT_EQ(stModule.nty(1, a, b, c, d), -1) << "no callback is registered";
        EXPECT_EQ(stModule.reg(throwUp), 0);
        EXPECT_EQ(stModule.nty(1, a, b, c, d), -1) << "the callback has thrown";
        EXPECT_EQ(stModule.reg(see), 0);
        for (const Module& stOther : kModules) {
            EXPECT_EQ(stOther.nty(0x100005, a, b, c, d), &stOther == &stModule ? 4711 : -1) << stOther.pszName;
        }
        EXPECT_EQ(g_stSeen.s32Calls, 1);
        EXPECT_EQ(g_stSeen.u32Event, 0x100005u);
        EXPECT_THAT(g_stSeen.apObjects, ::testing::ElementsAre(&a, &b, &c, &d)) << "handed on, not copied";
        EXPECT_EQ(stModule.unreg(), 0);
        EXPECT_EQ(stModule.unreg(), 0);
        EXPECT_EQ(stModule.nty(1, a, b, c, d), -1);
        EXPECT_EQ(stModule.reg(see), 0);
        EXPECT_EQ(stModule.reg(nullptr), 0);
        EXPECT_EQ(stModule.nty(1, a, b, c, d), -1) << "null was stored";
    }
}

std::atomic<bool> g_bInside{false};
std::atomic<bool> g_bRelease{false};

int waitInside(unsigned int, const Object&, const Object&, const Object&, const Object&) {
    g_bInside = true;
    EXPECT_TRUE(test::eventually([] { return g_bRelease.load(); }));
    return 0;
}

// Returns whether a thread of this process sleeps, in a lock for example.
bool isAsleep(int s32Thread) {
    std::string strStat;
    std::getline(std::ifstream("/proc/self/task/" + std::to_string(s32Thread) + "/stat"), strStat);
    return strStat.find(") S ") != std::string::npos;
}

TEST(Events, UnregisteringWaitsForARunningCallback) {
    SKIP_UNDER_EMULATION();
    g_bInside = g_bRelease = false;
    ASSERT_EQ(a_vextvfapi_prphrl_reg_callback(waitInside), 0);
    std::thread notifier([] { a_vextvfapi_prphrl_nty_event(1, a, b, c, d); });
    EXPECT_TRUE(test::eventually([] { return g_bInside.load(); }));
    EXPECT_EQ(a_vextvfapi_sys_nty_event(1, a, b, c, d), -1) << "another module is not held up";
    std::atomic<int> s32Thread{0};
    std::atomic<bool> bReturned{false};
    std::thread unregisterer([&] {
        s32Thread = gettid();
        a_vextvfapi_prphrl_unreg_callback();
        bReturned = true;
    });
    EXPECT_TRUE(test::eventually([&] { return bReturned || (s32Thread != 0 && isAsleep(s32Thread)); }));
    EXPECT_FALSE(bReturned);
    g_bRelease = true;
    unregisterer.join();
    notifier.join();
}

int g_s32Taken = 0;

int take(unsigned int, const Object&, const Object&, const Object&, const Object&) {
    ++g_s32Taken;
    return 2;
}

TEST(Events, RegistrationAndDeliveryFromManyThreads) {
    SKIP_UNDER_EMULATION();
    g_s32Taken = 0;
    const test::Repeating registrar([] {
        a_vextvfapi_prphrl_reg_callback(take);
        a_vextvfapi_prphrl_unreg_callback();
    });
    std::map<int, int> answers;
    EXPECT_TRUE(test::eventually([&] {
        for (int i = 0; i < 1000; ++i) {
            ++answers[a_vextvfapi_prphrl_nty_event(1, a, b, c, d)];
        }
        return answers[2] > 100 && answers[-1] > 100;
    }));
    EXPECT_EQ(answers.size(), 2u) << "delivered, or no callback";
    EXPECT_EQ(answers[2], g_s32Taken);
}

}  // namespace
