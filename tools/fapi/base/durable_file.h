// SPDX-License-Identifier: Apache-2.0
// Files of the PC that fapi writes, which a kill or a full disk must not spoil.
#ifndef FAPI_BENCH_BASE_DURABLE_FILE_H
#define FAPI_BENCH_BASE_DURABLE_FILE_H

#include <functional>
#include <string>

#include "protocol/message.h"

namespace tool {

// A file of this PC that cannot be written; the text says why, and names it.
class FileError : public SetError {
public:
    using SetError::SetError;
};

// "the disk is full: FILE", or what else errno says.
FileError writeError(const std::string& file, int error);

// Removes the beginning of a file that could not be written to its end. A device, or what a link leads to, stays.
void removePartOf(const std::string& file);

// Takes the pieces of a text in their order.
using TextSink = std::function<void(const std::string& piece)>;

// Throws FileError, and there is then no such file.
void writeFile(const std::string& file, const std::string& text);
// The same with a text that comes in pieces.
void writeFile(const std::string& file, const std::function<void(const TextSink& sink)>& tell);

// An open file. All paths are the PC's.
class OpenFile {
public:
    // Throws std::runtime_error naming the file.
    OpenFile(const std::string& file, int flags);
    ~OpenFile();
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    int get() const { return _descriptor; }
    // All of it, at the file's end when it was opened so. Throws std::runtime_error.
    void write(const std::string& text) const;
    // From the beginning. Throws std::runtime_error.
    std::string read() const;

private:
    const std::string _file;
    int _descriptor;
};

// Waits until nobody else has the folder locked, and locks it for as long as this lives: for files that are replaced,
// and so cannot be locked themselves. Throws std::runtime_error.
class FolderLock {
public:
    explicit FolderLock(const std::string& folder);

private:
    OpenFile _open;
};

// The file then holds the text, or what it held before, also after a power cut. Throws std::runtime_error.
void replaceFile(const std::string& file, const std::string& text);

// Makes a change of the file's name durable.
void syncFolderOf(const std::string& file);

}  // namespace tool

#endif
