// SPDX-License-Identifier: Apache-2.0
// Audio module: basic sound effects, levels and tables.
#include <gmock/gmock.h>

#include "support/audio_fixture.h"
#include "support/refusals.h"

namespace {

using test::u8;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using Param = fapi_core::VexTvFApiAudBasicSoundParam_t;
using Slots = std::vector<HW_U16>;

int setParam(unsigned int u32Type, const Param& stParam) {
    return a_vextvfapi_aud_basic_snd_set_param(static_cast<e_vextvfapi_aud_basic_snd_type>(u32Type), &stParam);
}

class BasicSound : public test::AudioTest {
protected:
    static HW_AOUT_BasicSound_t held(unsigned int u32Type) { return vset::aout::sound().basic.at(u32Type).value(); }

    // Slots of the record, of which those that are not named are 0.
    static Slots slots(unsigned int u32Type) {
        const HW_AOUT_BasicSound_t stSound = held(u32Type);
        return {std::begin(stSound.band.au16Band), std::end(stSound.band.au16Band)};
    }
    static Slots expected(const std::map<std::size_t, HW_U16>& values) {
        Slots all(HW_AOUT_BASIC_SND_SLOTS, 0);
        for (const auto& [slot, u16Value] : values) {
            all[slot] = u16Value;
        }
        return all;
    }
};

TEST_F(BasicSound, PrescaleAndNoiseReductionHaveRanges) {
    unsigned char u8Enable = 0;
    for (const int s32Value : {1, 255}) {
        auto u16 = static_cast<unsigned short>(s32Value);
        EXPECT_EQ(a_vextvfapi_aud_adv_set_prescale(&u8Enable, &u16), 0);
        EXPECT_EQ(held(0).u16Value, s32Value);
        EXPECT_EQ(held(0).u8Enable, 0);
    }
    u8Enable = 200;
    unsigned short u16Threshold = 255;
    EXPECT_EQ(a_vextvfapi_aud_adv_set_NR(&u8Enable, &u16Threshold), 0);
    EXPECT_EQ(held(10).u8Enable, 200);
    EXPECT_EQ(held(10).u16Value, 255);
    vset::clearJournal();
    for (const int s32Value : {0, 256, 65535}) {
        auto u16 = static_cast<unsigned short>(s32Value);
        EXPECT_EQ(a_vextvfapi_aud_adv_set_prescale(&u8Enable, &u16), -1);
    }
    u16Threshold = 256;
    EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_aud_adv_set_NR(&u8Enable, &u16Threshold), -1); }),
                HasSubstr("Error! NR threshold should be 0~255!\n"));
    EXPECT_EQ(a_vextvfapi_aud_adv_set_prescale(nullptr, &u16Threshold), -1);
    EXPECT_EQ(a_vextvfapi_aud_adv_set_prescale(&u8Enable, nullptr), -1);
    EXPECT_EQ(a_vextvfapi_aud_adv_set_NR(nullptr, &u16Threshold), -1);
    EXPECT_EQ(a_vextvfapi_aud_adv_set_NR(&u8Enable, nullptr), -1);
    EXPECT_THAT(calls(), Not(Contains("HW_AOUT_SetAttr")));
}

TEST_F(BasicSound, OnlyPrescaleCanDoWithoutThePath) {
    refuses("HW_AOUT_Open");
    vset::aout::setBlocked(0, true);
    unsigned char u8Enable = 1;
    unsigned short u16Value = 1;
    unsigned int u32Word = 0;
    EXPECT_EQ(a_vextvfapi_aud_adv_set_prescale(&u8Enable, &u16Value), 0);
    EXPECT_EQ(a_vextvfapi_aud_adv_set_NR(&u8Enable, &u16Value), -1);
    EXPECT_EQ(a_vextvfapi_aud_adv_set_peq_q_value(&u16Value, &u16Value), -1);
    EXPECT_EQ(a_vextvfapi_aud_adv_enable_basic_sound_effect(E_VEXTVFAPI_AUD_BASIC_SND_BASS, 1), -1);
    EXPECT_EQ(setParam(4, {}), -1);
    EXPECT_EQ(a_vextvfapi_aud_adv_set_speaker_delay(&u32Word), -1);
    EXPECT_EQ(a_vextvfapi_aud_adv_set_volume(&u32Word, &u32Word), -1);
    EXPECT_EQ(a_vextvfapi_aud_load_aq_params(u8("/data/aq")), -1);
    EXPECT_THAT(calls(), Not(Contains("HW_AOUT_SetAttr")));
}

TEST_F(BasicSound, ABandAloneIsSetAndTheOthersAreCleared) {
    unsigned short u16Index = 3;
    unsigned short u16Value = 77;
    EXPECT_EQ(a_vextvfapi_aud_adv_set_peq_gain_value(&u16Index, &u16Value), 0);
    EXPECT_EQ(slots(2), expected({{3, 77}}));
    EXPECT_EQ(held(2).u16Value, 5);
    EXPECT_EQ(held(2).u8Enable, 1);
    EXPECT_EQ(a_vextvfapi_aud_adv_set_peq_freq_value(&u16Index, &u16Value), 0);
    EXPECT_EQ(slots(2), expected({{8, 77}}));
    u16Value = 65535;
    EXPECT_EQ(a_vextvfapi_aud_adv_set_peq_q_value(&u16Index, &u16Value), 0) << "single values have no range";
    EXPECT_EQ(slots(2), expected({{13, 65535}}));
    unsigned short u16Gain = 360;
    unsigned short u16Freq = 20000;
    unsigned short u16Q = 160;
    EXPECT_EQ(a_vextvfapi_aud_adv_set_peq_value(&u16Index, &u16Gain, &u16Freq, &u16Q), 0);
    EXPECT_EQ(slots(2), expected({{3, 360}, {8, 20000}, {13, 160}}));

    u16Index = 5;
    EXPECT_EQ(a_vextvfapi_aud_adv_set_peq_q_value(&u16Index, &u16Value), -1);
    EXPECT_EQ(a_vextvfapi_aud_adv_set_peq_value(&u16Index, &u16Gain, &u16Freq, &u16Q), -1);
    EXPECT_EQ(a_vextvfapi_aud_adv_set_peq_freq_value(nullptr, &u16Value), -1);
    EXPECT_EQ(a_vextvfapi_aud_adv_set_peq_gain_value(&u16Index, nullptr), -1);
    EXPECT_EQ(a_vextvfapi_aud_adv_set_peq_value(&u16Index, &u16Gain, &u16Freq, nullptr), -1);
}

TEST_F(BasicSound, ABandHasRanges) {
    struct Row {
        unsigned short u16Gain, u16Freq, u16Q;
        const char* pszLog;  // null: good
    };
    for (const Row& stRow : {Row{0, 20, 5, nullptr}, Row{361, 20, 5, "Error! PEQ Gain should be 0~360!\n"},
                             Row{0, 19, 5, "Error! PEQ Frequency should be 20~20000!\n"},
                             Row{0, 20001, 5, "Error! PEQ Frequency should be 20~20000!\n"},
                             Row{0, 20, 4, "Error! PEQ QValue should be 5~160!\n"},
                             Row{0, 20, 161, "Error! PEQ QValue should be 5~160!\n"}}) {
        unsigned short u16Index = 0, u16Gain = stRow.u16Gain, u16Freq = stRow.u16Freq, u16Q = stRow.u16Q;
        int s32Status = 7;
        const std::string strLog =
            test::logOf([&] { s32Status = a_vextvfapi_aud_adv_set_peq_value(&u16Index, &u16Gain, &u16Freq, &u16Q); });
        EXPECT_EQ(s32Status, stRow.pszLog == nullptr ? 0 : -1);
        EXPECT_THAT(strLog, HasSubstr(stRow.pszLog == nullptr ? "HW_AOUT_SetAttr() OK!\n\n" : stRow.pszLog));
    }
}

TEST_F(BasicSound, EffectsAreSwitched) {
    for (unsigned int u32Type = 0; u32Type < 13; ++u32Type) {
        EXPECT_EQ(
            a_vextvfapi_aud_adv_enable_basic_sound_effect(static_cast<e_vextvfapi_aud_basic_snd_type>(u32Type), 7), 0);
        EXPECT_EQ(held(u32Type).u8Enable, 7);
        EXPECT_EQ(held(u32Type).u16Value, 0);
    }
    EXPECT_EQ(a_vextvfapi_aud_adv_enable_basic_sound_effect(static_cast<e_vextvfapi_aud_basic_snd_type>(13), 1), -1);
    vset::inject({"HW_AOUT_SetAttr"});
    EXPECT_THAT(test::logOf([] {
                    EXPECT_EQ(a_vextvfapi_aud_adv_enable_basic_sound_effect(E_VEXTVFAPI_AUD_BASIC_SND_DRC, 1), -1);
                }),
                AllOf(HasSubstr("Enable Sound Effect: DRC(Dynamic Range Control) \n\n"),
                      HasSubstr("\033[31mHW_AOUT_SetAttr() failed!\033[m\n\n")));
}

TEST_F(BasicSound, EachEffectTakesItsOwnParameter) {
    Param stParam = {};
    stParam.u32Prescale = 0x10001;
    stParam.u32Treble = 3;
    stParam.u32Bass = 4;
    stParam.u32Balance = 7;
    stParam.u32EchoTime = 9;
    stParam.u32NrThreshold = 0xFFFF0010;
    struct Row {
        unsigned int u32Type;
        HW_U16 u16Value;
        const char* pszLog;
    };
    for (const Row& stRow :
         {Row{0, 1, "PreScale = [1]\n\n"}, Row{3, 3, "Treble = [3]\n\n"}, Row{4, 4, "Bass = [4]\n\n"},
          Row{7, 7, "Balance = [7]\n\n"}, Row{9, 9, "EchoTime = [9]\n\n"},
          Row{10, 16, "NoiseReductionThreshold = [16]\n\n"}, Row{5, 0, "Invalid basic sound type!\n\n"},
          Row{6, 0, "Invalid basic sound type!\n\n"}, Row{8, 0, "Invalid basic sound type!\n\n"},
          Row{11, 0, "Invalid basic sound type!\n\n"}, Row{12, 0, "Invalid basic sound type!\n\n"}}) {
        EXPECT_THAT(test::logOf([&] { EXPECT_EQ(setParam(stRow.u32Type, stParam), 0); }), HasSubstr(stRow.pszLog));
        EXPECT_EQ(held(stRow.u32Type).u16Value, stRow.u16Value);
        EXPECT_EQ(held(stRow.u32Type).u8Enable, 1);
    }
    EXPECT_EQ(setParam(13, stParam), -1);
    EXPECT_EQ(a_vextvfapi_aud_basic_snd_set_param(E_VEXTVFAPI_AUD_BASIC_SND_BASS, nullptr), -1);
}

TEST_F(BasicSound, EqualiserBandsAndWhatLiesBehindThem) {
    // Every word is its own number.
    Param stParam;
    auto* pu32Words = reinterpret_cast<unsigned int*>(&stParam);
    const auto number = [&] {
        for (unsigned int i = 0; i < 77; ++i) {
            pu32Words[i] = 1000 + i;
        }
    };
    number();
    stParam.u32EqBandCount = 0x50008;
    EXPECT_EQ(setParam(1, stParam), 0);
    EXPECT_EQ(held(1).u16Value, 8) << "the low 16 bits";
    EXPECT_EQ(slots(1),
              expected({{0, 1002}, {1, 1003}, {2, 1004}, {3, 1005}, {4, 1006}, {5, 1007}, {6, 1008}, {7, 1009}}));

    number();
    stParam.u32PeqBandCount = 2;
    const std::string strLog = test::logOf([&] { EXPECT_EQ(setParam(2, stParam), 0); });
    EXPECT_EQ(slots(2), expected({{0, 1011}, {1, 1012}, {5, 1019}, {6, 1020}, {10, 1027}, {11, 1028}}));
    EXPECT_THAT(strLog, AllOf(HasSubstr("BasicSndType: PEQ \n\n"), HasSubstr("PEQBand = [2]\n\n"),
                              HasSubstr("PEQ_Gain[\n"), HasSubstr("> 1011 \n"), HasSubstr("> ]\n")));

    // Counts beyond the bands spill into the next list, as far as the chip's record goes.
    number();
    stParam.u32PeqBandCount = 6;
    EXPECT_EQ(setParam(2, stParam), 0);
    EXPECT_EQ(slots(2)[5], 1016) << "gain 5 in place of frequency 0";
    EXPECT_EQ(slots(2)[10], 1024) << "frequency 5 in place of Q 0";
    EXPECT_EQ(slots(2)[15], 1032);
    for (const unsigned int u32Count : {32u, 33u, 65535u}) {
        stParam.u32EqBandCount = u32Count;
        EXPECT_EQ(setParam(1, stParam), 0);
        EXPECT_EQ(held(1).u16Value, u32Count);
        EXPECT_EQ(slots(1)[31], 1033);
        stParam.u32PeqBandCount = u32Count;
        EXPECT_EQ(setParam(2, stParam), 0);
    }
}

// --- Levels ----------------------------------------------------------------------------------------------------------

class Levels : public test::AudioTest {};

TEST_F(Levels, DelayOfTheMainPath) {
    for (unsigned int u32Delay : {250u, 0u}) {
        EXPECT_EQ(a_vextvfapi_aud_adv_set_speaker_delay(&u32Delay), 0);
        EXPECT_EQ(vset::aout::path(0).u32DelayMs, u32Delay);
        unsigned int u32Read = 99;
        EXPECT_EQ(a_vextvfapi_aud_adv_get_speaker_delay(&u32Read), 0);
        EXPECT_EQ(u32Read, u32Delay);
    }
    for (unsigned int u32Delay : {251u, 0xFFFFFFFFu}) {
        EXPECT_EQ(a_vextvfapi_aud_adv_set_speaker_delay(&u32Delay), -1);
    }
    EXPECT_EQ(a_vextvfapi_aud_adv_set_speaker_delay(nullptr), -1);
    EXPECT_EQ(a_vextvfapi_aud_adv_get_speaker_delay(nullptr), -1);
    unsigned int u32Delay = 99;
    vset::inject({"HW_AOUT_GetDelay"});
    EXPECT_EQ(a_vextvfapi_aud_adv_get_speaker_delay(&u32Delay), -1);
    EXPECT_EQ(u32Delay, 99u);
    vset::inject({"HW_AOUT_SetDelay"});
    EXPECT_EQ(a_vextvfapi_aud_adv_set_speaker_delay(&u32Delay), -1);
}

TEST_F(Levels, VolumeOfEveryPathIsAByte) {
    refuses("HW_AOUT_Open");
    for (unsigned int u32Path = 0; u32Path < 9; ++u32Path) {
        unsigned int u32Volume = 256 + 92 + u32Path;
        EXPECT_EQ(a_vextvfapi_aud_adv_set_volume(&u32Path, &u32Volume), 0);
        EXPECT_EQ(vset::aout::path(u32Path).u8Volume, 92 + u32Path);
        EXPECT_EQ(a_vextvfapi_aud_adv_get_volume(&u32Path, &u32Volume), 0);
        EXPECT_EQ(u32Volume, 92 + u32Path);
    }
    unsigned int u32Path = 0, u32Volume = 101;
    EXPECT_EQ(a_vextvfapi_aud_adv_set_volume(&u32Path, &u32Volume), -1);
    u32Path = 9;
    u32Volume = 1;
    EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_aud_adv_set_volume(&u32Path, &u32Volume), -1); }),
                HasSubstr("Wrong path cfg!\n\n"));
    EXPECT_EQ(a_vextvfapi_aud_adv_get_volume(&u32Path, &u32Volume), -1);
    EXPECT_EQ(a_vextvfapi_aud_adv_set_volume(nullptr, &u32Volume), -1);
    EXPECT_EQ(a_vextvfapi_aud_adv_set_volume(&u32Path, nullptr), -1);
    vset::aout::setBlocked(5, true);
    u32Path = 5;
    EXPECT_EQ(a_vextvfapi_aud_adv_set_volume(&u32Path, &u32Volume), -1) << "the path's own handle counts";
}

TEST_F(Levels, VolumeTables) {
    refuses("HW_AOUT_Open");
    using Path = fapi_core::VexTvFApiAudioOutPathEnum;
    unsigned short au16Data[] = {11, 22, 33};
    vset::aout::setBlocked(7, true);
    EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_aud_set_volume_table(Path{0}, au16Data, 3, u8("all")), 0); }),
                AllOf(HasSubstr("VolumeData length: 3\n\n"), HasSubstr("AOUT path:7 handle is not ready!\n\n")));
    for (unsigned int u32Path = 0; u32Path < 9; ++u32Path) {
        ASSERT_EQ(vset::aout::path(u32Path).volumeTable.has_value(), u32Path != 7) << u32Path;
    }
    EXPECT_EQ(a_vextvfapi_aud_set_volume_table(Path{8}, au16Data + 1, 2, u8("one")), 0);
    EXPECT_EQ(vset::aout::path(8).volumeTable->strName, "one");
    EXPECT_EQ(vset::aout::path(8).volumeTable->entries, std::vector<std::uint16_t>{22});
    EXPECT_EQ(vset::aout::path(1).volumeTable->strName, "all");
    EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_aud_set_volume_table(Path{7}, au16Data, 3, u8("x")), -1); }),
                HasSubstr("\033[31mHW_AOUT_SetAttr() failed! AoutPath: 7\033[m\n\n"))
        << "tried without a handle, refused by the chip";
    for (const unsigned int u32Path : {9u, 10u, 255u, 0xFFFFFFFFu}) {
        EXPECT_EQ(a_vextvfapi_aud_set_volume_table(static_cast<Path>(u32Path), au16Data, 3, u8("x")), -2);
    }
    EXPECT_EQ(a_vextvfapi_aud_set_volume_table(Path{1}, au16Data, 3, u8("")), -2);
    EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_aud_set_volume_table(Path{1}, au16Data, 3, nullptr), -2); }),
                AllOf(HasSubstr("VolumeTableName: (null)\n\n"), HasSubstr("VolumeTableName invalid!\n\n")));
    EXPECT_EQ(a_vextvfapi_aud_set_volume_table(Path{1}, nullptr, 3, u8("x")), -1) << "the chip refuses it";
    vset::inject({"HW_AOUT_SetAttr", 3, 3});
    vset::clearJournal();
    EXPECT_EQ(a_vextvfapi_aud_set_volume_table(Path{0}, au16Data, 3, u8("x")), -1);
    EXPECT_EQ(count("HW_AOUT_SetAttr"), 3u) << "the first failure ends it";
}

TEST_F(Levels, AudioQualityFiles) {
    refuses("HW_AOUT_LoadAqParams");
    write("/data/aq.bin", "parameters");
    EXPECT_EQ(a_vextvfapi_aud_load_aq_params(u8("/data/aq.bin")), 0);
    EXPECT_EQ(vset::aout::sound().strAqFile, "/data/aq.bin");
    EXPECT_EQ(a_vextvfapi_aud_load_aq_params(nullptr), -1);
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_aud_load_aq_params(u8("/data/missing")), -1); }),
                HasSubstr("Error: Load AQ Setting failed!(file name: /data/missing)\n\n"));
}

}  // namespace
