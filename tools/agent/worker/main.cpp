// SPDX-License-Identifier: Apache-2.0
// The program fapi-agent-worker: it has library and set, and is started by fapi-agent alone.
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <string_view>
#include <utility>

#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "actions/log_switch.h"
#include "protocol/message.h"
#include "supervisor/internal.h"
#include "worker/descriptors.h"
#include "worker/lane.h"
#include "worker/notices.h"
#include "worker/outbox.h"
#include "worker/set_session.h"

namespace tool {

namespace {

class Reader {
public:
    explicit Reader(int socket) : _socket(socket), _outbox(*new Outbox(socket)) {
        reportTo(_outbox);
        for (std::size_t i = 0; i < _lanes.size(); ++i) {
            _lanes[i] = new Lane(i, _outbox);
        }
    }

    // Until the supervisor has ended.
    void run() {
        std::string unread;
        std::array<char, 1u << 16> piece;
        for (ssize_t size = 0; (size = recv(_socket, piece.data(), piece.size(), 0)) > 0;) {
            std::string_view rest(piece.data(), static_cast<std::size_t>(size));
            for (std::size_t end = rest.find('\n'); end != std::string_view::npos; end = rest.find('\n')) {
                unread += rest.substr(0, end);
                rest.remove_prefix(end + 1);
                takeLine(unread);
                unread.clear();
            }
            unread += rest;
        }
    }

private:
    void takeLine(std::string_view line) {
        const char mark = line.front();
        Message message = parseMessage(parseJsonText(line.substr(kMarkSize)));
        if (message.notification) {
            return takeNotification(*message.notification);
        }
        if (_isUnbound) {
            // What had to finish has finished.
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            _isUnbound = false;
        }
        _lanes[mark == kAnswerMarks[0] ? 0 : 1]->add(std::move(*message.request));
    }

    void takeNotification(const Notification& notification) {
        if (notification.method == kGo) {
            MustFinish::go();
            _isUnbound = true;
        } else if (notification.method == "log-switch") {
            const std::string& state = notification.params.at("state").text();
            setLogSwitch(state == "on"    ? LogState::on
                         : state == "off" ? LogState::off
                         : state == "run" ? LogState::run
                                          : LogState::set);
        } else if (notification.method == "events") {
            reportEvents(notification.params["on"].flagOr(true));
        } else if (notification.method == "cancel") {
            cancelRequest(notification.params.at("id").number());
        } else if (notification.method == "journal") {
            reportJournal(notification.params["on"].flagOr(true));
        }
    }

    const int _socket;
    // They live as long as the process, as their threads do.
    Outbox& _outbox;
    std::array<Lane*, 2> _lanes = {};
    bool _isUnbound = false;  // the end of the supervisor does not end this process
};

// The options of fapi-agent, and its socket.
int run(int argc, char** argv) {
    int socket = -1;
    SetOptions options;
    for (int i = 1; i < argc; ++i) {
        const std::string_view word = argv[i];
        if (word == "--socket" && i + 1 < argc) {
            socket = static_cast<int>(std::strtol(argv[++i], nullptr, 10));
        } else if (word == "--set" && i + 1 < argc) {
            options.folder = argv[++i];
        } else if (word == "--as-board") {
            options.isBoard = true;
        } else if (word == "--damaged") {
            options.damaged = true;
        } else if (i + 1 < argc && options.limits.take(word, argv[i + 1])) {
            ++i;
        }
    }
    if (socket <= STDERR_FILENO) {
        std::fputs("fapi-agent-worker: is started by fapi-agent\n", stderr);
        return 2;
    }
    // The log's lines are to come when they are written.
    setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    chooseSet(std::move(options));
    Reader(separateDescriptors(socket)).run();
    MustFinish::waitForEnd();
    return 0;
}

}  // namespace

}  // namespace tool

int main(int argc, char** argv) {
    int code = 1;
    try {
        code = tool::run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "fapi-agent-worker: %s\n", error.what());
    }
    // Not exit(): other threads go on meanwhile.
    _exit(code);
}
