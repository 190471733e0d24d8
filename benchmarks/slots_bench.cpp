// SPDX-License-Identifier: Apache-2.0
// Units side by side: four slots of the line plan against one.
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include <benchmark/benchmark.h>

#include "bench_agent.h"
#include "limits.h"

namespace {

const bench::Agent* g_agent;

void slots(benchmark::State& state, int s32Count) {
    const std::string strTable = (g_agent->folder / ("orders-" + std::to_string(s32Count) + ".csv")).string();
    {
        std::ofstream table(strTable);
        table << "serial,mac\n";
        for (int i = 1; i <= s32Count; ++i) {
            table << "LM55-2609-00" << 1000 * s32Count + i << ",02:00:5E:00:53:0" << i << "\n";
        }
    }
    const std::string strCommand = FAPI_BINARY " run --fresh --no-report --slots " + std::to_string(s32Count) +
                                   " --params " + strTable + " " LINE_PLAN " >/dev/null 2>&1";
    for (auto _ : state) {
        if (std::system(strCommand.c_str()) != 0) {
            state.SkipWithError("a slot has failed");
        }
    }
}

void one_slot(benchmark::State& state) {
    slots(state, 1);
}
BENCHMARK(one_slot)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1)->Repetitions(3);

void four_slots(benchmark::State& state) {
    slots(state, 4);
}
BENCHMARK(four_slots)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1)->Repetitions(3);

constexpr bench::Goal kGoals[] = {{"four_slots", "one_slot", bench::Limit::timesPeer, 1.3}};

}  // namespace

int main(int argc, char** argv) {
    const bench::Agent agent(FAPI_BINARY);
    g_agent = &agent;
    return bench::runAndJudge(argc, argv, kGoals, static_cast<int>(std::size(kGoals)));
}
