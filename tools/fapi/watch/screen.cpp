// SPDX-License-Identifier: Apache-2.0
// Pictures of what the set shows, into a file and onto the terminal.
#include "watch/screen.h"

#include <algorithm>

#include "base/data_output.h"
#include "base/picture.h"
#include "base/terminal.h"
#include "base/terminal_picture.h"
#include "target/first_lines.h"
#include "target/output.h"
#include "target/picture_source.h"

namespace tool {

namespace {

// Writes and shows what the options say.
void tellPicture(const ScreenOptions& options, bool json) {
    const Picture picture = takePicture(options.what);
    if (!options.file.empty()) {
        writePng(picture, options.file);
    }
    if (json) {
        Json told = {{"what", options.what}, {"width", picture.width}, {"height", picture.height}};
        if (!options.file.empty()) {
            told["file"] = options.file;
        }
        printLine(jsonLine(told));
        return;
    }
    const bool isWanted = options.preview || options.file.empty();
    if (isWanted && !usesColors()) {
        printMessage("without colors there is no picture here; --color=always shows it all the same");
    } else if (isWanted) {
        // The line below it and the prompt stay in sight.
        std::fputs(terminalPicture(picture, 2).c_str(), dataOutput());
    }
    printLine((options.file.empty() ? "" : options.file + ": ") + options.what + ", " + std::to_string(picture.width) +
              " x " + std::to_string(picture.height));
}

}  // namespace

int screen(const GlobalOptions& options, const ScreenOptions& screenOptions) {
    parsePictureWord(description().pictures, screenOptions.what);
    const std::vector<Command> commands = parseFirstLines(screenOptions.lines, "takes the picture");
    openSession(options.session);
    if (!runFirstLines(options, commands)) {
        return kExitInterrupted;
    }
    try {
        tellPicture(screenOptions, options.json);
    } catch (const SetError& error) {
        printError(error.what(), options.json);
        return kExitFailed;
    }
    return kExitGood;
}

void showScreen(const Words& words, bool json) {
    if (words.size() > 3) {
        throw UsageError("usage: screen [FILE [WHAT]]");
    }
    ScreenOptions options;
    options.file = words.size() > 1 ? words[1] : "";
    options.what = words.size() > 2 ? words[2] : kPanel;
    parsePictureWord(description().pictures, options.what);
    tellPicture(options, json);
}

}  // namespace tool
