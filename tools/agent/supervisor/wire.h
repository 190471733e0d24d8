// SPDX-License-Identifier: Apache-2.0
// The agent's end of the wire: lines in, lines out, and the answers that are kept until the client has read them.
#ifndef FAPI_AGENT_SUPERVISOR_WIRE_H
#define FAPI_AGENT_SUPERVISOR_WIRE_H

#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "protocol/framing.h"

namespace tool {

class Wire {
public:
    // Two open descriptors, which are those of a terminal, of pipes or of a socket.
    Wire(int in, int out);
    ~Wire();
    Wire(const Wire&) = delete;
    Wire& operator=(const Wire&) = delete;

    int in() const { return _in; }
    int out() const { return _out; }
    // False when nothing comes or goes any more.
    bool isOpen() const { return _open; }

    // From here on nothing is read, and what is sent is dropped.
    void close() { _open = false; }

    // Reads what has come.
    void read();
    // Takes the next line of what has been read.
    std::optional<Line> next();

    Framing framing() const { return _reader.framing(); }
    // From the next line on, in both directions.
    void use(Framing framing);

    // Queues the text of a message, which is ASCII only.
    void send(std::string text);
    // The same for a message that must arrive, however long it is, after the one of before. In checked framing it is
    // kept, and the client reads it part by part.
    void sendSurely(std::string text);
    // Queues an answer, and keeps it in checked framing. A long one, or one that must come before what is sent surely,
    // is sent like that.
    void answer(long long id, std::string text, bool isSure = false);
    // The answer with that id is the first to be forgotten when too many are kept.
    void spare(long long id) { _spared.insert(id); }
    // Queues a kept answer once more. False when there is none.
    bool sendAgain(long long id);
    bool isKept(long long id) const { return _kept.count(id) != 0; }
    // Forgets the answers up to that id.
    void forget(long long acknowledged);
    // Forgets all answers and long messages: the client is another one.
    void forgetAll();

    // A part of a kept message, from 1; nothing when there is none.
    struct Part {
        std::string_view text;
        long long parts;  // of the message
    };
    std::optional<Part> part(long long message, long long number) const;
    // Forgets the messages up to that number.
    void forgetMessages(long long read);
    long long lastMessage() const { return _lastMessage; }
    // How many bytes of them are kept.
    std::size_t unread() const { return _messageBytes; }

    // Drops all lines of which nothing has been written.
    void dropUnwritten();
    // Writes what the other end takes now.
    void flush();
    // How many bytes wait to be written.
    std::size_t waiting() const { return _open ? _waiting : 0; }

private:
    std::string keepMessage(std::string text);
    void forgetOne();

    const int _in;
    const int _out;
    int _outFlags = 0;
    bool _open = true;
    std::string _unread;
    std::size_t _unreadFrom = 0;
    LineReader _reader{Framing::plain, LineReader::Gives::outline};
    std::deque<Line> _lines;
    std::deque<std::string> _unwritten;
    std::size_t _written = 0;  // of the first of them
    std::size_t _waiting = 0;
    std::map<long long, std::string> _kept;
    std::size_t _keptBytes = 0;
    std::set<long long> _spared;                 // of their ids
    std::map<long long, std::string> _messages;  // that are read part by part, by their numbers
    long long _lastMessage = 0;
    std::size_t _messageBytes = 0;
};

}  // namespace tool

#endif
