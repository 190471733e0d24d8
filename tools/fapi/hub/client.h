// SPDX-License-Identifier: Apache-2.0
// A client of the hub: what it has asked for and has not read yet.
#ifndef FAPI_BENCH_HUB_CLIENT_H
#define FAPI_BENCH_HUB_CLIENT_H

#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include <sys/types.h>

#include "hub/agent_wire.h"
#include "hub/descriptor.h"
#include "protocol/framing.h"

namespace tool {

// A line that may wait for many clients.
using SharedLine = std::shared_ptr<const std::string>;

// What a client watches that follows the questions to a person, and has one who can answer; that has none.
constexpr const char* kPromptWatch = "prompts";
constexpr const char* kQuestionWatch = "questions";

class HubClient {
public:
    HubClient(long long id, Descriptor connection);

    const long long id;
    const pid_t pid;
    const long long since;  // nanoseconds since 1970
    std::string name;
    bool hasGreeted = false;
    bool isObserver = false;  // looks on, and is in the way of no one who needs the set alone
    Field progress = {};      // of the run that it carries out, as it has said last
    bool isGone = false;
    std::set<std::string> watches = {};  // kinds of notifications
    std::size_t open = 0;                // requests without an answer
    std::size_t place = 0;               // of its entry in what is waited for; 0: none

    int descriptor() const { return _connection.get(); }
    Descriptor takeConnection() { return std::move(_connection); }

    // Takes in what the client has sent.
    void read();
    // The next line, as long as the client reads its answers; none otherwise, and when there is no line.
    std::optional<Line> nextLine();
    // Whether more may be read from the client.
    bool wantsInput() const { return _lines.empty() && mayAsk(); }

    void answer(std::string line);
    // What must not be dropped.
    void send(const SharedLine& line);
    // What is dropped when too much waits; the next line of that kind says how many were.
    void notify(const std::string& kind, const SharedLine& line);
    // Writes what the client takes at once. Notifications that follow others closely are collected for some
    // milliseconds, unless something else is to be written: a client that watches does not wake up for each of them.
    void write(bool collects = true);
    // Whether the next write() would write.
    bool hasOutput() const { return !_out.empty() && !isCollecting(); }
    // Until when notifications are collected. None: nothing is.
    std::optional<Clock::time_point> collectsUntil() const;

    // Until when a client that has too much to read has time to do so; then it is cut off. None: it has not.
    std::optional<Clock::time_point> readsUntil() const;

private:
    struct Item {
        SharedLine line;
        bool isAnswer;
    };
    bool mayAsk() const;
    bool isCollecting() const { return collectsUntil() && Clock::now() < _collectsUntil; }
    void push(const SharedLine& line, bool isAnswer);

    Descriptor _connection;
    LineReader _reader{Framing::plain, LineReader::Gives::outline};
    std::deque<Line> _lines;
    std::deque<Item> _out;
    std::size_t _waiting = 0;  // bytes of _out that are not written
    std::size_t _written = 0;  // bytes of the first item that are
    std::size_t _answers = 0;  // items that are answers
    bool _isUrgent = false;    // something in _out is no notification, or there is much, or a part of it is written
    Clock::time_point _collectsUntil;
    std::map<std::string, long long> _dropped;
    std::optional<Clock::time_point> _overSince;
};

// Nanoseconds since 1970.
long long wallTime();

}  // namespace tool

#endif
