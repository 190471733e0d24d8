// SPDX-License-Identifier: Apache-2.0
#include "cli/command_line.h"

#include <algorithm>
#include <sstream>

#include "base/data_output.h"
#include "base/terminal.h"
#include "cli/option_checks.h"
#include "cli/reference.h"
#include "cli/results.h"
#include "cli/word_completion.h"
#include "target/output.h"

namespace tool {

namespace {

constexpr char kFooter[] =
    "Exit codes: 0 done; 1 the operation or plan failed; 2 a wrong word or a broken plan, nothing was called;\n"
    "3 the set cannot be had or is damaged, or the PC could not store what the set or a report needs;\n"
    "4 interrupted or declined.\n"
    "Data go to standard output, messages and the library's log to standard error.";

// Stands before a word that is no option, whatever it begins with.
constexpr char kMark[] = "\x01--\x01";

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

}  // namespace

CommandLine::CommandLine(char** arguments) : _arguments(arguments) {
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

int CommandLine::run(int argc, char** argv) {
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

int CommandLine::cutCommand(int argc, char** argv) {
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

std::vector<std::string> CommandLine::markedWords(int argc, char** argv) {
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

std::string CommandLine::unmarked(const std::string& word) {
    return word.rfind(kMark, 0) == 0 ? word.substr(std::string_view(kMark).size()) : word;
}

void CommandLine::unmarkArguments(CLI::App& app) {
    for (CLI::Option* option : app.get_options([](const CLI::Option* known) { return !known->nonpositional(); })) {
        option->transform(unmarked);
    }
    for (CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        unmarkArguments(*command);
    }
}

std::string CommandLine::complaint(const CLI::ParseError& error) const {
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

CLI::App* CommandLine::addCommand(const char* name, const char* help) {
    _commands.push_back({name, help});
    if (isNamed(name)) {
        return _app.add_subcommand(name, help);
    }
    if (isNamed(kComplete)) {
        // Only its name can be what is completed.
        _app.add_subcommand(name, help);
    }
    return nullptr;
}

std::string CommandLine::valueOf(const std::string& option) const {
    for (char** argument = _arguments + 1; *argument != nullptr && std::string_view(*argument) != "--"; ++argument) {
        if (*argument == option && argument[1] != nullptr) {
            return argument[1];
        }
        if (std::string_view(*argument).rfind(option + "=", 0) == 0) {
            return *argument + option.size() + 1;
        }
    }
    return "";
}

bool CommandLine::isNamed(std::string_view word) const {
    char** argument = _arguments;
    while (*argument != nullptr && std::string_view(*argument).find(word) == std::string_view::npos) {
        ++argument;
    }
    return *argument != nullptr;
}

void CommandLine::addTexts() {
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

int CommandLine::print(const std::string& text) {
    std::fputs(text.c_str(), dataOutput());
    return kExitGood;
}

}  // namespace tool
