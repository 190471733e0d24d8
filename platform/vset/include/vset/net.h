// SPDX-License-Identifier: Apache-2.0
// The control API of the set's network interfaces, which are independent of the host's. All functions throw SetError
// when no set is attached.
#ifndef VSET_NET_H
#define VSET_NET_H

#include "vset/vset.h"

namespace vset::net {

constexpr std::size_t kInterfaces = 20;
constexpr std::size_t kNameSize = 16;

struct Interface {
    std::string strName;  // 1 to 16 bytes; one of 16 leaves no room for the terminator that a program expects
    std::string strMac = "00:00:00:00:00:00";  // six pairs of hexadecimal digits, upper case
    bool bUp = true;
    bool bDhcp = true;
};

// Returns the interfaces as they are now, in the order that the middleware reports. A new set has "lo" and "eth0". The
// set's folder keeps names and MAC addresses, and how each interface comes up; what a program switches on or off lasts
// until the set is switched off.
VSET_API std::vector<Interface> interfaces();

// Replaces all interfaces, 20 at most; two may have the same name, of which a program gets the first. An interface
// whose name was there before keeps its handle, one that is taken away loses it. A state that is changed is from then
// on how the interface comes up. Throws SetError.
VSET_API void setInterfaces(const std::vector<Interface>& interfaces);

// Opens an interface for the set's player, and closes it again: the library's open is refused meanwhile.
VSET_API void hold(const std::string& strName);
VSET_API void release(const std::string& strName);

// Sets the number of interfaces that the middleware reports, whatever it lists; switching on restores the true one.
VSET_API void setReportedCount(unsigned int u32Count);

}  // namespace vset::net

#endif
