// SPDX-License-Identifier: Apache-2.0
// The store of results: what it adds to a run, whether a great one answers as fast as a small one, and how fast its
// runs reach a server.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>

#include <benchmark/benchmark.h>

#include "bench_agent.h"
#include "limits.h"
#include "record/identity.h"
#include "record/line_statistics.h"
#include "record/results_writer.h"
#include "record/run_search.h"
#include "support/postgres_server.h"

namespace {

namespace fs = std::filesystem;

const bench::Agent* g_agent;

// --- A run -----------------------------------------------------------------------------------------------------------

constexpr int kSteps = 10000;

void plan_without_store(benchmark::State& state) {
    const fs::path plan = g_agent->folder / "steps.plan";
    {
        std::ofstream file(plan);
        file << "plan \"Steps\"\nstep \"Start\"\n    sys_init\n    prphrl_init\n";
        for (int i = 0; i < kSteps; ++i) {
            file << "step \"Step " << i << "\"\n    prphrl_get_sar_adc 3 0\n";
        }
    }
    const std::string command = FAPI_BINARY " run --no-report " + plan.string() + " >/dev/null 2>&1";
    for (auto _ : state) {
        if (std::system(command.c_str()) != 0) {
            state.SkipWithError("the plan failed");
        }
    }
}
BENCHMARK(plan_without_store)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1)->Repetitions(4);

// The same number of steps with a measurement each, as fast as they can be handed over, until all are stored.
void stored_steps(benchmark::State& state) {
    tool::ResultsWriter writer((g_agent->folder / "steps.sqlite").string());
    for (auto _ : state) {
        tool::RunRecord run;
        run.id = tool::newRunId(std::chrono::system_clock::now());
        run.station = "Line 1";
        run.began = tool::utcText(std::chrono::system_clock::now());
        run.parameters = "{}";
        writer.begin(run);
        for (int i = 0; i < kSteps; ++i) {
            tool::RunParts parts;
            parts.steps.emplace_back();
            parts.steps[0].run = run.id;
            parts.steps[0].number = i;
            parts.attempts.emplace_back();
            parts.attempts[0].run = run.id;
            parts.attempts[0].step = i;
            parts.measurements.emplace_back();
            parts.measurements[0].run = run.id;
            parts.measurements[0].step = i;
            parts.measurements[0].value = i;
            writer.add(std::move(parts));
        }
        run.verdict = "passed";
        writer.end(run);
    }
}
BENCHMARK(stored_steps)->Unit(benchmark::kMillisecond)->UseRealTime();

// --- Many runs -------------------------------------------------------------------------------------------------------

// Fills a new store with a thousand runs a day, of units that come back three times.
void fill(tool::Database& database, long long runs, int measurements) {
    for (const char* statement : {"pragma synchronous = off", "insert into station values ('Line 1', 'bench')",
                                  "insert into plan values ('1', 'Line', 'line.plan')"}) {
        database.execute(statement);
    }
    const std::string counters =
        "with recursive n(i) as (select 0 union all select i + 1 from n where i + 1 < " + std::to_string(runs) +
        "), m(k) as (select 0 union all select k + 1 from m where k + 1 < " + std::to_string(measurements) + ") ";
    const char* const statements[] = {
        "insert into unit select distinct 'U' || (i / 3), '' from n",
        "insert into run (id, number, station, host, stage, person, unit, plan, plan_file, plan_hash, parameters, "
        "target, "
        "set_folder, library, agent, bench, began, ended, utc_offset, seconds, attempt, verdict, deciding_step, why, "
        "passed, marginal, failed, errors, interrupted, not_run, faults, report, waived_by, waiver) select "
        "printf('%036d', i), i, 'Line 1', 'bench', '', '', 'U' || (i / 3), 'Line', 'line.plan', "
        "'1', '{}', '', '', '', '', '', strftime('%Y-%m-%dT%H:%M:%S.000Z', 1700000000 + i * 86, 'unixepoch'), null, 0, "
        "40, 1, case when i % 20 = 0 then 'failed' else 'passed' end, 'Rails', '', 1, 0, 0, 0, 0, 0, 0, '', null, null "
        "from n",
        "insert into measurement select printf('%036d', i), 0, 1, k, 1, 'rail ' || k, 'V', 5 + (i % 17) * 0.01, null, "
        "4.75, 5.25, null, 'passed', strftime('%Y-%m-%dT%H:%M:%S.000Z', 1700000000 + i * 86, 'unixepoch') from n, m"};
    for (const char* statement : statements) {
        database.execute(counters + statement);
    }
}

std::unique_ptr<tool::Database> storeOf(long long runs) {
    const std::string name = (g_agent->folder / ("runs-" + std::to_string(runs) + ".sqlite")).string();
    if (!fs::exists(name)) {
        fill(tool::ResultsStore(name).database(), runs, 1);
    }
    return std::make_unique<tool::Database>(name, tool::Access::read);
}

void unitAmong(benchmark::State& state, long long runs) {
    const auto database = storeOf(runs);
    tool::RunFilter filter;
    filter.unit = "U1000";
    std::size_t found = 0;
    for (auto _ : state) {
        tool::forEachRun(*database, filter, [&](const tool::RunRecord&) { ++found; });
    }
    if (found != 3 * static_cast<std::size_t>(state.iterations())) {
        state.SkipWithError("not all runs of the unit were found");
    }
}

void yieldAmong(benchmark::State& state, long long runs) {
    const auto database = storeOf(runs);
    tool::RunFilter filter;
    filter.since = "2023-11-18T00:00Z";
    filter.until = "2023-11-18Z";
    for (auto _ : state) {
        const tool::LineStatistics statistics = tool::lineStatistics(*database, filter, "");
        if (statistics.firstPass.units == 0 || statistics.series.empty()) {
            state.SkipWithError("the day has no runs");
        }
    }
}

constexpr long long kFewRuns = 10000, kManyRuns = 1000000;

void history_of_few(benchmark::State& state) {
    unitAmong(state, kFewRuns);
}
BENCHMARK(history_of_few)->Unit(benchmark::kMicrosecond);

void history_of_many(benchmark::State& state) {
    unitAmong(state, kManyRuns);
}
BENCHMARK(history_of_many)->Unit(benchmark::kMicrosecond);

void yield_of_few(benchmark::State& state) {
    yieldAmong(state, kFewRuns);
}
BENCHMARK(yield_of_few)->Unit(benchmark::kMillisecond);

void yield_of_many(benchmark::State& state) {
    yieldAmong(state, kManyRuns);
}
BENCHMARK(yield_of_many)->Unit(benchmark::kMillisecond);

// --- A server --------------------------------------------------------------------------------------------------------

test::PostgresServer* g_server;

// All runs wait, and the server has none of them.
void drained_runs(benchmark::State& state) {
    constexpr long long kRuns = 400;
    constexpr int kMeasurements = 40;
    const std::string file = (g_agent->folder / "outbox.sqlite").string();
    if (!fs::exists(file)) {
        fill(tool::ResultsStore(file).database(), kRuns, kMeasurements);
    }
    g_server->query("drop schema public cascade; create schema public");
    tool::runOnce(tool::ResultsStore(file).database(),
                  "insert into outbox select id, number, 0, 0, '', '' from run where true on conflict do nothing", {});
    const std::string command = FAPI_FEED_BINARY " --store " + file + " '" + g_server->address() + "' >/dev/null";
    for (auto _ : state) {
        if (std::system(command.c_str()) != 0) {
            state.SkipWithError("the runs were not sent");
        }
    }
    if (g_server->number("select count(*) from measurement") != kRuns * kMeasurements) {
        state.SkipWithError("not all measurements have arrived");
    }
    state.SetItemsProcessed(kRuns);
}
BENCHMARK(drained_runs)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1)->Repetitions(4);

constexpr bench::Goal kGoals[] = {
    {"stored_steps", "plan_without_store", bench::Limit::timesPeer, 0.3},
    {"history_of_many", "history_of_few", bench::Limit::processorTimesPeer, 3},
    {"yield_of_many", "yield_of_few", bench::Limit::processorTimesPeer, 3},
    {"drained_runs", "", bench::Limit::itemsPerSecond, 200},
};

}  // namespace

int main(int argc, char** argv) {
    const bench::Agent agent(FAPI_BINARY);
    g_agent = &agent;
    // The server's user passes through.
    fs::permissions(agent.folder, fs::perms(0711));
    fs::create_directory(agent.folder / "server");
    test::PostgresServer server((agent.folder / "server").string());
    g_server = &server;
    return bench::runAndJudge(argc, argv, kGoals, static_cast<int>(std::size(kGoals)));
}
