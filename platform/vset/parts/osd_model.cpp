// SPDX-License-Identifier: Apache-2.0
// Layers, windows and surfaces of the on-screen graphics, and who holds them.
#include "osd_model.h"

#include <algorithm>

#include "vset/panel.h"

namespace vset {

namespace {

template <class Part>
auto findHandle(std::vector<Part>& parts, HW_Handle_t hHandle) {
    return std::find_if(parts.begin(), parts.end(), [=](const Part& stPart) { return stPart.u32Handle == hHandle; });
}

template <class Part>
Part* partOf(std::vector<Part>& parts, HW_Handle_t hHandle) {
    const auto found = findHandle(parts, hHandle);
    return found != parts.end() ? &*found : nullptr;
}

std::uint64_t sizeOf(const osd::Surface& stSurface) {
    return std::uint64_t{stSurface.u32Pitch} * stSurface.u32Height;
}

// The objects that the player makes when the set is switched on.
constexpr unsigned int kPlayersLayers = 2;
constexpr HW_U32 kWidth = panel::kWidth, kHeight = panel::kHeight;

HW_OSD_LayerAttr_t playersLayer(HW_U32 u32Layer) {
    return {u32Layer, 7, 0, 0, kWidth, kHeight, kWidth, kHeight};
}

HW_OSD_WindowAttr_t playersWindow(HW_Handle_t hLayer) {
    return {hLayer, 0, 0, kWidth, kHeight, 1, E_HW_OSD_COLOR_ARGB8888, 2, kWidth, kHeight, {}};
}

HW_OSD_SurfaceAttr_t playersSurface(const HW_U8* pu8Pixels) {
    return {kWidth,
            kHeight,
            kWidth * kOsdPixelSize,
            E_HW_OSD_COLOR_ARGB8888,
            0,
            E_HW_OSD_MEM_VIRTUAL,
            static_cast<HW_U64>(reinterpret_cast<std::uintptr_t>(pu8Pixels)),
            0};
}

}  // namespace

osd::Layer* OsdState::layer(HW_Handle_t hLayer) {
    for (std::optional<osd::Layer>& layer : layers) {
        if (layer && layer->u32Handle == hLayer) {
            return &*layer;
        }
    }
    return nullptr;
}

osd::Window* OsdState::window(HW_Handle_t hWindow) {
    for (std::optional<osd::Layer>& layer : layers) {
        osd::Window* const pstWindow = layer ? partOf(layer->windows, hWindow) : nullptr;
        if (pstWindow != nullptr) {
            return pstWindow;
        }
    }
    return nullptr;
}

osd::Surface* OsdState::surface(HW_Handle_t hSurface) {
    return partOf(surfaces, hSurface);
}

std::shared_ptr<HW_U8> memoryOf(const osd::Surface& stSurface) {
    if (stSurface.bPhysical) {
        return emulatedMemory.range(stSurface.u64Address, sizeOf(stSurface));
    }
    // The caller's memory, which the caller keeps for as long as the surface lives.
    if (stSurface.u64Address > UINTPTR_MAX || sizeOf(stSurface) > UINTPTR_MAX - stSurface.u64Address) {
        return nullptr;
    }
    return {std::shared_ptr<HW_U8>(), reinterpret_cast<HW_U8*>(static_cast<std::uintptr_t>(stSurface.u64Address))};
}

OsdModel& osdModel = *new OsdModel;

OsdModel::OsdModel() : StatefulModel(FamilyId::osdLayer, "HW_OSD") {
    alsoHas(_windows);
    alsoHas(_surfaces);
}

void OsdModel::reset() {
    locked([this](OsdState& state) {
        state = {};
        setPlayersScene(state);
    });
}

void OsdModel::setPlayersScene(OsdState& state) {
    _playersPixels = std::make_unique<GuardedMemory>(std::size_t{kWidth} * kHeight * kOsdPixelSize);
    HW_Handle_t hSurface = HW_HANDLE_NONE;
    createSurface(state, playersSurface(_playersPixels->data()), &hSurface, true);
    for (HW_U32 u32Layer = 0; u32Layer < kPlayersLayers; ++u32Layer) {
        HW_Handle_t hLayer = HW_HANDLE_NONE, hWindow = HW_HANDLE_NONE;
        createLayer(state, playersLayer(u32Layer), &hLayer, true);
        osd::Layer& stLayer = *state.layer(hLayer);
        stLayer.bShown = true;
        createWindow(stLayer, playersWindow(hLayer), &hWindow, true);
    }
    state.layers[0]->windows.front().u32Surface = hSurface;
}

HW_Result_t OsdModel::createLayer(OsdState& state, const HW_OSD_LayerAttr_t& stAttr, HW_Handle_t* phLayer,
                                  bool bPlayer) {
    const HW_Result_t result = handles().open(stAttr.u32LayerId, phLayer, bPlayer);
    if (result == HW_OK) {
        state.layers[stAttr.u32LayerId] = osd::Layer{*phLayer,
                                                     bPlayer,
                                                     {stAttr.u32X, stAttr.u32Y, stAttr.u32Width, stAttr.u32Height},
                                                     stAttr.u32SrcWidth,
                                                     stAttr.u32SrcHeight,
                                                     false,
                                                     std::nullopt,
                                                     {}};
    }
    return result;
}

void OsdModel::destroyLayer(OsdState& state, HW_Handle_t hLayer) {
    for (std::optional<osd::Layer>& layer : state.layers) {
        if (layer && layer->u32Handle == hLayer) {
            for (const osd::Window& stWindow : layer->windows) {
                _windows.remove(stWindow.u32Handle);
            }
            handles().remove(hLayer);
            layer.reset();
        }
    }
}

HW_Result_t OsdModel::createWindow(osd::Layer& stLayer, const HW_OSD_WindowAttr_t& stAttr, HW_Handle_t* phWindow,
                                   bool bPlayer) {
    const HW_Result_t result = _windows.open(++_u64Made, phWindow, bPlayer);
    if (result == HW_OK) {
        stLayer.windows.push_back({*phWindow,
                                   {stAttr.u32X, stAttr.u32Y, stAttr.u32Width, stAttr.u32Height},
                                   stAttr.u32SrcWidth,
                                   stAttr.u32SrcHeight,
                                   true,
                                   0,
                                   HW_HANDLE_NONE});
    }
    return result;
}

HW_Result_t OsdModel::createSurface(OsdState& state, const HW_OSD_SurfaceAttr_t& stAttr, HW_Handle_t* phSurface,
                                    bool bPlayer) {
    osd::Surface stSurface{HW_HANDLE_NONE,        stAttr.u32Width,
                           stAttr.u32Height,      stAttr.u32Pitch,
                           stAttr.u32ColorFormat, stAttr.u32MemKind == E_HW_OSD_MEM_PHYSICAL,
                           stAttr.u64Address,     0};
    if (memoryOf(stSurface) == nullptr) {
        return HW_ERR_INVALID_PARAMETER;
    }
    const HW_Result_t result = _surfaces.open(++_u64Made, phSurface, bPlayer);
    if (result == HW_OK) {
        stSurface.u32Handle = *phSurface;
        state.surfaces.push_back(stSurface);
    }
    return result;
}

void OsdModel::destroySurface(OsdState& state, HW_Handle_t hSurface) {
    const auto found = findHandle(state.surfaces, hSurface);
    if (found == state.surfaces.end()) {
        return;
    }
    for (std::optional<osd::Layer>& layer : state.layers) {
        if (!layer) {
            continue;
        }
        for (osd::Window& stWindow : layer->windows) {
            stWindow.u32Surface = stWindow.u32Surface == hSurface ? HW_HANDLE_NONE : stWindow.u32Surface;
        }
    }
    _surfaces.remove(hSurface);
    state.surfaces.erase(found);
}

}  // namespace vset
