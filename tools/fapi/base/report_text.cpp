// SPDX-License-Identifier: Apache-2.0
// Texts as the files of a report take them.
#include "base/report_text.h"

#include <cstring>
#include <ctime>
#include <iomanip>
#include <sstream>

#include "protocol/characters.h"

namespace tool {

std::string timeText(std::chrono::system_clock::time_point time, const char* format) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    std::tm local = {};
    localtime_r(&seconds, &local);
    std::ostringstream text;
    text << std::put_time(&local, format);
    return text.str();
}

std::string isoTime(std::chrono::system_clock::time_point time) {
    // "+0100"
    const std::string zone = timeText(time, "%z");
    return timeText(time, kIsoTime) + zone.substr(0, 3) + ":" + zone.substr(3);
}

std::string xmlText(const std::string& text) {
    std::string result = validText(text);
    for (std::size_t i = 0; i < result.size(); ++i) {
        const auto byte = static_cast<unsigned char>(result[i]);
        const bool isControl = byte < 0x20 && std::strchr("\n\t\r", result[i]) == nullptr;
        if (isControl || result.compare(i, 3, "\xEF\xBF\xBE") == 0 || result.compare(i, 3, "\xEF\xBF\xBF") == 0) {
            result.replace(i, byte < 0x20 ? 1 : 3, "?");
        }
    }
    return result;
}

}  // namespace tool
