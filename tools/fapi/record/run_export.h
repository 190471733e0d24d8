// SPDX-License-Identifier: Apache-2.0
// Runs as files for other programs.
#ifndef FAPI_BENCH_RECORD_RUN_EXPORT_H
#define FAPI_BENCH_RECORD_RUN_EXPORT_H

#include <cstdio>

#include "record/run_search.h"

namespace tool {

struct ExportFormat {
    const char* name;
    std::string (*head)();
    std::string (*run)(const WholeRun& run);
    std::string (*tail)();
};

// Null when there is no such format.
const ExportFormat* findExportFormat(const std::string& name);
// "csv, jsonl or atml"
std::string exportFormatNames();

// To the file, oldest first.
void exportRuns(Database& database, const RunFilter& filter, const ExportFormat& format, FILE* file);

// A field of RFC 4180.
std::string csvField(const std::string& text);
// As short as it is exact; empty for what is no number.
std::string exactNumber(const std::optional<double>& number);

// A run as an element of IEEE Std 1636.1-2013, and what stands before and after all of them.
std::string atmlHead();
std::string atmlRun(const WholeRun& run);
std::string atmlTail();

}  // namespace tool

#endif
