// SPDX-License-Identifier: Apache-2.0
// One good and one failing run of each module, compared with kept files: the complete log, every call of the middleware
// with its arguments, statuses and outputs. "scripts/quality logs --update" renews the files; look at what has changed.
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include <gtest/gtest.h>

#include "fault_sweep.h"
#include "support/log_capture.h"
#include "support/set_fixture.h"
#include "vset/journal.h"

namespace {

using test::sweep::Calls;
using test::sweep::Sample;

// The first failures of a call say enough; some calls are made for each row of a picture.
constexpr unsigned int kMostOfACall = 3;
constexpr std::size_t kLongestOutput = 400;

class KeptRun : public test::sweep::SampleTest, public ::testing::WithParamInterface<const char*> {
protected:
    KeptRun() {
        leavesOpen("HW_");
        refuses(kAnyCall);
    }

    struct Call {
        std::string strLog;
        std::string strResult;
        std::vector<vset::JournalEntry> journal;
        std::size_t allocations = 0;
    };

    // Runs the operation once from the prepared state, with a fault or without.
    Call run(const Sample& stSample, const tool::OperationRow& operation, const vset::Fault* pFault);
    Call runGood(const Sample& stSample, const tool::OperationRow& operation);
    void runFailing(const Sample& stSample, const tool::OperationRow& operation, const Call& goodCall);
    void tellFailure(const Sample& stSample, const tool::OperationRow& operation, const Call& goodCall,
                     vset::Fault stFault, const std::vector<long long>& results);
    void compare(const std::string& strKind, const std::string& strRun) const;

    std::ostringstream good;
    std::ostringstream failing;

private:
    static std::string resultOf(const tool::Outcome& outcome);
    std::string named(std::string strText);

    std::map<unsigned long long, std::string> _names;  // of the handles, by their numbers
};

std::string KeptRun::resultOf(const tool::Outcome& outcome) {
    std::string strResult = std::to_string(outcome.status);
    for (const auto& [strName, value] : outcome.outputs) {
        strResult += ", " + strName + "=" + tool::display(value, kLongestOutput);
    }
    return strResult;
}

// Takes out what is different in each run or in each version of a source.
std::string withoutChanges(const std::string& strRun) {
    static const std::pair<std::regex, const char*> kChanges[] = {
        {std::regex("(_vextvfapi_[a-z_]+)\\([0-9]+\\)"), "$1()"},  // a line of the source
        {std::regex("(\\([a-z_]+) [0-9]+\\)"), "$1)"},
        {std::regex("> \\[[0-9]+\\]"), "> []"},
        {std::regex("(\\[[a-z_]+\\])\\[[0-9]+\\]"), "$1[]"},                    // another
        {std::regex("(HW_FS_Open\\([^)]*\\) = |fd=)(0x)?[0-9a-f]+"), "$1..."},  // a descriptor
        {std::regex("(systemtime = |seconds=)[0-9]+"), "$1..."},                // the real-time clock
        {std::regex("(path=\"/data\"\\) = 0, size=)[0-9]+"), "$1..."},          // a folder's size is the file system's
    };
    std::string strText = test::withoutLines(strRun);
    for (const auto& [what, pszBy] : kChanges) {
        strText = std::regex_replace(strText, what, pszBy);
    }
    return strText;
}

// Writes a line that repeats itself once, with how often it comes.
std::string withRepeats(const std::string& strText) {
    std::string strShort;
    std::string strBefore;
    unsigned int u32Times = 0;
    const auto write = [&] {
        strShort +=
            u32Times == 0 ? "" : strBefore + (u32Times > 1 ? " (" + std::to_string(u32Times) + " times)\n" : "\n");
    };
    std::string strLine;
    for (std::istringstream lines(strText); std::getline(lines, strLine);) {
        if (u32Times != 0 && strLine == strBefore && !strLine.empty()) {
            ++u32Times;
        } else {
            write();
            strBefore = strLine;
            u32Times = 1;
        }
    }
    write();
    return strShort;
}

std::string namesOf(const std::vector<vset::JournalEntry>& entries) {
    std::string strNames;
    for (const vset::JournalEntry& stEntry : entries) {
        strNames += stEntry.pszCall + std::string("\n");
    }
    std::string strLine = withRepeats(strNames);
    std::replace(strLine.begin(), strLine.end(), '\n', ' ');
    return strLine;
}

// Gives handles names by their order: their numbers are different in each run.
std::string KeptRun::named(std::string strText) {
    static const std::regex kHandle("0x[0-9A-Fa-f]{7,12}\\b|\\b[0-9]{9,10}\\b");
    std::smatch match;
    std::string strNamed;
    while (std::regex_search(strText, match, kHandle)) {
        const auto [it, bNew] =
            _names.try_emplace(std::stoull(match.str(), nullptr, 0), "#" + std::to_string(_names.size() + 1));
        strNamed += match.prefix().str() + it->second;
        strText = match.suffix().str();
    }
    return strNamed + strText;
}

KeptRun::Call KeptRun::run(const Sample& stSample, const tool::OperationRow& operation, const vset::Fault* pFault) {
    _names.clear();
    test::switchLog(true);
    prepare(stSample);
    const std::vector<tool::Value> arguments = test::sweep::argumentsOf(operation, stSample.words);
    if (pFault != nullptr) {
        vset::inject(*pFault);
    }
    Call call;
    const std::size_t allocations = vset::allocations();
    std::fflush(stdout);
    ::testing::internal::CaptureStdout();
    call.strResult = named(resultOf(operation.invoke(arguments)));
    std::fflush(stdout);
    call.strLog = named(::testing::internal::GetCapturedStdout());
    call.journal = vset::journal();
    call.allocations = vset::allocations() - allocations;
    if (stSample.eCalls == Calls::sometimes || stSample.bThreadLogs) {
        call.strLog.clear();
    }
    // How often an operation waits for its thread is different in each run, too.
    const auto isOther = [](const vset::JournalEntry& stEntry) {
        return stEntry.thread != std::this_thread::get_id() || stEntry.pszCall == std::string("HW_OS_DelayTask");
    };
    call.journal.erase(std::remove_if(call.journal.begin(), call.journal.end(), isOther), call.journal.end());
    finish(stSample);
    return call;
}

// Returns the lines of `strText` that `strKnown` does not have so often.
std::string newLines(const std::string& strText, const std::string& strKnown) {
    std::multiset<std::string> known;
    std::string strLine;
    for (std::istringstream lines(strKnown); std::getline(lines, strLine);) {
        known.insert(strLine);
    }
    std::string strNew;
    for (std::istringstream lines(strText); std::getline(lines, strLine);) {
        const auto found = known.find(strLine);
        if (found != known.end()) {
            known.erase(found);
        } else if (!strLine.empty()) {
            strNew += strLine + "\n";
        }
    }
    return strNew;
}

KeptRun::Call KeptRun::runGood(const Sample& stSample, const tool::OperationRow& operation) {
    const Call call = run(stSample, operation, nullptr);
    std::ostringstream run;
    run << "== " << test::sweep::nameWithWords(stSample) << '\n' << call.strLog;
    for (const vset::JournalEntry& stEntry : call.journal) {
        run << "  " << vset::callLine(stEntry) << '\n';
    }
    run << "  = " << call.strResult << '\n';
    good << withRepeats(named(run.str()));
    return call;
}

// Tells what is different from the good run when a call or an allocation fails with each of `results` in turn.
void KeptRun::tellFailure(const Sample& stSample, const tool::OperationRow& operation, const Call& goodCall,
                          vset::Fault stFault, const std::vector<long long>& results) {
    failing << "-- " << stFault.strCall << ' ' << stFault.u32From << ':';
    std::string strBefore;
    Call call;
    for (const long long s64Result : results) {
        stFault.s64Result = s64Result;
        call = run(stSample, operation, &stFault);
        const std::string strGiven = call.strResult == goodCall.strResult ? "the same" : call.strResult;
        failing << ' ' << s64Result << (strGiven == strBefore ? "" : " gives " + strGiven) << ';';
        strBefore = strGiven;
    }
    failing << '\n' << newLines(call.strLog, goodCall.strLog);
    const std::string strCalls = namesOf(call.journal);
    failing << (strCalls != namesOf(goodCall.journal) ? "  " + strCalls + "\n" : "");
}

void KeptRun::runFailing(const Sample& stSample, const tool::OperationRow& operation, const Call& goodCall) {
    failing << "== " << test::sweep::nameWithWords(stSample) << '\n';
    if (stSample.eCalls == Calls::sometimes) {
        return;
    }
    std::map<std::string, unsigned int> made;
    for (const vset::JournalEntry& stEntry : goodCall.journal) {
        const unsigned int u32From = ++made[stEntry.pszCall];
        if (u32From <= kMostOfACall) {
            tellFailure(stSample, operation, goodCall, {stEntry.pszCall, 0, u32From},
                        test::sweep::failuresOf(stEntry.pszCall));
        }
    }
    for (unsigned int u32From = 1; u32From <= std::min<std::size_t>(goodCall.allocations, kMostOfACall); ++u32From) {
        tellFailure(stSample, operation, goodCall, {vset::kAllocation, 0, u32From}, {0});
    }
}

void KeptRun::compare(const std::string& strKind, const std::string& strRun) const {
    const std::string strKept = FAPI_KEPT_RUNS "/" + std::string(GetParam()) + "_" + strKind + ".txt";
    if (std::getenv("FAPI_RENEW_KEPT_RUNS") != nullptr) {
        test::writeFile(strKept, strRun);
        return;
    }
    if (test::readFile(strKept) != strRun) {
        const std::string strNew = folder() + "/run.txt";
        test::writeFile(strNew, strRun);
        ADD_FAILURE() << strKept << " is another; \"scripts/quality logs --update\" renews it";
        // Standard error is what the parent process shows.
        EXPECT_NE(std::system(("diff -u '" + strKept + "' '" + strNew + "' | head -n 60 >&2").c_str()), 0);
    }
}

TEST_P(KeptRun, IsTheKeptOne) {
    inFreshProcess([&] {
        test::sweep::forEachSampleOf(GetParam(), [&](const Sample& stSample, const tool::OperationRow& operation) {
            runFailing(stSample, operation, runGood(stSample, operation));
        });
        compare("good", withoutChanges(good.str()));
        compare("failing", withoutChanges(failing.str()));
    });
}

INSTANTIATE_TEST_SUITE_P(Modules, KeptRun, ::testing::ValuesIn(test::sweep::kModules),
                         [](const auto& module) { return std::string(module.param); });

}  // namespace
