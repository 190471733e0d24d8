// SPDX-License-Identifier: Apache-2.0
// Where a target's hub listens, and the lock that decides who starts and who ends it.
#ifndef FAPI_BENCH_HUB_SOCKET_H
#define FAPI_BENCH_HUB_SOCKET_H

#include <optional>
#include <string>

#include "hub/descriptor.h"

namespace tool {

// The socket of a target's hub, with a lock file and a log file beside it, in a folder that only this user can enter.
class HubSocket {
public:
    // `key` names the target. Makes the folder; throws RequestError when another user could enter it.
    explicit HubSocket(const std::string& key);

    // The path of the socket, for messages.
    const std::string& path() const { return _path; }
    // Returns a connection, or none when no hub listens. Throws RequestError when a hub accepts nothing.
    Descriptor connect() const;
    // Returns a new listening socket, which replaces one that a dead hub has left. Only for who holds the lock.
    Descriptor listen() const;
    // Opens the file for the hub's standard error, empty.
    Descriptor openLog() const;
    // What the hub has written there, cut at its beginning.
    std::string log() const;
    // Only for who holds the lock.
    void removeSocket() const;
    void removeLog() const;

private:
    friend class HubLock;
    std::string nameOf(const char* ending) const { return _name + ending; }

    std::string _folder;
    std::string _name;  // of the files, without ending
    std::string _path;
    Descriptor _opened;  // the folder
};

// Who holds the lock may start the target's hub, or is the hub and may end. No process holds it longer than that takes.
class HubLock {
public:
    // Returns nothing when another process holds the lock. Throws RequestError when there can be none.
    static std::optional<HubLock> take(const HubSocket& socket);

    // A hub that is being started inherits it, so that the lock outlives a client that is killed meanwhile.
    int descriptor() const { return _file.get(); }
    // Removes the lock's file: those that wait for the lock make a new one.
    void remove(const HubSocket& socket) const;

private:
    explicit HubLock(Descriptor file) : _file(std::move(file)) {}

    Descriptor _file;
};

}  // namespace tool

#endif
