// SPDX-License-Identifier: Apache-2.0
// What an agent says of itself: its operations, actions, events and the functions in which faults can be planted.
#ifndef FAPI_PROTOCOL_DESCRIPTION_H
#define FAPI_PROTOCOL_DESCRIPTION_H

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "protocol/field.h"

namespace tool {

enum class Kind {
    number,     // range [min, max]
    flag,       // 0, 1, on, off, true, false, yes, no
    choice,     // one of the named values or its number; any number of [min, max] too when max is not 0
    text,       // at most max characters when max is not 0
    path,       // as text; completion offers paths of the set
    function,   // the name of a function of the middleware, or "allocation"
    partition,  // as text; completion offers the set's eMMC partitions
    color,      // as parseColor takes it; the value is the number of the color
    bytes       // as parseBytes takes them; between min and max bytes
};

struct Choice {
    std::string name;
    long long value = 0;
};

struct Argument {
    std::string name;
    Kind kind = Kind::text;
    std::string help;
    long long min = 0;
    long long max = 0;
    std::vector<Choice> choices = {};
    // What stands for the argument when it is left out; none: it must be given. Only the last arguments have one.
    std::optional<std::string> byDefault = std::nullopt;
    std::string unit = {};
};

// How steady an output is from unit to unit and from run to run.
enum class Role {
    stable,    // the same in each run
    changing,  // another one in each run: a time, a handle
    measured,  // a quantity of the unit
    secret     // a key, a password: never in a record
};

struct Output {
    std::string name;
    std::string help;
    bool isBytes = false;  // can be written to a file as it is
    std::string unit = {};
    Role role = Role::stable;
};

// How an operation's result is to be read.
enum class Result {
    status,           // 0 success, negative failure
    oneIsGood,        // 1 success, 0 failure
    zeroOr255,        // 0 success, 255 failure
    value,            // the result itself is the datum; every value is good
    alwaysFails,      // -1 is what it answers when all went well, too
    countOrNegative,  // how many, or a descriptor; negative failure
    nothing           // no result
};

// What a call does to the set.
enum class Danger {
    reads,
    changes,
    destroys,   // something is lost; asked for before the call
    mustFinish  // as destroys, and it is never ended in the middle
};

// A line of the shell, and those that it needs before it.
struct Example {
    std::string line;
    std::vector<std::string> before = {};
    std::string failure = {};  // why it does not answer a success; empty when it does
};

struct Operation {
    std::string name;    // in full: "a_vextvfapi_sys_check_file"
    std::string module;  // "sys", "common", ...; the frame's decoders count as common
    std::string help;    // one line
    Result result = Result::status;
    std::vector<Argument> arguments;
    std::vector<Output> outputs;
    Danger danger = Danger::changes;
    std::string destroys = {};            // what is lost: "overwrites the file"; empty when nothing is
    bool isChecked = false;               // the agent knows arguments that do not go together: method "check"
    std::vector<std::string> needs = {};  // full names of the operations that bring up what this one needs, in order
    bool initialises = false;             // brings something up; a resumed run calls it again
    bool resets = false;                  // undoes what others have brought up
    bool readsLogSwitch = false;          // the library looks at its log switch in it
    std::string use = {};                 // "read-partition", "write-partition": what the bench calls it for
    Example example = {};

    // The name without "a_vextvfapi_": what may be typed in its place.
    std::string shortName() const;
};

// The full name without "a_vextvfapi_".
std::string shortNameOf(std::string_view name);

// What a person or a fixture does to a set.
struct Action {
    std::string name;  // "put"
    std::string help;
    std::vector<Argument> arguments = {};
    std::vector<Output> outputs = {};
    Danger danger = Danger::changes;
    std::string prompt = {};  // the sentence that asks an operator to do it, "${NAME}" for an argument
    // Means nothing to a set that is switched on for this action alone.
    bool sessionOnly = false;
    // When it does what it is for, the set goes off: there is nobody to answer anything.
    bool endsWorker = false;
    bool isChecked = false;
};

struct EventField {
    std::string name;  // "value", "text", "bytes"
    std::vector<Choice> words = {};
    std::string meaning = {};  // what its number is: "key code"
};

// An event that has more to say than its number.
struct EventKind {
    std::string module;
    long long number = 0;
    std::string help;
    std::vector<EventField> fields = {};
};

// A function of the middleware.
struct Function {
    std::string name;
    std::vector<std::string> fields = {};  // of its line in the journal: arguments, then outputs
    std::string failures = {};             // what it answers when it fails, where that is no code
};

// A picture that the set has: "panel", "window:N".
struct PictureKind {
    std::string name;
    std::string number = {};  // what its number is called; empty: it has none
    long long max = 0;
};

// Numbers that the set has and no operation answers: method "data".
struct DataKind {
    std::string name;  // "gamma"
    std::string kind;  // how they are shown: "curves", "values"
    std::vector<Argument> arguments = {};
};

// "window:3": which of the kinds, and its number.
struct PictureWord {
    std::size_t kind = 0;
    long long number = 0;
};
// Throws UsageError.
PictureWord parsePictureWord(const std::vector<PictureKind>& kinds, const std::string& word);

// Name -> place in a list.
using NameIndex = std::map<std::string, std::size_t, std::less<>>;

struct Description {
    std::vector<Operation> operations;  // sorted by module and name
    std::vector<Action> actions;        // in the order of the list
    std::vector<std::string> eventModules;
    std::vector<EventKind> events;
    std::vector<Function> functions;
    std::vector<Choice> codes;  // what functions answer, by name: "busy"
    std::vector<PictureKind> pictures;
    std::vector<DataKind> data;
    std::string hash;  // of all of it

    NameIndex operationIndex, actionIndex;

    // Makes what lookups need, after the lists have been filled. parseDescription() has called it.
    void makeIndex();
    // By full or short name; null when there is none.
    const Operation* operation(std::string_view name) const;
    const Action* action(std::string_view name) const;
};

// What a reader does not know is left out, and what is not there has its default; words that it does not know become
// the kind text, the result value, the danger destroys, the role secret. So an old bench reads a new agent's
// description and the reverse.
Field toField(const Description& description);
// Throws MessageError.
Description parseDescription(const Field& field);
// The same of one of its operations.
Operation parseOperation(const Field& field);

// SHA-256 of the description's JSON without its hash.
std::string hashOf(const Description& description);

}  // namespace tool

#endif
