// SPDX-License-Identifier: Apache-2.0
#include "call_text.h"

#include <zlib.h>

#include <algorithm>
#include <cstring>

namespace vset {

namespace {

constexpr std::size_t kTextLimit = 96;
constexpr std::size_t kBytesInFull = 16;
constexpr char kHexDigits[] = "0123456789abcdef";

std::string_view hexadecimal(std::uint64_t u64Value, char (&acDigits)[20]) {
    acDigits[0] = '0';
    acDigits[1] = 'x';
    const auto end = std::to_chars(acDigits + 2, acDigits + sizeof(acDigits), u64Value, 16);
    return {acDigits, static_cast<std::size_t>(end.ptr - acDigits)};
}

}  // namespace

bool CallText::begin(const char* pszName) {
    if (_pNames != nullptr) {
        _pNames->emplace_back(pszName);
        return false;
    }
    if (_length != 0) {
        append(' ');
    }
    append(std::string_view(pszName));
    append('=');
    return true;
}

void CallText::append(std::string_view text) {
    if (text.size() <= kSize - std::min(_length, kSize)) {
        std::memcpy(_pBuffer + _length, text.data(), text.size());
        _length += text.size();
        return;
    }
    for (const char cText : text) {
        append(cText);
    }
}

void CallText::handle(const char* pszName, std::uint64_t u64Handle) {
    if (begin(pszName)) {
        char acDigits[20];
        append(hexadecimal(u64Handle, acDigits));
    }
}

void CallText::null(const char* pszName) {
    presence(pszName, false);
}

void CallText::presence(const char* pszName, bool bSet) {
    if (begin(pszName)) {
        append(bSet ? "set" : "null");
    }
}

void CallText::text(const char* pszName, const void* pText, std::size_t limit) {
    if (pText == nullptr) {
        return null(pszName);
    }
    if (!begin(pszName)) {
        return;
    }
    const char* const pszText = static_cast<const char*>(pText);
    const std::size_t length = strnlen(pszText, std::min(limit, kTextLimit + 1));
    append('"');
    for (const char cText : std::string_view(pszText, std::min(length, kTextLimit))) {
        if (cText == '"' || cText == '\\') {
            append('\\');
        }
        append(cText);
    }
    append(length > kTextLimit ? "\"..." : "\"");
}

void CallText::bytes(const char* pszName, const void* pBytes, std::size_t length) {
    if (pBytes == nullptr) {
        return null(pszName);
    }
    if (!begin(pszName)) {
        return;
    }
    const auto* const pu8Bytes = static_cast<const unsigned char*>(pBytes);
    append('[');
    if (length <= kBytesInFull) {
        for (std::size_t i = 0; i < length; ++i) {
            const char acByte[] = {' ', kHexDigits[pu8Bytes[i] >> 4], kHexDigits[pu8Bytes[i] & 15]};
            append(i == 0 ? std::string_view(acByte + 1, 2) : std::string_view(acByte, 3));
        }
    } else {
        char acDigits[20];
        appendNumber(length);
        append(" bytes, crc ");
        append(hexadecimal(crc32_z(0, pu8Bytes, length), acDigits));
    }
    append(']');
}

}  // namespace vset
