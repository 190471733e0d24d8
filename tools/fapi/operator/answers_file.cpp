// SPDX-License-Identifier: Apache-2.0
// Answers of automatic runs.
#include "operator/answers_file.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace tool {

namespace {

constexpr const char* kAnyQuestion = "*";

}  // namespace

AnswersFile::AnswersFile(const std::string& file) : _file(file) {
    std::error_code error;
    std::ifstream stream;
    if (std::filesystem::is_regular_file(file, error)) {
        stream.open(file, std::ios::binary);
    }
    if (!stream.is_open()) {
        throw UsageError(file + ": cannot be read");
    }
    const std::string text(std::istreambuf_iterator<char>(stream), {});
    unsigned int number = 0;
    for (const std::string_view line : splitLines(text)) {
        ++number;
        const std::string place = file + ":" + std::to_string(number) + ": ";
        try {
            const Words words = splitWords(line);
            if (words.size() == 2) {
                _rows[words[0]].answers.push_back(words[1]);
            } else if (!words.empty()) {
                throw UsageError("expected: QUESTION ANSWER, each a word or in quotes");
            }
        } catch (const UsageError& problem) {
            throw UsageError(place + problem.what());
        }
    }
}

const AnswersFile::Row* AnswersFile::rowOf(const Question& question) const {
    for (const std::string& key : {question.text, question.name, std::string(kAnyQuestion)}) {
        const auto found = key.empty() ? _rows.end() : _rows.find(key);
        if (found != _rows.end()) {
            return &found->second;
        }
    }
    return nullptr;
}

std::optional<std::string> AnswersFile::next(const Question& question, bool isAgain) {
    auto* row = const_cast<Row*>(rowOf(question));
    if (row == nullptr || (isAgain && row->used >= row->answers.size())) {
        return std::nullopt;
    }
    const std::string answer = row->answers[std::min(row->used, row->answers.size() - 1)];
    ++row->used;
    return answer;
}

}  // namespace tool
