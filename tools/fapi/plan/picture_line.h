// SPDX-License-Identifier: Apache-2.0
// "picture" in plans.
#ifndef FAPI_BENCH_PLAN_PICTURE_LINE_H
#define FAPI_BENCH_PLAN_PICTURE_LINE_H

#include <string>

#include "base/words.h"

namespace tool {

// Whether the word can be a part of a file's name wherever that goes.
bool isFileName(const std::string& word);

// "picture NAME [WHAT]"
struct PictureLine {
    std::string name;
    std::string what;  // as the description's pictures are named
};
// Throws UsageError. What holds variables is taken for the panel.
PictureLine parsePicture(const Words& words);

}  // namespace tool

#endif
