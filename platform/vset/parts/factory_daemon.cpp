// SPDX-License-Identifier: Apache-2.0
// The factory daemon: a thread that takes one connection after the other.
#include "vset/factory_daemon.h"

#include <cstddef>
#include <cstring>
#include <mutex>
#include <thread>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "vset_family.h"
#include "vset_folder.h"

namespace vset {

namespace {

using factory_daemon::Behaviour;
using factory_daemon::Command;

// The first byte of an abstract name is zero, and no byte ends it.
constexpr char kName[] = "\0FACTORY_SERVER";
constexpr std::size_t kNameLength = sizeof(kName) - 1;
constexpr std::size_t kRecordSize = 260;
constexpr std::size_t kCommandSize = 4;
constexpr int kSend = MSG_NOSIGNAL;

// A descriptor that is closed with its owner.
class Descriptor {
public:
    explicit Descriptor(int s32Fd) : _s32Fd(s32Fd) {}
    ~Descriptor() {
        if (_s32Fd >= 0) {
            close(_s32Fd);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return _s32Fd; }

private:
    const int _s32Fd;
};

Command decode(const std::string& strRecord) {
    Command stCommand = {};
    stCommand.strRecord = strRecord;
    if (strRecord.size() >= kCommandSize) {
        std::memcpy(&stCommand.s32Command, strRecord.data(), kCommandSize);
        // The parameters end at the first zero byte.
        stCommand.strParameters = strRecord.substr(kCommandSize, strRecord.find('\0', kCommandSize) - kCommandSize);
    }
    return stCommand;
}

// A running daemon. The destructor ends the thread.
class Daemon {
public:
    Daemon(Behaviour eBehaviour, int s32Status)
        : _listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)),
          _changed(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
          _eBehaviour(eBehaviour),
          _s32Status(s32Status) {
        sockaddr_un stAddress = {};
        stAddress.sun_family = AF_UNIX;
        std::memcpy(stAddress.sun_path, kName, kNameLength);
        const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + kNameLength);
        if (bind(_listener.get(), reinterpret_cast<const sockaddr*>(&stAddress), length) != 0 ||
            listen(_listener.get(), 16) != 0) {
            throw SetError(std::string("@FACTORY_SERVER: ") + std::strerror(errno));
        }
        _thread = std::thread([this] { serve(); });
    }
    ~Daemon() {
        {
            const std::lock_guard<std::mutex> lock(_mutex);
            _bStop = true;
        }
        wake();
        _thread.join();
    }

    void behave(Behaviour eBehaviour, int s32Status) {
        {
            const std::lock_guard<std::mutex> lock(_mutex);
            _eBehaviour = eBehaviour;
            _s32Status = s32Status;
        }
        wake();
    }

    std::vector<Command> commands() {
        const std::lock_guard<std::mutex> lock(_mutex);
        return _commands;
    }

    void clearCommands() {
        const std::lock_guard<std::mutex> lock(_mutex);
        _commands.clear();
    }

private:
    void wake() {
        const std::uint64_t u64One = 1;
        // The write cannot fail: the counter is far from full.
        [[maybe_unused]] const ssize_t written = write(_changed.get(), &u64One, sizeof(u64One));
    }

    // Waits for the descriptor, or for a change. Takes a change, and returns false.
    bool waitFor(int s32Fd) {
        pollfd astFds[] = {{_changed.get(), POLLIN, 0}, {s32Fd, POLLIN, 0}};
        // poll() ignores negative descriptors.
        poll(astFds, 2, -1);
        std::uint64_t u64Count = 0;
        return astFds[0].revents == 0 || read(_changed.get(), &u64Count, sizeof(u64Count)) < 0;
    }

    bool isToStop() {
        const std::lock_guard<std::mutex> lock(_mutex);
        return _bStop;
    }

    void serve() {
        while (!isToStop()) {
            if (!waitFor(_listener.get())) {
                continue;
            }
            const Descriptor connection(accept4(_listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
            if (connection.get() >= 0) {
                talk(connection.get());
            }
        }
    }

    // Returns the record, or as much of it as came before the client or a stop ended it.
    std::string receive(int s32Fd) {
        std::string strRecord;
        char acBytes[kRecordSize];
        while (strRecord.size() < kRecordSize && !isToStop()) {
            if (!waitFor(s32Fd)) {
                continue;
            }
            const ssize_t count = recv(s32Fd, acBytes, kRecordSize - strRecord.size(), MSG_DONTWAIT);
            if (count == 0 || (count < 0 && errno != EAGAIN)) {
                break;
            }
            strRecord.append(acBytes, static_cast<std::size_t>(count < 0 ? 0 : count));
        }
        return strRecord;
    }

    void talk(int s32Fd) {
        Behaviour eBehaviour;
        int s32Status;
        {
            const std::lock_guard<std::mutex> lock(_mutex);
            eBehaviour = _eBehaviour;
            s32Status = _s32Status;
        }
        if (eBehaviour == Behaviour::hangUpEarly) {
            return;
        }
        const std::string strRecord = receive(s32Fd);
        if (strRecord.empty()) {
            return;
        }
        {
            const std::lock_guard<std::mutex> lock(_mutex);
            _commands.push_back(decode(strRecord));
        }
        if (strRecord.size() < kRecordSize) {
            return;
        }
        if (eBehaviour == Behaviour::answer || eBehaviour == Behaviour::stutter) {
            send(s32Fd, &s32Status, eBehaviour == Behaviour::answer ? sizeof(s32Status) : 1, kSend);
        } else if (eBehaviour == Behaviour::silence) {
            waitFor(-1);
        }
    }

    const Descriptor _listener;
    const Descriptor _changed;
    std::mutex _mutex;
    bool _bStop = false;
    Behaviour _eBehaviour;
    int _s32Status;
    std::vector<Command> _commands;
    std::thread _thread;
};

// The family is the system's, to which the daemon belongs; the model only follows the power switch.
class DaemonModel : public FamilyModel {
public:
    DaemonModel() : FamilyModel(FamilyId::sys, "factory daemon") {}

    std::mutex mutex;
    // A plain pointer, because nothing that a thread can reach is destroyed at exit.
    Daemon* pDaemon = nullptr;

    void stop() {
        const std::lock_guard<std::mutex> lock(mutex);
        delete pDaemon;
        pDaemon = nullptr;
    }

protected:
    void powerOff(bool bDetach) override {
        if (bDetach) {
            stop();
        }
    }
};
DaemonModel& model = *new DaemonModel;

}  // namespace

namespace factory_daemon {

void start(Behaviour eBehaviour, int s32Status) {
    requireSet();
    const std::lock_guard<std::mutex> lock(model.mutex);
    if (model.pDaemon != nullptr) {
        model.pDaemon->behave(eBehaviour, s32Status);
    } else {
        model.pDaemon = new Daemon(eBehaviour, s32Status);
    }
}

void stop() {
    model.stop();
}

bool isRunning() {
    const std::lock_guard<std::mutex> lock(model.mutex);
    return model.pDaemon != nullptr;
}

std::vector<Command> commands() {
    const std::lock_guard<std::mutex> lock(model.mutex);
    return model.pDaemon != nullptr ? model.pDaemon->commands() : std::vector<Command>();
}

void clearCommands() {
    const std::lock_guard<std::mutex> lock(model.mutex);
    if (model.pDaemon != nullptr) {
        model.pDaemon->clearCommands();
    }
}

}  // namespace factory_daemon

}  // namespace vset
