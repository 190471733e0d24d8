// SPDX-License-Identifier: Apache-2.0
// fapi, the bench tool: the command line.
#include <algorithm>
#include <csignal>
#include <functional>
#include <map>
#include <sstream>

#include <CLI/CLI.hpp>

#include "base/data_output.h"
#include "base/terminal.h"
#include "cli/clean.h"
#include "cli/env.h"
#include "cli/hub.h"
#include "cli/partition.h"
#include "cli/reference.h"
#include "cli/results.h"
#include "cli/serve.h"
#include "cli/service.h"
#include "cli/set.h"
#include "cli/station.h"
#include "cli/word_completion.h"
#include "conform/conformance.h"
#include "hub/hub.h"
#include "operator/operator.h"
#include "program/guard.h"
#include "report/report.h"
#include "run/runner.h"
#include "shell/help.h"
#include "shell/shell.h"
#include "slots/slots.h"
#include "station/station.h"
#include "target/output.h"
#include "target/session.h"
#include "target/surprises.h"
#include "watch/screen.h"
#include "watch/watch.h"

namespace {

using namespace tool;

constexpr char kFooter[] =
    "Exit codes: 0 done; 1 the operation or plan failed; 2 a wrong word or a broken plan, nothing was called;\n"
    "3 the set cannot be had or is damaged, or the PC could not store what the set or a report needs;\n"
    "4 interrupted or declined.\n"
    "Data go to standard output, messages and the library's log to standard error.";

// Stands before a word that is no option, whatever it begins with.
constexpr char kMark[] = "\x01--\x01";

// What the shells' scripts call.
constexpr char kComplete[] = "complete";

int callOperation(const GlobalOptions& options, const Words& words, bool noInit, const std::string& output) {
    if (!words.empty() && words[0] == "set") {
        throw UsageError("call takes an operation; for the set there is: fapi set");
    }
    const Command command = Command::parse(words);
    checkOutput(command, output);
    if (!confirm(options, command)) {
        return kExitInterrupted;
    }
    openSession(options.session);
    printWarning(Surprises().next(command));
    const Outcome outcome = noInit ? command.run({false}).outcome : runPrepared(command);
    printOutcome(command, outcome, options.json);
    const bool written = writeOutput(command, outcome, output, options.json);
    return outcome.good && written ? kExitGood : kExitFailed;
}

// Options are checked, and complained about, as arguments of operations are.
CLI::Validator numberUpTo(long long max) {
    const auto check = [max](const std::string& word) {
        long long number = 0;
        return parseNumber(word, number) && number >= 0 && number <= max
                   ? std::string()
                   : "is " + display(word, 40) + ", expected a number from 0 to " + std::to_string(max);
    };
    return CLI::Validator(check, "");
}

CLI::Validator seconds() {
    const auto check = [](const std::string& word) {
        double number = 0;
        return CLI::detail::lexical_cast(word, number) && number >= 0
                   ? std::string()
                   : "is " + display(word, 40) + ", expected seconds, such as 2 or 0.5";
    };
    return CLI::Validator(check, "");
}

// Acts at once: what is printed of a wrong command line is colored as it says, too.
CLI::Validator colorUse() {
    const auto check = [](const std::string& word) {
        const std::map<std::string, ColorUse> uses = {
            {"auto", ColorUse::automatic}, {"always", ColorUse::always}, {"never", ColorUse::never}};
        const auto use = uses.find(word);
        if (use == uses.end()) {
            return "is " + display(word, 40) + ", expected auto, always or never";
        }
        useColors(use->second);
        return std::string();
    };
    return CLI::Validator(check, "");
}

CLI::Validator notEmpty() {
    const auto check = [](const std::string& word) { return std::string(word.empty() ? "a file is missing" : ""); };
    return CLI::Validator(check, "");
}

struct CommandName {
    const char* name;
    const char* help;
};

// Lists all commands of the program, of which only those that the command line names are made.
class CommandFormatter : public CLI::Formatter {
public:
    explicit CommandFormatter(const std::vector<CommandName>& commands) : _commands(commands) {}

    std::string make_subcommands(const CLI::App* app, CLI::AppFormatMode mode) const override {
        if (app->get_parent() != nullptr) {
            return CLI::Formatter::make_subcommands(app, mode);
        }
        std::ostringstream text;
        text << "\nSubcommands:\n";
        for (const CommandName& command : _commands) {
            CLI::detail::format_help(text, command.name, command.help, column_width_);
        }
        return text.str();
    }

private:
    const std::vector<CommandName>& _commands;
};

// The command line, and what it makes of it.
class CommandLine {
public:
    explicit CommandLine(char** arguments) : _arguments(arguments) {
        // The commands are in part those of the set.
        _options.session.folder = valueOf("--set");
        chooseSession(_options.session);
        _app.footer(kFooter);
        _app.formatter(std::make_shared<CommandFormatter>(_commands));
        _app.require_subcommand(1);
        _app.fallthrough();
        _app.set_version_flag("--version", FAPI_VERSION);
        _app.add_option("--set", _options.session.folder, "Folder of the virtual set")->type_name("DIR");
        _app.add_option("--target", _station.target,
                        "A set of station.ini, the folder of a virtual set, or -- and the command that is the wire")
            ->type_name("NAME");
        _app.add_option("--station", _station.file, "The station's file")->type_name("FILE");
        _app.add_flag("--json", _options.json, "Print one JSON object a line");
        _app.add_flag("--log", _options.session.log,
                      "Show the library's log of this call, whatever \"set log\" says, on standard error");
        _app.add_option("--color", "Colors: auto (on a terminal, unless NO_COLOR is set), always, never")
            ->type_name("WHEN")
            ->check(colorUse());
        _app.add_flag("-y,--yes", _options.yes, "Do not ask before what destroys data; without a terminal, do it");
        _app.add_flag("--damaged", _options.session.damaged, "Go on with a damaged set");
        addOperations();
        addSet();
        addPartition();
        addEnv();
        addWatch();
        addScreen();
        addRun();
        addCheck();
        addConformance();
        addResults("history", "List the runs of plans, or look at one", addHistoryCommands);
        addResults("stats", "Show yield, failing steps and how measurements spread", addStatsOptions);
        addResults("results", "Look at the store of results", addStoreCommands);
        addClean();
        addSharing();
        addServe();
        addStation();
        addTexts();
        unmarkArguments(_app);
    }

    int run(int argc, char** argv) {
        try {
            _app.parse(markedWords(cutCommand(argc, argv), argv));
        } catch (const CLI::ParseError& error) {
            if (error.get_exit_code() != 0) {
                throw UsageError(complaint(error));
            }
            // Help and version. CLI11 prints to a stream; the data's is a FILE.
            std::ostringstream text;
            _app.exit(error, text, text);
            std::fputs(text.str().c_str(), dataOutput());
            return kExitGood;
        }
        chooseSession(_options.session);
        if (!_slots.targets.empty()) {
            // Plans are checked for the first one.
            _station.target = _slots.targets.front();
        }
        applyStation(_station, _options.session);
        chooseSession(_options.session);
        return _action();
    }

private:
    // Cuts "--target -- COMMAND..." off, whose words are no words of this program.
    int cutCommand(int argc, char** argv) {
        for (int i = 1; i + 1 < argc; ++i) {
            if (std::string_view(argv[i]) == "--target" && std::string_view(argv[i + 1]) == "--") {
                _station.command.assign(argv + i + 2, argv + argc);
                if (_station.command.empty()) {
                    throw UsageError("--target --: the command is missing");
                }
                return i;
            }
        }
        return argc;
    }

    // CLI11 takes no more words for a command whose words began in front of a --. So words behind it are marked, as no
    // option, in its place. The words are in reverse, as CLI11 wants them.
    static std::vector<std::string> markedWords(int argc, char** argv) {
        std::vector<std::string> words;
        bool isMarked = false;
        for (int i = 1; i < argc; ++i) {
            if (isMarked || std::string_view(argv[i]) != "--") {
                words.insert(words.begin(), (isMarked ? kMark : "") + std::string(argv[i]));
            } else {
                isMarked = true;
            }
        }
        return words;
    }

    static std::string unmarked(const std::string& word) {
        return word.rfind(kMark, 0) == 0 ? word.substr(std::string_view(kMark).size()) : word;
    }

    static void unmarkArguments(CLI::App& app) {
        for (CLI::Option* option : app.get_options([](const CLI::Option* known) { return !known->nonpositional(); })) {
            option->transform(unmarked);
        }
        for (CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
            unmarkArguments(*command);
        }
    }

    // What is wrong with the command line, and where the right one is described.
    std::string complaint(const CLI::ParseError& error) const {
        const CLI::App* command = &_app;
        std::string path = _app.get_name();
        while (!command->get_subcommands().empty()) {
            command = command->get_subcommands().front();
            path += " " + command->get_name();
        }
        std::vector<std::string> commands;
        for (const CLI::App* known : command->get_subcommands([](const CLI::App*) { return true; })) {
            commands.push_back(known->get_name());
        }
        for (const CommandName& known : command == &_app ? _commands : std::vector<CommandName>()) {
            commands.emplace_back(known.name);
        }
        // A misspelt command is left over, and CLI11 then only says that one is missing.
        std::vector<std::string> words = _app.remaining(true);
        std::transform(words.begin(), words.end(), words.begin(), unmarked);
        std::string what = error.what();
        if (commands.empty() && !words.empty()) {
            // In the order in which they were given, unlike CLI11's own text.
            what = "not expected:";
            for (const std::string& word : words) {
                what += " " + display(word, 40);
            }
        }
        if (!commands.empty() && !words.empty()) {
            const std::string near = nearest(words.front(), commands);
            what = (words.front().rfind('-', 0) == 0 ? "no such option: " : "no such command: ") + words.front() +
                   (near.empty() ? "" : ", did you mean " + near + "?");
        }
        return what + "; see " + path + " --help";
    }

    void addOperations() {
        if (CLI::App* list = addCommand("list", "List the operations")) {
            list->add_option("PATTERN", _word, "Part of the names to list");
            list->callback([this] {
                _action = [this] {
                    printOperations(_word, _options.json);
                    return kExitGood;
                };
            });
        }
        // Always, so that the usage speaks of commands.
        _commands.push_back({"help", "Describe an operation, an action of the set, or plans"});
        CLI::App* help = _app.add_subcommand(_commands.back().name, _commands.back().help);
        help->add_option("TOPIC", _words, "An operation, set [ACTION], plan, expect, faults, or a command")->required();
        help->callback([this] { _action = [this] { return printHelpOf(_words); }; });

        if (CLI::App* call = addCommand("call", "Call an operation")) {
            addCall(*call);
        }
        if (CLI::App* shell = addCommand("shell", "Call operations line by line")) {
            shell->add_flag("--no-init", _shell.noInit, "Do not bring the set up before an operation");
            shell->add_flag("-e", _shell.endOnFailure, "End at the first operation that fails");
            shell->callback([this] { _action = [this] { return runShell(_options, _shell); }; });
        }
    }

    void addCall(CLI::App& call) {
        call.add_option("OPERATION", _words, "The operation and its arguments; behind a -- no word is an option")
            ->required();
        call.add_flag("--no-init", _noInit, "Do not bring the set up first");
        addOutput(&call);
        call.callback([this] { _action = [this] { return callOperation(_options, _words, _noInit, _output); }; });
    }

    // Commands are described by their own help.
    int printHelpOf(const Words& words) {
        if (findHelp(words, _options.json)) {
            return kExitGood;
        }
        const CLI::App* command = &_app;
        for (const std::string& word : words) {
            const auto isNamed = [&](const CLI::App* known) { return known->get_name() == word; };
            const std::vector<const CLI::App*> found = command->get_subcommands(isNamed);
            if (found.empty()) {
                printHelp(words, _options.json);
                return kExitGood;
            }
            command = found.front();
        }
        return print(command->help());
    }

    void addOutput(CLI::App* command) {
        command->add_option("--output", _output, "Write the bytes that it answers to this file, too")
            ->type_name("FILE")
            ->check(notEmpty());
    }

    void addSetAction(CLI::App* set, const char* name, const char* help, int (*action)(const GlobalOptions&)) {
        set->add_subcommand(name, help)->callback([this, action] {
            _action = [this, action] { return action(_options); };
        });
    }

    // Adds a command of the program, and returns null when the command line does not name it: commands and their
    // options are most of what a start takes.
    CLI::App* addCommand(const char* name, const char* help) {
        _commands.push_back({name, help});
        return isNamed(name) || isNamed(kComplete) ? _app.add_subcommand(name, help) : nullptr;
    }

    template <class Action>
    void addSimple(const char* name, const char* help, Action action) {
        if (CLI::App* command = addCommand(name, help)) {
            command->callback([this, action] { _action = action; });
        }
    }

    void addSet() {
        CLI::App* set = addCommand("set", "Make, look at and change the virtual set");
        if (set == nullptr) {
            return;
        }
        set->require_subcommand(1);
        addSetAction(set, "create", "Make a new set", createSet);
        addSetAction(set, "reset", "Throw the set away and make it anew", resetSet);
        addSetAction(set, "path", "Print the set's folder", printSetPath);
        addSetAction(set, "power-cycle", "Switch the set off and on", powerCycleSet);
        addSetAction(set, "show", "Show folder, damage, partitions and boot environment", showSet);
        addServiceCommands(*set, _options, _action);
        addSetAction(set, "ports", "Show where terminal programs can be connected while the set is on", showPorts);
        for (const Action& action : actions()) {
            const auto isAction = [&action](const CLI::App* command) { return command->get_name() == action.name; };
            if (!set->get_subcommands(isAction).empty()) {
                // Has a command of its own, which does not take the set.
                continue;
            }
            CLI::App* command = set->add_subcommand(action.name, action.help);
            if (action.sessionOnly) {
                // Not offered, for it acts only on a set that another program uses.
                command->group("");
            }
            command->add_option("ARGUMENT", _words, "Its arguments:" + argumentsUsage(action.arguments));
            command->footer(argumentsHelp(action.arguments, action.outputs));
            const auto isBytes = [](const Output& output) { return output.isBytes; };
            if (!action.sessionOnly && std::any_of(action.outputs.begin(), action.outputs.end(), isBytes)) {
                addOutput(command);
            }
            command->callback([this, &action] {
                _words.insert(_words.begin(), action.name);
                _action = [this] { return runAction(_options, _words, _output); };
            });
        }
    }

    // What the command line has for the option; empty when it does not have it.
    std::string valueOf(const std::string& option) const {
        for (char** argument = _arguments + 1; *argument != nullptr && std::string_view(*argument) != "--";
             ++argument) {
            if (*argument == option && argument[1] != nullptr) {
                return argument[1];
            }
            if (std::string_view(*argument).rfind(option + "=", 0) == 0) {
                return *argument + option.size() + 1;
            }
        }
        return "";
    }

    // True when the word stands anywhere in the command line, in a longer one as well.
    bool isNamed(std::string_view word) const {
        char** argument = _arguments;
        while (*argument != nullptr && std::string_view(*argument).find(word) == std::string_view::npos) {
            ++argument;
        }
        return *argument != nullptr;
    }

    void addPartition() {
        CLI::App* partition = addCommand("partition", "Read and write raw eMMC partitions");
        if (partition == nullptr) {
            return;
        }
        partition->require_subcommand(1);
        CLI::App* read = addTransfer(partition, "read", "Read a partition into a file", readPartition);
        read->add_option("--length", _partition.length, "How many bytes; all up to the partition's end when left out")
            ->type_name("N")
            ->check(numberUpTo(0xFFFFFFFFll));
        addTransfer(partition, "write", "Write a file to a partition", writePartition);
    }

    CLI::App* addTransfer(CLI::App* partition, const char* name, const char* help,
                          int (*action)(const GlobalOptions&, const PartitionOptions&)) {
        CLI::App* command = partition->add_subcommand(name, help);
        command->add_option("PARTITION", _partition.partition, "The partition; \"fapi set show\" tells all")
            ->required();
        command->add_option("FILE", _partition.file, "The file of this PC")->required()->check(notEmpty());
        command->add_option("--offset", _partition.offset, "The first byte in the partition")
            ->type_name("N")
            ->check(numberUpTo(0xFFFFFFFFll));
        command->callback([this, action] { _action = [this, action] { return action(_options, _partition); }; });
        return command;
    }

    void addEnv() {
        CLI::App* env = addCommand("env", "Look at and change the set's boot environments");
        if (env != nullptr) {
            addEnvCommands(*env, _options, _action);
        }
    }

    void addWatch() {
        CLI::App* watching = addCommand("watch", "Show events as they come");
        if (watching == nullptr) {
            return;
        }
        watching->add_option("--event", _watch.events, "Only events of this number; may be given again")
            ->type_name("N")
            ->allow_extra_args(false)
            ->check(numberUpTo(0xFFFFFFFFll));
        watching->add_option("--module", _watch.modules, "Only events of this module; may be given again")
            ->type_name("NAME")
            ->allow_extra_args(false);
        watching->add_option("--count", _watch.count, "End after so many events")
            ->type_name("N")
            ->check(numberUpTo(0xFFFFFFFFll));
        watching->add_option("--idle", _watch.idle, "End after so many seconds without an event")
            ->type_name("SECONDS")
            ->check(seconds());
        watching->add_option("--do", _watch.lines, "Run a line of the shell first; may be given again")
            ->type_name("LINE")
            ->allow_extra_args(false);
        watching->callback([this] { _action = [this] { return watch(_options, _watch); }; });
    }

    void addScreen() {
        CLI::App* command = addCommand("screen", "Take a picture of what the set shows");
        if (command == nullptr) {
            return;
        }
        command->add_option("FILE", _screen.file, "The PNG file; without one the picture is shown here")
            ->check(notEmpty());
        command->add_option("--what", _screen.what, "panel, window:N, surface:HANDLE, layer:N or capture")
            ->type_name("WHAT");
        command->add_flag("--preview", _screen.preview, "Show it here, too, on a terminal with 24-bit color");
        command->add_option("--do", _screen.lines, "Run a line of the shell first; may be given again")
            ->type_name("LINE")
            ->allow_extra_args(false);
        command->callback([this] { _action = [this] { return screen(_options, _screen); }; });
    }

    void addRun() {
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

    // What a run is told of its unit. Returns the option for a table.
    CLI::Option* addParameters(CLI::App* run) {
        run->add_option("--param", _run.parameters, "The value of a parameter of the plan; may be given again")
            ->type_name("NAME=VALUE")
            ->allow_extra_args(false);
        run->add_option("--expected", _run.expected,
                        "Pass when exactly the steps of this file fail: for a unit that is known to be bad")
            ->type_name("FILE");
        CLI::Option* waive =
            run->add_option("--waive", _run.waived, "Let a failure of this step pass; may be given again")
                ->type_name("STEP")
                ->allow_extra_args(false);
        CLI::Option* unapproved = run->add_flag("--unapproved", _run.isUnapproved,
                                                "Run plans that [plans] of the station's file does not have");
        CLI::Option* reason = run->add_option("--reason", _run.reason, "Why, for the record")->type_name("TEXT");
        waive->needs(reason);
        unapproved->needs(reason);
        return run->add_option("--params", _run.parameterTable, "Table (CSV) with a run for each row")
            ->type_name("FILE")
            ->check(notEmpty());
    }

    void addCheck() {
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

    void addConformance() {
        CLI::App* command = addCommand("conformance", "Check what the set promises, rule by rule");
        if (command == nullptr) {
            return;
        }
        command->add_option("RULE", _conformance.rules, "Names, families, patterns such as \"gpio.*\", or files");
        const auto addWords = [&](const char* name, std::vector<std::string>& words, const char* type,
                                  const char* help) {
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

    CLI::Option* addFaults(CLI::App* command) {
        return command->add_option("--faults", _run.faults, "File of faults that the run is to meet")
            ->type_name("FILE")
            ->check(notEmpty());
    }

    void addResults(const char* name, const char* help,
                    void (*add)(CLI::App&, const GlobalOptions&, std::function<int()>&)) {
        if (CLI::App* command = addCommand(name, help)) {
            add(*command, _options, _action);
        }
    }

    void addClean() {
        CLI::App* command = addCommand("clean", "Remove what runs have left: temporary sets, forgotten reports");
        if (command == nullptr) {
            return;
        }
        command->add_option("--report", _clean.report, "Folder of the reports")->type_name("DIR");
        command->add_flag("--dry-run", _clean.dryRun, "Only list what would be removed");
        const auto addLimit = [&](const char* option, std::optional<long long>& limit, const char* help) {
            command->add_option(option, limit, help)->type_name("N")->check(numberUpTo(1000000000));
        };
        addLimit("--keep-runs", _clean.retention.runs, "Forget all but the newest N runs");
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

    // Of a set that several programs use.
    void addSharing() {
        addSimple("clients", "Show who uses the set, and who may change it",
                  [this] { return print(clientsText(clientOptions(), _options.json)); });
        CLI::App* take = addCommand("take", "Take the set away from the program that has it");
        if (take == nullptr) {
            return;
        }
        take->add_option("--reason", _word, "What that program is told")->required()->type_name("TEXT");
        take->callback(
            [this] { _action = [this] { return print(takeClaim(clientOptions(), _word, _options.json)); }; });
    }

    // Of the station as a whole.
    void addStation() {
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

    TargetOptions clientOptions() const {
        TargetOptions options;
        options.folder = _options.session.folder;
        options.client = "fapi";
        options.wire = _options.session.wire;
        return options;
    }

    void addServe() {
        if (CLI::App* command = addCommand("serve", "Show the station and its sets in a browser")) {
            addServeOptions(*command, _options, _station, _action);
        }
    }

    // What shells and the folder of documents take from here.
    void addTexts() {
        addSimple("reference", "Print the reference of all operations, as Markdown", [] { return print(reference()); });
        if (CLI::App* script = addCommand("completion", "Print what makes bash or zsh complete the words of fapi")) {
            script->add_option("SHELL", _word, "bash or zsh")->required();
            script->callback([this] { _action = [this] { return print(completionScript(_word)); }; });
        }
        if (!isNamed(kComplete)) {
            return;
        }
        // For those scripts, and not offered.
        CLI::App* complete = _app.add_subcommand(kComplete, "Print what the end of a command line can become");
        complete->group("");
        complete->add_option("LINE", _word)->required();
        complete->callback([this] {
            _action = [this] {
                for (const std::string& text : commandCompletions(_app, _word)) {
                    printLine(text);
                }
                return kExitGood;
            };
        });
    }

    static int print(const std::string& text) {
        std::fputs(text.c_str(), dataOutput());
        return kExitGood;
    }

    CLI::App _app{"Bench tool of the factory API: calls its operations on a virtual set.", "fapi"};
    char** const _arguments;
    std::vector<CommandName> _commands;
    GlobalOptions _options;
    std::function<int()> _action;
    std::string _word;
    Words _words;
    bool _noInit = false;
    ShellOptions _shell;
    std::string _output;
    PartitionOptions _partition;
    WatchOptions _watch;
    ScreenOptions _screen;
    RunOptions _run;
    OperatorOptions _operator;
    SlotOptions _slots;
    ConformanceOptions _conformance;
    CleanOptions _clean;
    StationOptions _station;
};

// Known also when the command line is wrong.
bool wantsJson(int argc, char** argv) {
    const auto isEnd = [](const char* word) { return std::string_view(word) == "--"; };
    const auto isJson = [](const char* word) { return std::string_view(word) == "--json"; };
    return std::any_of(argv, std::find_if(argv, argv + argc, isEnd), isJson);
}

}  // namespace

int main(int argc, char** argv) {
    // Its words are for this program alone.
    if (argc > 1 && std::string_view(argv[1]) == "hub") {
        return runHub({argv + 2, argv + argc});
    }
    if (argc > 1 && std::string_view(argv[1]) == kGuardWord) {
        return runGuard({argv + 2, argv + argc});
    }
    // A reader that goes away is an error of the write that meets it, and no reason to stop in the middle of a plan.
    std::signal(SIGPIPE, SIG_IGN);
    // A limit to the size of files is the error of a write, as a full disk is.
    std::signal(SIGXFSZ, SIG_IGN);
    const bool json = wantsJson(argc, argv);
    try {
        int code = CommandLine(argv).run(argc, argv);
        for (const std::string& trouble : takeTroubles()) {
            printMessage(trouble);
            code = code != kExitInterrupted ? kExitSet : code;
        }
        if (isOutputWritten()) {
            return code;
        }
        if (!isReaderGone()) {
            printMessage("standard output cannot be written");
        }
        return code == kExitGood ? kExitFailed : code;
    } catch (const UsageError& error) {
        printError(error.what(), json);
        return kExitUsage;
    } catch (const RequestError& error) {
        if (const Field& damage = error.failure().data["damage"]; damage.isList()) {
            for (const Field& line : damage.list()) {
                printMessage(line.text());
            }
        }
        printError(error.what(), json);
        if (error.code() == ErrorCode::canceled) {
            return kExitInterrupted;
        }
        // The operation has ended the library, or the set.
        return error.code() == ErrorCode::died ? kExitFailed : kExitSet;
    } catch (const std::exception& error) {
        printError(error.what(), json);
        return kExitSet;
    }
}
