// SPDX-License-Identifier: Apache-2.0
// `fapi env ...`: the set's boot environments, an image at a time.
#include "cli/env.h"

#include <algorithm>
#include <ctime>
#include <iterator>
#include <memory>
#include <optional>
#include <stdexcept>

#include "base/data_output.h"
#include "base/durable_file.h"
#include "base/env_text.h"
#include "base/report_text.h"
#include "base/terminal.h"
#include "target/env_store.h"
#include "target/output.h"
#include "target/sole_use.h"

namespace tool {

namespace {

// More names than these make a question unreadable.
constexpr std::size_t kNamesAsked = 8;

}  // namespace

// What a command works on.
struct EnvBench {
    const GlobalOptions& options;
    const EnvOptions& wanted;
    EnvStore& store;
};

namespace {

void note(const EnvBench& bench, const std::string& text) {
    printMessage(bench.store.flash() + ": " + text);
}

// What is there. Damage is told on standard error.
Environment look(const EnvBench& bench) {
    Environment environment = parseEnvImage(bench.store.image());
    for (const std::string& damage : environment.damage) {
        note(bench, damage);
    }
    return environment;
}

// The same for what is about to be used as a whole. Throws SetError when it is not, unless the options allow it.
Environment lookAtWhole(const EnvBench& bench) {
    Environment environment = look(bench);
    if (!environment.damage.empty() && !bench.options.session.damaged) {
        throw SetError(bench.store.flash() +
                       ": is damaged; \"fapi env repair\" or \"fapi env import --replace FILE\" makes it whole, "
                       "--damaged goes on with what can be read");
    }
    return environment;
}

int exitFor(const Environment& environment) {
    return environment.damage.empty() ? kExitGood : kExitSet;
}

// --- Output ----------------------------------------------------------------------------------------------------------

Json variablesJson(const EnvVariables& variables) {
    Json json = Json::array();
    for (const auto& [name, value] : variables) {
        json.push_back({{"name", toJson(Value(name))}, {"value", toJson(Value(value))}});
    }
    return json;
}

Json changesJson(const std::vector<EnvChange>& changes) {
    const auto valueJson = [](const std::optional<std::string>& value) {
        return value ? toJson(Value(*value)) : Json(nullptr);
    };
    Json json = Json::array();
    for (const EnvChange& change : changes) {
        const char* kind = !change.before ? "added" : !change.after ? "removed" : "changed";
        json.push_back({{"name", toJson(Value(change.name))},
                        {"change", kind},
                        {"before", valueJson(change.before)},
                        {"after", valueJson(change.after)}});
    }
    return json;
}

void printChanges(const std::vector<EnvChange>& changes) {
    for (const EnvChange& change : changes) {
        printLine(changeLine(change));
    }
}

void printVariables(const EnvBench& bench, const Environment& environment, const EnvVariables& shown) {
    if (bench.options.json) {
        printLine(jsonLine(
            {{"flash", bench.store.flash()}, {"damage", environment.damage}, {"variables", variablesJson(shown)}}));
        return;
    }
    // What may be rubbish is not to be taken for the unit's data.
    const std::string mark = environment.damage.empty() ? "" : "? ";
    for (const auto& [name, value] : shown) {
        printLine(mark + (bench.wanted.valueOnly ? escapeText(value) : variableLine(name, value)));
    }
}

std::string dateText(std::time_t time) {
    return timeText(std::chrono::system_clock::from_time_t(time), kIsoTime);
}

std::string countText(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " variable" : " variables");
}

// "adds a, b; overwrites c", for the question before it is done.
std::string intent(const std::vector<EnvChange>& changes) {
    std::string text;
    const auto add = [&](const char* verb, auto&& isMeant) {
        std::string names;
        const auto count = static_cast<std::size_t>(std::count_if(changes.begin(), changes.end(), isMeant));
        for (const EnvChange& change : changes) {
            names += isMeant(change) ? (names.empty() ? "" : ", ") + escapeText(change.name) : "";
        }
        if (count != 0) {
            text +=
                (text.empty() ? "" : "; ") + std::string(verb) + " " + (count > kNamesAsked ? countText(count) : names);
        }
    };
    add("adds", [](const EnvChange& change) { return !change.before; });
    add("overwrites", [](const EnvChange& change) { return change.before && change.after; });
    add("removes", [](const EnvChange& change) { return !change.after; });
    return text;
}

// --- Changes ---------------------------------------------------------------------------------------------------------

// Asks, writes the image in one piece, and tells what is other than before.
int writeImage(const EnvBench& bench, const Environment& before, const std::string& image) {
    const std::vector<EnvChange> changes = changesBetween(before.variables, parseEnvImage(image).variables);
    const bool written = bench.store.image() != image && (!changes.empty() || !before.damage.empty());
    if (written) {
        const std::string what = changes.empty() ? "makes the image anew" : intent(changes);
        if (!confirm(bench.options, what + " in the boot environment of " + bench.store.flash())) {
            return kExitInterrupted;
        }
        for (const std::string& remark : before.remarks) {
            note(bench, remark + "; the new image has it no more");
        }
        bench.store.write(image);
    }
    if (bench.options.json) {
        printLine(jsonLine({{"flash", bench.store.flash()}, {"written", written}, {"changes", changesJson(changes)}}));
        return kExitGood;
    }
    printChanges(changes);
    printLine(bench.store.flash() + ": " + (written ? countText(changes.size()) + " changed" : "nothing to change"));
    return kExitGood;
}

int writeVariables(const EnvBench& bench, const Environment& before, const EnvVariables& variables) {
    return writeImage(bench, before, makeEnvImage(variables));
}

EnvVariables parseAssignments(const Words& words) {
    EnvVariables variables;
    for (const std::string& word : words) {
        const std::size_t equals = word.find('=');
        if (equals == std::string::npos) {
            throw UsageError(display(word, 40) + ": expected NAME=VALUE");
        }
        const std::string name = word.substr(0, equals);
        checkVariable(name, word.substr(equals + 1));
        if (findVariable(variables, name) != nullptr) {
            throw UsageError(escapeText(name) + " is given twice");
        }
        variables.emplace_back(name, word.substr(equals + 1));
    }
    return variables;
}

EnvVariables readVariables(const std::string& file) {
    const Bytes bytes = parseBytes("file:" + file);
    return parseVariables(std::string(bytes.begin(), bytes.end()), file);
}

// How many images back: the word of the command line, 1 when there is none.
std::size_t stepsBack(const Words& words) {
    long long steps = 1;
    if (!words.empty() && (!parseNumber(words[0], steps) || steps < 1)) {
        throw UsageError("N is " + display(words[0], 40) + ", expected how many images back, from 1 on");
    }
    return static_cast<std::size_t>(steps);
}

// What cannot be done to an environment as it is; nothing is written then.
class Refusal : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Throws Refusal when not so many are kept.
KeptImage imageBefore(const EnvBench& bench, std::size_t steps) {
    const std::vector<KeptImage> kept = bench.store.kept();
    if (steps > kept.size()) {
        throw Refusal(kept.empty() ? "no other image is kept"
                                   : "only " + std::to_string(kept.size()) + " other images are kept");
    }
    return kept[steps - 1];
}

// --- Commands --------------------------------------------------------------------------------------------------------

int listEnv(const EnvBench& bench) {
    const std::string pattern = bench.wanted.words.empty() ? "" : bench.wanted.words[0];
    const Environment environment = look(bench);
    for (const std::string& remark : environment.remarks) {
        note(bench, remark);
    }
    EnvVariables shown;
    std::copy_if(environment.variables.begin(), environment.variables.end(), std::back_inserter(shown),
                 [&](const auto& variable) { return variable.first.find(pattern) != std::string::npos; });
    printVariables(bench, environment, shown);
    return exitFor(environment);
}

int getEnv(const EnvBench& bench) {
    const Environment environment = look(bench);
    EnvVariables shown;
    bool all = true;
    std::vector<std::string> names;
    for (const auto& [name, value] : environment.variables) {
        names.push_back(name);
    }
    for (const std::string& name : bench.wanted.words) {
        if (const std::string* value = findVariable(environment.variables, name)) {
            shown.emplace_back(name, *value);
            continue;
        }
        const std::string near = nearest(name, names);
        note(bench,
             "has no variable " + escapeText(name) + (near.empty() ? "" : ", did you mean " + escapeText(near) + "?"));
        all = false;
    }
    printVariables(bench, environment, shown);
    return environment.damage.empty() && !all ? kExitFailed : exitFor(environment);
}

int setEnv(const EnvBench& bench) {
    const EnvVariables wanted = parseAssignments(bench.wanted.words);
    const Environment before = lookAtWhole(bench);
    EnvVariables variables = before.variables;
    for (const auto& [name, value] : wanted) {
        setVariable(variables, name, value);
    }
    return writeVariables(bench, before, variables);
}

int unsetEnv(const EnvBench& bench) {
    const Environment before = lookAtWhole(bench);
    EnvVariables variables = before.variables;
    for (const std::string& name : bench.wanted.words) {
        if (!removeVariable(variables, name)) {
            throw Refusal("has no variable " + escapeText(name) + ", nothing is written");
        }
    }
    return writeVariables(bench, before, variables);
}

int diffEnv(const EnvBench& bench) {
    if (bench.wanted.previous != bench.wanted.file.empty()) {
        throw UsageError("diff: expected either FILE or --previous");
    }
    const EnvVariables before =
        bench.wanted.previous ? parseEnvImage(imageBefore(bench, 1).image).variables : readVariables(bench.wanted.file);
    const std::vector<EnvChange> changes = changesBetween(before, lookAtWhole(bench).variables);
    if (bench.options.json) {
        printLine(
            jsonLine({{"flash", bench.store.flash()}, {"equal", changes.empty()}, {"changes", changesJson(changes)}}));
    } else {
        printChanges(changes);
    }
    return changes.empty() ? kExitGood : kExitFailed;
}

int exportEnv(const EnvBench& bench) {
    const Environment environment = lookAtWhole(bench);
    const std::string count = countText(environment.variables.size());
    std::string text = "# boot environment of " + bench.store.flash() + ", " + count + ", " +
                       dateText(std::time(nullptr)) + (environment.damage.empty() ? "" : ", out of a damaged image") +
                       "\n";
    for (const auto& [name, value] : environment.variables) {
        text += variableLine(name, value) + "\n";
    }
    replaceFile(bench.wanted.file, text);
    printLine(bench.options.json ? jsonLine({{"flash", bench.store.flash()},
                                             {"file", bench.wanted.file},
                                             {"variables", environment.variables.size()}})
                                 : bench.store.flash() + ": " + count + " exported to " + bench.wanted.file);
    return kExitGood;
}

int importEnv(const EnvBench& bench) {
    const EnvVariables imported = readVariables(bench.wanted.file);
    if (bench.wanted.replace) {
        return writeVariables(bench, look(bench), imported);
    }
    const Environment before = lookAtWhole(bench);
    EnvVariables variables = before.variables;
    for (const auto& [name, value] : imported) {
        setVariable(variables, name, value);
    }
    return writeVariables(bench, before, variables);
}

int rollbackEnv(const EnvBench& bench) {
    const std::size_t steps = stepsBack(bench.wanted.words);
    const Environment before = look(bench);
    const std::string image = imageBefore(bench, steps).image;
    const std::vector<std::string> damage = parseEnvImage(image).damage;
    if (!damage.empty() && !bench.options.session.damaged) {
        throw Refusal("that image is damaged itself: " + damage.front() + "; \"fapi env kept\" lists the others");
    }
    return writeImage(bench, before, image);
}

int listKept(const EnvBench& bench) {
    const Environment now = look(bench);
    const std::vector<KeptImage> images = bench.store.kept();
    if (images.empty()) {
        note(bench, "no other image is kept");
    }
    std::size_t number = 0;
    for (const KeptImage& kept : images) {
        const Environment environment = parseEnvImage(kept.image);
        const std::size_t differing = changesBetween(environment.variables, now.variables).size();
        const std::string written = dateText(kept.written);
        ++number;
        printLine(bench.options.json ? jsonLine({{"flash", bench.store.flash()},
                                                 {"number", number},
                                                 {"written", written},
                                                 {"variables", environment.variables.size()},
                                                 {"differing", differing},
                                                 {"damage", environment.damage}})
                                     : std::to_string(number) + "  " + written + "  " +
                                           countText(environment.variables.size()) + ", " + std::to_string(differing) +
                                           " other than now" + (environment.damage.empty() ? "" : ", damaged"));
    }
    return exitFor(now);
}

int repairEnv(const EnvBench& bench) {
    const Environment before = look(bench);
    if (before.damage.empty()) {
        printLine(bench.options.json ? jsonLine({{"flash", bench.store.flash()}, {"written", false}})
                                     : bench.store.flash() + ": is whole");
        return kExitGood;
    }
    const std::optional<KeptImage> whole = bench.store.newestWhole();
    if (!whole) {
        throw Refusal(
            "no whole image is kept; \"fapi env import --replace FILE\" takes an exported one, \"fapi set "
            "repair\" the environment of a new set");
    }
    return writeImage(bench, before, whole->image);
}

// --- The command line ------------------------------------------------------------------------------------------------

const std::vector<EnvCommand> kCommands = {
    {"list", "List the variables", "PATTERN", "Part of the names to list", false, false, listEnv},
    {"get", "Show variables by name", "VARIABLE", "Their names", true, false, getEnv},
    {"set", "Set variables, all in one write", "ASSIGNMENT", "NAME=VALUE", true, true, setEnv},
    {"unset", "Remove variables, all in one write", "VARIABLE", "Their names", true, true, unsetEnv},
    {"diff", "Show what is other than in an exported file; exit code 1 when anything is", nullptr, nullptr, false,
     false, diffEnv},
    {"export", "Write all variables to a file", nullptr, nullptr, false, false, exportEnv},
    {"import", "Set the variables of an exported file, all in one write", nullptr, nullptr, false, true, importEnv},
    {"kept", "List the images that others have replaced", nullptr, nullptr, false, false, listKept},
    {"rollback", "Put the image before back, or that before N writes", "N", "How many images back", false, true,
     rollbackEnv},
    {"repair", "Put the newest whole image that is kept in place of a damaged one", nullptr, nullptr, false, true,
     repairEnv},
};

}  // namespace

const std::vector<EnvCommand>& envCommands() {
    return kCommands;
}

int runEnvCommand(const EnvCommand& command, const GlobalOptions& options, const EnvOptions& wanted) {
    Target& target = openSession(options.session);
    if (command.writes) {
        // From before it is read until it is written.
        requireSoleUse(target, "changes the boot environment");
    }
    try {
        EnvStore store(target, wanted.flash, true);
        return command.run({options, wanted, store});
    } catch (const Refusal& refusal) {
        printError(wanted.flash + ": " + refusal.what(), options.json);
        return kExitFailed;
    }
}

}  // namespace tool
