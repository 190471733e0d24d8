// SPDX-License-Identifier: Apache-2.0
// Burn-in: a worker that fills the display window with one color after the other.
#define FAPI_LOG_TAG "VexTvFApiDisplayTest"
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <memory>
#include <new>

#include <unistd.h>

#include "a_vextvfapi_disp_internal.h"
#include "a_vextvfapi_disptst.h"
#include "base/fapi_background_task.h"
#include "base/fapi_log.h"

using fapi_core::_VexFApiDisptstBurnModeParam;

namespace {

constexpr unsigned int kComponents = 3;
constexpr unsigned int kPollMs = 100;
constexpr unsigned int kPollsPerSecond = 10;
constexpr unsigned int kPatience = 10;  // seconds in addition to the interval

constexpr unsigned char kDefaultEntries = 5;
constexpr unsigned char kDefaultInterval = 2;
constexpr unsigned short kDefaultColors[kDefaultEntries * kComponents] = {1023, 0, 0, 0, 0,    1023, 0,   1023,
                                                                          0,    0, 0, 0, 1023, 1023, 1023};

// Fills the window with one color in the output module.
constexpr HW_DISP_TestPattern_t kColorPattern = {E_HW_DISP_PATTERN_MOD, 1, 1, {0, 0, 0}};

// The worker never reports "inited"; the start treats it as a success.
enum TaskState : int { inited = 0, running = 1, stopped = 2, failed = 3 };

using Table = std::unique_ptr<unsigned short[]>;

}  // namespace

static Table copyOf(const unsigned short* pu16Table, unsigned int u32Entries) {
    const std::size_t words = std::size_t{u32Entries} * kComponents;
    Table copy(new (std::nothrow) unsigned short[words]);
    if (copy != nullptr) {
        std::copy_n(pu16Table, words, copy.get());
    }
    return copy;
}

namespace {

// The worker's own copy of the parameter, which the caller may free.
struct BurnInOrder {
    unsigned char u8Entries;
    unsigned char u8Interval;
    bool bHasTable;
    Table table;  // also null without memory for it

    explicit BurnInOrder(const _VexFApiDisptstBurnModeParam& stParam)
        : u8Entries(stParam.u8ColorTableSize),
          u8Interval(stParam.u8Interval),
          bHasTable(stParam.pColorTable != nullptr),
          table(bHasTable ? copyOf(stParam.pColorTable, u8Entries) : nullptr) {}
};

// A parameter that owns its table.
struct ParamDeleter {
    void operator()(_VexFApiDisptstBurnModeParam* pParam) const {
        delete[] pParam->pColorTable;
        delete pParam;
    }
};
using OwnedParam = std::unique_ptr<_VexFApiDisptstBurnModeParam, ParamDeleter>;

}  // namespace

static std::atomic<unsigned char> _u8BurningRunning{0};
static std::atomic<int> _s32BurningState{stopped};

// --- The worker ------------------------------------------------------------------------------------------------------

// Waits while a color is shown. False when the worker is to end.
static bool holdColor(unsigned char u8Interval) {
    for (unsigned int i = 0; i < u8Interval; ++i) {
        if (_u8BurningRunning.load() == 0) {
            return false;
        }
        usleep(kPollMs * 1000);
    }
    return true;
}

static void cycleColors(HW_Handle_t hDisp, const BurnInOrder& order, HW_DISP_TestPattern_t& stPattern) {
    if (order.u8Entries == 0) {
        while (_u8BurningRunning.load() != 0) {
            usleep(1000);
        }
        return;
    }
    for (unsigned char u8Entry = 0;;) {
        for (unsigned int i = 0; i < kComponents; ++i) {
            stPattern.au32Value[i] = order.table[u8Entry * kComponents + i];
        }
        static_cast<void>(HW_DISP_SetAttr(hDisp, E_HW_DISP_ATTR_TEST_PATTERN, &stPattern));
        if (!holdColor(order.u8Interval)) {
            return;
        }
        ++u8Entry;
        if (u8Entry == order.u8Entries) {
            u8Entry = 0;
            if (_u8BurningRunning.load() == 0) {
                return;
            }
        }
    }
}

namespace {

// Stores how the worker has ended, after everything else is given back.
struct Outcome {
    int s32State = failed;
    ~Outcome() { _s32BurningState.store(s32State); }
};

}  // namespace

void* burning_mode_task(void* param) {
    Outcome outcome;
    const std::unique_ptr<BurnInOrder> order(static_cast<BurnInOrder*>(param));
    fapi::disp::DispLease lease;
    const HW_Handle_t hDisp = fapi::disp::leaseDisp(lease);
    // Contract: the error level of this line, which is no failure yet.
    FAPI_LOGE("_a_vextvfapi_disp_get_disp_handle %#x\n\n", hDisp);
    if (hDisp == HW_HANDLE_NONE) {
        FAPI_LOGE("Failed to get DISP handle.\n\n");
        return nullptr;
    }
    if (order == nullptr) {
        FAPI_LOGE("pTempBurnModeParam is Null.\n\n");
        return nullptr;
    }
    FAPI_LOGD("u8ColorTableSize = %x\n\n", order->u8Entries);
    FAPI_LOGD("u8Interval = %x\n\n", order->u8Interval);
    if (!order->bHasTable) {
        FAPI_LOGE("pTempBurnModeParam->pColorTable is Null.\n\n");
        return nullptr;
    }
    // Contract: the same text without memory for the copy of the table.
    if (order->table == nullptr) {
        FAPI_LOGE("pTempBurnModeParam is Null.\n\n");
        return nullptr;
    }
    HW_DISP_TestPattern_t stPattern = kColorPattern;
    _u8BurningRunning.store(1);
    _s32BurningState.store(running);
    cycleColors(hDisp, *order, stPattern);
    // Switches the pattern off, whatever color is shown.
    stPattern.u32Enable = 0;
    static_cast<void>(HW_DISP_SetAttr(hDisp, E_HW_DISP_ATTR_TEST_PATTERN, &stPattern));
    outcome.s32State = stopped;
    return nullptr;
}

// --- Start and stop --------------------------------------------------------------------------------------------------

static int startBurning(const _VexFApiDisptstBurnModeParam* pParam, unsigned int u32Polls,
                        const char* pszCaller = __builtin_FUNCTION()) {
    const int s32State = _s32BurningState.load();
    if (_u8BurningRunning.load() != 0 || (s32State != stopped && s32State != failed)) {
        FAPI_LOGE_AS(pszCaller, "The previous task still runing...\n\n");
        return -1;
    }
    FAPI_LOGD_AS(pszCaller, "Start burning mode!\n\n");
    if (pParam == nullptr) {
        FAPI_LOGE_AS(pszCaller, "Create default color table failed!\n\n");
        return -4;
    }
    // Forgets a failure of the last run.
    _s32BurningState.store(stopped);
    std::unique_ptr<BurnInOrder> order(new (std::nothrow) BurnInOrder(*pParam));
    if (fapi::startDetachedThread(burning_mode_task, order.get()) != 0) {
        FAPI_LOGE_AS(pszCaller, "burning mode thread create failed!(%s)\n\n", std::strerror(errno));
        return -1;
    }
    static_cast<void>(order.release());
    for (unsigned int i = 0; i < u32Polls; ++i) {
        FAPI_LOGD_AS(pszCaller, "Waitting for burning task init...\n\n");
        if (usleep(kPollMs * 1000) != 0) {
            FAPI_LOGE_AS(pszCaller, "[DISP] usleep error: %s\n\n", std::strerror(errno));
        }
        switch (_s32BurningState.load()) {
            case failed:
                FAPI_LOGE_AS(pszCaller, "Burning task init failed...\n\n");
                return -1;
            case running:
                FAPI_LOGD_AS(pszCaller, "Burning task started...\n\n");
                return 0;
            case inited:
                FAPI_LOGD_AS(pszCaller, "Burning task inited...\n\n");
                return 0;
            default:
                break;
        }
    }
    FAPI_LOGE_AS(pszCaller, "Waitting for Burning task timeout...\n\n");
    return -1;
}

static int stopBurning(unsigned int u32Polls, const char* pszCaller = __builtin_FUNCTION()) {
    FAPI_LOGD_AS(pszCaller, "Stop burning mode!\n\n");
    _u8BurningRunning.store(0);
    for (unsigned int i = 0; i < u32Polls; ++i) {
        FAPI_LOGD_AS(pszCaller, "Waitting for burning task exit...\n\n");
        if (usleep(kPollMs * 1000) != 0) {
            FAPI_LOGE_AS(pszCaller, "[DISP] usleep error: %s\n\n", std::strerror(errno));
        }
        switch (_s32BurningState.load()) {
            case failed:
                FAPI_LOGD_AS(pszCaller, "Burning task exited...\n\n");
                return 0;
            case stopped:
                FAPI_LOGD_AS(pszCaller, "Burning task stopped...\n\n");
                return 0;
            default:
                break;
        }
    }
    FAPI_LOGE_AS(pszCaller, "Waitting for Burning task timeout...\n\n");
    return -1;
}

int _a_vextvfapi_disptst_set_burning_mode(unsigned char on, _VexFApiDisptstBurnModeParam* param) {
    const unsigned int u32Polls = ((param != nullptr ? param->u8Interval : 0u) + kPatience) * kPollsPerSecond;
    return on != 0 ? startBurning(param, u32Polls) : stopBurning(u32Polls);
}

// --- Operations ------------------------------------------------------------------------------------------------------

// Makes the default parameter; null without memory. Without memory for the table it has none, which the worker reports.
static _VexFApiDisptstBurnModeParam* _a_vextvfapi_disptst_create_defaule_buring_mode_param(
    const char* pszCaller = __builtin_FUNCTION()) {
    OwnedParam param(new (std::nothrow) _VexFApiDisptstBurnModeParam{});
    if (param == nullptr) {
        FAPI_LOGE_AS(pszCaller, "Create pstDefaultBurnModeParam failed!\n\n");
        return nullptr;
    }
    param->u8ColorTableSize = kDefaultEntries;
    param->u8Interval = kDefaultInterval;
    param->pColorTable = copyOf(kDefaultColors, kDefaultEntries).release();
    if (param->pColorTable == nullptr) {
        FAPI_LOGE_AS(pszCaller, "Fail to malloc pstDefaultBurnModeParam->pColorTable\n\n");
    }
    return param.release();
}

int a_vextvfapi_disptst_set_burning_mode(unsigned char on) {
    const OwnedParam param(_a_vextvfapi_disptst_create_defaule_buring_mode_param());
    return param != nullptr ? _a_vextvfapi_disptst_set_burning_mode(on, param.get()) : -4;
}

int a_vextvfapi_disptst_set_burning_mode_adv(unsigned char on, _VexFApiDisptstBurnModeParam* param) {
    if (param == nullptr) {
        FAPI_LOGE("Create pstDefaultBurnModeParam failed!\n\n");
        return -2;
    }
    const OwnedParam copy(new (std::nothrow) _VexFApiDisptstBurnModeParam{});
    if (copy == nullptr) {
        FAPI_LOGE("Create pstDefaultBurnModeParam failed!\n\n");
        return -4;
    }
    if (param->pColorTable == nullptr) {
        FAPI_LOGE("Create pstDefaultBurnModeParam failed!\n\n");
        return -2;
    }
    copy->u8ColorTableSize = param->u8ColorTableSize;
    copy->u8Interval = param->u8Interval;
    copy->pColorTable = copyOf(param->pColorTable, param->u8ColorTableSize).release();
    if (copy->pColorTable == nullptr) {
        FAPI_LOGE("Create ptmpBurnModeParam->pColorTable failed!\n\n");
        return -4;
    }
    return _a_vextvfapi_disptst_set_burning_mode(on, copy.get());
}
