// SPDX-License-Identifier: Apache-2.0
// Calls that the set answers wrongly on purpose: how they are described, and what becomes of the calls.
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "hw3/hw_fs.h"
#include "support/middleware_calls.h"
#include "support/refusals.h"
#include "support/waiting.h"

namespace {

using test::errorOf;

class VsetMisbehaviour : public test::MiddlewareTest {
protected:
    void TearDown() override {
        unsetenv("VSET_MISBEHAVIOUR");
        MiddlewareTest::TearDown();
    }
    // Switches the set on with such misbehaviours. Returns what is wrong with them.
    std::string plant(const std::string& strText) const {
        vset::detach();
        setenv("VSET_MISBEHAVIOUR", strText.c_str(), 1);
        return errorOf([&] { vset::attach(folder()); });
    }
};

TEST_F(VsetMisbehaviour, WhatCannotBeReadIsRefused) {
    const char* const kRows[][2] = {
        {" ", "expected the name of a function at its end"},
        {"HW_None instead 1", "no such middleware function: HW_None"},
        {"HW_FS_Sync", nullptr},
        {"HW_FS_Sync instead", "expected a number at its end"},
        {"HW_FS_Sync instead 1x", "expected a number, not 1x"},
        {"HW_FS_Sync instead 1 after 2", "unknown word after"},
        {"HW_FS_Sync when", "expected a place at its end"},
        {"HW_FS_Sync when 0/1 1", "a place is ARGUMENT[>OFFSET...][:BYTES]"},
        {"HW_FS_Sync when 0>x 1", "a place is ARGUMENT[>OFFSET...][:BYTES]"},
        {"HW_FS_Sync when 0:3 1", "a place has 1, 2, 4 or 8 bytes"},
        {"HW_FS_Sync when 0>0:16 1", "a place has 1, 2, 4 or 8 bytes"},
        {"HW_FS_Sync output 0>0", "expected set, add or flip at its end"},
        {"HW_FS_Sync output 0>0 put 1", "expected set, add or flip, not put"},
        {"HW_FS_Sync when 1 1 when 0:1 2 when 0>0:2 -3 when 0>0>8:8 0xF input 0>0 add 1", nullptr},
    };
    for (const auto& [pszText, pszError] : kRows) {
        const std::string strError = std::string("VSET_MISBEHAVIOUR: ") + pszText + ": ";
        EXPECT_EQ(plant(std::string("HW_FS_Sync instead 0;") + pszText),
                  pszError != nullptr ? strError + pszError : "no error");
    }
}

// A register that holds 0x44332211 is read four times: what each read answers, and gives if it is not that.
TEST_F(VsetMisbehaviour, CallsAreAnsweredWrongly) {
    const char* const kRows[][2] = {
        {"HW_FS_Sync instead -1", "0 0 0 0"},
        {"hw_sys_ReadReg instead 5", "5=untouched 5=untouched 5=untouched 5=untouched"},
        {"hw_sys_ReadReg then 5 from 2 times 2", "0 5 5 0"},
        {"hw_sys_ReadReg then 6 instead 5 from 4", "0 0 0 5=untouched"},
        {"hw_sys_ReadReg then 5 times 1;hw_sys_ReadReg from 2 then 6", "5 0 6 6"},
        {"hw_sys_ReadReg output 2>0 set 7 from 4", "0 0 0 0=7"},
        {"hw_sys_ReadReg output 2>1:1 flip 0x1FF times 1", "0=4433dd11 0 0 0"},
        {"hw_sys_ReadReg output 2>2:2 add 0xF0003 times 1", "0=44362211 0 0 0"},
        {"hw_sys_ReadReg output 2>0:8 add 0x500000001 times 1", "0=44332212,5 0 0 0"},
        {"hw_sys_ReadReg when 0 0x1012 when 1 0xFFF then 5", "5 5 5 5"},
        {"hw_sys_ReadReg when 0 0x1012 when 1 0x41 then 5", "0 0 0 0"},
        {"hw_sys_ReadReg when 0:1 0xF12 when 0:2 0xF1012 then 5", "5 5 5 5"},
        {"hw_sys_ReadReg when 0:8 0x100001012 then 5", "0 0 0 0"},
        {"hw_sys_ReadReg when 2>0 0xA5A5A5A5 when 2>4:8 0 from 4 then 5", "0 0 0 5"},
        {"hw_sys_ReadReg when 3 0 then 5", "0 0 0 0"},
        {"hw_sys_ReadReg when 3>0 0 then 5", "0 0 0 0"},
        {"hw_sys_ReadReg when 1>0 0 then 5", "0 0 0 0"},
        {"hw_sys_ReadReg output 2 set 1 output 1>0 set 1 output 9>0 set 1", "0 0 0 0"},
    };
    for (const auto& [pszText, pszAnswers] : kRows) {
        SCOPED_TRACE(pszText);
        EXPECT_EQ(plant(pszText), "no error");
        HW_SYS_Init(nullptr);
        hw_sys_WriteReg(0x1012, 0xFFF, 0x44332211);
        std::string strAnswers;
        for (int i = 0; i < 4; ++i) {
            HW_U32 values[4] = {test::kUntouched, 0, 0, 0};
            strAnswers += (i == 0 ? "" : " ") + std::to_string(hw_sys_ReadReg(0x1012, 0xFFF, values));
            char acRead[40] = "=untouched";
            if (values[0] != test::kUntouched) {
                std::snprintf(acRead, sizeof(acRead), values[1] != 0 ? "=%x,%x" : "=%x", values[0], values[1]);
            }
            strAnswers += std::string("=44332211") == acRead ? "" : acRead;
        }
        EXPECT_EQ(strAnswers, pszAnswers);
    }
    plant("hw_sys_ReadReg wait 60 output 2>0 set 1");
    HW_U32 u32Value = test::kUntouched;
    EXPECT_GE(test::secondsOf([&] { hw_sys_ReadReg(0x1012, 0xFFF, &u32Value); }), 0.06);
    EXPECT_EQ(u32Value, test::kUntouched) << "a call that fails has no outputs";
    EXPECT_EQ(plant(""), "no error");
    EXPECT_EQ(HW_SYS_Init(nullptr), HW_OK);
    EXPECT_EQ(hw_sys_ReadReg(0x1012, 0xFFF, &u32Value), HW_OK);
    EXPECT_EQ(u32Value, 0u);
}

TEST_F(VsetMisbehaviour, WhatTheyAreGivenIsPutBack) {
    EXPECT_EQ(plant("HW_FS_Fwrite input 0>1:1 flip 1 input 0>0:1 set 0x41;HW_FS_Sync instead -1;"
                    "HW_SYS_GetAttr output 1>0>3:1 add 1 output 1>0>14:2 set 0x5A58"),
              "no error");
    char acText[] = "abcd";
    FILE* const pStream = HW_FS_Fopen("/data/f", "wb");
    EXPECT_EQ(HW_FS_Fwrite(acText, 1, 4, pStream), 4);
    EXPECT_EQ(HW_FS_Fclose(pStream), 0);
    EXPECT_EQ(read("/data/f"), "Accd");
    EXPECT_STREQ(acText, "abcd");
    errno = 0;
    EXPECT_EQ(HW_FS_Sync(), -1);
    EXPECT_EQ(errno, EIO);
    EXPECT_TRUE(vset::journal().back().bFault);
    HW_SYS_Init(nullptr);
    char acHash[17] = {};
    HW_SYS_AttrBuffer_t stBuffer = {reinterpret_cast<HW_U8*>(acHash), 16, 0}, stNone = {nullptr, 16, 0};
    EXPECT_EQ(HW_SYS_GetAttr(E_HW_SYS_ATTR_CUSTOMER_HASH, &stBuffer), HW_OK);
    EXPECT_STREQ(acHash, "LUMPRA-VSET-00XZ");
    EXPECT_EQ(HW_SYS_GetAttr(E_HW_SYS_ATTR_CUSTOMER_HASH, &stNone), HW_ERR_INVALID_PARAMETER);
}

}  // namespace
