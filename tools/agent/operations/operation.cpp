// SPDX-License-Identifier: Apache-2.0
// What the rows of the operation table are good for: finding, checking, calling, describing.
#include "operations/operation.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <unordered_map>

#include "actions/middleware_words.h"
#include "base/color.h"
#include "base/text_pattern.h"
#include "base/words.h"
#include "operations/examples.h"
#include "vset/vset.h"

namespace tool {

namespace {

constexpr std::string_view kPrefix = "a_vextvfapi_";

std::vector<Operation> allOperations() {
    std::vector<Operation> all;
    for (std::vector<Operation> some :
         {audOperations(), chipOperations(), commonOperations(), dispOperations(), dispPictureOperations(),
          disptstOperations(), eventOperations(), hdmiOperations(), iicAndGpioOperations(), infoOperations(),
          inpsrcOperations(), keypadOperations(), netOperations(), prphrlOperations(), storageOperations(),
          sysOperations()}) {
        std::move(some.begin(), some.end(), std::back_inserter(all));
    }
    std::sort(all.begin(), all.end(), [](const Operation& left, const Operation& right) {
        const std::string leftModule = left.module(), rightModule = right.module();
        return leftModule != rightModule ? leftModule < rightModule : std::strcmp(left.name, right.name) < 0;
    });
    return all;
}

std::string rangeText(const Argument& argument) {
    return std::to_string(argument.min) + " to " + std::to_string(argument.max);
}

std::string choiceText(const Argument& argument) {
    std::string text;
    for (const Choice& choice : argument.choices) {
        text += (text.empty() ? "" : ", ") + std::string(choice.name) + " (" + std::to_string(choice.value) + ")";
    }
    return argument.max != 0 ? text + ", or a number from " + rangeText(argument) : text;
}

[[noreturn]] void refuse(const Argument& argument, const std::string& word) {
    throw UsageError(argumentName(argument) + " is " + display(word, 40) + ", expected " + expectation(argument));
}

long long parseFlag(const Argument& argument, const std::string& word) {
    for (const char* on : {"1", "on", "true", "yes"}) {
        if (word == on) {
            return 1;
        }
    }
    for (const char* off : {"0", "off", "false", "no"}) {
        if (word == off) {
            return 0;
        }
    }
    refuse(argument, word);
}

long long parseChoice(const Argument& argument, const std::string& word) {
    long long number = 0;
    const bool isNumber = parseNumber(word, number);
    for (const Choice& choice : argument.choices) {
        if (word == choice.name || (isNumber && number == choice.value)) {
            return choice.value;
        }
    }
    if (isNumber && argument.max != 0 && number >= argument.min && number <= argument.max) {
        return number;
    }
    refuse(argument, word);
}

Value parseArgument(const Argument& argument, const std::string& word) {
    switch (argument.kind) {
        case Kind::number: {
            long long number = 0;
            if (!parseNumber(word, number) || number < argument.min || number > argument.max) {
                refuse(argument, word);
            }
            return number;
        }
        case Kind::flag:
            return parseFlag(argument, word);
        case Kind::choice:
            return parseChoice(argument, word);
        case Kind::function: {
            const std::string unknown = unknownFunction(word);
            if (!unknown.empty()) {
                throw UsageError(unknown);
            }
            return word;
        }
        case Kind::color: {
            const std::optional<Color> color = parseColor(word);
            if (!color) {
                refuse(argument, word);
            }
            return static_cast<long long>(*color);
        }
        case Kind::text:
        case Kind::path:
        case Kind::partition: {
            const Bytes bytes = word.rfind("repeat:", 0) == 0 ? parseBytes(word) : Bytes(word.begin(), word.end());
            std::string text(bytes.begin(), bytes.end());
            if (text.find('\0') != std::string::npos ||
                (argument.max != 0 && text.size() > static_cast<std::size_t>(argument.max))) {
                refuse(argument, word);
            }
            return text;
        }
        case Kind::bytes: {
            Bytes bytes = parseBytes(word);
            const auto size = static_cast<long long>(bytes.size());
            if (size < argument.min || (argument.max != 0 && size > argument.max)) {
                refuse(argument, word);
            }
            return bytes;
        }
    }
    return {};
}

}  // namespace

std::string argumentName(const Argument& argument) {
    std::string name = argument.name;
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return name;
}

std::string expectation(const Argument& argument) {
    switch (argument.kind) {
        case Kind::number:
            return "a number from " + rangeText(argument);
        case Kind::flag:
            return "on or off";
        case Kind::choice:
            return "one of " + choiceText(argument);
        case Kind::text:
            return argument.max != 0 ? "a text of at most " + std::to_string(argument.max) + " characters" : "a text";
        case Kind::path:
            return "a path";
        case Kind::function:
            return "a function of the middleware (TAB completes), or allocation";
        case Kind::partition:
            return "the name of a partition";
        case Kind::color:
            return colorExpectation();
        case Kind::bytes:
            return argument.max != 0 ? "bytes (text:..., hex:..., repeat:N:..., file:...), " + rangeText(argument)
                                     : "bytes (text:..., hex:..., repeat:N:..., file:...)";
    }
    return {};
}

const Value* Outcome::find(std::string_view name) const {
    for (const auto& [outputName, value] : outputs) {
        if (outputName == name) {
            return &value;
        }
    }
    return nullptr;
}

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
    for (const std::string_view line : splitLines(lines)) {
        rows.push_back({std::string(line)});
    }
    outRows(name, std::move(rows));
}

Outcome Call::take() {
    return std::move(_outcome);
}

void Call::outText(const char* name, const Bytes& buffer) {
    out(name, std::string(buffer.begin(), std::find(buffer.begin(), buffer.end(), 0)));
}

std::string Operation::module() const {
    std::string_view rest = name;
    rest.remove_prefix(rest.front() == '_' ? 1 : 0);
    if (rest.compare(0, kPrefix.size(), kPrefix) != 0) {
        return "common";
    }
    rest.remove_prefix(kPrefix.size());
    const std::string_view module = rest.substr(0, rest.find('_'));
    // The display's writer of BMP files does not name its module.
    return std::string(module == "output" ? "disp" : module);
}

std::string Operation::shortName() const {
    const std::string_view full = name;
    if (full.compare(0, kPrefix.size(), kPrefix) == 0) {
        return std::string(full.substr(kPrefix.size()));
    }
    if (full.compare(1, kPrefix.size(), kPrefix) == 0) {
        return "_" + std::string(full.substr(kPrefix.size() + 1));
    }
    return name;
}

const std::vector<Operation>& operations() {
    static const std::vector<Operation> all = allOperations();
    return all;
}

const Operation* findOperation(std::string_view name) {
    static const std::unordered_map<std::string, const Operation*> byName = [] {
        std::unordered_map<std::string, const Operation*> names;
        for (const Operation& operation : operations()) {
            names.emplace(operation.name, &operation);
            names.emplace(operation.shortName(), &operation);
        }
        return names;
    }();
    const auto found = byName.find(std::string(name));
    return found != byName.end() ? found->second : nullptr;
}

std::string argumentsUsage(const std::vector<Argument>& arguments) {
    std::string text;
    for (const Argument& argument : arguments) {
        const std::string word = argumentName(argument);
        text += argument.byDefault != nullptr ? " [" + word + "]" : " " + word;
    }
    return text;
}

std::string helpExpectation(const Argument& argument) {
    // The help names the range that the operation knows; the argument takes more, to see what becomes of that.
    static const TextPattern range("[0-9] (to|or) [0-9]");
    if (argument.kind == Kind::number && range.isIn(argument.help)) {
        return "any other number is for the operation to refuse";
    }
    return expectation(argument);
}

std::string argumentsHelp(const std::vector<Argument>& arguments, const std::vector<Output>& outputs) {
    std::string text;
    for (const Argument& argument : arguments) {
        text += "  " + argumentName(argument) + ": " + argument.help + "; " + helpExpectation(argument);
        if (argument.byDefault != nullptr) {
            text += "; " + quoteWord(argument.byDefault) + " when left out";
        }
        text += '\n';
    }
    for (const Output& output : outputs) {
        text += std::string("  -> ") + output.name + ": " + output.help + '\n';
    }
    return text;
}

namespace {

// "\"4\" is one argument too many", "\"4\" and \"5\" are 2 arguments too many".
[[noreturn]] void refuseExtra(const std::vector<std::string>& words, std::size_t wanted) {
    const std::size_t extra = words.size() - wanted;
    if (extra == 1) {
        throw UsageError(display(words[wanted], 40) + " is one argument too many", wanted);
    }
    constexpr std::size_t kNamed = 5;
    std::string text;
    for (std::size_t i = 0; i < std::min(extra, kNamed); ++i) {
        const char* separator = i == 0 ? "" : i + 1 == extra ? " and " : ", ";
        text += separator + display(words[wanted + i], 40);
    }
    throw UsageError(text + (extra > kNamed ? ", ..." : "") + " are " + std::to_string(extra) + " arguments too many",
                     wanted);
}

}  // namespace

std::vector<Value> parseWords(const std::vector<Argument>& arguments, const std::vector<std::string>& words) {
    std::vector<Value> values;
    values.reserve(arguments.size());
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const Argument& argument = arguments[i];
        if (i >= words.size() && argument.byDefault == nullptr) {
            throw UsageError(argumentName(argument) + " is missing, expected " + expectation(argument), i);
        }
        try {
            values.push_back(parseArgument(argument, i < words.size() ? words[i] : argument.byDefault));
        } catch (const UsageError& error) {
            throw UsageError(error.what(), i);
        }
    }
    if (words.size() > arguments.size()) {
        refuseExtra(words, arguments.size());
    }
    return values;
}

std::vector<Value> parseArguments(const Operation& operation, const std::vector<std::string>& words,
                                  Together together) {
    try {
        std::vector<Value> values = parseWords(operation.arguments, words);
        if (operation.check != nullptr && together == Together::checked) {
            operation.check(values, words);
        }
        return values;
    } catch (const UsageError& error) {
        throw error.behind(1, operation.shortName() + ": " + error.what() + "; usage: " + usage(operation));
    }
}

Outcome invoke(const Operation& operation, const std::vector<Value>& arguments) {
    Call call(arguments);
    const std::uint64_t before = vset::lastCall(), refusedBefore = vset::refusalCount();
    const long long status = operation.run(call);
    const bool isVerified = operation.verify == nullptr || operation.verify(call);
    Outcome outcome = call.take();
    outcome.status = status;
    outcome.good = isGood(operation.result, status) && isVerified;
    if (!outcome.good) {
        outcome.failedCalls = failedCalls(before);
    }
    outcome.refusals = refusedCalls(refusedBefore, &operation);
    return outcome;
}

bool isGood(Result result, long long status) {
    switch (result) {
        case Result::status:
        case Result::zeroOr255:
            return status == 0;
        case Result::oneIsGood:
            return status == 1;
        case Result::alwaysFails:
            return status == -1;
        case Result::countOrNegative:
            return status >= 0;
        case Result::value:
        case Result::nothing:
            return true;
    }
    return false;
}

std::string statusWord(Result result, long long status) {
    static constexpr std::array<const char*, 7> kWords = {
        "ok",           "failed", "invalid parameter", "not implemented", "out of memory", "not in factory mode",
        "not supported"};
    if (result == Result::value || result == Result::nothing) {
        return "value";
    }
    if (result == Result::alwaysFails) {
        return status == -1 ? "as always" : "unknown";
    }
    if (isGood(result, status)) {
        return "ok";
    }
    if (result == Result::status && status < 0 && status > -static_cast<long long>(kWords.size())) {
        return kWords[static_cast<std::size_t>(-status)];
    }
    return "failed";
}

const char* resultText(Result result) {
    switch (result) {
        case Result::status:
            return "0 success, negative failure";
        case Result::oneIsGood:
            return "1 success, 0 failure";
        case Result::zeroOr255:
            return "0 success, 255 failure";
        case Result::value:
            return "the value itself";
        case Result::alwaysFails:
            return "-1, also when all went well";
        case Result::countOrNegative:
            return "how many, or a descriptor; negative failure";
        case Result::nothing:
            return "none";
    }
    return "";
}

std::string usage(const Operation& operation) {
    return operation.shortName() + argumentsUsage(operation.arguments);
}

std::string describe(const Operation& operation) {
    std::string text = usage(operation) + "\n  " + operation.help + "\n";
    text += argumentsHelp(operation.arguments, operation.outputs);
    if (operation.destroys != nullptr) {
        text += std::string("  Asks first, because it ") + operation.destroys + ".\n";
    }
    text += std::string("  Result: ") + resultText(operation.result) + '\n';
    if (const Example* example = exampleOf(operation)) {
        text += std::string("  Example: ") + example->line + '\n';
    }
    return text + "  Full name: " + operation.name;
}

}  // namespace tool
