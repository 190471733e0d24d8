// SPDX-License-Identifier: Apache-2.0
// `fapi conformance`: from words to an exit code.
#ifndef FAPI_BENCH_CONFORM_CONFORMANCE_H
#define FAPI_BENCH_CONFORM_CONFORMANCE_H

#include <string>
#include <vector>

#include "target/session.h"

namespace tool {

struct ConformanceOptions {
    SessionOptions session;
    bool json = false;
    std::vector<std::string> rules;    // names, patterns, families, files; empty: all
    std::vector<std::string> dangers;  // classes that are checked besides those that do no harm
    std::vector<std::string> has;      // what a board claims to have
    std::string expected;              // file of expected failures
    std::string junit;
    std::string page;
    bool isList = false;  // only list the rules
};

// Returns an exit code; problems of files go to standard error. Throws UsageError, and RequestError without a set.
int runConformance(const ConformanceOptions& options);

// Returns the names of the rules and families that there are, for completion.
std::vector<std::string> ruleNames();

}  // namespace tool

#endif
