// SPDX-License-Identifier: Apache-2.0
// A question to a person.
#include "operator/question.h"

#include <algorithm>
#include <cmath>

#include "judge/parameter.h"
#include "protocol/characters.h"

namespace tool {

namespace {

constexpr std::size_t kLongestAnswer = 1024;

std::string trimmed(std::string_view text) {
    constexpr char kBlanks[] = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlanks);
    return first == std::string_view::npos
               ? ""
               : std::string(text.substr(first, text.find_last_not_of(kBlanks) + 1 - first));
}

std::string lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : static_cast<char>(c);
    });
    return text;
}

// "2", or the word itself, however it is spelt.
std::string chosen(const std::vector<std::string>& choices, const std::string& given) {
    for (std::size_t i = 0; i < choices.size(); ++i) {
        if (given == choices[i]) {
            return choices[i];
        }
    }
    for (std::size_t i = 0; i < choices.size(); ++i) {
        if (lowered(given) == lowered(choices[i]) || given == std::to_string(i + 1)) {
            return choices[i];
        }
    }
    return "";
}

}  // namespace

Question questionOf(const PromptLine& prompt) {
    Question question;
    question.kind = prompt.kind;
    question.text = prompt.text;
    question.choices = prompt.choices;
    question.name = prompt.name;
    question.pattern = prompt.pattern;
    question.picture = prompt.picture;
    question.needsAnswer = prompt.needsAnswer();
    question.within = prompt.within;
    return question;
}

std::string expectedAnswer(const Question& question) {
    switch (question.kind) {
        case PromptKind::ask:
            return "yes or no";
        case PromptKind::choose: {
            std::string text;
            for (std::size_t i = 0; i < question.choices.size(); ++i) {
                text += (i == 0 ? "" : ", ") + std::to_string(i + 1) + " " + question.choices[i];
            }
            return text;
        }
        case PromptKind::scan:
            return question.pattern.empty() ? "a text" : "something that matches " + question.pattern;
        default:
            return "Enter";
    }
}

ReadAnswer readAnswer(const Question& question, std::string_view given) {
    if (!isUtf8(given)) {
        return {"", "that is no text in UTF-8"};
    }
    const std::string text = trimmed(given);
    if (text.size() > kLongestAnswer ||
        std::any_of(text.begin(), text.end(), [](unsigned char c) { return c < ' '; })) {
        return {"", "that is no line of at most " + std::to_string(kLongestAnswer) + " bytes"};
    }
    std::string read;
    switch (question.kind) {
        case PromptKind::ask: {
            const std::string word = lowered(text);
            read = word == "y" || word == "yes" ? "yes" : word == "n" || word == "no" ? "no" : "";
            break;
        }
        case PromptKind::choose:
            read = chosen(question.choices, text);
            break;
        case PromptKind::scan:
            read = question.pattern.empty() || hasPattern(text, parsePattern(question.pattern)) ? text : "";
            break;
        default:
            read = "done";
    }
    return read.empty() ? ReadAnswer{"", display(text, 60) + ", expected " + expectedAnswer(question)}
                        : ReadAnswer{read, ""};
}

Json toJson(const GivenAnswer& answer) {
    return {{"question", answer.question}, {"kind", promptName(answer.kind)},
            {"answer", answer.text},       {"who", answer.who},
            {"where", answer.where},       {"seconds", std::round(answer.seconds * 1000) / 1000}};
}

}  // namespace tool
