// SPDX-License-Identifier: Apache-2.0
// `fapi clients` and `fapi take`: who uses the set, and who may change it.
#include "cli/hub.h"

#include <ctime>

#include "base/table.h"

namespace tool {

namespace {

constexpr long long kNanoseconds = 1000000000;
constexpr std::size_t kAnyWidth = 1000;

std::string timeOfDay(long long since) {
    const std::time_t seconds = since / kNanoseconds;
    std::tm time = {};
    char text[16] = {};
    std::strftime(text, sizeof(text), "%H:%M:%S", localtime_r(&seconds, &time));
    return text;
}

std::string claimWord(const Target::Client& client) {
    if (!client.hasClaim) {
        return "";
    }
    return (client.isShared ? "yes, shared" : "yes") + (client.reason.empty() ? "" : ": " + client.reason);
}

// Joins a hub that runs.
std::unique_ptr<Target> joinRunning(TargetOptions& options, const char* client) {
    options.mayStart = false;
    options.client = client;
    return Target::join(options);
}

}  // namespace

std::string clientsText(TargetOptions options, bool asJson) {
    const std::unique_ptr<Target> target = joinRunning(options, "fapi clients");
    if (asJson) {
        return toJsonText(target->request("clients")) + "\n";
    }
    Table table({{"client"}, {"name"}, {"process"}, {"since"}, {"watches", Align::left, 1}, {"claim"}}, 5);
    for (const Target::Client& client : target->clients()) {
        std::string watches;
        for (const std::string& kind : client.watches) {
            watches += (watches.empty() ? "" : ", ") + kind;
        }
        table.add({{std::to_string(client.id)},
                   {client.name},
                   {std::to_string(client.pid)},
                   {timeOfDay(client.since)},
                   {watches},
                   {claimWord(client)}});
    }
    return table.text(kAnyWidth);
}

std::string takeClaim(TargetOptions options, const std::string& reason, bool asJson) {
    const std::unique_ptr<Target> target = joinRunning(options, "fapi take");
    const Field result = target->request("take", {{"reason", reason}});
    if (asJson) {
        return toJsonText(result) + "\n";
    }
    const Field& previous = result["previous"];
    return previous.isNull() ? "no client had claimed the set\n"
                             : "the claim is taken from " + previous["name"].textOr("") + " (process " +
                                   std::to_string(previous["pid"].numberOr(0)) + ")\n";
}

}  // namespace tool
