// SPDX-License-Identifier: Apache-2.0
// The set's serial connectors and ttys: pseudo-terminals, and the thread that moves bytes between them and the ports.
#include "serial_lines.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <filesystem>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <unistd.h>

#include "pseudo_terminal.h"
#include "vset/uart.h"
#include "vset_folder.h"
#include "vset_open_files.h"
#include "vset_thread.h"

namespace fs = std::filesystem;

namespace vset {

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr std::size_t kChunk = 65536;
constexpr std::size_t kSentKept = 65536;
// The time that a full line waits for a tty, or for a terminal program, that does not read.
constexpr auto kTtyPatience = 1s;
constexpr int kTerminalPatienceMs = 100;
// The longest pause between two attempts to write to a full tty.
constexpr int kRetryMs = 20;

constexpr char kSwitchPath[] = "/sys/kernel/uart/uart_switch";

struct Connector {
    PseudoTerminal terminal;
    std::string strSent;
    // Bytes that the tty of the port has not taken yet.
    std::string strPending;
    unsigned int u32PendingPort = 0;
};

struct Tty {
    PseudoTerminal terminal;
    bool bServed = false;  // a program has opened it, and it has not hung up since
    std::optional<Clock::time_point> refusingSince;
};

struct Lines {
    std::mutex mutex;
    std::condition_variable changed;
    std::string strFolder;  // empty while no set is attached
    std::array<Connector, uart::kPorts> connectors;
    std::array<Tty, uart::kTtys> ttys;
    int s32Wake = -1;           // exists while a set is attached
    bool bPolling = false;      // the thread sleeps on the descriptors
    unsigned int u32Halts = 0;  // the thread may not sleep on them while this is above 0
};

Lines& serialLines() {
    static Lines& lines = *new Lines;
    return lines;
}

void wake(const Lines& lines) {
    const std::uint64_t u64One = 1;
    [[maybe_unused]] const ssize_t written = write(lines.s32Wake, &u64One, sizeof(u64One));
}

// Has the lines for itself and keeps the thread off the descriptors, so that they can be closed: the thread would sleep
// on the files that get their numbers next.
class PausedThread {
public:
    explicit PausedThread(Lines& lines) : _lines(lines), _lock(lines.mutex) {
        ++_lines.u32Halts;
        wake(_lines);
        _lines.changed.wait(_lock, [this] { return !_lines.bPolling; });
    }
    ~PausedThread() {
        --_lines.u32Halts;
        _lines.changed.notify_all();
    }
    PausedThread(const PausedThread&) = delete;
    PausedThread& operator=(const PausedThread&) = delete;

private:
    Lines& _lines;
    std::unique_lock<std::mutex> _lock;
};

std::string linkOf(const std::string& strFolder, unsigned int u32Connector) {
    return strFolder + "/ports/uart" + std::to_string(u32Connector);
}

std::string ttyLinkOf(const std::string& strFolder, unsigned int u32Port) {
    return strFolder + "/tree/dev/ttyS" + std::to_string(u32Port);
}

void removeLink(const std::string& strLink) {
    std::error_code error;
    fs::remove(strLink, error);
}

// Makes the link to a terminal, if the line exists.
void putLink(const PseudoTerminal& terminal, const std::string& strLink) {
    removeLink(strLink);
    if (terminal.exists()) {
        std::error_code error;
        fs::create_directories(fs::path(strLink).parent_path(), error);
        fs::create_symlink(terminal.path(), strLink, error);
    }
}

void makeTty(Lines& lines, unsigned int u32Port) {
    Tty& tty = lines.ttys[u32Port];
    tty = Tty();
    tty.terminal = PseudoTerminal(PseudoTerminal::FarEnd::closed);
    putLink(tty.terminal, ttyLinkOf(lines.strFolder, u32Port));
}

void resetConnector(Lines& lines, unsigned int u32Connector) {
    Connector& connector = lines.connectors[u32Connector];
    if (!connector.terminal.exists()) {
        connector.terminal = PseudoTerminal(PseudoTerminal::FarEnd::kept);
        putLink(connector.terminal, linkOf(lines.strFolder, u32Connector));
    }
    connector.terminal.forgetUnreadNear();
    connector.strPending.clear();
    connector.strSent.clear();
}

void resetSwitch(const Lines& lines) {
    const std::string strSwitch = lines.strFolder + "/tree" + kSwitchPath;
    std::error_code error;
    fs::create_directories(fs::path(strSwitch).parent_path(), error);
    if (std::FILE* pSwitch = std::fopen(strSwitch.c_str(), "w"); pSwitch != nullptr) {
        std::fputc('0', pSwitch);
        std::fclose(pSwitch);
    }
}

bool isSwitchOn(const Lines& lines) {
    const HostPaths hostPaths;
    const int s32Fd = open((lines.strFolder + "/tree" + kSwitchPath).c_str(), O_RDONLY | O_CLOEXEC);
    char cState = '0';
    if (s32Fd >= 0) {
        [[maybe_unused]] const ssize_t length = read(s32Fd, &cState, 1);
        close(s32Fd);
    }
    return cState == '1';
}

// Returns the port of a connector, or the connector of a port.
unsigned int farSideOf(const Lines& lines, unsigned int u32Number) {
    return u32Number < 2 && isSwitchOn(lines) ? u32Number ^ 1u : u32Number;
}

bool isOpen(const Lines& lines, unsigned int u32Port) {
    return u32Port < uart::kTtys && lines.ttys[u32Port].bServed && !lines.ttys[u32Port].terminal.isHungUp();
}

void transmitLocked(Lines& lines, unsigned int u32Port, std::string_view bytes) {
    Connector& connector = lines.connectors[farSideOf(lines, u32Port)];
    connector.strSent.append(bytes);
    if (connector.strSent.size() > kSentKept) {
        connector.strSent.erase(0, connector.strSent.size() - kSentKept);
    }
    connector.terminal.writeAll(bytes, kTerminalPatienceMs);
}

// --- The thread ------------------------------------------------------------------------------------------------------

// Returns whether to wait for a tty that has just taken so many bytes.
bool isPatientWith(Tty& tty, std::size_t taken) {
    if (taken != 0) {
        tty.refusingSince.reset();
        return true;
    }
    const auto now = Clock::now();
    if (!tty.refusingSince) {
        tty.refusingSince = now;
    }
    return now - *tty.refusingSince < kTtyPatience;
}

void deliverPending(Lines& lines, Connector& connector) {
    const unsigned int u32Port = connector.u32PendingPort;
    if (isOpen(lines, u32Port)) {
        Tty& tty = lines.ttys[u32Port];
        const std::size_t taken = tty.terminal.write(connector.strPending);
        connector.strPending.erase(0, taken);
        if (isPatientWith(tty, taken)) {
            return;
        }
    }
    countAtPort(u32Port, 0, connector.strPending.size());
    connector.strPending.clear();
}

// Passes typed bytes to the port's tty if that is open, else to the middleware's port.
void serveConnector(Lines& lines, unsigned int u32Connector, char* pcBuffer) {
    Connector& connector = lines.connectors[u32Connector];
    if (connector.strPending.empty()) {
        const std::string_view bytes(pcBuffer, connector.terminal.read(pcBuffer, kChunk));
        if (bytes.empty()) {
            return;
        }
        const unsigned int u32Port = farSideOf(lines, u32Connector);
        if (!isOpen(lines, u32Port)) {
            receiveAtPort(u32Port, bytes);
            return;
        }
        countAtPort(u32Port, bytes.size(), 0);
        connector.strPending = bytes;
        connector.u32PendingPort = u32Port;
    }
    deliverPending(lines, connector);
}

void serveTtyOutput(Lines& lines, unsigned int u32Port, char* pcBuffer) {
    Tty& tty = lines.ttys[u32Port];
    const std::size_t length = tty.terminal.read(pcBuffer, kChunk);
    if (length != 0) {
        transmitLocked(lines, u32Port, {pcBuffer, length});
    } else if (tty.terminal.isHungUp()) {
        // No program has the tty open; the next open() calls serveTty().
        tty.bServed = false;
    }
}

constexpr nfds_t kFirstConnector = 1;
constexpr nfds_t kFirstTty = kFirstConnector + uart::kPorts;
constexpr nfds_t kPolled = kFirstTty + uart::kTtys;

// Collects the descriptors to wait for, -1 in place of a missing one, and returns how long to wait.
int collect(const Lines& lines, std::array<pollfd, kPolled>& polled) {
    int s32TimeoutMs = -1;
    polled[0] = {lines.s32Wake, POLLIN, 0};
    for (unsigned int i = 0; i < uart::kTtys; ++i) {
        polled[kFirstTty + i] = {lines.ttys[i].bServed ? lines.ttys[i].terminal.nearEnd() : -1, POLLIN, 0};
    }
    for (unsigned int i = 0; i < uart::kPorts; ++i) {
        const Connector& connector = lines.connectors[i];
        polled[kFirstConnector + i] = {connector.terminal.nearEnd(), POLLIN, 0};
        if (!connector.strPending.empty()) {
            // The connector waits until the tty takes more.
            polled[kFirstConnector + i].fd = -1;
            polled[kFirstTty + connector.u32PendingPort].events |= POLLOUT;
            s32TimeoutMs = kRetryMs;
        }
    }
    return s32TimeoutMs;
}

void serve(Lines& lines, const std::array<pollfd, kPolled>& polled, char* pcBuffer) {
    if (polled[0].revents != 0) {
        std::uint64_t u64Count = 0;
        [[maybe_unused]] const ssize_t length = read(lines.s32Wake, &u64Count, sizeof(u64Count));
    }
    if (lines.u32Halts != 0) {
        return;
    }
    for (unsigned int i = 0; i < uart::kTtys; ++i) {
        if ((polled[kFirstTty + i].revents & (POLLIN | POLLHUP | POLLERR)) != 0) {
            serveTtyOutput(lines, i, pcBuffer);
        }
    }
    for (unsigned int i = 0; i < uart::kPorts; ++i) {
        if (polled[kFirstConnector + i].revents != 0 || !lines.connectors[i].strPending.empty()) {
            serveConnector(lines, i, pcBuffer);
        }
    }
}

[[noreturn]] void runSerialThread() {
    nameThread("hw3-serial");
    Lines& lines = serialLines();
    static char acBuffer[kChunk];
    std::array<pollfd, kPolled> polled;
    std::unique_lock<std::mutex> lock(lines.mutex);
    for (;;) {
        lines.changed.wait(lock, [&] { return lines.s32Wake >= 0 && lines.u32Halts == 0; });
        const int s32TimeoutMs = collect(lines, polled);
        lines.bPolling = true;
        lock.unlock();
        poll(polled.data(), polled.size(), s32TimeoutMs);
        lock.lock();
        lines.bPolling = false;
        lines.changed.notify_all();
        serve(lines, polled, acBuffer);
    }
}

// --- Control API -----------------------------------------------------------------------------------------------------

void requireNumber(unsigned int u32Number, unsigned int u32Count) {
    requireSet();
    if (u32Number >= u32Count) {
        throw SetError("serial port " + std::to_string(u32Number) + ": there are only " + std::to_string(u32Count));
    }
}

[[noreturn]] void failAtConnector(unsigned int u32Connector, const char* pszWhat) {
    throw SetError("connector " + std::to_string(u32Connector) + ": " + pszWhat);
}

// Returns whether a process has the set in the folder.
bool isInUse(const std::string& strFolder) {
    const int s32Lock = open((strFolder + "/lock").c_str(), O_RDONLY | O_CLOEXEC);
    if (s32Lock < 0) {
        return false;
    }
    const bool bLocked = flock(s32Lock, LOCK_SH | LOCK_NB) != 0;
    close(s32Lock);
    return bLocked;
}

}  // namespace

void switchOnSerialLines(const std::string& strFolder) {
    const HostPaths hostPaths;
    Lines& lines = serialLines();
    const PausedThread halt(lines);
    lines.strFolder = strFolder;
    if (lines.s32Wake < 0) {
        lines.s32Wake = moveAside(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    }
    bool bAll = lines.s32Wake >= 0;
    for (unsigned int i = 0; i < uart::kPorts; ++i) {
        resetConnector(lines, i);
        bAll = bAll && lines.connectors[i].terminal.exists();
    }
    for (unsigned int i = 0; i < uart::kTtys; ++i) {
        makeTty(lines, i);
        bAll = bAll && lines.ttys[i].terminal.exists();
    }
    if (!bAll) {
        std::fprintf(stderr, "virtual set: no pseudo-terminals to be had, serial lines lead nowhere\n");
    }
    resetSwitch(lines);
}

void removeSerialLines() {
    const HostPaths hostPaths;
    Lines& lines = serialLines();
    const PausedThread halt(lines);
    if (lines.strFolder.empty()) {
        return;
    }
    for (unsigned int i = 0; i < uart::kPorts; ++i) {
        lines.connectors[i] = Connector();
        removeLink(linkOf(lines.strFolder, i));
    }
    for (unsigned int i = 0; i < uart::kTtys; ++i) {
        lines.ttys[i] = Tty();
        removeLink(ttyLinkOf(lines.strFolder, i));
    }
    close(lines.s32Wake);
    lines.s32Wake = -1;
    lines.strFolder.clear();
}

void startSerialThread() {
    static const bool bStarted = [] {
        std::thread(runSerialThread).detach();
        return true;
    }();
    static_cast<void>(bStarted);
}

void forgetUnreadOfTty(unsigned int u32Port) {
    if (u32Port >= uart::kTtys) {
        return;
    }
    const HostPaths hostPaths;
    Lines& lines = serialLines();
    const std::lock_guard<std::mutex> lock(lines.mutex);
    Tty& tty = lines.ttys[u32Port];
    if (tty.terminal.isHungUp()) {
        tty.bServed = false;
        tty.refusingSince.reset();
        tty.terminal.forgetUnreadFar();
    }
}

void serveTty(unsigned int u32Port) {
    if (u32Port >= uart::kTtys) {
        return;
    }
    try {
        startSerialThread();
    } catch (const std::system_error& error) {
        // A program that opens a tty must not receive an exception.
        std::fprintf(stderr, "virtual set: %s\n", error.what());
    }
    Lines& lines = serialLines();
    const std::lock_guard<std::mutex> lock(lines.mutex);
    lines.ttys[u32Port].bServed = true;
    wake(lines);
}

void transmit(unsigned int u32Port, std::string_view bytes) {
    Lines& lines = serialLines();
    const std::lock_guard<std::mutex> lock(lines.mutex);
    transmitLocked(lines, u32Port, bytes);
}

bool isTtyOpen(unsigned int u32Port) {
    Lines& lines = serialLines();
    const std::lock_guard<std::mutex> lock(lines.mutex);
    return isOpen(lines, u32Port);
}

}  // namespace vset

using namespace vset;

std::vector<uart::Connector> uart::connectors(const std::string& strFolder) {
    const HostPaths hostPaths;
    std::vector<Connector> connectors;
    if (!isInUse(strFolder)) {
        return connectors;
    }
    for (unsigned int i = 0; i < kPorts; ++i) {
        const std::string strLink = linkOf(absoluteFolder(strFolder), i);
        std::error_code error;
        const fs::path target = fs::read_symlink(strLink, error);
        if (!error) {
            connectors.push_back({i, strLink, target.string()});
        }
    }
    return connectors;
}

void uart::type(unsigned int u32Connector, std::string_view bytes) {
    requireNumber(u32Connector, kPorts);
    startSerialThread();
    int s32Terminal = -1;
    {
        Lines& lines = serialLines();
        const std::lock_guard<std::mutex> lock(lines.mutex);
        const int s32Far = lines.connectors[u32Connector].terminal.farEnd();
        s32Terminal = s32Far >= 0 ? fcntl(s32Far, F_DUPFD_CLOEXEC, 3) : -1;
    }
    if (s32Terminal < 0) {
        failAtConnector(u32Connector, "leads nowhere");
    }
    while (!bytes.empty()) {
        const ssize_t length = write(s32Terminal, bytes.data(), std::min(bytes.size(), kChunk));
        if (length > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(length));
            continue;
        }
        pollfd stTerminal = {s32Terminal, POLLOUT, 0};
        if (poll(&stTerminal, 1, 10000) <= 0 || (stTerminal.revents & POLLHUP) != 0) {
            close(s32Terminal);
            failAtConnector(u32Connector, "takes nothing");
        }
    }
    close(s32Terminal);
}

std::string uart::sent(unsigned int u32Connector) {
    requireNumber(u32Connector, kPorts);
    Lines& lines = serialLines();
    const std::lock_guard<std::mutex> lock(lines.mutex);
    return lines.connectors[u32Connector].strSent;
}

void uart::clearSent(unsigned int u32Connector) {
    requireNumber(u32Connector, kPorts);
    Lines& lines = serialLines();
    const std::lock_guard<std::mutex> lock(lines.mutex);
    lines.connectors[u32Connector].strSent.clear();
}

bool uart::isCrossed() {
    requireSet();
    Lines& lines = serialLines();
    const std::lock_guard<std::mutex> lock(lines.mutex);
    return isSwitchOn(lines);
}

void uart::hangUp(unsigned int u32Port) {
    requireNumber(u32Port, kTtys);
    const HostPaths hostPaths;
    Lines& lines = serialLines();
    const PausedThread halt(lines);
    makeTty(lines, u32Port);
    if (!lines.ttys[u32Port].terminal.exists()) {
        throw SetError("tty " + std::to_string(u32Port) + ": no pseudo-terminal to be had");
    }
}
