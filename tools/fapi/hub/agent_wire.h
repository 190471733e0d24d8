// SPDX-License-Identifier: Apache-2.0
// The wire to an agent: the standard streams of a command.
#ifndef FAPI_BENCH_HUB_AGENT_WIRE_H
#define FAPI_BENCH_HUB_AGENT_WIRE_H

#include <chrono>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <poll.h>
#include <sys/types.h>

#include "hub/descriptor.h"
#include "protocol/framing.h"
#include "protocol/message.h"

namespace tool {

using Clock = std::chrono::steady_clock;

// Returns the milliseconds that poll() may wait until then; -1 when there is no such time.
int waitTime(const std::optional<Clock::time_point>& until);

// Returns the command's words as exec() takes them: pointers into `command`, and a null.
std::vector<char*> argumentVector(const std::vector<std::string>& command);

// A command that runs, in a process group of its own, and what goes in and out of it. Nothing waits.
class AgentWire {
public:
    // Throws RequestError when the command cannot be started.
    explicit AgentWire(const std::vector<std::string>& command);
    // Ends the command at once.
    ~AgentWire();
    AgentWire(const AgentWire&) = delete;
    AgentWire& operator=(const AgentWire&) = delete;

    // Adds what is to be waited for, without what the agent sends unless it `reads`, and until when at most.
    void addTo(std::vector<pollfd>& waited, std::optional<Clock::time_point>& until, bool reads);
    // Moves what can be moved after that wait. Appends the lines that came; the text of a message is its object.
    void move(const std::vector<pollfd>& waited, std::vector<Line>& lines);

    void send(const Field& object);
    // From here on what is sent is in that framing, while what comes may still be in the other one.
    void sendIn(Framing framing) { _sends = framing; }
    // Waits for each text in what a console prints, and types the one after it.
    void converse(const std::vector<std::string>& script) { _script.assign(script.begin(), script.end()); }
    bool isConversing() const { return !_script.empty(); }
    // A message as text; ASCII only in checked framing.
    void sendText(std::string text);
    // Lines that are no message.
    void sendBlankLines(std::size_t count) { type(std::string(count, '\n')); }
    std::size_t waiting() const { return _out.size() - _sent; }
    void use(Framing framing);
    Framing framing() const { return _reader.framing(); }

    // Says that nothing more comes, and waits for the command's own end.
    void endInput() { _input.close(); }
    // Ends the command: SIGTERM now, SIGKILL after two seconds.
    void terminate();
    // Closes the wire: the agent ends by itself, else by SIGTERM after two seconds, by SIGKILL after four.
    void close();
    // Closes it for that reason, whatever the command makes of it.
    void closeFor(const std::string& reason);
    bool isClosed() const { return _closed.has_value(); }
    // Whether the command has ended.
    bool isGone() const { return _child < 0; }
    // How a command that has ended did so, as waitpid() says it.
    int status() const { return _status; }
    // Waits for the end of a closed wire.
    void waitForEnd();
    // Why the wire is gone: how the command has ended, and the last it wrote to its standard error.
    std::string reason() const;

    // Sends a request and waits for its answer. Throws RequestError; also when none comes in that time.
    Answer ask(const Request& request, std::chrono::milliseconds limit);

private:
    void start(const std::vector<std::string>& command);
    void type(const std::string& bytes);
    void listenForPrompt(std::string_view piece);
    void flush();
    void readOutput(std::vector<Line>& lines);
    void readErrors(std::vector<Line>& lines);
    void advanceEnd();
    void reap(std::vector<Line>& lines);

    Descriptor _input;
    Descriptor _output;
    Descriptor _errors;
    Descriptor _process;  // readable when the command has ended
    pid_t _child = -1;
    int _status = 0;
    std::string _name;
    std::string _out;
    std::size_t _sent = 0;
    LineReader _reader{Framing::plain, LineReader::Gives::text};
    Framing _sends = Framing::plain;
    std::deque<std::string> _script;
    std::string _printed;  // by the console since the last text was typed
    std::string _closeReason;
    std::string _errorText;      // the last of the standard error
    std::size_t _errorLine = 0;  // where its last line begins
    std::size_t _place = 0;      // of the wire's first entry in what is waited for
    std::optional<Clock::time_point> _closed;
    int _signaled = 0;  // how many signals were sent
};

}  // namespace tool

#endif
