// SPDX-License-Identifier: Apache-2.0
// The command lines of `fapi env` and of `fapi set backup|restore|repair`.
#include <algorithm>
#include <iterator>
#include <memory>

#include <CLI/CLI.hpp>

#include "cli/env.h"
#include "cli/service.h"

namespace tool {

namespace {

CLI::Validator flashType() {
    const auto check = [](const std::string& word) {
        const bool known = std::find(std::begin(kFlashTypes), std::end(kFlashTypes), word) != std::end(kFlashTypes);
        return known ? std::string() : "is " + display(word, 40) + ", expected emmc, nand or spi_nor";
    };
    return CLI::Validator(check, "");
}

// Adds the options that not all of them take.
void addOwnOptions(CLI::App& command, EnvOptions& wanted) {
    const std::string name = command.get_name();
    if (name == "diff" || name == "export" || name == "import") {
        command.add_option("FILE", wanted.file, "The file of this PC")->required(name != "diff");
    }
    if (name == "diff") {
        command.add_flag("--previous", wanted.previous, "Compare with the image before");
    }
    if (name == "import") {
        command.add_flag("--replace", wanted.replace, "Remove what the file does not have");
    }
    if (name == "get") {
        command.add_flag("--value", wanted.valueOnly, "Print the values without their names");
    }
}

}  // namespace

void addEnvCommands(CLI::App& env, const GlobalOptions& options, std::function<int()>& action) {
    const auto wanted = std::make_shared<EnvOptions>();
    env.require_subcommand(1);
    env.add_option("--flash", wanted->flash, "emmc, nand or spi_nor; emmc when left out")
        ->type_name("FLASH")
        ->check(flashType());
    for (const EnvCommand& command : envCommands()) {
        CLI::App* added = env.add_subcommand(command.name, command.help);
        if (command.argument != nullptr) {
            CLI::Option* words = added->add_option(command.argument, wanted->words, command.argumentHelp);
            command.several ? words->required() : words->expected(0, 1);
        }
        addOwnOptions(*added, *wanted);
        added->callback([&options, &action, &command, wanted] {
            action = [&options, &command, wanted] { return runEnvCommand(command, options, *wanted); };
        });
    }
}

void addServiceCommands(CLI::App& set, const GlobalOptions& options, std::function<int()>& action) {
    const auto file = std::make_shared<std::string>();
    CLI::App* backup = set.add_subcommand("backup", "Write the whole set to a file, a compressed tar archive");
    backup->add_option("FILE", *file, "The file of this PC, or a folder for one that is named by set and date")
        ->required();
    backup->callback(
        [&options, &action, file] { action = [&options, file] { return backUpWholeSet(options, *file); }; });
    CLI::App* restore = set.add_subcommand("restore", "Make the set anew from such a file, whole or not at all");
    restore->add_option("FILE", *file, "The file of this PC")->required();
    restore->callback(
        [&options, &action, file] { action = [&options, file] { return restoreWholeSet(options, *file); }; });
    set.add_subcommand("repair", "Mend what is damaged; the damaged files stay in the set's folder")
        ->callback([&options, &action] { action = [&options] { return repairWholeSet(options); }; });
}

}  // namespace tool
