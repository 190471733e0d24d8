// SPDX-License-Identifier: Apache-2.0
// Actions that the station carries out for a set in the role of a board, which has none.
#include "support/plan_fixture.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

class BindingTest : public test::PlanTest {
protected:
    std::string hands() const { return folder() + "/rig.sock"; }
    std::string station(const std::string& strActions, const std::string& strMore = "") const {
        return writeFile(
            "station.ini",
            "[station]\nprogram-within = 6s\noperator-within = 3s\n[target board]\nwire = " FAPI_AGENT_BINARY
            " --set " +
                set() + " --as-board " + hands() +
                "\npower-cycle = true\n[fixture rig]\ncommand = python3 " FAPI_EXAMPLES_DIR "/fixture.py " + hands() +
                "\n" + strMore + "[actions]\n" + strActions);
    }
    test::ProcessResult onBoard(const std::string& strStation, std::vector<std::string> words) const {
        words.insert(words.begin(), {FAPI_BINARY, "--yes", "--station", strStation, "--target", "board"});
        return test::runProcess(words);
    }
    // Runs a plan of one step with those lines; returns its verdict and why.
    std::string verdictOf(const std::string& strActions, const std::string& strLines, const std::string& strMore = "") {
        _result = onBoard(station(strActions, strMore),
                          {"run", "--report", reports(), writeFile("test.plan", "plan t\nstep s\n" + strLines)});
        const nlohmann::json step = report()["steps"][0];
        return step["verdict"].get<std::string>() + ": " + step["text"].get<std::string>();
    }
};

TEST_F(BindingTest, AFixtureActsFromOutside) {
    EXPECT_THAT(verdictOf("* = fixture rig\n",
                          "sys_init\nprphrl_init\nset drive 12 1\nprphrl_get_gpio_status 12\n"
                          "expect level is 1\nset pad 12\nexpect level is 1\n"),
                HasSubstr("passed"))
        << _result.strError;
    EXPECT_THAT(onBoard(station("* = fixture rig\n"), {"help", "set", "drive"}).strOutput, HasSubstr("PAD"));
}

TEST_F(BindingTest, ABrokenFixtureFailsItsOwnActionsAlone) {
    const std::string strBroken = "[fixture broken]\ncommand = false\n";
    const std::string strWhy = "station.ini:9: fixture broken: false: ended with exit code 1";
    EXPECT_EQ(verdictOf("key = fixture broken\ndrive = fixture rig\n", "set drive 12 1\n", strBroken), "passed: ")
        << _result.strError;
    EXPECT_EQ(verdictOf("key = fixture broken\n", "set key 0\n", strBroken),
              "error: line 3: set key 0: " + folder() + "/" + strWhy);
    EXPECT_THAT(onBoard(station("* = fixture broken\n", strBroken), {"set", "key", "0"}).strError, HasSubstr(strWhy));
}

TEST_F(BindingTest, WhatIsBoundToNothingIsRefusedAllAtOnce) {
    const std::string strPlan = writeFile("a.plan",
                                          "plan t\nstep s\nset key 0\nset drive 12 1\nset pluk\n"
                                          "only-if target virtual set voltage 3 131\nexpect status is 0\n");
    const test::ProcessResult result = onBoard(station("plug = operator\n"), {"check", strPlan});
    EXPECT_EQ(result.s32Exit, 2);
    EXPECT_THAT(result.strError, HasSubstr("a.plan:3:5: set key is bound to nothing"));
    EXPECT_THAT(result.strError, HasSubstr("a.plan:4:5: set drive is bound to nothing"));
    EXPECT_THAT(result.strError, HasSubstr("did you mean plug?"));
    EXPECT_THAT(result.strError, Not(HasSubstr("voltage")));
}

TEST_F(BindingTest, AnArgumentIsOneWordOfTheProgramOrRefused) {
    const std::string strProgram =
        writeFile("press.sh", "for word; do printf '<%s>' \"$word\"; done > " + folder() + "/words; echo level=1\n");
    const std::string strBinding = "press = run sh " + strProgram + " --to {1} {2}\n";
    EXPECT_THAT(verdictOf(strBinding, "set press \"a b'$(id)\" \"*\"\n"), HasSubstr("passed")) << _result.strError;
    EXPECT_EQ(readFile(folder() + "/words"), "<--to><a b'$(id)><*>");
    EXPECT_THAT(
        verdictOf(strBinding,
                  "sys_init\nsys_set_emmc_env_var a -rf\nsys_get_emmc_env_var a\nkeep x value\nset press ${x} 1\n"),
        HasSubstr("failed: line 7: set press: \"-rf\" begins with a dash"));
    EXPECT_THAT(
        onBoard(station(strBinding), {"check", writeFile("a.plan", "plan t\nstep s\nset press 1 -rf\n")}).strError,
        HasSubstr("a.plan:3:13: set press: \"-rf\" begins with a dash"));
}

TEST_F(BindingTest, AProgramThatMisbehavesIsAnErrorOfTheStation) {
    const struct {
        std::string strScript, strVerdict;
    } rows[] = {
        {"exit 0", "passed"},
        {"echo no contact >&2; exit 1", "failed: line 3: set press 1 answered -1 (failed): \"no contact\""},
        {"exit 7", "error: line 3: set press 1: sh: ended with exit code 7"},
        {"kill -9 $$", "error: line 3: set press 1: sh: ended by signal 9"},
        {"sleep 300 & trap '' TERM; sleep 300; sleep 300",
         "error: line 3: set press 1: sh: did not end within 6000 ms"},
        {"head -c 100000000 /dev/zero | tr '\\0' 'x'", "passed"},
    };
    for (const auto& row : rows) {
        const std::string strProgram = writeFile("press.sh", row.strScript + "\n");
        EXPECT_THAT(verdictOf("press = run sh " + strProgram + " {1}\n", "set press 1\n"),
                    ::testing::StartsWith(row.strVerdict))
            << row.strScript;
    }
    EXPECT_THAT(verdictOf("press = run /no/press {1}\n", "set press 1\n"),
                HasSubstr("error: line 3: set press 1: /no/press"));
}

TEST_F(BindingTest, AnOperatorNeedsATerminal) {
    const std::string strStation = station("plug = operator \"Plug {1} in.\"\n");
    const std::string strPlan = writeFile("a.plan", "plan t\nstep s\nset plug hdmi 1 1920 1080 60000\n");
    const test::ProcessResult result = onBoard(strStation, {"run", "--no-report", strPlan});
    EXPECT_EQ(result.s32Exit, 2);
    EXPECT_THAT(result.strError, HasSubstr("a.plan:3: set plug is asked of the operator, and there is no terminal"));
    const struct {
        std::string strKeys, strTold;
        int exit;
    } rows[] = {{"\n", "PASS", 0},
                {"\x03", "set plug hdmi 1 1920 1080 60000: interrupted", 4},
                {"", "nobody has answered within 3000 ms: Plug hdmi in.", 3}};
    for (const auto& row : rows) {
        const test::ProcessResult asked = test::runOnTerminal(
            {FAPI_BINARY, "--station", strStation, "--target", "board", "run", "--no-report", strPlan},
            {{"Plug hdmi in.", ""}, {"[Enter]", row.strKeys}});
        EXPECT_EQ(asked.s32Exit, row.exit) << asked.strOutput;
        EXPECT_THAT(asked.strOutput, HasSubstr(row.strTold));
    }
    // A group beside the one that waits for the operator goes on.
    writeFile("a.plan",
              "plan t\nalongside\ngroup a\nstep s\nset plug hdmi 1 1920 1080 60000\nend\ngroup b\nstep s\n"
              "wait 1s\nend\nend\n");
    test::runOnTerminal(
        {FAPI_BINARY, "--station", strStation, "--target", "board", "run", "--report", reports(), strPlan},
        {{"[Enter]", ""}, {test::kSilence, "\n"}});
    const nlohmann::json found = report();
    EXPECT_EQ(found["steps"][0]["attempts"][0]["commands"][0]["operator"][0]["answer"], "done");
    EXPECT_LT(found["seconds"].get<double>(),
              0.8 * (found["steps"][0]["seconds"].get<double>() + found["steps"][1]["seconds"].get<double>()));
}

TEST_F(BindingTest, ASetWhoseProgramForThePowerFailsIsNotUsed) {
    const std::pair<const char*, const char*> rows[] = {
        {"false", "power.ini:6: power-cycle: false: ended with exit code 1"},
        {"/no/relay", "power.ini:6: power-cycle: /no/relay: No such file or directory"},
        {"sh -c \"kill -9 $$\"", "power-cycle: sh: ended by signal 9"},
        {"sh -c \"trap '' TERM; sleep 60\"", "power-cycle: has not ended within 2 s"}};
    const std::string strPlan = writeFile("a.plan", "plan t\nstep s\nsys_init\n");
    for (const auto& [pszProgram, pszTold] : rows) {
        std::string strText = readFile(station(""));
        strText.replace(strText.find("= true"), 6, std::string("= ") + pszProgram + "\nup-within = 2s");
        const test::ProcessResult result = onBoard(writeFile("power.ini", strText), {"run", "--no-report", strPlan});
        EXPECT_EQ(result.s32Exit, 3) << pszProgram;
        EXPECT_THAT(result.strError, HasSubstr(pszTold));
    }
}

TEST_F(BindingTest, WhatIsForAnotherKindOfTargetIsSkipped) {
    const std::string strPlan =
        "plan t\nstep s only-if target virtual\nset nonsense\nkeep a b\nstep b only-if target board\nsys_init\n"
        "only-if target virtual set handles\nexpect handles is \"\"\n";
    _result = onBoard(station(""), {"run", "--report", reports(), writeFile("test.plan", strPlan)});
    EXPECT_EQ(_result.s32Exit, 0) << _result.strError;
    EXPECT_EQ(reportedVerdicts(), (std::vector<std::string>{"skipped", "passed"}));
    EXPECT_THAT(stepText(0), HasSubstr("only for a target of the kind virtual"));
    EXPECT_THAT(readFile(reportFile(".xml")), HasSubstr("<skipped message=\"only for a target"));
    EXPECT_THAT(readFile(reportFile(".html")), HasSubstr("skipped: only for a target"));
    EXPECT_THAT(onBoard(station(""), {"screen", reports() + "/a.png"}).strError, HasSubstr("agent has no pictures"));
}

// The program of the second step kills the run, once.
TEST_F(BindingTest, AKilledRunOnABoardIsResumedThere) {
    const std::string strOnce = folder() + "/once";
    const std::string strProgram =
        writeFile("press.sh", "[ -e " + strOnce + " ] && exit 0\ntouch " + strOnce + "\nkill -9 $PPID\n");
    const std::string strStation = station("press = run sh " + strProgram + "\n");
    const std::string strPlan = writeFile("test.plan", "plan t\nstep a\nsys_init\nstep b\nset press\n");
    std::vector<std::string> words = {"run", "--report", reports(), strPlan};
    EXPECT_EQ(onBoard(strStation, words).s32Exit, 128 + 9);
    words.emplace_back("--resume");
    EXPECT_THAT(test::runProcess({FAPI_BINARY, "--station", strStation, "--set", set(), "run", "--resume", "--report",
                                  reports(), strPlan})
                    .strError,
                HasSubstr("the unfinished run is on the target board"));
    _result = onBoard(strStation, words);
    EXPECT_THAT(_result.strOutput, HasSubstr("resumed at step 2: b")) << _result.strError;
    EXPECT_EQ(reportedVerdicts(), (std::vector<std::string>{"passed", "passed"}));
}

// With the shipped station but for its paths.
TEST_F(BindingTest, TheLinePlanRunsOnABoard) {
    std::string strStation = readFile(FAPI_EXAMPLES_DIR "/station.ini");
    const auto replace = [&](const std::string& strWhat, const std::string& strBy) {
        for (std::size_t at = 0; (at = strStation.find(strWhat, at)) != std::string::npos; at += strBy.size()) {
            strStation.replace(at, strWhat.size(), strBy);
        }
    };
    replace("/tmp/fapi-rig.sock", hands());
    replace("/tmp/fapi-board", set());
    replace("wire = fapi-agent", "wire = " FAPI_AGENT_BINARY);
    replace("python3 fixture.py", "python3 " FAPI_EXAMPLES_DIR "/fixture.py");
    const std::string strFile = writeFile("shipped.ini", strStation);
    EXPECT_EQ(onBoard(strFile, {"check", "line"}).s32Exit, 0);
    _result = onBoard(strFile, {"run", "--report", reports(), "line"});
    EXPECT_EQ(_result.s32Exit, 0) << _result.strOutput << _result.strError;
}

}  // namespace
