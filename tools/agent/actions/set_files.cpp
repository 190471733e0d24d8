// SPDX-License-Identifier: Apache-2.0
// Files of the set, for a person.
#include "actions/set_files.h"

#include <cerrno>
#include <filesystem>

#include "vset/vset.h"

namespace tool {

namespace fs = std::filesystem;

void writeSetFile(const std::string& path, const Bytes& bytes, bool end) {
    const std::string host = hostFile(path);
    const vset::HostPaths hostPaths;
    std::error_code error;
    fs::create_directories(fs::path(host).parent_path(), error);
    std::ofstream file(host, end ? std::ios::binary | std::ios::app : std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush()) {
        vset::noteHostTrouble(host, errno);
        throw vset::SetError(path + ": cannot be written");
    }
}

void removeSetFile(const std::string& path, bool mustExist) {
    const std::string host = hostFile(path);
    const vset::HostPaths hostPaths;
    std::error_code error;
    if (fs::remove_all(host, error) == 0 && mustExist) {
        throw vset::SetError(path + ": does not exist");
    }
    if (error) {
        throw vset::SetError(path + ": " + error.message());
    }
}

std::ifstream openSetFile(const std::string& path) {
    const std::string host = hostFile(path);
    const vset::HostPaths hostPaths;
    std::ifstream file(host, std::ios::binary);
    if (!file || fs::is_directory(host)) {
        throw vset::SetError(path + ": cannot be read");
    }
    return file;
}

}  // namespace tool
