// SPDX-License-Identifier: Apache-2.0
// The results of runs in the file of a station.
#include "record/results_store.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <unistd.h>

#include "judge/verdict.h"
#include "protocol/value.h"
#include "record/identity.h"
#include "record/schema.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

// Which start of the PC this is.
std::string bootName() {
    std::ifstream file("/proc/sys/kernel/random/boot_id");
    std::string name;
    std::getline(file, name);
    return name;
}

// When the process began, in the kernel's ticks: a number that is used again belongs to another process. Empty: there
// is none.
std::string ticksOf(long long process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string text;
    std::getline(file, text, '\0');
    const std::size_t name = text.rfind(')');
    if (name == std::string::npos) {
        return "";
    }
    std::istringstream words(text.substr(name + 1));
    std::string word;
    // It is the 22nd word, and the name the second.
    for (int i = 0; i < 20; ++i) {
        words >> word;
    }
    return word;
}

// The ticks begin again when the PC does.
std::string startOf(long long process) {
    const std::string ticks = ticksOf(process);
    return ticks.empty() ? "" : bootName() + " " + ticks;
}

std::string hostName() {
    char name[256] = "";
    gethostname(name, sizeof(name) - 1);
    return name;
}

// A run that goes on, or whose process has died.
struct ActiveRun {
    std::string run, unit, began, host, started, plan;
    long long process = 0, number = 0;

    // What another machine runs cannot be seen from here.
    bool isAlive() const { return host != hostName() || startOf(process) == started; }
};

std::vector<ActiveRun> activeRuns(Database& database) {
    Statement statement(database,
                        "select a.run, coalesce(r.unit, ''), r.began, a.host, a.started, r.plan, a.process, r.number "
                        "from active a join run r on r.id = a.run");
    ActiveRun active;
    for (std::string* text : {&active.run, &active.unit, &active.began, &active.host, &active.started, &active.plan}) {
        statement.into(*text);
    }
    statement.into(active.process);
    statement.into(active.number);
    statement.run();
    std::vector<ActiveRun> runs;
    while (statement.next()) {
        runs.push_back(active);
    }
    return runs;
}

// When the last attempt that is stored of the run had ended; nothing when there is none.
std::optional<std::string> lastSignOf(Database& database, const std::string& run) {
    for (const AttemptRecord& attempt :
         readRows<AttemptRecord>(database, "where run = :a order by began desc limit 1", {run})) {
        if (const std::optional<WallTime> began = parseUtc(attempt.began)) {
            return utcText(*began + std::chrono::milliseconds(static_cast<long long>(attempt.seconds * 1000)));
        }
    }
    return std::nullopt;
}

}  // namespace

std::string resultsFileIn(const std::string& folder) {
    return (fs::path(folder) / "results.sqlite").string();
}

// --- Rows ------------------------------------------------------------------------------------------------------------

RunInserter::RunInserter(Database& database)
    : _station(database),
      _unit(database),
      _plan(database),
      _run(database),
      _step(database),
      _attempt(database),
      _measurement(database),
      _attachment(database),
      _event(database) {}

void RunInserter::insert(const RunRecord& run) {
    _station.insert({run.station, run.host});
    if (run.unit) {
        _unit.insert({*run.unit, run.began});
    }
    _plan.insert({run.planHash, run.plan, run.planFile});
    _run.insert(run);
}

void RunInserter::insert(const RunParts& parts) {
    _step.insert(parts.steps);
    _attempt.insert(parts.attempts);
    _measurement.insert(parts.measurements);
    _attachment.insert(parts.attachments);
    _event.insert(parts.events);
}

bool hasDeadRuns(Database& database) {
    const std::vector<ActiveRun> runs = activeRuns(database);
    return std::any_of(runs.begin(), runs.end(), [](const ActiveRun& run) { return !run.isAlive(); });
}

RunParts readParts(Database& database, const std::string& run) {
    RunParts parts;
    parts.steps = readRows<StepRecord>(database, "where run = :a order by number", {run});
    parts.attempts = readRows<AttemptRecord>(database, "where run = :a order by step, number", {run});
    parts.measurements = readRows<MeasurementRecord>(database, "where run = :a order by step, attempt, number", {run});
    parts.attachments = readRows<AttachmentRecord>(database, "where run = :a order by number", {run});
    parts.events = readRows<EventRecord>(database, "where run = :a order by number", {run});
    return parts;
}

// --- The file --------------------------------------------------------------------------------------------------------

static Database& upToDate(Database& database) {
    migrate(database);
    return database;
}

ResultsStore::ResultsStore(const std::string& file) : _database(file, Access::write), _insert(upToDate(_database)) {
    endDeadRuns();
}

void ResultsStore::endDeadRuns() {
    if (!hasDeadRuns(_database)) {
        return;
    }
    // Another program may be at it.
    Transaction transaction(_database);
    for (const ActiveRun& active : activeRuns(_database)) {
        if (!active.isAlive()) {
            endDeadRun(active.run);
        }
    }
    transaction.commit();
}

// Nothing that began is without an end: who died has been interrupted, after the steps that are stored.
void ResultsStore::endDeadRun(const std::string& run) {
    const RunRecord record = readRows<RunRecord>(_database, "where id = :a", {run}).at(0);
    runOnce(_database,
            "update run set verdict = :a, ended = :b, why = :c, "
            "seconds = (select coalesce(sum(seconds), 0) from step s where s.run = run.id), "
            "passed = (select count(*) from step s where s.run = run.id and s.verdict = 'passed'), "
            "marginal = (select count(*) from step s where s.run = run.id and s.verdict = 'marginal'), "
            "failed = (select count(*) from step s where s.run = run.id and s.verdict = 'failed'), "
            "errors = (select count(*) from step s where s.run = run.id and s.verdict = 'error') "
            "where id = :d and verdict is null",
            {verdictName(Verdict::interrupted), lastSignOf(_database, run).value_or(record.began),
             "the program that carried it out has died", run});
    putOut(run);
}

void ResultsStore::noteServer(const std::string& address) {
    checkServerAddress(address);
    runOnce(_database, "insert into feed (server, contact, trouble) values (:a, '', '') on conflict do nothing",
            {address});
}

void ResultsStore::begin(RunRecord& run) {
    Transaction transaction(_database);
    for (const ActiveRun& active : activeRuns(_database)) {
        if (run.unit && active.unit == *run.unit && active.isAlive()) {
            throw UnitIsBusy("unit " + display(*run.unit, 60) + " is in run " + std::to_string(active.number) + " (" +
                             active.plan + "), which began " + active.began + " and goes on");
        }
    }
    run.number =
        1 +
        findNumber(_database, "select coalesce(max(number), 0) from run where station = :a", {run.station}).value_or(0);
    run.attempt = run.unit ? 1 + findNumber(_database, "select count(*) from run where unit = :a and stage = :b",
                                            {*run.unit, run.stage})
                                     .value_or(0)
                           : 1;
    _insert.insert(run);
    const long long process = getpid();
    runOnce(_database, "insert into active (run, host, process, started) values (:a, :b, :c, :d)",
            {run.id, hostName(), process, startOf(process)});
    transaction.commit();
}

void ResultsStore::insertParts(const std::vector<RunParts>& parts) {
    for (const RunParts& part : parts) {
        for (const StepRecord& step : part.replaces ? part.steps : std::vector<StepRecord>()) {
            runOnce(_database, "delete from step where run = :a and number = :b", {step.run, step.number});
            runOnce(_database, "delete from attempt where run = :a and step = :b", {step.run, step.number});
            runOnce(_database, "delete from measurement where run = :a and step = :b", {step.run, step.number});
            runOnce(_database, "delete from event where run = :a and step = :b", {step.run, step.number});
        }
        _insert.insert(part);
    }
}

void ResultsStore::remove(const std::string& run) {
    Transaction transaction(_database);
    runOnce(_database, "delete from run where id = :a", {run});
    transaction.commit();
}

void ResultsStore::add(const std::vector<RunParts>& parts) {
    Transaction transaction(_database);
    insertParts(parts);
    transaction.commit();
}

void ResultsStore::end(const RunRecord& run, const std::vector<RunParts>& parts) {
    Transaction transaction(_database);
    insertParts(parts);
    endRow(run);
    putOut(run.id);
    transaction.commit();
}

void ResultsStore::addWhole(const std::vector<WholeRun>& runs) {
    Transaction transaction(_database);
    for (const WholeRun& whole : runs) {
        _insert.insert(whole.run);
        _insert.insert(whole.parts);
        putOut(whole.run.id);
    }
    transaction.commit();
}

// What is known only at the end.
void ResultsStore::endRow(const RunRecord& run) {
    runOnce(_database,
            "update run set ended = :a, seconds = :b, verdict = :c, deciding_step = :d, why = :e, passed = :f, "
            "marginal = :g, failed = :h, errors = :i, interrupted = :j, not_run = :k, report = :l, library = :m, "
            "agent = :n, parameters = :o, skipped = :p, in_calls = :q, in_waits = :r where id = :s",
            {run.ended.value_or(""), run.seconds, run.verdict.value_or(""), run.decidingStep, run.why, run.passed,
             run.marginal, run.failed, run.errors, run.interrupted, run.notRun, run.report, run.library, run.agent,
             run.parameters, run.skipped, run.inCalls, run.inWaits, run.id});
    if (run.waiver) {
        runOnce(_database, "update run set waived_by = :a, waiver = :b where id = :c",
                {run.waivedBy.value_or(""), *run.waiver, run.id});
    }
}

void ResultsStore::putOut(const std::string& run) {
    runOnce(_database, "delete from active where run = :a", {run});
    runOnce(_database,
            "insert into outbox (run, place, refusals, parked, reason, at) "
            "select :a, coalesce(max(place), 0) + 1, 0, 0, '', '' from outbox where true on conflict do nothing",
            {run});
}

}  // namespace tool
