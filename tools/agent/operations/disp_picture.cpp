// SPDX-License-Identifier: Apache-2.0
// Rows of the display module's settings: picture, panel, timing, driver layer. After what changes the chip they tell
// what it holds.
#include <algorithm>
#include <memory>
#include <utility>

#include "a_vextvfapi_disp.h"
#include "hw3/hw_dispout.h"
#include "operations/chip_words.h"
#include "operations/gamma_curve.h"
#include "operations/picture_words.h"

namespace tool {

namespace {

// What several examples need.
constexpr char kFirmware[] = "set put /mnt/usb/firmware.bin repeat:64:f";

constexpr long long kU16Max = 0xFFFF;
constexpr long long kU32Max = 0xFFFFFFFFll;
constexpr long long kI32Min = -0x80000000ll;
constexpr long long kI32Max = 0x7FFFFFFF;

Argument word(const char* name, const char* help, std::optional<std::string> byDefault = std::nullopt) {
    return {name, Kind::number, help, 0, kU32Max, {}, std::move(byDefault)};
}

Argument whole(const char* name, const char* help) {
    return {name, Kind::number, help, kI32Min, kI32Max};
}

Argument pixels(const char* name, const char* help) {
    return {name, Kind::number, help, 0, kU16Max};
}

// --- Picture ---------------------------------------------------------------------------------------------------------

// What is read of the data, by type, whatever their length is said to be.
constexpr long long kGammaType = 27, kRecordType = 23;
constexpr std::size_t kGammaBytes = 1, kRecordBytes = 29;
// In place of a length: that of the data.
constexpr long long kOwnLength = kI32Max + 1;

void checkStruct(const std::vector<Value>& values, const std::vector<std::string>&) {
    const long long type = std::get<long long>(values[0]);
    const std::size_t size = std::get<Bytes>(values[1]).size();
    const std::size_t read = type == kRecordType ? kRecordBytes : type == kGammaType ? kGammaBytes : 0;
    if (size < read) {
        throw UsageError("DATA has " + std::to_string(size) + " bytes, expected " + std::to_string(read) +
                         " at least, which type " + std::to_string(type) + " reads");
    }
}

long long setStruct(Call& call) {
    Bytes data = call.exactBytes(1);
    const auto length = call.number(2) == kOwnLength ? static_cast<int>(data.size()) : call.number<int>(2);
    const int status = a_vextvfapi_disp_set_picture_param_struct(call.number<int>(0), length,
                                                                 reinterpret_cast<signed char*>(data.data()));
    return changed(call, status, pictureLines);
}

constexpr const char* kCurves[] = {"RED", "GREEN", "BLUE"};
constexpr char kSame[] = "same";

GammaCurve curveOf(const std::string& red, std::size_t i, const std::string& word) {
    return parseGammaCurve(kCurves[i], word == kSame && i > 0 ? red : word);
}

void checkCurves(const std::vector<Value>& values, const std::vector<std::string>&) {
    for (std::size_t i = 0; i < std::size(kCurves); ++i) {
        curveOf(std::get<std::string>(values[0]), i, std::get<std::string>(values[i]));
    }
}

long long setCurves(Call& call) {
    std::unique_ptr<GammaCurve> curves[std::size(kCurves)];
    for (std::size_t i = 0; i < std::size(kCurves); ++i) {
        curves[i] = std::make_unique<GammaCurve>(curveOf(call.text(0), i, call.text(i)));
    }
    return changed(call, a_vextvfapi_disp_set_gamma_curve(curves[0]->data(), curves[1]->data(), curves[2]->data()),
                   pictureLines);
}

long long setParameter(Call& call) {
    return changed(call, a_vextvfapi_disp_set_picture_param(call.number<unsigned int>(0), call.number<int>(1)),
                   pictureLines);
}

long long setColorTemperature(Call& call) {
    const int status = a_vextvfapi_disp_set_color_temperature(
        call.number<unsigned int>(0), call.number<unsigned int>(1), call.number<unsigned int>(2),
        call.number<unsigned int>(3), call.number<unsigned int>(4), call.number<unsigned int>(5));
    return changed(call, status, pictureLines);
}

std::vector<OperationRow> pictureOperations() {
    return {
        OperationRow("a_vextvfapi_disp_set_picture_param", "Set a picture parameter of the current window.",
                     Result::status, {word("parameter", "5, 12, 16, 18, 19, 20 or 21"), whole("value", "its value")},
                     {chip()}, setParameter)
            .example("disp_set_picture_param 5 60"),
        OperationRow("a_vextvfapi_disp_set_color_temperature", "Set the color temperature of the current window.",
                     Result::status,
                     {word("value1", "in the chip's order"), word("value2", "the same"), word("value3", "the same"),
                      word("value4", "the same"), word("value5", "the same"), word("value6", "the same")},
                     {chip()}, setColorTemperature)
            .example("disp_set_color_temperature 1010 1024 1040 128 127 126"),
        OperationRow(
            "a_vextvfapi_disp_set_picture_param_struct",
            "Set a parameter of the current window from a stream of bytes.", Result::status,
            {{"type",
              Kind::choice,
              "what the bytes are: a switch, or one byte and seven big-endian numbers of 32 bits",
              kI32Min,
              kI32Max,
              {{"gamma", kGammaType}, {"record", kRecordType}}},
             {"data", Kind::bytes, "the bytes: gamma reads 1, record reads 29"},
             {"length", Kind::choice, "the length that is told", kI32Min, kI32Max, {{"own", kOwnLength}}, "own"}},
            {chip()}, setStruct)
            .checkedBy(checkStruct)
            .example("disp_set_picture_param_struct gamma hex:01"),
        OperationRow("a_vextvfapi_disp_set_gamma_curve", "Set the gamma curves of the current window.", Result::status,
                     {{"red", Kind::text, kGammaForms},
                      {"green", Kind::text, "as red, or same", 0, 0, {}, kSame},
                      {"blue", Kind::text, "as red, or same", 0, 0, {}, kSame}},
                     {chip()}, setCurves)
            .checkedBy(checkCurves)
            .example("disp_set_gamma_curve power:2.2"),
    };
}

// --- Picture quality -------------------------------------------------------------------------------------------------

constexpr const char* kRangeNames[][2] = {
    {"hue_min", "hue_max"}, {"saturation_min", "saturation_max"}, {"luma_min", "luma_max"}};

long long qualityRange(Call& call) {
    const auto range = std::make_unique<fapi_core::VexTvFApiDispHsyModelRange>();
    const int status = a_vextvfapi_disp_get_pq_range(range.get());
    for (std::size_t i = 0; status == 0 && i < std::size(kRangeNames); ++i) {
        call.out(kRangeNames[i][0], static_cast<long long>(range->as32Min[i]));
        call.out(kRangeNames[i][1], static_cast<long long>(range->as32Max[i]));
    }
    return status;
}

long long qualityVersion(Call& call) {
    const auto length = call.number<unsigned int>(2);
    Bytes buffer = Call::buffer(length);
    const int status = a_vextvfapi_disp_get_pq_version(
        length, buffer.data(), static_cast<fapi_core::VexTvFApiVideoWin>(call.number<unsigned int>(0)),
        static_cast<fapi_core::VexTvFApiPqType>(call.number<unsigned int>(1)));
    if (status == 0) {
        call.outText("version", buffer);
    }
    return status;
}

std::vector<OperationRow> qualityOperations() {
    return {
        OperationRow("a_vextvfapi_disp_get_pq_range",
                     "Get the range of three picture-quality values; a window that was opened for it stays open.",
                     Result::status, {},
                     {{"hue_min", "of the first value"},
                      {"hue_max", "the same"},
                      {"saturation_min", "of the second value"},
                      {"saturation_max", "the same"},
                      {"luma_min", "of the third value"},
                      {"luma_max", "the same"}},
                     qualityRange)
            .example("disp_get_pq_range"),
        OperationRow("a_vextvfapi_disp_get_pq_version", "Get the version of a part of a window's picture-quality data.",
                     Result::status,
                     {{"window", Kind::choice, "the window", 0, kU32Max, {{"hd0", 0}, {"hd1", 1}, {"sd0", 2}}},
                      word("part", "0 to 6"),
                      {"length", Kind::number, "size of the buffer", 0, kU16Max, {}, "33"}},
                     {{"version", "at most 32 characters"}}, qualityVersion)
            .example("disp_get_pq_version hd0 0"),
        OperationRow("a_vextvfapi_disp_update_pq_ini_files",
                     "Update the picture-quality files, of which the set has none.", Result::status, {}, {},
                     [](Call&) -> long long { return a_vextvfapi_disp_update_pq_ini_files(); })
            .example("disp_update_pq_ini_files"),
        OperationRow("a_vextvfapi_disp_set_pq_value", "Set a picture-quality value in the driver layer.",
                     Result::status, {whole("type", "0 to 5"), word("value", "its value")}, {chip()},
                     [](Call& call) {
                         return changed(
                             call, a_vextvfapi_disp_set_pq_value(call.number<int>(0), call.number<unsigned int>(1)),
                             driverWords);
                     })
            .example("disp_set_pq_value 0 50"),
    };
}

// --- Panel -----------------------------------------------------------------------------------------------------------

long long setPanelAttribute(Call& call) {
    const auto attribute = call.number<unsigned int>(0);
    const int status =
        a_vextvfapi_disp_panel_set_attr(0, attribute, call.number<unsigned int>(1), call.number<unsigned int>(2),
                                        call.number<unsigned int>(3), call.number<unsigned int>(4));
    return changed(call, status, [&] { return panelAttributeWords(attribute); });
}

// How much an attribute writes.
std::size_t panelAttributeSize(long long attribute) {
    switch (attribute) {
        case E_HW_DISPOUT_PANEL_PWM_RANGE:
            return sizeof(HW_DISPOUT_PwmRange_t);
        case E_HW_DISPOUT_PANEL_LVDS_SSC:
            return sizeof(HW_DISPOUT_LvdsSsc_t);
        default:
            return 0;
    }
}

long long getPanelAttribute(Call& call) {
    Bytes record = Call::buffer(panelAttributeSize(call.number(0)));
    const auto means = std::make_unique<unsigned int>(0);
    const int status = a_vextvfapi_disp_panel_get_attr(0, call.number<int>(0), means.get(), record.data());
    if (status == 0) {
        call.out("data", std::move(record));
    }
    return status;
}

long long spreadSpectrum(Call& call) {
    const auto enable = std::make_unique<unsigned char>(0);
    const auto span = std::make_unique<unsigned int>(0), step = std::make_unique<unsigned int>(0);
    const int status = a_vextvfapi_disp_get_lvds_ssc(*enable, *span, *step);
    call.out("enable", static_cast<long long>(*enable));
    call.out("span", static_cast<long long>(*span));
    call.out("step", static_cast<long long>(*step));
    return status;
}

long long pwmRange(Call& call) {
    const auto min = std::make_unique<unsigned int>(0), max = std::make_unique<unsigned int>(0);
    const int status = a_vextvfapi_disp_get_pwm_range(*min, *max);
    call.out("min", static_cast<long long>(*min));
    call.out("max", static_cast<long long>(*max));
    return status;
}

template <std::size_t size>
std::string fieldText(const unsigned char (&field)[size]) {
    return std::string(field, std::find(field, field + size, 0));
}

long long tconInfo(Call& call) {
    const auto info = std::make_unique<fapi_core::VexTvFApiDispTconInfo>();
    const int status = a_vextvfapi_disp_get_tcon_info(info.get());
    if (status == 0) {
        call.out("project", fieldText(info->u8TconProjectName));
        call.out("customer", fieldText(info->u8TconCustomerName));
        call.out("data", Bytes(std::begin(info->u8TconData), std::end(info->u8TconData)));
    }
    return status;
}

long long frcDevice(Call& call) {
    const auto info = std::make_unique<fapi_core::VexTvFApiDispExtFrcDeviceInfo>();
    const int status = a_vextvfapi_disp_get_frc_device_info(info.get());
    call.out("model", static_cast<long long>(info->eExtFrcModel));
    call.out("firmware", static_cast<long long>(info->u32FwVer));
    return status;
}

std::vector<OperationRow> panelOperations() {
    return {
        OperationRow("a_vextvfapi_disp_panel_set_attr", "Set an attribute of the panel.", Result::status,
                     {word("attribute",
                           "0 to 3, 6, 9 or 11 (one value), 5 (enable, span, step), 7 (two bytes), 8 (a byte and "
                           "three values)"),
                      word("a", "the first value"), word("b", "the second", "0"), word("c", "the third", "0"),
                      word("d", "the fourth", "0")},
                     {chip()}, setPanelAttribute)
            .example("disp_panel_set_attr 5 1 400 20"),
        OperationRow("a_vextvfapi_disp_panel_get_attr",
                     "Get an attribute of the panel: 4 (PWM range) or 5 (spread spectrum); others write nothing.",
                     Result::status, {whole("attribute", "its number")}, {{"data", "the record", true}},
                     getPanelAttribute)
            .example("disp_panel_get_attr 5"),
        OperationRow("a_vextvfapi_disp_get_lvds_ssc", "Get the spread spectrum of the panel's link.", Result::status,
                     {}, {{"enable", "1 when it is on"}, {"span", "how far"}, {"step", "how fast"}}, spreadSpectrum)
            .example("disp_get_lvds_ssc"),
        OperationRow("a_vextvfapi_disp_get_pwm_range", "Get the range of the panel's PWM value.", Result::status, {},
                     {{"min", "the smallest"}, {"max", "the largest"}}, pwmRange)
            .example("disp_get_pwm_range"),
        OperationRow("a_vextvfapi_disp_get_tcon_info", "Tell who the panel's timing controller is.", Result::status, {},
                     {{"project", "its project"}, {"customer", "its customer"}, {"data", "10 bytes of its own", true}},
                     tconInfo)
            .example("disp_get_tcon_info"),
        OperationRow("a_vextvfapi_disp_get_frc_device_info", "Tell who the frame-rate converter is.", Result::status,
                     {}, {{"model", "its model"}, {"firmware", "its version"}}, frcDevice)
            .example("disp_get_frc_device_info"),
        OperationRow("a_vextvfapi_disp_get_frc_connect_status",
                     "Answer the connection status of the frame-rate converter; 255 without the display output.",
                     Result::value, {}, {},
                     [](Call&) -> long long { return a_vextvfapi_disp_get_frc_connect_status(); })
            .example("disp_get_frc_connect_status"),
        OperationRow("a_vextvfapi_disp_upgrade_tarn_fw", "Flash the panel's companion chip.", Result::status,
                     {{"file", Kind::path, "the firmware"}}, {},
                     [](Call& call) -> long long { return a_vextvfapi_disp_upgrade_tarn_fw(call.utext(0)); })
            .destroying("overwrites the firmware")
            .mustFinish()
            .example("disp_upgrade_tarn_fw /mnt/usb/firmware.bin", {kFirmware}),
    };
}

// --- Timing and geometry ---------------------------------------------------------------------------------------------

long long setPiece(Call& call) {
    const int status = a_vextvfapi_disp_set_over_scan(call.number<unsigned short>(0), call.number<unsigned short>(1),
                                                      call.number<unsigned short>(2), call.number<unsigned short>(3));
    return changed(call, status, pictureLines);
}

long long setOverscan(Call& call) {
    return changed(call,
                   a_vextvfapi_disp_set_overscan(call.number<int>(0), call.number<int>(1), call.number<int>(2),
                                                 call.number<int>(3)),
                   driverWords);
}

std::vector<OperationRow> timingOperations() {
    return {
        OperationRow("a_vextvfapi_disp_set_output_timing",
                     "Set the output timing; one that the panel cannot show is only logged.", Result::status,
                     {word("timing", "0 to 46")}, {chip()},
                     [](Call& call) {
                         return changed(call, a_vextvfapi_disp_set_output_timing(call.number<unsigned int>(0)),
                                        controllerWords);
                     })
            .example("disp_set_output_timing 4"),
        OperationRow("a_vextvfapi_disp_set_freerun_control", "Say what the panel shows without a source.",
                     Result::status, {whole("type", "the chip's number")}, {chip()},
                     [](Call& call) {
                         return changed(call, a_vextvfapi_disp_set_freerun_control(call.number<int>(0)),
                                        controllerWords);
                     })
            .example("disp_set_freerun_control 1"),
        OperationRow("a_vextvfapi_disp_set_over_scan",
                     "Choose the piece of the input picture that the current window shows.", Result::status,
                     {pixels("x", "its left column"), pixels("y", "its top row"), pixels("width", "its width"),
                      pixels("height", "its height")},
                     {chip()}, setPiece)
            .example("disp_set_over_scan 96 54 1728 972"),
        OperationRow("a_vextvfapi_disp_set_overscan", "Set the overscan of each side in the driver layer.",
                     Result::status,
                     {whole("left", "in the drivers' units"), whole("right", "the same"), whole("top", "the same"),
                      whole("bottom", "the same")},
                     {chip()}, setOverscan)
            .example("disp_set_overscan 1 2 3 4"),
        OperationRow("a_vextvfapi_disp_nty_drv_reload_param", "Make the drivers read their parameters anew.",
                     Result::status, {}, {chip()},
                     [](Call& call) { return changed(call, a_vextvfapi_disp_nty_drv_reload_param(), driverWords); })
            .example("disp_nty_drv_reload_param"),
    };
}

}  // namespace

std::vector<OperationRow> dispPictureOperations() {
    std::vector<OperationRow> rows = pictureOperations();
    for (std::vector<OperationRow> some : {qualityOperations(), panelOperations(), timingOperations()}) {
        std::move(some.begin(), some.end(), std::back_inserter(rows));
    }
    return rows;
}

}  // namespace tool
