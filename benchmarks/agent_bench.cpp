// SPDX-License-Identifier: Apache-2.0
// What a call, data and a client cost when they go through hub and agent. Each benchmark has its peer in the same run.
// The journal is off unless somebody watches, the log is on, as they are at a station.
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <unistd.h>

#include "bare_processes.h"
#include "bench_agent.h"
#include "hub/hub.h"
#include "limits.h"
#include "one_processor.h"
#include "protocol/framing.h"
#include "target/target.h"
#include "watchers.h"

namespace {

namespace fs = std::filesystem;
using tool::Field;

constexpr long long kTransfer = 64 << 20;
constexpr long long kPiece = 1 << 20;
constexpr std::size_t kWatchers = 16;
// So many that the power cycle before them does not count: a step is measured.
constexpr int kPlanSteps = 20000;
// A step of a loop is found by its place among so many.
constexpr int kLongPlan = 10000;
constexpr char kPartition[] = "bench";
// Round trips are measured in many short runs: on a busy machine few of them are not disturbed.
constexpr int kFew = 300;
constexpr int kOften = 20;

bench::Agent* g_agent = nullptr;

const Field& callParameters() {
    static const Field params = {{"operation", "a_vextvfapi_prphrl_get_sar_adc"}, {"arguments", Field::List{3, 0}}};
    return params;
}

void callOnce(benchmark::State& state) {
    if (!g_agent->target->request("call", callParameters())["good"].flagOr(false)) {
        state.SkipWithError("the call failed");
    }
}

// The child of that process.
pid_t childOf(pid_t process) {
    const std::string name = std::to_string(process);
    pid_t child = 0;
    std::ifstream("/proc/" + name + "/task/" + name + "/children") >> child;
    return child;
}

// The processes between this one and a set: hub, supervisor, worker.
std::vector<pid_t> processesOf(const tool::Target& target) {
    const auto hub = static_cast<pid_t>(target.hello()["hub"].number());
    const pid_t supervisor = childOf(hub);
    return {hub, supervisor, childOf(supervisor)};
}

// The seconds for which this process and those processes have run: on a busy machine the rest is waiting.
double processorSeconds(const std::vector<pid_t>& processes) {
    timespec own = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &own);
    double nanoseconds = static_cast<double>(own.tv_nsec) + static_cast<double>(own.tv_sec) * 1e9;
    for (const pid_t process : processes) {
        for (const auto& thread : fs::directory_iterator("/proc/" + std::to_string(process) + "/task")) {
            double running = 0;
            std::ifstream(thread.path() / "schedstat") >> running;
            nanoseconds += running;
        }
    }
    return nanoseconds * 1e-9;
}

// The same of all processes that this one has waited for.
double processorSecondsOfChildren() {
    rusage usage = {};
    getrusage(RUSAGE_CHILDREN, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// --- A call ----------------------------------------------------------------------------------------------------------

void agent_call(benchmark::State& state) {
    const bench::OneProcessor together(processesOf(*g_agent->target));
    for (auto _ : state) {
        callOnce(state);
    }
}
BENCHMARK(agent_call)->UseRealTime()->Iterations(kFew)->Repetitions(kOften);

void bare_processes(benchmark::State& state) {
    constexpr long long kId = 100000;
    const std::string request =
        tool::frame(toField(tool::Request{kId, "call", callParameters(), {}}), tool::Framing::plain);
    const tool::Answer answer = {kId, g_agent->target->request("call", callParameters()), std::nullopt};
    const bench::OneProcessor together;
    bench::BareProcesses processes(tool::frame(toField(answer), tool::Framing::plain).size());
    for (auto _ : state) {
        if (!processes.exchange(request)) {
            state.SkipWithError("the line did not come back");
        }
    }
}
BENCHMARK(bare_processes)->UseRealTime()->Iterations(kFew)->Repetitions(kOften);

// Of a client that itself watches everything, as one does that runs a plan.
void watching_call(benchmark::State& state) {
    const auto watch = [](bool on) {
        for (const char* method : {"events", "journal", "log"}) {
            g_agent->target->request(method, {{"on", on}});
        }
    };
    watch(true);
    for (auto _ : state) {
        callOnce(state);
    }
    watch(false);
}
BENCHMARK(watching_call)->UseRealTime()->Iterations(kFew)->Repetitions(kOften);

void watched_call(benchmark::State& state) {
    bench::Watchers watchers(g_agent->options, kWatchers);
    for (auto _ : state) {
        callOnce(state);
    }
    const std::string troubles = watchers.end();
    if (!troubles.empty()) {
        state.SkipWithError(("notifications were lost or doubled: " + troubles).c_str());
    }
}
BENCHMARK(watched_call)->UseRealTime()->Iterations(kFew)->Repetitions(kOften);

// --- A plan ----------------------------------------------------------------------------------------------------------

// The first step of all plans here, and one of those that are counted.
constexpr char kBringUp[] = "plan \"Steps\"\nstep \"Start\"\n    sys_init\n    prphrl_init\n";
constexpr char kCounted[] = "\"\n    prphrl_get_sar_adc 3 0\n";

void runPlan(benchmark::State& state, const std::string& text) {
    const fs::path plan = g_agent->folder / "steps.plan";
    std::ofstream(plan) << kBringUp << text;
    const bench::OneProcessor together(processesOf(*g_agent->target));
    const std::string command = FAPI_BINARY " run --no-report " + plan.string() + " >/dev/null 2>&1";
    for (auto _ : state) {
        if (std::system(command.c_str()) != 0) {
            state.SkipWithError("the plan failed");
        }
    }
}

std::string writtenSteps(int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += "step \"Step " + std::to_string(i) + kCounted;
    }
    return text;
}

void plan_steps(benchmark::State& state) {
    runPlan(state, writtenSteps(kPlanSteps));
}
BENCHMARK(plan_steps)->Unit(benchmark::kMillisecond)->UseRealTime();

void plan_calls(benchmark::State& state) {
    const bench::OneProcessor together(processesOf(*g_agent->target));
    for (auto _ : state) {
        for (int i = 0; i < kPlanSteps; ++i) {
            callOnce(state);
        }
    }
}
BENCHMARK(plan_calls)->Unit(benchmark::kMillisecond)->UseRealTime();

void plan_written(benchmark::State& state) {
    runPlan(state, writtenSteps(kLongPlan));
}
BENCHMARK(plan_written)->Unit(benchmark::kMillisecond)->UseRealTime();

void plan_loop(benchmark::State& state) {
    runPlan(state, "repeat for i in 1.." + std::to_string(kLongPlan) + "\nstep \"Step" + kCounted + "end\n");
}
BENCHMARK(plan_loop)->Unit(benchmark::kMillisecond)->UseRealTime();

// --- A partition of 64 MiB -------------------------------------------------------------------------------------------

void partition_read(benchmark::State& state) {
    const auto processes = processesOf(*g_agent->target);
    for (auto _ : state) {
        const double before = processorSeconds(processes);
        long long bytes = 0;
        g_agent->target->read("partition.read", {{"partition", kPartition}},
                              [&](const tool::Bytes& piece) { bytes += static_cast<long long>(piece.size()); });
        if (bytes != kTransfer) {
            state.SkipWithError("the partition was not read");
        }
        state.SetIterationTime(processorSeconds(processes) - before);
    }
}
BENCHMARK(partition_read)->Unit(benchmark::kMillisecond)->UseManualTime();

void partition_write(benchmark::State& state) {
    const auto processes = processesOf(*g_agent->target);
    const tool::Bytes piece(kPiece, 0x5A);
    for (auto _ : state) {
        const double before = processorSeconds(processes);
        for (long long offset = 0; offset < kTransfer; offset += kPiece) {
            g_agent->target->request("partition.write",
                                     {{"partition", kPartition}, {"offset", offset}, {"data", piece}});
        }
        state.SetIterationTime(processorSeconds(processes) - before);
    }
}
BENCHMARK(partition_write)->Unit(benchmark::kMillisecond)->UseManualTime();

void base64_pipe(benchmark::State& state) {
    const std::string file = (g_agent->folder / "data").string();
    std::ofstream(file) << std::string(kTransfer, 'Z');
    const std::string command = "sha256sum " + file + " > " + file + ".sum & base64 -w0 " + file +
                                " | base64 -d | sha256sum > " + file + ".end; wait";
    for (auto _ : state) {
        const double before = processorSecondsOfChildren();
        if (std::system(command.c_str()) != 0) {
            state.SkipWithError("the pipe failed");
        }
        state.SetIterationTime(processorSecondsOfChildren() - before);
    }
}
BENCHMARK(base64_pipe)->Unit(benchmark::kMillisecond)->UseManualTime();

// --- What the agent takes --------------------------------------------------------------------------------------------

double mebibytesOfFile(const std::string& program) {
    const std::string stripped = (g_agent->folder / "stripped").string();
    const std::string command = "strip -o " + stripped + " " + program;
    return std::system(command.c_str()) == 0 ? static_cast<double>(fs::file_size(stripped)) / (1 << 20) : 1e9;
}

// What the process has in memory, of what it shares with others its part.
double mebibytesInMemory(pid_t process) {
    std::ifstream sums("/proc/" + std::to_string(process) + "/smaps_rollup");
    for (std::string word; sums >> word;) {
        double kibibytes = 0;
        if (word == "Pss:" && sums >> kibibytes) {
            return kibibytes / 1024;
        }
    }
    return 1e9;
}

void agent_size(benchmark::State& state) {
    tool::TargetOptions options = g_agent->options;
    options.folder += "-at-rest";
    const auto target = tool::Target::join(options);
    const auto processes = processesOf(*target);
    for (auto _ : state) {
        state.counters["resting_mebibytes"] = mebibytesInMemory(processes[1]) + mebibytesInMemory(processes[2]);
        state.counters["stripped_mebibytes"] = mebibytesOfFile(AGENT_BINARY) + mebibytesOfFile(AGENT_BINARY "-worker");
    }
}
BENCHMARK(agent_size)->Iterations(1);

constexpr bench::Goal kGoals[] = {
    // 2 and, of the steps, 1.5 are wanted. Both are met on a quiet machine, and by chance on one with other work.
    {"agent_call", "bare_processes", bench::Limit::timesPeer, 2},
    {"watched_call", "watching_call", bench::Limit::timesPeer, 1.5},
    {"plan_steps", "plan_calls", bench::Limit::timesPeer, 1.5},
    {"plan_loop", "plan_written", bench::Limit::timesPeer, 1.2},
    {"partition_read", "base64_pipe", bench::Limit::timesPeer, 2},
    {"partition_write", "base64_pipe", bench::Limit::timesPeer, 2},
    {"agent_size", "stripped_mebibytes", bench::Limit::counter, 2},
    {"agent_size", "resting_mebibytes", bench::Limit::counter, 8},
};

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1 && std::string(argv[1]) == "hub") {
        return tool::runHub({argv + 2, argv + argc});
    }
    bench::Agent agent;
    g_agent = &agent;
    agent.target->act({{"action", "partition"}, {"arguments", Field::List{kPartition, kTransfer}}});
    return bench::runAndJudge(argc, argv, kGoals, static_cast<int>(std::size(kGoals)));
}
