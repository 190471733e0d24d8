// SPDX-License-Identifier: Apache-2.0
// The control API of the set's serial ports.
//
// The chip has five of them, and the set a connector for each at its back: a pseudo-terminal that any terminal program
// can open. Ports 0 and 1 are the program's /dev/ttyS0 and /dev/ttyS1 as well; what arrives on a port goes to its tty
// while a program has that open, else to the middleware's port. The routing switch (/sys/kernel/uart/uart_switch, "1"
// on, "0" after switching on) crosses the first two connectors: what is typed on connector 0 then arrives at port 1.
//
// All functions throw SetError when no set is attached, when a number is out of range, or when what is asked for cannot
// be done.
#ifndef VSET_UART_H
#define VSET_UART_H

#include <string_view>

#include "vset/vset.h"

namespace vset::uart {

constexpr unsigned int kPorts = 5;  // numbers of connectors and ports
constexpr unsigned int kTtys = 2;   // ports that are a tty, too

// --- Where to connect ------------------------------------------------------------------------------------------------

struct Connector {
    unsigned int u32Number;
    std::string strPath;      // for a terminal program: <folder>/ports/uart0, the same whenever the set is on
    std::string strTerminal;  // what it leads to now: /dev/pts/7
};

// Returns the connectors of the set in `strFolder`, whichever process has it. None while the set is switched off, or
// when the PC has no pseudo-terminals left.
VSET_API std::vector<Connector> connectors(const std::string& strFolder);

// --- The far end of a connector's line -------------------------------------------------------------------------------

// Types the bytes as a terminal program would, and returns when the line has taken them all, but not until the set has
// used them. A tty that takes nothing for a second loses what arrives until it reads again.
VSET_API void type(unsigned int u32Connector, std::string_view bytes);

// Returns the bytes that the set has sent out of the connector, at most the last 65,536.
VSET_API std::string sent(unsigned int u32Connector);
VSET_API void clearSent(unsigned int u32Connector);

// --- The chip's end --------------------------------------------------------------------------------------------------

struct Port {
    bool bOpen = false;              // in the middleware
    bool bPlayer = false;            // the set's player has it, not the library
    bool bCallback = false;          // a callback is registered for its bytes
    bool bTtyOpen = false;           // a program has its tty open
    unsigned int u32BaudRate = 0;    // HW_UART_BaudRate_e
    unsigned int u32DeviceType = 0;  // as it was opened
    unsigned int u32Waiting = 0;     // bytes that wait for a callback
    std::uint64_t u64Received = 0;   // bytes that have arrived, for tty or middleware
    std::uint64_t u64Dropped = 0;    // of these: lost, because too many waited
    std::uint64_t u64Refused = 0;    // callbacks that answered anything but 0
};
VSET_API Port port(unsigned int u32Port);

// Returns whether the routing switch is on.
VSET_API bool isCrossed();

// Opens a port for the set's player, and closes it again: the library finds it open meanwhile.
VSET_API void hold(unsigned int u32Port);
VSET_API void release(unsigned int u32Port);

// Hangs up the tty of a port: reads of programs that have it open end, writes fail. The next open gets a new tty.
VSET_API void hangUp(unsigned int u32Port);

}  // namespace vset::uart

#endif
