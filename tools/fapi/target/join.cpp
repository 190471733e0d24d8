// SPDX-License-Identifier: Apache-2.0
// How a client finds or starts its target's hub, and what an agent describes without a set.
#include <cstdlib>
#include <filesystem>

#include "hub/agent_wire.h"
#include "hub/description_cache.h"
#include "hub/socket.h"
#include "hub/start.h"
#include "target/target.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr const char* kAgentName = "fapi-agent";
// A hub that ends while a client connects leaves it alone; so many times in a row do not happen.
constexpr int kMostTries = 20;
constexpr std::chrono::seconds kDescribeLimit{10};

std::string environment(const char* name) {
    const char* text = std::getenv(name);
    return text != nullptr ? text : "";
}

std::string ownProgram() {
    std::error_code error;
    return fs::read_symlink("/proc/self/exe", error).string();
}

std::vector<std::string> wireOf(const TargetOptions& options) {
    if (options.wire) {
        return options.wire->command;
    }
    std::vector<std::string> wire = {agentOf(options), "--set", folderOf(options)};
    if (options.isDamaged) {
        wire.emplace_back("--damaged");
    }
    return wire;
}

std::string keyOf(const TargetOptions& options) {
    if (!options.wire) {
        return "virtual:" + folderOf(options);
    }
    std::string key = "wire:" + options.wire->name;
    for (const std::string& word : options.wire->command) {
        key += '\n' + word;
    }
    return key;
}

// The virtual set's wire is a pipe of this PC's own, which loses nothing.
WireOptions wireOptionsOf(const TargetOptions& options) {
    return options.wire ? *options.wire : WireOptions{nameOf(options), wireOf(options), false};
}

std::vector<std::string> hubCommandOf(const TargetOptions& options) {
    const std::string chosen = options.hub.empty() ? environment("FAPI_HUB") : options.hub;
    std::vector<std::string> command = {chosen.empty() ? ownProgram() : chosen, "hub", keyOf(options),
                                        toJsonText(toField(wireOptionsOf(options)))};
    return command;
}

// Asks an agent that is started for nothing else.
Field askBriefly(const TargetOptions& options, std::string& hash) {
    AgentWire agent(wireOf(options));
    const Field versions = Field::List{kProtocolOldest, kProtocolNewest};
    const Field hello = {{"protocol", versions}, {"framings", Field::List{kPlainName}}};
    hash = agent.ask({1, "hello", hello, {}}, kDescribeLimit).result["description"].textOr("");
    Field described = agent.ask({2, "describe", Field::Fields(), {}}, kDescribeLimit).result;
    agent.close();
    agent.waitForEnd();
    return described;
}

}  // namespace

std::string nameOf(const TargetOptions& options) {
    return options.wire ? options.wire->name : folderOf(options);
}

std::string folderOf(const TargetOptions& options) {
    std::string folder = options.folder.empty() ? environment("VSET_DIR") : options.folder;
    if (folder.empty()) {
        const std::string states = environment("XDG_STATE_HOME");
        folder = (states.empty() ? environment("HOME") + "/.local/state" : states) + "/vset";
    }
    std::error_code error;
    const fs::path path = fs::weakly_canonical(fs::absolute(folder), error);
    return error ? folder : path.string();
}

std::string agentOf(const TargetOptions& options) {
    const std::string chosen = options.agent.empty() ? environment("FAPI_AGENT") : options.agent;
    return chosen.empty() ? fs::path(ownProgram()).replace_filename(kAgentName).string()
                          : fs::absolute(chosen).string();
}

std::unique_ptr<Target> Target::join(const TargetOptions& options) {
    const HubSocket socket(keyOf(options));
    for (int tries = 0; tries < kMostTries; ++tries) {
        Descriptor connection = socket.connect();
        const bool isRunning = static_cast<bool>(connection);
        if (!isRunning && options.mayStart) {
            connection = startHub(socket, hubCommandOf(options), {Clock::now() + options.limit, options.stop});
        }
        if (!connection) {
            break;
        }
        std::unique_ptr<Target> target(new Target(std::move(connection)));
        if (target->greet(options)) {
            if (isRunning && options.isDamaged) {
                // The client that started the agent may not have allowed it.
                target->request("power", {{"to", "on"}, {"damaged", true}});
            }
            return target;
        }
        // That hub was about to end. It holds the lock until its agent is gone.
    }
    throw RequestError(ErrorCode::unavailable, options.mayStart ? socket.path() + ": hubs end before they answer"
                                                                : nameOf(options) + ": no program uses the set");
}

// Returns false when the hub ends the connection in place of an answer.
bool Target::greet(const TargetOptions& options) {
    const Field versions = Field::List{kProtocolOldest, kProtocolNewest};
    Field params = {{"protocol", versions}, {"framings", Field::List{kPlainName}}, {"name", options.client}};
    params.set("observer", options.isObserver);
    const long long id = begin("hello", params);
    // The hub gives up before this.
    constexpr std::chrono::seconds kLonger{5};
    const auto upWithin = options.wire && options.mayStart ? options.wire->upWithin + kLonger : options.limit;
    const Clock::time_point deadline = Clock::now() + std::max<std::chrono::milliseconds>(options.limit, upWithin);
    bool isStopped = false;
    if (options.stop >= 0) {
        watch(options.stop, [&] { isStopped = true; });
    }
    while (!isFinished(id) && _lost.empty()) {
        if (isStopped) {
            // The hub waits for the agent, and this client not for the hub.
            _connection.close();
            throw RequestError(ErrorCode::canceled, "interrupted");
        }
        if (Clock::now() >= deadline) {
            throw RequestError(ErrorCode::unavailable, wireOf(options).front() + ": does not answer");
        }
        wait(deadline);
    }
    unwatch(options.stop);
    if (!isFinished(id)) {
        return false;
    }
    _hello = finish(id);
    return true;
}

TargetFacts factsOf(Target& target, const TargetOptions& options) {
    const std::string kind = target.hello()["kind"].textOr("board");
    keepFacts(keyOf(options), {target.hello()["description"].textOr(""), kind});
    return {target.description(), kind};
}

std::optional<TargetFacts> keptFactsOf(const TargetOptions& options) {
    const KeptFacts kept = keptFacts(keyOf(options));
    if (std::optional<AgentDescription> described = keptDescription(kept.hash)) {
        return TargetFacts{std::move(*described), kept.kind};
    }
    return std::nullopt;
}

AgentDescription describeAgent(const TargetOptions& options) {
    const std::string agent = agentOf(options);
    if (std::optional<AgentDescription> kept = keptDescription(keptHashOf(agent))) {
        return std::move(*kept);
    }
    std::string hash;
    const Field described = askBriefly(options, hash);
    keepDescription(hash, described);
    keepHashOf(agent, hash);
    return AgentDescription(described);
}

}  // namespace tool
