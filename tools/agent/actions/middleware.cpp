// SPDX-License-Identifier: Apache-2.0
// What a person sees of the middleware, its calls, refusals and handles, and makes fail in it.
#include <algorithm>
#include <cstdio>
#include <map>
#include <thread>

#include "actions/action.h"
#include "actions/middleware_words.h"
#include "vset/journal.h"

namespace tool {

namespace {

// --- Faults ----------------------------------------------------------------------------------------------------------

void fault(Call& call) {
    vset::inject({call.text(0), call.number(1), call.number<unsigned int>(2), call.number<unsigned int>(3)});
}

// The default of the result is a code, which not every function answers.
void checkFault(const std::vector<Value>& values, const std::vector<std::string>& words) {
    const std::string code = words.size() > 1 ? words[1] : "failed";
    const auto& function = std::get<std::string>(values[0]);
    const std::string failures = vset::ownFailures(function);
    const auto& codes = failureCodes();
    const bool isName = std::any_of(codes.begin(), codes.end(), [&](const Choice& row) { return row.name == code; });
    if (isName && !failures.empty()) {
        throw UsageError(function + " answers no code when it fails, but " + failures, 1);
    }
}

// --- Calls -----------------------------------------------------------------------------------------------------------

// Threads by the order in which they appear in the journal: 1, 2, ...
class ThreadNumbers {
public:
    long long of(std::thread::id thread) {
        return _numbers.try_emplace(thread, static_cast<long long>(_numbers.size()) + 1).first->second;
    }

private:
    std::map<std::thread::id, long long> _numbers;
};

// "12 t1 "
std::string placeOf(const vset::JournalEntry& entry, long long thread) {
    return std::to_string(entry.u64Number) + " t" + std::to_string(thread) + " ";
}

Row callRow(const vset::JournalEntry& entry, long long thread) {
    const char* ending = entry.bFault ? " by fault" : entry.bRefused ? " refused" : "";
    return {placeOf(entry, thread) + vset::callLine(entry) + ending,
            {{"number", static_cast<long long>(entry.u64Number)},
             {"thread", thread},
             {"call", std::string(entry.pszCall)},
             {"arguments", entry.strArguments},
             {"outputs", entry.strOutputs},
             {"result", entry.s64Result},
             {"fault", static_cast<long long>(entry.bFault)},
             {"refused", static_cast<long long>(entry.bRefused)}}};
}

// The row for the place where a call began within which others ended.
Row beginRow(const vset::JournalEntry& entry, long long thread) {
    return {placeOf(entry, thread) + "begin " + entry.pszCall + "(" + entry.strArguments + ")",
            {{"begin", static_cast<long long>(entry.u64Number)},
             {"thread", thread},
             {"call", std::string(entry.pszCall)},
             {"arguments", entry.strArguments}}};
}

void journal(Call& call) {
    const std::vector<vset::JournalEntry> entries = vset::journal();
    const auto wanted = call.number<std::size_t>(0);
    const std::size_t first = entries.size() > wanted ? entries.size() - wanted : 0;
    ThreadNumbers threads;
    for (const vset::JournalEntry& entry : entries) {
        threads.of(entry.thread);
    }
    // By the number of the call after which they belong.
    std::multimap<std::uint64_t, Row> begins;
    for (std::size_t i = first; i < entries.size(); ++i) {
        if (entries[i].u64Begun + 1 < entries[i].u64Number) {
            begins.emplace(entries[i].u64Begun, beginRow(entries[i], threads.of(entries[i].thread)));
        }
    }
    Rows rows;
    const long long gone = entries.empty() ? 0 : static_cast<long long>(entries[0].u64Number) - 1;
    if (first == 0 && gone != 0) {
        rows.push_back({std::to_string(gone) + " earlier calls are no longer kept", {{"no_longer_kept", gone}}});
    }
    auto begin = begins.begin();
    for (std::size_t i = first; i < entries.size(); ++i) {
        for (; begin != begins.end() && begin->first < entries[i].u64Number; ++begin) {
            rows.push_back(std::move(begin->second));
        }
        rows.push_back(callRow(entries[i], threads.of(entries[i].thread)));
    }
    call.outRows("calls", std::move(rows));
}

void refusals(Call& call) {
    const std::vector<RefusedCall> all = refusedCalls(0, nullptr);
    const auto wanted = call.number<std::size_t>(0);
    Rows rows;
    for (std::size_t i = all.size() > wanted ? all.size() - wanted : 0; i < all.size(); ++i) {
        const RefusedCall& refused = all[i];
        rows.push_back({std::to_string(refused.number) + " " + displayRefusal(refused),
                        {{"number", static_cast<long long>(refused.number)},
                         {"call", refused.name},
                         {"arguments", refused.arguments},
                         {"result", refused.result},
                         {"word", refused.word},
                         {"objection", refused.objection},
                         {"contract", refused.contract}}});
    }
    call.outRows("refused", std::move(rows));
    call.out("count", static_cast<long long>(vset::refusalCount()));
}

void handles(Call& call) {
    Rows library, player;
    for (const vset::OpenHandle& handle : vset::openHandles()) {
        char line[128];
        std::snprintf(line, sizeof(line), "%s %llu 0x%x", handle.strFamily.c_str(),
                      static_cast<unsigned long long>(handle.u64Key), handle.u32Handle);
        (handle.bPlayer ? player : library)
            .push_back({line,
                        {{"family", handle.strFamily},
                         {"key", static_cast<long long>(handle.u64Key)},
                         {"handle", handle.u32Handle}}});
    }
    call.outRows("handles", std::move(library));
    call.outRows("player", std::move(player));
}

}  // namespace

std::vector<ActionRow> middlewareActions() {
    return {
        ActionRow("fault", "Make a middleware function or \"allocation\" fail.",
                  {{"call", Kind::function, "the function's name"},
                   {"result", Kind::choice, "what it answers; a number for the functions on files", -0x80000000ll,
                    0xFFFFFFFFll, failureCodes(), "failed"},
                   {"from", Kind::number, "the first call to fail, counted from now", 1, 0xFFFFFFFFll, {}, "1"},
                   {"times", Kind::number, "how many calls fail; 0: all from then on", 0, 0xFFFFFFFFll, {}, "1"}},
                  {}, fault)
            .inSession()
            .checkedBy(checkFault),
        ActionRow("clear-faults", "Take all faults back.", {}, {}, [](Call&) { vset::clearFaults(); }).inSession(),
        ActionRow("journal", "Show the last calls of the middleware.",
                  {{"count", Kind::number, "how many", 1, 65536, {}, "20"}},
                  {{"calls",
                    "a line each, in the order of their ends: number, thread, call with arguments, result and outputs; "
                    "\"begin\" "
                    "where others ended within one"}},
                  journal)
            .inSession(),
        ActionRow(
            "refusals", "Show the last calls that the chip refused.",
            {{"count", Kind::number, "how many", 1, 4096, {}, "20"}},
            {{"refused", "a line each, oldest first: number, call, result"}, {"count", "how many there were in all"}},
            refusals)
            .inSession(),
        ActionRow("handles", "Show what is open in the middleware.", {},
                  {{"handles", "of the library, a line each: family, what is open, handle"},
                   {"player", "of the set's player"}},
                  handles)
            .inSession(),
    };
}

}  // namespace tool
