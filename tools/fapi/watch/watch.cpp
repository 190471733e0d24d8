// SPDX-License-Identifier: Apache-2.0
// `fapi watch`: events as they come.
#include "watch/watch.h"

#include <algorithm>

#include "base/data_output.h"
#include "base/interrupts.h"
#include "base/terminal.h"
#include "target/event_log.h"
#include "target/first_lines.h"
#include "target/output.h"
#include "target/session.h"

namespace tool {

namespace {

template <class Item>
bool isWanted(const std::vector<Item>& wanted, const Item& item) {
    return wanted.empty() || std::find(wanted.begin(), wanted.end(), item) != wanted.end();
}

std::chrono::steady_clock::time_point deadlineAfter(double seconds) {
    // A wait for ever is a long one: the clock's last moment overflows in the library's arithmetic.
    constexpr double kForEver = 365.0 * 24 * 3600;
    const double wait = seconds > 0 ? std::min(seconds, kForEver) : kForEver;
    return std::chrono::steady_clock::now() +
           std::chrono::duration_cast<std::chrono::steady_clock::duration>(std::chrono::duration<double>(wait));
}

}  // namespace

int watch(const GlobalOptions& options, const WatchOptions& watchOptions) {
    const std::vector<std::string>& known = moduleNames();
    for (const std::string& module : watchOptions.modules) {
        if (!isWanted(known, module)) {
            throw UsageError("--module: no such module: " + module);
        }
    }
    const std::vector<Command> commands = parseFirstLines(watchOptions.lines, "watches");
    Target& target = openSession(options.session);
    Interrupts interrupts;
    target.watch(interrupts.descriptor(), [&] {
        interrupts.take();
        eventLog().interrupt();
    });
    whenRebooted([] {
        printMessage("the watchdog has rebooted the set");
        eventLog().interrupt();
    });
    bringUp();
    listenToEvents(true);
    if (!runFirstLines(options, commands)) {
        return kExitInterrupted;
    }

    unsigned int seen = 0;
    Event event;
    auto deadline = deadlineAfter(watchOptions.idle);
    const auto isWaiting = [&] { return watchOptions.count == 0 || seen < watchOptions.count; };
    // Nobody watches what cannot be printed.
    while (isWaiting() && isOutputWritten() && eventLog().take(event, deadline)) {
        if (isWanted(watchOptions.events, event.number) && isWanted<std::string>(watchOptions.modules, event.module)) {
            printEvent(event, options.json);
            deadline = deadlineAfter(watchOptions.idle);
            ++seen;
        }
    }
    return takeReboot() || seen < watchOptions.count ? kExitFailed : kExitGood;
}

}  // namespace tool
