// SPDX-License-Identifier: Apache-2.0
// What a person sees of the set's on-screen graphics and of single pixels, and does to them.
#include <utility>

#include "actions/action.h"
#include "actions/picture_source.h"
#include "operations/panel_words.h"
#include "protocol/color.h"

namespace tool {

namespace {

constexpr long long kU32Max = 0xFFFFFFFFll;

Argument layerNumber(std::optional<std::string> byDefault = std::nullopt) {
    return {"layer", Kind::number, "the layer", 0, vset::osd::kLayers - 1, {}, std::move(byDefault)};
}

void osd(Call& call) {
    const std::vector<vset::osd::Surface> surfaces = vset::osd::surfaces();
    call.outLines("osd", osdLines());
    call.outLines("surfaces", surfaceLines());
    call.out("count", static_cast<long long>(surfaces.size()));
    const auto number = call.number<unsigned int>(0);
    const std::optional<vset::osd::Layer> layer = vset::osd::layer(number);
    call.out("present", static_cast<long long>(layer.has_value()));
    if (!layer) {
        return;
    }
    call.out("layer", layerWords(number, *layer));
    call.out("handle", static_cast<long long>(layer->u32Handle));
    call.out("shown", static_cast<long long>(layer->bShown));
    call.out("matrix", matrixWords(*layer));
    call.out("windows", static_cast<long long>(layer->windows.size()));
    if (!layer->windows.empty()) {
        call.out("window_shown", static_cast<long long>(layer->windows.front().bShown));
        call.out("surface", static_cast<long long>(layer->windows.front().u32Surface));
    }
}

std::string colorAt(const vset::Picture& picture, unsigned int x, unsigned int y) {
    if (x >= picture.u32Width || y >= picture.u32Height) {
        throw vset::SetError("the picture has " + std::to_string(picture.u32Width) + " x " +
                             std::to_string(picture.u32Height) + " pixels");
    }
    return colorText(picture.at(x, y));
}

void pixel(Call& call) {
    const vset::Picture picture = takePicture(call.text(2));
    call.out("color", colorAt(picture, call.number<unsigned int>(0), call.number<unsigned int>(1)));
}

void checkPixel(const std::vector<Value>& values, const std::vector<std::string>&) {
    parsePictureWord(pictureKinds(), std::get<std::string>(values[2]));
}

void surfacePixel(Call& call) {
    const vset::Picture picture = vset::osd::surfacePicture(call.number<std::uint32_t>(0));
    call.out("color", colorAt(picture, call.number<unsigned int>(1), call.number<unsigned int>(2)));
}

Argument coordinate(const char* name, const char* help) {
    return {name, Kind::number, help, 0, 0xFFFF};
}

}  // namespace

std::vector<ActionRow> panelActions() {
    return {
        ActionRow("osd", "Show the graphics layers, their windows and the surfaces, and one layer in detail.",
                  {layerNumber("0")},
                  {{"osd", "a line for each layer and each window"},
                   {"surfaces", "a line each: handle, size, memory, locks"},
                   {"count", "how many surfaces there are"},
                   {"present", "1 when there is that layer"},
                   {"layer", "it in words"},
                   {"handle", "its handle"},
                   {"shown", "1 when it is shown"},
                   {"matrix", "the color matrix that it was sent last"},
                   {"windows", "how many it has"},
                   {"window_shown", "1 when the first of them is shown"},
                   {"surface", "handle of the surface that the first of them shows; 0: none"}},
                  osd)
            .inSession(),
        ActionRow("remove-layer", "Have the set's player give up a graphics layer, with its windows.", {layerNumber()},
                  {}, [](Call& call) { vset::osd::removeLayer(call.number<unsigned int>(0)); })
            .inSession(),
        ActionRow("surface-alignment", "Say how memory of surfaces must be aligned.",
                  {{"address", Kind::number, "of its address, a power of two", 1, kU32Max},
                   {"pitch", Kind::number, "of its rows, a power of two", 1, kU32Max}},
                  {},
                  [](Call& call) {
                      vset::osd::setSurfaceAlignment(call.number<std::uint32_t>(0), call.number<std::uint32_t>(1));
                  })
            .inSession(),
        ActionRow("pixel", "Show the color of a pixel of the panel, or of another picture.",
                  {coordinate("x", "from the left"),
                   coordinate("y", "from the top"),
                   {"what", Kind::text, "panel, window:N, surface:HANDLE, layer:N or capture", 0, 0, {}, "panel"}},
                  {{"color", "#RRGGBBAA"}}, pixel)
            .inSession()
            .checkedBy(checkPixel),
        ActionRow("surface-pixel", "Show the color of a pixel of a surface.",
                  {{"handle", Kind::number, "the surface", 0, kU32Max},
                   coordinate("x", "from the left"),
                   coordinate("y", "from the top")},
                  {{"color", "#RRGGBBAA"}}, surfacePixel)
            .inSession(),
    };
}

}  // namespace tool
