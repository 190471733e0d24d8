// SPDX-License-Identifier: Apache-2.0
// What all open pages show, as numbered changes.
#include "serve/board.h"

#include <algorithm>
#include <chrono>

namespace tool {

namespace {

constexpr std::size_t kKept = 300;  // items of a list

std::string newEpoch() {
    return std::to_string(std::chrono::system_clock::now().time_since_epoch().count());
}

}  // namespace

class Board::Stream : public WebStream {
public:
    Stream(Board& board, long long seen, std::string topic, bool isPerson)
        : _board(board), _seen(seen), _topic(std::move(topic)), _isPerson(isPerson) {
        const std::lock_guard<std::mutex> lock(_board._mutex);
        ++_board._wanted[_topic];
        _board._persons += _isPerson ? 1 : 0;
    }
    ~Stream() override {
        const std::lock_guard<std::mutex> lock(_board._mutex);
        --_board._wanted[_topic];
        _board._persons -= _isPerson ? 1 : 0;
    }
    std::string next() override {
        // Comes no more often than the server's tick.
        return _board.changes(_seen, _topic);
    }

private:
    Board& _board;
    long long _seen;
    const std::string _topic;
    const bool _isPerson;
};

Board::Board() : _epoch(newEpoch()) {}

void Board::set(const std::string& key, Json value) {
    const std::lock_guard<std::mutex> lock(_mutex);
    Entry& entry = _values[key];
    if (entry.number == 0 || entry.value != value) {
        entry = {++_number, std::move(value)};
    }
}

Json Board::get(const std::string& key) const {
    const std::lock_guard<std::mutex> lock(_mutex);
    const auto found = _values.find(key);
    return found == _values.end() ? Json() : found->second.value;
}

void Board::add(const std::string& topic, const std::string& list, Json item) {
    const std::lock_guard<std::mutex> lock(_mutex);
    List& into = _lists[topic + "/" + list];
    into.topic = topic;
    into.items.push_back({++_number, std::move(item)});
    if (into.items.size() > kKept) {
        into.dropped = into.items.front().number;
        into.items.pop_front();
    }
}

std::unique_ptr<WebStream> Board::stream(const std::string& since, const std::string& topic, bool isPerson) {
    long long seen = -1;
    const std::size_t dash = since.find('-');
    if (dash != std::string::npos && since.substr(0, dash) == _epoch && !parseNumber(since.substr(dash + 1), seen)) {
        seen = -1;
    }
    return std::make_unique<Stream>(*this, seen, topic, isPerson);
}

bool Board::isWanted(const std::string& topic) const {
    const std::lock_guard<std::mutex> lock(_mutex);
    const auto found = _wanted.find(topic);
    return found != _wanted.end() && found->second > 0;
}

// What is new after `seen`, as an event; the first one is all that there is.
std::string Board::changes(long long& seen, const std::string& topic) {
    const std::lock_guard<std::mutex> lock(_mutex);
    if (seen >= _number) {
        return "";
    }
    Json told = {{"whole", seen < 0}, {"values", Json::object()}, {"lists", Json::object()}};
    for (const auto& [key, entry] : _values) {
        if (entry.number > seen) {
            told["values"][key] = entry.value;
        }
    }
    for (const auto& [key, list] : _lists) {
        const auto isNew = [last = seen](const Entry& item) { return item.number > last; };
        const auto first = std::find_if(list.items.begin(), list.items.end(), isNew);
        if (list.topic != topic || first == list.items.end()) {
            continue;
        }
        Json items = Json::array();
        std::for_each(first, list.items.end(), [&](const Entry& item) { items.push_back(item.value); });
        told["lists"][key] = {{"left_out", seen >= 0 && list.dropped > seen}, {"items", std::move(items)}};
    }
    const bool isEmpty = seen >= 0 && told["values"].empty() && told["lists"].empty();
    seen = _number;
    return isEmpty ? "" : "id: " + _epoch + "-" + std::to_string(_number) + "\ndata: " + jsonLine(told) + "\n\n";
}

}  // namespace tool
