// SPDX-License-Identifier: Apache-2.0
// Runs benchmarks and judges their ratios.
#include "limits.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

namespace bench {

namespace {

struct Best {
    double nanoseconds = 1e300;
    double processorNanoseconds = 1e300;
    double itemsPerSecond = 0;
    std::map<std::string, double> counters;  // the lowest of each
};

// Prints as usual and keeps the best run of each benchmark: noise only ever makes a run slower.
class Collector : public benchmark::ConsoleReporter {
public:
    Collector() : ConsoleReporter(OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration || run.error_occurred) {
                continue;
            }
            Best& best = _best[run.run_name.function_name];
            const auto perIteration = [&](double seconds) {
                return seconds * 1e9 / static_cast<double>(run.iterations);
            };
            best.nanoseconds = std::min(best.nanoseconds, perIteration(run.real_accumulated_time));
            best.processorNanoseconds = std::min(best.processorNanoseconds, perIteration(run.cpu_accumulated_time));
            for (const auto& [name, counter] : run.counters) {
                const double value = counter;
                if (name == "items_per_second") {
                    best.itemsPerSecond = std::max(best.itemsPerSecond, value);
                }
                const auto [entry, bNew] = best.counters.emplace(name, value);
                entry->second = bNew ? value : std::min(entry->second, value);
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }

    const std::map<std::string, Best>& best() const { return _best; }

private:
    std::map<std::string, Best> _best;
};

bool judge(const Goal& goal, const std::map<std::string, Best>& best) {
    const auto own = best.find(goal.pszBenchmark);
    const bool bHasPeer = goal.eLimit != Limit::itemsPerSecond && goal.eLimit != Limit::counter;
    const auto peer = bHasPeer ? best.find(goal.pszPeer) : own;
    if (own == best.end() || peer == best.end()) {
        std::printf("%-24s not run\n", goal.pszBenchmark);
        return true;
    }
    double value = own->second.itemsPerSecond;
    const char* pszText = "items/s, at least";
    if (goal.eLimit == Limit::timesPeer) {
        value = own->second.nanoseconds / peer->second.nanoseconds;
        pszText = "times the peer, at most";
    } else if (goal.eLimit == Limit::processorTimesPeer) {
        value = own->second.processorNanoseconds / peer->second.processorNanoseconds;
        pszText = "times the peer, at most";
    } else if (goal.eLimit == Limit::nanosecondsAbove) {
        value = own->second.nanoseconds - peer->second.nanoseconds;
        pszText = "ns above the peer, at most";
    } else if (goal.eLimit == Limit::counter) {
        value = own->second.counters.at(goal.pszPeer);
        pszText = "counted, at most";
    }
    const bool bMet = goal.eLimit == Limit::itemsPerSecond ? value >= goal.limit : value <= goal.limit;
    std::printf("%-24s %10.2f %s %.2f: %s\n", goal.pszBenchmark, value, pszText, goal.limit, bMet ? "met" : "MISSED");
    return bMet;
}

}  // namespace

int runAndJudge(int argc, char** argv, const Goal* pGoals, int s32Count) {
    std::vector<char*> arguments;
    bool bCheck = false;
    for (int i = 0; i < argc; ++i) {
        if (std::strcmp(argv[i], "--check") == 0) {
            bCheck = true;
        } else {
            arguments.push_back(argv[i]);
        }
    }
    // The best of many short runs says more on a busy machine than the best of a few long ones.
    char acRepetitions[] = "--benchmark_repetitions=8";
    char acTime[] = "--benchmark_min_time=0.1";
    char acInterleave[] = "--benchmark_enable_random_interleaving=true";
    arguments.insert(arguments.begin() + 1, {acRepetitions, acTime, acInterleave});
    int s32Arguments = static_cast<int>(arguments.size());
    benchmark::Initialize(&s32Arguments, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(s32Arguments, arguments.data())) {
        return 2;
    }
    Collector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);
    bool bMet = true;
    std::printf("\n");
    for (int i = 0; i < s32Count; ++i) {
        bMet = judge(pGoals[i], collector.best()) && bMet;
    }
    return bCheck && !bMet ? 1 : 0;
}

}  // namespace bench
