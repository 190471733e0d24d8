// SPDX-License-Identifier: Apache-2.0
// On-screen graphics of the virtual set, as a program makes them.
#include <algorithm>
#include <functional>

#include <gtest/gtest.h>

#include "support/osd_fixture.h"
#include "support/refusals.h"

namespace {

using test::but;
using test::findLayer;
using test::kUntouched;
using test::surfaceAt;

class VsetOsd : public test::OsdTest {
protected:
    // A surface over memory of the program.
    alignas(kAlignment) HW_U32 _aPixels[16 * 4] = {};
    const HW_OSD_SurfaceAttr_t _stVirtual = {16, 4, 64, 8, 0, 1, reinterpret_cast<HW_U64>(_aPixels), 0};

    static bool isOsd(const vset::OpenHandle& stHandle) { return stHandle.strFamily.rfind("HW_OSD", 0) == 0; }
    static long openOsdHandles() {
        const std::vector<vset::OpenHandle> handles = vset::openHandles();
        return std::count_if(handles.begin(), handles.end(), isOsd);
    }
};

TEST_F(VsetOsd, ThePlayerHasTwoLayers) {
    for (unsigned int u32Layer = 0; u32Layer < 5; ++u32Layer) {
        const std::optional<vset::osd::Layer> found = vset::osd::layer(u32Layer);
        ASSERT_EQ(found.has_value(), u32Layer < 2) << u32Layer;
        if (!found) {
            continue;
        }
        EXPECT_TRUE(found->bPlayer && found->bShown);
        ASSERT_EQ(found->windows.size(), 1u);
        EXPECT_TRUE(found->windows[0].bShown);
        for (const vset::osd::Rectangle& r : {found->rectangle, found->windows[0].rectangle}) {
            EXPECT_EQ((std::vector<std::uint32_t>{r.u32X, r.u32Y, r.u32Width, r.u32Height}),
                      (std::vector<std::uint32_t>{0, 0, 1920, 1080}));
        }
        EXPECT_EQ(found->windows[0].u32Surface != 0, u32Layer == 0);
        EXPECT_EQ(layer(static_cast<HW_S32>(u32Layer)), found->u32Handle);
    }
    EXPECT_EQ(openOsdHandles(), 5);
    EXPECT_TRUE(opened().empty()) << "all of them the player's";

    HW_Handle_t hSurface = kUntouched;
    EXPECT_EQ(HW_OSD_WindowGetSurface(playersWindow(1), &hSurface), HW_ERR_FAILED) << "nothing flipped onto it";
    EXPECT_EQ(hSurface, kUntouched);
    hSurface = playersSurface();
    HW_U32 u32Width = 0, u32Height = 0;
    HW_OSD_ColorFormatInfo_t stFormat = {};
    EXPECT_EQ(HW_OSD_SurfaceGetSize(hSurface, &u32Width, &u32Height), HW_OK);
    EXPECT_EQ(HW_OSD_SurfaceGetColorFormat(hSurface, &stFormat), HW_OK);
    EXPECT_EQ(u32Width * 10000 + u32Height, 1920u * 10000 + 1080);
    EXPECT_EQ(stFormat.eColorFormat * 10 + stFormat.u8PixelByte, 84u);
    const std::vector<std::uint32_t> pixels = vset::osd::surfacePicture(hSurface).pixels;
    EXPECT_EQ(std::count(pixels.begin(), pixels.end(), 0u), 1920 * 1080) << "transparent";
}

TEST_F(VsetOsd, NeedsTheSystemAndNoInitOfItsOwn) {
    vset::powerCycle();
    const HW_OSD_InitParams_t stInit = {0, 64}, stReserved = {1, 64}, stFewer = {0, 63};
    const HW_OSD_LayerAttr_t stLayer = {2, 7, 0, 0, 8, 8, 8, 8};
    HW_U32 u32Out = kUntouched;
    const auto useAll = [&](HW_Result_t result) {
        test::expectRefusals({
            {"layer", result, [&] { return findLayer(0, &u32Out); }},
            {"a layer of its own", result, [&] { return HW_OSD_LayerCreate(&stLayer, &u32Out); }},
            {"capability", result, [&] { return HW_OSD_SurfaceQueryCapability(0, 8, &u32Out); }},
            {"surface", result, [&] { return HW_OSD_SurfaceCreate(&_stVirtual, &u32Out); }},
        });
    };
    EXPECT_EQ(HW_OSD_Init(&stInit), HW_ERR_NOT_INITED);
    useAll(HW_ERR_NOT_INITED);
    EXPECT_EQ(u32Out, kUntouched);
    EXPECT_EQ(HW_SYS_Init(nullptr), HW_OK);
    useAll(HW_OK);
    test::expectRefusals({
        {"none", HW_ERR_INVALID_PARAMETER, [&] { return HW_OSD_Init(nullptr); }},
        {"reserved", HW_ERR_INVALID_PARAMETER, [&] { return HW_OSD_Init(&stReserved); }},
        {"fewer surfaces", HW_ERR_INVALID_PARAMETER, [&] { return HW_OSD_Init(&stFewer); }},
        {"first", HW_OK, [&] { return HW_OSD_Init(&stInit); }},
        {"second", HW_HAS_INITED, [&] { return HW_OSD_Init(&stInit); }},
    });
    EXPECT_TRUE(vset::isInitialised("HW_OSD"));
}

TEST_F(VsetOsd, RefusesWhatIsWrong) {
    const std::uint64_t u64Before = vset::refusalCount();
    const HW_Handle_t hLayer = layer(1), hWindow = playersWindow(1), hSurface = playersSurface();
    HW_U32 u32Out = kUntouched;
    HW_U64 u64Out = kUntouched;
    const HW_S32 s32One = 1;
    const HW_OSD_ColorMatrix_t stEnable = {2, 0, 0, 0, 0, 0, 0, 0, 0, 0}, stReserved = {1, 0, 0, 0, 0, 0, 0, 0, 0, 1};
    const std::function<HW_Result_t()> invalid[] = {
        [&] { return findLayer(-1, &u32Out); },
        [&] { return findLayer(4, &u32Out); },
        [&] { return HW_OSD_GetLayerHandle(nullptr, &u32Out); },
        [&] { return HW_OSD_GetLayerHandle(&s32One, nullptr); },
        [&] { return HW_OSD_LayerCreate(nullptr, &u32Out); },
        [&] { return HW_OSD_WindowCreate(nullptr, &u32Out); },
        [&] { return HW_OSD_SurfaceCreate(nullptr, &u32Out); },
        [&] { return HW_OSD_LayerGetSize(hLayer, &u32Out, nullptr); },
        [&] { return HW_OSD_SurfaceGetSize(hSurface, nullptr, &u32Out); },
        [&] { return HW_OSD_SurfaceLock(hSurface, &u64Out, nullptr); },
        [&] { return HW_OSD_SurfaceLock(hSurface, nullptr, &u64Out); },
        [&] { return HW_OSD_LayerSetColorMatrix(hLayer, &stEnable); },
        [&] { return HW_OSD_LayerSetColorMatrix(hLayer, &stReserved); },
        [&] { return HW_OSD_SurfaceQueryCapability(2, 8, &u32Out); },
        [&] { return HW_OSD_SurfaceQueryCapability(0, 9, &u32Out); },
        [&] { return HW_OSD_SurfaceQueryCapability(0, 8, nullptr); },
    };
    for (std::size_t i = 0; i < std::size(invalid); ++i) {
        EXPECT_EQ(invalid[i](), HW_ERR_INVALID_PARAMETER) << i;
    }
    for (const vset::Refusal& refusal : vset::refusals(u64Before)) {
        EXPECT_TRUE(refusal.strCall.find("Create") == std::string::npos || refusal.strArguments == "attr=null");
    }
    for (const HW_Handle_t hNeither : {HW_HANDLE_NONE, 1u, hWindow}) {
        const HW_OSD_WindowAttr_t stWindow = {hNeither, 0, 0, 8, 8, 1, 8, 2, 8, 8, {}};
        EXPECT_EQ(HW_OSD_WindowCreate(&stWindow, &u32Out), HW_ERR_INVALID_HANDLE);
        EXPECT_EQ(HW_OSD_WindowFlipByExternSurface(hWindow, hNeither), HW_ERR_INVALID_HANDLE);
    }
    EXPECT_EQ(findLayer(2, &u32Out), HW_ERR_FAILED);
    EXPECT_EQ(HW_OSD_LayerDestroy(hLayer), HW_ERR_INVALID_HANDLE) << "the player's";
    EXPECT_EQ(HW_OSD_SurfaceDestroy(hSurface), HW_ERR_INVALID_HANDLE);
    EXPECT_EQ(HW_OSD_SurfaceUnlock(hSurface), HW_ERR_FAILED) << "never locked";
    EXPECT_EQ(u32Out, kUntouched);
    EXPECT_EQ(u64Out, kUntouched);
    EXPECT_FALSE(vset::osd::layer(1)->colorMatrix);
    EXPECT_EQ(vset::osd::surfaces().size(), 1u);
}

TEST_F(VsetOsd, RefusesWrongRecords) {
    using Layer = HW_OSD_LayerAttr_t;
    using Window = HW_OSD_WindowAttr_t;
    using Surface = HW_OSD_SurfaceAttr_t;
    const Layer stLayer = {2, 7, 0, 0, 8, 8, 8, 8};
    const Window stWindow = {layer(1), 0, 0, 8, 8, 1, 8, 2, 8, 8, {}};
    Window stReserved = stWindow;
    stReserved.au32Reserved[3] = 1;
    HW_Handle_t hOut = kUntouched;
    for (const Layer& stWrong : {but(stLayer, &Layer::u32LayerId, 4u), but(stLayer, &Layer::u32Flags, 6u),
                                 but(stLayer, &Layer::u32Width, 0u), but(stLayer, &Layer::u32SrcHeight, 0u)}) {
        EXPECT_EQ(HW_OSD_LayerCreate(&stWrong, &hOut), HW_ERR_INVALID_PARAMETER);
    }
    for (const Window& stWrong :
         {stReserved, but(stWindow, &Window::u32Height, 0u), but(stWindow, &Window::u32SrcWidth, 0u),
          but(stWindow, &Window::u8Flag, HW_U8{0}), but(stWindow, &Window::u32ColorFormat, 0u),
          but(stWindow, &Window::u32BufferMode, 1u)}) {
        EXPECT_EQ(HW_OSD_WindowCreate(&stWrong, &hOut), HW_ERR_INVALID_PARAMETER);
    }
    const Surface aWrong[] = {
        but(_stVirtual, &Surface::u32Width, 0u),          but(_stVirtual, &Surface::u32Height, 0u),
        but(_stVirtual, &Surface::u32Width, 17u),         but(_stVirtual, &Surface::u32Width, 0x40000001u),
        but(_stVirtual, &Surface::u32ColorFormat, 16u),   but(_stVirtual, &Surface::u32Reserved, 1u),
        but(_stVirtual, &Surface::u32MemKind, 0u),        but(_stVirtual, &Surface::u32MemKind, 3u),
        but(_stVirtual, &Surface::u64Address, HW_U64{0}), but(_stVirtual, &Surface::u64Address, ~HW_U64{0} - 63),
        but(_stVirtual, &Surface::u64Reserved, HW_U64{1})};
    for (std::size_t i = 0; i < std::size(aWrong); ++i) {
        EXPECT_EQ(HW_OSD_SurfaceCreate(&aWrong[i], &hOut), HW_ERR_INVALID_PARAMETER) << i;
    }
    EXPECT_EQ(HW_OSD_SurfaceCreate(&_stVirtual, nullptr), HW_ERR_INVALID_PARAMETER);
    EXPECT_EQ(hOut, kUntouched);
    EXPECT_EQ(vset::osd::layer(1)->windows.size(), 1u);
    EXPECT_EQ(vset::osd::surfaces().size(), 1u);
    create(_stVirtual);
}

TEST_F(VsetOsd, LayersComeAndGo) {
    const HW_Handle_t hBorrowed = layer(1), hBorrowedWindow = playersWindow(1), hSurface = playersSurface();
    vset::osd::removeLayer(1);
    EXPECT_THROW(vset::osd::removeLayer(1), vset::SetError) << "gone already";
    EXPECT_THROW(vset::osd::removeLayer(4), vset::SetError);
    HW_Handle_t hOut = kUntouched;
    EXPECT_EQ(HW_OSD_LayerHide(hBorrowed), HW_ERR_INVALID_HANDLE);
    EXPECT_EQ(HW_OSD_WindowShow(hBorrowedWindow), HW_ERR_INVALID_HANDLE);

    HW_OSD_LayerAttr_t stAttr = {2, 7, 320, 180, 1280, 720, 640, 360};
    EXPECT_EQ(HW_OSD_LayerCreate(&stAttr, &hOut), HW_OK);
    EXPECT_EQ(layer(2), hOut);
    EXPECT_FALSE(vset::osd::layer(2)->bShown || vset::osd::layer(2)->bPlayer);
    EXPECT_THROW(vset::osd::removeLayer(2), vset::SetError) << "not the player's";
    HW_U32 u32Width = 0, u32Height = 0;
    EXPECT_EQ(HW_OSD_LayerGetSize(hOut, &u32Width, &u32Height), HW_OK);
    EXPECT_EQ(u32Width * 1000 + u32Height, 640u * 1000 + 360);
    const HW_Handle_t hWindow = createWindow(hOut, {0, 0, 640, 360}, 640, 360, hSurface);
    const HW_Handle_t hSecond = createWindow(hOut, {0, 0, 8, 8}, 8, 8, hSurface);
    HW_Handle_t hFound = HW_HANDLE_NONE;
    EXPECT_EQ(HW_OSD_LayerQueryWindowHandle(hOut, &hFound), HW_OK);
    EXPECT_EQ(hFound, hWindow) << "the first that was made";
    HW_Handle_t hRefused = kUntouched;
    EXPECT_EQ(HW_OSD_LayerCreate(&stAttr, &hRefused), HW_ERR_BUSY);
    for (const HW_U32 u32Layer : {1u, 3u}) {
        stAttr.u32LayerId = u32Layer;
        EXPECT_EQ(HW_OSD_LayerCreate(&stAttr, &hFound), HW_OK);
    }
    EXPECT_EQ(HW_OSD_LayerQueryWindowHandle(hFound, &hRefused), HW_ERR_FAILED) << "no window yet";
    EXPECT_EQ(HW_OSD_LayerCreate(&stAttr, &hRefused), HW_ERR_RESOURCES);
    EXPECT_EQ(hRefused, kUntouched);

    EXPECT_EQ(HW_OSD_LayerDestroy(hOut), HW_OK);
    EXPECT_EQ(HW_OSD_LayerDestroy(hOut), HW_ERR_INVALID_HANDLE);
    EXPECT_EQ(HW_OSD_WindowShow(hWindow), HW_ERR_INVALID_HANDLE);
    EXPECT_EQ(HW_OSD_WindowShow(hSecond), HW_ERR_INVALID_HANDLE);
    EXPECT_EQ(findLayer(2, &hRefused), HW_ERR_FAILED);
    EXPECT_EQ(HW_OSD_SurfaceDestroy(create(_stVirtual)), HW_OK);
    EXPECT_EQ(openOsdHandles(), 5) << "three layers, a window and a surface";

    vset::powerCycle();
    EXPECT_TRUE(vset::osd::layer(1) && !vset::osd::layer(3));
    EXPECT_EQ(HW_OSD_SurfaceUnlock(hSurface), HW_ERR_INVALID_HANDLE);
    EXPECT_EQ(openOsdHandles(), 5);
}

TEST_F(VsetOsd, SurfacesLieWhollyInMemory) {
    HW_SYS_MmapInfo_t stRegion = {}, stCanvas = {};
    ASSERT_EQ(HW_SYS_GetMmapLayout(347, &stRegion), HW_OK);
    ASSERT_EQ(HW_SYS_GetMmapLayout(378, &stCanvas), HW_OK);
    const HW_U64 u64End = stRegion.u64MiuBase + stRegion.u64Offset + stRegion.u32Length;
    const HW_U64 u64Canvas = stCanvas.u64MiuBase + stCanvas.u64Offset;
    const HW_U64 u64Iommu = allocate();
    const HW_OSD_SurfaceAttr_t stWhole = surfaceAt(u64Iommu, 0x40, 0x100);
    struct {
        const char* pszName;
        HW_OSD_SurfaceAttr_t stAttr;
        HW_Result_t result;
    } const aRows[] = {
        {"for captures", {1920, 1080, 7680, 17, 0, 2, u64End - 0xFD2000, 0}, HW_OK},
        {"up to the end", surfaceAt(u64End - 1024, 16, 16), HW_OK},
        {"beyond the end", surfaceAt(u64End - 960, 16, 16), HW_ERR_INVALID_PARAMETER},
        {"before the beginning", surfaceAt(u64End - stRegion.u32Length - 64, 16, 16), HW_ERR_INVALID_PARAMETER},
        {"region that nobody has", surfaceAt(u64Canvas, 1280, 720), HW_ERR_INVALID_PARAMETER},
        {"all of an allocation", stWhole, HW_OK},
        {"with a row more", but(stWhole, &HW_OSD_SurfaceAttr_t::u32Height, 0x101u), HW_ERR_INVALID_PARAMETER},
        {"with a longer pitch", but(stWhole, &HW_OSD_SurfaceAttr_t::u32Pitch, 0x140u), HW_ERR_INVALID_PARAMETER},
        {"more than 4 GiB", {0x10000, 0x4000, 0x40000, 8, 0, 2, u64Iommu, 0}, HW_ERR_INVALID_PARAMETER},
    };
    for (const auto& stRow : aRows) {
        HW_Handle_t hSurface = kUntouched;
        EXPECT_EQ(HW_OSD_SurfaceCreate(&stRow.stAttr, &hSurface), stRow.result) << stRow.pszName;
        EXPECT_EQ(hSurface == kUntouched, stRow.result != HW_OK) << stRow.pszName;
    }
    EXPECT_EQ(vset::osd::surfaces()[1].u32ColorFormat, 17u);
}

TEST_F(VsetOsd, LocksCountAndGiveTheAddressesOfTheMemory) {
    const HW_U64 u64Iommu = allocate();
    const HW_Handle_t hIommu = create(surfaceAt(u64Iommu, 0x40, 0x100));
    HW_U64 u64Virt = 0, u64Phys = 0, u64Known = 0;
    ASSERT_EQ(HW_OS_Pa2NonCachedVa(u64Iommu, &u64Known), HW_OK);
    EXPECT_EQ(HW_OSD_SurfaceLock(hIommu, &u64Virt, &u64Phys), HW_OK);
    EXPECT_EQ(HW_OSD_SurfaceLock(hIommu, &u64Virt, &u64Phys), HW_OK);
    EXPECT_EQ(u64Virt, u64Known);
    EXPECT_EQ(u64Phys, u64Iommu);
    EXPECT_EQ(vset::osd::surfaces().back().u32Locks, 2u);
    const HW_Handle_t hLocked = create(_stVirtual);
    EXPECT_EQ(pixelsOf(hLocked), _aPixels);
    EXPECT_EQ(HW_OSD_SurfaceDestroy(hLocked), HW_OK);
    EXPECT_EQ(test::lastReason(), "destroys a locked surface");
    for (const HW_Result_t result : {HW_OK, HW_OK, HW_ERR_FAILED}) {
        EXPECT_EQ(HW_OSD_SurfaceUnlock(hIommu), result);
    }
    EXPECT_EQ(HW_OSD_SurfaceDestroy(create(_stVirtual)), HW_OK);
    EXPECT_EQ(test::lastReason(), "") << "that of the unlock";
    reinterpret_cast<HW_U32*>(u64Virt)[0x40 * 3 + 5] = 0x12345678;
    EXPECT_EQ(vset::osd::surfacePicture(hIommu).at(5, 3), 0x12345678u);
    EXPECT_EQ(HW_OSD_SurfaceLock(playersSurface(), &u64Virt, &u64Phys), HW_OK);
    EXPECT_EQ(u64Phys, 0u);

    EXPECT_EQ(release(u64Iommu), HW_OK);
    EXPECT_THROW(vset::osd::surfacePicture(hIommu), vset::SetError) << "its memory is gone";
    EXPECT_EQ(HW_OSD_SurfaceLock(hIommu, &u64Virt, &u64Phys), HW_ERR_FAILED);
    EXPECT_EQ(HW_OSD_SurfaceDestroy(hIommu), HW_OK);
    EXPECT_EQ(HW_OSD_SurfaceDestroy(hIommu), HW_ERR_INVALID_HANDLE);
    EXPECT_THROW(vset::osd::surfacePicture(hIommu), vset::SetError);
}

TEST_F(VsetOsd, TellsWhatSurfacesNeed) {
    const auto ask = [](HW_U32 u32Capability) {
        HW_U32 u32Value = 0;
        EXPECT_EQ(HW_OSD_SurfaceQueryCapability(u32Capability, 8, &u32Value), HW_OK);
        return u32Value;
    };
    EXPECT_EQ(ask(0), 64u);
    EXPECT_EQ(ask(1), 64u);
    using Surface = HW_OSD_SurfaceAttr_t;
    const Surface stAddress = but(_stVirtual, &Surface::u64Address, _stVirtual.u64Address + 32),
                  stPitch = but(_stVirtual, &Surface::u32Pitch, 96u),
                  stNowhere = but(_stVirtual, &Surface::u64Address, HW_U64{kAlignment});
    HW_Handle_t hOut = kUntouched;
    for (const Surface& stWrong : {stAddress, stPitch, stNowhere}) {
        EXPECT_EQ(HW_OSD_SurfaceCreate(&stWrong, &hOut), HW_ERR_INVALID_PARAMETER);
    }
    vset::osd::setSurfaceAlignment(32, 32);
    create(stAddress);
    create(stPitch);
    for (std::size_t count = vset::osd::surfaces().size(); count < 64; ++count) {
        create(_stVirtual);
    }
    EXPECT_EQ(HW_OSD_SurfaceCreate(&_stVirtual, &hOut), HW_ERR_RESOURCES);
    EXPECT_EQ(hOut, kUntouched);
    vset::osd::setSurfaceAlignment(1, 4096);
    EXPECT_THROW(vset::osd::setSurfaceAlignment(0, 64), vset::SetError);
    EXPECT_THROW(vset::osd::setSurfaceAlignment(64, 48), vset::SetError);
    EXPECT_EQ(ask(0), 1u);
    EXPECT_EQ(ask(1), 4096u);
}

}  // namespace
