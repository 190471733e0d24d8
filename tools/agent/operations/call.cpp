// SPDX-License-Identifier: Apache-2.0
// What a row does with one call.
#include "operations/call.h"

#include <algorithm>

namespace tool {

void Call::out(const char* name, Value value) {
    _outcome.outputs.emplace_back(name, std::move(value));
}

Bytes Call::buffer(std::size_t size, unsigned char fill) {
    Bytes bytes;
    bytes.reserve(std::max<std::size_t>(size, 1));
    bytes.resize(size, fill);
    return bytes;
}

Bytes Call::exactBytes(std::size_t index) const {
    Bytes copy = buffer(bytes(index).size());
    std::copy(bytes(index).begin(), bytes(index).end(), copy.begin());
    return copy;
}

Bytes Call::writableText(std::size_t index) const {
    Bytes copy = buffer(text(index).size() + 1);
    std::copy(text(index).begin(), text(index).end(), copy.begin());
    return copy;
}

void Call::outText(const char* name, const Bytes& buffer) {
    out(name, std::string(buffer.begin(), std::find(buffer.begin(), buffer.end(), 0)));
}

void Call::outRows(const char* name, Rows rows, const char* separator) {
    std::string text;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const auto* line = std::get_if<std::string>(&rows[i].value);
        text += i == 0 ? "" : separator;
        text += line != nullptr ? *line : display(rows[i].value);
    }
    // The last line ends, too.
    out(name, !rows.empty() && *separator == '\n' ? text + separator : text);
    _outcome.lists[name] = std::move(rows);
}

void Call::outLines(const char* name, const std::string& lines) {
    Rows rows;
    for (std::size_t start = 0; start < lines.size();) {
        const std::size_t end = std::min(lines.find('\n', start), lines.size());
        rows.push_back({lines.substr(start, end - start)});
        start = end + 1;
    }
    outRows(name, std::move(rows));
}

Outcome Call::take() {
    return std::move(_outcome);
}

}  // namespace tool
