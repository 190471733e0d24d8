// SPDX-License-Identifier: Apache-2.0
// Descriptions as fields, and their lookups.
#include "protocol/description.h"

#include <algorithm>
#include <iterator>
#include <tuple>
#include <utility>

#include "protocol/sha256.h"

namespace tool {

namespace {

constexpr std::string_view kPrefix = "a_vextvfapi_";

// The words of an enumeration in the order of its values, and what a word stands for that a reader does not know.
template <class Enum, std::size_t N>
struct Names {
    const char* words[N];
    Enum unknown;
};
constexpr auto namesOf(Kind) {
    return Names<Kind, 9>{{"number", "flag", "choice", "text", "path", "function", "partition", "color", "bytes"},
                          Kind::text};
}
constexpr auto namesOf(Role) {
    return Names<Role, 4>{{"stable", "changing", "measured", "secret"}, Role::secret};
}
constexpr auto namesOf(Result) {
    return Names<Result, 7>{{"status", "oneIsGood", "zeroOr255", "value", "alwaysFails", "countOrNegative", "nothing"},
                            Result::value};
}
constexpr auto namesOf(Danger) {
    return Names<Danger, 4>{{"reads", "changes", "destroys", "mustFinish"}, Danger::destroys};
}

// A member of a row and its name in the description.
template <class Row, class Member>
constexpr auto named(const char* name, Member Row::*member) {
    return std::pair(name, member);
}

// Which members a row has; they are written in this order.
template <class Row>
struct Members;
template <>
struct Members<Choice> {
    static constexpr auto all = std::tuple(named("name", &Choice::name), named("value", &Choice::value));
};
template <>
struct Members<Argument> {
    static constexpr auto all =
        std::tuple(named("name", &Argument::name), named("kind", &Argument::kind), named("help", &Argument::help),
                   named("min", &Argument::min), named("max", &Argument::max), named("choices", &Argument::choices),
                   named("default", &Argument::byDefault), named("unit", &Argument::unit));
};
template <>
struct Members<Output> {
    static constexpr auto all =
        std::tuple(named("name", &Output::name), named("help", &Output::help), named("isBytes", &Output::isBytes),
                   named("unit", &Output::unit), named("role", &Output::role));
};
template <>
struct Members<Example> {
    static constexpr auto all = std::tuple(named("line", &Example::line), named("before", &Example::before),
                                           named("failure", &Example::failure));
};
template <>
struct Members<Operation> {
    static constexpr auto all = std::tuple(
        named("name", &Operation::name), named("module", &Operation::module), named("help", &Operation::help),
        named("result", &Operation::result), named("arguments", &Operation::arguments),
        named("outputs", &Operation::outputs), named("danger", &Operation::danger),
        named("destroys", &Operation::destroys), named("isChecked", &Operation::isChecked),
        named("needs", &Operation::needs), named("initialises", &Operation::initialises),
        named("resets", &Operation::resets), named("readsLogSwitch", &Operation::readsLogSwitch),
        named("use", &Operation::use), named("example", &Operation::example));
};
template <>
struct Members<Action> {
    static constexpr auto all =
        std::tuple(named("name", &Action::name), named("help", &Action::help), named("arguments", &Action::arguments),
                   named("outputs", &Action::outputs), named("danger", &Action::danger),
                   named("prompt", &Action::prompt), named("sessionOnly", &Action::sessionOnly),
                   named("endsWorker", &Action::endsWorker), named("isChecked", &Action::isChecked));
};
template <>
struct Members<EventField> {
    static constexpr auto all = std::tuple(named("name", &EventField::name), named("words", &EventField::words),
                                           named("meaning", &EventField::meaning));
};
template <>
struct Members<EventKind> {
    static constexpr auto all = std::tuple(named("module", &EventKind::module), named("number", &EventKind::number),
                                           named("help", &EventKind::help), named("fields", &EventKind::fields));
};
template <>
struct Members<Function> {
    static constexpr auto all = std::tuple(named("name", &Function::name), named("fields", &Function::fields),
                                           named("failures", &Function::failures));
};
template <>
struct Members<PictureKind> {
    static constexpr auto all = std::tuple(named("name", &PictureKind::name), named("number", &PictureKind::number),
                                           named("max", &PictureKind::max));
};
template <>
struct Members<DataKind> {
    static constexpr auto all = std::tuple(named("name", &DataKind::name), named("kind", &DataKind::kind),
                                           named("arguments", &DataKind::arguments));
};
template <>
struct Members<Description> {
    static constexpr auto all =
        std::tuple(named("operations", &Description::operations), named("actions", &Description::actions),
                   named("eventModules", &Description::eventModules), named("events", &Description::events),
                   named("functions", &Description::functions), named("codes", &Description::codes),
                   named("pictures", &Description::pictures), named("data", &Description::data),
                   named("hash", &Description::hash));
};

// Calls `visit` with the name and the pointer of each member.
template <class Row, class Visit>
void forEachMember(const Visit& visit) {
    std::apply([&](const auto&... members) { (visit(members.first, members.second), ...); }, Members<Row>::all);
}

// --- Writing ---------------------------------------------------------------------------------------------------------

template <class Row>
auto encode(const Row& row) -> decltype(Members<Row>::all, Field());

Field encode(const std::string& text) {
    return text;
}
Field encode(bool flag) {
    return flag;
}
Field encode(long long number) {
    return number;
}
Field encode(const std::optional<std::string>& text) {
    return text ? Field(*text) : Field();
}
template <class Enum>
auto encode(Enum value) -> decltype(namesOf(value), Field()) {
    return namesOf(value).words[static_cast<std::size_t>(value)];
}
template <class Row>
Field encode(const std::vector<Row>& rows) {
    Field::List list;
    list.reserve(rows.size());
    for (const Row& row : rows) {
        list.push_back(encode(row));
    }
    return list;
}

// What a row is read as when nothing is said of it is left out.
template <class Row>
auto encode(const Row& row) -> decltype(Members<Row>::all, Field()) {
    static const Row kDefault = {};
    Field::Fields fields;
    forEachMember<Row>([&](const char* name, auto member) {
        Field field = encode(row.*member);
        if (field != encode(kDefault.*member)) {
            fields.emplace_back(name, std::move(field));
        }
    });
    return fields;
}

// --- Reading ---------------------------------------------------------------------------------------------------------

template <class Row>
auto decode(const Field& field, Row& row) -> decltype(Members<Row>::all, void());

void decode(const Field& field, std::string& text) {
    text = field.text();
}
void decode(const Field& field, bool& flag) {
    flag = field.flag();
}
void decode(const Field& field, long long& number) {
    number = field.number();
}
void decode(const Field& field, std::optional<std::string>& text) {
    text = field.text();
}
template <class Enum>
auto decode(const Field& field, Enum& value) -> decltype(namesOf(value), void()) {
    constexpr auto kNames = namesOf(Enum());
    const std::string& word = field.text();
    const auto* found = std::find(std::begin(kNames.words), std::end(kNames.words), word);
    value = found != std::end(kNames.words) ? static_cast<Enum>(found - std::begin(kNames.words)) : kNames.unknown;
}
template <class Row>
void decode(const Field& field, std::vector<Row>& rows) {
    rows.clear();
    rows.reserve(field.list().size());
    for (const Field& entry : field.list()) {
        decode(entry, rows.emplace_back());
    }
}

template <class Row>
auto decode(const Field& field, Row& row) -> decltype(Members<Row>::all, void()) {
    const Field::Fields& known = field.fields();
    forEachMember<Row>([&](const char* name, auto member) {
        const auto found = std::find_if(known.begin(), known.end(), [&](const auto& one) { return one.first == name; });
        if (found == known.end() || found->second.isNull()) {
            return;
        }
        try {
            decode(found->second, row.*member);
        } catch (const MessageError& error) {
            throw MessageError(std::string(name) + ": " + error.what());
        }
    });
}

// --- Lookups ---------------------------------------------------------------------------------------------------------

template <class Row>
const Row* lookUp(const std::vector<Row>& rows, const NameIndex& index, std::string_view name) {
    const auto found = index.find(name);
    return found != index.end() ? &rows[found->second] : nullptr;
}

}  // namespace

std::string shortNameOf(std::string_view name) {
    // An underscore may be before it.
    const std::size_t at = name.find(kPrefix);
    return at <= 1 ? std::string(name.substr(0, at)).append(name.substr(at + kPrefix.size())) : std::string(name);
}

std::string Operation::shortName() const {
    return shortNameOf(name);
}

void Description::makeIndex() {
    operationIndex.clear();
    actionIndex.clear();
    for (std::size_t i = 0; i < operations.size(); ++i) {
        operationIndex.emplace(operations[i].name, i);
        operationIndex.emplace(operations[i].shortName(), i);
    }
    for (std::size_t i = 0; i < actions.size(); ++i) {
        actionIndex.emplace(actions[i].name, i);
    }
}

const Operation* Description::operation(std::string_view name) const {
    return lookUp(operations, operationIndex, name);
}

const Action* Description::action(std::string_view name) const {
    return lookUp(actions, actionIndex, name);
}

Field toField(const Description& description) {
    return encode(description);
}

Description parseDescription(const Field& field) {
    Description description;
    decode(field, description);
    description.makeIndex();
    return description;
}

Operation parseOperation(const Field& field) {
    Operation operation;
    decode(field, operation);
    return operation;
}

std::string hashOf(const Description& description) {
    Description bare = description;
    bare.hash.clear();
    const std::string text = toJsonText(toField(bare));
    Sha256 sum;
    sum.add(text.data(), text.size());
    return sum.sum();
}

}  // namespace tool
