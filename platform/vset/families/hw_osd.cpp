// SPDX-License-Identifier: Apache-2.0
// On-screen graphics.
#include "hw3/hw_osd.h"

#include <algorithm>
#include <cstring>

#include <sys/mman.h>
#include <unistd.h>

#include "osd_model.h"
#include "osd_paint.h"
#include "panel_picture.h"
#include "vset_call.h"
#include "vset_folder.h"

namespace vset {

namespace {

// Fixed values of the records.
constexpr HW_U32 kSurfaceMax = 64, kLayerFlags = 7, kBufferMode = 2;
constexpr HW_U8 kWindowFlag = 1;

bool isFormat(HW_U32 u32Format) {
    return u32Format == E_HW_OSD_COLOR_ARGB8888 || u32Format == E_HW_OSD_COLOR_CAPTURE;
}

// Returns whether rectangle and source of a layer or a window have a size.
template <class Attr>
bool hasSize(const Attr& stAttr) {
    return stAttr.u32Width != 0 && stAttr.u32Height != 0 && stAttr.u32SrcWidth != 0 && stAttr.u32SrcHeight != 0;
}

bool isValid(const HW_OSD_LayerAttr_t& stAttr) {
    return stAttr.u32LayerId < osd::kLayers && stAttr.u32Flags == kLayerFlags && hasSize(stAttr);
}

bool isValid(const HW_OSD_WindowAttr_t& stAttr) {
    const auto isZero = [](HW_U32 u32Word) { return u32Word == 0; };
    return hasSize(stAttr) && stAttr.u8Flag == kWindowFlag && isFormat(stAttr.u32ColorFormat) &&
           stAttr.u32BufferMode == kBufferMode &&
           std::all_of(std::begin(stAttr.au32Reserved), std::end(stAttr.au32Reserved), isZero);
}

bool isValid(const HW_OSD_SurfaceAttr_t& stAttr) {
    const bool bKind = stAttr.u32MemKind == E_HW_OSD_MEM_VIRTUAL || stAttr.u32MemKind == E_HW_OSD_MEM_PHYSICAL;
    return stAttr.u32Width != 0 && stAttr.u32Height != 0 && stAttr.u32Pitch / kOsdPixelSize >= stAttr.u32Width &&
           isFormat(stAttr.u32ColorFormat) && bKind && stAttr.u32Reserved == 0 && stAttr.u64Reserved == 0;
}

bool isValid(const HW_OSD_ColorMatrix_t& stMatrix) {
    return stMatrix.u8Enable <= 1 && stMatrix.u32Reserved == 0;
}

// Runs `body` on the object of a handle; `pFind` is the state's look-up.
template <class Part, class Body>
HW_Result_t with(Part* (OsdState::*pFind)(HW_Handle_t), HW_Handle_t hHandle, Body&& body) {
    return osdModel.locked([&](OsdState& state) -> HW_Result_t {
        Part* const pstPart = (state.*pFind)(hHandle);
        return pstPart != nullptr ? body(state, *pstPart) : HW_ERR_INVALID_HANDLE;
    });
}

template <class Body>
HW_Result_t onLayer(HW_Handle_t hLayer, Body&& body) {
    return with(&OsdState::layer, hLayer, body);
}
template <class Body>
HW_Result_t onWindow(HW_Handle_t hWindow, Body&& body) {
    return with(&OsdState::window, hWindow, body);
}
template <class Body>
HW_Result_t onSurface(HW_Handle_t hSurface, Body&& body) {
    return with(&OsdState::surface, hSurface, body);
}

HW_Result_t showLayer(HW_Handle_t hLayer, bool bShown) {
    return onLayer(hLayer, [&](OsdState&, osd::Layer& stLayer) {
        stLayer.bShown = bShown;
        return HW_OK;
    });
}

HW_Result_t showWindow(HW_Handle_t hWindow, bool bShown) {
    return onWindow(hWindow, [&](OsdState&, osd::Window& stWindow) {
        stWindow.bShown = bShown;
        return HW_OK;
    });
}

HW_Result_t giveSize(HW_U32 u32Width, HW_U32 u32Height, HW_U32* pu32Width, HW_U32* pu32Height) {
    if (pu32Width == nullptr || pu32Height == nullptr) {
        return HW_ERR_INVALID_PARAMETER;
    }
    *pu32Width = u32Width;
    *pu32Height = u32Height;
    return HW_OK;
}

HW_Result_t give(HW_Handle_t hFound, HW_Handle_t* phOut) {
    if (phOut == nullptr) {
        return HW_ERR_INVALID_PARAMETER;
    }
    if (hFound == HW_HANDLE_NONE) {
        return HW_ERR_FAILED;
    }
    *phOut = hFound;
    return HW_OK;
}

HW_Result_t createLayer(const HW_OSD_LayerAttr_t* pstAttr, HW_Handle_t* phLayer) {
    if (pstAttr == nullptr || phLayer == nullptr) {
        return HW_ERR_INVALID_PARAMETER;
    }
    if (systemReadiness() != HW_OK) {
        return HW_ERR_NOT_INITED;
    }
    return osdModel.locked([&](OsdState& state) -> HW_Result_t {
        const auto exists = [](const std::optional<osd::Layer>& layer) { return layer.has_value(); };
        if (std::all_of(state.layers.begin(), state.layers.end(), exists)) {
            return HW_ERR_RESOURCES;
        }
        return isValid(*pstAttr) ? osdModel.createLayer(state, *pstAttr, phLayer) : HW_ERR_INVALID_PARAMETER;
    });
}

HW_Result_t createWindow(const HW_OSD_WindowAttr_t* pstAttr, HW_Handle_t* phWindow) {
    if (pstAttr == nullptr || phWindow == nullptr) {
        return HW_ERR_INVALID_PARAMETER;
    }
    return onLayer(pstAttr->hLayer, [&](OsdState&, osd::Layer& stLayer) {
        return isValid(*pstAttr) ? osdModel.createWindow(stLayer, *pstAttr, phWindow) : HW_ERR_INVALID_PARAMETER;
    });
}

// Returns whether the process can reach the memory that a caller gives.
bool isMapped(std::uint64_t u64Address, std::uint64_t u64Size) {
    const std::uint64_t u64Page = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    const std::uint64_t u64Begin = u64Address & ~(u64Page - 1);
    return u64Address + u64Size > u64Address && msync(reinterpret_cast<void*>(static_cast<std::uintptr_t>(u64Begin)),
                                                      u64Address + u64Size - u64Begin, MS_ASYNC) == 0;
}

HW_Result_t judgeMemory(const OsdState& state, const HW_OSD_SurfaceAttr_t& stAttr) {
    const bool bAligned =
        stAttr.u64Address % state.u32AddressAlignment == 0 && stAttr.u32Pitch % state.u32PitchAlignment == 0;
    const bool bOurs = stAttr.u32MemKind == E_HW_OSD_MEM_PHYSICAL ||
                       isMapped(stAttr.u64Address, std::uint64_t{stAttr.u32Pitch} * stAttr.u32Height);
    if (!bAligned || !bOurs) {
        return HW_ERR_INVALID_PARAMETER;
    }
    return state.surfaces.size() < kSurfaceMax ? HW_OK : HW_ERR_RESOURCES;
}

HW_Result_t createSurface(const HW_OSD_SurfaceAttr_t* pstAttr, HW_Handle_t* phSurface) {
    if (pstAttr == nullptr || phSurface == nullptr || !isValid(*pstAttr)) {
        return HW_ERR_INVALID_PARAMETER;
    }
    if (systemReadiness() != HW_OK) {
        return HW_ERR_NOT_INITED;
    }
    return osdModel.locked([&](OsdState& state) {
        const HW_Result_t result = judgeMemory(state, *pstAttr);
        return result == HW_OK ? osdModel.createSurface(state, *pstAttr, phSurface) : result;
    });
}

HW_Result_t capability(const OsdState& state, HW_U32 u32Capability, HW_U32* pu32Value) {
    switch (u32Capability) {
        case E_HW_OSD_SURFACE_CAP_ADDR_ALIGN:
            *pu32Value = state.u32AddressAlignment;
            return HW_OK;
        case E_HW_OSD_SURFACE_CAP_PITCH_ALIGN:
            *pu32Value = state.u32PitchAlignment;
            return HW_OK;
        default:
            return HW_ERR_INVALID_PARAMETER;
    }
}

HW_Result_t lockSurface(osd::Surface& stSurface, HW_U64* pu64Virt, HW_U64* pu64Phys) {
    if (pu64Virt == nullptr || pu64Phys == nullptr) {
        return HW_ERR_INVALID_PARAMETER;
    }
    const std::shared_ptr<HW_U8> memory = memoryOf(stSurface);
    if (memory == nullptr) {
        return HW_ERR_FAILED;
    }
    ++stSurface.u32Locks;
    *pu64Virt = static_cast<HW_U64>(reinterpret_cast<std::uintptr_t>(memory.get()));
    *pu64Phys = stSurface.bPhysical ? stSurface.u64Address : 0;
    return HW_OK;
}

HW_Result_t unlockSurface(osd::Surface& stSurface) {
    if (stSurface.u32Locks == 0) {
        return HW_ERR_FAILED;
    }
    --stSurface.u32Locks;
    return HW_OK;
}

void paintLayer(OsdState& state, const osd::Layer& stLayer, Picture& picture) {
    std::vector<const osd::Window*> windows;
    for (const osd::Window& stWindow : stLayer.windows) {
        windows.push_back(&stWindow);
    }
    std::stable_sort(windows.begin(), windows.end(), [](const osd::Window* pstLower, const osd::Window* pstUpper) {
        return pstLower->u32ZOrder < pstUpper->u32ZOrder;
    });
    for (const osd::Window* pstWindow : windows) {
        const osd::Surface* const pstSurface = pstWindow->bShown ? state.surface(pstWindow->u32Surface) : nullptr;
        const std::shared_ptr<HW_U8> memory = pstSurface != nullptr ? memoryOf(*pstSurface) : nullptr;
        if (memory != nullptr) {
            paintSurface(stLayer, *pstWindow, *pstSurface, memory.get(), picture);
        }
    }
}

std::string nameOf(unsigned int u32Layer) {
    return "OSD layer " + std::to_string(u32Layer);
}

bool isPowerOfTwo(std::uint32_t u32Value) {
    return u32Value != 0 && (u32Value & (u32Value - 1)) == 0;
}

}  // namespace

void paintOsd(Picture& picture) {
    osdModel.locked([&](OsdState& state) {
        for (const std::optional<osd::Layer>& layer : state.layers) {
            if (layer && layer->bShown) {
                paintLayer(state, *layer, picture);
            }
        }
    });
}

}  // namespace vset

using vset::OsdState;

HW_Result_t HW_OSD_Init(const HW_OSD_InitParams_t* pstParams) {
    return vset::call(__func__, {pstParams}, [&]() -> HW_Result_t {
        const bool bSurfaces = pstParams != nullptr && pstParams->u32SurfaceMax == vset::kSurfaceMax;
        return bSurfaces ? vset::osdModel.initialise(pstParams) : HW_ERR_INVALID_PARAMETER;
    });
}

// --- Layers ----------------------------------------------------------------------------------------------------------

HW_Result_t HW_OSD_GetLayerHandle(const HW_S32* ps32LayerId, HW_Handle_t* phLayer) {
    return vset::call(__func__, {ps32LayerId, phLayer}, [&]() -> HW_Result_t {
        if (ps32LayerId == nullptr || static_cast<HW_U32>(*ps32LayerId) >= vset::osd::kLayers) {
            return HW_ERR_INVALID_PARAMETER;
        }
        const HW_Result_t result = vset::systemReadiness();
        return result == HW_OK ? vset::osdModel.handles().find(static_cast<HW_U32>(*ps32LayerId), phLayer) : result;
    });
}

HW_Result_t HW_OSD_LayerCreate(const HW_OSD_LayerAttr_t* pstAttr, HW_Handle_t* phLayer) {
    return vset::call(__func__, {pstAttr, phLayer},
                      [&]() -> HW_Result_t { return vset::createLayer(pstAttr, phLayer); });
}

HW_Result_t HW_OSD_LayerDestroy(HW_Handle_t hLayer) {
    return vset::call(__func__, {hLayer}, [&]() -> HW_Result_t {
        return vset::onLayer(hLayer, [&](OsdState& state, const vset::osd::Layer& stLayer) -> HW_Result_t {
            if (stLayer.bPlayer) {
                return HW_ERR_INVALID_HANDLE;
            }
            vset::osdModel.destroyLayer(state, hLayer);
            return HW_OK;
        });
    });
}

HW_Result_t HW_OSD_LayerShow(HW_Handle_t hLayer) {
    return vset::call(__func__, {hLayer}, [&]() -> HW_Result_t { return vset::showLayer(hLayer, true); });
}

HW_Result_t HW_OSD_LayerHide(HW_Handle_t hLayer) {
    return vset::call(__func__, {hLayer}, [&]() -> HW_Result_t { return vset::showLayer(hLayer, false); });
}

HW_Result_t HW_OSD_LayerGetSize(HW_Handle_t hLayer, HW_U32* pu32Width, HW_U32* pu32Height) {
    return vset::call(__func__, {hLayer, pu32Width, pu32Height}, [&]() -> HW_Result_t {
        return vset::onLayer(hLayer, [&](OsdState&, const vset::osd::Layer& stLayer) {
            return vset::giveSize(stLayer.u32SrcWidth, stLayer.u32SrcHeight, pu32Width, pu32Height);
        });
    });
}

HW_Result_t HW_OSD_LayerQueryWindowHandle(HW_Handle_t hLayer, HW_Handle_t* phWindow) {
    return vset::call(__func__, {hLayer, phWindow}, [&]() -> HW_Result_t {
        return vset::onLayer(hLayer, [&](OsdState&, const vset::osd::Layer& stLayer) {
            const HW_Handle_t hFirst = stLayer.windows.empty() ? HW_HANDLE_NONE : stLayer.windows.front().u32Handle;
            return vset::give(hFirst, phWindow);
        });
    });
}

HW_Result_t HW_OSD_LayerSetColorMatrix(HW_Handle_t hLayer, const HW_OSD_ColorMatrix_t* pstMatrix) {
    return vset::call(__func__, {hLayer, pstMatrix}, [&]() -> HW_Result_t {
        return vset::onLayer(hLayer, [&](OsdState&, vset::osd::Layer& stLayer) -> HW_Result_t {
            if (pstMatrix == nullptr || !vset::isValid(*pstMatrix)) {
                return HW_ERR_INVALID_PARAMETER;
            }
            stLayer.colorMatrix = *pstMatrix;
            return HW_OK;
        });
    });
}

// --- Windows ---------------------------------------------------------------------------------------------------------

HW_Result_t HW_OSD_WindowCreate(const HW_OSD_WindowAttr_t* pstAttr, HW_Handle_t* phWindow) {
    return vset::call(__func__, {pstAttr, phWindow},
                      [&]() -> HW_Result_t { return vset::createWindow(pstAttr, phWindow); });
}

HW_Result_t HW_OSD_WindowSetZOrder(HW_Handle_t hWindow, HW_U32 u32ZOrder) {
    return vset::call(__func__, {hWindow, u32ZOrder}, [&]() -> HW_Result_t {
        return vset::onWindow(hWindow, [&](OsdState&, vset::osd::Window& stWindow) {
            stWindow.u32ZOrder = u32ZOrder;
            return HW_OK;
        });
    });
}

HW_Result_t HW_OSD_WindowShow(HW_Handle_t hWindow) {
    return vset::call(__func__, {hWindow}, [&]() -> HW_Result_t { return vset::showWindow(hWindow, true); });
}

HW_Result_t HW_OSD_WindowHide(HW_Handle_t hWindow) {
    return vset::call(__func__, {hWindow}, [&]() -> HW_Result_t { return vset::showWindow(hWindow, false); });
}

HW_Result_t HW_OSD_WindowFlipByExternSurface(HW_Handle_t hWindow, HW_Handle_t hSurface) {
    return vset::call(__func__, {hWindow, hSurface}, [&]() -> HW_Result_t {
        return vset::onWindow(hWindow, [&](OsdState& state, vset::osd::Window& stWindow) -> HW_Result_t {
            if (state.surface(hSurface) == nullptr) {
                return HW_ERR_INVALID_HANDLE;
            }
            stWindow.u32Surface = hSurface;
            return HW_OK;
        });
    });
}

HW_Result_t HW_OSD_WindowGetSurface(HW_Handle_t hWindow, HW_Handle_t* phSurface) {
    return vset::call(__func__, {hWindow, phSurface}, [&]() -> HW_Result_t {
        return vset::onWindow(hWindow, [&](OsdState&, const vset::osd::Window& stWindow) {
            return vset::give(stWindow.u32Surface, phSurface);
        });
    });
}

// --- Surfaces --------------------------------------------------------------------------------------------------------

HW_Result_t HW_OSD_SurfaceQueryCapability(HW_U32 u32Capability, HW_U32 u32ColorFormat, HW_U32* pu32Value) {
    return vset::call(__func__, {u32Capability, u32ColorFormat, pu32Value}, [&]() -> HW_Result_t {
        if (pu32Value == nullptr || !vset::isFormat(u32ColorFormat)) {
            return HW_ERR_INVALID_PARAMETER;
        }
        if (vset::systemReadiness() != HW_OK) {
            return HW_ERR_NOT_INITED;
        }
        return vset::osdModel.locked(
            [&](const OsdState& state) { return vset::capability(state, u32Capability, pu32Value); });
    });
}

HW_Result_t HW_OSD_SurfaceCreate(const HW_OSD_SurfaceAttr_t* pstAttr, HW_Handle_t* phSurface) {
    return vset::call(__func__, {pstAttr, phSurface},
                      [&]() -> HW_Result_t { return vset::createSurface(pstAttr, phSurface); });
}

HW_Result_t HW_OSD_SurfaceDestroy(HW_Handle_t hSurface) {
    return vset::call(__func__, {hSurface}, [&]() -> HW_Result_t {
        return vset::onSurface(hSurface, [&](OsdState& state, const vset::osd::Surface& stSurface) -> HW_Result_t {
            if (vset::osdModel.isPlayersSurface(hSurface)) {
                return HW_ERR_INVALID_HANDLE;
            }
            if (stSurface.u32Locks != 0) {
                vset::detail::object("HW_OSD_SurfaceDestroy", hSurface, "destroys a locked surface");
            }
            vset::osdModel.destroySurface(state, hSurface);
            return HW_OK;
        });
    });
}

HW_Result_t HW_OSD_SurfaceGetColorFormat(HW_Handle_t hSurface, HW_OSD_ColorFormatInfo_t* pstInfo) {
    return vset::call(__func__, {hSurface, pstInfo}, [&]() -> HW_Result_t {
        return vset::onSurface(hSurface, [&](OsdState&, const vset::osd::Surface& stSurface) -> HW_Result_t {
            if (pstInfo == nullptr) {
                return HW_ERR_INVALID_PARAMETER;
            }
            *pstInfo = {stSurface.u32ColorFormat, vset::kOsdPixelSize};
            return HW_OK;
        });
    });
}

HW_Result_t HW_OSD_SurfaceLock(HW_Handle_t hSurface, HW_U64* pu64Virt, HW_U64* pu64Phys) {
    return vset::call(__func__, {hSurface, pu64Virt, pu64Phys}, [&]() -> HW_Result_t {
        return vset::onSurface(hSurface, [&](OsdState&, vset::osd::Surface& stSurface) {
            return vset::lockSurface(stSurface, pu64Virt, pu64Phys);
        });
    });
}

HW_Result_t HW_OSD_SurfaceUnlock(HW_Handle_t hSurface) {
    return vset::call(__func__, {hSurface}, [&]() -> HW_Result_t {
        return vset::onSurface(hSurface,
                               [](OsdState&, vset::osd::Surface& stSurface) { return vset::unlockSurface(stSurface); });
    });
}

HW_Result_t HW_OSD_SurfaceGetSize(HW_Handle_t hSurface, HW_U32* pu32Width, HW_U32* pu32Height) {
    return vset::call(__func__, {hSurface, pu32Width, pu32Height}, [&]() -> HW_Result_t {
        return vset::onSurface(hSurface, [&](OsdState&, const vset::osd::Surface& stSurface) {
            return vset::giveSize(stSurface.u32Width, stSurface.u32Height, pu32Width, pu32Height);
        });
    });
}

// --- Control API -----------------------------------------------------------------------------------------------------

namespace vset::osd {

std::optional<Layer> layer(unsigned int u32Layer) {
    requireSet();
    return osdModel.locked(
        [&](const OsdState& state) { return u32Layer < kLayers ? state.layers[u32Layer] : std::nullopt; });
}

void removeLayer(unsigned int u32Layer) {
    requireSet();
    osdModel.locked([&](OsdState& state) {
        if (u32Layer >= kLayers || !state.layers[u32Layer] || !state.layers[u32Layer]->bPlayer) {
            throw SetError(nameOf(u32Layer) + ": the player does not have it");
        }
        osdModel.destroyLayer(state, state.layers[u32Layer]->u32Handle);
    });
}

std::vector<Surface> surfaces() {
    requireSet();
    return osdModel.locked([](const OsdState& state) { return state.surfaces; });
}

Picture surfacePicture(std::uint32_t u32Handle) {
    requireSet();
    return osdModel.locked([&](OsdState& state) {
        const Surface* const pstSurface = state.surface(u32Handle);
        if (pstSurface == nullptr) {
            throw SetError("surface " + std::to_string(u32Handle) + ": there is none");
        }
        const std::shared_ptr<HW_U8> memory = memoryOf(*pstSurface);
        if (memory == nullptr) {
            throw SetError("surface " + std::to_string(u32Handle) + ": its memory is gone");
        }
        Picture picture{pstSurface->u32Width, pstSurface->u32Height, {}};
        picture.pixels.resize(std::size_t{picture.u32Width} * picture.u32Height);
        for (std::size_t row = 0; row < picture.u32Height; ++row) {
            std::memcpy(&picture.pixels[row * picture.u32Width], memory.get() + row * pstSurface->u32Pitch,
                        std::size_t{picture.u32Width} * kOsdPixelSize);
        }
        return picture;
    });
}

void setSurfaceAlignment(std::uint32_t u32Address, std::uint32_t u32Pitch) {
    requireSet();
    if (!isPowerOfTwo(u32Address) || !isPowerOfTwo(u32Pitch)) {
        throw SetError("surface alignment " + std::to_string(u32Address) + ", " + std::to_string(u32Pitch) +
                       ": not powers of two");
    }
    osdModel.locked([&](OsdState& state) {
        state.u32AddressAlignment = u32Address;
        state.u32PitchAlignment = u32Pitch;
    });
}

}  // namespace vset::osd
