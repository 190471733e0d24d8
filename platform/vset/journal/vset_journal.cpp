// SPDX-License-Identifier: Apache-2.0
// The journal of middleware calls, and the refusals among them.
#include <algorithm>
#include <deque>
#include <mutex>
#include <utility>

#include "description.h"
#include "vset_call.h"

namespace vset {

namespace {

constexpr std::size_t kDefaultEntries = 65536;
constexpr std::size_t kRefusals = 4096;

// The entries are kept in a ring whose slots keep the memory of their texts.
struct Journal {
    std::mutex mutex;
    std::vector<JournalEntry> slots;
    std::size_t oldest = 0;
    std::atomic<std::uint64_t> u64Count{0};
};

Journal& theJournal() {
    static Journal& journal = *new Journal;
    return journal;
}

struct Refusals {
    std::mutex mutex;
    std::deque<Refusal> kept;
    std::atomic<std::uint64_t> u64Count{0};
};

Refusals& theRefusals() {
    static Refusals& refusals = *new Refusals;
    return refusals;
}

void append(Refusal refusal) {
    Refusals& refusals = theRefusals();
    const std::lock_guard<std::mutex> lock(refusals.mutex);
    refusal.u64Number = ++refusals.u64Count;
    refusals.kept.push_back(std::move(refusal));
    if (refusals.kept.size() > kRefusals) {
        refusals.kept.pop_front();
    }
}

// Returns the slot of the next entry. The caller holds the mutex.
JournalEntry& nextSlot(Journal& journal, std::size_t limit) {
    if (journal.slots.size() < limit) {
        if (journal.slots.empty()) {
            // Memory that no entry has touched costs nothing, moving the entries to larger memory does.
            journal.slots.reserve(std::min(limit, kDefaultEntries));
        }
        return journal.slots.emplace_back();
    }
    JournalEntry& stSlot = journal.slots[journal.oldest];
    journal.oldest = (journal.oldest + 1) % journal.slots.size();
    return stSlot;
}

static_assert(sizeof(detail::OpenCall::acInputs) >= CallText::kBufferSize);

void writeInputs(detail::OpenCall& call) {
    CallText text(call.acInputs);
    if (call.pDescription != nullptr) {
        for (const WriteArgument& write : call.pDescription->inputs) {
            write(text, {call.arguments.begin()});
        }
    }
    call.inputLength = text.view().size();
    call.bWritten = true;
}

const JournalEntry& entryAt(const Journal& journal, std::size_t index) {
    return journal.slots[(journal.oldest + index) % journal.slots.size()];
}

// Copies the entries from that one on, oldest first.
std::vector<JournalEntry> inOrder(const Journal& journal, std::size_t first = 0) {
    std::vector<JournalEntry> entries;
    entries.reserve(journal.slots.size() - first);
    for (std::size_t i = first; i < journal.slots.size(); ++i) {
        entries.push_back(entryAt(journal, i));
    }
    return entries;
}

}  // namespace

std::atomic<std::size_t> detail::journalLimit{kDefaultEntries};

const CallDescription* detail::findDescription(const char* pszCall) {
    return findCallDescription(pszCall);
}

void detail::begin(OpenCall& call) {
    call.u64Begun = theJournal().u64Count.load(std::memory_order_relaxed);
    writeInputs(call);
}

void detail::end(OpenCall& call, const CallEnd& stEnd) {
    if (!call.bWritten) {
        writeInputs(call);
    }
    const CallDescription* const pKnown = call.pDescription;
    const std::string_view inputs(call.acInputs, call.inputLength);
    const bool bRefused = stEnd.bRefused && !(pKnown != nullptr && pKnown->bLookUp && stEnd.s64Result == HW_ERR_FAILED);
    if (bRefused) {
        append({0, call.pszCall, std::string(inputs), stEnd.s64Result, {}, std::this_thread::get_id()});
    }
    const std::size_t limit = journalLimit.load(std::memory_order_relaxed);
    if (limit == 0) {
        return;
    }
    char acOutputs[CallText::kBufferSize];
    CallText outputs(acOutputs);
    if (pKnown != nullptr && !stEnd.bFailed && !stEnd.bFault) {
        for (const WriteArgument& write : pKnown->outputs) {
            write(outputs, {call.arguments.begin(), stEnd.s64Result});
        }
    }
    Journal& journal = theJournal();
    const auto now = std::chrono::steady_clock::now();
    const std::lock_guard<std::mutex> lock(journal.mutex);
    JournalEntry& stEntry = nextSlot(journal, limit);
    stEntry.u64Number = journal.u64Count.fetch_add(1, std::memory_order_relaxed) + 1;
    stEntry.u64Begun = call.u64Begun;
    stEntry.time = now;
    stEntry.pszCall = call.pszCall;
    stEntry.strArguments = inputs;
    stEntry.strOutputs = outputs.view();
    stEntry.s64Result = stEnd.s64Result;
    stEntry.bFault = stEnd.bFault;
    stEntry.bFailed = stEnd.bFailed;
    stEntry.bRefused = bRefused;
    stEntry.s32Errno = stEnd.s32Errno;
    stEntry.thread = std::this_thread::get_id();
}

void detail::recordEvent(const char* pszEvent) {
    OpenCall event(pszEvent, nullptr, {});
    begin(event);
    end(event, {});
}

void detail::object(const char* pszCall, HW_Handle_t hHandle, const char* pszReason) {
    char acArguments[CallText::kBufferSize];
    CallText arguments(acArguments);
    arguments.handle("handle", hHandle);
    append({0, pszCall, std::string(arguments.view()), HW_OK, pszReason, std::this_thread::get_id()});
}

std::vector<JournalEntry> journal(std::uint64_t u64After) {
    Journal& journal = theJournal();
    const std::lock_guard<std::mutex> lock(journal.mutex);
    // Callers want the last few of many.
    std::size_t first = journal.slots.size();
    while (first > 0 && entryAt(journal, first - 1).u64Number > u64After) {
        --first;
    }
    return inOrder(journal, first);
}

std::uint64_t lastCall() {
    return theJournal().u64Count;
}

void clearJournal() {
    Journal& journal = theJournal();
    const std::lock_guard<std::mutex> lock(journal.mutex);
    journal.slots.clear();
    journal.oldest = 0;
}

void keepJournal(std::size_t entries) {
    Journal& journal = theJournal();
    const std::lock_guard<std::mutex> lock(journal.mutex);
    detail::journalLimit = entries;
    std::vector<JournalEntry> kept = inOrder(journal);
    kept.erase(kept.begin(), kept.end() - static_cast<std::ptrdiff_t>(std::min(entries, kept.size())));
    journal.slots = std::move(kept);
    journal.oldest = 0;
}

std::vector<Refusal> refusals(std::uint64_t u64After) {
    Refusals& refusals = theRefusals();
    const std::lock_guard<std::mutex> lock(refusals.mutex);
    std::vector<Refusal> found;
    std::copy_if(refusals.kept.begin(), refusals.kept.end(), std::back_inserter(found),
                 [&](const Refusal& refusal) { return refusal.u64Number > u64After; });
    return found;
}

std::uint64_t refusalCount() {
    return theRefusals().u64Count;
}

}  // namespace vset
