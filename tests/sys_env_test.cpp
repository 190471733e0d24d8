// SPDX-License-Identifier: Apache-2.0
// Boot environment variables.
#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "a_vextvfapi_sys.h"
#include "support/emulation.h"
#include "support/library_fixture.h"
#include "support/process.h"
#include "support/refusals.h"
#include "vset/flash.h"

namespace {

using testing::Contains;
using testing::Not;

using test::u8;

int setEnv(const std::string& strKey, const std::string& strValue) {
    return a_vextvfapi_sys_set_emmc_env_var(u8(strKey), u8(strValue));
}

// Returns the value in a buffer of exactly u32Size bytes preset to '#', or "status N".
std::string getEnv(const std::string& strKey, unsigned int u32Size = 2048) {
    std::vector<unsigned char> buffer(u32Size, '#');
    const int s32Status = a_vextvfapi_sys_get_emmc_env_var(u8(strKey), buffer.data(), u32Size);
    const std::string strText(buffer.begin(), buffer.end());
    if (s32Status != 0) {
        return "status " + std::to_string(s32Status);
    }
    return strText.substr(0, strText.find('#'));
}

class SysEnv : public test::LibraryTest {};

TEST_F(SysEnv, SurvivesAPowerCycleAndLeavesTheRestAlone) {
    const auto before = vset::flash::environment(E_HW_FLASH_TYPE_EMMC);
    EXPECT_EQ(setEnv("serial", "LM55-000815"), 0);
    EXPECT_EQ(setEnv("empty", ""), 0);
    vset::powerCycle();
    ASSERT_EQ(a_vextvfapi_sys_init(), 0);
    EXPECT_EQ(getEnv("serial"), "LM55-000815");
    EXPECT_EQ(getEnv("empty"), "");
    EXPECT_EQ(getEnv("bootdelay"), before.at("bootdelay"));
    EXPECT_EQ(getEnv("nosuch"), "status -1");
    EXPECT_EQ(vset::flash::environment(E_HW_FLASH_TYPE_EMMC).size(), before.size() + 1);
}

TEST_F(SysEnv, TheFlashTypeChoosesTheImage) {
    EXPECT_EQ(_a_vextvfapi_sys_set_env_var(u8("medium"), u8("nor"), E_HW_FLASH_TYPE_SPI_NOR), 0);
    EXPECT_EQ(setEnv("medium", "emmc"), 0);
    unsigned char au8Value[8] = {};
    EXPECT_EQ(_a_vextvfapi_sys_get_env_var(u8("medium"), au8Value, 8, E_HW_FLASH_TYPE_SPI_NOR), 0);
    EXPECT_STREQ(reinterpret_cast<char*>(au8Value), "nor");
    EXPECT_EQ(getEnv("medium"), "emmc");
    EXPECT_EQ(vset::flash::environment(E_HW_FLASH_TYPE_SPI_NOR).size(), 1u);
}

TEST_F(SysEnv, LengthsAtTheEdge) {
    EXPECT_EQ(setEnv("long", std::string(2046, 'a')), 0);
    EXPECT_EQ(getEnv("long"), std::string(2046, 'a'));
    ASSERT_EQ(setEnv("five", "12345"), 0);
    EXPECT_EQ(getEnv("five", 5), "12345") << "fills the buffer without a terminator";
    EXPECT_EQ(getEnv("five", 6), "12345") << "byte 6 stays what the caller put there";
    unsigned char au8Short[4] = {'#', '#', '#', '#'};
    EXPECT_EQ(a_vextvfapi_sys_get_emmc_env_var(u8("five"), au8Short, sizeof(au8Short)), -2);
    EXPECT_EQ(std::string(au8Short, au8Short + 4), "####");
    ASSERT_EQ(setEnv("empty", ""), 0);
    unsigned char u8Byte = '#';
    EXPECT_EQ(a_vextvfapi_sys_get_emmc_env_var(u8("empty"), &u8Byte, 0), 0) << "an empty value fits into nothing";
}

TEST_F(SysEnv, AForeignHandleIsSharedAndStaysOpen) {
    leavesOpen("HW_FLASH");
    vset::flash::hold(E_HW_FLASH_TYPE_EMMC);
    EXPECT_EQ(setEnv("a", "1"), 0);
    EXPECT_EQ(getEnv("a"), "1");
    EXPECT_THAT(calls(), Not(Contains("HW_FLASH_Open")));
    EXPECT_THAT(calls(), Not(Contains("HW_FLASH_Close")));
    EXPECT_EQ(opened().size(), 1u);

    int s32Handle = -1;
    unsigned char u8Opened = 9;
    EXPECT_EQ(_a_vextvfapi_sys_get_flash_handle(s32Handle, E_HW_FLASH_TYPE_EMMC, u8Opened), 0);
    EXPECT_EQ(static_cast<unsigned int>(s32Handle), opened()[0].u32Handle);
    EXPECT_EQ(u8Opened, 0);
    EXPECT_EQ(_a_vextvfapi_sys_get_flash_handle(s32Handle, E_HW_FLASH_TYPE_NAND, u8Opened), 0);
    EXPECT_EQ(u8Opened, 1);
    vset::inject({"HW_FLASH_Open", 9});
    EXPECT_EQ(_a_vextvfapi_sys_get_flash_handle(s32Handle, E_HW_FLASH_TYPE_SPI_NOR, u8Opened), 9);
    EXPECT_EQ(s32Handle, 0);
    EXPECT_EQ(u8Opened, 0);
}

TEST_F(SysEnv, AHandleOfZeroIsNone) {
    vset::inject({"HW_FLASH_GetHandle", HW_OK});
    EXPECT_EQ(getEnv("serial"), "status -1");
    vset::inject({"HW_FLASH_Open", HW_OK});
    EXPECT_EQ(getEnv("serial"), "status -1");
    EXPECT_THAT(calls(), testing::ElementsAre("HW_FLASH_GetHandle", "HW_FLASH_GetHandle", "HW_FLASH_Open"));
}

TEST_F(SysEnv, AFailedCloseReplacesEveryOtherStatus) {
    leavesOpen("HW_FLASH");
    vset::inject({vset::kAllocation});
    vset::inject({"HW_FLASH_Close"});
    EXPECT_EQ(getEnv("serial"), "status -1");
    EXPECT_THAT(calls(), Contains("HW_FLASH_Close"));
}

TEST_F(SysEnv, AValueThatComesBackDifferentIsAFailure) {
    // The store is lost silently: the old value is read back.
    vset::inject({"HW_FLASH_StoreEnv", HW_OK});
    EXPECT_EQ(setEnv("serial", "LOST"), -1);
}

TEST_F(SysEnv, DamageIsAStatusAndNothingIsWritten) {
    refuses("HW_FLASH_LoadEnv");
    const std::string strFile = folder() + "/env/emmc.img";
    const std::string strGood = test::readFile(strFile);
    std::string strBad = strGood;
    strBad[100] = static_cast<char>(strBad[100] ^ 1);
    for (const std::string& strImage : {strBad, strGood.substr(0, 1000), std::string()}) {
        test::writeFile(strFile, strImage);
        EXPECT_EQ(getEnv("serial"), "status -1");
        EXPECT_EQ(setEnv("serial", "x"), -1);
        EXPECT_EQ(test::readFile(strFile), strImage);
    }
}

// Every write to the storage while a variable is written, cut off one after the other.
TEST_F(SysEnv, APowerCutLeavesTheOldOrTheNewEnvironment) {
    SKIP_UNDER_EMULATION();
    ASSERT_EQ(setEnv("serial", "old"), 0);
    std::map<std::string, unsigned int> left;
    bool bFinished = false;
    for (unsigned int u32Write = 1; !bFinished; ++u32Write) {
        bFinished = test::runInChild([&] {
                        vset::cutPowerAtWrite(u32Write);
                        setEnv("serial", "new");
                    }) == 0;
        ASSERT_THAT(vset::check(folder()), testing::IsEmpty()) << "cut at write " << u32Write;
        vset::powerCycle();
        ASSERT_EQ(a_vextvfapi_sys_init(), 0);
        ++left[getEnv("serial")];
        ASSERT_EQ(setEnv("serial", "old"), 0);
    }
    // The image has 16 blocks; a cut between any two of them must have been tried.
    EXPECT_GT(left["old"], 16u);
    EXPECT_GE(left["new"], 1u);
    EXPECT_EQ(left.size(), 2u);
}

}  // namespace
