// SPDX-License-Identifier: Apache-2.0
// The virtual set's ground: folder, tree, faults, handles.
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <new>
#include <set>
#include <thread>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "hw3/hw_flash.h"
#include "hw3/hw_fs.h"
#include "support/descriptors.h"
#include "support/emulation.h"
#include "support/fortified_calls.h"
#include "support/middleware_calls.h"
#include "support/process.h"
#include "support/refusals.h"
#include "support/waiting.h"
#include "vset/net.h"

namespace {

namespace fs = std::filesystem;
using test::errorOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class VsetTree : public test::MiddlewareTest {};

TEST_F(VsetTree, OneRuleLeadsPathsIntoTheFolder) {
    const std::string strTree = folder() + "/tree";
    for (const char* pszPath : {"/data", "/data/a/b", "/data/a/", "/mnt/usb", "/vendor/x",
                                "/sys/kernel/uart/uart_switch", "/dev/ttyS0", "/dev/ttyS12"}) {
        EXPECT_EQ(vset::hostPath(pszPath), strTree + pszPath);
    }
    EXPECT_EQ(vset::hostPath("//data///a"), strTree + "/data/a");
    EXPECT_EQ(vset::hostPath("/data/./a/../b"), strTree + "/data/b");
    EXPECT_EQ(vset::hostPath("/tmp/../data/x"), strTree + "/data/x");
    EXPECT_EQ(vset::hostPath("/vendor/..//mnt/."), strTree + "/mnt");
    EXPECT_EQ(vset::hostPath("/mnt/x/", strTree + "/other/"), strTree + "/other/tree/mnt/x/");
    EXPECT_EQ(vset::hostPath("/mntx", folder()), "/mntx");
    for (const char* pszPath :
         {"/dev/ttyS", "/dev/ttyS1x", "/dev/ttyS1/x", "/..", "/", "/sys/kernel", "/datab/data", "/dev/null",
          "/database", "/sys/kernel/uartx", "/data/../etc/passwd", "/data/../../../etc/passwd", "data/a", ""}) {
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
    EXPECT_EQ(fclose(fopen("/data/made", "rb")), 0);
    EXPECT_EQ(mkfifo("/data/fifo", 0600), 0);
    EXPECT_EQ(HW_FS_Stat("/data/fifo", &stStat), 0);
    EXPECT_TRUE(S_ISFIFO(stStat.st_mode));
    EXPECT_EQ(unlink("/data/made"), 0);
    EXPECT_EQ(HW_FS_Open("/data/made", 0), -1);
    errno = 0;
    EXPECT_EQ(access("/data/made", F_OK), -1);
    EXPECT_EQ(errno, ENOENT);

    // The other names of the same calls.
    for (const int s32Made : {open64("/data/large", O_RDWR | O_CREAT, 0600), __open_2("/data/large", O_RDWR),
                              __open64_2("/data/large", O_RDWR)}) {
        EXPECT_GT(s32Made, 2);
        EXPECT_EQ(HW_FS_Write(s32Made, "large", 5), 5);
        EXPECT_EQ(HW_FS_Close(s32Made), 0);
    }
    EXPECT_EQ(HW_FS_Stat("/data/large", &stStat), 0);
    EXPECT_EQ(stStat.st_mode & 0777, 0600u);
    FILE* const pStream = fopen64("/data/large", "r");
    EXPECT_EQ(fgetc(pStream), 'l');
    EXPECT_EQ(fclose(pStream), 0);

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
    EXPECT_EQ(HW_FS_Open("/data/f", O_WRONLY), -2);
    EXPECT_EQ(errno, EINVAL);
    const HW_S32 s32Fd = HW_FS_Open("/data/f", 2);
    EXPECT_EQ(fcntl(s32Fd, F_GETFD), FD_CLOEXEC) << "no child gets it";
    EXPECT_EQ(HW_FS_Write(s32Fd, nullptr, 0), 0);
    struct stat stStat = {};
    const std::function<HW_S32()> kNull[] = {
        [&] { return HW_FS_Write(s32Fd, nullptr, 1); },
        [] { return HW_FS_Fopen(nullptr, "r") == nullptr ? -1 : 0; },
        [] { return HW_FS_Fopen("/data/f", nullptr) == nullptr ? -1 : 0; },
        [] { return HW_FS_Fclose(nullptr); },
        [] { return HW_FS_Fseek(nullptr, 0, SEEK_SET); },
        [&] { return HW_FS_Stat(nullptr, &stStat); },
        [] { return HW_FS_Stat("/data/f", nullptr); },
        [] { return HW_FS_MkDir(nullptr, 0755); },
        [] { return HW_FS_Unlink(nullptr); },
    };
    for (const auto& call : kNull) {
        errno = 0;
        EXPECT_EQ(call(), -1) << &call - kNull;
        EXPECT_EQ(errno, EFAULT) << &call - kNull;
    }
    EXPECT_EQ(HW_FS_Close(s32Fd), 0);
    EXPECT_EQ(HW_FS_MkDir("/data/d", 0750), 0);
    EXPECT_EQ(HW_FS_Stat("/data/d", &stStat), 0);
    EXPECT_EQ(stStat.st_mode & 0777, 0750u);
    EXPECT_EQ(HW_FS_MkDir("/data/d", 0750), -1) << "there already";
    EXPECT_EQ(HW_FS_Close(0), 0);
    EXPECT_GE(fcntl(0, F_GETFD), 0) << "the host's standard input stays open";
    FILE* pStream = HW_FS_Fopen("/data/f", "rb");
    ASSERT_NE(pStream, nullptr);
    char acBytes[8] = {};
    EXPECT_EQ(HW_FS_Fread(acBytes, 1, 8, pStream), 3);
    EXPECT_EQ(HW_FS_Fread(acBytes, 1, 8, pStream), 0) << "the end is no error";
    EXPECT_EQ(HW_FS_Fwrite("x", 1, 1, pStream), -1) << "opened for reading";
    EXPECT_EQ(HW_FS_Fseek(pStream, -1, SEEK_SET), -1);
    errno = 0;
    EXPECT_EQ(HW_FS_Fread(acBytes, 1, 8, nullptr), -1);
    EXPECT_EQ(errno, EFAULT);
    EXPECT_EQ(HW_FS_Fwrite(nullptr, 1, 8, pStream), -1);
    const int s32Descriptors = test::openDescriptors();
    vset::inject({"HW_FS_Fclose", -1});
    EXPECT_EQ(HW_FS_Fclose(pStream), -1);
    EXPECT_EQ(test::openDescriptors(), s32Descriptors - 1) << "a close that fails has closed";
    FILE* const apFiles[] = {HW_FS_Fopen("/data/first", "wb"), HW_FS_Fopen("/data/second", "wb")};
    EXPECT_EQ(HW_FS_Fwrite("1", 1, 1, apFiles[0]), 1);
    EXPECT_EQ(HW_FS_Fwrite("2", 1, 1, apFiles[1]), 1);
    EXPECT_EQ(HW_FS_Fclose(apFiles[1]) + HW_FS_Fclose(apFiles[0]), 0);
    EXPECT_EQ(read("/data/first") + read("/data/second"), "12") << "side by side";
}

TEST_F(VsetTree, AFileIsPretended) {
    write("/data/there", "");
    // A program may pass null all the same.
    int (*const pfAccess)(const char*, int) = access;
    const auto seen = [&](const char* pszPath) { return pfAccess(pszPath, F_OK) == 0; };
    {
        const vset::PretendedFile none("/data/there", false);
        EXPECT_FALSE(seen("/data/there"));
        const vset::PretendedFile some("/data/absent");
        EXPECT_TRUE(seen("/data/there")) << "the youngest counts";
        EXPECT_TRUE(seen("/data/absent"));
        EXPECT_FALSE(seen("/data/absent2") || seen("/data/absen") || seen(nullptr));
        {
            const vset::HostPaths hostPaths;
            EXPECT_FALSE(seen("/data/absent"));
        }
        std::thread([&] { EXPECT_FALSE(seen("/data/absent")); }).join();
        {
            const vset::PretendedFile again("/data/absent", false);
            EXPECT_FALSE(seen("/data/absent"));
        }
        EXPECT_TRUE(seen("/data/absent"));
    }
    EXPECT_TRUE(seen("/data/there"));
    EXPECT_FALSE(seen("/data/absent"));
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
    EXPECT_EQ(vset::journal().front().s32Errno, EIO);
    errno = EDOM;
    EXPECT_EQ(HW_FS_Sync(), 0);
    EXPECT_EQ(vset::journal().back().s32Errno, 0) << "errno of a call that succeeds means nothing";

    // Both count every call.
    vset::clearFaults();
    vset::inject({"HW_FS_Sync", -5, 2});
    vset::inject({"HW_FS_Sync", -6, 2, 2});
    EXPECT_THAT((std::vector<int>{HW_FS_Sync(), HW_FS_Sync(), HW_FS_Sync(), HW_FS_Sync()}), ElementsAre(0, -5, -6, 0));
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
    const auto allocates = [] { return std::unique_ptr<int>(new (std::nothrow) int) != nullptr; };
    EXPECT_TRUE(allocates());
    EXPECT_NE(std::make_unique<int>(), nullptr);
    EXPECT_FALSE(allocates());
    EXPECT_TRUE(allocates());
    vset::inject({vset::kAllocation});
    EXPECT_EQ(std::unique_ptr<char[]>(new (std::nothrow) char[0]), nullptr);
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
    for (const char* pszName :
         {"HW_FS_Open", "HW_FS_Close", "HW_FS_Write", "HW_FS_Fclose", "HW_FS_Fread", "HW_FS_Fwrite", "HW_FS_Fseek",
          "HW_FS_Stat", "HW_FS_MkDir", "HW_FS_Unlink", "HW_FS_Sync", "HW_TUNER_FactoryCmdApplyVif"}) {
        EXPECT_THROW(vset::inject({pszName}), vset::SetError) << pszName;
    }
    EXPECT_EQ(HW_FS_Sync(), 0) << "nothing is set";
    vset::inject({"HW_SYS_Init"});
    EXPECT_EQ(HW_SYS_Init(nullptr), HW_ERR_FAILED);
}

class VsetHandles : public test::RunningTest {};

TEST_F(VsetHandles, AreUniqueAndDieWithTheCloseOrThePower) {
    std::set<HW_Handle_t> seen;
    HW_Handle_t hFlash = HW_HANDLE_NONE;
    const std::size_t players = vset::openHandles().size();
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(test::init(HW_FLASH_Init), i % 100 == 0 ? HW_OK : HW_HAS_INITED);
        hFlash = test::handleOf(HW_FLASH_Open, {E_HW_FLASH_TYPE_EMMC, {}});
        ASSERT_TRUE(hFlash != HW_HANDLE_NONE && hFlash >> 31 == 0);
        ASSERT_TRUE(seen.insert(hFlash).second) << "never given out twice";
        ASSERT_EQ(seen.count(hFlash + 1) + seen.count(hFlash - 1), 0u) << "never consecutive";
        if (i % 100 != 99) {
            ASSERT_EQ(HW_FLASH_Close(hFlash), HW_OK);
            continue;
        }
        EXPECT_EQ(vset::openHandles().size(), players + 1);
        vset::powerCycle();
        EXPECT_EQ(vset::openHandles().size(), players);
        EXPECT_EQ(HW_FLASH_Close(hFlash), HW_ERR_INVALID_HANDLE);
        ASSERT_EQ(HW_SYS_Init(nullptr), HW_OK);
    }
    EXPECT_EQ(vset::bootCount(), 11u);
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
    EXPECT_FALSE(fs::exists(strFolder + "2"));
}

TEST_F(VsetFolder, DamageIsNamedAndChangesNothing) {
    const std::string strFolder = folder();
    vset::detach();
    // Good ones, and another one.
    const auto interfaces = [](std::size_t count, const std::string& strName, const std::string& strMac) {
        std::string strList = R"({"interfaces": [)";
        for (std::size_t i = 0; i <= count; ++i) {
            strList += R"({"up": true, "dhcp": false, "name": ")" + (i < count ? "a name of 16 byt" : strName) +
                       R"(", "mac": ")" + (i < count ? "01:23:45:67:89:EF" : strMac) + (i < count ? "\"}, " : "\"}]}");
        }
        return strList;
    };
    const struct {
        const char* pszFile;
        std::string strContent;
        const char* pszProblem;
    } kRows[] = {
        {"env/emmc.img", std::string(65536, 'x'), "env/emmc.img: wrong checksum"},
        {"env/nand.img", "short", "env/nand.img: has 5 bytes instead of 65536"},
        {"partitions/misc.img", "short", "partitions/misc.img: has 5 bytes instead of 1048576"},
        {"set.json", R"({"format": 2})", "set.json: \"format\" is not 1"},
        {"set.json", R"({"boots": -1})", "set.json: \"boots\" is not a count"},
        {"set.json", R"({"customer_hash": "12"})", "set.json: \"customer_hash\" is not a text of 32 hex"},
        {"set.json", R"({"partitions": {"../x": 1}})", "set.json: \"partitions.../x\" is not a partition name"},
        {"set.json", R"({"partitions": {"big": 4294967297}})", "set.json: \"partitions.big\" is not a size"},
        {"set.json", R"({"customer_hash": "0123456789abcdefg123456789ABCDEF"})", "set.json: \"customer_hash\" is not"},
        {"set.json", R"({"data_index_path": 1})", "set.json: \"data_index_path\" is not a text"},
        {"set.json", R"({"partitions": {".x": 1}})", "set.json: \"partitions..x\" is not a partition name"},
        {"set.json", R"({"partitions": {"": 1}})", "set.json: \"partitions.\" is not a partition name"},
        {"set.json", R"({"partitions": {"x": -1, "big": 4294967296}})", "set.json: \"partitions.x\" is not a size"},
        {"set.json", R"({"partitions": 7})", "set.json: \"partitions\" is not"},
        {"set.json", R"({"clock_offset": "1"})", "set.json: \"clock_offset\" is not a number of seconds"},
        {"set.json", R"({"watchdog_rebooted": 1})", "set.json: \"watchdog_rebooted\" is not true or false"},
        {"set.json", R"({"interfaces": {}})", "set.json: \"interfaces\" is not a list"},
        {"set.json", R"({"interfaces": [{"name": "eth0"}]})", "set.json: \"interfaces.0\" is not an interface"},
        {"set.json", interfaces(2, "", "02:00:5E:00:53:01"), "set.json: \"interfaces.2\" is not"},
        {"set.json", interfaces(1, "a name of 17 byte", "02:00:5E:00:53:01"), "set.json: \"interfaces.1\" is not"},
        {"set.json", interfaces(1, "eth1", "02:00:5e:00:53:01"), "set.json: \"interfaces.1\" is not"},
        {"set.json", interfaces(1, "eth1", "02:00:5E:00:53:0"), "set.json: \"interfaces.1\" is not"},
        {"set.json", interfaces(vset::net::kInterfaces, "eth1", "02:00:5E:00:53:01"), "interface with name"},
        {"set.json", R"({"colour": 1})", "set.json: \"colour\" is not an entry"},
    };
    for (const auto& stRow : kRows) {
        SCOPED_TRACE(stRow.pszProblem);
        const std::string strFile = strFolder + "/" + stRow.pszFile;
        const bool bExisted = fs::exists(strFile);
        const std::string strBefore = test::readFile(strFile);
        test::writeFile(strFile, stRow.strContent);
        EXPECT_THAT(vset::check(strFolder), ElementsAre(HasSubstr(stRow.pszProblem)));
        EXPECT_EQ(test::readFile(strFile), stRow.strContent);
        bExisted ? test::writeFile(strFile, strBefore) : static_cast<void>(std::remove(strFile.c_str()));
    }
    EXPECT_THAT(vset::check(strFolder), IsEmpty());
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
        fs::remove_all(strFolder);
        const int s32Exit = test::runInChild([&] {
            vset::cutPowerAtWrite(u32Cuts + 1);
            vset::create(strFolder);
        });
        bFinished = s32Exit == 0;
        vset::attach(strFolder);
        vset::detach();
        EXPECT_THAT(vset::check(strFolder), IsEmpty()) << u32Cuts;
    }
    EXPECT_GE(u32Cuts, 20u);
}

}  // namespace
