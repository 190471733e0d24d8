// SPDX-License-Identifier: Apache-2.0
// What a person sees of the set's display windows, display output and capture unit, and does to them.
#include "actions/action.h"
#include "operations/input_words.h"
#include "operations/panel_words.h"
#include "protocol/color.h"
#include "vset/cap.h"
#include "vset/dispout.h"
#include "vset/tuner.h"

namespace tool {

namespace {

constexpr long long kU16Max = 0xFFFF;
constexpr long long kU32Max = 0xFFFFFFFFll;
constexpr long long kMoving = -1;

Argument windowNumber() {
    return {"window", Kind::number, "the display window", 0, vset::disp::kWindows - 1};
}

// --- Display windows -------------------------------------------------------------------------------------------------

void window(Call& call) {
    const auto number = call.number<unsigned int>(0);
    const vset::disp::Window window = vset::disp::window(number);
    call.out("window", windowWords(number));
    call.out("open", static_cast<long long>(window.bOpen));
    call.out("player", static_cast<long long>(window.bPlayer));
    call.out("source", sourceWords(window));
    call.out("place", placeWords(window.rectangle));
    call.out("mute", static_cast<long long>(window.u32MuteFlags));
    call.out("mute_color", deepColorText(window.muteColor.au32Value));
    call.out("pattern", patternWords(window));
    call.out("quality", qualityWords(window));
    call.out("pending", static_cast<long long>(window.bPending));
}

void connectVideo(Call& call) {
    HW_VIDEO_Info_t info = {};
    info.u16Width = call.number<HW_U16>(1);
    info.u16Height = call.number<HW_U16>(2);
    info.u32FrameRate = call.number<HW_U32>(3);
    info.u8Interlaced = call.number<HW_U8>(4);
    vset::disp::connectVideo(call.number<unsigned int>(0), info);
}

void freezeVideo(Call& call) {
    const bool moves = call.number(0) == kMoving;
    vset::disp::freezeVideo(moves ? std::nullopt : std::optional(call.number<std::uint64_t>(0)));
}

void rectangle(Call& call) {
    const auto at = [&](std::size_t index) { return call.number<HW_U16>(index); };
    vset::disp::setRectangle(call.number<unsigned int>(0), {at(1), at(2), at(3), at(4)});
}

std::vector<ActionRow> windowActions() {
    return {
        ActionRow("window", "Show a display window.", {windowNumber()},
                  {{"window", "it in words"},
                   {"open", "1 when it is open in the middleware"},
                   {"player", "1 when the set's player has opened it"},
                   {"source", "what is connected"},
                   {"place", "its size and place"},
                   {"mute", "bits that mute it; 0: it is not muted"},
                   {"mute_color", "red/green/blue"},
                   {"pattern", "stage, parameter and color of the test pattern that is on"},
                   {"quality", "what was switched of the picture processing"},
                   {"pending", "1 when a setting has not been applied yet"}},
                  window)
            .inSession(),
        ActionRow(
            "connect-video", "Connect a video path to a display window.",
            {windowNumber(),
             {"width", Kind::number, "pixels of a line", 0, kU16Max},
             {"height", Kind::number, "lines", 0, kU16Max},
             {"rate", Kind::number, "frames in 1000 s", 0, kU32Max},
             {"scan", Kind::choice, "how it is scanned", 0, 0, {{"progressive", 0}, {"interlaced", 1}}, "progressive"}},
            {}, connectVideo)
            .inSession(),
        ActionRow("disconnect-video", "Take the video path of a display window away.", {windowNumber()}, {},
                  [](Call& call) { vset::disp::disconnectVideo(call.number<unsigned int>(0)); })
            .inSession(),
        ActionRow("connect-input", "Connect an external input to a display window.",
                  {windowNumber(), inputType(), inputIndex()}, {},
                  [](Call& call) {
                      vset::disp::connectInput(call.number<unsigned int>(0),
                                               {call.number<std::uint32_t>(1), call.number<std::uint32_t>(2)});
                  })
            .inSession(),
        ActionRow("disconnect-input", "Take the external input of a display window away.", {windowNumber()}, {},
                  [](Call& call) { vset::disp::disconnectInput(call.number<unsigned int>(0)); })
            .inSession(),
        ActionRow(
            "modules", "Say how many modules of each connected kind a display window reports.",
            {windowNumber(), {"count", Kind::number, "how many", 1, 64}}, {},
            [](Call& call) { vset::disp::setModuleCount(call.number<unsigned int>(0), call.number<unsigned int>(1)); })
            .inSession(),
        ActionRow("rectangle", "Move a display window on the panel, for programs that ask where it is.",
                  {windowNumber(),
                   {"x", Kind::number, "left edge in pixels", 0, kU16Max},
                   {"y", Kind::number, "upper edge", 0, kU16Max},
                   {"width", Kind::number, "its width", 0, kU16Max},
                   {"height", Kind::number, "its height", 0, kU16Max}},
                  {}, rectangle)
            .inSession(),
        ActionRow("freeze-video", "Stop the moving video at a frame, or let it move.",
                  {{"frame", Kind::choice, "the frame", 0, kU32Max, {{"off", kMoving}}}}, {}, freezeVideo)
            .inSession(),
    };
}

// --- Display output, capture unit, and who has them ------------------------------------------------------------------

void output(Call& call) {
    const vset::dispout::Output output = vset::dispout::output();
    call.out("open", static_cast<long long>(output.bOpen));
    call.out("player", static_cast<long long>(output.bPlayer));
}

void capture(Call& call) {
    const vset::cap::Unit unit = vset::cap::unit();
    const vset::Picture picture = vset::cap::lastPicture();
    call.out("open", static_cast<long long>(unit.bOpen));
    call.out("player", static_cast<long long>(unit.bPlayer));
    call.out("window", unit.window ? static_cast<long long>(*unit.window) : -1);
    call.out("captures", static_cast<long long>(unit.u64Captures));
    call.out("graphics", static_cast<long long>(unit.bWithOsd));
    call.out("width", static_cast<long long>(picture.u32Width));
    call.out("height", static_cast<long long>(picture.u32Height));
}

std::vector<ActionRow> unitActions() {
    return {
        ActionRow(
            "output", "Show the display output.", {},
            {{"open", "1 when it is open in the middleware"}, {"player", "1 when the set's player has opened it"}},
            output)
            .inSession(),
        ActionRow("capture", "Show the capture unit.", {},
                  {{"open", "1 when it is open in the middleware"},
                   {"player", "1 when the set's player has opened it"},
                   {"window", "the display window that is connected; -1: none"},
                   {"captures", "how many pictures have been captured"},
                   {"graphics", "1 when the last one has the graphics on it"},
                   {"width", "of the last picture"},
                   {"height", "of the last picture"}},
                  capture)
            .inSession(),
    };
}

}  // namespace

std::vector<ActionRow> displayActions() {
    std::vector<ActionRow> rows = windowActions();
    for (ActionRow& row : unitActions()) {
        rows.push_back(std::move(row));
    }
    return rows;
}

}  // namespace tool
