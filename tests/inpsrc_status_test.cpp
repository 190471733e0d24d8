// SPDX-License-Identifier: Apache-2.0
// What is on screen and how well it is received.
#include <gmock/gmock.h>

#include "a_vextvfapi_disp.h"
#include "a_vextvfapi_inpsrc.h"
#include "hw3/hw_extin.h"
#include "hw3/hw_sys.h"
#include "support/library_fixture.h"
#include "support/log_capture.h"
#include "vset/disp.h"
#include "vset/extin.h"
#include "vset/tuner.h"

namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Not;

class Inputs : public test::DisplayTest {
protected:
    Inputs() : DisplayTest(a_vextvfapi_inpsrc_init) {}

    // Only an external input on screen.
    static void show(std::uint32_t u32Type, std::uint32_t u32Index, unsigned int u32Window = 0) {
        if (vset::disp::window(u32Window).video) {
            vset::disp::disconnectVideo(u32Window);
        }
        if (vset::disp::window(u32Window).input) {
            vset::disp::disconnectInput(u32Window);
        }
        vset::disp::connectInput(u32Window, {u32Type, u32Index});
    }

    static int source() {
        unsigned char u8Source = 99;
        return a_vextvfapi_inpsrc_get_current_input_source(&u8Source) == 0 ? u8Source : -1;
    }
    static int type() {
        unsigned char u8Type = 99;
        return a_vextvfapi_inpsrc_get_current_input_source_type(&u8Type) == 0 ? u8Type : -1;
    }
};

TEST_F(Inputs, StartUpTriesEverything) {
    vset::inject({"HW_EXTIN_Init", 3});
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_inpsrc_init(), -1); }),
                HasSubstr("\033[31m Error 0x3: failed to HW_EXTIN_Init!\033[m\n\n"));
    EXPECT_THAT(calls(), Contains("HW_TUNER_Init"));
    vset::inject({"HW_TUNER_Init", 9});
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_inpsrc_init(), -1); }),
                HasSubstr("\033[31m Error 0x9: failed to HW_TUNER_Init!\033[m\n\n"));
    vset::inject({"HW_EXTIN_DeInit", 3});
    EXPECT_EQ(a_vextvfapi_inpsrc_deinit(), -1);
    EXPECT_EQ(a_vextvfapi_inpsrc_deinit(), 0);
    EXPECT_FALSE(vset::isInitialised("HW_EXTIN"));
    EXPECT_TRUE(vset::isInitialised("HW_TUNER"));
    EXPECT_EQ(a_vextvfapi_inpsrc_init(), 0);
}

TEST_F(Inputs, NumbersTheSourceOnScreen) {
    EXPECT_EQ(source(), 28) << "the digital path";
    EXPECT_EQ(type(), 7);
    vset::disp::disconnectVideo(0);
    EXPECT_EQ(source(), 28) << "nothing";
    EXPECT_EQ(type(), 7);
    for (const std::uint32_t u32Type : {0u, 1u, 2u, 3u, 4u, 5u, 6u}) {
        vset::extin::setInputCount(u32Type, 10);
    }
    ASSERT_EQ(a_vextvfapi_inpsrc_init(), 0);
    struct Row {
        std::uint32_t u32Type, u32Index;
        int s32Source;
    };
    for (const Row& stRow : {Row{0, 0, 23},
                             {0, 3, 26},
                             {0, 4, 45},
                             {1, 0, 16},
                             {1, 2, 18},
                             {1, 3, 45},
                             {2, 0, 0},
                             {2, 9, 0},
                             {3, 0, 2},
                             {3, 7, 9},
                             {3, 8, 45},
                             {4, 0, 11},
                             {4, 3, 14},
                             {4, 4, 45},
                             {5, 0, 20},
                             {5, 1, 21},
                             {5, 2, 45},
                             {6, 0, 1},
                             {6, 9, 1}}) {
        show(stRow.u32Type, stRow.u32Index);
        EXPECT_EQ(source(), stRow.s32Source) << stRow.u32Type << "," << stRow.u32Index;
        EXPECT_EQ(type(), static_cast<int>(stRow.u32Type));
    }
}

TEST_F(Inputs, TellsWhenTheSourceIsUnknown) {
    unsigned char u8Source = 0;
    EXPECT_EQ(_a_vextvfapi_inpsrc_get_current_input_source(nullptr, 0), -1);
    show(0, 1);
    // The chip says that there are no such inputs.
    vset::extin::setInputCount(0, 0);
    ASSERT_EQ(a_vextvfapi_inpsrc_init(), 0);
    const std::string strLog =
        test::logOf([&] { EXPECT_EQ(a_vextvfapi_inpsrc_get_current_input_source(&u8Source), -1); });
    EXPECT_EQ(u8Source, 28);
    EXPECT_THAT(strLog, HasSubstr("Doesn't support Type:0\n\n"));
    EXPECT_THAT(strLog, HasSubstr("ExtinType 1 Get Handle Fail\n\n"));
    EXPECT_THAT(strLog, HasSubstr("_a_vextvfapi_inpsrc_get_src_by_extin_handle failed!\n\n"));
    EXPECT_EQ(_a_vextvfapi_inpsrc_get_src_by_extin_handle(0, &u8Source, 0), -1);
    EXPECT_EQ(_a_vextvfapi_inpsrc_get_src_by_extin_handle(5, nullptr, 0), -1);

    vset::inject({"HW_DISP_GetConnectedNum", 3});
    EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_inpsrc_get_current_input_source_type(&u8Source), -1); }),
                HasSubstr("Failed to get on screen input.\n\n"));
    EXPECT_EQ(u8Source, 7);
    a_vextvfapi_disp_switch_window(3);
    EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_inpsrc_get_current_input_source(&u8Source), -1); }),
                HasSubstr("Failed to get DISP handle.\n\n"));
}

TEST_F(Inputs, ClosesAWindowThatItOpened) {
    a_vextvfapi_disp_switch_window(1);
    unsigned char u8Value = 0;
    int s32Ber = 0;
    fapi_core::VexTvFApiVideoTiming timing = {1, 2, 3, 4};
    EXPECT_EQ(source(), 28);
    EXPECT_EQ(a_vextvfapi_inpsrc_get_ber(&s32Ber), 0);
    EXPECT_EQ(a_vextvfapi_inpsrc_get_video_standard(&u8Value), -1);
    EXPECT_EQ(a_vextvfapi_inpsrc_get_input_timing(timing), -1) << "nothing is connected";
    EXPECT_EQ(timing.u32Width, 1u);
    vset::inject({"HW_DISP_GetConnectedNum", 3});
    EXPECT_EQ(a_vextvfapi_inpsrc_get_input_timing(timing), -1);
    EXPECT_FALSE(vset::disp::window(1).bOpen);
}

TEST_F(Inputs, ReadsTheTiming) {
    refuses("HW_EXTIN_GetAttr");
    fapi_core::VexTvFApiVideoTiming timing = {};
    vset::disp::connectVideo(0, {720, 576, 59940, 1});
    const std::string strLog = test::logOf([&] { EXPECT_EQ(a_vextvfapi_inpsrc_get_input_timing(timing), 0); });
    EXPECT_THAT(strLog, HasSubstr("Height : 576 Width : 720\n\n"));
    EXPECT_THAT(strLog, HasSubstr("> Interlace\n\n"));
    EXPECT_THAT(strLog, HasSubstr("Frame Rate : 59.940 (Hz)\n\n"));
    EXPECT_EQ(timing.u32Width, 720u);
    EXPECT_EQ(timing.u32Height, 576u);
    EXPECT_EQ(timing.u32FrameRate, 59940u);
    EXPECT_EQ(timing.u8Interlaced, 1);

    vset::extin::Source source;
    source.stTiming = {100000, 1080, 0, 50005};
    vset::extin::plug(0, 2, source);
    show(0, 2);
    EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_inpsrc_get_input_timing(timing), 0); }),
                HasSubstr("Frame Rate : 50.5 (Hz)\n\n"));
    EXPECT_EQ(timing.u32Width, 100000u);
    EXPECT_EQ(timing.u32FrameRate, 50005u);
    EXPECT_EQ(timing.u8Interlaced, 0);
    vset::extin::unplug(0, 2);
    EXPECT_EQ(a_vextvfapi_inpsrc_get_input_timing(timing), -1);
    EXPECT_EQ(timing.u32Width, 0u) << "zeroes without a signal";
}

TEST_F(Inputs, DetectsTheTelevisionStandard) {
    unsigned char u8Standard = 99;
    EXPECT_EQ(a_vextvfapi_inpsrc_get_video_standard(nullptr), -2);
    EXPECT_EQ(a_vextvfapi_inpsrc_get_video_standard(&u8Standard), -1) << "the digital path";
    show(E_HW_EXTIN_TYPE_HDMI, 0);
    EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_inpsrc_get_video_standard(&u8Standard), -2); }),
                HasSubstr("Digital src doesn't support to get video standard.\n\n"));
    EXPECT_EQ(u8Standard, 99);
    show(E_HW_EXTIN_TYPE_CVBS, 1);
    vset::extin::Source source;
    source.u32TvSystem = 9;
    vset::extin::plug(E_HW_EXTIN_TYPE_CVBS, 1, source);
    EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_inpsrc_get_video_standard(&u8Standard), 0); }),
                HasSubstr("Detected video standard[9]\n"));
    EXPECT_EQ(u8Standard, 9);
    vset::inject({"HW_EXTIN_DetectTvSystem", 0xD});
    u8Standard = 99;
    EXPECT_EQ(a_vextvfapi_inpsrc_get_video_standard(&u8Standard), -1);
    EXPECT_EQ(u8Standard, 9) << "the one that was detected last";
    vset::extin::unplug(E_HW_EXTIN_TYPE_CVBS, 1);
    EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_inpsrc_get_video_standard(&u8Standard), -1); }),
                HasSubstr("Not detected video standard[10]\n"));
    EXPECT_EQ(u8Standard, 10);
}

TEST_F(Inputs, ReadsTheDecodersSignal) {
    unsigned char u8Locked = 99;
    EXPECT_EQ(a_vextvfapi_inpsrc_check_vd_signal_locked(nullptr), -1);
    EXPECT_EQ(a_vextvfapi_inpsrc_check_vd_signal_locked(&u8Locked), 0);
    EXPECT_EQ(u8Locked, 0);
    EXPECT_TRUE(vset::extin::input(E_HW_EXTIN_TYPE_VD, 0).bOpen) << "it stays open";
    vset::extin::plug(E_HW_EXTIN_TYPE_VD, 0, {});
    vset::clearJournal();
    EXPECT_EQ(a_vextvfapi_inpsrc_check_vd_signal_locked(&u8Locked), 0);
    EXPECT_EQ(u8Locked, 1);
    EXPECT_THAT(calls(), ::testing::ElementsAre("HW_EXTIN_GetHandle", "HW_EXTIN_GetSignalStatus"));
    for (const int s32Result : {1, 2, 3, 0xD}) {
        vset::inject({"HW_EXTIN_GetSignalStatus", s32Result});
        EXPECT_EQ(a_vextvfapi_inpsrc_check_vd_signal_locked(&u8Locked), s32Result < 3 ? 0 : -1) << s32Result;
        EXPECT_EQ(u8Locked, 2) << "unknown";
    }
    vset::powerCycle();
    ASSERT_EQ(HW_SYS_Init(nullptr), HW_OK);
    ASSERT_EQ(a_vextvfapi_inpsrc_init(), 0);
    vset::inject({"HW_EXTIN_Open", 9});
    const std::string strLog =
        test::logOf([&] { EXPECT_EQ(a_vextvfapi_inpsrc_check_vd_signal_locked(&u8Locked), -1); });
    EXPECT_THAT(strLog, HasSubstr("\033[31m Error 0x3: failed to HW_EXTIN_GetHandle!\033[m\n\n"));
    EXPECT_THAT(strLog, HasSubstr("\033[31m Error 0x3: failed to HW_EXTIN_Open!\033[m\n\n"));
    EXPECT_THAT(strLog, Not(HasSubstr("Finished")));
}

TEST_F(Inputs, SetsDecoderParameters) {
    leavesOpen("HW_EXTIN");
    unsigned int u32Value = 0;
    for (const unsigned int u32Type : {1u, 16u}) {
        EXPECT_EQ(a_vextvfapi_inpsrc_set_factory_vd_para(u32Type, 0x80000000 + u32Type), 0);
        EXPECT_EQ(vset::extin::decoderParameter(0, u32Type), 0x80000000 + u32Type);
        EXPECT_EQ(a_vextvfapi_inpsrc_get_factory_vd_para(u32Type, &u32Value), 0);
        EXPECT_EQ(u32Value, 0x80000000 + u32Type);
    }
    struct Row {
        unsigned int u32Type;
        std::size_t lines;  // that call it unknown: the conversion's own, and the operation's
    };
    for (const Row& stRow : {Row{0, 1}, {17, 1}, {18, 2}, {0xFFFFFFFF, 2}}) {
        for (const bool bSet : {true, false}) {
            const std::string strLog = test::logOf([&] {
                EXPECT_EQ(bSet ? a_vextvfapi_inpsrc_set_factory_vd_para(stRow.u32Type, 5)
                               : a_vextvfapi_inpsrc_get_factory_vd_para(stRow.u32Type, &u32Value),
                          -1);
            });
            std::size_t lines = 0;
            for (std::size_t at = 0; (at = strLog.find("eAtvVdType is unknown type", at)) != std::string::npos; ++at) {
                ++lines;
            }
            EXPECT_EQ(lines, stRow.lines) << stRow.u32Type;
        }
    }
    EXPECT_EQ(_a_vextvfapi_inpsrc_convert_to_HW_EXTIN_FactoryType_e(17), 17u);
    EXPECT_EQ(_a_vextvfapi_inpsrc_convert_to_HW_EXTIN_FactoryType_e(18), 17u);
    EXPECT_EQ(_a_vextvfapi_inpsrc_convert_to_HW_EXTIN_FactoryType_e(0), 0u);
    EXPECT_EQ(a_vextvfapi_inpsrc_get_factory_vd_para(1, nullptr), -1);
    vset::inject({"HW_EXTIN_FactorySetAttr", 5});
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_inpsrc_set_factory_vd_para(1, 1), -1); }),
                HasSubstr("Error 0x5: failed to HW_EXTIN_FactorySetAttr!\033[m\n\n"));
    vset::inject({"HW_EXTIN_FactoryGetAttr", 5});
    EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_inpsrc_get_factory_vd_para(1, &u32Value), -1); }),
                HasSubstr("Error 0x5: failed to HW_TUNER_GetVd!\033[m\n\n"));
}

TEST_F(Inputs, InitialisesTheTunersIntermediateFrequency) {
    leavesOpen("HW_TUNER");
    EXPECT_EQ(a_vextvfapi_inpsrc_vif_init(), 0);
    EXPECT_EQ(vset::tuner::slot(0).u64VifInits, 1u);
    struct Row {
        unsigned int u32From;
        const char* pszLog;
    };
    for (const Row& stRow : {Row{1, "\033[31m Error: Apply ChinaDescramblerDelay FAIL!\033[m\n\n"},
                             Row{2, "\033[31m Error: Init VIF parameters FAIL!\033[m\n\n"}}) {
        vset::inject({"HW_TUNER_FactoryCmdApplyVif", 0, stRow.u32From});
        const std::string strLog = test::logOf([] { EXPECT_EQ(a_vextvfapi_inpsrc_vif_init(), -1); });
        EXPECT_THAT(strLog, HasSubstr(stRow.pszLog));
        EXPECT_THAT(strLog, HasSubstr("\033[31m Error 0x3: failed to re-init VIF!\033[m\n\n"));
        EXPECT_THAT(strLog, HasSubstr("\033[31m Finished!!!\033[m\n\n"));
    }
    vset::tuner::release(0);
    vset::inject({"HW_TUNER_Open", 9});
    const std::string strLog = test::logOf([] { EXPECT_EQ(a_vextvfapi_inpsrc_vif_init(), -1); });
    EXPECT_THAT(strLog, HasSubstr("\033[31m Error 0x3: failed to HW_TUNER_Open!\033[m\n\n"));
    EXPECT_THAT(strLog, Not(HasSubstr("Finished")));
    EXPECT_EQ(a_vextvfapi_inpsrc_vif_init(), 0);
    EXPECT_TRUE(vset::tuner::slot(0).bOpen) << "the tuner stays open";
    EXPECT_FALSE(vset::tuner::slot(0).bPlayer);
}

TEST_F(Inputs, AsksTheDemodulator) {
    vset::tuner::setFactoryText(0, 0, "demod");
    vset::tuner::setFactoryText(0, 1, "1.2");
    vset::tuner::setFactoryText(0, 2, std::string(1024, 'b'));  // no room for its end
    vset::tuner::setFactoryText(0, 3, "");
    fapi_core::VexTvFApiDemodInfoParam_t stInfo = {"a", "b", "c", "d"};
    ASSERT_EQ(a_vextvfapi_inpsrc_get_demod_info(&stInfo), 0);
    EXPECT_EQ(stInfo.strName, "demod");
    EXPECT_EQ(stInfo.strVersion, "1.2");
    EXPECT_EQ(stInfo.strBuildNumber, std::string(1024, 'b'));
    EXPECT_EQ(stInfo.strChangeList, "");

    vset::inject({"HW_TUNER_FactoryCmdGetAttr", 5, 2});
    EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_inpsrc_get_demod_info(&stInfo), -1); }),
                HasSubstr("\033[31m 0x5: HW_TUNER_FactoryCmdGetAttr fail !\033[m\n\n"));
    EXPECT_EQ(stInfo.strName, "demod");
    EXPECT_EQ(stInfo.strVersion, "");
    vset::inject({"HW_TUNER_GetAttr", 4, 1});
    vset::clearJournal();
    EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_inpsrc_get_demod_info(&stInfo), -1); }),
                HasSubstr("\033[31m 0x4: HW_TUNER_GetAttr fail !\033[m\n\n"));
    EXPECT_EQ(stInfo.strName, "");
    const std::vector<std::string> made = calls();
    EXPECT_EQ(std::count(made.begin(), made.end(), "HW_TUNER_GetAttr"), 2) << "the second is asked for all the same";
    EXPECT_EQ(a_vextvfapi_inpsrc_get_demod_info(nullptr), -1);
    vset::tuner::release(0);
    EXPECT_EQ(a_vextvfapi_inpsrc_get_demod_info(&stInfo), -1);
}

TEST_F(Inputs, TheFirstLockedTunerTellsItsErrorRate) {
    int s32Ber = -5;
    vset::tuner::setBer(0, 17);
    EXPECT_EQ(a_vextvfapi_inpsrc_get_ber(&s32Ber), 0);
    EXPECT_EQ(s32Ber, 17);
    vset::tuner::unlock(0);
    vset::tuner::lock(1);
    vset::tuner::setBer(1, 4711);
    EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_inpsrc_get_ber(&s32Ber), 0); }),
                HasSubstr("slot:1 BER = 4711!\n\n"));
    EXPECT_EQ(s32Ber, 4711);
    vset::inject({"HW_TUNER_GetBer", 3});
    EXPECT_EQ(a_vextvfapi_inpsrc_get_ber(&s32Ber), -1);
    vset::inject({"HW_TUNER_GetCaps", 3});
    EXPECT_EQ(a_vextvfapi_inpsrc_get_ber(&s32Ber), -1);
    vset::tuner::release(0);
    vset::tuner::unlock(1);
    EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_inpsrc_get_ber(&s32Ber), -1); }),
                HasSubstr("Get handle: tuner slot:0 fail!\n\n"));
    EXPECT_EQ(a_vextvfapi_inpsrc_get_ber(nullptr), -1);
    show(0, 0);
    EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_inpsrc_get_ber(&s32Ber), -1); }),
                HasSubstr("Current input source type is not DTV.\n\n"));
}

}  // namespace
