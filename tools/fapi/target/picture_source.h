// SPDX-License-Identifier: Apache-2.0
// Pictures of the session's set.
#ifndef FAPI_BENCH_TARGET_PICTURE_SOURCE_H
#define FAPI_BENCH_TARGET_PICTURE_SOURCE_H

#include <string>

#include "base/picture.h"
#include "target/target.h"

namespace tool {

// Takes the picture that the word names, as the description's pictures are named: "panel", "window:3". Throws
// RequestError when there is none.
Picture takePicture(const std::string& word);
// The same of any set; with `inRuns` equal pixels beside each other cross the wire as one.
Picture takePicture(Target& target, const std::string& word, bool inRuns);

}  // namespace tool

#endif
