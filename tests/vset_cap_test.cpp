// SPDX-License-Identifier: Apache-2.0
// Captures of a display window into the set's memory.
#include <cstring>

#include "hw3/hw_cap.h"
#include "hw3/hw_os.h"
#include "hw3/hw_sys.h"
#include "support/refusals.h"
#include "support/set_fixture.h"
#include "vset/cap.h"
#include "vset/disp.h"

namespace {

using test::but;
using test::kUntouched;

constexpr HW_U32 kSize = 1920 * 1080 * 4;
constexpr HW_CAP_ConnectParams_t kConnect = {0};

HW_Result_t open(HW_Handle_t* phCap, HW_U8 u8Last = 0) {
    const HW_CAP_OpenParams_t stParams = {{0, 0, 0, 0, u8Last}};
    return HW_CAP_Open(&stParams, phCap);
}

class VsetCap : public test::MiddlewareTest {
protected:
    void SetUp() override {
        test::MiddlewareTest::SetUp();
        HW_SYS_MmapInfo_t stInfo = {};
        ASSERT_EQ(HW_SYS_Init(nullptr), HW_OK);
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
    HW_Handle_t hOther = 0, hUntouched = kUntouched;
    const HW_DISP_OpenParams_t stOther = {0, "HW_DISP_HD1"};
    ASSERT_EQ(HW_DISP_Open(&stOther, &hOther), HW_OK);
    test::expectRefusals({
        {"second", HW_ERR_BUSY, [&] { return open(&hUntouched); }},
        {"reserved", HW_ERR_INVALID_PARAMETER, [&] { return open(&hUntouched, 1); }},
        {"no record", HW_ERR_INVALID_PARAMETER, [&] { return HW_CAP_Open(nullptr, &hUntouched); }},
        {"to nowhere", HW_ERR_INVALID_PARAMETER, [] { return open(nullptr); }},
        {"not connected", HW_ERR_FAILED, [&] { return HW_CAP_DisconnectInput(_hCap, _hMain); }},
        {"no window", HW_ERR_INVALID_HANDLE, [&] { return HW_CAP_ConnectInput(_hCap, _hCap, &kConnect); }},
        {"no unit", HW_ERR_INVALID_HANDLE, [&] { return HW_CAP_ConnectInput(_hMain, _hMain, &kConnect); }},
        {"reserved", HW_ERR_INVALID_PARAMETER, [&] { return HW_CAP_ConnectInput(_hCap, _hMain, &stReserved); }},
        {"no record", HW_ERR_INVALID_PARAMETER, [&] { return HW_CAP_ConnectInput(_hCap, _hMain, nullptr); }},
        {"connected", HW_OK, [&] { return connect(); }},
        {"connected twice", HW_ERR_BUSY, [&] { return HW_CAP_ConnectInput(_hCap, hOther, &kConnect); }},
        {"another one's", HW_ERR_FAILED, [&] { return HW_CAP_DisconnectInput(_hCap, hOther); }},
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
    EXPECT_EQ(HW_CAP_CaptureOne(_hMain, nullptr, nullptr), HW_ERR_INVALID_HANDLE);
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
