// SPDX-License-Identifier: Apache-2.0
// A set without other users, for what changes it as a whole.
#include "target/sole_use.h"

#include <thread>

namespace tool {

namespace {

// A program that has ended, or has only completed a word, is a client for a moment more.
constexpr std::chrono::milliseconds kPatience{500};
constexpr std::chrono::milliseconds kBetweenTries{10};

// The process that has the claim; 0: this one has it now.
long long claimant(Target& target, const std::string& reason) {
    try {
        target.claim(reason);
        return 0;
    } catch (const RequestError& error) {
        if (error.code() != ErrorCode::claimed) {
            throw;
        }
        return error.failure().data["pid"].numberOr(-1);
    }
}

// The process of another client; 0: there is none.
long long otherClient(Target& target) {
    for (const Target::Client& client : target.clients()) {
        if (client.id != target.hello()["client"].numberOr(0) && !client.isObserver) {
            return client.pid;
        }
    }
    return 0;
}

// Asks for a process that uses the set, until there is none. Throws SetError when there is one all the time.
void waitUntilFree(const Target& target, const std::function<long long()>& user) {
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (const long long process = user()) {
        if (std::chrono::steady_clock::now() >= deadline) {
            throw SetError(target.hello()["set"]["folder"].textOr("") + ": in use by process " +
                           std::to_string(process));
        }
        std::this_thread::sleep_for(kBetweenTries);
    }
}

}  // namespace

void requireSoleUse(Target& target, const std::string& reason) {
    waitUntilFree(target, [&] { return claimant(target, reason); });
    waitUntilFree(target, [&] { return otherClient(target); });
    // What the last client has switched on goes off with the worker, and stays so until it is needed.
    target.request("end-worker");
}

}  // namespace tool
