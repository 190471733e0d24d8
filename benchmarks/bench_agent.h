// SPDX-License-Identifier: Apache-2.0
// The agent that benchmarks reach through a hub: on a fresh set, in a temporary folder that is this program's home.
#ifndef BENCHMARKS_BENCH_AGENT_H
#define BENCHMARKS_BENCH_AGENT_H

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "target/target.h"

namespace bench {

class Agent {
public:
    // `hub` is the program that becomes the hub; empty: this one.
    explicit Agent(const std::string& hub = "") : folder(makeFolder()) {
        options.folder = folder / "set";
        options.client = "benchmarks";
        options.agent = AGENT_BINARY;
        options.hub = hub;
        target = tool::Target::join(options);
    }
    ~Agent() {
        target.reset();
        std::filesystem::remove_all(folder);
    }
    Agent(const Agent&) = delete;
    Agent& operator=(const Agent&) = delete;

    const std::filesystem::path folder;
    tool::TargetOptions options;
    std::unique_ptr<tool::Target> target;

private:
    // In memory: a disk that others keep busy would be measured as well.
    static std::filesystem::path makeFolder() {
        std::string name = "/dev/shm/fapi-bench-XXXXXX";
        if (mkdtemp(name.data()) == nullptr) {
            std::perror(name.c_str());
            std::exit(1);
        }
        setenv("HOME", name.c_str(), 1);
        for (const char* variable : {"XDG_RUNTIME_DIR", "XDG_CACHE_HOME", "XDG_STATE_HOME"}) {
            const std::filesystem::path inside = std::filesystem::path(name) / variable;
            std::filesystem::create_directory(inside);
            setenv(variable, inside.c_str(), 1);
        }
        setenv("VSET_DIR", (name + "/set").c_str(), 1);
        return name;
    }
};

}  // namespace bench

#endif
