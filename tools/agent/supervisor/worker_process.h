// SPDX-License-Identifier: Apache-2.0
// The worker as a process: how it is started, spoken to and ended.
#ifndef FAPI_AGENT_SUPERVISOR_WORKER_PROCESS_H
#define FAPI_AGENT_SUPERVISOR_WORKER_PROCESS_H

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

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
    int socket() const { return _socket; }
    int log() const { return _log; }

    // Queues a line for the worker, and writes what it takes now.
    void send(std::string_view line);
    void flush();
    bool isUnwritten() const { return _written != _unwritten.size(); }

    // Each reads a piece of what has come and hands it over. False when nothing had come.
    bool readLines(const std::function<void(std::string_view line)>& take);
    bool readLog(const std::function<void(std::string_view bytes)>& take);

    // Ends the worker and what it has started.
    void kill() const;
    // Returns how it has ended; nothing while it is there.
    std::optional<WorkerEnd> reap();

private:
    static std::string_view readPiece(int& descriptor, std::vector<char>& buffer);

    pid_t _pid = -1;
    int _socket = -1;
    int _log = -1;
    std::string _unwritten;
    std::size_t _written = 0;
    std::string _unread;
    std::vector<char> _socketPiece, _logPiece;
};

}  // namespace tool

#endif
