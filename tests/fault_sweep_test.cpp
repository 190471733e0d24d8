// SPDX-License-Identifier: Apache-2.0
// Every operation with every one of its middleware calls and allocations made to fail in turn: the operation answers a
// status of its kind, and leaves no handle and no descriptor behind that it does not leave behind without the fault.
#include <algorithm>
#include <functional>
#include <map>

#include <gtest/gtest.h>

#include "a_vextvfapi_sys.h"
#include "operation.h"
#include "support/descriptors.h"
#include "support/set_fixture.h"

namespace {

struct Sample {
    const char* pszOperation;
    std::vector<std::string> words;
    // Handles that a failing close leaves open on purpose are those of the middleware that refused it.
    const char* pszMayLeaveOpen = "";
};

// One good call of each operation that reaches the middleware. Operations without one are in kNoMiddleware.
const Sample kSamples[] = {
    {"_a_vextvfapi_common_init", {}},
    {"a_vextvfapi_sys_init", {}},
    {"a_vextvfapi_sys_get_emmc_env_var", {"serial"}},
    {"a_vextvfapi_sys_set_emmc_env_var", {"serial", "S1"}},
    {"_a_vextvfapi_sys_get_env_var", {"bootdelay", "2048", "emmc"}},
    {"_a_vextvfapi_sys_set_env_var", {"k", "v", "nand"}},
    {"_a_vextvfapi_sys_get_flash_handle", {"emmc"}, "HW_FLASH"},
    {"a_vextvfapi_sys_check_file", {"/data/file"}},
    {"a_vextvfapi_sys_remove_file", {"/data/file"}},
    {"a_vextvfapi_sys_create_folder", {"/data/new"}},
    {"a_vextvfapi_sys_check_folder", {"/data"}},
    {"a_vextvfapi_sys_create_file", {"/data/new/file"}},
    {"a_vextvfapi_sys_copy_file", {"/data/file", "/data/new/copy", "on"}},
    {"a_vextvfapi_sys_read_file_one_line", {"/data/file"}},
    {"a_vextvfapi_sys_read_file", {"/data/file"}},
    {"a_vextvfapi_sys_get_file_checksum", {"/data/file"}},
    {"a_vextvfapi_sys_write_file", {"/data/new/written", "text:abc"}},
    {"a_vextvfapi_sys_sync_fs", {}},
};

const char* const kNoMiddleware[] = {
    "_a_vextvfapi_common_init_debug_level",
    "_bytes_to_bool",
    "_bytes_to_int",
    "_bytes_to_one_byte_enum",
    "_bytes_to_short",
    "a_vextvfapi_common_get_fapi_status",
    "a_vextvfapi_common_get_fapi_version",
    "a_vextvfapi_common_hw_err_msg",
    "a_vextvfapi_sys_change_file_mode",
    "a_vextvfapi_sys_deinit",
};

bool isEventOperation(const std::string& strName) {
    return strName.find("_callback") != std::string::npos || strName.find("_nty_event") != std::string::npos;
}

class FaultSweep : public test::SetTest {
protected:
    // The state that every run starts from.
    void prepare() {
        vset::clearFaults();
        std::error_code error;
        std::filesystem::remove_all(vset::hostPath("/data/new"), error);
        write("/data/file", "one\ntwo\n");
        vset::powerCycle();
        ASSERT_EQ(a_vextvfapi_sys_init(), 0);
        vset::clearJournal();
    }

    struct Left {
        std::size_t handles;
        int s32Descriptors;
    };
    Left left() { return {vset::openHandles().size(), test::openDescriptors()}; }

    // What the operation leaves behind, run from the prepared state with a fault.
    void runWith(const Sample& stSample, const tool::Operation& operation, const vset::Fault& stFault, Left stClean) {
        SCOPED_TRACE(std::string(operation.name) + " while call " + std::to_string(stFault.u32From) + " of " +
                     stFault.strCall + " answers " + std::to_string(stFault.s64Result));
        prepare();
        const std::vector<tool::Value> arguments = tool::parseArguments(operation, stSample.words);
        const Left stBefore = left();
        vset::inject(stFault);
        const tool::Outcome outcome = tool::invoke(operation, arguments);
        vset::clearFaults();
        if (operation.result == tool::Result::status && stFault.strCall != "HW_FS_Sync" &&
            std::string(operation.name) != "_a_vextvfapi_sys_get_flash_handle") {
            EXPECT_LE(outcome.status, 0);
            EXPECT_GE(outcome.status, -6);
        }
        EXPECT_LE(left().s32Descriptors, stBefore.s32Descriptors + stClean.s32Descriptors);
        const bool bCloseRefused = stFault.strCall.find("_Close") != std::string::npos;
        if (!bCloseRefused) {
            EXPECT_LE(left().handles, stBefore.handles + stClean.handles);
        }
    }
};

TEST_F(FaultSweep, CoversEveryOperation) {
    for (const tool::Operation& operation : tool::operations()) {
        const auto named = [&](const auto& name) { return std::string(name) == operation.name; };
        const bool bSampled = std::any_of(std::begin(kSamples), std::end(kSamples),
                                          [&](const Sample& stSample) { return named(stSample.pszOperation); });
        const bool bExcused = std::any_of(std::begin(kNoMiddleware), std::end(kNoMiddleware), named);
        EXPECT_NE(bSampled || isEventOperation(operation.name), bExcused) << operation.name;
    }
}

TEST_F(FaultSweep, NothingIsLeftBehind) {
    for (const Sample& stSample : kSamples) {
        const tool::Operation* pOperation = tool::findOperation(stSample.pszOperation);
        ASSERT_NE(pOperation, nullptr) << stSample.pszOperation;
        SCOPED_TRACE(stSample.pszOperation);

        prepare();
        const Left stBefore = left();
        const tool::Outcome outcome = tool::invoke(*pOperation, tool::parseArguments(*pOperation, stSample.words));
        EXPECT_TRUE(outcome.good) << "the sample is to be a good call";
        const Left stClean = {left().handles - stBefore.handles, left().s32Descriptors - stBefore.s32Descriptors};
        EXPECT_EQ(stClean.handles, *stSample.pszMayLeaveOpen != '\0' ? 1u : 0u);
        EXPECT_EQ(stClean.s32Descriptors, 0);

        std::map<std::string, unsigned int> made;
        for (const std::string& strCall : calls()) {
            ++made[strCall];
        }
        EXPECT_FALSE(made.empty()) << "belongs into kNoMiddleware";
        for (const auto& [strCall, u32Count] : made) {
            const bool bFile = strCall.rfind("HW_FS_", 0) == 0 && strCall != "HW_FS_Init";
            for (unsigned int u32From = 1; u32From <= u32Count; ++u32From) {
                for (const long long s64Result :
                     bFile ? std::vector<long long>{-1, -2, 0} : std::vector<long long>{1, 3, 8}) {
                    // A descriptor of 0 would be the test's own standard input.
                    if (strCall == "HW_FS_Open" && s64Result == 0) {
                        continue;
                    }
                    runWith(stSample, *pOperation, {strCall, s64Result, u32From}, stClean);
                }
            }
        }
        for (unsigned int u32From = 1; u32From <= 4; ++u32From) {
            runWith(stSample, *pOperation, {vset::kAllocation, 0, u32From}, stClean);
        }
    }
}

}  // namespace
