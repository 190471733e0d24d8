// SPDX-License-Identifier: Apache-2.0
// fapi, the bench tool: the command line.
#include <CLI/CLI.hpp>

#include "output.h"
#include "plan.h"
#include "shell.h"
#include "vset/vset.h"
#include "watch.h"

namespace {

using namespace tool;

constexpr char kFooter[] =
    "Exit codes: 0 done; 1 the operation or plan failed; 2 a wrong word or a broken plan, nothing was called;\n"
    "3 the set cannot be had or is damaged, nothing was called; 4 interrupted or declined.\n"
    "Data go to standard output, messages and the library's log to standard error.";

int listOperations(const GlobalOptions& options, const std::string& pattern) {
    Json json = Json::array();
    std::string module;
    for (const Operation& operation : operations()) {
        if (operation.shortName().find(pattern) == std::string::npos) {
            continue;
        }
        if (options.json) {
            json.push_back(toJson(operation));
            continue;
        }
        if (operation.module() != module) {
            module = operation.module();
            printLine(module + ":");
        }
        printLine("  " + usage(operation) + "\n      " + operation.help);
    }
    if (options.json) {
        printLine(jsonLine(json));
    }
    return kExitGood;
}

int helpOperation(const GlobalOptions& options, const std::string& name) {
    const Operation* operation = findOperation(name);
    if (operation == nullptr) {
        throw UsageError(unknownOperation(name));
    }
    printLine(options.json ? jsonLine(toJson(*operation)) : describe(*operation));
    return kExitGood;
}

int callOperation(const GlobalOptions& options, const Words& words, bool noInit) {
    if (!words.empty() && words[0] == "set") {
        throw UsageError("call takes an operation; for the set there is: fapi set");
    }
    const Command command = Command::parse(words);
    const Operation& operation = *command.operation();
    if (operation.destroys != nullptr && !confirm(options, operation.destroys)) {
        return kExitInterrupted;
    }
    openSession(options.session);
    if (!noInit) {
        bringUpFor(&operation);
    }
    const Outcome outcome = command.run();
    printOutcome(command, outcome, options.json);
    return outcome.good ? kExitGood : kExitFailed;
}

// The command line, and what it makes of it.
class CommandLine {
public:
    explicit CommandLine(char** arguments) : _arguments(arguments) {
        _app.footer(kFooter);
        _app.require_subcommand(1);
        _app.fallthrough();
        _app.set_version_flag("--version", FAPI_VERSION);
        _app.add_option("--set", _options.session.folder, "Folder of the virtual set")->type_name("DIR");
        _app.add_flag("--json", _options.json, "Print one JSON object a line");
        _app.add_flag("--log", _options.session.log, "Switch the library's log on; it goes to standard error");
        _app.add_flag("-y,--yes", _options.yes, "Do not ask before what destroys data");
        _app.add_flag("--damaged", _options.session.damaged, "Go on with a damaged set");
        addOperations();
        addSet();
        addWatch();
        addPlans();
    }

    int run(int argc, char** argv) {
        try {
            _app.parse(argc, argv);
        } catch (const CLI::ParseError& error) {
            if (const std::vector<std::string> unknown = _app.remaining();
                dynamic_cast<const CLI::RequiredError*>(&error) != nullptr && !unknown.empty()) {
                throw UsageError("no such command: " + unknown.front());
            }
            const bool isHelp = error.get_exit_code() == 0;
            const int code = _app.exit(error, isHelp ? helpStream() : std::cerr, std::cerr);
            printHelp();
            return code == 0 ? kExitGood : kExitUsage;
        }
        return _action();
    }

private:
    // CLI11 prints help to a stream; the data's is a FILE.
    std::ostream& helpStream() { return _help; }
    void printHelp() { std::fputs(_help.str().c_str(), dataOutput()); }

    void addOperations() {
        CLI::App* list = _app.add_subcommand("list", "List the operations");
        list->add_option("PATTERN", _word, "Part of the names to list");
        list->callback([this] { _action = [this] { return listOperations(_options, _word); }; });

        CLI::App* help = _app.add_subcommand("help", "Describe an operation");
        help->add_option("OPERATION", _word)->required();
        help->callback([this] { _action = [this] { return helpOperation(_options, _word); }; });

        CLI::App* call = _app.add_subcommand("call", "Call an operation");
        call->add_option("OPERATION ARGUMENT...", _words)->required();
        call->add_flag("--no-init", _noInit, "Do not bring the set up first");
        call->callback([this] { _action = [this] { return callOperation(_options, _words, _noInit); }; });

        CLI::App* shell = _app.add_subcommand("shell", "Call operations line by line");
        shell->add_flag("--no-init", _noInit, "Do not bring the set up before an operation");
        shell->callback([this] { _action = [this] { return runShell(_options, _noInit, _arguments); }; });
    }

    void addSetAction(CLI::App* set, const char* name, const char* help, int (*action)(const GlobalOptions&)) {
        set->add_subcommand(name, help)->callback([this, action] {
            _action = [this, action] { return action(_options); };
        });
    }

    void addSet() {
        CLI::App* set = _app.add_subcommand("set", "Make, look at and change the virtual set");
        set->require_subcommand(1);
        addSetAction(set, "create", "Make a new set", createSet);
        addSetAction(set, "reset", "Throw the set away and make it anew", resetSet);
        addSetAction(set, "path", "Print the set's folder", printSetPath);
        addSetAction(set, "power-cycle", "Switch the set off and on", powerCycleSet);
        addSetAction(set, "show", "Show folder, damage, partitions and boot environment", showSet);
        for (const Hand& hand : hands()) {
            CLI::App* command = set->add_subcommand(hand.name, hand.help);
            command->add_option("ARGUMENT", _words, argumentsUsage(hand.arguments));
            command->callback([this, &hand] {
                _words.insert(_words.begin(), hand.name);
                _action = [this] { return runHand(_options, _words); };
            });
        }
    }

    void addWatch() {
        CLI::App* watching = _app.add_subcommand("watch", "Show events as they come");
        watching->add_option("--event", _events, "Only events of these numbers")->type_name("N");
        watching->add_option("--module", _watch.modules, "Only events of these modules")->type_name("NAME");
        watching->add_option("--count", _watch.count, "End after so many events")->type_name("N");
        watching->add_option("--idle", _watch.idle, "End after so many seconds without an event")
            ->type_name("SECONDS")
            ->check(CLI::NonNegativeNumber);
        watching->add_option("--do", _watch.lines, "Run a line of the shell first")->type_name("LINE");
        watching->callback([this] {
            _action = [this] {
                for (const std::string& word : _events) {
                    long long number = 0;
                    if (!parseNumber(word, number) || number < 0 || number > 0xFFFFFFFFll) {
                        throw UsageError("--event: " + word + " is no event number");
                    }
                    _watch.events.push_back(static_cast<unsigned int>(number));
                }
                return watch(_options, _watch);
            };
        });
    }

    void addPlans() {
        CLI::App* run = _app.add_subcommand("run", "Run factory-line plans");
        run->add_option("PLAN", _words)->required();
        run->add_flag("--fresh", _run.fresh, "Run on a new set, removed afterwards");
        run->add_option("--report", _run.report, "Folder for the reports")->type_name("DIR");
        run->add_flag("--no-report", _run.noReport, "Write no report");
        run->add_flag("--dry-run", _run.dryRun, "Only print what would be done");
        run->callback([this] {
            _action = [this] {
                _run.files = _words;
                _run.session = _options.session;
                _run.json = _options.json;
                return runPlans(_run);
            };
        });

        CLI::App* check = _app.add_subcommand("check", "Check plans without running them");
        check->add_option("PLAN", _words)->required();
        check->callback([this] { _action = [this] { return checkPlans(_words); }; });
    }

    CLI::App _app{"Bench tool of the factory API: calls its operations on a virtual set.", "fapi"};
    char** const _arguments;
    std::ostringstream _help;
    GlobalOptions _options;
    std::function<int()> _action;
    std::string _word;
    Words _words;
    Words _events;
    bool _noInit = false;
    WatchOptions _watch;
    RunOptions _run;
};

}  // namespace

int main(int argc, char** argv) {
    separateOutputs();
    try {
        return CommandLine(argv).run(argc, argv);
    } catch (const UsageError& error) {
        std::fprintf(stderr, "fapi: %s\n", error.what());
        return kExitUsage;
    } catch (const vset::SetError& error) {
        std::fprintf(stderr, "fapi: %s\n", error.what());
        return kExitSet;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "fapi: %s\n", error.what());
        return kExitSet;
    }
}
