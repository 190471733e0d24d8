// SPDX-License-Identifier: Apache-2.0
// What the video test patterns are laid over.
#include <gmock/gmock.h>

#include "a_vextvfapi_disp.h"
#include "a_vextvfapi_disptst.h"
#include "support/library_fixture.h"
#include "vset/disp.h"

namespace {

class Pattern : public test::DisplayTest {};

TEST_F(Pattern, TellsWhetherSomethingIsConnected) {
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
