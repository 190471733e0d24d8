// SPDX-License-Identifier: Apache-2.0
// The tree of values that a message is made of, and its text as JSON.
#ifndef FAPI_PROTOCOL_FIELD_H
#define FAPI_PROTOCOL_FIELD_H

#include <cstddef>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "protocol/value.h"

namespace tool {

// A message that is not what it has to be: no JSON, another shape, a wrong type, a missing field.
class MessageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Null, a flag, a whole number of 64 bits, a fraction, a text, bytes, a list, or named fields in their order.
//
// As JSON, bytes are {"bytes": BASE64}. A text that comes from a set need not be UTF-8, so Field::ofSet() makes it
// {"bytes": BASE64, "text": true}; reading one gives such a text again. Two texts are equal however they are written.
class Field {
public:
    using List = std::vector<Field>;
    using Fields = std::vector<std::pair<std::string, Field>>;

    Field() = default;
    // In field.cpp: GCC, having inlined a move, takes members of the alternatives that are not there for uninitialized.
    Field(const Field&);
    Field(Field&&) noexcept;
    Field& operator=(const Field&);
    Field& operator=(Field&&) noexcept;
    ~Field();

    Field(std::nullptr_t) {}
    Field(bool flag) : _value(flag) {}
    Field(int number) : _value(static_cast<long long>(number)) {}
    Field(unsigned int number) : _value(static_cast<long long>(number)) {}
    Field(long number) : _value(static_cast<long long>(number)) {}
    Field(unsigned long number) : _value(static_cast<long long>(number)) {}
    Field(long long number) : _value(number) {}
    Field(unsigned long long number) : _value(static_cast<long long>(number)) {}
    Field(double fraction) : _value(fraction) {}
    Field(const char* text) : _value(std::string(text)) {}
    Field(std::string_view text) : _value(std::string(text)) {}
    Field(std::string text) : _value(std::move(text)) {}
    Field(Bytes bytes) : _value(std::move(bytes)) {}
    Field(List list) : _value(std::move(list)) {}
    Field(Fields fields) : _value(std::move(fields)) {}
    Field(std::initializer_list<std::pair<std::string, Field>> fields) : _value(Fields(fields)) {}

    // A value of an operation: a number as it is, bytes as bytes, a text as one of the set.
    static Field ofSet(const Value& value);

    bool isNull() const { return std::holds_alternative<std::monostate>(_value); }
    bool isList() const { return std::holds_alternative<List>(_value); }
    bool isObject() const { return std::holds_alternative<Fields>(_value); }
    bool isText() const { return std::holds_alternative<std::string>(_value); }
    bool isNumber() const { return std::holds_alternative<long long>(_value); }
    bool isFlag() const { return std::holds_alternative<bool>(_value); }
    bool isBytes() const { return std::holds_alternative<Bytes>(_value); }

    // Each throws MessageError when it is something else.
    bool flag() const;
    long long number() const;
    double fraction() const;  // of a whole number, too
    const std::string& text() const;
    const Bytes& bytes() const;
    const List& list() const;
    const Fields& fields() const;
    // A number, a text or bytes.
    Value value() const;

    // The field of that name; null when there is none, or when this is no object.
    const Field& operator[](std::string_view name) const;
    // The same; throws MessageError that names it when there is none.
    const Field& at(std::string_view name) const;
    bool has(std::string_view name) const;

    bool flagOr(bool otherwise) const { return isNull() ? otherwise : flag(); }
    long long numberOr(long long otherwise) const { return isNull() ? otherwise : number(); }
    std::string textOr(std::string_view otherwise) const { return isNull() ? std::string(otherwise) : text(); }

    // Adds or replaces a field; makes an object of null. Returns the field.
    Field& set(std::string name, Field field);
    // Takes the field of that name out, whose place holds null then. Null when there is none.
    Field take(std::string_view name);
    // Adds to a list; makes a list of null. Returns the field.
    Field& add(Field field);

    bool operator==(const Field& other) const;
    bool operator!=(const Field& other) const { return !(*this == other); }

private:
    // NaN and infinity are no JSON and become null.
    std::variant<std::monostate, bool, long long, double, std::string, Bytes, List, Fields> _value;
    bool _ofSet = false;

    friend class JsonReader;
    friend class JsonWriter;
};

// One line of JSON, without its newline; a text that is no UTF-8 has U+FFFD in place of what is not. With `asciiOnly`
// every other character is \u....
std::string toJsonText(const Field& field, bool asciiOnly = false);

// How deep lists and objects may be in each other.
constexpr std::size_t kDeepest = 64;

// Throws MessageError: for what is no JSON, deeper than kDeepest, a whole number that a long long does not hold. Of two
// fields with the same name the first counts.
Field parseJsonText(std::string_view text);
// The same for who passes the text on: what lists and objects in the outermost object hold is checked and left out.
// Bytes in them are not checked.
Field parseOutline(std::string_view text);

std::string toBase64(const Bytes& bytes);
// Throws MessageError for everything that toBase64() does not write.
Bytes fromBase64(std::string_view text);

}  // namespace tool

#endif
