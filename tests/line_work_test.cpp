// SPDX-License-Identifier: Apache-2.0
// Lines of plans that ask a person or run a program of this PC.
#include <future>

#include "support/hub_client.h"
#include "support/plan_fixture.h"
#include "support/waiting.h"

namespace {

using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class LineWorkTest : public test::PlanTest {
protected:
    std::string verdictOf(const std::string& strLines, const std::vector<std::string>& options = {}) {
        runPlan("step s\n" + strLines, options);
        return toldVerdict();
    }
    std::string toldVerdict() const {
        const nlohmann::json step = report()["steps"][0];
        return step["verdict"].get<std::string>() + ": " + step["text"].get<std::string>();
    }
    // Returns what the record's last line says.
    nlohmann::json command(std::size_t i = 0) const { return report()["steps"][0]["attempts"].back()["commands"][i]; }
    // Runs the plan on a terminal of its own.
    void ask(const std::string& strText, const std::vector<test::Typed>& typed) {
        _result = test::runOnTerminal({FAPI_BINARY, "--set", set(), "run", "--operator", "Ann", "--report", reports(),
                                       writeFile("test.plan", "plan \"Test\"\n" + strText)},
                                      typed);
    }
    // Whether a process runs whose command line names a file of this test's.
    bool isRunning(const std::string& strName) const {
        for (const auto& process : std::filesystem::directory_iterator("/proc")) {
            if (readFile(process.path().string() + "/cmdline").find(folder() + "/" + strName) != std::string::npos) {
                return true;
            }
        }
        return false;
    }
};

TEST_F(LineWorkTest, AProgramEndsAsItsExitCodeSays) {
    const struct {
        std::string strScript, strAfter, strVerdict;
    } rows[] = {
        {"exit 0", "", "passed: "},
        {"echo no contact >&2; exit 1", "", "failed: line 4: sh has failed: no contact"},
        {"exit 1", "expect status failed\n", "passed: "},
        {"echo no lamp; exit 77", "expect lux in 1..2\n", "skipped: sh has nothing to do: no lamp"},
        {"exit 3", "", "error: line 4: sh: ended with exit code 3"},
        {"kill -9 $$", "", "error: line 4: sh: ended by signal 9"},
        {"echo 'measure \"a b\" 5.03 V' >&3", "measure \"Rail\" = \"a b\" in 4.75..5.25\nexpect \"a b\" is 5.03\n",
         "passed: "},
        {"echo 'measure r 9 V' >&3", "measure \"Rail\" = r in 4..6\n", "failed: line 5: Rail is 9 V, expected 4..6 V"},
        {"echo 'measure r 9 mV' >&3", "measure \"Rail\" = r scale 1 V in 4..6\n",
         "error: line 5: Rail is expected in V, and the program has measured it in mV"},
        {"echo 'measure r 9' >&3", "keep x r\nexpect r is ${x}\nexpect r in 1..9\n", "passed: "},
        {"echo nonsense >&3", "", "error: line 4: sh: \"nonsense\" on descriptor 3: expected measure"},
        {"printf 'note \\377\\n' >&3", "", "error: line 4: sh: "},
        {"while :; do echo note x; done >&3", "",
         "error: line 4: sh: \"note x\" on descriptor 3: more than 1000 lines"},
        {"echo attach /no/file >&3", "", "error: line 4: attach \"/no/file\": expected a file"},
        {"[ \"$FAPI_PARAM_who\" = ' -x' ] && [ -z \"$1$FAPI_UNIT\" ]", "", "passed: "},
    };
    for (const auto& row : rows) {
        writeFile("step.sh", row.strScript + "\n");
        runPlan("param who \"who\"\nstep s\nrun sh " + folder() + "/step.sh within 5s\n" + row.strAfter,
                {"--param", "who= -x"});
        EXPECT_THAT(toldVerdict(), StartsWith(row.strVerdict)) << row.strScript << _result.strError;
    }
    EXPECT_THAT(verdictOf("run sh -c 'echo measure x -rf >&3'\nkeep x x\nrun echo ${x}\n"),
                HasSubstr("the program could take for an option"));
}

TEST_F(LineWorkTest, NothingOfAProgramIsLeftBehind) {
    writeFile("daemon.sh", "trap '' TERM HUP\nwhile :; do sleep 1; done\n");
    writeFile("fork.sh", "setsid sh " + folder() + "/daemon.sh & setsid setsid sh " + folder() +
                             "/daemon.sh &\nsleep 0.1\n[ -z \"$1\" ] || exec sh " + folder() + "/daemon.sh\n");
    EXPECT_THAT(verdictOf("run sh " + folder() + "/fork.sh\n"), StartsWith("passed"));
    EXPECT_FALSE(isRunning("daemon.sh"));
    EXPECT_THAT(verdictOf("run sh " + folder() + "/fork.sh hang within 300ms\n"),
                StartsWith("error: line 3: sh: did not end within 300 ms"));
    EXPECT_FALSE(isRunning("daemon.sh"));
    // Ctrl-C: teardown and report come.
    ask("step hangs\nrun sh " + folder() + "/fork.sh hang\nteardown\nstep last\nrun true\n", {{"1/2", "\x03"}});
    EXPECT_EQ(_result.s32Exit, 4) << _result.strOutput;
    EXPECT_EQ(reportedVerdicts(), (std::vector<std::string>{"interrupted", "passed"}));
    EXPECT_FALSE(isRunning("daemon.sh"));
}

TEST_F(LineWorkTest, OutputIsBoundedAndFilesAreKeptWithTheReport) {
    writeFile("curve.csv", "1,2\n");
    std::filesystem::create_directory(folder() + "/second");
    writeFile("second/curve.csv", "3,4\n");
    EXPECT_THAT(verdictOf("run sh -c 'echo first; yes | head -c 1000000000; echo last; echo attach " + folder() +
                          "/curve.csv >&3; echo note warm >&3' within 100s\nrun sh -c 'echo attach " + folder() +
                          "/second/curve.csv >&3'\npicture shot\n"),
                StartsWith("passed"));
    const nlohmann::json told = command();
    const std::string strOutput = told["output"];
    EXPECT_LT(strOutput.size(), 1100000u);
    EXPECT_THAT(strOutput.substr(0, 10), StartsWith("first"));
    EXPECT_THAT(strOutput.substr(strOutput.size() - 10), HasSubstr("last"));
    EXPECT_EQ(told["notes"][0], "warm");
    EXPECT_EQ(readFile(reports() + "/" + told["attachments"][0]["file"].get<std::string>()), "1,2\n");
    EXPECT_EQ(readFile(reports() + "/" + command(1)["attachments"][0]["file"].get<std::string>()), "3,4\n");
    std::vector<std::string> kinds;
    const nlohmann::json stored = fapiJson({"history", "show", "last", "--report", reports()});
    for (const auto& row : stored["attachments"]) {
        const bool isOfStep = row["kind"] != "report";
        kinds.push_back(row["kind"].get<std::string>() + (isOfStep ? " " + row["name"].get<std::string>() : ""));
    }
    EXPECT_THAT(kinds, testing::ElementsAre("attached curve.csv", "attached curve.csv", "picture shot", "report",
                                            "report", "report"));
}

TEST_F(LineWorkTest, WhatCannotBeAskedOrRunIsFoundByTheCheck) {
    const struct {
        std::string strLine, strProblem;
    } rows[] = {
        {"run ./no/such.sh", ":3:5: \"./no/such.sh\": no such program, or not executable (looked for below the plan's"},
        {"run no-such-program-here",
         ":3:5: \"no-such-program-here\": no such program, or not executable (looked for in"},
        {"run true within soon", ":3:17: within is \"soon\""},
        {"choose \"Which?\" A", ":3:18: expected: choose"},
        {"choose \"Which?\" A A", ":3:19: \"A\": expected different words"},
        {"scan serial matches ( \"Serial\"", ":3:21: "},
        {"ask \"Well?\" with picture panle", ":3:26: "},
        {"ask \"Well?\" with picture panel beside none.png", ":3:39: " + folder() + "/none.png: "},
        {"show \"Wait\" until", ":3:18: expected: show"},
        {"show \"Wait\" until event 1", ":3:26: the time is missing"},
        {"ask \"Well?\"\nexpect anser is yes", ":4:8: no such output: anser, expected one of status, answer, who"},
        {"prompt \"Well?\"", ":3:1: plans know no prompt: ask"},
    };
    for (const auto& row : rows) {
        const std::string strPlan = writeFile("test.plan", "plan t\nstep s\n" + row.strLine + "\n");
        EXPECT_THAT(fapi({"check", strPlan}).strError, HasSubstr("test.plan" + row.strProblem)) << row.strLine;
    }
    runPlan("step s\nask \"Well?\"\n");
    EXPECT_EQ(_result.s32Exit, 2);
    EXPECT_THAT(_result.strError,
                ContainsRegex("test.plan:3: ask .* is asked of the operator, and there is no terminal"));
}

TEST_F(LineWorkTest, APersonAnswersOnTheTerminal) {
    ask("step s\nask \"Is it red?\"\nchoose \"Which?\" left right\nexpect answer is right\n"
        "scan serial matches ^A-[0-9]+$ \"Label?\"\nrun test ${serial} = A-815\nshow \"Look\" until 10ms\n"
        "show \"Plug it in\" until done\n",
        {{"[y/n]", "perhaps\n"},
         {"once more", "y\n"},
         {"[1-2]", "2\n"},
         {"Label?", "\xff\xfe\n"},
         {"no text in UTF-8", "A\n"},
         {"once more", "A-815\n"},
         {"[Enter]", "\n"}});
    EXPECT_THAT(toldVerdict(), StartsWith("passed")) << _result.strOutput;
    EXPECT_THAT(_result.strOutput, HasSubstr("\a"));
    EXPECT_THAT(_result.strOutput, HasSubstr("PLEASE SCAN"));
    const nlohmann::json answer = command(2)["operator"][0];
    EXPECT_EQ(answer["answer"], "A-815");
    EXPECT_EQ(answer["who"], "Ann");
    EXPECT_THAT(answer["where"].get<std::string>(), StartsWith("terminal /dev/pts/"));
    EXPECT_TRUE(answer["seconds"].is_number());
    // The store has it, too.
    EXPECT_THAT(fapi({"history", "export", "jsonl", "--report", reports()}).strOutput,
                HasSubstr("\"answer\":\"A-815\""));

    ask("step s\nask \"Is it red?\"\nteardown\nstep last\nrun true\n", {{"[y/n]", "n\n"}});
    EXPECT_THAT(toldVerdict(), StartsWith("failed: line 3: the operator says no: Is it red?"));
    ask("step s\nask \"Is it red?\"\nteardown\nstep last\nrun true\n", {{"[y/n]", "\x03"}});
    EXPECT_EQ(reportedVerdicts(), (std::vector<std::string>{"interrupted", "passed"}));
    ask("step s\nask \"Is it red?\" within 200ms\n", {});
    EXPECT_THAT(toldVerdict(), ContainsRegex("error: line 3: ask .*: nobody has answered within 200 ms"));
    EXPECT_EQ(_result.s32Exit, 3);
}

// Each group would have to wait for the others: a second for the program, for time, and for a person, who is asked
// twice.
TEST_F(LineWorkTest, ProgramsAndQuestionsLetOtherGroupsGoOn) {
    const auto group = [](const std::string& strLines) { return "group g\nstep s\n" + strLines + "end\n"; };
    const std::string strPlan = "alongside\n" + group("run sleep 1\n") + group("wait 1s\n") + group("ask \"Red?\"\n") +
                                group("ask \"Blue?\"\nwait 10ms\n") + "end\nstep after\nrun true\n";
    ask(strPlan, {{"[y/n]", ""}, {test::kSilence, "y\n"}, {"[y/n]", "y\n"}});
    EXPECT_EQ(_result.s32Exit, 0) << _result.strOutput;
    nlohmann::json found = report();
    double sum = 0;
    for (const auto& step : found["steps"]) {
        sum += step["seconds"].get<double>();
    }
    EXPECT_GT(sum, 4);
    EXPECT_LT(found["seconds"].get<double>(), 0.6 * sum);
    EXPECT_GT(found["times"]["waits"].get<double>(), 0.5);
    for (const auto& [step, strQuestion] : {std::pair(2u, "Red?"), {3u, "Blue?"}}) {
        const auto& answers = found["steps"][step]["attempts"][0]["commands"][0]["operator"];
        ASSERT_EQ(answers.size(), 1u);
        EXPECT_EQ(answers[0]["question"], strQuestion);
    }
    // Ctrl-C ends them all, and nothing of the program is left.
    writeFile("hang.sh", "trap '' TERM\nwhile :; do sleep 1; done\n");
    ask("alongside\n" + group("run sh " + folder() + "/hang.sh\n") + group("ask \"Red?\"\n") +
            "end\nteardown\nstep last\nrun true\n",
        {{"[y/n]", "\x03"}});
    EXPECT_EQ(_result.s32Exit, 4);
    EXPECT_EQ(reportedVerdicts(), (std::vector<std::string>{"interrupted", "interrupted", "passed"}));
    EXPECT_FALSE(isRunning("hang.sh"));
}

// A sanitizer must be the first of all objects that are loaded.
#ifndef FAPI_SANITIZED
TEST_F(LineWorkTest, APersonsTimeCountsOnlyForALimitOfTheStepsOwn) {
    const struct {
        std::string strLimit, strVerdict;
    } rows[] = {{"", "passed: "}, {" within 1min", "failed: line 3: ask Well?: did not end within 1min, the limit of"}};
    for (const auto& row : rows) {
        const std::string strLater = writeFile("later", "");
        _result = test::runOnTerminal(
            {"env", "LD_PRELOAD=" LATER_CLOCK, "LATER=" + strLater, FAPI_BINARY, "--set", set(), "--station",
             writeFile("station.ini", "[station]\noperator-within = 600s\n"), "run", "--report", reports(),
             writeFile("test.plan", "plan T\nstep s" + row.strLimit + "\nask \"Well?\"\n")},
            {{"[y/n]", "five minutes", strLater}, {test::kSilence, "y\n"}});
        EXPECT_THAT(toldVerdict(), StartsWith(row.strVerdict)) << _result.strOutput;
    }
}
#endif

TEST_F(LineWorkTest, AFileAnswersAutomaticRuns) {
    const std::string strPlan =
        "ask \"Is it red?\"\nexpect answer is no\nask \"Is it red?\"\nscan label \"Label?\"\nexpect answer is A-1\n";
    const std::string strAnswers = writeFile("answers", "\"Is it red?\" no\n\"Is it red?\" yes\nlabel A-1\n");
    EXPECT_THAT(verdictOf(strPlan, {"--answers", strAnswers}), StartsWith("passed"));
    EXPECT_EQ(command(0)["operator"][0]["where"], strAnswers);
    writeFile("answers", "* \"\\xff\"\n");
    EXPECT_THAT(verdictOf(strPlan, {"--answers", strAnswers}),
                HasSubstr("answers has no answer that counts: that is no text in UTF-8"));
    writeFile("answers", "label A-1\n");
    runPlan("step s\n" + strPlan, {"--answers", strAnswers});
    EXPECT_EQ(_result.s32Exit, 2);
    EXPECT_THAT(_result.strError, HasSubstr("asked of the operator, and " + strAnswers + " has no answer"));
}

// A client of the hub that follows questions is somebody who can answer.
TEST_F(LineWorkTest, AnyClientOfTheHubAnswers) {
    const std::unique_ptr<tool::Target> page = test::joinHub(set());
    std::vector<tool::Field> asked;
    page->listen("prompt", [&](const tool::Field& prompt) { asked.push_back(prompt); });
    page->request("prompts", {{"on", true}});
    const std::future<void> run = std::async(std::launch::async, [&] {
        runPlan(
            "step s\nchoose \"Which?\" left right within 20s\nexpect answer is left\n"
            "show \"Press it\" until event 0x100005 of prphrl within 20s\n",
            {"--shared"});
    });
    const auto waitForQuestion = [&](std::size_t count) {
        return test::eventually([&] { return page->pump(std::chrono::milliseconds(10)), asked.size() >= count; });
    };
    ASSERT_TRUE(waitForQuestion(1));
    EXPECT_EQ(asked[0]["text"].text(), "Which?");
    const auto answer = [&](const char* pszText) {
        return page->request("answer", {{"prompt", asked[0]["prompt"]}, {"answer", pszText}, {"who", "Eve"}});
    };
    EXPECT_THAT(answer("up")["why"].text(), HasSubstr("expected 1 left, 2 right"));
    EXPECT_TRUE(answer("left")["taken"].flag());
    ASSERT_TRUE(waitForQuestion(3));
    EXPECT_EQ(asked[2]["text"].text(), "Press it");
    EXPECT_FALSE(asked[2]["answered"].flag());
    page->request(
        "call", {{"operation", "prphrl_nty_event"}, {"arguments", tool::Field::List{0x100005, 1}}, {"prepare", true}});
    run.wait();
    EXPECT_THAT(toldVerdict(), StartsWith("passed")) << _result.strError;
    EXPECT_EQ(command(0)["operator"][0]["who"], "Eve");
    EXPECT_EQ(command(0)["operator"][0]["where"], "a test");
}

}  // namespace
