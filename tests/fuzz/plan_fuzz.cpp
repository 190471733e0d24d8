// SPDX-License-Identifier: Apache-2.0
// Any bytes as a plan: reading and checking it must neither crash nor hang nor reach files.
#include <cstddef>
#include <cstdint>

#include "plan.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pu8Data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(pu8Data), size);
    // The one argument that opens files of the PC.
    if (text.find("file:") != std::string::npos) {
        return 0;
    }
    std::vector<tool::Problem> problems;
    const tool::Plan plan = tool::parsePlan(text, problems);
    for (const tool::Step& step : plan.steps) {
        for (const tool::PlanLine& line : step.lines) {
            // What is printed must be read as what it was.
            if (tool::splitWords(line.text()) != line.words) {
                __builtin_trap();
            }
        }
    }
    return 0;
}
