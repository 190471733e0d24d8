// SPDX-License-Identifier: Apache-2.0
// Plans over a wire that loses, changes, doubles and interrupts what it carries.
#include <chrono>

#include <sys/wait.h>
#include <unistd.h>

#include "support/plan_fixture.h"
#include "support/waiting.h"

namespace {

using ::testing::AnyOf;
using ::testing::HasSubstr;
using ::testing::Not;

// Faults at more places, and in the plan of the line.
bool isAll() {
    return std::getenv("FAPI_TEST_ALL") != nullptr;
}

class WireFaultsTest : public test::PlanTest {
protected:
    void TearDown() override {
        endAgent();
        PlanTest::TearDown();
    }

    // An agent that outlives its wire, as at a serial console. Returns the wire to it.
    std::string lastingAgent() {
        endAgent();
        const std::string strAgent = writeFile(
            "agent.sh", "cd " + folder() + "; rm -f in out; mkfifo in out; exec " FAPI_AGENT_BINARY " --set " + set() +
                            " 0<>in 1<>out\n");
        _agent = fork();
        if (_agent == 0) {
            execlp("sh", "sh", strAgent.c_str(), nullptr);
            _exit(127);
        }
        EXPECT_TRUE(test::eventually([&] { return std::filesystem::exists(folder() + "/out"); }));
        return "sh " + writeFile("wire.sh", "cat " + folder() + "/out & exec cat > " + folder() + "/in\n");
    }
    void endAgent() {
        if (_agent > 0) {
            kill(_agent, SIGTERM);
            waitpid(_agent, nullptr, 0);
            _agent = -1;
        }
    }

    // A plan whose calls show when one was made twice, or not at all.
    std::string planOfCalls() const {
        std::string strPlan = "plan t\non-failure continue\n";
        for (int step = 0; step < 4; ++step) {
            strPlan += "step s\nsys_init\nsys_remove_file /data/x\nexpect status in -1..0\n";
            for (int i = 0; i < 5; ++i) {
                strPlan += "sys_write_file /data/x ab ab\n";
            }
            strPlan += "sys_read_file /data/x 100\nexpect data is ababababab\n";
        }
        return writeFile("test.plan", strPlan + "disp_init\npicture panel\n");
    }

    // Runs the plan over a wire with that fault at each byte so far after the one before it. Returns the verdicts.
    std::string run(const std::string& strFault, int distance, const std::string& strWire, const std::string& strPlan) {
        const std::string strDistance = std::to_string(distance);
        const std::string strRig = folder() + "/rig.sock";
        const std::string strStation =
            writeFile("station.ini", "[target spoilt]\nwire = python3 " FAPI_SPOILT_WIRE " " + strFault + " " +
                                         strDistance + " " + strWire + "\nup-within = " + _strUpWithin +
                                         "\n[fixture rig]\ncommand = python3 " FAPI_EXAMPLES_DIR "/fixture.py " +
                                         strRig + "\n[actions]\n" + (strPlan == "line" ? "* = fixture rig\n" : ""));
        std::filesystem::remove_all(reports());
        // What the agent describes is longer than what such a wire ever carries in one piece, and so is a picture.
        setenv("XDG_CACHE_HOME", (folder() + "/cache-" + strFault + strDistance).c_str(), 1);
        const auto start = std::chrono::steady_clock::now();
        _result = test::runProcess({FAPI_BINARY, "--yes", "--station", strStation, "--target", "spoilt", "run",
                                    "--report", reports(), strPlan});
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        EXPECT_LT(took, test::patient(std::chrono::milliseconds(60000))) << strFault << distance;
        if (isAll()) {
            std::cout << strFault << " " << distance << ": " << took.count() << " s" << std::endl;
        }
        std::string strAll;
        if (std::filesystem::exists(reports()) && !std::filesystem::is_empty(reports())) {
            for (const std::string& strVerdict : reportedVerdicts()) {
                strAll += strVerdict + " ";
            }
        }
        return strAll;
    }

    std::string _strUpWithin = "20s";

private:
    pid_t _agent = -1;
};

TEST_F(WireFaultsTest, NoVerdictIsWrongAndNothingHangs) {
    constexpr int kShortestMended = 1997;  // the longest line is not much shorter
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
    const std::string strPlan = planOfCalls();
    for (const auto& row : rows) {
        std::vector<int> distances = row.distances;
        for (int distance = 811; isAll() && row.distances.size() > 1 && distance < 13000; distance += 211) {
            distances.push_back(distance);
        }
        for (const int distance : distances) {
            const std::string strWire = std::string(FAPI_AGENT_BINARY " --set ") + set();
            const std::string strVerdicts = run(row.fault, distance, strWire, strPlan);
            SCOPED_TRACE(std::string(row.fault) + " " + std::to_string(distance) + ": " + strVerdicts +
                         _result.strOutput + _result.strError);
            if (row.isMended && distance >= std::min(kShortestMended, row.distances[0])) {
                EXPECT_EQ(strVerdicts, "passed passed passed passed ");
                EXPECT_NE(reportFile(".png"), "");
            }
            if (!row.isMended) {
                // A cut may come before the run has begun.
                EXPECT_THAT(strVerdicts, AnyOf("", HasSubstr("error")));
            }
            EXPECT_THAT(strVerdicts, Not(AnyOf(HasSubstr("failed"), HasSubstr("died"))));
        }
    }
    const std::string strBoard = FAPI_AGENT_BINARY " --set " + set() + " --as-board " + folder() + "/rig.sock";
    for (const char* pszFault : {"delay", "drop", "flip", "kernel", "cut"}) {
        const int shortest = pszFault == std::string("delay") ? 7006 : 2003;
        for (int distance = shortest; isAll() && distance < 30000; distance += 5003) {
            // What it expects of events is an error where the wire has lost something.
            EXPECT_THAT(run(pszFault, distance, strBoard, "line"), Not(AnyOf(HasSubstr("failed"), HasSubstr("died"))))
                << pszFault << distance << _result.strOutput << _result.strError;
        }
    }
}

// At a console the agent outlives each wire, and what was read of a long answer is not read again: neither the
// description nor the picture is shorter than what such a wire carries. Where no answer at all comes through, or
// nothing as it was sent, the run ends.
TEST_F(WireFaultsTest, WhatIsLongerThanAWireLivesComesAllTheSame) {
    for (const int distance : isAll() ? std::vector<int>{7001, 10007, 40009} : std::vector<int>{40009}) {
        EXPECT_EQ(run("cut", distance, lastingAgent(), planOfCalls()), "passed passed passed passed ")
            << distance << _result.strOutput << _result.strError;
        EXPECT_NE(reportFile(".png"), "");
    }
    _strUpWithin = "4s";
    run("cut", 1501, lastingAgent(), planOfCalls());
    EXPECT_EQ(_result.s32Exit, 3);
    EXPECT_THAT(_result.strError, HasSubstr("nothing but hello was answered within 4 s"));
    run("flip", 150, std::string(FAPI_AGENT_BINARY " --set ") + set(), planOfCalls());
    EXPECT_EQ(_result.s32Exit, 3);
    EXPECT_THAT(_result.strError, HasSubstr("all came damaged"));
}

// Each wire ends after a second.
TEST_F(WireFaultsTest, ALostWireFindsTheSameAgentAgain) {
    lastingAgent();
    const std::string strWire =
        writeFile("wire.sh", "cat " + folder() + "/out & timeout --foreground 1 cat > " + folder() + "/in\n");
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
}

}  // namespace
