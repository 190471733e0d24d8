// SPDX-License-Identifier: Apache-2.0
// An INI text that is edited in place: all that is not set stays as its author wrote it, byte for byte.
#ifndef VSET_INI_TEXT_H
#define VSET_INI_TEXT_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vset {

// Sections in brackets, "key = value" lines, comment lines that begin with '#' or ';'. Names are compared
// with regard to case. A section may occur several times; of a repeated key the last one counts. The section "" is
// the text before the first header.
class IniText {
public:
    explicit IniText(std::string_view text);

    // Returns the value without the blanks around it and without one pair of double quotes.
    std::optional<std::string_view> value(std::string_view section, std::string_view key) const;

    // Makes value() return exactly `value`. Returns false, and does nothing, when no line can hold these names or this
    // value.
    bool set(std::string_view section, std::string_view key, std::string_view value);

    std::string text() const;

private:
    struct Place {
        std::optional<std::size_t> line;    // of the key
        std::optional<std::size_t> behind;  // the section's last key, or its header
    };
    Place find(std::string_view section, std::string_view key) const;
    // Adds a section, and returns the place of its first key.
    std::size_t addSection(std::string_view section);
    // Returns the line with the line ending that this text uses.
    std::string ended(const std::string& strLine) const;

    const bool _bByteOrderMark;
    const bool _bCarriageReturns;
    std::vector<std::string> _lines;  // without '\n'; the text after the last '\n' is a line, too
};

}  // namespace vset

#endif
