// SPDX-License-Identifier: Apache-2.0
// A question to a person, and which answers it takes.
#ifndef FAPI_BENCH_OPERATOR_QUESTION_H
#define FAPI_BENCH_OPERATOR_QUESTION_H

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "plan/prompt.h"
#include "target/output.h"

namespace tool {

struct Question {
    PromptKind kind = PromptKind::ask;
    std::string text;
    std::vector<std::string> choices;
    std::string name;       // by which a file of answers may know it, too
    std::string pattern;    // of what is scanned; empty: any text
    std::string picture;    // of the set; empty: none
    std::string reference;  // a file with the picture as it should be; empty: none
    std::string shown;      // a file with the picture that goes with it, for who asks in this run's place
    bool needsAnswer = true;
    std::optional<std::chrono::milliseconds> within;
};
// The question of a plan's line.
Question questionOf(const PromptLine& prompt);

// "yes or no"; for people.
std::string expectedAnswer(const Question& question);

// An answer that was looked at: the text as it counts, or why it does not.
struct ReadAnswer {
    std::string text;
    std::string problem;  // empty: it counts
};
ReadAnswer readAnswer(const Question& question, std::string_view given);

// An answer that counts.
struct GivenAnswer {
    std::string question;
    PromptKind kind = PromptKind::ask;
    std::string text;
    std::string who, where;
    double seconds = 0;  // that it took
};
Json toJson(const GivenAnswer& answer);

}  // namespace tool

#endif
