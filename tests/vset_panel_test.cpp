// SPDX-License-Identifier: Apache-2.0
// What a person sees on the panel of the virtual set, graphics over display windows; and captures of a window.
#include <algorithm>
#include <atomic>
#include <cstring>

#include <gtest/gtest.h>

#include "hw3/hw_cap.h"
#include "hw3/hw_disp.h"
#include "support/emulation.h"
#include "support/osd_fixture.h"
#include "support/refusals.h"
#include "support/waiting.h"
#include "vset/cap.h"
#include "vset/disp.h"
#include "vset/panel.h"

namespace {

using test::but;
using test::kUntouched;
using test::surfaceAt;
using test::surfaceOver;
using vset::osd::Rectangle;

constexpr HW_U32 kBlack = 0xFF000000, kGray = 0xFF646464;

bool isAll(const vset::Picture& picture, HW_U32 u32Color) {
    const auto same = std::count(picture.pixels.begin(), picture.pixels.end(), u32Color);
    return !picture.pixels.empty() && static_cast<std::size_t>(same) == picture.pixels.size();
}

class VsetPanel : public test::OsdTest {
protected:
    static constexpr unsigned int kWidth = vset::panel::kWidth, kHeight = vset::panel::kHeight;

    // Pixels may lie anywhere.
    void SetUp() override {
        OsdTest::SetUp();
        vset::osd::setSurfaceAlignment(1, 1);
    }

    // Makes all of the panel gray, below all other graphics.
    static void paintBackground() { std::fill_n(pixelsOf(playersSurface()), std::size_t{kWidth} * kHeight, kGray); }

    // Exactly these pixels of the panel differ from the background.
    struct Spot {
        unsigned int u32X, u32Y;
        HW_U32 u32Color;
    };
    static void expectSpots(const std::vector<Spot>& spots, const char* pszName) {
        vset::Picture expected{kWidth, kHeight, std::vector<HW_U32>(std::size_t{kWidth} * kHeight, kGray)};
        for (const Spot& stSpot : spots) {
            expected.pixels[std::size_t{stSpot.u32Y} * kWidth + stSpot.u32X] = stSpot.u32Color;
        }
        const vset::Picture seen = vset::panel::look();
        ASSERT_EQ(seen.pixels.size(), expected.pixels.size());
        const auto differ = std::mismatch(seen.pixels.begin(), seen.pixels.end(), expected.pixels.begin());
        const auto place = static_cast<std::size_t>(differ.first - seen.pixels.begin());
        EXPECT_EQ(differ.first, seen.pixels.end()) << pszName << ": " << std::hex << *differ.first << " at " << std::dec
                                                   << place % kWidth << ", " << place / kWidth;
    }
};

TEST_F(VsetPanel, ShowsWindowsBelowTransparentGraphics) {
    vset::disp::freezeVideo(7);
    const vset::Picture source = vset::disp::picture(0);
    EXPECT_TRUE(vset::panel::look().pixels == source.pixels);

    // Window 0 hides the others, while it shows something.
    const auto showPattern = [](const char* pszWindow, HW_U32 u32Enable, HW_U32 u32Red) {
        const HW_DISP_TestPattern_t stPattern = {6, u32Enable, 1, {u32Red, 0, 0}};
        HW_Handle_t hDisp = HW_HANDLE_NONE;
        EXPECT_EQ(HW_DISP_GetHandle(pszWindow, &hDisp), HW_OK);
        EXPECT_EQ(HW_DISP_SetAttr(hDisp, E_HW_DISP_ATTR_TEST_PATTERN, &stPattern), HW_OK);
        EXPECT_EQ(HW_DISP_ApplySetting(hDisp), HW_OK);
    };
    vset::disp::hold(1);
    vset::disp::hold(2);
    showPattern("HW_DISP_HD1", 1, 512);
    showPattern("HW_DISP_SD0", 1, 256);
    EXPECT_TRUE(vset::panel::look().pixels == source.pixels);
    vset::disp::disconnectVideo(0);
    EXPECT_TRUE(isAll(vset::panel::look(), vset::disp::picture(1).at(0, 0)));
    showPattern("HW_DISP_HD1", 0, 0);
    EXPECT_TRUE(isAll(vset::panel::look(), vset::disp::picture(2).at(0, 0)));
    showPattern("HW_DISP_SD0", 0, 0);
    EXPECT_TRUE(isAll(vset::panel::look(), kBlack));
}

TEST_F(VsetPanel, BlendsByAlphaAndReadsRowsAnywhere) {
    paintBackground();
    // Straight alpha, each color rounded; odd places, rows with gaps that end alone.
    const std::vector<HW_U32> pixels = {0x00FFFFFF, 0xFF123456, 0x80FF0000, 0x01FFFFFF, 0xFE0000FF,
                                        0x00000000, 0x7FC80064, 0xFF123456, 0,          0};
    std::vector<HW_U8> bytes(50, 0xFF);
    std::memcpy(&bytes[1], pixels.data(), 20);
    std::memcpy(&bytes[1 + 23], &pixels[5], 20);
    const HW_Handle_t hOdd = create({5, 2, 23, 8, 0, 1, reinterpret_cast<HW_U64>(bytes.data() + 1), 0});
    EXPECT_EQ(vset::osd::surfacePicture(hOdd).pixels, pixels);
    const HW_Handle_t hLayer = createLayer({11, 5, 5, 2}, 5, 2);
    createWindow(hLayer, {0, 0, 5, 2}, 5, 2, hOdd);
    expectSpots({{12, 5, 0xFF123456},
                 {13, 5, 0xFFB23232},
                 {14, 5, 0xFF656565},
                 {15, 5, 0xFF0000FE},
                 {12, 6, 0xFF963264},
                 {13, 6, 0xFF123456}},
                "blended");
    EXPECT_EQ(HW_OSD_LayerDestroy(hLayer), HW_OK);
    createWindow(createLayer({11, 5, 2, 1}, 2, 1), {0, 0, 2, 1}, 4, 1, hOdd);
    expectSpots({{12, 5, 0xFFB23232}}, "every second pixel");
}

TEST_F(VsetPanel, BlendsEveryAlphaToTheNearestColor) {
    paintBackground();
    constexpr HW_U32 kColors[] = {0x000000, 0xFFFFFF, 0x0180FE, 0x37C864}, kUnder = kGray & 0xFF;
    std::vector<HW_U32> pixels;
    std::vector<Spot> spots;
    for (unsigned int u32Row = 0; u32Row < std::size(kColors); ++u32Row) {
        for (HW_U32 u32Alpha = 0; u32Alpha < 256; ++u32Alpha) {
            HW_U32 u32Seen = 0xFF;
            for (const unsigned int u32Shift : {16u, 8u, 0u}) {
                const HW_U32 u32Sum = (kColors[u32Row] >> u32Shift & 0xFF) * u32Alpha + kUnder * (255 - u32Alpha);
                u32Seen = u32Seen << 8 | (2 * u32Sum + 255) / 510;
            }
            pixels.push_back(u32Alpha << 24 | kColors[u32Row]);
            spots.push_back({u32Alpha, u32Row, u32Seen});
        }
    }
    createWindow(createLayer({0, 0, 256, 4}, 256, 4), {0, 0, 256, 4}, 256, 4, create(surfaceOver(pixels, 256)));
    expectSpots(spots, "blended");
}

constexpr HW_U32 A = 0xFF000001, B = 0xFF000002, C = 0xFF000003, D = 0xFF000004;

TEST_F(VsetPanel, ScalesAndClips) {
    paintBackground();
    std::vector<HW_U32> square = {A, B, C, D};
    const HW_Handle_t hSquare = create(surfaceOver(square, 2));
    constexpr HW_U32 kFar = 0xFFFFFFFF;
    // A rectangle and the size of what fills it.
    struct Place {
        Rectangle rectangle;
        HW_U32 u32SrcWidth, u32SrcHeight;
    };
    const Place stLayer = {{3, 4, 9, 9}, 9, 9}, stFar = {{kFar, kFar, kFar, kFar}, kFar, kFar},
                stWhole = {{0, 0, 2, 2}, 2, 2};
    const std::vector<Spot> asItIs = {{3, 4, A}, {4, 4, B}, {3, 5, C}, {4, 5, D}};
    const struct {
        const char* pszName;
        Place layer, window;
        std::vector<Spot> spots;
    } aRows[] = {
        {"as it is", {{3, 4, 2, 2}, 2, 2}, stWhole, asItIs},
        {"layer stretched",
         {{3, 4, 4, 2}, 2, 2},
         stWhole,
         {{3, 4, A}, {4, 4, A}, {5, 4, B}, {6, 4, B}, {3, 5, C}, {4, 5, C}, {5, 5, D}, {6, 5, D}}},
        {"window stretched",
         stLayer,
         {{1, 0, 3, 2}, 2, 2},
         {{4, 4, A}, {5, 4, A}, {6, 4, B}, {4, 5, C}, {5, 5, C}, {6, 5, D}}},
        {"layer stretched down",
         {{3, 4, 2, 4}, 2, 2},
         stWhole,
         {{3, 4, A}, {4, 4, B}, {3, 5, A}, {4, 5, B}, {3, 6, C}, {4, 6, D}, {3, 7, C}, {4, 7, D}}},
        {"window stretched down",
         stLayer,
         {{0, 1, 2, 3}, 2, 2},
         {{3, 5, A}, {4, 5, B}, {3, 6, A}, {4, 6, B}, {3, 7, C}, {4, 7, D}}},
        {"window squeezed", stLayer, {{0, 0, 1, 1}, 2, 2}, {{3, 4, A}}},
        {"one column, and not the first", {{3, 4, 2, 2}, 4, 2}, {{1, 0, 2, 2}, 2, 2}, {{4, 4, B}, {4, 5, D}}},
        {"one row, and not the first", {{3, 4, 2, 2}, 2, 4}, {{0, 1, 2, 2}, 2, 2}, {{3, 5, C}, {4, 5, D}}},
        {"part of the surface", stLayer, {{0, 1, 1, 2}, 1, 2}, {{3, 5, A}, {3, 6, C}}},
        {"surface smaller than the source", stLayer, {{0, 0, 9, 9}, 9, 9}, asItIs},
        {"the layer ends before the window", {{3, 4, 1, 2}, 1, 2}, stWhole, {{3, 4, A}, {3, 5, C}}},
        {"window beside the layer", stLayer, {{9, 0, 2, 2}, 2, 2}, {}},
        {"at the panel's corner", {{1919, 1079, 2, 2}, 2, 2}, stWhole, {{1919, 1079, A}}},
        {"beside the panel", {{1920, 1080, 2, 2}, 2, 2}, stWhole, {}},
        {"far away", stFar, stFar, {}},
        {"all is huge",
         {{0, 0, kFar, kFar}, kFar, kFar},
         {{1, 1, kFar, kFar}, kFar, kFar},
         {{1, 1, A}, {2, 1, B}, {1, 2, C}, {2, 2, D}}},
    };
    for (const auto& stRow : aRows) {
        const HW_Handle_t hLayer =
            createLayer(stRow.layer.rectangle, stRow.layer.u32SrcWidth, stRow.layer.u32SrcHeight);
        createWindow(hLayer, stRow.window.rectangle, stRow.window.u32SrcWidth, stRow.window.u32SrcHeight, hSquare);
        expectSpots(stRow.spots, stRow.pszName);
        EXPECT_EQ(HW_OSD_LayerDestroy(hLayer), HW_OK);
    }
}

TEST_F(VsetPanel, StacksLayersAndWindows) {
    paintBackground();
    std::vector<HW_U32> colors = {0xFF000001, 0xFF000002, 0xFF000003};
    HW_Handle_t ahSurfaces[3];
    for (std::size_t i = 0; i < 3; ++i) {
        ahSurfaces[i] = create({1, 1, 4, 8, 0, 1, reinterpret_cast<HW_U64>(&colors[i]), 0});
    }
    const auto expectSeen = [](HW_U32 u32Color, const char* pszName) { expectSpots({{0, 0, u32Color}}, pszName); };
    const HW_Handle_t hUpper = createLayer({0, 0, 9, 9}, 9, 9), hLower = layer(1);
    const HW_Handle_t hFirst = createWindow(hUpper, {0, 0, 1, 1}, 1, 1, ahSurfaces[0]);
    const HW_Handle_t hSecond = createWindow(hUpper, {0, 0, 1, 1}, 1, 1, ahSurfaces[1]);
    createWindow(hLower, {0, 0, 1, 1}, 1, 1, ahSurfaces[2]);
    expectSeen(colors[1], "the window that was made last");
    EXPECT_EQ(HW_OSD_WindowSetZOrder(hFirst, 1), HW_OK);
    expectSeen(colors[0], "the highest window");
    EXPECT_EQ(HW_OSD_WindowHide(hFirst), HW_OK);
    expectSeen(colors[1], "the highest that is shown");
    EXPECT_EQ(HW_OSD_WindowShow(hFirst), HW_OK);
    EXPECT_EQ(HW_OSD_WindowFlipByExternSurface(hSecond, ahSurfaces[0]), HW_OK);
    EXPECT_EQ(HW_OSD_SurfaceDestroy(ahSurfaces[0]), HW_OK);
    HW_Handle_t hGone = 0;
    EXPECT_EQ(HW_OSD_WindowGetSurface(hFirst, &hGone), HW_ERR_FAILED);
    expectSeen(colors[2], "the layer below two empty windows");
    EXPECT_EQ(HW_OSD_WindowFlipByExternSurface(hFirst, ahSurfaces[1]), HW_OK);
    expectSeen(colors[1], "flipped");
    EXPECT_EQ(HW_OSD_LayerHide(hUpper), HW_OK);
    expectSeen(colors[2], "the layer that is shown");
    EXPECT_EQ(HW_OSD_LayerHide(hLower), HW_OK);
    expectSpots({}, "the background");
    EXPECT_EQ(HW_OSD_LayerShow(hUpper), HW_OK);
    expectSeen(colors[1], "shown again");
}

TEST_F(VsetPanel, ColorsOfALayer) {
    paintBackground();
    std::vector<HW_U32> pixels = {0xFFFF4000, 0xFF808080, 0x80FF4000};
    const HW_Handle_t hLayer = createLayer({0, 0, 3, 1}, 3, 1);
    createWindow(hLayer, {0, 0, 3, 1}, 3, 1, create(surfaceOver(pixels, 3)));
    constexpr HW_U16 kMost = 0xFFFF;
    // Enabled, hue, saturation, contrast, brightness, gains; then orange, gray and orange blended.
    struct {
        const char* pszName;
        HW_OSD_ColorMatrix_t stMatrix;
        HW_U32 u32Orange, u32Gray, u32Blended;
    } const aRows[] = {
        {"neutral", {1, 0, 50, 50, 50, 50, 1024, 1024, 1024, 0}, 0xFFFF4000, 0xFF808080, 0xFFB25232},
        {"disabled", {0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 0xFFFF4000, 0xFF808080, 0xFFB25232},
        {"gray", {1, 0, 50, 0, 50, 50, 1024, 1024, 1024, 0}, 0xFF727272, 0xFF808080, 0xFF6B6B6B},
        {"other color", {1, 0, 0, 50, 50, 50, 1024, 1024, 1024, 0}, 0xFF00A4E4, 0xFF808080, 0xFF3284A4},
        {"hue 75", {1, 0, 75, 50, 50, 50, 1024, 1024, 1024, 0}, 0xFF32C300, 0xFF808080, 0xFF4B9432},
        {"hue 25", {1, 0, 25, 50, 50, 50, 1024, 1024, 1024, 0}, 0xFFB220FF, 0xFF808080, 0xFF8B42B2},
        {"no further", {1, 0, 150, 50, 50, 50, 1024, 1024, 1024, 0}, 0xFF00A4E4, 0xFF808080, 0xFF3284A4},
        {"no contrast", {1, 0, 50, 50, 0, 50, 1024, 1024, 1024, 0}, 0xFF808080, 0xFF808080, 0xFF727272},
        {"twice the contrast", {1, 0, 50, 50, 100, 50, 1024, 1024, 1024, 0}, 0xFFFF0000, 0xFF808080, 0xFFB23232},
        {"brighter", {1, 0, 50, 50, 50, 60, 1024, 1024, 1024, 0}, 0xFFFF7333, 0xFFB3B3B3, 0xFFB26C4B},
        {"dark", {1, 0, 50, 50, 50, 0, 1024, 1024, 1024, 0}, 0xFF000000, 0xFF000000, 0xFF323232},
        {"gains", {1, 0, 50, 50, 50, 50, 512, 4096, 0, 0}, 0xFF808000, 0xFF40FF00, 0xFF727232},
        {"gain at its limit", {1, 0, 50, 50, 0, 43, 2046, 2047, 2048, 0}, 0xFFB8B9B9, 0xFFB8B9B9, 0xFF8E8F8F},
        {"and beyond", {1, 0, 50, 50, 0, 48, 2046, 2047, 2048, 0}, 0xFFEBEBEB, 0xFFEBEBEB, 0xFFA8A8A8},
        {"all at most", {1, 0, kMost, kMost, kMost, kMost, kMost, kMost, kMost, 0}, 0xFF00FFFF, 0xFFFFFFFF, 0xFF32B2B2},
        {"all at least", {1, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 0xFF000000, 0xFF000000, 0xFF323232},
    };
    for (const auto& stRow : aRows) {
        EXPECT_EQ(HW_OSD_LayerSetColorMatrix(hLayer, &stRow.stMatrix), HW_OK);
        EXPECT_EQ(std::memcmp(&*vset::osd::layer(2)->colorMatrix, &stRow.stMatrix, sizeof(stRow.stMatrix)), 0);
        expectSpots({{0, 0, stRow.u32Orange}, {1, 0, stRow.u32Gray}, {2, 0, stRow.u32Blended}}, stRow.pszName);
    }
}

// Somebody looks while a program throws the memory away that is being painted, and the window changes.
TEST_F(VsetPanel, IsSeenWhileProgramsWork) {
    SKIP_UNDER_EMULATION();
    std::atomic<int> s32Looks{0};
    HW_Handle_t hDisp = HW_HANDLE_NONE;
    ASSERT_EQ(HW_DISP_GetHandle("HW_DISP_HD0", &hDisp), HW_OK);
    const test::Repeating onlooker([&] {
        EXPECT_EQ(vset::panel::look().pixels.size(), std::size_t{kWidth} * kHeight);
        ++s32Looks;
    });
    for (int i = 0; i < 10; ++i) {
        const HW_U64 u64Address = allocate();
        const HW_Handle_t hSurface = create(surfaceAt(u64Address, 128, 128));
        std::fill_n(pixelsOf(hSurface), 128 * 128, 0x80FFFFFF);
        const HW_Handle_t hLayer = createLayer({0, 0, kWidth, kHeight}, 128, 128);
        createWindow(hLayer, {0, 0, 128, 128}, 128, 128, hSurface);
        vset::disp::disconnectVideo(0);
        vset::disp::connectVideo(0, {1280, 720, 60000, 0});
        EXPECT_EQ(HW_DISP_SetMute(hDisp, i % 2 == 0 ? 4 : 0x400), HW_OK);
        ASSERT_TRUE(test::eventually([&, before = s32Looks.load()] { return s32Looks != before; }));
        EXPECT_EQ(release(u64Address), HW_OK);
        EXPECT_EQ(HW_OSD_LayerDestroy(hLayer), HW_OK);
        EXPECT_EQ(HW_OSD_SurfaceDestroy(hSurface), HW_OK);
    }
}

// --- Captures --------------------------------------------------------------------------------------------------------

constexpr HW_U32 kSize = 1920 * 1080 * 4;
constexpr HW_CAP_ConnectParams_t kConnect = {0};

HW_Result_t open(HW_Handle_t* phCap, HW_U8 u8Last = 0) {
    return test::ask(HW_CAP_Open, {{0, 0, 0, 0, u8Last}}, phCap);
}

class VsetCap : public test::RunningTest {
protected:
    void SetUp() override {
        RunningTest::SetUp();
        HW_SYS_MmapInfo_t stInfo = {};
        ASSERT_EQ(HW_DISP_GetHandle("HW_DISP_HD0", &_hMain), HW_OK);
        ASSERT_EQ(HW_SYS_GetMmapLayout(E_HW_SYS_MMAP_ID_AN_FBDEV_GOP_BUF, &stInfo), HW_OK);
        ASSERT_EQ(HW_OS_Pa2NonCachedVa(stInfo.u64MiuBase + stInfo.u64Offset, &_u64Region), HW_OK);
        _u64End = _u64Region + stInfo.u32Length;
        ASSERT_EQ(open(&_hCap), HW_OK);
        vset::disp::freezeVideo(7);
    }

    // The last bytes of the region, after which nothing is mapped.
    HW_CAP_Description_t atEnd(HW_U32 u32Flag = 0) const {
        return {_u64End - kSize, kSize, 1920, 1080, E_HW_CAP_FORMAT_2, u32Flag, {}};
    }
    HW_Result_t connect() const { return HW_CAP_ConnectInput(_hCap, _hMain, &kConnect); }
    HW_Result_t capture(const HW_CAP_Description_t& stDescription) {
        return HW_CAP_CaptureOne(_hCap, &stDescription, &_stResult);
    }
    std::string memory(HW_U64 u64Address, std::size_t size) const {
        return {reinterpret_cast<const char*>(u64Address), size};
    }

    HW_Handle_t _hMain = HW_HANDLE_NONE, _hCap = HW_HANDLE_NONE;
    HW_U64 _u64Region = 0, _u64End = 0;
    HW_CAP_Result_t _stResult = {kUntouched, kUntouched, kUntouched, kUntouched};
};

TEST_F(VsetCap, ThereIsOneUnit) {
    const HW_CAP_ConnectParams_t stReserved = {1};
    HW_Handle_t hUntouched = kUntouched;
    const HW_Handle_t hOther = test::handleOf(HW_DISP_Open, {0, "HW_DISP_HD1"});
    test::expectRefusals({
        {"second", HW_ERR_BUSY, [&] { return open(&hUntouched); }},
        {"reserved", HW_ERR_INVALID_PARAMETER, [&] { return open(&hUntouched, 1); }},
        {"no record", HW_ERR_INVALID_PARAMETER, [&] { return HW_CAP_Open(nullptr, &hUntouched); }},
        {"to nowhere", HW_ERR_INVALID_PARAMETER, [] { return open(nullptr); }},
        {"not connected", HW_ERR_FAILED, [&] { return HW_CAP_DisconnectInput(_hCap, _hMain); }},
        {"no unit", HW_ERR_INVALID_HANDLE, [&] { return HW_CAP_ConnectInput(_hMain, _hMain, &kConnect); }},
        {"no window", HW_ERR_INVALID_HANDLE, [&] { return HW_CAP_ConnectInput(_hCap, _hCap, &kConnect); }},
        {"reserved", HW_ERR_INVALID_PARAMETER, [&] { return HW_CAP_ConnectInput(_hCap, _hMain, &stReserved); }},
        {"no record", HW_ERR_INVALID_PARAMETER, [&] { return HW_CAP_ConnectInput(_hCap, _hMain, nullptr); }},
        {"connected", HW_OK, [&] { return connect(); }},
        {"connected twice", HW_ERR_BUSY, [&] { return HW_CAP_ConnectInput(_hCap, hOther, &kConnect); }},
        {"another one's", HW_ERR_FAILED, [&] { return HW_CAP_DisconnectInput(_hCap, hOther); }},
        {"not by its handle", HW_ERR_INVALID_HANDLE, [&] { return HW_CAP_DisconnectInput(_hMain, _hMain); }},
        {"disconnected", HW_OK, [&] { return HW_CAP_DisconnectInput(_hCap, _hMain); }},
        {"disconnected twice", HW_ERR_FAILED, [&] { return HW_CAP_DisconnectInput(_hCap, _hMain); }},
        {"connected again", HW_OK, [&] { return connect(); }},
    });
    EXPECT_EQ(vset::cap::unit().window, 0u);
    EXPECT_EQ(HW_CAP_Close(_hCap), HW_OK);
    EXPECT_EQ(vset::cap::unit().window, std::nullopt) << "Close disconnects";
    EXPECT_EQ(HW_CAP_Close(_hCap), HW_ERR_INVALID_HANDLE);
    vset::cap::hold();
    EXPECT_TRUE(vset::cap::unit().bPlayer);
    EXPECT_EQ(open(&hUntouched), HW_ERR_BUSY);
    vset::cap::release();
    vset::powerCycle();
    EXPECT_EQ(open(&hUntouched), HW_ERR_NOT_INITED);
    EXPECT_EQ(hUntouched, kUntouched);
    EXPECT_FALSE(vset::cap::unit().bOpen);
}

TEST_F(VsetCap, RefusesWhatItCannotCapture) {
    EXPECT_EQ(capture(atEnd()), HW_ERR_FAILED) << "not connected";
    ASSERT_EQ(connect(), HW_OK);
    std::vector<HW_U8> host(kSize);
    using Description = HW_CAP_Description_t;
    const Description stGood = atEnd();
    Description stReserved = stGood;
    stReserved.au32Reserved[2] = 1;
    const Description aWrong[] = {
        stReserved,
        but(stGood, &Description::u32Width, 1919u),
        but(stGood, &Description::u32Height, 540u),
        but(stGood, &Description::u32Format, 1u),
        but(stGood, &Description::u32Flag, 2u),
        but(stGood, &Description::u32BufferSize, 0xFFFFFFFFu),
        but(stGood, &Description::u64VirtAddr, HW_U64{0}),
        but(stGood, &Description::u64VirtAddr, reinterpret_cast<HW_U64>(host.data())),
        but(stGood, &Description::u64VirtAddr, stGood.u64VirtAddr + 1),
        but(stGood, &Description::u64VirtAddr, _u64Region - 1),
    };
    for (std::size_t i = 0; i < std::size(aWrong); ++i) {
        EXPECT_EQ(capture(aWrong[i]), HW_ERR_INVALID_PARAMETER) << i;
    }
    EXPECT_EQ(capture(but(stGood, &Description::u32BufferSize, kSize - 1)), HW_ERR_LIMITION);
    EXPECT_EQ(HW_CAP_CaptureOne(_hCap, &stGood, nullptr), HW_ERR_INVALID_PARAMETER);
    EXPECT_EQ(HW_CAP_CaptureOne(_hCap, nullptr, &_stResult), HW_ERR_INVALID_PARAMETER);
    EXPECT_EQ(_stResult.u32Width, kUntouched);
    EXPECT_EQ(memory(_u64End - kSize, kSize).find_first_not_of('\0'), std::string::npos);
    EXPECT_TRUE(vset::cap::lastPicture().pixels.empty());
    EXPECT_EQ(vset::cap::unit().u64Captures, 0u);
}

TEST_F(VsetCap, WritesWhatTheWindowShows) {
    ASSERT_EQ(connect(), HW_OK);
    EXPECT_EQ(capture(atEnd()), HW_OK);
    const HW_CAP_Result_t stWanted = {1920, 1080, 7680, kSize};
    EXPECT_EQ(std::memcmp(&_stResult, &stWanted, sizeof(stWanted)), 0);
    const vset::Picture shown = vset::disp::picture(0);
    EXPECT_EQ(memory(_u64End - kSize, kSize), std::string(reinterpret_cast<const char*>(shown.pixels.data()), kSize));
    EXPECT_EQ(vset::cap::lastPicture().pixels, shown.pixels);

    // At an odd address, with more room than is needed, from a window of one color.
    const HW_DISP_TestPattern_t stPattern = {E_HW_DISP_PATTERN_MOD, 1, 1, {0x44, 0x88, 0xCC}};
    EXPECT_EQ(HW_DISP_SetAttr(_hMain, E_HW_DISP_ATTR_TEST_PATTERN, &stPattern), HW_OK);
    HW_CAP_Description_t stOdd = atEnd();
    stOdd.u64VirtAddr = _u64Region + 1;
    stOdd.u32BufferSize = kSize + 5;
    EXPECT_EQ(capture(stOdd), HW_OK);
    const std::string strPixel = "\x33\x22\x11\xFF";  // blue, green, red, alpha
    EXPECT_EQ(memory(_u64Region, 9), std::string(1, '\0') + strPixel + strPixel);
    EXPECT_EQ(memory(_u64Region + 1 + kSize - 4, 9), strPixel + std::string(5, '\0'));
    EXPECT_EQ(vset::cap::unit().u64Captures, 2u);

    vset::disp::release(0);
    EXPECT_EQ(capture(atEnd()), HW_OK);
    EXPECT_EQ(vset::cap::lastPicture().pixels, std::vector<std::uint32_t>(kSize / 4, 0xFF000000)) << "a closed window";
}

}  // namespace
