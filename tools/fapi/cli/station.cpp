// SPDX-License-Identifier: Apache-2.0
// `--target`, `fapi targets` and `fapi station`.
#include "cli/station.h"

#include <algorithm>
#include <filesystem>

#include <unistd.h>

#include "base/table.h"
#include "cli/station_check.h"
#include "station/station.h"
#include "station/station_actions.h"
#include "target/output.h"

namespace tool {

namespace {

constexpr std::chrono::milliseconds kLookLimit{1000};
constexpr std::size_t kTableWidth = 1000;
constexpr std::chrono::seconds kCommandUpWithin{30};
constexpr const char* kVirtualName = "virtual";

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

}  // namespace

TargetOptions targetOptionsOf(const StationTarget& target) {
    TargetOptions options;
    options.client = "fapi station";
    options.folder = target.folder;
    if (!target.wire.empty()) {
        options.wire = target.wireOptions();
    }
    return options;
}

void applyStation(const StationOptions& options, SessionOptions& session) {
    if (options.target.empty() && options.command.empty() && options.file.empty()) {
        return;
    }
    Station station = readStation(stationFile(options.file));
    const StationTarget* target = station.target(options.target);
    std::error_code error;
    if (!options.command.empty()) {
        session.wire = WireOptions{options.command[0], options.command, true, {}, {}, {}, kCommandUpWithin};
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

std::vector<SlotTarget> slotsOf(const std::vector<std::string>& targets, const StationOptions& options) {
    const Station station = readStation(stationFile(options.file));
    std::vector<SlotTarget> slots;
    for (const std::string& name : targets) {
        const auto isTwice = [&](const SlotTarget& other) { return other.name == name; };
        if (name.empty() || std::any_of(slots.begin(), slots.end(), isTwice)) {
            throw UsageError("--targets: expected different targets, A,B,C");
        }
        SlotTarget slot;
        slot.name = name;
        slot.options = {"--target", name};
        const StationTarget* target = station.target(name);
        if (target != nullptr) {
            slot.target = targetOptionsOf(*target);
        } else {
            slot.target.folder = name == kVirtualName ? "" : name;
        }
        slots.push_back(slot);
    }
    return slots;
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
        const TargetOptions joined = targetOptionsOf(target);
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

int checkStation(const StationOptions& options, const std::string& reports, bool asJson) {
    const std::string file = stationFile(options.file);
    if (file.empty()) {
        throw UsageError("there is no station.ini: give one with --station");
    }
    return checkStationReady(readStation(file), reports, asJson);
}

}  // namespace tool
