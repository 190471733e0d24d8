// SPDX-License-Identifier: Apache-2.0
// `fapi clean`: removes what runs have left behind and nobody needs.
#include "cli/clean.h"

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <iterator>
#include <optional>
#include <set>

#include <fcntl.h>
#include <sys/stat.h>

#include "base/durable_file.h"
#include "base/terminal.h"
#include "base/text_pattern.h"
#include "record/result.h"
#include "record/run_search.h"
#include "record/unfinished_run.h"
#include "target/fresh_set.h"
#include "target/output.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

// Of all files, links not followed.
std::uintmax_t bytesOf(const fs::path& path) {
    std::error_code error;
    const fs::file_status status = fs::symlink_status(path, error);
    std::uintmax_t bytes = fs::is_regular_file(status) ? fs::file_size(path, error) : 0;
    if (fs::is_directory(status)) {
        for (const fs::directory_entry& entry : fs::directory_iterator(path, error)) {
            bytes += bytesOf(entry.path());
        }
    }
    return bytes;
}

// The files of steps that the JSON report in the file names; nothing when it is no report of a run. One without a byte
// is a name that a run has taken and never used.
std::optional<std::vector<std::string>> filesNamedIn(const fs::path& file) {
    if (!fs::is_regular_file(fs::symlink_status(file))) {
        return std::nullopt;
    }
    std::vector<std::string> names;
    if (fs::file_size(file) == 0) {
        return names;
    }
    try {
        const Json json = parseJson(OpenFile(file.string(), O_RDONLY).read());
        for (const char* wanted : {"plan", "set", "good"}) {
            static_cast<void>(json.at(wanted));
        }
        std::vector<KeptFile> kept;
        for (const Json& step : json.at("steps")) {
            for (const Json& attempt : step.at("attempts")) {
                for (const Json& command : attempt.at("commands")) {
                    addKeptFiles(command, kept);
                }
            }
        }
        std::transform(kept.begin(), kept.end(), std::back_inserter(names),
                       [](const KeptFile& one) { return one.file; });
        return names;
    } catch (const Json::exception&) {
        return std::nullopt;
    }
}

// Of what the command line says nothing, the station decides.
Retention limitsOf(const CleanOptions& options) {
    Retention limits = options.retention;
    limits.runs = limits.runs ? limits.runs : options.kept.runs;
    limits.days = limits.days ? limits.days : options.kept.days;
    limits.bytes = limits.bytes ? limits.bytes : options.kept.bytes;
    return limits;
}

// Whether what was changed last then is older than so many days; a clock that went back makes nothing old.
bool isOlder(const std::string& folder, std::optional<long long> days) {
    struct stat status = {};
    constexpr std::time_t kDay = std::time_t{24} * 60 * 60;
    return days && stat(folder.c_str(), &status) == 0 && std::time(nullptr) - status.st_mtime > *days * kDay;
}

class Sweep {
public:
    Sweep(const GlobalOptions& options, const CleanOptions& cleanOptions)
        : _json(options.json),
          _dryRun(cleanOptions.dryRun),
          _all(cleanOptions.all),
          _retention(limitsOf(cleanOptions)),
          _keptSets(static_cast<std::size_t>(cleanOptions.sets.value_or(cleanOptions.all ? 0 : kLeftSets))),
          _folder(cleanOptions.report.empty() ? kReportFolder : cleanOptions.report) {}

    int run() {
        sets();
        std::error_code error;
        if (fs::is_directory(_folder, error)) {
            const std::unique_ptr<Database> results = openResults("", _folder);
            if (results != nullptr) {
                runs(*results);
            }
            // Runs that end meanwhile wait before they note themselves.
            const FolderLock lock(_folder);
            unfinishedRuns();
            reports(results.get());
        }
        if (_json) {
            printLine(jsonLine({{"removed", _removed}, {"bytes", _bytes}, {"dry_run", _dryRun}}));
        } else {
            printLine(std::to_string(_removed) + (_dryRun ? " would be removed, " : " removed, ") +
                      std::to_string(_bytes) + " bytes");
        }
        return _failed ? kExitFailed : kExitGood;
    }

private:
    void sets() {
        std::size_t number = 0;
        std::uintmax_t bytes = 0;
        for (const std::string& folder : temporarySets()) {
            FileLocks locks;
            const bool isFree = lockTemporarySet(folder, locks);
            bytes += _retention.bytes ? bytesOf(folder) : 0;
            const bool isTooMuch = _retention.bytes && bytes > static_cast<std::uintmax_t>(*_retention.bytes);
            const bool isNew = number++ < _keptSets && !isTooMuch && !isOlder(folder, _retention.days);
            if (!isFree || isNew) {
                keep("set", folder, isFree ? "one of the newest" : "in use");
            } else if (remove("set", folder, {folder})) {
                _sets.insert(setIn(folder));
            }
        }
    }

    void unfinishedRuns() {
        for (const std::string& file : UnfinishedRun::filesIn(_folder)) {
            const std::unique_ptr<UnfinishedRun> run = UnfinishedRun::read(file);
            if (run != nullptr && !run->lock()) {
                keep("unfinished run", file, "still going on");
            } else if (run != nullptr && !_all && !run->isLost() && _sets.count(run->set().name) == 0) {
                keep("unfinished run", file, "can be resumed");
            } else {
                remove("unfinished run", file, run != nullptr ? run->files() : std::vector<std::string>{file});
            }
        }
    }

    // Those beyond the limits.
    void runs(Database& results) {
        const std::vector<RunFiles> beyond = runsBeyond(results, _folder, _retention);
        for (const RunFiles& old : beyond) {
            const std::string name = std::to_string(old.run.number) + " of " + old.run.began;
            old.waits ? keep("run", name, "waits for a server") : static_cast<void>(remove("run", name, old.files));
        }
        if (!_dryRun) {
            forgetRuns(results, beyond);
        }
    }

    // Those that the history does not know.
    void reports(Database* results) {
        static const TextPattern kName("(.+-[0-9]{8}-[0-9]{6}(-[0-9]+)?)\\.json");
        std::set<std::string> known;
        if (results != nullptr) {
            forEachRun(*results, {}, [&](const RunRecord& run) { known.insert(run.report); });
        }
        for (const fs::directory_entry& entry : fs::directory_iterator(_folder)) {
            const std::string name = entry.path().filename().string();
            const std::vector<std::string> parts = kName.match(name);
            if (parts.empty() || known.count(parts[1]) != 0) {
                continue;
            }
            const std::string stem = (fs::path(_folder) / parts[1]).string();
            if (isUnfinished(stem) || _files.count(entry.path().string()) != 0) {
                continue;
            }
            FileLocks locks;
            if (!locks.take(entry.path().string())) {
                keep("report", stem, "still being made");
            } else if (const auto names = filesNamedIn(entry.path())) {
                remove("report", stem, filesOfReport(stem, *names));
            }
        }
    }

    bool isUnfinished(const std::string& stem) const {
        const std::string file = UnfinishedRun::fileOf(stem);
        return fs::exists(file) && _files.count(file) == 0;
    }

    void keep(const char* kind, const std::string& path, const char* why) const {
        if (_json) {
            printLine(jsonLine({{"kind", kind}, {"path", path}, {"removed", false}, {"why", why}}));
        } else {
            printLine(std::string(kind) + " " + printable(path) + ": stays, " + why);
        }
    }

    // False when something could not be removed.
    bool remove(const char* kind, const std::string& path, const std::vector<std::string>& files) {
        std::uintmax_t bytes = 0;
        std::error_code error;
        for (const std::string& file : files) {
            bytes += bytesOf(file);
            if (!_dryRun && !error) {
                fs::remove_all(file, error);
            }
            _files.insert(file);
        }
        if (error) {
            printError(path + ": cannot be removed: " + error.message(), _json);
            _failed = true;
            return false;
        }
        ++_removed;
        _bytes += bytes;
        if (_json) {
            printLine(jsonLine({{"kind", kind}, {"path", path}, {"removed", !_dryRun}, {"bytes", bytes}}));
        } else {
            printLine(std::string(kind) + " " + printable(path) + ": " +
                      (_dryRun ? "would be removed, " : "removed, ") + std::to_string(bytes) + " bytes");
        }
        return true;
    }

    const bool _json;
    const bool _dryRun;
    const bool _all;
    const Retention _retention;
    const std::size_t _keptSets;
    const std::string _folder;
    // What is removed, or would be.
    std::set<std::string> _sets, _files;
    std::size_t _removed = 0;
    std::uintmax_t _bytes = 0;
    bool _failed = false;
};

}  // namespace

int clean(const GlobalOptions& options, const CleanOptions& cleanOptions) {
    if (!cleanOptions.dryRun && !confirm(options, "removes what \"fapi clean --dry-run\" lists")) {
        return kExitInterrupted;
    }
    return Sweep(options, cleanOptions).run();
}

}  // namespace tool
