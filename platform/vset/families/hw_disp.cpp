// SPDX-License-Identifier: Apache-2.0
// Display windows: handles, connections, rectangles, mute.
#include "hw3/hw_disp.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "disp_model.h"
#include "disp_picture.h"
#include "extin_inputs.h"
#include "panel_picture.h"
#include "vset/panel.h"
#include "vset_call.h"
#include "vset_folder.h"

namespace vset {

DispModel& dispModel = *new DispModel;

namespace {

constexpr const char* kNames[disp::kWindows] = {"HW_DISP_HD0", "HW_DISP_HD1", "HW_DISP_SD0"};
constexpr unsigned int kSdWindow = 2;

// Returns the window of that name.
std::optional<unsigned int> findName(const char* pszName) {
    if (pszName == nullptr) {
        return std::nullopt;
    }
    for (unsigned int u32Window = 0; u32Window < disp::kWindows; ++u32Window) {
        if (std::strcmp(kNames[u32Window], pszName) == 0) {
            return u32Window;
        }
    }
    return std::nullopt;
}

HW_Result_t getHandle(const char* pszName, HW_Handle_t* phDisp) {
    const auto window = findName(pszName);
    if (!window || phDisp == nullptr) {
        return HW_ERR_INVALID_PARAMETER;
    }
    const HW_Result_t result = systemReadiness();
    return result == HW_OK ? dispModel.handles().find(*window, phDisp) : result;
}

HW_Result_t openWindow(const HW_DISP_OpenParams_t* pstParams, HW_Handle_t* phDisp) {
    const auto window = pstParams != nullptr ? findName(pstParams->pszName) : std::nullopt;
    if (!window || phDisp == nullptr || pstParams->u32SdWindow != (*window == kSdWindow ? 1u : 0u)) {
        return HW_ERR_INVALID_PARAMETER;
    }
    const HW_Result_t result = systemReadiness();
    return result == HW_OK ? dispModel.handles().open(*window, phDisp) : result;
}

// --- Connections -----------------------------------------------------------------------------------------------------

// Returns the key of the input's handle.
std::uint64_t keyOf(const disp::Input& input) {
    return keyOf(ExtinInput{input.u32Type, input.u32Index});
}

// Returns the open handle of an input, whoever has opened it.
std::optional<OpenHandle> openHandle(const disp::Input& input) {
    for (const OpenHandle& stHandle : openHandles()) {
        if (stHandle.strFamily == "HW_EXTIN" && stHandle.u64Key == keyOf(input)) {
            return stHandle;
        }
    }
    return std::nullopt;
}

std::optional<HW_Handle_t> inputHandle(unsigned int u32Window) {
    const auto input = dispModel.locked([&](DisplayWindows& windows) { return windows[u32Window].state.input; });
    const auto handle = input ? openHandle(*input) : std::nullopt;
    return handle ? std::optional<HW_Handle_t>(handle->u32Handle) : std::nullopt;
}

// Runs `body` on the handle of the connected source of that kind, if an open window has one.
template <class Body>
HW_Result_t withModule(HW_Handle_t hDisp, const HW_DISP_ConnectQuery_t* pstQuery, const void* pOutput, Body&& body) {
    const auto window = displayWindowOf(hDisp);
    if (!window) {
        return HW_ERR_INVALID_HANDLE;
    }
    if (pstQuery == nullptr || pOutput == nullptr || pstQuery->u32Word0 != 1 || pstQuery->u32Word2 != 1) {
        return HW_ERR_INVALID_PARAMETER;
    }
    switch (pstQuery->u32ModuleKind) {
        case E_HW_DISP_MODULE_VIDEO:
            return body(videoHandle(*window));
        case E_HW_DISP_MODULE_EXTIN:
            return body(inputHandle(*window));
        default:
            return HW_ERR_INVALID_PARAMETER;
    }
}

// Returns how many modules of each connected kind an open window reports.
HW_U32 moduleCount(HW_Handle_t hDisp) {
    HW_U32 u32Count = 0;
    dispModel.onWindow(hDisp, &u32Count, [&](const DisplayWindow& stWindow) {
        u32Count = stWindow.u32ModuleCount;
        return HW_OK;
    });
    return u32Count;
}

// Sets mute flags of a window, or clears them.
HW_Result_t mute(HW_Handle_t hDisp, HW_U32 u32Flags, bool bMute) {
    constexpr HW_U32 kKnown = E_HW_DISP_MUTE_WINDOW | E_HW_DISP_MUTE_TIMING;
    return dispModel.onWindow(hDisp, &u32Flags, [&](DisplayWindow& stWindow) -> HW_Result_t {
        if (u32Flags == 0 || (u32Flags & ~kKnown) != 0) {
            return HW_ERR_INVALID_PARAMETER;
        }
        HW_U32& u32Muted = stWindow.state.u32MuteFlags;
        u32Muted = bMute ? u32Muted | u32Flags : u32Muted & ~u32Flags;
        return HW_OK;
    });
}

// Returns the lock under which inputs are connected and taken away. No model takes this lock.
std::mutex& inputHand() {
    static std::mutex& mutex = *new std::mutex;
    return mutex;
}

}  // namespace

void DispModel::reset() {
    locked([](DisplayWindows& windows) {
        windows = {};
        for (DisplayWindow& stWindow : windows) {
            stWindow.state.rectangle = {0, 0, panel::kWidth, panel::kHeight};
        }
        for (unsigned int u32Window = 0; u32Window < disp::kWindows; ++u32Window) {
            for (unsigned int u32Type = 0; u32Type < disp::kPqTypes; ++u32Type) {
                windows[u32Window].pqVersions[u32Type] =
                    "V" + std::to_string(u32Window) + "." + std::to_string(u32Type);
            }
        }
    });
    HW_Handle_t hPlayers = HW_HANDLE_NONE;
    handles().open(0, &hPlayers, true);
}

std::string windowName(unsigned int u32Window) {
    return "window " + std::to_string(u32Window);
}

void requireWindow(unsigned int u32Window) {
    requireSet();
    if (u32Window >= disp::kWindows) {
        throw SetError(windowName(u32Window) + ": there are only " + std::to_string(disp::kWindows));
    }
}

std::optional<unsigned int> displayWindowOf(HW_Handle_t hDisp) {
    const auto key = dispModel.handles().key(hDisp);
    return key ? std::optional<unsigned int>(static_cast<unsigned int>(*key)) : std::nullopt;
}

bool paintDisplayWindow(unsigned int u32Window, Picture& picture) {
    if (!dispModel.handles().instance(u32Window)) {
        return false;
    }
    WindowView stView;
    dispModel.locked([&](const DisplayWindows& windows) {
        const disp::Window& stState = windows[u32Window].state;
        if (stState.u32MuteFlags != 0) {
            stView.muteColor = stState.muteColor;
        }
        if (stState.testPattern.u32Enable != 0) {
            stView.testPattern = stState.testPattern;
        }
        stView.bInput = stState.input.has_value();
        stView.piece = stState.shownRectangle;
    });
    stView.videoFrame = videoFrame(u32Window);
    return paintWindow(stView, picture);
}

}  // namespace vset

using vset::DisplayWindow;
using vset::dispModel;

HW_Result_t HW_DISP_GetHandle(const char* pszName, HW_Handle_t* phDisp) {
    return vset::call(__func__, {pszName, phDisp}, [&]() -> HW_Result_t { return vset::getHandle(pszName, phDisp); });
}

HW_Result_t HW_DISP_Open(const HW_DISP_OpenParams_t* pstParams, HW_Handle_t* phDisp) {
    return vset::call(__func__, {pstParams, phDisp},
                      [&]() -> HW_Result_t { return vset::openWindow(pstParams, phDisp); });
}

HW_Result_t HW_DISP_Close(HW_Handle_t hDisp) {
    return vset::call(__func__, {hDisp}, [&]() -> HW_Result_t { return dispModel.handles().close(hDisp); });
}

HW_Result_t HW_DISP_GetConnectedNum(HW_Handle_t hDisp, const HW_DISP_ConnectQuery_t* pstQuery, HW_U32* pu32Num) {
    return vset::call(__func__, {hDisp, pstQuery, pu32Num}, [&]() -> HW_Result_t {
        return vset::withModule(hDisp, pstQuery, pu32Num, [&](std::optional<HW_Handle_t> module) -> HW_Result_t {
            *pu32Num = module ? vset::moduleCount(hDisp) : 0;
            return HW_OK;
        });
    });
}

HW_Result_t HW_DISP_GetConnected(HW_Handle_t hDisp, const HW_DISP_ConnectQuery_t* pstQuery, HW_U32 u32Num,
                                 HW_Handle_t* phModules) {
    return vset::call(__func__, {hDisp, pstQuery, u32Num, phModules}, [&]() -> HW_Result_t {
        return vset::withModule(hDisp, pstQuery, phModules, [&](std::optional<HW_Handle_t> module) -> HW_Result_t {
            if (u32Num == 0) {
                return HW_OK;
            }
            if (!module) {
                return HW_ERR_FAILED;
            }
            std::fill_n(phModules, std::min(u32Num, vset::moduleCount(hDisp)), *module);
            return HW_OK;
        });
    });
}

HW_Result_t HW_DISP_GetDispRect(HW_Handle_t hDisp, HW_DISP_Rect_t* pstRect) {
    return vset::call(__func__, {hDisp, pstRect}, [&]() -> HW_Result_t {
        return dispModel.onWindow(hDisp, pstRect, [&](const DisplayWindow& stWindow) {
            *pstRect = stWindow.state.rectangle;
            return HW_OK;
        });
    });
}

HW_Result_t HW_DISP_SetInputRect(HW_Handle_t hDisp, const HW_DISP_InputRect_t* pstRect) {
    return vset::call(__func__, {hDisp, pstRect}, [&]() -> HW_Result_t {
        return dispModel.onWindow(hDisp, pstRect, [&](DisplayWindow& stWindow) {
            stWindow.state.inputRectangle = *pstRect;
            stWindow.state.bPending = true;
            return HW_OK;
        });
    });
}

HW_Result_t HW_DISP_SetMute(HW_Handle_t hDisp, HW_U32 u32Flags) {
    return vset::call(__func__, {hDisp, u32Flags}, [&]() -> HW_Result_t { return vset::mute(hDisp, u32Flags, true); });
}

HW_Result_t HW_DISP_SetUnMute(HW_Handle_t hDisp, HW_U32 u32Flags) {
    return vset::call(__func__, {hDisp, u32Flags}, [&]() -> HW_Result_t { return vset::mute(hDisp, u32Flags, false); });
}

HW_Result_t HW_DISP_ApplySetting(HW_Handle_t hDisp) {
    return vset::call(__func__, {hDisp}, [&]() -> HW_Result_t {
        return dispModel.onWindow(hDisp, &hDisp, [&](DisplayWindow& stWindow) {
            stWindow.state.bPending = false;
            stWindow.state.shownRectangle = stWindow.state.inputRectangle;
            return HW_OK;
        });
    });
}

// --- Control API -----------------------------------------------------------------------------------------------------

namespace vset::disp {

Window window(unsigned int u32Window) {
    requireWindow(u32Window);
    Window stFound = dispModel.locked([&](DisplayWindows& windows) { return windows[u32Window].state; });
    if (const auto instance = dispModel.handles().instance(u32Window)) {
        stFound.bOpen = true;
        stFound.bPlayer = instance->bPlayer;
    }
    stFound.video = videoInfo(u32Window);
    return stFound;
}

void hold(unsigned int u32Window) {
    requireWindow(u32Window);
    dispModel.hold(u32Window, windowName(u32Window));
}

void release(unsigned int u32Window) {
    requireWindow(u32Window);
    dispModel.release(u32Window, windowName(u32Window));
}

void setRectangle(unsigned int u32Window, const HW_DISP_Rect_t& stRectangle) {
    requireWindow(u32Window);
    dispModel.locked([&](DisplayWindows& windows) { windows[u32Window].state.rectangle = stRectangle; });
}

void setModuleCount(unsigned int u32Window, unsigned int u32Count) {
    constexpr unsigned int kMost = 64;
    requireWindow(u32Window);
    if (u32Count == 0 || u32Count > kMost) {
        throw SetError(windowName(u32Window) + ": reports 1 to " + std::to_string(kMost) + " modules");
    }
    dispModel.locked([&](DisplayWindows& windows) { windows[u32Window].u32ModuleCount = u32Count; });
}

void connectInput(unsigned int u32Window, const Input& input) {
    requireWindow(u32Window);
    const std::lock_guard<std::mutex> hand(inputHand());
    if (window(u32Window).input) {
        throw SetError(windowName(u32Window) + ": an input is connected already");
    }
    const bool bHeld = !openHandle(input);
    if (bHeld) {
        extin::hold(input.u32Type, input.u32Index);
    }
    dispModel.locked([&](DisplayWindows& windows) {
        windows[u32Window].state.input = input;
        windows[u32Window].bInputHeld = bHeld;
    });
}

void disconnectInput(unsigned int u32Window) {
    requireWindow(u32Window);
    const std::lock_guard<std::mutex> hand(inputHand());
    const auto input = window(u32Window).input;
    if (!input) {
        throw SetError(windowName(u32Window) + ": no input is connected");
    }
    const bool bGiveBack = dispModel.locked([&](DisplayWindows& windows) {
        windows[u32Window].state.input.reset();
        const bool bHeld = std::exchange(windows[u32Window].bInputHeld, false);
        const auto other = std::find_if(windows.begin(), windows.end(), [&](const DisplayWindow& stWindow) {
            return stWindow.state.input && keyOf(*stWindow.state.input) == keyOf(*input);
        });
        if (bHeld && other != windows.end()) {
            other->bInputHeld = true;
            return false;
        }
        return bHeld;
    });
    // An action may have closed what the player had opened.
    const auto handle = openHandle(*input);
    if (bGiveBack && handle && handle->bPlayer) {
        extin::release(input->u32Type, input->u32Index);
    }
}

Picture picture(unsigned int u32Window) {
    requireWindow(u32Window);
    Picture picture = blackPicture(panel::kWidth, panel::kHeight);
    paintDisplayWindow(u32Window, picture);
    return picture;
}

}  // namespace vset::disp
