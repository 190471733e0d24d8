// SPDX-License-Identifier: Apache-2.0
// A set whose middleware is up, and the steps of a program to its on-screen graphics.
#ifndef TESTS_SUPPORT_OSD_FIXTURE_H
#define TESTS_SUPPORT_OSD_FIXTURE_H

#include <vector>

#include "hw3/hw_os.h"
#include "hw3/hw_osd.h"
#include "support/middleware_calls.h"
#include "vset/osd.h"

namespace test {

inline HW_Result_t findLayer(HW_S32 s32Layer, HW_Handle_t* phLayer) {
    return HW_OSD_GetLayerHandle(&s32Layer, phLayer);
}

inline HW_OSD_SurfaceAttr_t surfaceAt(HW_U64 u64Address, HW_U32 u32Width, HW_U32 u32Height) {
    return {u32Width, u32Height, u32Width * 4, 8, 0, 2, u64Address, 0};
}

inline HW_OSD_SurfaceAttr_t surfaceOver(std::vector<HW_U32>& pixels, HW_U32 u32Width) {
    const auto u32Height = static_cast<HW_U32>(pixels.size() / u32Width);
    return {u32Width, u32Height, u32Width * 4, 8, 0, 1, reinterpret_cast<HW_U64>(pixels.data()), 0};
}

class OsdTest : public RunningTest {
protected:
    static constexpr HW_U32 kIommuLength = 0x10000;
    static constexpr HW_U32 kAlignment = 64;  // of a new set's surfaces

    static HW_Handle_t layer(HW_S32 s32Layer) {
        HW_Handle_t hLayer = HW_HANDLE_NONE;
        EXPECT_EQ(findLayer(s32Layer, &hLayer), HW_OK);
        return hLayer;
    }

    static HW_Handle_t playersWindow(HW_S32 s32Layer) {
        HW_Handle_t hWindow = HW_HANDLE_NONE;
        EXPECT_EQ(HW_OSD_LayerQueryWindowHandle(layer(s32Layer), &hWindow), HW_OK);
        return hWindow;
    }

    static HW_Handle_t playersSurface() {
        HW_Handle_t hSurface = HW_HANDLE_NONE;
        EXPECT_EQ(HW_OSD_WindowGetSurface(playersWindow(0), &hSurface), HW_OK);
        return hSurface;
    }

    static HW_U32* pixelsOf(HW_Handle_t hSurface) {
        HW_U64 u64Virt = 0, u64Phys = 0;
        EXPECT_EQ(HW_OSD_SurfaceLock(hSurface, &u64Virt, &u64Phys), HW_OK);
        return reinterpret_cast<HW_U32*>(u64Virt);
    }

    static HW_Handle_t create(const HW_OSD_SurfaceAttr_t& stAttr) {
        HW_Handle_t hSurface = HW_HANDLE_NONE;
        EXPECT_EQ(HW_OSD_SurfaceCreate(&stAttr, &hSurface), HW_OK);
        return hSurface;
    }

    // Creates and shows layer 2.
    static HW_Handle_t createLayer(const vset::osd::Rectangle& r, HW_U32 u32SrcWidth, HW_U32 u32SrcHeight) {
        const HW_OSD_LayerAttr_t stAttr = {2, 7, r.u32X, r.u32Y, r.u32Width, r.u32Height, u32SrcWidth, u32SrcHeight};
        HW_Handle_t hLayer = HW_HANDLE_NONE;
        EXPECT_EQ(HW_OSD_LayerCreate(&stAttr, &hLayer), HW_OK);
        EXPECT_EQ(HW_OSD_LayerShow(hLayer), HW_OK);
        return hLayer;
    }

    static HW_Handle_t createWindow(HW_Handle_t hLayer, const vset::osd::Rectangle& r, HW_U32 u32SrcWidth,
                                    HW_U32 u32SrcHeight, HW_Handle_t hSurface) {
        const HW_OSD_WindowAttr_t stAttr = {hLayer, r.u32X, r.u32Y,      r.u32Width,   r.u32Height, 1,
                                            8,      2,      u32SrcWidth, u32SrcHeight, {}};
        HW_Handle_t hWindow = HW_HANDLE_NONE;
        EXPECT_EQ(HW_OSD_WindowCreate(&stAttr, &hWindow), HW_OK);
        EXPECT_EQ(HW_OSD_WindowFlipByExternSurface(hWindow, hSurface), HW_OK);
        return hWindow;
    }

    static HW_U64 allocate() {
        HW_OS_IommuRequest_t stRequest = {"canvas", kIommuLength, 1, 0, 0};
        EXPECT_EQ(HW_OS_AllocateIommuMemory(&stRequest), HW_OK);
        return stRequest.u64PhysAddr;
    }
    static HW_Result_t release(HW_U64 u64Address) {
        const HW_OS_IommuRelease_t stRelease = {u64Address, kIommuLength, 0};
        return HW_OS_FreeIommuMemory(&stRelease);
    }
};

}  // namespace test

#endif
