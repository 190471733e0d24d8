// SPDX-License-Identifier: Apache-2.0
// Lists of numbers in one word.
#include "protocol/number_list.h"

#include "protocol/value.h"

namespace tool {

std::vector<std::string> cutAt(const std::string& text, char separator) {
    std::vector<std::string> pieces;
    for (std::size_t start = 0, end = 0; !text.empty() && end != std::string::npos; start = end + 1) {
        end = text.find(separator, start);
        pieces.push_back(text.substr(start, end == std::string::npos ? end : end - start));
    }
    return pieces;
}

NumberList parseNumberList(const NumberListForm& form, const std::string& text) {
    const auto refuse = [&] {
        throw UsageError(std::string(form.argument) + " is " + display(text, 40) + ", expected " + form.expected);
    };
    NumberList rows;
    for (const std::string& piece : cutAt(text, ',')) {
        const std::vector<std::string> fields = cutAt(piece, '/');
        if (fields.size() != form.fields) {
            refuse();
        }
        NumberList::value_type row = {};
        for (std::size_t i = 0; i < form.fields; ++i) {
            long long number = 0;
            if (!parseNumber(fields[i], number) || number < 0 || number > form.max) {
                refuse();
            }
            row[i] = static_cast<unsigned int>(number);
        }
        rows.push_back(row);
    }
    if (rows.size() < form.rowsMin || rows.size() > form.rowsMax) {
        refuse();
    }
    return rows;
}

}  // namespace tool
