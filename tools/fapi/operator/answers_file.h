// SPDX-License-Identifier: Apache-2.0
// Answers of automatic runs.
#ifndef FAPI_BENCH_OPERATOR_ANSWERS_FILE_H
#define FAPI_BENCH_OPERATOR_ANSWERS_FILE_H

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "operator/question.h"

namespace tool {

// A file with a line for each answer: the question's text, or the name of what is scanned, and the answer. "*" is any
// question. Of several lines for a question each answers once, in their order, and the last one all that follow.
class AnswersFile {
public:
    // Throws UsageError, with the file's lines that are wrong.
    explicit AnswersFile(const std::string& file);

    const std::string& file() const { return _file; }
    bool hasAnswer(const Question& question) const { return rowOf(question) != nullptr; }
    // The next answer, as the file has it. `isAgain`: the one before was none. Nothing when there is none, or no other.
    std::optional<std::string> next(const Question& question, bool isAgain);

private:
    struct Row {
        std::vector<std::string> answers;
        std::size_t used = 0;
    };
    const Row* rowOf(const Question& question) const;

    std::string _file;
    std::map<std::string, Row> _rows;
};

}  // namespace tool

#endif
