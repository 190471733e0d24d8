// SPDX-License-Identifier: Apache-2.0
// What the chip holds of picture, panel and timing, in words.
#ifndef FAPI_AGENT_OPERATIONS_PICTURE_WORDS_H
#define FAPI_AGENT_OPERATIONS_PICTURE_WORDS_H

#include <cstdint>

#include "vset/disp.h"

namespace tool {

// "parameter 5 -10, color temperature 1/2/3/4/5/6, gamma on", what was sent to a window; empty when nothing was.
std::string pictureWords(const vset::disp::Window& window);
// A line for each window that was sent anything.
std::string pictureLines();

// "red 0/32896/65535, ...": the first, middle and last entry of each gamma curve; empty without curves.
std::string gammaWords(const vset::disp::Window& window);

// "1280x720 at 0,0 of 1920x1080", the piece of the input that a window was told to show; empty when it was not.
std::string pieceWords(const vset::disp::Window& window);

// "enable 1, span 300, step 30"
std::string panelAttributeWords(std::uint32_t attribute);

// "timing 4, free run 0"
std::string controllerWords();

// "arguments 0=3 21=5; overscan left 1 right 2 top 3 bottom 4; resets 1"
std::string driverWords();

}  // namespace tool

#endif
