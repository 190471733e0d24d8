// SPDX-License-Identifier: Apache-2.0
// Plans that are named without a path.
#ifndef FAPI_BENCH_PLAN_FILES_H
#define FAPI_BENCH_PLAN_FILES_H

#include <optional>
#include <string>
#include <vector>

namespace tool {

// Returns the folders that hold files of a kind: the one that the environment's variable names, and the one of that
// name that came with the tool.
std::vector<std::string> sharedFolders(const char* variable, const char* name);

// Returns the files of a folder with that extension, sorted; none for a folder that cannot be read.
std::vector<std::string> filesIn(const std::string& folder, const std::string& extension);

// Returns the file that a word of the command line means: the file of that name; or else, when the word has no slash,
// the plan of that name (line or line.plan) in $FAPI_PLANS or among the plans that came with the tool. Nothing when
// there is none.
std::optional<std::string> planFile(const std::string& word);

// Says where a plan of that name was looked for, and which plans there are.
std::string unknownPlan(const std::string& word);

// Returns the names that planFile() knows, sorted.
std::vector<std::string> planNames();

}  // namespace tool

#endif  // FAPI_BENCH_PLAN_FILES_H
