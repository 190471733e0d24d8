// SPDX-License-Identifier: Apache-2.0
// Any bytes as a plan: reading and checking it must neither crash nor hang nor reach files.
#include <cstddef>
#include <cstdint>

#include "plan/plan.h"

namespace {

// The one argument that opens files of the PC, however it is quoted.
bool namesHostFile(std::string_view text) {
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        try {
            for (const std::string& word : tool::splitWords(line)) {
                if (word.rfind("file:", 0) == 0) {
                    return true;
                }
            }
        } catch (const tool::UsageError&) {
            // A line that cannot be cut into words names nothing.
        }
    }
    return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pu8Data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(pu8Data), size);
    if (namesHostFile(text)) {
        return 0;
    }
    std::vector<tool::Problem> problems;
    const tool::Plan plan = tool::parsePlan(text, problems);
    for (const tool::Step& step : plan.steps) {
        for (const tool::PlanLine& line : step.lines) {
            // The printed text must be read as the same plan.
            if (tool::splitWords(line.text()) != line.words) {
                __builtin_trap();
            }
            for (const tool::Expectation& expectation : line.expectations) {
                if (tool::parseExpectation(tool::splitWords(expectation.text)).text != expectation.text) {
                    __builtin_trap();
                }
            }
        }
    }
    return 0;
}
