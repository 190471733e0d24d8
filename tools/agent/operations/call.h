// SPDX-License-Identifier: Apache-2.0
// One call of an operation, or one action: its checked arguments, and where its row puts what comes out.
#ifndef FAPI_AGENT_OPERATIONS_CALL_H
#define FAPI_AGENT_OPERATIONS_CALL_H

#include <string>
#include <utility>
#include <vector>

#include "protocol/outcome.h"

namespace tool {

class Call {
public:
    explicit Call(const std::vector<Value>& arguments) : _arguments(arguments) {}

    long long number(std::size_t index) const { return std::get<long long>(_arguments[index]); }
    template <class Number>
    Number number(std::size_t index) const {
        return static_cast<Number>(number(index));
    }
    const Bytes& bytes(std::size_t index) const { return std::get<Bytes>(_arguments[index]); }
    const std::string& text(std::size_t index) const { return std::get<std::string>(_arguments[index]); }
    // As most operations take texts.
    const unsigned char* utext(std::size_t index) const {
        return reinterpret_cast<const unsigned char*>(text(index).c_str());
    }

    void out(const char* name, Value value);
    // A buffer of exactly the size that is passed along, so that a sanitizer sees a byte too many. It has an address
    // even without a byte: null would be another argument.
    static Bytes buffer(std::size_t size, unsigned char fill = 0);
    // The bytes of an argument in such a buffer.
    Bytes exactBytes(std::size_t index) const;
    // The text with its terminator in such a buffer, for operations that do not take it as constant.
    Bytes writableText(std::size_t index) const;
    // The bytes of a buffer up to its first NUL, as text.
    void outText(const char* name, const Bytes& buffer);
    // A list: in its text there is a line for each row, or the separator between two.
    void outRows(const char* name, Rows rows, const char* separator = "\n");
    void outLines(const char* name, const std::string& lines);
    template <class Numbers>
    void outNumbers(const char* name, const Numbers& numbers) {
        Rows rows;
        for (const auto number : numbers) {
            rows.push_back({static_cast<long long>(number)});
        }
        outRows(name, std::move(rows), ",");
    }

    // What has come out so far.
    Outcome take();

private:
    const std::vector<Value>& _arguments;
    Outcome _outcome;
};

}  // namespace tool

#endif
