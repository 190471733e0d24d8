// SPDX-License-Identifier: Apache-2.0
// Rows of the network module's operations.

#include "a_vextvfapi_net.h"
#include "base/text_pattern.h"
#include "operations/operation.h"

namespace tool {

namespace {

// More than an address has.
constexpr std::size_t kLongestLookedAt = 18;

Argument interfaceName() {
    return {"name", Kind::text, "name of the interface: eth0"};
}

long long setMac(Call& call) {
    // The operation takes the text as an array of unsigned int, whatever its length.
    Bytes mac = call.writableText(0);
    return a_vextvfapi_net_set_mac(reinterpret_cast<unsigned int*>(mac.data()));
}

std::string refusedMac(const std::vector<Value>& values, const std::vector<Value>&) {
    static const TextPattern mac("[0-9A-Fa-f]{2}([:-][0-9A-Fa-f]{2}){5}");
    const auto& word = std::get<std::string>(values[0]);
    // Without a text the operation itself refuses.
    return word.empty() || !mac.match(word.substr(0, kLongestLookedAt)).empty()
               ? ""
               : display(word, 40) + " is no MAC address: the set keeps its own, and the status is 0 all the same";
}

}  // namespace

std::vector<Operation> netOperations() {
    return {
        {"a_vextvfapi_net_init",
         "Bring up the network middleware.",
         Result::status,
         {},
         {},
         [](Call&) -> long long { return a_vextvfapi_net_init(); }},
        {"a_vextvfapi_net_deinit",
         "End the use of the network middleware.",
         Result::status,
         {},
         {},
         [](Call&) -> long long { return a_vextvfapi_net_deinit(); }},
        {"a_vextvfapi_net_open",
         "Open a network interface; an unknown name opens the one that was found last.",
         Result::zeroOr255,
         {interfaceName()},
         {},
         [](Call& call) -> long long { return a_vextvfapi_net_open(call.text(0).c_str()); }},
        {"a_vextvfapi_net_close",
         "Close the network interface that was opened last.",
         Result::zeroOr255,
         {},
         {},
         [](Call&) -> long long { return a_vextvfapi_net_close(); }},
        {"a_vextvfapi_net_set_mac",
         "Set the MAC address of eth0; good even when the address was refused.",
         Result::status,
         {{"mac", Kind::text, "six pairs of hexadecimal digits: 02:00:5e:00:53:01"}},
         {},
         setMac,
         "overwrites the MAC address",
         nullptr,
         nullptr,
         refusedMac},
        {"a_vextvfapi_net_set_interface_updown",
         "Bring a network interface up or down.",
         Result::status,
         {interfaceName(), {"state", Kind::choice, "what it is to be", 0, 0, {{"up", 1}, {"down", 0}}}},
         {},
         [](Call& call) -> long long {
             return a_vextvfapi_net_set_interface_updown(call.text(0).c_str(), call.number(1) != 0);
         }},
    };
}

}  // namespace tool
