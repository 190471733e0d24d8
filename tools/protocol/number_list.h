// SPDX-License-Identifier: Apache-2.0
// Lists of numbers in one word: "1,2,3", or rows of several numbers: "0/100/10,120/1000/10".
#ifndef FAPI_PROTOCOL_NUMBER_LIST_H
#define FAPI_PROTOCOL_NUMBER_LIST_H

#include <array>
#include <string>
#include <vector>

namespace tool {

// Cut at each `separator`; nothing for an empty text.
std::vector<std::string> cutAt(const std::string& text, char separator);

// What a list must be.
struct NumberListForm {
    const char* argument;
    const char* expected;  // for the message
    std::size_t fields;    // numbers of a row, at most 3
    std::size_t rowsMin;
    std::size_t rowsMax;
    long long max;  // of a number; the least is 0
};

using NumberList = std::vector<std::array<unsigned int, 3>>;

// Throws UsageError. An empty text is a list without rows.
NumberList parseNumberList(const NumberListForm& form, const std::string& text);

}  // namespace tool

#endif
