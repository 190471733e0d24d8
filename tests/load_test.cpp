// SPDX-License-Identifier: Apache-2.0
// A program that does not link the library, loads it at run time and calls it.
#include "fapi_load.h"

#include <cstdlib>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

namespace {

std::string g_seen;

int onEvent(unsigned int event, const fapi_core::VexTvFApiEventCommonObject& a,
            const fapi_core::VexTvFApiEventCommonObject&, const fapi_core::VexTvFApiEventCommonObject&,
            const fapi_core::VexTvFApiEventCommonObject&) {
    g_seen = std::to_string(event) + " " + a.text;
    return 7;
}

// A loaded library stays in the process, with the virtual set that the environment has named first.
struct Folder {
    std::string strPath = ::testing::TempDir() + "/load-XXXXXX";
    Folder() { setenv("VSET_DIR", mkdtemp(strPath.data()), 1); }
    ~Folder() { std::filesystem::remove_all(strPath); }
};

class LoadTest : public ::testing::Test {
protected:
    void SetUp() override {
        static const Folder folder;
        _library = dlopen(FAPI_LIBRARY, RTLD_NOW);
        ASSERT_NE(_library, nullptr) << dlerror();
    }
    void TearDown() override {
        if (_library != nullptr) {
            dlclose(_library);
        }
    }

    void* _library = nullptr;
};

TEST_F(LoadTest, AnOperationOfEachModuleAnswers) {
    fapi_load::Operations operations;
    ASSERT_STREQ(fapi_load::load(_library, operations), nullptr);
    ASSERT_EQ(operations.a_vextvfapi_sys_init(), 0);

    unsigned char read[16] = {};
    const auto* key = reinterpret_cast<const unsigned char*>("serial");
    EXPECT_EQ(operations.a_vextvfapi_sys_set_emmc_env_var(key, reinterpret_cast<const unsigned char*>("A-0815")), 0);
    EXPECT_EQ(operations.a_vextvfapi_sys_get_emmc_env_var(key, read, sizeof(read)), 0);
    EXPECT_STREQ(reinterpret_cast<const char*>(read), "A-0815");

    EXPECT_EQ(operations.a_vextvfapi_common_hw_err_msg(5), -6);

    operations.a_vextvfapi_info_reg_callback(onEvent);
    fapi_core::VexTvFApiEventCommonObject event = {};
    event.text = "a text that no small buffer of a string holds";
    EXPECT_EQ(operations.a_vextvfapi_info_nty_event(9, event, event, event, event), 7);
    EXPECT_EQ(g_seen, "9 " + event.text);

    ASSERT_EQ(operations.a_vextvfapi_net_init(), 0);
    EXPECT_EQ(operations.a_vextvfapi_net_open("eth0"), 0);
    ASSERT_EQ(operations.a_vextvfapi_prphrl_init(), 0);
    EXPECT_EQ(operations.a_vextvfapi_prphrl_control_gpio(12, 1), 0);
    ASSERT_EQ(operations.a_vextvfapi_aud_init(), 0);
    unsigned char source = 0;
    EXPECT_EQ(operations.a_vextvfapi_inpsrc_get_current_input_source(&source), 0);
    EXPECT_EQ(source, 28);
    ASSERT_EQ(operations.a_vextvfapi_disp_init(), 0);
    unsigned int min = 1, max = 0;
    EXPECT_EQ(operations.a_vextvfapi_disp_get_pwm_range(min, max), 0);
    EXPECT_LT(min, max);
    EXPECT_EQ(operations.a_vextvfapi_disptst_init(), 0);
}

TEST(Load, ALibraryThatLacksOperationsIsTold) {
    fapi_load::Operations operations;
    void* const other = dlopen("libm.so.6", RTLD_NOW);
    ASSERT_NE(other, nullptr);
    const char* const missing = fapi_load::load(other, operations);
    ASSERT_STREQ(missing, "_Z24_a_vextvfapi_common_initv");
    EXPECT_EQ(operations.a_vextvfapi_sys_init, nullptr);
    dlclose(other);
}

}  // namespace
