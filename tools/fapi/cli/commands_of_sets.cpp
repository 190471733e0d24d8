// SPDX-License-Identifier: Apache-2.0
// Commands that look at a set, call its operations and act on it.
#include <algorithm>

#include "base/terminal.h"
#include "cli/command_line.h"
#include "cli/env.h"
#include "cli/option_checks.h"
#include "cli/reference.h"
#include "cli/service.h"
#include "cli/set.h"
#include "shell/help.h"
#include "target/output.h"
#include "target/surprises.h"

namespace tool {

namespace {

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

}  // namespace

void CommandLine::addOperations() {
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

void CommandLine::addCall(CLI::App& call) {
    call.add_option("OPERATION", _words, "The operation and its arguments; behind a -- no word is an option")
        ->required();
    call.add_flag("--no-init", _noInit, "Do not bring the set up first");
    addOutput(&call);
    call.callback([this] { _action = [this] { return callOperation(_options, _words, _noInit, _output); }; });
}

int CommandLine::printHelpOf(const Words& words) {
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

void CommandLine::addOutput(CLI::App* command) {
    command->add_option("--output", _output, "Write the bytes that it answers to this file, too")
        ->type_name("FILE")
        ->check(notEmpty());
}

void CommandLine::addSetAction(CLI::App* set, const char* name, const char* help, int (*action)(const GlobalOptions&)) {
    set->add_subcommand(name, help)->callback([this, action] {
        _action = [this, action] { return action(_options); };
    });
}

// What a target has is not known before the line has been read.
void CommandLine::addOtherActions(CLI::App* set) {
    set->add_option("ACTION", _words, "Another action of the target, and its arguments");
    set->callback([this, set] {
        if (set->get_subcommands().empty()) {
            _action = [this] { return runAction(_options, _words, _output); };
        }
        if (set->get_subcommands().empty() && _words.empty()) {
            throw UsageError("set: which action? See fapi set --help");
        }
    });
}

void CommandLine::addSet() {
    CLI::App* set = addCommand("set", "Make, look at and change the virtual set");
    if (set == nullptr) {
        return;
    }
    if (isNamed("--target") || isNamed("--station")) {
        addOtherActions(set);
    } else {
        set->require_subcommand(1);
    }
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

void CommandLine::addPartition() {
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

CLI::App* CommandLine::addTransfer(CLI::App* partition, const char* name, const char* help,
                                   int (*action)(const GlobalOptions&, const PartitionOptions&)) {
    CLI::App* command = partition->add_subcommand(name, help);
    command->add_option("PARTITION", _partition.partition, "The partition; \"fapi set show\" tells all")->required();
    command->add_option("FILE", _partition.file, "The file of this PC")->required()->check(notEmpty());
    command->add_option("--offset", _partition.offset, "The first byte in the partition")
        ->type_name("N")
        ->check(numberUpTo(0xFFFFFFFFll));
    command->callback([this, action] { _action = [this, action] { return action(_options, _partition); }; });
    return command;
}

void CommandLine::addEnv() {
    CLI::App* env = addCommand("env", "Look at and change the set's boot environments");
    if (env != nullptr) {
        addEnvCommands(*env, _options, _action);
    }
}

void CommandLine::addWatch() {
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
        ->check(numberUpTo(0xFFFFFFFFll, 1));
    watching->add_option("--idle", _watch.idle, "End after so many seconds without an event")
        ->type_name("SECONDS")
        ->check(seconds());
    watching->add_option("--do", _watch.lines, "Run a line of the shell first; may be given again")
        ->type_name("LINE")
        ->allow_extra_args(false);
    watching->callback([this] { _action = [this] { return watch(_options, _watch); }; });
}

void CommandLine::addScreen() {
    CLI::App* command = addCommand("screen", "Take a picture of what the set shows");
    if (command == nullptr) {
        return;
    }
    command->add_option("FILE", _screen.file, "The PNG file; without one the picture is shown here")->check(notEmpty());
    command->add_option("--what", _screen.what, "panel, window:N, surface:HANDLE, layer:N or capture")
        ->type_name("WHAT");
    command->add_flag("--preview", _screen.preview, "Show it here, too, on a terminal with 24-bit color");
    command->add_option("--do", _screen.lines, "Run a line of the shell first; may be given again")
        ->type_name("LINE")
        ->allow_extra_args(false);
    command->callback([this] { _action = [this] { return screen(_options, _screen); }; });
}

}  // namespace tool
