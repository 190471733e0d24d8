// SPDX-License-Identifier: Apache-2.0
// What of a board's store the agent may read and write.
#ifndef FAPI_AGENT_SUPERVISOR_LIMITS_H
#define FAPI_AGENT_SUPERVISOR_LIMITS_H

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

struct Limits {
    std::vector<std::string> folders;                 // absolute
    std::map<std::string, std::uint64_t> partitions;  // name -> size in bytes

    // Takes an option of both of the agent's programs: "--folder" with a path, "--partition" with "NAME=BYTES". False
    // when it is none of them, or when its value is no such thing.
    bool take(std::string_view option, const std::string& value);
};

}  // namespace tool

#endif
