// SPDX-License-Identifier: Apache-2.0
// Frame: gate, version, middleware codes, decoders, debug switch.
#include "a_vextvfapi_common.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "a_vextvfapi_sys.h"
#include "support/log_capture.h"
#include "support/set_fixture.h"

namespace {

using testing::HasSubstr;

class Common : public test::SetTest {};

TEST_F(Common, GateFollowsTheMarkerAsOfTheLastStart) {
    inFreshProcess([] {
        testing::internal::CaptureStdout();
        EXPECT_EQ(a_vextvfapi_common_get_fapi_status(), -5) << "closed before the start, although the marker is there";
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "") << "and the log is off";
    });
    const std::string strMarker = vset::hostPath("/vendor/factory/bin/factory_svc");
    EXPECT_EQ(a_vextvfapi_sys_init(), 0);
    EXPECT_EQ(a_vextvfapi_common_get_fapi_status(), 0);
    ASSERT_EQ(std::remove(strMarker.c_str()), 0);
    EXPECT_EQ(a_vextvfapi_common_get_fapi_status(), 0);
    EXPECT_EQ(_a_vextvfapi_common_init(), 0);
    const std::string strLog = test::logOf([] { EXPECT_EQ(a_vextvfapi_common_get_fapi_status(), -5); });
    EXPECT_EQ(strLog,
              "VexTvFApiCommon(imp) [E] <a_vextvfapi_common_get_fapi_status> "
              "Refuse to access FAPI, current not in factory mode.\n");
}

TEST_F(Common, DebugSwitchIsReadAtStartOnly) {
    write("/data/tvfapi_hal_debug", "");
    EXPECT_EQ(_a_vextvfapi_common_init_debug_level(), 1);
    testing::internal::CaptureStdout();
    a_vextvfapi_common_hw_err_msg(3);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "") << "the probe alone must not switch the log on";

    _a_vextvfapi_common_init();
    std::remove(vset::hostPath("/data/tvfapi_hal_debug").c_str());
    EXPECT_EQ(_a_vextvfapi_common_init_debug_level(), 0);
    testing::internal::CaptureStdout();
    a_vextvfapi_common_hw_err_msg(3);
    EXPECT_THAT(testing::internal::GetCapturedStdout(), HasSubstr("HW_ERR_FAILED"));
    _a_vextvfapi_common_init();
}

TEST_F(Common, VersionFillsTheWholeBufferOrNothing) {
    for (const unsigned int u32Length : {10u, 11u, 64u}) {
        std::string strBuffer(u32Length + 1, '#');
        EXPECT_EQ(a_vextvfapi_common_get_fapi_version(strBuffer.data(), u32Length), 0);
        EXPECT_EQ(strBuffer, "v1.0.0.13" + std::string(u32Length - 9, '\0') + "#");
    }
    std::string strShort(9, '#');
    EXPECT_EQ(a_vextvfapi_common_get_fapi_version(strShort.data(), 9), -2);
    EXPECT_EQ(strShort, std::string(9, '#'));
}

TEST_F(Common, MiddlewareCodes) {
    const struct {
        int s32Status;
        std::string strText;
    } kByCode[] = {
        {0, ""},
        {-1, "HW_CONTINUE: 0x1 ,not error but hasn' be succeeded. Flow is continue...\n"},
        {-1, "HW_HAS_INITED: 0x2, not error but init has be called again\n"},
        {-1, "HW_ERR_FAILED: 0x3, general failed\n"},
        {-1, "HW_ERR_NOT_INITED: 0x4, moudle hasn't be inited\n"},
        {-6, "HW_ERR_NOT_SUPPORT: 0x5, not supported\n"},
        {-3, "HW_ERR_NOT_IMPLEMENT: 0x6, not implemented\n"},
        {-1, "HW_ERR_INVALID_HANDLE: 0x7, invalid handle\n"},
        {-2, "HW_ERR_INVALID_PARAMETER: 0x8, invalid parameter\n"},
        {-1, "HW_ERR_RESOURCES: 0x9, system resource issue\n"},
        {-4, "HW_ERR_MEMORY_ALLOCATE: 0xa, memory allocation\n"},
        {-1, "HW_ERR_CHAOS: 0xb, chaos state-mechine\n"},
        {-1, "HW_ERR_DATA_ERROR: 0xc, data error\n"},
        {-1, "HW_ERR_TIMEOUT: 0xd, timeout\n"},
        {-1, "HW_ERR_LIMITION: 0xe, limitation\n"},
        {-1, "HW_ERR_BUSY: 0xf, the required operation can not be done due to current system is busy.\n"},
        {-1, "HW_UNDEFINED_ERROR: \n"},
    };
    const std::string strPrefix = "VexTvFApiCommon(imp) [E] <a_vextvfapi_common_hw_err_msg> ";
    constexpr std::size_t kLast = std::size(kByCode) - 1;
    for (unsigned int i = 0; i <= kLast + 1; ++i) {
        const unsigned int u32Code = i <= kLast ? i : 0xFFFFFFFE;
        SCOPED_TRACE(u32Code);
        const auto& stRow = kByCode[std::min<std::size_t>(i, kLast)];
        const std::string strLog =
            test::logOf([&] { EXPECT_EQ(a_vextvfapi_common_hw_err_msg(u32Code), stRow.s32Status); });
        EXPECT_EQ(strLog, stRow.strText.empty() ? "" : strPrefix + stRow.strText);
    }
}

}  // namespace
