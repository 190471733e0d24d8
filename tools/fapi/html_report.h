// SPDX-License-Identifier: Apache-2.0
// The report that people read: one page that needs no other file.
#ifndef FAPI_TOOL_HTML_REPORT_H
#define FAPI_TOOL_HTML_REPORT_H

#include "plan_report.h"

namespace tool {

std::unique_ptr<Report> htmlReport();

}  // namespace tool

#endif
