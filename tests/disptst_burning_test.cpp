// SPDX-License-Identifier: Apache-2.0
// Burn-in as it is seen on the panel.

#include <gmock/gmock.h>

#include "a_vextvfapi_disp.h"
#include "a_vextvfapi_disptst.h"
#include "support/emulation.h"
#include "support/library_fixture.h"
#include "support/log_capture.h"
#include "support/waiting.h"
#include "vset/disp.h"

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using namespace std::chrono_literals;

using Color = std::vector<std::uint32_t>;

class Burning : public test::DisplayTest {
protected:
    Burning() : DisplayTest(a_vextvfapi_disptst_init) {}

    void SetUp() override {
        SKIP_UNDER_EMULATION();
        DisplayTest::SetUp();
    }

    void TearDown() override {
        if (IsSkipped()) {
            return;
        }
        vset::clearFaults();
        EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode(0), 0);
        DisplayTest::TearDown();
    }

    static HW_DISP_TestPattern_t pattern(unsigned int u32Window = 0) {
        return vset::disp::window(u32Window).testPattern;
    }
    static Color color() {
        const HW_DISP_TestPattern_t stPattern = pattern();
        return {std::begin(stPattern.au32Value), std::end(stPattern.au32Value)};
    }

    // The next `count` colors that are different from the one before.
    static std::vector<Color> watch(std::size_t count) {
        std::vector<Color> seen = {color()};
        test::eventually(
            [&] {
                if (const Color now = color(); now != seen.back()) {
                    seen.push_back(now);
                }
                return seen.size() >= count;
            },
            30s);
        return seen;
    }
};

TEST_F(Burning, CyclesThroughItsColors) {
    ASSERT_EQ(a_vextvfapi_disptst_set_burning_mode(1), 0);
    const HW_DISP_TestPattern_t stOn = pattern();
    EXPECT_EQ(stOn.u32Mode, 6u);
    EXPECT_EQ(stOn.u32Enable, 1u);
    EXPECT_EQ(stOn.u32Param, 1u);
    std::vector<Color> seen = watch(6);
    // Whichever came first.
    const auto red = std::find(seen.begin(), seen.end(), Color({1023, 0, 0}));
    ASSERT_NE(red, seen.end());
    seen.pop_back();
    std::rotate(seen.begin(), std::find(seen.begin(), seen.end(), Color({1023, 0, 0})), seen.end());
    EXPECT_THAT(seen, ElementsAre(Color({1023, 0, 0}), Color({0, 0, 1023}), Color({0, 1023, 0}), Color({0, 0, 0}),
                                  Color({1023, 1023, 1023})));
    ASSERT_EQ(a_vextvfapi_disptst_set_burning_mode(0), 0);
    EXPECT_EQ(pattern().u32Enable, 0u) << "switched off by the enable word";
    EXPECT_EQ(pattern().u32Mode, 6u);
    EXPECT_THAT(watch(1), Contains(color()));
}

TEST_F(Burning, RunsOnce) {
    ASSERT_EQ(a_vextvfapi_disptst_set_burning_mode(1), 0);
    EXPECT_EQ(
        test::logOf([] { EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode(1), -1); }),
        "VexTvFApiDisplayTest(imp) [E] <_a_vextvfapi_disptst_set_burning_mode> The previous task still runing...\n\n");
    ASSERT_EQ(a_vextvfapi_disptst_set_burning_mode(0), 0);
    const std::string strLog = test::logOf([] { EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode(0), 0); });
    EXPECT_EQ(
        strLog,
        "VexTvFApiDisplayTest(imp) [D] <_a_vextvfapi_disptst_set_burning_mode> Stop burning mode!\n\n"
        "VexTvFApiDisplayTest(imp) [D] <_a_vextvfapi_disptst_set_burning_mode> Waitting for burning task exit...\n\n"
        "VexTvFApiDisplayTest(imp) [D] <_a_vextvfapi_disptst_set_burning_mode> Burning task stopped...\n\n")
        << "one poll";
    EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode(1), 0);
}

TEST_F(Burning, TakesTheCallersColors) {
    std::vector<unsigned short> table = {1, 2, 3, 4, 5, 6};
    {
        fapi_core::_VexFApiDisptstBurnModeParam stParam = {table.data(), 2, 1};
        ASSERT_EQ(a_vextvfapi_disptst_set_burning_mode_adv(1, &stParam), 0);
        // The worker has its own by now.
        std::fill(table.begin(), table.end(), static_cast<unsigned short>(99));
    }
    const std::vector<Color> seen = watch(4);
    EXPECT_THAT(seen, Contains(Color({1, 2, 3})));
    EXPECT_THAT(seen, Contains(Color({4, 5, 6})));
    EXPECT_EQ(seen.at(0), seen.at(2));
    fapi_core::_VexFApiDisptstBurnModeParam stParam = {table.data(), 2, 0};
    EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode_adv(0, &stParam), 0);
}

TEST_F(Burning, StopsWhateverItDoes) {
    unsigned short au16Colors[2 * 3] = {1, 1, 1, 2, 2, 2};
    // Back to back, nothing to show at all, and asleep between two colors.
    for (const std::pair<int, int>& row : {std::pair{2, 0}, {0, 0}, {0, 5}, {1, 255}, {2, 1}}) {
        for (int i = 0; i < 3; ++i) {
            fapi_core::_VexFApiDisptstBurnModeParam stParam = {au16Colors, static_cast<unsigned char>(row.first),
                                                               static_cast<unsigned char>(row.second)};
            vset::clearJournal();
            ASSERT_EQ(a_vextvfapi_disptst_set_burning_mode_adv(1, &stParam), 0);
            ASSERT_EQ(a_vextvfapi_disptst_set_burning_mode_adv(0, &stParam), 0);
            EXPECT_EQ(pattern().u32Enable, 0u);
            if (row.first == 0) {
                EXPECT_THAT(calls(), ElementsAre("HW_DISP_GetHandle", "HW_DISP_SetAttr")) << "only the closing one";
            }
        }
    }
}

TEST_F(Burning, NeedsAParameter) {
    unsigned short au16Color[3] = {};
    fapi_core::_VexFApiDisptstBurnModeParam stParam = {au16Color, 1, 1}, stNoTable = {nullptr, 1, 1};
    for (const bool bOn : {true, false}) {
        const unsigned char on = bOn ? 1 : 0;
        EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode_adv(on, nullptr), -2);
        EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode_adv(on, &stNoTable), -2);
        vset::inject({vset::kAllocation, 0, 1});
        EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode_adv(on, &stNoTable), -4) << "the record comes first";
        vset::inject({vset::kAllocation, 0, 2});
        EXPECT_THAT(test::logOf([&] { EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode_adv(on, &stParam), -4); }),
                    HasSubstr("Create ptmpBurnModeParam->pColorTable failed!\n\n"));
        vset::inject({vset::kAllocation, 0, 1});
        EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode(on), -4);
    }
    EXPECT_THAT(calls(), ::testing::Not(Contains("HW_DISP_SetAttr")));
}

TEST_F(Burning, TellsWhenItCannotStart) {
    struct Row {
        vset::Fault stFault;
        const char* pszLog;
    };
    const Row rows[] = {
        {{vset::kAllocation, 0, 2}, "pTempBurnModeParam->pColorTable is Null.\n\n"},
        {{vset::kAllocation, 0, 3}, "pTempBurnModeParam is Null.\n\n"},
        {{vset::kAllocation, 0, 4}, "pTempBurnModeParam is Null.\n\n"},
        {{"HW_DISP_Open", 3}, "Failed to get DISP handle.\n\n"},
    };
    a_vextvfapi_disp_switch_window(1);
    for (const Row& stRow : rows) {
        vset::inject(stRow.stFault);
        const std::string strLog = test::logOf([] { EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode(1), -1); });
        EXPECT_THAT(strLog, HasSubstr(stRow.pszLog));
        EXPECT_THAT(strLog, HasSubstr("Burning task init failed...\n\n"));
        EXPECT_FALSE(vset::disp::window(1).bOpen) << "what was opened is closed";
        vset::clearFaults();
        EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode(0), 0); }),
                    HasSubstr("Burning task exited...\n\n"));
    }
    // The failure of the last run is not this run's.
    EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode(1), 0);
    EXPECT_TRUE(vset::disp::window(1).bOpen);
    EXPECT_EQ(pattern(1).u32Enable, 1u);
    EXPECT_EQ(a_vextvfapi_disptst_set_burning_mode(0), 0);
    EXPECT_FALSE(vset::disp::window(1).bOpen);
    EXPECT_EQ(pattern(1).u32Enable, 0u);
}

}  // namespace
