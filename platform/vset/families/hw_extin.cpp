// SPDX-License-Identifier: Apache-2.0
// External inputs: their number, and what a source reads from the HDMI ports.
#include <array>
#include <filesystem>
#include <map>
#include <mutex>

#include "edid_blocks.h"
#include "extin_inputs.h"
#include "vset_call.h"
#include "vset_family.h"
#include "vset_folder.h"
#include "vset_storage.h"

namespace vset {

namespace {

using Counts = std::array<unsigned char, E_HW_EXTIN_TYPE_NUM>;

// The board's counts: HDMI, YPbPr, VGA, CVBS, S-Video, SCART, video decoder.
constexpr Counts kCounts = {4, 1, 1, 2, 0, 1, 1};

struct HdmiState {
    HW_U32 u32Version = E_HW_EXTIN_HDMI_EDID_VERSION_1;
    unsigned char u8HotPlug = 1;
    std::uint64_t u64HotPlugs = 0;
};

class ExtinModel : public FamilyModel {
public:
    ExtinModel() : FamilyModel(FamilyId::extin, "HW_EXTIN") {}

    Counts counts() {
        const std::lock_guard<std::mutex> lock(_mutex);
        return _counts;
    }
    void setCount(std::uint32_t u32Type, unsigned char u8Count) {
        const std::lock_guard<std::mutex> lock(_mutex);
        _counts[u32Type] = u8Count;
    }
    bool exists(HW_U32 u32Type, HW_U32 u32Index) {
        const std::lock_guard<std::mutex> lock(_mutex);
        return u32Type < _counts.size() && u32Index < _counts[u32Type];
    }

    HdmiState hdmi(HW_U32 u32Port) {
        const std::lock_guard<std::mutex> lock(_mutex);
        return _hdmi[u32Port];
    }
    void setVersion(HW_U32 u32Port, HW_U32 u32Version) {
        const std::lock_guard<std::mutex> lock(_mutex);
        _hdmi[u32Port].u32Version = u32Version;
    }
    void setHotPlug(HW_U32 u32Port, unsigned char u8Level) {
        const std::lock_guard<std::mutex> lock(_mutex);
        _hdmi[u32Port].u8HotPlug = u8Level;
        ++_hdmi[u32Port].u64HotPlugs;
    }

    // Guards the EDID files.
    std::mutex edidMutex;

protected:
    void reset() override {
        const std::lock_guard<std::mutex> lock(_mutex);
        _counts = kCounts;
        _hdmi.clear();
    }

private:
    std::mutex _mutex;
    Counts _counts = kCounts;
    std::map<HW_U32, HdmiState> _hdmi;
};
ExtinModel& model = *new ExtinModel;

// Checks the parameters of GetHandle and Open.
template <class Params>
HW_Result_t judge(const Params* pstParams, const HW_Handle_t* phExtin) {
    if (pstParams == nullptr || phExtin == nullptr || !model.exists(pstParams->u32Type, pstParams->u32Index)) {
        return HW_ERR_INVALID_PARAMETER;
    }
    return model.readiness();
}

// --- EDIDs -----------------------------------------------------------------------------------------------------------

std::string edidFolder() {
    requireSet();
    return loadedFolder() + "/edid";
}

std::string edidFile(HW_U32 u32Port, HW_U32 u32Version) {
    return edidFolder() + "/hdmi" + std::to_string(u32Port) + "-version" + std::to_string(u32Version) + ".bin";
}

// Returns the port's EDID of a version; the board's own while there is no file.
std::string loadEdid(HW_U32 u32Port, HW_U32 u32Version) {
    const std::lock_guard<std::mutex> lock(model.edidMutex);
    const std::string strFile = edidFile(u32Port, u32Version);
    std::error_code error;
    if (!std::filesystem::exists(strFile, error)) {
        return boardEdid(u32Port, u32Version);
    }
    const std::vector<unsigned char> bytes = readFile(strFile);
    return {bytes.begin(), bytes.end()};
}

void storeEdid(HW_U32 u32Port, HW_U32 u32Version, const void* pData, std::size_t size) {
    const std::lock_guard<std::mutex> lock(model.edidMutex);
    std::error_code error;
    std::filesystem::create_directories(edidFolder(), error);
    replaceFile(edidFile(u32Port, u32Version), pData, size);
}

HW_Result_t setEdid(HW_U32 u32Port, const HW_EXTIN_HdmiEdid_t& stEdid) {
    if (stEdid.u32Reserved != 0 || stEdid.u32Version >= extin::kEdidVersions ||
        (stEdid.pu8Data == nullptr && stEdid.u32Size != 0)) {
        return HW_ERR_INVALID_PARAMETER;
    }
    if (stEdid.u32Size > HW_EXTIN_EDID_MAX_SIZE) {
        return HW_ERR_LIMITION;
    }
    // Without data only the version changes.
    if (stEdid.u32Size != 0) {
        storeEdid(u32Port, stEdid.u32Version, stEdid.pu8Data, stEdid.u32Size);
    }
    model.setVersion(u32Port, stEdid.u32Version);
    return HW_OK;
}

HW_Result_t getEdid(HW_U32 u32Port, HW_EXTIN_HdmiEdid_t& stEdid) {
    const HW_U32 u32Version = model.hdmi(u32Port).u32Version;
    const std::string strBytes = loadEdid(u32Port, u32Version);
    const bool bQuestion = stEdid.pu8Data == nullptr && stEdid.u32Size == 0;
    if (stEdid.u32Reserved != 0 || (!bQuestion && stEdid.pu8Data == nullptr)) {
        return HW_ERR_INVALID_PARAMETER;
    }
    if (!bQuestion && stEdid.u32Size < strBytes.size()) {
        return HW_ERR_LIMITION;
    }
    if (!bQuestion) {
        std::copy(strBytes.begin(), strBytes.end(), stEdid.pu8Data);
    }
    stEdid.u32Version = u32Version;
    stEdid.u32Size = static_cast<HW_U32>(strBytes.size());
    return HW_OK;
}

// --- Attributes ------------------------------------------------------------------------------------------------------

HW_Result_t setAttr(const ExtinInput& stInput, HW_U32 u32Attr, const void* pParam) {
    const bool bHdmi = stInput.u32Type == E_HW_EXTIN_TYPE_HDMI;
    if (bHdmi && u32Attr == E_HW_EXTIN_ATTR_HDMI_EDID) {
        return setEdid(stInput.u32Index, *static_cast<const HW_EXTIN_HdmiEdid_t*>(pParam));
    }
    if (bHdmi && u32Attr == E_HW_EXTIN_ATTR_HDMI_HPD) {
        const auto& stHpd = *static_cast<const HW_EXTIN_HdmiHpd_t*>(pParam);
        if (stHpd.u8Reserved != 0 || !isFlag(stHpd.u8Level)) {
            return HW_ERR_INVALID_PARAMETER;
        }
        model.setHotPlug(stInput.u32Index, stHpd.u8Level);
        return HW_OK;
    }
    return setSignalAttr(stInput, u32Attr, pParam);
}

HW_Result_t getAttr(const ExtinInput& stInput, HW_U32 u32Attr, void* pOutput) {
    if (stInput.u32Type == E_HW_EXTIN_TYPE_HDMI && u32Attr == E_HW_EXTIN_ATTR_HDMI_EDID) {
        return getEdid(stInput.u32Index, *static_cast<HW_EXTIN_HdmiEdid_t*>(pOutput));
    }
    return getSignalAttr(stInput, u32Attr, pOutput);
}

// --- Checks of the control API ---------------------------------------------------------------------------------------

void requireType(std::uint32_t u32Type) {
    requireSet();
    if (u32Type >= E_HW_EXTIN_TYPE_NUM) {
        throw SetError("input type " + std::to_string(u32Type) + ": there are only " +
                       std::to_string(E_HW_EXTIN_TYPE_NUM));
    }
}

void requireVersion(unsigned int u32Port, unsigned int u32Version) {
    requireInput({E_HW_EXTIN_TYPE_HDMI, u32Port});
    if (u32Version >= extin::kEdidVersions) {
        throw SetError("EDID version " + std::to_string(u32Version) + ": there are only " +
                       std::to_string(extin::kEdidVersions));
    }
}

}  // namespace

std::uint64_t keyOf(const ExtinInput& input) {
    return std::uint64_t{input.u32Type} << 32 | input.u32Index;
}

std::string nameOf(const ExtinInput& input) {
    return "input " + std::to_string(input.u32Index) + " of type " + std::to_string(input.u32Type);
}

std::optional<ExtinInput> openInput(HW_Handle_t hExtin) {
    const auto key = model.handles().key(hExtin);
    if (!key) {
        return std::nullopt;
    }
    return ExtinInput{static_cast<HW_U32>(*key >> 32), static_cast<HW_U32>(*key)};
}

void requireInput(const ExtinInput& input) {
    requireType(input.u32Type);
    if (!model.exists(input.u32Type, input.u32Index)) {
        throw SetError(nameOf(input) + ": there are only " + std::to_string(model.counts()[input.u32Type]));
    }
}

}  // namespace vset

using vset::model;

HW_Result_t HW_EXTIN_Init(const HW_EXTIN_InitParams_t* pstParams) {
    return vset::call(__func__, {pstParams}, [&]() -> HW_Result_t { return model.initialise(pstParams); });
}

HW_Result_t HW_EXTIN_DeInit() {
    return vset::call(__func__, {}, []() -> HW_Result_t { return model.shutDown(); });
}

HW_Result_t HW_EXTIN_GetCaps(HW_EXTIN_Caps_t* pstCaps) {
    return vset::call(__func__, {pstCaps}, [&]() -> HW_Result_t {
        if (pstCaps == nullptr) {
            return HW_ERR_INVALID_PARAMETER;
        }
        if (model.readiness() != HW_OK) {
            return HW_ERR_NOT_INITED;
        }
        const vset::Counts counts = model.counts();
        *pstCaps = {counts[0], counts[1], counts[2], counts[3], counts[4], counts[5], counts[6], 0};
        return HW_OK;
    });
}

HW_Result_t HW_EXTIN_GetHandle(const HW_EXTIN_HandleParams_t* pstParams, HW_Handle_t* phExtin) {
    return vset::call(__func__, {pstParams, phExtin}, [&]() -> HW_Result_t {
        const HW_Result_t result = vset::judge(pstParams, phExtin);
        return result == HW_OK ? model.handles().find(vset::keyOf({pstParams->u32Type, pstParams->u32Index}), phExtin)
                               : result;
    });
}

// Returns the open value that an input of this type requires.
static HW_U32 openValueOf(HW_U32 u32Type) {
    return u32Type == E_HW_EXTIN_TYPE_VGA ? 2 : u32Type == E_HW_EXTIN_TYPE_YPBPR ? 1 : 0;
}

HW_Result_t HW_EXTIN_Open(const HW_EXTIN_OpenParams_t* pstParams, HW_Handle_t* phExtin) {
    return vset::call(__func__, {pstParams, phExtin}, [&]() -> HW_Result_t {
        const HW_Result_t result = vset::judge(pstParams, phExtin);
        if (result == HW_OK && pstParams->u32OpenValue != openValueOf(pstParams->u32Type)) {
            return HW_ERR_INVALID_PARAMETER;
        }
        return result == HW_OK ? model.handles().open(vset::keyOf({pstParams->u32Type, pstParams->u32Index}), phExtin)
                               : result;
    });
}

HW_Result_t HW_EXTIN_Close(HW_Handle_t hExtin) {
    return vset::call(__func__, {hExtin}, [&]() -> HW_Result_t { return model.handles().close(hExtin); });
}

HW_Result_t HW_EXTIN_SetAttr(HW_Handle_t hExtin, HW_U32 u32Attr, const void* pParam) {
    return vset::call(__func__, {hExtin, u32Attr, pParam}, [&]() -> HW_Result_t {
        return vset::withInput(
            hExtin, pParam, [&](const vset::ExtinInput& stInput) { return vset::setAttr(stInput, u32Attr, pParam); });
    });
}

HW_Result_t HW_EXTIN_GetAttr(HW_Handle_t hExtin, HW_U32 u32Attr, const void* pInput, void* pOutput) {
    return vset::call(__func__, {hExtin, u32Attr, pInput, pOutput}, [&]() -> HW_Result_t {
        // A query takes no input.
        return vset::withInput(hExtin, pInput == nullptr ? pOutput : nullptr, [&](const vset::ExtinInput& stInput) {
            return vset::getAttr(stInput, u32Attr, pOutput);
        });
    });
}

// --- Control API -----------------------------------------------------------------------------------------------------

namespace vset::extin {

unsigned char inputCount(std::uint32_t u32Type) {
    requireType(u32Type);
    return model.counts()[u32Type];
}

void setInputCount(std::uint32_t u32Type, unsigned char u8Count) {
    requireType(u32Type);
    model.setCount(u32Type, u8Count);
}

void hold(std::uint32_t u32Type, std::uint32_t u32Index) {
    const ExtinInput stInput = {u32Type, u32Index};
    requireInput(stInput);
    model.hold(keyOf(stInput), nameOf(stInput));
}

void release(std::uint32_t u32Type, std::uint32_t u32Index) {
    const ExtinInput stInput = {u32Type, u32Index};
    requireInput(stInput);
    model.release(keyOf(stInput), nameOf(stInput));
}

Input input(std::uint32_t u32Type, std::uint32_t u32Index) {
    const ExtinInput stInput = {u32Type, u32Index};
    requireInput(stInput);
    const std::optional<OpenHandle> handle = model.handles().instance(keyOf(stInput));
    return {handle.has_value(), handle && handle->bPlayer, sourceOf(stInput)};
}

std::string edid(unsigned int u32Port, unsigned int u32Version) {
    requireVersion(u32Port, u32Version);
    const HostPaths hostPaths;
    return loadEdid(u32Port, u32Version);
}

void setEdid(unsigned int u32Port, unsigned int u32Version, const std::string& strBytes) {
    requireVersion(u32Port, u32Version);
    if (strBytes.size() > kEdidLimit) {
        throw SetError("EDID: " + std::to_string(strBytes.size()) + " bytes are more than " +
                       std::to_string(kEdidLimit));
    }
    const HostPaths hostPaths;
    storeEdid(u32Port, u32Version, strBytes.data(), strBytes.size());
}

HdmiPort hdmi(unsigned int u32Port) {
    const Input stInput = input(E_HW_EXTIN_TYPE_HDMI, u32Port);
    const HdmiState stState = model.hdmi(u32Port);
    return {stInput.bOpen, stInput.bPlayer, stState.u32Version, stState.u8HotPlug, stState.u64HotPlugs};
}

void reportEdidVersion(unsigned int u32Port, unsigned int u32Version) {
    requireInput({E_HW_EXTIN_TYPE_HDMI, u32Port});
    model.setVersion(u32Port, u32Version);
}

}  // namespace vset::extin
