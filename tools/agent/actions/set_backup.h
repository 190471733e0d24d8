// SPDX-License-Identifier: Apache-2.0
// A whole set in one file: a compressed tar archive whose first entry lists the SHA-256 of every file.
#ifndef FAPI_AGENT_ACTIONS_SET_BACKUP_H
#define FAPI_AGENT_ACTIONS_SET_BACKUP_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace tool {

// The first entry of a backup; "sha256sum --check" reads it.
constexpr char kSumsEntry[] = "SHA256SUMS";

struct BackupContents {
    std::size_t files = 0;
    std::uint64_t bytes = 0;
    std::vector<std::string> leftOut;  // files of the set that are neither files nor folders
    std::string remains;               // what could not be removed, and why; empty: nothing
};

// Whether the client wants no more of it; is asked again and again.
using IsCanceled = std::function<bool()>;

// Writes the set in `folder`, which no process uses meanwhile, to the descriptor. Throws vset::SetError.
BackupContents writeBackup(const std::string& folder, int descriptor);

// Puts the set of a backup into the place of the one in `folder`, which no process uses meanwhile, or of nothing:
// whole, or not at all. Every file is compared with its sum. Refuses everything that a backup does not have, and writes
// nowhere else, whatever the archive says. Throws vset::SetError, and RequestError when it is canceled.
BackupContents restoreBackup(const std::string& file, const std::string& folder, const IsCanceled& isCanceled);

}  // namespace tool

#endif
