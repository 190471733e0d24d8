// SPDX-License-Identifier: Apache-2.0
// Lines of steps, and what belongs to them.
#include <algorithm>

#include "language/parser.h"
#include "plan/program_step.h"
#include "language/words_of_plans.h"

namespace tool {

// A line of the present step. It counts even when it is wrong, so that its expectations have a place.
PlanLine& PlanParser::addLine(const Words& words) {
    _outputs.reset();
    _silent.clear();
    if (!_hasStep) {
        throw UsageError(display(words[0], 40) + (_plan.steps.empty() ? " stands before the first step"
                                                                      : " stands in no step, expected: step NAME"));
    }
    PlanLine& line = _plan.steps.back().lines.emplace_back();
    line.line = _line;
    line.words = words;
    line.conditions = _conditions;
    return line;
}

void PlanParser::addOwnLine(const Words& words) {
    const LineWord& word = *findLineWord(words[0]);
    PlanLine& line = addLine(words);
    line.kind = word.kind;
    _silent = word.answers ? "" : word.what;
    useVariables(words);
    if (word.kind == LineKind::instruments && isIn(PartKind::alongside)) {
        throw UsageError("use stands in no alongside: the end of a step gives back what the others use", 0);
    }
    const LineFacts facts = word.check(words);
    _outputs = facts.outputs;
    if (!facts.name.empty() && !_names.insert({word.kind, facts.name}).second) {
        throw UsageError("there is " + std::string(word.what) + " " + facts.name + " already");
    }
    for (const std::string& name : facts.keeps) {
        setVariable(name, 1);
    }
    if (!facts.program.empty()) {
        requireProgram(facts.program, folderOf(_plan));
    }
}

// A word of another language is named as that, wherever it stands.
void PlanParser::checkFirstWord(const std::string& word) {
    if (word == "set" || findOperation(word) != nullptr || !variablesOf(word).empty()) {
        return;
    }
    if (_hasStep) {
        // What is wrong is this line, and not those that belong to it.
        addLine({word});
    }
    throw UsageError(unknownPlanWord(word, knownWords()), 0);
}

// Throws UsageError for what would take the set away from the groups beside this one.
void PlanParser::requireNoRival(const Command& command) const {
    if (command.endsProcess() && isIn(PartKind::alongside)) {
        throw UsageError("nothing runs alongside a power cycle or a reboot", 0);
    }
}

void PlanParser::addCommand(Words words) {
    std::chrono::milliseconds within{0};
    if (words.size() > 2 && words[words.size() - 2] == "within") {
        within = parseTimeAt(words, words.size() - 1);
        words.resize(words.size() - 2);
    }
    PlanLine& line = addLine(words);
    line.within = within;
    const bool usesVariables = useVariables(words);
    const Command command = usesVariables ? commandWithAnyValues(words) : Command::parse(words);
    requireNoRival(command);
    if (command.endsProcess()) {
        _silent = command.isPowerCycle() ? "a power cycle" : "a reboot";
    } else {
        _outputs = command.outputNames();
    }
    if (!usesVariables) {
        line.command = command;
        warn(_surprises.next(command));
    }
}

void PlanParser::warn(const std::string& text) {
    if (!text.empty()) {
        _plan.warnings.push_back({_line, columnOf(_text, 0), text, _source.name});
    }
}

// True when the word holds variables.
bool PlanParser::useVariables(const std::string& word) {
    const std::vector<std::string> names = variablesOf(word);
    for (const std::string& name : names) {
        if (_kept.count(name) == 0) {
            const Words words = splitWords(_text);
            const auto place = std::find(words.begin(), words.end(), word) - words.begin();
            const std::string near = nearest(name, {_kept.begin(), _kept.end()});
            problem(UsageError(
                "${" + name + "} has not been kept before" + (near.empty() ? "" : ", did you mean ${" + near + "}?"),
                static_cast<std::size_t>(place)));
        }
    }
    return !names.empty();
}

// True when any of them does.
bool PlanParser::useVariables(const Words& words) {
    bool used = false;
    for (const std::string& word : words) {
        used = useVariables(word) || used;
    }
    return used;
}

void PlanParser::useVariables(const Condition& condition) {
    if (condition.compare != Compare::matches) {
        useVariables(condition.expected);
    }
}

// The line that an expectation or a keep belongs to. What the chip was asked can be expected of each but those that
// end the process.
PlanLine& PlanParser::lastLine(const std::string& word, bool isAboutChip) {
    if (!_hasStep || _plan.steps.back().lines.empty()) {
        throw UsageError(word + " stands behind no operation");
    }
    PlanLine& line = _plan.steps.back().lines.back();
    if (!_silent.empty() && (!isAboutChip || line.kind == LineKind::command)) {
        throw UsageError(word + " stands behind " + _silent + ", which answers nothing");
    }
    return line;
}

// Of a line with a problem the outputs are not known.
void PlanParser::checkOutput(const std::string& output, std::size_t word) const {
    if (output == "status" || !_outputs || std::count(_outputs->begin(), _outputs->end(), output) != 0) {
        return;
    }
    std::string known = "status";
    for (const std::string& name : *_outputs) {
        known += ", " + name;
    }
    const std::string near = nearest(output, *_outputs);
    throw UsageError("no such output: " + output + ", expected one of " + known +
                         (near.empty() ? "" : "; did you mean " + near + "?"),
                     word);
}

// "event.text"
void PlanParser::checkEventField(const std::string& output, const PlanLine& line) {
    const std::string_view field = std::string_view(output).substr(kEventPrefix.size());
    if (std::find(std::begin(kEventFields), std::end(kEventFields), field) == std::end(kEventFields)) {
        throw UsageError("no such output: " + output + ", expected event.value, event.text or event.bytes", 2);
    }
    const bool hasEvent =
        std::any_of(line.expectations.begin(), line.expectations.end(), [](const Expectation& expectation) {
            const auto* event = std::get_if<EventCondition>(&expectation.what);
            return event != nullptr && event->comes;
        });
    if (!hasEvent) {
        throw UsageError(output + " stands behind no \"expect event\"", 2);
    }
}

void PlanParser::addExpectation(const Words& words) {
    Expectation expectation = parseExpectation(words);
    PlanLine& line = lastLine(words[0], expectation.isAboutChip());
    expectation.line = _line;
    if (const auto* condition = std::get_if<Condition>(&expectation.what)) {
        if (!expectation.isAboutChip()) {
            checkOutput(condition->subject, 1);
        }
        useVariables(*condition);
    } else if (const auto* calls = std::get_if<CallsCondition>(&expectation.what)) {
        if (isIn(PartKind::alongside)) {
            throw UsageError("expect calls stands in no alongside: other groups make calls, too", 0);
        }
        useVariables(calls->calls);
    } else if (const auto* measure = std::get_if<Measure>(&expectation.what)) {
        checkMeasure(*measure, words);
    } else {
        for (const Condition& field : std::get<EventCondition>(expectation.what).fields) {
            useVariables(field);
        }
    }
    line.expectations.push_back(std::move(expectation));
}

void PlanParser::checkMeasure(const Measure& measure, const Words& words) {
    if (!_measures.insert(measure.name).second) {
        throw UsageError("there is a measurement " + measure.name + " already", 1);
    }
    checkOutput(measure.subject, 3);
    if (measure.limits.empty()) {
        return;
    }
    const auto place = static_cast<std::size_t>(std::find(words.begin() + 4, words.end(), "limits") - words.begin());
    if (_plan.limitsFile.empty()) {
        throw UsageError("limits " + measure.limits + ": the plan names no file of limits (limits FILE)", place);
    }
    try {
        useVariables(measure.limits);
        if (_areLimitsKnown && variablesOf(measure.limits).empty()) {
            checkLimits(measure, _plan.limits);
        }
    } catch (const UsageError& error) {
        throw UsageError(error.what(), place + 1);
    }
}

// Later lines know the name even when the line that sets it has a problem: one slip is one problem.
void PlanParser::setVariable(const std::string& name, std::size_t word) {
    const bool isTold = std::any_of(_plan.parameters.begin(), _plan.parameters.end(),
                                    [&](const PlanParameter& parameter) { return parameter.name == name; });
    if (isTold) {
        throw UsageError(name + " is a parameter, which nothing changes", word);
    }
    if (_loops.count(name) != 0) {
        throw UsageError(name + " is the variable of a loop, which nothing else changes", word);
    }
    _kept.insert(name);
}

void PlanParser::addKeep(const Words& words) {
    PlanLine& line = lastLine("keep");
    if (words.size() != 3 || !isName(words[1])) {
        throw UsageError("expected: keep NAME OUTPUT (a name of letters, digits and _)",
                         words.size() == 3 ? 1 : std::min<std::size_t>(words.size(), 3));
    }
    setVariable(words[1], 1);
    if (words[2].compare(0, kEventPrefix.size(), kEventPrefix) == 0) {
        checkEventField(words[2], line);
    } else {
        checkOutput(words[2], 2);
    }
    line.keeps.push_back({_line, words[1], words[2]});
}

}  // namespace tool
