// SPDX-License-Identifier: Apache-2.0
// Values of parameters, from the command line and from tables.
#include "run/parameter_rows.h"

#include <algorithm>
#include <fstream>
#include <iterator>

namespace tool {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

struct CsvRow {
    std::size_t line = 0;  // where it begins
    std::vector<std::string> fields;
};

// Reads rows of comma-separated values: fields in quotes keep commas and newlines, and have each quote twice.
class CsvReader {
public:
    CsvReader(std::string_view text, const std::string& file) : _text(text), _file(file) {
        if (_text.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
            _text.remove_prefix(kByteOrderMark.size());
        }
    }

    // False at the end. Throws UsageError.
    bool next(CsvRow& row) {
        do {
            if (_next >= _text.size()) {
                return false;
            }
            row.line = _line;
            row.fields.clear();
            do {
                row.fields.push_back(readField());
            } while (takeIf(','));
            takeIf('\r');
            if (!takeIf('\n') && _next < _text.size()) {
                throw UsageError(at(_line) + "expected a comma or the row's end behind a quote");
            }
            ++_line;
        } while (row.fields.size() == 1 && row.fields[0].empty());
        return true;
    }

    std::string at(std::size_t line) const { return _file + ":" + std::to_string(line) + ": "; }

private:
    bool takeIf(char wanted) {
        const bool isThere = _next < _text.size() && _text[_next] == wanted;
        _next += isThere ? 1 : 0;
        return isThere;
    }

    std::string readField() {
        if (takeIf('"')) {
            return readQuoted();
        }
        const std::size_t end = std::min(_text.find_first_of(",\n", _next), _text.size());
        std::string_view field = _text.substr(_next, end - _next);
        _next = end;
        if (!field.empty() && field.back() == '\r' && (end == _text.size() || _text[end] == '\n')) {
            field.remove_suffix(1);
        }
        if (field.find('"') != std::string_view::npos) {
            throw UsageError(at(_line) + display(std::string(field), 40) +
                             ": a field with a quote stands in quotes, and has each quote twice");
        }
        return std::string(field);
    }

    std::string readQuoted() {
        const std::size_t begun = _line;
        std::string field;
        for (;;) {
            const std::size_t quote = _text.find('"', _next);
            if (quote == std::string_view::npos) {
                throw UsageError(at(begun) + "the quote is not closed");
            }
            const std::string_view piece = _text.substr(_next, quote - _next);
            _line += static_cast<std::size_t>(std::count(piece.begin(), piece.end(), '\n'));
            field += piece;
            _next = quote + 1;
            if (!takeIf('"')) {
                return field;
            }
            field += '"';
        }
    }

    std::string_view _text;
    const std::string& _file;
    std::size_t _next = 0, _line = 1;
};

std::string countOf(std::size_t count, const char* what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

// Throws UsageError for a name that none of the plans has.
void requireParameterOf(const std::vector<Plan>& plans, const std::string& name) {
    std::vector<PlanParameter> all;
    for (const Plan& plan : plans) {
        all.insert(all.end(), plan.parameters.begin(), plan.parameters.end());
    }
    requireParameter(all, name);
}

// Throws UsageError when a plan cannot be run with the values.
void checkValues(const std::vector<Plan>& plans, const ParameterValues& values) {
    for (const Plan& plan : plans) {
        const ParameterValues complete = completeValues(plan.parameters, values);
        static_cast<void>(unitFor(plan, complete));
    }
}

void checkColumns(const std::vector<Plan>& plans, const CsvRow& head, const ParameterValues& given) {
    for (auto name = head.fields.begin(); name != head.fields.end(); ++name) {
        requireParameterOf(plans, *name);
        if (std::find(head.fields.begin(), name, *name) != name) {
            throw UsageError("there are two columns " + *name);
        }
        if (given.count(*name) != 0) {
            throw UsageError(*name + " is a column, and is given with --param, too");
        }
    }
    for (const Plan& plan : plans) {
        for (const PlanParameter& parameter : plan.parameters) {
            const bool isColumn = std::count(head.fields.begin(), head.fields.end(), parameter.name) != 0;
            if (!isColumn && !parameter.fallback && given.count(parameter.name) == 0) {
                throw UsageError("the column " + parameter.name + " is missing (" + parameter.what + ")");
            }
        }
    }
}

}  // namespace

ParameterValues parseParameterWords(const std::vector<Plan>& plans, const std::vector<std::string>& words) {
    ParameterValues values;
    for (const std::string& word : words) {
        const std::size_t equal = word.find('=');
        if (equal == std::string::npos || equal == 0) {
            throw UsageError("--param is " + display(word, 60) + ", expected NAME=VALUE");
        }
        const std::string name = word.substr(0, equal);
        requireParameterOf(plans, name);
        if (!values.emplace(name, word.substr(equal + 1)).second) {
            throw UsageError("--param gives " + name + " twice");
        }
    }
    return values;
}

std::vector<ParameterValues> readParameterRows(const std::vector<Plan>& plans, const std::string& file,
                                               const ParameterValues& given) {
    std::ifstream stream(file, std::ios::binary);
    const std::string text(std::istreambuf_iterator<char>(stream), {});
    if (!stream) {
        throw UsageError(file + ": cannot be read");
    }
    CsvReader reader(text, file);
    CsvRow head, row;
    if (!reader.next(head)) {
        throw UsageError(file + ": is empty, expected a first row with names of parameters");
    }
    std::vector<ParameterValues> rows;
    std::size_t line = head.line;
    try {
        checkColumns(plans, head, given);
    } catch (const UsageError& error) {
        throw UsageError(reader.at(line) + error.what());
    }
    while (reader.next(row)) {
        if (row.fields.size() != head.fields.size()) {
            throw UsageError(reader.at(row.line) + countOf(row.fields.size(), "field") + ", expected " +
                             std::to_string(head.fields.size()));
        }
        ParameterValues values = given;
        for (std::size_t i = 0; i < head.fields.size(); ++i) {
            values[head.fields[i]] = std::move(row.fields[i]);
        }
        try {
            checkValues(plans, values);
        } catch (const UsageError& error) {
            throw UsageError(reader.at(row.line) + error.what());
        }
        rows.push_back(std::move(values));
    }
    if (rows.empty()) {
        throw UsageError(file + ": has no row but the one with the names");
    }
    return rows;
}

}  // namespace tool
