// SPDX-License-Identifier: Apache-2.0
#include "base/login.h"

#include <pwd.h>
#include <unistd.h>

namespace tool {

std::string loginName() {
    char texts[4096];
    passwd entry{};
    passwd* found = nullptr;
    return getpwuid_r(geteuid(), &entry, texts, sizeof(texts), &found) == 0 && found != nullptr
               ? found->pw_name
               : std::to_string(geteuid());
}

}  // namespace tool
