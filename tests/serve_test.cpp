// SPDX-License-Identifier: Apache-2.0
// The page's server: what attackers, slow clients and lost processes meet. How the page looks and acts is the browser's
// test.
#include <csignal>
#include <thread>

#include <arpa/inet.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "hub/agent_wire.h"
#include "hub/descriptor.h"
#include "record/database.h"
#include "support/hub_client.h"
#include "support/tool_fixture.h"
#include "support/waiting.h"

namespace {

using namespace test;
using namespace std::chrono_literals;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;
using tool::Descriptor;

class ServeTest : public ToolTest {
protected:
    void SetUp() override {
        ToolTest::SetUp();
        setenv("FAPI_PLANS", folder().c_str(), 1);
        writeFile("quick.plan",
                  "plan quick\nparam serial \"the unit\"\nunit serial ${serial}\nstep one\n    wait 10ms\n");
        writeFile("slow.plan", "plan slow\nstep one\n    wait 1s\nstep two\n    wait 1s\n");
        start();
    }
    void TearDown() override {
        end(SIGTERM);
        unsetenv("FAPI_PLANS");
        ToolTest::TearDown();
    }

    void start(const std::string& port = "0", std::vector<std::string> words = {}) {
        int ends[2] = {};
        ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
        const Descriptor output(ends[0]);
        Descriptor input(ends[1]);
        words.insert(words.begin(), {FAPI_BINARY, "--set", _served.empty() ? set() : _served});
        words.insert(words.end(),
                     {"serve", "--listen", "127.0.0.1:" + port, "--guest-token", "--report", folder() + "/reports"});
        const std::vector<char*> arguments = tool::argumentVector(words);
        _server = fork();
        if (_server == 0) {
            dup2(input.get(), STDOUT_FILENO);
            execv(arguments[0], arguments.data());
            _exit(127);
        }
        input.close();
        std::string lines;
        char piece[512];
        while (std::count(lines.begin(), lines.end(), '\n') < 2) {
            const ssize_t length = read(output.get(), piece, sizeof(piece));
            ASSERT_GT(length, 0) << lines;
            lines.append(piece, static_cast<std::size_t>(length));
        }
        const std::vector<std::string> addresses = linesOf(lines);
        _port = addresses[0].substr(0, addresses[0].find("/#")).substr(sizeof("http://127.0.0.1:") - 1);
        _token = addresses[0].substr(addresses[0].find('#') + 1);
        _guestToken = addresses[1].substr(addresses[1].find('#') + 1);
    }
    void end(int signal) {
        if (_server > 0) {
            kill(_server, signal);
            waitpid(std::exchange(_server, -1), nullptr, 0);
        }
    }

    Descriptor connect(int buffer = 0) const {
        Descriptor connection(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        if (buffer != 0) {
            setsockopt(connection.get(), SOL_SOCKET, SO_RCVBUF, &buffer, sizeof(buffer));
        }
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(std::stoi(_port)));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(::connect(connection.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
        return connection;
    }
    // Reads until the text has come, or the connection has ended.
    static std::string readUntil(const Descriptor& connection, const std::string& text, int milliseconds = 10000) {
        std::string all;
        pollfd entry = {connection.get(), POLLIN, 0};
        const auto end = std::chrono::steady_clock::now() + patient(std::chrono::milliseconds(milliseconds));
        while (all.find(text) == std::string::npos && std::chrono::steady_clock::now() < end) {
            char piece[16384];
            const ssize_t length = poll(&entry, 1, 100) == 1 ? recv(entry.fd, piece, sizeof(piece), 0) : -1;
            if (length == 0 || (length < 0 && entry.revents != 0 && errno == ECONNRESET)) {
                break;
            }
            all.append(piece, length > 0 ? static_cast<std::size_t>(length) : 0);
        }
        return all;
    }
    // The verdict of the run that ends next. A run that has not ended is told as one that has passed so far.
    static std::string verdictAtEnd(const Descriptor& connection, int milliseconds = 10000) {
        constexpr std::string_view kEnded = R"("state":"ended")", kVerdict = R"("verdict":")", kBehind = R"(","why":)";
        std::string all = readUntil(connection, std::string(kEnded), milliseconds);
        all.erase(0, all.find(kEnded));
        while (all.find(kBehind) == std::string::npos && !all.empty()) {
            const std::string more = readUntil(connection, std::string(kBehind), 1000);
            all = more.empty() ? "" : all + more;
        }
        const std::size_t begin = all.find(kVerdict);
        return begin == std::string::npos
                   ? ""
                   : all.substr(begin + kVerdict.size(), all.find(kBehind) - begin - kVerdict.size());
    }
    std::string exchange(const std::string& head, const std::string& body = "") const {
        const Descriptor connection = connect();
        const std::string text = head + "\r\nConnection: close\r\n\r\n" + body;
        send(connection.get(), text.data(), text.size(), MSG_NOSIGNAL);
        return readUntil(connection, "no text ends this");
    }
    std::string host() const { return "Host: 127.0.0.1:" + _port; }
    std::string own() const { return host() + "\r\nOrigin: http://127.0.0.1:" + _port; }
    std::string get(const std::string& path, const std::string& headers) const {
        return exchange("GET " + path + " HTTP/1.1\r\n" + headers);
    }
    std::string post(const std::string& path, const std::string& headers, const std::string& body) const {
        return exchange("POST " + path + " HTTP/1.1\r\n" + headers +
                            "\r\nContent-Type: application/json\r\nContent-Length: " + std::to_string(body.size()),
                        body);
    }
    // The header of a browser that has signed in.
    std::string cookieOf(const std::string& token) const {
        const std::string answer = post("/login", own(), R"({"token":")" + token + "\"}");
        const std::size_t begin = answer.find("Set-Cookie: ");
        EXPECT_THAT(answer, AllOf(HasSubstr("HttpOnly"), HasSubstr("SameSite=Strict")));
        return "Cookie: " + answer.substr(begin + 12, answer.find(';', begin) - begin - 12);
    }
    std::string act(const std::string& path, const std::string& cookie, const std::string& body) const {
        return post(path, own() + "\r\n" + cookie, body);
    }
    // `buffer`, where it is not 0, is how much is taken in before it is read.
    Descriptor listen(const std::string& cookie, const std::string& query = "", int buffer = 0) const {
        Descriptor connection = connect(buffer);
        const std::string text = "GET /api/changes" + query + " HTTP/1.1\r\n" + host() + "\r\n" + cookie + "\r\n\r\n";
        send(connection.get(), text.data(), text.size(), MSG_NOSIGNAL);
        return connection;
    }
    // The number of the question that a page has been told of.
    static std::string promptIn(const std::string& told) {
        const std::size_t begin = told.rfind("\"prompt\":") + 9;
        return told.substr(begin, told.find_first_not_of("0123456789", begin) - begin);
    }

    pid_t _server = -1;
    std::string _port, _token, _guestToken;
    std::string _served;  // a set's folder; empty: the one of the fixture
};

TEST_F(ServeTest, AttacksAreRefused) {
    const std::string person = cookieOf(_token), guest = cookieOf(_guestToken);
    // Until the set is reached it has no actions.
    readUntil(listen(person), R"("up":true)");
    const std::string good = own() + "\r\n" + person, start = R"({"set":"virtual","plan":"quick"})";
    const struct {
        const char* what;
        std::string answer, expected;
    } rows[] = {
        {"the page", get("/", host()), "HTTP/1.1 200"},
        {"another name for this address", get("/", "Host: rebound.example:" + _port), "HTTP/1.1 421"},
        {"no host", get("/", "X: y"), "HTTP/1.1 4"},
        {"no cookie", get("/api/runs", host()), "HTTP/1.1 401"},
        {"a guessed cookie", get("/api/runs", host() + "\r\n" + person.substr(0, person.size() - 1) + "x"),
         "HTTP/1.1 401"},
        {"the cookie", get("/api/runs", host() + "\r\n" + person), "HTTP/1.1 200"},
        {"a guessed token", post("/login", own(), R"({"token":")" + std::string(40, '0') + "\"}"), "HTTP/1.1 401"},
        {"the token in the address", get("/api/runs?token=" + _token, host()), "HTTP/1.1 401"},
        {"another page's post", post("/api/start", host() + "\r\nOrigin: https://evil.example\r\n" + person, start),
         "HTTP/1.1 403"},
        {"a post from nowhere", post("/api/start", host() + "\r\n" + person, start), "HTTP/1.1 403"},
        {"another page's read", get("/api/runs", host() + "\r\nOrigin: null\r\n" + person), "HTTP/1.1 403"},
        {"a guest's look", get("/api/runs", host() + "\r\n" + guest), "HTTP/1.1 200"},
        {"a guest's change", act("/api/start", guest, start), "HTTP/1.1 403"},
        {"a change by a look", get("/api/start?set=virtual&plan=quick", good), "HTTP/1.1 404"},
        {"an action by a look", get("/api/look?set=virtual&words=key+1", good), "HTTP/1.1 403"},
        {"no JSON", act("/api/start", person, "set=virtual"), "HTTP/1.1 400"},
        {"a form",
         exchange("POST /api/start HTTP/1.1\r\n" + good + "\r\nContent-Type: text/plain\r\nContent-Length: 0"),
         "HTTP/1.1 415"},
        {"another method", exchange("DELETE /api/runs HTTP/1.1\r\n" + good), "HTTP/1.1 405"},
        {"a path", get("/../../../../etc/passwd", good), "HTTP/1.1 404"},
        {"an escaped path", get("/%2e%2e/%2e%2e/etc/passwd", good), "HTTP/1.1 404"},
        {"a run that is a path", get("/api/report?run=../../../etc/passwd", good), "HTTP/1.1 400"},
        {"a plan that is a path", get("/api/plan?set=virtual&plan=/etc/passwd", good), "HTTP/1.1 400"},
        {"a plan that is an option", act("/api/start", person, R"({"set":"virtual","plan":"--help"})"), "HTTP/1.1 400"},
        {"an unknown set", act("/api/stop", person, R"({"set":"<b>"})"), "HTTP/1.1 400"},
        {"a body of 1 GB",
         exchange("POST /login HTTP/1.1\r\n" + own() +
                  "\r\nContent-Type: application/json\r\nContent-Length: 1073741824"),
         "HTTP/1.1 413"},
        {"a body without an end",
         exchange(
             "POST /login HTTP/1.1\r\n" + own() + "\r\nContent-Type: application/json\r\nTransfer-Encoding: chunked",
             "1\r\n{\r\n"),
         "HTTP/1.1 413"},
        {"a long header", get("/", host() + "\r\nX: " + std::string(100000, 'x')), "HTTP/1.1 4"},
    };
    for (const auto& row : rows) {
        EXPECT_THAT(row.answer, StartsWith(row.expected)) << row.what;
    }
    EXPECT_THAT(rows[0].answer, AllOf(HasSubstr("Content-Security-Policy: default-src 'none'; script-src 'self'"),
                                      Not(HasSubstr("unsafe"))));
}

// Also when none of them ever sends the end of a header.
TEST_F(ServeTest, AThousandSilentConnectionsKeepNobodyOut) {
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
    std::vector<Descriptor> silent;
    for (int i = 0; i < 1000; ++i) {
        silent.push_back(connect());
        send(silent.back().get(), "GET / HTTP/1.1\r\nX-Slow: ", 24, MSG_NOSIGNAL);
    }
    EXPECT_THAT(get("/", host()), StartsWith("HTTP/1.1 200"));
    // The first ones have made room.
    EXPECT_EQ(readUntil(silent[0], "no text"), "");
    pollfd first = {silent[0].get(), POLLIN, 0};
    EXPECT_EQ(poll(&first, 1, 0), 1);
}

TEST_F(ServeTest, ARunOutlivesTheServerAndIsFoundAgain) {
    const std::string person = cookieOf(_token), port = _port;
    EXPECT_THAT(act("/api/start", person, R"({"set":"virtual","plan":"slow"})"), StartsWith("HTTP/1.1 200"));
    EXPECT_THAT(readUntil(listen(person), R"("plan":"slow")"), HasSubstr(R"("state":"running")"));
    end(SIGKILL);
    start(port);
    // The browser's cookie is still good.
    EXPECT_EQ(verdictAtEnd(listen(person)), "passed");
}

TEST_F(ServeTest, ARunThatDiesIsToldAtOnce) {
    const std::string person = cookieOf(_token);
    const std::string answer = act("/api/start", person, R"({"set":"virtual","plan":"slow"})");
    const pid_t runner = std::stoi(answer.substr(answer.find("\"pid\":") + 6));
    const Descriptor stream = listen(person);
    readUntil(stream, R"("state":"running")");
    kill(runner, SIGKILL);
    EXPECT_THAT(readUntil(stream, R"("state":"died")", 2000), HasSubstr(R"("state":"died")"));
    EXPECT_THAT(act("/api/stop", person, R"({"set":"virtual"})"), StartsWith("HTTP/1.1 409"));
}

// A question waits only where a person can see it, outlives the browser, and has one answer.
TEST_F(ServeTest, TheFirstAnswerOfAnOpenPageCounts) {
    writeFile("asks.plan", "plan asks\nstep one\n    choose \"Which <b>?\" left right with picture panel within 60s\n");
    const std::string person = cookieOf(_token), start = R"({"set":"virtual","plan":"asks"})";
    const Descriptor guest = listen(cookieOf(_guestToken));
    readUntil(guest, R"("up":true)");
    act("/api/start", person, start);
    EXPECT_THAT(readUntil(guest, "no terminal"), HasSubstr("is asked of the operator")) << "a guest's page is nobody";
    const std::unique_ptr<tool::Target> hub = joinHub(set());
    const auto isAttended = [&] {
        const std::vector<tool::Target::Client> clients = hub->clients();
        return std::any_of(clients.begin(), clients.end(), [](const tool::Target::Client& client) {
            return std::count(client.watches.begin(), client.watches.end(), "prompts") != 0;
        });
    };
    std::string asked;
    {
        const Descriptor page = listen(person);
        ASSERT_TRUE(eventually(isAttended));
        act("/api/start", person, start);
        asked = readUntil(page, R"("prompt":)");
        EXPECT_THAT(asked, HasSubstr("Which <b>?"));
    }
    EXPECT_TRUE(eventually([&] { return !isAttended(); }, 2s)) << "the browser is closed";
    const std::string question = R"({"set":"virtual","prompt":)" + promptIn(asked);
    const std::string picture = "/api/picture?set=virtual&prompt=" + promptIn(asked);
    EXPECT_THAT(get(picture, host() + "\r\n" + person), AllOf(HasSubstr("image/png"), HasSubstr("IHDR")));
    std::string answers[2];
    std::thread first([&] { answers[0] = act("/api/answer", person, question + R"(,"answer":"left","who":"Ada"})"); });
    answers[1] = act("/api/answer", person, question + R"(,"answer":"right","who":"Eve"})");
    first.join();
    const bool isAdas = answers[0].find(R"("taken":true)") != std::string::npos;
    EXPECT_THAT(answers[isAdas ? 0 : 1], HasSubstr(R"("taken":true)"));
    EXPECT_THAT(answers[isAdas ? 1 : 0],
                AllOf(HasSubstr(R"("taken":false)"), HasSubstr(isAdas ? "Ada has answered already" : "Eve has")));
    EXPECT_EQ(verdictAtEnd(guest), "passed");
    EXPECT_THAT(get(picture, host() + "\r\n" + person), StartsWith("HTTP/1.1 404"));
}

// What the station does instead of the set's agent.
TEST_F(ServeTest, ThePageHasTheStationsActions) {
    writeFile("press.sh", "echo pressed=$1; test $1 != 9");
    end(SIGTERM);
    start("0", {"--station", writeFile("station.ini", "[actions]\npress = run sh " + folder() +
                                                          "/press.sh {1}\nturn = operator \"Turn it\"\n")});
    const std::string person = cookieOf(_token);
    const Descriptor page = listen(person);
    readUntil(page, R"("up":true)");
    EXPECT_THAT(get("/api/description?set=virtual", own() + "\r\n" + person),
                AllOf(HasSubstr(R"("press":"program sh")"), HasSubstr(R"("turn":"the operator")")));
    const auto carryOut = [&](const std::string& cookie, const std::string& words) {
        return act("/api/act", cookie, R"({"set":"virtual","words":[)" + words + "]}");
    };
    EXPECT_THAT(carryOut(person, R"("press","-1")"), HasSubstr("begins with a dash"));
    EXPECT_THAT(carryOut(person, R"("press","9")"), HasSubstr(R"("good":false)"));
    EXPECT_THAT(carryOut(person, R"("press","3")"), HasSubstr(R"("outputs":[{"name":"pressed","value":3}])"));
    EXPECT_THAT(carryOut(cookieOf(_guestToken), R"("press","3")"), StartsWith("HTTP/1.1 403"));
    std::string turned;
    std::thread browser([&] { turned = carryOut(person, R"("turn")"); });
    const std::string asked = readUntil(page, "Turn it");
    act("/api/answer", person, R"({"set":"virtual","answer":"done","prompt":)" + promptIn(asked) + "}");
    browser.join();
    EXPECT_THAT(turned, HasSubstr(R"("good":true)"));
    // The hub cannot keep the station's hands off a set that a run has.
    act("/api/start", person, R"({"set":"virtual","plan":"slow"})");
    readUntil(page, R"("attempt":1)");
    EXPECT_THAT(carryOut(person, R"("press","3")"),
                AllOf(StartsWith("HTTP/1.1 409"), HasSubstr("has claimed the set")));
    act("/api/stop", person, R"({"set":"virtual"})");
    EXPECT_EQ(verdictAtEnd(page), "interrupted");
}

// Of many observers one reads nothing, while more happens than a page can show.
TEST_F(ServeTest, AFloodIsThinnedOutForPagesAlone) {
    constexpr int kEvents = 1000, kBytes = 4000;
    std::string plan = "plan flood\nstep one\n    sys_init\n    prphrl_init\n";
    for (int i = 0; i < kEvents; ++i) {
        plan += "    prphrl_nty_event 7 " + std::to_string(i) + " \"\" repeat:" + std::to_string(kBytes) + ":x\n";
    }
    // The run has lost none.
    for (const int value : {0, kEvents / 2, kEvents - 1}) {
        plan += "    expect event 7 of prphrl with value is " + std::to_string(value) + " within 10s\n";
    }
    writeFile("flood.plan", plan);
    const std::string person = cookieOf(_token);
    readUntil(listen(person), R"("up":true)");
    const Descriptor stuck = listen(person, "?set=virtual", 4096);
    std::vector<Descriptor> observers(20);
    for (Descriptor& observer : observers) {
        observer = listen(person);
    }
    act("/api/start", person, R"({"set":"virtual","plan":"flood"})");
    for (const Descriptor& observer : observers) {
        EXPECT_EQ(verdictAtEnd(observer, 60000), "passed");
    }
    const std::string late = readUntil(stuck, R"("state":"ended")");
    EXPECT_THAT(late, HasSubstr(R"("left_out":true)"));
    EXPECT_LT(late.size(), std::size_t{2} * kEvents * kBytes) << "two digits a byte";
#ifndef FAPI_SANITIZED
    std::ifstream status("/proc/" + std::to_string(_server) + "/status");
    const std::string memory(std::istreambuf_iterator<char>(status), {});
    EXPECT_LT(std::stol(memory.substr(memory.find("VmHWM:") + 6)), 200 * 1024) << "kilobytes";
#endif
}

// Ten thousand events in a second: the run has them all, a page the newest, and no more messages than it can show.
TEST_F(ServeTest, TenThousandEventsASecondAreForTheRun) {
    std::string plan = "plan flood\nstep one\n    prphrl_flood\n";
    for (const int value : {0, 5000, 9999}) {
        plan += "    expect event 7 of prphrl with value is " + std::to_string(value) + " within 10s\n";
    }
    writeFile("flood.plan", plan);
    end(SIGTERM);
    setenv("FAPI_AGENT", FAPI_FLOODING_AGENT, 1);
    _served = folder() + "/flooding";
    start();
    const std::string person = cookieOf(_token);
    const Descriptor page = listen(person, "?set=virtual");
    readUntil(page, R"("up":true)");
    const auto begin = std::chrono::steady_clock::now();
    act("/api/start", person, R"({"set":"virtual","plan":"flood"})");
    std::string told = readUntil(page, R"("state":"ended")", 20000);
    const auto turns = (std::chrono::steady_clock::now() - begin) / 150ms;
    told += readUntil(page, "value 9999", 1000);
    EXPECT_THAT(told, HasSubstr("value 9999"));
    EXPECT_THAT(get("/api/runs", host() + "\r\n" + person), HasSubstr(R"("verdict":"passed")"));
    long messages = 0;
    for (std::size_t at = 0; (at = told.find("\ndata: ", at)) != std::string::npos; ++at) {
        ++messages;
    }
    EXPECT_LE(messages, turns + 2);
    unsetenv("FAPI_AGENT");
}

TEST_F(ServeTest, WhatIsAwayIsToldAndComesBack) {
    const std::string person = cookieOf(_token);
    const Descriptor page = listen(person);
    readUntil(page, R"("up":true)");
    // The agent, in a run.
    const std::string hub = std::to_string(joinHub(set())->hello()["hub"].number());
    const std::string answer = act("/api/start", person, R"({"set":"virtual","plan":"slow"})");
    const pid_t runner = std::stoi(answer.substr(answer.find("\"pid\":") + 6));
    // A run that loses its set before its first step has no result.
    readUntil(page, R"("attempt":1)");
    std::ifstream children("/proc/" + hub + "/task/" + hub + "/children");
    pid_t agent = 0;
    ASSERT_TRUE(children >> agent);
    kill(agent, SIGKILL);
    // A run that has not found its set again by its end cannot tell its verdict there: the store has it.
    EXPECT_EQ(verdictAtEnd(page), "error");
    EXPECT_THAT(readUntil(listen(person), R"("up":true)"), HasSubstr(R"("up":true)"));
    // The store, which the run still has open at its end.
    ASSERT_TRUE(eventually([&] { return kill(runner, 0) != 0; }));
    const std::string store = folder() + "/reports/results.sqlite";
    std::filesystem::rename(store, store + "-kept");
    EXPECT_THAT(readUntil(page, R"("store":{)"), HasSubstr("results.sqlite: is gone"));
    writeFile("reports/results.sqlite", "no store");
    EXPECT_THAT(readUntil(page, R"("store":{)"), HasSubstr("is damaged, or holds no results"));
    act("/api/start", person, R"({"set":"virtual","plan":"slow"})");
    EXPECT_THAT(readUntil(page, R"("start/virtual":{"code":3)"), HasSubstr("is damaged")) << "the run has not begun";
    std::filesystem::rename(store + "-kept", store);
    EXPECT_THAT(readUntil(page, R"("store":null)"), HasSubstr(R"("store":null)"));
    // A store that somebody writes for long: what is there can be looked at, and a run begins when it can.
    {
        tool::Database locked(store, tool::Access::write);
        locked.execute("begin immediate");
        act("/api/start", person, R"({"set":"virtual","plan":"slow"})");
        EXPECT_THAT(readUntil(page, R"("start/virtual":{"code":0)"), HasSubstr("start/virtual"));
        EXPECT_THAT(get("/api/runs", host() + "\r\n" + person), HasSubstr(R"("verdict":"error")"));
        locked.execute("rollback");
    }
    // The page has the run before it until this one begins.
    readUntil(page, R"("state":"running")");
    EXPECT_EQ(verdictAtEnd(page), "passed");
}

// An address beyond this PC, without TLS in between.
TEST_F(ServeTest, WrongWordsAreRefused) {
    const Impossible rows[] = {
        {{"serve", "--listen", "0.0.0.0:0"}, 2, "beyond this PC"},
        {{"serve", "--listen", "localhost"}, 2, "expected ADDRESS:PORT"},
        {{"serve", "--listen", "127.0.0.1:65536"}, 2, "and a port"},
        {{"serve", "--listen", "127.0.0.1:" + _port}, 2, "Address already in use"},
        {{"serve", "--behind", "http://station.example", "--listen", "127.0.0.1:0"}, 2, "expected https://NAME"},
    };
    for (const Impossible& row : rows) {
        expectImpossible(row);
    }
}

}  // namespace
