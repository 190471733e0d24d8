// SPDX-License-Identifier: Apache-2.0
// Actions that the set's agent does not have, and that this station carries out: by a fixture, by a program, by asking
// its operator.
#ifndef FAPI_BENCH_TARGET_BOUND_ACTIONS_H
#define FAPI_BENCH_TARGET_BOUND_ACTIONS_H

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/words.h"
#include "protocol/description.h"
#include "target/call_answer.h"
#include "target/waiting.h"

namespace tool {

class BoundActions {
public:
    virtual ~BoundActions() = default;

    // Their descriptions. Throws RequestError when a fixture does not say what it does.
    virtual const std::vector<Action>& actions() = 0;
    // What is missing for an action that neither the agent nor the station has.
    virtual std::string missing(const std::string& action) = 0;
    // Whether it needs a person at the terminal.
    virtual bool asksOperator(const std::string& action) = 0;
    // Throws UsageError for words that whoever carries the action out cannot be given; its word counts from the first.
    virtual void check(const Action& action, const Words& words) = 0;
    // `words` are those that the arguments were made of. Throws RequestError: `stationFailed` for what is no fault of
    // the set, `canceled` after endAwaited().
    virtual CallAnswer carryOut(const Action& action, const std::vector<Value>& arguments, const Words& words) = 0;
    // From here on a person is waited for like that; empty: as waitBesidesSet() does.
    virtual void waitForPersons(Waiting wait) = 0;
    // Ends the action that is being carried out, when it is called back meanwhile.
    virtual void endAwaited() = 0;
};

// From here on those are known; null: none are.
void bindActions(std::unique_ptr<BoundActions> bound);
BoundActions* boundActions();

// The description of a bound action that the agent does not have; null when there is none.
const Action* findBoundAction(std::string_view name);

}  // namespace tool

#endif
