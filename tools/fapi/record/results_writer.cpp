// SPDX-License-Identifier: Apache-2.0
// Stores what comes of a run while it goes on, without making it wait.
#include "record/results_writer.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <iterator>

namespace tool {

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

// Steps that end together are stored together.
constexpr auto kGathered = 100ms;
// After a failure.
constexpr auto kPatience = 1s;

// What the record of a long run takes, with its reports.
constexpr std::uintmax_t kRoom = 32ull << 20;

const std::string& withRoom(const std::string& file) {
    std::error_code error;
    const fs::path folder = fs::path(file).parent_path();
    const fs::space_info space = fs::space(folder.empty() ? "." : folder, error);
    if (!error && space.available < kRoom) {
        throw ResultsError("the disk is nearly full: " + file + " needs " + std::to_string(kRoom >> 20) +
                               " MiB for a run, and there are " + std::to_string(space.available >> 20),
                           "");
    }
    return file;
}

}  // namespace

ResultsWriter::ResultsWriter(const std::string& file, const std::string& server) : _file(file), _store(withRoom(file)) {
    if (!server.empty()) {
        _store.noteServer(server);
    }
    // Signals are for the thread that carries the run out.
    sigset_t all, before;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &before);
    _thread = std::thread([this] { work(); });
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

ResultsWriter::~ResultsWriter() {
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _ends = true;
    }
    _changed.notify_all();
    _thread.join();
}

void ResultsWriter::begin(RunRecord& run) {
    withRoom(_file);
    const std::lock_guard<std::mutex> lock(_storeMutex);
    _store.begin(run);
}

void ResultsWriter::add(RunParts parts) {
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _waiting.push_back(std::move(parts));
    }
    _changed.notify_all();
}

void ResultsWriter::end(const RunRecord& run) {
    // The thread is not in the middle of storing any more, and finds nothing to store.
    const std::lock_guard<std::mutex> storeLock(_storeMutex);
    std::vector<RunParts> rest;
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        rest = std::move(_waiting);
        _waiting.clear();
    }
    _store.end(run, rest);
}

void ResultsWriter::discard(const RunRecord& run) {
    const std::lock_guard<std::mutex> storeLock(_storeMutex);
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _waiting.clear();
    }
    try {
        _store.remove(run.id);
    } catch (const ResultsError&) {
        // It stays as one that was interrupted.
    }
}

void ResultsWriter::work() {
    std::unique_lock<std::mutex> lock(_mutex);
    while (!_ends) {
        _changed.wait(lock, [this] { return _ends || !_waiting.empty(); });
        _changed.wait_for(lock, kGathered, [this] { return _ends; });
        storeWaiting(lock);
    }
}

// Leaves the lock while it stores.
void ResultsWriter::storeWaiting(std::unique_lock<std::mutex>& lock) {
    lock.unlock();
    bool isStored = true;
    {
        const std::lock_guard<std::mutex> storeLock(_storeMutex);
        std::vector<RunParts> parts;
        {
            const std::lock_guard<std::mutex> queueLock(_mutex);
            parts = std::move(_waiting);
            _waiting.clear();
        }
        try {
            if (!parts.empty()) {
                _store.add(parts);
            }
        } catch (const ResultsError&) {
            // The end of the run tries once more, and says what is wrong.
            const std::lock_guard<std::mutex> queueLock(_mutex);
            _waiting.insert(_waiting.begin(), std::make_move_iterator(parts.begin()),
                            std::make_move_iterator(parts.end()));
            isStored = false;
        }
    }
    lock.lock();
    if (!isStored) {
        _changed.wait_for(lock, kPatience, [this] { return _ends; });
    }
}

}  // namespace tool
