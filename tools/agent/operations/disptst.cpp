// SPDX-License-Identifier: Apache-2.0
// Rows of the display test module: canvas, test patterns, burn-in. After what changes the chip they tell what it holds.
#include <memory>
#include <utility>

#include "a_vextvfapi_disptst.h"
#include "operations/chip_words.h"
#include "operations/operation.h"
#include "operations/panel_words.h"
#include "protocol/color.h"

namespace tool {

namespace {

// What several examples need.
constexpr char kCanvas[] = "disptst_gen_gop_test_pattern_on 640 480";
constexpr char kBitmap[] =
    "set put /mnt/usb/logo.bmp hex:424d4200000000000000360000002800000004000000010000000100180000000000"
    "0c0000000000000000000000000000000000000000ff00ff00ff0000ffffff";

constexpr long long kU8Max = 0xFF;
constexpr long long kU16Max = 0xFFFF;
constexpr long long kU32Max = 0xFFFFFFFFll;
constexpr long long kI32Min = -0x80000000ll;
constexpr long long kI32Max = 0x7FFFFFFF;

// --- Arguments and outputs -------------------------------------------------------------------------------------------

Argument pixels(const char* name, const char* help, std::optional<std::string> byDefault = std::nullopt) {
    return {name, Kind::number, help, 0, kU32Max, {}, std::move(byDefault)};
}

Argument color(const char* name, const char* help, std::optional<std::string> byDefault = std::nullopt) {
    return {name, Kind::color, help, 0, 0, {}, std::move(byDefault)};
}

Argument enable() {
    return {"enable", Kind::choice, "off, or on: any other byte", 0, kU8Max, {{"off", 0}, {"on", 1}}};
}

Argument bmpFile() {
    return {"file", Kind::path, "the BMP file, uncompressed and of 24 bits a pixel"};
}

// What is left out changes nothing.
Argument attribute(const char* name) {
    return {name, Kind::number, "0 to 100", 0, kU16Max, {}, "50"};
}

Argument gain(const char* name) {
    return {name, Kind::number, "gain, 1024 is 1", 0, kU16Max, {}, "1024"};
}

// --- Canvas ----------------------------------------------------------------------------------------------------------

fapi_core::VexTvFApiGOPPatternColor_t recordOf(Color color) {
    return {redOf(color), greenOf(color), blueOf(color), alphaOf(color)};
}

long long canvasByBmp(Call& call) {
    const int status = a_vextvfapi_disptst_gen_gop_test_pattern_by_bmp(call.utext(0), call.number<unsigned int>(1),
                                                                       call.number<unsigned int>(2));
    return changed(call, status, layerLines);
}

long long drawLine(Call& call) {
    return a_vextvfapi_disptst_gen_gop_test_pattern_draw_line(
        {call.number<unsigned int>(0), call.number<unsigned int>(1), call.number<unsigned int>(2),
         call.number<unsigned int>(3), recordOf(call.number<Color>(4))});
}

long long drawRectangle(Call& call) {
    return a_vextvfapi_disptst_gen_gop_test_pattern_draw_rect(
        {call.number<unsigned int>(0), call.number<unsigned int>(1), call.number<unsigned int>(2),
         call.number<unsigned int>(3), recordOf(call.number<Color>(4)), call.number<unsigned int>(5),
         recordOf(call.number<Color>(6))});
}

long long drawBitmap(Call& call) {
    return a_vextvfapi_disptst_gen_gop_test_pattern_draw_bitmap(
        {call.number<unsigned int>(0), call.number<unsigned int>(1), call.text(2), call.number<unsigned int>(3),
         call.number<unsigned int>(4), call.number<unsigned int>(5), call.number<unsigned int>(6)});
}

long long setAttribute(Call& call) {
    fapi_core::VexTvFApiGOPPatternAttr_t attr = {};
    attr.bEnable = call.number(0) != 0;
    attr.u16Hue = call.number<unsigned short>(1);
    attr.u16Saturation = call.number<unsigned short>(2);
    attr.u16Contrast = call.number<unsigned short>(3);
    attr.u16Brightness = call.number<unsigned short>(4);
    attr.u16RedGain = call.number<unsigned short>(5);
    attr.u16GreenGain = call.number<unsigned short>(6);
    attr.u16BlueGain = call.number<unsigned short>(7);
    return changed(call, a_vextvfapi_disptst_gop_pattern_set_attr(attr), layerLines);
}

std::vector<OperationRow> canvasOperations() {
    return {
        OperationRow("a_vextvfapi_disptst_gen_gop_test_pattern_on", "Put a hidden canvas over the picture.",
                     Result::status,
                     {pixels("width", "its width, of which at most 1280 counts", "1280"),
                      pixels("height", "its height, of which at most 720 counts", "720")},
                     {chip()},
                     [](Call& call) {
                         const int status = a_vextvfapi_disptst_gen_gop_test_pattern_on(call.number<unsigned int>(0),
                                                                                        call.number<unsigned int>(1));
                         return changed(call, status, layerLines);
                     })
            .example("disptst_gen_gop_test_pattern_on 640 480"),
        OperationRow(
            "a_vextvfapi_disptst_gen_gop_test_pattern_off", "Take the canvas away.", Result::status, {}, {chip()},
            [](Call& call) { return changed(call, a_vextvfapi_disptst_gen_gop_test_pattern_off(), layerLines); })
            .example("disptst_gen_gop_test_pattern_off", {kCanvas}),
        OperationRow(
            "a_vextvfapi_disptst_gen_gop_test_pattern_show", "Show the canvas.", Result::status, {}, {chip()},
            [](Call& call) { return changed(call, a_vextvfapi_disptst_gen_gop_test_pattern_show(), layerLines); })
            .example("disptst_gen_gop_test_pattern_show", {kCanvas}),
        OperationRow(
            "a_vextvfapi_disptst_gen_gop_test_pattern_hide", "Hide the canvas.", Result::status, {}, {chip()},
            [](Call& call) { return changed(call, a_vextvfapi_disptst_gen_gop_test_pattern_hide(), layerLines); })
            .example("disptst_gen_gop_test_pattern_hide", {kCanvas}),
        OperationRow("a_vextvfapi_disptst_gen_gop_test_pattern_by_bmp",
                     "Put a canvas over the picture that shows the top left piece of a BMP file.", Result::status,
                     {bmpFile(), pixels("width", "of the canvas and of the piece"), pixels("height", "the same")},
                     {chip()}, canvasByBmp)
            .example("disptst_gen_gop_test_pattern_by_bmp /mnt/usb/logo.bmp 4 1", {kBitmap}),
        OperationRow("a_vextvfapi_disptst_gen_gop_test_pattern_draw_line", "Draw an opaque line on the canvas.",
                     Result::status,
                     {pixels("x1", "where it starts"), pixels("y1", "the same"), pixels("x2", "where it ends"),
                      pixels("y2", "the same"), color("color", "its color, whose alpha means nothing")},
                     {}, drawLine)
            .example("disptst_gen_gop_test_pattern_draw_line 0 0 639 479 yellow", {kCanvas}),
        OperationRow(
            "a_vextvfapi_disptst_gen_gop_test_pattern_draw_rect",
            "Draw a filled rectangle on the canvas, with a frame inside it.", Result::status,
            {pixels("x", "its left column"), pixels("y", "its top row"), pixels("width", "its width"),
             pixels("height", "its height"), color("color", "its color"),
             pixels("border", "width of the frame; 0: none", "0"), color("bordercolor", "the frame's color", "black")},
            {}, drawRectangle)
            .example("disptst_gen_gop_test_pattern_draw_rect 40 40 400 240 #C00000 8 white", {kCanvas}),
        OperationRow("a_vextvfapi_disptst_gen_gop_test_pattern_draw_bitmap",
                     "Draw a piece of a BMP file on the canvas.", Result::status,
                     {pixels("x", "left column of its place"), pixels("y", "top row of its place"), bmpFile(),
                      pixels("cropx", "left column of the piece"), pixels("cropy", "top row of the piece"),
                      pixels("width", "width of the piece"), pixels("height", "height of the piece")},
                     {}, drawBitmap)
            .example("disptst_gen_gop_test_pattern_draw_bitmap 40 40 /mnt/usb/logo.bmp 0 0 4 1", {kBitmap, kCanvas}),
        OperationRow("a_vextvfapi_disptst_gop_pattern_set_attr",
                     "Set the color matrix of the canvas's layer, or of layer 0 without a canvas.", Result::status,
                     {{"enable", Kind::flag, "on or off"},
                      attribute("hue"),
                      attribute("saturation"),
                      attribute("contrast"),
                      attribute("brightness"),
                      gain("red"),
                      gain("green"),
                      gain("blue")},
                     {chip()}, setAttribute)
            .example("disptst_gop_pattern_set_attr on 50 0", {kCanvas}),
    };
}

// --- Test patterns, burn-in ------------------------------------------------------------------------------------------

constexpr char kColors[] = "COLORS";
constexpr char kValue[] = "VALUE";

void checkColors(const std::vector<Value>& values, const std::vector<std::string>&) {
    parseDeepColors(kColors, std::get<std::string>(values[1]), 0, kU8Max);
}

void checkPattern(const std::vector<Value>& values, const std::vector<std::string>&) {
    parseDeepColors(kValue, std::get<std::string>(values[3]), 1, 1);
}

long long burnIn(Call& call) {
    const std::vector<DeepColor> colors = parseDeepColors(kColors, call.text(1), 0, kU8Max);
    const auto table = std::make_unique<unsigned short[]>(colors.size() * 3);
    for (std::size_t i = 0; i < colors.size() * 3; ++i) {
        table[i] = static_cast<unsigned short>(colors[i / 3][i % 3]);
    }
    fapi_core::_VexFApiDisptstBurnModeParam param = {};
    param.pColorTable = table.get();
    param.u8ColorTableSize = static_cast<unsigned char>(colors.size());
    param.u8Interval = call.number<unsigned char>(2);
    return a_vextvfapi_disptst_set_burning_mode_adv(call.number<unsigned char>(0), &param);
}

long long testPattern(Call& call) {
    const DeepColor color = parseDeepColors(kValue, call.text(3), 1, 1).front();
    const fapi_core::VexTvFApiDispTstPattern pattern = {
        call.number<unsigned int>(1), call.number<unsigned int>(2), {color[0], color[1], color[2]}};
    return changed(call, a_vextvfapi_disptst_gen_test_pattern(call.number<unsigned int>(0), pattern), windowLines);
}

long long switchLayer(Call& call) {
    return changed(call, a_vextvfapi_disptst_set_osd_layer_on_off(call.number<int>(0), call.number<unsigned char>(1)),
                   layerLines);
}

std::vector<OperationRow> patternOperations() {
    const std::vector<Choice> stages = {{"mvop", 0},     {"adc", 1},           {"ipmux", 2},      {"ip1", 3},
                                        {"linebuff", 4}, {"hvsp", 5},          {"vop", 6},        {"vop2", 7},
                                        {"mod", 8},      {"white-balance", 9}, {"mute-color", 10}};
    const Argument on = {"on", Kind::choice, "off, or on: any other byte", 0, kU8Max, {{"off", 0}, {"on", 1}}};
    return {
        OperationRow("a_vextvfapi_disptst_init", "Bring up system and graphics.", Result::status, {}, {},
                     [](Call&) -> long long { return a_vextvfapi_disptst_init(); })
            .example("disptst_init"),
        OperationRow("a_vextvfapi_disptst_deinit", "Shut the module down, which does nothing.", Result::status, {}, {},
                     [](Call&) -> long long { return a_vextvfapi_disptst_deinit(); })
            .example("disptst_deinit"),
        OperationRow(
            "a_vextvfapi_disptst_set_burning_mode",
            "Start burn-in with red, blue, green, black and white of 200 ms each, or stop it.", Result::status, {on},
            {},
            [](Call& call) -> long long { return a_vextvfapi_disptst_set_burning_mode(call.number<unsigned char>(0)); })
            .example("disptst_set_burning_mode on"),
        OperationRow("a_vextvfapi_disptst_set_burning_mode_adv", "Start burn-in with other colors, or stop it.",
                     Result::status,
                     {on,
                      {"colors",
                       Kind::text,
                       "opaque colors or red/green/blue of 0 to 1023: red,#00FF00,0/0/1023",
                       0,
                       0,
                       {},
                       "red"},
                      {"interval", Kind::number, "how long each stays, in 100 ms", 0, kU8Max, {}, "2"}},
                     {}, burnIn)
            .checkedBy(checkColors)
            .example("disptst_set_burning_mode_adv on red,#00FF00,0/0/1023 5"),
        OperationRow("a_vextvfapi_disptst_set_osd_layer_on_off", "Show or hide a graphics layer with its window.",
                     Result::status, {{"layer", Kind::number, "the layer, 0 to 3", kI32Min, kI32Max}, enable()},
                     {chip()}, switchLayer)
            .example("disptst_set_osd_layer_on_off 1 on"),
        OperationRow("a_vextvfapi_disptst_set_pq_on_off",
                     "Switch the picture processing of the current display window on or off.", Result::status,
                     {enable()}, {chip()},
                     [](Call& call) {
                         return changed(call, a_vextvfapi_disptst_set_pq_on_off(call.number<unsigned char>(0)),
                                        windowLines);
                     })
            .example("disptst_set_pq_on_off off"),
        OperationRow(
            "a_vextvfapi_disptst_gen_test_pattern",
            "Generate a test pattern somewhere in the video path, or set the mute color.", Result::status,
            {{"stage", Kind::choice, "where it is generated", 0, kU32Max, stages},
             {"enable", Kind::choice, "off, or on: any other number", 0, kU32Max, {{"off", 0}, {"on", 1}}},
             {"param", Kind::number, "depends on the stage; 1 of mod: a full window of the color", 0, kU32Max, {}, "0"},
             {"value", Kind::text, "an opaque color or red/green/blue of 0 to 1023", 0, 0, {}, "0/0/0"}},
            {chip()}, testPattern)
            .checkedBy(checkPattern)
            .example("disptst_gen_test_pattern mod on 1 #FF8000"),
        OperationRow("_a_vextvfapi_disptst_connect_disp",
                     "Tell whether something is connected to the window of an open display handle.", Result::status,
                     {{"handle", Kind::number, "the handle", kI32Min, kU32Max},
                      {"connect", Kind::number, "means nothing", 0, kU8Max, {}, "1"}},
                     {},
                     [](Call& call) -> long long {
                         return _a_vextvfapi_disptst_connect_disp(call.number<int>(0), call.number<unsigned char>(1));
                     })
            .example("_disptst_connect_disp 0x5A545F49", {"_disp_get_disp_handle"}),
    };
}

}  // namespace

std::vector<OperationRow> disptstOperations() {
    std::vector<OperationRow> rows = canvasOperations();
    for (OperationRow& row : patternOperations()) {
        rows.push_back(std::move(row));
    }
    return rows;
}

}  // namespace tool
