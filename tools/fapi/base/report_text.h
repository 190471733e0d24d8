// SPDX-License-Identifier: Apache-2.0
// Texts as the files of a report take them.
#ifndef FAPI_BENCH_BASE_REPORT_TEXT_H
#define FAPI_BENCH_BASE_REPORT_TEXT_H

#include <chrono>
#include <string>

namespace tool {

constexpr char kIsoTime[] = "%Y-%m-%dT%H:%M:%S";

// Local time, as strftime() formats it.
std::string timeText(std::chrono::system_clock::time_point time, const char* format);
// "2026-02-14T10:15:30+01:00"
std::string isoTime(std::chrono::system_clock::time_point time);

// XML 1.0 has no place for most control characters, not even escaped, nor for two more at the end of the first plane,
// and wants UTF-8. Escaping is left to whoever writes the XML.
std::string xmlText(const std::string& text);

}  // namespace tool

#endif
