// SPDX-License-Identifier: Apache-2.0
// The operation table as a document.
#include "cli/reference.h"

#include "base/words.h"
#include "target/arguments.h"
#include "target/target_description.h"

namespace tool {

namespace {

constexpr char kHead[] =
    "# Operations\n"
    "\n"
    "`fapi reference` prints this from the operation table of the bench tool; not to be edited. Arguments in brackets "
    "are\n"
    "optional. Numbers are decimal, or hexadecimal after `0x`. Examples are lines of `fapi shell` on a new set.\n";

// With what Markdown would take for its own behind a backslash.
std::string escaped(const std::string& text) {
    std::string result;
    for (const char c : text) {
        if (std::string_view("\\`*_<>[]|").find(c) != std::string_view::npos) {
            result += '\\';
        }
        result += c;
    }
    return result;
}

std::string item(const std::string& text) {
    return "- " + text + "\n";
}

std::string argumentItem(const Argument& argument) {
    std::string text =
        "`" + argumentName(argument) + "`: " + escaped(argument.help) + "; " + escaped(helpExpectation(argument));
    if (argument.byDefault) {
        text += "; `" + quoteWord(*argument.byDefault) + "` when left out";
    }
    return item(text);
}

std::string exampleText(const Example& example) {
    std::string text = "```\n";
    for (const std::string& line : example.before) {
        text += "fapi> " + line + '\n';
    }
    text += "fapi> " + example.line + "\n```\n";
    if (!example.failure.empty()) {
        text += "\nIt answers a failure: " + escaped(example.failure) + ".\n";
    }
    return text;
}

std::string section(const Operation& operation) {
    std::string text = "\n### `" + usage(operation) + "`\n\n" + escaped(operation.help) + "\n\n";
    for (const Argument& argument : operation.arguments) {
        text += argumentItem(argument);
    }
    for (const Output& output : operation.outputs) {
        text += item("answers `" + output.name + "`: " + escaped(outputHelp(output)) +
                     (output.isBytes ? "; `--output` writes it to a file" : ""));
    }
    text += item(std::string("result: ") + resultText(operation.result));
    if (!operation.destroys.empty()) {
        text += item("asks first, because it " + operation.destroys);
    }
    return operation.example.line.empty() ? text : text + '\n' + exampleText(operation.example);
}

}  // namespace

std::string reference() {
    std::string text = kHead, module;
    for (const Operation& operation : operations()) {
        if (operation.module != module) {
            module = operation.module;
            text += "\n## " + module + "\n";
        }
        text += section(operation);
    }
    return text;
}

}  // namespace tool
