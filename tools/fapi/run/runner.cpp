// SPDX-License-Identifier: Apache-2.0
// `fapi run` and `fapi check`: from files to exit codes.
#include "run/runner.h"

#include <algorithm>

#include "base/terminal.h"
#include "hub/client.h"
#include "operator/operator.h"
#include "record/old_history.h"
#include "record/retention.h"
#include "record/run_recording.h"
#include "record/statistics.h"
#include "report/report.h"
#include "report/verdict_banner.h"
#include "run/approval.h"
#include "run/dry_run.h"
#include "run/parameter_rows.h"
#include "run/plan_files.h"
#include "run/progress.h"
#include "run/run.h"
#include "target/bound_actions.h"
#include "target/fresh_set.h"
#include "target/output.h"
#include "target/target_description.h"

namespace tool {

namespace {

// How many runs the store keeps when nobody says so.
constexpr long long kKeptRuns = 100;

// What the record says of a run of files that the station does not approve; empty when it approves all. Throws
// UsageError where nobody takes that upon himself.
std::string approvalFor(const RunOptions& options, const Plan& plan, const Limits& limits) {
    const std::string files = unapprovedFiles(options.place.file, plan, limits, options.faults);
    if (!files.empty() && !options.isUnapproved) {
        throw UsageError(plan.file + ": " + options.place.file.file + " does not approve it: [plans]: " + files +
                         "; --unapproved --reason TEXT runs it all the same");
    }
    return files.empty() ? "" : "not approved: " + files + ": " + options.reason;
}

int exitCode(const PlanResult& result, const Interrupts& interrupts) {
    return interrupts.count() != 0                          ? kExitInterrupted
           : !result.waiver().empty()                       ? kExitGood
           : result.count(Verdict::error) != 0              ? kExitSet
           : result.isGood() && result.unexpected().empty() ? kExitGood
                                                            : kExitFailed;
}

// Runs of plans, in the order of the command line.
class PlanRuns {
public:
    // `rows` are the values of parameters, a run of each plan for each of them.
    PlanRuns(const RunOptions& options, const std::vector<Plan>& plans, std::vector<ParameterValues> rows,
             std::vector<ExpectedFailure> expected)
        : _options(options),
          _plans(plans),
          _rows(std::move(rows)),
          _expected(std::move(expected)),
          _folder(options.report.empty() ? kReportFolder : options.report) {
        for (const Plan& plan : plans) {
            _statistics.emplace_back(plan);
        }
    }

    int resume() {
        SessionOptions session = _options.session;
        const std::string given = session.wire ? setFolder(session) : session.folder;
        // First, for it writes files of unfinished runs again.
        takeOverHistory(_folder);
        std::unique_ptr<UnfinishedRun> unfinished =
            UnfinishedRun::find(_folder, _plans.front(), {given, kindOf(session)});
        requireValues(*unfinished);
        prepareStore();
        if (!session.wire) {
            session.folder = unfinished->set().name;
        }
        std::optional<FreshSet> fresh;
        if (unfinished->set().kind == SetOfRun::Kind::fresh) {
            fresh.emplace(session.folder);
        }
        const RunInput input = inputFor(_plans.front(), unfinished->parameters());
        ReportFiles report(unfinished->stem());
        return run(0, input, session, fresh, &report, unfinished.get());
    }

    // Each plan so many times, or once for each row of values; 0: until Ctrl-C.
    int repeat(std::size_t times) {
        times = _rows.size() > 1 ? _rows.size() : times;
        if (!_options.noReport) {
            prepareStore();
        }
        int worst = kExitGood;
        for (std::size_t round = 1; (times == 0 || round <= times) && goesOn(worst, times == 0); ++round) {
            if (times != 1 && !_options.json) {
                printLine("run " + std::to_string(round) + (times == 0 ? "" : " of " + std::to_string(times)));
            }
            for (std::size_t i = 0; i < _plans.size() && goesOn(worst, times == 0); ++i) {
                worst = std::max(worst, runNew(i, _rows[_rows.size() > 1 ? round - 1 : 0]));
            }
        }
        for (const RunStatistics& statistics : _statistics) {
            if (times != 1) {
                statistics.print(_options.json);
            }
        }
        if (times != 1 || _plans.size() != 1) {
            tellWorst();
        }
        return worst;
    }

private:
    // Throws UsageError for a value that the run to be resumed did not have.
    void requireValues(const UnfinishedRun& unfinished) const {
        for (const auto& [name, value] : _rows.front()) {
            const auto had = unfinished.parameters().find(name);
            if (had == unfinished.parameters().end() || had->second != value) {
                throw UsageError("--param: the run that is to be resumed has " + name + " = " +
                                 (had == unfinished.parameters().end() ? "nothing" : display(had->second, 60)));
            }
        }
    }

    // Before anything is called: a run without a record does not begin.
    void prepareStore() {
        prepareReportFolder(_folder);
        takeOverHistory(_folder);
        const Station& station = _options.place.file;
        try {
            _writer.emplace(resultsFileIn(_folder), station.server.address);
        } catch (const UsageError& error) {
            throw UsageError(station.file + ":" + std::to_string(station.server.line) + ": server: " + error.what());
        }
    }

    // What was to go on for ever is not to do so unseen.
    bool goesOn(int worst, bool forEver) const {
        return worst < kExitSet && (worst == kExitGood || !_options.untilFailure) && (!forEver || isOutputWritten());
    }

    // Behind several runs.
    void tellWorst() const {
        if (_options.json) {
            printLine(jsonLine({{"verdict", verdictName(_worst)}}));
        } else {
            printVerdict(_worst);
        }
    }

    RunInput inputFor(const Plan& plan, const ParameterValues& given) const {
        RunInput input;
        input.parameters = completeValues(plan.parameters, given);
        input.limits = limitsFor(plan, input.parameters);
        input.waiver = approvalFor(_options, plan, input.limits);
        input.programWithin = _options.programWithin;
        input.instruments = _options.instruments;
        for (const std::string& step : _options.waived) {
            input.waivers.push_back({step, _options.reason});
        }
        input.expected = _expected;
        return input;
    }

    SetOfRun::Kind kindOf(const SessionOptions& session) const {
        return session.wire ? SetOfRun::Kind::target : _options.fresh ? SetOfRun::Kind::fresh : SetOfRun::Kind::kept;
    }

    int runNew(std::size_t index, const ParameterValues& given) {
        const Plan& plan = _plans[index];
        const RunInput input = inputFor(plan, given);
        SessionOptions session = _options.session;
        std::optional<FreshSet> fresh;
        if (_options.fresh) {
            session.folder = fresh.emplace().folder();
        }
        if (_options.noReport) {
            return run(index, input, session, fresh, nullptr, nullptr);
        }
        ReportFiles report(plan, _folder, unitFor(plan, input.parameters));
        UnfinishedRun unfinished(plan, input.parameters, report.stem(), {setFolder(session), kindOf(session)});
        return run(index, input, session, fresh, &report, &unfinished);
    }

    RunFacts factsOf(const Plan& plan, const RunInput& input, const PlanRun& run, const std::string& stem) const {
        RunFacts facts;
        facts.set = run.result().setFolder;
        facts.report = stem;
        facts.parameters = input.parameters;
        facts.unit = unitFor(plan, input.parameters);
        facts.limits = input.limits.hash;
        facts.waiver = input.waiver;
        facts.person = theOperator().name();
        facts.station = _options.place.station;
        facts.stage = _options.place.stage;
        facts.bindings = _options.place.bindings;
        facts.target = run.hello()["kind"].textOr(targetKind());
        facts.library = run.hello()["library"].textOr("");
        facts.agent = run.hello()["agent"].textOr("");
        return facts;
    }

    int run(std::size_t index, const RunInput& input, const SessionOptions& session, std::optional<FreshSet>& fresh,
            ReportFiles* report, UnfinishedRun* unfinished) {
        // How many turns a loop over limits has may depend on parameters.
        std::optional<Plan> filled;
        if (hasLoopsOverLimits(_plans[index].parts)) {
            fillLoops(filled.emplace(_plans[index]), input.limits);
        }
        const Plan& plan = filled ? *filled : _plans[index];
        Progress progress(plan, _options.json ? Progress::Shows::json : Progress::Shows::lines);
        Announcement announcement(plan, unitFor(plan, input.parameters));
        progress.announce(&announcement);
        std::optional<RunRecording> recording;
        PlanRun run(plan, input, session, _options.isShared, report != nullptr ? report->stem() : "", progress,
                    _interrupts, unfinished);
        if (_options.resume) {
            run.resume();
            progress.resume(unfinished->position().step);
        }
        try {
            run.open();
            if (report != nullptr) {
                const RunFacts facts = factsOf(plan, input, run, report->stem());
                if (_options.resume) {
                    unfinished->requireSame(whatDecides(plan, facts));
                }
                recording.emplace(*_writer, plan, facts);
                unfinished->nameRecord(recording->run().id, whatDecides(plan, facts));
                announcement.record(recording->run());
                progress.atEndOfStep(
                    [&](std::size_t step, const StepResult& ended) { recording->endStep(step, ended); });
            }
            run.run();
        } catch (const RunInterrupted&) {
            // Nothing was called, and there is nothing to report.
            printMessage("interrupted");
            return kExitInterrupted;
        }
        PlanResult result = run.takeResult();
        if (recording) {
            recording->conclude(result);
            result.record = &recording->run();
        }
        _statistics[index].add(result);
        _worst = std::max(_worst, result.verdict());
        progress.finish(result);
        int code = exitCode(result, _interrupts);
        std::vector<std::string> files;
        if (report != nullptr && !writeReport(result, *report, *recording, files)) {
            code = std::max<int>(code, kExitSet);
        }
        if (unfinished != nullptr && !result.cutShort) {
            unfinished->finish();
        }
        if (fresh) {
            fresh->keep(code != kExitGood);
        }
        progress.conclude(result, files);
        return code;
    }

    // False, and messages on standard error, when not all of it could be stored. `files` are those that are there.
    bool writeReport(const PlanResult& result, ReportFiles& report, RunRecording& recording,
                     std::vector<std::string>& files) const {
        std::vector<std::string> problems = result.notes();
        files = report.write(result, problems);
        try {
            recording.end(result, files);
            Database database(resultsFileIn(_folder), Access::write);
            const KeptRuns& kept = _options.place.file.kept;
            Retention limits = {kept.runs.value_or(kKeptRuns), kept.days, kept.bytes};
            if (_options.keep) {
                limits.runs = static_cast<long long>(*_options.keep);
            }
            forgetRuns(database, runsBeyond(database, _folder, limits));
        } catch (const std::runtime_error& error) {
            problems.emplace_back(error.what());
        }
        for (const std::string& problem : problems) {
            printMessage(problem);
        }
        return problems.empty();
    }

    const RunOptions& _options;
    const std::vector<Plan>& _plans;
    const std::vector<ParameterValues> _rows;
    const std::vector<ExpectedFailure> _expected;
    const std::string _folder;
    Interrupts _interrupts;
    std::optional<ResultsWriter> _writer;
    std::vector<RunStatistics> _statistics;
    Verdict _worst = Verdict::passed;
};

// What a line asks a person; nothing when it asks nobody.
std::optional<Question> questionIn(const PlanLine& line) {
    if (!line.skipped.empty()) {
        return std::nullopt;
    }
    if (line.kind == LineKind::prompt) {
        const Question question = questionOf(parsePrompt(line.words));
        return question.needsAnswer ? std::optional(question) : std::nullopt;
    }
    const bool isAction = line.kind == LineKind::command && line.words.size() > 1 && line.words[0] == "set";
    if (!isAction || boundActions() == nullptr || findBoundAction(line.words[1]) == nullptr ||
        !boundActions()->asksOperator(line.words[1])) {
        return std::nullopt;
    }
    Question question;
    question.kind = PromptKind::show;
    question.text = question.name = line.words[1];
    return question;
}

template <class Use>
void forEachLine(const std::vector<Plan>& plans, Use&& use) {
    for (const Plan& plan : plans) {
        for (const Step& step : plan.steps) {
            for (const PlanLine& line : step.lines) {
                use(plan, line);
            }
        }
    }
}

// A run that would wait for somebody who is not there is none. Returns whether a person is asked at all.
bool refuseWithoutOperator(const std::vector<Plan>& plans, const SessionOptions& session) {
    std::optional<bool> isFollowed;
    bool asks = false;
    forEachLine(plans, [&](const Plan& plan, const PlanLine& line) {
        const std::optional<Question> question = questionIn(line);
        const std::string missing = question ? theOperator().missing(*question) : "";
        asks = asks || question.has_value();
        if (missing.empty()) {
            return;
        }
        isFollowed = isFollowed ? *isFollowed : isWatchedByOthers(session, kPromptWatch);
        if (!*isFollowed) {
            throw UsageError(plan.file + ":" + std::to_string(line.line) + ": " +
                             (line.kind == LineKind::prompt ? line.text() : "set " + line.words[1]) +
                             " is asked of the operator, and " + missing);
        }
    });
    return asks;
}

void requireInstruments(const std::vector<Plan>& plans, const RunOptions& options) {
    std::vector<std::string> names;
    for (const StationInstrument& instrument : options.instruments) {
        names.push_back(instrument.name);
    }
    forEachLine(plans, [&](const Plan& plan, const PlanLine& line) {
        for (std::size_t i = 1; line.kind == LineKind::instruments && i < line.words.size(); ++i) {
            if (std::count(names.begin(), names.end(), line.words[i]) == 0) {
                const std::string near = nearest(line.words[i], names);
                throw UsageError(plan.file + ":" + std::to_string(line.line) + ": the station has no instrument " +
                                 line.words[i] + (near.empty() ? "" : ", did you mean " + near + "?"));
            }
        }
    });
}

// Throws UsageError for a step that no plan has.
void checkWaivers(const std::vector<Plan>& plans, const RunOptions& options) {
    for (const std::string& step : options.waived) {
        if (std::none_of(plans.begin(), plans.end(), [&](const Plan& plan) { return plan.hasStep(step); })) {
            throw UsageError("--waive: " + noStep(plans, step));
        }
    }
    const bool needsReason = !options.waived.empty() || options.isUnapproved;
    if (needsReason && options.reason.find_first_not_of(" \t") == std::string::npos) {
        throw UsageError(std::string(options.isUnapproved ? "--unapproved" : "--waive") +
                         ": expected --reason TEXT, too");
    }
}

// What the command line gives, for each run that is wanted.
std::vector<ParameterValues> givenValues(const std::vector<Plan>& plans, const RunOptions& options) {
    const ParameterValues given = parseParameterWords(plans, options.parameters);
    return options.parameterTable.empty() ? std::vector{given}
                                          : readParameterRows(plans, options.parameterTable, given);
}

// The values of parameters, for each run that is wanted. Nothing of the plans runs when one of them is wrong.
std::vector<ParameterValues> valuesOfRuns(const std::vector<Plan>& plans, const RunOptions& options) {
    std::vector<ParameterValues> rows = givenValues(plans, options);
    if (options.resume) {
        return rows;
    }
    for (const Plan& plan : plans) {
        const ParameterValues values = completeValues(plan.parameters, rows.front());
        static_cast<void>(unitFor(plan, values));
        static_cast<void>(approvalFor(options, plan, limitsFor(plan, values)));
    }
    return rows;
}

// 0 for "forever".
std::size_t repeatTimes(const RunOptions& options) {
    constexpr long long kMost = 1000000;
    long long times = 1;
    if (options.repeat == "forever") {
        return 0;
    }
    if (!options.repeat.empty() && (!parseNumber(options.repeat, times) || times < 1 || times > kMost)) {
        throw UsageError("--repeat is " + display(options.repeat, 40) + ", expected a number from 1 to " +
                         std::to_string(kMost) + ", or forever");
    }
    return static_cast<std::size_t>(times);
}

}  // namespace

int checkPlans(const std::vector<std::string>& files, const std::string& faults, bool json) {
    std::vector<Plan> plans;
    if (!readPlansAndFaults(json, files, faults, plans)) {
        return kExitUsage;
    }
    for (const Plan& plan : plans) {
        if (json) {
            printLine(jsonLine({{"file", plan.file}, {"plan", plan.name}, {"steps", plan.steps.size()}}));
        }
    }
    return kExitGood;
}

std::optional<PreparedRuns> prepareRuns(const RunOptions& options) {
    PreparedRuns prepared;
    if (!readPlansAndFaults(options.json, options.files, options.faults, prepared.plans)) {
        return std::nullopt;
    }
    if (options.dryRun) {
        static_cast<void>(givenValues(prepared.plans, options));
        return prepared;
    }
    if (options.resume && prepared.plans.size() != 1) {
        throw UsageError("--resume takes one plan");
    }
    prepared.asksPerson = refuseWithoutOperator(prepared.plans, options.session);
    requireInstruments(prepared.plans, options);
    checkWaivers(prepared.plans, options);
    prepared.rows = valuesOfRuns(prepared.plans, options);
    return prepared;
}

int runPlans(const RunOptions& options) {
    const std::size_t times = repeatTimes(options);
    std::optional<PreparedRuns> prepared = prepareRuns(options);
    if (!prepared) {
        return kExitUsage;
    }
    if (options.dryRun) {
        for (const Plan& plan : prepared->plans) {
            printDryRun(plan, options.json);
        }
        return kExitGood;
    }
    if (options.fresh && options.session.wire) {
        throw UsageError("--fresh makes a virtual set, and " + setFolder(options.session) + " is reached by a wire");
    }
    std::vector<ExpectedFailure> expected;
    if (!readExpected(options.json, options.expected, prepared->plans, expected)) {
        return kExitUsage;
    }
    PlanRuns runs(options, prepared->plans, std::move(prepared->rows), std::move(expected));
    return options.resume ? runs.resume() : runs.repeat(times);
}

}  // namespace tool
