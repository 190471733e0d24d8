// SPDX-License-Identifier: Apache-2.0
// Where pictures of the set come from.
#include "actions/picture_source.h"

#include <optional>

#include "protocol/value.h"
#include "vset/cap.h"
#include "vset/disp.h"
#include "vset/osd.h"
#include "vset/panel.h"

namespace tool {

namespace {

// Of the layer's windows the one that a person sees first.
vset::Picture layerPicture(unsigned int number) {
    const std::optional<vset::osd::Layer> layer = vset::osd::layer(number);
    if (!layer) {
        throw vset::SetError("there is no layer " + std::to_string(number));
    }
    const vset::osd::Window* top = nullptr;
    for (const vset::osd::Window& window : layer->windows) {
        if (window.u32Surface != 0 && (top == nullptr || window.u32ZOrder >= top->u32ZOrder)) {
            top = &window;
        }
    }
    if (top == nullptr) {
        throw vset::SetError("layer " + std::to_string(number) + " has no surface");
    }
    return vset::osd::surfacePicture(top->u32Surface);
}

vset::Picture capturedPicture(unsigned int) {
    vset::Picture picture = vset::cap::lastPicture();
    if (picture.pixels.empty()) {
        throw vset::SetError("nothing has been captured");
    }
    return picture;
}

struct Source {
    PictureKind kind;
    vset::Picture (*take)(unsigned int number);
};

const std::vector<Source>& sources() {
    static const std::vector<Source> all = {
        {{"panel"}, [](unsigned int) { return vset::panel::look(); }},
        {{"window", "N", vset::disp::kWindows - 1}, vset::disp::picture},
        {{"surface", "HANDLE", 0xFFFFFFFFll}, vset::osd::surfacePicture},
        {{"layer", "N", vset::osd::kLayers - 1}, layerPicture},
        {{"capture"}, capturedPicture},
    };
    return all;
}

}  // namespace

std::vector<PictureKind> pictureKinds() {
    std::vector<PictureKind> kinds;
    for (const Source& source : sources()) {
        kinds.push_back(source.kind);
    }
    return kinds;
}

vset::Picture takePicture(const std::string& word) {
    const PictureWord wanted = parsePictureWord(pictureKinds(), word);
    return sources()[wanted.kind].take(static_cast<unsigned int>(wanted.number));
}

}  // namespace tool
