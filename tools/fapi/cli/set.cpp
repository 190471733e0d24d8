// SPDX-License-Identifier: Apache-2.0
// `fapi set ...`: the set itself, from the command line.
#include "cli/set.h"

#include <filesystem>
#include "base/data_output.h"
#include "base/terminal.h"
#include "protocol/characters.h"
#include "target/output.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

void say(const GlobalOptions& options, const Json& json, const std::string& text) {
    printLine(options.json ? jsonLine(json) : printable(text, "\n"));
}

}  // namespace

int createSet(const GlobalOptions& options) {
    openSession(options.session).request("power", {{"to", "create"}});
    const std::string folder = setFolder(options.session);
    say(options, {{"folder", folder}}, folder + ": a new set");
    return kExitGood;
}

int resetSet(const GlobalOptions& options) {
    const std::string folder = setFolder(options.session);
    if (!confirm(options, "removes everything in " + folder)) {
        return kExitInterrupted;
    }
    openSession(options.session).request("power", {{"to", "reset"}});
    say(options, {{"folder", folder}}, folder + ": a new set");
    return kExitGood;
}

int printSetPath(const GlobalOptions& options) {
    const std::string folder = fs::absolute(setFolder(options.session)).lexically_normal().string();
    say(options, {{"folder", folder}}, folder);
    return kExitGood;
}

int powerCycleSet(const GlobalOptions& options) {
    openSession(options.session);
    const std::optional<long long> boots = powerCycle();
    say(options, boots ? Json{{"boots", *boots}} : Json::object(),
        boots ? "switched on for the " + std::to_string(*boots) + ". time" : "switched off and on");
    return kExitGood;
}

int showSet(const GlobalOptions& options) {
    const Field set = openSession(options.session).request("set.show");
    Json json = {{"folder", set["folder"].text()}, {"boots", set["boots"].number()}, {"damage", Json::array()}};
    std::string text = set["folder"].text() + "\n  boots: " + std::to_string(set["boots"].number());
    for (const Field& line : set["damage"].list()) {
        json["damage"].push_back(line.text());
        text += "\n  damaged: " + line.text();
    }
    for (const Field& partition : set["partitions"].list()) {
        json["partitions"][partition["name"].text()] = partition["bytes"].number();
        text +=
            "\n  partition " + partition["name"].text() + ": " + std::to_string(partition["bytes"].number()) + " bytes";
    }
    for (const auto& [flash, variables] : set["environment"].fields()) {
        for (const Field& variable : variables.list()) {
            const std::string& name = variable["name"].text();
            const std::string& value = variable["value"].text();
            json["environment"][flash][validText(name)] = toJson(Value(value));
            text += "\n  " + flash + " " + escaped(name, false) + "=" + escaped(value, false);
        }
    }
    say(options, json, text);
    return kExitGood;
}

int showPorts(const GlobalOptions& options) {
    const std::string folder = setFolder(options.session);
    Json json = {{"folder", folder}, {"ports", Json::array()}};
    std::string text;
    const Field answer = askAgent("set.ports", Field::Fields());
    for (const Field& port : answer.at("ports").list()) {
        const long long number = port["number"].number();
        json["ports"].push_back(
            {{"number", number}, {"path", port["path"].text()}, {"terminal", port["terminal"].text()}});
        text += (text.empty() ? "" : "\n") + std::to_string(number) + " " + port["path"].text() + " -> " +
                port["terminal"].text();
    }
    if (text.empty()) {
        throw SetError(
            folder + ": is switched off, and its ports lead nowhere; \"fapi shell\" or \"fapi watch\" switches it on");
    }
    say(options, json, text);
    return kExitGood;
}

int runAction(const GlobalOptions& options, const Words& words, const std::string& output) {
    Words line = {"set"};
    line.insert(line.end(), words.begin(), words.end());
    const Command command = Command::parse(line);
    checkOutput(command, output);
    if (!command.action()->sessionOnly) {
        openSession(options.session);
    } else if (!joinRunning(options.session)) {
        throw UsageError(
            "set " + words[0] +
            ": acts on a running session only, and no program uses the set; use it in the shell or in a plan");
    }
    const Outcome outcome = command.run().outcome;
    printOutcome(command, outcome, options.json);
    const bool written = writeOutput(command, outcome, output, options.json);
    return outcome.good && written ? kExitGood : kExitFailed;
}

}  // namespace tool
