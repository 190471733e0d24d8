// SPDX-License-Identifier: Apache-2.0
// `fapi serve` on the command line.
#include "cli/serve.h"

#include <memory>

#include <CLI/CLI.hpp>

#include "serve/serve.h"
#include "station/station.h"

namespace tool {

namespace {

// The set of the command line, or all those of the station's file, or the default virtual one.
std::vector<ServedSet> servedSets(const GlobalOptions& options, const StationOptions& chosen, const Station& station) {
    std::vector<ServedSet> sets;
    const Words file = station.file.empty() ? Words() : Words{"--station", station.file};
    const auto add = [&](const std::string& name, const Words& words) -> TargetOptions& {
        sets.push_back({name, {}, file});
        sets.back().words.insert(sets.back().words.end(), words.begin(), words.end());
        return sets.back().options;
    };
    if (!chosen.command.empty()) {
        throw UsageError("serve takes no --target --: name the set in a station.ini");
    }
    for (const StationTarget& target : station.targets) {
        if (chosen.target.empty() ? options.session.folder.empty() : chosen.target == target.name) {
            TargetOptions& joined = add(target.name, {"--target", target.name});
            joined.folder = target.folder;
            if (!target.wire.empty()) {
                joined.wire = target.wireOptions();
            }
        }
    }
    if (sets.empty()) {
        const std::string& folder = options.session.folder;
        add("virtual", folder.empty() ? Words() : Words{"--set", folder}).folder = folder;
    }
    return sets;
}

}  // namespace

void addServeOptions(CLI::App& serve, const GlobalOptions& options, const StationOptions& station,
                     std::function<int()>& action) {
    const auto wanted = std::make_shared<ServeOptions>();
    serve.add_option("--listen", wanted->listen, "Where browsers reach it; 127.0.0.1:8470 when left out")
        ->type_name("ADDRESS:PORT");
    serve.add_option("--behind", wanted->behind, "The address of the proxy with TLS through which others reach it")
        ->type_name("https://NAME");
    serve.add_flag("--guest-token", wanted->hasGuests, "Print a second address, for those who only look");
    serve.add_option("--report", wanted->report, "Folder of the reports")->type_name("DIR");
    serve.callback([&options, &station, &action, wanted] {
        action = [&options, &station, wanted] {
            wanted->station = readStation(stationFile(station.file));
            wanted->sets = servedSets(options, station, wanted->station);
            return tool::serve(*wanted);
        };
    });
}

}  // namespace tool
