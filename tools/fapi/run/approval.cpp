// SPDX-License-Identifier: Apache-2.0
// Which files may decide about units at this station.
#include "run/approval.h"

#include <algorithm>
#include <filesystem>

namespace tool {

std::string unapprovedFiles(const Station& station, const Plan& plan, const Limits& limits,
                            const std::string& faultsFile) {
    std::string text;
    const auto check = [&](const std::string& file, const std::string& hash) {
        const std::string name = std::filesystem::path(file).filename().string();
        const ApprovedFile* approved = station.approvedFile(name);
        const bool isGood =
            hash.empty() || (approved != nullptr && std::count(approved->hashes.begin(), approved->hashes.end(), hash));
        if (!isGood) {
            text +=
                (text.empty() ? "" : "; ") + name +
                (approved != nullptr ? " is not a version of line " + std::to_string(approved->line) : " is missing") +
                " (SHA-256 " + hash + ")";
        }
    };
    if (station.approvesPlans) {
        check(plan.file, plan.hash);
        check(limits.file, limits.hash);
        check(faultsFile, plan.faultsHash);
    }
    return text;
}

}  // namespace tool
