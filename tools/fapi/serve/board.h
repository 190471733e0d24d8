// SPDX-License-Identifier: Apache-2.0
// What all open pages show, as numbered changes.
#ifndef FAPI_BENCH_SERVE_BOARD_H
#define FAPI_BENCH_SERVE_BOARD_H

#include <atomic>
#include <deque>
#include <map>
#include <mutex>
#include <string>

#include "serve/web_server.h"
#include "target/output.h"

namespace tool {

// Named values, each with the number of its last change, and lists of which the newest items are kept. Who has missed
// changes gets the values as they are now, however many changes there were. Threads may use it at once.
class Board {
public:
    Board();

    // Nothing changes when the value is the one that is there.
    void set(const std::string& key, Json value);
    Json get(const std::string& key) const;
    // `topic` is what a page has to ask for to get the list.
    void add(const std::string& topic, const std::string& list, Json item);
    // A browser's view of it. `since` is what it has seen last, empty at first; `topic` is the lists that it wants;
    // `isPerson` is false for a guest's.
    std::unique_ptr<WebStream> stream(const std::string& since, const std::string& topic, bool isPerson);
    // Whether somebody wants that topic.
    bool isWanted(const std::string& topic) const;
    // Whether a page is open in which somebody could answer a question.
    bool isAttended() const { return _persons != 0; }

private:
    class Stream;
    struct Entry {
        long long number = 0;
        Json value = Json::value_t::null;
    };
    struct List {
        std::string topic;
        std::deque<Entry> items;
        long long dropped = 0;  // the number of the last item that is not kept any more
    };
    std::string changes(long long& seen, const std::string& topic);

    mutable std::mutex _mutex;
    const std::string _epoch;  // another one for each start of the server
    long long _number = 0;
    std::map<std::string, Entry> _values;
    std::map<std::string, List> _lists;
    std::map<std::string, int> _wanted;
    std::atomic<int> _persons{0};
};

}  // namespace tool

#endif
