// SPDX-License-Identifier: Apache-2.0
// Which runs a station forgets, and how.
#include "record/retention.h"

#include <algorithm>
#include <filesystem>

#include <unistd.h>

#include "record/identity.h"
#include "record/result.h"
#include "record/unfinished_run.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

// Days; more than any run is old.
constexpr long long kLongest = 20000;

// A run that was resumed has the report of its beginning, and one that can be has it still to come.
RunFiles filesOf(Database& database, const std::string& folder, const RunRecord& run) {
    RunFiles found{run, {}, 0, false};
    found.waits = findNumber(database, "select 1 from outbox where run = :a and exists (select 1 from feed)", {run.id})
                      .has_value();
    if (run.report.empty()) {
        return found;
    }
    const std::string stem = (fs::path(folder) / fs::path(run.report).filename()).string();
    const bool isShared =
        findNumber(database, "select 1 from run where report = :a and id <> :b limit 1", {run.report, run.id})
            .has_value();
    if (isShared || access(UnfinishedRun::fileOf(stem).c_str(), F_OK) == 0) {
        return found;
    }
    std::vector<std::string> ofSteps;
    for (const AttachmentRecord& row : readRows<AttachmentRecord>(database, "where run = :a", {run.id})) {
        ofSteps.push_back(row.file);
    }
    found.files = filesOfReport(stem, ofSteps);
    for (const std::string& file : found.files) {
        std::error_code error;
        const std::uintmax_t bytes = fs::file_size(file, error);
        found.bytes += error ? 0 : bytes;
    }
    return found;
}

std::vector<RunRecord> oldestFirst(Database& database, const std::string& rest, const std::vector<Parameter>& values) {
    return readRows<RunRecord>(database, "where not exists (select 1 from active where active.run = run.id) " + rest,
                               values);
}

}  // namespace

std::vector<RunFiles> runsBeyond(Database& database, const std::string& folder, const Retention& limits) {
    std::vector<RunFiles> found;
    if (!limits.runs && !limits.days && !limits.bytes) {
        return found;
    }
    const long long all = findNumber(database, "select count(*) from run").value_or(0);
    const auto age = std::chrono::hours(24 * std::min(limits.days.value_or(kLongest), kLongest));
    const std::string before = utcText(std::chrono::system_clock::now() - age);
    // Without a limit to the bytes only so many can be meant.
    const long long tooMany = limits.runs ? std::max(0LL, all - std::max(1LL, *limits.runs)) : 0;
    const long long tooOld = findNumber(database, "select count(*) from run where began < :a", {before}).value_or(0);
    const long long most = limits.bytes ? all : std::max(tooMany, tooOld);
    std::uintmax_t bytes = 0;
    for (const RunRecord& run : oldestFirst(database, "order by began, id limit :a", {std::min(most, all - 1)})) {
        found.push_back(filesOf(database, folder, run));
        bytes += found.back().bytes;
    }
    // The newest is not among them, and its files count little.
    auto stays = found.begin();
    for (long long index = 0; stays != found.end(); ++stays, ++index) {
        const bool isTooMuch = limits.bytes && bytes > static_cast<std::uintmax_t>(*limits.bytes);
        if (index >= tooMany && stays->run.began >= before && !isTooMuch) {
            break;
        }
        bytes -= stays->bytes;
    }
    found.erase(stays, found.end());
    return found;
}

void forgetRuns(Database& database, const std::vector<RunFiles>& runs) {
    if (std::all_of(runs.begin(), runs.end(), [](const RunFiles& run) { return run.waits; })) {
        return;
    }
    Transaction transaction(database);
    Statement remove(database, "delete from run where id = :a");
    std::string id;
    remove.use(id);
    for (const RunFiles& run : runs) {
        if (!run.waits) {
            id = run.run.id;
            remove.run();
        }
    }
    transaction.commit();
    for (const RunFiles& run : runs) {
        for (const std::string& file : run.waits ? std::vector<std::string>() : run.files) {
            unlink(file.c_str());
        }
    }
}

}  // namespace tool
