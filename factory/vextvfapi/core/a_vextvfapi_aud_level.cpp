// SPDX-License-Identifier: Apache-2.0
// Delay, volume, volume tables, audio-quality parameters.
#define FAPI_LOG_TAG "VexTvFApiAudio"
#include "a_vextvfapi_aud_internal.h"
#include "base/fapi_log.h"

namespace {

constexpr unsigned int kDelayMax = 250;
constexpr unsigned int kVolumeMax = 100;

}  // namespace

// --- Delay -----------------------------------------------------------------------------------------------------------

int a_vextvfapi_aud_adv_set_speaker_delay(unsigned int* pDelay) {
    if (pDelay == nullptr) {
        FAPI_LOGE("Invalid parameter !\n\n");
        return -1;
    }
    FAPI_LOGI("Set speaker delay: %d\n\n", *pDelay);
    if (*pDelay > kDelayMax) {
        FAPI_LOGE("Wrong setting! Delay should be %d~%d!\n", 0, kDelayMax);
        return -1;
    }
    const HW_Handle_t hAout = fapi::aud::openMainPath();
    if (hAout == HW_HANDLE_NONE) {
        return -1;
    }
    if (HW_AOUT_SetDelay(hAout, fapi::aud::kMainPath, *pDelay) != HW_OK) {
        FAPI_LOGE("HW_AOUT_SetDelay fail.\n\n");
        return -1;
    }
    FAPI_LOGD("Set speaker delay successed: %d\n\n", *pDelay);
    return fapi::aud::finish();
}

int a_vextvfapi_aud_adv_get_speaker_delay(unsigned int* pDelay) {
    if (pDelay == nullptr) {
        FAPI_LOGE("Invalid parameter !\n\n");
        return -1;
    }
    const HW_Handle_t hAout = fapi::aud::openMainPath();
    if (hAout == HW_HANDLE_NONE) {
        return -1;
    }
    HW_U32 u32Delay = 0;
    if (HW_AOUT_GetDelay(hAout, fapi::aud::kMainPath, &u32Delay) != HW_OK) {
        FAPI_LOGE("HW_AOUT_GetDelay failed!\n\n");
        return -1;
    }
    *pDelay = u32Delay;
    FAPI_LOGI("Get speaker delay: %d ms\n\n", u32Delay);
    return fapi::aud::finish();
}

// --- Volume ----------------------------------------------------------------------------------------------------------

static bool areVolumeArguments(const unsigned int* pPath, const unsigned int* pVolume,
                               const char* pszCaller = __builtin_FUNCTION()) {
    if (pPath == nullptr || pVolume == nullptr) {
        FAPI_LOGE_AS(pszCaller, "Invalid parameter !\n\n");
        return false;
    }
    if (*pPath >= HW_AOUT_PATH_COUNT) {
        FAPI_LOGE_AS(pszCaller, "Wrong path cfg!\n\n");
        return false;
    }
    return true;
}

// Obtains the paths. Returns the handle of one of them; 0, with a message, when there is none.
static HW_Handle_t openPath(unsigned int u32Path, const char* pszCaller = __builtin_FUNCTION()) {
    a_vextvfapi_aud_open();
    if (fapi::aud::pathHandle(u32Path) == HW_HANDLE_NONE) {
        FAPI_LOGE_AS(pszCaller, "AOUT handle is not ready!\n\n");
    }
    return fapi::aud::pathHandle(u32Path);
}

int a_vextvfapi_aud_adv_set_volume(unsigned int* pPath, unsigned int* pVolume) {
    if (!areVolumeArguments(pPath, pVolume)) {
        return -1;
    }
    // Contract: only the word's first byte counts.
    const unsigned char u8Volume = *reinterpret_cast<const unsigned char*>(pVolume);
    if (u8Volume > kVolumeMax) {
        FAPI_LOGE("Wrong setting! Volume should be %d~%d!\n", 0, kVolumeMax);
        return -1;
    }
    FAPI_LOGI("Set Volume: %d\n\n", u8Volume);
    const HW_Handle_t hAout = openPath(*pPath);
    if (hAout == HW_HANDLE_NONE) {
        return -1;
    }
    if (HW_AOUT_SetVolume(hAout, *pPath, u8Volume) != HW_OK) {
        FAPI_LOGE("HW_AOUT_SetVolume() fail.\n\n");
        return -1;
    }
    FAPI_LOGD("Set Volume: %d OK!\n\n", u8Volume);
    return fapi::aud::finish();
}

int a_vextvfapi_aud_adv_get_volume(unsigned int* pPath, unsigned int* pVolume) {
    if (!areVolumeArguments(pPath, pVolume)) {
        return -1;
    }
    const HW_Handle_t hAout = openPath(*pPath);
    if (hAout == HW_HANDLE_NONE) {
        return -1;
    }
    HW_U8 u8Volume = 0;
    if (HW_AOUT_GetVolume(hAout, *pPath, &u8Volume) != HW_OK) {
        FAPI_LOGE("HW_AOUT_GetVolume() fail.\n\n");
        return -1;
    }
    *pVolume = u8Volume;
    FAPI_LOGI("HW_AOUT_GetVolume() = %d\n\n", *pVolume);
    return fapi::aud::finish();
}

// --- Volume tables ---------------------------------------------------------------------------------------------------

static bool sendTable(unsigned int u32Path, const HW_AOUT_VolumeTable_t& stTable,
                      const char* pszCaller = __builtin_FUNCTION()) {
    if (HW_AOUT_SetAttr(fapi::aud::pathHandle(u32Path), E_HW_AOUT_ATTR_VOLUME_TABLE, &stTable) != HW_OK) {
        FAPI_LOGE_AS(pszCaller, "\033[31mHW_AOUT_SetAttr() failed! AoutPath: %u\033[m\n\n", u32Path);
        return false;
    }
    return true;
}

static bool sendTableToAll(const HW_AOUT_VolumeTable_t& stTable, const char* pszCaller = __builtin_FUNCTION()) {
    for (unsigned int u32Path = 0; u32Path < HW_AOUT_PATH_COUNT; ++u32Path) {
        if (fapi::aud::pathHandle(u32Path) == HW_HANDLE_NONE) {
            FAPI_LOGD_AS(pszCaller, "AOUT path:%u handle is not ready!\n\n", u32Path);
        } else if (!sendTable(u32Path, stTable, pszCaller)) {
            return false;
        }
    }
    return true;
}

int a_vextvfapi_aud_set_volume_table(fapi_core::VexTvFApiAudioOutPathEnum path, unsigned short* pData,
                                     unsigned short length, const unsigned char* pName) {
    const unsigned int u32Path = path <= fapi_core::E_VEXTVFAPI_AUDIO_OUT_PATH_NUM
                                     ? static_cast<unsigned int>(path)
                                     : fapi_core::E_VEXTVFAPI_AUDIO_OUT_PATH_INVALID;
    FAPI_LOGD("AoutPath: %u\n\n", u32Path);
    if (u32Path >= fapi_core::E_VEXTVFAPI_AUDIO_OUT_PATH_NUM) {
        FAPI_LOGE("Invalid AoutPath!\n\n");
        return -2;
    }
    if (fapi::aud::openMainPath() == HW_HANDLE_NONE) {
        return -1;
    }
    const HW_AOUT_VolumeTable_t stTable = {pData, pName};
    FAPI_LOGD("VolumeTableName: %s\n\n", fapi::logText(pName));
    if (pName == nullptr || *pName == '\0') {
        FAPI_LOGE("VolumeTableName invalid!\n\n");
        return -2;
    }
    FAPI_LOGD("VolumeData length: %u\n\n", length);
    // A single path is sent without a handle, too: the middleware refuses it.
    const bool bSent =
        u32Path == fapi_core::E_VEXTVFAPI_AUDIO_OUT_PATH_ALL ? sendTableToAll(stTable) : sendTable(u32Path, stTable);
    if (!bSent) {
        return -1;
    }
    FAPI_LOGD("HW_AOUT_SetAttr() OK!\n\n");
    return fapi::aud::finish();
}

// --- Audio-quality parameters ----------------------------------------------------------------------------------------

int a_vextvfapi_aud_load_aq_params(const unsigned char* pFileName) {
    if (pFileName == nullptr) {
        FAPI_LOGE("Invalid parameter !\n\n");
        return -1;
    }
    const HW_Handle_t hAout = fapi::aud::openMainPath();
    if (hAout == HW_HANDLE_NONE) {
        return -1;
    }
    FAPI_LOGI("FileName:%s\n\n", pFileName);
    const HW_AOUT_AqParams_t stParams = {pFileName};
    const HW_Result_t result = HW_AOUT_LoadAqParams(hAout, &stParams);
    if (result != HW_OK) {
        FAPI_LOGE("Error: Load AQ Setting failed!(file name: %s)\n\n", pFileName);
    }
    // Contract: unlike the other operations, this one closes after a failure, too.
    const int s32Closed = fapi::aud::finish();
    return result == HW_OK ? s32Closed : -1;
}
