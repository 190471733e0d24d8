// SPDX-License-Identifier: Apache-2.0
// The page itself: the build puts its files into the program.
#ifndef FAPI_BENCH_SERVE_PAGE_FILES_H
#define FAPI_BENCH_SERVE_PAGE_FILES_H

#include <string>

namespace tool {

extern const std::string kPageHtml;
extern const std::string kPageStyle;  // what the report's style does not have
extern const std::string kPageScript;

}  // namespace tool

#endif
