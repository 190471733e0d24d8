// SPDX-License-Identifier: Apache-2.0
// Burn-in: the colors that reach the display window, and how long the library pauses for them.
#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <numeric>
#include <thread>

#include <unistd.h>

#include <gmock/gmock.h>

#include "a_vextvfapi_disp.h"
#include "a_vextvfapi_disptst.h"
#include "support/emulation.h"
#include "support/library_fixture.h"
#include "support/log_capture.h"
#include "support/waiting.h"
#include "support/without_threads.h"
#include "vset/disp.h"

namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::SizeIs;

using fapi_core::_VexFApiDisptstBurnModeParam;

// The pauses that the library makes, of the test's thread, which calls the operations, and of the worker. They are
// shortened. The worker's may be read while no worker runs.
struct Pauses {
    std::thread::id caller = std::this_thread::get_id();
    std::vector<useconds_t> callers;
    std::function<void()> duringCallers = [] {};
    unsigned int u32CallersFactor = 10;

    std::map<std::uint64_t, std::vector<useconds_t>> workers;  // by the number of the middleware call before
    std::atomic<bool> bHoldWorker{false}, bHeld{false};
    int s32CallersResult = 0;
};
std::unique_ptr<Pauses> pauses = std::make_unique<Pauses>();

}  // namespace

// Takes the place of libc's.
extern "C" __attribute__((visibility("default"))) int usleep(useconds_t microseconds) {
    const bool bCaller = std::this_thread::get_id() == pauses->caller;
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds / (bCaller ? pauses->u32CallersFactor : 100)));
    if (bCaller) {
        pauses->callers.push_back(microseconds);
        pauses->duringCallers();
        return pauses->s32CallersResult;
    }
    pauses->workers[vset::lastCall()].push_back(microseconds);
    pauses->bHeld = pauses->bHoldWorker.load();
    test::eventually([] { return !pauses->bHoldWorker; }, std::chrono::minutes(1));
    pauses->bHeld = false;
    return 0;
}

namespace {

int start(const _VexFApiDisptstBurnModeParam& stParam) {
    _VexFApiDisptstBurnModeParam stCopy = stParam;
    return a_vextvfapi_disptst_set_burning_mode_adv(1, &stCopy);
}

class Burning : public test::DisplayTest {
protected:
    Burning() : DisplayTest(a_vextvfapi_disptst_init) {}

    void SetUp() override {
        SKIP_UNDER_EMULATION();
        pauses = std::make_unique<Pauses>();
        DisplayTest::SetUp();
    }

    void TearDown() override {
        if (!IsSkipped()) {
            pauses->bHoldWorker = false;
            EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode(0), 0);
            DisplayTest::TearDown();
        }
    }

    // The test patterns that were sent, as shown() has them.
    static std::vector<std::string> sent() {
        std::vector<std::string> patterns;
        for (const vset::JournalEntry& stEntry : vset::journal()) {
            if (stEntry.pszCall == std::string("HW_DISP_SetAttr")) {
                patterns.push_back(stEntry.strArguments.substr(stEntry.strArguments.find("mode=")));
            }
        }
        return patterns;
    }

    // Keeps the worker in its next pause.
    static bool holdWorker() {
        pauses->bHoldWorker = true;
        return test::eventually([] { return pauses->bHeld.load(); });
    }

    // Keeps the worker at its first line of the log until `start` has paused so often, or returns.
    static std::string logWithLateWorker(std::size_t number, const std::function<void()>& start) {
        bool bLate = true;
        pauses->duringCallers = [&, number] {
            if (pauses->callers.size() == number) {
                funlockfile(stdout);
                bLate = false;
            }
        };
        const std::string strLog = test::logOf([&] {
            flockfile(stdout);
            start();
            if (bLate) {
                funlockfile(stdout);
            }
        });
        pauses->duringCallers = [] {};
        return strLog;
    }

    static std::size_t callersPauses() {
        EXPECT_THAT(pauses->callers, Each(100'000u));
        return std::exchange(pauses->callers, {}).size();
    }

    unsigned short colors[6] = {1, 2, 3, 4, 5, 6};
};

std::string shown(const char* pszColor, int s32Enable = 1) {
    return "mode=6 enable=" + std::to_string(s32Enable) + " param=1 color=" + pszColor;
}

TEST_F(Burning, ShowsEachColorForItsTimeUntilItIsStopped) {
    const struct {
        std::vector<const char*> colors;
        std::function<int()> start;
        std::size_t units;  // of 100 ms, for each color
        std::size_t shown;  // colors, at least
    } rows[] = {
        {{"1023,0,0", "0,0,1023", "0,1023,0", "0,0,0", "1023,1023,1023"},
         [] { return a_vextvfapi_disptst_set_burning_mode(1); },
         2,
         7},
        {{"1,2,3", "4,5,6"},
         [&] {
             return start({colors, 2, 1});
         },
         1,
         4},
        {{"1,2,3"},
         [&] {
             return start({colors, 1, 255});
         },
         255,
         0},
    };
    for (const auto& row : rows) {
        std::iota(std::begin(colors), std::end(colors), static_cast<unsigned short>(1));
        pauses->workers.clear();
        vset::clearJournal();
        ASSERT_EQ(row.start(), 0);
        std::fill(std::begin(colors), std::end(colors), static_cast<unsigned short>(99));  // the worker has its own
        ASSERT_TRUE(test::eventually([&] { return sent().size() >= row.shown; }) && holdWorker());
        const auto before = pauses->workers;
        callersPauses();
        pauses->duringCallers = [] { pauses->bHoldWorker = pauses->callers.size() < 3; };
        ASSERT_EQ(a_vextvfapi_disptst_set_burning_mode(0), 0);
        EXPECT_EQ(pauses->workers, before);

        std::vector<std::string> wanted;
        for (std::size_t i = 0; i + 1 < sent().size(); ++i) {
            wanted.push_back(shown(row.colors[i % row.colors.size()]));
        }
        wanted.push_back(shown(row.colors[(wanted.size() - 1) % row.colors.size()], 0));
        EXPECT_THAT(sent(), ElementsAreArray(wanted)) << "the last one is switched off as it is";
        for (const auto& [call, made] : before) {
            EXPECT_THAT(made, Each(100'000u));
            EXPECT_TRUE(made.size() == row.units || call == before.rbegin()->first) << made.size();
        }
    }
}

TEST_F(Burning, WithoutPausesItStopsAfterTheLastColor) {
    ASSERT_EQ(start({colors, 2, 0}), 0);
    ASSERT_EQ(a_vextvfapi_disptst_set_burning_mode(0), 0);
    EXPECT_EQ(sent().back(), shown("4,5,6", 0));
    EXPECT_THAT(pauses->workers, SizeIs(0));
    vset::clearJournal();
    ASSERT_EQ(start({colors, 0, 5}), 0);
    ASSERT_EQ(a_vextvfapi_disptst_set_burning_mode(0), 0);
    EXPECT_THAT(sent(), ElementsAre(shown("0,0,0", 0))) << "no color at all";
    for (const auto& [call, made] : pauses->workers) {
        EXPECT_THAT(made, Each(1000u));
    }
}

TEST_F(Burning, RunsOnce) {
    ASSERT_EQ(a_vextvfapi_disptst_set_burning_mode(1), 0);
    EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode(1), -1);
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode(0), 0); }),
                EndsWith("Burning task stopped...\n\n"));
    callersPauses();
    EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode(0), 0);
    EXPECT_EQ(callersPauses(), 1u) << "nothing runs";
}

TEST_F(Burning, WaitsTenSecondsMoreThanAColorIsShown) {
    for (const unsigned int u32Interval : {1u, 3u}) {
        _VexFApiDisptstBurnModeParam stParam = {colors, 2, static_cast<unsigned char>(u32Interval)};
        pauses->u32CallersFactor = 1000;
        EXPECT_THAT(logWithLateWorker(0, [&] { EXPECT_EQ(start(stParam), -1); }),
                    HasSubstr("Waitting for Burning task timeout...\n\n"));
        EXPECT_EQ(callersPauses(), (10 + u32Interval) * 10);
        ASSERT_TRUE(holdWorker()) << "it begins all the same";
        EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode_adv(0, &stParam), -1); }),
                    HasSubstr("Waitting for Burning task timeout...\n\n"));
        EXPECT_EQ(callersPauses(), (10 + u32Interval) * 10);
        EXPECT_EQ(start(stParam), -1) << "it still runs";
        pauses->bHoldWorker = false;
        pauses->u32CallersFactor = 10;
        ASSERT_EQ(a_vextvfapi_disptst_set_burning_mode(0), 0);
        callersPauses();
    }
}

TEST_F(Burning, NeedsMemoryBeforeATable) {
    _VexFApiDisptstBurnModeParam stParam = {colors, 1, 1}, stNoTable = {nullptr, 1, 1};
    for (const bool bOn : {true, false}) {
        EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode_adv(bOn, nullptr), -2);
        EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode_adv(bOn, &stNoTable), -2);
        vset::inject({vset::kAllocation, 0, 1});
        EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode_adv(bOn, &stNoTable), -4);
        vset::inject({vset::kAllocation, 0, 2});
        EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode_adv(bOn, &stParam), -4);
    }
}

TEST_F(Burning, TellsWhenItCannotStart) {
    const struct {
        vset::Fault stFault;
        const char* pszLog;
    } rows[] = {
        {{vset::kAllocation, 0, 2}, "pTempBurnModeParam->pColorTable is Null.\n\n"},
        {{vset::kAllocation, 0, 3}, "pTempBurnModeParam is Null.\n\n"},
        {{vset::kAllocation, 0, 4}, "pTempBurnModeParam is Null.\n\n"},
        {{"HW_DISP_Open", 3}, "Failed to get DISP handle.\n\n"},
    };
    a_vextvfapi_disp_switch_window(1);
    for (const auto& row : rows) {
        vset::inject(row.stFault);
        EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode(1), -1); }), HasSubstr(row.pszLog));
        EXPECT_FALSE(vset::disp::window(1).bOpen) << "what was opened is closed";
        EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode(0), 0);
    }
    // The failure of the last run is not this run's, however late its worker begins.
    callersPauses();
    EXPECT_THAT(logWithLateWorker(3, [] { EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode(1), 0); }),
                testing::Not(HasSubstr("usleep error")));
    EXPECT_TRUE(vset::disp::window(1).bOpen);
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode(0), 0); }),
                testing::Not(HasSubstr("usleep error")));
    EXPECT_FALSE(vset::disp::window(1).bOpen);
    // A pause that a signal ends is told of, and no failure.
    pauses->s32CallersResult = -1;
    for (const bool bOn : {true, false}) {
        EXPECT_THAT(test::logOf([bOn] { EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode(bOn ? 1 : 0), 0); }),
                    HasSubstr("[DISP] usleep error: "));
    }
    pauses->s32CallersResult = 0;
    callersPauses();
    {
        const test::WithoutThreads none;
        EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode(1), -1);
    }
    EXPECT_EQ(callersPauses(), 0u);
}

}  // namespace
