// SPDX-License-Identifier: Apache-2.0
// Whatever of the bench is killed, cut or hung up: a run ends with its teardown and a report, says why, and leaves
// nothing running.
#include <csignal>
#include <future>
#include <numeric>
#include <optional>
#include <random>

#include <fcntl.h>
#include <pty.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/plan_fixture.h"
#include "support/waiting.h"

namespace {

using testing::ElementsAreArray;
using testing::HasSubstr;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

using Strings = std::vector<std::string>;

// An operation that waits for a writer of the pipe, and then for bytes.
constexpr char kBlocks[] = "sys_read_file_one_line /mnt/usb/pipe\n";

class Kills : public test::PlanTest {
protected:
    void SetUp() override {
        PlanTest::SetUp();
        fs::create_directory(folder() + "/run");
        setenv("XDG_RUNTIME_DIR", (folder() + "/run").c_str(), 1);
        ASSERT_EQ(fapi({"set", "create"}).s32Exit, 0);
        ASSERT_EQ(mkfifo(pipeFile().c_str(), 0600), 0);
    }
    void TearDown() override {
        EXPECT_TRUE(test::eventually([this] { return left().empty(); })) << testing::PrintToString(left());
        PlanTest::TearDown();
    }

    std::string pipeFile() const { return set() + "/tree/mnt/usb/pipe"; }
    // Returns the pipe's other end once the operation waits for it.
    int openPipe() const {
        int s32Pipe = -1;
        EXPECT_TRUE(test::eventually(
            [&] { return (s32Pipe = open(pipeFile().c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC)) >= 0; }, 30s));
        return s32Pipe;
    }
    bool waitForFile(const std::string& strName) const {
        return test::eventually([&] { return fs::exists(set() + "/tree/data/" + strName); }, 30s);
    }

    // The processes and sockets that there still are of this test's set.
    Strings left() const {
        Strings found;
        for (const auto& process : fs::directory_iterator("/proc")) {
            // A process that ends meanwhile has none.
            std::stringstream words;
            words << std::ifstream(process.path() / "cmdline").rdbuf();
            const std::string strWords = words.str();
            if (strWords.find(folder()) != std::string::npos) {
                found.push_back(process.path().filename().string() + " " + strWords);
            }
        }
        std::error_code none;
        for (const auto& socket : fs::directory_iterator(folder() + "/run/fapi", none)) {
            found.push_back(socket.path().string());
        }
        return found;
    }
    static pid_t parentOf(pid_t pid) {
        std::string strName, strState;
        pid_t parent = 0;
        std::ifstream("/proc/" + std::to_string(pid) + "/stat") >> strName >> strName >> strState >> parent;
        return parent;
    }
    pid_t worker() const { return static_cast<pid_t>(std::stol(readFile(set() + "/lock"))); }
    // The worker that runs now; 0: none does.
    pid_t workerNow() const {
        for (const std::string& process : left()) {
            if (process.find("fapi-agent-worker") != std::string::npos) {
                return static_cast<pid_t>(std::stol(process));
            }
        }
        return 0;
    }

    // Starts fapi --set SET WORD.... Its output is in a file as it comes.
    std::future<test::ProcessResult> start(Strings words, const Strings& environment = {}, Strings target = {}) const {
        target = target.empty() ? Strings{"--set", set()} : target;
        words.insert(words.begin(), target.begin(), target.end());
        words.insert(words.begin(), FAPI_BINARY);
        words.insert(words.begin(), environment.begin(), environment.end());
        words.insert(words.begin(), {"sh", "-c", "echo $$ >\"$0\"; exec env \"$@\" >\"$0.out\"", pidFile()});
        fs::remove(pidFile());
        fs::remove(outputFile());
        return std::async(std::launch::async, [words, strFile = outputFile()] {
            test::ProcessResult result = test::runProcess(words);
            result.strOutput = readFile(strFile);
            return result;
        });
    }
    Strings runOf(const std::string& strPlan) const {
        fs::remove_all(reports());
        return {"run", "--report", reports(), writeFile("test.plan", "plan T\n" + strPlan)};
    }
    // The process that was started last.
    pid_t started() const {
        EXPECT_TRUE(test::eventually([this] { return !readFile(pidFile()).empty(); }));
        return static_cast<pid_t>(std::stol(readFile(pidFile())));
    }
    std::string pidFile() const { return folder() + "/pid"; }
    std::string outputFile() const { return pidFile() + ".out"; }
    // What it has printed so far.
    std::string output() const { return readFile(outputFile()); }
};

TEST_F(Kills, AKilledProcessCostsTheStepThatRan) {
    const std::vector<std::string> kSteps = {"step a\n", "step b\n", "step c\n", "teardown\nstep d\n", "step e\n"};
    const struct {
        const char* victim;
        const char* verdict;
        const char* why;
        int exit;
    } rows[] = {{"worker", "died", "the process died of SIGKILL", 1},
                {"supervisor", "error", "ended by signal 9", 3},
                {"hub", "error", "the hub has ended the connection", 3}};
    // The last round waits between two lines, where nothing is asked of the set.
    for (std::size_t round = 0; round <= kSteps.size(); ++round) {
        const bool isCall = round < kSteps.size();
        const std::size_t at = isCall ? round : 1;
        std::string strPlan;
        for (std::size_t i = 0; i < kSteps.size(); ++i) {
            strPlan += kSteps[i] + "sys_init\n";
            if (i == at) {
                strPlan += isCall ? kBlocks : "set put /data/waits x\nwait 60s\n";
            }
        }
        for (std::size_t i = 0; i < std::size(rows); ++i) {
            SCOPED_TRACE(rows[i].victim + std::string(" in round ") + std::to_string(round));
            fs::remove(set() + "/tree/data/waits");
            auto run = start(runOf(strPlan));
            const int s32Pipe = isCall ? openPipe() : -1;
            EXPECT_TRUE(isCall || waitForFile("waits"));
            pid_t victim = worker();
            for (std::size_t up = 0; up < i; ++up) {
                victim = parentOf(victim);
            }
            ASSERT_GT(victim, 1);
            EXPECT_EQ(kill(victim, SIGKILL), 0);
            const test::ProcessResult result = run.get();
            close(s32Pipe);
            EXPECT_EQ(result.s32Exit, rows[i].exit) << result.strOutput << result.strError;
            Strings expected;
            for (std::size_t step = 0; step < kSteps.size(); ++step) {
                expected.push_back(step == at ? rows[i].verdict : step > at && step < 3 ? "not run" : "passed");
            }
            EXPECT_THAT(reportedVerdicts(), ElementsAreArray(expected));
            EXPECT_THAT(stepText(at), HasSubstr(rows[i].why));
        }
    }
}

// The line plan with a process killed at some moment after a step: by how much it is above the worker.
// FAPI_KILL_EVERY_STEP asks for every step, and not for two early ones. After the last ones the teardown follows at
// once.
class LineKills : public Kills, public testing::WithParamInterface<int> {};

TEST_P(LineKills, EndWithTheTeardownAndAReport) {
    const int up = GetParam();
    std::mt19937 random(static_cast<unsigned int>(up));
    std::vector<int> steps(42);
    std::iota(steps.begin(), steps.end(), 1);
    if (std::getenv("FAPI_KILL_EVERY_STEP") == nullptr) {
        steps = {static_cast<int>(1 + random() % 9), static_cast<int>(10 + random() % 9)};
    }
    for (const int step : steps) {
        const std::chrono::milliseconds moment(random() % 20);
        SCOPED_TRACE(std::to_string(moment.count()) + " ms after step " + std::to_string(step));
        fs::remove_all(reports());
        auto run = start({"run", "line", "--report", reports()});
        const std::string strEnded = " " + std::to_string(step) + "/46 ";
        EXPECT_TRUE(test::eventually([&] { return output().find(strEnded) != std::string::npos; }, 60s));
        std::this_thread::sleep_for(moment);
        pid_t victim = workerNow();
        for (int i = 0; i < up; ++i) {
            victim = parentOf(victim);
        }
        // There may be none for a moment: the plan power-cycles the set.
        if (victim > 1) {
            kill(victim, SIGKILL);
        }
        ASSERT_EQ(run.wait_for(test::patient(30s)), std::future_status::ready);
        const test::ProcessResult result = run.get();
        const nlohmann::json verdict = report()["verdict"];
        const std::string strOfStep = up == 0 ? "died" : "error";
        if (result.s32Exit == 0) {
            EXPECT_EQ(verdict, "passed") << "the kill came too late";
        } else {
            EXPECT_EQ(result.s32Exit, up == 0 ? 1 : 3) << result.strError;
            EXPECT_EQ(verdict, up == 0 ? "failed" : "error");
            EXPECT_THAT(reportedVerdicts(), testing::Contains(strOfStep).Times(1));
        }
        EXPECT_THAT(reportedVerdicts(), testing::Each(testing::AnyOf("passed", "not run", strOfStep)));
        EXPECT_EQ(report()["steps"][44]["verdict"], "passed");
        EXPECT_EQ(report()["steps"][45]["verdict"], "passed");
        EXPECT_TRUE(test::eventually([this] { return left().empty(); })) << testing::PrintToString(left());
    }
}
std::string victimOf(const testing::TestParamInfo<int>& row) {
    return row.param == 0 ? "Worker" : row.param == 1 ? "Supervisor" : "Hub";
}
INSTANTIATE_TEST_SUITE_P(Of, LineKills, testing::Values(0, 1, 2), victimOf);

// Between the agent and who has started it: the worker stops before it describes.
TEST_F(Kills, InTheMiddleOfADescriptionTheReasonIsGiven) {
    const std::string strWorker = folder() + "/worker";
    const std::string strHeld = writeFile("held.py", R"(
import os, signal, subprocess, sys, time
agent = subprocess.Popen([sys.argv[1]] + sys.argv[3:], stdin=subprocess.PIPE)
def read():
    return int(open('/proc/%d/io' % agent.pid).read().split()[1])
for line in sys.stdin.buffer:
    holds = b'"describe"' in line and not os.path.exists(sys.argv[2])
    if holds:
        worker = open('/proc/%d/task/%d/children' % (agent.pid, agent.pid)).read().split()[0]
        os.kill(int(worker), signal.SIGSTOP)
    wanted = read() + len(line)
    agent.stdin.write(line)
    agent.stdin.flush()
    while holds and agent.poll() is None and read() < wanted:
        time.sleep(0.001)
    if holds:
        open(sys.argv[2], 'w').write(worker)
agent.stdin.close()
sys.exit(agent.wait())
)");
    const std::string strStation =
        writeFile("station.ini", "[target held]\nwire = python3 " + strHeld + " " FAPI_BINARY "-agent " + strWorker +
                                     " --set " + set() + "\n");
    const Strings target = {"--station", strStation, "--target", "held"};
    const Strings words = runOf("step a\nsys_init\n");
    const struct {
        int up;
        int exit;
        const char* why;
    } rows[] = {{0, 1, "the worker ended while it ran (died)"},
                {1, 3, "the wire was lost, and the set's agent is a new one"},
                {3, 3, "the hub has ended the connection"}};
    for (const auto& row : rows) {
        fs::remove_all(folder() + "/cache");
        fs::remove(strWorker);
        auto run = start(words, {"XDG_CACHE_HOME=" + folder() + "/cache"}, target);
        EXPECT_TRUE(test::eventually([&] { return !readFile(strWorker).empty(); }, 30s));
        pid_t victim = static_cast<pid_t>(std::stol(readFile(strWorker)));
        for (int up = 0; up < row.up; ++up) {
            victim = parentOf(victim);
        }
        EXPECT_EQ(kill(victim, SIGKILL), 0);
        const test::ProcessResult result = run.get();
        EXPECT_EQ(result.s32Exit, row.exit);
        EXPECT_THAT(result.strError, HasSubstr(row.why));
    }
    // What a dead hub has left is the next one's.
    EXPECT_EQ(start(words, {}, target).get().s32Exit, 0);
}

// A sanitizer must be the first of all objects that are loaded.
#ifndef FAPI_SANITIZED
TEST_F(Kills, WhatMustFinishIsWaitedFor) {
    auto run = start(runOf("step a\nsys_upgrade_fw fw0 /mnt/usb/pipe\nstep b\nsys_init\nteardown\nstep c\nsys_init\n"),
                     {std::string("LD_PRELOAD=") + BOARD_FILES});
    const int s32Pipe = openPipe();
    EXPECT_EQ(kill(started(), SIGINT), 0);
    EXPECT_EQ(run.wait_for(500ms), std::future_status::timeout);
    EXPECT_EQ(write(s32Pipe, "firmware", 8), 8);
    close(s32Pipe);
    const test::ProcessResult result = run.get();
    EXPECT_EQ(result.s32Exit, 4) << result.strOutput;
    EXPECT_THAT(result.strError, HasSubstr("must finish"));
    EXPECT_THAT(reportedVerdicts(), testing::ElementsAre("passed", "not run", "passed"));
    EXPECT_EQ(report()["verdict"], "interrupted");
}

TEST_F(Kills, WhatMustFinishIsNotEndedAtItsLimit) {
    auto run = start(runOf("step a\nsys_upgrade_fw fw0 /mnt/usb/pipe within 300ms\nteardown\nstep b\nsys_init\n"),
                     {std::string("LD_PRELOAD=") + BOARD_FILES});
    const int s32Pipe = openPipe();
    const pid_t writer = worker();
    const test::ProcessResult result = run.get();
    EXPECT_EQ(result.s32Exit, 3) << result.strOutput;
    EXPECT_THAT(reportedVerdicts(), testing::ElementsAre("error", "not run"));
    EXPECT_THAT(stepText(0),
                HasSubstr("stuck, needs power: did not end within 300ms, the limit of the line, and must finish"));
    // It still does, without the run.
    EXPECT_EQ(workerNow(), writer);
    EXPECT_EQ(write(s32Pipe, "firmware", 8), 8);
    close(s32Pipe);
}

// A process that is traced does not go before its tracer lets it: as one that hangs in a driver.
TEST_F(Kills, AWorkerThatDoesNotEndNeedsPower) {
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    const struct {
        const char* limit;  // what ends the call; empty: Ctrl-C
        int exit;
        const char* why;
    } rows[] = {
        {"", 4, "the set needs power"},
        {" within 1s", 3, "stuck, needs power: did not end within 1s, the limit of the step, and cannot be ended"}};
    bool isTraced = true;
    for (const auto& row : rows) {
        auto run = start(runOf(std::string("step a") + row.limit + "\n" + kBlocks + "teardown\nstep b\nsys_init\n"));
        const int s32Pipe = openPipe();
        const pid_t stuck = worker();
        isTraced = ptrace(PTRACE_SEIZE, stuck, nullptr, nullptr) == 0;
        if (*row.limit == '\0') {
            EXPECT_EQ(kill(started(), SIGINT), 0);
        }
        const test::ProcessResult result = run.get();
        close(s32Pipe);
        if (isTraced) {
            EXPECT_EQ(result.s32Exit, row.exit);
            EXPECT_THAT(reportedVerdicts(), testing::ElementsAre("error", "not run"));
            EXPECT_THAT(stepText(0), HasSubstr(row.why));
            waitpid(stuck, nullptr, __WALL);
        }
    }
    prctl(PR_SET_CHILD_SUBREAPER, 0);
    while (waitpid(-1, nullptr, WNOHANG) > 0) {
    }
    if (!isTraced) {
        GTEST_SKIP() << "this user may not trace";
    }
}
#endif

TEST_F(Kills, ATakenSetEndsTheRun) {
    const Strings words = runOf(std::string("step a\n") + kBlocks + "teardown\nstep b\nset put /data/cleaned x\n");
    auto run = start(words);
    const int s32Pipe = openPipe();
    const std::string strOther = writeFile("other.plan", "plan O\nstep a\nsys_init\n");
    for (const Strings& refused : {Strings{"run", "--no-report", strOther}, Strings{"set", "key", "0"}}) {
        EXPECT_THAT(
            expectImpossible({refused, 3, "fapi run (process " + std::to_string(started()) + ") has claimed"}).strError,
            HasSubstr("runs the plan T"));
    }
    EXPECT_EQ(fapi({"take", "--reason", "the shift ends"}).s32Exit, 0);
    const test::ProcessResult result = run.get();
    EXPECT_EQ(result.s32Exit, 3) << result.strError;
    EXPECT_THAT(reportedVerdicts(), testing::ElementsAre("error", "not run"));
    EXPECT_THAT(stepText(0), testing::ContainsRegex("the set was taken by fapi take .process [0-9]+.: the shift ends"));
    EXPECT_FALSE(fs::exists(set() + "/tree/data/cleaned"));
    close(s32Pipe);
    EXPECT_EQ(fapi({"run", "--no-report", strOther}).s32Exit, 0) << "who took it has let it go";
}

TEST_F(Kills, AKeyIsPressedFromAnotherTerminal) {
    const Strings rows[] = {
        {"run", "--shared", "--no-report",
         writeFile(
             "keys.plan",
             "plan K\nstep a\nsys_init\nprphrl_init\nprphrl_keypad_init\nprphrl_start_keypad\nset put /data/ready x\n"
             "expect event 0x100002 with value is 0x01 within 30s\nset power-cycle\nsys_init\n")},
        {"watch", "--count", "1", "--do", "prphrl_keypad_init", "--do", "prphrl_start_keypad", "--do",
         "set put /data/ready x"}};
    for (const Strings& words : rows) {
        fs::remove(set() + "/tree/data/ready");
        auto other = start(words);
        EXPECT_TRUE(waitForFile("ready"));
        EXPECT_EQ(fapi({"set", "key", "0"}).s32Exit, 0);
        const test::ProcessResult result = other.get();
        EXPECT_EQ(result.s32Exit, 0) << words[0] << result.strOutput << result.strError;
    }
}

TEST_F(Kills, ATerminalThatIsGoneEndsTheRunInOrder) {
    for (const int s32Signal : {SIGHUP, SIGTERM}) {
        SCOPED_TRACE(s32Signal);
        fs::remove(set() + "/tree/data/cleaned");
        const Strings words = runOf(std::string("step a\n") + kBlocks + "teardown\nstep b\nset put /data/cleaned x\n");
        int s32Terminal = -1;
        const pid_t child = forkpty(&s32Terminal, nullptr, nullptr, nullptr);
        if (child == 0) {
            execl(FAPI_BINARY, FAPI_BINARY, "--set", set().c_str(), words[0].c_str(), words[1].c_str(),
                  words[2].c_str(), words[3].c_str(), nullptr);
            _exit(127);
        }
        const int s32Pipe = openPipe();
        // The last process with a terminal's other end takes the terminal away.
        s32Signal == SIGHUP ? close(s32Terminal) : kill(child, s32Signal);
        int s32Status = 0;
        EXPECT_TRUE(test::eventually([&] { return waitpid(child, &s32Status, WNOHANG) == child; }, 30s));
        close(s32Pipe);
        EXPECT_EQ(WEXITSTATUS(s32Status), 4);
        EXPECT_THAT(reportedVerdicts(), testing::ElementsAre("interrupted", "passed"));
        EXPECT_TRUE(fs::exists(set() + "/tree/data/cleaned"));
        if (s32Signal != SIGHUP) {
            close(s32Terminal);
        }
    }
}

// One that has described itself and then does not answer, and one that ends before it describes itself.
TEST_F(Kills, AnAgentThatDoesNotAnswerKeepsNobodyWaiting) {
    const std::string strReal = "exec '" FAPI_BINARY "-agent' \"$@\"";
    const std::string strAsked = folder() + "/asked", strOnce = folder() + "/once";
    const std::string strSilent =
        writeFile("silent", "#!/bin/sh\n[ -e '" + strOnce + "' ] || { touch '" + strOnce + "'; " + strReal +
                                "; }\ntouch '" + strAsked + "'\nexec sleep 60\n");
    const std::string strShort = writeFile("short", "#!/bin/sh\nsed -u 1q | (" + strReal + ")\n");
    for (const std::string& strAgent : {strSilent, strShort}) {
        fs::permissions(strAgent, fs::perms::owner_all);
    }
    const std::string strPlan = writeFile("p.plan", "plan P\nstep a\nsys_init\n");
    for (const Strings& words :
         {Strings{"run", "--no-report", strPlan}, Strings{"partition", "read", "boot", folder() + "/image"}}) {
        fs::remove(strAsked);
        auto silent = start(words, {"FAPI_AGENT=" + strSilent});
        EXPECT_TRUE(test::eventually([&] { return fs::exists(strAsked); }));
        EXPECT_EQ(kill(started(), SIGINT), 0);
        EXPECT_EQ(silent.wait_for(test::patient(2000ms)), std::future_status::ready) << words[0];
        EXPECT_EQ(silent.get().s32Exit, 4) << words[0];
        EXPECT_TRUE(test::eventually([this] { return left().empty(); }));
    }
    const test::ProcessResult cut =
        start({"run", "--no-report", strPlan}, {"FAPI_AGENT=" + strShort, "XDG_CACHE_HOME=" + folder()}).get();
    EXPECT_EQ(cut.s32Exit, 3);
    EXPECT_THAT(cut.strError, HasSubstr("short: ended with exit code 0"));
}

}  // namespace
