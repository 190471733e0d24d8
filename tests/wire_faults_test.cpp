// SPDX-License-Identifier: Apache-2.0
// Plans over a wire that loses, changes, doubles and interrupts what it carries.
#include <chrono>

#include <sys/wait.h>
#include <unistd.h>

#include "support/plan_fixture.h"
#include "support/waiting.h"

namespace {

class WireFaultsTest : public test::PlanTest {
protected:
    // Runs a plan whose calls show when one was made twice, or not at all. Returns the verdicts of its steps.
    std::string run(const std::string& strFault, int distance) {
        const std::string strStation =
            writeFile("station.ini", "[target spoilt]\nwire = python3 " FAPI_SPOILT_WIRE " " + strFault + " " +
                                         std::to_string(distance) + " " FAPI_AGENT_BINARY " --set " + set() +
                                         "\nup-within = 20s\n");
        std::string strPlan = "plan t\non-failure continue\n";
        for (int step = 0; step < 4; ++step) {
            strPlan += "step s\nsys_init\nsys_remove_file /data/x\nexpect status in -1..0\n";
            for (int i = 0; i < 5; ++i) {
                strPlan += "sys_write_file /data/x ab ab\n";
            }
            strPlan += "sys_read_file /data/x 100\nexpect data is ababababab\n";
        }
        strPlan += "disp_init\npicture panel\n";
        std::filesystem::remove_all(reports());
        // What the agent describes is longer than what such a wire ever carries in one piece, and so is a picture.
        setenv("XDG_CACHE_HOME", (folder() + "/cache-" + strFault + std::to_string(distance)).c_str(), 1);
        _result = test::runProcess({FAPI_BINARY, "--yes", "--station", strStation, "--target", "spoilt", "run",
                                    "--report", reports(), writeFile("test.plan", strPlan)});
        std::string strAll;
        if (std::filesystem::exists(reports()) && !std::filesystem::is_empty(reports())) {
            for (const std::string& strVerdict : reportedVerdicts()) {
                strAll += strVerdict + " ";
            }
        }
        return strAll;
    }
};

TEST_F(WireFaultsTest, NoVerdictIsWrongAndNothingHangs) {
    const struct {
        const char* fault;
        std::vector<int> distances;
        bool isMended;  // all that was asked is answered all the same
    } rows[] = {{"delay", {4000}, true},
                {"double", {1}, true},
                {"drop", {1999, 3001, 7919}, true},
                {"flip", {2003, 2999, 7907}, true},
                {"kernel", {1997, 3011, 5003}, true},
                {"cut", {6007, 9001, 12007}, false}};
    for (const auto& row : rows) {
        for (const int distance : row.distances) {
            const auto start = std::chrono::steady_clock::now();
            const std::string strVerdicts = run(row.fault, distance);
            const std::string strWhere = std::string(row.fault) + " " + std::to_string(distance) + ": " + strVerdicts;
            if (!row.isMended) {
                // A cut may come before the run has begun.
                EXPECT_TRUE(strVerdicts.empty() || strVerdicts.find("error") != std::string::npos) << strWhere;
            } else {
                EXPECT_EQ(strVerdicts, "passed passed passed passed ")
                    << strWhere << _result.strOutput << _result.strError;
                EXPECT_NE(reportFile(".png"), "") << strWhere;
            }
            EXPECT_EQ(strVerdicts.find("failed"), std::string::npos) << strWhere << _result.strOutput;
            EXPECT_EQ(strVerdicts.find("died"), std::string::npos) << strWhere << _result.strOutput;
            EXPECT_LT(std::chrono::steady_clock::now() - start, test::patient(std::chrono::milliseconds(60000)))
                << strWhere;
        }
    }
}

// An agent that outlives its wire, as at a serial console: each wire ends after a second.
TEST_F(WireFaultsTest, ALostWireFindsTheSameAgentAgain) {
    const std::string strAgent =
        writeFile("agent.sh", "mkfifo " + folder() + "/in " + folder() + "/out; exec " FAPI_AGENT_BINARY " --set " +
                                  set() + " 0<>" + folder() + "/in 1<>" + folder() + "/out\n");
    const std::string strWire =
        writeFile("wire.sh", "cat " + folder() + "/out & timeout --foreground 1 cat > " + folder() + "/in\n");
    const pid_t agent = fork();
    if (agent == 0) {
        execlp("sh", "sh", strAgent.c_str(), nullptr);
        _exit(127);
    }
    ASSERT_TRUE(test::eventually([&] { return std::filesystem::exists(folder() + "/out"); }));
    const std::string strStation = writeFile("station.ini", "[target console]\nwire = sh " + strWire + "\n");
    const std::string strPlan = writeFile("test.plan",
                                          "plan t\nstep s\nsys_init\nsys_remove_file /data/x\n"
                                          "expect status in -1..0\nwait 1200ms\nsys_write_file /data/x ab ab\n"
                                          "wait 1s\nsys_write_file /data/x ab ab\nwait 1s\n"
                                          "sys_read_file /data/x 100\nexpect data is abab\n");
    // The second run has another hub, and the same agent.
    for (int run = 0; run < 2; ++run) {
        _result = test::runProcess(
            {FAPI_BINARY, "--yes", "--station", strStation, "--target", "console", "run", "--no-report", strPlan});
        EXPECT_EQ(_result.s32Exit, 0) << _result.strOutput << _result.strError;
    }
    kill(agent, SIGTERM);
    waitpid(agent, nullptr, 0);
}

}  // namespace
