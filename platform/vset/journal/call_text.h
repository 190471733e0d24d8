// SPDX-License-Identifier: Apache-2.0
// Writes the arguments or the outputs of one call as text: `handle=0x2b1f4c3 attr=1025 value=1,2,3 name="panel"`.
#ifndef VSET_CALL_TEXT_H
#define VSET_CALL_TEXT_H

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "hw3/hw_types.h"

namespace vset {

// Numbers are decimal, handles and streams hexadecimal, texts quoted. Up to 16 bytes are written in brackets, of more
// their number and CRC-32. The whole text is cut at kSize characters, and then ends with "...".
class CallText {
public:
    // Writes into `pBuffer`, which has room for kBufferSize characters.
    static constexpr std::size_t kSize = 1000;
    static constexpr std::size_t kBufferSize = kSize + 3;
    explicit CallText(char* pBuffer) : _pBuffer(pBuffer) {}

    // Collects the names of the fields, and writes nothing.
    explicit CallText(std::vector<std::string>& names) : _pNames(&names) {}
    CallText(const CallText&) = delete;
    CallText& operator=(const CallText&) = delete;

    template <class Number>
    void number(const char* pszName, Number value) {
        static_assert(std::is_integral_v<Number> || std::is_enum_v<Number>);
        if (begin(pszName)) {
            appendNumber(value);
        }
    }

    // Writes the numbers, or null.
    template <class Number>
    void numbers(const char* pszName, const Number* pValues, std::size_t count) {
        if (pValues == nullptr) {
            return null(pszName);
        }
        if (begin(pszName)) {
            for (std::size_t i = 0; i < count; ++i) {
                if (i != 0) {
                    append(',');
                }
                appendNumber(pValues[i]);
            }
        }
    }
    template <class Number, std::size_t count>
    void numbers(const char* pszName, const Number (&values)[count]) {
        numbers(pszName, values, count);
    }

    void handle(const char* pszName, std::uint64_t u64Handle);
    void null(const char* pszName);
    // Writes only whether a pointer is null.
    void presence(const char* pszName, bool bSet);
    // Writes a text that ends at a NUL, or at `limit`.
    void text(const char* pszName, const void* pText, std::size_t limit = SIZE_MAX);
    void bytes(const char* pszName, const void* pBytes, std::size_t length);

    // Returns true while only names are collected: a field that depends on another one's value must be written then,
    // too.
    bool wantsAll() const { return _pNames != nullptr; }
    std::string_view view() const { return {_pBuffer, _length}; }

private:
    bool begin(const char* pszName);
    void append(std::string_view text);
    // Appends a character, or "..." once when the text is full.
    void append(char cText) {
        if (_length < kSize) {
            _pBuffer[_length++] = cText;
        } else if (_length == kSize) {
            for (int i = 0; i < 3; ++i) {
                _pBuffer[_length++] = '.';
            }
        }
    }
    template <class Number>
    void appendNumber(Number value) {
        // Most numbers are levels, flags and indexes.
        if (value >= Number{0} && value < static_cast<Number>(10)) {
            return append(static_cast<char>('0' + static_cast<int>(value)));
        }
        using Wide = std::conditional_t<std::is_signed_v<Number>, long long, unsigned long long>;
        char acDigits[24];
        const auto end = std::to_chars(acDigits, acDigits + sizeof(acDigits), static_cast<Wide>(value));
        append(std::string_view(acDigits, static_cast<std::size_t>(end.ptr - acDigits)));
    }

    std::vector<std::string>* const _pNames = nullptr;
    char* const _pBuffer = nullptr;
    std::size_t _length = 0;
};

}  // namespace vset

#endif
