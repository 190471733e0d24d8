// SPDX-License-Identifier: Apache-2.0
// Burn-in: the colors that reach the display window, and how long the library pauses for them.
#include <atomic>
#include <functional>
#include <map>
#include <numeric>
#include <thread>

#include <pthread.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "a_vextvfapi_disp.h"
#include "a_vextvfapi_disptst.h"
#include "support/emulation.h"
#include "support/library_fixture.h"
#include "support/log_capture.h"
#include "support/waiting.h"
#include "vset/disp.h"

namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::SizeIs;

using fapi_core::_VexFApiDisptstBurnModeParam;

// The pauses that the library makes, of the thread that calls its operations and of the worker. They are shortened.
// The worker's may be read while no worker runs.
struct Pauses {
    std::thread::id caller = std::this_thread::get_id();
    std::vector<useconds_t> callers;
    std::function<int()> duringCallers;  // makes the pause fail with its errno
    unsigned int u32CallersFactor = 10;

    std::map<std::uint64_t, std::vector<useconds_t>> workers;  // by the number of the middleware call before
    std::atomic<bool> bHoldWorker{false}, bHeld{false};
};
Pauses* _pPauses;

}  // namespace

// Takes the place of libc's.
extern "C" __attribute__((visibility("default"))) int usleep(useconds_t microseconds) {
    const bool bCaller = _pPauses == nullptr || std::this_thread::get_id() == _pPauses->caller;
    const unsigned int u32Factor = _pPauses != nullptr && bCaller ? _pPauses->u32CallersFactor : 100;
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds / u32Factor));
    if (_pPauses == nullptr) {
        return 0;
    }
    if (bCaller) {
        _pPauses->callers.push_back(microseconds);
        errno = _pPauses->duringCallers ? _pPauses->duringCallers() : 0;
        return errno == 0 ? 0 : -1;
    }
    _pPauses->workers[vset::lastCall()].push_back(microseconds);
    _pPauses->bHeld = _pPauses->bHoldWorker.load();
    test::eventually([] { return !_pPauses->bHoldWorker; }, std::chrono::minutes(1));
    _pPauses->bHeld = false;
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
        _pPauses = &pauses;
        DisplayTest::SetUp();
    }

    void TearDown() override {
        if (!IsSkipped()) {
            pauses.bHoldWorker = false;
            pauses.duringCallers = nullptr;
            EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode(0), 0);
            DisplayTest::TearDown();
        }
        _pPauses = nullptr;
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
    bool holdWorker() {
        pauses.bHoldWorker = true;
        return test::eventually([this] { return pauses.bHeld.load(); });
    }

    // Keeps the worker at its first line of the log until `start` has paused so often, or returns.
    std::string logWithLateWorker(std::size_t number, const std::function<void()>& start) {
        bool bHeld = true;
        const auto letGo = [&] {
            if (std::exchange(bHeld, false)) {
                funlockfile(stdout);
            }
            return 0;
        };
        pauses.duringCallers = [&, number] { return pauses.callers.size() == number ? letGo() : 0; };
        const std::string strLog = test::logOf([&] {
            flockfile(stdout);
            start();
            letGo();
        });
        pauses.duringCallers = nullptr;
        return strLog;
    }

    std::size_t callersPauses() {
        EXPECT_THAT(pauses.callers, Each(100'000u));
        return std::exchange(pauses.callers, {}).size();
    }

    Pauses pauses;
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
        pauses.workers.clear();
        vset::clearJournal();
        ASSERT_EQ(row.start(), 0);
        std::fill(std::begin(colors), std::end(colors), static_cast<unsigned short>(99));  // the worker has its own
        ASSERT_TRUE(test::eventually([&] { return sent().size() >= row.shown; }) && holdWorker());
        const auto before = pauses.workers;
        callersPauses();
        pauses.duringCallers = [this] {
            pauses.bHoldWorker = pauses.callers.size() < 3;
            return 0;
        };
        ASSERT_EQ(a_vextvfapi_disptst_set_burning_mode(0), 0);
        EXPECT_EQ(pauses.workers, before);

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
    EXPECT_THAT(pauses.workers, SizeIs(0));
    vset::clearJournal();
    ASSERT_EQ(start({colors, 0, 5}), 0);
    ASSERT_EQ(a_vextvfapi_disptst_set_burning_mode(0), 0);
    EXPECT_THAT(sent(), ElementsAre(shown("0,0,0", 0))) << "no color at all";
    for (const auto& [call, made] : pauses.workers) {
        EXPECT_THAT(made, Each(1000u));
    }
}

TEST_F(Burning, RunsOnce) {
    ASSERT_EQ(a_vextvfapi_disptst_set_burning_mode(1), 0);
    EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode(1), -1);
    ASSERT_EQ(a_vextvfapi_disptst_set_burning_mode(0), 0);
    callersPauses();
    EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode(0), 0);
    EXPECT_EQ(callersPauses(), 1u) << "nothing runs";
    // A pause that fails is only logged.
    pauses.duringCallers = [] { return EINTR; };
    for (const auto& [on, pszEnd] : {std::pair{true, "started...\n\n"}, {false, "stopped...\n\n"}}) {
        EXPECT_THAT(test::logOf([on = on] { EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode(on), 0); }),
                    AllOf(HasSubstr("[DISP] usleep error: Interrupted system call\n\n"), EndsWith(pszEnd)));
    }
}

TEST_F(Burning, WaitsTenSecondsMoreThanAColorIsShown) {
    for (const unsigned int u32Interval : {1, 3}) {
        _VexFApiDisptstBurnModeParam stParam = {colors, 2, static_cast<unsigned char>(u32Interval)};
        pauses.u32CallersFactor = 1000;
        EXPECT_THAT(logWithLateWorker(0, [&] { EXPECT_EQ(start(stParam), -1); }),
                    HasSubstr("Waitting for Burning task timeout...\n\n"));
        EXPECT_EQ(callersPauses(), (10 + u32Interval) * 10);
        ASSERT_TRUE(holdWorker()) << "it begins all the same";
        EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode_adv(0, &stParam), -1); }),
                    HasSubstr("Waitting for Burning task timeout...\n\n"));
        EXPECT_EQ(callersPauses(), (10 + u32Interval) * 10);
        EXPECT_EQ(start(stParam), -1) << "it still runs";
        pauses.bHoldWorker = false;
        pauses.u32CallersFactor = 10;
        ASSERT_EQ(a_vextvfapi_disptst_set_burning_mode(0), 0);
        callersPauses();
    }
}

TEST_F(Burning, NeedsAParameterAndMemory) {
    _VexFApiDisptstBurnModeParam stParam = {colors, 1, 1}, stNoTable = {nullptr, 1, 1};
    const struct {
        _VexFApiDisptstBurnModeParam* pstParam;
        unsigned int u32Allocation;  // that fails
        int s32Status;
    } rows[] = {{nullptr, 0, -2}, {&stNoTable, 0, -2}, {&stNoTable, 1, -4}, {&stParam, 1, -4}, {&stParam, 2, -4}};
    for (const bool bOn : {true, false}) {
        for (const auto& row : rows) {
            if (row.u32Allocation != 0) {
                vset::inject({vset::kAllocation, 0, row.u32Allocation});
            }
            EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode_adv(bOn, row.pstParam), row.s32Status);
        }
        vset::inject({vset::kAllocation, 0, 1});
        EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode(bOn), -4);
    }
    EXPECT_THAT(sent(), SizeIs(0));
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
    logWithLateWorker(3, [] { EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode(1), 0); });
    EXPECT_TRUE(vset::disp::window(1).bOpen);
    EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode(0), 0);
    EXPECT_FALSE(vset::disp::window(1).bOpen);
    callersPauses();
    // A thread whose stack has no room.
    pthread_attr_t stUsual, stHuge;
    ASSERT_EQ(pthread_getattr_default_np(&stUsual), 0);
    ASSERT_EQ(pthread_getattr_default_np(&stHuge), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&stHuge, std::size_t{1} << 50), 0);
    ASSERT_EQ(pthread_setattr_default_np(&stHuge), 0);
    EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode(1), -1);
    ASSERT_EQ(pthread_setattr_default_np(&stUsual), 0);
    EXPECT_EQ(callersPauses(), 0u);
}

}  // namespace
