// SPDX-License-Identifier: Apache-2.0
// How a target's first client starts its hub.
#include "hub/start.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>

#include "hub/agent_wire.h"
#include "hub/hub.h"
#include "protocol/message.h"

namespace tool {

namespace {

constexpr std::chrono::seconds kUntilReady{10};
constexpr int kBetweenTries = 5;  // milliseconds
// Inherited descriptors wait here while the first ones are given their places.
constexpr int kAside = 10;

RequestError noHub(const std::string& why) {
    return RequestError(ErrorCode::unavailable, "the hub cannot be started: " + why);
}

// In a new process: a session of its own, which outlives the client, with nothing of the client's but its environment.
[[noreturn]] void becomeHub(int log, int ready, int lock, char* const* words) {
    setsid();
    if (fork() != 0) {
        _exit(0);
    }
    const int null = open("/dev/null", O_RDWR);
    const int sources[] = {null, null, log, ready, lock};
    int aside[std::size(sources)];
    for (std::size_t i = 0; i < std::size(sources); ++i) {
        aside[i] = fcntl(sources[i], F_DUPFD, kAside);
    }
    for (std::size_t i = 0; i < std::size(sources); ++i) {
        dup2(aside[i], static_cast<int>(i));
    }
    close_range(kHubLock + 1, ~0u, 0);
    for (int signal = 1; signal < NSIG; ++signal) {
        ::signal(signal, SIG_DFL);
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    if (chdir("/") == 0) {
        execv(words[0], words);
    }
    dprintf(kHubReady, "%s: %s", words[0], std::strerror(errno));
    _exit(127);
}

[[noreturn]] void stopWaiting() {
    throw RequestError(ErrorCode::canceled, "interrupted");
}

// A hub that ends keeps the lock until its agent is gone, which may have something to finish.
HubLock waitForLock(const HubSocket& socket, const HubPatience& patience) {
    for (;;) {
        if (std::optional<HubLock> lock = HubLock::take(socket)) {
            return std::move(*lock);
        }
        if (Clock::now() >= patience.until) {
            throw noHub("another one has not ended yet");
        }
        pollfd stop = {patience.stop, POLLIN, 0};
        if (poll(&stop, 1, kBetweenTries) == 1) {
            stopWaiting();
        }
    }
}

// Returns what the hub says of its start, up to the end of that.
std::string waitUntilReady(int ready, int stop) {
    std::string text;
    const Clock::time_point deadline = Clock::now() + kUntilReady;
    for (pollfd entries[] = {{ready, POLLIN, 0}, {stop, POLLIN, 0}}; poll(entries, 2, waitTime(deadline)) != 0;) {
        // A hub that is ready is joined also by who wants no longer to wait: else it would wait for a first client.
        if (entries[0].revents == 0) {
            if (entries[1].revents != 0) {
                stopWaiting();
            }
            continue;
        }
        char piece[512];
        const ssize_t length = read(ready, piece, sizeof(piece));
        if (length == 0 || (length < 0 && errno != EINTR)) {
            return text;
        }
        text.append(piece, length > 0 ? static_cast<std::size_t>(length) : 0);
        if (!text.empty() && text.front() == kHubIsReady) {
            return text;
        }
    }
    return "it does not answer";
}

}  // namespace

Descriptor startHub(const HubSocket& socket, const std::vector<std::string>& command, const HubPatience& patience) {
    const HubLock lock = waitForLock(socket, patience);
    // Another client may have started it while this one waited.
    if (Descriptor connection = socket.connect()) {
        return connection;
    }
    const Descriptor log = socket.openLog();
    int ends[2] = {};
    if (pipe2(ends, O_CLOEXEC) != 0) {
        throw noHub(std::strerror(errno));
    }
    const Descriptor ready(ends[0]);
    Descriptor told(ends[1]);
    const std::vector<char*> words = argumentVector(command);
    const pid_t child = fork();
    if (child == 0) {
        becomeHub(log.get(), told.get(), lock.descriptor(), words.data());
    }
    told.close();
    while (child > 0 && waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
    const std::string text = child < 0 ? std::strerror(errno) : waitUntilReady(ready.get(), patience.stop);
    if (text.empty() || text.front() != kHubIsReady) {
        const std::string why = text + socket.log();
        socket.removeLog();
        lock.remove(socket);
        throw noHub(why);
    }
    return socket.connect();
}

}  // namespace tool
