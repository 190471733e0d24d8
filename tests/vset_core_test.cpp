// SPDX-License-Identifier: Apache-2.0
// The virtual set's ground: folder, tree, journal, faults, handles, power.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <new>
#include <set>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "hw3/hw_cap.h"
#include "hw3/hw_flash.h"
#include "hw3/hw_fs.h"
#include "hw3/hw_sys.h"
#include "support/descriptors.h"
#include "support/emulation.h"
#include "support/process.h"
#include "support/refusals.h"
#include "support/set_fixture.h"

namespace {

using test::errorOf;
using testing::ElementsAre;
using testing::HasSubstr;

class VsetTree : public test::MiddlewareTest {};

TEST_F(VsetTree, OneRuleLeadsPathsIntoTheFolder) {
    const std::string strTree = folder() + "/tree";
    const std::pair<const char*, const char*> kServed[] = {
        {"/data", "/data"},
        {"/data/a/b", "/data/a/b"},
        {"//data///a", "/data/a"},
        {"/data/./a/../b", "/data/b"},
        {"/data/a/", "/data/a/"},
        {"/mnt/usb", "/mnt/usb"},
        {"/vendor/x", "/vendor/x"},
        {"/sys/kernel/uart/uart_switch", "/sys/kernel/uart/uart_switch"},
        {"/tmp/../data/x", "/data/x"},
        {"/dev/ttyS0", "/dev/ttyS0"},
        {"/dev/ttyS12", "/dev/ttyS12"},
    };
    for (const auto& [pszPath, pszTail] : kServed) {
        EXPECT_EQ(vset::hostPath(pszPath), strTree + pszTail);
    }
    for (const char* pszPath : {"/dev/ttyS", "/dev/ttyS1x", "/dev/null", "/database", "/sys/kernel/uartx",
                                "/data/../etc/passwd", "/data/../../../etc/passwd", "data/a", ""}) {
        EXPECT_EQ(vset::hostPath(pszPath), pszPath);
    }
}

TEST_F(VsetTree, LibcAndMiddlewareSeeTheSameFiles) {
    const int s32Fd = open("/data/made", O_WRONLY | O_CREAT | O_TRUNC, 0640);
    ASSERT_GE(s32Fd, 0);
    EXPECT_EQ(HW_FS_Write(s32Fd, "libc", 4), 4);
    EXPECT_EQ(HW_FS_Close(s32Fd), 0);
    EXPECT_EQ(read("/data/made"), "libc");
    struct stat stStat = {};
    EXPECT_EQ(HW_FS_Stat("/data/made", &stStat), 0);
    EXPECT_EQ(stStat.st_mode & 0777, 0640u) << "the mode of a variadic open";
    EXPECT_EQ(access("/data/made", F_OK), 0);
    EXPECT_EQ(chmod("/data/made", 0600), 0);
    FILE* pStream = fopen("/data/made", "rb");
    ASSERT_NE(pStream, nullptr);
    fclose(pStream);
    EXPECT_EQ(mkfifo("/data/fifo", 0600), 0);
    EXPECT_EQ(HW_FS_Stat("/data/fifo", &stStat), 0);
    EXPECT_TRUE(S_ISFIFO(stStat.st_mode));
    EXPECT_EQ(unlink("/data/made"), 0);
    EXPECT_EQ(HW_FS_Open("/data/made", 0), -1);
    errno = 0;
    EXPECT_EQ(access("/data/made", F_OK), -1);
    EXPECT_EQ(errno, ENOENT);

    // Paths that the set does not serve are the PC's.
    EXPECT_EQ(access("/proc/self/exe", F_OK), 0);
    const vset::HostPaths hostPaths;
    EXPECT_EQ(access("/data/fifo", F_OK), -1);
}

TEST_F(VsetTree, FilesAnswerAsTheirNamesakes) {
    write("/data/f", "abc");
    EXPECT_EQ(HW_FS_Open("/data/none", 2), -1) << "absent";
    EXPECT_EQ(HW_FS_Open("/data/f/below", 0), -1) << "absent";
    EXPECT_EQ(HW_FS_Open("/data", 2), -2) << "there, but not to be opened so";
    EXPECT_EQ(errno, EISDIR);
    EXPECT_EQ(HW_FS_Open(nullptr, 0), -2);
    EXPECT_EQ(HW_FS_Fopen(nullptr, "r"), nullptr);
    EXPECT_EQ(HW_FS_Stat("/data/f", nullptr), -1);
    EXPECT_EQ(HW_FS_Close(0), 0);
    EXPECT_GE(fcntl(0, F_GETFD), 0) << "the host's standard input stays open";
    FILE* pStream = HW_FS_Fopen("/data/f", "rb");
    ASSERT_NE(pStream, nullptr);
    char acBytes[8] = {};
    EXPECT_EQ(HW_FS_Fread(acBytes, 1, 8, pStream), 3);
    EXPECT_EQ(HW_FS_Fread(acBytes, 1, 8, pStream), 0) << "the end is no error";
    EXPECT_EQ(HW_FS_Fwrite("x", 1, 1, pStream), -1) << "opened for reading";
    EXPECT_EQ(HW_FS_Fseek(pStream, -1, SEEK_SET), -1);
    const int s32Descriptors = test::openDescriptors();
    vset::inject({"HW_FS_Fclose", -1});
    EXPECT_EQ(HW_FS_Fclose(pStream), -1);
    EXPECT_EQ(test::openDescriptors(), s32Descriptors - 1) << "a close that fails has closed";
}

class VsetFaults : public test::MiddlewareTest {};

TEST_F(VsetFaults, FromTheKthCallNTimes) {
    const auto results = [](const vset::Fault& stFault) {
        vset::clearFaults();
        vset::inject(stFault);
        std::vector<int> made;
        for (int i = 0; i < 5; ++i) {
            made.push_back(HW_FS_Sync());
        }
        return made;
    };
    EXPECT_THAT(results({"HW_FS_Sync", -5}), ElementsAre(-5, 0, 0, 0, 0));
    EXPECT_THAT(results({"HW_FS_Sync", -5, 3, 2}), ElementsAre(0, 0, -5, -5, 0));
    EXPECT_THAT(results({"HW_FS_Sync", -5, 4, 0}), ElementsAre(0, 0, 0, -5, -5));
    EXPECT_THAT(results({"HW_FS_Stat", -5}), ElementsAre(0, 0, 0, 0, 0));
    EXPECT_FALSE(vset::journal().front().bFault == vset::journal()[1].bFault);

    vset::clearFaults();
    vset::inject({"HW_FS_Fopen", 0, 1, 1, EMFILE});
    EXPECT_EQ(HW_FS_Fopen("/data", "r"), nullptr);
    EXPECT_EQ(errno, EMFILE);
    // The call does nothing while it fails.
    vset::inject({"HW_FS_MkDir", -1});
    EXPECT_EQ(HW_FS_MkDir("/data/x", 0755), -1);
    EXPECT_EQ(access("/data/x", F_OK), -1);
}

TEST_F(VsetFaults, OnlyNothrowAllocationsFailAndAreCounted) {
    const std::size_t before = vset::allocations();
    vset::inject({vset::kAllocation, 0, 2, 1});
    std::unique_ptr<int> first(new (std::nothrow) int);
    std::unique_ptr<int> throwing(new int);
    std::unique_ptr<int> second(new (std::nothrow) int);
    std::unique_ptr<int> third(new (std::nothrow) int);
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(second, nullptr);
    EXPECT_NE(third, nullptr);
    vset::inject({vset::kAllocation});
    std::unique_ptr<char[]> array(new (std::nothrow) char[0]);
    EXPECT_EQ(array, nullptr);
    EXPECT_EQ(vset::allocations(), before + 4);
    // The throwing ones of the library alone fail.
    vset::inject({vset::kThrowingAllocation, 0, 1, 0});
    EXPECT_EQ(std::string(100, 'x').size(), 100u);
}

TEST_F(VsetFaults, AnUnknownNameIsRefused) {
    for (const char* pszName : {"HW_FS_Read", "printf", "", "HW_"}) {
        EXPECT_THROW(vset::inject({pszName}), vset::SetError) << pszName;
    }
    EXPECT_THROW(vset::inject({"HW_FS_Sync", -1, 0}), vset::SetError);
    // Of these the usual result would be a success.
    for (const char* pszName : {"HW_FS_Open", "HW_FS_Fwrite", "HW_FS_Sync", "HW_TUNER_FactoryCmdApplyVif"}) {
        EXPECT_THROW(vset::inject({pszName}), vset::SetError) << pszName;
    }
}

class VsetPower : public test::MiddlewareTest {};

TEST_F(VsetPower, HandlesAreUniqueAndDieWithTheClose) {
    HW_SYS_Init(nullptr);
    const HW_FLASH_InitParams_t stParams = {};
    HW_FLASH_Init(&stParams);
    std::set<HW_Handle_t> seen;
    HW_Handle_t hFlash = 0;
    for (int i = 0; i < 1000; ++i) {
        HW_FLASH_OpenParams_t stOpen = {};
        stOpen.u32FlashType = E_HW_FLASH_TYPE_EMMC;
        ASSERT_EQ(HW_FLASH_Open(&stOpen, &hFlash), HW_OK);
        ASSERT_NE(hFlash, 0u);
        ASSERT_EQ(hFlash & 0x80000000u, 0u);
        ASSERT_TRUE(seen.insert(hFlash).second) << "never given out twice";
        ASSERT_EQ(seen.count(hFlash + 1) + seen.count(hFlash - 1), 0u) << "never consecutive";
        ASSERT_EQ(HW_FLASH_Close(hFlash), HW_OK);
    }
    EXPECT_EQ(HW_FLASH_Close(hFlash), HW_ERR_INVALID_HANDLE);
}

TEST_F(VsetPower, ACycleForgetsWhatIsNotInTheFolder) {
    const HW_FLASH_InitParams_t stParams = {};
    const HW_FLASH_OpenParams_t stOpen = {};
    HW_SYS_Init(nullptr);
    HW_FLASH_Init(&stParams);
    HW_Handle_t hFlash = 0;
    const std::size_t players = vset::openHandles().size();
    ASSERT_EQ(HW_FLASH_Open(&stOpen, &hFlash), HW_OK);
    EXPECT_EQ(vset::openHandles().size(), players + 1);
    const unsigned int u32Boots = vset::bootCount();
    write("/data/f", "kept");
    vset::powerCycle();
    EXPECT_EQ(vset::bootCount(), u32Boots + 1);
    EXPECT_EQ(vset::openHandles().size(), players);
    EXPECT_EQ(HW_FLASH_Close(hFlash), HW_ERR_INVALID_HANDLE);
    EXPECT_EQ(read("/data/f"), "kept");
}

class VsetFolder : public test::MiddlewareTest {};

TEST_F(VsetFolder, ASetBelongsToOneProcess) {
    SKIP_UNDER_EMULATION();
    const std::string strFolder = folder();
    EXPECT_THAT(errorOf([&] { vset::attach(strFolder + "2"); }), HasSubstr("has the set in"));
    const std::string strInUse = strFolder + ": in use by process " + std::to_string(getpid());
    const int s32Exit = test::runInChild([&] {
        // Gives up what it inherited and asks again, as another program would.
        vset::detach();
        _exit(errorOf([&] { vset::attach(strFolder); }) == strInUse ? 0 : 1);
    });
    EXPECT_EQ(s32Exit, 0);
    EXPECT_EQ(errorOf([&] { vset::create(strFolder); }), strFolder + ": is a set already");
    EXPECT_FALSE(std::filesystem::exists(strFolder + "2"));
}

TEST_F(VsetFolder, DamageIsNamedAndChangesNothing) {
    const std::string strFolder = folder();
    vset::detach();
    const struct {
        const char* pszFile;
        std::string strContent;
        const char* pszProblem;
    } kRows[] = {
        {"/env/emmc.img", std::string(65536, 'x'), "/env/emmc.img: wrong checksum"},
        {"/env/nand.img", "short", "/env/nand.img: has 5 bytes instead of 65536"},
        {"/partitions/misc.img", "short", "/partitions/misc.img: has 5 bytes instead of 1048576"},
        {"/set.json", R"({"format": 2})", "/set.json: \"format\" is not 1"},
        {"/set.json", R"({"boots": -1})", "/set.json: \"boots\" is not a count"},
        {"/set.json", R"({"customer_hash": "12"})", "/set.json: \"customer_hash\" is not a text of 32 hex"},
        {"/set.json", R"({"partitions": {"../x": 1}})", "/set.json: \"partitions.../x\" is not a partition name"},
        {"/set.json", R"({"partitions": {"big": 4294967297}})", "/set.json: \"partitions.big\" is not a size"},
        {"/set.json", R"({"partitions": 7})", "/set.json: \"partitions\" is not"},
        {"/set.json", R"({"clock_offset": "1"})", "/set.json: \"clock_offset\" is not a number of seconds"},
        {"/set.json", R"({"watchdog_rebooted": 1})", "/set.json: \"watchdog_rebooted\" is not true or false"},
        {"/set.json", R"({"interfaces": [{"name": "eth0"}]})", "/set.json: \"interfaces.0\" is not an interface"},
        {"/set.json", R"({"colour": 1})", "/set.json: \"colour\" is not an entry"},
    };
    for (const auto& stRow : kRows) {
        SCOPED_TRACE(stRow.pszProblem);
        const std::string strFile = strFolder + stRow.pszFile;
        const bool bExisted = std::filesystem::exists(strFile);
        const std::string strBefore = test::readFile(strFile);
        test::writeFile(strFile, stRow.strContent);
        EXPECT_THAT(vset::check(strFolder), ElementsAre(HasSubstr(strFolder + stRow.pszProblem)));
        EXPECT_EQ(test::readFile(strFile), stRow.strContent);
        bExisted ? test::writeFile(strFile, strBefore) : static_cast<void>(std::remove(strFile.c_str()));
    }
    EXPECT_THAT(vset::check(strFolder), testing::IsEmpty());
    for (const char* pszJson : {"", "{", "[]", "\xFF"}) {
        test::writeFile(strFolder + "/set.json", pszJson);
        EXPECT_EQ(errorOf([&] { vset::attach(strFolder); }), strFolder + "/set.json: is not a JSON object");
    }
    std::remove((strFolder + "/set.json").c_str());
    EXPECT_EQ(errorOf([&] { vset::attach(strFolder); }), strFolder + ": is neither a set nor empty");
    EXPECT_EQ(errorOf([&] { vset::check(strFolder); }), strFolder + ": is no set");
    EXPECT_THAT(errorOf([&] { vset::attach("/proc/nowhere"); }), HasSubstr("/proc/nowhere"));
    EXPECT_EQ(vset::folder(), "");
}

// The next process makes it again: nothing in it has ever been used.
TEST_F(VsetFolder, ASetWhoseMakingWasCutOff) {
    SKIP_UNDER_EMULATION();
    vset::detach();
    const std::string strFolder = folder() + "/new";
    unsigned int u32Cuts = 0;
    for (bool bFinished = false; !bFinished; u32Cuts += 4) {
        std::filesystem::remove_all(strFolder);
        const int s32Exit = test::runInChild([&] {
            vset::cutPowerAtWrite(u32Cuts + 1);
            vset::create(strFolder);
        });
        bFinished = s32Exit == 0;
        vset::attach(strFolder);
        vset::detach();
        EXPECT_THAT(vset::check(strFolder), testing::IsEmpty()) << u32Cuts;
    }
    EXPECT_GE(u32Cuts, 20u);
}

}  // namespace
