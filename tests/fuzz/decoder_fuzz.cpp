// SPDX-License-Identifier: Apache-2.0
// Any bytes as numbers and records: decoded as shifts and sums would, from no byte more than they have.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "a_vextvfapi_common.h"
#include "a_vextvfapi_disp.h"
#include "base/fapi_byte_order.h"
#include "fuzz_set.h"
#include "hw3/hw_disp.h"
#include "hw3/hw_sys.h"
#include "vset/disp.h"

namespace {

using test::require;

constexpr std::size_t kRecordSize = 29;

// Bytes that nothing follows.
using Bytes = std::vector<signed char>;

std::uint64_t reference(const signed char* ps8Data, std::size_t size) {
    std::uint64_t u64Value = 0;
    for (std::size_t i = 0; i < size; ++i) {
        u64Value |= static_cast<std::uint64_t>(static_cast<unsigned char>(ps8Data[i])) << 8 * (size - 1 - i);
    }
    return u64Value;
}

void checkNumbers(const std::uint8_t* pu8Data, std::size_t size) {
    const auto at = [&](std::size_t width) { return Bytes(pu8Data, pu8Data + width); };
    if (size >= 8) {
        require(fapi::loadBigEndian<std::uint64_t>(at(8).data()) == reference(at(8).data(), 8));
    }
    if (size >= 4) {
        Bytes bytes = at(4);
        const auto u32Value = static_cast<std::uint32_t>(reference(bytes.data(), 4));
        require(static_cast<std::uint32_t>(_bytes_to_int(bytes.data())) == u32Value);
        const std::vector<unsigned char> unsignedBytes(bytes.rbegin(), bytes.rend());
        require(fapi::loadLittleEndian32(unsignedBytes.data()) == u32Value);
    }
    if (size >= 2) {
        require(_bytes_to_short(at(2).data()) == reference(at(2).data(), 2));
    }
    require(_bytes_to_bool(at(1).data()) == *pu8Data);
    require(_bytes_to_one_byte_enum(at(1).data()) == *pu8Data);
}

std::string sent(unsigned int u32Param) {
    const auto parameters = vset::disp::window(0).pictureParameters;
    const auto parameter = parameters.find(u32Param);
    return parameter == parameters.end() ? std::string() : parameter->second;
}

// Returns what the display receives for the record.
std::string expected(const signed char* ps8Record) {
    std::array<std::uint32_t, 8> words = {static_cast<std::uint32_t>(reference(ps8Record, 1))};
    for (std::size_t i = 1; i < words.size(); ++i) {
        words[i] = static_cast<std::uint32_t>(reference(ps8Record + 4 * i - 3, 4));
    }
    std::string strSent(sizeof(words), '\0');
    std::memcpy(strSent.data(), words.data(), sizeof(words));
    return strSent;
}

struct DisplaySet : test::FuzzSet {
    DisplaySet() {
        require(HW_SYS_Init(nullptr) == HW_OK);
        require(a_vextvfapi_disp_init() == 0);
    }
};

// The record may claim any length.
void checkRecord(int s32Type, int s32Length, const std::uint8_t* pu8Data, std::size_t size) {
    static const DisplaySet set;
    const bool bGamma = s32Type == E_HW_DISP_PICTURE_GAMMA_ENABLE, bStruct = s32Type == E_HW_DISP_PICTURE_STRUCT;
    const std::size_t needed = bStruct ? kRecordSize : bGamma ? 1 : 0;
    if (size < needed) {
        return;
    }
    // Types without a value: not even the first byte may be read.
    const auto record = std::make_unique<signed char[]>(needed);
    std::copy_n(pu8Data, needed, record.get());
    const std::string strBefore = needed == 0 ? std::string() : sent(static_cast<unsigned int>(s32Type));
    const bool bSent = s32Length != 0 && needed != 0;
    // A flag that is neither 0 nor 1 is handed on, and refused by the display.
    const bool bAccepted = bSent && (!bGamma || static_cast<unsigned char>(record[0]) <= 1);
    require(a_vextvfapi_disp_set_picture_param_struct(s32Type, s32Length, record.get()) == (bAccepted ? 0
                                                                                            : bSent   ? -2
                                                                                                      : -1));
    if (needed == 0) {
        return;
    }
    const std::string strNew = bStruct ? expected(record.get()) : std::string(1, static_cast<char>(record[0]));
    require(sent(static_cast<unsigned int>(s32Type)) == (bAccepted ? strNew : strBefore));
}

}  // namespace

// The first byte is the type of a record, the second its length, the rest are its bytes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pu8Data, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) {
        checkNumbers(pu8Data + i, size - i);
    }
    if (size >= 2) {
        checkRecord(static_cast<signed char>(pu8Data[0]), static_cast<signed char>(pu8Data[1]), pu8Data + 2, size - 2);
    }
    return 0;
}
