// SPDX-License-Identifier: Apache-2.0
// fapi-feed: sends the results of a station to a server.
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <thread>

#include <CLI/CLI.hpp>

#include "feed/feed.h"
#include "station/station.h"

namespace {

using namespace tool;
using namespace std::chrono_literals;
using std::chrono::milliseconds;

enum Exit { kExitGood = 0, kExitRefused = 1, kExitUsage = 2, kExitTrouble = 3 };

constexpr char kFooter[] =
    "Passwords come from ~/.pgpass or a service file. Connections to other machines are checked "
    "(sslmode=verify-full).\n"
    "Exit codes: 0 all was sent; 1 the server has refused runs, which are parked; 2 a wrong word; 3 the server cannot\n"
    "be reached, or the results cannot be read.";

struct FeedOptions {
    std::string file = "reports/results.sqlite";
    std::string server;
    std::string station;
    bool follow = false;
    bool retry = false;
};

void say(const std::string& text) {
    std::fprintf(stderr, "fapi-feed: %s\n", text.c_str());
}

// Longer after each failure.
class BackOff {
public:
    explicit BackOff(milliseconds longest) : _longest(longest) {}
    void reset() { _next = kFirst; }
    void rest() {
        std::this_thread::sleep_for(_next);
        _next = std::min(_longest, 2 * _next);
    }

private:
    static constexpr milliseconds kFirst{50};
    const milliseconds _longest;
    milliseconds _next = kFirst;
};

// Sends until nothing waits, or forever.
int feedAll(Feed& feed, bool follow) {
    constexpr int kTries = 5;
    BackOff backOff(follow ? 30s : 1s);
    int troubles = 0;
    for (;;) {
        const std::string before = feed.trouble();
        switch (feed.send()) {
            case Feed::Outcome::sent:
                troubles = 0;
                backOff.reset();
                break;
            case Feed::Outcome::empty:
                if (!follow) {
                    return feed.parked() == 0 ? kExitGood : kExitRefused;
                }
                std::this_thread::sleep_for(500ms);
                break;
            case Feed::Outcome::trouble:
                if (!follow && ++troubles == kTries) {
                    say(feed.trouble());
                    return kExitTrouble;
                }
                [[fallthrough]];
            case Feed::Outcome::refused:
                if (follow && feed.trouble() != before) {
                    say(feed.trouble());
                }
                backOff.rest();
                break;
        }
    }
}

std::string serverFor(const FeedOptions& options) {
    if (!options.server.empty()) {
        return options.server;
    }
    const Station station = readStation(stationFile(options.station));
    if (station.server.address.empty()) {
        throw UsageError("no server: name one, or write \"server = ADDRESS\" below [results] of " +
                         (station.file.empty() ? "station.ini" : station.file));
    }
    return station.server.address;
}

int run(const FeedOptions& options) {
    std::error_code error;
    if (!std::filesystem::exists(options.file, error)) {
        say(options.file + ": there are no results");
        return kExitUsage;
    }
    Feed feed(options.file, serverFor(options));
    if (options.retry) {
        feed.retryParked();
    }
    const int code = feedAll(feed, options.follow);
    std::printf("%zu sent, %lld wait, %lld parked\n", feed.sent(), feed.waiting(), feed.parked());
    return code;
}

int runWith(int argc, char** argv) {
    FeedOptions options;
    CLI::App app{"Sends the results of a station to a PostgreSQL server.", "fapi-feed"};
    app.footer(kFooter);
    app.add_option("--store", options.file, "The file of results; reports/results.sqlite when left out")
        ->type_name("FILE");
    app.add_option("SERVER", options.server,
                   "postgresql://HOST/DATABASE, or service=NAME; the server of station.ini when left out");
    app.add_option("--station", options.station, "The station's file, in place of $FAPI_STATION and the usual places")
        ->type_name("FILE");
    app.add_flag("--follow", options.follow, "Go on, and send what comes");
    app.add_flag("--retry-parked", options.retry, "Send once more what the server has refused");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kExitGood : kExitUsage;
    }
    return run(options);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return runWith(argc, argv);
    } catch (const UsageError& error) {
        say(error.what());
        return kExitUsage;
    } catch (const std::exception& error) {
        say(error.what());
        return kExitTrouble;
    }
}
