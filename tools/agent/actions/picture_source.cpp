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

struct SourceKind {
    const char* name;
    const char* number;  // what its number is; null: has none
    long long max;
    vset::Picture (*take)(unsigned int number);
};

const SourceKind kKinds[] = {
    {kPanel, nullptr, 0, [](unsigned int) { return vset::panel::look(); }},
    {"window", "N", vset::disp::kWindows - 1, vset::disp::picture},
    {"surface", "HANDLE", 0xFFFFFFFFll, vset::osd::surfacePicture},
    {"layer", "N", vset::osd::kLayers - 1, layerPicture},
    {"capture", nullptr, 0, capturedPicture},
};

[[noreturn]] void refuse(const std::string& word) {
    std::string expected;
    for (const SourceKind& kind : kKinds) {
        expected += (expected.empty() ? "" : ", ") + std::string(kind.name);
        if (kind.number != nullptr) {
            expected += std::string(":") + kind.number + " (0 to " + std::to_string(kind.max) + ")";
        }
    }
    throw UsageError("WHAT is " + display(word, 40) + ", expected one of " + expected);
}

}  // namespace

PictureSource PictureSource::parse(const std::string& word) {
    const std::size_t colon = word.find(':');
    for (const SourceKind& kind : kKinds) {
        if (word.compare(0, colon, kind.name) != 0 || (colon == std::string::npos) != (kind.number == nullptr)) {
            continue;
        }
        long long number = 0;
        if (kind.number != nullptr &&
            (!parseNumber(word.substr(colon + 1), number) || number < 0 || number > kind.max)) {
            refuse(word);
        }
        return {kind.take, static_cast<unsigned int>(number)};
    }
    refuse(word);
}

vset::Picture PictureSource::take() const {
    return _take(_number);
}

}  // namespace tool
