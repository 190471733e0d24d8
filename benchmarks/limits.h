// SPDX-License-Identifier: Apache-2.0
// Limits that compare benchmarks of the same run, and the program that runs and judges them.
#ifndef BENCHMARKS_LIMITS_H
#define BENCHMARKS_LIMITS_H

namespace bench {

enum class Limit {
    timesPeer,           // time / peer's time, at most
    processorTimesPeer,  // the same of processor time, where nothing waits
    nanosecondsAbove,    // time - peer's time in ns, at most
    itemsPerSecond,      // at least; has no peer
    counter              // the benchmark's counter of the peer's name, at most
};

struct Goal {
    const char* pszBenchmark;
    const char* pszPeer;
    Limit eLimit;
    double limit;
};

// Runs all benchmarks, each five times, and judges the goals by the fastest runs; with --check a missed goal makes
// the result 1. Everything else on the command line is Google Benchmark's.
int runAndJudge(int argc, char** argv, const Goal* pGoals, int s32Count);

}  // namespace bench

#endif
