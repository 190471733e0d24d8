// SPDX-License-Identifier: Apache-2.0
// A file of this PC that is written for a set. All paths are the PC's.
#ifndef FAPI_AGENT_ACTIONS_HOST_FILE_H
#define FAPI_AGENT_ACTIONS_HOST_FILE_H

#include <string>
#include <string_view>

namespace tool {

class HostFile {
public:
    // Throws vset::SetError, as all other functions do; the text names the file.
    HostFile(const std::string& file, int flags);
    ~HostFile();
    HostFile(const HostFile&) = delete;
    HostFile& operator=(const HostFile&) = delete;

    int get() const { return _descriptor; }
    void write(std::string_view text) const;
    // Puts what was written on the disk.
    void sync() const;

private:
    const std::string _file;
    int _descriptor;
};

// Makes a change of the file's name durable.
void syncHostFolder(const std::string& file);

}  // namespace tool

#endif
