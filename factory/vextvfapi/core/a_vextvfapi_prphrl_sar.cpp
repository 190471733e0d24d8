// SPDX-License-Identifier: Apache-2.0
// The front panel's keypad, the ADC channels, and the remote control's format.
#define FAPI_LOG_TAG "VexTvFApiPeripheral"
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "a_vextvfapi_info.h"
#include "a_vextvfapi_prphrl_internal.h"
#include "a_vextvfapi_sys.h"
#include "base/fapi_log.h"
#include "hw3/hw_sar.h"

namespace {

constexpr std::size_t kPathSize = 128;
constexpr HW_U32 kKeypadAdcChannel = 1;
constexpr int kAdcFailed = 255;

}  // namespace

// Opened once and kept. The key callback reads the second one on a thread of the middleware.
static std::atomic<HW_Handle_t> _hKeypad{HW_HANDLE_NONE};
static std::atomic<HW_Handle_t> _hAdc{HW_HANDLE_NONE};
static std::atomic<HW_Handle_t> _hOnDemandAdc{HW_HANDLE_NONE};
static std::atomic<bool> _bReadAdcInKeypad{false};

// Static, because the middleware may read it at its address until the keypad is opened again.
static HW_SAR_KeypadConfig_t _stKeypadConfig;

namespace {

// One value of a configuration file; empty unless the file has the key.
struct IniValue {
    unsigned char au8Text[1024] = {};

    int read(const unsigned char* pu8Path, const char* pszKey) {
        return a_vextvfapi_info_get_ini_para(pu8Path, reinterpret_cast<const unsigned char*>(pszKey), au8Text,
                                             sizeof(au8Text));
    }
    char* text() { return reinterpret_cast<char*>(au8Text); }
};

using PathBuffer = std::unique_ptr<unsigned char[]>;

}  // namespace

// Allocates a byte more than the path may have. Each operation has its own status for a failure.
static PathBuffer newPathBuffer() {
    return PathBuffer(new (std::nothrow) unsigned char[kPathSize + 1]());
}

namespace {

enum class KeyList { thresholds, codes };

}  // namespace

// --- Keypad configuration --------------------------------------------------------------------------------------------

// Parses a hexadecimal byte. Contract: false for zero.
static bool parseByte(const char* pszText, HW_U8& u8Value) {
    u8Value = static_cast<HW_U8>(std::strtol(pszText, nullptr, 16) & 0xFF);
    return u8Value != 0;
}

// Logs a setting that is no number. A macro, so that the line number tells the settings apart.
#define FAPI_LOG_NO_NUMBER(pszCaller) \
    FAPI_LOGE_AS(pszCaller, "[%s(%d)]covert str to long failed\n\n", pszCaller, __LINE__)

static void logNoNumber(KeyList eList, const char* pszCaller) {
    if (eList == KeyList::thresholds) {
        FAPI_LOG_NO_NUMBER(pszCaller);
    } else {
        FAPI_LOG_NO_NUMBER(pszCaller);
    }
}

// Contract: the two levels differ.
static void logOutOfIndex(KeyList eList, const char* pszCaller) {
    if (eList == KeyList::thresholds) {
        FAPI_LOGE_AS(pszCaller, "Out of index\n\n");
    } else {
        FAPI_LOGD_AS(pszCaller, "Out of index\n\n");
    }
}

static void logEntry(KeyList eList, HW_U8 u8Value, const char* pszCaller) {
    if (eList == KeyList::thresholds) {
        FAPI_LOGD_AS(pszCaller, "stKeypadConfig.au8KeyThreshold[u32Index] = 0x%x\n\n", u8Value);
    } else {
        FAPI_LOGD_AS(pszCaller, "stKeypadConfig.au8KeyCode[u32Index] = 0x%x\n\n", u8Value);
    }
}

// Parses a list such as "{0x10,0x2A,0x50}". An empty list is accepted.
static bool parseList(char* pszText, KeyList eList, HW_U8 (&au8Entries)[HW_SAR_KEY_LEVELS],
                      const char* pszCaller = __builtin_FUNCTION()) {
    char* pszRest = nullptr;
    unsigned int u32Index = 0;
    for (char* pszToken = strtok_r(pszText, "{,}", &pszRest); pszToken != nullptr;
         pszToken = strtok_r(nullptr, "{,}", &pszRest)) {
        if (u32Index == HW_SAR_KEY_LEVELS) {
            logOutOfIndex(eList, pszCaller);
            return false;
        }
        if (!parseByte(pszToken, au8Entries[u32Index])) {
            logNoNumber(eList, pszCaller);
            return false;
        }
        logEntry(eList, au8Entries[u32Index], pszCaller);
        ++u32Index;
    }
    return true;
}

// Reads the name of the board's configuration file from the data index.
static bool readBoardPath(IniValue& stBoardPath, const char* pszCaller = __builtin_FUNCTION()) {
    const PathBuffer dataIndex = newPathBuffer();
    if (dataIndex == nullptr) {
        FAPI_LOGE_AS(pszCaller, "Out of Menory\n\n");
        return false;
    }
    if (a_vextvfapi_sys_get_dataindex_path(dataIndex.get(), kPathSize) != 0) {
        FAPI_LOGE_AS(pszCaller, "Get dataindex path fail\n\n");
        return false;
    }
    stBoardPath.read(dataIndex.get(), "board:m_pBoardName");
    return true;
}

// Reads and parses the keypad's settings. A value that could not be read is an empty text.
static bool readKeypadConfig(const unsigned char* pu8BoardPath, const char* pszCaller = __builtin_FUNCTION()) {
    IniValue stLow, stUp, stLevels, stThresholds, stCodes;
    stLow.read(pu8BoardPath, "BOARD_KEYPAD:BOARD_KEYPAD_CH_0_LOW_BOND");
    stUp.read(pu8BoardPath, "BOARD_KEYPAD:BOARD_KEYPAD_CH_0_UP_BOND");
    stLevels.read(pu8BoardPath, "BOARD_KEYPAD:BOARD_KEYPAD_CH_0_KEY_LEVEL_NUM");
    stThresholds.read(pu8BoardPath, "BOARD_KEYPAD:BOARD_KEYPAD_CH_0_KEY_THRESHOLD");
    stCodes.read(pu8BoardPath, "BOARD_KEYPAD:BOARD_KEYPAD_CH_0_KEY_CODE");

    _stKeypadConfig = {};
    if (!parseByte(stLow.text(), _stKeypadConfig.u8FirstBound)) {
        FAPI_LOG_NO_NUMBER(pszCaller);
        return false;
    }
    if (!parseByte(stUp.text(), _stKeypadConfig.u8SecondBound)) {
        FAPI_LOG_NO_NUMBER(pszCaller);
        return false;
    }
    if (!parseByte(stLevels.text(), _stKeypadConfig.u8KeyLevelNum)) {
        FAPI_LOG_NO_NUMBER(pszCaller);
        return false;
    }
    // Contract: the labels are swapped.
    FAPI_LOGD_AS(pszCaller, "u8LoBnd=0x%x\n\n", _stKeypadConfig.u8SecondBound);
    FAPI_LOGD_AS(pszCaller, "u8UpBnd=0x%x\n\n", _stKeypadConfig.u8FirstBound);
    FAPI_LOGD_AS(pszCaller, "u8KeyLevelNum=0x%x\n\n", _stKeypadConfig.u8KeyLevelNum);
    return parseList(stThresholds.text(), KeyList::thresholds, _stKeypadConfig.au8KeyThreshold, pszCaller) &&
           parseList(stCodes.text(), KeyList::codes, _stKeypadConfig.au8KeyCode, pszCaller);
}

// --- Keypad ----------------------------------------------------------------------------------------------------------

int a_vextvfapi_prphrl_keypad_init() {
    IniValue stBoardPath;
    if (!readBoardPath(stBoardPath) || !readKeypadConfig(stBoardPath.au8Text)) {
        return 0;
    }
    const HW_SAR_OpenParams_t stParams = {E_HW_SAR_MODE_KEYPAD, 0, 1, &_stKeypadConfig};
    HW_Handle_t hOpened = HW_HANDLE_NONE;
    if (HW_SAR_Open(&stParams, &hOpened) != HW_OK) {
        FAPI_LOGE("[get_keypad_code] Open handle fail\n\n");
        return 0;
    }
    _hKeypad.store(hOpened);
    return 1;
}

int a_vextvfapi_prphrl_start_keypad() {
    // Contract: checks the ADC's handle, not the keypad's: with the ADC in use the keypad stays as it was opened.
    if (_hAdc.load() == HW_HANDLE_NONE && a_vextvfapi_prphrl_keypad_init() != 1) {
        FAPI_LOGE("[get_keypad_code] a_vextvfapi_prphrl_keypad_init fail\n\n");
        return 0;
    }
    const HW_SAR_CallbackParams_t stParams = {_a_vextvfapi_prphrl_sar_key_callback, E_HW_SAR_EVENT_KEYPAD_PRESS, 0};
    HW_U32 u32Out = 0;
    const HW_Result_t result = HW_SAR_RegisterCallback(_hKeypad.load(), &stParams, &u32Out);
    if (result != HW_OK) {
        // Contract: the text names the UART's function.
        FAPI_LOGE("[get_keypad_code] Error 0x%x: failed to HW_UART_RegisterCallback(E_HW_SAR_EVENT_KEYPAD_PRESS)\n\n",
                  result);
        return 0;
    }
    if (HW_SAR_SetVoltageLevel(_hKeypad.load(), 1) != HW_OK) {
        FAPI_LOGE("[get_keypad_code] HW_SAR_SetVoltageLevel fail\n\n");
        return 0;
    }
    return 1;
}

int a_vextvfapi_prphrl_stop_keypad() {
    const HW_SAR_CallbackParams_t stParams = {nullptr, E_HW_SAR_EVENT_KEYPAD_PRESS, 0};
    const HW_Result_t result = HW_SAR_UnRegisterCallback(_hKeypad.load(), &stParams);
    if (result != HW_OK) {
        FAPI_LOGE(
            "[get_keypad_code] Error 0x%x: failed to HW_UART_UnRegisterCallback(E_HW_SAR_EVENT_KEYPAD_RELEASE)\n\n",
            result);
        return 0;
    }
    return 1;
}

unsigned int _a_vextvfapi_prphrl_sar_key_callback(unsigned int, unsigned int event, unsigned char* params) {
    if (event != E_HW_SAR_EVENT_KEYPAD_PRESS) {
        FAPI_LOGE("[get_keypad_code] SAR keypad Callback Event = %x Not Matched\n\n", event);
        return HW_ERR_FAILED;
    }
    if (params == nullptr) {
        return HW_OK;
    }
    const unsigned char u8Code = *params;
    FAPI_LOGI("[get_keypad_code] Keycode = 0x%02x \n\n", u8Code);
    fapi::prphrl::raiseEvent(fapi_core::E_VEXTVFAPI_EVENT_KEY, u8Code);

    const HW_Handle_t hConverter = _hAdc.load();
    if (_bReadAdcInKeypad.load() && hConverter != HW_HANDLE_NONE) {
        HW_U32 u32Value = kAdcFailed;
        if (HW_SAR_AdcGetValue(hConverter, &u32Value) != HW_OK) {
            // Contract: printed whatever the debug switch says.
            std::puts("[SAR_Demo] HW_SAR_AdcGetValue fail");
        }
        FAPI_LOGI("[SAR ADC] get adc value = %x\n\n", u32Value);
        fapi::prphrl::raiseEvent(fapi_core::E_VEXTVFAPI_EVENT_ADC, static_cast<int>(u32Value));
    }
    return HW_OK;
}

// --- ADC -------------------------------------------------------------------------------------------------------------

static bool obtainAdc(const char* pszCaller = __builtin_FUNCTION()) {
    if (_hAdc.load() != HW_HANDLE_NONE) {
        return true;
    }
    const HW_SAR_OpenParams_t stParams = {E_HW_SAR_MODE_ADC, kKeypadAdcChannel, 0, nullptr};
    HW_Handle_t hFound = HW_HANDLE_NONE;
    if (HW_SAR_Open(&stParams, &hFound) != HW_OK) {
        FAPI_LOGE_AS(pszCaller, "[SAR ADC] Open handle fail\n\n");
        const HW_SAR_HandleParams_t stQuery = {kKeypadAdcChannel};
        if (HW_SAR_GetHandle(&stQuery, &hFound) != HW_OK) {
            FAPI_LOGE_AS(pszCaller, "[SAR ADC] Get handle fail\n\n");
            return false;
        }
    }
    _hAdc.store(hFound);
    return true;
}

int a_vextvfapi_prphrl_start_adc(unsigned char readAdcInKeypad) {
    if (!obtainAdc()) {
        return -1;
    }
    if (HW_SAR_ConfigMode(_hAdc.load(), E_HW_SAR_MODE_ADC) != HW_OK) {
        FAPI_LOGE("[SAR ADC] HW_SAR_Config fail\n\n");
        return -1;
    }
    if (HW_SAR_SetVoltageLevel(_hAdc.load(), 1) != HW_OK) {
        FAPI_LOGE("[SAR ADC] HW_SAR_SetVoltageLevel fail\n\n");
        return -1;
    }
    _bReadAdcInKeypad.store(readAdcInKeypad == 1);
    if (readAdcInKeypad == 1) {
        FAPI_LOGD("[SAR ADC] Read ADC value when using keypad: enable\n\n");
    } else {
        FAPI_LOGD("[SAR ADC] Read ADC value when using keypad: disable\n\n");
    }
    return 0;
}

// Opens or finds the converter once. Contract: the channel of the first call that succeeds is read by all later ones.
static bool obtainOnDemandAdc(unsigned int channel, const char* pszCaller = __builtin_FUNCTION()) {
    if (_hOnDemandAdc.load() != HW_HANDLE_NONE) {
        return true;
    }
    const HW_SAR_OpenParams_t stParams = {E_HW_SAR_MODE_ADC, channel, 0, nullptr};
    const HW_SAR_HandleParams_t stQuery = {channel};
    HW_Handle_t hFound = HW_HANDLE_NONE;
    if (HW_SAR_Open(&stParams, &hFound) != HW_OK && HW_SAR_GetHandle(&stQuery, &hFound) != HW_OK) {
        FAPI_LOGE_AS(pszCaller, "[SAR_INI] Open handle fail\n\n");
        return false;
    }
    _hOnDemandAdc.store(hFound);
    return true;
}

int a_vextvfapi_prphrl_get_sar_adc(unsigned int channel, unsigned int voltageLevel) {
    if (!obtainOnDemandAdc(channel)) {
        return 0;
    }
    const HW_Handle_t hConverter = _hOnDemandAdc.load();
    if (HW_SAR_ConfigMode(hConverter, E_HW_SAR_MODE_ADC) != HW_OK) {
        FAPI_LOGE("[SAR] HW_SAR_Config fail\n\n");
        return 0;
    }
    if (HW_SAR_SetVoltageLevel(hConverter, voltageLevel) != HW_OK) {
        FAPI_LOGE("[SAR] HW_SAR_SetVoltageLevel fail\n\n");
        return 0;
    }
    HW_U32 u32Value = 0;
    if (HW_SAR_AdcGetValue(hConverter, &u32Value) != HW_OK) {
        FAPI_LOGE("[SAR] HW_SAR_AdcGetValue fail\n\n");
        return 0;
    }
    return static_cast<int>(u32Value);
}

// --- Remote control --------------------------------------------------------------------------------------------------

// Parses a hexadecimal number. Negative for a text that is no number of type int.
static long parseFormat(const char* pszText) {
    char* pszEnd = nullptr;
    errno = 0;
    const long value = std::strtol(pszText, &pszEnd, 16);
    const bool bNumber = pszEnd != pszText && errno != ERANGE && value <= INT_MAX;
    return bNumber ? value : -1;
}

int a_vextvfapi_prphrl_get_rc_format(const unsigned char* key, unsigned char* format) {
    const PathBuffer dataIndex = newPathBuffer();
    if (dataIndex == nullptr) {
        FAPI_LOGE("Out of Menory\n\n");
        return -4;
    }
    if (a_vextvfapi_sys_get_dataindex_path(dataIndex.get(), kPathSize) != 0) {
        return -1;
    }
    IniValue stIrPath, stFormat;
    stIrPath.read(dataIndex.get(), "ir:m_pIrConfig_File");
    const int s32Status = stFormat.read(stIrPath.au8Text, reinterpret_cast<const char*>(key));
    if (s32Status != 0) {
        FAPI_LOGE("[get_rc_format] Read ini failed.\n\n");
        return s32Status;
    }
    const long value = parseFormat(stFormat.text());
    if (format == nullptr || value < 0) {
        // Contract: reported only by the log and the untouched output.
        FAPI_LOGE("[get_rc_format] Invlid value in the ini.\n\n");
        return 0;
    }
    *format = static_cast<unsigned char>(value & 0xFF);
    return 0;
}
