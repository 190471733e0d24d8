// SPDX-License-Identifier: Apache-2.0
// The worker's hold on the virtual set.
#include "worker/set_session.h"

#include <filesystem>
#include <mutex>
#include <utility>

#include <unistd.h>

#include "protocol/message.h"
#include "supervisor/internal.h"
#include "vset/flash.h"
#include "vset/vset.h"
#include "vset/wdt.h"
#include "worker/notices.h"

namespace tool {

namespace {

SetOptions g_options;
std::mutex g_mutex;
bool g_isOn = false;

void requireWhole(const std::string& folder, bool damaged) {
    if (!std::filesystem::exists(folder + "/set.json")) {
        return;
    }
    const std::vector<std::string> damage = vset::check(folder);
    if (!damage.empty() && !damaged) {
        throw RequestError({ErrorCode::damaged, folder + ": is damaged (--damaged goes on all the same)",
                            Field{{"damage", Field::List(damage.begin(), damage.end())}}});
    }
}

}  // namespace

void chooseSet(SetOptions options) {
    g_options = std::move(options);
}

std::string setFolder() {
    return g_options.folder.empty() ? vset::defaultFolder() : g_options.folder;
}

bool isBoard() {
    return g_options.isBoard;
}

void switchSetOn(bool damaged) {
    const std::lock_guard<std::mutex> lock(g_mutex);
    if (g_isOn) {
        return;
    }
    const vset::HostPaths hostPaths;
    requireWhole(setFolder(), damaged || g_options.damaged);
    // The programs of a set end with it, at once: other threads go on meanwhile.
    vset::wdt::onReboot([] { _exit(kRebootExit); });
    try {
        vset::attach(setFolder());
    } catch (const vset::SetError& error) {
        throw RequestError(codeOfSetError(), error.what());
    }
    g_isOn = true;
    noteSwitchedOn(vset::bootCount());
}

ErrorCode codeOfSetError() {
    return vset::takeHostTroubles().empty() ? ErrorCode::unavailable : ErrorCode::stationFailed;
}

bool isSetOn() {
    const std::lock_guard<std::mutex> lock(g_mutex);
    return g_isOn;
}

void makeMissingSet() {
    const vset::HostPaths hostPaths;
    if (!std::filesystem::exists(setFolder() + "/set.json") && !std::filesystem::exists(setFolder() + "/env")) {
        vset::create(setFolder());
    }
}

std::map<std::string, std::uint64_t> setPartitions() {
    return isSetOn() ? vset::flash::partitions() : vset::flash::partitions(setFolder());
}

}  // namespace tool
