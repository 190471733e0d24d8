// SPDX-License-Identifier: Apache-2.0
// The operation table: one row binds one exported operation. Calling, checking, help, completion, listing and plans all
// come from the rows.
#ifndef FAPI_AGENT_OPERATIONS_OPERATION_H
#define FAPI_AGENT_OPERATIONS_OPERATION_H

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "protocol/value.h"

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
    const char* name;
    long long value;
};

struct Argument {
    const char* name;
    Kind kind;
    const char* help;
    long long min = 0;
    long long max = 0;
    std::vector<Choice> choices = {};
    // What stands for the argument when it is left out; null: it must be given. Only the last arguments have one.
    const char* byDefault = nullptr;
};

struct Output {
    const char* name;
    const char* help;
    bool isBytes = false;  // can be written to a file as it is
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

// An entry of a list that a command answers.
struct Row {
    Value value;  // a number, or the line that a person reads
    // The parts of that line, when they have names; without any it is as it stands.
    std::vector<std::pair<const char*, Value>> fields = {};
};
using Rows = std::vector<Row>;
// A call of the middleware that was made in vain.
struct FailedCall {
    std::string name;
    std::string arguments;  // "type=2 key=\"serial\""
    long long result;
    std::string word;  // "busy", or what errno says; empty when nothing says more than the result
    bool byFault;
};

// A call of the middleware that the chip refused.
struct RefusedCall {
    std::uint64_t number = 0;  // counts the refusals of this process
    std::string name;
    std::string arguments;
    long long result = 0;
    std::string word;       // "invalid-handle"
    std::string objection;  // why the call was wrong, where the chip did as it was told all the same
    std::string contract;   // why the library makes the call all the same; empty when it must not
};

// What one call answered.
struct Outcome {
    long long status = 0;
    bool good = true;  // as the operation's kind of result says
    std::vector<std::pair<std::string, Value>> outputs;
    // Those of them that are lists, by name: a text for people and for what plans expect, and for programs this.
    std::map<std::string, Rows> lists;
    std::vector<FailedCall> failedCalls;  // why it is not good, oldest first
    std::vector<RefusedCall> refusals;    // while an operation ran, on any thread, oldest first

    // The output of that name, or null.
    const Value* find(std::string_view name) const;
};

// The checked arguments of one call, and where its row puts what comes out.
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

struct Operation {
    const char* name;  // in full: "a_vextvfapi_sys_check_file"
    const char* help;  // one line
    Result result;
    std::vector<Argument> arguments;
    std::vector<Output> outputs;
    long long (*run)(Call& call);
    // What is lost, for the question before the call ("overwrites the file"); null when nothing is.
    const char* destroys = nullptr;
    // Throws UsageError for arguments, and their words, that do not go together; null when all do.
    void (*check)(const std::vector<Value>& values, const std::vector<std::string>& words) = nullptr;
    // Looks at the set for whether all went well, when the status cannot tell; null when it can.
    bool (*verify)(const Call& call) = nullptr;
    // Tells what the contract makes of arguments that look like something else, or an empty text; `first` are those of
    // the operation's first call since the set was switched on. Null when there is nothing to tell.
    std::string (*surprise)(const std::vector<Value>& values, const std::vector<Value>& first) = nullptr;

    // "sys", "common", ...; the frame's decoders count as common.
    std::string module() const;
    // The name without "a_vextvfapi_": what may be typed in its place.
    std::string shortName() const;
};

// Every exported operation, sorted by module and name.
const std::vector<Operation>& operations();

// By full or short name; null when there is none.
const Operation* findOperation(std::string_view name);

// Whether it is checked that the arguments go together: not when some words only stand for others.
enum class Together { checked, unchecked };

// Checks the words against the row; throws UsageError that names the argument and what was expected.
std::vector<Value> parseArguments(const Operation& operation, const std::vector<std::string>& words,
                                  Together together = Together::checked);

// Calls the operation.
Outcome invoke(const Operation& operation, const std::vector<Value>& arguments);

// "ok", "failed", "invalid parameter", ... for a result of that kind.
std::string statusWord(Result result, long long status);

// "0 success, negative failure"
const char* resultText(Result result);

// How an argument is written in usage lines, and what is expected of it.
std::string argumentName(const Argument& argument);
std::string expectation(const Argument& argument);
// The same for help, whose text may name the range already.
std::string helpExpectation(const Argument& argument);

// The help of one operation, several lines, without a newline at the end.
std::string describe(const Operation& operation);

// "check_file PATH"
std::string usage(const Operation& operation);

// What operations and a person's hands share: checked arguments, and their part of usage line and help.
std::vector<Value> parseWords(const std::vector<Argument>& arguments, const std::vector<std::string>& words);
std::string argumentsUsage(const std::vector<Argument>& arguments);
std::string argumentsHelp(const std::vector<Argument>& arguments, const std::vector<Output>& outputs);

// Whether a result of that kind means success.
bool isGood(Result result, long long status);

// The rows of one module or subject, each in the source file of its name; operations() puts them together.
std::vector<Operation> audOperations();
std::vector<Operation> chipOperations();
std::vector<Operation> commonOperations();
std::vector<Operation> dispOperations();
std::vector<Operation> dispPictureOperations();
std::vector<Operation> disptstOperations();
std::vector<Operation> eventOperations();  // the event trio of all modules
std::vector<Operation> hdmiOperations();
std::vector<Operation> iicAndGpioOperations();
std::vector<Operation> infoOperations();
std::vector<Operation> inpsrcOperations();
std::vector<Operation> keypadOperations();
std::vector<Operation> netOperations();
std::vector<Operation> prphrlOperations();
std::vector<Operation> storageOperations();
std::vector<Operation> sysOperations();

}  // namespace tool

#endif
