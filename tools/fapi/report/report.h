// SPDX-License-Identifier: Apache-2.0
// What came of a plan, on the terminal and in files.
#ifndef FAPI_BENCH_REPORT_REPORT_H
#define FAPI_BENCH_REPORT_REPORT_H

#include <memory>

#include "base/durable_file.h"
#include "record/result.h"

namespace tool {

// A report of a finished run.
class Report {
public:
    virtual ~Report() = default;
    virtual const char* extension() const = 0;
    // Says what the file is to hold; `folder` is where that and the pictures lie.
    virtual void tell(const PlanResult& result, const std::string& folder, const TextSink& sink) const = 0;
};

// JUnit XML, JSON and HTML.
std::vector<std::unique_ptr<Report>> reports();

// Makes the folder when it is missing. Throws SetError when reports cannot be written there.
void prepareReportFolder(const std::string& folder);

// The files of one run. Their names are taken before it begins, for its pictures have the same.
class ReportFiles {
public:
    // With the unit's serial number in the names, unless that is empty. Throws SetError.
    ReportFiles(const Plan& plan, const std::string& folder, const std::string& unit);
    // Of a run that is resumed, which has its names.
    explicit ReportFiles(const std::string& stem);
    // A run that came to nothing leaves no file.
    ~ReportFiles();
    ReportFiles(const ReportFiles&) = delete;
    ReportFiles& operator=(const ReportFiles&) = delete;

    // "reports/factory-line-20260214-101530", "reports/line-A-0815-20260214-101530", or with "-2" behind it when that
    // is taken.
    const std::string& stem() const { return _stem; }
    // Writes all kinds, each whatever has become of the others, and names the files. Of what could not be written
    // nothing stays, and a line goes to `problems`.
    std::vector<std::string> write(const PlanResult& result, std::vector<std::string>& problems);

private:
    std::string _stem;
    int _lock = -1;  // on the JSON report, for as long as the run may write it
    bool _written = false;
};

}  // namespace tool

#endif
