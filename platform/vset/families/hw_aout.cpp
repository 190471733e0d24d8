// SPDX-License-Identifier: Apache-2.0
// The audio system and its outputs: nine paths with level, delay and volume table, and the chip's sound processing.
#include "hw3/hw_aout.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <mutex>

#include "hw3/hw_audio.h"
#include "vset/aout.h"
#include "vset_call.h"
#include "vset_family.h"
#include "vset_folder.h"
#include "vset_paths.h"

namespace vset {

namespace {

constexpr HW_U8 kVolumeLimit = 100;

struct State {
    std::array<aout::Path, aout::kPaths> paths;  // without the handles' state
    std::size_t volumeTableLength = 1;
    HW_U8 u8DtsBypass = 0;
    aout::Sound sound;  // without the bypass
};

// The audio system's model, which has no handles: it is only initialized or not.
class AudioModel : public FamilyModel {
public:
    AudioModel() : FamilyModel(FamilyId::audio, "HW_AUDIO") {}
};
AudioModel& audio = *new AudioModel;

// The model of the outputs. The key of a handle is its path.
class AoutModel : public StatefulModel<State> {
public:
    AoutModel() : StatefulModel(FamilyId::aout, "HW_AOUT", PlayersInstance::isClosed) {}
};
AoutModel& model = *new AoutModel;

bool isBlocked(std::uint64_t u64Path) {
    return model.locked([&](State& state) { return state.paths[u64Path].bBlocked; });
}

HW_Result_t openPath(const HW_AOUT_OpenParams_t& stParams, HW_Handle_t* phAout) {
    return isBlocked(stParams.u32OutPath) ? HW_ERR_FAILED : model.handles().open(stParams.u32OutPath, phAout);
}

bool isBlank(const HW_AOUT_OpenParams_t& stParams) {
    const auto isZero = [](HW_U8 u8Byte) { return u8Byte == 0; };
    return isZero(stParams.u8Flag) &&
           std::all_of(std::begin(stParams.au8Reserved), std::end(stParams.au8Reserved), isZero);
}

// Runs `body` on the path of an open handle, which the caller must name in addition.
template <class Body>
HW_Result_t onPath(HW_Handle_t hAout, HW_U32 u32OutPath, bool bValid, Body&& body) {
    const auto path = model.handles().key(hAout);
    if (!path) {
        return HW_ERR_INVALID_HANDLE;
    }
    if (*path != u32OutPath || !bValid) {
        return HW_ERR_INVALID_PARAMETER;
    }
    model.locked([&](State& state) { body(state.paths[*path]); });
    return HW_OK;
}

HW_Result_t loadAqFile(const char* pszPath) {
    std::string strBuffer;
    const std::filesystem::path file = toHost(pszPath, strBuffer);
    std::error_code error;
    // Only a regular file has a size.
    const std::uintmax_t size = std::filesystem::file_size(file, error);
    if (error || size == 0) {
        return HW_ERR_DATA_ERROR;
    }
    model.locked([&](State& state) { state.sound.strAqFile = pszPath; });
    return HW_OK;
}

// --- Attributes ------------------------------------------------------------------------------------------------------

// Copies a record, because the caller's may have any alignment.
template <class Record>
Record load(const void* pRecord) {
    Record stRecord;
    std::memcpy(&stRecord, pRecord, sizeof(stRecord));
    return stRecord;
}

template <class Record>
HW_Result_t store(const Record& stRecord, void* pOutput) {
    std::memcpy(pOutput, &stRecord, sizeof(stRecord));
    return HW_OK;
}

bool isAdvancedType(HW_U32 u32Type) {
    constexpr HW_U32 kTypes[] = {E_HW_AOUT_ADV_SND_SRS_TSHD,     E_HW_AOUT_ADV_SND_SRS_THEATER,
                                 E_HW_AOUT_ADV_SND_SRS_PURE,     E_HW_AOUT_ADV_SND_DTS_VIRTUALX,
                                 E_HW_AOUT_ADV_SND_DOLBY_VOLUME, E_HW_AOUT_ADV_SND_DOLBY_DAP,
                                 E_HW_AOUT_ADV_SND_DBX,          E_HW_AOUT_ADV_SND_NONE};
    return std::find(std::begin(kTypes), std::end(kTypes), u32Type) != std::end(kTypes);
}

HW_Result_t setVolumeTable(State& state, std::uint64_t u64Path, const void* pParam) {
    const auto stTable = load<HW_AOUT_VolumeTable_t>(pParam);
    if (stTable.pu16VolumeData == nullptr || stTable.pu8TableName == nullptr) {
        return HW_ERR_INVALID_PARAMETER;
    }
    state.paths[u64Path].volumeTable =
        aout::VolumeTable{reinterpret_cast<const char*>(stTable.pu8TableName),
                          {stTable.pu16VolumeData, stTable.pu16VolumeData + state.volumeTableLength}};
    return HW_OK;
}

HW_Result_t setDtsBypass(State& state, std::uint64_t, const void* pParam) {
    const auto u8Bypass = load<HW_U8>(pParam);
    if (!isFlag(u8Bypass)) {
        return HW_ERR_INVALID_PARAMETER;
    }
    state.u8DtsBypass = u8Bypass;
    return HW_OK;
}

HW_Result_t getDtsBypass(const State& state, const void*, void* pOutput) {
    return store(state.u8DtsBypass, pOutput);
}

HW_Result_t setBasicSound(State& state, std::uint64_t, const void* pParam) {
    const auto stSound = load<HW_AOUT_BasicSound_t>(pParam);
    if (stSound.u32Type >= aout::kBasicTypes) {
        return HW_ERR_INVALID_PARAMETER;
    }
    state.sound.basic[stSound.u32Type] = stSound;
    return HW_OK;
}

HW_Result_t getBasicSound(const State& state, const void* pInput, void* pOutput) {
    if (pInput == nullptr) {
        return HW_ERR_INVALID_PARAMETER;
    }
    const auto u8Type = load<HW_U8>(pInput);
    if (u8Type >= aout::kBasicTypes) {
        return HW_ERR_INVALID_PARAMETER;
    }
    HW_AOUT_BasicSound_t stNeverSet = {};
    stNeverSet.u32Type = u8Type;
    return store(state.sound.basic[u8Type].value_or(stNeverSet), pOutput);
}

HW_Result_t setAdvancedType(State& state, std::uint64_t, const void* pParam) {
    const auto u32Type = load<HW_U32>(pParam);
    if (!isAdvancedType(u32Type)) {
        return HW_ERR_INVALID_PARAMETER;
    }
    state.sound.u32AdvancedType = u32Type;
    return HW_OK;
}

HW_Result_t getAdvancedType(const State& state, const void*, void* pOutput) {
    return store(HW_U32{state.sound.u32AdvancedType}, pOutput);
}

HW_Result_t setAdvancedParameters(State& state, std::uint64_t, const void* pParam) {
    const auto stParams = load<HW_AOUT_AdvSndParams_t>(pParam);
    if (!isAdvancedType(stParams.u32Type)) {
        return HW_ERR_INVALID_PARAMETER;
    }
    state.sound.advancedParameters = stParams;
    return HW_OK;
}

HW_Result_t getAdvancedParameters(const State& state, const void*, void* pOutput) {
    HW_AOUT_AdvSndParams_t stNeverSet = {};
    stNeverSet.u32Type = E_HW_AOUT_ADV_SND_NONE;
    return store(state.sound.advancedParameters.value_or(stNeverSet), pOutput);
}

// An attribute of one path names the path; all others are the chip's.
using Set = HW_Result_t (*)(State& state, std::uint64_t u64Path, const void* pParam);
using Get = HW_Result_t (*)(const State& state, const void* pInput, void* pOutput);

struct Attribute {
    HW_U32 u32Number;
    Set pSet;
    Get pGet;  // null for an attribute that cannot be read
};
constexpr Attribute kAttributes[] = {
    {E_HW_AOUT_ATTR_VOLUME_TABLE, setVolumeTable, nullptr},
    {E_HW_AOUT_ATTR_DTS_BYPASS, setDtsBypass, getDtsBypass},
    {E_HW_AOUT_ATTR_BASIC_SOUND, setBasicSound, getBasicSound},
    {E_HW_AOUT_ATTR_ADV_SND_TYPE, setAdvancedType, getAdvancedType},
    {E_HW_AOUT_ATTR_ADV_SND_PARAM, setAdvancedParameters, getAdvancedParameters},
};

// Runs `body` on the path of an open handle and the attribute's function of that kind.
template <class Function, class Body>
HW_Result_t withAttribute(HW_Handle_t hAout, HW_U32 u32Attr, Function Attribute::*pFunction, const void* pRecord,
                          Body&& body) {
    const auto path = model.handles().key(hAout);
    if (!path) {
        return HW_ERR_INVALID_HANDLE;
    }
    const auto* pAttribute = std::find_if(std::begin(kAttributes), std::end(kAttributes),
                                          [&](const Attribute& stRow) { return stRow.u32Number == u32Attr; });
    if (pAttribute == std::end(kAttributes) || pAttribute->*pFunction == nullptr) {
        return HW_ERR_NOT_SUPPORT;
    }
    if (pRecord == nullptr) {
        return HW_ERR_INVALID_PARAMETER;
    }
    return model.locked([&](State& state) { return body(pAttribute->*pFunction, state, *path); });
}

// --- Checks of the control API ---------------------------------------------------------------------------------------

std::string nameOf(unsigned int u32Path) {
    return "audio output path " + std::to_string(u32Path);
}

void requirePath(unsigned int u32Path) {
    requireSet();
    if (u32Path >= aout::kPaths) {
        throw SetError(nameOf(u32Path) + ": there are only " + std::to_string(aout::kPaths));
    }
}

}  // namespace

}  // namespace vset

using vset::model;

HW_Result_t HW_AUDIO_Init(const HW_AUDIO_InitParams_t* pstParams) {
    return vset::call(__func__, {pstParams}, [&]() -> HW_Result_t { return vset::audio.initialise(pstParams); });
}

HW_Result_t HW_AUDIO_DeInit() {
    return vset::call(__func__, {}, []() -> HW_Result_t { return vset::audio.shutDown(); });
}

HW_Result_t HW_AOUT_Init(const HW_AOUT_InitParams_t* pstParams) {
    return vset::call(__func__, {pstParams}, [&]() -> HW_Result_t { return model.initialise(pstParams); });
}

HW_Result_t HW_AOUT_DeInit() {
    return vset::call(__func__, {}, []() -> HW_Result_t { return vset::model.shutDown(); });
}

HW_Result_t HW_AOUT_GetHandle(const HW_AOUT_HandleParams_t* pstParams, HW_Handle_t* phAout) {
    return vset::call(__func__, {pstParams, phAout}, [&]() -> HW_Result_t {
        const HW_Result_t result = vset::checkInstanceNumber(
            model.readiness(), pstParams, &HW_AOUT_HandleParams_t::u32OutPath, vset::aout::kPaths, phAout);
        return result == HW_OK ? model.handles().find(pstParams->u32OutPath, phAout) : result;
    });
}

HW_Result_t HW_AOUT_Open(const HW_AOUT_OpenParams_t* pstParams, HW_Handle_t* phAout) {
    return vset::call(__func__, {pstParams, phAout}, [&]() -> HW_Result_t {
        const bool bBlank = pstParams != nullptr && vset::isBlank(*pstParams);
        const HW_Result_t result =
            vset::checkInstanceNumber(bBlank ? model.readiness() : HW_ERR_INVALID_PARAMETER, pstParams,
                                      &HW_AOUT_OpenParams_t::u32OutPath, vset::aout::kPaths, phAout);
        return result == HW_OK ? vset::openPath(*pstParams, phAout) : result;
    });
}

HW_Result_t HW_AOUT_Close(HW_Handle_t hAout) {
    return vset::call(__func__, {hAout}, [&]() -> HW_Result_t { return model.handles().close(hAout); });
}

HW_Result_t HW_AOUT_SetAttr(HW_Handle_t hAout, HW_U32 u32Attr, const void* pParam) {
    return vset::call(__func__, {hAout, u32Attr, pParam}, [&]() -> HW_Result_t {
        return vset::withAttribute(
            hAout, u32Attr, &vset::Attribute::pSet, pParam,
            [&](vset::Set pSet, vset::State& state, std::uint64_t u64Path) { return pSet(state, u64Path, pParam); });
    });
}

HW_Result_t HW_AOUT_GetAttr(HW_Handle_t hAout, HW_U32 u32Attr, const void* pInput, void* pOutput) {
    return vset::call(__func__, {hAout, u32Attr, pInput, pOutput}, [&]() -> HW_Result_t {
        return vset::withAttribute(
            hAout, u32Attr, &vset::Attribute::pGet, pOutput,
            [&](vset::Get pGet, const vset::State& state, std::uint64_t) { return pGet(state, pInput, pOutput); });
    });
}

HW_Result_t HW_AOUT_SetDelay(HW_Handle_t hAout, HW_U32 u32OutPath, HW_U32 u32DelayMs) {
    return vset::call(__func__, {hAout, u32OutPath, u32DelayMs}, [&]() -> HW_Result_t {
        return vset::onPath(hAout, u32OutPath, true, [&](vset::aout::Path& stPath) { stPath.u32DelayMs = u32DelayMs; });
    });
}

HW_Result_t HW_AOUT_GetDelay(HW_Handle_t hAout, HW_U32 u32OutPath, HW_U32* pu32DelayMs) {
    return vset::call(__func__, {hAout, u32OutPath, pu32DelayMs}, [&]() -> HW_Result_t {
        return vset::onPath(hAout, u32OutPath, pu32DelayMs != nullptr,
                            [&](const vset::aout::Path& stPath) { *pu32DelayMs = stPath.u32DelayMs; });
    });
}

HW_Result_t HW_AOUT_SetVolume(HW_Handle_t hAout, HW_U32 u32OutPath, HW_U8 u8Volume) {
    return vset::call(__func__, {hAout, u32OutPath, u8Volume}, [&]() -> HW_Result_t {
        return vset::onPath(hAout, u32OutPath, u8Volume <= vset::kVolumeLimit,
                            [&](vset::aout::Path& stPath) { stPath.u8Volume = u8Volume; });
    });
}

HW_Result_t HW_AOUT_GetVolume(HW_Handle_t hAout, HW_U32 u32OutPath, HW_U8* pu8Volume) {
    return vset::call(__func__, {hAout, u32OutPath, pu8Volume}, [&]() -> HW_Result_t {
        return vset::onPath(hAout, u32OutPath, pu8Volume != nullptr,
                            [&](const vset::aout::Path& stPath) { *pu8Volume = stPath.u8Volume; });
    });
}

HW_Result_t HW_AOUT_LoadAqParams(HW_Handle_t hAout, const HW_AOUT_AqParams_t* pstParams) {
    return vset::call(__func__, {hAout, pstParams}, [&]() -> HW_Result_t {
        if (!model.handles().key(hAout)) {
            return HW_ERR_INVALID_HANDLE;
        }
        if (pstParams == nullptr || pstParams->pu8FileName == nullptr) {
            return HW_ERR_INVALID_PARAMETER;
        }
        return vset::loadAqFile(reinterpret_cast<const char*>(pstParams->pu8FileName));
    });
}

// --- Control API -----------------------------------------------------------------------------------------------------

namespace vset::aout {

Path path(unsigned int u32Path) {
    requirePath(u32Path);
    Path stPath = model.locked([&](State& state) { return state.paths[u32Path]; });
    if (const auto instance = model.handles().instance(u32Path)) {
        stPath.bOpen = true;
        stPath.bPlayer = instance->bPlayer;
    }
    return stPath;
}

void setVolumeTableLength(std::size_t entries) {
    requireSet();
    model.locked([&](State& state) { state.volumeTableLength = entries; });
}

void hold(unsigned int u32Path) {
    requirePath(u32Path);
    if (isBlocked(u32Path)) {
        throw SetError(nameOf(u32Path) + ": is blocked");
    }
    model.hold(u32Path, nameOf(u32Path));
}

void release(unsigned int u32Path) {
    requirePath(u32Path);
    model.release(u32Path, nameOf(u32Path));
}

void setBlocked(unsigned int u32Path, bool bBlocked) {
    requirePath(u32Path);
    model.locked([&](State& state) { state.paths[u32Path].bBlocked = bBlocked; });
}

Sound sound() {
    requireSet();
    return model.locked([](State& state) {
        Sound stSound = state.sound;
        stSound.bDtsBypass = state.u8DtsBypass != 0;
        return stSound;
    });
}

}  // namespace vset::aout
