// SPDX-License-Identifier: Apache-2.0
// An agent without a set, for tests of what is between an agent and its clients.
#include "fake_agent.h"

#include <cstdio>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "protocol/description.h"
#include "protocol/framing.h"
#include "protocol/message.h"
#include "protocol/sha256.h"

namespace test {

namespace {

using namespace tool;

constexpr std::size_t kPiece = 256 << 10;

class FakeAgent {
public:
    explicit FakeAgent(const std::string& folder)
        : _history(open((folder + "/history").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600)) {
        flock(_history, LOCK_EX);
        tell("start");
        for (const auto& [name, danger] :
             {std::pair("a_vextvfapi_sys_look", Danger::reads), std::pair("a_vextvfapi_sys_change", Danger::changes)}) {
            _description.operations.emplace_back();
            _description.operations.back().name = name;
            _description.operations.back().danger = danger;
        }
        _description.hash = hashOf(_description);
    }

    void run() {
        LineReader reader(Framing::plain);
        char piece[65536];
        for (ssize_t length; (length = read(STDIN_FILENO, piece, sizeof(piece))) > 0;) {
            std::vector<Line> lines;
            reader.take({piece, static_cast<std::size_t>(length)}, lines);
            for (const Line& line : lines) {
                act(*parseMessage(line.object).request);
            }
        }
        tell("end");
    }

private:
    void tell(const std::string& what) const { dprintf(_history, "%s\n", what.c_str()); }
    static void send(const Field& object) {
        const std::string line = frame(object, Framing::plain);
        for (std::size_t sent = 0; sent < line.size();) {
            const ssize_t length = write(STDOUT_FILENO, line.data() + sent, line.size() - sent);
            if (length <= 0) {
                _exit(1);
            }
            sent += static_cast<std::size_t>(length);
        }
    }
    static void answer(const Request& request, const Field& result) { send(toField(Answer{request.id, result, {}})); }

    void act(const Request& request) {
        const Field& params = request.params;
        if (request.method == "hello") {
            answer(request, {{"protocol", 1},
                             {"framing", "plain"},
                             {"session", std::to_string(getpid())},
                             {"description", _description.hash}});
        } else if (request.method == "describe") {
            tell("describe");
            answer(request, toField(_description));
        } else if (request.method == "call" && params["operation"].textOr("") == "slow") {
            // Only a cancelation answers it.
            tell("slow");
        } else if (request.method == "cancel") {
            tell("cancel");
            send(toField(failed(params["id"].number(), ErrorCode::canceled, "canceled")));
            answer(request, {{"unqueued", true}});
        } else if (request.method == "call" || request.method == "act") {
            const bool prepare = params["prepare"].flagOr(false);
            answer(request, {{"status", 7},
                             {"good", true},
                             {"outputs", Field::List()},
                             {"prepared", prepare ? Field::List{"init"} : Field::List()}});
        } else if (request.method == "log") {
            tell(params["on"].flag() ? "log on" : "log off");
            answer(request, Field::Fields());
        } else if (request.method == "flood") {
            flood(params["lines"].number(), params["bytes"].number());
            answer(request, Field::Fields());
        } else if (request.method == "picture") {
            stream(request, params["pieces"].number(), params["isSpoilt"].flagOr(false));
        } else if (request.method == "die") {
            std::fputs("the chip is on fire\n", stderr);
            _exit(3);
        } else {
            send(toField(failed(request.id, ErrorCode::unknownMethod, "unknown")));
        }
    }

    void flood(long long lines, long long bytes) {
        const std::string text(static_cast<std::size_t>(bytes), 'x');
        for (long long i = 0; i < lines; ++i) {
            send(toField(Notification{"log", {{"seq", ++_logged}, {"text", text}}}));
        }
    }

    void stream(const Request& request, long long pieces, bool isSpoilt) {
        answer(request, {{"left_out", std::string(10000, 'x')}, {"stream", ++_stream}});
        Sha256 sum;
        for (long long i = 0; i < pieces; ++i) {
            Bytes data(kPiece, static_cast<unsigned char>(i));
            sum.add(data.data(), data.size());
            data[0] = isSpoilt ? 'X' : data[0];
            send(toField(Notification{"stream", {{"id", _stream}, {"piece", i}, {"data", data}}}));
        }
        const long long bytes = pieces * static_cast<long long>(kPiece);
        send(toField(Notification{"stream", {{"id", _stream}, {"sha256", sum.sum()}, {"bytes", bytes}}}));
    }

    int _history;
    Description _description;
    long long _logged = 0;
    long long _stream = 0;
};

}  // namespace

int runFakeAgent(const std::string& folder) {
    FakeAgent(folder).run();
    return 0;
}

}  // namespace test
