// SPDX-License-Identifier: Apache-2.0
// Start-up of the peripheral module, and the block keys that the chip does not have.
#include <gmock/gmock.h>

#include "a_vextvfapi_prphrl.h"
#include "a_vextvfapi_sys.h"
#include "hw3/hw_extin.h"
#include "support/library_fixture.h"
#include "support/log_capture.h"
#include "vset/extin.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class PrphrlInit : public test::LibraryTest {};

TEST_F(PrphrlInit, BringsUpTheFamiliesInOrder) {
    EXPECT_EQ(a_vextvfapi_prphrl_init(), 0);
    EXPECT_THAT(calls(), ElementsAre("HW_SYS_Init", "HW_UART_Init", "HW_EXTIN_Init", "HW_EXTIN_GetCaps", "HW_CEC_Init",
                                     "HW_IIC_Init", "HW_IR_Init"));
    for (const char* family : {"HW_UART", "HW_EXTIN", "HW_CEC", "HW_IIC", "HW_IR"}) {
        EXPECT_TRUE(vset::isInitialised(family)) << family;
    }
    EXPECT_EQ(a_vextvfapi_prphrl_init(), 0) << "a second time";
    EXPECT_EQ(a_vextvfapi_prphrl_deinit(), 0);
    EXPECT_TRUE(vset::isInitialised("HW_UART")) << "deinit leaves everything as it is";
}

struct Failure {
    const char* call;
    long long result;
    const char* log;
    std::size_t made;  // calls of the middleware
};

const Failure kFailures[] = {
    {"HW_SYS_Init", 0xC, "\033[31m Error 0xc: failed to HW_SYS_Init(...)!\033[m\n\n", 1},
    {"HW_UART_Init", 0x1, "\033[31m Error 0x1: failed to HW_UART_Init(...)!\033[m\n\n", 2},
    {"HW_EXTIN_Init", 0x3, "\033[31m Error 0x3: failed to HW_EXTIN_Init!\033[m\n\n", 4},
    {"HW_EXTIN_Init", 0x3, "\033[31m Error 0xffffffff: failed to _extin_Init(...)!\033[m\n\n", 4},
    {"HW_CEC_Init", 0x3, "\033[31m Error 0xffffffff: failed to _a_vextvfapi_prphrl_init_cec(...)!\033[m\n\n", 5},
    {"HW_IIC_Init", 0x8, "\033[31m Error 0x8: failed to HW_IIC_Init(...)!\033[m\n\n", 6},
    {"HW_IR_Init", 0x3, "\033[31m Error 0x3: failed to HW_IR_Init(...)!\033[m\n\n", 7},
};

TEST_F(PrphrlInit, StopsAtTheFirstFailure) {
    refuses("HW_EXTIN_GetCaps");
    for (const Failure& failure : kFailures) {
        SCOPED_TRACE(failure.log);
        int status = 0;
        std::size_t made = 0;
        vset::inject({failure.call, failure.result});
        const std::string log = test::logOf([&] {
            vset::clearJournal();
            status = a_vextvfapi_prphrl_init();
            made = calls().size();
        });
        EXPECT_EQ(status, -1);
        EXPECT_THAT(log, HasSubstr(failure.log));
        EXPECT_EQ(made, failure.made);
    }
    EXPECT_EQ(a_vextvfapi_prphrl_init(), 0);
}

TEST_F(PrphrlInit, TheSystemMayAskToContinue) {
    vset::inject({"HW_SYS_Init", 1});
    EXPECT_EQ(a_vextvfapi_prphrl_init(), 0);
}

TEST_F(PrphrlInit, FiveHdmiPortsAreTooMany) {
    vset::extin::setInputCount(E_HW_EXTIN_TYPE_HDMI, 5);
    int status = 0;
    const std::string log = test::logOf([&] { status = _a_vextvfapi_prphrl_extin_Init(); });
    EXPECT_EQ(status, -1);
    EXPECT_THAT(log, HasSubstr("\033[31m Error 0x4: HDMI device number is over &u!\033[m\n\n"));
    EXPECT_EQ(a_vextvfapi_prphrl_init(), -1);
    vset::extin::setInputCount(E_HW_EXTIN_TYPE_HDMI, 0);
    EXPECT_EQ(a_vextvfapi_prphrl_init(), 0);
}

TEST_F(PrphrlInit, ThereAreNoBlockKeys) {
    const std::string log = test::logOf([] {
        EXPECT_EQ(a_vextvfapi_prphrl_enable_ir_block_key(1), -1);
        EXPECT_EQ(a_vextvfapi_prphrl_add_ir_block_key(1, ~0ull), -1);
        EXPECT_EQ(a_vextvfapi_prphrl_invert_ir_block_key(255), -1);
    });
    EXPECT_EQ(log,
              "VexTvFApiPeripheral(imp) [E] <a_vextvfapi_prphrl_enable_ir_block_key> bEnable: 1\n\n"
              "VexTvFApiPeripheral(imp) [E] <a_vextvfapi_prphrl_enable_ir_block_key> _hIrHandle is NULL.\n\n"
              "VexTvFApiPeripheral(imp) [E] <a_vextvfapi_prphrl_add_ir_block_key> ScanCode: 1, KeyCode: -1\n\n"
              "VexTvFApiPeripheral(imp) [E] <a_vextvfapi_prphrl_add_ir_block_key> _hIrHandle is NULL.\n\n"
              "VexTvFApiPeripheral(imp) [E] <a_vextvfapi_prphrl_invert_ir_block_key> bEnable: 255\n\n"
              "VexTvFApiPeripheral(imp) [E] <a_vextvfapi_prphrl_invert_ir_block_key> _hIrHandle is NULL.\n\n");
}

}  // namespace
