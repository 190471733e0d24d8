// SPDX-License-Identifier: Apache-2.0
// The history of a bench that kept runs as lines of JSON, history.jsonl in the folder of the reports.
#ifndef FAPI_BENCH_RECORD_OLD_HISTORY_H
#define FAPI_BENCH_RECORD_OLD_HISTORY_H

#include <string>

namespace tool {

// Puts its runs into the folder's results and renames the file to history.taken.jsonl. Damaged lines are named on
// standard error, and stay in that file alone. Does nothing when there is none. Throws ResultsError.
void takeOverHistory(const std::string& folder);

}  // namespace tool

#endif
