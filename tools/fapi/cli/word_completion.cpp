// SPDX-License-Identifier: Apache-2.0
// What can stand next on the command line of fapi.
#include "cli/word_completion.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>

#include <CLI/CLI.hpp>

#include "base/env_image.h"
#include "cli/results.h"
#include "cli/station.h"
#include "conform/conformance.h"
#include "plan/files.h"
#include "plan/plan.h"
#include "report/report.h"
#include "shell/completion.h"
#include "station/station.h"
#include "target/env_store.h"
#include "target/session.h"
#include "target/target_description.h"

namespace tool {

namespace {

// Passes the line up to the cursor on. bash completes from its last : or = on, which it takes for ends of words.
constexpr char kBash[] = R"sh(# bash completion of fapi; made by: fapi completion bash
_fapi() {
    local line=${COMP_LINE:0:COMP_POINT} start cut found i
    start=${line##*[[:blank:]]}
    cut=${start%"${start##*[:=]}"}
    COMPREPLY=()
    mapfile -t found < <("$1" complete "$line" 2>/dev/null)
    case ${found[0]-} in
        :files) mapfile -t COMPREPLY < <(compgen -f -- "${start#"$cut"}"; printf '%s\n' "${found[@]:1}" | grep .) ;;
        :folders) mapfile -t COMPREPLY < <(compgen -d -- "${start#"$cut"}"; printf '%s\n' "${found[@]:1}" | grep .) ;;
        *)
            for i in "${found[@]}"; do
                i=${i#"$cut"}
                [[ -n $i ]] && COMPREPLY+=("$(printf %q "$i")")
            done
            [[ ${#COMPREPLY[@]} -eq 1 && ${COMPREPLY[0]} == *[/:=] ]] && compopt -o nospace 2>/dev/null
            return 0
            ;;
    esac
    compopt -o filenames 2>/dev/null
    return 0
}
complete -F _fapi fapi
)sh";

constexpr char kZsh[] = R"sh(#compdef fapi
# zsh completion of fapi; made by: fapi completion zsh
_fapi() {
    local -a found open
    found=(${(f)"$("$words[1]" complete "${(j: :)words[1,CURRENT-1]} $PREFIX" 2>/dev/null)"})
    case ${found[1]-} in
        :files) _files; compadd -- ${found[2,-1]} ;;
        :folders) _files -/; compadd -- ${found[2,-1]} ;;
        *)
            open=(${(M)found:#*[/:=]})
            compadd -- ${found:|open}
            compadd -S '' -- $open
            ;;
    esac
}
if [[ $funcstack[1] == _fapi ]]; then
    _fapi
else
    compdef _fapi fapi
fi
)sh";

// A command line as far as it goes.
struct Place {
    const CLI::App* command;
    const CLI::Option* open = nullptr;  // an option whose value comes next
    Words arguments;                    // of the command
    bool optionsEnded = false;          // by a --
};

// Options are good behind the name of any command below the one that has them.
template <class Visit>
void forEachOption(const CLI::App& command, Visit&& visit) {
    for (const CLI::App* app = &command; app != nullptr; app = app->get_parent()) {
        for (const CLI::Option* option : app->get_options()) {
            if (option->nonpositional()) {
                visit(*option);
            }
        }
    }
}

const CLI::Option* findOption(const CLI::App& command, const std::string& word) {
    const CLI::Option* found = nullptr;
    forEachOption(command, [&](const CLI::Option& option) {
        if (option.check_name(word)) {
            found = &option;
        }
    });
    return found;
}

const CLI::App* findCommand(const CLI::App& command, const std::string& word) {
    const auto isNamed = [&](const CLI::App* known) { return known->get_name() == word; };
    const std::vector<const CLI::App*> found = command.get_subcommands(isNamed);
    return found.empty() ? nullptr : found.front();
}

// Takes another word of the line.
void step(Place& place, const std::string& word) {
    if (place.open != nullptr) {
        place.open = nullptr;
        return;
    }
    if (!place.optionsEnded && word == "--") {
        place.optionsEnded = true;
        return;
    }
    if (!place.optionsEnded && word.size() > 1 && word[0] == '-') {
        const CLI::Option* option = findOption(*place.command, word);
        place.open = option != nullptr && option->get_items_expected_max() > 0 ? option : nullptr;
        return;
    }
    const CLI::App* command = place.arguments.empty() ? findCommand(*place.command, word) : nullptr;
    if (command != nullptr) {
        place.command = command;
    } else {
        place.arguments.push_back(word);
    }
}

std::vector<std::string> optionNames(const CLI::App& command) {
    std::vector<std::string> names;
    forEachOption(command, [&](const CLI::Option& option) {
        for (const std::string& name : option.get_lnames()) {
            names.push_back("--" + name);
        }
    });
    return names;
}

std::vector<std::string> commandNames(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::App* known : command.get_subcommands([](const CLI::App*) { return true; })) {
        // Those without a group are not offered by the help either.
        if (!known->get_group().empty()) {
            names.push_back(known->get_name());
        }
    }
    return names;
}

// What stands behind the option; empty when it is not given.
std::string optionValue(const Words& words, const char* option) {
    const auto found = std::find(words.begin(), words.end(), option);
    return found != words.end() && found + 1 != words.end() ? *(found + 1) : "";
}

// The flash type that the line names.
std::string flashOf(const Words& words) {
    const std::string flash = optionValue(words, "--flash");
    return flash.empty() ? kFlashTypes[0] : flash;
}

// The names of the variables of one of the set's boot environments.
std::vector<std::string> variableNames(const std::string& flash) {
    std::string image;
    try {
        readFromAgent("env.read", {{"flash", flash}},
                      [&](const Bytes& piece) { image.append(piece.begin(), piece.end()); });
    } catch (const SetError&) {
        // No set yet.
        return {};
    }
    std::vector<std::string> names;
    for (const auto& [name, value] : parseEnvImage(image).variables) {
        names.push_back(name);
    }
    return names;
}

// "NAME=" of each parameter of the plans that the line names, but for those that it gives already.
std::vector<std::string> parameterNames(const Words& line) {
    std::vector<std::string> names;
    const auto isGiven = [&](const std::string& name) {
        return std::any_of(line.begin(), line.end(), [&](const std::string& word) { return word.rfind(name, 0) == 0; });
    };
    for (const std::string& word : line) {
        const std::optional<std::string> file = planFile(word);
        std::error_code error;
        if (!file || !std::filesystem::is_regular_file(*file, error)) {
            continue;
        }
        std::ifstream stream(*file, std::ios::binary);
        const std::string text(std::istreambuf_iterator<char>(stream), {});
        std::vector<Problem> problems;
        for (const PlanParameter& parameter : parsePlan(text, problems, *file).parameters) {
            if (!isGiven(parameter.name + "=")) {
                names.push_back(parameter.name + "=");
            }
        }
    }
    return names;
}

// What an option or argument of that name takes on the command line; the words of operations and actions are no
// matter of this.
std::vector<std::string> valuesOf(const std::string& name, const Words& line) {
    if (name == "PLAN") {
        std::vector<std::string> names = planNames();
        names.insert(names.begin(), kAnyFile);
        return names;
    }
    if (name == "RULE") {
        std::vector<std::string> names = ruleNames();
        names.insert(names.begin(), kAnyFile);
        return names;
    }
    if (name == "CLASS") {
        return {"changes", "pads", "person", "reads", "reboot", "store"};
    }
    if (name == "--target") {
        std::vector<std::string> names = targetNames(optionValue(line, "--station"));
        names.insert(names.begin(), kAnyFolder);
        return names;
    }
    if (name == "NAME=VALUE") {
        return parameterNames(line);
    }
    if (name == "FILE") {
        return {kAnyFile};
    }
    if (name == "DIR") {
        return {kAnyFolder};
    }
    if (name == "WHAT") {
        return {"panel", "capture", "window:", "surface:", "layer:"};
    }
    if (name == "NAME,...") {
        std::vector<std::string> names;
        for (const StationTarget& target : readStation(stationFile(optionValue(line, "--station"))).targets) {
            names.push_back(target.name);
        }
        return names;
    }
    if (name == "N|forever") {
        return {"forever"};
    }
    if (name == "SHELL") {
        return {"bash", "zsh"};
    }
    if (name == "WHEN") {
        return {"always", "auto", "never"};
    }
    if (name == "VERDICT") {
        return {"error", "failed", "interrupted", "marginal", "passed"};
    }
    if (name == "FLASH") {
        return {std::begin(kFlashTypes), std::end(kFlashTypes)};
    }
    if (name == "VARIABLE") {
        return variableNames(flashOf(line));
    }
    if (name == "RUN") {
        const std::string reports = optionValue(line, "--report");
        return runNames(reports.empty() ? kReportFolder : reports);
    }
    if (name == "--module") {
        return moduleNames();
    }
    return name == "PARTITION" ? partitionNames() : std::vector<std::string>();
}

// What may stand as the command's next argument.
std::vector<std::string> argumentValues(const Place& place, LinePlace line) {
    const std::vector<const CLI::Option*> declared =
        place.command->get_options([](const CLI::Option* option) { return !option->nonpositional(); });
    if (declared.empty()) {
        return {};
    }
    // The last one may be given again.
    const CLI::Option& next = *declared[std::min(place.arguments.size(), declared.size() - 1)];
    if (place.arguments.size() >= declared.size() && next.get_items_expected_max() <= 1) {
        return {};
    }
    const std::string name = next.get_name(true);
    if (name == "OPERATION" && place.arguments.empty()) {
        return operationNames(line.start);
    }
    const std::map<std::string, Words> lines = {
        {"OPERATION", {}}, {"ACTION", {"set"}}, {"ARGUMENT", {"set", place.command->get_name()}}, {"TOPIC", {"help"}}};
    const auto begin = lines.find(name);
    if (begin == lines.end()) {
        return valuesOf(name, line.words);
    }
    line.words = begin->second;
    line.words.insert(line.words.end(), place.arguments.begin(), place.arguments.end());
    return candidates(line);
}

std::vector<std::string> allValues(const Place& place, const LinePlace& line) {
    if (place.open != nullptr) {
        const std::string type = place.open->get_type_name();
        return valuesOf(type == "NAME" ? place.open->get_name() : type, line.words);
    }
    if (!place.optionsEnded && !line.start.empty() && line.start[0] == '-') {
        return optionNames(*place.command);
    }
    // The actions of a target with a wire are its own.
    const bool hasOwn = place.command->get_name() == "set" && !chosenWire().empty();
    std::vector<std::string> commands = place.arguments.empty() && !hasOwn ? commandNames(*place.command) : Words();
    return commands.empty() ? argumentValues(place, line) : commands;
}

// Chooses the set that the line names, and its actions. No wire is started for a word.
void chooseSet(const Words& line) {
    SessionOptions options;
    options.folder = optionValue(line, "--set");
    options.client = "fapi complete";
    options.looksOn = true;
    try {
        applyStation({optionValue(line, "--station"), optionValue(line, "--target"), {}}, options);
    } catch (const UsageError&) {
        // The command itself says what is wrong with it.
    }
    chooseSession(options);
}

}  // namespace

std::vector<std::string> commandCompletions(const CLI::App& app, const std::string& line) {
    const LinePlace linePlace = placeOf(line);
    chooseSet(linePlace.words);
    Place place{&app, nullptr, {}, false};
    for (std::size_t i = 1; i < linePlace.words.size(); ++i) {
        step(place, linePlace.words[i]);
    }
    const std::vector<std::string> all = allValues(place, linePlace);
    // What the shell itself completes comes first, whatever the word begins with.
    const bool hasShells = !all.empty() && all.front()[0] == ':';
    std::vector<std::string> found = startingWith({all.begin() + (hasShells ? 1 : 0), all.end()}, linePlace.start);
    if (hasShells) {
        found.insert(found.begin(), all.front());
    }
    return found;
}

std::string completionScript(const std::string& shell) {
    if (shell == "bash") {
        return kBash;
    }
    if (shell == "zsh") {
        return kZsh;
    }
    throw UsageError("SHELL is " + display(shell, 40) + ", expected bash or zsh");
}

}  // namespace tool
