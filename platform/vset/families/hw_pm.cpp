// SPDX-License-Identifier: Apache-2.0
// Power management: the LED ring and the real-time clock.
#include "hw3/hw_pm.h"

#include <ctime>
#include <deque>
#include <mutex>

#include "vset/pm.h"
#include "vset_call.h"
#include "vset_family.h"
#include "vset_folder.h"

namespace {

constexpr HW_U8 kLedCount = 4;
constexpr std::size_t kHistory = 1024;

// The model of the one instance. The key of its handle is 0.
class PmModel : public vset::FamilyModel {
public:
    PmModel() : FamilyModel(vset::FamilyId::pm, "HW_PM") {}

    void show(const vset::pm::LedRing& ring) {
        const std::lock_guard<std::mutex> lock(_mutex);
        _ring = ring;
        _history.push_back({std::chrono::steady_clock::now(), ring});
        if (_history.size() > kHistory) {
            _history.pop_front();
        }
    }

    vset::pm::LedRing ring() {
        const std::lock_guard<std::mutex> lock(_mutex);
        return _ring;
    }

    std::vector<vset::pm::LedChange> history() {
        const std::lock_guard<std::mutex> lock(_mutex);
        return {_history.begin(), _history.end()};
    }

    void clearHistory() {
        const std::lock_guard<std::mutex> lock(_mutex);
        _history.clear();
    }

protected:
    void reset() override {
        const std::lock_guard<std::mutex> lock(_mutex);
        _ring = {};
        _history.clear();
    }

private:
    std::mutex _mutex;
    vset::pm::LedRing _ring;
    std::deque<vset::pm::LedChange> _history;
};
PmModel& model = *new PmModel;

// Checks the parameters of GetHandle and Open. Neither needs the family's own Init.
template <class Params>
HW_Result_t judge(const Params* pstParams, const HW_Handle_t* phPm) {
    if (pstParams == nullptr || phPm == nullptr || pstParams->u32Index != 0) {
        return HW_ERR_INVALID_PARAMETER;
    }
    return vset::systemReadiness();
}

HW_Result_t setLeds(const HW_PM_LedControl_t& stControl) {
    if (stControl.u8LedCount != kLedCount) {
        return HW_ERR_INVALID_PARAMETER;
    }
    vset::pm::LedRing ring;
    for (std::size_t i = 0; i < ring.size(); ++i) {
        const HW_U8* pu8Colour = stControl.au8Colour + 3 * i;
        ring[i] = {pu8Colour[0], pu8Colour[1], pu8Colour[2]};
    }
    model.show(ring);
    return HW_OK;
}

}  // namespace

HW_Result_t HW_PM_Init(const HW_PM_InitParams_t* pstParams) {
    return vset::call(__func__, {pstParams}, [&]() -> HW_Result_t { return model.initialise(pstParams); });
}

HW_Result_t HW_PM_GetHandle(const HW_PM_HandleParams_t* pstParams, HW_Handle_t* phPm) {
    return vset::call(__func__, {pstParams, phPm}, [&]() -> HW_Result_t {
        const HW_Result_t result = judge(pstParams, phPm);
        return result == HW_OK ? model.handles().find(0, phPm) : result;
    });
}

HW_Result_t HW_PM_Open(const HW_PM_OpenParams_t* pstParams, HW_Handle_t* phPm) {
    return vset::call(__func__, {pstParams, phPm}, [&]() -> HW_Result_t {
        const HW_Result_t result = judge(pstParams, phPm);
        return result == HW_OK ? model.handles().open(0, phPm) : result;
    });
}

HW_Result_t HW_PM_Close(HW_Handle_t hPm) {
    return vset::call(__func__, {hPm}, [&]() -> HW_Result_t { return model.handles().close(hPm); });
}

HW_Result_t HW_PM_SetAttr(HW_Handle_t hPm, HW_U32 u32ParamType, const void* pParam) {
    return vset::call(__func__, {hPm, u32ParamType, pParam}, [&]() -> HW_Result_t {
        if (!model.handles().key(hPm)) {
            return HW_ERR_INVALID_HANDLE;
        }
        if (u32ParamType != E_HW_PM_PARAM_LED_CONTROL) {
            return HW_ERR_NOT_SUPPORT;
        }
        return pParam != nullptr ? setLeds(*static_cast<const HW_PM_LedControl_t*>(pParam)) : HW_ERR_INVALID_PARAMETER;
    });
}

HW_Result_t HW_PM_GetRtcTime(HW_Handle_t hPm, HW_U32* pu32Seconds) {
    return vset::call(__func__, {hPm, pu32Seconds}, [&]() -> HW_Result_t {
        if (!model.handles().key(hPm)) {
            return HW_ERR_INVALID_HANDLE;
        }
        if (pu32Seconds == nullptr) {
            return HW_ERR_INVALID_PARAMETER;
        }
        *pu32Seconds = vset::pm::clock();
        return HW_OK;
    });
}

std::uint32_t vset::pm::clock() {
    requireSet();
    return static_cast<std::uint32_t>(std::time(nullptr) + setConfig().s64ClockOffset);
}

void vset::pm::setClock(std::uint32_t u32Seconds) {
    requireSet();
    changeSetConfig(
        [=](SetConfig& stConfig) { stConfig.s64ClockOffset = std::int64_t{u32Seconds} - std::time(nullptr); });
}

vset::pm::LedRing vset::pm::leds() {
    requireSet();
    return model.ring();
}

std::vector<vset::pm::LedChange> vset::pm::ledHistory() {
    requireSet();
    return model.history();
}

void vset::pm::clearLedHistory() {
    requireSet();
    model.clearHistory();
}

void vset::pm::hold() {
    requireSet();
    model.hold(0, "the power management");
}

void vset::pm::release() {
    requireSet();
    model.release(0, "the power management");
}
