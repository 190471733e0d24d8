// SPDX-License-Identifier: Apache-2.0
// Plans: what they are read as, and which problems are found before anything runs.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "plan/plan.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

std::vector<std::string> problemsOf(const std::string& text) {
    std::vector<tool::Problem> problems;
    tool::parsePlan(text, problems);
    std::vector<std::string> lines;
    for (const tool::Problem& problem : problems) {
        lines.push_back(std::to_string(problem.line) + ":" + std::to_string(problem.column) + ": " + problem.text);
    }
    return lines;
}

// Lines of a plan, and a problem there: line, column, and a part of the text.
using Rows = std::vector<std::pair<const char*, const char*>>;
constexpr char kHead[] = "plan P\nstep S\n";

TEST(PlanParser, ReadsEverything) {
    std::vector<tool::Problem> problems;
    const tool::Plan plan = tool::parsePlan(R"(# A comment
plan "All of it"
on-failure continue
step First retry 3 every 1.5s on-failure stop
    common_get_fapi_version   # with a default
    expect version matches "^v[0-9.]+$"
    keep v version
    sys_get_file_checksum /data/${v}
    expect checksum in -0x10..200 margin 5
    expect event 0x100001 of prphrl with value in 1..5 margin 1 with text contains "is" with bytes ${v} within 1.5s
    keep w event.bytes
step Second
    set power-cycle
teardown
step Last
    sys_init
)",
                                            problems);
    ASSERT_TRUE(problems.empty()) << problems[0].text;
    EXPECT_EQ(plan.name, "All of it");
    ASSERT_EQ(plan.steps.size(), 3u);
    const tool::Step& first = plan.steps[0];
    EXPECT_EQ(first.line, 4u);
    EXPECT_EQ(first.retry, 3u);
    EXPECT_EQ(first.every, std::chrono::milliseconds(1500));
    EXPECT_TRUE(first.stopOnFailure);
    ASSERT_EQ(first.lines.size(), 2u);
    EXPECT_FALSE(first.lines[1].command.has_value()) << "made when the variable is known";
    const auto& event = std::get<tool::EventCondition>(first.lines[1].expectations[1].what);
    EXPECT_EQ(event.within, std::chrono::milliseconds(1500));
    EXPECT_FALSE(plan.steps[1].stopOnFailure);
    EXPECT_FALSE(plan.steps[1].teardown);
    EXPECT_TRUE(plan.steps[2].teardown);
    EXPECT_FALSE(plan.steps[2].stopOnFailure) << "a teardown goes on";
}

TEST(PlanParser, NamesEveryProblem) {
    const Rows rows = {
        {"\tsys_int", "3:2: no such operation: sys_int, did you mean sys_init?"},
        {"  sys_check_file", "3:17: sys_check_file: PATH is missing, expected a path; usage: sys_check_file PATH"},
        {"set fly", "3:5: no such command: set fly"},
        {" set drive 12 2 # why", "3:15: set drive: LEVEL is"},
        {" set drive ${gone} 1", "3:12: ${gone} has"},
        {"expect status 0", "3:1: expect stands behind no operation"},
        {"keep a b", "3:1: keep stands behind no operation"},
        {"sys_check_file ${gone}", "3:16: ${gone} has not been kept before"},
        {"plan Q", "3:1: a plan has one name, before its first step"},
        {"teardown now", "3:10: \"now\" is one word too many"},
        {"sys_check_file \"/x", "3:16: the quote \" is not closed"},
        {"on-failure continue", "3:1: on-failure stands before the first step, or behind a step's name"},
        {"sys_check_file ${", "3:1: \"${\": expected } behind ${"},
        {"include b.plan", "3:1: plans know no include: fapi run takes several plans, one after the other"},
        {"step T timeout 5s",
         "3:8: plans know no timeout: a step has no limit of time; expect event NUMBER within TIME "
         "limits what is waited for"},
        {"expct status 0", "3:1: no such operation: expct, did you mean expect?"},
        {"set fault HW_FS_Snyc",
         "3:11: set fault: no such middleware function: \"HW_FS_Snyc\", did you mean HW_FS_Sync?; "
         "usage: set fault CALL [RESULT] [FROM] [TIMES]"},
        {"wait 5", "3:6: expected: wait TIME (200ms, 1.5s)"},
        {"wait 5s\nexpect status ok", "4:1: expect stands behind a wait, which answers nothing"},
    };
    for (const auto& [pszLine, pszProblem] : rows) {
        EXPECT_THAT(problemsOf(std::string(kHead) + pszLine + "\n"), Contains(StartsWith(pszProblem))) << pszLine;
    }
    const Rows expectations = {
        {"expect", "expected: expect OUTPUT"},
        {"expect versoin is 1", "no such output: versoin, expected one of status, version; did you mean version?"},
        {"expect version", "expected: expect OUTPUT"},
        {"expect version is", "the value behind is is missing"},
        {"expect version is 1 2", "\"2\" is one word too many"},
        {"expect version matches [", "is no regular expression"},
        {"expect status in 5..1", "4:18: \"5..1\": expected a range like 100..200"},
        {"expect status in 1..5 margin -1", "margin: expected a number of at least 0"},
        {"expect status in 0..1 margin 4", "margin 4: every number in 0..1 is nearer than that to an end"},
        {"expect status in 0..7 margin 4", "every number in 0..7"},
        {"expect status nice", "status \"nice\": expected ok, failed or a number"},
        {"expect version is ${x}", "${x} has not been kept before"},
        {"expect version is hex:0", "half a byte at the end"},
        {"expect version contains file:/none", "/none: cannot be read"},
        {"expect version matches ${x}", "matches takes no ${NAME}"},
        {"expect version matches ((((((((", "is no regular expression"},
        {"keep 1-2 version", "expected: keep NAME OUTPUT"},
        {" keep a banana", "4:9: no such output: banana"},
        {"keep a event.text", "event.text stands behind no \"expect event\""},
        {"keep a event.colour", "expected event.value, event.text or event.bytes"},
        {"expect no", "expected: expect [no] event NUMBER"},
        {"expect event", "expected: expect [no] event NUMBER"},
        {"expect no version within 1s", "expected: expect [no] event NUMBER"},
        {"expect event x within 1s", "event \"x\": expected a number from 0 to 0xffffffff"},
        {"expect event 0x100000000 within 1s", "expected a number from 0 to 0xffffffff"},
        {"expect event 1", "the time is missing: within TIME"},
        {"expect no event 1 with text A", "the time is missing: within TIME"},
        {"expect event 1 within", "within is \"\", expected a time"},
        {"expect event 1 within 5", "within is \"5\", expected a time"},
        {"expect event 1 within 1s with text A", "\"with\" is one word too many"},
        {"expect event 1 2 within 1s", "\"2\": expected of, with or within"},
        {"expect event 1 of tv within 1s", "4:19: of \"tv\": no such module"},
        {"expect event 1 with colour red within 1s", "with \"colour\": expected value, text or bytes"},
        {"expect event 1 with text", "the value behind text is missing"},
        {"expect event 1 with text A B within 1s", "\"B\": expected of, with or within"},
        {"expect event 1 with text ${x} within 1s", "${x} has not been kept before"},
        {"expect event 1 with value one within 1s", "value \"one\": expected a number"},
        {"expect calls exactly", "expected: expect calls [exactly]"},
        {"expect calls HW_FS_Sync, HW_DISP_SetMut",
         "4:26: no such middleware function: HW_DISP_SetMut, did you mean HW_DISP_SetMute?"},
        {"expect calls 'HW_DISP_SetMute flag=4'", "has no field \"flag\", did you mean flags?"},
        {"expect calls HW_DISP_SetMute flags=4", "\"flags=4\" is no call: a call and its fields are one word"},
        {"expect calls 'HW_DISP_SetMute result=ok'", "a result is a number"},
        {"expect calls 'HW_DISP_SetMute flags=${x}'", "${x} has not been kept before"},
        {"expect refusals is many", "refusals \"many\": expected a number"},
    };
    for (const auto& [pszLine, pszProblem] : expectations) {
        EXPECT_THAT(problemsOf(kHead + std::string("common_get_fapi_version\n") + pszLine + "\n"),
                    ElementsAre(testing::AllOf(StartsWith("4:"), HasSubstr(pszProblem))))
            << pszLine;
    }
    const Rows steps = {
        {"step", "expected: step NAME"},
        {"step \"\"", "expected: step NAME"},
        {"step A retry", "retry is \"\""},
        {"step A retry -1", "2:14: retry is \"-1\""},
        {"step A every 5", "every is \"5\""},
        {"step A every 1h", "every is \"1h\""},
        {"step A every .s", "the step does nothing"},
        {"step A every 5s", "expected retry too"},
        {"teardown\nstep A on-failure stop", "3:8: on-failure: a teardown goes on whatever fails"},
        {"step A on-failure perhaps", "2:19: expected: on-failure stop or on-failure continue"},
        {"step A sometimes", "expected retry, every, on-failure or only-if"},
    };
    for (const auto& [pszLine, pszProblem] : steps) {
        EXPECT_THAT(problemsOf("plan P\n" + std::string(pszLine) + "\n"), Contains(HasSubstr(pszProblem))) << pszLine;
    }
}

TEST(PlanParser, ChecksPicturesAndData) {
    const std::string strPlan = R"(plan "Wrong"
picture early
data early gamma 0
step s
    picture
    picture a/b
    picture a window:3
    picture a panel extra
    picture a
    picture a
    expect status ok
    picture b surface:${none}
    data
    data a/b gamma 0
    data a gamma
    data a gamma 3
    data a gamma 0 1
    data a calibration hdmi 0
    data a calibration vga
    data a values x
    data a values =1
    data a values x=y
    data a pictures 0
    data b gamma 0
    data b gamma 1
    expect status ok
    data c values x=${none}
)";
    const char* const problems[] = {
        "2:1: \"picture\" stands before the first step",
        "3:1: \"data\" stands before the first step",
        "5:12: expected: picture NAME [WHAT]",
        "6:13: expected: picture NAME [WHAT]",
        "7:15: WHAT is \"window:3\"",
        "8:21: expected: picture NAME [WHAT]",
        "10:5: there is a picture a already",
        "11:5: expect stands behind a picture, which answers nothing",
        "12:15: ${none} has not been kept before",
        "13:9: expected: data NAME gamma WINDOW",
        "14:10: expected: data NAME gamma WINDOW",
        "15:10: expected: data NAME gamma WINDOW",
        "16:18: WINDOW is \"3\", expected a number from 0 to 2",
        "17:20: \"1\" is one argument too many",
        "18:24: TYPE is \"hdmi\", expected one of vga",
        "19:27: INDEX is missing",
        "20:19: \"x\": expected WORD=NUMBER",
        "21:19: \"=1\": expected WORD=NUMBER",
        "22:19: \"x=y\": expected WORD=NUMBER",
        "23:12: expected: data NAME gamma WINDOW",
        "25:5: there is data b already",
        "26:5: expect stands behind data, which answers nothing",
        "27:19: ${none} has not been kept before",
    };
    const std::vector<std::string> found = problemsOf(strPlan);
    ASSERT_EQ(found.size(), std::size(problems));
    for (std::size_t i = 0; i < found.size(); ++i) {
        EXPECT_THAT(found[i], StartsWith(problems[i]));
    }
}

// Earlier calls count until a power cycle; words with variables are not known.
TEST(PlanParser, WarnsOfWhatIsNotAsItLooks) {
    std::vector<tool::Problem> problems;
    const tool::Plan plan = tool::parsePlan(
        "plan P\nstep S\nprphrl_get_sar_adc 3\nkeep n status\nprphrl_get_sar_adc ${n}\n"
        "  prphrl_get_sar_adc 4\nset power-cycle\nprphrl_get_sar_adc 4\nnet_set_mac x\n",
        problems);
    EXPECT_TRUE(problems.empty());
    ASSERT_EQ(plan.warnings.size(), 2u);
    EXPECT_EQ(std::make_pair(plan.warnings[0].line, plan.warnings[0].column), std::make_pair(6u, std::size_t(3)));
    EXPECT_EQ(plan.warnings[1].line, 9u);
}

// A word with a variable may be anything that fits; all the others are checked as ever.
TEST(PlanParser, ChecksWhatStandsBesideAVariable) {
    const std::string head = "plan P\nstep S\ncommon_get_fapi_version\nkeep v version\n";
    const char* const good[] = {
        "sys_check_file /data/${v}.txt",
        "common_get_fapi_version ${v}",
        "sys_copy_file ${v} /data/b ${v}\nexpect status is ${v}",
        "set put /data/${v} ${v}${v}",
        "sys_write_file /data/f ${v}\nkeep w status\nsys_check_file ${w}",
        "sys_sync_fs\nexpect calls 'HW_FS_Sync result=${v}'\nwait 1s\nexpect refusals is ${v}",
        "set journal\nexpect calls contains ${v}",
        "aud_basic_snd_set_param ${v} ${v}",
    };
    for (const char* const line : good) {
        EXPECT_THAT(problemsOf(head + line + "\n"), ElementsAre()) << line;
    }
    const Rows bad = {
        {"sys_check_fil ${v}", "5:1: no such operation: sys_check_fil"},
        {"sys_check_file ${v} 2", "5:21: sys_check_file: \"2\" is one argument too many"},
        {"sys_copy_file ${v}", "5:19: sys_copy_file: DESTINATION is missing"},
        {"sys_copy_file ${v} /data/b perhaps", "5:28: sys_copy_file: KEEP is \"perhaps\""},
        {"set putt ${v} x", "5:5: no such command: set putt"},
        {"set put ${v}", "5:13: set put: CONTENT is missing"},
        {"set power-cycle ${v}", "5:17: set power-cycle: \"${v}\" is one argument too many"},
        {"${v} 1", "5:1: \"${v}\": expected a name"},
        {"sys_check_file ${v}\nexpect line is x", "6:8: no such output: line, expected one of status"},
        {"set power-cycle\nexpect event 1 within 1s", "6:1: expect stands behind a power cycle, which answers nothing"},
        {"sys_check_file ${v}\nexpect event 1 within 1s\nkeep v event.none", "7:8: no such output: event.none"},
        {"set power-cycle\nexpect refusals is 0", "6:1: expect stands behind a power cycle, which answers nothing"},
        {"set power-cycle\nexpect status 0", "6:1: expect stands behind a power cycle, which answers nothing"},
        {"set power-cycle\nkeep w status", "6:1: keep stands behind a power cycle, which answers nothing"},
    };
    for (const auto& [pszLine, pszProblem] : bad) {
        EXPECT_THAT(problemsOf(head + pszLine + "\n"), ElementsAre(StartsWith(pszProblem))) << pszLine;
    }
}

TEST(PlanParser, TakesFilesAsEditorsWriteThem) {
    EXPECT_THAT(problemsOf("\xEF\xBB\xBFplan P\r\nstep S\r\n\tsys_init\r\n\texpect status ok\r\n"), ElementsAre());
    EXPECT_THAT(problemsOf("plan P\nstep S\nsys_init"), ElementsAre()) << "without an end of the last line";
}

TEST(PlanParser, FindsAllProblemsAtOnce) {
    EXPECT_THAT(problemsOf("step A\nstep B\nbanana\nteardown\nteardown\nsys_init\n"),
                ElementsAre("1:1: the plan has no name, expected: plan NAME", "1:1: the step does nothing",
                            "3:1: no such operation: banana", "5:1: there is a teardown already",
                            "6:1: \"sys_init\" stands before the first step"));
    EXPECT_THAT(problemsOf(""), ElementsAre("1:1: the plan has no name, expected: plan NAME",
                                            "1:1: the plan has no step, expected: step NAME"));
}

}  // namespace
