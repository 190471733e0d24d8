// SPDX-License-Identifier: Apache-2.0
// The set's serial connectors and ttys: pseudo-terminals, and the thread that moves bytes between them and the ports.
#include "serial_lines.h"

#include <array>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <optional>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include "vset/uart.h"
#include "vset_folder.h"
#include "vset_paths.h"

namespace fs = std::filesystem;

namespace vset {

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr std::size_t kChunk = 65536;
constexpr std::size_t kSentKept = 65536;
// How long a full line waits: for a tty that does not read, and for a terminal program that does not.
constexpr auto kTtyPatience = 1s;
constexpr int kTerminalPatienceMs = 100;

constexpr char kSwitchPath[] = "/sys/kernel/uart/uart_switch";

int closeOnExec(int s32Fd) {
    if (s32Fd >= 0) {
        fcntl(s32Fd, F_SETFD, FD_CLOEXEC);
    }
    return s32Fd;
}

// A pseudo-terminal, raw and without echo. Its far end is kept open on request: the near end then never hangs up.
class PseudoTerminal {
public:
    PseudoTerminal() = default;
    explicit PseudoTerminal(bool bKeepFarEnd) {
        _s32Near = closeOnExec(posix_openpt(O_RDWR | O_NOCTTY));
        char acPath[64];
        if (_s32Near < 0 || grantpt(_s32Near) != 0 || unlockpt(_s32Near) != 0 ||
            ptsname_r(_s32Near, acPath, sizeof(acPath)) != 0) {
            reset();
            return;
        }
        _strPath = acPath;
        fcntl(_s32Near, F_SETFL, O_NONBLOCK);
        // Opened once in any case: only what has been open can hang up.
        _s32Far = closeOnExec(open(acPath, O_RDWR | O_NOCTTY | O_NONBLOCK));
        termios stTty = {};
        tcgetattr(_s32Far, &stTty);
        cfmakeraw(&stTty);
        tcsetattr(_s32Far, TCSANOW, &stTty);
        if (!bKeepFarEnd) {
            close(_s32Far);
            _s32Far = -1;
        }
    }
    PseudoTerminal(PseudoTerminal&& other) noexcept { *this = std::move(other); }
    PseudoTerminal& operator=(PseudoTerminal&& other) noexcept {
        reset();
        std::swap(_s32Near, other._s32Near);
        std::swap(_s32Far, other._s32Far);
        std::swap(_strPath, other._strPath);
        return *this;
    }
    ~PseudoTerminal() { reset(); }

    bool exists() const { return _s32Near >= 0; }
    int nearEnd() const { return _s32Near; }
    int farEnd() const { return _s32Far; }
    const std::string& path() const { return _strPath; }

    // What nobody has read of the far end's input.
    void forgetUnread() const {
        const int s32Far = open(_strPath.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
        if (s32Far >= 0) {
            tcflush(s32Far, TCIFLUSH);
            close(s32Far);
        }
    }

    bool isHungUp() const {
        pollfd stEnd = {_s32Near, 0, 0};
        return !exists() || (poll(&stEnd, 1, 0) > 0 && (stEnd.revents & POLLHUP) != 0);
    }

private:
    void reset() {
        for (int* pFd : {&_s32Near, &_s32Far}) {
            if (*pFd >= 0) {
                close(*pFd);
            }
            *pFd = -1;
        }
        _strPath.clear();
    }

    int _s32Near = -1;
    int _s32Far = -1;
    std::string _strPath;
};

struct Connector {
    PseudoTerminal terminal;
    std::string strSent;
    // What the tty of the port did not take yet, and since when it has taken nothing.
    std::string strPending;
    unsigned int u32PendingPort = 0;
    Clock::time_point pendingSince;
};

struct Tty {
    PseudoTerminal terminal;
    bool bServed = false;   // somebody has opened it, and nobody has seen it hang up
    bool bStalled = false;  // its owner does not read
};

// Descriptors are closed under the mutex and used under it, or as duplicates.
struct Lines {
    std::mutex mutex;
    std::condition_variable changed;
    std::string strFolder;
    std::array<Connector, uart::kPorts> connectors;
    std::array<Tty, uart::kTtys> ttys;
    std::uint64_t u64Generation = 0;  // of the descriptors
    int s32Wake = -1;                 // while a set is attached
};

Lines& theLines() {
    static Lines& lines = *new Lines;
    return lines;
}

std::string linkOf(const std::string& strFolder, unsigned int u32Connector) {
    return strFolder + "/ports/uart" + std::to_string(u32Connector);
}

std::string ttyLinkOf(const std::string& strFolder, unsigned int u32Port) {
    return strFolder + "/tree/dev/ttyS" + std::to_string(u32Port);
}

void putLink(const std::string& strTarget, const std::string& strLink) {
    std::error_code error;
    fs::create_directories(fs::path(strLink).parent_path(), error);
    fs::remove(strLink, error);
    if (!strTarget.empty()) {
        fs::create_symlink(strTarget, strLink, error);
    }
}

void wake(Lines& lines) {
    ++lines.u64Generation;
    const std::uint64_t u64One = 1;
    [[maybe_unused]] const ssize_t written = write(lines.s32Wake, &u64One, sizeof(u64One));
    lines.changed.notify_all();
}

void makeTty(Lines& lines, unsigned int u32Port) {
    Tty& tty = lines.ttys[u32Port];
    tty.terminal = PseudoTerminal(false);
    tty.bServed = tty.bStalled = false;
    putLink(tty.terminal.path(), ttyLinkOf(lines.strFolder, u32Port));
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

// Of a connector the port, and of a port the connector.
unsigned int farSideOf(const Lines& lines, unsigned int u32Number) {
    return u32Number < 2 && isSwitchOn(lines) ? u32Number ^ 1u : u32Number;
}

bool isOpen(const Lines& lines, unsigned int u32Port) {
    return u32Port < uart::kTtys && lines.ttys[u32Port].bServed && !lines.ttys[u32Port].terminal.isHungUp();
}

// Writes what the terminal takes; how much that is.
std::size_t writeSome(int s32Fd, std::string_view bytes) {
    const ssize_t length = write(s32Fd, bytes.data(), std::min(bytes.size(), kChunk));
    return length > 0 ? static_cast<std::size_t>(length) : 0;
}

// To the terminal program, if there is one that reads: what nobody reads goes, the oldest first.
void sendToTerminal(const PseudoTerminal& terminal, std::string_view bytes) {
    while (terminal.exists() && !bytes.empty()) {
        const std::size_t length = writeSome(terminal.nearEnd(), bytes);
        bytes.remove_prefix(length);
        if (length != 0) {
            continue;
        }
        pollfd stEnd = {terminal.nearEnd(), POLLOUT, 0};
        if (poll(&stEnd, 1, kTerminalPatienceMs) <= 0) {
            tcflush(terminal.farEnd(), TCIFLUSH);
        }
    }
}

void transmitLocked(Lines& lines, unsigned int u32Port, std::string_view bytes) {
    Connector& connector = lines.connectors[farSideOf(lines, u32Port)];
    connector.strSent.append(bytes);
    if (connector.strSent.size() > kSentKept) {
        connector.strSent.erase(0, connector.strSent.size() - kSentKept);
    }
    sendToTerminal(connector.terminal, bytes);
}

// --- The thread ------------------------------------------------------------------------------------------------------

// Gives the tty what it takes. A tty that has taken nothing for a while is not waited for again until it does.
void deliverToTty(Lines& lines, Connector& connector, unsigned int u32Port, std::string_view bytes) {
    Tty& tty = lines.ttys[u32Port];
    const std::size_t length = isOpen(lines, u32Port) ? writeSome(tty.terminal.nearEnd(), bytes) : 0;
    bytes.remove_prefix(length);
    const auto now = Clock::now();
    if (length != 0) {
        tty.bStalled = false;
        connector.pendingSince = now;
    }
    const bool bWaits = isOpen(lines, u32Port) && !tty.bStalled && now - connector.pendingSince < kTtyPatience;
    if (!bytes.empty() && !bWaits) {
        tty.bStalled = true;
        countAtPort(u32Port, 0, bytes.size());
        bytes = {};
    }
    connector.strPending = std::string(bytes);
    connector.u32PendingPort = u32Port;
}

// What has been typed goes to the port's tty if that is open, else to the middleware's port.
void deliverTyped(Lines& lines, Connector& connector, unsigned int u32Port, std::string_view bytes) {
    if (!isOpen(lines, u32Port)) {
        receiveAtPort(u32Port, bytes);
        return;
    }
    countAtPort(u32Port, bytes.size(), 0);
    connector.pendingSince = Clock::now();
    deliverToTty(lines, connector, u32Port, bytes);
}

void serveConnector(Lines& lines, unsigned int u32Connector, char* pcBuffer) {
    Connector& connector = lines.connectors[u32Connector];
    if (!connector.strPending.empty()) {
        const std::string strPending = std::move(connector.strPending);
        deliverToTty(lines, connector, connector.u32PendingPort, strPending);
        return;
    }
    const ssize_t length = read(connector.terminal.nearEnd(), pcBuffer, kChunk);
    if (length > 0) {
        deliverTyped(lines, connector, farSideOf(lines, u32Connector), {pcBuffer, static_cast<std::size_t>(length)});
    }
}

void serveTtyOutput(Lines& lines, unsigned int u32Port, char* pcBuffer) {
    Tty& tty = lines.ttys[u32Port];
    const ssize_t length = read(tty.terminal.nearEnd(), pcBuffer, kChunk);
    if (length > 0) {
        transmitLocked(lines, u32Port, {pcBuffer, static_cast<std::size_t>(length)});
    } else if (tty.terminal.isHungUp()) {
        // Nobody has it open; whoever opens it next says so.
        tty.bServed = false;
    }
}

constexpr nfds_t kFirstConnector = 1;
constexpr nfds_t kFirstTty = kFirstConnector + uart::kPorts;
constexpr nfds_t kPolled = kFirstTty + uart::kTtys;

// What to wait for. -1 in place of a descriptor: nothing there.
int collect(const Lines& lines, std::array<pollfd, kPolled>& polled) {
    int s32TimeoutMs = -1;
    polled[0] = {lines.s32Wake, POLLIN, 0};
    for (unsigned int i = 0; i < uart::kTtys; ++i) {
        polled[kFirstTty + i] = {lines.ttys[i].bServed ? lines.ttys[i].terminal.nearEnd() : -1, POLLIN, 0};
    }
    for (unsigned int i = 0; i < uart::kPorts; ++i) {
        const Connector& connector = lines.connectors[i];
        if (connector.strPending.empty()) {
            polled[kFirstConnector + i] = {connector.terminal.nearEnd(), POLLIN, 0};
        } else {
            // Until the tty takes more.
            polled[kFirstConnector + i] = {-1, 0, 0};
            polled[kFirstTty + connector.u32PendingPort].events |= POLLOUT;
            s32TimeoutMs = 20;
        }
    }
    return s32TimeoutMs;
}

[[noreturn]] void runSerialThread() {
    Lines& lines = theLines();
    static char acBuffer[kChunk];
    std::array<pollfd, kPolled> polled;
    for (;;) {
        std::unique_lock<std::mutex> lock(lines.mutex);
        lines.changed.wait(lock, [&] { return lines.s32Wake >= 0; });
        const std::uint64_t u64Generation = lines.u64Generation;
        const int s32TimeoutMs = collect(lines, polled);
        lock.unlock();
        poll(polled.data(), polled.size(), s32TimeoutMs);
        lock.lock();
        if (polled[0].revents != 0) {
            std::uint64_t u64Count = 0;
            [[maybe_unused]] const ssize_t length = read(lines.s32Wake, &u64Count, sizeof(u64Count));
        }
        if (u64Generation != lines.u64Generation) {
            // The descriptors may be others by now.
            continue;
        }
        for (unsigned int i = 0; i < uart::kTtys; ++i) {
            if ((polled[kFirstTty + i].revents & (POLLIN | POLLHUP | POLLERR)) != 0) {
                serveTtyOutput(lines, i, acBuffer);
            }
        }
        for (unsigned int i = 0; i < uart::kPorts; ++i) {
            if (polled[kFirstConnector + i].revents != 0 || !lines.connectors[i].strPending.empty()) {
                serveConnector(lines, i, acBuffer);
            }
        }
    }
}

void requireNumber(unsigned int u32Number, unsigned int u32Count) {
    requireSet();
    if (u32Number >= u32Count) {
        throw SetError("serial port " + std::to_string(u32Number) + ": there are only " + std::to_string(u32Count));
    }
}

// Whether a process has the set in the folder.
bool isInUse(const std::string& strFolder) {
    const int s32Lock = open((strFolder + "/lock").c_str(), O_RDWR | O_CLOEXEC);
    if (s32Lock < 0) {
        return false;
    }
    const bool bLocked = flock(s32Lock, LOCK_EX | LOCK_NB) != 0;
    close(s32Lock);
    return bLocked;
}

}  // namespace

void switchOnSerialLines(const std::string& strFolder) {
    const HostPaths hostPaths;
    Lines& lines = theLines();
    const std::lock_guard<std::mutex> lock(lines.mutex);
    lines.strFolder = strFolder;
    if (lines.s32Wake < 0) {
        lines.s32Wake = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    }
    bool bAll = true;
    for (unsigned int i = 0; i < uart::kPorts; ++i) {
        Connector& connector = lines.connectors[i];
        if (!connector.terminal.exists()) {
            connector.terminal = PseudoTerminal(true);
            putLink(connector.terminal.path(), linkOf(strFolder, i));
        }
        bAll = bAll && connector.terminal.exists();
        connector.strPending.clear();
        connector.strSent.clear();
    }
    for (unsigned int i = 0; i < uart::kTtys; ++i) {
        makeTty(lines, i);
        bAll = bAll && lines.ttys[i].terminal.exists();
    }
    if (!bAll) {
        std::fprintf(stderr, "virtual set: no pseudo-terminals to be had, serial lines lead nowhere\n");
    }
    std::error_code error;
    fs::create_directories(fs::path(strFolder + "/tree" + kSwitchPath).parent_path(), error);
    if (std::FILE* pSwitch = std::fopen((strFolder + "/tree" + kSwitchPath).c_str(), "w"); pSwitch != nullptr) {
        std::fputc('0', pSwitch);
        std::fclose(pSwitch);
    }
    wake(lines);
}

void removeSerialLines() {
    const HostPaths hostPaths;
    Lines& lines = theLines();
    const std::lock_guard<std::mutex> lock(lines.mutex);
    for (unsigned int i = 0; i < uart::kPorts; ++i) {
        lines.connectors[i] = Connector();
        putLink("", linkOf(lines.strFolder, i));
    }
    for (unsigned int i = 0; i < uart::kTtys; ++i) {
        lines.ttys[i] = Tty();
        putLink("", ttyLinkOf(lines.strFolder, i));
    }
    wake(lines);
    close(lines.s32Wake);
    lines.s32Wake = -1;
}

void startSerialThread() {
    static const bool bStarted = [] {
        std::thread(runSerialThread).detach();
        return true;
    }();
    static_cast<void>(bStarted);
}

void serveTty(unsigned int u32Port) {
    if (u32Port >= uart::kTtys) {
        return;
    }
    startSerialThread();
    Lines& lines = theLines();
    const std::lock_guard<std::mutex> lock(lines.mutex);
    lines.ttys[u32Port].bServed = true;
    wake(lines);
}

void forgetUnreadOfTty(unsigned int u32Port) {
    if (u32Port >= uart::kTtys) {
        return;
    }
    Lines& lines = theLines();
    const std::lock_guard<std::mutex> lock(lines.mutex);
    Tty& tty = lines.ttys[u32Port];
    if (tty.terminal.isHungUp()) {
        tty.bServed = tty.bStalled = false;
        tty.terminal.forgetUnread();
    }
}

void transmit(unsigned int u32Port, std::string_view bytes) {
    Lines& lines = theLines();
    const std::lock_guard<std::mutex> lock(lines.mutex);
    transmitLocked(lines, u32Port, bytes);
}

bool isTtyOpen(unsigned int u32Port) {
    Lines& lines = theLines();
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
        const std::string strLink = linkOf(fs::absolute(strFolder).lexically_normal().string(), i);
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
        Lines& lines = theLines();
        const std::lock_guard<std::mutex> lock(lines.mutex);
        const int s32Far = lines.connectors[u32Connector].terminal.farEnd();
        s32Terminal = s32Far >= 0 ? fcntl(s32Far, F_DUPFD_CLOEXEC, 3) : -1;
    }
    if (s32Terminal < 0) {
        throw SetError("connector " + std::to_string(u32Connector) + ": leads nowhere");
    }
    while (!bytes.empty()) {
        const std::size_t length = writeSome(s32Terminal, bytes);
        bytes.remove_prefix(length);
        pollfd stTerminal = {s32Terminal, POLLOUT, 0};
        if (length == 0 && (poll(&stTerminal, 1, 10000) <= 0 || (stTerminal.revents & POLLHUP) != 0)) {
            close(s32Terminal);
            throw SetError("connector " + std::to_string(u32Connector) + ": takes nothing");
        }
    }
    close(s32Terminal);
}

std::string uart::sent(unsigned int u32Connector) {
    requireNumber(u32Connector, kPorts);
    Lines& lines = theLines();
    const std::lock_guard<std::mutex> lock(lines.mutex);
    return lines.connectors[u32Connector].strSent;
}

void uart::clearSent(unsigned int u32Connector) {
    requireNumber(u32Connector, kPorts);
    Lines& lines = theLines();
    const std::lock_guard<std::mutex> lock(lines.mutex);
    lines.connectors[u32Connector].strSent.clear();
}

bool uart::isCrossed() {
    requireSet();
    Lines& lines = theLines();
    const std::lock_guard<std::mutex> lock(lines.mutex);
    return isSwitchOn(lines);
}

void uart::hangUp(unsigned int u32Port) {
    requireNumber(u32Port, kTtys);
    const HostPaths hostPaths;
    Lines& lines = theLines();
    const std::lock_guard<std::mutex> lock(lines.mutex);
    makeTty(lines, u32Port);
    wake(lines);
}
