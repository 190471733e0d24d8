// SPDX-License-Identifier: Apache-2.0
// Plans as they run: verdicts, order, what survives, reports.
#include <algorithm>
#include <csignal>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pugixml.hpp>

#include "judge/calls.h"
#include "support/plan_fixture.h"
#include "support/waiting.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;
using namespace std::chrono_literals;

class PlanRun : public test::PlanTest {
protected:
    // Makes a set with an operation that does not return: the pipe has no writer.
    void makeSetWithPipe() {
        std::filesystem::remove_all(set());
        ASSERT_EQ(fapi({"set", "create"}).s32Exit, 0);
        ASSERT_EQ(mkfifo(pipeFile().c_str(), 0600), 0);
    }
    std::string pipeFile() const { return set() + "/tree/mnt/usb/pipe"; }
};

class ShippedPlan : public test::PlanTest, public testing::WithParamInterface<const char*> {};

TEST_P(ShippedPlan, Passes) {
    const test::ProcessResult result = test::runProcess(
        {FAPI_BINARY, "run", "--fresh", "--report", reports(), std::string(FAPI_PLANS) + "/" + GetParam() + ".plan"});
    EXPECT_EQ(result.s32Exit, 0) << result.strOutput << result.strError;
    EXPECT_THAT(result.strOutput, HasSubstr(" passed, 0 marginal, 0 failed, 0 not run in "));
    EXPECT_THAT(result.strOutput, HasSubstr("report: " + reports() + "/" + GetParam() + "-"));
}

// The line's plan has tests of its own.
INSTANTIATE_TEST_SUITE_P(Plans, ShippedPlan,
                         testing::Values("board", "factory-line", "inputs", "panel", "serial", "sound", "storage"),
                         [](const auto& plan) {
                             std::string name = plan.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

TEST_F(PlanRun, VerdictsAndOrderAfterAFailure) {
    EXPECT_THAT(
        verdicts(R"(
step good
    common_hw_err_msg 5
    expect status -6
step marginal
    common_hw_err_msg 5
    expect status in -9..-5 margin 2
step bad
    sys_check_file /data/none
    set put /data/not_reached x
step "not reached"
    sys_init
teardown
step "clean up, failing"
    sys_check_file /data/none
step "clean up"
    sys_check_file /data/not_reached
    expect status failed
)"),
        ElementsAre(Pair("good", "passed"), Pair("marginal", "marginal"), Pair("bad", "failed"),
                    Pair("not reached", "not run"), Pair("clean up, failing", "failed"), Pair("clean up", "passed")));
    EXPECT_EQ(_result.s32Exit, 1);
    EXPECT_THAT(_result.strOutput, HasSubstr("2 passed, 1 marginal, 2 failed, 1 not run"));
    EXPECT_THAT(_result.strOutput, HasSubstr("line 10: sys_check_file /data/none answered -1 (failed)"));

    EXPECT_THAT(verdicts("on-failure continue\nstep a\nsys_check_file /data/none\nstep b\nsys_init\n"),
                ElementsAre(Pair("a", "failed"), Pair("b", "passed")));
}

TEST_F(PlanRun, Expectations) {
    expectVerdicts("sys_init\n", "common_get_fapi_version\n",
                   {
                       {"version is v1.0.0.13", "passed"},
                       {"version is v1.0.0.1", "failed"},
                       {"version is-not v1", "passed"},
                       {"version contains 0.13", "passed"},
                       {"version starts-with 1", "failed"},
                       {"version matches ^v1", "passed"},
                       {"version matches ^1", "failed"},
                       {"version in 1..5", "failed"},
                       {"status in 0..10 margin 0", "passed"},
                       {"status in 0..10 margin 1", "marginal"},
                       {"status in -10..0 margin 1", "marginal"},
                       {"status in 1..5", "failed"},
                       {"status ok", "passed"},
                       {"status failed", "failed"},
                       {"status is-not 0", "failed"},
                       {"status 0", "passed"},
                       {"status is ok", "passed"},
                       {"version is hex:76312e302e302e3133", "passed"},
                       {"version contains repeat:2:.0", "passed"},
                       {"version matches ^v[0-9.]*3$", "passed"},
                   });
}

TEST_F(PlanRun, WhatTheChipRefusesFailsAStep) {
    EXPECT_THAT(
        verdicts(R"(
on-failure continue
step "which is told"
    sys_init
    net_init
    prphrl_init
    net_set_mac nonsense
step "by a thread, too"
    prphrl_gpio_monitor_start 13 2000 1
    set break-pad 13 on
    expect event 0x100005 with value is 255 within 60s
step "unless that is expected"
    prphrl_gpio_monitor_stop
    prphrl_gpio_monitor_start 13 2000 1
    expect event 0x100005 with value is 255 within 60s
    expect refusals is 1
step "or by contract, which counts, too"
    net_set_mac nonsense
    expect refusals in 2..2
    net_close
    expect status failed
step "more than expected"
    net_set_mac nonsense
    expect refusals is 1
step "a fault is no refusal"
    set fault HW_NET_SetMac busy
    net_set_mac 02:00:5e:00:53:01
)"),
        ElementsAre(Pair("which is told", "failed"), Pair("by a thread, too", "failed"),
                    Pair("unless that is expected", "passed"), Pair("or by contract, which counts, too", "passed"),
                    Pair("more than expected", "failed"), Pair("a fault is no refusal", "passed")));
    const nlohmann::json steps = report()["steps"];
    EXPECT_THAT(
        steps[0]["text"].get<std::string>(),
        testing::MatchesRegex("line 8: the chip refused HW_NET_SetMac\\(handle=0x[0-9a-f]+ mac=\"nonsense\"\\) = "
                              "0x8 \\(invalid-parameter\\)"));
    EXPECT_EQ(steps[2]["refusals"][0]["call"], "HW_GPIO_GetInput");
    ASSERT_EQ(steps[3]["refusals"].size(), 3u);
    EXPECT_THAT(steps[3]["refusals"][2]["text"].get<std::string>(), HasSubstr("= 0x7 (invalid-handle), by contract: "));
    for (const char* const pszEnding : {".xml", ".html"}) {
        EXPECT_THAT(readFile(reportFile(pszEnding)), HasSubstr("the chip refused HW_GPIO_GetInput(")) << pszEnding;
    }
    EXPECT_THAT(_result.strOutput, HasSubstr("expected: passed\n         the chip refused HW_GPIO_GetInput("));
}

TEST_F(PlanRun, CallsOfALineCanBeExpected) {
    expectVerdicts("sys_init\nset put /data/f 4\nsys_read_file_one_line /data/f\nkeep four line\n",
                   "sys_sync_fs\nexpect calls exactly HW_FS_Sync\ndisp_set_over_scan 96 54 1728 972\n",
                   {
                       {"calls 'HW_DISP_SetMute flags=4', 'HW_DISP_SetUnMute flags=4'", "passed"},
                       {"calls 'HW_DISP_SetMute flags=${four}' HW_DISP_ApplySetting", "passed"},
                       {"calls HW_DISP_ApplySetting, HW_DISP_SetMute", "failed"},
                       {"calls 'HW_DISP_SetMute flags=5'", "failed"},
                       {"calls HW_FS_Sync, HW_DISP_SetMute", "failed"},
                       {"calls exactly HW_DISP_ApplySetting", "failed"},
                   });
    EXPECT_THAT(stepText(4), HasSubstr("no call HW_DISP_SetMute flags=5, but HW_DISP_SetMute(handle="));
}

TEST(CallPattern, FindsCallsByTheirFields) {
    const std::vector<tool::JournalCall> entries = {
        {1, "HW_DISP_GetHandle", R"(name="HW_DISP_HD0")", "handle=0x11", 0},
        {2, "HW_DISP_SetMute", "handle=0x11 flags=1024", "", 0},
        {3, "HW_DISP_ApplySetting", "handle=0x11", "", 0},
        {4, "HW_DISP_SetUnMute", "handle=0x11 flags=1024", "", 0},
        {5, "HW_FS_Unlink", R"(path="/data/\"quoted\"/and-long"...)", "", -1},
    };
    const std::string strMute = "HW_DISP_SetMute flags=0x400";
    const auto eAllowed = tool::OtherCalls::allowed, eForbidden = tool::OtherCalls::forbidden;
    const struct {
        std::vector<std::string> calls;
        tool::OtherCalls others;
        std::string found;
    } rows[] = {
        {{strMute, "HW_DISP_SetUnMute flags=1024 result=0"}, eAllowed, ""},
        {{"HW_DISP_GetHandle name=HW_DISP_HD0"}, eAllowed, ""},
        {{"HW_DISP_GetHandle name=\"HW_DISP_HD0\" handle=17"}, eAllowed, ""},
        {{R"(HW_FS_Unlink path=/data/"quoted"/and-longer-than-kept)"}, eAllowed, ""},
        {{R"(HW_FS_Unlink path=/data/"quoted"/or-another)"}, eAllowed, "no call HW_FS_Unlink path=/data"},
        {{"HW_DISP_SetUnMute", strMute},
         eAllowed,
         "no call HW_DISP_SetMute flags=0x400 after HW_DISP_SetUnMute, but " + tool::callLine(entries[1])},
        {{"HW_DISP_SetMute flags=4"}, eAllowed, "no call HW_DISP_SetMute flags=4, but "},
        {{"HW_DISP_SetMute result=7"}, eAllowed, "no call "},
        {{strMute}, eForbidden, "in place of " + strMute + " came " + tool::callLine(entries[0])},
        {{"HW_DISP_GetHandle", strMute, "HW_DISP_ApplySetting"},
         eForbidden,
         "not expected: HW_DISP_SetUnMute(handle=0x11 flags=1024) = 0"},
    };
    for (const auto& row : rows) {
        const std::string found = tool::findCalls({row.calls.begin(), row.calls.end()}, entries, row.others);
        EXPECT_EQ(found.substr(0, row.found.size()), row.found);
        EXPECT_EQ(found.empty(), row.found.empty()) << found;
    }
    for (const char* pszWrong : {"HW_DISP_SetMut", "HW_DISP_SetMute flag=4", "HW_DISP_SetMute flags",
                                 "HW_DISP_SetMute result=ok", "allocation"}) {
        EXPECT_THROW(tool::CallPattern{pszWrong}, tool::UsageError) << pszWrong;
    }
}

// What was not reported may have been the call that is looked for.
TEST_F(PlanRun, ACutJournalIsAnErrorOfTheStation) {
    tool::CallWatch watch;
    watch.beginLine(4);
    watch.addCall({5, "HW_FS_Sync", "", "", 0});
    watch.addCall({6, "HW_FS_Sync", "", "", 0});
    EXPECT_EQ(watch.judge({true, {"HW_FS_Sync", "HW_FS_Sync"}}, {}).verdict, tool::Verdict::passed);
    watch.addCall({8, "HW_FS_Sync", "", "", 0});
    const tool::Judgement judgement = watch.judge({false, {"HW_FS_Sync"}}, {});
    EXPECT_EQ(judgement.verdict, tool::Verdict::error);
    EXPECT_THAT(judgement.text, HasSubstr("the first 1 are gone"));
}

// Outputs of other kinds than a short text.
TEST_F(PlanRun, ExpectationsOfFilesAndNumbers) {
    EXPECT_THAT(verdicts(R"(
on-failure continue
step bytes
    set put /data/b hex:00ff10
    sys_read_file /data/b
    expect data is hex:00ff10
    expect data is-not hex:00ff11
    expect data contains hex:ff
    expect data starts-with hex:00ff
    expect length in 3..3
    expect length is 0x3
step "a text that is a number"
    set put /data/n -12
    sys_read_file_one_line /data/n
    expect line in -0x10..-10 margin 2
step "nothing came out"
    sys_read_file_one_line /data/none
    expect status failed
    expect line is x
step "too long for a pattern"
    set put /data/long repeat:60000:x
    sys_read_file /data/long 60000
    expect data matches (x|y)*
)"),
                ElementsAre(Pair("bytes", "passed"), Pair("a text that is a number", "passed"),
                            Pair("nothing came out", "failed"), Pair("too long for a pattern", "failed")));
    EXPECT_THAT(stepText(3), HasSubstr("at most 4096 bytes"));
}

TEST_F(PlanRun, VariablesStandForWhatWasKept) {
    EXPECT_THAT(verdicts(R"(
on-failure continue
step "in the order of the lines"
    sys_init
    sys_get_emmc_env_var model
    keep v value
    expect value is ${v}
    sys_get_emmc_env_var panel
    expect value is-not ${v}
    keep v value
    expect value is ${v}
step "a text that looks like something else"
    sys_set_emmc_env_var odd repeat:1:hex:zz
    sys_get_emmc_env_var odd
    keep odd value
    sys_set_emmc_env_var odd plain
    sys_set_emmc_env_var odd ${odd}
    sys_get_emmc_env_var odd
    expect value is text:hex:zz
    expect value is ${odd}
step "bytes of every kind, across a power cycle"
    set put /data/b hex:00ff80c328
    sys_read_file /data/b
    keep data data
    keep length length
    sys_read_file_one_line /data/b 64 1
    keep line line
    set power-cycle
    set put /data/c ${data}
    sys_read_file /data/c ${length}
    expect data is ${data}
    set put /data/d ${line}
    sys_read_file /data/d
    expect data is hex:ff80c328
step "a value that does not fit"
    sys_read_file /data/b ${odd}
step "nothing was kept"
    sys_read_file_one_line /data/none
    keep none line
    expect status failed
    sys_check_file ${none}
)"),
                ElementsAre(Pair("in the order of the lines", "passed"),
                            Pair("a text that looks like something else", "passed"),
                            Pair("bytes of every kind, across a power cycle", "passed"),
                            Pair("a value that does not fit", "failed"), Pair("nothing was kept", "failed")));
    EXPECT_THAT(stepText(3), HasSubstr("SIZE is \"repeat:1:hex:zz\""));
    EXPECT_THAT(stepText(4), HasSubstr("${none} has no value"));
}

TEST_F(PlanRun, RetryTriesTheWholeStepAgain) {
    EXPECT_THAT(verdicts(R"(
step init
    sys_init
    set fault HW_FS_Stat -1 1 2
    wait 150ms
step "third time lucky" retry 5 every 50ms
    sys_check_folder /data
step "never lucky" retry 2
    sys_check_file /data/none
)"),
                ElementsAre(Pair("init", "passed"), Pair("third time lucky", "passed"), Pair("never lucky", "failed")));
    const nlohmann::json json = report();
    const nlohmann::json attempts = json["steps"][1]["attempts"];
    ASSERT_EQ(attempts.size(), 3u);
    EXPECT_EQ(attempts[0]["verdict"], "failed");
    EXPECT_EQ(attempts[0]["commands"][0]["good"], false);
    EXPECT_EQ(attempts[2]["verdict"], "passed");
    EXPECT_EQ(json["steps"][2]["attempts"].size(), 3u);
    EXPECT_GE(json["steps"][1]["seconds"], 0.1) << "with the waiting";
    EXPECT_GE(json["steps"][0]["attempts"][0]["commands"][2]["seconds"], 0.15) << "of a line of its own";
    EXPECT_THAT(attempts[0]["text"].get<std::string>(), HasSubstr(", because HW_FS_Stat(path=\"/data\") = -1 ("));
    EXPECT_EQ(attempts[0]["commands"][0]["failed_calls"][0]["fault"], true);
}

TEST_F(PlanRun, APowerCycleLosesMemoryAndKeepsVariables) {
    EXPECT_THAT(verdicts(R"(
step one
    sys_init
    sys_get_emmc_env_var serial
    keep old value
    sys_set_emmc_env_var serial NEW
    common_get_fapi_status
    set fault HW_FS_Sync -1 1 0
    set power-cycle
    common_get_fapi_status
    expect status -5
    sys_init
    sys_sync_fs
    sys_get_emmc_env_var serial
    expect value is NEW
step two
    set power-cycle
    set power-cycle
    sys_init
    sys_set_emmc_env_var serial ${old}
    sys_get_emmc_env_var serial
    expect value is VSET00000001
    expect value is ${old}
)"),
                ElementsAre(Pair("one", "passed"), Pair("two", "passed")));
    EXPECT_EQ(fapiJson({"set", "show"})["boots"], 5);
}

// Somebody kills the process that has the set, before and after a power cycle in the step.
TEST_F(PlanRun, AProcessThatDiesCostsTheStep) {
    for (const std::string strPowerCycle : {"", "set power-cycle\n"}) {
        SCOPED_TRACE(strPowerCycle);
        makeSetWithPipe();
        std::thread killer([this] {
            // The pipe can be opened for writing only while it has a reader.
            int s32Pipe = -1;
            EXPECT_TRUE(test::eventually(
                [&] { return (s32Pipe = open(pipeFile().c_str(), O_WRONLY | O_NONBLOCK)) >= 0; }, 60s));
            kill(static_cast<pid_t>(std::stol(readFile(set() + "/lock"))), SIGKILL);
            close(s32Pipe);
        });
        EXPECT_THAT(verdicts("step init\nsys_init\nset put /data/f hex:00ff\nsys_read_file /data/f\nkeep data data\n"
                             "step hangs\n" +
                             strPowerCycle +
                             "sys_read_file_one_line /mnt/usb/pipe\nstep after\nsys_init\n"
                             "teardown\nstep clean\nsys_init\nset put /data/g ${data}\nsys_read_file /data/g\n"
                             "expect data is hex:00ff\n"),
                    ElementsAre(Pair("init", "passed"), Pair("hangs", "died"), Pair("after", "not run"),
                                Pair("clean", "passed")))
            << "the teardown has a process of its own, and the variables";
        killer.join();
        EXPECT_EQ(_result.s32Exit, 1);
        EXPECT_THAT(stepText(1),
                    testing::AllOf(HasSubstr("sys_read_file_one_line /mnt/usb/pipe"), HasSubstr("SIGKILL (Killed)")));
    }
}

// The set is damaged while a step runs, and cannot be switched on again after its power cycle.
TEST_F(PlanRun, ASetThatIsLostEndsThePlan) {
    std::thread vandal([this] {
        EXPECT_TRUE(test::eventually([&] { return std::filesystem::exists(set() + "/tree/data/ready"); }, 60s));
        writeFile("set/set.json", "{");
        writeFile("set/tree/data/go", "");
    });
    EXPECT_THAT(
        verdicts(
            "step init\nsys_init\nset put /data/ready x\nstep wait retry 1000 every 50ms\nsys_check_file /data/go\n"
            "step cycle\nset power-cycle\nsys_init\nteardown\nstep clean\nsys_init\n"),
        ElementsAre(Pair("init", "passed"), Pair("wait", "passed"), Pair("cycle", "failed"), Pair("clean", "not run")));
    vandal.join();
    EXPECT_EQ(_result.s32Exit, 1);
    EXPECT_THAT(stepText(2), HasSubstr("set.json: is not a JSON object"));

    _result = fapi({"run", "--report", reports(), folder() + "/test.plan"});
    EXPECT_EQ(_result.s32Exit, 3) << "nothing was called";
    EXPECT_THAT(_result.strError, HasSubstr("set.json: is not a JSON object"));
}

TEST_F(PlanRun, CtrlCEndsTheStepAndRunsTheTeardown) {
    const struct {
        const char* name;
        const char* plan;
        std::vector<test::Typed> typed;
        std::vector<std::string> verdicts;
    } rows[] = {
        {"in a step that waits for its next attempt",
         "step a retry 1000 every 1s\nsys_check_file /data/none\nstep b\nsys_init\nteardown\nstep c\nsys_init\n",
         {{"(attempt 2)", "\x03"}},
         {"interrupted", "not run", "passed"}},
        {"in an operation that does not come back",
         "step a\nsys_read_file /mnt/usb/pipe\nteardown\nstep b\nsys_init\n",
         {{"1/2  a  1.", "\x03"}},
         {"interrupted", "passed"}},
        {"in a step that waits for an event",
         "step a\nsys_init\nexpect event 1 within 60s\nteardown\nstep b\nsys_init\n",
         {{"1/2  a  1.", "\x03"}},
         {"interrupted", "passed"}},
        {"in a step that never pauses",
         "step a retry 100000\nsys_check_file /data/none\nteardown\nstep b\nsys_init\n",
         {{"(attempt 9)", "\x03"}},
         {"interrupted", "passed"}},
        {"after a power cycle in the step",
         "step a\nset power-cycle\nsys_read_file /mnt/usb/pipe\nteardown\nstep b\nsys_init\n",
         {{"1/2  a  1.", "\x03"}},
         {"interrupted", "passed"}},
        {"in the teardown, which goes on",
         "step a\nsys_init\nteardown\nstep b retry 3 every 500ms\nsys_check_file /data/none\nstep c\nsys_init\n",
         {{"(attempt 2)", "\x03"}},
         {"passed", "failed", "passed"}},
        {"a second time",
         "step a\nsys_init\nteardown\nstep b retry 1000 every 1s\nsys_check_file /data/none\nstep c\nsys_init\n",
         {{"(attempt 2)", "\x03"}, {"(attempt 3)", "\x03"}},
         {"passed", "interrupted", "not run"}},
    };
    makeSetWithPipe();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::filesystem::remove_all(reports());
        const std::string strPlan = writeFile("test.plan", std::string("plan T\n") + row.plan);
        const test::ProcessResult result =
            test::runOnTerminal({FAPI_BINARY, "--set", set(), "run", "--report", reports(), strPlan}, row.typed);
        EXPECT_EQ(result.s32Exit, 4) << result.strOutput;
        EXPECT_EQ(reportedVerdicts(), row.verdicts);
        const auto interrupted = std::find(row.verdicts.begin(), row.verdicts.end(), "interrupted");
        const bool wasCut = interrupted != row.verdicts.end();
        if (wasCut) {
            EXPECT_THAT(stepText(static_cast<std::size_t>(interrupted - row.verdicts.begin())),
                        testing::EndsWith("interrupted"));
        }
        EXPECT_EQ(report()["verdict"], wasCut ? "interrupted" : "failed");
        EXPECT_THAT(result.strOutput, HasSubstr(wasCut ? "INTERRUPTED" : "FAIL"));
        EXPECT_EQ(result.strOutput.find(" 0 failed, 1 interrupted, ") != std::string::npos, wasCut);
    }
}

TEST_F(PlanRun, ReportsHoldEverything) {
    verdicts(
        "step \"odd <&> \x01 name\"\nsys_init\nset put /data/f hex:00ff\nsys_read_file /data/f\nexpect data is "
        "hex:00fe\n");
    pugi::xml_document document;
    ASSERT_TRUE(document.load_file(reportFile(".xml").c_str()));
    const pugi::xml_node suite = document.child("testsuites").child("testsuite");
    EXPECT_STREQ(suite.attribute("tests").value(), "1");
    EXPECT_STREQ(suite.attribute("failures").value(), "1");
    EXPECT_STREQ(suite.child("properties").child("property").attribute("value").value(), "failed");
    EXPECT_STRNE(suite.attribute("hostname").value(), "");
    EXPECT_THAT(suite.attribute("timestamp").value(), testing::MatchesRegex("....-..-..T..:..:..[+-]..:.."));
    EXPECT_STREQ(suite.child("testcase").attribute("name").value(), "odd <&> ? name");
    EXPECT_THAT(suite.child("testcase").child("failure").attribute("message").value(),
                HasSubstr("data is 2 bytes: 00 ff, expected \"hex:00fe\""));
    const nlohmann::json command = report()["steps"][0]["attempts"][0]["commands"][2];
    EXPECT_EQ(command["outputs"]["data"]["hex"], "00ff");
    EXPECT_EQ(command["expectations"][0]["verdict"], "failed");
    EXPECT_EQ(command["expectations"][0]["text"], "expect data is hex:00fe");
    EXPECT_EQ(command["line"], 5);
    // A run within the same second does not take their place.
    verdicts("step a\nsys_init\n");
    verdicts("step a\nsys_init\n");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(reports()), {}), 3 * 3 + 1) << "and the history";
}

TEST_F(PlanRun, DryRunAndBrokenPlansCallNothing) {
    const std::string strGood =
        writeFile("good.plan", "plan G\nstep A retry 2 every 100ms\nsys_init\nexpect status ok\n");
    const std::string strBad = writeFile("bad.plan", "plan B\nstep A\nsys_int\nsys_check_file\n");
    EXPECT_EQ(fapi({"run", "--dry-run", strGood}).strOutput,
              "G\n  A (up to 3 attempts, 100 ms apart)\n    sys_init\n        expect status ok\n");
    EXPECT_EQ(fapi({"check", strGood}).s32Exit, 0);
    const std::string strProblem = strBad + ":3:1: no such operation: sys_int, did you mean sys_init?\n";
    expectImpossible({{"run", "--report", reports(), strGood, strBad}, 2, strProblem});
    expectImpossible({{"check", strBad}, 2, strBad + ":4:15: sys_check_file: PATH is missing"});
    expectImpossible({{"run", "--report", "/proc/none", strGood}, 3, "/proc/none"});
    EXPECT_FALSE(std::filesystem::exists(set()));
    EXPECT_FALSE(std::filesystem::exists(reports()));
}

}  // namespace
