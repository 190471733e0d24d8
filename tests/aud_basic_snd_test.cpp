// SPDX-License-Identifier: Apache-2.0
// Audio module: basic sound effects, levels and tables.
#include <gmock/gmock.h>

#include "support/audio_fixture.h"
#include "support/refusals.h"

namespace {

using test::u8;
using ::testing::AllOf;
using ::testing::HasSubstr;
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

TEST_F(BasicSound, PrescaleAndNoiseReductionSwitchAndSet) {
    for (HW_U16 u16Value : Slots{1, 255}) {
        unsigned char u8Enable = 0;
        EXPECT_EQ(a_vextvfapi_aud_adv_set_prescale(&u8Enable, &u16Value), 0);
        EXPECT_EQ(held(0).u16Value, u16Value);
        EXPECT_EQ(held(0).u8Enable, 0);
        u8Enable = 200;
        u16Value = u16Value == 1 ? 0 : 255;
        EXPECT_EQ(a_vextvfapi_aud_adv_set_NR(&u8Enable, &u16Value), 0);
        EXPECT_EQ(held(10).u16Value, u16Value);
        EXPECT_EQ(held(10).u8Enable, 200);
    }
}

TEST_F(BasicSound, ABandAloneIsSetAndTheOthersAreCleared) {
    unsigned short u16Index = 3, u16Value = 65535, u16Gain = 360, u16Freq = 20000, u16Q = 160;
    EXPECT_EQ(a_vextvfapi_aud_adv_set_peq_gain_value(&u16Index, &u16Value), 0) << "single values have no range";
    EXPECT_EQ(slots(2), expected({{3, 65535}}));
    EXPECT_EQ(held(2).u16Value, 5);
    EXPECT_EQ(held(2).u8Enable, 1);
    EXPECT_EQ(a_vextvfapi_aud_adv_set_peq_freq_value(&u16Index, &u16Value), 0);
    EXPECT_EQ(slots(2), expected({{8, 65535}}));
    EXPECT_EQ(a_vextvfapi_aud_adv_set_peq_q_value(&u16Index, &u16Value), 0);
    EXPECT_EQ(slots(2), expected({{13, 65535}}));
    EXPECT_EQ(a_vextvfapi_aud_adv_set_peq_value(&u16Index, &u16Gain, &u16Freq, &u16Q), 0);
    EXPECT_EQ(slots(2), expected({{3, 360}, {8, 20000}, {13, 160}}));
    u16Index = 4, u16Gain = 0, u16Freq = 20, u16Q = 5;
    EXPECT_EQ(a_vextvfapi_aud_adv_set_peq_value(&u16Index, &u16Gain, &u16Freq, &u16Q), 0);
    EXPECT_EQ(slots(2), expected({{9, 20}, {14, 5}}));
}

TEST_F(BasicSound, EachEffectIsSwitchedAndTakesItsOwnParameter) {
    Param stParam = {};
    stParam.u32Prescale = 0x10001;
    stParam.u32Treble = 0x20FF3;
    stParam.u32Bass = 0x30FF4;
    stParam.u32Balance = 0x40FF7;
    stParam.u32EchoTime = 0x50FF9;
    stParam.u32NrThreshold = 0xFFFF0010;
    struct Row {
        unsigned int u32Type;
        HW_U16 u16Value;
        const char* pszLog;
    };
    constexpr const char* kNone = "Invalid basic sound type!\n\n";
    for (const Row& stRow :
         {Row{0, 1, "PreScale = [1]\n\n"}, Row{3, 0xFF3, "Treble = [4083]\n\n"}, Row{4, 0xFF4, "Bass = [4084]\n\n"},
          Row{5, 0, kNone}, Row{6, 0, kNone}, Row{7, 0xFF7, "Balance = [4087]\n\n"}, Row{8, 0, kNone},
          Row{9, 0xFF9, "EchoTime = [4089]\n\n"}, Row{10, 16, "NoiseReductionThreshold = [16]\n\n"}, Row{11, 0, kNone},
          Row{12, 0, kNone}}) {
        const auto eType = static_cast<e_vextvfapi_aud_basic_snd_type>(stRow.u32Type);
        const std::string strLevel = stRow.pszLog == kNone ? "[E]" : "[I]";
        EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_aud_basic_snd_set_param(eType, &stParam), 0); }),
                    HasSubstr(strLevel + " <a_vextvfapi_aud_basic_snd_set_param> " + stRow.pszLog));
        EXPECT_EQ(held(stRow.u32Type).u16Value, stRow.u16Value);
        EXPECT_EQ(held(stRow.u32Type).u8Enable, 1);
        EXPECT_EQ(a_vextvfapi_aud_adv_enable_basic_sound_effect(eType, 7), 0);
        EXPECT_EQ(held(stRow.u32Type).u8Enable, 7);
        EXPECT_EQ(held(stRow.u32Type).u16Value, 0);
    }
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
    EXPECT_THAT(test::logOf([&] { EXPECT_EQ(setParam(2, stParam), 0); }),
                AllOf(HasSubstr("PEQBand = [2]\n\n"), HasSubstr("PEQ_Gain[\n"), HasSubstr("> 1011 \n"),
                      HasSubstr("PEQ_Freq[\n"), HasSubstr("> 1019 \n"), HasSubstr("PEQ_Q[\n"), HasSubstr("> 1028 \n"),
                      HasSubstr("> ]\n")));
    EXPECT_EQ(slots(2), expected({{0, 1011}, {1, 1012}, {5, 1019}, {6, 1020}, {10, 1027}, {11, 1028}}));

    // Counts beyond the bands spill into the next list, as far as the chip's record goes. The last band that reaches a
    // slot fills it.
    for (const HW_U16 u16Count : Slots{6, 32, 33, 65535}) {
        number();
        stParam.u32EqBandCount = u16Count;
        EXPECT_EQ(setParam(1, stParam), 0);
        EXPECT_EQ(held(1).u16Value, u16Count);
        stParam.u32PeqBandCount = u16Count;
        const std::string strLog = test::logOf([&] { EXPECT_EQ(setParam(2, stParam), 0); });
        EXPECT_EQ(held(2).u16Value, u16Count);
        const std::size_t bands = std::min<std::size_t>(u16Count, HW_AOUT_BASIC_SND_SLOTS);
        EXPECT_THAT(strLog, HasSubstr("> " + std::to_string(1026 + bands) + " \n")) << "the last Q";
        EXPECT_THAT(strLog, Not(HasSubstr("> " + std::to_string(1027 + bands) + " \n")));
        for (std::size_t i = 0; i < HW_AOUT_BASIC_SND_SLOTS; ++i) {
            EXPECT_EQ(slots(1)[i], i < bands ? 1002 + i : 0);
            EXPECT_EQ(slots(2)[i], i < bands ? 1011 + i : i < bands + 5 ? 1014 + i : i < bands + 10 ? 1017 + i : 0);
        }
    }
}

// --- Levels ----------------------------------------------------------------------------------------------------------

class Levels : public test::AudioTest {};

TEST_F(Levels, AreReadBackAsTheyWereSet) {
    for (unsigned int u32Delay : {250u, 0u}) {
        EXPECT_EQ(a_vextvfapi_aud_adv_set_speaker_delay(&u32Delay), 0);
        EXPECT_EQ(vset::aout::path(0).u32DelayMs, u32Delay);
        unsigned int u32Read = 99;
        EXPECT_EQ(a_vextvfapi_aud_adv_get_speaker_delay(&u32Read), 0);
        EXPECT_EQ(u32Read, u32Delay);
    }
    for (unsigned int u32Path = 0; u32Path < 9; ++u32Path) {
        unsigned int u32Volume = 256 + 92 + u32Path;  // of which a byte counts
        EXPECT_EQ(a_vextvfapi_aud_adv_set_volume(&u32Path, &u32Volume), 0);
        EXPECT_EQ(vset::aout::path(u32Path).u8Volume, 92 + u32Path);
        EXPECT_EQ(a_vextvfapi_aud_adv_get_volume(&u32Path, &u32Volume), 0);
        EXPECT_EQ(u32Volume, 92 + u32Path);
    }
}

TEST_F(Levels, AFailedReadChangesNoOutputAndAPathNeedsItsOwnHandle) {
    refuses("HW_AOUT_Open");
    unsigned int u32Path = 5, u32Value = 99;
    vset::inject({"HW_AOUT_GetVolume"});
    EXPECT_EQ(a_vextvfapi_aud_adv_get_volume(&u32Path, &u32Value), -1);
    vset::inject({"HW_AOUT_GetDelay"});
    EXPECT_EQ(a_vextvfapi_aud_adv_get_speaker_delay(&u32Value), -1);
    EXPECT_EQ(u32Value, 99u);
    EXPECT_EQ(a_vextvfapi_aud_adv_get_volume(&u32Path, &u32Value), 0);
    vset::aout::setBlocked(5, true);
    EXPECT_EQ(a_vextvfapi_aud_adv_set_volume(&u32Path, &u32Value), -1);
}

TEST_F(Levels, VolumeTables) {
    refuses("HW_AOUT_Open");
    using Path = fapi_core::VexTvFApiAudioOutPathEnum;
    unsigned short au16Data[] = {11, 22, 33};
    vset::aout::setBlocked(7, true);
    EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_aud_set_volume_table(Path{0}, au16Data, 3, u8("all")), 0); }),
                HasSubstr("AOUT path:7 handle is not ready!\n\n"));
    EXPECT_EQ(a_vextvfapi_aud_set_volume_table(Path{8}, au16Data + 1, 2, u8("one")), 0);
    for (unsigned int u32Path = 0; u32Path < 9; ++u32Path) {
        const auto table = vset::aout::path(u32Path).volumeTable;
        ASSERT_EQ(table.has_value(), u32Path != 7) << u32Path;
        EXPECT_EQ(u32Path == 7 ? "" : table->strName, u32Path == 7 ? "" : u32Path == 8 ? "one" : "all");
    }
    EXPECT_EQ(vset::aout::path(8).volumeTable->entries, std::vector<std::uint16_t>{22});
    EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_aud_set_volume_table(Path{7}, au16Data, 3, u8("x")), -1); }),
                HasSubstr("\033[31mHW_AOUT_SetAttr() failed! AoutPath: 7\033[m\n\n"))
        << "tried without a handle, refused by the chip";
    EXPECT_EQ(a_vextvfapi_aud_set_volume_table(Path{1}, au16Data, 3, u8("")), -2);
    EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_aud_set_volume_table(Path{1}, au16Data, 3, nullptr), -2); }),
                AllOf(HasSubstr("VolumeTableName: (null)\n\n"), HasSubstr("VolumeTableName invalid!\n\n")));
    EXPECT_EQ(a_vextvfapi_aud_set_volume_table(Path{1}, nullptr, 3, u8("x")), -1) << "the chip refuses it";
    EXPECT_EQ(a_vextvfapi_aud_set_volume_table(Path{255}, au16Data, 3, u8("x")), -2);
}

}  // namespace
