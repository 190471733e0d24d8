// SPDX-License-Identifier: Apache-2.0
// `fapi set ...`: the set itself, from the command line.
#include "cli/set.h"

#include <filesystem>
#include <iostream>

#include <unistd.h>

#include "base/terminal.h"
#include "hw3/hw_flash.h"
#include "protocol/characters.h"
#include "target/output.h"
#include "vset/flash.h"
#include "vset/uart.h"
#include "vset/vset.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

void say(const GlobalOptions& options, const Json& json, const std::string& text) {
    printLine(options.json ? jsonLine(json) : printable(text, "\n"));
}

}  // namespace

bool confirm(const GlobalOptions& options, const std::string& what) {
    if (options.yes) {
        return true;
    }
    if (isatty(STDIN_FILENO) == 0) {
        printError("this " + what + ", and standard input is no terminal to ask on; -y does not ask", options.json);
        return false;
    }
    std::fprintf(stderr, "This %s. Go on? [y/N] ", printable(what).c_str());
    std::string answer;
    std::getline(std::cin, answer);
    return answer == "y" || answer == "Y" || answer == "yes";
}

bool confirm(const GlobalOptions& options, const Command& command) {
    const Operation* operation = command.operation();
    return operation == nullptr || operation->destroys.empty() || confirm(options, operation->destroys);
}

int createSet(const GlobalOptions& options) {
    const std::string folder = setFolder(options.session);
    vset::create(folder);
    say(options, {{"folder", folder}}, folder + ": a new set");
    return kExitGood;
}

int resetSet(const GlobalOptions& options) {
    const std::string folder = setFolder(options.session);
    // Refuses what is no set: this is about to remove a folder.
    vset::check(folder);
    if (!confirm(options, "removes everything in " + folder)) {
        return kExitInterrupted;
    }
    vset::attach(folder);
    vset::detach();
    std::error_code error;
    fs::remove_all(folder, error);
    if (error) {
        throw SetError(folder + ": " + error.message());
    }
    vset::create(folder);
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
    say(options, {{"boots", vset::bootCount()}}, "switched on for the " + std::to_string(vset::bootCount()) + ". time");
    return kExitGood;
}

int showSet(const GlobalOptions& options) {
    const std::string folder = setFolder(options.session);
    const std::vector<std::string> damage = vset::check(folder);
    // Not openSession(): damage is what is to be shown.
    vset::attach(folder);
    Json json = {{"folder", vset::folder()}, {"boots", vset::bootCount()}, {"damage", damage}};
    std::string text = vset::folder() + "\n  boots: " + std::to_string(vset::bootCount());
    for (const std::string& line : damage) {
        text += "\n  damaged: " + line;
    }
    for (const auto& [name, size] : vset::flash::partitions()) {
        json["partitions"][name] = size;
        text += "\n  partition " + name + ": " + std::to_string(size) + " bytes";
    }
    const std::pair<const char*, HW_U32> types[] = {
        {"spi_nor", E_HW_FLASH_TYPE_SPI_NOR}, {"nand", E_HW_FLASH_TYPE_NAND}, {"emmc", E_HW_FLASH_TYPE_EMMC}};
    for (const auto& [name, type] : types) {
        try {
            for (const auto& [key, value] : vset::flash::environment(type)) {
                json["environment"][name][validText(key)] = toJson(Value(value));
                text += std::string("\n  ") + name + " " + escaped(key, false) + "=" + escaped(value, false);
            }
        } catch (const SetError&) {
            // Damage has been told above.
            continue;
        }
    }
    say(options, json, text);
    return kExitGood;
}

int showPorts(const GlobalOptions& options) {
    const std::string folder = setFolder(options.session);
    Json json = {{"folder", folder}, {"ports", Json::array()}};
    std::string text;
    for (const vset::uart::Connector& connector : vset::uart::connectors(folder)) {
        json["ports"].push_back(
            {{"number", connector.u32Number}, {"path", connector.strPath}, {"terminal", connector.strTerminal}});
        text += (text.empty() ? "" : "\n") + std::to_string(connector.u32Number) + " " + connector.strPath + " -> " +
                connector.strTerminal;
    }
    if (text.empty()) {
        throw SetError(folder +
                             ": is switched off, and its ports lead nowhere; \"fapi shell\" or \"fapi watch\" "
                             "switches it on");
    }
    say(options, json, text);
    return kExitGood;
}

int runAction(const GlobalOptions& options, const Words& words, const std::string& output) {
    Words line = {"set"};
    line.insert(line.end(), words.begin(), words.end());
    const Command command = Command::parse(line);
    if (command.action()->sessionOnly) {
        throw UsageError("set " + words[0] + ": acts on a running session only; use it in the shell or in a plan");
    }
    checkOutput(command, output);
    openSession(options.session);
    const Outcome outcome = command.run();
    printOutcome(command, outcome, options.json);
    const bool written = writeOutput(command, outcome, output, options.json);
    return outcome.good && written ? kExitGood : kExitFailed;
}

}  // namespace tool
