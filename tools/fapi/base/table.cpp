// SPDX-License-Identifier: Apache-2.0
// Tables and lists of words in columns.
#include "base/table.h"

#include <algorithm>
#include <limits>
#include <numeric>

#include "base/data_output.h"
#include "base/terminal.h"
#include "protocol/characters.h"

namespace tool {

namespace {

constexpr std::size_t kGap = 2;
// Before a column is cut to less than this, others are left out.
constexpr std::size_t kLegible = 16;
// Every other row is padded to what one has.
constexpr std::size_t kLongest = 500;
// What stands for a column that is left out.
constexpr std::size_t kLeftOut = std::numeric_limits<std::size_t>::max();

std::size_t widthOf(const std::vector<std::size_t>& widths) {
    std::size_t sum = 0;
    for (const std::size_t width : widths) {
        sum += width != kLeftOut ? width + kGap : 0;
    }
    return sum - std::min(sum, kGap);
}

std::string padded(const std::string& text, std::size_t columns, Align align) {
    const std::string blanks(columns - std::min(columns, columnsOf(text)), ' ');
    return align == Align::right ? blanks + text : text + blanks;
}

}  // namespace

Table::Table(std::vector<Column> columns, std::size_t cut) : _columns(std::move(columns)), _cut(cut) {}

void Table::add(std::vector<Cell> row) {
    for (Cell& cell : row) {
        cell.text = printable(beginningOf(cell.text, kLongest));
    }
    _rows.push_back(std::move(row));
}

std::vector<std::size_t> Table::widths(std::size_t columns) const {
    std::vector<std::size_t> widths;
    for (std::size_t i = 0; i < _columns.size(); ++i) {
        widths.push_back(columnsOf(_columns[i].title));
        for (const std::vector<Cell>& row : _rows) {
            widths[i] = std::max(widths[i], columnsOf(row[i].text));
        }
    }
    for (std::size_t width; (width = widthOf(widths)) > columns;) {
        const std::size_t excess = width - columns;
        std::size_t leaving = 0;
        for (std::size_t i = 0; i < widths.size(); ++i) {
            const bool isBefore = _columns[i].leaves > _columns[leaving].leaves || widths[leaving] == kLeftOut;
            leaving = widths[i] != kLeftOut && isBefore ? i : leaving;
        }
        const bool canLeave = widths[leaving] != kLeftOut && _columns[leaving].leaves != 0;
        if (widths[_cut] < excess + kLegible && canLeave) {
            widths[leaving] = kLeftOut;
            continue;
        }
        widths[_cut] -= std::min(excess, widths[_cut]);
        break;
    }
    return widths;
}

std::string Table::line(const std::vector<Cell>& row, const std::vector<std::size_t>& widths) const {
    std::string text;
    for (std::size_t i = 0; i < row.size(); ++i) {
        if (widths[i] == kLeftOut) {
            continue;
        }
        const std::string shown = padded(cutToColumns(row[i].text, widths[i]), widths[i], _columns[i].align);
        text += std::string(text.empty() ? 0 : kGap, ' ');
        text += row[i].color.empty() ? shown : row[i].color + shown + kColorsOff;
    }
    return text.erase(text.find_last_not_of(' ') + 1) + '\n';
}

std::string Table::text(std::size_t columns) const {
    const std::vector<std::size_t> fitted = widths(columns);
    std::vector<Cell> titles;
    for (const Column& column : _columns) {
        titles.push_back({column.title});
    }
    std::string text = line(titles, fitted);
    for (const std::vector<Cell>& row : _rows) {
        text += line(row, fitted);
    }
    return text;
}

void Table::print() const {
    std::string lines = text(isTerminal() ? terminalColumns() : kLeftOut);
    lines.pop_back();
    printLine(std::move(lines));
}

std::string inColumns(const std::vector<std::string>& words, std::size_t columns) {
    std::vector<std::size_t> widths;
    std::size_t lines = 0;
    do {
        ++lines;
        widths.assign((words.size() + lines - 1) / lines, 0);
        for (std::size_t i = 0; i < words.size(); ++i) {
            widths[i / lines] = std::max(widths[i / lines], columnsOf(words[i]));
        }
    } while (widthOf(widths) > columns && lines < words.size());
    std::string text;
    for (std::size_t line = 0; line < std::min(lines, words.size()); ++line) {
        for (std::size_t i = line; i < words.size(); i += lines) {
            const bool isLast = i + lines >= words.size();
            text += isLast ? words[i] : padded(words[i], widths[i / lines] + kGap, Align::left);
        }
        text += '\n';
    }
    return text;
}

}  // namespace tool
