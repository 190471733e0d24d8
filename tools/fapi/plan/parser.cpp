// SPDX-License-Identifier: Apache-2.0
// Reads plans, and finds everything in them that cannot work.
#include <algorithm>
#include <set>

#include "base/words.h"
#include "plan/data.h"
#include "plan/picture_line.h"
#include "plan/plan.h"
#include "plan/words_of_plans.h"
#include "target/surprises.h"

namespace tool {

namespace {

constexpr long long kMostRetries = 100000;
// "only-if target KIND"
constexpr const char* kOnlyIf = "only-if";
constexpr int kConditionWords = 3;

bool isName(const std::string& word) {
    return !word.empty() && word.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_") ==
                                std::string::npos;
}

void requireEnd(const Words& words, std::size_t used) {
    if (words.size() > used) {
        throw UsageError(display(words[used], 40) + " is one word too many", used);
    }
}

class Parser {
public:
    Parser(std::string_view text, std::vector<Problem>& problems, const std::string& file) : _problems(problems) {
        _plan.file = file;
        for (const std::string_view line : splitLines(text)) {
            ++_line;
            parseLine(line);
        }
        finish();
    }

    Plan take() { return std::move(_plan); }

private:
    void parseLine(std::string_view text) {
        _text = text;
        try {
            Words words = splitWords(text);
            _before = 0;
            if (words.empty()) {
                return;
            }
            std::string skipped;
            if (words[0] == kOnlyIf) {
                skipped = takeCondition(words);
            }
            if (!skipped.empty() || isAfterSkipped(words[0])) {
                skipLine(words, skipped);
            } else if (words[0] == "plan") {
                parsePlanName(words);
            } else if (words[0] == "on-failure") {
                parseDefaultOnFailure(words);
            } else if (words[0] == "param") {
                addParameter(words);
            } else if (words[0] == "unit") {
                parseUnit(words);
            } else if (words[0] == "limits") {
                parseLimitsLine(words);
            } else if (words[0] == "step") {
                parseStep(words);
            } else if (words[0] == "teardown") {
                parseTeardown(words);
            } else if (words[0] == "expect" || words[0] == "measure") {
                addExpectation(words);
            } else if (words[0] == "keep") {
                addKeep(words);
            } else if (words[0] == "picture") {
                addPicture(words);
            } else if (words[0] == "data") {
                addData(words);
            } else if (words[0] == "wait") {
                addWait(words);
            } else {
                checkFirstWord(words[0]);
                addCommand(words);
            }
        } catch (const UsageError& error) {
            problem(error);
        }
    }

    void problem(const UsageError& error) {
        _problems.push_back({_line, columnOf(_text, error.behind(_before, error.what())), error.what()});
    }

    // Cuts "only-if target KIND" off the words, from words[i] on. Returns why the set is not meant; empty when it is.
    std::string takeCondition(Words& words) {
        const std::string skipped = conditionAt(words, 0);
        if (words.size() == kConditionWords) {
            throw UsageError("only-if stands before a line of a step, or behind a step's name", kConditionWords);
        }
        static const std::set<std::string> whole = {"limits", "on-failure", "param", "plan",
                                                    "step",   "teardown",   kOnlyIf, "unit"};
        if (whole.count(words[kConditionWords]) != 0) {
            throw UsageError("only-if stands before a line of a step, or behind a step's name", 0);
        }
        words.erase(words.begin(), words.begin() + kConditionWords);
        _before = kConditionWords;
        return skipped;
    }

    static std::string conditionAt(const Words& words, std::size_t i) {
        const auto wordAt = [&](std::size_t place) { return place < words.size() ? words[place] : std::string(); };
        const std::string kind = wordAt(i + 2);
        if (wordAt(i + 1) != "target" || (kind != "virtual" && kind != "board")) {
            throw UsageError("expected: only-if target virtual or only-if target board",
                             wordAt(i + 1) != "target" ? i + 1 : i + 2);
        }
        return kind == targetKind() ? ""
                                    : "only for a target of the kind " + kind + ", and this one is " + targetKind();
    }

    // Whether the line belongs to one that is skipped, or to a step that is.
    bool isAfterSkipped(const std::string& word) const {
        if (_plan.steps.empty() || word == "step" || word == "teardown" || word == "plan" || word == "on-failure") {
            return false;
        }
        const bool follows = isFollower(word);
        const std::vector<PlanLine>& lines = _plan.steps.back().lines;
        return !_plan.steps.back().skipped.empty() || (follows && !lines.empty() && !lines.back().skipped.empty());
    }

    // Whether a line of that word belongs to the one above it.
    static bool isFollower(const std::string& word) { return word == "expect" || word == "keep" || word == "measure"; }

    // What is not for this set is not checked: its agent need not know any of it.
    void skipLine(const Words& words, const std::string& why) {
        if (words[0] == "keep" && words.size() == 3) {
            _kept.insert(words[1]);
        }
        if (!isFollower(words[0])) {
            PlanLine& line = addLine(words);
            line.skipped = why.empty() ? _plan.steps.back().skipped : why;
        }
    }

    void parsePlanName(const Words& words) {
        if (words.size() != 2) {
            throw UsageError("expected: plan NAME", std::min<std::size_t>(words.size(), 2));
        }
        if (!_plan.name.empty() || !_plan.steps.empty()) {
            throw UsageError("a plan has one name, before its first step");
        }
        _plan.name = words[1];
    }

    void requireHead(const std::string& word) const {
        if (!_plan.steps.empty()) {
            throw UsageError(word + " stands before the first step", 0);
        }
    }

    void addParameter(const Words& words) {
        requireHead("param");
        if (words.size() < 2 || !isName(words[1])) {
            throw UsageError(
                "expected: param NAME [matches RE] [default VALUE] \"what it is\" "
                "(a name of letters, digits and _)",
                std::min<std::size_t>(words.size(), 1));
        }
        if (!_kept.insert(words[1]).second) {
            throw UsageError("there is a " + words[1] + " already", 1);
        }
        _plan.parameters.push_back(parseParameter(words));
    }

    void parseUnit(const Words& words) {
        requireHead("unit");
        if (words.size() != 3 || words[1] != "serial" || words[2].empty()) {
            const bool isOther = words.size() > 1 && words[1] != "serial";
            throw UsageError("expected: unit serial VALUE", isOther ? 1 : std::min<std::size_t>(words.size(), 3));
        }
        if (!_plan.unit.empty()) {
            throw UsageError("a plan has one unit", 0);
        }
        useVariables(words);
        _plan.unit = words[2];
    }

    // A file whose name depends on a parameter is read when a run begins.
    void parseLimitsLine(const Words& words) {
        requireHead("limits");
        if (words.size() != 2 || words[1].empty()) {
            throw UsageError("expected: limits FILE", std::min<std::size_t>(words.size(), 2));
        }
        if (!_plan.limitsFile.empty()) {
            throw UsageError("a plan has one file of limits", 0);
        }
        _plan.limitsFile = words[1];
        const std::vector<std::string> names = variablesOf(words[1]);
        _areLimitsKnown =
            std::all_of(names.begin(), names.end(), [](const std::string& name) { return name == kPlanFolder; });
        if (useVariables(words) && !_areLimitsKnown) {
            return;
        }
        try {
            _plan.limits = limitsFor(_plan, {});
        } catch (const UsageError& error) {
            _areLimitsKnown = false;
            throw UsageError(error.what(), 1);
        }
    }

    void checkMeasure(const Measure& measure, const Words& words) {
        if (!_measures.insert(measure.name).second) {
            throw UsageError("there is a measurement " + measure.name + " already", 1);
        }
        checkOutput(measure.subject, 3);
        if (measure.limits.empty()) {
            return;
        }
        const auto place =
            static_cast<std::size_t>(std::find(words.begin() + 4, words.end(), "limits") - words.begin());
        if (_plan.limitsFile.empty()) {
            throw UsageError("limits " + measure.limits + ": the plan names no file of limits (limits FILE)", place);
        }
        try {
            if (_areLimitsKnown) {
                checkLimits(measure, _plan.limits);
            }
        } catch (const UsageError& error) {
            throw UsageError(error.what(), place + 1);
        }
    }

    void parseDefaultOnFailure(const Words& words) {
        if (!_plan.steps.empty()) {
            throw UsageError("on-failure stands before the first step, or behind a step's name");
        }
        requireEnd(words, parseOnFailure(words, 0, _stopOnFailure));
    }

    // "on-failure stop|continue" at words[i]; returns the place behind it.
    static std::size_t parseOnFailure(const Words& words, std::size_t i, bool& stop) {
        if (i + 1 >= words.size() || (words[i + 1] != "stop" && words[i + 1] != "continue")) {
            throw UsageError("expected: on-failure stop or on-failure continue", i + 1);
        }
        stop = words[i + 1] == "stop";
        return i + 2;
    }

    void parseStep(const Words& words) {
        endStep();
        // The step counts even when its line is wrong, so that what follows has a place.
        Step& step = _plan.steps.emplace_back();
        step.line = _line;
        _stepColumn = columnOf(_text, 0);
        step.teardown = _teardown;
        step.stopOnFailure = _stopOnFailure && !_teardown;
        if (words.size() < 2 || words[1].empty()) {
            throw UsageError(
                "expected: step NAME [retry N] [every TIME] [on-failure stop|continue] [only-if target KIND]", 1);
        }
        step.name = words[1];
        for (std::size_t i = 2; i < words.size();) {
            i = parseStepOption(words, i, step);
        }
        if (step.every.count() != 0 && step.retry == 0) {
            throw UsageError("every says how far retries are apart, expected retry too");
        }
    }

    std::size_t parseStepOption(const Words& words, std::size_t i, Step& step) const {
        const std::string next = i + 1 < words.size() ? words[i + 1] : "";
        if (words[i] == "retry") {
            long long retry = 0;
            if (!parseNumber(next, retry) || retry < 0 || retry > kMostRetries) {
                throw UsageError("retry is " + display(next, 40) + ", expected a number of further attempts", i + 1);
            }
            step.retry = static_cast<unsigned int>(retry);
            return i + 2;
        }
        if (words[i] == "every") {
            if (!parseTime(next, step.every)) {
                throw UsageError("every is " + display(next, 40) + ", expected a time like 200ms or 1.5s", i + 1);
            }
            return i + 2;
        }
        if (words[i] == "on-failure" && _teardown) {
            throw UsageError("on-failure: a teardown goes on whatever fails", i);
        }
        if (words[i] == "on-failure") {
            return parseOnFailure(words, i, step.stopOnFailure);
        }
        if (words[i] == kOnlyIf) {
            step.skipped = conditionAt(words, i);
            return i + kConditionWords;
        }
        const std::string instead = unknownPlanWord(words[i]);
        const bool isForeign = instead.rfind("plans know", 0) == 0;
        throw UsageError(isForeign ? instead : display(words[i], 40) + ": expected retry, every, on-failure or only-if",
                         i);
    }

    void parseTeardown(const Words& words) {
        endStep();
        requireEnd(words, 1);
        if (_teardown) {
            throw UsageError("there is a teardown already");
        }
        _teardown = true;
    }

    // A line of the present step. It counts even when it is wrong, so that its expectations have a place.
    PlanLine& addLine(const Words& words) {
        _outputs.reset();
        _silent.clear();
        if (_plan.steps.empty() || (_teardown && !_plan.steps.back().teardown)) {
            throw UsageError(display(words[0], 40) + " stands before the first step");
        }
        PlanLine& line = _plan.steps.back().lines.emplace_back();
        line.line = _line;
        line.words = words;
        return line;
    }

    void addPicture(const Words& words) {
        PlanLine& line = addLine(words);
        line.kind = LineKind::picture;
        _silent = "a picture";
        useVariables(words);
        const PictureLine picture = parsePicture(words);
        if (!_pictures.insert(picture.name).second) {
            throw UsageError("there is a picture " + picture.name + " already");
        }
    }

    void addData(const Words& words) {
        PlanLine& line = addLine(words);
        line.kind = LineKind::data;
        _silent = "data";
        useVariables(words);
        const PlanData data = PlanData::parse(words);
        if (!_data.insert(data.name).second) {
            throw UsageError("there are data " + data.name + " already");
        }
    }

    void addWait(const Words& words) {
        PlanLine& line = addLine(words);
        line.kind = LineKind::wait;
        _silent = "a wait";
        if (!useVariables(words)) {
            static_cast<void>(parseWait(words));
        }
    }

    // A word of another language is named as that, wherever it stands.
    void checkFirstWord(const std::string& word) {
        if (word == "set" || findOperation(word) != nullptr || !variablesOf(word).empty()) {
            return;
        }
        if (!_plan.steps.empty()) {
            // What is wrong is this line, and not those that belong to it.
            addLine({word});
        }
        throw UsageError(unknownPlanWord(word), 0);
    }

    void addCommand(const Words& words) {
        PlanLine& line = addLine(words);
        const bool usesVariables = useVariables(words);
        const Command command = usesVariables ? commandWithAnyValues(words) : Command::parse(words);
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

    void warn(const std::string& text) {
        if (!text.empty()) {
            _plan.warnings.push_back({_line, columnOf(_text, 0), text});
        }
    }

    // True when the word holds variables.
    bool useVariables(const std::string& word) {
        const std::vector<std::string> names = variablesOf(word);
        for (const std::string& name : names) {
            if (_kept.count(name) == 0) {
                const Words words = splitWords(_text);
                const auto place = std::find(words.begin(), words.end(), word) - words.begin();
                const std::string near = nearest(name, {_kept.begin(), _kept.end()});
                problem(UsageError("${" + name + "} has not been kept before" +
                                       (near.empty() ? "" : ", did you mean ${" + near + "}?"),
                                   static_cast<std::size_t>(place)));
            }
        }
        return !names.empty();
    }

    // True when any of them does.
    bool useVariables(const Words& words) {
        bool used = false;
        for (const std::string& word : words) {
            used = useVariables(word) || used;
        }
        return used;
    }

    void useVariables(const Condition& condition) {
        if (condition.compare != Compare::matches) {
            useVariables(condition.expected);
        }
    }

    // The line that an expectation or a keep belongs to. What the chip was asked can be expected of each but those that
    // end the process.
    PlanLine& lastLine(const std::string& word, bool isAboutChip = false) {
        if (_plan.steps.empty() || _plan.steps.back().lines.empty()) {
            throw UsageError(word + " stands behind no operation");
        }
        PlanLine& line = _plan.steps.back().lines.back();
        if (!_silent.empty() && (!isAboutChip || line.kind == LineKind::command)) {
            throw UsageError(word + " stands behind " + _silent + ", which answers nothing");
        }
        return line;
    }

    // Of a line with a problem the outputs are not known.
    void checkOutput(const std::string& output, std::size_t word) const {
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
    static void checkEventField(const std::string& output, const PlanLine& line) {
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

    void addExpectation(const Words& words) {
        Expectation expectation = parseExpectation(words);
        PlanLine& line = lastLine(words[0], expectation.isAboutChip());
        expectation.line = _line;
        if (const auto* condition = std::get_if<Condition>(&expectation.what)) {
            if (!expectation.isAboutChip()) {
                checkOutput(condition->subject, 1);
            }
            useVariables(*condition);
        } else if (const auto* calls = std::get_if<CallsCondition>(&expectation.what)) {
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

    void addKeep(const Words& words) {
        PlanLine& line = lastLine("keep");
        if (words.size() != 3 || !isName(words[1])) {
            throw UsageError("expected: keep NAME OUTPUT (a name of letters, digits and _)",
                             words.size() == 3 ? 1 : std::min<std::size_t>(words.size(), 3));
        }
        const bool isTold = std::any_of(_plan.parameters.begin(), _plan.parameters.end(),
                                        [&](const PlanParameter& parameter) { return parameter.name == words[1]; });
        if (isTold) {
            throw UsageError(words[1] + " is a parameter, which nothing changes", 1);
        }
        // Known from here on even when the output is not: one slip is one problem.
        _kept.insert(words[1]);
        if (words[2].compare(0, kEventPrefix.size(), kEventPrefix) == 0) {
            checkEventField(words[2], line);
        } else {
            checkOutput(words[2], 2);
        }
        line.keeps.push_back({_line, words[1], words[2]});
    }

    void endStep() {
        if (!_plan.steps.empty() && _plan.steps.back().lines.empty() && !_plan.steps.back().name.empty()) {
            _problems.push_back({_plan.steps.back().line, _stepColumn, "the step does nothing"});
        }
    }

    void finish() {
        endStep();
        if (_plan.name.empty()) {
            _problems.insert(_problems.begin(), {1, 1, "the plan has no name, expected: plan NAME"});
        }
        if (_plan.steps.empty()) {
            _problems.push_back({std::max(_line, 1u), 1, "the plan has no step, expected: step NAME"});
        }
        std::stable_sort(_problems.begin(), _problems.end(),
                         [](const Problem& left, const Problem& right) { return left.line < right.line; });
    }

    std::vector<Problem>& _problems;
    Plan _plan;
    std::string_view _text;  // of the line
    unsigned int _line = 0;
    std::size_t _before = 0;  // words of the line that are cut off
    std::size_t _stepColumn = 1;
    Surprises _surprises;
    bool _teardown = false;
    bool _stopOnFailure = true;
    // Of the last line, as far as they are known.
    std::optional<std::vector<std::string>> _outputs;
    std::string _silent;  // what it is, when it answers nothing
    std::set<std::string> _kept = {kPlanFolder};
    std::set<std::string> _pictures;
    std::set<std::string> _data;
    std::set<std::string> _measures;
    bool _areLimitsKnown = false;
};

}  // namespace

std::string PlanLine::text() const {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : " ") + quoteWord(word);
    }
    return text;
}

Plan parsePlan(std::string_view text, std::vector<Problem>& problems, const std::string& file) {
    return Parser(text, problems, file).take();
}

}  // namespace tool
