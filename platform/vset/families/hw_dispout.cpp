// SPDX-License-Identifier: Apache-2.0
// Display output: the panel and its companion chips.
#include "hw3/hw_dispout.h"

#include <algorithm>
#include <map>

#include "vset/dispout.h"
#include "vset_call.h"
#include "vset_family.h"
#include "vset_folder.h"

namespace vset {

namespace {

constexpr unsigned int kInstances = 1;
constexpr const char* kName = "display output";

struct Attribute {
    HW_U32 u32Number;
    std::size_t size;
    bool bSet, bGet;      // allowed for a program
    std::size_t gap = 0;  // offset of a byte that belongs to no field, if there is one
};
constexpr Attribute kAttributes[] = {
    {E_HW_DISPOUT_PANEL_0, sizeof(HW_U32), true, false},
    {E_HW_DISPOUT_PANEL_1, sizeof(HW_U32), true, false},
    {E_HW_DISPOUT_PANEL_2, sizeof(HW_U32), true, false},
    {E_HW_DISPOUT_PANEL_3, sizeof(HW_U32), true, false},
    {E_HW_DISPOUT_PANEL_PWM_RANGE, sizeof(HW_DISPOUT_PwmRange_t), false, true},
    {E_HW_DISPOUT_PANEL_LVDS_SSC, sizeof(HW_DISPOUT_LvdsSsc_t), true, true, 1},
    {E_HW_DISPOUT_PANEL_6, sizeof(HW_U32), true, false},
    {E_HW_DISPOUT_PANEL_7, sizeof(HW_DISPOUT_Panel7_t), true, false},
    {E_HW_DISPOUT_PANEL_8, sizeof(HW_DISPOUT_Panel8_t), true, false, 1},
    {E_HW_DISPOUT_PANEL_9, sizeof(HW_U32), true, false},
    {E_HW_DISPOUT_PANEL_11, sizeof(HW_U32), true, false},
    {E_HW_DISPOUT_PANEL_FRC_DEVICE, sizeof(HW_DISPOUT_FrcDevice_t), false, true},
    {E_HW_DISPOUT_PANEL_FRC_STATUS, sizeof(HW_U32), false, true},
    {E_HW_DISPOUT_PANEL_TCON_INFO, sizeof(HW_DISPOUT_TconInfo_t), false, true},
};

const Attribute* findAttribute(HW_U32 u32Number) {
    const auto* pFound = std::find_if(std::begin(kAttributes), std::end(kAttributes),
                                      [&](const Attribute& stRow) { return stRow.u32Number == u32Number; });
    return pFound != std::end(kAttributes) ? pFound : nullptr;
}

// Number -> record.
using Values = std::map<HW_U32, std::string>;

template <class Record>
std::string bytesOf(const Record& stRecord) {
    return {reinterpret_cast<const char*>(&stRecord), sizeof(stRecord)};
}

Values panelsValues() {
    Values values;
    for (const Attribute& stAttribute : kAttributes) {
        values[stAttribute.u32Number].assign(stAttribute.size, '\0');
    }
    values[E_HW_DISPOUT_PANEL_PWM_RANGE] = bytesOf(HW_DISPOUT_PwmRange_t{20, 255});
    values[E_HW_DISPOUT_PANEL_LVDS_SSC] = std::string("\1\0\x2C\1\x1E\0", sizeof(HW_DISPOUT_LvdsSsc_t));  // on, 300, 30
    values[E_HW_DISPOUT_PANEL_FRC_DEVICE] = bytesOf(HW_DISPOUT_FrcDevice_t{3, 0x0102});
    values[E_HW_DISPOUT_PANEL_FRC_STATUS] = bytesOf(HW_U32{1});
    // A project name of 16 characters, which leaves no room for a NUL.
    values[E_HW_DISPOUT_PANEL_TCON_INFO] = "VSETTCON-FHD-060" + std::string("LUMORA\0\0\0\0\0\0\0\0\0\0", 16) +
                                           std::string("\x10\x21\x32\x43\x54\x65\x76\x87\x98\xA9");
    return values;
}

class DispoutModel : public FamilyModel {
public:
    DispoutModel() : FamilyModel(FamilyId::dispout, "HW_DISPOUT") {}

    std::string value(HW_U32 u32Number) {
        const std::lock_guard<std::mutex> lock(_mutex);
        return _values[u32Number];
    }
    void setValue(HW_U32 u32Number, const std::string& strBytes) {
        const std::lock_guard<std::mutex> lock(_mutex);
        _values[u32Number] = strBytes;
    }

protected:
    void reset() override {
        {
            const std::lock_guard<std::mutex> lock(_mutex);
            _values = panelsValues();
        }
        HW_Handle_t hPlayers = HW_HANDLE_NONE;
        handles().open(0, &hPlayers, true);
    }

private:
    std::mutex _mutex;
    Values _values;
};
DispoutModel& model = *new DispoutModel;

// Runs `body` on an attribute that allows the access `pWay`, for the caller's record.
template <class Body>
HW_Result_t withAttribute(HW_Handle_t hDispout, HW_U32 u32Attr, bool Attribute::*pWay, const void* pRecord,
                          Body&& body) {
    if (!model.handles().key(hDispout)) {
        return HW_ERR_INVALID_HANDLE;
    }
    const Attribute* pAttribute = findAttribute(u32Attr);
    if (pAttribute == nullptr || !(pAttribute->*pWay)) {
        return HW_ERR_NOT_SUPPORT;
    }
    if (pRecord == nullptr) {
        return HW_ERR_INVALID_PARAMETER;
    }
    body(*pAttribute);
    return HW_OK;
}

void setAttribute(const Attribute& stAttribute, const void* pParam) {
    std::string strBytes(static_cast<const char*>(pParam), stAttribute.size);
    if (stAttribute.gap != 0) {
        strBytes[stAttribute.gap] = '\0';
    }
    model.setValue(stAttribute.u32Number, strBytes);
}

const Attribute& requireAttribute(std::uint32_t u32Attr) {
    requireSet();
    const Attribute* pAttribute = findAttribute(u32Attr);
    if (pAttribute == nullptr) {
        throw SetError("panel attribute " + std::to_string(u32Attr) + ": there is none such");
    }
    return *pAttribute;
}

}  // namespace

}  // namespace vset

using vset::model;

HW_Result_t HW_DISPOUT_Init(const HW_DISPOUT_InitParams_t* pstParams) {
    return vset::call(__func__, {pstParams}, [&]() -> HW_Result_t {
        const bool bValid = pstParams != nullptr && pstParams->u8Reserved == 0;
        return bValid ? model.initialise() : HW_ERR_INVALID_PARAMETER;
    });
}

HW_Result_t HW_DISPOUT_GetHandle(const HW_DISPOUT_HandleParams_t* pstParams, HW_Handle_t* phDispout) {
    return vset::call(__func__, {pstParams, phDispout}, [&]() -> HW_Result_t {
        const HW_Result_t result = vset::checkInstanceNumber(
            model.readiness(), pstParams, &HW_DISPOUT_HandleParams_t::u32Index, vset::kInstances, phDispout);
        return result == HW_OK ? model.handles().find(pstParams->u32Index, phDispout) : result;
    });
}

HW_Result_t HW_DISPOUT_Open(const HW_DISPOUT_OpenParams_t* pstParams, HW_Handle_t* phDispout) {
    return vset::call(__func__, {pstParams, phDispout}, [&]() -> HW_Result_t {
        const HW_Result_t result = vset::checkInstanceNumber(
            model.readiness(), pstParams, &HW_DISPOUT_OpenParams_t::u32Index, vset::kInstances, phDispout);
        return result == HW_OK ? model.handles().open(pstParams->u32Index, phDispout) : result;
    });
}

HW_Result_t HW_DISPOUT_Close(HW_Handle_t hDispout) {
    return vset::call(__func__, {hDispout}, [&]() -> HW_Result_t { return model.handles().close(hDispout); });
}

HW_Result_t HW_DISPOUT_PanelSetAttr(HW_Handle_t hDispout, HW_U32 u32Attr, const void* pParam) {
    return vset::call(__func__, {hDispout, u32Attr, pParam}, [&]() -> HW_Result_t {
        return vset::withAttribute(
            hDispout, u32Attr, &vset::Attribute::bSet, pParam,
            [&](const vset::Attribute& stAttribute) { vset::setAttribute(stAttribute, pParam); });
    });
}

HW_Result_t HW_DISPOUT_PanelGetAttr(HW_Handle_t hDispout, HW_U32 u32Attr, const void* pInput, void* pOutput) {
    return vset::call(__func__, {hDispout, u32Attr, pInput, pOutput}, [&]() -> HW_Result_t {
        // A query takes no input.
        return vset::withAttribute(hDispout, u32Attr, &vset::Attribute::bGet, pInput == nullptr ? pOutput : nullptr,
                                   [&](const vset::Attribute& stAttribute) {
                                       const std::string strBytes = model.value(stAttribute.u32Number);
                                       std::copy(strBytes.begin(), strBytes.end(), static_cast<char*>(pOutput));
                                   });
    });
}

// --- Control API -----------------------------------------------------------------------------------------------------

namespace vset::dispout {

Output output() {
    requireSet();
    const auto instance = model.handles().instance(0);
    return {instance.has_value(), instance && instance->bPlayer};
}

void hold() {
    requireSet();
    model.hold(0, kName);
}

void release() {
    requireSet();
    model.release(0, kName);
}

std::string attribute(std::uint32_t u32Attr) {
    return model.value(requireAttribute(u32Attr).u32Number);
}

void setAttribute(std::uint32_t u32Attr, const std::string& strBytes) {
    const std::size_t size = requireAttribute(u32Attr).size;
    if (strBytes.size() != size) {
        throw SetError("panel attribute " + std::to_string(u32Attr) + ": has " + std::to_string(size) + " bytes, not " +
                       std::to_string(strBytes.size()));
    }
    model.setValue(u32Attr, strBytes);
}

}  // namespace vset::dispout
