// SPDX-License-Identifier: Apache-2.0
// An INI text that is edited in place.
#include "ini_text.h"

namespace vset {

namespace {

constexpr std::string_view kBlanks = " \t\r\v\f";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::string_view trimmed(std::string_view text) {
    const std::size_t start = text.find_first_not_of(kBlanks);
    if (start == std::string_view::npos) {
        return {};
    }
    return text.substr(start, text.find_last_not_of(kBlanks) - start + 1);
}

bool isQuoted(std::string_view text) {
    return text.size() >= 2 && text.front() == '"' && text.back() == '"';
}

std::string_view unquoted(std::string_view text) {
    return isQuoted(text) ? text.substr(1, text.size() - 2) : text;
}

// Returns the name in the brackets of a section's header.
std::optional<std::string_view> sectionOf(std::string_view line) {
    const std::size_t end = line.find(']');
    if (line.empty() || line.front() != '[' || end == std::string_view::npos) {
        return std::nullopt;
    }
    return trimmed(line.substr(1, end - 1));
}

// Returns the text before the '=' of a "key = value" line.
std::optional<std::string_view> keyOf(std::string_view line) {
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos || line.front() == '#' || line.front() == ';') {
        return std::nullopt;
    }
    return trimmed(line.substr(0, equals));
}

bool isOneLine(std::string_view text) {
    return text.find_first_of(std::string_view("\n\r\0", 3)) == std::string_view::npos;
}

bool isSectionName(std::string_view text) {
    return isOneLine(text) && trimmed(text) == text && text.find(']') == std::string_view::npos;
}

bool isKeyName(std::string_view text) {
    return isOneLine(text) && trimmed(text) == text && text.find('=') == std::string_view::npos &&
           text.find_first_of("[#;") != 0 && text.find(kByteOrderMark) != 0 && !text.empty();
}

// Returns a value as a line holds it.
std::string written(std::string_view value, bool bQuoted) {
    std::string strText(value);
    return bQuoted || unquoted(trimmed(value)) != value ? '"' + strText + '"' : strText;
}

// Replaces the value after the '='.
void replaceValue(std::string& strLine, std::string_view value) {
    const std::size_t start = strLine.find('=') + 1;
    const std::string_view old = trimmed(std::string_view(strLine).substr(start));
    const std::size_t place = old.empty() ? start : static_cast<std::size_t>(old.data() - strLine.data());
    const char* const pszLineEnd = strLine.back() == '\r' ? "\r" : "";
    strLine = strLine.substr(0, place) + (old.empty() ? " " : "") + written(value, isQuoted(old)) + pszLineEnd;
}

}  // namespace

IniText::IniText(std::string_view text)
    : _bByteOrderMark(text.substr(0, kByteOrderMark.size()) == kByteOrderMark),
      _bCarriageReturns(text.find("\r\n") != std::string_view::npos) {
    text.remove_prefix(_bByteOrderMark ? kByteOrderMark.size() : 0);
    for (std::size_t end = 0; (end = text.find('\n')) != std::string_view::npos; text.remove_prefix(end + 1)) {
        _lines.emplace_back(text.substr(0, end));
    }
    _lines.emplace_back(text);
}

IniText::Place IniText::find(std::string_view section, std::string_view key) const {
    Place place;
    bool bInside = section.empty();
    if (bInside) {
        place.behind = 0;
    }
    for (std::size_t i = 0; i < _lines.size(); ++i) {
        const std::string_view line = trimmed(_lines[i]);
        if (const auto header = sectionOf(line)) {
            bInside = *header == section;
            if (bInside) {
                place.behind = i + 1;
            }
        } else if (const auto name = bInside ? keyOf(line) : std::nullopt) {
            place.behind = i + 1;
            if (*name == key) {
                place.line = i;
            }
        }
    }
    return place;
}

std::optional<std::string_view> IniText::value(std::string_view section, std::string_view key) const {
    const Place place = find(section, key);
    if (!place.line) {
        return std::nullopt;
    }
    const std::string_view line = _lines[*place.line];
    return unquoted(trimmed(line.substr(line.find('=') + 1)));
}

bool IniText::set(std::string_view section, std::string_view key, std::string_view value) {
    if (!isSectionName(section) || !isKeyName(key) || !isOneLine(value)) {
        return false;
    }
    const Place place = find(section, key);
    if (place.line) {
        replaceValue(_lines[*place.line], value);
        return true;
    }
    const std::size_t behind = place.behind ? *place.behind : addSection(section);
    _lines.insert(_lines.begin() + static_cast<std::ptrdiff_t>(behind),
                  ended(std::string(key) + " = " + written(value, false)));
    return true;
}

std::size_t IniText::addSection(std::string_view section) {
    if (_lines.back().empty()) {
        _lines.pop_back();
    }
    if (!_lines.empty() && !trimmed(_lines.back()).empty()) {
        _lines.push_back(ended(""));
    }
    _lines.push_back(ended('[' + std::string(section) + ']'));
    _lines.emplace_back();
    return _lines.size() - 1;
}

std::string IniText::ended(const std::string& strLine) const {
    return _bCarriageReturns ? strLine + '\r' : strLine;
}

std::string IniText::text() const {
    std::string strText(_bByteOrderMark ? kByteOrderMark : std::string_view());
    for (const std::string& strLine : _lines) {
        strText += strLine;
        strText += '\n';
    }
    strText.pop_back();
    return strText;
}

}  // namespace vset
