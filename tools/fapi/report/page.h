// SPDX-License-Identifier: Apache-2.0
// The report that people read: one page that needs no other file.
#ifndef FAPI_BENCH_REPORT_PAGE_H
#define FAPI_BENCH_REPORT_PAGE_H

#include "report/report.h"

namespace tool {

std::unique_ptr<Report> htmlReport();

}  // namespace tool

#endif
