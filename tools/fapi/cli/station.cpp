// SPDX-License-Identifier: Apache-2.0
// `--target`, `fapi targets` and `fapi station`.
#include "cli/station.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>

#include <unistd.h>

#include "base/table.h"
#include "base/terminal.h"
#include "protocol/characters.h"
#include "station/programs.h"
#include "station/station.h"
#include "station/station_actions.h"
#include "target/output.h"

namespace tool {

namespace {

constexpr std::chrono::milliseconds kLookLimit{1000};
constexpr std::size_t kTableWidth = 1000;
constexpr std::chrono::seconds kCommandUpWithin{30};
constexpr const char* kVirtualName = "virtual";

TargetOptions optionsOf(const StationTarget& target) {
    TargetOptions options;
    options.client = "fapi station";
    options.folder = target.folder;
    if (!target.wire.empty()) {
        options.wire = target.wireOptions();
    }
    return options;
}

std::vector<std::string> namesOf(const Station& station) {
    std::vector<std::string> names = {kVirtualName};
    for (const StationTarget& target : station.targets) {
        names.push_back(target.name);
    }
    return names;
}

// "fapi shell (process 12), fapi run (process 14, has the set)"; nothing when no program uses it.
std::optional<std::string> usersOf(TargetOptions options, std::string& kind) {
    options.mayStart = false;
    options.limit = kLookLimit;
    try {
        const std::unique_ptr<Target> target = Target::join(options);
        kind = target->hello()["kind"].textOr(kind);
        std::string users;
        for (const Target::Client& client : target->clients()) {
            if (client.pid != getpid()) {
                users += (users.empty() ? "" : ", ") + client.name + " (process " + std::to_string(client.pid) +
                         (client.hasClaim ? ", has the set)" : ")");
            }
        }
        return users;
    } catch (const RequestError&) {
        return std::nullopt;
    }
}

// Where the program of a command is; empty when it cannot be run.
std::string programFile(const std::string& program) {
    if (program.find('/') != std::string::npos) {
        return access(program.c_str(), X_OK) == 0 ? program : "";
    }
    const char* path = std::getenv("PATH");
    std::istringstream folders(path != nullptr ? path : "");
    for (std::string folder; std::getline(folders, folder, ':');) {
        const std::string file = folder + "/" + program;
        if (access(file.c_str(), X_OK) == 0) {
            return file;
        }
    }
    return "";
}

class StationCheck {
public:
    StationCheck(const Station& station, bool asJson) : _station(station), _asJson(asJson) {}

    int run() {
        for (const StationTarget& target : _station.targets) {
            check("target " + target.name, target.line, [&] { return targetText(target); });
        }
        for (const StationFixture& fixture : _station.fixtures) {
            check("fixture " + fixture.name, fixture.line, [&] { return fixtureText(fixture); });
        }
        for (const Binding& binding : _station.bindings) {
            if (binding.kind == Binding::Kind::program) {
                check("action " + binding.action, binding.line, [&] { return requireProgram(binding.command); });
            }
        }
        return _isGood ? kExitGood : kExitSet;
    }

private:
    template <class Text>
    void check(const std::string& what, unsigned int line, Text&& text) {
        bool good = true;
        std::string told;
        try {
            told = text();
        } catch (const std::exception& error) {
            good = false;
            told = error.what();
        }
        _isGood = _isGood && good;
        if (_asJson) {
            printLine(jsonLine({{"what", what}, {"line", line}, {"good", good}, {"text", told}}));
        } else {
            const std::string place = good ? "" : _station.file + ":" + std::to_string(line) + ": ";
            printLine(printable(place + what + ": " + (good ? "ok" + (told.empty() ? "" : ": " + told) : told)));
        }
    }

    static std::string requireProgram(const Words& command) {
        if (programFile(command[0]).empty()) {
            throw SetError(command[0] + ": no such program, or not executable");
        }
        return "";
    }

    std::string targetText(const StationTarget& target) {
        if (!target.wire.empty()) {
            requireProgram(target.wire);
        }
        if (!target.powerCycle.empty()) {
            requireProgram(target.powerCycle);
        }
        // A fixture may need the set.
        const Field& hello = _joined.emplace_back(Target::join(optionsOf(target)))->hello();
        return hello["kind"].textOr("board") + ", agent " + hello["agent"].textOr("?") + ", library " +
               hello["library"].textOr("?");
    }

    static std::string fixtureText(const StationFixture& fixture) {
        requireProgram(fixture.command);
        const std::size_t actions = FixtureProgram(fixture).actions().size();
        return std::to_string(actions) + (actions == 1 ? " action" : " actions");
    }

    const Station& _station;
    const bool _asJson;
    bool _isGood = true;
    std::vector<std::unique_ptr<Target>> _joined;
};

}  // namespace

void applyStation(const StationOptions& options, SessionOptions& session) {
    if (options.target.empty() && options.command.empty() && options.file.empty()) {
        return;
    }
    Station station = readStation(stationFile(options.file));
    const StationTarget* target = station.target(options.target);
    std::error_code error;
    if (!options.command.empty()) {
        session.wire = WireOptions{options.command[0], options.command, true, {}, {}, kCommandUpWithin};
    } else if (target != nullptr && !target->wire.empty()) {
        session.wire = target->wireOptions();
        session.has = target->has;
    } else if (target != nullptr) {
        session.folder = target->folder;
    } else if (options.target.find('/') != std::string::npos || std::filesystem::is_directory(options.target, error)) {
        session.folder = options.target;
    } else if (!options.target.empty() && options.target != kVirtualName) {
        const std::string near = nearest(options.target, namesOf(station));
        throw UsageError(
            "no such target: " + display(options.target, 40) + (near.empty() ? "" : ", did you mean " + near + "?") +
            (station.file.empty() ? "; there is no station.ini" : "; " + station.file + " has the targets"));
    }
    if (session.wire || !station.bindings.empty()) {
        bindActions(stationActions(std::move(station)));
    }
}

std::vector<std::string> targetNames(const std::string& file) {
    return namesOf(readStation(stationFile(file)));
}

int listTargets(const StationOptions& options, const SessionOptions& session, bool asJson) {
    const Station station = readStation(stationFile(options.file));
    StationTarget own;
    own.name = kVirtualName;
    own.folder = session.folder;
    std::vector<StationTarget> targets = {own};
    targets.insert(targets.end(), station.targets.begin(), station.targets.end());
    Table table({{"target"}, {"kind"}, {"up"}, {"used by", Align::left, 1}}, 3);
    for (const StationTarget& target : targets) {
        const TargetOptions joined = optionsOf(target);
        std::string kind = joined.wire ? "" : "virtual";
        const std::optional<std::string> users = usersOf(joined, kind);
        if (asJson) {
            Json json = {
                {"target", target.name}, {"kind", kind}, {"up", users.has_value()}, {"users", users.value_or("")}};
            printLine(jsonLine(json));
        }
        table.add({{target.name}, {kind.empty() ? "?" : kind}, {users ? "yes" : "no"}, {users.value_or("")}});
    }
    if (!asJson) {
        std::fputs(table.text(kTableWidth).c_str(), dataOutput());
    }
    return kExitGood;
}

int checkStation(const StationOptions& options, bool asJson) {
    const std::string file = stationFile(options.file);
    if (file.empty()) {
        throw UsageError("there is no station.ini: give one with --station");
    }
    const Station station = readStation(file);
    return StationCheck(station, asJson).run();
}

}  // namespace tool
