// SPDX-License-Identifier: Apache-2.0
// Files of the PC that a kill or a full disk must not spoil.
#include "base/durable_file.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tool {

namespace {

[[noreturn]] void failWith(const std::string& file) {
    throw std::runtime_error(file + ": " + std::strerror(errno));
}

}  // namespace

FileError writeError(const std::string& file, int error) {
    return FileError(error == ENOSPC || error == EDQUOT ? "the disk is full: " + file
                                                        : file + ": cannot be written: " + std::strerror(error));
}

void removePartOf(const std::string& file) {
    struct stat status = {};
    if (lstat(file.c_str(), &status) == 0 && S_ISREG(status.st_mode)) {
        // The disk has its room again, even if somebody has the file open.
        static_cast<void>(truncate(file.c_str(), 0) < 0);
        unlink(file.c_str());
    }
}

OpenFile::OpenFile(const std::string& file, int flags) : _file(file) {
    _descriptor = open(file.c_str(), flags | O_CLOEXEC, 0666);
    if (_descriptor < 0) {
        (flags & O_CREAT) != 0 ? throw writeError(file, errno) : failWith(file);
    }
}

OpenFile::~OpenFile() {
    close(_descriptor);
}

void OpenFile::write(const std::string& text) const {
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t length = ::write(_descriptor, text.data() + done, text.size() - done);
        if (length < 0 && errno != EINTR) {
            throw writeError(_file, errno);
        }
        done += length > 0 ? static_cast<std::size_t>(length) : 0;
    }
}

std::string OpenFile::read() const {
    std::string text;
    char chunk[65536];
    for (;;) {
        const ssize_t length = pread(_descriptor, chunk, sizeof(chunk), static_cast<off_t>(text.size()));
        if (length < 0 && errno != EINTR) {
            failWith(_file);
        }
        if (length == 0) {
            return text;
        }
        text.append(chunk, length > 0 ? static_cast<std::size_t>(length) : 0);
    }
}

FolderLock::FolderLock(const std::string& folder) : _open(folder, O_RDONLY | O_DIRECTORY) {
    while (flock(_open.get(), LOCK_EX) != 0) {
        if (errno != EINTR) {
            failWith(folder);
        }
    }
}

void syncFolderOf(const std::string& file) {
    const std::string folder = file.substr(0, file.rfind('/') + 1);
    const OpenFile open(folder.empty() ? "." : folder, O_RDONLY | O_DIRECTORY);
    fsync(open.get());
}

void writeFile(const std::string& file, const std::string& text) {
    writeFile(file, [&](const TextSink& sink) { sink(text); });
}

void writeFile(const std::string& file, const std::function<void(const TextSink& sink)>& tell) {
    const OpenFile open(file, O_WRONLY | O_CREAT | O_TRUNC);
    try {
        tell([&](const std::string& piece) { open.write(piece); });
    } catch (const FileError&) {
        removePartOf(file);
        throw;
    }
}

void replaceFile(const std::string& file, const std::string& text) {
    const std::string next = file + ".new";
    try {
        const OpenFile open(next, O_WRONLY | O_CREAT | O_TRUNC);
        open.write(text);
        if (fdatasync(open.get()) != 0 || rename(next.c_str(), file.c_str()) != 0) {
            throw writeError(file, errno);
        }
    } catch (const std::runtime_error&) {
        unlink(next.c_str());
        throw;
    }
    syncFolderOf(file);
}

}  // namespace tool
