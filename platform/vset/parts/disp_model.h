// SPDX-License-Identifier: Apache-2.0
// The display windows' state, which several sources share.
#ifndef VSET_DISP_MODEL_H
#define VSET_DISP_MODEL_H

#include "vset/disp.h"
#include "vset_family.h"

namespace vset {

struct DisplayWindow {
    disp::Window state;         // without the state of handles and video paths
    HW_U32 u32ModuleCount = 1;  // how often each connected module is reported
    bool bInputHeld = false;    // the player has opened the input for the connection
    std::array<std::string, disp::kPqTypes> pqVersions;
    HW_DISP_PqRange_t stPqRange = {{-50, -50, -50}, {50, 50, 50}};
};
using DisplayWindows = std::array<DisplayWindow, disp::kWindows>;

// The windows' model. The key of a handle is its window.
class DispModel : public StatefulModel<DisplayWindows> {
public:
    DispModel() : StatefulModel(FamilyId::disp, "HW_DISP") {}

    // Runs `body` on an open window, for the caller's record.
    template <class Body>
    HW_Result_t onWindow(HW_Handle_t hDisp, const void* pRecord, Body&& body) {
        const auto window = handles().key(hDisp);
        if (!window) {
            return HW_ERR_INVALID_HANDLE;
        }
        if (pRecord == nullptr) {
            return HW_ERR_INVALID_PARAMETER;
        }
        return locked([&](DisplayWindows& windows) -> HW_Result_t { return body(windows[*window]); });
    }

protected:
    void reset() override;
};
extern DispModel& dispModel;

// Returns "window 2".
std::string windowName(unsigned int u32Window);
// Throws SetError when no set is attached or there is no such window.
void requireWindow(unsigned int u32Window);

// --- hw_video.cpp: the video path of a window, if it has one ---------------------------------------------------------

std::optional<HW_VIDEO_Info_t> videoInfo(unsigned int u32Window);
std::optional<HW_Handle_t> videoHandle(unsigned int u32Window);
// Returns the number of the picture that the path shows now.
std::optional<std::uint64_t> videoFrame(unsigned int u32Window);

}  // namespace vset

#endif
