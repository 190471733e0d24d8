// SPDX-License-Identifier: Apache-2.0
// What holds the steps of plans together: included files, groups, loops, conditions, what runs side by side, and limits
// of time.
#include <fstream>

#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "plan/plan.h"
#include "support/plan_fixture.h"
#include "support/waiting.h"
#include "target/target.h"

namespace {

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Pair;
using namespace std::chrono_literals;

class PlanLanguage : public test::PlanTest {
protected:
    // Makes a set with an operation that does not return: the pipe has no writer.
    void makeSetWithPipe() {
        ASSERT_EQ(fapi({"set", "create"}).s32Exit, 0);
        ASSERT_EQ(mkfifo((set() + "/tree/mnt/usb/pipe").c_str(), 0600), 0);
    }
    double secondsOfRun() const { return report()["seconds"]; }
};

constexpr char kHangs[] = "sys_read_file /mnt/usb/pipe";

TEST_F(PlanLanguage, StepsAreNamedByTheirGroupsAndTurns) {
    writeFile(
        "tuner.inc",
        "group tuner\n setup\n step up\n  sys_init\n steps\n step lock\n  common_hw_err_msg ${code}\n"
        "  expect status ${status}\n  measure level = status in -9..${top}\n teardown\n step down\n  sys_init\nend\n");
    writeFile("test.limits", "rail-3V 3 4\nrail-5V -7 -5\n");
    EXPECT_THAT(
        verdicts("limits test.limits\nparam model default LM55 \"model\"\n"
                 "repeat for ch in 21 34\n include tuner.inc with code=5 status=-6 top=-5\nend\n"
                 "step small only-if model is LM43\n sys_init\n"
                 "repeat for rail from limits \"rail-5*\"\n step \"read\"\n  only-if rail is V common_hw_err_msg 5\n"
                 "  expect status -6\n  measure rail = status limits rail-5${rail}\n"
                 "  only-if rail is-not V sys_check_file /data/none\nend\n"),
        ElementsAre(Pair("tuner[ch=21].up", "passed"), Pair("tuner[ch=21].lock", "passed"),
                    Pair("tuner[ch=21].down", "passed"), Pair("tuner[ch=34].up", "passed"),
                    Pair("tuner[ch=34].lock", "passed"), Pair("tuner[ch=34].down", "passed"), Pair("small", "skipped"),
                    Pair("read[rail=V]", "passed")))
        << _result.strError << _result.strOutput;
    EXPECT_THAT(stepText(6), HasSubstr("model is \"LM55\", expected \"LM43\""));
    EXPECT_EQ(report()["steps"][4]["measurements"][0]["name"], "level[ch=34]");
    EXPECT_EQ(report()["steps"][7]["measurements"][0]["high"], -5);
    const nlohmann::json listed = fapiJson({"history", "--report", reports()});
    EXPECT_EQ(listed["skipped"], 1) << listed;
}

TEST_F(PlanLanguage, AGroupWhoseSetUpFailsRunsNothingButItsTeardown) {
    constexpr char kGroups[] =
        "group outer\n setup\n step up\n  sys_init\n steps\n group inner\n  setup\n  step bad\n   sys_check_file "
        "/none\n"
        "  step more\n   sys_init\n  steps\n  step never\n   sys_init\n  teardown\n  step down\n   sys_init\n end\n"
        " step beside\n  sys_init\n teardown\n step down\n  sys_init\nend\n"
        "group later\n step body\n  sys_init\n teardown\n step down\n  sys_init\nend\nteardown\nstep last\n sys_init\n";
    for (const char* pszFailure : {"stop", "continue"}) {
        const char* pszBeside = pszFailure == std::string("stop") ? "not run" : "passed";
        EXPECT_THAT(verdicts("on-failure " + std::string(pszFailure) + "\n" + kGroups),
                    ElementsAre(Pair("outer.up", "passed"), Pair("outer.inner.bad", "failed"),
                                Pair("outer.inner.more", "not run"), Pair("outer.inner.never", "not run"),
                                Pair("outer.inner.down", "passed"), Pair("outer.beside", pszBeside),
                                Pair("outer.down", "passed"), Pair("later.body", pszBeside),
                                Pair("later.down", pszBeside), Pair("last", "passed")));
        EXPECT_THAT(stepText(3), HasSubstr("the set-up of the group \"inner\" has failed"));
        std::filesystem::remove_all(reports());
    }
}

#ifdef FAPI_SANITIZED
// A sanitizer needs minutes for a million, and keeps memory that is given back.
constexpr int kTurns = 50000;
constexpr int kRounds = 1;
#else
constexpr int kTurns = 1000000;
constexpr int kRounds = 5;
#endif

TEST_F(PlanLanguage, AMillionTurnsAreNotStored) {
    const std::string strTurns = std::to_string(kTurns);
    std::vector<tool::Problem> problems;
    const tool::Plan plan = tool::parsePlan(
        "plan P\nrepeat for i in 1.." + strTurns + "\nstep s\ncommon_get_fapi_version\nend\n", problems);
    EXPECT_EQ(plan.steps.size(), 1u);
    EXPECT_EQ(plan.nameAt(kTurns - 1), "s[i=" + strTurns + "]");
    runPlan("repeat for i in 1.." + strTurns +
            "\n step s\n  set put /data/${i} x\n  only-if i is 3 sys_check_file /none\nend\n");
    EXPECT_THAT(_result.strOutput,
                HasSubstr("2 passed, 0 marginal, 1 failed, " + std::to_string(kTurns - 3) + " not run"));
    const nlohmann::json found = report();
    EXPECT_EQ(found["steps"][2]["name"], "s[i=3]");
    EXPECT_EQ(found["unlisted"].get<int>() + static_cast<int>(found["steps"].size()), kTurns);
}

TEST_F(PlanLanguage, GroupsRunSideBySide) {
    const std::string strGroup = " end\n group \"waits\"\n  step s\n   expect no event 0x1 within 1s\n";
    std::string strPlan = "step up\n sys_init\n prphrl_init\n prphrl_start_factory_uart 115200 0\nalongside\n";
    strPlan += " group types\n  step late\n   wait 900ms\n   set type 0 \"SERIAL?\\r\"\n end\n";
    for (const char* pszName : {"first", "second", "third"}) {
        strPlan += " group " + std::string(pszName) +
                   "\n  step waits\n   common_get_fapi_version\n"
                   "   expect event 0x100001 with text is SERIAL? within 30s\n   keep " +
                   pszName + " event.text\n end\n";
    }
    strPlan += "end\nstep after\n set put /data/${first}${third} x\nteardown\nstep down\n sys_init\n";
    EXPECT_THAT(verdicts(strPlan),
                ElementsAre(Pair("up", "passed"), Pair("types.late", "passed"), Pair("first.waits", "passed"),
                            Pair("second.waits", "passed"), Pair("third.waits", "passed"), Pair("after", "passed"),
                            Pair("down", "passed")))
        << _result.strOutput << _result.strError;
    const nlohmann::json found = report();
    double sum = 0;
    for (std::size_t i = 1; i < 5; ++i) {
        sum += found["steps"][i]["seconds"].get<double>();
    }
    EXPECT_GT(sum, 3.4);
    EXPECT_LT(found["times"]["waits"].get<double>(), test::patient(1.5));
}

TEST_F(PlanLanguage, WhatEndsOneGroupEndsThoseBesideIt) {
    makeSetWithPipe();
    const std::string strPlan =
        "alongside\n group a\n  step wait\n   wait 60s\n  teardown\n  step down\n   sys_init\n end\n"
        " group b\n  step call\n   wait 100ms\n   %s\n  step more\n   sys_init\n end\nend\nstep after\n sys_init\n"
        "teardown\nstep last\n sys_init\n";
    const auto planWith = [&](const std::string& strLine) {
        std::string strText = strPlan;
        return strText.replace(strText.find("%s"), 2, strLine);
    };
    runPlan(planWith(std::string(kHangs) + " within 300ms"));
    EXPECT_THAT(reportedVerdicts(), ElementsAre("died", "passed", "failed", "not run", "not run", "passed"));
    EXPECT_THAT(stepText(2), HasSubstr("line 13: sys_read_file /mnt/usb/pipe: did not end within 300ms"));
    const std::string strFile = writeFile("test.plan", "plan T\n" + planWith("wait 60s"));
    const test::ProcessResult result = test::runOnTerminal(
        {FAPI_BINARY, "--set", set(), "run", "--report", reports() + "/c", strFile}, {{"call  1.", "\x03"}});
    EXPECT_EQ(result.s32Exit, 4) << result.strOutput;
    EXPECT_THAT(result.strOutput, AllOf(HasSubstr("a.down: "), HasSubstr("last: "), HasSubstr("2 interrupted")));
}

TEST_F(PlanLanguage, LimitsOfTimeEndWhatTakesTooLong) {
    const struct {
        std::string head, step, line, text;
    } rows[] = {
        {"", "", " within 300ms", "did not end within 300ms, the limit of the line"},
        {"", " within 300ms", "", "did not end within 300ms, the limit of the step"},
        {" within 400ms", "", "", "did not end within 400ms, the limit of the plan"},
    };
    makeSetWithPipe();
    for (const auto& row : rows) {
        const std::string strFile =
            writeFile("limit.plan", "plan L" + row.head + "\nstep s" + row.step + "\n " + kHangs + row.line +
                                        "\nstep t\n sys_init\nteardown\nstep down\n sys_init\n");
        fapi({"run", "--report", reports(), strFile});
        EXPECT_THAT(reportedVerdicts(), ElementsAre("failed", "not run", "passed")) << row.text;
        EXPECT_EQ(stepText(0), std::string("line 3: ") + kHangs + ": " + row.text);
        std::filesystem::remove_all(reports());
    }
}

// Returns the kibibytes in memory of the processes that were started for the set: its hub and its agent.
double kibibytesOf(const std::string& strSet) {
    double sum = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        std::ifstream words(entry.path() / "cmdline"), status(entry.path() / "status");
        const std::string strWords{std::istreambuf_iterator<char>(words), {}};
        const std::string strName = entry.path().filename();
        if (strWords.find(strSet) == std::string::npos || strName == std::to_string(getpid())) {
            continue;
        }
        for (std::string strWord; status >> strWord;) {
            double kibibytes = 0;
            sum += strWord == "VmRSS:" && status >> kibibytes ? kibibytes : 0;
        }
    }
    return sum;
}

TEST_F(PlanLanguage, MemoryDoesNotGrowWithTheUnits) {
    tool::TargetOptions options;
    options.folder = set();
    ASSERT_EQ(fapi({"set", "create"}).s32Exit, 0);
    const auto holder = tool::Target::join(options);
    const std::string strPlan =
        writeFile("u.plan", "plan U\nparam serial \"it\"\nunit serial ${serial}\nstep s\n sys_init\n");
    std::string strTable = "serial\n";
    for (int i = 0; i < 100; ++i) {
        strTable += "U" + std::to_string(i) + "\n";
    }
    const std::string strFile = writeFile("units.csv", strTable);
    double first = 0;
    for (int round = 0; round < kRounds; ++round) {
        ASSERT_EQ(fapi({"run", "--no-report", "--params", strFile, strPlan}).s32Exit, 0);
        first = round == 0 ? kibibytesOf(set()) : first;
    }
    EXPECT_GT(first, 1000);
#ifndef FAPI_SANITIZED
    EXPECT_LT((kibibytesOf(set()) - first) / 400, 4) << "kibibytes a unit";
#endif
}

TEST_F(PlanLanguage, AKnownBadUnitFailsWhereItHasTo) {
    const std::string strPlan = writeFile("t.plan", "plan T\nstep a\n sys_check_file /none\nstep b\n sys_init\n");
    const struct {
        std::string text;
        int exit;
        std::string says;
    } rows[] = {
        {"[step a]\nverdict = failed\nreason = no such file\n", 0, "expected of this unit: a: no such file"},
        {"[step a]\nverdict = died\nreason = no such file\n", 1, "\"a\": failed, expected died: no such file"},
        {"[step a]\nverdict = failed\nreason = x\n[step b]\nverdict = failed\nreason = y\n", 1,
         "\"b\": passed, expected failed: y"},
        {"[step c]\nverdict = failed\nreason = x\n", 2, "expected.ini:1:1: no plan has a step \"c\""},
        {"[step a]\nverdict = bad\nreason = x\n", 2, "expected.ini:2:11: verdict is \"bad\", expected failed"},
    };
    for (const auto& row : rows) {
        const test::ProcessResult result =
            fapi({"run", "--report", reports(), "--expected", writeFile("expected.ini", row.text), strPlan});
        EXPECT_EQ(result.s32Exit, row.exit) << row.text << result.strOutput;
        EXPECT_THAT(result.strOutput + result.strError, HasSubstr(row.says));
    }
}

TEST_F(PlanLanguage, ProblemsAreNamedByFileLineAndColumn) {
    writeFile("self.inc", "include loop.inc\n");
    writeFile("loop.inc", "step s\n sys_init\ninclude self.inc\n");
    writeFile("bad.inc", "step t\n  sys_int\n  expect status ${nothing}\n");
    writeFile("test.limits", "rail 3 4\n");
    const std::pair<std::string, std::string> rows[] = {
        {"include self.inc",
         "loop.inc:3:9: a file does not include itself: test.plan includes self.inc includes loop.inc includes "
         "self.inc"},
        {"include none.inc", "test.plan:4:9: "},
        {"include bad.inc", "bad.inc:2:3: no such operation: sys_int, did you mean sys_init?"},
        {"include bad.inc with nothin=1",
         "test.plan:4:22: " + folder() + "/bad.inc has no ${nothin}, did you mean nothing?"},
        {"group g\nstep s\nsys_init", "test.plan:4:1: group has no end"},
        {"group g\nend", "test.plan:4:1: group holds no step"},
        {"end", "test.plan:4:1: end ends no group"},
        {"repeat for i in 5..1\nstep s\nsys_init\nend",
         "test.plan:4:17: repeat has no turn: \"5..1\" ends before it begins"},
        {"repeat for i in\nstep s\nsys_init\nend", "test.plan:4:16: repeat has no turn: the values are missing"},
        {"repeat for i from limits \"volt *\"\nstep s\nsys_init\nend",
         "test.plan:4:26: repeat has no turn: there are no limits"},
        {"repeat for i in 1..90000000\nstep s\nsys_init\nend", "at most 10000000 turns"},
        {"repaet for i in 1..9\nstep s\nsys_init\nend",
         "test.plan:4:1: no such operation: repaet, did you mean repeat?"},
        {"alongside\nstep s\nsys_init\nend", "test.plan:5:1: step: what runs alongside is a group"},
        {"alongside\ngroup g\nstep s\nset power-cycle\nend\nend",
         "test.plan:7:1: nothing runs alongside a power cycle"},
        {"group g\nstep s\nsys_init\nsetup\nend", "test.plan:7:1: setup stands before all steps"},
        {"step s only-if modl is LM55\nsys_init",
         "test.plan:4:16: \"modl\" is no parameter, and no variable of a loop, did you mean model?"},
        {"step s within soon\nsys_init", "test.plan:4:15: within is \"soon\", expected a time"},
        {"step s\nsys_init within 5", "test.plan:5:17: within is \"5\", expected a time"},
    };
    for (const auto& [strLines, strProblem] : rows) {
        const std::string strFile =
            writeFile("test.plan", "plan P\nlimits test.limits\nparam model default LM55 \"model\"\n" + strLines +
                                       "\nstep z\nsys_init\n");
        const test::ProcessResult result = fapi({"check", strFile});
        EXPECT_EQ(result.s32Exit, 2) << strLines;
        EXPECT_THAT(result.strError, HasSubstr(strProblem)) << strLines;
    }
}

}  // namespace
