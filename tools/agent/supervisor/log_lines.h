// SPDX-License-Identifier: Apache-2.0
// The library's log as lines.
#ifndef FAPI_AGENT_SUPERVISOR_LOG_LINES_H
#define FAPI_AGENT_SUPERVISOR_LOG_LINES_H

#include <string>
#include <string_view>
#include <vector>

namespace tool {

// Cuts the log into lines; bytes may come in any pieces.
class LogLines {
public:
    // Returns the lines that end in `bytes`, without their newlines. Empty ones are left out: some messages end with
    // two newlines.
    std::vector<std::string> take(std::string_view bytes);
    // Returns the line that has not ended.
    std::string takeRest();

private:
    std::string _kept;
};

// Whether the line reports an error: level E.
bool isError(std::string_view line);

// The line without its colors.
std::string withoutColors(const std::string& line);

}  // namespace tool

#endif
