// SPDX-License-Identifier: Apache-2.0
// An agent as a process, and the client at the other end of its wire.
#ifndef TESTS_SUPPORT_AGENT_CLIENT_H
#define TESTS_SUPPORT_AGENT_CLIENT_H

#include <csignal>
#include <deque>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include "protocol/framing.h"
#include "protocol/message.h"
#include "support/waiting.h"

namespace test {

class AgentClient {
public:
    // `preloaded`: a shared object that is loaded into the agent's processes before all others; empty: none.
    explicit AgentClient(std::vector<std::string> command, const std::string& preloaded = "") {
        int as32In[2], as32Out[2];
        if (pipe2(as32In, O_CLOEXEC) != 0 || pipe2(as32Out, O_CLOEXEC) != 0) {
            throw std::runtime_error("no pipe");
        }
        std::vector<char*> words;
        for (std::string& word : command) {
            words.push_back(word.data());
        }
        words.push_back(nullptr);
        signal(SIGPIPE, SIG_IGN);
        _pid = fork();
        if (_pid == 0) {
            dup2(as32In[0], STDIN_FILENO);
            dup2(as32Out[1], STDOUT_FILENO);
            if (!preloaded.empty()) {
                setenv("LD_PRELOAD", preloaded.c_str(), 1);
            }
            execv(words[0], words.data());
            _exit(127);
        }
        close(as32In[0]);
        close(as32Out[1]);
        _in = as32In[1];
        _out = as32Out[0];
    }
    ~AgentClient() {
        closeInput();
        close(_out);
        if (_pid > 0) {
            kill(_pid, SIGKILL);
            waitpid(_pid, nullptr, 0);
        }
    }
    AgentClient(const AgentClient&) = delete;
    AgentClient& operator=(const AgentClient&) = delete;

    pid_t pid() const { return _pid; }
    // Sends the worker a signal, as soon as there is one. Process 0 would be this program and its group.
    void killWorker(int signal) const {
        ASSERT_TRUE(eventually([&] { return worker() > 0; }));
        kill(worker(), signal);
    }
    // The agent's worker; 0: it has none.
    pid_t worker() const {
        pid_t worker = 0;
        const std::string pid = std::to_string(_pid);
        std::ifstream("/proc/" + pid + "/task/" + pid + "/children") >> worker;
        return worker;
    }
    void closeInput() {
        if (_in >= 0) {
            close(std::exchange(_in, -1));
        }
    }
    // Its exit code, or 128 + signal; -1: it has not ended.
    int waitForEnd() {
        int status = 0;
        if (!eventually([&] { return waitpid(_pid, &status, WNOHANG) == _pid; })) {
            return -1;
        }
        _pid = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

    void use(tool::Framing framing) { _reader.use(framing); }
    void write(std::string_view text) const {
        while (!text.empty()) {
            const ssize_t size = ::write(_in, text.data(), text.size());
            ASSERT_GT(size, 0);
            text.remove_prefix(static_cast<std::size_t>(size));
        }
    }
    long long send(const std::string& method, tool::Field params = {}) {
        write(tool::frame(toField(tool::Request{++_last, method, std::move(params)}), _reader.framing()));
        return _last;
    }

    // The next message; none when nothing more comes, or nothing in time.
    std::optional<tool::Message> read(std::chrono::milliseconds atMost = std::chrono::seconds(20)) {
        const auto until = std::chrono::steady_clock::now() + patient(atMost);
        while (_lines.empty()) {
            const auto left =
                std::chrono::duration_cast<std::chrono::milliseconds>(until - std::chrono::steady_clock::now());
            pollfd out = {_out, POLLIN, 0};
            char acPiece[65536];
            const ssize_t size = left.count() > 0 && poll(&out, 1, static_cast<int>(left.count())) == 1
                                     ? ::read(_out, acPiece, sizeof(acPiece))
                                     : 0;
            if (size <= 0) {
                return std::nullopt;
            }
            std::vector<tool::Line> lines;
            _reader.take({acPiece, static_cast<std::size_t>(size)}, lines);
            _lines.insert(_lines.end(), lines.begin(), lines.end());
        }
        const tool::Line line = _lines.front();
        _lines.pop_front();
        EXPECT_EQ(line.kind, tool::Line::Kind::message) << line.text;
        return parseMessage(line.object);
    }
    // The answer to that request; those to others are dropped, notifications are kept.
    tool::Answer answer(long long id) {
        while (std::optional<tool::Message> message = read()) {
            if (message->notification) {
                notifications.push_back(*message->notification);
            } else if (message->answer->id == id) {
                return *message->answer;
            }
        }
        ADD_FAILURE() << "no answer to request " << id;
        return {};
    }
    tool::Answer request(const std::string& method, tool::Field params = {}) {
        return answer(send(method, std::move(params)));
    }
    // The result of a request that must have one.
    tool::Field ask(const std::string& method, tool::Field params = {}) {
        const tool::Answer given = request(method, std::move(params));
        EXPECT_FALSE(given.failure) << method << ": " << given.failure->text;
        return given.result;
    }
    // Calls an operation; "confirm" and "prepare" as a person would have them.
    tool::Field call(const std::string& operation, tool::Field::List arguments = {}) {
        return ask("call", {{"operation", operation}, {"arguments", std::move(arguments)}, {"confirm", true}});
    }
    // The next notification of a kind, kept or yet to come; null when none comes.
    tool::Field next(const std::string& method) {
        for (;;) {
            for (auto it = notifications.begin(); it != notifications.end(); ++it) {
                if (it->method == method) {
                    const tool::Field params = it->params;
                    notifications.erase(it);
                    return params;
                }
            }
            const std::optional<tool::Message> message = read();
            if (!message) {
                return {};
            }
            if (message->notification) {
                notifications.push_back(*message->notification);
            }
        }
    }

    std::deque<tool::Notification> notifications;

private:
    pid_t _pid = -1;
    int _in = -1;
    int _out = -1;
    long long _last = 0;
    tool::LineReader _reader{tool::Framing::plain};
    std::deque<tool::Line> _lines;
};

}  // namespace test

#endif
