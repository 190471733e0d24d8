// SPDX-License-Identifier: Apache-2.0
// Clients that watch everything, and count what they have received.
#include "watchers.h"

#include <csignal>
#include <cstdlib>
#include <set>
#include <stdexcept>
#include <string_view>

#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {

namespace {

constexpr const char* kKinds[] = {"event", "journal", "log"};

// The notifications of a kind, which are numbered.
struct Feed {
    long long first = 0;
    long long last = 0;
    bool hasGap = false;

    void take(long long number) {
        hasGap = hasGap || (last != 0 && number != last + 1);
        first = first != 0 ? first : number;
        last = number;
    }
};

// Reads the numbers of notifications and nothing else of them, so that what a watcher itself does costs little.
class Reader {
public:
    explicit Reader(int descriptor) : _descriptor(descriptor) {}

    // False at the end.
    bool read() {
        static char piece[1 << 18];
        const ssize_t length = ::read(_descriptor, piece, sizeof(piece));
        _text.append(piece, static_cast<std::size_t>(length > 0 ? length : 0));
        std::size_t start = 0;
        for (std::size_t end = 0; (end = _text.find('\n', start)) != std::string::npos; start = end + 1) {
            takeLine(std::string_view(_text).substr(start, end - start));
        }
        _text.erase(0, start);
        return length > 0;
    }
    bool isAnswered() const { return _isAnswered; }
    std::string report() const {
        std::string text;
        for (std::size_t i = 0; i < std::size(kKinds); ++i) {
            const Feed& feed = _feeds[i];
            text += std::string(kKinds[i]) + " " + std::to_string(feed.first) + "-" + std::to_string(feed.last) +
                    (feed.hasGap ? " with a gap " : " ");
        }
        return text;
    }

private:
    void takeLine(std::string_view line) {
        constexpr std::string_view kSeq = "\",\"params\":{\"seq\":";
        const std::string_view beginning = line.substr(0, 80);
        _isAnswered = _isAnswered || beginning.find("\"result\":") != std::string_view::npos;
        const std::size_t at = beginning.find(kSeq);
        for (std::size_t i = 0; at != std::string_view::npos && i < std::size(kKinds); ++i) {
            const std::string_view kind = kKinds[i];
            if (at >= kind.size() && beginning.substr(at - kind.size(), kind.size()) == kind) {
                _feeds[i].take(std::strtoll(beginning.data() + at + kSeq.size(), nullptr, 10));
            }
        }
    }

    const int _descriptor;
    std::string _text;
    Feed _feeds[std::size(kKinds)];
    bool _isAnswered = false;
};

// Watches until the descriptor `stop` is at its end. Writes a line when it begins, and one about what it has received.
void watchAll(const tool::TargetOptions& options, int stop, int reports) {
    const auto target = tool::Target::join(options);
    for (const char* method : {"events", "journal", "log"}) {
        target->request(method, {{"on", true}});
    }
    dprintf(reports, "watches\n");
    Reader reader(target->descriptor());
    for (pollfd ends[] = {{target->descriptor(), POLLIN, 0}, {stop, POLLIN, 0}}; ends[1].revents == 0;) {
        poll(ends, 2, -1);
        if (ends[0].revents != 0 && !reader.read()) {
            throw std::runtime_error("the hub has ended");
        }
    }
    // The answer comes after all that has been sent to this client before.
    target->begin("ping");
    while (!reader.isAnswered() && reader.read()) {
    }
    dprintf(reports, "%s\n", reader.report().c_str());
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
