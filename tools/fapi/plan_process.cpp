// SPDX-License-Identifier: Apache-2.0
// The process that holds library and set while a plan runs.
#include <csignal>
#include <thread>

#include <unistd.h>

#include "plan_record.h"
#include "vset/vset.h"

namespace tool {

namespace {

using Clock = std::chrono::steady_clock;

class PlanProcess {
public:
    PlanProcess(const Plan& plan, const Position& position, bool details, int descriptor)
        : _plan(plan), _position(position), _details(details), _descriptor(descriptor) {}

    void run() {
        bool resumed = _position.line != 0;
        for (; _position.step < _plan.steps.size(); ++_position.step) {
            const Step& step = _plan.steps[_position.step];
            if (step.teardown || !_position.stopped) {
                runStep(step, resumed);
            }
            resumed = false;
            _position.line = 0;
            _position.attempt = 1;
            _position.judgement = {};
        }
        send({RecordKind::done, _position, 0, "", nullptr});
    }

    void refuse(const std::string& text) { send({RecordKind::refused, _position, 0, text, nullptr}); }

private:
    // One write a record: nothing that has happened is lost when this process dies.
    void send(const Record& record) {
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

    void runStep(const Step& step, bool resumed) {
        for (;; ++_position.attempt, _position.line = 0, _position.judgement = {}, resumed = false) {
            const Clock::time_point start = Clock::now();
            if (!resumed) {
                send({RecordKind::start, _position, 0, "", nullptr});
            }
            runLines(step);
            const bool bad = isBad(_position.judgement.verdict);
            const bool last = !bad || _position.attempt > step.retry;
            if (last && bad && step.stopOnFailure) {
                _position.stopped = true;
            }
            send(
                {RecordKind::end, _position, std::chrono::duration<double>(Clock::now() - start).count(), "", nullptr});
            if (last) {
                return;
            }
            std::this_thread::sleep_for(step.every);
        }
    }

    // Stops at the first line that fails: what follows builds on it.
    void runLines(const Step& step) {
        for (; _position.line < step.lines.size() && !isBad(_position.judgement.verdict); ++_position.line) {
            const PlanLine& line = step.lines[_position.line];
            if (line.isPowerCycle()) {
                ++_position.line;
                send({RecordKind::powerCycle, _position, 0, "", nullptr});
                raise(SIGKILL);
            }
            runLine(line);
        }
    }

    void runLine(const PlanLine& line) {
        std::optional<Command> made;
        try {
            if (!line.command) {
                made = commandOf(line);
            }
        } catch (const UsageError& error) {
            worsen({Verdict::failed, error.what()}, line.line);
            return;
        }
        const Command& command = line.command ? *line.command : *made;
        const Outcome outcome = command.run();
        Json expectations = Json::array();
        const bool judgesStatus = std::any_of(line.expectations.begin(), line.expectations.end(),
                                              [](const Expectation& e) { return e.output == "status"; });
        if (!judgesStatus && !outcome.good) {
            const Value* error = outcome.find("error");
            worsen(
                {Verdict::failed, command.text() + " answered " + std::to_string(outcome.status) + " (" +
                                      command.word(outcome) + ")" + (error != nullptr ? ": " + display(*error) : "")},
                line.line);
        }
        for (const Expectation& expectation : line.expectations) {
            const Judgement judgement = judge(expectation, command, outcome, _position.variables);
            worsen(judgement, expectation.line);
            if (_details) {
                expectations.push_back({{"line", expectation.line},
                                        {"output", expectation.output},
                                        {"verdict", verdictName(judgement.verdict)},
                                        {"text", judgement.text}});
            }
        }
        keep(line, outcome);
        if (_details) {
            Json json = toJson(command, outcome);
            json["line"] = line.line;
            json["expectations"] = std::move(expectations);
            send({RecordKind::command, _position, 0, "", std::move(json)});
        }
    }

    Command commandOf(const PlanLine& line) const {
        Words words = line.words;
        for (std::string& word : words) {
            if (!substitute(word, _position.variables)) {
                throw UsageError("${" + word + "} has no value");
            }
        }
        return Command::parse(words);
    }

    void keep(const PlanLine& line, const Outcome& outcome) {
        for (const Keep& kept : line.keeps) {
            const Value status(outcome.status);
            const Value* value = kept.output == "status" ? &status : outcome.find(kept.output);
            if (value == nullptr) {
                continue;
            }
            if (const auto* text = std::get_if<std::string>(value)) {
                _position.variables[kept.name] = *text;
            } else if (const auto* bytes = std::get_if<Bytes>(value)) {
                _position.variables[kept.name] = "hex:" + hexText(*bytes, "");
            } else {
                _position.variables[kept.name] = std::to_string(std::get<long long>(*value));
            }
        }
    }

    // The worst verdict of an attempt counts, and the first text of that verdict.
    void worsen(const Judgement& judgement, unsigned int line) {
        if (judgement.verdict > _position.judgement.verdict) {
            _position.judgement = {judgement.verdict, "line " + std::to_string(line) + ": " + judgement.text};
        }
    }

    const Plan& _plan;
    Position _position;
    const bool _details;
    const int _descriptor;
};

}  // namespace

void runPlanProcess(const Plan& plan, const SessionOptions& session, const Position& position, bool details,
                    int descriptor) {
    // Ctrl-C goes to the whole terminal group; what becomes of this process the parent decides.
    std::signal(SIGINT, SIG_IGN);
    std::signal(SIGTERM, SIG_DFL);
    std::signal(SIGPIPE, SIG_IGN);
    PlanProcess process(plan, position, details, descriptor);
    int code = kExitGood;
    try {
        openSession(session);
        process.run();
    } catch (const std::exception& error) {
        process.refuse(error.what());
        code = kExitSet;
    }
    std::fflush(nullptr);
    // Not exit(): what the parent has registered and buffered is the parent's.
    _exit(code);
}

}  // namespace tool
