// SPDX-License-Identifier: Apache-2.0
// The process that holds library and set while a plan runs.
#include <algorithm>
#include <csignal>
#include <filesystem>
#include <thread>

#include <sys/prctl.h>
#include <unistd.h>

#include "base/durable_file.h"
#include "base/picture.h"
#include "plan/calls.h"
#include "plan/data.h"
#include "plan/event.h"
#include "protocol/characters.h"
#include "record/record.h"
#include "target/armed_faults.h"
#include "target/in_process.h"
#include "target/output.h"
#include "vset/vset.h"
#include "vset/wdt.h"

namespace tool {

namespace {

// What the report shows of a value that was expected to be something.
constexpr std::size_t kShownFound = 200;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// At once, as when the power is cut. The library's log is all that this process prints, and it is flushed line by line.
[[noreturn]] void reboot() {
    _exit(kExitReboot);
}

bool isInit(const Command& command) {
    constexpr std::string_view kEnd = "_init";
    const std::string name = command.operation() != nullptr ? command.operation()->name : "";
    return name.size() > kEnd.size() && name.compare(name.size() - kEnd.size(), kEnd.size(), kEnd) == 0;
}

class PlanProcess {
public:
    PlanProcess(const Plan& plan, const Position& position, const Variables& variables, const std::string& report,
                StepLog* log, int descriptor)
        : _plan(plan),
          _position(position),
          _variables(variables),
          _report(report),
          _log(log),
          _descriptor(descriptor),
          _faults(plan.faults, _position.faultCalls) {}

    void run() {
        if (_position.resumed) {
            bringUpAgain();
        }
        // What brought the set up again is no matter of a step.
        _calls.takeRefusals(nullptr);
        for (; _position.step < _plan.steps.size(); ++_position.step) {
            const Step& step = _plan.steps[_position.step];
            if (step.teardown || !_position.stopped) {
                runStep(step);
            }
            nextAttempt(1);
        }
        send(Record{RecordKind::done, _position, 0, std::to_string(vset::bootCount()), {}, nullptr});
    }

    // A disk that is full is no fault of the set.
    void refuse(const std::string& text) {
        _position.judgement = {vset::takeHostTroubles().empty() ? Verdict::failed : Verdict::error, text};
        send(RecordKind::refused);
    }

private:
    // The modules that the steps before have brought up since the last power cycle. A teardown does that itself, for
    // it may follow anything.
    void bringUpAgain() {
        _position.resumed = false;
        std::vector<const Command*> inits;
        for (std::size_t i = 0; i < _position.step && !_position.stopped; ++i) {
            for (const PlanLine& line : _plan.steps[i].lines) {
                if (line.command && line.command->endsProcess()) {
                    inits.clear();
                } else if (line.command && isInit(*line.command)) {
                    inits.push_back(&*line.command);
                }
            }
        }
        for (const Command* command : inits) {
            const Outcome outcome = runCommand(*command);
            if (!outcome.good) {
                std::fprintf(stderr, "fapi: %s answered %lld\n", command->text().c_str(), outcome.status);
            }
        }
    }

    void send(RecordKind kind) { send(Record{kind, _position, 0, "", {}, nullptr}); }

    // One write a record: nothing that has happened is lost when this process dies.
    void send(const Record& record) const {
        const std::string line = encode(record);
        for (std::size_t sent = 0; sent < line.size();) {
            const ssize_t length = write(_descriptor, line.data() + sent, line.size() - sent);
            if (length <= 0) {
                // Nobody listens any more.
                _exit(kExitInterrupted);
            }
            sent += static_cast<std::size_t>(length);
        }
    }

    void nextAttempt(unsigned int attempt) {
        _position.attempt = attempt;
        _position.line = 0;
        _position.judgement = {};
    }

    void runStep(const Step& step) {
        for (;; nextAttempt(_position.attempt + 1)) {
            const bool begins = _position.line == 0 && _position.attempt == 1;
            if (begins || !_faultsArmed) {
                _faults.beginStep(step.name, begins);
                _faultsArmed = true;
            }
            // Not at the beginning after a power cycle.
            if (_position.line == 0) {
                _position.start = Clock::now();
                _events.clear();
                if (_log != nullptr) {
                    _log->clear();
                }
                send(RecordKind::start);
            }
            runLines(step);
            const bool bad = isBad(_position.judgement.verdict);
            const bool last = !bad || _position.attempt > step.retry;
            _position.stopped = _position.stopped || (last && bad && step.stopOnFailure);
            _position.line = step.lines.size();
            last ? _faults.endStep(step.name) : _faults.count();
            const std::string logged = bad && _log != nullptr ? _log->text() : "";
            send(Record{RecordKind::end, _position, secondsSince(_position.start), logged, {}, nullptr});
            if (last) {
                return;
            }
            std::this_thread::sleep_for(step.every);
        }
    }

    // Stops at the first line that fails: what follows builds on it.
    void runLines(const Step& step) {
        while (_position.line < step.lines.size() && !isBad(_position.judgement.verdict)) {
            const PlanLine& line = step.lines[_position.line++];
            if (line.command && line.command->isPowerCycle()) {
                send(RecordKind::reboot);
                reboot();
            }
            if (line.kind == LineKind::command) {
                runLine(line);
            } else {
                runOwnLine(line);
            }
        }
    }

    // What is no matter of the library: a picture, data, a wait.
    void runOwnLine(const PlanLine& line) {
        const Clock::time_point start = Clock::now();
        Json json = {{"command", beginningOf(line.text(), kKeptBytes)}, {"line", line.line}};
        _calls.beginLine();
        try {
            if (line.kind == LineKind::picture) {
                takePicture(parsePicture(wordsOf(line)), json);
            } else if (line.kind == LineKind::wait) {
                std::this_thread::sleep_for(parseWait(wordsOf(line)));
            } else {
                json["data"] = PlanData::parse(wordsOf(line)).take();
            }
        } catch (const std::runtime_error& error) {
            worsen({Verdict::failed, beginningOf(line.text(), kToldBytes) + ": " + error.what()}, line.line);
            json["error"] = error.what();
        }
        json["seconds"] = secondsSince(start);
        Record record{RecordKind::command, {}, 0, "", {}, std::move(json)};
        unsigned int number = line.line;
        try {
            followUp(line, {}, {}, record, number);
        } catch (const UsageError& error) {
            worsen({Verdict::failed, error.what()}, number);
        }
        finishLine(line, nullptr, record);
    }

    // Judges what the chip has refused, and sends what came of the line.
    void finishLine(const PlanLine& line, const Operation* operation, Record& record) {
        const std::vector<RefusedCall> refusals = _calls.takeRefusals(operation);
        worsen(_calls.judgeRefusals(refusals), line.line);
        if (_report.empty()) {
            record.command = nullptr;
        } else if (!refusals.empty() && record.command.is_object()) {
            addRefusals(record.command, refusals);
        }
        record.position = _position;
        send(record);
    }

    void takePicture(const PictureLine& picture, Json& json) const {
        const vset::Picture taken = tool::takePicture(picture.what);
        if (!_report.empty()) {
            const std::string file = _report + "-" + picture.name + ".png";
            try {
                writePng(taken, file);
                json["picture"] = {{"name", picture.name}, {"file", std::filesystem::path(file).filename().string()}};
            } catch (const FileError& error) {
                json["note"] = "picture " + picture.name + " is not stored: " + error.what();
            }
        }
    }

    void runLine(const PlanLine& line) {
        Record record{RecordKind::command, {}, 0, "", {}, nullptr};
        const Operation* operation = nullptr;
        // The line that a wrong word would be in.
        unsigned int number = line.line;
        _calls.beginLine();
        try {
            std::optional<Command> made;
            if (!line.command) {
                made = Command::parse(wordsOf(line));
            }
            const Command& command = line.command ? *line.command : *made;
            operation = command.operation();
            if (command.endsProcess()) {
                // The record of the line, should it come to one, takes this back.
                send(RecordKind::reboot);
            }
            const Clock::time_point start = Clock::now();
            const Outcome outcome = runCommand(command);
            if (!_report.empty()) {
                record.command = toJson(command, outcome, kKeptBytes);
                record.command["line"] = line.line;
                record.command["seconds"] = secondsSince(start);
            }
            judgeOutcome(line, command, outcome);
            judgeHost(line);
            _faults.count();
            followUp(line, command, outcome, record, number);
        } catch (const UsageError& error) {
            worsen({Verdict::failed, error.what()}, number);
        }
        finishLine(line, operation, record);
    }

    Outcome runCommand(const Command& command) const { return _log != nullptr ? _log->run(command) : command.run(); }

    Words wordsOf(const PlanLine& line) const {
        Words words = line.words;
        for (std::string& word : words) {
            word = substitute(word, _variables);
        }
        return words;
    }

    // Without an expectation of the status it must be a good one.
    void judgeOutcome(const PlanLine& line, const Command& command, const Outcome& outcome) {
        const bool judgesStatus = std::any_of(line.expectations.begin(), line.expectations.end(),
                                              [](const Expectation& e) { return e.isAboutStatus(); });
        if (judgesStatus || outcome.good) {
            return;
        }
        const Value* error = outcome.find("error");
        worsen({Verdict::failed, beginningOf(command.text(), kToldBytes) + " answered " +
                                     std::to_string(outcome.status) + " (" + command.word(outcome) + ")" +
                                     (error != nullptr ? ": " + display(*error) : "") + reasonOf(outcome)},
               line.line);
    }

    // Whatever was answered and expected: with storage of its own the set might have done otherwise.
    void judgeHost(const PlanLine& line) {
        for (const std::string& trouble : vset::takeHostTroubles()) {
            worsen({Verdict::error, trouble}, line.line);
        }
    }

    // Expectations and keeps, in the order in which they are written.
    void followUp(const PlanLine& line, const Command& command, const Outcome& outcome, Record& record,
                  unsigned int& number) {
        if (!_report.empty()) {
            record.command["expectations"] = Json::array();
        }
        auto keep = line.keeps.begin();
        for (const Expectation& expectation : line.expectations) {
            for (; keep != line.keeps.end() && keep->line < expectation.line; ++keep) {
                keepOutput(*keep, outcome, record);
            }
            number = expectation.line;
            const Json judged = judgeExpectation(expectation, command, outcome);
            if (!_report.empty()) {
                record.command["expectations"].push_back(judged);
            }
        }
        for (; keep != line.keeps.end(); ++keep) {
            keepOutput(*keep, outcome, record);
        }
    }

    // What the report says of it.
    Json judgeExpectation(const Expectation& expectation, const Command& command, const Outcome& outcome) {
        Json judged = {{"line", expectation.line}, {"text", beginningOf(expectation.text, kKeptBytes)}};
        const auto* event = std::get_if<EventCondition>(&expectation.what);
        // Nobody waits for the events of what has failed.
        if (event != nullptr && isBad(_position.judgement.verdict)) {
            judged["verdict"] = verdictName(Verdict::notRun);
            judged["why"] = "";
            return judged;
        }
        const Judgement judgement = judgementOf(expectation, command, outcome);
        worsen(judgement, expectation.line);
        judged["verdict"] = verdictName(judgement.verdict);
        judged["why"] = beginningOf(judgement.text, kKeptBytes);
        if (event != nullptr && event->comes && _events.taken() != nullptr) {
            addEvent(*event, *_events.taken(), judged);
        } else if (const auto* condition = std::get_if<Condition>(&expectation.what)) {
            const Value* value = outcome.find(condition->subject);
            if (value != nullptr || expectation.isAboutStatus()) {
                addFound(*condition, condition->subject, value != nullptr ? *value : Value(outcome.status), judged);
            }
        }
        return judged;
    }

    Judgement judgementOf(const Expectation& expectation, const Command& command, const Outcome& outcome) {
        if (const auto* event = std::get_if<EventCondition>(&expectation.what)) {
            return _events.judge(*event, expectation.text, _variables);
        }
        if (const auto* calls = std::get_if<CallsCondition>(&expectation.what)) {
            return _calls.judge(*calls, _variables);
        }
        const auto& condition = std::get<Condition>(expectation.what);
        return expectation.isAboutChip() ? judge(condition, Value(_calls.judgedRefusals()), _variables)
                                         : judge(condition, command, outcome, _variables);
    }

    void addEvent(const EventCondition& condition, const Event& event, Json& judged) const {
        judged["event"] = toJson(event);
        const auto age = std::chrono::system_clock::now() - event.time;
        judged["event"]["after"] = secondsSince(_position.start) - std::chrono::duration<double>(age).count();
        for (const Condition& field : condition.fields) {
            addFound(field, "event." + field.subject, fieldOf(event, field.subject), judged);
        }
        judged["found"] = describe(event);
    }

    // What was looked at; a number in a range is a measurement.
    static void addFound(const Condition& condition, const std::string& what, const Value& value, Json& judged) {
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

    void keepOutput(const Keep& keep, const Outcome& outcome, Record& record) {
        if (const std::optional<Value> value = valueOf(keep.output, outcome)) {
            _variables[keep.name] = *value;
            record.kept[keep.name] = *value;
        }
    }

    std::optional<Value> valueOf(std::string_view output, const Outcome& outcome) const {
        if (output == "status") {
            return outcome.status;
        }
        if (output.substr(0, kEventPrefix.size()) != kEventPrefix) {
            const Value* value = outcome.find(output);
            return value != nullptr ? std::optional(*value) : std::nullopt;
        }
        const Event* event = _events.taken();
        return event != nullptr ? std::optional(fieldOf(*event, output.substr(kEventPrefix.size()))) : std::nullopt;
    }

    // The worst verdict of an attempt counts, and the first text of that verdict.
    void worsen(const Judgement& judgement, unsigned int line) {
        if (judgement.verdict > _position.judgement.verdict) {
            const std::string text = "line " + std::to_string(line) + ": " + judgement.text;
            _position.judgement = {judgement.verdict, beginningOf(text, kKeptBytes)};
        }
    }

    const Plan& _plan;
    Position _position;
    Variables _variables;
    const std::string& _report;
    StepLog* const _log;
    const int _descriptor;
    ArmedFaults _faults;
    bool _faultsArmed = false;  // by this process
    EventQueue _events;
    CallWatch _calls;
};

bool attachSet(const SessionOptions& session, PlanProcess& process) {
    try {
        openSession(session);
        vset::wdt::onReboot(reboot);
        listenToAllModules(true);
        return true;
    } catch (const std::exception& error) {
        process.refuse(error.what());
        return false;
    }
}

}  // namespace

// Without an exception's way out: behind it are the parent's callers. One ends this process, and the plan goes on.
// NOLINTNEXTLINE(bugprone-exception-escape)
void runPlanProcess(const Plan& plan, const SessionOptions& session, const Position& position,
                    const Variables& variables, const std::string& report, StepLog* log, int descriptor) noexcept {
    // Ctrl-C and a closed terminal go to its whole group; what becomes of this process the parent decides.
    std::signal(SIGINT, SIG_IGN);
    std::signal(SIGHUP, SIG_IGN);
    std::signal(SIGTERM, SIG_DFL);
    std::signal(SIGPIPE, SIG_IGN);
    // The set is free again when the parent is killed, whatever this process does.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (log != nullptr) {
        log->takeStandardOutput();
    }
    PlanProcess process(plan, position, variables, report, log, descriptor);
    const bool hasSet = attachSet(session, process);
    if (hasSet) {
        process.run();
    }
    std::fflush(nullptr);
    // Not exit(): what the parent has registered and buffered is the parent's.
    _exit(hasSet ? kExitGood : kExitSet);
}

}  // namespace tool
