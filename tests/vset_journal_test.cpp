// SPDX-License-Identifier: Apache-2.0
// What the journal tells of a call, and what counts as a refusal.
#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>
#include <functional>
#include <numeric>
#include <thread>

#include "hw3/hw_aout.h"
#include "hw3/hw_disp.h"
#include "hw3/hw_dispout.h"
#include "hw3/hw_extin.h"
#include "hw3/hw_flash.h"
#include "hw3/hw_fs.h"
#include "hw3/hw_gpio.h"
#include "hw3/hw_iic.h"
#include "hw3/hw_net.h"
#include "hw3/hw_os.h"
#include "hw3/hw_pm.h"
#include "hw3/hw_sar.h"
#include "hw3/hw_wdt.h"
#include "support/emulation.h"
#include "support/middleware_calls.h"
#include "support/refusals.h"
#include "support/waiting.h"
#include "vset/disp.h"
#include "vset/journal.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// Returns a record that lives as long as the test program.
template <class Record>
Record* of(const Record& stRecord) {
    static auto& records = *new std::deque<Record>;
    return &records.emplace_back(stRecord);
}

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

TEST_F(Journal, TellsOddValuesAndWhatIsMissing) {
    HW_U8 au8[512] = {0x80};
    std::copy_n("value", 5, au8 + 20);
    HW_Handle_t hOut = 0;
    const auto advanced = [](HW_U32 u32Type) {
        auto* const pstParams = of<HW_AOUT_AdvSndParams_t>({u32Type, {}});
        std::iota(std::begin(pstParams->attr.au8Raw), std::end(pstParams->attr.au8Raw), HW_U8{1});
        return pstParams;
    };
    const std::pair<std::function<void()>, const char*> kRows[] = {
        {[&] { HW_SAR_GetHandle(of<HW_SAR_HandleParams_t>({9}), &hOut); }, "HW_SAR_GetHandle(channel=9) = 0x8"},
        {[&] {
             HW_SAR_Open(of<HW_SAR_OpenParams_t>({2, 3, 4, nullptr}), &hOut);
         },
         "HW_SAR_Open(mode=2 channel=3 keypads=4 keypad=null) = 0x8"},
        {[&] {
             HW_IIC_Write(1, of<HW_IIC_WriteParams_t>({{0x1234, 5, au8, 16, au8}}), nullptr);
         },
         "HW_IIC_Write(handle=0x1 slave=4660 addressCount=5 address=[80 00 00 00] size=16 data=[80 00 00 00 00 00 00 "
         "00 00 00 00 00 00 00 00 00]) = 0x7"},
        {[&] {
             HW_IIC_Write(1, of<HW_IIC_WriteParams_t>({{0x1234, 0, nullptr, 17, au8}}), nullptr);
         },
         "HW_IIC_Write(handle=0x1 slave=4660 addressCount=0 address=null size=17 data=[17 bytes, crc 0x73633a55]) = "
         "0x7"},
        {[&] { HW_IIC_Read(1, nullptr, nullptr); }, "HW_IIC_Read(handle=0x1 params=null ownBuffer=0) = 0x7"},
        {[&] {
             HW_PM_SetAttr(1, 260, of<HW_PM_LedControl_t>({{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}, 13}));
         },
         "HW_PM_SetAttr(handle=0x1 param=260 color=1,2,3,4,5,6,7,8,9,10,11,12 leds=13) = 0x7"},
        {[&] { HW_PM_SetAttr(1, 261, au8); }, "HW_PM_SetAttr(handle=0x1 param=261 value=set) = 0x7"},
        {[&] { HW_PM_SetAttr(1, 261, nullptr); }, "HW_PM_SetAttr(handle=0x1 param=261 value=null) = 0x7"},
        {[&] { HW_WDT_SetAttr(1, 5, au8); }, "HW_WDT_SetAttr(handle=0x1 attr=5 param=set) = 0x7"},
        {[&] { HW_WDT_GetAttr(1, 5, au8, nullptr); }, "HW_WDT_GetAttr(handle=0x1 attr=5 input=set) = 0x7"},
        {[&] {
             HW_NET_Open(of<HW_NET_OpenParams_t>(
                             {{'s', 'i', 'x', 't', 'e', 'e', 'n', 'l', 'e', 't', 't', 'e', 'r', 's', '1', '6'}}),
                         &hOut);
         },
         "HW_NET_Open(name=\"sixteenletters16\") = 0x4"},
        {[&] {
             HW_EXTIN_SetAttr(1, E_HW_EXTIN_ATTR_HDMI_EDID, of<HW_EXTIN_HdmiEdid_t>({1, 2, au8, 512}));
         },
         "HW_EXTIN_SetAttr(handle=0x1 attr=1 reserved=1 version=2 size=512 data=[512 bytes, crc 0x7f7c7203]) = 0x7"},
        {[&] {
             HW_EXTIN_SetAttr(1, E_HW_EXTIN_ATTR_HDMI_EDID, of<HW_EXTIN_HdmiEdid_t>({1, 2, au8, 513}));
         },
         "HW_EXTIN_SetAttr(handle=0x1 attr=1 reserved=1 version=2 size=513 data=[]) = 0x7"},
        {[&] { HW_EXTIN_SetAttr(1, E_HW_EXTIN_ATTR_HDMI_HPD, nullptr); },
         "HW_EXTIN_SetAttr(handle=0x1 attr=9 value=null) = 0x7"},
        {[&] {
             HW_AOUT_SetAttr(1, 0x1001, of<HW_AOUT_BasicSound_t>({3, 4, 5, 6, {}}));
         },
         "HW_AOUT_SetAttr(handle=0x1 attr=4097 type=3 enable=4 value=6) = 0x7"},
        {[&] { HW_AOUT_SetAttr(1, 0x1004, advanced(1)); },
         "HW_AOUT_SetAttr(handle=0x1 attr=4100 type=1 attr=[1600 bytes, crc 0x2fd19c3f] "
         "enable5To11=17,18,19,20,21,22,23 enable12To16=33,34,35,36,37) = 0x7"},
        {[&] { HW_AOUT_SetAttr(1, 0x1004, advanced(2)); },
         "HW_AOUT_SetAttr(handle=0x1 attr=4100 type=2 attr=[1600 bytes, crc 0x2fd19c3f] enable=1,2,3,4) = 0x7"},
        {[&] { HW_AOUT_SetAttr(1, 0x1004, advanced(48)); },
         "HW_AOUT_SetAttr(handle=0x1 attr=4100 type=48 attr=[1600 bytes, crc 0x2fd19c3f] total=1 atmos=2 "
         "preGain=134678021) = 0x7"},
        {[&] { HW_AOUT_SetAttr(1, 0x1004, advanced(49)); },
         "HW_AOUT_SetAttr(handle=0x1 attr=4100 type=49 attr=[1600 bytes, crc 0x2fd19c3f] total=1 atmos=2 "
         "preGain=134678021) = 0x7"},
        {[&] { HW_AOUT_SetAttr(1, 0x1004, advanced(255)); },
         "HW_AOUT_SetAttr(handle=0x1 attr=4100 type=255 attr=[1600 bytes, crc 0x2fd19c3f]) = 0x7"},
        {[&] { HW_AOUT_GetAttr(1, 0x1001, of<HW_U8>(12), nullptr); },
         "HW_AOUT_GetAttr(handle=0x1 attr=4097 input=12) = 0x7"},
        {[&] { HW_AOUT_GetAttr(1, 0x1001, nullptr, nullptr); },
         "HW_AOUT_GetAttr(handle=0x1 attr=4097 input=null) = 0x7"},
        {[&] { HW_AOUT_GetAttr(1, 0x1000, au8, nullptr); }, "HW_AOUT_GetAttr(handle=0x1 attr=4096 input=set) = 0x7"},
        {[&] { HW_AOUT_GetAttr(1, 0x1000, nullptr, nullptr); },
         "HW_AOUT_GetAttr(handle=0x1 attr=4096 input=null) = 0x7"},
        {[&] { HW_DISP_SetAttr(1, 1, nullptr); }, "HW_DISP_SetAttr(handle=0x1 attr=1 value=null) = 0x7"},
        {[&] {
             HW_DISPOUT_PanelSetAttr(1, 7, of<HW_DISPOUT_Panel7_t>({8, 9}));
         },
         "HW_DISPOUT_PanelSetAttr(handle=0x1 attr=7 a=8 b=9) = 0x7"},
        {[&] {
             HW_DISPOUT_PanelSetAttr(1, 8, of<HW_DISPOUT_Panel8_t>({6, 7, 8, 9}));
         },
         "HW_DISPOUT_PanelSetAttr(handle=0x1 attr=8 a=6 b=7 c=8 d=9) = 0x7"},
        {[&] { HW_DISPOUT_PanelGetAttr(1, 8, au8, nullptr); },
         "HW_DISPOUT_PanelGetAttr(handle=0x1 attr=8 input=set) = 0x7"},
        {[&] { HW_SYS_GetAttr(12, nullptr); }, "HW_SYS_GetAttr(attr=12 param=null) = 0x8"},
        {[&] {
             HW_SYS_GetAttr(12, of<HW_SYS_AttrBuffer_t>({nullptr, 8, 9}));
         },
         "HW_SYS_GetAttr(attr=12 buffer=null bufferSize=8) = 0x8"},
        {[&] { HW_SYS_AllocateMmapLayout(378, of<HW_SYS_MmapInfo_t>({})); },
         "HW_SYS_AllocateMmapLayout(id=378) = 0, miuBase=1610612736 offset=16777216 length=4194304 id=378 miu=1 "
         "alignment=4096 name=\"FACTORY_CANVAS\""},
        {[&] { HW_SYS_FreeMmapLayout(9); }, "HW_SYS_FreeMmapLayout(id=9) = 0x8"},
        {[&] {
             HW_SYS_SetConfigData(1, test::u8("a:k"), of<HW_SYS_ConfigData_t>({2, 3, au8 + 20}));
         },
         "HW_SYS_SetConfigData(handle=0x1 key=\"a:k\" type=2 length=3 data=\"val\") = 0x7"},
        {[&] { HW_SYS_GetConfigData(1, nullptr, nullptr); },
         "HW_SYS_GetConfigData(handle=0x1 key=null data=null) = 0x8"},
        {[&] { HW_FLASH_SetEnvVar(1, nullptr); },
         "HW_FLASH_SetEnvVar(handle=0x1 image=null key=null value=null) = 0x7"},
        {[&] {
             HW_FLASH_SetEnvVar(1, of<HW_FLASH_EnvVar_t>({au8, test::u8("k"), nullptr}));
         },
         "HW_FLASH_SetEnvVar(handle=0x1 image=set key=\"k\" value=null) = 0x7"},
        {[&] { HW_FLASH_Write(1, nullptr, nullptr); }, "HW_FLASH_Write(handle=0x1 transfer=null) = 0x7"},
        {[&] {
             HW_FLASH_Write(1, of<HW_FLASH_Transfer_t>({1, nullptr, 2, au8, 3}), nullptr);
         },
         "HW_FLASH_Write(handle=0x1 type=1 partition=null offset=2 length=3 buffer=set) = 0x7"},
        {[&] { HW_OS_AllocateIommuMemory(nullptr); }, "HW_OS_AllocateIommuMemory(request=null) = 0x8"},
        {[&] {
             HW_OS_AllocateIommuMemory(of<HW_OS_IommuRequest_t>({"n", 2, 3, 4, 5}));
         },
         "HW_OS_AllocateIommuMemory(name=\"n\" length=2 word1=3 word0=4) = 0x8"},
        {[&] { HW_FS_Open("/f", -1); }, "HW_FS_Open(path=\"/f\" flags=-1) = -2"},
        {[&] { HW_FS_Open("/f", 9); }, "HW_FS_Open(path=\"/f\" flags=9) = -2"},
        {[&] { HW_FS_Open("/f", 10); }, "HW_FS_Open(path=\"/f\" flags=10) = -2"},
        {[&] { HW_FS_Unlink(std::string(96, 'u').c_str()); },
         "HW_FS_Unlink(path="
         "\"uuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuu\") = -1"},
        {[&] { HW_FS_Unlink(std::string(97, 'u').c_str()); },
         "HW_FS_Unlink(path="
         "\"uuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuu\"...) = "
         "-1"},
    };
    for (const auto& [call, pszLine] : kRows) {
        call();
        EXPECT_EQ(last(), pszLine);
    }
    // A line that is too long is cut once.
    HW_Handle_t hMain = 0, ahModules[64] = {};
    HW_DISP_GetHandle("HW_DISP_HD0", &hMain);
    vset::disp::setModuleCount(0, 64);
    HW_DISP_GetConnected(hMain, of<HW_DISP_ConnectQuery_t>({1, E_HW_DISP_MODULE_VIDEO, 1}), 64, ahModules);
    const std::string strModules = vset::journal().back().strOutputs;
    EXPECT_EQ(strModules.find('.'), 1000u);
    EXPECT_EQ(strModules.substr(1000), "...");
}

TEST_F(Journal, KnowsTheFieldsOfRecordsThatDiffer) {
    const std::pair<const char*, const char*> kRows[] = {
        {"HW_AOUT_GetAttr",
         "atmos attr band enable enable12To16 enable5To11 field4 field5 firstVolume freq gain handle input preGain q "
         "result sonicMode surroundMode table total type value volumeMode"},
        {"HW_AOUT_SetAttr",
         "atmos attr band enable enable12To16 enable5To11 field4 field5 firstVolume freq gain handle preGain q result "
         "sonicMode surroundMode table total type value volumeMode"},
        {"HW_DISP_GetConnected", "handle kind module result room word0 word2"},
        {"HW_DISP_GetPictureParam",
         "blue enable green handle index input kind last max min param red result type value version word0 word1"},
        {"HW_DISPOUT_PanelGetAttr",
         "a attr b c customer d data enable handle input max min model project result span step value version"},
        {"HW_EXTIN_GetAttr",
         "attr blue blueGain blueOffset data frameRate green greenGain greenOffset handle height input interlaced "
         "level red redGain redOffset reserved result size value version width"},
        {"HW_IIC_Read", "address addressCount data handle ownBuffer readMode result size slave"},
        {"HW_NET_GetInterfaceName", "count name result"},
        {"HW_OS_AllocateIommuMemory", "length name physAddr result word0 word1"},
        {"HW_PM_SetAttr", "color handle leds param result value"},
        {"HW_SAR_Open",
         "channel firstBound handle keyCode keyLevels keyThreshold keypad keypadChannel keypads mode result "
         "secondBound"},
        {"HW_SYS_GetAttr", "attr buffer bufferSize hash path result"},
        {"HW_SYS_GetConfigData", "data handle key length result type"},
        {"HW_FLASH_SetEnvVar", "handle image key result value"},
    };
    for (const auto& [pszCall, pszFields] : kRows) {
        std::string strFields;
        for (const std::string& strField : vset::callFields(pszCall)) {
            strFields += (strFields.empty() ? "" : " ") + strField;
        }
        EXPECT_EQ(strFields, pszFields) << pszCall;
    }
    EXPECT_THROW(vset::callFields("HW_NOTHING"), vset::SetError);
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
    for (int i = 0; i < 4100; ++i) {
        HW_GPIO_Close(6);
    }
    EXPECT_EQ(vset::refusals(0).size(), 4096u) << "the last ones";
    EXPECT_EQ(vset::refusals(vset::refusalCount() - 1).at(0).strArguments, "handle=0x6");
    vset::keepJournal(65536);
}

}  // namespace
