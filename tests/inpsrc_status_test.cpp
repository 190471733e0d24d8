// SPDX-License-Identifier: Apache-2.0
// What is on screen and how well it is received.
#include <gmock/gmock.h>

#include "a_vextvfapi_disp.h"
#include "a_vextvfapi_inpsrc.h"
#include "hw3/hw_extin.h"
#include "support/library_fixture.h"
#include "support/log_capture.h"
#include "vset/disp.h"
#include "vset/extin.h"
#include "vset/tuner.h"

namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;

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

TEST_F(Inputs, NumbersTheSourceOnScreen) {
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(source(), 28) << "the digital path"; }),
                HasSubstr("[E] <_a_vextvfapi_inpsrc_get_current_input_source> HW_DISP connect hw_video:0x"));
    EXPECT_EQ(type(), 7);
    vset::disp::disconnectVideo(0);
    EXPECT_EQ(source(), 28) << "nothing";
    EXPECT_EQ(type(), 7);
    // No two counts are alike, and the last input of each type is shown.
    constexpr unsigned char kCounts[] = {5, 4, 10, 9, 7, 3, 8};
    for (std::uint32_t u32Type = 0; u32Type < std::size(kCounts); ++u32Type) {
        vset::extin::setInputCount(u32Type, kCounts[u32Type]);
    }
    ASSERT_EQ(a_vextvfapi_inpsrc_init(), 0);
    struct Row {
        std::uint32_t u32Type, u32Index;
        int s32Source;
    };
    for (const Row& stRow :
         {Row{0, 0, 23}, Row{0, 3, 26}, Row{0, 4, 45}, Row{1, 0, 16}, Row{1, 2, 18}, Row{1, 3, 45}, Row{2, 0, 0},
          Row{2, 9, 0},  Row{3, 0, 2},  Row{3, 7, 9},  Row{3, 8, 45}, Row{4, 0, 11}, Row{4, 3, 14}, Row{4, 4, 45},
          Row{4, 6, 45}, Row{5, 0, 20}, Row{5, 1, 21}, Row{5, 2, 45}, Row{6, 0, 1},  Row{6, 7, 1}}) {
        show(stRow.u32Type, stRow.u32Index);
        EXPECT_EQ(source(), stRow.s32Source) << stRow.u32Type << "," << stRow.u32Index;
        EXPECT_EQ(type(), static_cast<int>(stRow.u32Type));
    }
}

TEST_F(Inputs, PresetsTheOutputWhenTheSourceIsUnknown) {
    unsigned char u8Source = 0;
    EXPECT_EQ(_a_vextvfapi_inpsrc_get_current_input_source(nullptr, 0), -1);
    EXPECT_EQ(test::logOf([&] {
                  EXPECT_EQ(_a_vextvfapi_inpsrc_get_src_by_extin_handle(0, &u8Source, 0), -1);
                  EXPECT_EQ(_a_vextvfapi_inpsrc_get_src_by_extin_handle(5, nullptr, 0), -1);
              }),
              "VexTvFApiInputSource(imp) [E] <_a_vextvfapi_inpsrc_get_src_by_extin_handle> Invalid hExtin handle\n"
              "VexTvFApiInputSource(imp) [E] <_a_vextvfapi_inpsrc_get_src_by_extin_handle> pu8InputSource is null\n");
    EXPECT_EQ(_a_vextvfapi_inpsrc_get_src_by_extin_handle(5, &u8Source, 0), -1) << "a handle of no input";
    show(0, 1);
    // The chip says that there are no such inputs.
    vset::extin::setInputCount(0, 0);
    ASSERT_EQ(a_vextvfapi_inpsrc_init(), 0);
    EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_inpsrc_get_current_input_source(&u8Source), -1); }),
                AllOf(HasSubstr("Doesn't support Type:0\n\n"), HasSubstr("ExtinType 1 Get Handle Fail\n\n"),
                      HasSubstr("[E] <_a_vextvfapi_inpsrc_get_current_input_source> "
                                "_a_vextvfapi_inpsrc_get_src_by_extin_handle failed!\n\n")));
    EXPECT_EQ(u8Source, 28);
    vset::inject({"HW_DISP_GetConnectedNum", 3});
    EXPECT_EQ(a_vextvfapi_inpsrc_get_current_input_source_type(&u8Source), -1);
    EXPECT_EQ(u8Source, 7);
    a_vextvfapi_disp_switch_window(3);
    EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_inpsrc_get_current_input_source(&u8Source), -1); }),
                HasSubstr("Failed to get DISP handle.\n\n"));
}

TEST_F(Inputs, ReadsTheTiming) {
    refuses("HW_EXTIN_GetAttr");
    fapi_core::VexTvFApiVideoTiming timing = {};
    const auto values = [&] {
        return std::vector<unsigned int>{timing.u32Width, timing.u32Height, timing.u32FrameRate, timing.u8Interlaced};
    };
    const auto read = [&](int s32Status) {
        return test::logOf([&] { EXPECT_EQ(a_vextvfapi_inpsrc_get_input_timing(timing), s32Status); });
    };
    vset::disp::connectVideo(0, {720, 576, 59940, 1});
    EXPECT_THAT(read(0), AllOf(HasSubstr("Height : 576 Width : 720\n\n"), HasSubstr("> Interlace\n\n"),
                               HasSubstr("Frame Rate : 59.940 (Hz)\n\n")));
    EXPECT_THAT(values(), ElementsAre(720, 576, 59940, 1));
    vset::inject({"HW_VIDEO_GetAttr", 5});
    read(-6);
    EXPECT_THAT(values(), Each(0u)) << "nothing was read";

    vset::extin::Source source;
    source.stTiming = {100000, 1080, 1, 50005};
    vset::extin::plug(0, 2, source);
    show(0, 2);
    EXPECT_THAT(read(0), HasSubstr("Frame Rate : 50.5 (Hz)\n\n"));
    EXPECT_THAT(values(), ElementsAre(100000, 1080, 50005, 1));
    vset::disp::disconnectInput(0);
    read(-1);
    EXPECT_THAT(values(), ElementsAre(100000, 1080, 50005, 1)) << "nothing is connected";
    vset::extin::unplug(0, 2);
    show(0, 2);
    read(-1);
    EXPECT_THAT(values(), Each(0u)) << "no signal";
}

TEST_F(Inputs, DetectsTheTelevisionStandard) {
    inFreshProcess([] {
        unsigned char u8Standard = 99;
        const auto detect = [&](int s32Status) {
            EXPECT_EQ(a_vextvfapi_inpsrc_get_video_standard(&u8Standard), s32Status);
            return u8Standard;
        };
        EXPECT_EQ(a_vextvfapi_inpsrc_get_video_standard(nullptr), -2);
        EXPECT_EQ(detect(-1), 99) << "the digital path";
        show(E_HW_EXTIN_TYPE_HDMI, 0);
        EXPECT_EQ(detect(-2), 99);
        for (const std::uint32_t u32Type : {1u, 2u, 3u, 5u, 6u}) {
            show(u32Type, 0);
            vset::inject({"HW_EXTIN_DetectTvSystem", 0xD});
            EXPECT_EQ(detect(-1), u32Type == 1 ? 10 : 9) << "the one that was detected last";
            EXPECT_EQ(detect(-1), 10) << "none";
            vset::extin::Source source;
            source.u32TvSystem = 9;
            vset::extin::plug(u32Type, 0, source);
            EXPECT_EQ(detect(0), 9);
        }
    });
}

TEST_F(Inputs, ReadsTheDecodersSignal) {
    leavesOpen("HW_EXTIN");
    unsigned char u8Locked = 99;
    EXPECT_EQ(a_vextvfapi_inpsrc_check_vd_signal_locked(nullptr), -1);
    EXPECT_EQ(a_vextvfapi_inpsrc_check_vd_signal_locked(&u8Locked), 0);
    EXPECT_EQ(u8Locked, 0);
    EXPECT_TRUE(vset::extin::input(E_HW_EXTIN_TYPE_VD, 0).bOpen) << "it stays open";
    vset::extin::plug(E_HW_EXTIN_TYPE_VD, 0, {});
    EXPECT_EQ(a_vextvfapi_inpsrc_check_vd_signal_locked(&u8Locked), 0);
    EXPECT_EQ(u8Locked, 1);
}

TEST_F(Inputs, ADecoderThatIsFoundWithoutAHandleIsNotReady) {
    inFreshProcess([] {
        unsigned char u8Locked = 99;
        vset::inject({"HW_EXTIN_GetHandle", 0});
        EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_inpsrc_check_vd_signal_locked(&u8Locked), -1); }),
                    EndsWith("EXTIN handle is not ready!\n\n"));
    });
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
}

TEST_F(Inputs, InitialisesTheTunersIntermediateFrequency) {
    leavesOpen("HW_TUNER");
    EXPECT_EQ(a_vextvfapi_inpsrc_vif_init(), 0);
    EXPECT_EQ(vset::tuner::slot(0).u64VifInits, 1u);
    vset::tuner::release(0);
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

    vset::tuner::release(0);
    EXPECT_EQ(a_vextvfapi_inpsrc_get_demod_info(&stInfo), -1);
}

TEST_F(Inputs, TheFirstLockedTunerTellsItsErrorRate) {
    int s32Ber = -5;
    vset::tuner::setBer(0, 17);
    EXPECT_EQ(a_vextvfapi_inpsrc_get_ber(&s32Ber), 0);
    EXPECT_EQ(s32Ber, 17);
    EXPECT_EQ(a_vextvfapi_inpsrc_get_ber(nullptr), -1);
    vset::tuner::unlock(0);
    vset::tuner::lock(1);
    vset::tuner::setBer(1, 4711);
    EXPECT_EQ(a_vextvfapi_inpsrc_get_ber(&s32Ber), 0);
    EXPECT_EQ(s32Ber, 4711);
    // A slot without a tuner, or whose rate cannot be read, is passed over.
    vset::tuner::release(0);
    EXPECT_EQ(a_vextvfapi_inpsrc_get_ber(&s32Ber), 0);
    vset::tuner::lock(0);
    vset::inject({"HW_TUNER_GetBer", 3});
    EXPECT_EQ(a_vextvfapi_inpsrc_get_ber(&s32Ber), 0);
    EXPECT_EQ(s32Ber, 4711);
    vset::tuner::unlock(0);
    vset::tuner::unlock(1);
    EXPECT_EQ(a_vextvfapi_inpsrc_get_ber(&s32Ber), -1);
    show(0, 0);
    EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_inpsrc_get_ber(&s32Ber), -1); }),
                EndsWith("Current input source type is: 0\n\n"));
}

}  // namespace
