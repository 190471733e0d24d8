// SPDX-License-Identifier: Apache-2.0
// Any bytes as the file of the keypad's and the remote control's settings: the readers make of the middleware's texts
// what plain code makes of them, and a value that was written is the one that is read.
#include <algorithm>
#include <array>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <unistd.h>

#include "a_vextvfapi_info.h"
#include "a_vextvfapi_prphrl.h"
#include "a_vextvfapi_sys.h"
#include "fuzz_set.h"
#include "hw3/hw_sys.h"
#include "vset/sar.h"

// The library writes all disks when it has written a value; the set's folder needs none of it.
extern "C" __attribute__((visibility("default"))) void sync() noexcept {}

namespace {

using test::require;
using test::u8;

constexpr char kFile[] = "/vendor/factory/config/board.ini";
constexpr char kFormatKey[] = "IR:IR_FORMAT";
// The size of the buffer that the settings are read into.
constexpr std::size_t kTextSize = 1024;
constexpr std::size_t kKeys = 8;

// A set whose board and remote control have the same file.
struct BoardSet : test::FuzzSet {
    BoardSet() {
        const std::string strPath = kFile;
        write("/vendor/factory/config/dataindex.ini",
              "[board]\nm_pBoardName = " + strPath + "\n[ir]\nm_pIrConfig_File = " + strPath + "\n");
        require(a_vextvfapi_sys_init() == 0 && a_vextvfapi_prphrl_init() == 0);
    }
    static void write(const std::string& strPath, std::string_view bytes) {
        const std::string strFile = vset::hostPath(strPath);
        const vset::HostPaths hostPaths;
        std::ofstream file(strFile, std::ios::binary);
        file << bytes;
        require(static_cast<bool>(file.flush()));
    }
    static std::string read() {
        const std::string strFile = vset::hostPath(kFile);
        const vset::HostPaths hostPaths;
        std::ifstream file(strFile, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
};

// --- What the middleware has -----------------------------------------------------------------------------------------

using Value = std::optional<std::string>;

enum Setting : std::size_t { kAnyKey, kFormat, kLow, kUp, kLevels, kThresholds, kCodes, kSettings };
using Values = std::array<Value, kSettings>;

// Values up to their first zero bytes.
Values settings(const std::string& strAnyKey) {
    const std::string strPrefix = "BOARD_KEYPAD:BOARD_KEYPAD_CH_0_";
    const std::array<std::string, kSettings> keys = {strAnyKey,
                                                     kFormatKey,
                                                     strPrefix + "LOW_BOND",
                                                     strPrefix + "UP_BOND",
                                                     strPrefix + "KEY_LEVEL_NUM",
                                                     strPrefix + "KEY_THRESHOLD",
                                                     strPrefix + "KEY_CODE"};
    Values values;
    HW_Handle_t hConfig = HW_HANDLE_NONE;
    require(HW_SYS_OpenConfigFile(u8(kFile), &hConfig) == HW_OK);
    for (std::size_t i = 0; i < kSettings; ++i) {
        HW_SYS_ConfigData_t stData = {E_HW_SYS_CONFIG_DATA_STRING, 0, nullptr};
        if (HW_SYS_GetConfigData(hConfig, u8(keys[i].c_str()), &stData) == HW_OK) {
            values[i] = reinterpret_cast<const char*>(stData.pu8Data);
        }
    }
    require(HW_SYS_CloseConfigFile(hConfig) == HW_OK);
    return values;
}

// --- A plain reference -----------------------------------------------------------------------------------------------

// Returns what is left of a value in the buffer of a reader.
std::string settingOf(const Value& value) {
    return value && value->size() < kTextSize ? *value : std::string();
}

struct Number {
    bool bDigits = false;
    bool bFits = true;  // in 64 bits; else it is the nearest that does
    std::int64_t s64Value = 0;
};

// " -0x1f rest"
Number hexadecimal(std::string_view text) {
    constexpr std::string_view kDigits = "0123456789abcdef0123456789ABCDEF";
    const auto isDigit = [&](std::size_t i) { return i < text.size() && kDigits.find(text[i]) != kDigits.npos; };
    std::size_t i = std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size());
    const bool bNegative = i < text.size() && text[i] == '-';
    i += i < text.size() && (text[i] == '-' || text[i] == '+') ? 1 : 0;
    if (i + 1 < text.size() && text[i] == '0' && (text[i + 1] == 'x' || text[i + 1] == 'X') && isDigit(i + 2)) {
        i += 2;
    }
    Number number;
    __int128 value = 0;
    for (; isDigit(i); ++i) {
        number.bDigits = true;
        value = std::min<__int128>(value * 16 + static_cast<int>(kDigits.find(text[i]) % 16), __int128{1} << 64);
    }
    value = bNegative ? -value : value;
    number.bFits = value >= INT64_MIN && value <= INT64_MAX;
    number.s64Value = number.bFits ? static_cast<std::int64_t>(value) : bNegative ? INT64_MIN : INT64_MAX;
    return number;
}

// Nothing for a byte that is zero, or not there.
std::optional<unsigned char> byteOf(std::string_view text) {
    const auto u8Byte = static_cast<unsigned char>(hexadecimal(text).s64Value & 0xFF);
    return u8Byte == 0 ? std::nullopt : std::make_optional(u8Byte);
}

// Always eight; those that are not listed are zero. Nothing when one is no byte, or follows the eighth.
std::optional<std::array<unsigned char, kKeys>> listOf(std::string_view text) {
    std::array<unsigned char, kKeys> bytes = {};
    std::size_t count = 0;
    while (!text.empty()) {
        const std::string_view entry = text.substr(0, text.find_first_of("{,}"));
        text.remove_prefix(std::min(entry.size() + 1, text.size()));
        if (entry.empty()) {
            continue;
        }
        const auto value = byteOf(entry);
        if (!value || count == bytes.size()) {
            return std::nullopt;
        }
        bytes[count++] = *value;
    }
    return bytes;
}

// --- The readers -----------------------------------------------------------------------------------------------------

void checkKeypad(const Values& values) {
    const auto low = byteOf(settingOf(values[kLow])), up = byteOf(settingOf(values[kUp]));
    const auto levels = byteOf(settingOf(values[kLevels]));
    const auto thresholds = listOf(settingOf(values[kThresholds])), codes = listOf(settingOf(values[kCodes]));
    const bool bGood = low && up && levels && *levels <= kKeys && thresholds && codes;
    require(a_vextvfapi_prphrl_keypad_init() == (bGood ? 1 : 0));
    if (!bGood) {
        return;
    }
    const vset::sar::Keypad stKeypad = vset::sar::keypad();
    require(stKeypad.u8FirstBound == *low && stKeypad.u8SecondBound == *up && stKeypad.keys.size() == *levels);
    for (std::size_t i = 0; i < stKeypad.keys.size(); ++i) {
        require(stKeypad.keys[i].u8Threshold == (*thresholds)[i] && stKeypad.keys[i].u8Code == (*codes)[i]);
    }
}

void checkFormat(const Value& value) {
    constexpr unsigned char kUntouched = 0xEE;
    unsigned char u8Format = kUntouched;
    const int s32Status = a_vextvfapi_prphrl_get_rc_format(u8(kFormatKey), &u8Format);
    const bool bFits = !value || value->size() < kTextSize;
    require(s32Status == (bFits ? 0 : -1));
    const Number number = hexadecimal(settingOf(value));
    const bool bNumber = number.bDigits && number.bFits && number.s64Value >= 0 && number.s64Value <= INT_MAX;
    require(u8Format == (bNumber ? number.s64Value & 0xFF : kUntouched));
}

// Reads into a buffer that nothing follows.
void checkValue(const std::string& strKey, const Value& value, std::size_t size) {
    const auto buffer = std::make_unique<unsigned char[]>(size);
    std::fill_n(buffer.get(), size, '#');
    const int s32Status =
        a_vextvfapi_info_get_ini_para(u8(kFile), u8(strKey.c_str()), buffer.get(), static_cast<unsigned int>(size));
    const std::string strRead(buffer.get(), buffer.get() + size);
    if (!value) {
        require(s32Status == 0 && strRead == std::string(size, '#'));
        return;
    }
    const bool bFits = value->size() < size;
    std::string strExpected = bFits ? *value : std::string();
    strExpected.resize(size, '\0');
    require(s32Status == (bFits ? 0 : -1) && strRead == strExpected);
}

// `values` are those of the file as it is, which has these bytes.
void checkWriting(const std::string& strKey, const std::string& strValue, const Values& values,
                  std::string_view bytes) {
    const int s32Status = a_vextvfapi_info_set_ini_para(u8(kFile), u8(strKey.c_str()), u8(strValue.c_str()));
    if (s32Status != 0) {
        require(s32Status == -1 && BoardSet::read() == bytes);
        return;
    }
    const Values now = settings(strKey);
    require(now[kAnyKey] == strValue);
    for (std::size_t i = kFormat; i < kSettings; ++i) {
        // Either another key's, or the one that was written by its own name.
        require(now[i] == values[i] || (values[i] == values[kAnyKey] && now[i] == strValue));
    }
}

// Up to the next line feed, which goes, too.
std::string_view takeLine(std::string_view& text) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    return line;
}

}  // namespace

// The first line is a key, as "section:key", the second a value to write there, the rest is the file. The buffer that
// the key is read into is as long as the second line.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pu8Data, std::size_t size) {
    static const BoardSet set;
    std::string_view text(reinterpret_cast<const char*>(pu8Data), size);
    // The texts as C reads them.
    const std::string strKey = std::string(takeLine(text)).c_str();
    const std::string_view secondLine = takeLine(text);
    const std::string strValue = std::string(secondLine).c_str();
    BoardSet::write(kFile, text);

    const Values values = settings(strKey);
    checkValue(strKey, values[kAnyKey], secondLine.size());
    checkKeypad(values);
    checkFormat(values[kFormat]);
    checkWriting(strKey, strValue, values, text);
    return 0;
}
