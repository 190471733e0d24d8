// SPDX-License-Identifier: Apache-2.0
// The journal of middleware calls.
#include <algorithm>
#include <charconv>
#include <cstring>
#include <deque>
#include <mutex>

#include "vset_call.h"

namespace vset {

namespace {

constexpr std::size_t kDefaultEntries = 65536;
// A text argument is cut here; the journal is for reading.
constexpr std::size_t kTextLimit = 96;

struct Journal {
    std::mutex mutex;
    std::deque<JournalEntry> entries;
    std::uint64_t u64Count = 0;
    std::atomic<std::size_t> limit{kDefaultEntries};
};

Journal& theJournal() {
    static Journal& journal = *new Journal;
    return journal;
}

void appendNumber(std::string& strText, long long s64Number) {
    char acDigits[24];
    const auto result = std::to_chars(acDigits, acDigits + sizeof(acDigits), s64Number);
    strText.append(acDigits, result.ptr);
}

void appendText(std::string& strText, const char* pszText) {
    if (pszText == nullptr) {
        strText += "(null)";
        return;
    }
    const std::size_t length = strnlen(pszText, kTextLimit + 1);
    strText += '"';
    strText.append(pszText, length > kTextLimit ? kTextLimit : length);
    strText += length > kTextLimit ? "\"..." : "\"";
}

std::string format(Arguments arguments) {
    std::string strText;
    for (const Argument& stArgument : arguments) {
        if (!strText.empty()) {
            strText += ' ';
        }
        strText += stArgument.pszName;
        strText += '=';
        if (stArgument.eKind == Argument::Kind::text) {
            appendText(strText, stArgument.pszText);
        } else {
            appendNumber(strText, stArgument.s64Number);
        }
    }
    return strText;
}

}  // namespace

void detail::record(const char* pszCall, Arguments arguments, const CallEnd& stEnd) {
    Journal& journal = theJournal();
    const std::size_t limit = journal.limit.load(std::memory_order_relaxed);
    if (limit == 0) {
        return;
    }
    JournalEntry stEntry = {0,
                            std::chrono::steady_clock::now(),
                            pszCall,
                            format(arguments),
                            stEnd.s64Result,
                            stEnd.bFault,
                            stEnd.bFailed,
                            stEnd.s32Errno,
                            std::this_thread::get_id()};
    const std::lock_guard<std::mutex> lock(journal.mutex);
    stEntry.u64Number = ++journal.u64Count;
    while (journal.entries.size() >= limit) {
        journal.entries.pop_front();
    }
    journal.entries.push_back(std::move(stEntry));
}

std::vector<JournalEntry> journal(std::uint64_t u64After) {
    Journal& journal = theJournal();
    const std::lock_guard<std::mutex> lock(journal.mutex);
    const auto isBehind = [](std::uint64_t u64Number, const JournalEntry& stEntry) {
        return u64Number < stEntry.u64Number;
    };
    const auto first = std::upper_bound(journal.entries.begin(), journal.entries.end(), u64After, isBehind);
    return {first, journal.entries.end()};
}

std::uint64_t lastCall() {
    Journal& journal = theJournal();
    const std::lock_guard<std::mutex> lock(journal.mutex);
    return journal.u64Count;
}

void clearJournal() {
    Journal& journal = theJournal();
    const std::lock_guard<std::mutex> lock(journal.mutex);
    journal.entries.clear();
}

void keepJournal(std::size_t entries) {
    Journal& journal = theJournal();
    journal.limit = entries;
    const std::lock_guard<std::mutex> lock(journal.mutex);
    while (journal.entries.size() > entries) {
        journal.entries.pop_front();
    }
}

}  // namespace vset
