// SPDX-License-Identifier: Apache-2.0
// The person at this station.
#include "operator/operator.h"

#include <cstdlib>

#include "base/login.h"
#include "hub/agent_wire.h"
#include "target/session.h"

namespace tool {

namespace {

// Between two looks whether another question is over.
constexpr std::chrono::milliseconds kBetweenTurns{50};

std::unique_ptr<Operator> g_operator;
int g_shownQuestions = 0;

std::string nameOfUser() {
    const char* named = std::getenv("FAPI_OPERATOR");
    return named != nullptr && *named != '\0' ? named : loginName();
}

// What is true as long as this is there.
class ShownMark {
public:
    explicit ShownMark(bool& isAsking) : _isAsking(isAsking) {
        _isAsking = true;
        ++g_shownQuestions;
    }
    ~ShownMark() {
        _isAsking = false;
        --g_shownQuestions;
    }
    ShownMark(const ShownMark&) = delete;
    ShownMark& operator=(const ShownMark&) = delete;

private:
    bool& _isAsking;
};

Question withFile(Question question, const std::string& file) {
    question.shown = file;
    return question;
}

double secondsFrom(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

}  // namespace

Operator::Operator(OperatorOptions options) : _options(std::move(options)) {
    if (_options.name.empty()) {
        _options.name = nameOfUser();
    }
    _options.isBehindHub = _options.isBehindHub || std::getenv(kSlotVariable) != nullptr;
    if (!_options.answers.empty()) {
        _file.emplace(_options.answers);
    }
}

std::string Operator::missing(const Question& question) const {
    if (TerminalQuestion::isThere() || _options.isBehindHub || (_file && _file->hasAnswer(question))) {
        return "";
    }
    return _file ? _file->file() + " has no answer" : "there is no terminal";
}

GivenAnswer Operator::answerOf(const Question& question, std::string text, const std::string& who,
                               std::string where) const {
    GivenAnswer answer;
    answer.question = question.text;
    answer.kind = question.kind;
    answer.text = std::move(text);
    answer.who = who.empty() ? _options.name : who;
    answer.where = std::move(where);
    return answer;
}

std::optional<GivenAnswer> Operator::answerFromFile(const Question& question) {
    std::string problem;
    for (bool isAgain = false; _file && _file->hasAnswer(question); isAgain = true) {
        const std::optional<std::string> given = _file->next(question, isAgain);
        if (!given) {
            throw RequestError(ErrorCode::stationFailed, _file->file() + " has no answer that counts: " + problem);
        }
        const ReadAnswer read = readAnswer(question, *given);
        if (read.problem.empty()) {
            return answerOf(question, read.text, "", _file->file());
        }
        problem = read.problem;
    }
    return std::nullopt;
}

// What has been typed, and what clients have answered.
std::optional<GivenAnswer> Operator::lookAround(const Question& question, TerminalQuestion* terminal,
                                                HubQuestion& hub) {
    pollfd typed = {terminal != nullptr ? terminal->descriptor() : -1, POLLIN, 0};
    if (typed.fd >= 0 && poll(&typed, 1, 0) == 1) {
        if (const std::optional<std::string> line = terminal->read()) {
            const ReadAnswer read = readAnswer(question, *line);
            if (read.problem.empty()) {
                GivenAnswer answer = answerOf(question, read.text, "", TerminalQuestion::place());
                hub.close(answer, 0);
                return answer;
            }
            terminal->refuse(read.problem);
        }
    }
    while (const std::optional<HubQuestion::Given> given = hub.next()) {
        const ReadAnswer read = readAnswer(question, given->text);
        if (read.problem.empty()) {
            GivenAnswer answer = answerOf(question, read.text, given->who, given->where);
            hub.close(answer, given->number);
            if (terminal != nullptr) {
                terminal->tell(answer.who + " has answered (" + answer.where + "): " + answer.text);
            }
            return answer;
        }
        hub.refuse(*given, read.problem);
    }
    return std::nullopt;
}

GivenAnswer Operator::ask(const Question& question, const Waiting& wait, const PictureOf& pictureOf) {
    // A person does one thing at a time.
    for (std::vector<pollfd> nothing; _isAsking;) {
        wait(nothing, Clock::now() + kBetweenTurns);
    }
    const ShownMark mark(_isAsking);
    const Clock::time_point start = Clock::now();
    std::optional<GivenAnswer> answer = answerFromFile(question);
    if (!answer) {
        answer = waitForAnswer(question, wait, pictureOf);
    }
    answer->seconds = secondsFrom(start);
    _answers.push_back(*answer);
    return *answer;
}

GivenAnswer Operator::waitForAnswer(const Question& question, const Waiting& wait, const PictureOf& pictureOf) {
    Question asked = question;
    asked.within = question.within.value_or(_options.within);
    const QuestionPicture picture(question, pictureOf);
    asked.shown = picture.file();
    std::optional<TerminalQuestion> terminal;
    HubQuestion hub(asked);
    struct Open {
        ~Open() { shown = nullptr; }
        const TerminalQuestion*& shown;
    } const open{_open};
    if (TerminalQuestion::isThere()) {
        terminal.emplace(asked, "", picture.picture());
        _open = &*terminal;
    }
    const Clock::time_point until = Clock::now() + *asked.within;
    for (;;) {
        if (std::optional<GivenAnswer> answer = lookAround(asked, terminal ? &*terminal : nullptr, hub)) {
            return *answer;
        }
        if (terminal && terminal->isGone() && !hub.isFollowed()) {
            throw RequestError(ErrorCode::stationFailed, "the terminal is gone: " + question.text);
        }
        if (Clock::now() >= until) {
            throw RequestError(
                ErrorCode::stationFailed,
                "nobody has answered within " + std::to_string(asked.within->count()) + " ms: " + question.text);
        }
        std::vector<pollfd> waited = {{terminal ? terminal->descriptor() : -1, POLLIN, 0}};
        wait(waited, until);
    }
}

ShownQuestion::ShownQuestion(const Question& question, const PictureOf& pictureOf)
    : _picture(question, pictureOf), _question(withFile(question, _picture.file())), _hub(_question) {
    ++g_shownQuestions;
    if (TerminalQuestion::isThere()) {
        _terminal.emplace(_question, "", _picture.picture());
        if (const TerminalQuestion* open = theOperator()._open) {
            open->remind();
        }
    }
}

ShownQuestion::~ShownQuestion() {
    --g_shownQuestions;
}

void useOperator(const OperatorOptions& options) {
    g_operator = std::make_unique<Operator>(options);
}

Operator& theOperator() {
    if (g_operator == nullptr) {
        useOperator({});
    }
    return *g_operator;
}

bool isQuestionShown() {
    return g_shownQuestions != 0;
}

}  // namespace tool
