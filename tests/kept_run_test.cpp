// SPDX-License-Identifier: Apache-2.0
// One good and one failing run of each module, compared with kept files: the complete log, every call of the middleware
// with its arguments, statuses and outputs, what stays open, and whether the next call works. In the failing run each
// call of the middleware and each allocation of an operation fails in turn, once and from there on. "scripts/quality
// logs
// --update" renews the files; look at what has changed.
#include <algorithm>
#include <limits>
#include <map>
#include <numeric>
#include <regex>
#include <set>
#include <sstream>

#include <gtest/gtest.h>

#include "hw3/hw_types.h"
#include "operation_samples.h"
#include "support/descriptors.h"
#include "support/log_capture.h"
#include "support/set_fixture.h"
#include "vset/journal.h"

namespace {

using test::Calls;
using test::Sample;

constexpr const char* kModules[] = {"sys", "aud", "common", "disp", "disptst", "info", "inpsrc", "net", "prphrl"};

// The first failures of a call say enough; some calls are made for each row of a picture.
constexpr unsigned int kMostOfACall = 3;
constexpr std::size_t kLongestOutput = 400;
constexpr unsigned int kNever = std::numeric_limits<unsigned int>::max();

// Operations without a sample, and why. What raises and receives events has tests of its own, too.
const std::map<std::string, const char*> kWithoutSample = {
    {"_a_vextvfapi_prphrl_create_pipe_file", "waits for a writer"},
    {"a_vextvfapi_sys_send_cmd_to_factory_svc", "a socket of which a PC has one, and no allocation"},
    {"_a_vextvfapi_prphrl_setBlocking", "a call of the kernel alone"},
    {"_a_vextvfapi_prphrl_setInterfaceAttr", "a call of the kernel alone"},
    {"_a_vextvfapi_prphrl_uartOpen", "a call of the kernel alone"},
    {"_a_vextvfapi_prphrl_uartRead", "a call of the kernel alone"},
    {"_a_vextvfapi_prphrl_uartWrite", "a call of the kernel alone"},
    {"_a_vextvfapi_prphrl_uartWritestr", "a call of the kernel alone"},
    {"_a_vextvfapi_prphrl_set_hdmi_hpd", "its handle comes from another operation, which calls it"},
    {"_a_vextvfapi_inpsrc_get_src_by_extin_handle", "its handle comes from another operation, which calls it"},
    {"_a_vextvfapi_disp_get_on_screen_input", "its handle comes from another operation, which calls it"},
    {"_a_vextvfapi_disptst_connect_disp", "its handle comes from another operation, which calls it"},
};

TEST(Samples, CoverEveryOperation) {
    for (const tool::Operation& operation : tool::operations()) {
        const bool bSampled = std::any_of(test::samples().begin(), test::samples().end(), [&](const Sample& stSample) {
            return std::string(stSample.pszOperation) == operation.name;
        });
        const std::string strName = operation.name;
        const bool bEvents =
            strName.find("reg_callback") != std::string::npos || strName.find("_nty_event") != std::string::npos;
        EXPECT_NE(bSampled || bEvents, kWithoutSample.count(strName) != 0) << strName;
    }
}

// Returns what a function answers when it fails, and 1 and HW_HAS_INITED, which some callers take for success.
std::vector<long long> failuresOf(const std::string& strCall) {
    if (strCall == "HW_TUNER_FactoryCmdApplyVif") {
        return {0};
    }
    if (strCall.rfind("HW_FS_", 0) != 0 || strCall == "HW_FS_Init") {
        return {1, HW_HAS_INITED, HW_ERR_INVALID_PARAMETER};
    }
    const bool bCounts = strCall == "HW_FS_Fread" || strCall == "HW_FS_Fwrite" || strCall == "HW_FS_Write";
    return bCounts ? std::vector<long long>{-1, 0} : std::vector<long long>{-1, -2};
}

// What is open, and how much of it.
std::map<std::string, int> openNow() {
    std::map<std::string, int> open = {{"descriptors", test::openDescriptors()}};
    for (const vset::OpenHandle& stHandle : vset::openHandles()) {
        ++open[stHandle.strFamily];
    }
    return open;
}

std::string changesSince(const std::map<std::string, int>& before) {
    std::map<std::string, int> change = openNow();
    for (const auto& [strWhat, s32Count] : before) {
        change[strWhat] -= s32Count;
    }
    std::string strChanges;
    for (const auto& [strWhat, s32Count] : change) {
        strChanges += s32Count != 0 ? " " + strWhat + (s32Count > 0 ? "+" : "") + std::to_string(s32Count) : "";
    }
    return strChanges;
}

class KeptRun : public test::SampleTest, public ::testing::WithParamInterface<const char*> {
protected:
    KeptRun() {
        leavesOpen("HW_");
        refuses(kAnyCall);
    }

    struct Call {
        std::string strLog;
        std::string strResult;
        std::string strEffects;  // what the operation opened, closed, and was refused, and the status of the next call
        std::vector<vset::JournalEntry> journal;
        std::size_t allocations = 0, throwingAllocations = 0;

        // Only what is not as in the good call.
        std::string verdict(const Call& goodCall) const {
            return (strResult == goodCall.strResult ? "the same" : strResult) +
                   (strEffects == goodCall.strEffects ? "" : " ->" + strEffects);
        }
    };

    // Runs the operation once from the prepared state, with a fault or without.
    Call run(const Sample& stSample, const tool::Operation& operation, const vset::Fault* pFault);
    Call runGood(const Sample& stSample, const tool::Operation& operation);
    void runFailing(const Sample& stSample, const tool::Operation& operation, const Call& goodCall);
    void tellFailure(const Sample& stSample, const tool::Operation& operation, const Call& goodCall,
                     vset::Fault stFault, const std::vector<long long>& results);
    void compare(const std::string& strKind, const std::string& strRun) const;

    std::ostringstream good;
    std::ostringstream failing;

private:
    static std::string effectsSince(const std::map<std::string, int>& before, std::uint64_t u64Refusals);
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

std::string KeptRun::effectsSince(const std::map<std::string, int>& before, std::uint64_t u64Refusals) {
    std::set<std::string> refused;
    for (const vset::Refusal& stRefusal : vset::refusals(u64Refusals)) {
        refused.insert(stRefusal.thread == std::this_thread::get_id() ? " refused=" + stRefusal.strCall : "");
    }
    return std::accumulate(refused.begin(), refused.end(), changesSince(before));
}

KeptRun::Call KeptRun::run(const Sample& stSample, const tool::Operation& operation, const vset::Fault* pFault) {
    _names.clear();
    test::switchLog(true);
    prepare(stSample);
    const std::vector<tool::Value> arguments = tool::parseArguments(operation, stSample.words);
    const auto before = openNow();
    const std::uint64_t u64Refusals = vset::refusalCount();
    // A fault that never comes counts what it could make fail.
    vset::inject(pFault != nullptr ? *pFault : vset::Fault{vset::kThrowingAllocation, 0, kNever});
    Call call;
    const std::size_t allocations = vset::allocations();
    const std::size_t throwingAllocations = vset::throwingAllocations();
    std::fflush(stdout);
    ::testing::internal::CaptureStdout();
    call.strResult = named(resultOf(tool::invoke(operation, arguments)));
    std::fflush(stdout);
    call.strLog = named(::testing::internal::GetCapturedStdout());
    call.journal = vset::journal();
    call.allocations = vset::allocations() - allocations;
    call.throwingAllocations = vset::throwingAllocations() - throwingAllocations;
    vset::clearFaults();
    call.strEffects = effectsSince(before, u64Refusals);
    test::switchLog(false);
    call.strEffects += " next=" + std::to_string(tool::invoke(operation, arguments).status);
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

KeptRun::Call KeptRun::runGood(const Sample& stSample, const tool::Operation& operation) {
    const Call call = run(stSample, operation, nullptr);
    std::ostringstream run;
    run << "== " << test::nameWithWords(stSample) << '\n' << call.strLog;
    for (const vset::JournalEntry& stEntry : call.journal) {
        run << "  " << vset::callLine(stEntry) << '\n';
    }
    run << "  = " << call.strResult << (stSample.eCalls == Calls::sometimes ? "" : " ->" + call.strEffects) << '\n';
    good << withRepeats(named(run.str()));
    return call;
}

// Tells what is different from the good run when a call or an allocation fails with each of `results` in turn.
void KeptRun::tellFailure(const Sample& stSample, const tool::Operation& operation, const Call& goodCall,
                          vset::Fault stFault, const std::vector<long long>& results) {
    failing << "-- " << stFault.strCall << ' ' << stFault.u32From << ':';
    std::string strBefore;
    Call call;
    for (const long long s64Result : results) {
        stFault.s64Result = s64Result;
        stFault.u32Times = 0;
        const std::string strAlways = run(stSample, operation, &stFault).verdict(goodCall);
        stFault.u32Times = 1;
        call = run(stSample, operation, &stFault);
        const std::string strOnce = call.verdict(goodCall);
        const std::string strGiven = strOnce + (strAlways == strOnce ? "" : ", from there on " + strAlways);
        failing << ' ' << s64Result << (strGiven == strBefore ? "" : " gives " + strGiven) << ';';
        strBefore = strGiven;
    }
    failing << '\n' << newLines(call.strLog, goodCall.strLog);
    const std::string strCalls = namesOf(call.journal);
    failing << (strCalls != namesOf(goodCall.journal) ? "  " + strCalls + "\n" : "");
}

void KeptRun::runFailing(const Sample& stSample, const tool::Operation& operation, const Call& goodCall) {
    failing << "== " << test::nameWithWords(stSample) << '\n';
    std::map<std::string, unsigned int> made;
    for (const vset::JournalEntry& stEntry : goodCall.journal) {
        const unsigned int u32From = ++made[stEntry.pszCall];
        if (u32From <= kMostOfACall && stSample.eCalls != Calls::sometimes) {
            tellFailure(stSample, operation, goodCall, {stEntry.pszCall, 0, u32From}, failuresOf(stEntry.pszCall));
        }
    }
    for (const auto& [pszKind, count] : {std::pair(vset::kAllocation, goodCall.allocations),
                                         {vset::kThrowingAllocation, goodCall.throwingAllocations}}) {
        for (unsigned int u32From = 1; u32From <= std::min<std::size_t>(count, kMostOfACall); ++u32From) {
            tellFailure(stSample, operation, goodCall, {pszKind, 0, u32From}, {0});
        }
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
        test::forEachSampleOf(GetParam(), [&](const Sample& stSample, const tool::Operation& operation) {
            runFailing(stSample, operation, runGood(stSample, operation));
        });
        compare("good", withoutChanges(good.str()));
        compare("failing", withoutChanges(failing.str()));
    });
}

INSTANTIATE_TEST_SUITE_P(Modules, KeptRun, ::testing::ValuesIn(kModules),
                         [](const auto& module) { return std::string(module.param); });

}  // namespace
