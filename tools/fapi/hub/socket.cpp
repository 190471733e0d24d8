// SPDX-License-Identifier: Apache-2.0
// Where a target's hub listens, and the lock that decides who starts and who ends it.
#include "hub/socket.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include "protocol/message.h"
#include "protocol/sha256.h"

namespace tool {

namespace {

constexpr const char* kSocketEnding = ".sock";
constexpr const char* kLockEnding = ".lock";
constexpr const char* kLogEnding = ".log";
constexpr std::size_t kNameDigits = 16;
constexpr int kBacklog = 64;
constexpr timeval kAcceptLimit = {5, 0};
constexpr off_t kLogShown = 4096;

RequestError unavailable(const std::string& what) {
    return RequestError(ErrorCode::unavailable, what);
}

RequestError unavailable(const std::string& what, int error) {
    return unavailable(what + ": " + std::strerror(error));
}

// Makes the folder when there is none.
void makeOwnFolder(const std::string& folder) {
    if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) {
        throw unavailable(folder, errno);
    }
    struct stat status = {};
    if (lstat(folder.c_str(), &status) != 0) {
        throw unavailable(folder, errno);
    }
    if (!S_ISDIR(status.st_mode) || status.st_uid != geteuid() || (status.st_mode & 077) != 0) {
        throw unavailable(folder + ": is no folder that only this user can enter");
    }
}

std::string folderOfHubs() {
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    std::string above = runtime != nullptr ? runtime : "";
    if (above.empty() || access(above.c_str(), W_OK) != 0) {
        above = "/tmp/fapi-" + std::to_string(geteuid());
        makeOwnFolder(above);
    }
    std::string folder = above + "/fapi";
    makeOwnFolder(folder);
    return folder;
}

// The path goes through the folder's descriptor: that of the folder itself may be longer than an address can be.
sockaddr_un addressOf(int folder, const std::string& name) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof(address.sun_path), "/proc/self/fd/%d/%s", folder, name.c_str());
    return address;
}

}  // namespace

HubSocket::HubSocket(const std::string& key) : _folder(folderOfHubs()) {
    Sha256 sum;
    sum.add(key.data(), key.size());
    _name = sum.sum().substr(0, kNameDigits);
    _path = _folder + "/" + _name + kSocketEnding;
    _opened = Descriptor(open(_folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!_opened) {
        throw unavailable(_folder, errno);
    }
}

Descriptor HubSocket::connect() const {
    Descriptor connection(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!connection) {
        throw unavailable(_path, errno);
    }
    setsockopt(connection.get(), SOL_SOCKET, SO_SNDTIMEO, &kAcceptLimit, sizeof(kAcceptLimit));
    const sockaddr_un address = addressOf(_opened.get(), nameOf(kSocketEnding));
    int result = 0;
    do {
        result = ::connect(connection.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address));
    } while (result != 0 && errno == EINTR);
    if (result == 0) {
        return connection;
    }
    if (errno == ENOENT || errno == ECONNREFUSED) {
        return Descriptor();
    }
    throw errno == EAGAIN ? unavailable(_path + ": the hub accepts no connection") : unavailable(_path, errno);
}

Descriptor HubSocket::listen() const {
    removeSocket();
    Descriptor listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const sockaddr_un address = addressOf(_opened.get(), nameOf(kSocketEnding));
    if (!listener || bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
        ::listen(listener.get(), kBacklog) != 0) {
        throw unavailable(_path, errno);
    }
    return listener;
}

Descriptor HubSocket::openLog() const {
    const int flags = O_RDWR | O_CREAT | O_TRUNC | O_APPEND | O_NOFOLLOW | O_CLOEXEC;
    Descriptor file(openat(_opened.get(), nameOf(kLogEnding).c_str(), flags, 0600));
    if (!file) {
        throw unavailable(_folder + "/" + nameOf(kLogEnding), errno);
    }
    return file;
}

std::string HubSocket::log() const {
    const Descriptor file(openat(_opened.get(), nameOf(kLogEnding).c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status = {};
    if (!file || fstat(file.get(), &status) != 0) {
        return "";
    }
    std::string text(static_cast<std::size_t>(std::min(status.st_size, kLogShown)), '\0');
    const ssize_t length = pread(file.get(), text.data(), text.size(), std::max<off_t>(0, status.st_size - kLogShown));
    text.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return text;
}

void HubSocket::removeSocket() const {
    unlinkat(_opened.get(), nameOf(kSocketEnding).c_str(), 0);
}

void HubSocket::removeLog() const {
    unlinkat(_opened.get(), nameOf(kLogEnding).c_str(), 0);
}

std::optional<HubLock> HubLock::take(const HubSocket& socket) {
    const std::string name = socket.nameOf(kLockEnding);
    const std::string path = socket._folder + "/" + name;
    for (;;) {
        Descriptor file(openat(socket._opened.get(), name.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (!file) {
            throw unavailable(path, errno);
        }
        int result = 0;
        do {
            result = flock(file.get(), LOCK_EX | LOCK_NB);
        } while (result != 0 && errno == EINTR);
        if (result != 0 && errno == EWOULDBLOCK) {
            return std::nullopt;
        }
        struct stat held = {}, current = {};
        if (result != 0 || fstat(file.get(), &held) != 0) {
            throw unavailable(path, errno);
        }
        // A hub that has ended meanwhile has removed that file.
        if (fstatat(socket._opened.get(), name.c_str(), &current, AT_SYMLINK_NOFOLLOW) == 0 &&
            held.st_ino == current.st_ino) {
            return HubLock(std::move(file));
        }
    }
}

void HubLock::remove(const HubSocket& socket) const {
    unlinkat(socket._opened.get(), socket.nameOf(kLockEnding).c_str(), 0);
}

}  // namespace tool
