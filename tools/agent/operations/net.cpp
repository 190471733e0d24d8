// SPDX-License-Identifier: Apache-2.0
// Rows of the network module's operations.

#include "a_vextvfapi_net.h"
#include "operations/operation.h"

namespace tool {

namespace {

// More than an address has.

Argument interfaceName() {
    return {"name", Kind::text, "name of the interface: eth0"};
}

long long setMac(Call& call) {
    // The operation takes the text as an array of unsigned int, whatever its length.
    Bytes mac = call.writableText(0);
    return a_vextvfapi_net_set_mac(reinterpret_cast<unsigned int*>(mac.data()));
}

// "02:00:00:00:00:01", or with dashes.
bool isMac(const std::string& word) {
    constexpr std::size_t kLength = 17;
    for (std::size_t i = 0; i < word.size(); ++i) {
        const auto c = static_cast<unsigned char>(word[i]);
        if (i % 3 == 2 ? c != ':' && c != '-' : std::isxdigit(c) == 0) {
            return false;
        }
    }
    return word.size() == kLength;
}

std::string refusedMac(const std::vector<Value>& values, const std::vector<Value>&) {
    const auto& word = std::get<std::string>(values[0]);
    // Without a text the operation itself refuses.
    return word.empty() || isMac(word)
               ? ""
               : display(word, 40) + " is no MAC address: the set keeps its own, and the status is 0 all the same";
}

}  // namespace

std::vector<OperationRow> netOperations() {
    return {
        OperationRow("a_vextvfapi_net_init", "Bring up the network middleware.", Result::status, {}, {},
                     [](Call&) -> long long { return a_vextvfapi_net_init(); })
            .example("net_init"),
        OperationRow("a_vextvfapi_net_deinit", "End the use of the network middleware.", Result::status, {}, {},
                     [](Call&) -> long long { return a_vextvfapi_net_deinit(); })
            .example("net_deinit"),
        OperationRow("a_vextvfapi_net_open",
                     "Open a network interface; an unknown name opens the one that was found last.", Result::zeroOr255,
                     {interfaceName()}, {},
                     [](Call& call) -> long long { return a_vextvfapi_net_open(call.text(0).c_str()); })
            .example("net_open eth0"),
        OperationRow("a_vextvfapi_net_close", "Close the network interface that was opened last.", Result::zeroOr255,
                     {}, {}, [](Call&) -> long long { return a_vextvfapi_net_close(); })
            .example("net_close", {"net_open eth0"}),
        OperationRow("a_vextvfapi_net_set_mac", "Set the MAC address of eth0; good even when the address was refused.",
                     Result::status, {{"mac", Kind::text, "six pairs of hexadecimal digits: 02:00:5e:00:53:01"}}, {},
                     setMac)
            .destroying("overwrites the MAC address")
            .warning(refusedMac)
            .example("net_set_mac 02:00:5e:00:53:01"),
        OperationRow("a_vextvfapi_net_set_interface_updown", "Bring a network interface up or down.", Result::status,
                     {interfaceName(), {"state", Kind::choice, "what it is to be", 0, 0, {{"up", 1}, {"down", 0}}}}, {},
                     [](Call& call) -> long long {
                         return a_vextvfapi_net_set_interface_updown(call.text(0).c_str(), call.number(1) != 0);
                     })
            .example("net_set_interface_updown eth0 up"),
    };
}

}  // namespace tool
