// SPDX-License-Identifier: Apache-2.0
// What the journal tells of a call, and what counts as a refusal.
#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <thread>

#include "hw3/hw_disp.h"
#include "hw3/hw_fs.h"
#include "hw3/hw_gpio.h"
#include "hw3/hw_iic.h"
#include "hw3/hw_os.h"
#include "support/emulation.h"
#include "support/middleware_calls.h"
#include "support/waiting.h"
#include "vset/journal.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class Journal : public test::RunningTest {
protected:
    void SetUp() override {
        RunningTest::SetUp();
        HW_IIC_Init(nullptr);
        vset::clearJournal();
        _u64Before = vset::refusalCount();
    }

    // The last call in one line, with the name "H" in place of the handle.
    static std::string last(HW_Handle_t hHandle = 0) {
        std::string strLine = vset::callLine(vset::journal().back());
        char acHandle[16];
        std::snprintf(acHandle, sizeof(acHandle), "0x%x", hHandle);
        const std::size_t at = strLine.find(acHandle);
        return hHandle == 0 || at == std::string::npos ? strLine : strLine.replace(at, std::strlen(acHandle), "H");
    }

    std::vector<std::string> refused() const {
        std::vector<std::string> lines;
        for (const vset::Refusal& refusal : vset::refusals(_u64Before)) {
            lines.push_back(refusal.strCall + "(" + refusal.strArguments + ")");
        }
        return lines;
    }

private:
    std::uint64_t _u64Before = 0;
};

TEST_F(Journal, HoldsEveryArgumentAndOutput) {
    HW_Handle_t hPad = test::handleOf(HW_GPIO_Open, {7});
    EXPECT_EQ(last(hPad), "HW_GPIO_Open(pad=7) = 0, handle=H");
    HW_U8 u8Level = 9, u8Inverted = 9;
    HW_GPIO_GetInput(hPad, &u8Level, &u8Inverted);
    EXPECT_EQ(last(hPad), "HW_GPIO_GetInput(handle=H) = 0, level=0 inverted=0");
    HW_GPIO_GetInput(1, &u8Level, &u8Inverted);
    EXPECT_EQ(last(), "HW_GPIO_GetInput(handle=0x1) = 0x7") << "a failure has no outputs";
    HW_GPIO_Open(nullptr, &hPad);
    EXPECT_EQ(last(), "HW_GPIO_Open(params=null) = 0x8");

    const HW_Handle_t hBus = test::handleOf(HW_IIC_Open, {0});
    const HW_U8 u8Address = 0x10;
    HW_U8 au8Data[20] = {0xDE, 0xAD};
    std::copy_n(au8Data, 2, au8Data + 16);  // the page of 16 bytes is written round
    const HW_IIC_WriteParams_t stWrite = {{0x00A0, 1, &u8Address, sizeof(au8Data), au8Data}};
    HW_IIC_Write(hBus, &stWrite, nullptr);
    EXPECT_THAT(last(hBus), HasSubstr("data=[20 bytes, crc 0x3477a517]) = 0, written=null"));
    HW_IIC_ReadParams_t stRead = {2, 0x00A0, 1, &u8Address, 2, au8Data};
    HW_IIC_Read(hBus, &stRead, &stRead.pu8Buf);
    EXPECT_EQ(last(hBus),
              "HW_IIC_Read(handle=H readMode=2 slave=160 addressCount=1 address=[10] size=2 ownBuffer=1) = 0, "
              "data=[de ad]");
    HW_IIC_Read(hBus, &stRead, nullptr);
    EXPECT_THAT(last(), HasSubstr("ownBuffer=0) = 0x8"));

    HW_Handle_t hWindow = 0;
    HW_DISP_GetHandle("HW_DISP_HD0", &hWindow);
    HW_DISP_SetAttr(hWindow, 0x402, &stRead);
    EXPECT_EQ(last(hWindow), "HW_DISP_SetAttr(handle=H attr=1026 value=set) = 0x5") << "of an unknown type";

    const std::vector<HW_U16> red(256, 1), green(256, 2), blue(256, 3);
    const HW_DISP_GammaCurve_t stGamma = {0, 1, {red.data(), green.data(), blue.data()}, {1, 2, 3}};
    HW_DISP_SetPictureParam(hWindow, E_HW_DISP_PICTURE_GAMMA_CURVE, &stGamma);
    EXPECT_THAT(last(), HasSubstr("red=[512 bytes, crc 0xfebe3ede] green=[512 bytes, crc 0x2a82e234] "
                                  "blue=[512 bytes, crc 0x6696a992]"));

    const std::string strPath = "/data/\"q\"\\" + std::string(500, 'x');
    HW_FS_Unlink(strPath.c_str());
    EXPECT_EQ(last(), "HW_FS_Unlink(path=\"/data/\\\"q\\\"\\\\" + std::string(86, 'x') + "\"...) = -1");
    EXPECT_EQ(vset::journal().back().s32Errno, ENAMETOOLONG);
    EXPECT_EQ(vset::journal().front().s32Errno, 0);
}

TEST_F(Journal, DescribesEveryFunction) {
    for (const std::string& strCall : vset::faultNames()) {
        if (strCall != vset::kAllocation && strCall != vset::kThrowingAllocation) {
            EXPECT_THAT(vset::callFields(strCall), ::testing::Contains("result"));
        }
    }
}

TEST_F(Journal, IsBoundedAndKeepsItsOrder) {
    vset::keepJournal(3);
    for (HW_U32 u32Ms = 0; u32Ms < 8; ++u32Ms) {
        HW_OS_DelayTask(0);
        HW_SYS_SetMiuSsc(0, static_cast<HW_U16>(u32Ms), 0, 0);
    }
    std::vector<std::string> lines;
    for (const vset::JournalEntry& stEntry : vset::journal()) {
        lines.push_back(vset::callLine(stEntry));
    }
    EXPECT_THAT(lines, ElementsAre("HW_SYS_SetMiuSsc(miu=0 freq=6 ratio=0 enable=0) = 0", "HW_OS_DelayTask(ms=0) = 0",
                                   "HW_SYS_SetMiuSsc(miu=0 freq=7 ratio=0 enable=0) = 0"));
    EXPECT_EQ(vset::journal().back().u64Number, vset::lastCall());
    vset::keepJournal(2);
    EXPECT_EQ(vset::journal().size(), 2u);
    vset::keepJournal(1);
    HW_OS_DelayTask(1);
    EXPECT_EQ(vset::callLine(vset::journal().at(0)), "HW_OS_DelayTask(ms=1) = 0");
    vset::keepJournal(0);
    HW_OS_DelayTask(0);
    EXPECT_THAT(vset::journal(), IsEmpty());
    vset::keepJournal(65536);
}

TEST_F(Journal, TellsWhichCallsRanWithinAnother) {
    SKIP_UNDER_EMULATION();
    HW_SYS_Init(nullptr);
    EXPECT_EQ(vset::journal().at(0).u64Begun + 1, vset::journal().at(0).u64Number);
    std::vector<vset::JournalEntry> entries;
    const test::Repeating sleeper([] { HW_OS_DelayTask(2); });
    EXPECT_TRUE(test::eventually([&] {
        HW_SYS_Init(nullptr);
        entries = vset::journal();
        const auto within =
            std::adjacent_find(entries.begin(), entries.end(), [](const auto& stInner, const auto& stOuter) {
                return stOuter.u64Begun < stInner.u64Begun && stInner.u64Number < stOuter.u64Number &&
                       stOuter.thread != stInner.thread && stOuter.thread != std::this_thread::get_id();
            });
        return within != entries.end();
    })) << "a sleep that began before an Init, and ended after it";
}

TEST_F(Journal, KeepsRefusals) {
    const HW_GPIO_OpenParams_t stPad = {7};
    const HW_GPIO_HandleParams_t stKey = {7};
    HW_Handle_t hPad = 0;
    vset::keepJournal(0);
    EXPECT_EQ(HW_GPIO_GetHandle(&stKey, &hPad), HW_ERR_FAILED);
    EXPECT_EQ(HW_SYS_Init(nullptr), HW_HAS_INITED);
    EXPECT_EQ(HW_FS_Open("/data/absent", 0), -1);
    EXPECT_EQ(HW_FS_Fopen("/data/absent", "r"), nullptr);
    vset::inject({"HW_GPIO_Open", HW_ERR_BUSY});
    EXPECT_EQ(HW_GPIO_Open(&stPad, &hPad), HW_ERR_BUSY);
    EXPECT_THAT(refused(), IsEmpty());
    EXPECT_EQ(HW_GPIO_Open(&stPad, &hPad), HW_OK);
    EXPECT_EQ(HW_GPIO_Open(&stPad, &hPad), HW_ERR_BUSY);
    EXPECT_EQ(HW_GPIO_GetHandle(nullptr, &hPad), HW_ERR_INVALID_PARAMETER);
    EXPECT_EQ(HW_GPIO_Close(5), HW_ERR_INVALID_HANDLE);
    EXPECT_THAT(refused(),
                ElementsAre("HW_GPIO_Open(pad=7)", "HW_GPIO_GetHandle(params=null)", "HW_GPIO_Close(handle=0x5)"));
    vset::keepJournal(65536);
}

}  // namespace
