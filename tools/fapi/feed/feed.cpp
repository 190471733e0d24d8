// SPDX-License-Identifier: Apache-2.0
// Sends the runs of a station's file to a server.
#include "feed/feed.h"

#include <chrono>

#include <soci/postgresql/soci-postgresql.h>

#include "record/identity.h"
#include "record/schema.h"

namespace tool {

namespace {

// Runs of one transaction: more would gain little, and are lost together when the server dies.
constexpr std::size_t kTogether = 50;
constexpr long long kMostRefusals = 5;

std::string stateOf(const soci::soci_error& error) {
    const auto* own = dynamic_cast<const soci::postgresql_soci_error*>(&error);
    return own != nullptr ? own->sqlstate() : "";
}

// Whether it is the run that the server does not take: bad data, broken rules of its tables, or too much. Everything
// else may pass: a server that stops, is full or only reads.
bool isRefusal(const std::string& state) {
    const std::string kind = state.substr(0, 2);
    return kind == "22" || kind == "23" || kind == "54" || kind == "P0";
}

Database& upToDateServer(Database& database) {
    migrate(database);
    return database;
}

}  // namespace

Feed::Server::Server(const std::string& address) : database(address, Access::write), insert(upToDateServer(database)) {}

Feed::Feed(const std::string& file, std::string server)
    : _address(std::move(server)), _store(file), _atOnce(kTogether) {
    knowServerStates(stateOf);
    _store.noteServer(_address);
}

long long Feed::waiting() {
    return findNumber(_store.database(), "select count(*) from outbox where parked = 0").value_or(0);
}

long long Feed::parked() {
    return findNumber(_store.database(), "select count(*) from outbox where parked = 1").value_or(0);
}

void Feed::retryParked() {
    runOnce(_store.database(), "update outbox set parked = 0, refusals = 0, reason = '' where parked = 1", {});
}

std::vector<std::string> Feed::nextRuns() {
    Statement statement(_store.database(), "select run from outbox where parked = 0 order by place limit :a");
    const Parameter most = static_cast<long long>(_atOnce);
    statement.use(most);
    std::string run;
    statement.into(run);
    statement.run();
    std::vector<std::string> runs;
    while (statement.next()) {
        runs.push_back(run);
    }
    return runs;
}

Feed::Outcome Feed::send() {
    std::vector<std::string> runs = nextRuns();
    if (runs.empty()) {
        _store.endDeadRuns();
        runs = nextRuns();
    }
    if (runs.empty()) {
        return Outcome::empty;
    }
    // Trouble with the station's file is not the server's.
    std::vector<WholeRun> whole;
    for (const std::string& id : runs) {
        for (RunRecord& run : readRows<RunRecord>(_store.database(), "where id = :a", {id})) {
            whole.push_back({std::move(run), readParts(_store.database(), id)});
        }
    }
    try {
        sendRuns(whole);
    } catch (const ResultsError& error) {
        if (isRefusal(error.state())) {
            return takeRefusal(runs, error.what());
        }
        _server.reset();
        note(error.what());
        return Outcome::trouble;
    }
    forget(runs);
    _atOnce = kTogether;
    return Outcome::sent;
}

void Feed::sendRuns(const std::vector<WholeRun>& runs) {
    if (!_server) {
        _server.emplace(_address);
    }
    Transaction transaction(_server->database);
    RunParts all;
    const auto append = [](auto& to, const auto& from) { to.insert(to.end(), from.begin(), from.end()); };
    for (const WholeRun& run : runs) {
        _server->insert.insert(run.run);
        append(all.steps, run.parts.steps);
        append(all.attempts, run.parts.attempts);
        append(all.measurements, run.parts.measurements);
        append(all.attachments, run.parts.attachments);
        append(all.events, run.parts.events);
    }
    _server->insert.insert(all);
    transaction.commit();
}

void Feed::forget(const std::vector<std::string>& runs) {
    Database& database = _store.database();
    Transaction transaction(database);
    std::string id;
    Statement remove(database, "delete from outbox where run = :a");
    remove.use(id);
    for (const std::string& run : runs) {
        id = run;
        remove.run();
    }
    runOnce(database, "update feed set contact = :a, trouble = '' where server = :b",
            {utcText(std::chrono::system_clock::now()), _address});
    transaction.commit();
    _sent += runs.size();
    _trouble.clear();
}

// Of several runs it is not known which one is refused, so they are sent one by one from here.
Feed::Outcome Feed::takeRefusal(const std::vector<std::string>& runs, const std::string& reason) {
    if (runs.size() > 1) {
        _atOnce = 1;
        return Outcome::sent;
    }
    runOnce(_store.database(),
            "update outbox set refusals = refusals + 1, reason = :a, at = :b, "
            "parked = case when refusals + 1 >= :c then 1 else 0 end where run = :d",
            {reason, utcText(std::chrono::system_clock::now()), kMostRefusals, runs.front()});
    note(reason);
    return Outcome::refused;
}

void Feed::note(const std::string& trouble) {
    _trouble = trouble;
    runOnce(_store.database(), "update feed set trouble = :a where server = :b", {trouble, _address});
}

}  // namespace tool
