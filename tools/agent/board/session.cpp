// SPDX-License-Identifier: Apache-2.0
// The worker's hold on a board, which is on while its agent runs, and the limits of what a client may touch.
#include <filesystem>
#include <utility>

#include "actions/set_files.h"
#include "vset/vset.h"
#include "worker/set_session.h"

namespace tool {

namespace fs = std::filesystem;

static SetOptions g_board;

void chooseSet(SetOptions options) {
    g_board = std::move(options);
}

bool isBoard() {
    return true;
}

std::string setFolder() {
    return {};
}

void switchSetOn(bool) {}

ErrorCode codeOfSetError() {
    return ErrorCode::unavailable;
}

bool isSetOn() {
    return true;
}

void makeMissingSet() {}

std::map<std::string, std::uint64_t> setPartitions() {
    return g_board.limits.partitions;
}

// Whether the path is the folder or lies in it; both without links.
static bool isIn(const fs::path& folder, const fs::path& path) {
    const fs::path rest = path.lexically_relative(folder);
    return !rest.empty() && *rest.begin() != "..";
}

std::string hostFile(const std::string& path) {
    std::error_code error;
    const fs::path real = fs::weakly_canonical(path, error);
    // A link that leads nowhere would still be written through.
    if (!error && !fs::is_symlink(real, error) && path.rfind('/', 0) == 0) {
        for (const std::string& folder : g_board.limits.folders) {
            if (isIn(fs::weakly_canonical(folder, error), real)) {
                return real.string();
            }
        }
    }
    throw vset::SetError(path + ": is in none of the folders that the agent was started for");
}

std::string hostFile(const std::string& path, const std::string&) {
    return hostFile(path);
}

}  // namespace tool
