// SPDX-License-Identifier: Apache-2.0
// The virtual set's models of system attributes, configuration files and memory.
#include <chrono>
#include <cstring>
#include <filesystem>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "hw3/hw_fs.h"
#include "hw3/hw_os.h"
#include "support/emulation.h"
#include "support/middleware_calls.h"
#include "support/refusals.h"
#include "vset/sys.h"

namespace {

using test::expectRefusals;
using test::kUntouched;
using test::u8;
using Bytes = std::vector<HW_U8>;

// --- System attributes -----------------------------------------------------------------------------------------------

class VsetSys : public test::RunningTest {};

TEST_F(VsetSys, AttributesAreThoseOfTheFolder) {
    vset::sys::CustomerHash hash;
    for (std::size_t i = 0; i < hash.size(); ++i) {
        hash[i] = static_cast<unsigned char>(0xF0 - i);
    }
    vset::sys::setCustomerHash(hash);
    const std::string strPath = "/vendor/" + std::string(119, 'p');  // 127 characters
    vset::sys::setDataIndexPath(strPath);
    vset::powerCycle();
    vset::sys::CustomerHash got = {};
    Bytes path(128, 0xA5);
    HW_SYS_AttrBuffer_t stHash = {got.data(), 16, kUntouched};
    HW_SYS_AttrBuffer_t stPath = {path.data(), 128, kUntouched};
    EXPECT_EQ(HW_SYS_GetAttr(E_HW_SYS_ATTR_CUSTOMER_HASH, &stHash), HW_ERR_NOT_INITED);
    const HW_SYS_InitParams_t stReserved = {1};
    HW_SYS_AttrBuffer_t stShortHash = {got.data(), 15, kUntouched}, stShortPath = {path.data(), 127, kUntouched},
                        stNoBuffer = {nullptr, 128, kUntouched};
    expectRefusals({
        {"init with rubbish", HW_ERR_INVALID_PARAMETER, [&] { return HW_SYS_Init(&stReserved); }},
        {"init", HW_OK, [] { return test::init(HW_SYS_Init); }},
        {"unknown", HW_ERR_NOT_SUPPORT, [&] { return HW_SYS_GetAttr(10, &stHash); }},
        {"no buffer", HW_ERR_INVALID_PARAMETER, [&] { return HW_SYS_GetAttr(12, &stNoBuffer); }},
        {"hash does not fit", HW_ERR_LIMITION, [&] { return HW_SYS_GetAttr(9, &stShortHash); }},
        {"NUL does not fit", HW_ERR_LIMITION, [&] { return HW_SYS_GetAttr(12, &stShortPath); }},
    });
    EXPECT_EQ(got, vset::sys::CustomerHash{});
    EXPECT_EQ(path, Bytes(128, 0xA5));
    EXPECT_EQ(HW_SYS_GetAttr(E_HW_SYS_ATTR_CUSTOMER_HASH, &stHash), HW_OK);
    EXPECT_EQ(got, hash);
    EXPECT_EQ(stHash.u32CopiedSize, 16u);
    EXPECT_EQ(HW_SYS_GetAttr(E_HW_SYS_ATTR_DATAINDEX_PATH, &stPath), HW_OK);
    EXPECT_STREQ(reinterpret_cast<char*>(path.data()), strPath.c_str());
    EXPECT_EQ(stPath.u32CopiedSize, kUntouched);
}

TEST_F(VsetSys, TheChipKeepsWhatItIsTold) {
    write("/data/fw.bin", "firmware");
    HW_U32 u32Value = kUntouched;
    const auto upgrade = [](HW_U32 u32Type, const char* pszPath) {
        return [=] { return HW_SYS_UpgradeFw(u32Type, pszPath != nullptr ? u8(pszPath) : nullptr); };
    };
    const auto spread = [](HW_U32 u32Miu, HW_U8 u8Enable) {
        return [=] { return HW_SYS_SetMiuSsc(u32Miu, 300, 20, u8Enable); };
    };
    const auto useAll = [&](HW_Result_t result) {
        expectRefusals({
            {"spread", result, spread(2, 1)},
            {"firmware", result, upgrade(E_HW_SYS_FW_TARN, "/data/fw.bin")},
            {"write", result, [] { return hw_sys_WriteReg(0x10, 0x20, 0xFFFFFFFF); }},
            {"read", result, [&] { return hw_sys_ReadReg(0x10, 0x20, &u32Value); }},
        });
    };
    useAll(HW_OK);
    expectRefusals({
        {"no fourth interface", HW_ERR_INVALID_PARAMETER, spread(3, 0)},
        {"spread is no flag", HW_ERR_INVALID_PARAMETER, spread(2, 2)},
        {"no such firmware", HW_ERR_INVALID_PARAMETER, upgrade(E_HW_SYS_FW_INVALID, "/data/fw.bin")},
        {"no path", HW_ERR_INVALID_PARAMETER, upgrade(0, nullptr)},
        {"no file", HW_ERR_FAILED, upgrade(0, "/data/none.bin")},
        {"a folder", HW_ERR_FAILED, upgrade(0, "/data")},
        {"register to nowhere", HW_ERR_INVALID_PARAMETER, [] { return hw_sys_ReadReg(0x10, 0x20, nullptr); }},
    });
    EXPECT_EQ(u32Value, 0xFFFFFFFFu);
    EXPECT_EQ(vset::sys::readRegister(0x20, 0x10), 0u) << "bank and offset are no pair";
    vset::sys::writeRegister(0x20, 0x10, 5);
    ASSERT_EQ(vset::sys::writtenRegisters().size(), 2u);
    EXPECT_EQ(vset::sys::writtenRegisters()[0].u32Value, 0xFFFFFFFFu);
    const vset::sys::ClockSpread stSpread = vset::sys::clockSpread(2);
    EXPECT_TRUE(stSpread.bOn && stSpread.u16Freq == 300 && stSpread.u16Ratio == 20);
    EXPECT_FALSE(vset::sys::clockSpread(1).bOn);
    EXPECT_THROW(vset::sys::clockSpread(3), vset::SetError);
    ASSERT_EQ(vset::sys::flashedFirmware().size(), 1u);
    const vset::sys::Firmware stFirmware = vset::sys::flashedFirmware()[0];
    EXPECT_EQ(stFirmware.strPath, "/data/fw.bin");
    EXPECT_EQ(stFirmware.u32Type * 100 + stFirmware.u64Size, 108u);
    EXPECT_EQ(stFirmware.u32Crc32, 0xD5ECD7C4u);
    vset::powerCycle();
    EXPECT_FALSE(vset::sys::clockSpread(2).bOn);
    EXPECT_TRUE(vset::sys::flashedFirmware().empty() && vset::sys::writtenRegisters().empty());
    useAll(HW_ERR_NOT_INITED);
}

// --- Configuration files ---------------------------------------------------------------------------------------------

class VsetConfig : public VsetSys {
protected:
    static HW_Handle_t opened(const std::string& strPath) {
        HW_Handle_t hConfig = 0;
        EXPECT_EQ(HW_SYS_OpenConfigFile(u8(strPath), &hConfig), HW_OK);
        return hConfig;
    }
    static std::string get(HW_Handle_t hConfig, const std::string& strKey) {
        HW_SYS_ConfigData_t stData = {E_HW_SYS_CONFIG_DATA_STRING, 0, nullptr};
        const HW_Result_t result = HW_SYS_GetConfigData(hConfig, u8(strKey), &stData);
        if (result != HW_OK) {
            EXPECT_TRUE(stData.u32Length == 0 && stData.pu8Data == nullptr);
            return "error " + std::to_string(result);
        }
        EXPECT_EQ(stData.pu8Data[stData.u32Length], 0);
        return {reinterpret_cast<const char*>(stData.pu8Data), stData.u32Length};
    }
    static HW_Result_t set(HW_Handle_t hConfig, const std::string& strKey, const std::string& strValue) {
        // The length counts; there is no NUL.
        const Bytes value(strValue.begin(), strValue.end());
        const HW_U8 u8None = 0;
        const HW_SYS_ConfigData_t stData = {E_HW_SYS_CONFIG_DATA_STRING, static_cast<HW_U32>(value.size()),
                                            value.empty() ? &u8None : value.data()};
        return HW_SYS_SetConfigData(hConfig, u8(strKey), &stData);
    }
};

TEST_F(VsetConfig, ReadsAsItIsWritten) {
    write("/data/a.ini",
          "\xEF\xBB\xBFglobal = 0\r\n[ first ]  # section\n  key=value \nQuoted = \"a b\"\ninner = say \"hi\"\n"
          "blanks = \"  x  \"\nhalf = \"x\n;off = 1\n #off = 2\nno value\nempty =\n[other]\nkey = 9\n"
          "colon:key = c\ntwice = 1\ntwice = 2\n[first]\nlate = l = m ; n\r\n[open\nlast = e");
    const HW_Handle_t hConfig = opened("/data/a.ini");
    const std::pair<const char*, const char*> kRows[] = {
        {":global", "0"},          {"first:key", "value"},        {"FIRST:key", "error 3"},  {"first:Key", "error 3"},
        {"first:Quoted", "a b"},   {"first:inner", "say \"hi\""}, {"first:blanks", "  x  "}, {"first:half", "\"x"},
        {"first:empty", ""},       {"first:late", "l = m ; n"},   {"first:last", "e"},       {"first:off", "error 3"},
        {"first:;off", "error 3"}, {"first:no value", "error 3"}, {"first:#off", "error 3"}, {"other:key", "9"},
        {"other:colon:key", "c"},  {"other:twice", "2"},          {"other:late", "error 3"}, {"none:key", "error 3"},
        {"first:", "error 3"},     {"firstkey", "error 8"},       {"", "error 8"},
    };
    for (const auto& [pszKey, pszValue] : kRows) {
        EXPECT_EQ(get(hConfig, pszKey), pszValue) << pszKey;
    }
}

TEST_F(VsetConfig, SettingLeavesEverythingElseAsItIs) {
    const struct {
        const char* pszName;
        const char* pszBefore;
        std::vector<std::pair<const char*, const char*>> values;
        const char* pszAfter;
    } kRows[] = {
        {"in place",
         "# head\n\n[a]\n  k\t=  old   \n; mine\nbad line\nk2=1\n\n\n# about b\n[b]\nk=2\n# tail",
         {{"a:k", "new"}, {"a:k2", "x"}},
         "# head\n\n[a]\n  k\t=  new\n; mine\nbad line\nk2=x\n\n\n# about b\n[b]\nk=2\n# tail"},
        {"added behind the section's last key",
         "[a]\nk=1\n\n# about b\n[b]\n",
         {{"a:n", "2"}, {"b:m", "3"}},
         "[a]\nk=1\nn = 2\n\n# about b\n[b]\nm = 3\n"},
        {"a new section", "[a]\nk=1", {{"c:x", "1"}, {"c:y", "2"}}, "[a]\nk=1\n\n[c]\nx = 1\ny = 2\n"},
        {"an empty file", "", {{"c:x", "1"}}, "[c]\nx = 1\n"},
        {"before all sections", "# head\nk=1\n[a]\n", {{":n", "2"}}, "# head\nk=1\nn = 2\n[a]\n"},
        {"quotes stay", "[a]\nk = \"old\"\n", {{"a:k", "new"}}, "[a]\nk = \"new\"\n"},
        {"of two the one that counts", "[a]\nk=1\nk=2\n", {{"a:k", "3"}}, "[a]\nk=1\nk=3\n"},
        {"line ends of another system", "[a]\r\nk=1\r\n", {{"a:k", "2"}, {"a:n", "3"}}, "[a]\r\nk=2\r\nn = 3\r\n"},
        {"blank lines at the end", "[a]\nk=1\n\n", {{"c:x", "1"}}, "[a]\nk=1\n\n[c]\nx = 1\n"},
        {"an empty value", "[a]\nk =\nm=\r\n", {{"a:k", "1"}, {"a:m", "2"}}, "[a]\nk = 1\nm= 2\r\n"},
        {"byte order mark", "\xEF\xBB\xBF[a]\nk=1\n", {{"a:k", "2"}}, "\xEF\xBB\xBF[a]\nk=2\n"},
    };
    for (const auto& stRow : kRows) {
        SCOPED_TRACE(stRow.pszName);
        write("/data/s.ini", stRow.pszBefore);
        const HW_Handle_t hConfig = opened("/data/s.ini");
        for (const auto& [pszKey, pszValue] : stRow.values) {
            EXPECT_EQ(set(hConfig, pszKey, pszValue), HW_OK);
        }
        EXPECT_EQ(read("/data/s.ini"), stRow.pszBefore) << "only closing writes";
        EXPECT_EQ(HW_SYS_CloseConfigFile(hConfig), HW_OK);
        EXPECT_EQ(read("/data/s.ini"), stRow.pszAfter);
    }
}

TEST_F(VsetConfig, WhatWasSetIsReadBackExactly) {
    write("/data/r.ini", "[a]\nk = \"quoted\"\n");
    HW_Handle_t hConfig = opened("/data/r.ini");
    for (const char* pszKey : {"a:k", "a:new"}) {
        for (const char* pszValue : {"", " ", " x ", "\tx", "\"x\"", "\"", "\"\"", "a\"b", "; no comment", "x = y"}) {
            EXPECT_EQ(set(hConfig, pszKey, pszValue), HW_OK);
            EXPECT_EQ(get(hConfig, pszKey), pszValue);
            EXPECT_EQ(HW_SYS_CloseConfigFile(hConfig), HW_OK);
            hConfig = opened("/data/r.ini");
            EXPECT_EQ(get(hConfig, pszKey), pszValue);
        }
    }
    const std::string strBefore = read("/data/r.ini");
    const std::pair<const char*, std::string> kRefused[] = {{"a:k", "two\nlines"},
                                                            {"a:k", "x\r"},
                                                            {"a:k", std::string("x\0y", 3)},
                                                            {"a:", "x"},
                                                            {"ak", "x"},
                                                            {"a:b=c", "x"},
                                                            {"a:#c", "x"},
                                                            {"a:[c", "x"},
                                                            {"a: k", "x"},
                                                            {"a]:k", "x"},
                                                            {"a\n[b:k", "x"},
                                                            {" a:k", "x"},
                                                            {"a\t:k", "x"},
                                                            {"a:;c", "x"},
                                                            {"a:k ", "x"},
                                                            {"a:\xEF\xBB\xBFk", "x"}};
    for (const auto& [pszKey, strValue] : kRefused) {
        EXPECT_EQ(set(hConfig, pszKey, strValue), HW_ERR_INVALID_PARAMETER) << pszKey;
    }
    struct stat stBefore = {};
    struct stat stAfter = {};
    ASSERT_EQ(stat(vset::hostPath("/data/r.ini").c_str(), &stBefore), 0);
    EXPECT_EQ(HW_SYS_CloseConfigFile(hConfig), HW_OK);
    ASSERT_EQ(stat(vset::hostPath("/data/r.ini").c_str(), &stAfter), 0);
    EXPECT_EQ(stBefore.st_ino, stAfter.st_ino) << "nothing was set, so nothing was written";
    EXPECT_EQ(read("/data/r.ini"), strBefore);
}

TEST_F(VsetConfig, KeepsWhatOthersSetPermissionsAndLinks) {
    write("/data/real.ini", "[a]\nk = 1\n");
    const std::string strLink = vset::hostPath("/data/link.ini");
    std::filesystem::create_symlink("real.ini", strLink);
    chmod("/data/real.ini", 0640);
    const HW_Handle_t hOne = opened("/data/link.ini");
    const HW_Handle_t hTwo = opened("/data/real.ini");
    EXPECT_EQ(set(hOne, "a:k", "one"), HW_OK);
    EXPECT_EQ(set(hOne, "a:m", "one"), HW_OK);
    EXPECT_EQ(set(hTwo, "a:n", "two"), HW_OK);
    EXPECT_EQ(get(hTwo, "a:k"), "1") << "as it was opened";
    EXPECT_EQ(HW_SYS_CloseConfigFile(hOne), HW_OK);
    EXPECT_EQ(HW_SYS_CloseConfigFile(hTwo), HW_OK);
    EXPECT_EQ(read("/data/real.ini"), "[a]\nk = one\nm = one\nn = two\n");
    EXPECT_TRUE(std::filesystem::is_symlink(strLink));
    struct stat stStat = {};
    EXPECT_EQ(HW_FS_Stat("/data/real.ini", &stStat), 0);
    EXPECT_EQ(stStat.st_mode & 07777, 0640u);
}

TEST_F(VsetConfig, HandlesAndTexts) {
    write("/data/h.ini", "[a]\nk = first\n");
    const HW_Handle_t hOne = opened("/data/h.ini");
    const HW_Handle_t hTwo = opened("/data/h.ini");
    EXPECT_NE(hOne, hTwo);
    HW_SYS_ConfigData_t stData = {E_HW_SYS_CONFIG_DATA_STRING, 0, nullptr};
    ASSERT_EQ(HW_SYS_GetConfigData(hOne, u8("a:k"), &stData), HW_OK);
    const auto* pszFirst = reinterpret_cast<const char*>(stData.pu8Data);
    for (int i = 0; i < 100; ++i) {
        set(hOne, "a:k", "value " + std::to_string(i));
        get(hOne, "a:k");
    }
    EXPECT_STREQ(pszFirst, "first") << "valid until the file is closed";
    EXPECT_EQ(get(hTwo, "a:k"), "first") << "each handle has its own copy";
    EXPECT_EQ(HW_SYS_CloseConfigFile(hTwo), HW_OK);
    EXPECT_EQ(HW_SYS_CloseConfigFile(hOne), HW_OK);
    EXPECT_EQ(read("/data/h.ini"), "[a]\nk = value 99\n");

    HW_Handle_t hConfig = kUntouched;
    HW_SYS_ConfigData_t stType = {1, 0, nullptr}, stLength = {2, 1, nullptr}, stText = {2, 0, u8("x")};
    const HW_Handle_t hOpen = opened("/data/h.ini");
    expectRefusals({
        {"closed", HW_ERR_INVALID_HANDLE, [&] { return HW_SYS_CloseConfigFile(hOne); }},
        {"get by a closed one", HW_ERR_INVALID_HANDLE, [&] { return HW_SYS_GetConfigData(hOne, u8("a:k"), &stData); }},
        {"set by a closed one", HW_ERR_INVALID_HANDLE, [&] { return set(hOne, "a:k", "x"); }},
        {"missing", HW_ERR_FAILED, [&] { return HW_SYS_OpenConfigFile(u8("/data/none.ini"), &hConfig); }},
        {"a folder", HW_ERR_FAILED, [&] { return HW_SYS_OpenConfigFile(u8("/data"), &hConfig); }},
        {"other type", HW_ERR_INVALID_PARAMETER, [&] { return HW_SYS_GetConfigData(hOpen, u8("a:k"), &stType); }},
        {"get a length", HW_ERR_INVALID_PARAMETER, [&] { return HW_SYS_GetConfigData(hOpen, u8("a:k"), &stLength); }},
        {"no colon", HW_ERR_INVALID_PARAMETER, [&] { return set(hOpen, "ak", "x"); }},
        {"get into a text", HW_ERR_INVALID_PARAMETER, [&] { return HW_SYS_GetConfigData(hOpen, u8("a:k"), &stText); }},
    });
    EXPECT_EQ(hConfig, kUntouched);
    vset::powerCycle();
    EXPECT_EQ(get(hOpen, "a:k"), "error 7");
    EXPECT_EQ(HW_SYS_OpenConfigFile(u8("/data/h.ini"), &hConfig), HW_ERR_NOT_INITED);
}

// --- Memory ----------------------------------------------------------------------------------------------------------

class VsetMemory : public VsetSys {
protected:
    // Null when nothing is addressable there.
    static HW_U8* at(HW_U64 u64PhysAddr) {
        HW_U64 u64Virt = kUntouched;
        const HW_Result_t result = HW_OS_Pa2NonCachedVa(u64PhysAddr, &u64Virt);
        if (result != HW_OK) {
            EXPECT_EQ(result, HW_ERR_INVALID_PARAMETER);
            EXPECT_EQ(u64Virt, kUntouched);
            return nullptr;
        }
        return reinterpret_cast<HW_U8*>(u64Virt);
    }
    // Every byte can be written, none after the end.
    static void expectMemory(HW_U64 u64Start, HW_U32 u32Length) {
        HW_U8* const pu8Memory = at(u64Start);
        ASSERT_NE(pu8Memory, nullptr);
        EXPECT_NE(reinterpret_cast<HW_U64>(pu8Memory), u64Start);
        EXPECT_EQ(pu8Memory[u32Length - 1], 0);
        std::memset(pu8Memory, 0x5A, u32Length);
        EXPECT_EQ(at(u64Start + u32Length - 1), pu8Memory + u32Length - 1);
        EXPECT_EQ(at(u64Start + u32Length), nullptr);
        EXPECT_EQ(at(u64Start - 1), nullptr);
        volatile HW_U8* const pu8Behind = pu8Memory + u32Length;
        EXPECT_DEATH(*pu8Behind = 0, "");
        volatile HW_U8* const pu8Before = pu8Memory - 1;
        EXPECT_DEATH(*pu8Before = 0, "");
    }
    static HW_Result_t allocate(HW_U32 u32Length, HW_U64* pu64PhysAddr) {
        HW_OS_IommuRequest_t stRequest = {"a name of thirty-two characters", u32Length, 1, 0, kUntouched};
        stRequest.acName[31] = '!';  // no NUL
        const HW_Result_t result = HW_OS_AllocateIommuMemory(&stRequest);
        EXPECT_EQ(stRequest.u64PhysAddr == kUntouched, result != HW_OK);
        *pu64PhysAddr = stRequest.u64PhysAddr;
        return result;
    }
    static HW_Result_t release(HW_U64 u64PhysAddr, HW_U32 u32Length, HW_U32 u32Reserved = 0) {
        const HW_OS_IommuRelease_t stRelease = {u64PhysAddr, u32Length, u32Reserved};
        return HW_OS_FreeIommuMemory(&stRelease);
    }
};

TEST_F(VsetMemory, RegionsAreWhereTheLayoutSays) {
    SKIP_UNDER_EMULATION();
    testing::FLAGS_gtest_death_test_style = "fast";
    const struct {
        HW_U32 u32MmapId;
        const char* pszName;
        HW_U32 u32Miu;
        HW_U32 u32Length;
        bool bAlwaysAddressable;
    } kRows[] = {{E_HW_SYS_MMAP_ID_AN_FBDEV_GOP_BUF, "AN_FBDEV_GOP_BUF", E_HW_SYS_MIU_0, 0x1800000, true},
                 {E_HW_SYS_MMAP_ID_FACTORY_CANVAS, "FACTORY_CANVAS", E_HW_SYS_MIU_1, 0x400000, false}};
    for (const auto& stRow : kRows) {
        SCOPED_TRACE(stRow.u32MmapId);
        HW_SYS_MmapInfo_t stInfo = {};
        ASSERT_EQ(HW_SYS_GetMmapLayout(stRow.u32MmapId, &stInfo), HW_OK);
        EXPECT_EQ(stInfo.u32Length, stRow.u32Length);
        EXPECT_EQ(stInfo.u32MmapId, stRow.u32MmapId);
        EXPECT_EQ(stInfo.u32Miu, stRow.u32Miu);
        EXPECT_EQ(stInfo.u32Alignment, 0x1000u);
        EXPECT_STREQ(reinterpret_cast<const char*>(stInfo.au8Name), stRow.pszName);
        EXPECT_NE(stInfo.u64MiuBase, 0u);
        EXPECT_NE(stInfo.u64Offset, 0u);
        const HW_U64 u64Start = stInfo.u64MiuBase + stInfo.u64Offset;
        EXPECT_EQ(u64Start % 0x1000, 0u);
        EXPECT_EQ(at(u64Start) != nullptr, stRow.bAlwaysAddressable);
        EXPECT_EQ(release(u64Start, stRow.u32Length), HW_ERR_INVALID_PARAMETER) << "no memory of the IOMMU";
        const std::vector<vset::sys::MemoryArea> map = vset::sys::memoryMap();
        const vset::sys::MemoryArea& stArea = map.at(stRow.bAlwaysAddressable ? 0 : 1);
        EXPECT_EQ(stArea.strName, stRow.pszName);
        EXPECT_EQ(stArea.u32MmapId, stRow.u32MmapId);
        EXPECT_EQ(stArea.u64Start, u64Start);
        EXPECT_EQ(stArea.bAddressable, stRow.bAlwaysAddressable);

        HW_SYS_MmapInfo_t stAllocated = {};
        EXPECT_EQ(HW_SYS_FreeMmapLayout(stRow.u32MmapId), HW_ERR_FAILED);
        ASSERT_EQ(HW_SYS_AllocateMmapLayout(stRow.u32MmapId, &stAllocated), HW_OK);
        EXPECT_EQ(std::memcmp(&stInfo, &stAllocated, sizeof(stInfo)), 0);
        EXPECT_EQ(HW_SYS_AllocateMmapLayout(stRow.u32MmapId, &stAllocated), HW_ERR_BUSY);
        expectMemory(u64Start, stRow.u32Length);
        EXPECT_THROW(vset::sys::resizeRegion(stRow.u32MmapId, 1), vset::SetError) << "while it is allocated";
        ASSERT_EQ(HW_SYS_FreeMmapLayout(stRow.u32MmapId), HW_OK);
        EXPECT_EQ(at(u64Start) != nullptr, stRow.bAlwaysAddressable);

        vset::sys::resizeRegion(stRow.u32MmapId, 0x2000);
        ASSERT_EQ(HW_SYS_AllocateMmapLayout(stRow.u32MmapId, &stInfo), HW_OK);
        EXPECT_EQ(stInfo.u32Length, 0x2000u);
        expectMemory(u64Start, 0x2000);
        vset::powerCycle();
        ASSERT_EQ(HW_SYS_Init(nullptr), HW_OK);
        EXPECT_EQ(at(u64Start) != nullptr, stRow.bAlwaysAddressable);
        ASSERT_EQ(HW_SYS_GetMmapLayout(stRow.u32MmapId, &stInfo), HW_OK);
        EXPECT_EQ(stInfo.u32Length, stRow.u32Length);
    }
}

TEST_F(VsetMemory, TheIommuHandsOutWhatItHas) {
    SKIP_UNDER_EMULATION();
    testing::FLAGS_gtest_death_test_style = "fast";
    HW_U64 u64First = 0;
    HW_U64 u64Second = 0;
    ASSERT_EQ(allocate(0x8000, &u64First), HW_OK);
    ASSERT_EQ(allocate((64u << 20) - 0x8000, &u64Second), HW_OK);
    EXPECT_GT(u64Second, 0xFFFFFFFFu) << "an address cut to 32 bits shows";
    expectMemory(u64First, 0x8000);
    EXPECT_EQ(vset::sys::memoryMap().size(), 4u);
    EXPECT_EQ(vset::sys::memoryMap()[2].strName, "a name of thirty-two characters!");
    EXPECT_EQ(vset::sys::memoryMap()[2].u32MmapId, 0u) << "no region of the layout";
    HW_U64 u64Third = 0;
    const HW_OS_IommuRequest_t aWrong[] = {{"", 0x4000, 0, 0, kUntouched}, {"", 0x4000, 1, 1, kUntouched}};
    for (HW_OS_IommuRequest_t stWrong : aWrong) {
        EXPECT_EQ(HW_OS_AllocateIommuMemory(&stWrong), HW_ERR_INVALID_PARAMETER);
        EXPECT_EQ(stWrong.u64PhysAddr, kUntouched);
    }
    expectRefusals({
        {"one unit too many", HW_ERR_MEMORY_ALLOCATE, [&] { return allocate(0x4000, &u64Third); }},
        {"nothing", HW_ERR_INVALID_PARAMETER, [&] { return allocate(0, &u64Third); }},
        {"no whole unit", HW_ERR_INVALID_PARAMETER, [&] { return allocate(0x1000, &u64Third); }},
        {"free another length", HW_ERR_INVALID_PARAMETER, [&] { return release(u64First, 0x4000); }},
        {"free inside", HW_ERR_INVALID_PARAMETER, [&] { return release(u64First + 0x1000, 0x8000); }},
        {"free with rubbish", HW_ERR_INVALID_PARAMETER, [&] { return release(u64First, 0x8000, 1); }},
        {"free", HW_OK, [&] { return release(u64First, 0x8000); }},
        {"free twice", HW_ERR_INVALID_PARAMETER, [&] { return release(u64First, 0x8000); }},
    });
    EXPECT_EQ(at(u64First), nullptr);
    ASSERT_EQ(allocate(0x4000, &u64Third), HW_OK);
    EXPECT_NE(u64Third, u64First) << "an old address stays dead";
    vset::powerCycle();
    EXPECT_EQ(allocate(0x4000, &u64Third), HW_ERR_NOT_INITED);
    ASSERT_EQ(HW_SYS_Init(nullptr), HW_OK);
    EXPECT_EQ(at(u64Second), nullptr);
    vset::sys::setIommuMemory(0x4000);
    EXPECT_EQ(allocate(0x8000, &u64Third), HW_ERR_MEMORY_ALLOCATE);
}

TEST_F(VsetMemory, TheMemoryMapRefusesWhatItHasNot) {
    HW_SYS_MmapInfo_t stInfo = {};
    stInfo.u32Length = kUntouched;
    expectRefusals({
        {"unknown", HW_ERR_INVALID_PARAMETER, [&] { return HW_SYS_AllocateMmapLayout(1, &stInfo); }},
        {"unknown", HW_ERR_INVALID_PARAMETER, [&] { return HW_SYS_GetMmapLayout(346, &stInfo); }},
        {"unknown", HW_ERR_INVALID_PARAMETER, [&] { return HW_SYS_FreeMmapLayout(0); }},
    });
    EXPECT_EQ(at(0), nullptr);
    EXPECT_EQ(at(~HW_U64{0}), nullptr);
    EXPECT_THROW(vset::sys::resizeRegion(1, 0x1000), vset::SetError);
    EXPECT_THROW(vset::sys::resizeRegion(378, vset::sys::kRegionLimit + 1), vset::SetError);
    EXPECT_NO_THROW(vset::sys::resizeRegion(378, vset::sys::kRegionLimit));
    HW_U64 u64Out = kUntouched;
    vset::powerCycle();
    expectRefusals({
        {"layout", HW_ERR_NOT_INITED, [&] { return HW_SYS_GetMmapLayout(347, &stInfo); }},
        {"region", HW_ERR_NOT_INITED, [&] { return HW_SYS_AllocateMmapLayout(378, &stInfo); }},
        {"free region", HW_ERR_NOT_INITED, [] { return HW_SYS_FreeMmapLayout(378); }},
        {"memory", HW_ERR_NOT_INITED, [&] { return allocate(0x4000, &u64Out); }},
        {"free memory", HW_ERR_NOT_INITED, [] { return release(0x100000000, 0x4000); }},
        {"address", HW_ERR_NOT_INITED, [&] { return HW_OS_Pa2NonCachedVa(0x2A000000, &u64Out); }},
    });
    EXPECT_EQ(stInfo.u32Length, kUntouched);
    EXPECT_EQ(u64Out, kUntouched);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(HW_OS_DelayTask(30), HW_OK) << "works before HW_SYS_Init";
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(30));
}

TEST_F(VsetSys, NullIsRefusedWhereItIsNotAllowed) {
    HW_Handle_t hConfig = 0;
    ASSERT_EQ(HW_SYS_OpenConfigFile(u8("/vendor/factory/config/ir.ini"), &hConfig), HW_OK);
    HW_SYS_ConfigData_t stNoText = {E_HW_SYS_CONFIG_DATA_STRING, 1, nullptr};
    const std::function<HW_Result_t()> kCalls[] = {
        [&] { return HW_SYS_GetAttr(9, nullptr); },
        [&] { return HW_SYS_OpenConfigFile(nullptr, &hConfig); },
        [&] { return HW_SYS_OpenConfigFile(u8("/vendor/factory/config/ir.ini"), nullptr); },
        [&] { return HW_SYS_GetConfigData(hConfig, nullptr, &stNoText); },
        [&] { return HW_SYS_GetConfigData(hConfig, u8("IR:IR_FORMAT"), nullptr); },
        [&] { return HW_SYS_SetConfigData(hConfig, u8("IR:IR_FORMAT"), nullptr); },
        [&] { return HW_SYS_SetConfigData(hConfig, u8("IR:IR_FORMAT"), &stNoText); },
        [&] { return HW_SYS_GetMmapLayout(347, nullptr); },
        [&] { return HW_SYS_AllocateMmapLayout(378, nullptr); },
        [&] { return HW_OS_AllocateIommuMemory(nullptr); },
        [&] { return HW_OS_FreeIommuMemory(nullptr); },
        [&] { return HW_OS_Pa2NonCachedVa(0x2A000000, nullptr); },
    };
    for (const auto& call : kCalls) {
        EXPECT_EQ(call(), HW_ERR_INVALID_PARAMETER) << &call - kCalls;
    }
}

}  // namespace
