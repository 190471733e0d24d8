// SPDX-License-Identifier: Apache-2.0
// Arguments of operations and actions: words checked against what the description says, and the texts of usage lines
// and help.
#include "target/arguments.h"

#include <algorithm>
#include <cctype>

#include "base/text_pattern.h"
#include "base/words.h"
#include "protocol/argument.h"
#include "protocol/color.h"
#include "target/target_description.h"

namespace tool {

namespace {

std::string rangeText(const Argument& argument) {
    return std::to_string(argument.min) + " to " + std::to_string(argument.max);
}

std::string choiceText(const Argument& argument) {
    std::string text;
    for (const Choice& choice : argument.choices) {
        text += (text.empty() ? "" : ", ") + choice.name + " (" + std::to_string(choice.value) + ")";
    }
    return argument.max != 0 ? text + ", or a number from " + rangeText(argument) : text;
}

[[noreturn]] void refuse(const Argument& argument, const std::string& word) {
    throw UsageError(argumentName(argument) + " is " + display(word, 40) + ", expected " + expectation(argument));
}

Value parseArgument(const Argument& argument, const std::string& word) {
    switch (argument.kind) {
        case Kind::number:
        case Kind::flag:
        case Kind::choice:
        case Kind::color: {
            const std::optional<long long> number = numberFor(argument, word);
            if (!number || !takes(argument, *number)) {
                refuse(argument, word);
            }
            return *number;
        }
        case Kind::function: {
            const std::string unknown = unknownFunction(word);
            if (!unknown.empty()) {
                throw UsageError(unknown);
            }
            return word;
        }
        case Kind::text:
        case Kind::path:
        case Kind::partition: {
            const Bytes bytes = word.rfind("repeat:", 0) == 0 ? parseBytes(word) : Bytes(word.begin(), word.end());
            std::string text(bytes.begin(), bytes.end());
            if (!takes(argument, text)) {
                refuse(argument, word);
            }
            return text;
        }
        case Kind::bytes: {
            Bytes bytes = parseBytes(word);
            if (!takes(argument, bytes)) {
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

std::string argumentsUsage(const std::vector<Argument>& arguments) {
    std::string text;
    for (const Argument& argument : arguments) {
        const std::string word = argumentName(argument);
        text += argument.byDefault ? " [" + word + "]" : " " + word;
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

std::string outputHelp(const Output& output) {
    return output.unit.empty() ? output.help : output.help + ", in " + output.unit;
}

std::string argumentsHelp(const std::vector<Argument>& arguments, const std::vector<Output>& outputs) {
    std::string text;
    for (const Argument& argument : arguments) {
        text += "  " + argumentName(argument) + ": " + argument.help + "; " + helpExpectation(argument);
        if (argument.byDefault) {
            text += "; " + quoteWord(*argument.byDefault) + " when left out";
        }
        text += '\n';
    }
    for (const Output& output : outputs) {
        text += "  -> " + output.name + ": " + outputHelp(output) + '\n';
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
        if (i >= words.size() && !argument.byDefault) {
            throw UsageError(argumentName(argument) + " is missing, expected " + expectation(argument), i);
        }
        try {
            values.push_back(parseArgument(argument, i < words.size() ? words[i] : *argument.byDefault));
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
        if (operation.isChecked && together == Together::checked) {
            checkTogether(operation, values, words, values);
        }
        return values;
    } catch (const UsageError& error) {
        throw error.behind(1, operation.shortName() + ": " + error.what() + "; usage: " + usage(operation));
    }
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
    if (!operation.destroys.empty()) {
        text += "  Asks first, because it " + operation.destroys + ".\n";
    }
    text += std::string("  Result: ") + resultText(operation.result) + '\n';
    if (!operation.example.line.empty()) {
        text += "  Example: " + operation.example.line + '\n';
    }
    return text + "  Full name: " + operation.name;
}

}  // namespace tool
