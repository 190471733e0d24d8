// SPDX-License-Identifier: Apache-2.0
// Rows of the display module: display windows, screen capture.
#include <memory>

#include "a_vextvfapi_disp.h"
#include "operations/operation.h"

namespace tool {

namespace {

// What several examples need.
constexpr char kCanvas[] = "disptst_gen_gop_test_pattern_on 640 480";

constexpr long long kU8Max = 0xFF;
constexpr long long kU32Max = 0xFFFFFFFFll;
constexpr long long kI32Min = -0x80000000ll;
constexpr long long kI32Max = 0x7FFFFFFF;

Argument bmpFile() {
    return {"file", Kind::path, "the BMP file that is written"};
}

Argument window() {
    return {"window", Kind::number, "the window, 0 to 2", 0, kU32Max};
}

// --- Display windows -------------------------------------------------------------------------------------------------

// Whether it opened the window is what the operation answers, so a failure is told by the handle.
long long getHandle(Call& call) {
    const auto handle = std::make_unique<unsigned int>(0);
    const bool opened = _a_vextvfapi_disp_get_disp_handle(handle.get());
    call.out("handle", static_cast<long long>(*handle));
    return opened ? 1 : 0;
}

long long getHandleOfWindow(Call& call) {
    const auto handle = std::make_unique<unsigned int>(0);
    const bool opened = _a_vextvfapi_disp_get_disp_handle_by_win_idx(handle.get(), call.number<unsigned int>(0));
    call.out("handle", static_cast<long long>(*handle));
    return opened ? 1 : 0;
}

long long getInput(Call& call) {
    const auto video = std::make_unique<int>(0), extin = std::make_unique<int>(0);
    const bool good = _a_vextvfapi_disp_get_on_screen_input(call.number<int>(0), video.get(), extin.get());
    if (good) {
        call.out("video", static_cast<long long>(*video));
        call.out("extin", static_cast<long long>(*extin));
    }
    return good ? 1 : 0;
}

std::vector<OperationRow> windowOperations() {
    const Output handle = {"handle", "the handle; 0: there is none", false, "", Role::changing};
    return {
        OperationRow("a_vextvfapi_disp_init", "Bring up display output and driver layer.", Result::status, {}, {},
                     [](Call&) -> long long { return a_vextvfapi_disp_init(); })
            .example("disp_init"),
        OperationRow("a_vextvfapi_disp_deinit", "Shut the module down, which does nothing.", Result::status, {}, {},
                     [](Call&) -> long long { return a_vextvfapi_disp_deinit(); })
            .example("disp_deinit"),
        OperationRow(
            "a_vextvfapi_disp_switch_window", "Make a display window the current one.", Result::status, {window()}, {},
            [](Call& call) -> long long { return a_vextvfapi_disp_switch_window(call.number<unsigned int>(0)); })
            .example("disp_switch_window 1"),
        OperationRow("_a_vextvfapi_disp_get_disp_handle",
                     "Get the handle of the current window; answers 1 when it was opened for that.", Result::value, {},
                     {handle}, getHandle)
            .example("_disp_get_disp_handle"),
        OperationRow("_a_vextvfapi_disp_get_disp_handle_by_win_idx",
                     "Get the handle of a window; answers 1 when it was opened for that.", Result::value, {window()},
                     {handle}, getHandleOfWindow)
            .example("_disp_get_disp_handle_by_win_idx 1"),
        OperationRow("_a_vextvfapi_disp_get_on_screen_input",
                     "Tell what is connected to the window of an open display handle.", Result::oneIsGood,
                     {{"handle", Kind::number, "the handle", kI32Min, kU32Max}},
                     {{"video", "handle of the video path; 0: none", false, "", Role::changing},
                      {"extin", "else of the external input; 0: none", false, "", Role::changing}},
                     getInput)
            .example("_disp_get_on_screen_input 0x5A545F49", {"_disp_get_disp_handle"}),
    };
}

// --- Screen capture --------------------------------------------------------------------------------------------------

void checkRows(const std::vector<Value>& values, const std::vector<std::string>&) {
    const auto size = std::get<Bytes>(values[1]).size();
    const auto pitch = static_cast<unsigned long long>(std::get<long long>(values[2]));
    const auto height = static_cast<unsigned long long>(std::get<long long>(values[4]));
    if (size < pitch * height) {
        throw UsageError("PIXELS has " + std::to_string(size) +
                         " bytes, expected PITCH x HEIGHT = " + std::to_string(pitch * height) + " at least");
    }
}

long long writeBmp(Call& call) {
    const Bytes pixels = call.exactBytes(1);
    return _a_vextvfapi_output_bmp_file(call.utext(0), reinterpret_cast<unsigned long long>(pixels.data()),
                                        call.number<unsigned int>(2), call.number<unsigned int>(3),
                                        call.number<unsigned int>(4));
}

std::vector<OperationRow> captureOperations() {
    return {
        OperationRow(
            "a_vextvfapi_disp_capture_screen_to_usb", "Capture what the set shows into a BMP file.", Result::status,
            {bmpFile(),
             {"type",
              Kind::choice,
              "the surface on graphics layer 0, the current window's picture, or that with the graphics over it",
              kI32Min,
              kI32Max,
              {{"osd", 0}, {"video", 1}, {"screen", 2}}}},
            {},
            [](Call& call) -> long long {
                return a_vextvfapi_disp_capture_screen_to_usb(call.utext(0), call.number<int>(1));
            })
            .example("disp_capture_screen_to_usb /mnt/usb/screen.bmp screen"),
        OperationRow("_a_vextvfapi_disp_capture_osd_to_usb", "Capture the surface on a graphics layer into a BMP file.",
                     Result::status, {bmpFile(), {"layer", Kind::number, "the layer, 0 to 3", kI32Min, kI32Max}}, {},
                     [](Call& call) -> long long {
                         return _a_vextvfapi_disp_capture_osd_to_usb(call.utext(0), call.number<int>(1));
                     })
            .example("_disp_capture_osd_to_usb /mnt/usb/osd.bmp 1", {kCanvas}),
        OperationRow("_a_vextvfapi_disp_capture_video_to_usb", "Capture the current window's picture into a BMP file.",
                     Result::status,
                     {bmpFile(), {"flag", Kind::number, "1: with the graphics over it", 0, kU8Max, {}, "0"}}, {},
                     [](Call& call) -> long long {
                         return _a_vextvfapi_disp_capture_video_to_usb(call.utext(0), call.number<unsigned char>(1));
                     })
            .example("_disp_capture_video_to_usb /mnt/usb/video.bmp"),
        OperationRow("_a_vextvfapi_output_bmp_file", "Write pixels into a BMP file, the last row first.",
                     Result::zeroOr255,
                     {bmpFile(),
                      {"pixels", Kind::bytes, "the rows, 4 bytes a pixel: blue, green, red, alpha"},
                      {"pitch", Kind::number, "bytes of a row", 0, kU32Max},
                      {"width", Kind::number, "pixels of a row, of which the low 16 bits are written", 0, kU32Max},
                      {"height", Kind::number, "rows; the low 16 bits are written", 0, kU32Max}},
                     {}, writeBmp)
            .checkedBy(checkRows)
            .example("_output_bmp_file /mnt/usb/line.bmp hex:000000ffff0000ff 8 2 1"),
    };
}

}  // namespace

std::vector<OperationRow> dispOperations() {
    std::vector<OperationRow> rows = windowOperations();
    for (OperationRow& row : captureOperations()) {
        rows.push_back(std::move(row));
    }
    return rows;
}

}  // namespace tool
