// SPDX-License-Identifier: Apache-2.0
// Finds runs in a results store.
#include "record/run_search.h"

#include <filesystem>

#include "protocol/value.h"
#include "record/identity.h"
#include "record/old_history.h"
#include "record/schema.h"

namespace tool {

namespace {

constexpr char kUnfinishedRun[] = "unfinished";

std::string timeOf(const std::string& text, bool end, const char* option) {
    const std::optional<std::string> time = parseTime(text, end);
    if (!time) {
        throw UsageError(std::string(option) + " is " + display(text, 40) +
                         ", expected a time such as 2026-02-14 or 2026-02-14T10:15");
    }
    return *time;
}

}  // namespace

RunCondition conditionOf(const RunFilter& filter) {
    RunCondition condition{"1 = 1", {}};
    const auto add = [&](const std::string& value, const char* text) {
        if (!value.empty()) {
            const std::string name = ":p" + std::to_string(condition.parameters.size());
            condition.text += " and " + std::string(text) + name + (std::string(text).back() == '(' ? ")" : "");
            condition.parameters.emplace_back(value);
        }
    };
    add(filter.unit, "run.unit = ");
    add(filter.station, "run.station = ");
    if (filter.verdict == kUnfinishedRun) {
        condition.text += " and run.verdict is null";
    } else {
        add(filter.verdict, "run.verdict = ");
    }
    if (!filter.since.empty()) {
        add(timeOf(filter.since, false, "--since"), "run.began >= ");
    }
    if (!filter.until.empty()) {
        add(timeOf(filter.until, true, "--until"), "run.began < ");
    }
    // A part of a text, in words that both databases know.
    const auto addPart = [&](const std::string& part, const std::string& whole) {
        if (!part.empty()) {
            const std::string name = ":p" + std::to_string(condition.parameters.size());
            condition.text += " and replace(" + whole + ", " + name + ", '') <> " + whole;
            condition.parameters.emplace_back(part);
        }
    };
    addPart(filter.plan, "run.plan");
    addPart(filter.text,
            "(coalesce(run.unit, '') || ' ' || run.deciding_step || ' ' || run.why || ' ' || run.parameters)");
    return condition;
}

// A store that cannot be written is shown as it is.
static void endDeadRunsOf(const std::string& file) {
    try {
        ResultsStore store(file);
    } catch (const ResultsError&) {
    }
}

std::unique_ptr<Database> openResults(const std::string& address, const std::string& folder) {
    const std::string wanted = address.empty() ? resultsFileIn(folder) : address;
    if (address.empty()) {
        takeOverHistory(folder);
    }
    std::error_code error;
    if (!isServerAddress(wanted) && !std::filesystem::exists(wanted, error)) {
        if (!address.empty()) {
            throw UsageError(display(address, 200) + ": there are no results");
        }
        return nullptr;
    }
    auto database = std::make_unique<Database>(wanted, Access::read);
    database->isServer() ? requireSchema(*database) : migrate(*database);
    if (!database->isServer() && hasDeadRuns(*database)) {
        endDeadRunsOf(wanted);
    }
    return database;
}

void forEachRun(Database& database, const RunFilter& filter, const std::function<void(const RunRecord&)>& use) {
    const RunCondition condition = conditionOf(filter);
    Reader<RunRecord> reader(database, "where " + condition.text + " order by run.began, run.number, run.id",
                             condition.parameters);
    while (const RunRecord* run = reader.next()) {
        use(*run);
    }
}

RunRecord findRun(Database& database, const std::string& word) {
    std::vector<RunRecord> found;
    long long number = 0;
    if (word == "last") {
        found = readRows<RunRecord>(database, "order by began desc, number desc, id desc limit 1", {});
    } else if (parseNumber(word, number)) {
        found = readRows<RunRecord>(database, "where number = :a order by began limit 2", {number});
    } else if (word.size() >= 8 && word.find_first_not_of("0123456789abcdef-") == std::string::npos) {
        found = readRows<RunRecord>(database, "where id >= :a and id < :b order by id limit 2", {word, word + "g"});
    } else {
        throw UsageError(display(word, 40) + ": expected the number of a run, the beginning of its id, or last");
    }
    if (found.size() > 1) {
        throw UsageError("there is more than one run " + word + " in " + database.name() + ", such as " + found[0].id +
                         " of " + found[0].station + " and " + found[1].id + " of " + found[1].station +
                         "; name it by its id");
    }
    if (found.empty()) {
        throw UsageError("there is no run " + word + " in " + database.name() + "; fapi history lists them");
    }
    return found.front();
}

WholeRun wholeRun(Database& database, const RunRecord& run) {
    return {run, readParts(database, run.id)};
}

}  // namespace tool
