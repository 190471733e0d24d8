// SPDX-License-Identifier: Apache-2.0
// The agent as a program: what a client reads on its wire, and what stays when its worker, or itself, is ended.
#include <filesystem>
#include <thread>

#include <sys/stat.h>

#include "protocol/description.h"
#include "protocol/sha256.h"
#include "support/agent_client.h"
#include "support/emulation.h"
#include "support/tool_fixture.h"

using test::AgentClient;
using test::eventually;
using test::patient;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using tool::Answer;
using tool::ErrorCode;
using tool::Field;
using tool::Framing;
namespace fs = std::filesystem;

namespace {

constexpr char kPipe[] = "/mnt/usb/pipe";

class AgentTest : public test::ToolTest {
protected:
    void SetUp() override {
        SKIP_UNDER_EMULATION();
        ToolTest::SetUp();
        // A race costs the worker, which the test notices.
        setenv("TSAN_OPTIONS", "halt_on_error=1", 0);
        start();
    }
    void TearDown() override {
        _agent.reset();
        ToolTest::TearDown();
    }

    void start(const std::string& preloaded = "", const std::vector<std::string>& options = {}) {
        std::vector<std::string> command = {FAPI_AGENT, "--set", set()};
        command.insert(command.end(), options.begin(), options.end());
        _agent = std::make_unique<AgentClient>(command, preloaded);
    }
    AgentClient& agent() { return *_agent; }
    Field hello(const char* framing = tool::kPlainName) {
        return agent().ask("hello", {{"protocol", Field::List{1, 1}}, {"framings", Field::List{framing}}});
    }
    // Starts a call that ends when the descriptor is closed that this returns.
    int blockIn(const std::string& operation, Field::List arguments, long long& id) {
        agent().ask("power", {{"to", "on"}});
        const std::string file = set() + "/tree" + kPipe;
        fs::remove(file);
        EXPECT_EQ(mkfifo(file.c_str(), 0600), 0);
        id = agent().send("call", {{"operation", operation}, {"arguments", std::move(arguments)}, {"confirm", true}});
        int s32Pipe = -1;
        EXPECT_TRUE(eventually([&] { return (s32Pipe = open(file.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC)) >= 0; }));
        return s32Pipe;
    }
    // Restores a backup out of a pipe, and cancels that in its middle.
    Answer cancelRestore(const std::string& strBackup) {
        const std::string file = folder() + "/backup.pipe";
        EXPECT_EQ(mkfifo(file.c_str(), 0600), 0);
        const long long id = agent().send("set.restore", {{"file", file}});
        std::ofstream pipe(file, std::ios::binary);
        pipe << strBackup.substr(0, strBackup.size() / 2) << std::flush;
        EXPECT_TRUE(eventually([&] { return isThere(set() + ".restore-"); }));
        EXPECT_EQ(agent().ask("cancel", {{"id", id}})["begun"], Field(true));
        // What comes after it has been read has been read after it.
        agent().ask("events", {{"on", false}});
        pipe << strBackup.substr(strBackup.size() / 2) << std::flush;
        pipe.close();
        Answer answer = agent().answer(id);
        EXPECT_FALSE(isThere(set() + ".restore-"));
        return answer;
    }
    // Whether there is a file whose path begins so.
    static bool isThere(const std::string& strPath) {
        const auto begins = [&](const auto& entry) { return entry.path().string().rfind(strPath, 0) == 0; };
        const fs::directory_iterator entries(fs::path(strPath).parent_path());
        return std::any_of(begin(entries), end(entries), begins);
    }
    std::optional<ErrorCode> failure(const Answer& answer) {
        return answer.failure ? std::optional(answer.failure->code) : std::nullopt;
    }
    // The bytes of the stream that follows an answer.
    tool::Bytes stream(const Field& answer) {
        tool::Bytes all;
        tool::Sha256 sum;
        for (Field piece = agent().next("stream"); !piece.isNull(); piece = agent().next("stream")) {
            EXPECT_EQ(piece["id"], answer["stream"]);
            if (!piece.has("data")) {
                EXPECT_EQ(piece["sha256"].textOr("none"), sum.sum());
                return all;
            }
            const tool::Bytes& bytes = piece["data"].bytes();
            sum.add(bytes.data(), bytes.size());
            all.insert(all.end(), bytes.begin(), bytes.end());
        }
        ADD_FAILURE() << "the stream has no end";
        return all;
    }
    // How many bytes the process has read ("rchar:") or written ("wchar:").
    static long long movedBy(pid_t pid, const char* way) {
        std::string name;
        long long number = 0;
        std::ifstream io("/proc/" + std::to_string(pid) + "/io");
        while (io >> name >> number && name != way) {
        }
        return number;
    }
    // "R" (runs, or would), "S" (waits), "Z"; empty when there is no such process.
    static std::string stateOf(pid_t pid) {
        std::string name, state;
        std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
        stat >> name >> name >> state;
        return state;
    }
    static bool isAlive(pid_t pid) {
        const std::string state = stateOf(pid);
        return !state.empty() && state != "Z";
    }

private:
    std::unique_ptr<AgentClient> _agent;
};

}  // namespace

TEST_F(AgentTest, HelloComesFirstAndDescribesAnAgentWhoseSetIsOff) {
    EXPECT_EQ(failure(agent().request("describe")), ErrorCode::noRequest);
    EXPECT_EQ(failure(agent().request("hello", {{"protocol", Field::List{99, 99}}})), ErrorCode::notSupported);
    const Field greeting = hello();
    EXPECT_EQ(greeting["kind"], Field("virtual"));
    EXPECT_EQ(greeting["library"], Field("v1.0.0.13"));
    const tool::Description description = tool::parseDescription(agent().ask("describe"));
    EXPECT_EQ(description.hash, greeting["description"].text());
    EXPECT_NE(description.operation("sys_init"), nullptr);
    EXPECT_NE(description.action("key"), nullptr);
    for (const tool::Action& action : description.actions) {
        for (std::size_t at = action.prompt.find("${"); at != std::string::npos;
             at = action.prompt.find("${", at + 1)) {
            const std::string name = action.prompt.substr(at + 2, action.prompt.find('}', at) - at - 2);
            EXPECT_THAT(action.arguments, Contains(testing::Field(&tool::Argument::name, name))) << action.name;
        }
    }
    EXPECT_FALSE(fs::exists(set()));
}

TEST_F(AgentTest, CallsAndActionsTakeArgumentsByPlaceAndByName) {
    hello();
    const auto call = [&](const char* operation, Field arguments, bool confirm) {
        return agent().request("call",
                               {{"operation", operation}, {"arguments", std::move(arguments)}, {"confirm", confirm}});
    };
    const Field byName = {{"value", "LM55"}, {"key", "serial"}};
    EXPECT_EQ(failure(call("sys_set_emmc_env_var", byName, false)), ErrorCode::notConfirmed);
    EXPECT_EQ(failure(call("sys_nosuch", {}, true)), ErrorCode::wrongParameters);
    EXPECT_EQ(failure(call("sys_get_emmc_env_var", Field::List{}, true)), ErrorCode::wrongParameters);
    EXPECT_EQ(failure(call("sys_get_emmc_env_var", Field{{"kee", "serial"}}, true)), ErrorCode::wrongParameters);
    EXPECT_EQ(failure(call("sys_set_wdt", Field::List{2}, true)), ErrorCode::wrongParameters);
    const Field set = call("sys_set_emmc_env_var", byName, true).result;
    EXPECT_EQ(set["prepared"], Field(Field::List{"a_vextvfapi_sys_init"}));
    const Field got = agent().call("a_vextvfapi_sys_get_emmc_env_var", {"serial"});
    EXPECT_EQ(got["outputs"].list()[0]["value"].text(), "LM55");
    EXPECT_LE(got["begun"]["mono"].number(), got["ended"]["mono"].number());

    EXPECT_TRUE(agent()
                    .ask("act", {{"action", "fault"}, {"arguments", Field::List{"HW_FLASH_GetEnvVar", "busy"}}})["good"]
                    .flag());
    const Field failed = agent().call("sys_get_emmc_env_var", {"serial"});
    EXPECT_FALSE(failed["good"].flag());
    EXPECT_EQ(failed["failed"].list()[0]["word"].text(), "busy");
    EXPECT_THAT(failed["log"].list().back().text(), HasSubstr("[E] <_a_vextvfapi_sys_get_env_var"));
    EXPECT_EQ(agent().ask("act", {{"action", "remove"}, {"arguments", Field::List{"/data/none"}}})["status"],
              Field(-1));
    const Field problem = agent().ask("check", {{"action", "fault"},
                                                {"arguments", Field::List{"HW_FS_Open", "busy"}},
                                                {"words", Field::List{"HW_FS_Open", "busy"}}});
    EXPECT_EQ(problem["problem"]["word"], Field(1));
}

TEST_F(AgentTest, EventsLogAndJournalAreNumberedAndComeBeforeTheAnswer) {
    hello();
    agent().call("prphrl_start_keypad");
    for (const char* method : {"events", "log", "journal"}) {
        agent().ask(method, {{"on", true}});
    }
    agent().call("sys_check_file", {"/data/none"});
    long long lines = 0;
    Field calls;
    for (const tool::Notification& notification : agent().notifications) {
        lines += notification.method == "log" ? 1 : 0;
        EXPECT_EQ(notification.params["seq"], Field(notification.method == "log" ? lines : 1));
        calls = notification.method == "journal" ? notification.params["calls"] : calls;
    }
    EXPECT_GT(lines, 0);
    ASSERT_FALSE(calls.isNull());
    EXPECT_EQ(calls.list()[0]["call"], Field("HW_FS_Open"));
    agent().notifications.clear();
    agent().ask("act", {{"action", "key"}, {"arguments", Field::List{0}}});
    const Field event = agent().next("event");
    EXPECT_EQ(event["module"], Field("prphrl"));
    EXPECT_EQ(event["number"], Field(0x100002));

    // The switch counts at the library's next start; that of the set counts when it is asked for.
    for (const auto& [state, isLogged] : {std::pair("off", false), std::pair("set", false), std::pair("on", true)}) {
        agent().ask("power", {{"to", "cycle"}});
        agent().ask("log-switch", {{"state", state}});
        agent().notifications.clear();
        agent().call("sys_check_file", {"/data/none"});
        const bool hasLog =
            std::any_of(agent().notifications.begin(), agent().notifications.end(),
                        [](const tool::Notification& notification) { return notification.method == "log"; });
        EXPECT_EQ(hasLog, isLogged) << state;
    }
}

TEST_F(AgentTest, WhatIsLargeComesAsAStream) {
    hello();
    const Field picture = agent().ask("picture", {{"source", "panel"}});
    EXPECT_EQ(stream(picture).size(),
              static_cast<std::size_t>(picture["width"].number() * picture["height"].number() * 4));

    tool::Bytes bytes(300000);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<unsigned char>(i * 7 + i / 256);
    }
    agent().ask("partition.write", {{"partition", "factory"}, {"offset", 4096}, {"data", bytes}});
    EXPECT_EQ(
        stream(agent().ask("partition.read", {{"partition", "factory"}, {"offset", 4096}, {"length", bytes.size()}})),
        bytes);
    agent().ask("file.write", {{"path", "/data/a"}, {"bytes", bytes}});
    agent().ask("file.write", {{"path", "/data/a"}, {"bytes", tool::Bytes{1}}, {"append", true}});
    bytes.push_back(1);
    EXPECT_EQ(stream(agent().ask("file.read", {{"path", "/data/a"}})), bytes);
    EXPECT_EQ(failure(agent().request("file.read", {{"path", "/etc/passwd"}})), ErrorCode::unavailable);
    // One that its client cancels ends: all of this one would take minutes.
    fs::resize_file(set() + "/tree/data/a", 4LL << 30);
    const Field large = agent().ask("file.read", {{"path", "/data/a"}});
    agent().ask("cancel", {{"id", large["stream"]}});
    Field last = agent().next("stream");
    while (last.has("data")) {
        last = agent().next("stream");
    }
    EXPECT_EQ(last["error"]["code"].numberOr(0), static_cast<int>(ErrorCode::canceled));

    EXPECT_EQ(
        agent().ask("data", {{"source", "calibration"}, {"arguments", Field::List{1, 0}}})["series"].list().size(), 6u);
    EXPECT_EQ(failure(agent().request("data", {{"source", "gamma"}, {"arguments", Field::List{0}}})),
              ErrorCode::unavailable);

    const tool::Bytes image = stream(agent().ask("env.read", {{"flash", "emmc"}}));
    EXPECT_EQ(image.size(), 65536u);
    agent().ask("env.write", {{"flash", "emmc"}, {"bytes", tool::Bytes(65536, 0xFF)}});
    EXPECT_FALSE(agent().call("sys_get_emmc_env_var", {"bootcmd"})["good"].flag());
    EXPECT_EQ(stream(agent().ask("env.read", {{"flash", "emmc"}, {"kept", 1}})), image);
}

TEST_F(AgentTest, ADeadWorkerCostsTheCallAndNothingElse) {
    hello();
    long long id = 0;
    const int s32Pipe = blockIn("sys_get_file_checksum", {kPipe}, id);
    agent().killWorker(SIGABRT);
    const Answer died = agent().answer(id);
    close(s32Pipe);
    EXPECT_EQ(failure(died), ErrorCode::died);
    EXPECT_EQ(died.failure->data["signal"], Field("SIGABRT"));
    while (agent().next("worker")["state"] != Field("ended")) {
    }
    // Killed while it has nothing to do, and while it describes.
    agent().call("sys_set_emmc_env_var", {"serial", "LM55"});
    agent().killWorker(SIGKILL);
    while (agent().next("worker")["reason"] != Field("died")) {
    }
    id = agent().send("describe");
    agent().killWorker(SIGKILL);
    agent().answer(id);
    EXPECT_EQ(agent().call("sys_get_emmc_env_var", {"serial"})["outputs"].list()[0]["value"].text(), "LM55");
}

TEST_F(AgentTest, PowerCyclesAndTheWatchdogKeepTheStoreAndLoseTheMemory) {
    hello();
    EXPECT_EQ(agent().ask("power", {{"to", "create"}})["boots"], Field(0));
    agent().ask("act", {{"action", "fault"}, {"arguments", Field::List{"HW_FLASH_GetEnvVar", "failed", 1, 0}}});
    agent().call("sys_set_emmc_env_var", {"serial", "LM55"});
    EXPECT_FALSE(agent().call("sys_get_emmc_env_var", {"serial"})["good"].flag());
    EXPECT_EQ(agent().ask("power", {{"to", "cycle"}})["boots"], Field(2));
    EXPECT_TRUE(agent().call("sys_get_emmc_env_var", {"serial"})["good"].flag());
    agent().ask("power", {{"to", "off"}});
    EXPECT_EQ(failure(agent().request("call", {{"operation", "sys_init"}})), ErrorCode::ended);
    EXPECT_FALSE(agent().ask("describe")["operations"].list().empty());
    EXPECT_EQ(agent().ask("power", {{"to", "on"}})["boots"], Field(3));

    agent().call("sys_set_wdt", {true});
    const Answer died = agent().request("act", {{"action", "await-reboot"}, {"arguments", Field::List{20}}});
    EXPECT_EQ(failure(died), ErrorCode::died);
    EXPECT_EQ(died.failure->data["reason"], Field("watchdog"));
    EXPECT_EQ(agent().ask("set.show")["boots"], Field(4));
    EXPECT_EQ(agent().ask("set.ports")["ports"].list().size(), 5u);

    const auto serial = [&] {
        return agent().call("sys_get_emmc_env_var", {"serial"})["outputs"].list().at(0)["value"].text();
    };
    EXPECT_EQ(failure(agent().request("set.backup")), ErrorCode::unavailable);
    agent().ask("power", {{"to", "off"}});
    EXPECT_TRUE(agent().ask("set.ports")["ports"].list().empty());
    const tool::Bytes backup = stream(agent().ask("set.backup"));
    const std::string file = writeFile("backup.tar.gz", {backup.begin(), backup.end()});
    EXPECT_EQ(agent().ask("power", {{"to", "reset"}})["boots"], Field(0));
    EXPECT_NE(serial(), "LM55");
    agent().ask("power", {{"to", "off"}});
    EXPECT_EQ(failure(cancelRestore({backup.begin(), backup.end()})), ErrorCode::canceled);
    EXPECT_GT(agent().ask("set.restore", {{"file", file}})["files"].number(), 0);
    EXPECT_EQ(agent().ask("power", {{"to", "on"}})["boots"], Field(5));
    EXPECT_EQ(serial(), "LM55");
}

TEST_F(AgentTest, ASetInTheRoleOfABoardHasTheMethodsOfABoard) {
    start("", {"--as-board", folder() + "/hands"});
    EXPECT_EQ(hello()["kind"], Field("board"));
    const std::pair<const char*, Field> rows[] = {
        {"act", {{"action", "key"}}}, {"env.read", {}},  {"env.kept", {}}, {"picture", {{"source", "panel"}}},
        {"power", {{"to", "cycle"}}}, {"set.ports", {}}, {"set.show", {}}};
    for (const auto& [method, params] : rows) {
        EXPECT_EQ(failure(agent().request(method, params)), ErrorCode::notSupported) << method;
    }
    EXPECT_FALSE(agent().ask("set.log")["on"].flag());
    EXPECT_TRUE(agent().call("sys_init")["good"].flag());
}

TEST_F(AgentTest, NothingIsLeftRunningWhenTheAgentEnds) {
    struct Row {
        const char* how;
        std::function<void(AgentClient&)> end;
        int exit;
    };
    const Row rows[] = {
        {"wire", [](AgentClient& client) { client.closeInput(); }, 0},
        {"wire of which nothing more is read",
         [](AgentClient& client) {
             for (int i = 0; i < 300; ++i) {
                 client.send("call", {{"operation", "sys_init"}});
             }
             client.closeInput();
         },
         0},
        {"TERM", [](AgentClient& client) { kill(client.pid(), SIGTERM); }, 0},
        {"KILL", [](AgentClient& client) { kill(client.pid(), SIGKILL); }, 128 + SIGKILL},
    };
    for (const Row& row : rows) {
        start();
        hello();
        long long id = 0;
        const int s32Pipe = blockIn("sys_get_file_checksum", {kPipe}, id);
        const pid_t worker = agent().worker();
        ASSERT_GT(worker, 0);
        row.end(agent());
        EXPECT_EQ(agent().waitForEnd(), row.exit) << row.how;
        EXPECT_TRUE(eventually([&] { return !isAlive(worker); })) << row.how;
        close(s32Pipe);
    }
}

// A sanitizer must be the first of all objects that are loaded.
#ifndef FAPI_SANITIZED
TEST_F(AgentTest, WhatMustFinishIsNeverEnded) {
    start(BOARD_FILES);
    hello();
    long long id = 0;
    const int s32Pipe = blockIn("sys_upgrade_fw", {"fw0", kPipe}, id);
    const long long waiting = agent().send("call", {{"operation", "sys_init"}});
    EXPECT_EQ(agent().ask("cancel", {{"id", waiting}})["unqueued"], Field(true));
    EXPECT_EQ(failure(agent().request("end-worker")), ErrorCode::begun);
    EXPECT_EQ(failure(agent().request("power", {{"to", "cycle"}})), ErrorCode::begun);
    const Field begun = agent().ask("cancel", {{"id", id}});
    EXPECT_EQ(begun["begun"], Field(true));
    kill(agent().pid(), SIGTERM);
    EXPECT_FALSE(agent().read(std::chrono::milliseconds(300)));
    EXPECT_EQ(write(s32Pipe, "firmware", 8), 8);
    close(s32Pipe);
    EXPECT_FALSE(failure(agent().answer(id)));
    EXPECT_EQ(agent().waitForEnd(), 0);
}

// An operation closes descriptor 0 by contract.
TEST_F(AgentTest, AClosedStandardInputIsPutBack) {
    start(BOARD_FILES);
    hello();
    for (const char* file : {"/data/a", "/data/b", "/data/c"}) {
        EXPECT_EQ(agent().call("sys_create_file", {file})["status"], Field(0)) << file;
        const std::string descriptors = "/proc/" + std::to_string(agent().worker()) + "/fd/";
        EXPECT_EQ(fs::read_symlink(descriptors + "0"), "/dev/null");
    }
}
#endif

TEST_F(AgentTest, WhatIsNoRequestIsRefusedAndTheAgentGoesOn) {
    hello();
    struct Row {
        std::string line;
        ErrorCode code;
    };
    const Row rows[] = {
        {"{\"jsonrpc\": \"2.0\", \"id\": 1", ErrorCode::noJson},
        {"{}", ErrorCode::noRequest},
        {R"({"jsonrpc":"2.0","id":"a","method":"describe"})", ErrorCode::noRequest},
        {R"({"jsonrpc":"2.0","id":900,"method":"describe","params":[1]})", ErrorCode::noRequest},
        {R"({"jsonrpc":"2.0","id":-5,"method":"describe"})", ErrorCode::noRequest},
        {R"({"jsonrpc":"2.0","id":901,"method":"nosuch"})", ErrorCode::unknownMethod},
        {R"({"jsonrpc":"2.0","id":902,"method":"call","params":{"operation":7}})", ErrorCode::wrongParameters},
        {R"({"jsonrpc":"2.0","id":903,"method":"power","params":{"to":"up"}})", ErrorCode::wrongParameters},
        {"{\"long\": \"" + std::string(tool::kLongestMessage, 'x') + "\"}", ErrorCode::noRequest},
    };
    for (const Row& row : rows) {
        agent().write("a line of a console\r\n" + row.line + "\n");
        std::optional<tool::Message> message = agent().read();
        while (message && message->notification) {
            message = agent().read();
        }
        ASSERT_TRUE(message) << row.line.substr(0, 80);
        EXPECT_EQ(failure(*message->answer), row.code) << row.line.substr(0, 80);
    }
    EXPECT_TRUE(agent().call("sys_init")["good"].flag());
}

TEST_F(AgentTest, AClientThatReadsNothingCostsLogLinesAndNoMemory) {
    hello();
    agent().ask("log", {{"on", true}});
    agent().call("prphrl_start_factory_uart", {"115200", 0, 0});
    constexpr int kRequests = 10000;
    const long long first = agent().send("cancel", {{"id", 0}}) + 1;
    std::thread writer([&] {
        for (int i = 0; i < kRequests; ++i) {
            agent().send("call", {{"operation", "sys_get_emmc_env_var"}, {"arguments", Field::List{"bootcmd"}}});
        }
    });
    // Until the agent takes no more requests, since nobody reads its answers.
    long long read = 0, before = -1;
    while (read != before || stateOf(agent().pid()) != "S" || stateOf(agent().worker()) != "S") {
        std::this_thread::sleep_for(patient(std::chrono::milliseconds(400)));
        before = read;
        read = movedBy(agent().pid(), "rchar:");
    }
    long long size = 0, pages = 0;
    std::ifstream("/proc/" + std::to_string(agent().pid()) + "/statm") >> size >> pages;
#ifndef FAPI_SANITIZED
    EXPECT_LT(pages * sysconf(_SC_PAGESIZE), 40 << 20);
#endif
    // The library logs each command of the line, whoever reads.
    const std::string commands = [] {
        std::string lines;
        for (int i = 0; i < 100; ++i) {
            lines += "command\n";
        }
        return lines;
    }();
    std::ofstream(set() + "/ports/uart0") << commands << std::flush;
    // The agent has to have them while its wire is full: what is read below makes room for them.
    const long long logged = read + static_cast<long long>(commands.size());
    EXPECT_TRUE(eventually([&] { return movedBy(agent().pid(), "rchar:") >= logged; }));

    long long seq = 0, answers = first, dropped = 0;
    while (answers < first + kRequests) {
        const std::optional<tool::Message> message = agent().read();
        ASSERT_TRUE(message) << answers;
        if (message->answer && message->answer->id >= first) {
            ASSERT_EQ(message->answer->id, answers++);
        } else if (message->notification && message->notification->method == "log") {
            const Field& params = message->notification->params;
            const long long gap = params["dropped"].numberOr(0);
            EXPECT_TRUE(seq == 0 || params["seq"] == Field(seq + 1 + gap));
            seq = params["seq"].number();
            dropped += gap;
        }
    }
    writer.join();
    EXPECT_GT(dropped, 0);
}

TEST_F(AgentTest, ADamagedLineCostsNeitherTheAnswerNorASecondCall) {
    const Field greeting = hello(tool::kCheckedName);
    EXPECT_EQ(greeting["framing"], Field("checked"));
    const std::string session = greeting["session"].text();
    agent().use(Framing::checked);
    agent().ask("events", {{"on", true}});
    agent().call("prphrl_init");
    const tool::Request notify = {
        100, "call", {{"operation", "prphrl_nty_event"}, {"arguments", Field::List{1, 1}}}, {}};
    const std::string line = tool::frame(toField(notify), Framing::checked);
    std::string damaged = line;
    damaged[line.size() / 2] ^= 1;
    agent().write(damaged);
    EXPECT_EQ(failure(parseMessage(toField(*agent().read()->answer)).answer.value()), ErrorCode::noJson);
    EXPECT_EQ(agent().ask("again", {{"id", 100}})["kept"], Field(false));
    // Console text may be in the line; what is sent twice is done once, and is answered twice.
    agent().write("login: " + line);
    EXPECT_TRUE(agent().answer(100).result["good"].flag());
    agent().write(line);
    EXPECT_TRUE(agent().answer(100).result["good"].flag());
    EXPECT_EQ(agent().ask("again", {{"id", 100}})["kept"], Field(true));
    EXPECT_TRUE(agent().answer(100).result["good"].flag());
    agent().write(tool::frame(toField(tool::Request{200, "cancel", {{"id", 1}}, 150}), Framing::checked));
    agent().answer(200);
    EXPECT_EQ(agent().ask("again", {{"id", 100}})["kept"], Field(false));
    EXPECT_EQ(agent().next("event")["seq"], Field(1));
    agent().write(tool::frame(toField(tool::Request{300, "call", notify.params, {}}), Framing::checked));
    EXPECT_EQ(agent().next("event")["seq"], Field(2));
    agent().answer(300);
    // The client comes back after its wire was lost, and the answer is still there.
    agent().use(Framing::plain);
    const Field back = {
        {"protocol", Field::List{1, 1}}, {"framings", Field::List{tool::kCheckedName}}, {"session", session}};
    agent().ask("hello", back);
    agent().use(Framing::checked);
    EXPECT_EQ(agent().ask("again", {{"id", 300}})["kept"], Field(true));
    EXPECT_TRUE(agent().answer(300).result["good"].flag());
    // Another client on the same wire begins in plain framing.
    agent().use(Framing::plain);
    EXPECT_EQ(hello()["framing"], Field("plain"));
    EXPECT_EQ(agent().ask("again", {{"id", 300}})["kept"], Field(false));
    EXPECT_TRUE(agent().call("sys_init")["good"].flag());
}
