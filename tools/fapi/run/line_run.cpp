// SPDX-License-Identifier: Apache-2.0
// One line of a plan.
#include "run/line_run.h"

#include <algorithm>
#include <filesystem>
#include <map>

#include "base/durable_file.h"
#include "operator/operator.h"
#include "plan/data.h"
#include "plan/picture_line.h"
#include "language/words_of_plans.h"
#include "protocol/characters.h"
#include "target/event_log.h"

namespace tool {

namespace {

// What the report shows of a value that was expected to be something.
constexpr std::size_t kShownFound = 200;

// What was looked at; a number in a range is a measurement.
void addFound(const Condition& condition, const std::string& what, const Value& value, Json& judged) {
    judged["found"] = display(value, kShownFound);
    long long number = 0;
    if (condition.compare == Compare::within && asNumber(value, number)) {
        judged["measurements"].push_back({{"what", what},
                                          {"value", number},
                                          {"low", condition.low},
                                          {"high", condition.high},
                                          {"margin", condition.margin}});
    }
}

void addNumber(Json& json, const char* name, const std::optional<double>& number) {
    json[name] = number ? Json(*number) : Json(nullptr);
}

// What was seen and what was allowed, for reports and for the store.
Json toJson(const Measure& measure, const Measured& measured) {
    Json json = {{"name", measure.name},
                 {"what", measure.subject},
                 {"unit", measured.unit},
                 {"margin", measure.margin},
                 {"verdict", verdictName(measured.judgement.verdict)}};
    const std::vector<Bounds>& bounds = measured.allowed.bounds;
    if (measured.allowed.isList || measured.values.size() > 1) {
        json["values"] = measured.values;
        json["limits"] = Json::array();
        for (const Bounds& each : bounds) {
            Json limit;
            addNumber(limit, "low", each.low);
            addNumber(limit, "high", each.high);
            json["limits"].push_back(std::move(limit));
        }
        return json;
    }
    addNumber(json, "value", measured.values.empty() ? std::nullopt : std::optional(measured.values.front()));
    addNumber(json, "low", bounds.front().low);
    addNumber(json, "high", bounds.front().high);
    if (!measured.text.empty()) {
        json["text"] = measured.text;
    }
    return json;
}

// Whether the request was only refused: the set is there, and the run goes on.
bool isRefusal(const RequestError& error) {
    switch (error.code()) {
        case ErrorCode::unavailable:
        case ErrorCode::wrongParameters:
        case ErrorCode::notSupported:
        case ErrorCode::unknownMethod:
        case ErrorCode::internal:
        case ErrorCode::stationFailed:
            return true;
        default:
            return false;
    }
}

// "-ch_21" for "[ch=21]"
std::string fileNameOf(const std::string& label) {
    std::string name;
    for (const char c : label) {
        name += c == '[' ? "-" : c == ']' ? "" : isFileName({c}) ? std::string(1, c) : "_";
    }
    return name;
}

bool expectsCalls(const PlanLine& line) {
    return std::any_of(line.expectations.begin(), line.expectations.end(), [](const Expectation& expectation) {
        return std::holds_alternative<CallsCondition>(expectation.what);
    });
}

}  // namespace

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

Verdict verdictOf(const RequestError& error) {
    switch (error.code()) {
        case ErrorCode::stationFailed:
        case ErrorCode::ended:
        case ErrorCode::stuck:
        case ErrorCode::claimed:
            return Verdict::error;
        default:
            return Verdict::failed;
    }
}

std::string placeText(const Step& step, unsigned int line) {
    return (step.file.empty() ? "" : std::filesystem::path(step.file).filename().string() + ", ") + "line " +
           std::to_string(line);
}

bool LineRun::run() {
    if (skip()) {
        return true;
    }
    _set.beginLine(expectsCalls(_line));
    try {
        if (_line.kind != LineKind::command) {
            runOwn();
        } else if (!runCommand()) {
            return false;
        }
    } catch (const UsageError& error) {
        worsen({Verdict::failed, error.what()}, _number);
    } catch (const SetLost&) {
        throw;
    } catch (const RequestError& error) {
        if (!isRefusal(error)) {
            throw;
        }
        const std::string what = beginningOf(_line.text(), kToldBytes) + ": " + error.what();
        worsen({verdictOf(error), what}, _number);
    }
    finish();
    return true;
}

// Whether the line is not for this set, or not for this run.
bool LineRun::skip() {
    std::string why = _line.skipped;
    try {
        for (const OnlyIf& only : _line.conditions) {
            why = why.empty() ? only.skips(_context.variables) : why;
        }
    } catch (const UsageError& error) {
        worsen({Verdict::failed, error.what()}, _line.line);
        why = error.what();
    }
    if (!why.empty() && hasReport()) {
        _attempt.commands.push_back(
            {{"command", beginningOf(_line.text(), kKeptBytes)}, {"line", _line.line}, {"skipped", why}});
    }
    return !why.empty();
}

bool LineRun::runCommand() {
    std::optional<Command> made;
    if (!_line.command) {
        made = Command::parse(words());
    }
    const Command& command = _line.command ? *_line.command : *made;
    TimeLimit limit;
    if (_line.within.count() != 0) {
        limit = {Clock::now() + _line.within, timeText(_line.within) + ", the limit of the line"};
    }
    const std::optional<CallAnswer> answer = _set.run(command, limit);
    if (!answer) {
        return false;
    }
    _begun = answer->begun;
    if (hasReport()) {
        _told = toJson(command, answer->outcome, kWholeBytes);
        _told["line"] = _line.line;
        _told["seconds"] = secondsSince(_start);
    }
    judgeOutcome(command, answer->outcome);
    // Whatever was answered and expected: with storage of its own the set might have done otherwise.
    for (const std::string& trouble : answer->troubles) {
        worsen({Verdict::error, trouble}, _line.line);
    }
    followUp(command, answer->outcome);
    return true;
}

// What is no matter of the library: a picture, data, a wait.
void LineRun::runOwn() {
    static const std::map<LineKind, Outcome (LineRun::*)()> doings = {
        {LineKind::data, &LineRun::takeData},       {LineKind::instruments, &LineRun::takeInstruments},
        {LineKind::picture, &LineRun::takePicture}, {LineKind::program, &LineRun::runProgram},
        {LineKind::prompt, &LineRun::askPerson},    {LineKind::wait, &LineRun::rest},
    };
    _told = {{"command", beginningOf(_line.text(), kKeptBytes)}, {"line", _line.line}};
    const auto fail = [&](const std::runtime_error& error, Verdict verdict) {
        worsen({verdict, beginningOf(_line.text(), kToldBytes) + ": " + error.what()}, _line.line);
        _told["error"] = error.what();
    };
    Outcome outcome;
    try {
        outcome = (this->*doings.at(_line.kind))();
    } catch (const RequestError& error) {
        if (!isRefusal(error)) {
            throw;
        }
        fail(error, verdictOf(error));
    } catch (const std::runtime_error& error) {
        fail(error, Verdict::failed);
    }
    _told["seconds"] = secondsSince(_start);
    if (!_skipped.empty()) {
        _told["skipped"] = _skipped;
        _attempt.skipped.push_back(_skipped);
        return;
    }
    followUp({}, outcome);
}

Outcome LineRun::rest() {
    _set.rest(parseWait(words()));
    return {};
}

Outcome LineRun::takePicture() {
    const PictureLine picture = parsePicture(words());
    const Picture taken = _set.takePicture(picture.what);
    if (hasReport()) {
        const std::string name = picture.name + fileNameOf(_context.label);
        const std::string file = _context.report + "-" + name + ".png";
        try {
            writePng(taken, file);
            _told["picture"] = {{"name", name}, {"file", std::filesystem::path(file).filename().string()}};
        } catch (const FileError& error) {
            _told["note"] = "picture " + picture.name + " is not stored: " + error.what();
        }
    }
    return {};
}

Outcome LineRun::takeData() {
    const PlanData data = PlanData::parse(words());
    Json all = Json::array();
    for (const DataSeries& series : data.request.isNull() ? data.series : parseSeries(_set.ask("data", data.request))) {
        all.push_back({{"name", series.name}, {"values", series.values}});
    }
    _told["data"] = {{"name", data.name + _context.label}, {"kind", data.kind}, {"series", std::move(all)}};
    return {};
}

// Judges what the chip has refused, and gives the report what came of the line.
void LineRun::finish() {
    _set.catchUp();
    const std::vector<RefusedCall> refusals = _set.calls().takeRefusals();
    if (_context.judgesRefusals) {
        worsen(_set.calls().judgeRefusals(refusals), _line.line);
    }
    const std::vector<GivenAnswer> answers = theOperator().takeAnswers();
    if (!hasReport() || _told.is_null()) {
        return;
    }
    for (const GivenAnswer& answer : answers) {
        _told["operator"].push_back(toJson(answer));
    }
    if (!refusals.empty()) {
        addRefusals(_told, refusals);
    }
    _attempt.commands.push_back(std::move(_told));
}

Words LineRun::words() const {
    Words words = _line.words;
    for (std::string& word : words) {
        word = substitute(word, _context.variables);
    }
    return words;
}

// Without an expectation of the status it must be a good one.
void LineRun::judgeOutcome(const Command& command, const Outcome& outcome) {
    const bool judgesStatus = std::any_of(_line.expectations.begin(), _line.expectations.end(),
                                          [](const Expectation& e) { return e.isAboutStatus(); });
    if (judgesStatus || outcome.good) {
        return;
    }
    const Value* error = outcome.find("error");
    worsen({Verdict::failed, beginningOf(command.text(), kToldBytes) + " answered " + std::to_string(outcome.status) +
                                 " (" + command.word(outcome) + ")" + (error != nullptr ? ": " + display(*error) : "") +
                                 reasonOf(outcome)},
           _line.line);
}

// Expectations and keeps, in the order in which they are written.
void LineRun::followUp(const Command& command, const Outcome& outcome) {
    if (hasReport()) {
        _told["expectations"] = Json::array();
    }
    auto next = _line.keeps.begin();
    for (const Expectation& expectation : _line.expectations) {
        for (; next != _line.keeps.end() && next->line < expectation.line; ++next) {
            keep(*next, outcome);
        }
        _number = expectation.line;
        const Json judged = judgeExpectation(expectation, command, outcome);
        if (hasReport()) {
            _told["expectations"].push_back(judged);
        }
    }
    for (; next != _line.keeps.end(); ++next) {
        keep(*next, outcome);
    }
}

// What the report says of it.
Json LineRun::judgeExpectation(const Expectation& expectation, const Command& command, const Outcome& outcome) {
    Json judged = {{"line", expectation.line}, {"text", beginningOf(expectation.text, kKeptBytes)}};
    const auto* event = std::get_if<EventCondition>(&expectation.what);
    // Nobody waits for the events of what has failed.
    if (event != nullptr && isBad(_attempt.judgement.verdict)) {
        judged["verdict"] = verdictName(Verdict::notRun);
        judged["why"] = "";
        return judged;
    }
    const Judgement judgement = judgementOf(expectation, command, outcome, judged);
    worsen(judgement, expectation.line);
    judged["verdict"] = verdictName(judgement.verdict);
    judged["why"] = beginningOf(judgement.text, kKeptBytes);
    if (event != nullptr && event->comes && _set.events().taken() != nullptr) {
        addEvent(*event, *_set.events().taken(), judged);
    } else if (const auto* condition = std::get_if<Condition>(&expectation.what)) {
        const Value* value = outcome.find(condition->subject);
        if (value != nullptr || expectation.isAboutStatus()) {
            addFound(*condition, condition->subject, value != nullptr ? *value : Value(outcome.status), judged);
        }
    }
    return judged;
}

Judgement LineRun::judgeMeasure(const Measure& measure, const Command& command, const Outcome& outcome, Json& judged) {
    Measure meant = measure;
    meant.name += _context.label;
    meant.limits = substitute(meant.limits, _context.variables);
    const auto unit = _units.find(measure.subject);
    const bool hasUnit =
        !measure.unit.empty() || (!meant.limits.empty() && !_context.limits.at(meant.limits).unit.empty());
    if (unit != _units.end() && !hasUnit) {
        meant.unit = unit->second;
    }
    Measured measured = tool::judge(meant, command, outcome, _context.limits);
    if (unit != _units.end() && measure.scale == 1 && measured.unit != unit->second) {
        measured.judgement = {Verdict::error, meant.name + " is expected in " + measured.unit +
                                                  ", and the program has measured it in " + unit->second};
    }
    judged["measurements"] = Json::array({toJson(meant, measured)});
    return measured.judgement;
}

Judgement LineRun::judgementOf(const Expectation& expectation, const Command& command, const Outcome& outcome,
                               Json& judged) {
    if (const auto* measure = std::get_if<Measure>(&expectation.what)) {
        return judgeMeasure(*measure, command, outcome, judged);
    }
    if (const auto* event = std::get_if<EventCondition>(&expectation.what)) {
        return _set.judge(*event, expectation.text, _context.variables);
    }
    if (expectation.isAboutChip()) {
        _set.catchUp();
    }
    if (const auto* calls = std::get_if<CallsCondition>(&expectation.what)) {
        return _set.calls().judge(*calls, _context.variables);
    }
    const auto& condition = std::get<Condition>(expectation.what);
    return expectation.isAboutChip() ? tool::judge(condition, Value(_set.calls().judgedRefusals()), _context.variables)
                                     : tool::judge(condition, command, outcome, _context.variables);
}

void LineRun::addEvent(const EventCondition& condition, const Event& event, Json& judged) const {
    judged["event"] = toJson(event);
    // The two clocks have the line in common.
    const auto age = (_start - _attempt.start) + (event.mono - _begun);
    judged["event"]["after"] = std::chrono::duration<double>(age).count();
    for (const Condition& field : condition.fields) {
        addFound(field, "event." + field.subject, fieldOf(event, field.subject), judged);
    }
    judged["found"] = describe(event);
}

void LineRun::keep(const Keep& keep, const Outcome& outcome) {
    if (const std::optional<Value> value = valueOf(keep.output, outcome)) {
        _context.variables[keep.name] = *value;
        _context.kept[keep.name] = *value;
    }
}

std::optional<Value> LineRun::valueOf(std::string_view output, const Outcome& outcome) const {
    if (output == "status") {
        return outcome.status;
    }
    if (output.substr(0, kEventPrefix.size()) != kEventPrefix) {
        const Value* value = outcome.find(output);
        return value != nullptr ? std::optional(*value) : std::nullopt;
    }
    const Event* event = _set.events().taken();
    return event != nullptr ? std::optional(fieldOf(*event, output.substr(kEventPrefix.size()))) : std::nullopt;
}

// The worst verdict of an attempt counts, and the first text of that verdict.
void LineRun::worsen(const Judgement& judgement, unsigned int line) {
    if (judgement.verdict > _attempt.judgement.verdict) {
        const std::string text = placeText(_step, line) + ": " + judgement.text;
        _attempt.judgement = {judgement.verdict, beginningOf(text, kKeptBytes)};
    }
}

}  // namespace tool
