// SPDX-License-Identifier: Apache-2.0
// How long the bench tool takes to start beside a hub that runs: its peer is an empty program that loads the same
// libraries.
#include <iterator>
#include <string>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "bench_agent.h"
#include "limits.h"

namespace {

double seconds(const timeval& stTime) {
    return static_cast<double>(stTime.tv_sec) + static_cast<double>(stTime.tv_usec) * 1e-6;
}

// Runs the program with its output to nowhere, and takes its processor time: on a busy machine the rest is waiting.
void start(benchmark::State& state, const char* pszProgram, const char* pszCommand, const char* pszWord = nullptr) {
    char* const apszArguments[] = {const_cast<char*>(pszProgram), const_cast<char*>(pszCommand),
                                   const_cast<char*>(pszWord), nullptr};
    posix_spawn_file_actions_t stActions;
    posix_spawn_file_actions_init(&stActions);
    posix_spawn_file_actions_addopen(&stActions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    for (auto _ : state) {
        pid_t s32Process = 0;
        int s32Status = -1;
        rusage stUsage = {};
        if (posix_spawn(&s32Process, pszProgram, &stActions, nullptr, apszArguments, environ) != 0 ||
            wait4(s32Process, &s32Status, 0, &stUsage) < 0 || s32Status != 0) {
            state.SkipWithError("the program has failed");
        }
        state.SetIterationTime(seconds(stUsage.ru_utime) + seconds(stUsage.ru_stime));
    }
    posix_spawn_file_actions_destroy(&stActions);
}

void help(benchmark::State& state) {
    start(state, FAPI_BINARY, "--help");
}
BENCHMARK(help)->UseManualTime()->Unit(benchmark::kMillisecond);

void one_call(benchmark::State& state) {
    start(state, FAPI_BINARY, "call", "common_get_fapi_version");
}
BENCHMARK(one_call)->UseManualTime()->Unit(benchmark::kMillisecond);

void one_word(benchmark::State& state) {
    start(state, FAPI_BINARY, "complete", "fapi call sys_get_emmc_e");
}
BENCHMARK(one_word)->UseManualTime()->Unit(benchmark::kMillisecond);

void empty_program(benchmark::State& state) {
    start(state, EMPTY_BINARY, nullptr);
}
BENCHMARK(empty_program)->UseManualTime()->Unit(benchmark::kMillisecond);

constexpr bench::Goal kGoals[] = {
    {"help", "empty_program", bench::Limit::timesPeer, 1.5},
    {"one_call", "empty_program", bench::Limit::timesPeer, 3},
    {"one_word", "empty_program", bench::Limit::timesPeer, 3},
};

}  // namespace

int main(int argc, char** argv) {
    // Its connection keeps the hub running.
    const bench::Agent agent(FAPI_BINARY);
    return bench::runAndJudge(argc, argv, kGoals, static_cast<int>(std::size(kGoals)));
}
