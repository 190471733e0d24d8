// SPDX-License-Identifier: Apache-2.0
// Audio module: output paths, refused arguments, advanced sound, attributes.
#include <cstring>
#include <functional>
#include <map>

#include <gmock/gmock.h>

#include "support/audio_fixture.h"

namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Lt;
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

class AudioPaths : public test::AudioTest {
protected:
    // Expects that the call fails with this message at the log's end, and that `left` paths stay open then.
    void refused(std::size_t left, const char* pszLog, const std::function<int()>& call,
                 int s32Line = __builtin_LINE()) {
        SCOPED_TRACE(s32Line);
        const std::string strLog = test::logOf([&] { EXPECT_EQ(call(), -1); });
        EXPECT_THAT(strLog, EndsWith(pszLog));
        EXPECT_EQ(strLog.substr(strLog.rfind("(imp) "), 9), "(imp) [E]");
        EXPECT_EQ(opened().size(), left);
        EXPECT_EQ(a_vextvfapi_aud_close(), 0);
        EXPECT_THAT(opened(), IsEmpty());
    }
};

TEST_F(AudioPaths, AnOlderHandleWinsAndWhatWasEverOpenedHereIsClosedHere) {
    refuses("HW_AOUT_Close");
    refuses("HW_AOUT_SetAttr");
    inFreshProcess([&] {
        vset::aout::hold(0);
        EXPECT_EQ(enable(1), 0);
        vset::aout::hold(4);
        EXPECT_EQ(enable(1), 0);
        EXPECT_TRUE(vset::aout::path(0).bOpen) << "it was only found";
        EXPECT_FALSE(vset::aout::path(4).bOpen) << "the first call has opened it, too";

        // The first handle is used after it was closed and replaced, whatever start-up and shut-down come between.
        EXPECT_EQ(a_vextvfapi_aud_deinit(), 0);
        EXPECT_EQ(a_vextvfapi_aud_init(), 0);
        vset::aout::release(0);
        vset::aout::hold(0);
        EXPECT_EQ(enable(2), -1);
        EXPECT_EQ(vset::aout::sound().u32AdvancedType, 0u);
    });
}

constexpr const char* kInvalid = "Invalid parameter !\n\n";

// Most arguments are checked when the paths have been opened, which then stay open.
TEST_F(AudioPaths, ANullIsRefusedBeforeOrAfterTheyAreOpened) {
    unsigned int u32 = 0;
    unsigned short u16 = 0;
    unsigned char u8 = 1;
    refused(9, kInvalid, [&] { return a_vextvfapi_aud_adv_snd_enable(nullptr); });
    refused(9, kInvalid, [&] { return a_vextvfapi_aud_adv_snd_enable_sub(nullptr, &u32, &u8); });
    refused(9, kInvalid, [&] { return a_vextvfapi_aud_adv_snd_enable_sub(&u32, nullptr, &u8); });
    refused(9, kInvalid, [&] { return a_vextvfapi_aud_adv_snd_enable_sub(&u32, &u32, nullptr); });
    refused(9, kInvalid, [&] { return a_vextvfapi_aud_adv_snd_set_param(nullptr); });
    refused(0, kInvalid, [&] { return a_vextvfapi_aud_adv_snd_set_dolby_dap_param(nullptr); });
    refused(0, kInvalid, [&] { return a_vextvfapi_aud_dts_bypass(nullptr); });
    refused(0, kInvalid, [&] { return a_vextvfapi_aud_get_attr(0x1000, &u8, nullptr); });
    refused(9, kInvalid, [&] { return a_vextvfapi_aud_adv_set_prescale(&u8, nullptr); });
    refused(9, kInvalid, [&] { return a_vextvfapi_aud_adv_set_NR(&u8, nullptr); });
    for (std::size_t null = 0; null < 4; ++null) {
        const auto at = [&](std::size_t i) { return i == null ? nullptr : &u16; };
        refused(9, kInvalid, [&] { return a_vextvfapi_aud_adv_set_peq_value(at(0), at(1), at(2), at(3)); });
    }
    refused(0, kInvalid, [&] { return a_vextvfapi_aud_basic_snd_set_param(E_VEXTVFAPI_AUD_BASIC_SND_BASS, nullptr); });
    refused(0, kInvalid, [&] { return a_vextvfapi_aud_adv_get_speaker_delay(nullptr); });
    refused(0, kInvalid, [&] { return a_vextvfapi_aud_adv_set_volume(&u32, nullptr); });
    refused(0, kInvalid, [&] { return a_vextvfapi_aud_load_aq_params(nullptr); });
}

TEST_F(AudioPaths, AnUnknownTypeReachesNoChip) {
    using Type = e_vextvfapi_aud_basic_snd_type;
    unsigned char u8 = 1;
    refused(9, kInvalid, [] { return setParam(8); });
    for (const unsigned int u32Type : {0u, 1u, 2u, 3u, 5u, 7u}) {
        refused(9, "Not support type\n\n", [&] { return setParam(u32Type); });
    }
    for (const unsigned int u32Attr : {0x1303u, 255u, 0xFFFFFFFFu}) {
        refused(9, "Invalid AttrType!\n\n", [&] { return a_vextvfapi_aud_get_attr(u32Attr, &u8, &u8); });
    }
    const fapi_core::VexTvFApiAudBasicSoundParam_t stParam = {};
    refused(9, kInvalid, [&] { return a_vextvfapi_aud_basic_snd_set_param(Type{13}, &stParam); });
    refused(9, kInvalid, [] { return a_vextvfapi_aud_adv_enable_basic_sound_effect(Type{13}, 1); });
    EXPECT_THAT(calls(), Not(Contains("HW_AOUT_SetAttr")));
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
    EXPECT_THAT(test::logOf([] { enable(3); }), HasSubstr("Enable eAdvSndType: SRS Pure Sound \n\n"));
    EXPECT_THAT(test::logOf([] { enableSub(3, 0); }), HasSubstr("Enable Advanced sound effect Type: Pure Sound \n\n"));
}

TEST_F(AdvancedSound, APartIsAByteAtItsPlace) {
    struct Effect {
        unsigned int u32Type, u32HwType, u32First, u32Count;
    };
    for (const Effect& stEffect :
         {Effect{1, 0, 0, 5}, Effect{2, 1, 5, 12}, Effect{3, 2, 0, 4}, Effect{6, 49, 0, 2}, Effect{7, 3, 0, 7}}) {
        for (unsigned int i = stEffect.u32First; i < stEffect.u32First + stEffect.u32Count; ++i) {
            EXPECT_EQ(enableSub(stEffect.u32Type, i, 200), 0);
            EXPECT_EQ(vset::aout::sound().advancedParameters->u32Type, stEffect.u32HwType);
            const std::size_t position = stEffect.u32Type != 2 ? i : i <= 11 ? i + 11 : i + 20;
            EXPECT_EQ(parameters(), (std::map<std::size_t, int>{{position, 200}}))
                << "all others are off: " << stEffect.u32Type << ' ' << i;
        }
    }
    EXPECT_THAT(test::logOf([] { enableSub(2, 13); }),
                HasSubstr("Apply sub sound effect Type: SRS THEATER GEQ ==> enable \n\n"));
    EXPECT_THAT(test::logOf([] { enableSub(7, 6, 0); }),
                HasSubstr("Apply sub sound effect Type: (null) ==> disable \n\n"));
}

TEST_F(AdvancedSound, DbxHasCombinations) {
    for (unsigned int u32Index = 0; u32Index < 12; ++u32Index) {
        EXPECT_EQ(enableSub(4, u32Index, 0), 0) << "the switch means nothing";
        const HW_AOUT_AdvSndParams_t stParams = vset::aout::sound().advancedParameters.value();
        EXPECT_EQ(stParams.u32Type, 96u);
        EXPECT_EQ(stParams.attr.stDbx.u32SonicMode, u32Index < 6 ? 1u : 0u) << u32Index;
        EXPECT_EQ(stParams.attr.stDbx.u32VolumeMode, 2 - u32Index % 6 / 2) << u32Index;
        EXPECT_EQ(stParams.attr.stDbx.u32SurroundMode, u32Index % 2 == 0 ? 1u : 0u) << u32Index;
        EXPECT_THAT(parameters(), Each(Key(Lt(12u)))) << "zeros after the three modes";
    }
}

TEST_F(AdvancedSound, AnUnknownPartIsASuccessWithoutACall) {
    for (const auto& [u32Type, u32Index] : std::vector<std::pair<unsigned int, unsigned int>>{
             {0, 0}, {1, 5}, {2, 4}, {2, 17}, {3, 4}, {4, 12}, {5, 0}, {6, 2}, {7, 7}, {1, 0xFFFFFFFF}}) {
        EXPECT_EQ(enableSub(u32Type, u32Index), 0) << u32Type << ' ' << u32Index;
    }
    EXPECT_THAT(calls(), Not(Contains("HW_AOUT_SetAttr")));
    EXPECT_THAT(test::logOf([] { enableSub(5, 0); }), HasSubstr("Not support type\n\n"));
    vset::inject({"HW_AOUT_Close"});
    EXPECT_EQ(enableSub(5, 0), -1) << "unless a path cannot be closed";
}

TEST_F(AdvancedSound, DolbyDapParametersAreKept) {
    fapi_core::VexTvFApiAdvSndDolbyDapParams_t stDap;
    std::memset(&stDap, 0x5A, sizeof(stDap));
    EXPECT_EQ(a_vextvfapi_aud_adv_snd_set_dolby_dap_param(&stDap), 0);
    HW_AOUT_AdvSndParams_t stParams = vset::aout::sound().advancedParameters.value();
    EXPECT_EQ(stParams.u32Type, 49u);
    EXPECT_EQ(std::memcmp(&stParams.attr, &stDap, sizeof(stDap)), 0);

    // Also when the chip refuses them; a new init forgets them.
    stDap.u32Field0 = 7;
    vset::inject({"HW_AOUT_SetAttr"});
    EXPECT_EQ(a_vextvfapi_aud_adv_snd_set_dolby_dap_param(&stDap), -1);
    EXPECT_EQ(setParam(6), 0);
    EXPECT_EQ(vset::aout::sound().advancedParameters->attr.stDolbyDapParams.u32Field0, 7u);
    EXPECT_EQ(setParam(4), 0);
    EXPECT_EQ(vset::aout::sound().advancedParameters->u32Type, 96u);
    EXPECT_THAT(parameters(), IsEmpty()) << "zeros are all modes of DBX on";
    EXPECT_EQ(a_vextvfapi_aud_init(), 0);
    EXPECT_EQ(setParam(6), 0);
    EXPECT_THAT(parameters(), IsEmpty());
}

// --- Attributes ------------------------------------------------------------------------------------------------------

class AudioAttributes : public test::AudioTest {};

TEST_F(AudioAttributes, AreReadAndTheLastNumberIsTheChipsToRefuse) {
    refuses("HW_AOUT_GetAttr");
    unsigned char u8Bypass = 1;
    EXPECT_EQ(a_vextvfapi_aud_dts_bypass(&u8Bypass), 0);
    EXPECT_TRUE(vset::aout::sound().bDtsBypass);
    unsigned char u8Read = 9;
    EXPECT_EQ(a_vextvfapi_aud_get_attr(0x1302, &u8Bypass, &u8Read), -1);
    EXPECT_EQ(u8Read, 9);
    EXPECT_EQ(a_vextvfapi_aud_get_attr(0x1000, &u8Bypass, &u8Read), 0);
    EXPECT_EQ(u8Read, 1);
}

}  // namespace
