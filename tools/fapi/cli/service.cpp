// SPDX-License-Identifier: Apache-2.0
// `fapi set backup|restore|repair`: a whole set, from the command line.
#include "cli/service.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "actions/set_backup.h"
#include "base/durable_file.h"
#include "base/env_text.h"
#include "base/interrupts.h"
#include "base/terminal.h"
#include "report/text.h"
#include "target/env_store.h"
#include "target/output.h"
#include "vset/vset.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

// In names of files.
std::string dateName() {
    return timeText(std::chrono::system_clock::now(), "%Y%m%d-%H%M%S");
}

// Another one when there is one of that name, of the same second.
std::string newFolderName(const std::string& wanted) {
    std::string name = wanted;
    for (unsigned int i = 2; fs::exists(name); ++i) {
        name = wanted + "-" + std::to_string(i);
    }
    return name;
}

// Where the set itself lies, whatever link leads there.
std::string realFolder(const GlobalOptions& options) {
    const fs::path path = fs::weakly_canonical(fs::absolute(setFolder(options.session)));
    return (path.has_filename() ? path : path.parent_path()).string();
}

std::string filesText(const BackupContents& contents) {
    return std::to_string(contents.files) + " files, " + std::to_string(contents.bytes) + " bytes";
}

void tellDamage(const std::vector<vset::Repair>& repairs) {
    for (const vset::Repair& repair : repairs) {
        for (const std::string& line : repair.damage) {
            printMessage(line);
        }
    }
}

void report(const GlobalOptions& options, const BackupContents& contents, const std::string& folder,
            const std::string& file, const std::string& text) {
    printLine(options.json ? jsonLine({{"folder", folder},
                                       {"file", file},
                                       {"files", contents.files},
                                       {"bytes", contents.bytes},
                                       {"left_out", contents.leftOut}})
                           : text + ", " + filesText(contents));
}

// --- Backup ----------------------------------------------------------------------------------------------------------

int backupSet(const GlobalOptions& options, const std::string& where) {
    const std::string folder = realFolder(options);
    // Refuses what is no set. A damaged one is worth a backup, too.
    tellDamage(vset::repairs(folder));
    const std::string name = fs::path(folder).filename().string() + "-" + dateName() + ".tar.gz";
    const std::string file = fs::absolute(fs::is_directory(where) ? fs::path(where) / name : fs::path(where)).string();
    const fs::path inside = fs::weakly_canonical(file).lexically_relative(folder);
    if (!inside.empty() && *inside.begin() != "..") {
        throw UsageError(file + ": lies inside of the set");
    }
    if (fs::exists(file) && !confirm(options, "overwrites " + file)) {
        return kExitInterrupted;
    }
    const vset::Hold hold(folder);
    Interrupts interrupts;
    const BackupContents contents = writeBackup(folder, file, [&] { return interrupts.take(); });
    for (const std::string& path : contents.leftOut) {
        std::fprintf(stderr, "fapi: %s: is neither a file nor a folder and is left out\n", escapeText(path).c_str());
    }
    report(options, contents, folder, file, folder + ": backed up to " + file);
    return kExitGood;
}

// --- Restore ---------------------------------------------------------------------------------------------------------

int restoreSet(const GlobalOptions& options, const std::string& file) {
    const std::string folder = realFolder(options);
    std::optional<vset::Hold> hold;
    if (fs::exists(folder) && !fs::is_empty(folder)) {
        // Refuses what is no set.
        vset::repairs(folder);
        hold.emplace(folder);
        if (!confirm(options, "replaces everything in " + folder)) {
            return kExitInterrupted;
        }
    }
    // Outlives the folder, whose removal is not to be interrupted.
    Interrupts interrupts;
    const BackupContents contents = restoreBackup(file, folder, [&] { return interrupts.take(); });
    if (!contents.remains.empty()) {
        printMessage(contents.remains);
    }
    tellDamage(vset::repairs(folder));
    report(options, contents, folder, file, folder + ": restored from " + file);
    return kExitGood;
}

// --- Repair ----------------------------------------------------------------------------------------------------------

// For a boot environment the image before is better than that of a new set.
void preferKeptImage(const std::string& folder, vset::Repair& repair) {
    for (const char* flash : kFlashTypes) {
        const EnvStore store(folder, flash);
        if (store.file() != folder + "/" + repair.strFile) {
            continue;
        }
        if (const std::optional<KeptImage> whole = store.newestWhole()) {
            repair.strRemedy =
                "the image of " + timeText(std::chrono::system_clock::from_time_t(whole->written), kIsoTime);
            repair.mend = [store, image = whole->image] { store.replace(image); };
        }
    }
}

// Mends one thing after the other. What is damaged is in the folder `keep` from before its mending on.
void mendAll(const GlobalOptions& options, const std::string& folder, const std::string& keep,
             const std::vector<vset::Repair>& repairs) {
    for (const vset::Repair& repair : repairs) {
        const std::string damaged = folder + "/" + repair.strFile;
        const bool kept = fs::is_regular_file(damaged);
        if (kept) {
            const std::string copy = keep + "/" + repair.strFile;
            fs::create_directories(fs::path(copy).parent_path());
            keepFile(damaged, copy);
        }
        repair.mend();
        printLine(options.json ? jsonLine({{"file", repair.strFile},
                                           {"damage", repair.damage},
                                           {"remedy", repair.strRemedy},
                                           {"kept", kept ? Json(keep + "/" + repair.strFile) : Json(nullptr)}})
                               : repair.strFile + ": " + repair.strRemedy);
    }
}

int repairSet(const GlobalOptions& options) {
    const std::string folder = realFolder(options);
    // Before the hold, which would put a file into a folder that is no set.
    if (vset::repairs(folder).empty()) {
        printLine(options.json ? jsonLine({{"folder", folder}, {"damage", Json::array()}}) : folder + ": is whole");
        return kExitGood;
    }
    const vset::Hold hold(folder);
    std::vector<vset::Repair> repairs = vset::repairs(folder);
    tellDamage(repairs);
    std::string what;
    for (vset::Repair& repair : repairs) {
        preferKeptImage(folder, repair);
        what += (what.empty() ? "" : "; ") + ("puts into the place of " + repair.strFile + ": " + repair.strRemedy);
    }
    if (!confirm(options, what)) {
        return kExitInterrupted;
    }
    const std::string keep = newFolderName(folder + "/damaged-" + dateName());
    mendAll(options, folder, keep, repairs);
    if (fs::exists(keep) && !options.json) {
        printLine("what was damaged is in " + keep);
    }
    const std::vector<vset::Repair> left = vset::repairs(folder);
    tellDamage(left);
    return left.empty() ? kExitGood : kExitSet;
}

// Ctrl-C and the like leave nothing behind; that is said, and is no failure of the set.
int unlessStopped(const std::function<int()>& action) {
    try {
        return action();
    } catch (const BackupStopped&) {
        std::fputs("fapi: interrupted, nothing is changed\n", stderr);
        return kExitInterrupted;
    }
}

}  // namespace

int backUpWholeSet(const GlobalOptions& options, const std::string& where) {
    return unlessStopped([&] { return backupSet(options, where); });
}

int restoreWholeSet(const GlobalOptions& options, const std::string& file) {
    return unlessStopped([&] { return restoreSet(options, file); });
}

int repairWholeSet(const GlobalOptions& options) {
    return unlessStopped([&] { return repairSet(options); });
}

}  // namespace tool
