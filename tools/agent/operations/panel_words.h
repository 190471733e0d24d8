// SPDX-License-Identifier: Apache-2.0
// What the set shows, in words.
#ifndef FAPI_AGENT_OPERATIONS_PANEL_WORDS_H
#define FAPI_AGENT_OPERATIONS_PANEL_WORDS_H

#include "vset/disp.h"
#include "vset/osd.h"

namespace tool {

// "layer 1: hidden, 1920x1080 at 0,0; window shown"
std::string layerWords(unsigned int number, const vset::osd::Layer& layer);
// A line for each layer that there is.
std::string layerLines();
// The layers, and a line for each window with its handles.
std::string osdLines();
// A line for each surface.
std::string surfaceLines();

// "hue 50 saturation 50 ... ", or "off"; nothing when none was sent.
std::string matrixWords(const vset::osd::Layer& layer);

// "window 0: open, player; video 1920x1080 59.940 Hz; muted; pattern MOD 1 1023/0/0"
std::string windowWords(unsigned int number);
std::string windowLines();
// Parts of that.
std::string sourceWords(const vset::disp::Window& window);
std::string patternWords(const vset::disp::Window& window);
std::string qualityWords(const vset::disp::Window& window);

// "1920x1080 at 0,0"
std::string placeWords(const vset::osd::Rectangle& rectangle);
std::string placeWords(const HW_DISP_Rect_t& rectangle);

}  // namespace tool

#endif
