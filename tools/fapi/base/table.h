// SPDX-License-Identifier: Apache-2.0
// Tables and lists of words in columns, made to fit the terminal that they are shown on.
#ifndef FAPI_BENCH_BASE_TABLE_H
#define FAPI_BENCH_BASE_TABLE_H

#include <string>
#include <vector>

namespace tool {

enum class Align { left, right };

struct Column {
    std::string title;
    Align align = Align::left;
    // Where there is no room for all, the column with the greatest number goes first; one with 0 stays.
    unsigned int leaves = 0;
};

struct Cell {
    std::string text;
    std::string color = {};  // the sequence that switches it on; empty: none
};

class Table {
public:
    // Where there is little room, the texts of the column `cut` are cut.
    Table(std::vector<Column> columns, std::size_t cut);

    // As many cells as there are columns; control characters in them are not printed.
    void add(std::vector<Cell> row);
    // A line for the titles and one for each row, none of them wider than `columns`.
    std::string text(std::size_t columns) const;
    // To dataOutput(): fitted to a terminal, and as wide as it is elsewhere.
    void print() const;

private:
    std::vector<std::size_t> widths(std::size_t columns) const;
    std::string line(const std::vector<Cell>& row, const std::vector<std::size_t>& widths) const;

    std::vector<Column> _columns;
    std::size_t _cut;
    std::vector<std::vector<Cell>> _rows;
};

// The words in as many columns as fit, sorted downwards, each line with its newline.
std::string inColumns(const std::vector<std::string>& words, std::size_t columns);

}  // namespace tool

#endif
