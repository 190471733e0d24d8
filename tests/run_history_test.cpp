// SPDX-License-Identifier: Apache-2.0
// What runs leave: the history, and what an unfinished run is resumed from.
#include <csignal>
#include <functional>
#include <numeric>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/plan_fixture.h"
#include "support/waiting.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using namespace std::chrono_literals;

using Strings = std::vector<std::string>;

constexpr char kGood[] = "plan Good\nstep a\ncommon_hw_err_msg 5\nexpect status in -8..-5\n";

class RunHistory : public test::PlanTest {
protected:
    test::ProcessResult run(const std::string& strPlan, Strings words = {}) const {
        words.insert(words.begin(), {"run", "--report", reports(), strPlan});
        return fapi(words);
    }
    test::ProcessResult history(Strings words = {}) const {
        words.insert(words.begin(), {"history", "--report", reports()});
        return fapi(words);
    }
    // Returns one member of each run.
    template <class Value>
    std::vector<Value> listed(const char* pszField) const {
        std::vector<Value> found;
        for (const nlohmann::json& run : test::objectsOf(history({"--json"}).strOutput)) {
            found.push_back(run[pszField].get<Value>());
        }
        return found;
    }
    std::string resultsFile() const { return reports() + "/results.sqlite"; }

    Strings unfinishedFiles() const {
        Strings found;
        std::error_code none;
        for (const auto& entry : std::filesystem::directory_iterator(reports(), none)) {
            if (entry.path().extension() == ".unfinished") {
                found.push_back(entry.path().string());
            }
        }
        return found;
    }

    // Waits until the tool has recorded the end of the first step.
    void waitForFirstStep() const {
        test::eventually([this] {
            const Strings files = unfinishedFiles();
            return !files.empty() && readFile(files[0]).find("\"step\":0") != std::string::npos;
        });
    }

    // Runs the tool, and acts on its process while it runs.
    test::ProcessResult runBeside(const Strings& words, const std::function<void(pid_t)>& act) const {
        const std::string strPid = folder() + "/pid";
        std::string strCommand =
            "echo $$ >'" + strPid + ".new'; mv '" + strPid + ".new' '" + strPid + "'; exec '" FAPI_BINARY "'";
        for (const std::string& strWord : words) {
            strCommand += " '" + strWord + "'";
        }
        std::filesystem::remove(strPid);
        std::thread actor([&] {
            waitFor(strPid);
            act(static_cast<pid_t>(std::stol(readFile(strPid))));
        });
        const test::ProcessResult result = test::runProcess({"sh", "-c", strCommand});
        actor.join();
        return result;
    }
    static void waitFor(const std::string& strFile) {
        test::eventually([&] { return std::filesystem::exists(strFile); }, 60s);
    }
};

TEST_F(RunHistory, EveryRunIsThereAndTheOldestAreForgotten) {
    EXPECT_THAT(history().strOutput, IsEmpty());
    const std::string strGood = writeFile("good.plan", kGood);
    const std::string strBad = writeFile("bad.plan", "plan Bad\nstep a\nsys_check_file /data/none\nstep b\nsys_init\n");
    EXPECT_EQ(run(strGood).s32Exit, 0);
    EXPECT_EQ(run(strBad).s32Exit, 1);
    EXPECT_EQ(fapi({"run", "--no-report", strGood}).s32Exit, 0);
    EXPECT_THAT(listed<std::string>("verdict"), ElementsAre("passed", "failed"));
    EXPECT_THAT(listed<int>("not_run"), ElementsAre(0, 1));
    const std::string strWhen = listed<std::string>("when").back();
    for (const Strings& filter :
         {Strings{"--plan", "Ba"}, {"--verdict", "failed"}, {"--since", strWhen, "--plan", "B"}}) {
        Strings words = filter;
        words.push_back("--json");
        const std::string strLines = history(words).strOutput;
        EXPECT_EQ(std::count(strLines.begin(), strLines.end(), '\n'), 1);
        EXPECT_THAT(strLines, HasSubstr("\"plan\":\"Bad\"")) << filter[0];
    }
    EXPECT_THAT(history({"--since", "9999", "--json"}).strOutput, IsEmpty());

    EXPECT_EQ(run(strGood, {"--repeat", "4", "--keep", "3"}).s32Exit, 0);
    EXPECT_THAT(listed<int>("number"), ElementsAre(4, 5, 6));

    const nlohmann::json last = fapiJson({"history", "show", "last", "--report", reports()});
    EXPECT_EQ(last["number"], 6);
    EXPECT_EQ(last["plan"], "Good");
    EXPECT_TRUE(std::filesystem::exists(reports() + "/" + last["report"].get<std::string>() + ".json"));
    const nlohmann::json& measured = last["steps"][0]["measurements"][0];
    EXPECT_EQ(measured["name"], "common_hw_err_msg status");
    EXPECT_EQ(measured["value"], -6);
    EXPECT_EQ(measured["low"], -8);
    EXPECT_EQ(measured["verdict"], "passed");
    EXPECT_THAT(history({"show", "5"}).strOutput, HasSubstr("common_hw_err_msg status = -6 in -8..-5\n"));
    for (const char* pszWrong : {"1", "7", "first", "-1"}) {
        EXPECT_EQ(history({"show", "--", pszWrong}).s32Exit, 2) << pszWrong;
    }
}

TEST_F(RunHistory, ComparesTwoRuns) {
    const std::string strPlan = writeFile("p.plan",
                                          "plan P\nstep same\nsys_init\nstep slow\nsys_init\nstep value\n"
                                          "common_hw_err_msg 5\nexpect status in -8..-1\nstep gone\nsys_init\n");
    EXPECT_EQ(run(strPlan).s32Exit, 0);
    writeFile("p.plan",
              "plan P\non-failure continue\nstep same\nsys_init\nstep slow\nsys_init\nexpect no event 1 within 100ms\n"
              "step value\ncommon_hw_err_msg 6\nexpect status in -8..-1\nstep fresh\nsys_check_file /data/none\n");
    EXPECT_EQ(run(strPlan).s32Exit, 1);

    Strings found;
    for (const nlohmann::json& json : test::objectsOf(history({"compare", "1", "last", "--json"}).strOutput)) {
        found.push_back(json.contains("step") ? json["step"].get<std::string>() + ": " + json["what"].get<std::string>()
                                              : json.dump());
    }
    // On a busy machine more steps may differ in their seconds.
    const std::string strCount = std::to_string(found.size() - 1);
    EXPECT_THAT(found,
                testing::IsSupersetOf({std::string("slow: seconds"), std::string("value: common_hw_err_msg status"),
                                       std::string("fresh: new"), std::string("gone: missing"),
                                       R"({"after":2,"before":1,"differences":)" + strCount + "}"}));
    EXPECT_EQ(history({"compare", "2", "2", "--json"}).strOutput, "{\"before\":2,\"after\":2,\"differences\":0}\n");
    const std::string strText = history({"compare", "1", "2"}).strOutput;
    EXPECT_THAT(strText, HasSubstr("value: common_hw_err_msg status -6 -> -3\n"));
    EXPECT_THAT(strText, HasSubstr("fresh: new (failed)\n"));
    EXPECT_THAT(history({"compare", "2", "2"}).strOutput, HasSubstr("no differences"));
    EXPECT_EQ(history({"compare", "2"}).s32Exit, 2);
}

TEST_F(RunHistory, AnOlderHistoryIsTakenOverOnce) {
    const std::string strLine =
        R"("when":"2026-02-14T10:15:30+01:00","plan":"Old","file":"old.plan","verdict":"failed",)"
        R"("passed":1,"marginal":0,"failed":1,"not_run":0,"seconds":1.5,"report":"old-1","faults":0,)"
        R"("steps":[{"name":"a","verdict":"failed","seconds":1.5,)"
        R"("measurements":[{"name":"rail","value":131}]}]})";
    std::filesystem::create_directories(reports());
    writeFile("reports/history.jsonl", "{\"id\":7}\n\n[]\n\xff\xfe\n{\"id\":3," + strLine +
                                           "\n{\"id\":\"1\"}\n{\"id\":4," + strLine + "\n" + strLine.substr(0, 40));
    const test::ProcessResult result = history();
    EXPECT_EQ(result.s32Exit, 0);
    for (const int line : {1, 2, 3, 4, 6, 8}) {
        EXPECT_THAT(result.strError, HasSubstr(reports() + "/history.jsonl:" + std::to_string(line) + ": is damaged"));
    }
    EXPECT_THAT(result.strError, Not(HasSubstr(":5: ")));
    EXPECT_EQ(history().strError, "");
    EXPECT_EQ(run(writeFile("good.plan", kGood)).s32Exit, 0);
    EXPECT_THAT(listed<int>("number"), ElementsAre(3, 4, 5));
    const nlohmann::json old = fapiJson({"history", "show", "3", "--report", reports()});
    EXPECT_EQ(old["began"], "2026-02-14T09:15:30.000Z");
    EXPECT_EQ(old["when"], "2026-02-14T10:15:30+01:00");
    EXPECT_EQ(old["deciding_step"], "a");
    EXPECT_EQ(old["steps"][0]["measurements"][0]["value"], 131);
}

// Of a bench without a store, which can still be resumed.
TEST_F(RunHistory, AnOlderUnfinishedRunIsTakenOverOnce) {
    std::filesystem::create_directories(reports());
    writeFile("reports/p-20260214-101530.unfinished",
              R"({"plan":"/p.plan","hash":"","faults":"","set":"/no","fresh":false,"parameters":{"who":"A"}})"
              "\n"
              R"({"step":0,"stopped":false,"calls":[],"kept":{},"attempts":[[0,"",0.0,1.5,"",[]]]})"
              "\n"
              R"({"step":1,"stop)");
    for (int i = 0; i < 2; ++i) {
        EXPECT_THAT(listed<std::string>("verdict"), ElementsAre("interrupted"));
    }
    EXPECT_THAT(listed<int>("passed"), ElementsAre(1));
    EXPECT_EQ(run(writeFile("good.plan", kGood), {"--keep", "1"}).s32Exit, 0);
    EXPECT_THAT(listed<std::string>("verdict"), ElementsAre("passed")) << "what was forgotten does not come back";
}

TEST_F(RunHistory, ARunWithoutAStoreDoesNotBegin) {
    const std::string strPlan = writeFile("good.plan", kGood);
    EXPECT_EQ(run(strPlan).s32Exit, 0);
    std::filesystem::rename(resultsFile(), folder() + "/away");
    writeFile("reports/results.sqlite", "something else that is long enough for a head");
    const test::ProcessResult result = run(strPlan);
    EXPECT_EQ(result.s32Exit, 3);
    EXPECT_EQ(result.strError,
              "fapi: " + resultsFile() + ": is damaged, or holds no results; move it away to begin anew\n");
    EXPECT_THAT(result.strOutput, Not(HasSubstr("passed")));
    std::filesystem::rename(folder() + "/away", resultsFile());
    EXPECT_EQ(run(strPlan).s32Exit, 0);
    EXPECT_THAT(listed<int>("number"), ElementsAre(1, 2));
}

TEST_F(RunHistory, RunsAtTheSameTime) {
    const std::string strPlan = writeFile("good.plan", kGood);
    std::vector<std::thread> runs;
    for (int i = 0; i < 4; ++i) {
        runs.emplace_back([&] { EXPECT_EQ(run(strPlan, {"--fresh", "--repeat", "5"}).s32Exit, 0); });
    }
    for (std::thread& thread : runs) {
        thread.join();
    }
    std::vector<int> expected(20);
    std::iota(expected.begin(), expected.end(), 1);
    std::vector<int> numbers = listed<int>("number");
    std::sort(numbers.begin(), numbers.end());
    EXPECT_EQ(numbers, expected);
}

TEST_F(RunHistory, RepeatsUntilAFailure) {
    // Passes once for each set.
    const std::string strPlan =
        writeFile("once.plan",
                  "plan Once\nstep quick\nsys_init\nstep once\nsys_check_file /data/was\n"
                  "expect status failed\nexpect no event 1 within 400ms\nset put /data/was x\n");
    const test::ProcessResult stopped = run(strPlan, {"--repeat", "forever", "--until-failure"});
    EXPECT_EQ(stopped.s32Exit, 1);
    EXPECT_THAT(stopped.strOutput, HasSubstr("plan \"Once\": 2 runs, 1 passed, 1 failed; "));
    EXPECT_THAT(stopped.strOutput, HasSubstr("slowest step: \"once\" of run 1, "));
    EXPECT_EQ(listed<int>("number").size(), 2u);

    const test::ProcessResult all = run(strPlan, {"--repeat", "3", "--fresh", "--json"});
    EXPECT_EQ(all.s32Exit, 0);
    EXPECT_THAT(all.strOutput,
                HasSubstr(R"({"plan":"Once","runs":3,"passed":3,"failed":0,"interrupted":0,"seconds":{)"));
    for (const char* pszWrong : {"0", "x", "1000001"}) {
        EXPECT_EQ(run(strPlan, {"--repeat", pszWrong}).s32Exit, 2) << pszWrong;
    }
    EXPECT_EQ(run(strPlan, {"--until-failure"}).s32Exit, 2);
}

// What 10,000 steps would need, from what a few and some more do.
TEST_F(RunHistory, MemoryGrowsLittleWithTheSteps) {
    const auto peakWith = [&](int steps) {
        const std::string strPlan =
            writeFile("long.plan", "plan Long\nrepeat for i in 1.." + std::to_string(steps) +
                                       "\nstep s\ncommon_hw_err_msg 5\n" + "measure Level = status in -8..-5\nend\n");
        double most = 0;
        const test::ProcessResult result =
            runBeside({"--set", set(), "--yes", "run", "--report", reports(), strPlan}, [&](pid_t process) {
                for (double now = 1; now > 0; now = test::peakMebibytesOf(process)) {
                    most = std::max(most, now);
                    std::this_thread::sleep_for(1ms);
                }
            });
        EXPECT_EQ(result.s32Exit, 0) << result.strError;
        return most;
    };
    constexpr int kFew = 300, kMore = 1800;
    const double few = peakWith(kFew), more = peakWith(kMore);
    EXPECT_LT(few + (more - few) * (10000 - kFew) / (kMore - kFew), 100);
}

// --- Resumed runs ----------------------------------------------------------------------------------------------------

class Resume : public RunHistory {
protected:
    void SetUp() override {
        RunHistory::SetUp();
        writeFile("p.limits", "rail 4 5 V\n");
        _strPlan = writeFile("p.plan", planText());
    }

    // Its first step passes once; the run is stopped in "wait".
    std::string planText() const {
        return R"(plan P
limits p.limits
param who default A "who"
step once
    sys_init
    sys_check_file /data/was
    expect status failed
    set put /data/was hex:00ff22
    sys_read_file /data/was
    keep was data
step wait
    sys_get_emmc_env_var model
    sys_read_file /data/was
    expect data is ${was}
    set get /data/go
step after
    sys_get_emmc_env_var model
teardown
step clean
    sys_init
    set put /data/cleaned ${was}
)";
    }

    // Stops in "wait", where "set get" reads a pipe without a writer.
    test::ProcessResult stopInWait(int s32Signal, Strings words = {}) const {
        std::filesystem::remove_all(set());
        EXPECT_EQ(fapi({"set", "create"}).s32Exit, 0);
        EXPECT_EQ(mkfifo((set() + "/tree/data/go").c_str(), 0600), 0);
        words.insert(words.begin(), {"--set", set(), "run", "--report", reports(), _strPlan});
        int s32Pipe = -1;
        const test::ProcessResult result = runBeside(words, [&](pid_t pid) {
            waitForFirstStep();
            // The pipe can be opened for writing only while it has a reader, which then waits for bytes.
            const std::string strPipe = set() + "/tree/data/go";
            EXPECT_TRUE(test::eventually(
                [&] { return (s32Pipe = open(strPipe.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC)) >= 0; }, 60s));
            EXPECT_EQ(kill(pid, s32Signal), 0);
        });
        close(s32Pipe);
        std::filesystem::remove(set() + "/tree/data/go");
        std::ofstream(set() + "/tree/data/go") << "go";
        return result;
    }
    test::ProcessResult resume(Strings words = {}) const {
        words.insert(words.begin(), {"run", "--resume", "--report", reports(), _strPlan});
        return fapi(words);
    }

    std::string _strPlan;
};

TEST_F(Resume, GoesOnAtTheStepThatWasRunning) {
    const struct {
        int signal;
        int exit;
        bool cleaned;
    } rows[] = {{SIGKILL, 128 + SIGKILL, false}, {SIGINT, 4, true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.signal);
        std::filesystem::remove_all(reports());
        EXPECT_EQ(stopInWait(row.signal).s32Exit, row.exit);
        EXPECT_EQ(std::filesystem::exists(set() + "/tree/data/cleaned"), row.cleaned);
        EXPECT_EQ(unfinishedFiles().size(), 1u);
        if (row.signal == SIGINT) {
            EXPECT_THAT(readFile(reportFile(".html")), HasSubstr("set get /data/go: interrupted</p>"));
        }

        EXPECT_THAT(listed<std::string>("verdict"), ElementsAre("interrupted"));

        const test::ProcessResult result = resume();
        EXPECT_EQ(result.s32Exit, 0) << result.strOutput << result.strError;
        EXPECT_THAT(result.strOutput, HasSubstr("resumed at step 2: wait\n"));
        EXPECT_THAT(reportedVerdicts(), ElementsAre("passed", "passed", "passed", "passed"));
        EXPECT_EQ(report()["resumed"], true);
        EXPECT_EQ(report()["steps"][0]["attempts"][0]["commands"].size(), 4u) << "what was done before is there, too";
        EXPECT_TRUE(std::filesystem::exists(set() + "/tree/data/cleaned"));
        EXPECT_THAT(unfinishedFiles(), IsEmpty());
        EXPECT_THAT(listed<std::string>("verdict"), ElementsAre("interrupted", "passed"));

        const test::ProcessResult again = resume();
        EXPECT_EQ(again.s32Exit, 2);
        EXPECT_EQ(again.strError, "fapi: " + reports() + ": no run is unfinished, there is nothing to resume\n");
    }
}

TEST_F(Resume, ALineThatWasBeingWrittenDoesNotCount) {
    stopInWait(SIGKILL);
    ASSERT_EQ(unfinishedFiles().size(), 1u);
    std::ofstream(unfinishedFiles()[0], std::ios::app) << R"({"step":1,"stopped":false,"calls":[],"ke)";
    EXPECT_EQ(resume().s32Exit, 0);
    EXPECT_THAT(reportedVerdicts(), ElementsAre("passed", "passed", "passed", "passed"));
}

// After a failure only the teardown was left to do.
TEST_F(Resume, InTheTeardownOnlyItGoesOn) {
    _strPlan = writeFile("p.plan",
                         "plan P\nstep bad\nsys_check_file /data/none\nstep never\nsys_init\nteardown\n"
                         "step first\nsys_init\nset put /data/ready x\nset get /data/go\nstep second\nsys_init\n");
    EXPECT_EQ(stopInWait(SIGKILL).s32Exit, 128 + SIGKILL);
    EXPECT_EQ(resume().s32Exit, 1);
    EXPECT_THAT(reportedVerdicts(), ElementsAre("failed", "not run", "passed", "passed"));
}

// The temporary set exists until it is removed.
TEST_F(Resume, OnATemporarySet) {
    setenv("TMPDIR", folder().c_str(), 1);
    _strPlan = writeFile("p.plan",
                         "plan P\nstep a\nsys_init\nset put /data/was x\nstep b\nsys_check_file /data/was\n"
                         "expect no event 1 within 5s\nsys_init\n");
    const auto stop = [&] {
        std::filesystem::remove_all(reports());
        std::filesystem::create_directory(reports());
        runBeside({"run", "--fresh", "--report", reports(), _strPlan}, [&](pid_t pid) {
            waitForFirstStep();
            EXPECT_EQ(kill(pid, SIGKILL), 0);
        });
    };
    const auto sets = [&] {
        Strings found;
        for (const auto& entry : std::filesystem::directory_iterator(folder())) {
            if (entry.path().filename().string().rfind("fapi-set-", 0) == 0) {
                found.push_back(entry.path().string());
            }
        }
        return found;
    };
    const auto resumeAny = [&] {
        return test::runProcess({FAPI_BINARY, "run", "--resume", "--report", reports(), _strPlan});
    };
    stop();
    EXPECT_EQ(sets().size(), 1u);
    EXPECT_EQ(resumeAny().s32Exit, 0);
    EXPECT_THAT(sets(), IsEmpty()) << "it passed";

    stop();
    ASSERT_EQ(sets().size(), 1u);
    std::filesystem::remove_all(sets()[0]);
    const test::ProcessResult gone = resumeAny();
    EXPECT_EQ(gone.s32Exit, 2);
    EXPECT_THAT(gone.strError, HasSubstr("the temporary set is gone, the run on it cannot be resumed"));
    unsetenv("TMPDIR");
}

TEST_F(Resume, WhatItRefuses) {
    stopInWait(SIGKILL);
    const std::string strOther = writeFile("other.plan", "plan Other\nstep a\nsys_init\n");
    const std::string strFaults = writeFile("a.faults", "HW_FS_Sync 3\n");
    const std::string strStation = writeFile("station.ini", "[actions]\nkey = operator\n");
    const std::pair<Strings, const char*> rows[] = {
        {{"--set", set(), "--report", reports(), strOther}, "p.plan, not of "},
        {{"--set", set(), "--report", reports(), _strPlan, strOther}, "--resume takes one plan"},
        {{"--set", set() + "2", "--report", reports(), _strPlan}, "the unfinished run is on the set"},
        {{"--set", set(), "--report", reports(), "--faults", strFaults, _strPlan}, "had no faults"},
        {{"--set", set(), "--report", folder() + "/none", _strPlan}, "there is nothing to resume"},
        {{"--set", set(), "--report", reports(), "--param", "who=B", _strPlan},
         "the run that is to be resumed has who = \"A\""},
        {{"--set", set(), "--report", reports(), "--station", strStation, _strPlan}, "has changed: station's bindings"},
        {{"--fresh", _strPlan}, "excludes"},
        {{"--no-report", _strPlan}, "excludes"},
        {{"--repeat", "2", _strPlan}, "excludes"},
    };
    const std::string strBoots = readFile(set() + "/set.json");
    for (const auto& [options, pszError] : rows) {
        Strings words = {FAPI_BINARY, "run", "--resume"};
        words.insert(words.end(), options.begin(), options.end());
        const test::ProcessResult result = test::runProcess(words);
        EXPECT_EQ(result.s32Exit, 2) << pszError;
        EXPECT_THAT(result.strError, HasSubstr(pszError));
    }
    writeFile("p.plan", planText() + "# changed\n");
    EXPECT_THAT(resume().strError, HasSubstr("p.plan: has changed since the run that was to be resumed began"));
    writeFile("p.plan", planText());
    writeFile("p.limits", "rail 4 9 V\n");
    EXPECT_THAT(resume().strError, HasSubstr("something else has changed: limits\n"));
    EXPECT_THAT(listed<std::string>("verdict"), ElementsAre("interrupted"));
    EXPECT_EQ(readFile(set() + "/set.json"), strBoots) << "nothing was called";
    EXPECT_FALSE(std::filesystem::exists(folder() + "/none"));

    // Another run on the set is the end of what was unfinished there.
    EXPECT_EQ(run(strOther).s32Exit, 0);
    EXPECT_THAT(unfinishedFiles(), IsEmpty());
    EXPECT_EQ(resume().s32Exit, 2);
}

}  // namespace
