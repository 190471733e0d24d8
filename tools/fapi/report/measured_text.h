// SPDX-License-Identifier: Apache-2.0
// Measurements of a report's JSON, for people.
#ifndef FAPI_BENCH_REPORT_MEASURED_TEXT_H
#define FAPI_BENCH_REPORT_MEASURED_TEXT_H

#include <string>

#include "target/output.h"

namespace tool {

// "5.0304 V"
std::string seenText(const Json& measurement);
// "4.75 to 5.25", "at least 3"
std::string allowedText(const Json& measurement);
// "5.0304 V, allowed 4.75 to 5.25: passed"
std::string measuredText(const Json& measurement);

}  // namespace tool

#endif
