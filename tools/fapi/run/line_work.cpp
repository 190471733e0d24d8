// SPDX-License-Identifier: Apache-2.0
// Lines of a plan that ask a person or run a program of this PC.
#include <algorithm>
#include <filesystem>

#include "operator/operator.h"
#include "plan/program_step.h"
#include "protocol/characters.h"
#include "run/line_run.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t kLargestAttachment = 64 << 20;
constexpr std::size_t kToldOutput = 4096;
// Between two tries to take an instrument that another run uses.
constexpr std::chrono::milliseconds kBetweenTries{50};

bool expectsOutput(const PlanLine& line, const char* name) {
    return std::any_of(line.expectations.begin(), line.expectations.end(), [&](const Expectation& expectation) {
        const auto* condition = std::get_if<Condition>(&expectation.what);
        return condition != nullptr && condition->subject == name;
    });
}

}  // namespace

// --- A person --------------------------------------------------------------------------------------------------------

Outcome LineRun::askPerson() {
    const PromptLine prompt = parsePrompt(words());
    if (!prompt.needsAnswer()) {
        return showUntil(prompt);
    }
    const GivenAnswer answer = _set.ask(questionWith(prompt));
    Outcome outcome;
    outcome.good = true;
    outcome.outputs.emplace_back("answer", answer.text);
    outcome.outputs.emplace_back("who", answer.who);
    outcome.outputs.emplace_back("seconds", static_cast<long long>(answer.seconds));
    _told["outputs"] = {{"answer", answer.text}, {"who", answer.who}};
    if (!prompt.name.empty()) {
        keep({_line.line, prompt.name, "answer"}, outcome);
    }
    if (prompt.kind == PromptKind::ask && answer.text == "no" && !expectsOutput(_line, "answer")) {
        worsen({Verdict::failed, "the operator says no: " + beginningOf(prompt.text, kToldBytes)}, _line.line);
    }
    return outcome;
}

Question LineRun::questionWith(const PromptLine& prompt) const {
    Question question = questionOf(prompt);
    if (!question.reference.empty()) {
        question.reference = fs::path(_context.programs.folder) / question.reference;
    }
    return question;
}

Outcome LineRun::showUntil(const PromptLine& prompt) {
    const RunSet::PersonsTime time(_set);
    const Question question = questionWith(prompt);
    const ShownQuestion shown(question, [this](const Question& asked) { return _set.pictureFor(asked); });
    Outcome outcome;
    outcome.good = true;
    if (prompt.end.kind == PromptEnd::Kind::time) {
        _set.rest(prompt.end.time);
        return outcome;
    }
    // It is waited for from now on, whatever the last line was.
    _set.events().beginWait(_set.agentNow());
    const Judgement judgement = _set.judge(prompt.end.event, prompt.end.text, _context.variables);
    worsen(judgement, _line.line);
    outcome.good = !isBad(judgement.verdict);
    return outcome;
}

// --- Instruments -----------------------------------------------------------------------------------------------------

Outcome LineRun::takeInstruments() {
    const Words all = words();
    _context.instruments.take({all.begin() + 1, all.end()}, [this] { _set.rest(kBetweenTries); });
    return {};
}

// --- A program -------------------------------------------------------------------------------------------------------

// Nothing that was kept or given becomes an option of the program.
Words LineRun::programWords() const {
    Words filled = words();
    for (std::size_t i = 1; i < filled.size(); ++i) {
        const bool isFilled = _line.words[i].rfind("${", 0) == 0;
        if (isFilled && filled[i].rfind('-', 0) == 0) {
            throw UsageError(_line.words[i] + " is " + display(filled[i], 40) +
                             ", which the program could take for an option");
        }
    }
    return filled;
}

Outcome LineRun::runProgram() {
    const ProgramLine line = parseProgramLine(programWords());
    const ProgramSurroundings& surroundings = _context.programs;
    ProgramCall call;
    call.command = line.command;
    call.file = programFile(line.command[0], surroundings.folder);
    call.within = line.within.value_or(surroundings.within);
    call.environment = surroundings.environment;
    if (call.file.empty()) {
        throw RequestError(ErrorCode::stationFailed, "no such program, or not executable");
    }
    const ProgramResult result = _set.runProgram(call);
    _told["output"] = beginningOf(result.output, kWholeBytes);
    _told["notes"] = result.values.notes();
    Outcome outcome;
    outcome.status = result.exitCode;
    outcome.good = result.exitCode == kProgramPassed;
    for (const ProgramValue& value : result.values.values()) {
        long long number = 0;
        outcome.outputs.emplace_back(value.name, parseNumber(value.value, number) ? Value(number) : Value(value.value));
        _told["outputs"][value.name] = value.unit.empty() ? value.value : value.value + " " + value.unit;
        if (!value.unit.empty()) {
            _units[value.name] = value.unit;
        }
    }
    judgeProgram(line.command, result);
    attach(result.values.files());
    return outcome;
}

void LineRun::judgeProgram(const Words& command, const ProgramResult& result) {
    const std::string last = result.lastLine();
    const std::string said = last.empty() ? "" : ": " + beginningOf(last, kToldOutput);
    const bool judgesStatus = std::any_of(_line.expectations.begin(), _line.expectations.end(),
                                          [](const Expectation& e) { return e.isAboutStatus(); });
    if (!result.values.problem().empty()) {
        worsen({Verdict::error, command[0] + ": " + result.values.problem()}, _line.line);
    }
    if (result.exitCode < 0) {
        worsen({Verdict::error, command[0] + ": " + result.problem + said}, _line.line);
    } else if (judgesStatus || result.exitCode == kProgramPassed) {
        return;
    } else if (result.exitCode == kProgramFailed) {
        worsen({Verdict::failed, command[0] + " has failed" + said}, _line.line);
    } else if (result.exitCode == kProgramSkipped) {
        _skipped = command[0] + " has nothing to do" + said;
    } else {
        worsen({Verdict::error, command[0] + ": ended with exit code " + std::to_string(result.exitCode) + said},
               _line.line);
    }
}

// A name next to the report that no other file has: programs may attach files of one name in several steps.
static std::string freeNameFor(const std::string& report, const fs::path& name) {
    std::string stored = report + "-" + name.string();
    std::error_code error;
    for (int number = 2; fs::exists(fs::symlink_status(stored, error)); ++number) {
        stored = report + "-" + name.stem().string() + "-" + std::to_string(number) + name.extension().string();
    }
    return stored;
}

// Copies the files next to the report. One that is missing is no fault of the unit.
void LineRun::attach(const std::vector<std::string>& files) {
    for (const std::string& file : files) {
        std::error_code error;
        if (!fs::is_regular_file(file, error) || fs::file_size(file, error) > kLargestAttachment) {
            worsen({Verdict::error, "attach " + display(file, 80) + ": expected a file of at most 64 MiB"}, _line.line);
            continue;
        }
        if (!hasReport()) {
            continue;
        }
        const std::string name = fs::path(file).filename().string();
        const std::string stored = freeNameFor(_context.report, name);
        fs::copy_file(file, stored, error);
        if (error) {
            removePartOf(stored);
            _told["note"] = name + " is not stored: " + error.message();
        } else {
            _told["attachments"].push_back({{"name", name}, {"file", fs::path(stored).filename().string()}});
        }
    }
}

}  // namespace tool
