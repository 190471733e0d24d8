// SPDX-License-Identifier: Apache-2.0
// A good and a failing run of each module, and refused arguments, compared with kept files: the complete log, every
// call of the middleware with its arguments, statuses and outputs, what stays open, and whether the next call works. In
// the failing run each call of the middleware and each allocation of an operation fails in turn, once and from there
// on. "scripts/quality logs
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
#include "vset/sys.h"

namespace {

using test::Calls;
using test::Sample;

constexpr const char* kModules[] = {"sys", "aud", "common", "disp", "disptst", "info", "inpsrc", "net", "prphrl"};

// The first failures of a call say enough; some calls are made for each row of a picture.
constexpr unsigned int kMostOfACall = 3;
using Arguments = std::vector<tool::Value>;

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
    for (const tool::OperationRow& operation : tool::operationRows()) {
        const bool bSampled = std::any_of(test::samples().begin(), test::samples().end(), [&](const Sample& stSample) {
            return std::string(stSample.pszOperation) == operation.name;
        });
        const std::string strName = operation.name;
        const bool bEvents =
            strName.find("reg_callback") != std::string::npos || strName.find("_nty_event") != std::string::npos;
        EXPECT_NE(bSampled || bEvents, kWithoutSample.count(strName) != 0) << strName;
    }
}

// The range of an argument: a number, or the length of a text or of bytes.
struct Limit {
    const char* pszOperation;
    std::size_t index;  // of the argument
    long long min, max;
};

constexpr long long kNone = -1;

constexpr Limit kLimits[] = {
    {"a_vextvfapi_common_get_fapi_version", 0, 10, kNone},
    {"a_vextvfapi_sys_set_miu_ssc", 0, kNone, 2},
    {"a_vextvfapi_sys_set_miu_ssc", 1, 20, 40},
    {"a_vextvfapi_sys_set_miu_ssc", 2, 1, 30},
    {"a_vextvfapi_sys_set_emmc_env_var", 1, kNone, 2046},
    {"a_vextvfapi_sys_get_dataindex_path", 0, 128, kNone},
    {"a_vextvfapi_sys_get_customer_hash", 0, 16, kNone},
    {"a_vextvfapi_sys_upgrade_fw", 0, kNone, 1},
    {"a_vextvfapi_sys_read_file_one_line", 1, 1, kNone},
    {"a_vextvfapi_sys_read_file", 1, 1, kNone},
    {"a_vextvfapi_sys_write_file", 1, 1, kNone},
    {"a_vextvfapi_aud_adv_snd_enable", 0, kNone, 7},
    {"a_vextvfapi_aud_adv_set_prescale", 1, 1, 255},
    {"a_vextvfapi_aud_adv_set_NR", 1, kNone, 255},
    {"a_vextvfapi_aud_adv_set_peq_q_value", 0, kNone, 4},
    {"a_vextvfapi_aud_adv_set_peq_freq_value", 0, kNone, 4},
    {"a_vextvfapi_aud_adv_set_peq_gain_value", 0, kNone, 4},
    {"a_vextvfapi_aud_adv_set_peq_value", 0, kNone, 4},
    {"a_vextvfapi_aud_adv_set_peq_value", 1, kNone, 360},
    {"a_vextvfapi_aud_adv_set_peq_value", 2, 20, 20000},
    {"a_vextvfapi_aud_adv_set_peq_value", 3, 5, 160},
    {"a_vextvfapi_aud_adv_set_speaker_delay", 0, kNone, 250},
    {"a_vextvfapi_aud_adv_set_volume", 0, kNone, 8},
    {"a_vextvfapi_aud_adv_set_volume", 1, kNone, 100},
    {"a_vextvfapi_aud_adv_get_volume", 0, kNone, 8},
    {"a_vextvfapi_aud_set_volume_table", 0, kNone, 8},
    {"a_vextvfapi_disp_get_pq_version", 0, kNone, 2},
    {"a_vextvfapi_disp_get_pq_version", 1, kNone, 6},
    {"a_vextvfapi_disp_set_output_timing", 0, kNone, 46},
    {"a_vextvfapi_disp_set_pq_value", 0, kNone, 5},
    {"a_vextvfapi_disptst_gen_gop_test_pattern_on", 0, 1, kNone},
    {"a_vextvfapi_disptst_gen_gop_test_pattern_on", 1, 1, kNone},
    {"a_vextvfapi_inpsrc_set_factory_vd_para", 0, 1, 16},
    {"a_vextvfapi_inpsrc_get_factory_vd_para", 0, 1, 16},
    {"a_vextvfapi_prphrl_start_factory_uart", 1, kNone, 4},
    {"a_vextvfapi_prphrl_start_factory_uart", 2, kNone, 17},
    {"a_vextvfapi_prphrl_get_gpio_status", 0, 1, kNone},
    {"a_vextvfapi_prphrl_set_hdmi_edid_version", 0, kNone, 3},
    {"a_vextvfapi_prphrl_set_hdmi_edid_version", 1, kNone, 3},
    {"a_vextvfapi_prphrl_get_hdmi_edid_version", 0, kNone, 3},
    {"a_vextvfapi_prphrl_set_hdmi_edid_data", 0, kNone, 3},
    {"a_vextvfapi_prphrl_set_hdmi_edid_data", 2, kNone, 512},
    {"a_vextvfapi_prphrl_get_hdmi_edid_data", 0, kNone, 3},
    {"a_vextvfapi_prphrl_set_hdmi_hpd", 0, kNone, 3},
    {"a_vextvfapi_prphrl_pwm_set_attr", 0, kNone, 2},
    {"a_vextvfapi_prphrl_pwm_set_attr", 1, kNone, 17},
    {"a_vextvfapi_prphrl_pwm_get_attr", 0, kNone, 2},
    {"a_vextvfapi_prphrl_pwm_get_attr", 1, kNone, 17},
    {"a_vextvfapi_aud_adv_snd_enable_sub", 0, kNone, 7},
};

Arguments argumentsOf(const Sample& stSample) {
    const tool::OperationRow& operation = *tool::findOperationRow(stSample.pszOperation);
    Arguments values = tool::parseWords(operation.arguments, stSample.words);
    operation.check(values, stSample.words);
    return values;
}

// Returns the arguments with another number or length.
Arguments withArgument(Arguments arguments, std::size_t index, long long value) {
    tool::Value& changed = arguments.at(index);
    if (std::holds_alternative<long long>(changed)) {
        changed = value;
    } else if (std::holds_alternative<std::string>(changed)) {
        changed = std::string(static_cast<std::size_t>(value), 'x');
    } else {
        changed = tool::Bytes(static_cast<std::size_t>(value), 'x');
    }
    return arguments;
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
    for (const vset::sys::MemoryArea& stArea : vset::sys::memoryMap()) {
        open["memory"] += stArea.bAddressable ? 1 : 0;
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
        bool bGood;
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
    Call run(const Sample& stSample, const Arguments& arguments, const vset::Fault* pFault = nullptr);
    Call runGood(const Sample& stSample, const Arguments& arguments, const std::string& strChange = "");
    void runLimits(const Sample& stSample);
    void runFailing(const Sample& stSample, const Call& goodCall);
    void tellFailure(const Sample& stSample, const Call& goodCall, vset::Fault stFault,
                     const std::vector<long long>& results);
    void compare(const std::string& strKind, const std::string& strRun) const;

    std::ostringstream good;
    std::ostringstream failing;

private:
    static std::string effectsSince(const std::map<std::string, int>& before, std::uint64_t u64Refusals);
    static std::string resultOf(const tool::Outcome& outcome);
    std::string named(std::string strText);

    std::set<std::string> _limited;                    // operations whose limits have been met
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
        {std::regex("(_vextvfapi_[a-z_]+)[(\\[][0-9]+[)\\]]"), "$1()"},  // a line of the source
        {std::regex("(\\([a-z_]+) [0-9]+\\)"), "$1)"},
        {std::regex("> \\[[0-9]+\\]"), "> []"},
        {std::regex("x{9,}"), "x..."},
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

KeptRun::Call KeptRun::run(const Sample& stSample, const Arguments& arguments, const vset::Fault* pFault) {
    const tool::OperationRow& operation = *tool::findOperationRow(stSample.pszOperation);
    _names.clear();
    test::switchLog(true);
    prepare(stSample);
    const auto before = openNow();
    const std::uint64_t u64Refusals = vset::refusalCount();
    // A fault that never comes counts what it could make fail.
    vset::inject(pFault != nullptr ? *pFault : vset::Fault{vset::kThrowingAllocation, 0, kNever});
    Call call;
    const std::size_t allocations = vset::allocations();
    const std::size_t throwingAllocations = vset::throwingAllocations();
    std::fflush(stdout);
    ::testing::internal::CaptureStdout();
    const tool::Outcome outcome = operation.invoke(arguments);
    call.bGood = outcome.good;
    call.strResult = named(resultOf(outcome));
    std::fflush(stdout);
    call.strLog = named(::testing::internal::GetCapturedStdout());
    call.journal = vset::journal();
    call.allocations = vset::allocations() - allocations;
    call.throwingAllocations = vset::throwingAllocations() - throwingAllocations;
    vset::clearFaults();
    call.strEffects = effectsSince(before, u64Refusals);
    test::switchLog(false);
    call.strEffects += " next=" + std::to_string(operation.invoke(arguments).status);
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

// Runs the sample without a fault, with other arguments if `strChange` names some.
KeptRun::Call KeptRun::runGood(const Sample& stSample, const Arguments& arguments, const std::string& strChange) {
    const Call call = run(stSample, arguments);
    const bool bRefused = stSample.eCalls == Calls::refused || !strChange.empty();
    EXPECT_NE(call.bGood, bRefused) << strChange;
    std::ostringstream run;
    run << "== " << test::nameWithWords(stSample) << strChange << '\n' << call.strLog;
    if (bRefused) {
        run << "  " << namesOf(call.journal) << '\n';
    } else {
        for (const vset::JournalEntry& stEntry : call.journal) {
            run << "  " << vset::callLine(stEntry) << '\n';
        }
    }
    run << "  = " << call.strResult << (stSample.eCalls == Calls::sometimes ? "" : " ->" + call.strEffects) << '\n';
    good << withRepeats(named(run.str()));
    return call;
}

void KeptRun::runLimits(const Sample& stSample) {
    if (!_limited.insert(stSample.pszOperation).second) {
        return;
    }
    const Arguments arguments = argumentsOf(stSample);
    for (const Limit& stLimit : kLimits) {
        for (const auto& [value, beyond] : {std::pair(stLimit.min, stLimit.min - 1), {stLimit.max, stLimit.max + 1}}) {
            if (value != kNone && std::string(stLimit.pszOperation) == stSample.pszOperation) {
                EXPECT_TRUE(run(stSample, withArgument(arguments, stLimit.index, value)).bGood) << value;
                runGood(stSample, withArgument(arguments, stLimit.index, beyond),
                        ", argument " + std::to_string(stLimit.index) + " = " + std::to_string(beyond));
            }
        }
    }
}

// Tells what is different from the good run when a call or an allocation fails with each of `results` in turn.
void KeptRun::tellFailure(const Sample& stSample, const Call& goodCall, vset::Fault stFault,
                          const std::vector<long long>& results) {
    const Arguments arguments = argumentsOf(stSample);
    const tool::Result eResult = tool::findOperationRow(stSample.pszOperation)->result;
    // The status of the others does not say how they went.
    const bool bJudged =
        eResult != tool::Result::value && eResult != tool::Result::alwaysFails && eResult != tool::Result::nothing;
    failing << "-- " << stFault.strCall << ' ' << stFault.u32From << ':';
    std::string strBefore;
    Call call;
    for (const long long s64Result : results) {
        stFault.s64Result = s64Result;
        stFault.u32Times = 0;
        const std::string strAlways = run(stSample, arguments, &stFault).verdict(goodCall);
        stFault.u32Times = 1;
        call = run(stSample, arguments, &stFault);
        const std::string strOnce = call.verdict(goodCall);
        const std::string strGiven = strOnce + (strAlways == strOnce ? "" : ", from there on " + strAlways);
        EXPECT_TRUE(!call.bGood || !bJudged ||
                    !test::reasonOfSuccess(stSample.pszOperation, stFault.strCall, s64Result).empty())
            << "succeeds although " << stFault.strCall << ' ' << stFault.u32From << " answers " << s64Result;
        failing << ' ' << s64Result << (strGiven == strBefore ? "" : " gives " + strGiven) << ';';
        strBefore = strGiven;
    }
    failing << '\n' << newLines(call.strLog, goodCall.strLog);
    const std::string strCalls = namesOf(call.journal);
    failing << (strCalls != namesOf(goodCall.journal) ? "  " + strCalls + "\n" : "");
}

void KeptRun::runFailing(const Sample& stSample, const Call& goodCall) {
    failing << "== " << test::nameWithWords(stSample) << '\n';
    std::map<std::string, unsigned int> made;
    for (const vset::JournalEntry& stEntry : goodCall.journal) {
        const unsigned int u32From = ++made[stEntry.pszCall];
        if (u32From <= kMostOfACall && stSample.eCalls != Calls::sometimes) {
            tellFailure(stSample, goodCall, {stEntry.pszCall, 0, u32From}, failuresOf(stEntry.pszCall));
        }
    }
    for (const auto& [pszKind, count] : {std::pair(vset::kAllocation, goodCall.allocations),
                                         {vset::kThrowingAllocation, goodCall.throwingAllocations}}) {
        for (unsigned int u32From = 1; u32From <= std::min<std::size_t>(count, kMostOfACall); ++u32From) {
            tellFailure(stSample, goodCall, {pszKind, 0, u32From}, {0});
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
        for (const Sample& stSample : test::samples()) {
            const tool::OperationRow* pOperation = tool::findOperationRow(stSample.pszOperation);
            ASSERT_NE(pOperation, nullptr) << stSample.pszOperation;
            if (pOperation->module != GetParam()) {
                continue;
            }
            SCOPED_TRACE(test::nameWithWords(stSample));
            const Call goodCall = runGood(stSample, argumentsOf(stSample));
            if (stSample.eCalls != Calls::refused) {
                runLimits(stSample);
                runFailing(stSample, goodCall);
            }
        }
        compare("good", withoutChanges(good.str()));
        compare("failing", withoutChanges(failing.str()));
    });
}

INSTANTIATE_TEST_SUITE_P(Modules, KeptRun, ::testing::ValuesIn(kModules),
                         [](const auto& module) { return std::string(module.param); });

}  // namespace
