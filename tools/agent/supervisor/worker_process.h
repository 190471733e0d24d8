// SPDX-License-Identifier: Apache-2.0
// The worker as a process: how it is started, spoken to and ended.
#ifndef FAPI_AGENT_SUPERVISOR_WORKER_PROCESS_H
#define FAPI_AGENT_SUPERVISOR_WORKER_PROCESS_H

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

#include "supervisor/internal.h"

namespace tool {

// How a worker has ended: by a signal, or with an exit code.
struct WorkerEnd {
    int signal = 0;
    int exit = 0;
};

class WorkerProcess {
public:
    // Starts the program that lies beside this one. Throws std::runtime_error.
    explicit WorkerProcess(const std::vector<std::string>& arguments);
    // Ends it, but does not wait for that.
    ~WorkerProcess();
    WorkerProcess(const WorkerProcess&) = delete;
    WorkerProcess& operator=(const WorkerProcess&) = delete;

    pid_t pid() const { return _pid; }
    // Both are -1 once they have ended.
    int socket() const { return _outgoing[kAside].descriptor; }
    int log() const { return _log; }

    // Queues a line for the worker, which takes one of the ways to it, and writes what it takes now.
    void send(Way way, std::string_view line);
    void flush(Way way);
    // The descriptor of a way that has not taken all; else -1.
    int unwritten(Way way) const;

    // Each reads a piece of what has come and hands it over. False when nothing had come.
    bool readLines(const std::function<void(std::string_view line)>& take);
    bool readLog(const std::function<void(std::string_view bytes)>& take);

    // Ends the worker and what it has started.
    void kill() const;
    // Returns how it has ended; nothing while it is there.
    std::optional<WorkerEnd> reap();

private:
    // Lines on one way to the worker.
    struct Outgoing {
        int descriptor = -1;
        std::string unwritten;
        std::size_t written = 0;
    };
    void closeAll() const;
    static std::string_view readPiece(int& descriptor, std::vector<char>& buffer);

    pid_t _pid = -1;
    int _log = -1;
    std::array<Outgoing, kWays> _outgoing;
    std::string _unread;
    std::vector<char> _socketPiece, _logPiece;
};

}  // namespace tool

#endif
