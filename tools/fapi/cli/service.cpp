// SPDX-License-Identifier: Apache-2.0
// `fapi set backup|restore|repair`: a whole set, from the command line.
#include "cli/service.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <filesystem>

#include <fcntl.h>
#include <unistd.h>

#include "base/data_output.h"
#include "base/durable_file.h"
#include "base/env_text.h"
#include "base/interrupts.h"
#include "base/report_text.h"
#include "base/terminal.h"
#include "target/output.h"
#include "target/sole_use.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

// In names of files.
std::string dateName() {
    return timeText(std::chrono::system_clock::now(), "%Y%m%d-%H%M%S");
}

std::vector<std::string> textsOf(const Field& list) {
    std::vector<std::string> texts;
    for (const Field& text : list.list()) {
        texts.push_back(text.text());
    }
    return texts;
}

void report(const GlobalOptions& options, const Field& contents, const std::string& folder, const std::string& file,
            const std::string& text) {
    const long long files = contents.at("files").number();
    const long long bytes = contents.at("bytes").number();
    printLine(options.json ? jsonLine({{"folder", folder},
                                       {"file", file},
                                       {"files", files},
                                       {"bytes", bytes},
                                       {"left_out", textsOf(contents.at("left_out"))}})
                           : text + ", " + std::to_string(files) + " files, " + std::to_string(bytes) + " bytes");
}

// Calls back at Ctrl-C and the like while a request is under way.
class WhenInterrupted {
public:
    WhenInterrupted(Target& target, std::function<void()> interrupted)
        : _target(target), _interrupted(std::move(interrupted)) {
        _target.watch(_interrupts.descriptor(), [this] {
            _interrupts.take();
            _interrupted();
        });
    }
    ~WhenInterrupted() { _target.unwatch(_interrupts.descriptor()); }
    WhenInterrupted(const WhenInterrupted&) = delete;
    WhenInterrupted& operator=(const WhenInterrupted&) = delete;

private:
    Target& _target;
    Interrupts _interrupts;
    const std::function<void()> _interrupted;
};

// --- Backup ----------------------------------------------------------------------------------------------------------

// A file that is there when it is whole, and not before.
class NewFile {
public:
    explicit NewFile(const std::string& file)
        : _file(file), _next(file + ".new"), _open(_next, O_WRONLY | O_CREAT | O_TRUNC) {}
    ~NewFile() { unlink(_next.c_str()); }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    void append(const Bytes& bytes) const { _open.write({bytes.begin(), bytes.end()}); }
    void finish() const {
        if (fdatasync(_open.get()) != 0) {
            throw writeError(_next, errno);
        }
        fs::rename(_next, _file);
        syncFolderOf(_file);
    }

private:
    const std::string _file, _next;
    const OpenFile _open;
};

int backupSet(const GlobalOptions& options, const std::string& where) {
    const std::string folder = setFolder(options.session);
    Target& target = openSession(options.session);
    if (!options.session.damaged) {
        tellDamage(damageOf(target));
    }
    const std::string name = fs::path(folder).filename().string() + "-" + dateName() + ".tar.gz";
    const std::string file = fs::absolute(fs::is_directory(where) ? fs::path(where) / name : fs::path(where)).string();
    const fs::path inside = fs::weakly_canonical(file).lexically_relative(folder);
    if (!inside.empty() && *inside.begin() != "..") {
        throw UsageError(file + ": lies inside of the set");
    }
    if (fs::exists(file) && !confirm(options, "overwrites " + file)) {
        return kExitInterrupted;
    }
    requireSoleUse(target, "backs the set up");
    const WhenInterrupted interrupts(target, [] { throw RequestError(ErrorCode::canceled, "interrupted"); });
    const NewFile next(file);
    const Field contents = target.read("set.backup", Field::Fields(), [&](const Bytes& piece) { next.append(piece); });
    next.finish();
    for (const std::string& path : textsOf(contents.at("left_out"))) {
        std::fprintf(stderr, "fapi: %s: is neither a file nor a folder and is left out\n", escapeText(path).c_str());
    }
    report(options, contents, folder, file, folder + ": backed up to " + file);
    return kExitGood;
}

// --- Restore ---------------------------------------------------------------------------------------------------------

int restoreSet(const GlobalOptions& options, const std::string& file) {
    const std::string folder = setFolder(options.session);
    Target& target = openSession(options.session);
    const bool isThere = fs::exists(folder) && !fs::is_empty(folder);
    if (isThere) {
        // Refuses what is no set.
        damageOf(target);
    }
    requireSoleUse(target, "restores the set");
    if (isThere && !confirm(options, "replaces everything in " + folder)) {
        return kExitInterrupted;
    }
    long long id = 0;
    const WhenInterrupted interrupts(target, [&] { target.begin("cancel", {{"id", id}}); });
    id = target.begin("set.restore", {{"file", fs::absolute(file).string()}});
    const Field contents = target.finish(id);
    if (contents.has("remains")) {
        printMessage(contents["remains"].text());
    }
    tellDamage(damageOf(target));
    report(options, contents, folder, file, folder + ": restored from " + file);
    return kExitGood;
}

// --- Repair ----------------------------------------------------------------------------------------------------------

std::string remedyOf(const Field& row) {
    if (!row.has("written")) {
        return row.at("remedy").text();
    }
    const std::chrono::nanoseconds written(row["written"].number());
    return "the image of " + timeText(std::chrono::system_clock::time_point(
                                          std::chrono::duration_cast<std::chrono::system_clock::duration>(written)),
                                      kIsoTime);
}

void printRepaired(const GlobalOptions& options, const Field& row) {
    const std::string& file = row.at("file").text();
    printLine(options.json ? jsonLine({{"file", file},
                                       {"damage", textsOf(row.at("damage"))},
                                       {"remedy", remedyOf(row)},
                                       {"kept", row.has("kept") ? Json(row["kept"].text()) : Json(nullptr)}})
                           : file + ": " + remedyOf(row));
}

void printRepairs(const GlobalOptions& options, const Field& done) {
    for (const Field& row : done.at("repaired").list()) {
        printRepaired(options, row);
    }
    if (done.has("folder") && !options.json) {
        printLine("what was damaged is in " + done["folder"].text());
    }
}

int repairSet(const GlobalOptions& options) {
    const std::string folder = setFolder(options.session);
    Target& target = openSession(options.session);
    if (damageOf(target).empty()) {
        printLine(options.json ? jsonLine({{"folder", folder}, {"damage", Json::array()}}) : folder + ": is whole");
        return kExitGood;
    }
    requireSoleUse(target, "repairs the set");
    const Field::List damage = damageOf(target);
    if (!options.session.damaged) {
        tellDamage(damage);
    }
    std::string what;
    for (const Field& row : damage) {
        what += (what.empty() ? "" : "; ") + ("puts into the place of " + row.at("file").text() + ": " + remedyOf(row));
    }
    if (!confirm(options, what)) {
        return kExitInterrupted;
    }
    try {
        printRepairs(options, target.request("set.repair"));
    } catch (const RequestError& error) {
        if (error.failure().data.has("repaired")) {
            printRepairs(options, error.failure().data);
        }
        throw;
    }
    const Field::List left = damageOf(target);
    tellDamage(left);
    return left.empty() ? kExitGood : kExitSet;
}

// Ctrl-C and the like leave nothing behind; that is said, and is no failure of the set.
int unlessStopped(const std::function<int()>& action) {
    try {
        return action();
    } catch (const RequestError& error) {
        if (error.code() != ErrorCode::canceled) {
            throw;
        }
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
