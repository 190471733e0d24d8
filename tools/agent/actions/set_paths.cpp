// SPDX-License-Identifier: Apache-2.0
// Where files of the virtual set lie.
#include "actions/set_files.h"
#include "vset/vset.h"

namespace tool {

static std::string unlessOutside(const std::string& path, std::string host) {
    if (host == path) {
        throw vset::SetError(path + ": is no path of the set (those begin with /data, /vendor or /mnt)");
    }
    return host;
}

std::string hostFile(const std::string& path) {
    return unlessOutside(path, vset::hostPath(path));
}

std::string hostFile(const std::string& path, const std::string& folder) {
    return unlessOutside(path, vset::hostPath(path, folder));
}

}  // namespace tool
