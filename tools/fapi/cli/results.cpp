// SPDX-License-Identifier: Apache-2.0
// The command lines of `fapi history`, `fapi stats` and `fapi results`.
#include "cli/results.h"

#include <memory>

#include <CLI/CLI.hpp>

#include "base/table.h"
#include "base/terminal.h"
#include "judge/verdict.h"
#include "record/result.h"
#include "target/output.h"

namespace tool {

namespace {

CLI::Validator runVerdict() {
    const auto check = [](const std::string& word) {
        for (const Verdict verdict :
             {Verdict::passed, Verdict::marginal, Verdict::failed, Verdict::error, Verdict::interrupted}) {
            if (word == verdictName(verdict)) {
                return std::string();
            }
        }
        return word == "unfinished" ? std::string()
                                    : "is " + display(word, 40) +
                                          ", expected passed, marginal, failed, error, interrupted or unfinished";
    };
    return CLI::Validator(check, "");
}

void addStore(CLI::App& command, ResultsOptions& wanted) {
    command.add_option("--results", wanted.results, "A store: its file, postgresql://HOST/DATABASE or service=NAME")
        ->type_name("URL");
    command.add_option("--report", wanted.report, "Folder of the reports, which has one")->type_name("DIR");
}

void addFilter(CLI::App& command, RunFilter& filter) {
    command.add_option("--unit", filter.unit, "Only runs of this unit")->type_name("SERIAL");
    command.add_option("--plan", filter.plan, "Only runs of plans with this in their names")->type_name("NAME");
    command
        .add_option("--verdict", filter.verdict,
                    "Only those that are passed, marginal, failed, error, interrupted or unfinished")
        ->type_name("VERDICT")
        ->check(runVerdict());
    command.add_option("--since", filter.since, "Only those that began then or later: 2026-02-14, 2026-02-14T10:15")
        ->type_name("TIME");
    command.add_option("--until", filter.until, "Only those that began then or earlier: 2026-02-14 is that day, too")
        ->type_name("TIME");
    command.add_option("--station", filter.station, "Only runs of this station")->type_name("NAME");
    command.add_option("--text", filter.text, "Only those with this in unit, deciding step, reason or parameters")
        ->type_name("TEXT");
}

// What a command does, unless one of its own commands is named.
void addAction(CLI::App* command, const GlobalOptions& options, std::function<int()>& action,
               const std::shared_ptr<ResultsOptions>& wanted, int (*function)(const ResultsOptions&)) {
    command->callback([command, &options, &action, wanted, function] {
        if (command->get_subcommands().empty()) {
            action = [&options, wanted, function] {
                wanted->json = options.json;
                return function(*wanted);
            };
        }
    });
}

void printServers(Database& database, bool json) {
    std::string server, contact, trouble;
    Statement statement(database, "select server, contact, trouble from feed order by server");
    statement.into(server);
    statement.into(contact);
    statement.into(trouble);
    statement.run();
    while (statement.next()) {
        if (json) {
            printLine(jsonLine({{"server", server}, {"contact", contact}, {"trouble", trouble}}));
        } else {
            printLine("server " + printable(server) + ": " +
                      (contact.empty() ? "never reached" : "reached last " + contact) +
                      (trouble.empty() ? "" : ", " + printable(trouble)));
        }
    }
}

// What a server has refused, whether it is parked already or not.
void printRefused(Database& database, bool json) {
    std::string run, reason;
    long long refusals = 0, parked = 0;
    Statement statement(database, "select run, refusals, parked, reason from outbox where refusals > 0 order by place");
    statement.into(run);
    statement.into(refusals);
    statement.into(parked);
    statement.into(reason);
    statement.run();
    while (statement.next()) {
        if (json) {
            printLine(jsonLine({{"run", run}, {"refusals", refusals}, {"parked", parked != 0}, {"reason", reason}}));
        } else {
            printLine("run " + run + ": refused " + std::to_string(refusals) + (refusals == 1 ? " time" : " times") +
                      (parked != 0 ? " and parked: " : ": ") + printable(reason));
        }
    }
}

}  // namespace

std::string ResultsOptions::folder() const {
    return report.empty() ? kReportFolder : report;
}

std::unique_ptr<Database> ResultsOptions::open() const {
    std::unique_ptr<Database> database = openResults(results, folder());
    if (database == nullptr) {
        printMessage(folder() + ": no runs");
    }
    return database;
}

void addHistoryCommands(CLI::App& history, const GlobalOptions& options, std::function<int()>& action) {
    const auto wanted = std::make_shared<ResultsOptions>();
    addStore(history, *wanted);
    addFilter(history, wanted->filter);
    addAction(&history, options, action, wanted, listHistory);
    CLI::App* show = history.add_subcommand("show", "Show the steps of a run");
    show->add_option("RUN", wanted->runs, "Its number, its id, or last")->required()->expected(1);
    addAction(show, options, action, wanted, showHistory);
    CLI::App* compare = history.add_subcommand("compare", "Show what differs between two runs");
    compare->add_option("RUN", wanted->runs, "Their numbers or ids, or last")->required()->expected(2);
    addAction(compare, options, action, wanted, compareHistory);
    CLI::App* exports = history.add_subcommand("export", "Write runs for other programs");
    exports
        ->add_option("FORMAT", wanted->format, "csv, a line a measurement; jsonl, a run a line; atml, IEEE 1636.1 XML")
        ->required();
    addAction(exports, options, action, wanted, exportHistory);
    history.require_subcommand(0, 1);
}

void addStatsOptions(CLI::App& stats, const GlobalOptions& options, std::function<int()>& action) {
    const auto wanted = std::make_shared<ResultsOptions>();
    addStore(stats, *wanted);
    addFilter(stats, wanted->filter);
    stats.add_option("--measurement", wanted->measurement, "This one alone, with histogram and control chart")
        ->type_name("NAME");
    stats.add_option("--format", wanted->format, "text, csv or html; text when left out")->type_name("FORMAT");
    addAction(&stats, options, action, wanted, printStatistics);
}

void addStoreCommands(CLI::App& results, const GlobalOptions& options, std::function<int()>& action) {
    const auto wanted = std::make_shared<ResultsOptions>();
    results.require_subcommand(1);
    CLI::App* status = results.add_subcommand("status", "Show what waits for a server, and what it has refused");
    addStore(*status, *wanted);
    addAction(status, options, action, wanted, printResultsStatus);
}

int printResultsStatus(const ResultsOptions& options) {
    const std::unique_ptr<Database> database = options.open();
    if (database == nullptr) {
        return kExitGood;
    }
    const auto count = [&](const char* from) {
        return findNumber(*database, std::string("select count(*) from ") + from).value_or(0);
    };
    const long long runs = count("run"), waits = count("outbox where parked = 0"),
                    parked = count("outbox where parked = 1");
    if (options.json) {
        printLine(jsonLine({{"results", database->name()}, {"runs", runs}, {"waiting", waits}, {"parked", parked}}));
    } else {
        printLine(printable(database->name()) + ": " + std::to_string(runs) + " runs, " + std::to_string(waits) +
                  " wait for a server, " + std::to_string(parked) + " parked");
    }
    printServers(*database, options.json);
    printRefused(*database, options.json);
    return kExitGood;
}

}  // namespace tool
