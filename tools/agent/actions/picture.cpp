// SPDX-License-Identifier: Apache-2.0
// What a person sees of the set's picture settings, panel attributes and driver layer, and does to them.
#include <algorithm>
#include <iterator>
#include <utility>

#include "actions/action.h"
#include "hw3/hw_dispout.h"
#include "operations/picture_words.h"
#include "vset/dispout.h"
#include "vset/dval.h"

namespace tool {

namespace {

constexpr long long kU32Max = 0xFFFFFFFFll;
constexpr long long kI32Min = -0x80000000ll;
constexpr long long kI32Max = 0x7FFFFFFF;
constexpr long long kLongestText = 32;

Argument windowNumber(std::optional<std::string> byDefault = std::nullopt) {
    return {"window",
            Kind::choice,
            "the display window",
            0,
            vset::disp::kWindows - 1,
            {{"hd0", 0}, {"hd1", 1}, {"sd0", 2}},
            std::move(byDefault)};
}

// --- Picture settings ------------------------------------------------------------------------------------------------

void settings(Call& call) {
    const vset::disp::Window window = vset::disp::window(call.number<unsigned int>(0));
    call.out("settings", pictureWords(window));
    call.out("curves", gammaWords(window));
    call.out("piece", pieceWords(window));
}

void gamma(Call& call) {
    constexpr const char* kNames[] = {"red", "green", "blue"};
    const vset::disp::Window window = vset::disp::window(call.number<unsigned int>(0));
    for (std::size_t i = 0; i < window.gamma.size(); ++i) {
        call.outNumbers(kNames[i], window.gamma[i]);
    }
}

void qualityVersion(Call& call) {
    vset::disp::setPqVersion(call.number<unsigned int>(0), call.number<unsigned int>(1), call.text(2));
}

void qualityRange(Call& call) {
    HW_DISP_PqRange_t range = {};
    for (std::size_t i = 0; i < std::size(range.as32Min); ++i) {
        range.as32Min[i] = call.number<HW_S32>(1 + 2 * i);
        range.as32Max[i] = call.number<HW_S32>(2 + 2 * i);
    }
    vset::disp::setPqRange(call.number<unsigned int>(0), range);
}

Argument limit(const char* name, const char* help) {
    return {name, Kind::number, help, kI32Min, kI32Max};
}

std::vector<ActionRow> settingActions() {
    return {
        ActionRow("picture-settings", "Show what a display window was told about its picture.", {windowNumber("hd0")},
                  {{"settings", "all that was sent"},
                   {"curves", "first, middle and last entry of the gamma curves"},
                   {"piece", "the piece of the input that is shown"}},
                  settings)
            .inSession(),
        ActionRow("gamma", "Show the gamma curves that were sent to a display window.", {windowNumber("hd0")},
                  {{"red", "its 256 entries with commas"}, {"green", "the same"}, {"blue", "the same"}}, gamma)
            .inSession(),
        ActionRow("pq-version", "Change the version of a part of a window's picture-quality data.",
                  {windowNumber(),
                   {"part", Kind::number, "which part", 0, vset::disp::kPqTypes - 1},
                   {"text", Kind::text, "the version", 0, kLongestText}},
                  {}, qualityVersion)
            .inSession(),
        ActionRow("pq-range", "Change the range of a window's picture-quality values.",
                  {windowNumber(), limit("hue_min", "of hue"), limit("hue_max", "of hue"),
                   limit("saturation_min", "of saturation"), limit("saturation_max", "of saturation"),
                   limit("luma_min", "of luma"), limit("luma_max", "of luma")},
                  {}, qualityRange)
            .inSession(),
    };
}

// --- Panel, controller, driver layer ---------------------------------------------------------------------------------

void panelAttribute(Call& call) {
    const auto attribute = call.number<std::uint32_t>(0);
    const Bytes& record = call.bytes(1);
    if (!record.empty()) {
        vset::dispout::setAttribute(attribute, std::string(record.begin(), record.end()));
    }
    const std::string held = vset::dispout::attribute(attribute);
    call.out("record", Bytes(held.begin(), held.end()));
    call.out("words", panelAttributeWords(attribute));
}

void controller(Call& call) {
    const vset::disp::Controller controller = vset::disp::controller();
    call.out("open", static_cast<long long>(controller.bOpen));
    call.out("player", static_cast<long long>(controller.bPlayer));
    call.out("timing", static_cast<long long>(controller.u32Timing));
    call.out("free_run", static_cast<long long>(controller.s32FreeRun));
}

void drivers(Call& call) {
    const vset::dval::Drivers drivers = vset::dval::drivers();
    call.out("drivers", driverWords());
    call.out("resets", static_cast<long long>(drivers.u64Resets));
}

std::vector<ActionRow> unitActions() {
    return {
        ActionRow(
            "panel-attr", "Show an attribute of the panel, or change it.",
            {{"attribute", Kind::number, "its number", 0, kU32Max},
             {"record", Kind::bytes, "a record of the attribute's size; nothing: it is only looked at", 0, 0, {}, ""}},
            {{"record", "what the panel has", true}, {"words", "that in words"}}, panelAttribute)
            .inSession(),
        ActionRow("controller", "Show the display controller.", {},
                  {{"open", "1 when it is open in the middleware"},
                   {"player", "1 when the set's player has opened it"},
                   {"timing", "the output timing that was set last"},
                   {"free_run", "what the panel shows without a source"}},
                  controller)
            .inSession(),
        ActionRow(
            "timing-supported", "Say whether the panel can show an output timing.",
            {{"timing", Kind::number, "the timing", 0, vset::disp::kTimings - 1}, {"state", Kind::flag, "on or off"}},
            {}, [](Call& call) { vset::disp::setTimingSupported(call.number<std::uint32_t>(0), call.number(1) != 0); })
            .inSession(),
        ActionRow("drivers", "Show what the driver layer was told.", {},
                  {{"drivers", "arguments, overscan, resets"}, {"resets", "how often it has read its parameters anew"}},
                  drivers)
            .inSession(),
    };
}

}  // namespace

std::vector<ActionRow> pictureActions() {
    std::vector<ActionRow> rows = settingActions();
    std::vector<ActionRow> units = unitActions();
    std::move(units.begin(), units.end(), std::back_inserter(rows));
    return rows;
}

}  // namespace tool
