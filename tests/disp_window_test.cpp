// SPDX-License-Identifier: Apache-2.0
// Display windows: start-up, the current window's handle, and what is connected.
#include <gmock/gmock.h>

#include "a_vextvfapi_disp.h"
#include "a_vextvfapi_disptst.h"
#include "hw3/hw_disp.h"
#include "hw3/hw_sys.h"
#include "support/library_fixture.h"
#include "support/log_capture.h"
#include "vset/disp.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class DispWindow : public test::DisplayTest {};

TEST_F(DispWindow, FindsOrOpensTheCurrentWindow) {
    unsigned int hDisp = 0;
    EXPECT_FALSE(_a_vextvfapi_disp_get_disp_handle(&hDisp)) << "the set's player has it";
    EXPECT_NE(hDisp, 0u);
    EXPECT_THAT(calls(), ElementsAre("HW_DISP_GetHandle"));
    for (const unsigned int u32Window : {1u, 2u}) {
        EXPECT_EQ(a_vextvfapi_disp_switch_window(u32Window), 0);
        unsigned int hOpened = 0;
        EXPECT_TRUE(_a_vextvfapi_disp_get_disp_handle(&hOpened));
        EXPECT_TRUE(vset::disp::window(u32Window).bOpen);
        EXPECT_FALSE(vset::disp::window(u32Window).bPlayer);
        unsigned int hAgain = 0;
        EXPECT_FALSE(_a_vextvfapi_disp_get_disp_handle_by_win_idx(&hAgain, u32Window));
        EXPECT_EQ(hAgain, hOpened);
        EXPECT_EQ(HW_DISP_Close(hOpened), HW_OK);
    }
    unsigned int hOther = 0;
    EXPECT_FALSE(_a_vextvfapi_disp_get_disp_handle_by_win_idx(&hOther, 0)) << "whatever the current one is";
    EXPECT_EQ(hOther, hDisp);
}

TEST_F(DispWindow, AnyNumberCanBeMadeTheCurrentWindow) {
    EXPECT_EQ(a_vextvfapi_disp_switch_window(3), 0);
    vset::clearJournal();
    unsigned int hDisp = 7;
    EXPECT_THAT(test::logOf([&] { EXPECT_FALSE(_a_vextvfapi_disp_get_disp_handle(&hDisp)); }),
                HasSubstr("[E] <_a_vextvfapi_disp_get_disp_handle> Error windowindex: 3\n\n"));
    EXPECT_THAT(test::logOf([&] { EXPECT_FALSE(_a_vextvfapi_disp_get_disp_handle_by_win_idx(&hDisp, 0xFFFFFFFF)); }),
                HasSubstr("[E] <_a_vextvfapi_disp_get_disp_handle_by_win_idx> Error windowindex: -1\n\n"));
    a_vextvfapi_disp_switch_window(1);
    EXPECT_FALSE(_a_vextvfapi_disp_get_disp_handle(nullptr));
    EXPECT_FALSE(_a_vextvfapi_disp_get_disp_handle_by_win_idx(nullptr, 1));
    EXPECT_EQ(count("HW_DISP_GetHandle"), 0u);
    vset::inject({"HW_DISP_Open", 9});
    EXPECT_FALSE(_a_vextvfapi_disp_get_disp_handle(&hDisp));
    EXPECT_EQ(hDisp, 7u);
}

TEST_F(DispWindow, AVideoPathWinsOverAnInput) {
    refuses("HW_DISP_GetConnectedNum");
    unsigned int hDisp = 0;
    _a_vextvfapi_disp_get_disp_handle(&hDisp);
    const int s32Disp = static_cast<int>(hDisp);
    const auto look = [s32Disp](int& s32Video, int& s32Extin) {
        s32Video = s32Extin = 0;
        return _a_vextvfapi_disp_get_on_screen_input(s32Disp, &s32Video, &s32Extin);
    };
    int s32Video = 0, s32Extin = 0;
    vset::disp::connectInput(0, {0, 1});
    vset::clearJournal();
    EXPECT_TRUE(look(s32Video, s32Extin));
    EXPECT_NE(s32Video, 0);
    EXPECT_EQ(s32Extin, 0);
    EXPECT_THAT(calls(), ElementsAre("HW_DISP_GetConnectedNum", "HW_DISP_GetConnected"));
    vset::disp::disconnectVideo(0);
    EXPECT_TRUE(look(s32Video, s32Extin));
    EXPECT_EQ(s32Video, 0);
    EXPECT_NE(s32Extin, 0);
    vset::disp::disconnectInput(0);
    EXPECT_TRUE(look(s32Video, s32Extin)) << "nothing is an answer too";
    EXPECT_EQ(s32Video, 0);
    EXPECT_EQ(s32Extin, 0);

    vset::disp::connectInput(0, {0, 1});
    for (const auto& [pszCall, u32From] :
         {std::pair{"HW_DISP_GetConnectedNum", 1u}, {"HW_DISP_GetConnectedNum", 2u}, {"HW_DISP_GetConnected", 1u}}) {
        vset::inject({pszCall, 3, u32From});
        EXPECT_FALSE(look(s32Video, s32Extin)) << pszCall;
        EXPECT_EQ(s32Extin, 0);
    }
    vset::clearJournal();
    EXPECT_FALSE(_a_vextvfapi_disp_get_on_screen_input(s32Disp, nullptr, &s32Extin));
    EXPECT_FALSE(_a_vextvfapi_disp_get_on_screen_input(s32Disp, &s32Video, nullptr));
    EXPECT_THAT(calls(), ::testing::IsEmpty());
    EXPECT_FALSE(_a_vextvfapi_disp_get_on_screen_input(0, &s32Video, &s32Extin));
}

TEST_F(DispWindow, TellsWhetherSomethingIsConnected) {
    refuses("HW_DISP_GetConnectedNum");
    unsigned int hDisp = 0;
    EXPECT_FALSE(_a_vextvfapi_disp_get_disp_handle(&hDisp));
    vset::disp::setModuleCount(0, 64);
    EXPECT_EQ(_a_vextvfapi_disptst_connect_disp(static_cast<int>(hDisp), 1), 0);
    EXPECT_THAT(vset::journal().back().strArguments, ::testing::EndsWith("room=16")) << "however many there are";
    vset::disp::disconnectVideo(0);
    EXPECT_EQ(_a_vextvfapi_disptst_connect_disp(static_cast<int>(hDisp), 1), -1);
    vset::disp::connectInput(0, {0, 0});
    EXPECT_EQ(_a_vextvfapi_disptst_connect_disp(static_cast<int>(hDisp), 0), 0);
    EXPECT_EQ(_a_vextvfapi_disptst_connect_disp(1, 0), -1);
}

}  // namespace
