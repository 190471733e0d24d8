// SPDX-License-Identifier: Apache-2.0
// A file of this PC that is written for a set.
#include "actions/host_file.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

#include "vset/vset.h"

namespace tool {

namespace {

[[noreturn]] void fail(const std::string& file, int error) {
    vset::noteHostTrouble(file, error);
    const bool isFull = error == ENOSPC || error == EDQUOT;
    throw vset::SetError(isFull ? "the disk is full: " + file : file + ": " + std::strerror(error));
}

}  // namespace

HostFile::HostFile(const std::string& file, int flags) : _file(file) {
    const vset::HostPaths hostPaths;
    _descriptor = open(file.c_str(), flags | O_CLOEXEC, 0666);
    if (_descriptor < 0) {
        fail(file, errno);
    }
}

HostFile::~HostFile() {
    close(_descriptor);
}

void HostFile::write(std::string_view text) const {
    while (!text.empty()) {
        const ssize_t size = ::write(_descriptor, text.data(), text.size());
        if (size < 0 && errno != EINTR) {
            fail(_file, errno);
        }
        text.remove_prefix(size > 0 ? static_cast<std::size_t>(size) : 0);
    }
}

void HostFile::sync() const {
    if (fsync(_descriptor) != 0) {
        fail(_file, errno);
    }
}

void syncHostFolder(const std::string& file) {
    const std::string folder = file.substr(0, file.rfind('/') + 1);
    HostFile(folder.empty() ? "." : folder, O_RDONLY | O_DIRECTORY).sync();
}

}  // namespace tool
