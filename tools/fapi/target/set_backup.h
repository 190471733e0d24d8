// SPDX-License-Identifier: Apache-2.0
// A whole set in one file: a compressed tar archive whose first entry lists the SHA-256 of every file.
#ifndef FAPI_BENCH_TARGET_SET_BACKUP_H
#define FAPI_BENCH_TARGET_SET_BACKUP_H

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace tool {

class Interrupts;

// The first entry of a backup; "sha256sum --check" reads it.
constexpr char kSumsEntry[] = "SHA256SUMS";

struct BackupContents {
    std::size_t files = 0;
    std::uint64_t bytes = 0;
    std::vector<std::string> leftOut;  // files of the set that are neither files nor folders
};

// The user has stopped it; nothing is there that was not there before.
class BackupStopped : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Writes the set in `folder`, which nobody uses meanwhile, to `file`: whole, or not at all. Throws std::runtime_error.
BackupContents writeBackup(const std::string& folder, const std::string& file, Interrupts& interrupts);

// Takes a backup apart into `folder`, which is empty, and compares every file with its sum. Refuses everything that a
// backup does not have, and writes nowhere else, whatever the archive says. Throws std::runtime_error.
BackupContents readBackup(const std::string& file, const std::string& folder, Interrupts& interrupts);

}  // namespace tool

#endif
