// SPDX-License-Identifier: Apache-2.0
#include "support/log_capture.h"

#include <regex>

namespace test {

std::string withoutLines(const std::string& strLog) {
    static const std::regex kLine("<([A-Za-z_0-9]+):[0-9]+>");
    return std::regex_replace(strLog, kLine, "<$1>");
}

}  // namespace test
