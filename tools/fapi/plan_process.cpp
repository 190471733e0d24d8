// SPDX-License-Identifier: Apache-2.0
// The process that holds library and set while a plan runs.
#include <algorithm>
#include <csignal>
#include <filesystem>
#include <thread>

#include <sys/prctl.h>
#include <unistd.h>

#include "picture.h"
#include "plan_event.h"
#include "plan_record.h"
#include "vset/vset.h"
#include "vset/wdt.h"

namespace tool {

namespace {

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// At once, as when the power is cut. The library's log is all that this process prints, and it is flushed line by line.
[[noreturn]] void reboot() {
    _exit(kExitReboot);
}

class PlanProcess {
public:
    PlanProcess(const Plan& plan, const Position& position, const Variables& variables, const std::string& report,
                int descriptor)
        : _plan(plan), _position(position), _variables(variables), _report(report), _descriptor(descriptor) {}

    void run() {
        for (; _position.step < _plan.steps.size(); ++_position.step) {
            const Step& step = _plan.steps[_position.step];
            if (step.teardown || !_position.stopped) {
                runStep(step);
            }
            nextAttempt(1);
        }
        send(RecordKind::done);
    }

    void refuse(const std::string& text) {
        Record record{RecordKind::refused, _position, 0, text, {}, nullptr};
        send(record);
    }

private:
    void send(RecordKind kind, double seconds = 0) { send(Record{kind, _position, seconds, "", {}, nullptr}); }

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
            // Not at the beginning after a power cycle.
            if (_position.line == 0) {
                _position.start = Clock::now();
                _events.clear();
                send(RecordKind::start);
            }
            runLines(step);
            const bool bad = isBad(_position.judgement.verdict);
            const bool last = !bad || _position.attempt > step.retry;
            _position.stopped = _position.stopped || (last && bad && step.stopOnFailure);
            _position.line = step.lines.size();
            send(RecordKind::end, secondsSince(_position.start));
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
            line.isPicture ? takePicture(line) : runLine(line);
        }
    }

    void takePicture(const PlanLine& line) {
        const Clock::time_point start = Clock::now();
        Json json = {{"command", line.text()}, {"line", line.line}};
        try {
            const PictureLine picture = parsePicture(wordsOf(line));
            const vset::Picture taken = picture.source.take();
            if (!_report.empty()) {
                const std::string file = _report + "-" + picture.name + ".png";
                writePng(taken, file);
                json["picture"] = {{"name", picture.name}, {"file", std::filesystem::path(file).filename().string()}};
            }
        } catch (const std::runtime_error& error) {
            worsen({Verdict::failed, line.text() + ": " + error.what()}, line.line);
            json["error"] = error.what();
        }
        json["seconds"] = secondsSince(start);
        send(Record{RecordKind::command, _position, 0, "", {}, _report.empty() ? Json() : std::move(json)});
    }

    void runLine(const PlanLine& line) {
        Record record{RecordKind::command, {}, 0, "", {}, nullptr};
        // The line that a wrong word would be in.
        unsigned int number = line.line;
        try {
            std::optional<Command> made;
            if (!line.command) {
                made = Command::parse(wordsOf(line));
            }
            const Command& command = line.command ? *line.command : *made;
            if (command.endsProcess()) {
                // The record of the line, should it come to one, takes this back.
                send(RecordKind::reboot);
            }
            const Clock::time_point start = Clock::now();
            const Outcome outcome = command.run();
            if (!_report.empty()) {
                record.command = toJson(command, outcome);
                record.command["line"] = line.line;
                record.command["seconds"] = secondsSince(start);
                record.command["expectations"] = Json::array();
            }
            judgeOutcome(line, command, outcome);
            followUp(line, command, outcome, record, number);
        } catch (const UsageError& error) {
            worsen({Verdict::failed, error.what()}, number);
        }
        record.position = _position;
        send(record);
    }

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
        worsen({Verdict::failed, command.text() + " answered " + std::to_string(outcome.status) + " (" +
                                     command.word(outcome) + ")" + (error != nullptr ? ": " + display(*error) : "")},
               line.line);
    }

    // Expectations and keeps, in the order in which they are written.
    void followUp(const PlanLine& line, const Command& command, const Outcome& outcome, Record& record,
                  unsigned int& number) {
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
        Json judged = {{"line", expectation.line}, {"text", expectation.text}};
        const auto* event = std::get_if<EventCondition>(&expectation.what);
        // Nobody waits for the events of what has failed.
        if (event != nullptr && isBad(_position.judgement.verdict)) {
            judged["verdict"] = verdictName(Verdict::notRun);
            judged["why"] = "";
            return judged;
        }
        const Judgement judgement = event != nullptr
                                        ? _events.judge(*event, expectation.text, _variables)
                                        : judge(std::get<Condition>(expectation.what), command, outcome, _variables);
        worsen(judgement, expectation.line);
        judged["verdict"] = verdictName(judgement.verdict);
        judged["why"] = judgement.text;
        if (event != nullptr && event->comes && _events.taken() != nullptr) {
            judged["event"] = toJson(*_events.taken());
        }
        return judged;
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
            _position.judgement = {judgement.verdict, "line " + std::to_string(line) + ": " + judgement.text};
        }
    }

    const Plan& _plan;
    Position _position;
    Variables _variables;
    const std::string& _report;
    const int _descriptor;
    EventQueue _events;
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

// Without an exception's way out: behind it are the parent's callers.
void runPlanProcess(const Plan& plan, const SessionOptions& session, const Position& position,
                    const Variables& variables, const std::string& report, int descriptor) noexcept {
    // Ctrl-C goes to the whole terminal group; what becomes of this process the parent decides.
    std::signal(SIGINT, SIG_IGN);
    std::signal(SIGTERM, SIG_DFL);
    std::signal(SIGPIPE, SIG_IGN);
    // The set is free again when the parent is killed, whatever this process does.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    PlanProcess process(plan, position, variables, report, descriptor);
    const bool hasSet = attachSet(session, process);
    if (hasSet) {
        process.run();
    }
    std::fflush(nullptr);
    // Not exit(): what the parent has registered and buffered is the parent's.
    _exit(hasSet ? kExitGood : kExitSet);
}

}  // namespace tool
