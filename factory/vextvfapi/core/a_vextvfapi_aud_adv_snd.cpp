// SPDX-License-Identifier: Apache-2.0
// Advanced sound effects, DTS bypass, attributes.
#define FAPI_LOG_TAG "VexTvFApiAudio"
#include <cstring>

#include "a_vextvfapi_aud_internal.h"
#include "base/fapi_log.h"

namespace {

// A part of an effect, and the position of its enable byte in the parameters.
struct SubEffect {
    const char* pszName;
    unsigned int u32Position;
};

constexpr SubEffect kTrueSurround[] = {
    {"SRS TSHD TRUBASS", 0},
    {"SRS TSHD DC", 1},
    {"SRS TSHD DEFINITION", 2},
    {"SRS TSHD SRS 3D", 3},
    {"SRS TSHD TRUBASS LEVEL INDEPENDENT", 4},
};

// Contract: the first five have names but are refused.
constexpr unsigned int kFirstTheater = 5;
constexpr SubEffect kTheater[] = {
    {"SRS THEATER ALL", 0},
    {"SRS THEATER TRUVOLUME HD", 0},
    {"SRS THEATER TRUVOLUME HD SMOOTH", 0},
    {"SRS THEATER TRUVOLUME HD NORMALIZER", 0},
    {"SRS THEATER TRUVOLUME HD MAX", 0},
    {"SRS THEATER CC3D", 16},
    {"SRS THEATER CC3D DEPTH PROCESS", 17},
    {"SRS THEATER CC3D SURROUND BOOST", 18},
    {"SRS THEATER CC3D TSHD MIX", 19},
    {"SRS THEATER CC3D FADE", 20},
    {"SRS THEATER CC3D TRUBASS HDX", 21},
    {"SRS THEATER CC3D MAX", 22},
    {"SRS THEATER TSHD", 32},
    {"SRS THEATER GEQ", 33},
    {"SRS THEATER TRUDIALOG", 34},
    {"SRS THEATER CS", 35},
    {"SRS THEATER COMMON MAX", 36},
};

constexpr SubEffect kPureSound[] = {
    {"SRS PURESOUND HARD LIMITER", 0},
    {"SRS PURESOUND ACTIVE EQ", 1},
    {"SRS PURESOUND HPF", 2},
    {"SRS PURESOUND TRUBASS HD", 3},
};

constexpr SubEffect kDolbyDap[] = {{"DAP TOTAL", 0}, {"DAP ATMOS", 1}};

constexpr SubEffect kDtsVirtualX[] = {
    {"DTS_VIRTUALX TRUSRNDX", 0},
    {"DTS_VIRTUALX TBHDX", 1},
    {"DTS_VIRTUALX MBHL", 2},
    {nullptr, 3},
    {nullptr, 4},
    {nullptr, 5},
    {nullptr, 6},
};

struct DbxCombination {
    const char* pszName;
    HW_U32 u32Sonic;
    HW_U32 u32Volume;
    HW_U32 u32Surround;
};

// The chip's numbers, in which ON comes before OFF.
constexpr HW_U32 kSonicOn = E_HW_AOUT_DBX_SONIC_ON;
constexpr HW_U32 kSonicOff = E_HW_AOUT_DBX_SONIC_OFF;
constexpr HW_U32 kNormal = E_HW_AOUT_DBX_VOLUME_NORMAL;
constexpr HW_U32 kNight = E_HW_AOUT_DBX_VOLUME_NIGHT;
constexpr HW_U32 kVolumeOff = E_HW_AOUT_DBX_VOLUME_OFF;
constexpr HW_U32 kSurroundOn = E_HW_AOUT_DBX_SURROUND_ON;
constexpr HW_U32 kSurroundOff = E_HW_AOUT_DBX_SURROUND_OFF;

constexpr DbxCombination kDbx[] = {
    {"DBX Sonic OFF Volume OFF Surround OFF", kSonicOff, kVolumeOff, kSurroundOff},
    {"DBX Sonic OFF Volume OFF Surround ON", kSonicOff, kVolumeOff, kSurroundOn},
    {"DBX Sonic OFF Volume NIGHT Surround OFF", kSonicOff, kNight, kSurroundOff},
    {"DBX Sonic OFF Volume NIGHT Surround ON", kSonicOff, kNight, kSurroundOn},
    {"DBX Sonic OFF Volume NORMAL Surround OFF", kSonicOff, kNormal, kSurroundOff},
    {"DBX Sonic OFF Volume NORMAL Surround ON", kSonicOff, kNormal, kSurroundOn},
    {"DBX Sonic ON  Volume OFF Surround OFF", kSonicOn, kVolumeOff, kSurroundOff},
    {"DBX Sonic ON  Volume OFF Surround ON", kSonicOn, kVolumeOff, kSurroundOn},
    {"DBX Sonic ON  Volume NIGHT Surround OFF", kSonicOn, kNight, kSurroundOff},
    {"DBX Sonic ON  Volume NIGHT Surround ON", kSonicOn, kNight, kSurroundOn},
    {"DBX Sonic ON  Volume NORMAL Surround OFF", kSonicOn, kNormal, kSurroundOff},
    {"DBX Sonic ON  Volume NORMAL Surround ON", kSonicOn, kNormal, kSurroundOn},
};
constexpr unsigned int kDbxCount = sizeof(kDbx) / sizeof(kDbx[0]);

// The interface's effects, by their numbers.
constexpr unsigned int kDbxType = 4;
constexpr unsigned int kDolbyDapType = 6;

struct Effect {
    const char* pszEnableName;
    const char* pszName;
    HW_U32 u32HwType;
    // The list's parts from `u32First` to `u32Count` - 1 can be switched.
    const SubEffect* pSubEffects = nullptr;
    unsigned int u32First = 0;
    unsigned int u32Count = 0;

    constexpr Effect(const char* pszBothNames, HW_U32 u32Type)
        : pszEnableName(pszBothNames), pszName(pszBothNames), u32HwType(u32Type) {}

    template <unsigned int u32Parts>
    constexpr Effect(const char* pszForEnable, const char* pszForParts, HW_U32 u32Type,
                     const SubEffect (&parts)[u32Parts], unsigned int u32FirstPart = 0)
        : pszEnableName(pszForEnable),
          pszName(pszForParts),
          u32HwType(u32Type),
          pSubEffects(parts),
          u32First(u32FirstPart),
          u32Count(u32Parts) {}
};

// Contract: number 3 has two names in the log.
constexpr Effect kEffects[] = {
    {"NONE", E_HW_AOUT_ADV_SND_NONE},
    {"SRS True Surround HD", "SRS True Surround HD", E_HW_AOUT_ADV_SND_SRS_TSHD, kTrueSurround},
    {"SRS Theater Sound", "SRS Theater Sound", E_HW_AOUT_ADV_SND_SRS_THEATER, kTheater, kFirstTheater},
    {"SRS Pure Sound", "Pure Sound", E_HW_AOUT_ADV_SND_SRS_PURE, kPureSound},
    {"DBX", E_HW_AOUT_ADV_SND_DBX},
    {"Dolby Volume", E_HW_AOUT_ADV_SND_DOLBY_VOLUME},
    {"Dolby DAP", "Dolby DAP", E_HW_AOUT_ADV_SND_DOLBY_DAP, kDolbyDap},
    {"DTS VIRTUAL X", "DTS VIRTUAL X", E_HW_AOUT_ADV_SND_DTS_VIRTUALX, kDtsVirtualX},
};
constexpr unsigned int kEffectCount = sizeof(kEffects) / sizeof(kEffects[0]);

}  // namespace

static fapi_core::VexTvFApiAdvSndDolbyDapParams_t _stDolbyDapParams;

void fapi::aud::forgetDolbyDapParam() {
    _stDolbyDapParams = {};
}

// --- Effects ---------------------------------------------------------------------------------------------------------

int a_vextvfapi_aud_adv_snd_enable(unsigned int* pType) {
    a_vextvfapi_aud_open();
    const HW_Handle_t hAout = fapi::aud::pathHandle(fapi::aud::kMainPath);
    if (hAout == HW_HANDLE_NONE) {
        FAPI_LOGE("AOUT handle is not ready! \n\n");
        return -1;
    }
    if (pType == nullptr || *pType >= kEffectCount) {
        FAPI_LOGE("Invalid parameter !\n\n");
        return -1;
    }
    const Effect& stEffect = kEffects[*pType];
    FAPI_LOGI("Enable eAdvSndType: %s \n\n", stEffect.pszEnableName);
    const HW_U32 u32HwType = stEffect.u32HwType;
    return fapi::aud::send(hAout, E_HW_AOUT_ATTR_ADV_SND_TYPE, &u32HwType);
}

// Puts the part into the record, with all other parts off, and its name into `pszName`. False for an unknown part.
static bool fillSubEffect(unsigned int u32Type, unsigned int u32SubIndex, unsigned char u8Enable,
                          HW_AOUT_AdvSndParams_t& stParams, const char*& pszName) {
    const Effect& stEffect = kEffects[u32Type];
    stParams.u32Type = stEffect.u32HwType;
    if (u32Type == kDbxType) {
        if (u32SubIndex >= kDbxCount) {
            return false;
        }
        const DbxCombination& stCombination = kDbx[u32SubIndex];
        stParams.attr.stDbx = {stCombination.u32Sonic, stCombination.u32Volume, stCombination.u32Surround, 0, 0};
        pszName = stCombination.pszName;
        return true;
    }
    if (u32SubIndex < stEffect.u32First || u32SubIndex >= stEffect.u32Count) {
        return false;
    }
    const SubEffect& stSubEffect = stEffect.pSubEffects[u32SubIndex];
    stParams.attr.au8Raw[stSubEffect.u32Position] = u8Enable;
    pszName = stSubEffect.pszName;
    return true;
}

int a_vextvfapi_aud_adv_snd_enable_sub(unsigned int* pType, unsigned int* pSubIndex, unsigned char* pEnable) {
    a_vextvfapi_aud_open();
    const HW_Handle_t hAout = fapi::aud::pathHandle(fapi::aud::kMainPath);
    if (hAout == HW_HANDLE_NONE) {
        FAPI_LOGE("AOUT handle is not ready.\n\n");
        return -1;
    }
    if (pType == nullptr || pSubIndex == nullptr || pEnable == nullptr || *pType >= kEffectCount) {
        FAPI_LOGE("Invalid parameter !\n\n");
        return -1;
    }
    FAPI_LOGI("Enable Advanced sound effect Type: %s \n\n", kEffects[*pType].pszName);
    HW_AOUT_AdvSndParams_t stParams = {};
    const char* pszName = nullptr;
    if (!fillSubEffect(*pType, *pSubIndex, *pEnable, stParams, pszName)) {
        // Contract: an unknown part is only logged.
        FAPI_LOGE("Not support type\n\n");
        return fapi::aud::finish();
    }
    FAPI_LOGI("Apply sub sound effect Type: %s ==> %s \n\n", fapi::logText(pszName),
              *pEnable != 0 ? "enable" : "disable");
    return fapi::aud::send(hAout, E_HW_AOUT_ATTR_ADV_SND_PARAM, &stParams);
}

// --- Parameters ------------------------------------------------------------------------------------------------------

int a_vextvfapi_aud_adv_snd_set_param(unsigned int* pType) {
    const HW_Handle_t hAout = fapi::aud::openMainPath();
    if (hAout == HW_HANDLE_NONE) {
        return -1;
    }
    if (pType == nullptr || *pType >= kEffectCount) {
        FAPI_LOGE("Invalid parameter !\n\n");
        return -1;
    }
    FAPI_LOGI("Set Advanced sound effect Type: %s \n\n", kEffects[*pType].pszName);
    if (*pType != kDbxType && *pType != kDolbyDapType) {
        FAPI_LOGE("Not support type\n\n");
        return -1;
    }
    // For DBX zeros switch all its modes on.
    HW_AOUT_AdvSndParams_t stAdvSndParams = {};
    stAdvSndParams.u32Type = kEffects[*pType].u32HwType;
    if (*pType == kDolbyDapType) {
        static_assert(sizeof(stAdvSndParams.attr.stDolbyDapParams) == sizeof(_stDolbyDapParams), "copied as it is");
        std::memcpy(&stAdvSndParams.attr.stDolbyDapParams, &_stDolbyDapParams, sizeof(_stDolbyDapParams));
        FAPI_LOGI(
            "Apply adv sound effect: Dolby DAP stAdvSndParams.attr.stDolbyDapParams.stDapGainParam.s32PreGain = %d\n",
            stAdvSndParams.attr.stDolbyDapParams.stDapGainParam.s32PreGain);
    }
    return fapi::aud::send(hAout, E_HW_AOUT_ATTR_ADV_SND_PARAM, &stAdvSndParams);
}

int a_vextvfapi_aud_adv_snd_set_dolby_dap_param(const fapi_core::VexTvFApiAdvSndDolbyDapParams_t* pParams) {
    if (pParams == nullptr) {
        FAPI_LOGE("Invalid parameter !\n\n");
        return -1;
    }
    _stDolbyDapParams = *pParams;
    FAPI_LOGI("a_vextvfapi_aud_adv_snd_set_dolby_dap_param()...\n");
    unsigned int u32Type = kDolbyDapType;
    return a_vextvfapi_aud_adv_snd_set_param(&u32Type);
}

// --- Other attributes ------------------------------------------------------------------------------------------------

int a_vextvfapi_aud_dts_bypass(unsigned char* pBypass) {
    if (pBypass == nullptr) {
        FAPI_LOGE("Invalid parameter !\n\n");
        return -1;
    }
    a_vextvfapi_aud_open();
    const HW_Handle_t hAout = fapi::aud::pathHandle(fapi::aud::kMainPath);
    if (hAout == HW_HANDLE_NONE) {
        FAPI_LOGE("AOUT handle is not ready.\n\n");
        return -1;
    }
    return fapi::aud::send(hAout, E_HW_AOUT_ATTR_DTS_BYPASS, pBypass);
}

int a_vextvfapi_aud_get_attr(unsigned int attrType, void* pInput, void* pOutput) {
    if (pInput == nullptr || pOutput == nullptr) {
        FAPI_LOGE("Invalid parameter !\n\n");
        return -1;
    }
    const HW_Handle_t hAout = fapi::aud::openMainPath();
    if (hAout == HW_HANDLE_NONE) {
        return -1;
    }
    FAPI_LOGI("\033[31m[%s(%d)]AttrType = %u\033[m\n\n", __func__, __LINE__, attrType);
    if (attrType > E_HW_AOUT_ATTR_LAST || attrType == 255) {
        FAPI_LOGE("[%s(%d)]Invalid AttrType!\n\n", __func__, __LINE__);
        return -1;
    }
    if (attrType == E_HW_AOUT_ATTR_BASIC_SOUND) {
        FAPI_LOGI("[%s(%d)]InputParam = %u\n\n", __func__, __LINE__, *static_cast<const unsigned char*>(pInput));
    }
    if (HW_AOUT_GetAttr(hAout, attrType, pInput, pOutput) != HW_OK) {
        FAPI_LOGE("\033[31mHW_AOUT_GetAttr() failed!\033[m\n\n");
        return -1;
    }
    FAPI_LOGD("HW_AOUT_GetAttr() OK!\n\n");
    return fapi::aud::finish();
}
