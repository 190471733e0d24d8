// SPDX-License-Identifier: Apache-2.0
// Pictures on a terminal.
#include "base/terminal_picture.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

#include <sixel.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "base/data_output.h"
#include "base/terminal.h"
#include "protocol/field.h"

namespace tool {

namespace {

// The longest piece that the protocol allows.
constexpr std::size_t kKittyPiece = 4096;

struct NamedForm {
    const char* name;
    PictureForm form;
};
constexpr NamedForm kForms[] = {
    {"blocks", PictureForm::blocks}, {"kitty", PictureForm::kitty}, {"sixel", PictureForm::sixel}};

// What terminals say that they are, and what they show.
struct KnownTerminal {
    const char* variable;
    const char* begin;  // of its value
    PictureForm form;
};
constexpr KnownTerminal kTerminals[] = {
    // Another program's terminals, whatever that one's is.
    {"TERM", "screen", PictureForm::blocks},
    {"TERM", "tmux", PictureForm::blocks},
    {"KITTY_WINDOW_ID", "", PictureForm::kitty},
    {"TERM", "xterm-kitty", PictureForm::kitty},
    {"TERM", "xterm-ghostty", PictureForm::kitty},
    {"TERM_PROGRAM", "ghostty", PictureForm::kitty},
    {"TERM_PROGRAM", "WezTerm", PictureForm::kitty},
    {"TERM_PROGRAM", "mintty", PictureForm::sixel},
    {"TERM", "foot", PictureForm::sixel},
    {"TERM", "mlterm", PictureForm::sixel},
    {"TERM", "yaft", PictureForm::sixel},
    {"TERM", "xterm-sixel", PictureForm::sixel},
};

std::string_view variable(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

// A size of characters.
struct Size {
    std::size_t columns;
    std::size_t rows;
};

// As large as the room allows without distortion, and no larger than the picture is.
Size sizeIn(const Picture& picture, const TerminalRoom& room) {
    const std::size_t width = picture.width, height = picture.height;
    const std::size_t own = std::max<std::size_t>(width / room.cellWidth, 1);
    const std::size_t high = room.rows * room.cellHeight * width / (height * room.cellWidth);
    const std::size_t columns = std::min({own, room.columns, std::max<std::size_t>(high, 1)});
    const std::size_t lines = columns * room.cellWidth * height / width;
    const std::size_t rows = (lines + room.cellHeight - 1) / room.cellHeight;
    return {columns, std::min(std::max<std::size_t>(rows, 1), room.rows)};
}

std::string kittyText(const Picture& picture, Size size) {
    const std::string png = pngText(picture);
    const std::string text = toBase64(Bytes(png.begin(), png.end()));
    std::string shown;
    for (std::size_t at = 0; at < text.size(); at += kKittyPiece) {
        const bool isLast = at + kKittyPiece >= text.size();
        // The terminal is to answer nothing, which would be read as if a person had typed it.
        const std::string head = "a=T,f=100,q=2,c=" + std::to_string(size.columns) + ",r=" + std::to_string(size.rows);
        shown += "\033_G" + (at == 0 ? head + "," : "") + "m=" + (isLast ? "0" : "1") + ";" +
                 text.substr(at, kKittyPiece) + "\033\\";
    }
    return shown + "\n";
}

int addSixels(char* piece, int length, void* text) {
    static_cast<std::string*>(text)->append(piece, static_cast<std::size_t>(length));
    return length;
}

// Empty when the library cannot.
std::string sixelText(const Picture& picture) {
    std::vector<unsigned char> bytes;
    for (const Color color : picture.pixels) {
        bytes.insert(bytes.end(), {redOf(color), greenOf(color), blueOf(color)});
    }
    const int width = static_cast<int>(picture.width), height = static_cast<int>(picture.height);
    std::string text;
    sixel_output_t* output = nullptr;
    sixel_dither_t* colors = nullptr;
    const bool isMade =
        SIXEL_SUCCEEDED(sixel_output_new(&output, addSixels, &text, nullptr)) &&
        SIXEL_SUCCEEDED(sixel_dither_new(&colors, SIXEL_PALETTE_MAX, nullptr)) &&
        SIXEL_SUCCEEDED(sixel_dither_initialize(colors, bytes.data(), width, height, SIXEL_PIXELFORMAT_RGB888,
                                                SIXEL_LARGE_AUTO, SIXEL_REP_AUTO, SIXEL_QUALITY_AUTO)) &&
        SIXEL_SUCCEEDED(sixel_encode(bytes.data(), width, height, 3, colors, output));
    sixel_dither_unref(colors);
    sixel_output_unref(output);
    return isMade ? text + "\n" : "";
}

// "38;2;255;0;0"
std::string parameters(const char* place, Color color) {
    return std::string(place) + ";2;" + std::to_string(redOf(color)) + ";" + std::to_string(greenOf(color)) + ";" +
           std::to_string(blueOf(color));
}

}  // namespace

PictureForm pictureForm() {
    const std::string_view wanted = variable("FAPI_PICTURES");
    const auto* named =
        std::find_if(std::begin(kForms), std::end(kForms), [&](const NamedForm& form) { return wanted == form.name; });
    if (named != std::end(kForms) || !isTerminal()) {
        return named != std::end(kForms) ? named->form : PictureForm::blocks;
    }
    const auto* known = std::find_if(std::begin(kTerminals), std::end(kTerminals), [](const KnownTerminal& terminal) {
        const std::string_view value = variable(terminal.variable);
        return !value.empty() && value.rfind(terminal.begin, 0) == 0;
    });
    return known != std::end(kTerminals) ? known->form : PictureForm::blocks;
}

std::string terminalPicture(const Picture& picture, const TerminalRoom& room, PictureForm form) {
    if (form == PictureForm::blocks || picture.pixels.empty()) {
        return previewText(picture, room.columns, room.rows);
    }
    const Size size = sizeIn(picture, room);
    const std::size_t width = std::min<std::size_t>(size.columns * room.cellWidth, picture.width);
    const std::size_t height = std::max<std::size_t>(width * picture.height / picture.width, 1);
    const Picture shown = scaledTo(picture, static_cast<unsigned int>(width), static_cast<unsigned int>(height));
    const std::string text = form == PictureForm::kitty ? kittyText(shown, size) : sixelText(shown);
    return text.empty() ? previewText(picture, room.columns, room.rows) : text;
}

std::string terminalPicture(const Picture& picture, std::size_t freeRows) {
    winsize size = {};
    ioctl(fileno(dataOutput()), TIOCGWINSZ, &size);
    TerminalRoom room;
    room.columns = terminalColumns();
    room.rows = terminalRows();
    if (size.ws_col != 0 && size.ws_row != 0 && size.ws_xpixel >= size.ws_col && size.ws_ypixel >= size.ws_row) {
        room.cellWidth = size.ws_xpixel / size.ws_col;
        room.cellHeight = size.ws_ypixel / size.ws_row;
    }
    room.rows -= std::min(room.rows - 1, freeRows);
    return terminalPicture(picture, room, pictureForm());
}

std::string previewText(const Picture& picture, std::size_t columns, std::size_t rows) {
    if (picture.pixels.empty()) {
        return "there is no picture\n";
    }
    const Size size = sizeIn(picture, {columns, rows, 1, 2});
    const Picture scaled =
        scaledTo(picture, static_cast<unsigned int>(size.columns), static_cast<unsigned int>(2 * size.rows));
    std::string text;
    for (unsigned int row = 0; row < size.rows; ++row) {
        std::string before;
        for (unsigned int column = 0; column < size.columns; ++column) {
            const std::string sequence = "\033[" + parameters("38", scaled.at(column, 2 * row)) + ";" +
                                         parameters("48", scaled.at(column, 2 * row + 1)) + "m";
            text += (sequence != before ? sequence : "") + "\u2580";
            before = sequence;
        }
        text += "\033[0m\n";
    }
    return text;
}

}  // namespace tool
