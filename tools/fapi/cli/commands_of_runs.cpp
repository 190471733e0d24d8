// SPDX-License-Identifier: Apache-2.0
// Commands that run plans, check sets and stations, and look at what runs have left.
#include "cli/command_line.h"
#include "cli/hub.h"
#include "cli/option_checks.h"
#include "cli/results.h"
#include "cli/serve.h"
#include "report/report.h"
#include "station/station.h"
#include "target/output.h"

namespace tool {

void CommandLine::addRun() {
    CLI::App* run = addCommand("run", "Run factory-line plans");
    if (run == nullptr) {
        return;
    }
    run->add_option("PLAN", _words)->required();
    CLI::Option* fresh = run->add_flag("--fresh", _run.fresh, "Run on a new set, removed afterwards");
    run->add_option("--report", _run.report, "Folder for the reports")->type_name("DIR");
    CLI::Option* noReport = run->add_flag("--no-report", _run.noReport, "Write no report");
    CLI::Option* dryRun = run->add_flag("--dry-run", _run.dryRun, "Only print what would be done");
    CLI::Option* repeat =
        run->add_option("--repeat", _run.repeat, "Run them so many times, or forever")->type_name("N|forever");
    run->add_flag("--until-failure", _run.untilFailure, "Stop at the first run that does not pass")->needs(repeat);
    CLI::Option* resume =
        run->add_flag("--resume", _run.resume, "Go on with the run of this plan that did not end, at its last step")
            ->excludes(fresh, noReport, dryRun, repeat);
    run->add_flag("--shared", _run.isShared, "Let other programs act on the set meanwhile");
    addFaults(run);
    addParameters(run)->excludes(repeat, resume);
    CLI::Option* slots = run->add_option("--slots", _slots.count, "Run on so many virtual sets side by side")
                             ->type_name("N")
                             ->check(CLI::Range(1, 64));
    run->add_option("--targets", _slots.targets, "Run on these sets side by side")
        ->type_name("NAME,...")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->excludes(slots, fresh);
    for (const char* option : {"--slots", "--targets"}) {
        run->get_option(option)->excludes(repeat, dryRun, resume);
    }
    run->add_option("--answers", _operator.answers, "Answers to the plan's questions, for a run without a person")
        ->type_name("FILE")
        ->check(notEmpty());
    run->add_option("--operator", _operator.name, "Who answers questions; $FAPI_OPERATOR, else who is logged in")
        ->type_name("NAME");
    run->add_option("--keep", _run.keep, "How many runs the history keeps; as station.ini says, or 100")
        ->type_name("N")
        ->check(numberUpTo(100000));
    run->callback([this] {
        _action = [this] {
            _run.files = _words;
            _run.session = _options.session;
            _run.json = _options.json;
            const Station station = readStation(stationFile(_station.file));
            _run.place = {station.name, station.stage, bindingsText(station), station};
            _run.programWithin = station.programWithin;
            _run.instruments = station.instruments;
            _operator.within = station.personWithin;
            useOperator(_operator);
            if (_slots.count == 0 && _slots.targets.empty()) {
                return runPlans(_run);
            }
            for (char** word = _arguments + 1; *word != nullptr; ++word) {
                _slots.words.emplace_back(*word);
            }
            _slots.slots = _slots.targets.empty() ? virtualSlots(_slots.count, _options.session, _run.fresh)
                                                  : slotsOf(_slots.targets, _station);
            return runInSlots(_slots, _run);
        };
    });
}

CLI::Option* CommandLine::addParameters(CLI::App* run) {
    run->add_option("--param", _run.parameters, "The value of a parameter of the plan; may be given again")
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false);
    run->add_option("--expected", _run.expected,
                    "Pass when exactly the steps of this file fail: for a unit that is known to be bad")
        ->type_name("FILE");
    CLI::Option* waive = run->add_option("--waive", _run.waived, "Let a failure of this step pass; may be given again")
                             ->type_name("STEP")
                             ->allow_extra_args(false);
    CLI::Option* unapproved =
        run->add_flag("--unapproved", _run.isUnapproved, "Run plans that [plans] of the station's file does not have");
    CLI::Option* reason = run->add_option("--reason", _run.reason, "Why, for the record")->type_name("TEXT");
    waive->needs(reason);
    unapproved->needs(reason);
    return run->add_option("--params", _run.parameterTable, "Table (CSV) with a run for each row")
        ->type_name("FILE")
        ->check(notEmpty());
}

void CommandLine::addCheck() {
    CLI::App* check = addCommand("check", "Check plans without running them");
    if (check == nullptr) {
        return;
    }
    CLI::Option* checked = check->add_option("PLAN", _words);
    CLI::Option* faults = addFaults(check);
    check->callback([this, checked, faults] {
        if (checked->count() + faults->count() == 0) {
            throw CLI::RequiredError("PLAN");
        }
        _action = [this] { return checkPlans(_words, _run.faults, _options.json); };
    });
}

void CommandLine::addConformance() {
    CLI::App* command = addCommand("conformance", "Check what the set promises, rule by rule");
    if (command == nullptr) {
        return;
    }
    command->add_option("RULE", _conformance.rules, "Names, families, patterns such as \"gpio.*\", or files");
    const auto addWords = [&](const char* name, std::vector<std::string>& words, const char* type, const char* help) {
        command->add_option(name, words, help)->type_name(type)->allow_extra_args(false);
    };
    addWords("--danger", _conformance.dangers, "CLASS",
             "Also rules of this class: store, reboot, pads, person; may be given again");
    addWords("--has", _conformance.has, "THING", "What the board claims to have; may be given again");
    const auto addFile = [&](const char* name, std::string& file, const char* help) {
        command->add_option(name, file, help)->type_name("FILE")->check(notEmpty());
    };
    addFile("--expected", _conformance.expected, "Rules that are expected to fail, each with its reason");
    addFile("--junit", _conformance.junit, "Write JUnit XML to this file, too");
    addFile("--page", _conformance.page, "Write a page (HTML) to this file, too");
    command->add_flag("--list", _conformance.isList, "Only list the rules");
    command->callback([this] {
        _action = [this] {
            _conformance.session = _options.session;
            _conformance.json = _options.json;
            return runConformance(_conformance);
        };
    });
}

CLI::Option* CommandLine::addFaults(CLI::App* command) {
    return command->add_option("--faults", _run.faults, "File of faults that the run is to meet")
        ->type_name("FILE")
        ->check(notEmpty());
}

void CommandLine::addResults(const char* name, const char* help,
                             void (*add)(CLI::App&, const GlobalOptions&, std::function<int()>&)) {
    if (CLI::App* command = addCommand(name, help)) {
        add(*command, _options, _action);
    }
}

void CommandLine::addClean() {
    CLI::App* command = addCommand("clean", "Remove what runs have left: temporary sets, forgotten reports");
    if (command == nullptr) {
        return;
    }
    command->add_option("--report", _clean.report, "Folder of the reports")->type_name("DIR");
    command->add_flag("--dry-run", _clean.dryRun, "Only list what would be removed");
    const auto addLimit = [&](const char* option, std::optional<long long>& limit, const char* help) {
        command->add_option(option, limit, help)->type_name("N")->check(numberUpTo(1000000000));
    };
    addLimit("--keep-runs", _clean.retention.runs, "Forget all but the newest N runs; the newest one stays always");
    addLimit("--keep-sets", _clean.sets, "Remove all but the newest N temporary sets; 5 when left out");
    addLimit("--keep-days", _clean.retention.days, "Forget runs and temporary sets that are older than N days");
    addLimit("--keep-bytes", _clean.retention.bytes,
             "Forget the oldest runs until the files of the others have N bytes, and sets likewise");
    command->add_flag("--all", _clean.all, "Also the newest sets, and runs that could be resumed");
    command->callback([this] {
        _action = [this] {
            _clean.kept = readStation(stationFile(_station.file)).kept;
            return clean(_options, _clean);
        };
    });
}

void CommandLine::addSharing() {
    addSimple("clients", "Show who uses the set, and who may change it",
              [this] { return print(clientsText(clientOptions(), _options.json)); });
    CLI::App* take = addCommand("take", "Take the set away from the program that has it");
    if (take == nullptr) {
        return;
    }
    take->add_option("--reason", _word, "What that program is told")->required()->type_name("TEXT");
    take->callback([this] { _action = [this] { return print(takeClaim(clientOptions(), _word, _options.json)); }; });
}

void CommandLine::addStation() {
    addSimple("targets", "List the sets of this station, and who uses them",
              [this] { return listTargets(_station, _options.session, _options.json); });
    CLI::App* station = addCommand("station", "Check the station's file, or print what it may hold");
    if (station == nullptr) {
        return;
    }
    station->require_subcommand(1);
    CLI::App* check = station->add_subcommand("check", "Try all that must be right before the first unit");
    check->add_option("--report", _run.report, "Folder of the reports")->type_name("DIR");
    check->callback([this] {
        _action = [this] {
            return checkStation(_station, _run.report.empty() ? kReportFolder : _run.report, _options.json);
        };
    });
    station->add_subcommand("reference", "Print the keys of the station's file, as Markdown")->callback([this] {
        _action = [] { return print(stationReference()); };
    });
}

TargetOptions CommandLine::clientOptions() const {
    TargetOptions options;
    options.folder = _options.session.folder;
    options.client = "fapi";
    options.wire = _options.session.wire;
    return options;
}

void CommandLine::addServe() {
    if (CLI::App* command = addCommand("serve", "Show the station and its sets in a browser")) {
        addServeOptions(*command, _options, _station, _action);
    }
}

}  // namespace tool
