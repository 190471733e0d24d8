// SPDX-License-Identifier: Apache-2.0
// Figures of a line as a page of its own.
#ifndef FAPI_BENCH_REPORT_STATS_PAGE_H
#define FAPI_BENCH_REPORT_STATS_PAGE_H

#include "record/line_statistics.h"

namespace tool {

std::string statisticsPage(const LineStatistics& statistics, const std::string& store);
// Its elements alone, for another page with the same style.
std::string statisticsElements(const LineStatistics& statistics);

// "98.5 % (197 of 200)", "too few" without a unit.
std::string yieldText(const Yield& yield);
// Empty for what is not known.
std::string figureText(const std::optional<double>& figure);
// Why a figure of the spread is missing, or the figure.
std::string capabilityText(const Spread& spread, const Series& series, const std::optional<double>& figure);

}  // namespace tool

#endif
