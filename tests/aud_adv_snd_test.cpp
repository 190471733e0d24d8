// SPDX-License-Identifier: Apache-2.0
// Audio module: output paths, advanced sound, attributes.
#include <cstring>

#include <gmock/gmock.h>

#include "support/audio_fixture.h"

namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

int enable(unsigned int u32Type) {
    return a_vextvfapi_aud_adv_snd_enable(&u32Type);
}

int enableSub(unsigned int u32Type, unsigned int u32Index, unsigned char u8Enable = 1) {
    return a_vextvfapi_aud_adv_snd_enable_sub(&u32Type, &u32Index, &u8Enable);
}

int setParam(unsigned int u32Type) {
    return a_vextvfapi_aud_adv_snd_set_param(&u32Type);
}

// --- Output paths ----------------------------------------------------------------------------------------------------

class AudioPaths : public test::AudioTest {};

TEST_F(AudioPaths, AreOpenedForACallAndClosedAfterIt) {
    EXPECT_EQ(a_vextvfapi_aud_open(), 0);
    EXPECT_EQ(opened().size(), 9u);
    EXPECT_EQ(a_vextvfapi_aud_close(), 0);
    EXPECT_THAT(opened(), IsEmpty());
    EXPECT_EQ(enable(1), 0);
    EXPECT_EQ(count("HW_AOUT_GetHandle"), 18u) << "all nine are looked up each time";
}

TEST_F(AudioPaths, AForeignPathStaysOpenWhenTheModuleNeverOpenedIt) {
    inFreshProcess([&] {
        vset::aout::hold(0);
        vset::aout::hold(4);
        EXPECT_EQ(enable(1), 0);
        EXPECT_EQ(opened().size(), 2u);
        EXPECT_EQ(a_vextvfapi_aud_deinit(), 0);
        EXPECT_EQ(a_vextvfapi_aud_init(), 0);
        EXPECT_EQ(enable(2), 0) << "the remembered handle still works";
        EXPECT_EQ(vset::aout::sound().u32AdvancedType, 1u);
    });
}

TEST_F(AudioPaths, AFailedCallLeavesThemOpenUntilTheNextSuccess) {
    vset::inject({"HW_AOUT_SetAttr"});
    EXPECT_EQ(enable(1), -1);
    EXPECT_EQ(opened().size(), 9u);
    EXPECT_EQ(enable(8), -1) << "an argument that is checked later leaves them open, too";
    EXPECT_EQ(enable(1), 0);
    EXPECT_THAT(opened(), IsEmpty());

    vset::inject({"HW_AOUT_Close", 3, 4});
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(enable(1), -1); }),
                AllOf(HasSubstr("HW_AOUT_Close() failed!\n\n"), HasSubstr("a_vextvfapi_aud_close() failed!\n\n")));
    EXPECT_EQ(opened().size(), 6u) << "it stops at the path that cannot be closed";
    EXPECT_EQ(a_vextvfapi_aud_close(), 0);
}

TEST_F(AudioPaths, NothingIsCalledWithoutTheMainOne) {
    refuses("HW_AOUT_Open");
    vset::aout::setBlocked(0, true);
    vset::aout::setBlocked(3, true);
    const std::string strLog = test::logOf([] { EXPECT_EQ(enable(1), -1); });
    EXPECT_THAT(strLog, AllOf(HasSubstr("No Handle for path(3) get from HW_AOUT_GetHandle, call HW_AOUT_Open()...\n\n"),
                              HasSubstr("HW_AOUT_Open() with path 3 failed!\033[m\n\n"),
                              HasSubstr("AOUT handle is not ready! \n\n")));
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(enableSub(1, 0), -1); }), HasSubstr("AOUT handle is not ready.\n\n"));
    EXPECT_EQ(setParam(4), -1);
    unsigned char u8Bypass = 1;
    EXPECT_EQ(a_vextvfapi_aud_dts_bypass(&u8Bypass), -1);
    EXPECT_EQ(a_vextvfapi_aud_get_attr(0x1000, &u8Bypass, &u8Bypass), -1);
    EXPECT_THAT(calls(), AllOf(Not(Contains("HW_AOUT_SetAttr")), Not(Contains("HW_AOUT_Close"))));
}

TEST_F(AudioPaths, StartAndEndOfTheModule) {
    EXPECT_EQ(a_vextvfapi_aud_init(), 0) << "again";
    for (const long long s64Result : {1, 3, 6}) {
        vset::inject({"HW_AUDIO_Init", s64Result});
        EXPECT_EQ(a_vextvfapi_aud_init(), -1);
        vset::inject({"HW_AOUT_Init", s64Result});
        EXPECT_EQ(a_vextvfapi_aud_init(), -1);
    }
    vset::clearJournal();
    vset::inject({"HW_AUDIO_DeInit"});
    EXPECT_EQ(a_vextvfapi_aud_deinit(), -1);
    EXPECT_THAT(calls(), Not(Contains("HW_AOUT_DeInit"))) << "the outputs stay up when the core does";
    vset::inject({"HW_AOUT_DeInit"});
    EXPECT_EQ(a_vextvfapi_aud_deinit(), -1);
}

// --- Advanced sound --------------------------------------------------------------------------------------------------

class AdvancedSound : public test::AudioTest {
protected:
    // Returns the parameters of the record that are not 0, by their place.
    static std::map<std::size_t, int> parameters() {
        std::map<std::size_t, int> bytes;
        const HW_AOUT_AdvSndParams_t stParams = vset::aout::sound().advancedParameters.value();
        for (std::size_t i = 0; i < sizeof(stParams.attr.au8Raw); ++i) {
            if (stParams.attr.au8Raw[i] != 0) {
                bytes[i] = stParams.attr.au8Raw[i];
            }
        }
        return bytes;
    }
};

TEST_F(AdvancedSound, EffectsHaveOtherNumbersInTheChip) {
    constexpr unsigned int kHwTypes[] = {255, 0, 1, 2, 96, 48, 49, 3};
    for (unsigned int u32Type = 0; u32Type < 8; ++u32Type) {
        EXPECT_EQ(enable(u32Type), 0);
        EXPECT_EQ(vset::aout::sound().u32AdvancedType, kHwTypes[u32Type]);
    }
    EXPECT_EQ(enable(8), -1);
    EXPECT_EQ(a_vextvfapi_aud_adv_snd_enable(nullptr), -1);
    EXPECT_THAT(test::logOf([] { enable(3); }), HasSubstr("Enable eAdvSndType: SRS Pure Sound \n\n"));
    EXPECT_THAT(test::logOf([] { enableSub(3, 0); }), HasSubstr("Enable Advanced sound effect Type: Pure Sound \n\n"));
}

TEST_F(AdvancedSound, APartIsAByteAtItsPlace) {
    struct Row {
        unsigned int u32Type, u32Index, u32HwType;
        std::size_t position;
    };
    std::vector<Row> rows = {{1, 0, 0, 0}, {1, 4, 0, 4}, {3, 3, 2, 3}, {6, 0, 49, 0}, {6, 1, 49, 1}, {7, 6, 3, 6}};
    for (unsigned int u32Index = 5; u32Index <= 16; ++u32Index) {
        rows.push_back({2, u32Index, 1, u32Index <= 11 ? u32Index + 11 : u32Index + 20});
    }
    for (const Row& stRow : rows) {
        EXPECT_EQ(enableSub(stRow.u32Type, stRow.u32Index, 200), 0);
        EXPECT_EQ(vset::aout::sound().advancedParameters->u32Type, stRow.u32HwType);
        EXPECT_EQ(parameters(), (std::map<std::size_t, int>{{stRow.position, 200}}))
            << "all others are off: " << stRow.u32Type << ' ' << stRow.u32Index;
    }
    EXPECT_THAT(test::logOf([] { enableSub(7, 6, 0); }),
                HasSubstr("Apply sub sound effect Type: (null) ==> disable \n\n"));
    EXPECT_THAT(test::logOf([] { enableSub(2, 13); }),
                HasSubstr("Apply sub sound effect Type: SRS THEATER GEQ ==> enable \n\n"));
}

TEST_F(AdvancedSound, DbxHasCombinations) {
    for (unsigned int u32Index = 0; u32Index < 12; ++u32Index) {
        EXPECT_EQ(enableSub(4, u32Index, 0), 0) << "the switch means nothing";
        const HW_AOUT_AdvSndParams_t stParams = vset::aout::sound().advancedParameters.value();
        EXPECT_EQ(stParams.u32Type, 96u);
        EXPECT_EQ(stParams.attr.stDbx.u32SonicMode, u32Index < 6 ? 1u : 0u) << u32Index;
        EXPECT_EQ(stParams.attr.stDbx.u32VolumeMode, 2 - u32Index % 6 / 2) << u32Index;
        EXPECT_EQ(stParams.attr.stDbx.u32SurroundMode, u32Index % 2 == 0 ? 1u : 0u) << u32Index;
    }
    EXPECT_THAT(test::logOf([] { enableSub(4, 7, 1); }),
                HasSubstr("Apply sub sound effect Type: DBX Sonic ON  Volume OFF Surround ON ==> enable \n\n"));
}

TEST_F(AdvancedSound, AnUnknownPartIsASuccessWithoutACall) {
    for (const auto& [u32Type, u32Index] : std::vector<std::pair<unsigned int, unsigned int>>{
             {0, 0}, {1, 5}, {2, 4}, {2, 17}, {3, 4}, {4, 12}, {5, 0}, {6, 2}, {7, 7}, {1, 0xFFFFFFFF}}) {
        int s32Status = 7;
        EXPECT_THAT(
            test::logOf([&, u32Type = u32Type, u32Index = u32Index] { s32Status = enableSub(u32Type, u32Index); }),
            HasSubstr("Not support type\n\n"));
        EXPECT_EQ(s32Status, 0) << u32Type << ' ' << u32Index;
    }
    EXPECT_THAT(calls(), Not(Contains("HW_AOUT_SetAttr")));
    vset::inject({"HW_AOUT_Close"});
    EXPECT_EQ(enableSub(5, 0), -1) << "unless a path cannot be closed";
    unsigned int u32Word = 1;
    unsigned char u8Enable = 1;
    EXPECT_EQ(a_vextvfapi_aud_adv_snd_enable_sub(nullptr, &u32Word, &u8Enable), -1);
    EXPECT_EQ(a_vextvfapi_aud_adv_snd_enable_sub(&u32Word, nullptr, &u8Enable), -1);
    EXPECT_EQ(a_vextvfapi_aud_adv_snd_enable_sub(&u32Word, &u32Word, nullptr), -1);
    EXPECT_EQ(enableSub(8, 0), -1);
}

TEST_F(AdvancedSound, DolbyDapParametersAreKept) {
    fapi_core::VexTvFApiAdvSndDolbyDapParams_t stDap;
    std::memset(&stDap, 0x5A, sizeof(stDap));
    stDap.stDapGainParam.s32PreGain = -12;
    EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_aud_adv_snd_set_dolby_dap_param(&stDap), 0); }),
                AllOf(HasSubstr("a_vextvfapi_aud_adv_snd_set_dolby_dap_param()...\n"),
                      HasSubstr("stDolbyDapParams.stDapGainParam.s32PreGain = -12\n")));
    const HW_AOUT_AdvSndParams_t stParams = vset::aout::sound().advancedParameters.value();
    EXPECT_EQ(stParams.u32Type, 49u);
    EXPECT_EQ(std::memcmp(&stParams.attr, &stDap, sizeof(stDap)), 0);

    // Also when the chip refuses them; a new init forgets them.
    stDap.u32Field0 = 7;
    vset::inject({"HW_AOUT_SetAttr"});
    EXPECT_EQ(a_vextvfapi_aud_adv_snd_set_dolby_dap_param(&stDap), -1);
    EXPECT_EQ(setParam(6), 0);
    EXPECT_EQ(vset::aout::sound().advancedParameters->attr.stDolbyDapParams.u32Field0, 7u);
    EXPECT_EQ(a_vextvfapi_aud_init(), 0);
    EXPECT_EQ(setParam(6), 0);
    EXPECT_THAT(parameters(), IsEmpty());
    EXPECT_EQ(a_vextvfapi_aud_adv_snd_set_dolby_dap_param(nullptr), -1);
}

TEST_F(AdvancedSound, OnlyTwoEffectsHaveParameters) {
    EXPECT_EQ(setParam(4), 0);
    EXPECT_EQ(vset::aout::sound().advancedParameters->u32Type, 96u);
    EXPECT_THAT(parameters(), IsEmpty()) << "zeros are all modes on";
    for (const unsigned int u32Type : {0u, 1u, 2u, 3u, 5u, 7u, 8u}) {
        EXPECT_EQ(setParam(u32Type), -1) << u32Type;
    }
    EXPECT_EQ(a_vextvfapi_aud_adv_snd_set_param(nullptr), -1);
    EXPECT_EQ(count("HW_AOUT_SetAttr"), 1u);
}

// --- Attributes ------------------------------------------------------------------------------------------------------

class AudioAttributes : public test::AudioTest {};

TEST_F(AudioAttributes, BypassIsSetAndRead) {
    unsigned char u8Bypass = 1;
    EXPECT_EQ(a_vextvfapi_aud_dts_bypass(&u8Bypass), 0);
    EXPECT_TRUE(vset::aout::sound().bDtsBypass);
    EXPECT_EQ(a_vextvfapi_aud_dts_bypass(nullptr), -1);
    unsigned char u8Read = 9;
    EXPECT_EQ(a_vextvfapi_aud_get_attr(0x1000, &u8Bypass, &u8Read), 0);
    EXPECT_EQ(u8Read, 1);
}

TEST_F(AudioAttributes, NumbersAreLetThroughUpToALast) {
    refuses("HW_AOUT_GetAttr");
    unsigned char u8Input = 4;
    std::vector<unsigned char> output(1604, '#');
    EXPECT_EQ(a_vextvfapi_aud_get_attr(0x1000, nullptr, output.data()), -1);
    EXPECT_EQ(a_vextvfapi_aud_get_attr(0x1000, &u8Input, nullptr), -1);
    EXPECT_THAT(calls(), IsEmpty());
    for (const unsigned int u32Attr : {0x1303u, 255u, 0xFFFFFFFFu}) {
        EXPECT_EQ(a_vextvfapi_aud_get_attr(u32Attr, &u8Input, output.data()), -1);
    }
    EXPECT_THAT(calls(), Not(Contains("HW_AOUT_GetAttr")));
    EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_aud_get_attr(0x1302, &u8Input, output.data()), -1); }),
                AllOf(HasSubstr("AttrType = 4866\033[m\n\n"), HasSubstr("\033[31mHW_AOUT_GetAttr() failed!\033[m\n\n")))
        << "the chip does not know it";
    EXPECT_EQ(output, std::vector<unsigned char>(1604, '#'));
    EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_aud_get_attr(0x1001, &u8Input, output.data()), 0); }),
                AllOf(HasSubstr("InputParam = 4\n\n"), HasSubstr("HW_AOUT_GetAttr() OK!\n\n")));
}

}  // namespace
