// SPDX-License-Identifier: Apache-2.0
// Audio outputs: initialisation, paths and their holders, attributes, levels, and all of it in words.
#include <cstring>
#include <numeric>

#include <gmock/gmock.h>

#include "hw3/hw_audio.h"
#include "support/middleware_calls.h"
#include "support/refusals.h"
#include "vset/aout.h"

namespace {

using test::kUntouched;
using ::testing::HasSubstr;

HW_Result_t open(HW_U32 u32Path, HW_Handle_t* phAout, HW_U8 u8Last = 0) {
    HW_AOUT_OpenParams_t stParams = {u32Path, 0, {}};
    stParams.au8Reserved[26] = u8Last;
    return HW_AOUT_Open(&stParams, phAout);
}

HW_Result_t load(HW_Handle_t hAout, const char* pszFile) {
    const HW_AOUT_AqParams_t stFile = {test::u8(pszFile)};
    return HW_AOUT_LoadAqParams(hAout, &stFile);
}

class VsetAout : public test::RunningTest {
protected:
    void start() {
        ASSERT_EQ(test::init(HW_AOUT_Init), HW_OK);
        ASSERT_EQ(open(0, &_hMain), HW_OK);
        ASSERT_EQ(open(5, &_hFive), HW_OK);
    }

    HW_Handle_t _hMain = HW_HANDLE_NONE, _hFive = HW_HANDLE_NONE;
};

TEST_F(VsetAout, IsDeinitialised) {
    HW_Handle_t hUntouched = kUntouched;
    test::expectRefusals({
        {"audio down before up", HW_ERR_NOT_INITED, HW_AUDIO_DeInit},
        {"audio", HW_OK, [] { return test::init(HW_AUDIO_Init); }},
        {"outputs are no audio", HW_ERR_NOT_INITED, HW_AOUT_DeInit},
        {"outputs", HW_OK, [] { return test::init(HW_AOUT_Init); }},
        {"audio down", HW_OK, HW_AUDIO_DeInit},
        {"reserved", HW_ERR_INVALID_PARAMETER, [&] { return open(0, &hUntouched, 1); }},
        {"down", HW_OK, HW_AOUT_DeInit},
        {"open too late", HW_ERR_NOT_INITED, [&] { return open(0, &hUntouched); }},
    });
    EXPECT_EQ(hUntouched, kUntouched);
}

TEST_F(VsetAout, PathsHaveHolders) {
    start();
    vset::aout::hold(8);
    const HW_Handle_t hPlayer = test::handleOf(HW_AOUT_GetHandle, {8});
    HW_Handle_t hUntouched = kUntouched;
    vset::aout::setBlocked(3, true);
    EXPECT_EQ(open(3, &hUntouched), HW_ERR_FAILED);
    EXPECT_THROW(vset::aout::hold(3), vset::SetError);
    EXPECT_EQ(hUntouched, kUntouched);
    EXPECT_THAT(vset::aout::describeAll(), HasSubstr("path 3: blocked\npath 5: open\npath 8: held by the player\n"));
    vset::aout::setBlocked(3, false);
    EXPECT_EQ(open(3, &hUntouched), HW_OK);

    // The player's handles outlive the middleware's end; the library's do not.
    EXPECT_EQ(HW_AOUT_DeInit(), HW_OK);
    EXPECT_EQ(HW_AOUT_SetVolume(hPlayer, 8, 1), HW_OK);
    EXPECT_EQ(HW_AOUT_Close(_hFive), HW_ERR_INVALID_HANDLE);
}

TEST_F(VsetAout, RefusesWhatIsWrong) {
    start();
    const HW_AOUT_VolumeTable_t stNoData = {nullptr, test::u8("t")};
    const HW_AOUT_BasicSound_t stBasic = {13, 1, 0, 1, {}};
    const HW_AOUT_AdvSndParams_t stAdvanced = {50, {}};
    const HW_U8 u8Two = 2;
    std::vector<HW_U8> out(sizeof(HW_AOUT_AdvSndParams_t), 0xA5);
    const auto set = [&](HW_U32 u32Attr, const void* pParam) {
        return [=] { return HW_AOUT_SetAttr(_hFive, u32Attr, pParam); };
    };
    const auto get = [&](HW_U32 u32Attr, const void* pInput) {
        return [=, &out] { return HW_AOUT_GetAttr(_hFive, u32Attr, pInput, out.data()); };
    };
    write("/data/empty", "");
    test::expectRefusals({
        {"attribute before record", HW_ERR_NOT_SUPPORT, set(0x1003, nullptr)},
        {"a table cannot be read", HW_ERR_NOT_SUPPORT, get(3, &stBasic)},
        {"set without a record", HW_ERR_INVALID_PARAMETER, set(0x1000, nullptr)},
        {"bypass is no flag", HW_ERR_INVALID_PARAMETER, set(0x1000, &u8Two)},
        {"basic sound of which type", HW_ERR_INVALID_PARAMETER, get(0x1001, nullptr)},
        {"no such basic sound to read", HW_ERR_INVALID_PARAMETER, get(0x1001, &stBasic)},
        {"no such basic sound", HW_ERR_INVALID_PARAMETER, set(0x1001, &stBasic)},
        {"no such advanced sound", HW_ERR_INVALID_PARAMETER, set(0x1002, &stAdvanced.u32Type)},
        {"parameters of none such", HW_ERR_INVALID_PARAMETER, set(0x1004, &stAdvanced)},
        {"table without data", HW_ERR_INVALID_PARAMETER, set(3, &stNoData)},
        {"volume of another path", HW_ERR_INVALID_PARAMETER, [&] { return HW_AOUT_SetVolume(_hFive, 0, 7); }},
        {"volume above all", HW_ERR_INVALID_PARAMETER, [&] { return HW_AOUT_SetVolume(_hFive, 5, 101); }},
        {"delay to nowhere", HW_ERR_INVALID_PARAMETER, [&] { return HW_AOUT_GetDelay(_hFive, 5, nullptr); }},
        {"no file name", HW_ERR_INVALID_PARAMETER, [&] { return load(_hFive, nullptr); }},
        {"no file", HW_ERR_DATA_ERROR, [&] { return load(_hFive, "/data/none"); }},
        {"empty file", HW_ERR_DATA_ERROR, [&] { return load(_hFive, "/data/empty"); }},
        {"folder", HW_ERR_DATA_ERROR, [&] { return load(_hFive, "/data"); }},
    });
    HW_U8 u8Volume = 0;
    HW_U32 u32DelayMs = kUntouched;
    EXPECT_EQ(HW_AOUT_SetVolume(_hMain, 0, 100), HW_OK);
    EXPECT_EQ(HW_AOUT_GetVolume(_hMain, 0, &u8Volume), HW_OK);
    EXPECT_EQ(u8Volume, 100) << "the loudest";
    EXPECT_EQ(HW_AOUT_GetDelay(_hMain, 0, &u32DelayMs), HW_OK);
    EXPECT_EQ(u32DelayMs, 0u);
    EXPECT_THAT(out, ::testing::Each(0xA5));
    EXPECT_EQ(vset::aout::describeAll(),
              "path 0: open, volume 100\npath 5: open\nDTS bypass: off\nadvanced sound: none\n");
}

// Sets an attribute of `size` bytes, each another one, and reads it back, both at odd addresses.
void expectRoundTrip(HW_Handle_t hSet, HW_Handle_t hGet, HW_U32 u32Attr, HW_U32 u32Type, std::size_t size) {
    std::vector<HW_U8> record(size + 2, 0xA5), read(size + 2, 0xA5);
    std::iota(record.begin() + 1, record.end() - 1, HW_U8{0x81});
    std::memcpy(record.data() + 1, &u32Type, std::min(size, sizeof(u32Type)));
    EXPECT_EQ(HW_AOUT_SetAttr(hSet, u32Attr, record.data() + 1), HW_OK);
    EXPECT_EQ(HW_AOUT_GetAttr(hGet, u32Attr, record.data() + 1, read.data() + 1), HW_OK);
    EXPECT_EQ(read, record) << u32Attr << " of type " << u32Type;
}

TEST_F(VsetAout, SoundIsTheChips) {
    start();
    for (HW_U32 u32Type = 0; u32Type < vset::aout::kBasicTypes; ++u32Type) {
        HW_AOUT_BasicSound_t stSound = {kUntouched, 1, 1, 1, {}}, stBlank = {u32Type, 0, 0, 0, {}};
        EXPECT_EQ(HW_AOUT_GetAttr(_hMain, E_HW_AOUT_ATTR_BASIC_SOUND, &u32Type, &stSound), HW_OK);
        EXPECT_EQ(std::memcmp(&stSound, &stBlank, sizeof(stBlank)), 0) << "not set yet";
        expectRoundTrip(_hMain, _hFive, E_HW_AOUT_ATTR_BASIC_SOUND, u32Type, sizeof(stSound));
    }
    for (const HW_U32 u32Type : {0u, 1u, 2u, 3u, 48u, 49u, 96u, 255u}) {
        expectRoundTrip(_hFive, _hMain, E_HW_AOUT_ATTR_ADV_SND_TYPE, u32Type, sizeof(u32Type));
        expectRoundTrip(_hFive, _hMain, E_HW_AOUT_ATTR_ADV_SND_PARAM, u32Type, sizeof(HW_AOUT_AdvSndParams_t));
    }
    expectRoundTrip(_hMain, _hFive, E_HW_AOUT_ATTR_DTS_BYPASS, 1, 1);
    const vset::aout::Sound stSound = vset::aout::sound();
    EXPECT_TRUE(stSound.bDtsBypass);
    EXPECT_THAT(vset::aout::describeAll(), HasSubstr(vset::aout::describe(*stSound.advancedParameters) + "\n"));
}

// Returns parameters with ones at some positions.
std::string advanced(HW_U32 u32Type, const std::vector<std::size_t>& ones) {
    HW_AOUT_AdvSndParams_t stParams = {u32Type, {}};
    for (const std::size_t position : ones) {
        stParams.attr.au8Raw[position] = 1;
    }
    return vset::aout::describe(stParams);
}

// Returns a record with 1, 2, ... in the slots.
std::string basic(HW_U32 u32Type, HW_U8 u8Enable, HW_U16 u16Value) {
    HW_AOUT_BasicSound_t stSound = {u32Type, u8Enable, 0, u16Value, {}};
    std::iota(stSound.band.au16Band, stSound.band.au16Band + HW_AOUT_BASIC_SND_SLOTS, HW_U16{1});
    return vset::aout::describe(stSound);
}

TEST(VsetAoutWords, TellRecords) {
    EXPECT_EQ(advanced(1, {16, 36}), "SRS Theater: cc3d on, common max on, rest off");
    EXPECT_EQ(advanced(1, {0, 15, 23, 31, 37}), "SRS Theater: all off");
    EXPECT_EQ(advanced(2, {0, 1, 2, 3}), "SRS Pure Sound: all on");
    const struct {
        HW_U32 u32Type;
        std::string strName;
        std::size_t first;  // position
        std::vector<std::string> names;
    } kParts[] = {
        {0, "SRS True Surround HD", 0, {"trubass", "dc", "definition", "srs 3d", "trubass level independent"}},
        {1, "SRS Theater", 16, {"cc3d", "cc3d depth process", "cc3d surround boost", "cc3d tshd mix", "cc3d fade"}},
        {1, "SRS Theater", 21, {"cc3d trubass hdx", "cc3d max"}},
        {1, "SRS Theater", 32, {"tshd", "geq", "trudialog", "cs", "common max"}},
        {2, "SRS Pure Sound", 0, {"hard limiter", "active eq", "hpf", "trubass hd"}},
        {3, "DTS Virtual X", 0, {"trusrndx", "tbhdx", "mbhl", "3", "4", "5", "6"}},
        {49, "Dolby DAP", 0, {"total", "atmos"}},
    };
    for (const auto& [u32Type, strName, first, names] : kParts) {
        for (std::size_t i = 0; i < names.size(); ++i) {
            EXPECT_EQ(advanced(u32Type, {first + i}), strName + ": " + names[i] + " on, rest off");
            EXPECT_TRUE(i < 1 || names.size() < 3 ||
                        advanced(u32Type, {first + i - 1, first + i}) ==
                            strName + ": " + names[i - 1] + " on, " + names[i] + " on, rest off")
                << names[i];
        }
    }
    EXPECT_EQ(advanced(48, {}) + advanced(50, {}) + advanced(255, {}), "Dolby Volume50none");
    EXPECT_EQ(advanced(49, {5, 1599}), "Dolby DAP: pre-gain 256, full parameter record");
    EXPECT_EQ(advanced(96, {}), "DBX: sonic on, volume normal, surround on");
    EXPECT_EQ(advanced(96, {0, 4, 8}), "DBX: sonic off, volume night, surround off");
    const char* const kBasic[] = {"prescale", "",    "",     "treble", "bass", "AVC",     "surround",
                                  "balance",  "DRC", "echo", "NR",     "HPF",  "limiter", "13"};
    for (HW_U32 u32Type = 0; u32Type < std::size(kBasic); ++u32Type) {
        EXPECT_TRUE(u32Type == 1 || u32Type == 2 || basic(u32Type, 0, 12) == std::string(kBasic[u32Type]) + " off: 12");
    }
    EXPECT_EQ(basic(1, 1, 0), "EQ on, 0 bands");
    EXPECT_EQ(basic(1, 1, 1), "EQ on, 1 band: level 1");
    EXPECT_EQ(basic(1, 1, 65535), "EQ on, 65535 bands (of 8): level 1 2 3 4 5 6 7 8");
    EXPECT_EQ(basic(2, 1, 6), "PEQ on, 6 bands (of 5): gain 1 2 3 4 5, frequency 6 7 8 9 10, Q 11 12 13 14 15");
}

}  // namespace
