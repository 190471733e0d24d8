// SPDX-License-Identifier: Apache-2.0
// Stores what comes of a run while it goes on, without making it wait.
#ifndef FAPI_BENCH_RECORD_RESULTS_WRITER_H
#define FAPI_BENCH_RECORD_RESULTS_WRITER_H

#include <condition_variable>
#include <mutex>
#include <thread>

#include "record/results_store.h"

namespace tool {

// A thread and its queue. What waits is stored at most 200 ms later; what could not be stored is tried again until the
// run ends.
class ResultsWriter {
public:
    // Throws ResultsError, also where the disk has no room for a run. `server` is the one that is to have the runs;
    // empty: none is known yet.
    explicit ResultsWriter(const std::string& file, const std::string& server = "");
    ~ResultsWriter();
    ResultsWriter(const ResultsWriter&) = delete;
    ResultsWriter& operator=(const ResultsWriter&) = delete;

    // Stores that the run has begun, and gives it its number. Throws ResultsError and UnitIsBusy.
    void begin(RunRecord& run);
    // Returns at once.
    void add(RunParts parts);
    // Returns when the run is stored as a whole. Throws ResultsError: it is then stored as far as it could be, without
    // a verdict.
    void end(const RunRecord& run);
    // Removes a run that has come to nothing, as far as the store can be written.
    void discard(const RunRecord& run);

private:
    void work();
    void storeWaiting(std::unique_lock<std::mutex>& lock);

    const std::string _file;
    ResultsStore _store;
    std::mutex _storeMutex;  // of the store
    std::mutex _mutex;       // of the rest
    std::condition_variable _changed;
    std::vector<RunParts> _waiting;
    bool _ends = false;
    std::thread _thread;
};

}  // namespace tool

#endif
