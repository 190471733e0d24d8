// SPDX-License-Identifier: Apache-2.0
// The hub between clients and an agent: who starts and ends it, who may change the set, what a bad client costs.
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <thread>

#include <gmock/gmock.h>

#include <poll.h>
#include <signal.h>
#include <sys/socket.h>

#include "fake_agent.h"
#include "hub/hub.h"
#include "hub/socket.h"
#include "support/process.h"
#include "support/waiting.h"
#include "target/target.h"

namespace {

namespace fs = std::filesystem;
using namespace tool;
using namespace std::chrono_literals;
using test::eventually;
using ::testing::HasSubstr;
using Joined = std::unique_ptr<Target>;

class HubTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::string folder = ::testing::TempDir() + "/hub-XXXXXX";
        ASSERT_NE(mkdtemp(folder.data()), nullptr);
        _folder = fs::canonical(folder);
        for (const char* name : {"run", "cache", "set"}) {
            fs::create_directory(_folder / name);
        }
        setenv("XDG_RUNTIME_DIR", (_folder / "run").c_str(), 1);
        setenv("XDG_CACHE_HOME", (_folder / "cache").c_str(), 1);
        const std::string self = fs::read_symlink("/proc/self/exe");
        _options = {(_folder / "set").string(), "a test", false, true, self, self, test::patient(20000ms)};
    }
    void TearDown() override {
        EXPECT_TRUE(isOver());
        EXPECT_EQ(count("start"), count("end") + _killed);
        fs::remove_all(_folder);
    }

    Joined join(const std::string& name = "a test") {
        TargetOptions options = _options;
        options.client = name;
        return Target::join(options);
    }
    // Waits until the last client's hub is gone with all that it had.
    bool isOver() const {
        return eventually([&] { return !fs::exists(_folder / "run/fapi") || fs::is_empty(_folder / "run/fapi"); });
    }
    // How often the agents have done that.
    std::ptrdiff_t count(const std::string& what) const {
        std::ifstream history(_folder / "set/history");
        std::ptrdiff_t times = 0;
        for (std::string line; std::getline(history, line);) {
            times += line == what ? 1 : 0;
        }
        return times;
    }
    // A connection without Target's good manners.
    Descriptor connect() const { return HubSocket("virtual:" + (_folder / "set").string()).connect(); }
    static pid_t hubOf(const Joined& target) { return static_cast<pid_t>(target->hello()["hub"].number()); }
    static ErrorCode codeOf(const Joined& target, const std::string& method, const Field& params = Field::Fields()) {
        try {
            target->request(method, params);
            return ErrorCode{};
        } catch (const RequestError& error) {
            return error.code();
        }
    }

    fs::path _folder;
    TargetOptions _options;
    std::ptrdiff_t _killed = 0;  // agents that had no orderly end
};

const Field kLook = {{"operation", "sys_look"}, {"prepare", true}};
const Field kChange = {{"operation", "sys_change"}, {"prepare", true}};

// Also while the hub of the clients before is about to end.
TEST_F(HubTest, FirstClientsAtOnceShareOneHub) {
    for (int round = 0; round < 5; ++round) {
        std::vector<Joined> clients(6);
        std::vector<std::thread> threads;
        for (Joined& client : clients) {
            threads.emplace_back([&] { client = join(); });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        for (const Joined& client : clients) {
            EXPECT_EQ(hubOf(client), hubOf(clients[0]));
            EXPECT_EQ(client->call(kLook).outcome.status, 7);
        }
        EXPECT_EQ(clients[0]->clients().size(), clients.size());
    }
}

TEST_F(HubTest, AHubThatWasKilledIsReplaced) {
    const Joined before = join();
    const pid_t hub = hubOf(before);
    before->begin("call", {{"operation", "slow"}});
    kill(hub, SIGKILL);
    EXPECT_EQ(codeOf(before, "ping"), ErrorCode::ended);
    const Joined after = join();
    EXPECT_NE(hubOf(after), hub);
    EXPECT_EQ(after->call(kLook).outcome.status, 7);
    EXPECT_EQ(count("end"), 1);  // of the first agent, before the second began
}

TEST_F(HubTest, AHubThatIsToldToEndAnswersAndCleansUp) {
    const Joined client = join();
    const long long slow = client->begin("call", {{"operation", "slow"}});
    ASSERT_TRUE(eventually([&] { return count("slow") == 1; }));
    kill(hubOf(client), SIGTERM);
    EXPECT_THROW(client->finish(slow), RequestError);
    EXPECT_TRUE(isOver());
}

TEST_F(HubTest, WithoutAnAgentTheReasonIsGiven) {
    const auto why = [&] {
        try {
            EXPECT_TRUE(isOver());
            join();
            return std::string("joined");
        } catch (const RequestError& error) {
            return std::string(error.what());
        }
    };
    _options.agent = "/no/agent";
    EXPECT_THAT(why(), HasSubstr("/no/agent"));
    _options.agent = "/bin/ls";  // writes to its standard error and ends
    EXPECT_THAT(why(), HasSubstr("--set"));
    _options.hub = "/no/hub";
    EXPECT_THAT(why(), HasSubstr("/no/hub"));
    _options.mayStart = false;
    EXPECT_THAT(why(), HasSubstr("no program uses the set"));
}

TEST_F(HubTest, AFolderThatOthersCanEnterIsRefused) {
    fs::create_directory(_folder / "run/fapi");
    fs::permissions(_folder / "run/fapi", fs::perms::group_exec, fs::perm_options::add);
    EXPECT_THROW(join(), RequestError);
}

TEST_F(HubTest, OnlyTheClaimsHolderChangesTheSet) {
    const Joined holder = join("the holder"), other = join("the other");
    Field seen;
    holder->listen("claim", [&](const Field& params) { seen = params; });
    const auto changes = [&](const Joined& client) { return codeOf(client, "call", kChange); };
    EXPECT_EQ(changes(other), ErrorCode{});
    holder->claim("a run");
    const struct {
        std::string method;
        Field params;
        ErrorCode expected;
    } rows[] = {{"call", kLook, {}},
                {"call", kChange, ErrorCode::claimed},
                {"call", {{"operation", Field("unknown")}}, ErrorCode::claimed},
                {"act", {{"action", Field("key")}}, ErrorCode::claimed},
                {"power", {{"to", Field("cycle")}}, ErrorCode::claimed},
                {"claim", Field::Fields(), ErrorCode::claimed},
                {"share", {{"on", true}}, ErrorCode::claimed},
                {"take", {{"reason", Field("")}}, ErrorCode::wrongParameters},
                {"log", {{"on", true}}, {}},
                {"release", Field::Fields(), {}},  // there is nothing of it to let go
                {"call", kChange, ErrorCode::claimed}};
    for (const auto& row : rows) {
        EXPECT_EQ(codeOf(other, row.method, row.params), row.expected) << row.method;
    }
    // A look brings nothing up while another client drives.
    EXPECT_TRUE(other->call(kLook).prepared.empty());
    EXPECT_EQ(holder->call(kLook).prepared.size(), 1u);

    holder->share(true);
    EXPECT_EQ(changes(other), ErrorCode{});
    // What is one for all clients is the holder's all the same. The agent knows none of these.
    const std::pair<const char*, Field> forAll[] = {{"log-switch", {{"state", Field("set")}}},
                                                    {"end-worker", Field::Fields()},
                                                    {"set.restore", {{"file", Field("/f")}}},
                                                    {"power", {{"to", Field("cycle")}}}};
    for (const auto& [method, params] : forAll) {
        EXPECT_EQ(codeOf(other, method, params), ErrorCode::claimed) << method;
        EXPECT_EQ(codeOf(holder, method, params), ErrorCode::unknownMethod) << method;
    }
    EXPECT_EQ(codeOf(other, "power", {{"to", Field("on")}}), ErrorCode::unknownMethod);
    holder->share(false);
    EXPECT_EQ(changes(other), ErrorCode::claimed);
    EXPECT_EQ(changes(holder), ErrorCode{});
    other->take("the shift ends");
    EXPECT_EQ(changes(holder), ErrorCode::claimed);
    EXPECT_TRUE(seen["taken"].flag());
    EXPECT_EQ(seen["name"].text(), "the other");
    EXPECT_EQ(seen["reason"].text(), "the shift ends");
    {
        const Joined third = join("the third");
        third->take("for a moment");
        EXPECT_EQ(changes(holder), ErrorCode::claimed);
        EXPECT_EQ(third->clients().back().reason, "for a moment");
    }
    // A claim ends with its connection.
    EXPECT_TRUE(eventually([&] { return changes(holder) == ErrorCode{}; }));
}

TEST_F(HubTest, AClientThatDoesNotReadCostsOnlyItself) {
    constexpr long long kLines = 100, kBytes = 256 << 10;
    std::vector<Joined> watchers(16);
    std::vector<long long> received(watchers.size()), dropped(watchers.size());
    for (std::size_t i = 0; i < watchers.size(); ++i) {
        watchers[i] = join();
        watchers[i]->listen("log", [&, i](const Field& params) {
            ++received[i];
            dropped[i] += params["dropped"].numberOr(0);
        });
        watchers[i]->request("log", {{"on", true}});
    }
    EXPECT_EQ(count("log on"), 1);
    const Joined driver = join();
    driver->request("flood", {{"lines", kLines}, {"bytes", kBytes}});
    // A picture of 64 MiB that its client does not read.
    const Joined sleeper = join();
    sleeper->begin("picture", {{"pieces", 256}});
    EXPECT_EQ(driver->call(kLook).outcome.status, 7);
    EXPECT_LT(test::peakMebibytesOf(hubOf(driver)), 80);
    for (std::size_t i = 0; i < watchers.size(); ++i) {
        watchers[i]->request("ping");
    }
    driver->request("flood", {{"lines", 1}, {"bytes", 1}});
    for (std::size_t i = 0; i < watchers.size(); ++i) {
        watchers[i]->request("ping");
        EXPECT_GT(dropped[i], 0);
        EXPECT_EQ(received[i] + dropped[i], kLines + 1);
    }
    EXPECT_EQ(codeOf(sleeper, "ping"), ErrorCode::ended);
    watchers.clear();
    EXPECT_TRUE(eventually([&] { return count("log off") == 1; }));
}

TEST_F(HubTest, MisbehaviorEndsWithItsClient) {
    const Joined good = join();
    const auto message = [](const std::string& rest) { return R"({"jsonrpc":"2.0",)" + rest + "}\n"; };
    const std::string hello = message(R"("id":1,"method":"hello","params":{"protocol":[1,1]})");
    const std::string ping = message(R"("id":2,"method":"ping")");
    std::string pings = hello;
    for (int i = 0; i < 20000; ++i) {
        pings += ping;
    }
    const struct {
        std::string sent;
        std::string answer;  // a part of the first line
    } rows[] = {{R"({"jsonrpc":"2.0",)", ""},
                {std::string(17 << 20, 'x'), "16 MiB"},
                {"no json\n", "-32700"},
                {"[1]\n", "-32700"},
                {std::string(100000, '[') + "\n", "-32700"},
                {message(R"("id":1,"result":{})"), "-32600"},
                {ping, "-32600"},
                {message(R"("id":1,"method":"hello","params":{"protocol":[8,9]})"), R"("code":8)"},
                {pings, "session"},
                {hello + message(R"("id":2,"method":"call","params":{"operation":"slow"})"), "session"}};
    std::vector<Descriptor> connections;
    for (const auto& row : rows) {
        connections.push_back(connect());
        const int bad = connections.back().get();
        // As much as the hub takes.
        std::size_t sent = 0;
        for (pollfd entry = {bad, POLLOUT, 0}; sent < row.sent.size() && poll(&entry, 1, 300) == 1;) {
            const ssize_t length =
                send(bad, row.sent.data() + sent, row.sent.size() - sent, MSG_DONTWAIT | MSG_NOSIGNAL);
            ASSERT_GT(length, 0);
            sent += static_cast<std::size_t>(length);
        }
        std::string answer(4096, '\0');
        answer.resize(row.answer.empty() ? 0 : static_cast<std::size_t>(recv(bad, answer.data(), answer.size(), 0)));
        EXPECT_THAT(answer, HasSubstr(row.answer)) << row.sent.substr(0, 80);
        EXPECT_EQ(good->call(kLook).outcome.status, 7);
    }
    EXPECT_LT(test::peakMebibytesOf(hubOf(good)), 80);
    // One of them leaves in the middle of a call.
    connections.clear();
    EXPECT_TRUE(eventually([&] { return count("cancel") == 1; }));
    EXPECT_EQ(good->call(kLook).outcome.status, 7);
}

// Whether an answer is one says who asks.
TEST_F(HubTest, TheFirstAnswerThatTheAskerTakesCounts) {
    const Joined page = join("page"), phone = join("phone");
    Joined run = join("run");
    std::vector<Field> seen, given;
    page->listen("prompt", [&](const Field& params) { seen.push_back(params); });
    run->listen("answer", [&](const Field& params) { given.push_back(params); });
    page->request("prompts", {{"on", true}});
    const Field asked = run->request("prompt", {{"kind", "scan"}, {"text", "Serial?"}, {"client", 99}});
    const Field prompt = asked["prompt"];
    EXPECT_EQ(phone->request("prompts", {{"on", true}})["open"].list().size(), 1u);
    const auto answer = [&](const Joined& from, const char* text) {
        return from->begin("answer", {{"prompt", prompt}, {"answer", text}, {"who", text}, {"where", "here"}});
    };
    const long long wrong = answer(page, "?");
    ASSERT_TRUE(eventually([&] { return run->request("ping"), given.size() == 1; }));
    EXPECT_EQ(codeOf(phone, "prompt.close", {{"prompt", prompt}}), ErrorCode::wrongParameters);
    run->request("prompt.refuse", {{"prompt", prompt}, {"number", given[0]["number"]}, {"why", "no serial"}});
    EXPECT_EQ(page->finish(wrong)["why"].text(), "no serial");
    const long long first = answer(page, "A-1"), second = answer(phone, "B-2");
    ASSERT_TRUE(eventually([&] { return run->request("ping"), given.size() == 3; }));
    run->request("prompt.close",
                 {{"prompt", prompt}, {"number", given[1]["number"]}, {"answer", "A-1"}, {"who", "Ann"}});
    EXPECT_TRUE(page->finish(first)["taken"].flag());
    EXPECT_THAT(phone->finish(second)["why"].text(), HasSubstr("Ann has answered already: A-1"));
    EXPECT_THAT(phone->finish(answer(phone, "late"))["why"].text(), HasSubstr("Ann"));
    ASSERT_EQ(seen.size(), 2u);
    EXPECT_EQ(seen[0]["name"].text(), "run");
    EXPECT_EQ(seen[1]["who"].text(), "Ann");
    // What a client asks ends with it.
    run->request("prompt", {{"kind", "ask"}, {"text", "Well?"}});
    run.reset();
    EXPECT_TRUE(eventually([&] { return page->request("ping"), seen.size() == 4; }));
    EXPECT_EQ(seen[3]["who"].textOr(""), "");
}

TEST_F(HubTest, ALostWireIsReportedAndStartedAgain) {
    const Joined client = join(), other = join();
    std::string wires;
    other->listen("wire", [&](const Field& params) { wires += params["state"].text() + " "; });
    other->request("log", {{"on", true}});
    long long lines = 0;
    other->listen("log", [&](const Field&) { ++lines; });
    const long long slow = other->begin("call", {{"operation", "slow"}});
    EXPECT_EQ(codeOf(client, "die"), ErrorCode::ended);
    try {
        other->finish(slow);
        ADD_FAILURE() << "a lost call was answered";
    } catch (const RequestError& error) {
        EXPECT_EQ(error.code(), ErrorCode::ended);
        EXPECT_THAT(error.what(), HasSubstr("exit code 3"));
        EXPECT_THAT(error.what(), HasSubstr("the chip is on fire"));
    }
    EXPECT_EQ(other->call(kLook).outcome.status, 7);
    EXPECT_EQ(wires, "ended started ");
    // What was watched is watched again.
    client->request("flood", {{"lines", 3}, {"bytes", 1}});
    other->request("ping");
    EXPECT_EQ(lines, 3);
    EXPECT_EQ(count("log on"), 2);
    _killed = 1;
}

TEST_F(HubTest, RequestsAreCanceledByTheIdOfTheirClient) {
    const Joined client = join();
    client->request("ping");
    const long long slow = client->begin("call", {{"operation", "slow"}});
    EXPECT_TRUE(client->request("cancel", {{"id", slow}})["unqueued"].flag());
    EXPECT_THROW(client->finish(slow), RequestError);
    EXPECT_FALSE(client->request("cancel", {{"id", slow}})["unqueued"].flag());
}

TEST_F(HubTest, StreamsReachTheirReaderWhole) {
    const Joined client = join(), other = join();
    std::size_t bytes = 0;
    const Sink count = [&](const Bytes& piece) { bytes += piece.size(); };
    client->read("picture", {{"pieces", 100}}, count);
    EXPECT_EQ(bytes, 100u * (256 << 10));
    EXPECT_THROW(client->read("picture", {{"pieces", 3}, {"isSpoilt", true}}, count), RequestError);
    // The rest of one that its reader gives up is no part of the next.
    EXPECT_THROW(client->read("picture", {{"pieces", 3}}, [](const Bytes&) { throw std::bad_alloc(); }),
                 std::bad_alloc);
    bytes = 0;
    client->read("picture", {{"pieces", 2}}, count);
    EXPECT_EQ(bytes, 2u * (256 << 10));
    Joined gone = join();
    EXPECT_THROW(gone->read("picture", {{"pieces", 400}}, [](const Bytes&) { throw std::bad_alloc(); }),
                 std::bad_alloc);
    gone.reset();
    EXPECT_TRUE(eventually([&] { return this->count("cancel") == 1; }));
    EXPECT_EQ(other->call(kLook).outcome.status, 7);
}

TEST_F(HubTest, ADescriptionCrossesTheWireOnce) {
    const auto describe = [&] { return describeAgent(_options).operation("sys_look") != nullptr; };
    EXPECT_TRUE(describe());  // by an agent that is started for it
    EXPECT_TRUE(describe());
    EXPECT_EQ(count("describe"), 1);
    EXPECT_EQ(count("start"), 1);
    EXPECT_NE(join()->description().operation("sys_look"), nullptr);
    EXPECT_EQ(count("describe"), 1);
    const auto spoil = [&] {
        EXPECT_TRUE(isOver());
        for (const auto& file : fs::directory_iterator(_folder / "cache/fapi/descriptions")) {
            std::stringstream text;
            text << std::ifstream(file.path()).rdbuf();
            // Valid JSON all the same.
            std::ofstream(file.path()) << std::regex_replace(text.str(), std::regex("sys_look"), "sys_lock");
        }
    };
    spoil();
    EXPECT_NE(join()->description().operation("sys_look"), nullptr);
    EXPECT_EQ(count("describe"), 2);
    spoil();
    EXPECT_TRUE(describe());
    EXPECT_EQ(count("describe"), 3);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1 && std::string(argv[1]) == "hub") {
        return runHub({argv + 2, argv + argc});
    }
    if (argc > 2 && std::string(argv[1]) == "--set") {
        return test::runFakeAgent(argv[2]);
    }
    ::testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
