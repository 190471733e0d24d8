// SPDX-License-Identifier: Apache-2.0
// What the page knows of one set: a client of its hub that looks on.
#ifndef FAPI_BENCH_SERVE_SET_FOLLOWER_H
#define FAPI_BENCH_SERVE_SET_FOLLOWER_H

#include <atomic>
#include <functional>
#include <future>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "serve/board.h"
#include "target/target.h"

namespace tool {

// A set that the page shows.
struct ServedSet {
    std::string name;
    TargetOptions options;
    Words words;  // which name it on a command line
};

// Follows the set in a thread of its own, and joins it again whenever it has lost it.
class SetFollower {
public:
    // `runEnded` is called in that thread when a run of the set is over.
    SetFollower(Board& board, ServedSet set, std::function<void()> runEnded);
    ~SetFollower();
    SetFollower(const SetFollower&) = delete;
    SetFollower& operator=(const SetFollower&) = delete;

    const ServedSet& set() const { return _set; }
    // As JSON: its actions, events and pictures; empty while it is not known.
    std::string description() const;
    // A PNG of what the set shows; empty while there is none.
    std::string picture() const;
    // A PNG of what is to be seen with the question of that number; empty where nothing is.
    std::string pictureWith(const std::string& prompt) const;
    // The process of the run that goes on; 0: none does.
    long long runner() const { return _runner; }
    // That of the run that has begun last.
    long long lastRunner() const { return _lastRunner; }
    // Makes a request of the hub. Throws RequestError.
    Field ask(const std::string& method, const Field& params);

private:
    void follow();
    void followOnce();
    void listen(Target& target);
    void takeProgress(const Field& params);
    void takeKeptVerdict();
    void takePrompt(const Field& params);
    void takeCalls(const Field& params);
    void show();
    void followQuestions(Target& target, bool isAttended);
    void lookCloser(Target& target);
    void takePicture(Target& target);
    void rest(std::chrono::milliseconds time);

    void sendRequests(Target& target);

    // One that comes from a page.
    struct Asked {
        std::string method;
        Field params;
        std::promise<Field> result;
        long long request = 0;
        std::chrono::steady_clock::time_point until;
    };

    Board& _board;
    const ServedSet _set;
    const std::function<void()> _runEnded;
    Descriptor _stop, _wake;  // readable for good; when something is asked
    std::atomic<bool> _isEnding{false}, _isUp{false};
    std::atomic<long long> _runner{0}, _lastRunner{0};

    mutable std::mutex _mutex;  // of the texts and of what is asked
    std::string _description, _picture;
    std::map<std::string, std::string> _pictureFiles;  // by the question's number
    std::vector<std::unique_ptr<Asked>> _asked;

    // Of the thread.
    std::vector<std::unique_ptr<Asked>> _sent;
    Json _run, _prompts = Json::object(), _claim;
    std::string _kind, _trouble = "not reached yet";
    bool _isAttended = false, _isClose = false;
    long long _pictures = 0;
    std::string _pictureSum;
    std::chrono::steady_clock::time_point _nextPicture;
    std::thread _thread;
};

}  // namespace tool

#endif
