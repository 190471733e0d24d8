// SPDX-License-Identifier: Apache-2.0
// Where pictures of the set come from.
#ifndef FAPI_AGENT_ACTIONS_PICTURE_SOURCE_H
#define FAPI_AGENT_ACTIONS_PICTURE_SOURCE_H

#include <string>

#include "vset/picture.h"

namespace tool {

// One of the pictures that the set has.
class PictureSource {
public:
    // "panel", "window:N", "surface:HANDLE", "layer:N" or "capture". Throws UsageError.
    static PictureSource parse(const std::string& word);

    // Throws vset::SetError when there is none.
    vset::Picture take() const;

private:
    using Take = vset::Picture (*)(unsigned int number);
    PictureSource(Take takeIt, unsigned int number) : _take(takeIt), _number(number) {}

    Take _take;
    unsigned int _number;
};

constexpr const char* kPanel = "panel";

}  // namespace tool

#endif
