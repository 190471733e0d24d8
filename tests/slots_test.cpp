// SPDX-License-Identifier: Apache-2.0
// Units side by side.
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "support/plan_fixture.h"
#include "support/waiting.h"

namespace {

using ::testing::HasSubstr;

class SlotsTest : public test::PlanTest {
protected:
    void SetUp() override {
        PlanTest::SetUp();
        setenv("XDG_RUNTIME_DIR", folder().c_str(), 1);
    }
    void runSlots(const std::string& strPlan, std::vector<std::string> options) {
        options.insert(options.begin(),
                       {"run", "--report", reports(), writeFile("test.plan", "plan Test\n" + strPlan)});
        _result = fapi(options);
    }
    // Returns "UNIT VERDICT" of each run in the store, the newest last.
    std::vector<std::string> storedRuns() const {
        std::vector<std::string> runs;
        for (const nlohmann::json& run :
             test::objectsOf(fapi({"history", "--json", "--report", reports()}).strOutput)) {
            const auto textOf = [&](const char* pszKey) {
                return run[pszKey].is_string() ? run[pszKey].get<std::string>() : std::string();
            };
            runs.push_back(textOf("unit") + " " + textOf("verdict"));
        }
        std::sort(runs.begin(), runs.end());
        return runs;
    }
};

const std::string strHead = "param serial \"serial\"\nunit serial ${serial}\n";

// Each slot stores while the other is switched off and on.
TEST_F(SlotsTest, ATableFeedsSlotsAsTheyBecomeFree) {
    writeFile("orders.csv", "serial\nA-1\nA-2\nA-3\n");
    runSlots(strHead +
                 "step s\nsys_init\nsys_set_emmc_env_var serial ${serial}\nset power-cycle\nsys_init\n"
                 "sys_get_emmc_env_var serial\nexpect value is ${serial}\n",
             {"--slots", "2", "--params", folder() + "/orders.csv"});
    EXPECT_EQ(_result.s32Exit, 0) << _result.strOutput << _result.strError;
    EXPECT_THAT(test::linesOf(_result.strOutput).back(), "PASS");
    EXPECT_EQ(storedRuns(), (std::vector<std::string>{"A-1 passed", "A-2 passed", "A-3 passed"}));
    EXPECT_TRUE(std::filesystem::exists(set() + "-2"));
    runSlots(strHead + "step s\nwait 1ms\n", {"--slots", "2", "--param", "serial=A-4"});
    EXPECT_EQ(_result.s32Exit, 2);
    EXPECT_THAT(_result.strError, HasSubstr("the plan names a unit, and each slot has another one"));
}

TEST_F(SlotsTest, ASlotThatDiesOrFailsIsNoOthers) {
    writeFile("orders.csv", "serial\ndies\nfails\npasses\n");
    writeFile("step.sh", "case $1 in dies) kill -9 $(ps -o ppid= -p $PPID);; fails) exit 1;; esac\n");
    runSlots(strHead + "step s\nrun sh " + folder() + "/step.sh ${serial}\n",
             {"--slots", "3", "--fresh", "--params", folder() + "/orders.csv", "--json"});
    EXPECT_EQ(_result.s32Exit, 3) << _result.strError;
    EXPECT_THAT(_result.strOutput, HasSubstr("error: the run has died of signal 9"));
    EXPECT_EQ(test::objectsOf(_result.strOutput).back()["verdict"], "error");
    // The store learns of the dead one from the next run.
    runSlots("step s\nwait 1ms\n", {});
    EXPECT_THAT(storedRuns(), ::testing::IsSupersetOf({"dies interrupted", "fails failed", "passes passed"}));
}

// Each by its name, with a run that is in the middle of a call, of a wait, of a program.
TEST_F(SlotsTest, CtrlCEndsEachSlotInOrder) {
    writeFile("hang.sh", "trap '' TERM\necho >$1; while :; do sleep 1; done\n");
    std::string strStation;
    for (const char* pszName : {"left", "right"}) {
        strStation += std::string("[target ") + pszName + "]\nset = " + folder() + "/" + pszName + "\n";
    }
    writeFile("orders.csv", "serial\nA-1\nA-2\nA-3\n");
    const std::string strPlan =
        writeFile("test.plan", "plan t\n" + strHead + "step s\nrun sh " + folder() + "/hang.sh " + folder() +
                                   "/${serial}\nteardown\nstep down\nsys_init\nset put /data/down ${serial}\n");
    const test::ProcessResult result = test::runOnTerminal(
        {"sh", "-c", "(until [ -e $0/A-1 ] && [ -e $0/A-2 ]; do sleep 0.05; done; kill -INT $$) & exec \"$@\"",
         folder(), FAPI_BINARY, "--station", writeFile("station.ini", strStation), "run", "--targets", "left,right",
         "--report", reports(), "--params", folder() + "/orders.csv", strPlan},
        {});
    EXPECT_EQ(result.s32Exit, 4) << result.strOutput;
    EXPECT_EQ(storedRuns(), (std::vector<std::string>{"A-1 interrupted", "A-2 interrupted"}));
    EXPECT_EQ(readFile(folder() + "/left/tree/data/down") + readFile(folder() + "/right/tree/data/down"), "A-1A-2");
    EXPECT_TRUE(test::eventually([this] {
        return test::runProcess({"pgrep", "-f", folder()}).strOutput.empty() &&
               std::filesystem::is_empty(folder() + "/fapi");
    }));
}

TEST_F(SlotsTest, QuestionsOfAllSlotsAreAskedOnTheTerminal) {
    const std::string strPlan =
        writeFile("test.plan", "plan t\nstep s\nscan label \"Label?\"\nexpect answer matches ^[xy]$\n");
    const test::ProcessResult result =
        test::runOnTerminal({FAPI_BINARY, "--set", set(), "run", "--slots", "2", "--report", reports(), strPlan},
                            {{"Label?", "\xff\n"}, {"no text", "x\n"}, {"Label?", "y\n"}});
    EXPECT_EQ(result.s32Exit, 0) << result.strOutput;
    EXPECT_THAT(result.strOutput, HasSubstr("SLOT 1"));
    EXPECT_THAT(result.strOutput, HasSubstr("SLOT 2"));
}

TEST_F(SlotsTest, SharedInstrumentsAreUsedInTurn) {
    const std::string strStation = writeFile("station.ini", "[instrument scope]\n[instrument load]\nwithin = 10s\n");
    const std::string strUse =
        "step s\nuse scope load\nrun sh -c 'mkdir \"$0\" && sleep 0.2 && rmdir \"$0\"' " + folder() + "/inUse\n";
    runSlots(strUse, {"--slots", "3", "--no-report", "--station", strStation});
    EXPECT_EQ(_result.s32Exit, 0) << _result.strOutput << _result.strError;
    runSlots("step s\nuse scop\n", {"--station", strStation});
    EXPECT_THAT(_result.strError, HasSubstr("test.plan:3: the station has no instrument scop, did you mean scope?"));
    // One that stays in use is an error of the station.
    writeFile("station.ini", "[instrument scope]\nwithin = 100ms\n");
    const int lock = open((folder() + "/fapi-instruments/scope.lock").c_str(), O_RDWR);
    ASSERT_EQ(flock(lock, LOCK_EX), 0);
    runSlots("step s\nuse scope\n", {"--station", strStation, "--json"});
    close(lock);
    EXPECT_EQ(_result.s32Exit, 3);
    EXPECT_THAT(_result.strOutput, HasSubstr("instrument scope: in use by slot "));
}

}  // namespace
