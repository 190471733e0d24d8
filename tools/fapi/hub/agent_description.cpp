// SPDX-License-Identifier: Apache-2.0
// What an agent describes, as a text:
//
//     SUM                 CRC-32 of all that follows, in hexadecimal digits, and which layout it is
//     {...}               the description, with null in place of the operations
//     NAME {...}          an operation; a line each
#include "hub/agent_description.h"

#include <cstdio>

#include <zlib.h>

namespace tool {

namespace {

constexpr const char* kOperations = "operations";
constexpr std::size_t kSumLine = sizeof("01234567 lines-1");

std::string sumLineOf(std::string_view body) {
    // Of zlib: the sum of the whole text is the larger part of what reading one operation takes.
    const uLong sum = ::crc32(0, reinterpret_cast<const Bytef*>(body.data()), static_cast<uInt>(body.size()));
    char line[kSumLine + 1];
    std::snprintf(line, sizeof(line), "%08lx lines-1\n", sum & 0xFFFFFFFFul);
    return line;
}

// Takes the next line off the text.
std::string_view takeLine(std::string_view& text) {
    const std::size_t end = text.find('\n');
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return line;
}

std::string_view nameIn(std::string_view line) {
    return line.substr(0, line.find(' '));
}

Field fieldIn(std::string_view line) {
    return parseJsonText(line.substr(line.find(' ') + 1));
}

}  // namespace

AgentDescription::AgentDescription(const Field& described) {
    Field rest = described;
    const Field operations = rest.take(kOperations);
    std::string body = toJsonText(rest) + "\n";
    if (!operations.isNull()) {
        for (const Field& operation : operations.list()) {
            const std::string& name = operation.at("name").text();
            if (name.find_first_of(" \n") != std::string::npos) {
                throw MessageError("an operation's name is no word");
            }
            body.append(name).append(" ").append(toJsonText(operation)).append("\n");
        }
    }
    _text = sumLineOf(body) + body;
}

std::optional<AgentDescription> AgentDescription::read(std::string text) {
    const std::string_view all = text;
    if (all.size() < kSumLine || all.substr(0, kSumLine) != sumLineOf(all.substr(kSumLine))) {
        return std::nullopt;
    }
    return AgentDescription(std::move(text));
}

std::string_view AgentDescription::body() const {
    return std::string_view(_text).substr(kSumLine);
}

Field AgentDescription::field() const {
    std::string_view lines = body();
    Field described = parseJsonText(takeLine(lines));
    Field::List operations;
    while (!lines.empty()) {
        operations.push_back(fieldIn(takeLine(lines)));
    }
    // In its old place, for the agent's hash is of the fields in their order.
    described.set(kOperations, std::move(operations));
    return described;
}

// The line of an operation; empty when there is none.
std::string_view AgentDescription::lineOf(std::string_view operation) const {
    std::string_view lines = body();
    takeLine(lines);
    while (!lines.empty()) {
        const std::string_view line = takeLine(lines);
        if (nameIn(line) == operation || shortNameOf(nameIn(line)) == operation) {
            return line;
        }
    }
    return {};
}

const Operation* AgentDescription::operation(std::string_view name) {
    if (const auto asked = _askedFor.find(name); asked != _askedFor.end()) {
        return asked->second;
    }
    const std::string_view line = lineOf(name);
    if (line.empty()) {
        return nullptr;
    }
    auto known = _read.find(nameIn(line));
    if (known == _read.end()) {
        known = _read.emplace(nameIn(line), parseOperation(fieldIn(line))).first;
    }
    return _askedFor.emplace(name, &known->second).first->second;
}

std::vector<std::string_view> AgentDescription::operationNames() const {
    std::vector<std::string_view> names;
    std::string_view lines = body();
    takeLine(lines);
    while (!lines.empty()) {
        names.push_back(nameIn(takeLine(lines)));
    }
    return names;
}

const Description& AgentDescription::all() {
    if (!_all) {
        _all = parseDescription(field());
    }
    return *_all;
}

}  // namespace tool
