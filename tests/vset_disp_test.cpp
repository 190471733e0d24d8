// SPDX-License-Identifier: Apache-2.0
// Display windows: holders, connections, attributes, what they show; display controller and display output.
#include <algorithm>
#include <cstring>
#include <numeric>
#include <set>

#include <gmock/gmock.h>

#include "hw3/hw_extin.h"
#include "support/middleware_calls.h"
#include "support/refusals.h"
#include "support/waiting.h"
#include "vset/disp.h"
#include "vset/dispout.h"
#include "vset/extin.h"

namespace {

using test::kUntouched;
using ::testing::Each;
using ::testing::ElementsAre;
using vset::disp::picture;
using vset::disp::window;

constexpr std::uint32_t kBlack = 0xFF000000;

// Returns whether the window shows one color alone.
bool showsOnly(std::uint32_t u32Color) {
    const std::vector<std::uint32_t> pixels = picture(0).pixels;
    return pixels == std::vector<std::uint32_t>(std::size_t{1920} * 1080, u32Color);
}

template <class Record>
std::string bytes(const Record& stRecord) {
    return {reinterpret_cast<const char*>(&stRecord), sizeof(stRecord)};
}

class VsetDisp : public test::RunningTest {
protected:
    void SetUp() override {
        RunningTest::SetUp();
        ASSERT_EQ(HW_DISP_GetHandle("HW_DISP_HD0", &_hMain), HW_OK);
        _hController = test::handleOf(HW_DISP_GetController, {});
    }

    HW_Result_t setPattern(HW_U32 u32Mode, HW_U32 u32Enable, HW_U32 u32Red, HW_U32 u32Green, HW_U32 u32Blue) {
        const HW_DISP_TestPattern_t stPattern = {u32Mode, u32Enable, 1, {u32Red, u32Green, u32Blue}};
        return HW_DISP_SetAttr(_hMain, E_HW_DISP_ATTR_TEST_PATTERN, &stPattern);
    }

    // Returns the handles of what is connected, as the library looks them up.
    std::vector<HW_Handle_t> connected(HW_U32 u32Kind) {
        const HW_DISP_ConnectQuery_t stQuery = {1, u32Kind, 1};
        HW_U32 u32Num = kUntouched;
        EXPECT_EQ(HW_DISP_GetConnectedNum(_hMain, &stQuery, &u32Num), HW_OK);
        std::vector<HW_Handle_t> handles(u32Num + 1, kUntouched);
        EXPECT_EQ(HW_DISP_GetConnected(_hMain, &stQuery, u32Num, handles.data()), HW_OK);
        EXPECT_EQ(handles.back(), kUntouched) << "more than there is room for";
        handles.pop_back();
        return handles;
    }

    HW_Handle_t _hMain = HW_HANDLE_NONE, _hController = HW_HANDLE_NONE;
};

TEST_F(VsetDisp, WindowsHaveHolders) {
    EXPECT_TRUE(window(0).bPlayer);
    EXPECT_FALSE(window(1).bOpen);
    HW_Handle_t hFound = 0, hUntouched = kUntouched;
    const HW_Handle_t hSd = test::handleOf(HW_DISP_Open, {1, "HW_DISP_SD0"});
    const auto open = [&](HW_U32 u32SdWindow, const char* pszName) {
        return [=, &hUntouched] { return test::ask(HW_DISP_Open, {u32SdWindow, pszName}, &hUntouched); };
    };
    EXPECT_EQ(HW_DISP_GetHandle("HW_DISP_SD0", &hFound), HW_OK);
    EXPECT_EQ(hFound, hSd);
    EXPECT_TRUE(window(2).bOpen);
    EXPECT_FALSE(window(2).bPlayer);
    test::expectRefusals({
        {"closed", HW_ERR_FAILED, [&] { return HW_DISP_GetHandle("HW_DISP_HD1", &hUntouched); }},
        {"the player's", HW_ERR_BUSY, open(0, "HW_DISP_HD0")},
        {"not closed", HW_ERR_INVALID_HANDLE, [&] { return HW_DISP_Close(_hMain); }},
        {"flag of another", HW_ERR_INVALID_PARAMETER, open(1, "HW_DISP_HD1")},
        {"no name", HW_ERR_INVALID_PARAMETER, open(0, nullptr)},
        {"no params", HW_ERR_INVALID_PARAMETER, [&] { return HW_DISP_Open(nullptr, &hUntouched); }},
        {"beginning of a name", HW_ERR_INVALID_PARAMETER, [&] { return HW_DISP_GetHandle("HW_DISP_H", &hUntouched); }},
        {"handle to nowhere", HW_ERR_INVALID_PARAMETER, [] { return HW_DISP_GetHandle("HW_DISP_HD0", nullptr); }},
        {"closed", HW_OK, [&] { return HW_DISP_Close(hSd); }},
        {"closed twice", HW_ERR_INVALID_HANDLE, [&] { return HW_DISP_Close(hSd); }},
        {"SD window without flag", HW_ERR_INVALID_PARAMETER, open(0, "HW_DISP_SD0")},
    });
    vset::disp::hold(2);
    EXPECT_EQ(open(1, "HW_DISP_SD0")(), HW_ERR_BUSY);
    vset::disp::release(2);
    EXPECT_THROW(vset::disp::release(2), vset::SetError);
    EXPECT_THROW(vset::disp::hold(3), vset::SetError);
    vset::powerCycle();
    EXPECT_EQ(HW_DISP_GetHandle("HW_DISP_HD0", &hUntouched), HW_ERR_NOT_INITED);
    EXPECT_EQ(open(0, "HW_DISP_HD1")(), HW_ERR_NOT_INITED);
    EXPECT_EQ(hUntouched, kUntouched);
    EXPECT_EQ(HW_DISP_ApplySetting(_hMain), HW_ERR_INVALID_HANDLE) << "from before the power cycle";
}

TEST_F(VsetDisp, VideoPathIsFoundWhileItIsConnected) {
    ASSERT_EQ(connected(E_HW_DISP_MODULE_VIDEO).size(), 1u);
    const HW_Handle_t hVideo = connected(E_HW_DISP_MODULE_VIDEO)[0];
    HW_VIDEO_Info_t stInfo = {};
    EXPECT_EQ(HW_VIDEO_GetAttr(hVideo, E_HW_VIDEO_ATTR_INFO, nullptr, &stInfo), HW_OK);
    EXPECT_THAT((std::vector<HW_U32>{stInfo.u16Width, stInfo.u16Height, stInfo.u32FrameRate, stInfo.u8Interlaced}),
                ElementsAre(1920, 1080, 59940, 0));
    vset::disp::connectVideo(0, {720, 576, 50000, 1});
    EXPECT_THAT(connected(E_HW_DISP_MODULE_VIDEO), ElementsAre(hVideo)) << "the same path";
    EXPECT_EQ(HW_VIDEO_GetAttr(hVideo, E_HW_VIDEO_ATTR_INFO, nullptr, &stInfo), HW_OK);
    EXPECT_EQ(stInfo.u16Width, 720);
    EXPECT_EQ(window(0).video.value().u8Interlaced, 1);
    vset::disp::setModuleCount(0, 3);
    EXPECT_THAT(connected(E_HW_DISP_MODULE_VIDEO), ElementsAre(hVideo, hVideo, hVideo));
    for (const unsigned int u32Count : {0u, 65u}) {
        EXPECT_THROW(vset::disp::setModuleCount(0, u32Count), vset::SetError);
    }
    vset::disp::setModuleCount(0, 64);
    EXPECT_EQ(connected(E_HW_DISP_MODULE_VIDEO).size(), 64u);
    vset::disp::setModuleCount(0, 1);
    const HW_DISP_ConnectQuery_t stQuery = {1, E_HW_DISP_MODULE_VIDEO, 1};
    HW_Handle_t hUntouched = kUntouched;
    EXPECT_EQ(HW_DISP_GetConnected(_hMain, &stQuery, 0, &hUntouched), HW_OK);
    const HW_DISP_ConnectQuery_t stNone = {1, E_HW_DISP_MODULE_EXTIN, 1};
    EXPECT_EQ(HW_DISP_GetConnected(_hMain, &stNone, 1, &hUntouched), HW_ERR_FAILED) << "nothing is connected";
    EXPECT_EQ(hUntouched, kUntouched) << "no room for any";
    test::expectRefusals({
        {"input", HW_ERR_INVALID_PARAMETER, [&] { return HW_VIDEO_GetAttr(hVideo, 0x104, &stInfo, &stInfo); }},
        {"attribute", HW_ERR_NOT_SUPPORT, [&] { return HW_VIDEO_GetAttr(hVideo, 0x105, nullptr, nullptr); }},
        {"no record", HW_ERR_INVALID_PARAMETER, [&] { return HW_VIDEO_GetAttr(hVideo, 0x104, nullptr, nullptr); }},
    });
    vset::disp::disconnectVideo(0);
    EXPECT_TRUE(connected(E_HW_DISP_MODULE_VIDEO).empty());
    EXPECT_EQ(HW_VIDEO_GetAttr(hVideo, E_HW_VIDEO_ATTR_INFO, nullptr, &stInfo), HW_ERR_INVALID_HANDLE);
    EXPECT_THROW(vset::disp::disconnectVideo(0), vset::SetError);
    vset::disp::connectVideo(0, stInfo);
    EXPECT_NE(connected(E_HW_DISP_MODULE_VIDEO).at(0), hVideo);
}

TEST_F(VsetDisp, InputIsOpenedForTheConnection) {
    const vset::disp::Input vga = {E_HW_EXTIN_TYPE_VGA, 0};
    HW_Handle_t hVga = 0;
    const auto find = [&] { return test::ask(HW_EXTIN_GetHandle, {vga.u32Type, vga.u32Index}, &hVga); };
    ASSERT_EQ(test::init(HW_EXTIN_Init), HW_OK);
    EXPECT_TRUE(connected(E_HW_DISP_MODULE_EXTIN).empty());
    vset::disp::connectInput(0, vga);
    EXPECT_EQ(find(), HW_OK);
    EXPECT_THAT(connected(E_HW_DISP_MODULE_EXTIN), ElementsAre(hVga));
    EXPECT_THROW(vset::disp::connectInput(0, {E_HW_EXTIN_TYPE_HDMI, 0}), vset::SetError) << "one for each window";
    EXPECT_THROW(vset::disp::connectInput(1, {E_HW_EXTIN_TYPE_VGA, 1}), vset::SetError) << "there is none";
    EXPECT_FALSE(window(1).input);
    vset::disp::connectInput(1, vga);
    vset::disp::disconnectInput(0);
    EXPECT_EQ(find(), HW_OK) << "still needed";
    vset::disp::disconnectInput(1);
    EXPECT_EQ(find(), HW_ERR_FAILED) << "given back";
    EXPECT_THROW(vset::disp::disconnectInput(1), vset::SetError);

    vset::extin::hold(vga.u32Type, vga.u32Index);
    vset::disp::connectInput(0, vga);
    vset::disp::disconnectInput(0);
    EXPECT_EQ(find(), HW_OK) << "was not opened for the window";

    const HW_Handle_t hPort = test::handleOf(HW_EXTIN_Open, {0, E_HW_EXTIN_TYPE_HDMI, 2});
    vset::disp::connectInput(0, {E_HW_EXTIN_TYPE_HDMI, 2});
    EXPECT_THAT(connected(E_HW_DISP_MODULE_EXTIN), ElementsAre(hPort));
    EXPECT_EQ(HW_EXTIN_Close(hPort), HW_OK);
    EXPECT_TRUE(connected(E_HW_DISP_MODULE_EXTIN).empty()) << "the program has closed it";
    EXPECT_NO_THROW(vset::disp::disconnectInput(0));
}

TEST_F(VsetDisp, RefusesWhatIsWrong) {
    const HW_DISP_ConnectQuery_t stNoKind = {1, 68, 1}, stNoFirst = {0, 199, 1}, stNoLast = {1, 199, 2};
    const HW_DISP_TestPattern_t stPattern = {10, 1, 1, {1, 1, 1}}, stEnable = {6, 2, 1, {1, 1, 1}};
    const HW_DISP_PqBlock_t stBlock = {3, 1}, stFlag = {2, 2};
    const HW_DISP_PqVersionRequest_t stRequest = {7};
    std::vector<HW_U16> curve(256, 7);
    HW_DISP_GammaCurve_t stNoCurve = {0, 1, {curve.data(), curve.data(), nullptr}, {7, 7, 7}};
    HW_DISP_GammaCurve_t stWord = {0, 0, {curve.data(), curve.data(), curve.data()}, {7, 7, 7}};
    HW_DISP_GammaCurve_t stLast = {0, 1, {curve.data(), curve.data(), curve.data()}, {7, 7, 8}};
    std::vector<HW_U32> out(8, kUntouched);
    const auto attr = [&](HW_U32 u32Attr, const void* pParam) {
        return [=] { return HW_DISP_SetAttr(_hMain, u32Attr, pParam); };
    };
    const auto set = [&](HW_U32 u32Param, const void* pParam) {
        return [=] { return HW_DISP_SetPictureParam(_hMain, u32Param, pParam); };
    };
    const auto get = [&](HW_U32 u32Param, const void* pInput) {
        return [=, &out] { return HW_DISP_GetPictureParam(_hMain, u32Param, pInput, out.data()); };
    };
    const auto number = [&](const HW_DISP_ConnectQuery_t* pstQuery) {
        return [=, &out] { return HW_DISP_GetConnectedNum(_hMain, pstQuery, out.data()); };
    };
    test::expectRefusals({
        {"attribute before record", HW_ERR_NOT_SUPPORT, attr(2, nullptr)},
        {"color without a record", HW_ERR_INVALID_PARAMETER, attr(1, nullptr)},
        {"no such stage", HW_ERR_INVALID_PARAMETER, attr(0x401, &stPattern)},
        {"pattern is no flag", HW_ERR_INVALID_PARAMETER, attr(0x401, &stEnable)},
        {"block is no flag", HW_ERR_INVALID_PARAMETER, set(10, &stFlag)},
        {"gamma is no flag", HW_ERR_INVALID_PARAMETER, set(27, &stFlag)},
        {"master is no flag", HW_ERR_INVALID_PARAMETER, set(39, &stFlag)},
        {"range cannot be set", HW_ERR_NOT_SUPPORT, set(24, out.data())},
        {"version cannot be set", HW_ERR_NOT_SUPPORT, set(3841, out.data())},
        {"no parameter 6", HW_ERR_NOT_SUPPORT, set(6, out.data())},
        {"parameter without a record", HW_ERR_INVALID_PARAMETER, set(5, nullptr)},
        {"no fourth block", HW_ERR_INVALID_PARAMETER, set(10, &stBlock)},
        {"two curves", HW_ERR_INVALID_PARAMETER, set(28, &stNoCurve)},
        {"curve's word", HW_ERR_INVALID_PARAMETER, set(28, &stWord)},
        {"last entry of another curve", HW_ERR_INVALID_PARAMETER, set(28, &stLast)},
        {"temperature cannot be read", HW_ERR_NOT_SUPPORT, get(2, nullptr)},
        {"range has no input", HW_ERR_INVALID_PARAMETER, get(24, &stRequest)},
        {"version of what", HW_ERR_INVALID_PARAMETER, get(3841, nullptr)},
        {"no such version", HW_ERR_INVALID_PARAMETER, get(3841, &stRequest)},
        {"mute nothing", HW_ERR_INVALID_PARAMETER, [&] { return HW_DISP_SetMute(_hMain, 0); }},
        {"mute something else", HW_ERR_INVALID_PARAMETER, [&] { return HW_DISP_SetMute(_hMain, 0x406); }},
        {"unmute something else", HW_ERR_INVALID_PARAMETER, [&] { return HW_DISP_SetUnMute(_hMain, 8); }},
        {"no such kind", HW_ERR_INVALID_PARAMETER, number(&stNoKind)},
        {"first word", HW_ERR_INVALID_PARAMETER, number(&stNoFirst)},
        {"last word", HW_ERR_INVALID_PARAMETER, number(&stNoLast)},
        {"no room", HW_ERR_INVALID_PARAMETER, [&] { return HW_DISP_GetConnected(_hMain, &stNoKind, 1, nullptr); }},
    });
    EXPECT_THAT(out, Each(kUntouched));
    EXPECT_TRUE(window(0).pictureParameters.empty());
    EXPECT_FALSE(window(0).bPending);
    EXPECT_EQ(window(0).testPattern.u32Mode + window(0).u32MuteFlags, 0u);
}

TEST_F(VsetDisp, PictureParametersAreKeptByteForByte) {
    std::string strRecord(64, '\0');
    std::iota(strRecord.begin(), strRecord.end(), '\x81');
    const std::pair<HW_U32, std::size_t> kSizes[] = {{2, 24}, {5, 4},  {12, 4},  {16, 4}, {18, 4}, {19, 4},
                                                     {20, 4}, {21, 4}, {23, 32}, {27, 1}, {39, 1}};
    for (const auto& [u32Param, size] : kSizes) {
        const std::string strSent = size == 1 ? "\1" : strRecord.substr(size % 7 * 4, size);
        EXPECT_EQ(HW_DISP_SetPictureParam(_hMain, u32Param, strSent.data()), HW_OK);
        EXPECT_EQ(window(0).pictureParameters[u32Param], strSent) << u32Param;
        EXPECT_TRUE(window(0).bPending);
        EXPECT_EQ(HW_DISP_ApplySetting(_hMain), HW_OK);
        EXPECT_FALSE(window(0).bPending);
    }
    HW_DISP_PqBlock_t stBlock;
    std::memset(&stBlock, 0xA5, sizeof(stBlock));
    for (const HW_U32 u32Index : {0u, 2u}) {
        stBlock.u32Index = u32Index;
        stBlock.u8Enable = 1;
        EXPECT_EQ(HW_DISP_SetPictureParam(_hMain, E_HW_DISP_PICTURE_PQ_BLOCK, &stBlock), HW_OK);
    }
    EXPECT_EQ(window(0).pictureParameters[10], std::string("\0\0\0\0\1\0\0\0", 8));
    EXPECT_EQ(window(0).pictureParameters[10 | 2 << 16], std::string("\2\0\0\0\1\0\0\0", 8));
    EXPECT_EQ(HW_DISP_ApplySetting(_hMain), HW_OK);
    const HW_DISP_InputRect_t stRect = {1, 2, 300, 400, 1920, 1080};
    EXPECT_EQ(HW_DISP_SetInputRect(_hMain, &stRect), HW_OK);
    EXPECT_EQ(bytes(window(0).inputRectangle.value()), bytes(stRect));
    EXPECT_TRUE(window(0).bPending);
    EXPECT_FALSE(window(0).shownRectangle) << "was not applied";
    EXPECT_TRUE(window(1).pictureParameters.empty()) << "another window's";
    vset::powerCycle();
    EXPECT_TRUE(window(0).pictureParameters.empty());
    EXPECT_FALSE(window(0).inputRectangle);
}

TEST_F(VsetDisp, TellsRectangleRangeAndVersion) {
    HW_DISP_Rect_t stRect = {};
    EXPECT_EQ(HW_DISP_GetDispRect(_hMain, &stRect), HW_OK);
    EXPECT_EQ(bytes(stRect), bytes(HW_DISP_Rect_t{0, 0, 1920, 1080}));
    HW_DISP_PqRange_t stRange = {};
    vset::disp::setPqRange(1, {{9, 9, 9}, {9, 9, 9}});
    EXPECT_EQ(HW_DISP_GetPictureParam(_hMain, E_HW_DISP_PICTURE_PQ_RANGE, nullptr, &stRange), HW_OK);
    EXPECT_THAT(stRange.as32Min, Each(-50));
    EXPECT_THAT(stRange.as32Max, Each(50));
    const HW_DISP_PqVersionRequest_t stRequest = {5};
    HW_DISP_PqVersion_t stVersion;
    std::memset(&stVersion, 0xA5, sizeof(stVersion));
    EXPECT_EQ(HW_DISP_GetPictureParam(_hMain, E_HW_DISP_PICTURE_PQ_VERSION, &stRequest, &stVersion), HW_OK);
    EXPECT_EQ(bytes(stVersion), "V0.5" + std::string(28, '\0'));
    HW_Handle_t hSd = HW_HANDLE_NONE;
    vset::disp::hold(2);
    EXPECT_EQ(HW_DISP_GetHandle("HW_DISP_SD0", &hSd), HW_OK);
    const HW_DISP_PqVersionRequest_t stLast = {6};
    EXPECT_EQ(HW_DISP_GetPictureParam(hSd, E_HW_DISP_PICTURE_PQ_VERSION, &stLast, &stVersion), HW_OK);
    EXPECT_EQ(bytes(stVersion), "V2.6" + std::string(28, '\0'));
    vset::disp::setPqVersion(2, 6, std::string(32, 'v'));
    EXPECT_EQ(HW_DISP_GetPictureParam(hSd, E_HW_DISP_PICTURE_PQ_VERSION, &stLast, &stVersion), HW_OK);
    EXPECT_EQ(bytes(stVersion), std::string(32, 'v'));
    vset::disp::setRectangle(2, {1, 2, 3, 4});
    EXPECT_EQ(HW_DISP_GetDispRect(hSd, &stRect), HW_OK);
    EXPECT_EQ(bytes(stRect), bytes(HW_DISP_Rect_t{1, 2, 3, 4}));
    EXPECT_THROW(vset::disp::setPqVersion(0, 6, std::string(33, 'v')), vset::SetError);
    EXPECT_THROW(vset::disp::setPqVersion(0, 7, ""), vset::SetError);
}

TEST_F(VsetDisp, ShowsTestPatternAndMute) {
    vset::disp::freezeVideo(0);
    const vset::Picture source = picture(0);
    EXPECT_EQ(setPattern(6, 1, 1023, 514, 3), HW_OK);
    EXPECT_TRUE(showsOnly(0xFFFF8000)) << "10 bits";
    EXPECT_FALSE(window(0).bPending) << "acts at once";
    EXPECT_EQ(setPattern(6, 1, 0, 0xFFFFFFFF, 1024), HW_OK);
    EXPECT_EQ(picture(0).at(1919, 1079), 0xFF00FFFF) << "above 10 bits";

    EXPECT_EQ(HW_DISP_SetMute(_hMain, 0x400), HW_OK);
    EXPECT_EQ(HW_DISP_SetMute(_hMain, 0x4), HW_OK);
    EXPECT_TRUE(showsOnly(kBlack)) << "over everything";
    const HW_DISP_MuteColor_t stBlue = {{0, 0, 1023}};
    EXPECT_EQ(HW_DISP_SetAttr(_hMain, E_HW_DISP_ATTR_MUTE_COLOR, &stBlue), HW_OK);
    EXPECT_EQ(picture(0).at(0, 0), 0xFF0000FF);
    EXPECT_EQ(HW_DISP_SetUnMute(_hMain, 0x4), HW_OK);
    EXPECT_EQ(window(0).u32MuteFlags, 0x400u);
    EXPECT_EQ(picture(0).at(0, 0), 0xFF0000FF) << "another flag is left";
    EXPECT_EQ(HW_DISP_SetUnMute(_hMain, 0x404), HW_OK);
    EXPECT_EQ(picture(0).at(0, 0), 0xFF00FFFF);
    EXPECT_EQ(setPattern(6, 0, 1023, 0, 0), HW_OK);
    EXPECT_EQ(picture(0).pixels, source.pixels) << "switched off";
    EXPECT_EQ(window(0).testPattern.au32Value[0], 1023u);

    vset::disp::release(0);
    EXPECT_TRUE(showsOnly(kBlack)) << "closed";
}

// Returns a number that another picture does not have.
std::uint32_t sumOf(const vset::Picture& picture) {
    return std::accumulate(picture.pixels.begin(), picture.pixels.end(), std::uint32_t{0},
                           [](std::uint32_t u32Sum, std::uint32_t u32Pixel) { return (u32Sum ^ u32Pixel) * 16777619; });
}

TEST_F(VsetDisp, TestPatternsTellTheStagesApart) {
    std::set<std::vector<std::uint32_t>> pictures;
    // Pixels of the full color in each pattern.
    constexpr std::ptrdiff_t kFull[] = {1036800, 1044480, 1036800, 135936, 7560,
                                        7680,    2073600, 1036800, 187904, 518400};
    std::uint32_t u32Kept = 0;
    for (HW_U32 u32Mode = 0; u32Mode <= E_HW_DISP_PATTERN_WHITE_BALANCE; ++u32Mode) {
        EXPECT_EQ(setPattern(u32Mode, 1, 1023, 0, 512), HW_OK);
        const vset::Picture shown = picture(0);
        EXPECT_TRUE(pictures.insert(shown.pixels).second) << u32Mode;
        EXPECT_EQ(std::count(shown.pixels.begin(), shown.pixels.end(), 0xFFFF0080u), kFull[u32Mode]) << u32Mode;
        u32Kept = (u32Kept ^ sumOf(shown)) * 16777619;
        EXPECT_TRUE(std::all_of(shown.pixels.begin(), shown.pixels.end(),
                                [](std::uint32_t u32Pixel) { return (u32Pixel & 0xFF00FF00) == kBlack; }));
    }
    EXPECT_EQ(u32Kept, 3437091840u) << "the patterns have changed";
}

TEST_F(VsetDisp, SourcesShowBars) {
    vset::disp::freezeVideo(100);
    const vset::Picture video = picture(0);
    EXPECT_EQ(picture(0).pixels, video.pixels);
    EXPECT_EQ(video.at(0, 500), 0xFFBFBFBFu);
    EXPECT_EQ(video.at(1919, 500), kBlack);
    EXPECT_EQ(sumOf(video), 2265500800u) << "the bars have changed";
    EXPECT_EQ(std::set<std::uint32_t>(video.pixels.begin(), video.pixels.end()).size(), 9u) << "eight and the line";
    for (const std::uint64_t u64Frame : {std::uint64_t{101}, std::uint64_t{239}, ~std::uint64_t{0}}) {
        vset::disp::freezeVideo(u64Frame);
        EXPECT_NE(picture(0).pixels, video.pixels) << u64Frame;
    }
    const HW_DISP_InputRect_t stWhole = {0, 0, 960, 540, 960, 540}, stOneBar = {120, 68, 120, 67, 960, 540};
    const auto show = [&](const HW_DISP_InputRect_t& stRect) {
        EXPECT_EQ(HW_DISP_SetInputRect(_hMain, &stRect), HW_OK);
        EXPECT_EQ(HW_DISP_ApplySetting(_hMain), HW_OK);
        return picture(0);
    };
    EXPECT_EQ(HW_DISP_SetInputRect(_hMain, &stOneBar), HW_OK);
    EXPECT_EQ(picture(0).at(1919, 500), kBlack) << "not applied yet";
    EXPECT_EQ(show(stOneBar).at(0, 500), 0xFFBFBF00u);
    EXPECT_EQ(bytes(window(0).shownRectangle.value()), bytes(stOneBar));
    EXPECT_EQ(picture(0).at(1919, 500), 0xFFBFBF00u);
    show(stWhole);
    vset::disp::freezeVideo(std::nullopt);
    const vset::Picture moving = picture(0);
    EXPECT_TRUE(test::eventually([&] { return picture(0).pixels != moving.pixels; }));
    vset::disp::connectVideo(0, {1920, 1080, 0, 0});
    EXPECT_EQ(picture(0).pixels, picture(0).pixels) << "no pictures a second";

    vset::disp::connectInput(0, {E_HW_EXTIN_TYPE_HDMI, 1});
    EXPECT_EQ(picture(0).at(960, 0), picture(0).at(960, 1079)) << "the video path is shown first";
    vset::disp::disconnectVideo(0);
    const vset::Picture input = picture(0);
    EXPECT_EQ(input.at(0, 600), input.at(1919, 600));
    EXPECT_NE(input.at(0, 0), input.at(0, 1079));
    EXPECT_EQ(sumOf(input), 4020268032u) << "the bars have changed";
    EXPECT_EQ(show(stOneBar).at(0, 1079), 0xFF0000BFu);
    EXPECT_EQ(sumOf(show({7, 9, 800, 500, 960, 540})), 477430144u) << "the bars have changed";
    vset::disp::disconnectInput(0);
    EXPECT_TRUE(showsOnly(kBlack)) << "nothing connected";
}

TEST_F(VsetDisp, ControllerKnowsItsTimings) {
    const HW_S32 s32FreeRun = -2;
    const auto timing = [&](HW_U32 u32Timing) {
        return [=] { return HW_DISP_SetOutputTiming(_hController, u32Timing); };
    };
    EXPECT_EQ(HW_DISP_SetControlAttr(_hController, 1, &s32FreeRun), HW_OK);
    EXPECT_EQ(vset::disp::controller().s32FreeRun, -2);
    test::expectRefusals({
        {"highest", HW_OK, timing(39)},
        {"not this panel", HW_ERR_NOT_SUPPORT, timing(40)},
        {"not this panel", HW_ERR_NOT_SUPPORT, timing(46)},
        {"no panel", HW_ERR_INVALID_PARAMETER, timing(47)},
        {"attribute", HW_ERR_NOT_SUPPORT, [&] { return HW_DISP_SetControlAttr(_hController, 2, nullptr); }},
        {"no record", HW_ERR_INVALID_PARAMETER, [&] { return HW_DISP_SetControlAttr(_hController, 1, nullptr); }},
    });
    EXPECT_EQ(vset::disp::controller().u32Timing, 39u);
    vset::disp::setTimingSupported(46, true);
    EXPECT_EQ(HW_DISP_SetOutputTiming(_hController, 46), HW_OK);
    EXPECT_THROW(vset::disp::setTimingSupported(47, true), vset::SetError);
    vset::powerCycle();
    EXPECT_EQ(vset::disp::controller().u32Timing, 0u);
    EXPECT_EQ(vset::disp::controller().s32FreeRun, 0);
    EXPECT_TRUE(vset::disp::controller().bPlayer);
    EXPECT_EQ(HW_SYS_Init(nullptr), HW_OK);
    EXPECT_EQ(HW_DISP_SetOutputTiming(test::handleOf(HW_DISP_GetController, {}), 46), HW_ERR_NOT_SUPPORT);
}

// --- Display output --------------------------------------------------------------------------------------------------

// By size, whether a program may set the attribute, and whether it may read it; what the panel has at first, if that
// is not all zeros.
struct PanelAttribute {
    HW_U32 u32Attr;
    std::size_t size;
    bool bSet, bGet;
    std::string strFirst;
};

const std::string kTcon = "VSETTCON-FHD-060LUMORA" + std::string(10, '\0') + "\x10\x21\x32\x43\x54\x65\x76\x87\x98\xA9";

std::vector<PanelAttribute> panelAttributes() {
    std::vector<PanelAttribute> all = {
        {4, 8, false, true, bytes(HW_DISPOUT_PwmRange_t{20, 255})},
        {5, 6, true, true, std::string("\1\0\x2C\1\x1E\0", 6)},
        {15, 8, false, true, bytes(HW_DISPOUT_FrcDevice_t{3, 0x102})},
        {16, 4, false, true, bytes(HW_U32{1})},
        {17, 42, false, true, kTcon},
    };
    const std::pair<HW_U32, std::size_t> kOnlySet[] = {{0, 4}, {1, 4}, {2, 4},  {3, 4},  {6, 4},  {7, 2},
                                                       {8, 8}, {9, 4}, {11, 4}, {10, 0}, {12, 0}, {18, 0}};
    for (const auto& [u32Attr, size] : kOnlySet) {
        all.push_back({u32Attr, size, size != 0, false, ""});
    }
    return all;
}

TEST_F(VsetDisp, OutputHasPanelAttributes) {
    EXPECT_EQ(test::init(HW_DISPOUT_Init), HW_OK);
    const HW_Handle_t hOutput = test::handleOf(HW_DISPOUT_GetHandle, {});
    HW_U32 u32Out = kUntouched;
    for (const PanelAttribute& stRow : panelAttributes()) {
        SCOPED_TRACE(stRow.u32Attr);
        const std::string strFirst = stRow.strFirst.empty() ? std::string(stRow.size, '\0') : stRow.strFirst;
        std::string strOut(64, '\xA5'), strSent(64, '\x42');
        EXPECT_EQ(HW_DISPOUT_PanelGetAttr(hOutput, stRow.u32Attr, nullptr, strOut.data()),
                  stRow.bGet ? HW_OK : HW_ERR_NOT_SUPPORT);
        EXPECT_EQ(strOut.substr(0, stRow.size), stRow.bGet ? strFirst : std::string(stRow.size, '\xA5'));
        EXPECT_EQ(strOut.substr(stRow.size), std::string(64 - stRow.size, '\xA5'));
        EXPECT_EQ(HW_DISPOUT_PanelSetAttr(hOutput, stRow.u32Attr, strSent.data()),
                  stRow.bSet ? HW_OK : HW_ERR_NOT_SUPPORT);
        if (stRow.size == 0) {
            EXPECT_THROW(vset::dispout::attribute(stRow.u32Attr), vset::SetError);
            continue;
        }
        std::string strKept = stRow.bSet ? strSent.substr(0, stRow.size) : strFirst;
        if (stRow.u32Attr == 5 || stRow.u32Attr == 8) {
            strKept[1] = '\0';  // between two fields
        }
        EXPECT_EQ(vset::dispout::attribute(stRow.u32Attr), strKept);
        EXPECT_THROW(vset::dispout::setAttribute(stRow.u32Attr, std::string(stRow.size + 1, 'x')), vset::SetError);
        vset::dispout::setAttribute(stRow.u32Attr, std::string(stRow.size, 'x'));
        EXPECT_EQ(vset::dispout::attribute(stRow.u32Attr), std::string(stRow.size, 'x'));
    }
    test::expectRefusals({
        {"set without a record", HW_ERR_INVALID_PARAMETER,
         [&] { return HW_DISPOUT_PanelSetAttr(hOutput, 0, nullptr); }},
        {"input", HW_ERR_INVALID_PARAMETER, [&] { return HW_DISPOUT_PanelGetAttr(hOutput, 16, &hOutput, &u32Out); }},
    });
    EXPECT_EQ(u32Out, kUntouched);
    vset::powerCycle();
    EXPECT_EQ(vset::dispout::attribute(17), kTcon);
}

}  // namespace
