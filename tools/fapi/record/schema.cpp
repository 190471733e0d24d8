// SPDX-License-Identifier: Apache-2.0
// The tables of a results store, and how an older store becomes one of today.
#include "record/schema.h"

#include <cstdio>
#include <cstring>
#include <filesystem>

#include <unistd.h>

#include "base/durable_file.h"

namespace tool {

namespace {

// Rows have ids of the bench's own, so that they can be sent twice. What belongs to a run goes with it. Columns stand
// for what their names say; those of `run_record.h` describe them.
constexpr const char* kTables[] = {
    "create table station (name text primary key, host text not null)",
    "create table unit (serial text primary key, seen text not null)",
    "create table plan (hash text primary key, name text not null, file text not null)",
    R"(create table run (
        id text primary key, number bigint not null, station text not null references station(name),
        host text not null, stage text not null, person text not null, unit text references unit(serial),
        plan text not null, plan_file text not null, plan_hash text not null references plan(hash),
        parameters text not null, target text not null, set_folder text not null, library text not null,
        agent text not null, bench text not null, began text not null, ended text, utc_offset bigint not null,
        seconds double precision not null, attempt bigint not null, verdict text, deciding_step text not null,
        why text not null, passed bigint not null, marginal bigint not null, failed bigint not null,
        errors bigint not null, interrupted bigint not null, not_run bigint not null, faults bigint not null,
        report text not null, waived_by text, waiver text))",
    R"(create table step (
        run text not null references run(id) on delete cascade, number bigint not null, name text not null,
        verdict text not null, text text not null, teardown bigint not null, seconds double precision not null,
        primary key (run, number)))",
    R"(create table attempt (
        run text not null references run(id) on delete cascade, step bigint not null, number bigint not null,
        final bigint not null, verdict text not null, text text not null, began text not null, log text not null,
        seconds double precision not null, primary key (run, step, number)))",
    R"(create table measurement (
        run text not null references run(id) on delete cascade, step bigint not null, attempt bigint not null,
        number bigint not null, final bigint not null, name text not null, unit text not null,
        value double precision, text text, low double precision, high double precision, margin double precision,
        verdict text not null, at text not null, primary key (run, step, attempt, number)))",
    R"(create table attachment (
        run text not null references run(id) on delete cascade, number bigint not null, step bigint not null,
        name text not null, hash text not null, file text not null, bytes bigint not null,
        primary key (run, number)))",
    R"(create table event (
        run text not null references run(id) on delete cascade, number bigint not null, step bigint not null,
        at text not null, name text not null, data text not null, primary key (run, number)))",
    // What a server has not got yet; `place` orders it, `parked` is 1 after too many refusals.
    R"(create table outbox (
        run text primary key references run(id) on delete cascade, place bigint not null,
        refusals bigint not null, parked bigint not null, reason text not null, at text not null))",
    "create table feed (server text primary key, contact text not null, trouble text not null)",
    // Runs that go on, and the processes that carry them out.
    R"(create table active (
        run text primary key references run(id) on delete cascade, host text not null, process bigint not null,
        started text not null))",
    "create index run_number on run (station, number)",
    "create index run_began on run (began)",
    "create index run_unit on run (unit, stage, began)",
    "create index outbox_place on outbox (place)",
    "create index measurement_name on measurement (name, at)",
};

// What dashboards ask for. TIME() is a time where the database has a type for it.
constexpr const char* kViews[] = {
    R"(create view run_overview as
        select id, number, station, stage, unit, plan, verdict, deciding_step, TIME(began) as began,
            TIME(ended) as ended, seconds, attempt, person from run)",
    R"(create view yield_by_day as
        select substr(began, 1, 10) as day, station, stage, plan, count(*) as runs,
            sum(case when verdict in ('passed', 'marginal') then 1 else 0 end) as good
        from run where verdict in ('passed', 'marginal', 'failed')
        group by substr(began, 1, 10), station, stage, plan)",
    R"(create view failing_steps as
        select plan, deciding_step, count(*) as runs from run where verdict = 'failed'
        group by plan, deciding_step)",
    R"(create view final_measurement as
        select m.run, r.station, r.stage, r.unit as serial, r.plan, m.name, m.value, m.unit, m.low, m.high,
            m.verdict, TIME(m.at) as at
        from measurement m join run r on r.id = m.run where m.final = 1)",
};

// Steps that were not for a run, and where its seconds have gone.
constexpr const char* kSkippedAndTimes[] = {
    "alter table run add column skipped bigint not null default 0",
    "alter table run add column in_calls double precision not null default 0",
    "alter table run add column in_waits double precision not null default 0",
};

// Whether a file is a report, a picture, or what a program has attached.
constexpr const char* kKindOfAttachment[] = {
    "alter table attachment add column kind text not null default 'report'",
    "update attachment set kind = case when file like '%.png' then 'picture' else 'attached' end "
    "where step >= 0",
};

struct Version {
    const char* const* statements;
    std::size_t count;
};

// In their order; a store of version N has had the first N.
constexpr Version kVersions[] = {{kTables, std::size(kTables)},
                                 {kViews, std::size(kViews)},
                                 {kSkippedAndTimes, std::size(kSkippedAndTimes)},
                                 {kKindOfAttachment, std::size(kKindOfAttachment)}};
constexpr long long kNewest = std::size(kVersions);

// Programs that come to an empty server at the same time take turns by this number.
constexpr char kTurn[] = "select pg_advisory_xact_lock(720531846)";

std::string spelt(std::string statement, bool isServer) {
    static constexpr char kTime[] = "TIME(";
    for (std::size_t at = statement.find(kTime); at != std::string::npos; at = statement.find(kTime)) {
        const std::size_t end = statement.find(')', at);
        const std::string column = statement.substr(at + std::strlen(kTime), end - at - std::strlen(kTime));
        statement.replace(at, end + 1 - at, isServer ? "cast(" + column + " as timestamptz)" : column);
    }
    return statement;
}

// 0 for an empty database, nothing for one that holds something else.
std::optional<long long> findVersion(Database& database) {
    const char* tables =
        database.isServer()
            ? "select coalesce(sum(case when tablename = 'schema_version' then 1 else 0 end), 0), count(*) from "
              "pg_tables where schemaname = current_schema()"
            : "select coalesce(sum(name = 'schema_version'), 0), count(*) from sqlite_master where type = 'table'";
    Statement statement(database, tables);
    long long known = 0, all = 0;
    statement.into(known);
    statement.into(all);
    statement.run();
    statement.next();
    if (known == 0) {
        return all == 0 ? std::optional(0LL) : std::nullopt;
    }
    return findNumber(database, "select cast(max(version) as bigint) from schema_version");
}

long long versionOf(Database& database) {
    const std::optional<long long> version = findVersion(database);
    if (!version) {
        throw ResultsError(database.name() + ": holds no results of this bench", "");
    }
    if (*version > kNewest) {
        throw ResultsError(database.name() + ": was made by a newer bench (version " + std::to_string(*version) +
                               " of the tables, this one knows " + std::to_string(kNewest) + ")",
                           "");
    }
    return *version;
}

void copyFile(Database& database, long long version) {
    const std::string copy = database.name() + ".version-" + std::to_string(version);
    const std::string half = copy + ".new";
    unlink(half.c_str());
    try {
        runOnce(database, "vacuum into :a", {half});
    } catch (const ResultsError&) {
        unlink(half.c_str());
        throw;
    }
    if (std::rename(half.c_str(), copy.c_str()) != 0) {
        throw writeError(copy, errno);
    }
    syncFolderOf(copy);
}

}  // namespace

void migrate(Database& database) {
    // A file that is being made answers other programs with "locked" at once, so they take turns.
    std::optional<FolderLock> turn;
    if (!database.isServer()) {
        const std::string folder = std::filesystem::path(database.name()).parent_path().string();
        turn.emplace(folder.empty() ? "." : folder);
    }
    const long long found = versionOf(database);
    if (!database.isServer() && found == 0) {
        // Readers and the writer then do not wait for each other. The file remembers it.
        database.execute("pragma journal_mode = wal");
    }
    if (found == kNewest) {
        return;
    }
    if (!database.isServer() && found != 0) {
        copyFile(database, found);
    }
    Transaction transaction(database);
    if (database.isServer()) {
        database.execute(kTurn);
    }
    // Another program may have done it meanwhile.
    const long long before = versionOf(database);
    if (before == 0) {
        database.execute("create table schema_version (version bigint not null)");
    }
    for (long long version = before; version < kNewest; ++version) {
        const Version& next = kVersions[version];
        for (std::size_t i = 0; i < next.count; ++i) {
            database.execute(spelt(next.statements[i], database.isServer()));
        }
        runOnce(database, "insert into schema_version (version) values (:a)", {version + 1});
    }
    transaction.commit();
}

void requireSchema(Database& database) {
    const long long version = versionOf(database);
    if (version != kNewest) {
        throw ResultsError(database.name() + (version == 0 ? ": there are no results"
                                                           : ": is of an older bench; fapi-feed brings it up to date"),
                           "");
    }
}

}  // namespace tool
