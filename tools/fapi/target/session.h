// SPDX-License-Identifier: Apache-2.0
// The set that this program works with, through its hub.
#ifndef FAPI_BENCH_TARGET_SESSION_H
#define FAPI_BENCH_TARGET_SESSION_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "target/target.h"

namespace tool {

struct SessionOptions {
    std::string folder;    // of the set; empty: the default one
    bool log = false;      // the library's log is on in this session, whatever the set's switch says
    bool damaged = false;  // go on with a damaged set
    bool looksOn = false;  // a wire that no other client uses is not started
    std::string client = "fapi";
    std::optional<WireOptions> wire = std::nullopt;  // of another set than the virtual one
    std::vector<std::string> has = {};               // what the board of the wire claims to have
    int stop = -1;  // a descriptor that is readable when the user wants no longer to wait for the set
};

// The same for who joins the set by itself.
TargetOptions targetOptions(const SessionOptions& options);

// The folder that the options mean; the target's name where the set is none of this PC.
std::string setFolder(const SessionOptions& options);

// Names the set of all that follows; joins nothing yet.
void chooseSession(const SessionOptions& options);

// The name of the chosen target; empty for a virtual set.
std::string chosenWire();

// Joins the set's hub and listens: lines of the library's log go to standard error, events into eventLog() once
// listenToEvents() asked for them. The set itself is switched on by the first request that needs it. Throws
// RequestError.
Target& openSession(const SessionOptions& options);
// What is damaged of the set, each with its remedy. Throws RequestError when there is no set.
Field::List damageOf(Target& target);
// Prints that to standard error. A session that goes on with a damaged set begins with it.
void tellDamage(const Field::List& damage);
// Joins a set that another client uses, and leaves what that one has set as it is. False: there is none.
bool joinRunning(const SessionOptions& options);
// Whether another client of the set's hub, if one runs, watches that.
bool isWatchedByOthers(const SessionOptions& options, const std::string& kind);
// The open one.
Target& session();
bool isSessionOpen();
// Lets go of the set: the hub ends with its last client.
void closeSession();

// What the agent of the chosen set describes: asks its hub, if one runs, which is then joined; starts
// one only for a set with a wire. Throws
// RequestError.
TargetFacts describeChosen();

// Asks what needs no set, joining the chosen set's hub when that is not done yet. Throws RequestError.
Field askAgent(const std::string& method, const Field& params);

// The same for what is answered with a stream.
Field readFromAgent(const std::string& method, const Field& params, const Sink& sink);

// How a call is made.
struct CallOptions {
    bool prepare = true;  // what the operation needs is called before it
    // The last refusal of the chip that the caller knows: all after it are answered, those of other threads, too.
    std::optional<std::uint64_t> refusedAfter = std::nullopt;
};

// Calls the operation; whoever calls this has asked before what destroys. Throws RequestError: `died` when the library
// has crashed in it.
CallAnswer callOperation(const Operation& operation, const std::vector<Value>& arguments, const CallOptions& options);
CallAnswer carryOut(const Action& action, const std::vector<Value>& arguments, const CallOptions& options = {});

// Calls what every operation needs. Prints what of that has failed.
void bringUp();

// Events of all modules, or of none any more.
void listenToEvents(bool on);

// What this PC, or the agent's, could not store for the set since the last call of this: a line each.
std::vector<std::string> takeTroubles();
void noteTrouble(const std::string& trouble);

// Switches the set on, unless it is. Throws RequestError: `damaged` unless the options allow that.
void switchOn();
// Switches the set off and on. Returns how often it has been switched on, or nothing when no one counts that.
std::optional<long long> powerCycle();
// Whether the set's worker has ended since the last call of this, because the watchdog has rebooted the set.
bool takeReboot();
// Calls back when it does so.
void whenRebooted(std::function<void()> callback);

}  // namespace tool

#endif
