// SPDX-License-Identifier: Apache-2.0
// Tuner slots: their reception and their identification texts.
#include "hw3/hw_tuner.h"

#include <algorithm>
#include <array>
#include <map>
#include <mutex>
#include <optional>

#include "vset/tuner.h"
#include "vset_call.h"
#include "vset_family.h"
#include "vset_folder.h"

namespace vset {

namespace {

constexpr HW_U32 kSlots = 2;

// Number of an attribute or factory command -> text.
using Texts = std::map<HW_U32, std::string>;

struct SlotState {
    bool bLocked = false;
    HW_S32 s32Ber = 0;
    bool bVifStarted = false;
    std::uint64_t u64VifInits = 0;
    Texts attributes = {{E_HW_TUNER_ATTR_TS_STREAMS_NUM, "1"}, {E_HW_TUNER_ATTR_TUNER_NAME, "LM-TUNER"}};
    Texts factory = {{E_HW_TUNER_FACTORY_CMD_NAME, "LM-DEMOD"},
                     {E_HW_TUNER_FACTORY_CMD_VERSION, "1.0"},
                     {E_HW_TUNER_FACTORY_CMD_BUILD_NUMBER, "100"},
                     {E_HW_TUNER_FACTORY_CMD_CHANGE_LIST, "10001"}};
};

// The tuners' model. The key of a handle is its slot.
class TunerModel : public FamilyModel {
public:
    TunerModel() : FamilyModel(FamilyId::tuner, "HW_TUNER") {}

    // Guards all members below.
    std::mutex mutex;
    HW_U32 u32Slots = kSlots;
    // Includes the slots beyond the reported number: a program may have opened one before.
    std::array<SlotState, tuner::kSlotLimit> slots;

    HW_U32 slotCount() {
        const std::lock_guard<std::mutex> lock(mutex);
        return u32Slots;
    }

protected:
    void reset() override {
        const std::lock_guard<std::mutex> lock(mutex);
        u32Slots = kSlots;
        slots.fill({});
        slots[0].bLocked = true;
        HW_Handle_t hPlayer = HW_HANDLE_NONE;
        handles().open(0, &hPlayer, true);
    }
};
TunerModel& model = *new TunerModel;

// Runs `body` on the slot of an open handle.
template <class Body>
HW_Result_t withSlot(HW_Handle_t hTuner, Body&& body) {
    const auto slot = model.handles().key(hTuner);
    if (!slot) {
        return HW_ERR_INVALID_HANDLE;
    }
    const std::lock_guard<std::mutex> lock(model.mutex);
    return body(model.slots[*slot]);
}

// Fills the caller's buffer to its end.
HW_Result_t getText(const Texts& texts, HW_U32 u32Number, const void* pInput, void* pOutput) {
    const auto text = texts.find(u32Number);
    if (text == texts.end()) {
        return HW_ERR_NOT_SUPPORT;
    }
    if (pInput != nullptr || pOutput == nullptr) {
        return HW_ERR_INVALID_PARAMETER;
    }
    auto* const pcOutput = static_cast<char*>(pOutput);
    std::fill_n(pcOutput, HW_TUNER_TEXT_SIZE, '\0');
    text->second.copy(pcOutput, HW_TUNER_TEXT_SIZE);
    return HW_OK;
}

// The result of applying, which is no status: 0 means failure.
enum class Applied : HW_U32 { no, yes };

Applied applyVif(SlotState& stSlot, HW_U32 u32Step) {
    if (u32Step > 1) {
        return Applied::no;
    }
    if (u32Step == 0 && stSlot.bVifStarted) {
        ++stSlot.u64VifInits;
    }
    stSlot.bVifStarted = u32Step == 1;
    return Applied::yes;
}

// --- Checks of the control API ---------------------------------------------------------------------------------------

std::string nameOf(unsigned int u32Slot) {
    return "tuner slot " + std::to_string(u32Slot);
}

// Runs `body` on a slot.
template <class Body>
void requireSlot(unsigned int u32Slot, Body&& body) {
    requireSet();
    const std::lock_guard<std::mutex> lock(model.mutex);
    if (u32Slot >= model.u32Slots) {
        throw SetError(nameOf(u32Slot) + ": there are only " + std::to_string(model.u32Slots));
    }
    body(model.slots[u32Slot]);
}

void requireSlot(unsigned int u32Slot) {
    requireSlot(u32Slot, [](const SlotState&) {});
}

std::string& requireText(Texts& texts, unsigned int u32Number) {
    const auto text = texts.find(u32Number);
    if (text == texts.end()) {
        throw SetError("tuner text " + std::to_string(u32Number) + ": there is none such");
    }
    return text->second;
}

std::string textOf(unsigned int u32Slot, Texts SlotState::*pTexts, unsigned int u32Number) {
    std::string strText;
    requireSlot(u32Slot, [&](SlotState& stSlot) { strText = requireText(stSlot.*pTexts, u32Number); });
    return strText;
}

void setText(unsigned int u32Slot, Texts SlotState::*pTexts, unsigned int u32Number, const std::string& strText) {
    if (strText.size() > tuner::kTextLimit) {
        throw SetError("tuner text: " + std::to_string(strText.size()) + " bytes are more than " +
                       std::to_string(tuner::kTextLimit));
    }
    requireSlot(u32Slot, [&](SlotState& stSlot) { requireText(stSlot.*pTexts, u32Number) = strText; });
}

}  // namespace

template <>
Applied detail::refusal<Applied>() {
    return Applied::no;
}

}  // namespace vset

using vset::model;
using vset::SlotState;

HW_Result_t HW_TUNER_Init(const HW_TUNER_InitParams_t* pstParams) {
    return vset::call(__func__, {pstParams}, [&]() -> HW_Result_t { return model.initialise(pstParams); });
}

HW_Result_t HW_TUNER_GetCaps(HW_TUNER_Caps_t* pstCaps) {
    return vset::call(__func__, {pstCaps}, [&]() -> HW_Result_t {
        if (pstCaps == nullptr) {
            return HW_ERR_INVALID_PARAMETER;
        }
        if (model.readiness() != HW_OK) {
            return HW_ERR_NOT_INITED;
        }
        *pstCaps = {model.slotCount(), {}};
        return HW_OK;
    });
}

HW_Result_t HW_TUNER_GetHandle(const HW_TUNER_HandleParams_t* pstParams, HW_Handle_t* phTuner) {
    return vset::call(__func__, {pstParams, phTuner}, [&]() -> HW_Result_t {
        const HW_Result_t result = vset::checkInstanceNumber(
            model.readiness(), pstParams, &HW_TUNER_HandleParams_t::u32Slot, model.slotCount(), phTuner);
        return result == HW_OK ? model.handles().find(pstParams->u32Slot, phTuner) : result;
    });
}

HW_Result_t HW_TUNER_Open(const HW_TUNER_OpenParams_t* pstParams, HW_Handle_t* phTuner) {
    return vset::call(__func__, {pstParams, phTuner}, [&]() -> HW_Result_t {
        const HW_Result_t result = vset::checkInstanceNumber(
            model.readiness(), pstParams, &HW_TUNER_OpenParams_t::u32Slot, model.slotCount(), phTuner);
        if (result != HW_OK) {
            return result;
        }
        return pstParams->u32Mode == 1 ? model.handles().open(pstParams->u32Slot, phTuner)
                                       : HW_Result_t{HW_ERR_INVALID_PARAMETER};
    });
}

HW_Result_t HW_TUNER_GetAttr(HW_Handle_t hTuner, HW_U32 u32Attr, const void* pInput, void* pOutput) {
    return vset::call(__func__, {hTuner, u32Attr, pInput, pOutput}, [&]() -> HW_Result_t {
        return vset::withSlot(hTuner, [&](const SlotState& stSlot) {
            return vset::getText(stSlot.attributes, u32Attr, pInput, pOutput);
        });
    });
}

HW_Result_t HW_TUNER_FactoryCmdGetAttr(HW_Handle_t hTuner, HW_U32 u32Cmd, const void* pInput, void* pOutput) {
    return vset::call(__func__, {hTuner, u32Cmd, pInput, pOutput}, [&]() -> HW_Result_t {
        return vset::withSlot(
            hTuner, [&](const SlotState& stSlot) { return vset::getText(stSlot.factory, u32Cmd, pInput, pOutput); });
    });
}

HW_U32 HW_TUNER_FactoryCmdApplyVif(HW_Handle_t hTuner, HW_U32 u32Step) {
    return static_cast<HW_U32>(vset::call(__func__, {hTuner, u32Step}, [&] {
        vset::Applied applied = vset::Applied::no;
        vset::withSlot(hTuner, [&](SlotState& stSlot) -> HW_Result_t {
            applied = vset::applyVif(stSlot, u32Step);
            return HW_OK;
        });
        return applied;
    }));
}

HW_Result_t HW_TUNER_GetLock(HW_Handle_t hTuner) {
    return vset::call(__func__, {hTuner}, [&]() -> HW_Result_t {
        return vset::withSlot(
            hTuner, [](const SlotState& stSlot) -> HW_Result_t { return stSlot.bLocked ? HW_OK : HW_ERR_FAILED; });
    });
}

HW_Result_t HW_TUNER_GetBer(HW_Handle_t hTuner, HW_S32* ps32Ber) {
    return vset::call(__func__, {hTuner, ps32Ber}, [&]() -> HW_Result_t {
        return vset::withSlot(hTuner, [&](const SlotState& stSlot) -> HW_Result_t {
            if (ps32Ber == nullptr) {
                return HW_ERR_INVALID_PARAMETER;
            }
            if (!stSlot.bLocked) {
                return HW_ERR_FAILED;
            }
            *ps32Ber = stSlot.s32Ber;
            return HW_OK;
        });
    });
}

// --- Control API -----------------------------------------------------------------------------------------------------

namespace vset::tuner {

unsigned int slotCount() {
    requireSet();
    return model.slotCount();
}

void setSlotCount(unsigned int u32Count) {
    requireSet();
    if (u32Count > kSlotLimit) {
        throw SetError(std::to_string(u32Count) + " tuner slots: more than " + std::to_string(kSlotLimit));
    }
    const std::lock_guard<std::mutex> lock(model.mutex);
    model.u32Slots = u32Count;
}

Slot slot(unsigned int u32Slot) {
    Slot stFound;
    requireSlot(u32Slot, [&](const SlotState& stSlot) {
        const std::optional<OpenHandle> handle = model.handles().instance(u32Slot);
        stFound = {handle.has_value(), handle && handle->bPlayer, stSlot.bLocked, stSlot.s32Ber, stSlot.u64VifInits};
    });
    return stFound;
}

void lock(unsigned int u32Slot) {
    requireSlot(u32Slot, [&](SlotState& stSlot) {
        stSlot.bLocked = true;
        HW_Handle_t hPlayer = HW_HANDLE_NONE;
        model.handles().open(u32Slot, &hPlayer, true);
    });
}

void unlock(unsigned int u32Slot) {
    requireSlot(u32Slot, [](SlotState& stSlot) { stSlot.bLocked = false; });
}

void setBer(unsigned int u32Slot, std::int32_t s32Ber) {
    requireSlot(u32Slot, [&](SlotState& stSlot) { stSlot.s32Ber = s32Ber; });
}

void hold(unsigned int u32Slot) {
    requireSlot(u32Slot);
    model.hold(u32Slot, nameOf(u32Slot));
}

void release(unsigned int u32Slot) {
    requireSlot(u32Slot);
    model.release(u32Slot, nameOf(u32Slot));
}

std::string attributeText(unsigned int u32Slot, unsigned int u32Attr) {
    return textOf(u32Slot, &SlotState::attributes, u32Attr);
}

void setAttributeText(unsigned int u32Slot, unsigned int u32Attr, const std::string& strText) {
    setText(u32Slot, &SlotState::attributes, u32Attr, strText);
}

std::string factoryText(unsigned int u32Slot, unsigned int u32Command) {
    return textOf(u32Slot, &SlotState::factory, u32Command);
}

void setFactoryText(unsigned int u32Slot, unsigned int u32Command, const std::string& strText) {
    setText(u32Slot, &SlotState::factory, u32Command, strText);
}

}  // namespace vset::tuner
