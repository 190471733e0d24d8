// SPDX-License-Identifier: Apache-2.0
// Sends the runs of a station's file to a server.
#ifndef FAPI_BENCH_FEED_FEED_H
#define FAPI_BENCH_FEED_FEED_H

#include "record/results_store.h"

namespace tool {

// A run leaves the outbox after the server has it for good. Until then it may be sent again, and is there once.
class Feed {
public:
    // What came of an attempt to send.
    enum class Outcome {
        sent,     // some runs, and there may be more
        empty,    // there is nothing to send
        refused,  // the server does not take the run, which is counted
        trouble   // the server cannot be reached, or takes nothing now
    };

    // Throws ResultsError, and UsageError for an address that must not be used.
    Feed(const std::string& file, std::string server);

    // The next runs in the order in which they have ended. Throws ResultsError when the station's file cannot be used.
    Outcome send();
    // Those that were refused too often wait again.
    void retryParked();

    std::size_t sent() const { return _sent; }
    // Why the server has taken nothing the last time.
    const std::string& trouble() const { return _trouble; }
    long long waiting();
    long long parked();

private:
    struct Server {
        explicit Server(const std::string& address);
        Database database;
        RunInserter insert;
    };
    std::vector<std::string> nextRuns();
    void sendRuns(const std::vector<WholeRun>& runs);
    void forget(const std::vector<std::string>& runs);
    Outcome takeRefusal(const std::vector<std::string>& runs, const std::string& reason);
    void note(const std::string& trouble);

    const std::string _address;
    ResultsStore _store;
    std::optional<Server> _server;
    std::size_t _atOnce;
    std::size_t _sent = 0;
    std::string _trouble;
};

}  // namespace tool

#endif
