// SPDX-License-Identifier: Apache-2.0
// The set's factory daemon, which takes commands on the abstract socket "@FACTORY_SERVER". A PC has that name once, so
// only one set at a time has a daemon. It runs until it is stopped or the set is given back.
#ifndef VSET_FACTORY_DAEMON_H
#define VSET_FACTORY_DAEMON_H

#include "vset/vset.h"

namespace vset::factory_daemon {

enum class Behaviour {
    answer,      // with a status word
    stutter,     // with the low byte of the status word alone, then hangs up
    silence,     // takes the command and sends nothing until its behavior is changed or it is stopped
    hangUp,      // takes the command and closes the connection
    hangUpEarly  // closes the connection without having read anything
};

// Starts the daemon, or changes how it behaves from the next connection on. Connections that are kept waiting are
// closed then. Throws SetError when no set is attached or another daemon has the socket.
VSET_API void start(Behaviour eBehaviour = Behaviour::answer, int s32Status = 0);
// Stops the daemon and closes its connections. Does nothing when it is not running.
VSET_API void stop();
VSET_API bool isRunning();

struct Command {
    int s32Command;             // as sent
    std::string strParameters;  // up to the first zero byte
    std::string strRecord;      // all bytes that came
};

// Returns the commands received since the daemon was started or clearCommands(), oldest first.
VSET_API std::vector<Command> commands();
VSET_API void clearCommands();

}  // namespace vset::factory_daemon

#endif
