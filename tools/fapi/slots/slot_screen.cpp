// SPDX-License-Identifier: Apache-2.0
// All slots on one screen.
#include "slots/slot_screen.h"

#include <array>
#include <cstdio>

#include "base/data_output.h"
#include "base/terminal.h"
#include "protocol/characters.h"
#include "report/verdict_banner.h"

namespace tool {

namespace {

struct ShownVerdict {
    const char* name;
    Verdict verdict;
};
constexpr std::array<ShownVerdict, 5> kShownVerdicts = {{{"passed", Verdict::passed},
                                                         {"marginal", Verdict::marginal},
                                                         {"failed", Verdict::failed},
                                                         {"error", Verdict::error},
                                                         {"interrupted", Verdict::interrupted}}};

std::string coloredVerdict(const std::string& name) {
    for (const ShownVerdict& known : kShownVerdicts) {
        if (name == known.name) {
            const std::string word = verdictWord(known.verdict);
            return usesColors() ? colorOf(known.verdict) + word + kColorsOff : word;
        }
    }
    return name;
}

std::string padded(const std::string& text, std::size_t columns) {
    const std::string cut = cutToColumns(text, columns);
    return cut + std::string(columns - std::min(columns, columnsOf(cut)), ' ');
}

}  // namespace

SlotScreen::SlotScreen(const std::vector<std::unique_ptr<Slot>>& slots) : _slots(slots), _isTerminal(isTerminal()) {}

// "A   LM55-2609-000815   12  Supply voltage          3.2 s"
std::string SlotScreen::lineOf(const Slot& slot, std::size_t columns) const {
    constexpr std::size_t kName = 10, kUnit = 20, kEnd = 22;
    const SlotState& state = slot.state();
    std::array<char, 32> seconds = {};
    std::snprintf(seconds.data(), seconds.size(), "%6.1f s", state.seconds);
    const std::size_t used = kName + kUnit + kEnd + 2;
    const std::string step = state.steps == 0 ? "" : std::to_string(state.steps) + "  " + printable(state.step);
    const std::string end = slot.isBusy() ? seconds.data() : coloredVerdict(state.verdict);
    return padded(printable(slot.name()), kName) + " " + padded(printable(state.unit), kUnit) + " " +
           padded(step, columns - std::min(columns - 1, used)) + " " + end;
}

void SlotScreen::clear() {
    if (_isShown) {
        std::fprintf(dataOutput(), "\033[%zuA\033[J", _slots.size());
        std::fflush(dataOutput());
        _isShown = false;
    }
}

void SlotScreen::tell(const std::string& line) {
    clear();
    printLine(line);
}

void SlotScreen::refresh() {
    if (!_isTerminal) {
        return;
    }
    clear();
    for (const std::unique_ptr<Slot>& slot : _slots) {
        printLine(lineOf(*slot, terminalColumns() - 1));
    }
    std::fflush(dataOutput());
    _isShown = true;
}

}  // namespace tool
