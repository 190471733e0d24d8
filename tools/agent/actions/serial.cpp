// SPDX-License-Identifier: Apache-2.0
// What a person does to the set's serial ports and pipe, and sees of its LEDs.
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include "actions/action.h"
#include "vset/pm.h"
#include "vset/uart.h"
#include "vset/vset.h"

namespace tool {

namespace {

using Clock = std::chrono::steady_clock;

constexpr char kPipe[] = "/data/vendor/uartCmdPipe";
// How long the library may take to open the pipe, or to take what is written.
constexpr std::chrono::seconds kPipePatience{2};

Argument port(unsigned int count, const char* help) {
    return {"port", Kind::number, help, 0, count - 1};
}

Argument connector() {
    return port(vset::uart::kPorts, "number of the connector");
}

Argument clear() {
    return {"clear", Kind::choice, "whether it is forgotten then", 0, 0, {{"keep", 0}, {"clear", 1}}, "keep"};
}

// As the operation that takes it names it.
std::string baudRateName(unsigned int index) {
    for (const Choice& choice : findOperationRow("prphrl_start_factory_uart")->arguments[0].choices) {
        if (choice.value == index) {
            return choice.name;
        }
    }
    return std::to_string(index);
}

// "open in the library, 115200 baud, device 0, has a callback; 3 received, 0 waiting, 0 dropped"
std::string describePort(const vset::uart::Port& port) {
    std::string text = "closed";
    if (port.bOpen) {
        text = std::string(port.bPlayer ? "open in the player, " : "open in the library, ") +
               baudRateName(port.u32BaudRate) + " baud, device " + std::to_string(port.u32DeviceType);
        text += port.bCallback ? ", has a callback" : "";
    }
    text += port.bTtyOpen ? ", tty open" : "";
    text += "; " + std::to_string(port.u64Received) + " received, " + std::to_string(port.u32Waiting) + " waiting, " +
            std::to_string(port.u64Dropped) + " dropped";
    return port.u64Refused != 0 ? text + ", " + std::to_string(port.u64Refused) + " refused" : text;
}

std::vector<std::pair<std::string, Value>> portFields(unsigned int number, const vset::uart::Port& port) {
    return {{"port", number},
            {"open", port.bOpen},
            {"player", port.bPlayer},
            {"baud", baudRateName(port.u32BaudRate)},
            {"device", port.u32DeviceType},
            {"callback", port.bCallback},
            {"tty_open", port.bTtyOpen},
            {"received", static_cast<long long>(port.u64Received)},
            {"waiting", port.u32Waiting},
            {"dropped", static_cast<long long>(port.u64Dropped)},
            {"refused", static_cast<long long>(port.u64Refused)}};
}

void ports(Call& call) {
    Rows rows;
    for (const vset::uart::Connector& connector : vset::uart::connectors(vset::folder())) {
        rows.push_back(
            {std::to_string(connector.u32Number) + " " + connector.strPath + " -> " + connector.strTerminal,
             {{"connector", connector.u32Number}, {"path", connector.strPath}, {"terminal", connector.strTerminal}}});
    }
    unsigned long long waiting = 0, dropped = 0;
    for (unsigned int i = 0; i < vset::uart::kPorts; ++i) {
        const vset::uart::Port port = vset::uart::port(i);
        rows.push_back({"port " + std::to_string(i) + ": " + describePort(port), portFields(i, port)});
        waiting += port.u32Waiting;
        dropped += port.u64Dropped;
    }
    call.outRows("ports", std::move(rows));
    call.out("crossed", static_cast<long long>(vset::uart::isCrossed()));
    call.out("waiting", static_cast<long long>(waiting));
    call.out("dropped", static_cast<long long>(dropped));
}

void type(Call& call) {
    const Bytes& bytes = call.bytes(1);
    vset::uart::type(call.number<unsigned int>(0), std::string(bytes.begin(), bytes.end()));
}

void sent(Call& call) {
    const auto number = call.number<unsigned int>(0);
    std::string text = vset::uart::sent(number);
    if (call.number(1) != 0) {
        vset::uart::clearSent(number);
    }
    call.out("bytes", Bytes(text.begin(), text.end()));
    call.out("text", std::move(text));
}

// "#FF0000"
std::string colorOf(const vset::pm::Led& led) {
    char text[16];
    std::snprintf(text, sizeof(text), "#%02X%02X%02X", led.u8Red, led.u8Green, led.u8Blue);
    return text;
}

// "250 #FF0000 #FF0000 #FF0000 #FF0000"
Row changeRow(std::chrono::milliseconds since, const vset::pm::LedRing& ring) {
    constexpr const char* kNames[] = {"led0", "led1", "led2", "led3"};
    static_assert(std::tuple_size<vset::pm::LedRing>::value == std::size(kNames));
    std::string line = std::to_string(since.count());
    std::vector<std::pair<std::string, Value>> fields = {{"milliseconds", static_cast<long long>(since.count())}};
    for (std::size_t i = 0; i < ring.size(); ++i) {
        line += " " + colorOf(ring[i]);
        fields.emplace_back(kNames[i], colorOf(ring[i]));
    }
    return {std::move(line), std::move(fields)};
}

void leds(Call& call) {
    const std::vector<vset::pm::LedChange> history = vset::pm::ledHistory();
    Rows ring, changes;
    for (const vset::pm::Led& led : vset::pm::leds()) {
        ring.push_back({colorOf(led)});
    }
    for (const vset::pm::LedChange& change : history) {
        const auto since = std::chrono::duration_cast<std::chrono::milliseconds>(change.time - history.front().time);
        changes.push_back(changeRow(since, change.ring));
    }
    call.outRows("ring", std::move(ring), " ");
    call.outRows("history", std::move(changes));
    if (call.number(0) != 0) {
        vset::pm::clearLedHistory();
    }
}

// While one lives, a reader that goes away ends a write with an error, and not the process.
class NoPipeSignal {
public:
    NoPipeSignal() {
        sigemptyset(&_signal);
        sigaddset(&_signal, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &_signal, &_before);
    }
    ~NoPipeSignal() {
        const timespec atOnce = {};
        sigtimedwait(&_signal, nullptr, &atOnce);
        pthread_sigmask(SIG_SETMASK, &_before, nullptr);
    }
    NoPipeSignal(const NoPipeSignal&) = delete;
    NoPipeSignal& operator=(const NoPipeSignal&) = delete;

private:
    sigset_t _signal;
    sigset_t _before;
};

// The pipe for writing, as soon as somebody reads it.
int openPipe() {
    const std::string host = vset::hostPath(kPipe);
    const vset::HostPaths hostPaths;
    const Clock::time_point deadline = Clock::now() + kPipePatience;
    for (;;) {
        const int descriptor = open(host.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        if (descriptor >= 0) {
            return descriptor;
        }
        if ((errno != ENXIO && errno != ENOENT) || Clock::now() > deadline) {
            throw vset::SetError(std::string(kPipe) + ": " +
                                 (errno == ENXIO ? "nobody reads it" : std::strerror(errno)));
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

// False when the reader has gone or takes nothing more.
bool writePipe(int descriptor, const Bytes& bytes) {
    const NoPipeSignal noSignal;
    const Clock::time_point deadline = Clock::now() + kPipePatience;
    for (std::size_t written = 0; written < bytes.size();) {
        const ssize_t count = write(descriptor, bytes.data() + written, bytes.size() - written);
        if (count >= 0) {
            written += static_cast<std::size_t>(count);
            continue;
        }
        pollfd writable = {descriptor, POLLOUT, 0};
        if (errno != EAGAIN || Clock::now() > deadline || poll(&writable, 1, 100) < 0) {
            return false;
        }
    }
    return true;
}

void pipe(Call& call) {
    const int descriptor = openPipe();
    const bool written = writePipe(descriptor, call.bytes(0));
    close(descriptor);
    if (!written) {
        throw vset::SetError(std::string(kPipe) + ": its reader takes nothing more");
    }
}

}  // namespace

std::vector<ActionRow> serialActions() {
    return {
        ActionRow("ports", "Show where terminal programs can be connected, and what is open on the serial ports.", {},
                  {{"ports", "a line each: connectors, then ports"},
                   {"crossed", "1 when the routing switch is on"},
                   {"waiting", "bytes that wait for a callback, of all ports"},
                   {"dropped", "bytes that were lost, of all ports"}},
                  ports)
            .inSession(),
        ActionRow("type", "Type bytes on a connector, as a terminal program would.",
                  {connector(), {"bytes", Kind::bytes, "what to type"}}, {}, type)
            .asking("Type ${bytes} on the terminal at connector ${port}.")
            .inSession(),
        ActionRow("sent", "Show what the set has sent out of a connector.", {connector(), clear()},
                  {{"bytes", "at most the last 65,536 bytes", true}, {"text", "the same as a text"}}, sent)
            .inSession(),
        ActionRow("hang-up", "Take a port's tty away under whoever has it open.",
                  {port(vset::uart::kTtys, "number of the tty")}, {},
                  [](Call& call) { vset::uart::hangUp(call.number<unsigned int>(0)); })
            .inSession(),
        ActionRow("leds", "Show the LED ring, and what it has shown.", {clear()},
                  {{"ring", "the four LEDs"},
                   {"history", "a line each time it was written to: milliseconds since the first, LEDs"}},
                  leds)
            .inSession(),
        ActionRow("pipe", "Write bytes into the pipe of pipe mode, as another process of the set would.",
                  {{"bytes", Kind::bytes, "what to write"}}, {}, pipe)
            .inSession(),
    };
}

}  // namespace tool
