// SPDX-License-Identifier: Apache-2.0
// Any bytes as a file of faults: what is read must be what it says, and problems must lie in the file.
#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "plan/fault_file.h"

namespace {

void require(bool good) {
    if (!good) {
        __builtin_trap();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pu8Data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(pu8Data), size);
    const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
    std::vector<tool::Problem> problems;
    for (const tool::PlanFault& fault : tool::parseFaults(text, problems)) {
        std::vector<tool::Problem> none;
        const std::vector<tool::PlanFault> again = tool::parseFaults(fault.text(), none);
        require(none.empty() && again.size() == 1 && again[0].text() == fault.text());
        require(fault.line >= 1 && fault.line <= lines && fault.stepColumn >= 1);
    }
    for (const tool::Problem& problem : problems) {
        require(problem.line >= 1 && problem.line <= lines);
        require(problem.column >= 1 && problem.column <= size + 1 && !problem.text.empty());
    }
    return 0;
}
