// SPDX-License-Identifier: Apache-2.0
// The virtual set's flash: boot environments and partitions.
#include <algorithm>
#include <csignal>
#include <cstring>
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "hw3/hw_flash.h"
#include "support/emulation.h"
#include "support/middleware_calls.h"
#include "support/process.h"
#include "support/refusals.h"
#include "vset/flash.h"

namespace {

using test::expectRefusals;
using test::kUntouched;
using test::u8;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;
using Image = std::vector<HW_U8>;

constexpr std::size_t kImageSize = 65536;

HW_U32 storedCrc(const Image& image) {
    return static_cast<HW_U32>(image[0]) | static_cast<HW_U32>(image[1]) << 8 | static_cast<HW_U32>(image[2]) << 16 |
           static_cast<HW_U32>(image[3]) << 24;
}

class VsetFlash : public test::MiddlewareTest {
protected:
    void SetUp() override {
        MiddlewareTest::SetUp();
        switchOn();
    }

    static void switchOn() {
        ASSERT_EQ(HW_SYS_Init(nullptr), HW_OK);
        ASSERT_EQ(test::init(HW_FLASH_Init), HW_OK);
    }
    static HW_Handle_t opened(HW_U32 u32Type = E_HW_FLASH_TYPE_EMMC) {
        return test::handleOf(HW_FLASH_Open, {u32Type, {}});
    }

    static HW_Result_t setVar(HW_Handle_t hFlash, Image& image, const std::string& strKey, std::string strValue) {
        const HW_FLASH_EnvVar_t stVar = {image.data(), u8(strKey), reinterpret_cast<HW_U8*>(strValue.data())};
        return HW_FLASH_SetEnvVar(hFlash, &stVar);
    }
    // The value, or "error N" with an untouched buffer of exactly the promised size.
    static std::string getVar(HW_Handle_t hFlash, Image& image, const std::string& strKey) {
        Image value(HW_FLASH_ENV_VALUE_SIZE, 0xA5);
        const HW_FLASH_EnvVar_t stVar = {image.data(), u8(strKey), value.data()};
        const HW_Result_t result = HW_FLASH_GetEnvVar(hFlash, &stVar);
        if (result != HW_OK) {
            EXPECT_EQ(value, Image(HW_FLASH_ENV_VALUE_SIZE, 0xA5));
            return "error " + std::to_string(result);
        }
        EXPECT_NE(std::memchr(value.data(), 0, value.size()), nullptr);
        return reinterpret_cast<char*>(value.data());
    }
    static Image imageOf(const std::string& strRecords) {
        Image image(kImageSize);
        std::copy(strRecords.begin(), strRecords.end(), image.begin() + 4);
        return image;
    }

    static HW_Result_t transfer(decltype(HW_FLASH_Read)* pTransfer, HW_Handle_t hFlash, const char* pszPartition,
                                HW_U32 u32Offset, Image& bytes, HW_U32* pu32Report) {
        const HW_FLASH_Transfer_t stTransfer = {E_HW_FLASH_TYPE_EMMC, u8(pszPartition), u32Offset, bytes.data(),
                                                static_cast<HW_U32>(bytes.size())};
        return pTransfer(hFlash, &stTransfer, pu32Report);
    }
    static Image readBack(HW_Handle_t hFlash, const char* pszPartition, HW_U32 u32Offset, std::size_t size) {
        Image bytes(size, 0xA5);
        HW_U32 u32Report = 0;
        EXPECT_EQ(transfer(HW_FLASH_Read, hFlash, pszPartition, u32Offset, bytes, &u32Report), HW_OK);
        EXPECT_EQ(u32Report, size);
        return bytes;
    }
};

TEST_F(VsetFlash, RefusesWhatIsWrong) {
    HW_Handle_t hFlash = kUntouched;
    const HW_Handle_t hOpen = opened();
    HW_U32 u32Report = kUntouched;
    Image image = imageOf("k=v");
    HW_U8* const pu8Image = image.data();
    const HW_FLASH_EnvVar_t stNoImage = {nullptr, u8("k"), pu8Image}, stNoKey = {pu8Image, nullptr, pu8Image},
                            stNoValue = {pu8Image, u8("k"), nullptr};
    const HW_FLASH_Transfer_t stTransfer = {2, u8("misc"), 0, pu8Image, 1};
    HW_FLASH_OpenParams_t stNamed = {};
    HW_FLASH_HandleParams_t stAlsoNamed = {};
    stNamed.au8Name[0] = stAlsoNamed.au8Name[127] = 1;
    expectRefusals({
        {"open by name", HW_ERR_INVALID_PARAMETER, [&] { return HW_FLASH_Open(&stNamed, &hFlash); }},
        {"find by name", HW_ERR_INVALID_PARAMETER, [&] { return HW_FLASH_GetHandle(&stAlsoNamed, &hFlash); }},
        {"read uncounted", HW_ERR_INVALID_PARAMETER, [&] { return HW_FLASH_Read(hOpen, &stTransfer, nullptr); }},
        {"write uncounted", HW_ERR_INVALID_PARAMETER, [&] { return HW_FLASH_Write(hOpen, &stTransfer, nullptr); }},
    });
    for (const HW_FLASH_EnvVar_t* pstVar :
         {static_cast<const HW_FLASH_EnvVar_t*>(nullptr), &stNoImage, &stNoKey, &stNoValue}) {
        EXPECT_EQ(HW_FLASH_GetEnvVar(hOpen, pstVar), HW_ERR_INVALID_PARAMETER);
        EXPECT_EQ(HW_FLASH_SetEnvVar(hOpen, pstVar), HW_ERR_INVALID_PARAMETER);
    }
    EXPECT_EQ(hFlash, kUntouched);
    EXPECT_EQ(u32Report, kUntouched);
    EXPECT_EQ(image, imageOf("k=v"));
}

TEST_F(VsetFlash, TheEnvironmentIsStoredAsBootLoadersKeepIt) {
    HW_Handle_t hFlash = opened(E_HW_FLASH_TYPE_SPI_NOR);
    Image image(kImageSize, 0xA5);
    ASSERT_EQ(HW_FLASH_LoadEnv(hFlash, image.data()), HW_OK);
    EXPECT_EQ(Image(image.begin() + 4, image.end()), Image(kImageSize - 4)) << "erased flash is an empty environment";
    EXPECT_EQ(storedCrc(image), 0x510B66BFu);
    EXPECT_EQ(setVar(hFlash, image, "b", "1"), HW_OK);
    EXPECT_EQ(setVar(hFlash, image, "a", "x=y"), HW_OK);
    EXPECT_TRUE(vset::flash::environment(E_HW_FLASH_TYPE_SPI_NOR).empty()) << "setting changes the image only";
    const Image edited = image;
    ASSERT_EQ(HW_FLASH_StoreEnv(hFlash, image.data()), HW_OK);
    EXPECT_EQ(image, edited) << "the caller's image is only read";

    const std::string strFile = test::readFile(folder() + "/env/spi_nor.img");
    const Image stored(strFile.begin(), strFile.end());
    ASSERT_EQ(stored.size(), kImageSize);
    EXPECT_EQ(strFile.substr(4, 11), std::string("b=1\0a=x=y\0\0", 11));
    EXPECT_EQ(storedCrc(stored), 0xFDEECD10u);

    vset::powerCycle();
    switchOn();
    hFlash = opened(E_HW_FLASH_TYPE_SPI_NOR);
    ASSERT_EQ(HW_FLASH_LoadEnv(hFlash, image.data()), HW_OK);
    EXPECT_EQ(image, stored);
    EXPECT_EQ(getVar(hFlash, image, "a"), "x=y");
    EXPECT_THAT(vset::flash::environment(E_HW_FLASH_TYPE_SPI_NOR), ElementsAre(Pair("a", "x=y"), Pair("b", "1")));
    EXPECT_EQ(vset::flash::environment(E_HW_FLASH_TYPE_EMMC).at("bootdelay"), "0") << "each type has its own";
    EXPECT_EQ(vset::flash::environment(E_HW_FLASH_TYPE_EMMC).at("model"), "LM-VSET");
}

TEST_F(VsetFlash, SettingEditsTheRecordsInPlace) {
    const HW_Handle_t hFlash = opened();
    const std::string strFull(kImageSize - 4 - 4, 'f');  // "k=", its NUL, and the empty record fill the image
    const auto nul = [](std::string strText) {
        std::replace(strText.begin(), strText.end(), '|', '\0');
        return strText;
    };
    const struct {
        const char* pszName;
        std::string strBefore;
        const char* pszKey;
        std::string strValue;
        HW_Result_t result;
        std::string strAfter;
    } kRows[] = {
        {"longer, first", "a=1|b=2|c=3|", "a", "111", HW_OK, "a=111|b=2|c=3||"},
        {"shorter, middle", "a=1|b=222|c=3|", "b", "2", HW_OK, "a=1|b=2|c=3|||"},
        {"empty stays a record", "a=1|b=2|", "a", "", HW_OK, "a=|b=2||"},
        {"not a prefix", "ab=1|", "a", "2", HW_OK, "ab=1|a=2||"},
        {"record without '='", "junk|a=1|", "a", "2", HW_OK, "junk|a=2||"},
        {"leftovers behind the end stay away", "a=1||b=9|", "b", "2", HW_OK, "a=1|b=2||"},
        {"the first of two", "a=1|a=2|", "a", "33", HW_OK, "a=33|a=2||"},
        {"to the last byte", "k=" + strFull.substr(5) + "|", "z", "12", HW_OK, "k=" + strFull.substr(5) + "|z=12||"},
        {"one byte too many", "k=" + strFull.substr(5) + "|", "z", "123", HW_ERR_LIMITION, ""},
        {"full and shrinking", "k=" + strFull + "|", "k", "1", HW_OK, "k=1|||||"},
        {"no room at the end", std::string(kImageSize - 4, 'x'), "a", "1", HW_OK, "a=1||xxx"},
        {"ends without its empty record", "k=" + strFull + "f|", "z", "", HW_ERR_LIMITION, ""},
        {"empty key", "a=1|", "", "1", HW_ERR_INVALID_PARAMETER, ""},
        {"key with '='", "a=1|", "a=1", "1", HW_ERR_INVALID_PARAMETER, ""},
    };
    for (const auto& stRow : kRows) {
        SCOPED_TRACE(stRow.pszName);
        const Image before = imageOf(nul(stRow.strBefore));
        Image image = before;
        image.shrink_to_fit();
        EXPECT_EQ(setVar(hFlash, image, stRow.pszKey, stRow.strValue), stRow.result);
        if (stRow.result == HW_OK) {
            EXPECT_EQ(std::string(image.begin() + 4, image.end()).substr(0, stRow.strAfter.size()),
                      nul(stRow.strAfter));
            EXPECT_EQ(getVar(hFlash, image, stRow.pszKey), stRow.strValue);
        } else {
            EXPECT_EQ(image, before);
        }
    }
}

TEST_F(VsetFlash, ValuesHaveTheSizeOfTheirBuffer) {
    const HW_Handle_t hFlash = opened();
    Image image = imageOf("long=" + std::string(2048, 'v'));
    EXPECT_EQ(getVar(hFlash, image, "long"), "error 14");
    EXPECT_EQ(setVar(hFlash, image, "long", std::string(2047, 'w')), HW_OK);
    EXPECT_EQ(getVar(hFlash, image, "long"), std::string(2047, 'w'));
    const Image before = image;
    Image unterminated(HW_FLASH_ENV_VALUE_SIZE, 'u');
    const HW_FLASH_EnvVar_t stVar = {image.data(), u8("long"), unterminated.data()};
    EXPECT_EQ(HW_FLASH_SetEnvVar(hFlash, &stVar), HW_ERR_LIMITION);
    EXPECT_EQ(image, before);
    EXPECT_EQ(getVar(hFlash, image, "none"), "error 3");
    EXPECT_EQ(getVar(hFlash, image, "lon"), "error 3");
    Image garbage(kImageSize, '=');
    EXPECT_EQ(getVar(hFlash, garbage, "a"), "error 3");
}

TEST_F(VsetFlash, AnImageThatIsNoneIsADataError) {
    const HW_Handle_t hFlash = opened();
    const std::string strFile = folder() + "/env/emmc.img";
    const std::string strGood = test::readFile(strFile);
    std::string strFlipped = strGood;
    strFlipped[40000] ^= 1;
    const std::pair<std::string, HW_Result_t> kRows[] = {
        {strGood, HW_OK},
        {std::string(kImageSize, '\xFF'), HW_OK},
        {strFlipped, HW_ERR_DATA_ERROR},
        {std::string(kImageSize, '\0'), HW_ERR_DATA_ERROR},
        {strGood.substr(1), HW_ERR_DATA_ERROR},
        {strGood + "x", HW_ERR_DATA_ERROR},
        {"", HW_ERR_DATA_ERROR},
    };
    for (const auto& [strContent, result] : kRows) {
        test::writeFile(strFile, strContent);
        Image image(kImageSize, 0xA5);
        testing::internal::CaptureStderr();
        EXPECT_EQ(HW_FLASH_LoadEnv(hFlash, image.data()), result);
        const std::string strSaid = testing::internal::GetCapturedStderr();
        if (result == HW_OK) {
            EXPECT_EQ(strSaid, "");
            EXPECT_NE(image, Image(kImageSize, 0xA5));
        } else {
            EXPECT_THAT(strSaid, HasSubstr(strFile));
            EXPECT_EQ(image, Image(kImageSize, 0xA5));
            EXPECT_THROW(vset::flash::environment(E_HW_FLASH_TYPE_EMMC), vset::SetError);
        }
    }
}

TEST_F(VsetFlash, APartitionKeepsWhatWasWrittenWhereItWasWritten) {
    HW_Handle_t hFlash = opened();
    const std::string strFile = folder() + "/partitions/misc.img";
    EXPECT_EQ(readBack(hFlash, "misc", 5, 3), Image(3, 0xFF)) << "never written";
    Image nothing;
    HW_U32 u32Report = kUntouched;
    EXPECT_EQ(transfer(HW_FLASH_Write, hFlash, "misc", 1u << 20, nothing, &u32Report), HW_OK);
    EXPECT_EQ(u32Report, 0u);
    EXPECT_FALSE(std::filesystem::exists(strFile)) << "writing nothing makes nothing";

    Image bytes(10000);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<HW_U8>(i * 7 / 3);
    }
    EXPECT_EQ(transfer(HW_FLASH_Write, hFlash, "misc", (1u << 20) - 10000, bytes, &u32Report), HW_OK);
    EXPECT_EQ(u32Report, 10000u);
    EXPECT_EQ(test::readFile(strFile),
              std::string((1u << 20) - 10000, '\xFF') + std::string(bytes.begin(), bytes.end()));
    vset::powerCycle();
    switchOn();
    hFlash = opened();
    EXPECT_EQ(readBack(hFlash, "misc", (1u << 20) - 10000, 10000), bytes);
    EXPECT_EQ(readBack(hFlash, "factory", 0, 4), Image(4, 0xFF)) << "another partition";
}

TEST_F(VsetFlash, ATransferThatCannotBeChangesNothing) {
    const HW_Handle_t hEmmc = opened(E_HW_FLASH_TYPE_EMMC);
    const HW_Handle_t hNand = opened(E_HW_FLASH_TYPE_NAND);
    test::writeFile(folder() + "/partitions/persist.img", "short");
    Image bytes(16, 0x5A);
    const Image before = bytes;
    HW_U32 u32Report = kUntouched;
    const auto* pu8Misc = u8("misc");
    const auto* pu8None = u8("none");
    const auto* pu8Persist = u8("persist");
    const struct {
        const char* pszName;
        HW_Handle_t hFlash;
        HW_FLASH_Transfer_t stTransfer;
        HW_Result_t result;
    } kRows[] = {
        {"no such partition", hEmmc, {2, pu8None, 0, bytes.data(), 16}, HW_ERR_INVALID_PARAMETER},
        {"no name", hEmmc, {2, nullptr, 0, bytes.data(), 16}, HW_ERR_INVALID_PARAMETER},
        {"no data", hEmmc, {2, pu8Misc, 0, nullptr, 16}, HW_ERR_INVALID_PARAMETER},
        {"another type", hEmmc, {0, pu8Misc, 0, bytes.data(), 16}, HW_ERR_INVALID_PARAMETER},
        {"handle of another type", hNand, {2, pu8Misc, 0, bytes.data(), 16}, HW_ERR_INVALID_PARAMETER},
        {"closed handle", hEmmc + 1, {2, pu8Misc, 0, bytes.data(), 16}, HW_ERR_INVALID_HANDLE},
        {"one byte beyond", hEmmc, {2, pu8Misc, (1u << 20) - 15, bytes.data(), 16}, HW_ERR_LIMITION},
        {"nothing, but beyond", hEmmc, {2, pu8Misc, (1u << 20) + 1, bytes.data(), 0}, HW_ERR_LIMITION},
        {"32-bit wrap", hEmmc, {2, pu8Misc, 0xFFFFFFF8, bytes.data(), 16}, HW_ERR_LIMITION},
        {"damaged file", hEmmc, {2, pu8Persist, 0, bytes.data(), 16}, HW_ERR_DATA_ERROR},
    };
    for (const auto& stRow : kRows) {
        SCOPED_TRACE(stRow.pszName);
        testing::internal::CaptureStderr();
        EXPECT_EQ(HW_FLASH_Read(stRow.hFlash, &stRow.stTransfer, &u32Report), stRow.result);
        EXPECT_EQ(HW_FLASH_Write(stRow.hFlash, &stRow.stTransfer, &u32Report), stRow.result);
        EXPECT_EQ(testing::internal::GetCapturedStderr().empty(), stRow.result != HW_ERR_DATA_ERROR);
        EXPECT_EQ(bytes, before);
        EXPECT_EQ(u32Report, kUntouched);
        EXPECT_FALSE(std::filesystem::exists(folder() + "/partitions/misc.img"));
    }
}

TEST_F(VsetFlash, PartitionsCanBeAddedAndResized) {
    const HW_Handle_t hFlash = opened();
    vset::flash::setPartition("extra", 8);
    EXPECT_EQ(vset::flash::partitions().at("extra"), 8u);
    Image bytes = {1, 2, 3, 4, 5, 6, 7, 8};
    HW_U32 u32Report = 0;
    ASSERT_EQ(transfer(HW_FLASH_Write, hFlash, "extra", 0, bytes, &u32Report), HW_OK);
    vset::flash::setPartition("extra", 4);
    vset::flash::setPartition("extra", 6);
    EXPECT_EQ(readBack(hFlash, "extra", 0, 6), (Image{1, 2, 3, 4, 0xFF, 0xFF}));
    Image blocks(12288, 7);
    vset::flash::setPartition("extra", 12288);
    ASSERT_EQ(transfer(HW_FLASH_Write, hFlash, "extra", 0, blocks, &u32Report), HW_OK);
    vset::flash::setPartition("extra", 5000);
    vset::flash::setPartition("extra", 9000);
    std::fill(blocks.begin() + 5000, blocks.end(), static_cast<HW_U8>(0xFF));
    blocks.resize(9000);
    EXPECT_EQ(readBack(hFlash, "extra", 0, 9000), blocks) << "in the middle of a block";
    EXPECT_TRUE(vset::check(folder()).empty());
    for (const char* pszName : {"", "../x", ".hidden"}) {
        EXPECT_THROW(vset::flash::setPartition(pszName, 1), vset::SetError) << pszName;
    }
    EXPECT_THROW(vset::flash::setPartition("huge", (1ull << 32) + 1), vset::SetError);
    vset::powerCycle();
    EXPECT_EQ(vset::flash::partitions().at("extra"), 9000u);
}

TEST_F(VsetFlash, APowerCutLeavesTheOldEnvironmentOrTheNewOne) {
    SKIP_UNDER_EMULATION();
    const HW_Handle_t hFlash = opened();
    const std::string strFile = folder() + "/env/emmc.img", strOld = test::readFile(strFile);
    Image image = imageOf("k=new");
    // The new file, its blocks, its way to the disk, its name and its folder.
    for (unsigned int u32Cut = 1; u32Cut <= 21; ++u32Cut) {
        const int s32Exit = test::runInChild([&] {
            vset::cutPowerAtWrite(u32Cut);
            HW_FLASH_StoreEnv(hFlash, image.data());
        });
        EXPECT_EQ(s32Exit, u32Cut <= 20 ? 128 + SIGKILL : 0) << u32Cut;
        EXPECT_EQ(test::readFile(strFile) == strOld, u32Cut < 20) << u32Cut;
        EXPECT_THAT(vset::check(folder()), testing::IsEmpty()) << u32Cut;
    }
}

TEST_F(VsetFlash, APowerCutDoesNotLeaveHalfAPartition) {
    SKIP_UNDER_EMULATION();
    const HW_Handle_t hFlash = opened();
    vset::flash::setPartition("small", 12288);
    Image bytes(4096, 1);
    unsigned int u32Cuts = 0;
    for (bool bFinished = false; !bFinished; u32Cuts += bFinished ? 0 : 1) {
        const int s32Exit = test::runInChild([&] {
            HW_U32 u32Report = 0;
            std::filesystem::remove(folder() + "/partitions/small.img");
            vset::cutPowerAtWrite(u32Cuts + 1);
            transfer(HW_FLASH_Write, hFlash, "small", 4096, bytes, &u32Report);
        });
        bFinished = s32Exit == 0;
        EXPECT_THAT(vset::check(folder()), testing::IsEmpty()) << u32Cuts;
    }
    EXPECT_GE(u32Cuts, 4u) << "three blank blocks and one with data";
    EXPECT_EQ(readBack(hFlash, "small", 4095, 4098).at(1), 1);
}

// Whatever moment it is, size and file fit together, and the bytes are there.
TEST_F(VsetFlash, APowerCutDoesNotLeaveAPartitionHalfResized) {
    SKIP_UNDER_EMULATION();
    for (const std::uint64_t u64Size : {16384u, 4096u}) {
        vset::flash::setPartition("small", 8192);
        Image bytes(16, 1);
        HW_U32 u32Report = 0;
        EXPECT_EQ(transfer(HW_FLASH_Write, opened(), "small", 0, bytes, &u32Report), HW_OK);
        unsigned int u32Cuts = 0;
        for (bool bFinished = false; !bFinished; ++u32Cuts) {
            const int s32Exit = test::runInChild([&] {
                vset::cutPowerAtWrite(u32Cuts + 1);
                vset::flash::setPartition("small", u64Size);
            });
            bFinished = s32Exit == 0;
            vset::detach();
            vset::attach(folder());
            EXPECT_THAT(vset::check(folder()), testing::IsEmpty()) << u32Cuts;
            if (bFinished) {
                EXPECT_EQ(vset::flash::partitions().at("small"), u64Size);
            }
            switchOn();
            EXPECT_EQ(readBack(opened(), "small", 0, 16), bytes) << u32Cuts;
            vset::flash::setPartition("small", 8192);
        }
        EXPECT_GE(u32Cuts, 6u);
        vset::powerCycle();
        switchOn();
    }
}

}  // namespace
