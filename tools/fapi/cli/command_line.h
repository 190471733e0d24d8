// SPDX-License-Identifier: Apache-2.0
// The command line of fapi, and what it makes of it.
#ifndef FAPI_BENCH_CLI_COMMAND_LINE_H
#define FAPI_BENCH_CLI_COMMAND_LINE_H

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/clean.h"
#include "cli/partition.h"
#include "cli/station.h"
#include "conform/conformance.h"
#include "operator/operator.h"
#include "run/runner.h"
#include "shell/shell.h"
#include "slots/slots.h"
#include "target/session.h"
#include "watch/screen.h"
#include "watch/watch.h"

namespace tool {

// What the shells' scripts call.
inline constexpr char kComplete[] = "complete";

struct CommandName {
    const char* name;
    const char* help;
};

// Reads the words once and does what they say.
class CommandLine {
public:
    explicit CommandLine(char** arguments);
    int run(int argc, char** argv);

private:
    // Cuts "--target -- COMMAND..." off, whose words are no words of this program.
    int cutCommand(int argc, char** argv);
    // CLI11 takes no more words for a command whose words began in front of a --. So words behind it are marked, as no
    // option, in its place. The words are in reverse, as CLI11 wants them.
    static std::vector<std::string> markedWords(int argc, char** argv);
    static std::string unmarked(const std::string& word);
    static void unmarkArguments(CLI::App& app);
    // What is wrong with the command line, and where the right one is described.
    std::string complaint(const CLI::ParseError& error) const;
    void addOperations();
    void addCall(CLI::App& call);
    // Commands are described by their own help.
    int printHelpOf(const Words& words);
    void addOutput(CLI::App* command);
    void addBoundAction(CLI::App& set);
    void addSetAction(CLI::App* set, const char* name, const char* help, int (*action)(const GlobalOptions&));
    // Adds a command of the program, and returns null when the command line does not name it: commands and their
    // options are most of what a start takes.
    CLI::App* addCommand(const char* name, const char* help);
    template <class Action>
    void addSimple(const char* name, const char* help, Action action) {
        if (CLI::App* command = addCommand(name, help)) {
            command->callback([this, action] { _action = action; });
        }
    }
    void addSet();
    // What the command line has for the option; empty when it does not have it.
    std::string valueOf(const std::string& option) const;
    // True when the word stands anywhere in the command line, in a longer one as well.
    bool isNamed(std::string_view word) const;
    void addPartition();
    CLI::App* addTransfer(CLI::App* partition, const char* name, const char* help,
                          int (*action)(const GlobalOptions&, const PartitionOptions&));
    void addEnv();
    void addWatch();
    void addScreen();
    void addRun();
    // What a run is told of its unit. Returns the option for a table.
    CLI::Option* addParameters(CLI::App* run);
    void addCheck();
    void addConformance();
    CLI::Option* addFaults(CLI::App* command);
    void addResults(const char* name, const char* help,
                    void (*add)(CLI::App&, const GlobalOptions&, std::function<int()>&));
    void addClean();
    // Of a set that several programs use.
    void addSharing();
    // Of the station as a whole.
    void addStation();
    TargetOptions clientOptions() const;
    void addServe();
    // What shells and the folder of documents take from here.
    void addTexts();
    static int print(const std::string& text);

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

}  // namespace tool

#endif
