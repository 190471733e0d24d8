// SPDX-License-Identifier: Apache-2.0
// Instruments that several slots of a station share.
#include "station/instruments.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "hub/agent_wire.h"

namespace tool {

namespace {

RequestError instrumentError(const std::string& name, const std::string& why) {
    return RequestError(ErrorCode::stationFailed, "instrument " + name + ": " + why);
}

// A folder of this user, as that of the hubs' sockets is.
std::string folderOfLocks() {
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    std::string folder = runtime != nullptr && *runtime == '/'
                             ? std::string(runtime) + "/fapi-instruments"
                             : "/tmp/fapi-" + std::to_string(geteuid()) + "-instruments";
    mkdir(folder.c_str(), S_IRWXU);
    return folder;
}

Descriptor openLock(const std::string& name) {
    const std::string file = folderOfLocks() + "/" + name + ".lock";
    Descriptor lock(open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR));
    if (!lock) {
        throw instrumentError(name, file + ": " + std::strerror(errno));
    }
    return lock;
}

std::string nameIn(const Descriptor& lock) {
    std::array<char, 256> text = {};
    const ssize_t length = pread(lock.get(), text.data(), text.size(), 0);
    return length > 0 ? std::string(text.data(), static_cast<std::size_t>(length)) : "another process";
}

}  // namespace

void InstrumentLocks::take(std::vector<std::string> names, const std::function<void()>& pause) {
    if (!_held.empty()) {
        throw UsageError("the step has instruments already: all that it needs are taken by one line");
    }
    std::sort(names.begin(), names.end());
    for (const std::string& name : names) {
        const auto known = std::find_if(_known.begin(), _known.end(),
                                        [&](const StationInstrument& instrument) { return instrument.name == name; });
        if (known == _known.end()) {
            throw UsageError("the station has no instrument " + name);
        }
        Descriptor lock = openLock(name);
        const Clock::time_point until = Clock::now() + known->within;
        while (flock(lock.get(), LOCK_EX | LOCK_NB) != 0) {
            if (Clock::now() >= until) {
                throw instrumentError(name, "in use by " + nameIn(lock) + " for more than " +
                                                std::to_string(known->within.count()) + " ms");
            }
            pause();
        }
        const std::string user = _user + " (process " + std::to_string(getpid()) + ")";
        static_cast<void>(ftruncate(lock.get(), 0));
        static_cast<void>(pwrite(lock.get(), user.data(), user.size(), 0));
        _held.push_back(std::move(lock));
    }
}

std::string userOf(const StationInstrument& instrument) {
    const Descriptor lock = openLock(instrument.name);
    return flock(lock.get(), LOCK_EX | LOCK_NB) == 0 ? "" : nameIn(lock);
}

}  // namespace tool
