// SPDX-License-Identifier: Apache-2.0
// Video paths: at most one for each display window.
#include "hw3/hw_video.h"

#include "disp_model.h"
#include "vset_call.h"
#include "vset_folder.h"

namespace vset {

namespace {

constexpr HW_VIDEO_Info_t kPlayersVideo = {1920, 1080, 59940, 0};

struct State {
    std::array<std::optional<HW_VIDEO_Info_t>, disp::kWindows> paths;
    std::chrono::steady_clock::time_point start;
    std::optional<std::uint64_t> frozenFrame;
};

// The paths' model. The key of a handle is the window that the path is connected to.
class VideoModel : public StatefulModel<State> {
public:
    VideoModel() : StatefulModel(FamilyId::video, "HW_VIDEO") {}

    // Connects a path and opens its handle, which exists exactly as long as the path.
    void connect(unsigned int u32Window, const HW_VIDEO_Info_t& stInfo) {
        locked([&](State& state) {
            HW_Handle_t hNew = HW_HANDLE_NONE;  // stays so when the path has a handle already
            handles().open(u32Window, &hNew, true);
            state.paths[u32Window] = stInfo;
        });
    }

protected:
    void reset() override {
        locked([](State& state) { state = {{}, std::chrono::steady_clock::now(), std::nullopt}; });
        connect(0, kPlayersVideo);
    }
};
VideoModel& model = *new VideoModel;

// Returns the frame that is shown now. 64 bits of milliseconds x rate suffice for a month even at the highest rate that
// a record can hold.
std::uint64_t runningFrame(const State& state, HW_U32 u32FrameRate) {
    const auto time = std::chrono::steady_clock::now() - state.start;
    const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(time).count();
    return static_cast<std::uint64_t>(milliseconds) * u32FrameRate / 1000000;
}

HW_Result_t getInfo(HW_Handle_t hVideo, HW_U32 u32Attr, const void* pInput, void* pOutput) {
    const auto window = model.handles().key(hVideo);
    const auto info = window ? videoInfo(static_cast<unsigned int>(*window)) : std::nullopt;
    if (!info) {
        return HW_ERR_INVALID_HANDLE;
    }
    if (u32Attr != E_HW_VIDEO_ATTR_INFO) {
        return HW_ERR_NOT_SUPPORT;
    }
    if (pInput != nullptr || pOutput == nullptr) {
        return HW_ERR_INVALID_PARAMETER;
    }
    *static_cast<HW_VIDEO_Info_t*>(pOutput) = *info;
    return HW_OK;
}

}  // namespace

std::optional<HW_VIDEO_Info_t> videoInfo(unsigned int u32Window) {
    return model.locked([&](const State& state) { return state.paths[u32Window]; });
}

std::optional<HW_Handle_t> videoHandle(unsigned int u32Window) {
    const auto instance = model.handles().instance(u32Window);
    return instance ? std::optional<HW_Handle_t>(instance->u32Handle) : std::nullopt;
}

std::optional<std::uint64_t> videoFrame(unsigned int u32Window) {
    return model.locked([&](const State& state) -> std::optional<std::uint64_t> {
        const auto& path = state.paths[u32Window];
        if (!path) {
            return std::nullopt;
        }
        return state.frozenFrame ? *state.frozenFrame : runningFrame(state, path->u32FrameRate);
    });
}

}  // namespace vset

HW_Result_t HW_VIDEO_GetAttr(HW_Handle_t hVideo, HW_U32 u32Attr, const void* pInput, void* pOutput) {
    return vset::call(__func__, {hVideo, u32Attr, pInput, pOutput},
                      [&]() -> HW_Result_t { return vset::getInfo(hVideo, u32Attr, pInput, pOutput); });
}

// --- Control API -----------------------------------------------------------------------------------------------------

namespace vset::disp {

void connectVideo(unsigned int u32Window, const HW_VIDEO_Info_t& stInfo) {
    requireWindow(u32Window);
    model.connect(u32Window, stInfo);
}

void disconnectVideo(unsigned int u32Window) {
    requireWindow(u32Window);
    const bool bConnected = model.locked([&](State& state) {
        const auto handle = videoHandle(u32Window);
        state.paths[u32Window].reset();
        return handle && model.handles().remove(*handle);
    });
    if (!bConnected) {
        throw SetError(windowName(u32Window) + ": no video path is connected");
    }
}

void freezeVideo(std::optional<std::uint64_t> frame) {
    requireSet();
    model.locked([&](State& state) { state.frozenFrame = frame; });
}

}  // namespace vset::disp
