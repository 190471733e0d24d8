// SPDX-License-Identifier: Apache-2.0
// Clients that watch everything, and count what they have received.
#include "watchers.h"

#include <csignal>
#include <cstdlib>
#include <set>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {

namespace {

using tool::Field;

constexpr const char* kKinds[] = {"event", "journal", "log"};

// The notifications of a kind, which are numbered.
struct Feed {
    long long first = 0;
    long long last = 0;
    bool hasGap = false;

    void take(const Field& params) {
        const long long number = params.at("seq").number();
        hasGap = hasGap || (last != 0 && number != last + 1);
        first = first != 0 ? first : number;
        last = number;
    }
};

// Watches until the descriptor `stop` is at its end. Writes a line when it begins, and one about what it has received.
void watchAll(const tool::TargetOptions& options, int stop, int reports) {
    const auto target = tool::Target::join(options);
    Feed feeds[std::size(kKinds)];
    for (std::size_t i = 0; i < std::size(kKinds); ++i) {
        target->listen(kKinds[i], [&feed = feeds[i]](const Field& params) { feed.take(params); });
    }
    for (const char* method : {"events", "journal", "log"}) {
        target->request(method, {{"on", true}});
    }
    dprintf(reports, "watches\n");
    bool isOver = false;
    target->watch(stop, [&] { isOver = true; });
    while (!isOver && target->lost().empty()) {
        target->pump(std::chrono::seconds(60));
    }
    target->unwatch(stop);
    // Its answer comes after all that has been sent to this client before.
    target->request("ping");
    target->pump(std::chrono::milliseconds(0));
    std::string text;
    for (std::size_t i = 0; i < std::size(kKinds); ++i) {
        text += std::string(kKinds[i]) + " " + std::to_string(feeds[i].first) + "-" + std::to_string(feeds[i].last) +
                (feeds[i].hasGap ? " with a gap " : " ");
    }
    dprintf(reports, "%s\n", text.c_str());
}

std::string readLine(int descriptor) {
    std::string line;
    for (char c = 0; read(descriptor, &c, 1) == 1 && c != '\n';) {
        line += c;
    }
    return line;
}

}  // namespace

Watchers::Watchers(const tool::TargetOptions& options, std::size_t count) {
    int stop[2] = {};
    if (pipe(stop) != 0) {
        std::abort();
    }
    _stop = stop[1];
    for (std::size_t i = 0; i < count; ++i) {
        int reports[2] = {};
        if (pipe(reports) != 0) {
            std::abort();
        }
        const pid_t process = fork();
        if (process == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            close(_stop);
            try {
                watchAll(options, stop[0], reports[1]);
            } catch (const std::exception& error) {
                dprintf(reports[1], "%s\n", error.what());
            }
            _exit(0);
        }
        close(reports[1]);
        _watchers.push_back({process, reports[0]});
    }
    close(stop[0]);
    for (const Watcher& watcher : _watchers) {
        readLine(watcher.reports);
    }
}

Watchers::~Watchers() {
    end();
}

std::string Watchers::end() {
    if (_stop < 0) {
        return "";
    }
    close(_stop);
    _stop = -1;
    std::set<std::string> reports;
    for (const Watcher& watcher : _watchers) {
        reports.insert(readLine(watcher.reports));
        close(watcher.reports);
        waitpid(watcher.process, nullptr, 0);
    }
    std::string text;
    for (const std::string& report : reports) {
        text += report + "; ";
    }
    return reports.size() == 1 && text.find("gap") == std::string::npos ? "" : text;
}

}  // namespace bench
