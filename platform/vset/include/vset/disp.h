// SPDX-License-Identifier: Apache-2.0
// The control API of the display windows, the display controller and the video paths. All functions throw SetError when
// no set is attached, a number is out of range, or there is nothing to take away.
#ifndef VSET_DISP_H
#define VSET_DISP_H

#include <array>
#include <map>
#include <optional>

#include "hw3/hw_disp.h"
#include "hw3/hw_video.h"
#include "vset/picture.h"
#include "vset/vset.h"

namespace vset::disp {

// 0 "HW_DISP_HD0", 1 "HW_DISP_HD1", 2 "HW_DISP_SD0"
constexpr unsigned int kWindows = 3;

struct Input {
    std::uint32_t u32Type = 0;  // HW_EXTIN_Type_e
    std::uint32_t u32Index = 0;
};

struct Window {
    bool bOpen = false;    // in the middleware
    bool bPlayer = false;  // the set's player has it, not the library
    std::optional<HW_VIDEO_Info_t> video;
    std::optional<Input> input;
    HW_DISP_Rect_t rectangle = {};
    std::optional<HW_DISP_InputRect_t> inputRectangle;  // as it was set last
    std::optional<HW_DISP_InputRect_t> shownRectangle;  // as it was when settings were last applied
    std::uint32_t u32MuteFlags = 0;                     // the window is muted while any is set
    HW_DISP_TestPattern_t testPattern = {};             // as it was sent last, of whatever mode
    HW_DISP_MuteColor_t muteColor = {};
    std::map<std::uint32_t, std::string> pictureParameters;  // by number, the bytes that were sent last; of the
                                                             // quality blocks by number and index (10 | index << 16)
    std::array<std::vector<std::uint16_t>, 3> gamma;         // the curves that were sent last, 256 entries each
    bool bPending = false;                                   // something was set and not applied yet
};
// Returns a window's state. After switching on, the player has window 0, which shows a video path of 1920 x 1080 at
// 59.940 Hz; the others are closed and without a source.
VSET_API Window window(unsigned int u32Window);

// Moves the window on the panel, for programs that ask where it is.
VSET_API void setRectangle(unsigned int u32Window, const HW_DISP_Rect_t& stRectangle);

// Opens a window for the set's player, and closes it again: the library finds it open meanwhile.
VSET_API void hold(unsigned int u32Window);
VSET_API void release(unsigned int u32Window);

// Connects a video path to a window, or takes it away. A second connect changes what the path shows.
VSET_API void connectVideo(unsigned int u32Window, const HW_VIDEO_Info_t& stInfo);
VSET_API void disconnectVideo(unsigned int u32Window);
// Connects an external input to a window, one for each window, or takes it away. The player opens the input for that,
// unless it is open, and closes it again when no window is connected to it any more. A program finds the input while it
// is open.
VSET_API void connectInput(unsigned int u32Window, const Input& input);
// Sets how many modules of each connected kind are reported, up to 64, all with the handle of the first; 1 after
// switching on.
VSET_API void setModuleCount(unsigned int u32Window, unsigned int u32Count);
VSET_API void disconnectInput(unsigned int u32Window);

// Returns the picture of the window: mute color, test pattern, its source, or black; 1920 x 1080 opaque pixels. A video
// path shows vertical color bars with a bright line that moves; an external input, when there is no video path, shows
// horizontal bars; of both, the piece that the applied input rectangle names. Test pattern and mute act at once,
// without ApplySetting. The test pattern of mode 6 is the color alone, those of the other modes have a shape each.
VSET_API Picture picture(unsigned int u32Window);

// Stops all video paths at a frame number, so that two looks see the same; without one they move again.
VSET_API void freezeVideo(std::optional<std::uint64_t> frame);

// --- What the library reads ------------------------------------------------------------------------------------------

constexpr unsigned int kPqTypes = 7;
// Sets the text of a picture-quality version, at most 32 bytes; "V" and the two numbers after switching on.
VSET_API void setPqVersion(unsigned int u32Window, unsigned int u32PqType, const std::string& strText);
// Sets the ranges of picture quality; -50 to 50 for hue, saturation and luma after switching on.
VSET_API void setPqRange(unsigned int u32Window, const HW_DISP_PqRange_t& stRange);

// --- The controller --------------------------------------------------------------------------------------------------

constexpr unsigned int kTimings = 47;

struct Controller {
    bool bOpen = false;
    bool bPlayer = false;
    std::int32_t s32FreeRun = 0;
    std::uint32_t u32Timing = 0;  // the output timing that was set last
};
VSET_API Controller controller();
VSET_API void holdController();
VSET_API void releaseController();
// Sets whether the panel can show an output timing (0 to 46). After switching on it can show all but 40 to 46.
VSET_API void setTimingSupported(unsigned int u32Timing, bool bSupported);

}  // namespace vset::disp

#endif
