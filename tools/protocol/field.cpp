// SPDX-License-Identifier: Apache-2.0
// The tree of values that a message is made of.
#include "protocol/field.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace tool {

namespace {

const Field kNull;
constexpr std::size_t kUsualFields = 8;

// As MessageError names what was found; in the order of a field's alternatives.
constexpr const char* kNames[] = {"nothing", "a flag", "a whole number", "a fraction",
                                  "a text",  "bytes",  "a list",         "named fields"};

template <class Wanted, class Variant>
const Wanted& require(const Variant& value, const char* wanted) {
    if (const auto* found = std::get_if<Wanted>(&value)) {
        return *found;
    }
    throw MessageError(std::string("expected ") + wanted + ", found " + kNames[value.index()]);
}

template <class Fields>
auto findField(Fields& fields, std::string_view name) {
    return std::find_if(fields.begin(), fields.end(), [&](const auto& field) { return field.first == name; });
}

}  // namespace

Field::Field(const Field&) = default;
Field::Field(Field&&) noexcept = default;
Field& Field::operator=(const Field&) = default;
Field& Field::operator=(Field&&) noexcept = default;
Field::~Field() = default;

Field Field::ofSet(const Value& value) {
    Field field = std::visit([](const auto& known) { return Field(known); }, value);
    field._ofSet = field.isText();
    return field;
}

bool Field::flag() const {
    return require<bool>(_value, kNames[1]);
}

long long Field::number() const {
    return require<long long>(_value, kNames[2]);
}

double Field::fraction() const {
    return isNumber() ? static_cast<double>(number()) : require<double>(_value, kNames[3]);
}

const std::string& Field::text() const {
    return require<std::string>(_value, kNames[4]);
}

const Bytes& Field::bytes() const {
    return require<Bytes>(_value, kNames[5]);
}

const Field::List& Field::list() const {
    return require<List>(_value, kNames[6]);
}

const Field::Fields& Field::fields() const {
    return require<Fields>(_value, kNames[7]);
}

Value Field::value() const {
    if (isText()) {
        return text();
    }
    return isBytes() ? Value(bytes()) : Value(require<long long>(_value, "a whole number, a text or bytes"));
}

const Field& Field::operator[](std::string_view name) const {
    const auto* fields = std::get_if<Fields>(&_value);
    if (fields == nullptr) {
        return kNull;
    }
    const auto found = findField(*fields, name);
    return found != fields->end() ? found->second : kNull;
}

const Field& Field::at(std::string_view name) const {
    const Field& field = (*this)[name];
    if (&field == &kNull) {
        throw MessageError("\"" + std::string(name) + "\" is missing");
    }
    return field;
}

bool Field::has(std::string_view name) const {
    return &(*this)[name] != &kNull;
}

Field& Field::set(std::string name, Field field) {
    if (isNull()) {
        _value = Fields();
    }
    require<Fields>(_value, kNames[7]);
    auto& fields = std::get<Fields>(_value);
    const auto found = findField(fields, name);
    if (found != fields.end()) {
        found->second = std::move(field);
        return found->second;
    }
    if (fields.empty()) {
        // Few objects have more; each time that they have to be moved costs more than the room.
        fields.reserve(kUsualFields);
    }
    return fields.emplace_back(std::move(name), std::move(field)).second;
}

Field Field::take(std::string_view name) {
    auto* fields = std::get_if<Fields>(&_value);
    const auto found = fields != nullptr ? findField(*fields, name) : Fields::iterator();
    return fields != nullptr && found != fields->end() ? std::exchange(found->second, Field()) : Field();
}

Field& Field::add(Field field) {
    if (isNull()) {
        _value = List();
    }
    require<List>(_value, kNames[6]);
    return std::get<List>(_value).emplace_back(std::move(field));
}

bool Field::operator==(const Field& other) const {
    return _value == other._value;
}

}  // namespace tool
