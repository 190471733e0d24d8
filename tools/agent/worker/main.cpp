// SPDX-License-Identifier: Apache-2.0
// The program fapi-agent-worker: it has library and set, and is started by fapi-agent alone.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string_view>
#include <thread>
#include <utility>

#include <unistd.h>

#include "actions/log_switch.h"
#include "supervisor/internal.h"
#include "worker/descriptors.h"
#include "worker/lane.h"
#include "worker/messages.h"
#include "worker/notices.h"
#include "worker/outbox.h"
#include "worker/set_session.h"

namespace tool {

namespace {

// What the supervisor starts the worker with.
struct WorkerOptions {
    std::array<int, kWays> ways = {-1, -1, -1};  // the descriptors
    SetOptions set;
    LogState log = LogState::set;
    bool reportsEvents = false;
    bool reportsJournal = false;
};

WorkerOptions parseOptions(int argc, char** argv) {
    WorkerOptions options;
    for (int i = 1; i < argc; ++i) {
        const std::string_view word = argv[i];
        const auto way = std::find(std::begin(kWayOptions), std::end(kWayOptions), word);
        if (word == "--damaged") {
            options.set.damaged = true;
        } else if (word == "--as-board") {
            options.set.isBoard = true;
        } else if (word == "--events") {
            options.reportsEvents = true;
        } else if (word == "--journal") {
            options.reportsJournal = true;
        } else if (i + 1 == argc) {
            break;
        } else if (way != std::end(kWayOptions)) {
            options.ways[static_cast<std::size_t>(way - kWayOptions)] =
                static_cast<int>(std::strtol(argv[++i], nullptr, 10));
        } else if (word == "--set") {
            options.set.folder = argv[++i];
        } else if (word == "--log-switch") {
            options.log = logStateOf(argv[++i]);
        } else if (options.set.limits.take(word, argv[i + 1])) {
            ++i;
        }
    }
    return options;
}

// Runs one of the process's threads; when it returns, the supervisor has ended, and the process ends with it.
template <class Run>
[[noreturn]] void runToTheEnd(Run&& run) {
    int code = 1;
    try {
        run();
        MustFinish::waitForEnd();
        code = 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "fapi-agent-worker: %s\n", error.what());
    }
    // Not exit(): other threads go on meanwhile.
    _exit(code);
}

// Reads what is for requests that run.
void listen(int socket) {
    readMessages(socket, [](const Message& message) {
        if (!message.notification) {
            return;
        }
        if (message.notification->method == kGo) {
            MustFinish::go();
        } else if (message.notification->method == "cancel") {
            cancelRequest(message.notification->params.at("id").number());
        }
    });
}

[[noreturn]] void work(WorkerOptions options) {
    setLogSwitch(options.log);
    chooseSet(std::move(options.set));
    separateDescriptors(options.ways);
    // It lives as long as the process, as its thread does.
    Outbox& outbox = *new Outbox(options.ways[kAside]);
    reportTo(outbox);
    if (options.reportsEvents) {
        reportEvents(true);
    }
    if (options.reportsJournal) {
        reportJournal(true);
    }
    std::thread([&outbox, looks = options.ways[kLooks]] {
        runToTheEnd([&] { Lane(kLooks, outbox).run(looks); });
    }).detach();
    std::thread([socket = options.ways[kAside]] { runToTheEnd([&] { listen(socket); }); }).detach();
    // Calls are for the first thread, whose signal at the supervisor's end a call that must finish puts off.
    runToTheEnd([&] { Lane(kCalls, outbox).run(options.ways[kCalls]); });
}

}  // namespace

}  // namespace tool

int main(int argc, char** argv) {
    tool::WorkerOptions options = tool::parseOptions(argc, argv);
    if (*std::min_element(options.ways.begin(), options.ways.end()) <= STDERR_FILENO) {
        std::fputs("fapi-agent-worker: is started by fapi-agent\n", stderr);
        return 2;
    }
    // The log's lines are to come when they are written.
    setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    tool::work(std::move(options));
}
