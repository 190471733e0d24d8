// SPDX-License-Identifier: Apache-2.0
// Where a fixture reaches the virtual set, when that has the role of a board and its wire has no actions.
#ifndef FAPI_AGENT_SUPERVISOR_HANDS_H
#define FAPI_AGENT_SUPERVISOR_HANDS_H

#include <functional>
#include <map>
#include <string>

#include "protocol/framing.h"
#include "protocol/message.h"

namespace tool {

// A UNIX socket with at most one client, which speaks the protocol in plain framing. Its requests get ids that none of
// the wire's have.
class Hands {
public:
    // Throws std::runtime_error.
    explicit Hands(const std::string& path);
    ~Hands();
    Hands(const Hands&) = delete;
    Hands& operator=(const Hands&) = delete;

    // What is to be waited for: the client, or the next one.
    int descriptor() const { return _client >= 0 ? _client : _listener; }
    // Takes what has come.
    void read(const std::function<void(Request request)>& take);

    static bool isOurs(long long id);
    void answer(Answer answer);

private:
    void drop();

    const std::string _path;
    int _listener = -1;
    int _client = -1;
    LineReader _reader{Framing::plain};
    long long _last = 0;
    std::map<long long, long long> _ids;  // the client's, by ours
};

}  // namespace tool

#endif
