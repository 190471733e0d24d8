// SPDX-License-Identifier: Apache-2.0
// The person at this station, however answers come: from the terminal, from any client of the set's hub, from a file.
#ifndef FAPI_BENCH_OPERATOR_OPERATOR_H
#define FAPI_BENCH_OPERATOR_OPERATOR_H

#include <memory>
#include <string>
#include <vector>

#include "operator/answers_file.h"
#include "operator/hub_question.h"
#include "operator/question_picture.h"
#include "operator/terminal_question.h"
#include "target/waiting.h"

namespace tool {

struct OperatorOptions {
    std::string name;     // empty: $FAPI_OPERATOR, else who is logged in
    std::string answers;  // file; empty: none
    std::chrono::milliseconds within{180000};
    bool isBehindHub = false;  // a client of the hub asks the person: what started this run does
};

class Operator {
public:
    // Throws UsageError for a file of answers that cannot be used.
    explicit Operator(OperatorOptions options);

    const std::string& name() const { return _options.name; }
    // Why nobody could answer; empty: somebody could. Looks at the terminal and at the file, not at the hub.
    std::string missing(const Question& question) const;

    // Asks until there is an answer that counts, with a picture if `pictureOf` has one. While another question is open
    // this one waits. Throws RequestError `stationFailed` without an answer in time, and what `wait` throws.
    GivenAnswer ask(const Question& question, const Waiting& wait, const PictureOf& pictureOf = {});
    // The answers of ask() since the last call of this, for the record.
    std::vector<GivenAnswer> takeAnswers() { return std::exchange(_answers, {}); }

private:
    friend class ShownQuestion;
    std::optional<GivenAnswer> answerFromFile(const Question& question);
    GivenAnswer waitForAnswer(const Question& question, const Waiting& wait, const PictureOf& pictureOf);
    std::optional<GivenAnswer> lookAround(const Question& question, TerminalQuestion* terminal, HubQuestion& hub);
    GivenAnswer answerOf(const Question& question, std::string text, const std::string& who, std::string where) const;

    OperatorOptions _options;
    std::optional<AnswersFile> _file;
    std::vector<GivenAnswer> _answers;
    bool _isAsking = false;
    const TerminalQuestion* _open = nullptr;  // on the terminal; null: none is
};

// Shows what needs no answer, as long as this is there.
class ShownQuestion {
public:
    ShownQuestion(const Question& question, const PictureOf& pictureOf);
    ~ShownQuestion();
    ShownQuestion(const ShownQuestion&) = delete;
    ShownQuestion& operator=(const ShownQuestion&) = delete;

private:
    const QuestionPicture _picture;
    const Question _question;
    HubQuestion _hub;
    std::optional<TerminalQuestion> _terminal;
};

// The variable by which a run knows that it is one of several slots, whose questions go through the hub.
constexpr const char* kSlotVariable = "FAPI_SLOT";

// The one of this program: as the options of the last call of this say.
void useOperator(const OperatorOptions& options);
Operator& theOperator();
// Whether a question is on the terminal, where nothing else may be written then.
bool isQuestionShown();

}  // namespace tool

#endif
