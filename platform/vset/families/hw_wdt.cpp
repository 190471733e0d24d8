// SPDX-License-Identifier: Apache-2.0
// The watchdog, which reboots the set.
#include "hw3/hw_wdt.h"

#include <condition_variable>
#include <mutex>
#include <thread>

#include "vset/wdt.h"
#include "vset_call.h"
#include "vset_family.h"
#include "vset_folder.h"
#include "vset_thread.h"

namespace vset {

namespace {

using Clock = std::chrono::steady_clock;

// The model of the one instance. The key of its handle is 0; the handle exists from the family's Init on.
class WdtModel : public FamilyModel {
public:
    WdtModel() : FamilyModel(FamilyId::wdt, "HW_WDT") {}

    // Arms the watchdog, or stops it with 0.
    void arm(unsigned int u32Seconds) {
        const std::lock_guard<std::mutex> lock(_mutex);
        if (u32Seconds != 0 && !_bThread) {
            _bThread = true;
            std::thread([this] { watchForEver(); }).detach();
        }
        _u32Seconds = u32Seconds;
        _deadline = Clock::now() + std::chrono::seconds(u32Seconds);
        ++_u64Life;
        _changed.notify_all();
    }

    // Initializes the family and opens its handle.
    HW_Result_t start(const HW_WDT_InitParams_t* pstParams) {
        const std::lock_guard<std::mutex> lock(_mutex);
        const HW_Result_t result = initialise(pstParams);
        showHandle();
        return result;
    }
    void setPresent(bool bPresent) {
        const std::lock_guard<std::mutex> lock(_mutex);
        _bPresent = bPresent;
        showHandle();
    }

    unsigned int seconds() {
        const std::lock_guard<std::mutex> lock(_mutex);
        return _u32Seconds;
    }

    wdt::Watchdog state() {
        const std::lock_guard<std::mutex> lock(_mutex);
        wdt::Watchdog stState;
        stState.bPresent = _bPresent;
        stState.u32Seconds = _u32Seconds;
        stState.remaining = _u32Seconds != 0 ? std::chrono::duration<double>(_deadline - Clock::now()).count() : 0;
        stState.u32Reboots = _u32Reboots;
        return stState;
    }

    void onReboot(std::function<void()> action) {
        const std::lock_guard<std::mutex> lock(_mutex);
        _action = std::move(action);
    }

protected:
    void powerOff(bool bDetach) override {
        const std::lock_guard<std::mutex> lock(_mutex);
        _u32Seconds = 0;
        ++_u64Life;
        _u32Reboots = bDetach ? 0 : _u32Reboots;
    }
    void reset() override {
        const std::lock_guard<std::mutex> lock(_mutex);
        _bPresent = true;
    }

private:
    // Opens or closes the handle, which exists while the watchdog is present and its Init has run.
    void showHandle() {
        HW_Handle_t hWdt = HW_HANDLE_NONE;
        if (_bPresent && isInitialised()) {
            static_cast<void>(handles().open(0, &hWdt, true));
        } else if (handles().find(0, &hWdt) == HW_OK) {
            handles().remove(hWdt);
        }
    }

    [[noreturn]] void watchForEver() {
        nameThread("hw3-watchdog");
        std::unique_lock<std::mutex> lock(_mutex);
        for (;;) {
            _changed.wait(lock, [this] { return _u32Seconds != 0; });
            const std::uint64_t u64Life = _u64Life;
            if (_changed.wait_until(lock, _deadline, [&] { return _u64Life != u64Life; })) {
                continue;
            }
            _u32Seconds = 0;
            const std::function<void()> action = _action;
            lock.unlock();
            reboot(u64Life, action);
            lock.lock();
        }
    }

    // Reboots the set, unless the set for which the time was running has just been given back.
    void reboot(std::uint64_t u64Life, const std::function<void()>& action) {
        const auto isSameLife = [&] {
            const std::lock_guard<std::mutex> lock(_mutex);
            return _u64Life == u64Life;
        };
        const auto note = [&] {
            {
                const std::lock_guard<std::mutex> lock(_mutex);
                ++_u32Reboots;
            }
            changeSetConfig([](SetConfig& stConfig) { stConfig.bWatchdogRebooted = true; });
            detail::recordEvent("WATCHDOG_REBOOT");
        };
        try {
            const HostPaths hostPaths;
            powerCycleIf(isSameLife, [&] {
                note();
                if (action) {
                    action();
                }
                return !action;
            });
        } catch (const SetError& error) {
            std::fprintf(stderr, "virtual set: %s\n", error.what());
        }
    }

    std::mutex _mutex;
    std::condition_variable _changed;
    bool _bThread = false;
    bool _bPresent = true;
    unsigned int _u32Seconds = 0;
    unsigned int _u32Reboots = 0;
    Clock::time_point _deadline;
    // Changes with each setting of the time, and when the set is switched off.
    std::uint64_t _u64Life = 0;
    std::function<void()> _action;
};
WdtModel& model = *new WdtModel;

HW_Result_t getWord(HW_U32 u32Attr, HW_U32& u32Word) {
    switch (u32Attr) {
        case E_HW_WDT_ATTR_RUNNING:
            u32Word = model.seconds() != 0 ? 1 : 0;
            return HW_OK;
        case E_HW_WDT_ATTR_REBOOT_BY_WDT:
            u32Word = setConfig().bWatchdogRebooted ? 1 : 0;
            return HW_OK;
        case E_HW_WDT_ATTR_REBOOT_ACK:
            u32Word = setConfig().bWatchdogRebooted ? 1 : 0;
            wdt::setRebooted(false);
            return HW_OK;
        default:
            return HW_ERR_NOT_SUPPORT;
    }
}

}  // namespace

}  // namespace vset

using vset::model;

HW_Result_t HW_WDT_Init(const HW_WDT_InitParams_t* pstParams) {
    return vset::call(__func__, {pstParams}, [&]() -> HW_Result_t { return model.start(pstParams); });
}

HW_Result_t HW_WDT_GetHandle(const HW_WDT_HandleParams_t* pstParams, HW_Handle_t* phWdt) {
    return vset::call(__func__, {pstParams, phWdt}, [&]() -> HW_Result_t {
        const HW_Result_t result =
            vset::checkInstanceNumber(model.readiness(), pstParams, &HW_WDT_HandleParams_t::u32Index, 1, phWdt);
        return result == HW_OK ? model.handles().find(0, phWdt) : result;
    });
}

HW_Result_t HW_WDT_SetAttr(HW_Handle_t hWdt, HW_U32 u32Attr, const void* pParam) {
    const auto* pstTimer =
        u32Attr == E_HW_WDT_ATTR_SET_TIMER_SEC ? static_cast<const HW_WDT_Timer_t*>(pParam) : nullptr;
    return vset::call(__func__, {hWdt, u32Attr, pParam}, [&]() -> HW_Result_t {
        if (!model.handles().key(hWdt)) {
            return HW_ERR_INVALID_HANDLE;
        }
        if (u32Attr != E_HW_WDT_ATTR_SET_TIMER_SEC) {
            return HW_ERR_NOT_SUPPORT;
        }
        if (pstTimer == nullptr) {
            return HW_ERR_INVALID_PARAMETER;
        }
        model.arm(pstTimer->u32Seconds);
        return HW_OK;
    });
}

HW_Result_t HW_WDT_GetAttr(HW_Handle_t hWdt, HW_U32 u32Attr, const void* pInput, void* pOutput) {
    return vset::call(__func__, {hWdt, u32Attr, pInput, pOutput}, [&]() -> HW_Result_t {
        if (!model.handles().key(hWdt)) {
            return HW_ERR_INVALID_HANDLE;
        }
        return pInput == nullptr && pOutput != nullptr ? vset::getWord(u32Attr, *static_cast<HW_U32*>(pOutput))
                                                       : HW_ERR_INVALID_PARAMETER;
    });
}

// --- Control API -----------------------------------------------------------------------------------------------------

namespace vset::wdt {

Watchdog state() {
    requireSet();
    Watchdog stState = model.state();
    stState.bRebooted = setConfig().bWatchdogRebooted;
    return stState;
}

void setRebooted(bool bRebooted) {
    requireSet();
    changeSetConfig([=](SetConfig& stConfig) { stConfig.bWatchdogRebooted = bRebooted; });
}

void setPresent(bool bPresent) {
    requireSet();
    model.setPresent(bPresent);
}

void onReboot(std::function<void()> action) {
    model.onReboot(std::move(action));
}

}  // namespace vset::wdt
