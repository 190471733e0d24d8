// SPDX-License-Identifier: Apache-2.0
// Calibration of the analogue inputs.
#include <cstring>
#include <functional>

#include <gmock/gmock.h>

#include "a_vextvfapi_inpsrc.h"
#include "hw3/hw_extin.h"
#include "support/library_fixture.h"
#include "support/log_capture.h"
#include "vset/extin.h"

namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;

constexpr const char* kFinished = "\033[31m Finished!!!\033[m\n\n";

struct Analog {
    unsigned int u32Device;
    std::uint32_t u32Type;
    std::string strName, strFinder, strNameOfClose, strFound, strOpened;
};
const Analog kInputs[] = {
    {0, E_HW_EXTIN_TYPE_VGA, "VGA", "vga", "VGA", "HW_EXTIN_GetVGAHandle success\n\n",
     "\033[31m 0x: open VGAHandle success!"},
    {1, E_HW_EXTIN_TYPE_YPBPR, "YPbPr", "ypbpr", "YPbpr", "\033[31m 0x: get YPbprHandle success!",
     "\033[31m 0x: open YPbpr Handle success!"},
    {2, E_HW_EXTIN_TYPE_SCART, "Scart", "scart", "Scart", "\033[31m 0x: get ScartHandle success!",
     "\033[31m 0x: Open ScartHandle success!"},
};

template <class Record>
std::vector<unsigned int> words(const Record& stRecord) {
    std::vector<unsigned int> all(sizeof(stRecord) / 4);
    std::memcpy(all.data(), &stRecord, sizeof(stRecord));
    return all;
}

class Adc : public test::LibraryTest {
protected:
    Adc() : LibraryTest(a_vextvfapi_inpsrc_init) {}

    static bool isOpen(const Analog& input) { return vset::extin::input(input.u32Type, 0).bOpen; }
};

TEST_F(Adc, KeepsEveryValueInItsPlace) {
    for (const unsigned int u32Device : {0u, 1u}) {
        const unsigned int n = 100 * u32Device;
        ASSERT_EQ(a_vextvfapi_inpsrc_set_adc_phase(u32Device, n + 1, n + 2, n + 3), 0);
        ASSERT_EQ(a_vextvfapi_inpsrc_set_adc_gain_offset(u32Device, n + 4, n + 5, n + 6, n + 7, n + 8, 0xFFFFFFFF), 0);
    }
    for (const unsigned int u32Device : {0u, 1u}) {
        const auto phase = ElementsAre(100 * u32Device + 1, 100 * u32Device + 2, 100 * u32Device + 3);
        const auto gainOffset = ElementsAre(100 * u32Device + 4, 100 * u32Device + 5, 100 * u32Device + 6,
                                            100 * u32Device + 7, 100 * u32Device + 8, 0xFFFFFFFF);
        const vset::extin::Calibration stHas = vset::extin::calibration(kInputs[u32Device].u32Type, 0);
        EXPECT_THAT(words(stHas.stPhase), phase);
        EXPECT_THAT(words(stHas.stGainOffset), gainOffset);
        fapi_core::VexTvFApiAdcPhase_t stPhase = {};
        ASSERT_EQ(a_vextvfapi_inpsrc_get_adc_phase(u32Device, &stPhase), 0);
        EXPECT_THAT(words(stPhase), phase);
        fapi_core::VexTvFApiAdcGainOffset_t stValues = {};
        ASSERT_EQ(a_vextvfapi_inpsrc_get_adc_gain_offset(u32Device, &stValues), 0);
        EXPECT_THAT(words(stValues), gainOffset);

        // A failed read keeps the caller's values.
        vset::inject({"HW_EXTIN_GetAttr", 5, 1, 2});
        EXPECT_EQ(a_vextvfapi_inpsrc_get_adc_phase(1 - u32Device, &stPhase), -1);
        EXPECT_THAT(words(stPhase), phase);
        EXPECT_EQ(a_vextvfapi_inpsrc_get_adc_gain_offset(1 - u32Device, &stValues), -1);
        EXPECT_THAT(words(stValues), gainOffset);
        EXPECT_FALSE(isOpen(kInputs[u32Device]));
    }
}

TEST_F(Adc, CalibratesFromTheSignalThroughTheInputsHandleOrItsLastOne) {
    leavesOpen("HW_EXTIN");
    refuses("HW_EXTIN_AutoGainOffset");
    inFreshProcess([&] {
        for (const Analog& input : kInputs) {
            const std::string strFinder = "[D] <_a_vextvfapi_inpsrc_get_" + input.strFinder + "_handle> ";
            const auto calibrate = [&](int s32Status) {
                return test::logOf([&] { EXPECT_EQ(a_vextvfapi_inpsrc_auto_gain_offset(input.u32Device), s32Status); });
            };
            // Neither found nor opened, and never before.
            vset::inject({"HW_EXTIN_Open", 9});
            EXPECT_THAT(calibrate(-1), EndsWith("[E] <a_vextvfapi_inpsrc_auto_gain_offset> Get " + input.strName +
                                                " handle failed!\n"));
            EXPECT_EQ(count("HW_EXTIN_AutoGainOffset"), 0u);
            // Opened, without a signal.
            EXPECT_THAT(calibrate(-1),
                        AllOf(HasSubstr(strFinder + input.strOpened),
                              HasSubstr("[E] <a_vextvfapi_inpsrc_auto_gain_offset> \033[31m Error 0x3: " +
                                        input.strName + " AutoGainOffset failed!\033[m"),
                              EndsWith(kFinished)));
            EXPECT_FALSE(isOpen(input));
            // With a signal, but the input cannot be closed again.
            vset::extin::Source source;
            source.stNeeded = {1, 2, 3, 4, 5, 6};
            vset::extin::plug(input.u32Type, 0, source);
            vset::inject({"HW_EXTIN_Close", 3});
            EXPECT_THAT(calibrate(-1),
                        EndsWith("Error 0x3: failed to Close " + input.strNameOfClose + " handle!\033[m\n\n"));
            EXPECT_THAT(words(vset::extin::calibration(input.u32Type, 0).stGainOffset), ElementsAre(1, 2, 3, 4, 5, 6));
            // Found open, and left open; then neither found nor opened, and done with the last handle.
            EXPECT_THAT(calibrate(0), AllOf(HasSubstr(strFinder + input.strFound), EndsWith(kFinished)));
            EXPECT_TRUE(isOpen(input));
            vset::inject({"HW_EXTIN_GetHandle"});
            vset::inject({"HW_EXTIN_Open", 9});
            calibrate(0);
            EXPECT_EQ(vset::extin::automaticCalibrations(input.u32Type, 0), 3u);
            vset::clearJournal();
        }
        EXPECT_EQ(_a_vextvfapi_inpsrc_get_vga_handle(), 0) << "not opened here";
        EXPECT_EQ(_a_vextvfapi_inpsrc_get_ypbpr_handle(), 0);
    });
}

}  // namespace
