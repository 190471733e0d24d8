// SPDX-License-Identifier: Apache-2.0
// Plans as they run: verdicts, order, what survives, reports.
#include <csignal>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pugixml.hpp>

#include "support/tool_fixture.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

class PlanRun : public test::ToolTest {
protected:
    // Runs a plan of that text. The verdict of each step, by name and in order.
    std::vector<std::pair<std::string, std::string>> verdicts(const std::string& strText) {
        const std::string strPlan = writeFile("test.plan", "plan \"Test\"\n" + strText);
        _result = fapi({"run", "--report", reports(), strPlan});
        std::vector<std::pair<std::string, std::string>> found;
        const nlohmann::json json = report();
        for (const auto& step : json["steps"]) {
            found.emplace_back(step["name"], step["verdict"]);
        }
        return found;
    }
    std::string reports() const { return folder() + "/reports"; }
    // The newest report.
    std::string reportFile(const std::string& strEnding) const {
        std::filesystem::path newest;
        for (const auto& entry : std::filesystem::directory_iterator(reports())) {
            if (entry.path().extension() == strEnding && entry.path() > newest) {
                newest = entry.path();
            }
        }
        return newest.string();
    }
    nlohmann::json report() const { return nlohmann::json::parse(readFile(reportFile(".json"))); }

    test::ProcessResult _result;
};

TEST_F(PlanRun, TheShippedPlanPasses) {
    const test::ProcessResult result = test::runProcess(
        {FAPI_BINARY, "run", "--fresh", "--report", reports(), std::string(FAPI_PLANS) + "/factory-line.plan"});
    EXPECT_EQ(result.s32Exit, 0) << result.strOutput << result.strError;
    EXPECT_THAT(result.strOutput, HasSubstr(" passed, 0 marginal, 0 failed, 0 not run in "));
    EXPECT_THAT(result.strOutput, HasSubstr("report: " + reports() + "/factory-line-"));
}

TEST_F(PlanRun, VerdictsAndOrderAfterAFailure) {
    EXPECT_THAT(
        verdicts(R"(
step good
    common_hw_err_msg 5
    expect status -6
step marginal
    common_hw_err_msg 5
    expect status in -8..-5 margin 2
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
    const struct {
        const char* line;
        const char* verdict;
    } rows[] = {
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
    };
    std::string strPlan = "on-failure continue\n";
    for (const auto& row : rows) {
        strPlan += std::string("step '") + row.line + "'\ncommon_get_fapi_version\nexpect " + row.line + "\n";
    }
    const auto found = verdicts(strPlan);
    ASSERT_EQ(found.size(), std::size(rows));
    for (std::size_t i = 0; i < found.size(); ++i) {
        EXPECT_EQ(found[i].second, rows[i].verdict) << rows[i].line;
    }
}

TEST_F(PlanRun, RetryTriesTheWholeStepAgain) {
    EXPECT_THAT(verdicts(R"(
step init
    sys_init
    set fault HW_FS_Stat -1 1 2
step "third time lucky" retry 5 every 50ms
    sys_check_folder /data
step "never lucky" retry 2
    sys_check_file /data/none
)"),
                ElementsAre(Pair("init", "passed"), Pair("third time lucky", "passed"), Pair("never lucky", "failed")));
    const nlohmann::json json = report();
    EXPECT_EQ(json["steps"][1]["attempts"], 3);
    EXPECT_EQ(json["steps"][1]["commands"].size(), 3u);
    EXPECT_EQ(json["steps"][1]["commands"][0]["good"], false);
    EXPECT_EQ(json["steps"][2]["attempts"], 3);
    EXPECT_GE(json["seconds"], 0.1);
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

TEST_F(PlanRun, AProcessThatDiesCostsTheStep) {
    // A person pulls the plug: somebody kills the process while the step waits for its next attempt.
    const std::string strPlan = writeFile("test.plan",
                                          "plan T\nstep init\nsys_init\nstep hangs retry 1000 every 1s\nsys_check_file "
                                          "/data/none\nstep after\nsys_init\nteardown\nstep clean\nsys_init\n");
    std::thread killer([&] {
        // The process that has the set says so in its lock.
        for (int i = 0; i < 600; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            const std::string strOwner = readFile(set() + "/lock");
            if (!strOwner.empty() && i > 10) {
                kill(static_cast<pid_t>(std::stol(strOwner)), SIGKILL);
                return;
            }
        }
    });
    const test::ProcessResult result = fapi({"run", "--report", reports(), strPlan});
    killer.join();
    EXPECT_EQ(result.s32Exit, 1);
    const nlohmann::json json = report();
    EXPECT_EQ(json["steps"][1]["verdict"], "died") << result.strOutput;
    EXPECT_THAT(json["steps"][1]["text"], HasSubstr("Killed"));
    EXPECT_EQ(json["steps"][2]["verdict"], "not run");
    EXPECT_EQ(json["steps"][3]["verdict"], "passed") << "the teardown has a process of its own";
}

TEST_F(PlanRun, CtrlCEndsTheStepAndTearsDown) {
    const std::string strPlan = writeFile("test.plan",
                                          "plan T\nstep hangs retry 1000 every 1s\nsys_check_file /data/none\n"
                                          "teardown\nstep clean\nsys_init\n");
    const test::ProcessResult result = test::runOnTerminal(
        {FAPI_BINARY, "--set", set(), "run", "--report", reports(), strPlan}, {{"(attempt 2)", "\x03"}});
    EXPECT_EQ(result.s32Exit, 4) << result.strOutput;
    EXPECT_EQ(report()["steps"][0]["verdict"], "interrupted");
    EXPECT_EQ(report()["steps"][1]["verdict"], "passed");
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
    EXPECT_STREQ(suite.child("testcase").attribute("name").value(), "odd <&> ? name");
    EXPECT_THAT(suite.child("testcase").child("failure").attribute("message").value(),
                HasSubstr("data is 2 bytes: 00 ff, expected \"hex:00fe\""));
    const nlohmann::json step = report()["steps"][0];
    EXPECT_EQ(step["commands"][2]["outputs"]["data"]["hex"], "00ff");
    EXPECT_EQ(step["commands"][2]["expectations"][0]["verdict"], "failed");
    EXPECT_EQ(step["commands"][2]["line"], 5);
}

TEST_F(PlanRun, DryRunAndBrokenPlansCallNothing) {
    const std::string strGood = writeFile("good.plan", "plan G\nstep A retry 2\nsys_init\n");
    const std::string strBad = writeFile("bad.plan", "plan B\nstep A\nsys_int\nsys_check_file\n");
    test::ProcessResult result = fapi({"run", "--dry-run", strGood});
    EXPECT_EQ(result.s32Exit, 0);
    EXPECT_EQ(result.strOutput, "G\n  A (up to 3 attempts)\n    sys_init\n");
    EXPECT_EQ(fapi({"check", strGood}).s32Exit, 0);
    result = fapi({"run", "--report", reports(), strGood, strBad});
    EXPECT_EQ(result.s32Exit, 2);
    EXPECT_THAT(result.strError, HasSubstr(strBad + ":3: no such operation: sys_int, did you mean sys_init?\n"));
    EXPECT_THAT(result.strError, HasSubstr(strBad + ":4: sys_check_file: PATH is missing"));
    EXPECT_EQ(fapi({"check", strBad}).s32Exit, 2);
    result = fapi({"run", "--report", "/proc/none", strGood});
    EXPECT_EQ(result.s32Exit, 3);
    EXPECT_THAT(result.strError, HasSubstr("/proc/none"));
    EXPECT_FALSE(std::filesystem::exists(set()));
    EXPECT_FALSE(std::filesystem::exists(reports()));
}

}  // namespace
