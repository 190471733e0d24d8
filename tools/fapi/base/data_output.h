// SPDX-License-Identifier: Apache-2.0
// Where data of fapi go, and its exit codes.
#ifndef FAPI_BENCH_BASE_DATA_OUTPUT_H
#define FAPI_BENCH_BASE_DATA_OUTPUT_H

#include <cstdio>
#include <string>

namespace tool {

// Exit codes of fapi.
enum Exit {
    kExitGood = 0,        // done; a plan passed
    kExitFailed = 1,      // the operation answered a failure; a plan failed
    kExitUsage = 2,       // a wrong word or a broken plan; nothing was called
    kExitSet = 3,         // the set is not available or is damaged, or the PC could not store what was to be kept
    kExitInterrupted = 4  // the user stopped it, or declined the question
};

FILE* dataOutput();
// False when something could not be written to dataOutput().
bool isOutputWritten();
// True when that is so because it is a pipe that nobody reads any more, such as "| head": nothing to complain of.
bool isReaderGone();

// In one piece.
void printLine(std::string line);

}  // namespace tool

#endif
