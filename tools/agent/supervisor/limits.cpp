// SPDX-License-Identifier: Apache-2.0
// What of a board's store the agent may read and write.
#include "supervisor/limits.h"

#include <cerrno>
#include <cstdlib>

namespace tool {

bool Limits::take(std::string_view option, const std::string& value) {
    if (option == "--folder") {
        folders.push_back(value);
        return value.rfind('/', 0) == 0;
    }
    const std::size_t equals = value.find('=');
    if (option != "--partition" || equals == 0 || equals == std::string::npos) {
        return false;
    }
    const std::string number = value.substr(equals + 1);
    char* end = nullptr;
    errno = 0;
    const unsigned long long bytes = std::strtoull(number.c_str(), &end, 0);
    partitions[value.substr(0, equals)] = bytes;
    return errno == 0 && *end == '\0' && bytes != 0 && number.find('-') == std::string::npos;
}

}  // namespace tool
