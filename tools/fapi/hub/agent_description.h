// SPDX-License-Identifier: Apache-2.0
// What an agent describes, read only as far as it is asked for.
#ifndef FAPI_BENCH_HUB_AGENT_DESCRIPTION_H
#define FAPI_BENCH_HUB_AGENT_DESCRIPTION_H

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "protocol/description.h"

namespace tool {

// A command line needs one operation of hundreds, or their names: to read them all takes longer than all else that it
// does. So the description is a text with a line for each operation.
class AgentDescription {
public:
    // Of the agent's answer to "describe". Throws MessageError.
    explicit AgentDescription(const Field& described);
    // Of a text that text() has returned. Nothing when it is damaged, or another build's.
    static std::optional<AgentDescription> read(std::string text);

    // All of it, with a sum.
    const std::string& text() const { return _text; }
    // The agent's answer again.
    Field field() const;

    // By full or short name; null when there is none. Throws MessageError.
    const Operation* operation(std::string_view name);
    // Full names, in the agent's order.
    std::vector<std::string_view> operationNames() const;
    // Throws MessageError.
    const Description& all();

private:
    explicit AgentDescription(std::string text) : _text(std::move(text)) {}
    std::string_view body() const;
    std::string_view lineOf(std::string_view operation) const;

    std::string _text;
    std::map<std::string, Operation, std::less<>> _read;             // by full name
    std::map<std::string, const Operation*, std::less<>> _askedFor;  // by the name that was asked for
    std::optional<Description> _all;
};

}  // namespace tool

#endif
