// SPDX-License-Identifier: Apache-2.0
// What a bench without a store has left in the folder of the reports: history.jsonl, and runs that have not ended.
#ifndef FAPI_BENCH_RECORD_OLD_HISTORY_H
#define FAPI_BENCH_RECORD_OLD_HISTORY_H

#include <string>

namespace tool {

// Puts its runs into the folder's results, once, and renames the file to history.taken.jsonl. Damaged lines are named
// on standard error, and stay in that file alone. Does nothing when there is nothing. Throws ResultsError.
void takeOverHistory(const std::string& folder);

}  // namespace tool

#endif
