// SPDX-License-Identifier: Apache-2.0
// The pictures that the set has.
#ifndef FAPI_AGENT_ACTIONS_PICTURE_SOURCE_H
#define FAPI_AGENT_ACTIONS_PICTURE_SOURCE_H

#include <string>
#include <vector>

#include "protocol/description.h"
#include "vset/picture.h"

namespace tool {

std::vector<PictureKind> pictureKinds();

// Takes the picture of "panel", "window:N", "surface:HANDLE", "layer:N" or "capture". Throws UsageError for another
// word and vset::SetError when there is no such picture.
vset::Picture takePicture(const std::string& word);

}  // namespace tool

#endif
