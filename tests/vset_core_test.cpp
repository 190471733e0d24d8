// SPDX-License-Identifier: Apache-2.0
// The virtual set's ground: folder, tree, faults, handles; what its switch does to calls, to files, and to the PC.
#include <algorithm>
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
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "hw3/hw_cap.h"
#include "hw3/hw_flash.h"
#include "hw3/hw_fs.h"
#include "hw3/hw_net.h"
#include "hw3/hw_os.h"
#include "support/descriptors.h"
#include "support/emulation.h"
#include "support/middleware_calls.h"
#include "support/process.h"
#include "support/refusals.h"
#include "support/waiting.h"
#include "vset/net.h"
#include "vset/sys.h"

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
    errno = 0;
    EXPECT_EQ(HW_FS_Fread(acBytes, 1, 8, nullptr), -1);
    EXPECT_EQ(errno, EFAULT);
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
    const auto seen = [](const char* pszPath) { return access(pszPath, F_OK) == 0; };
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

// --- The power switch ------------------------------------------------------------------------------------------------

class VsetSwitch : public test::MiddlewareTest {};

TEST_F(VsetSwitch, ACallThatRunsLeavesNothingInTheNextLife) {
    SKIP_UNDER_EMULATION();
    write("/data/fw", "");
    fs::resize_file(vset::hostPath("/data/fw"), 32u << 20);
    for (int i = 0; i < 3; ++i) {
        HW_SYS_Init(nullptr);
        std::thread flasher([] {
            HW_OS_DelayTask(1);  // a call that the switch does not wait for; it waits for the next one again
            HW_SYS_UpgradeFw(E_HW_SYS_FW_0, test::u8("/data/fw"));
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        vset::powerCycle();
        flasher.join();
        EXPECT_THAT(vset::sys::flashedFirmware(), IsEmpty()) << "life " << i;
    }
}

TEST_F(VsetSwitch, CallsWhileTheSetIsGivenBackWriteNowhere) {
    SKIP_UNDER_EMULATION();
    testing::internal::CaptureStderr();
    {
        const std::function<void()> callAll = [] {
            HW_Handle_t hNet = HW_HANDLE_NONE, hFlash = HW_HANDLE_NONE;
            HW_SYS_Init(nullptr);
            HW_NET_Init(nullptr);
            test::init(HW_FLASH_Init);
            test::ask(HW_NET_Open, {"eth0"}, &hNet);
            HW_NET_SetMac(hNet, "02:00:5E:00:53:01");
            HW_NET_Close(hNet);
            test::ask(HW_FLASH_Open, {E_HW_FLASH_TYPE_EMMC, {}}, &hFlash);
            static HW_U8 au8Image[HW_FLASH_ENV_IMAGE_SIZE];
            HW_FLASH_StoreEnv(hFlash, au8Image);
            HW_FLASH_Close(hFlash);
        };
        const test::Repeating callers[] = {test::Repeating(callAll), test::Repeating(callAll),
                                           test::Repeating(callAll)};
        for (int i = 0; i < 40; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(3));
            vset::detach();
            vset::attach(folder());
        }
    }
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::Not(HasSubstr("virtual set: /set.json")));
    for (const char* pszRoot : {"/set.json", "/set.json.new", "/env"}) {
        EXPECT_FALSE(fs::exists(pszRoot)) << pszRoot;
    }
}

TEST_F(VsetSwitch, ALateCallFindsNoSet) {
    const std::string strUsers = folder() + "/users";
    setenv("VSET_DIR", strUsers.c_str(), 1);
    vset::detach();
    errno = 0;
    EXPECT_EQ(HW_FS_Open("/data/none", 0), -2) << "not: the file does not exist";
    EXPECT_EQ(errno, ENODEV);
    EXPECT_EQ(HW_SYS_Init(nullptr), HW_ERR_FAILED);
    EXPECT_EQ(HW_FS_MkDir("/data/late", 0755), -1);
    EXPECT_EQ(open("/data/late", O_WRONLY | O_CREAT, 0644), -1);
    EXPECT_EQ(vset::folder(), "");
    EXPECT_THROW(vset::powerCycle(), vset::SetError);
    EXPECT_FALSE(fs::exists(strUsers)) << "the user's own set";
    unsetenv("VSET_DIR");
}

class VsetFiles : public test::MiddlewareTest {
protected:
    struct Opened {
        FILE* pStream;
        HW_S32 s32Fd;
        int s32Plain;
    };
    static Opened openAll() {
        write("/data/r", "before");
        return {HW_FS_Fopen("/data/w", "w+"), HW_FS_Open("/data/r", 2), ::open("/data/p", O_WRONLY | O_CREAT, 0644)};
    }
    static void expectDead(const Opened& stFiles) {
        char cByte = 0;
        EXPECT_EQ(HW_FS_Fwrite("x", 1, 1, stFiles.pStream), -1);
        EXPECT_EQ(HW_FS_Fread(&cByte, 1, 1, stFiles.pStream), -1);
        EXPECT_EQ(HW_FS_Fseek(stFiles.pStream, 0, SEEK_SET), -1);
        EXPECT_EQ(HW_FS_Fclose(stFiles.pStream), -1);
        for (const int s32Fd : {stFiles.s32Fd, stFiles.s32Plain}) {
            EXPECT_EQ(HW_FS_Write(s32Fd, "x", 1), -1);
            EXPECT_EQ(errno, EBADF);
            EXPECT_EQ(HW_FS_Close(s32Fd), -1);
        }
    }
    using Step = std::function<void()>;
    static void makeFolder() { HW_FS_MkDir("/data/d", 0755); }
    // Takes the steps and cuts the power at the last one. Returns the tree: path and content, folders without one.
    std::map<std::string, std::string> treeAfterCut(const std::vector<Step>& steps, const Step& last = makeFolder) {
        const int s32Exit = test::runInChild([&] {
            for (const Step& step : steps) {
                step();
            }
            vset::cutPowerAtWrite(1);
            last();
        });
        EXPECT_GT(s32Exit, 128) << "the power is cut";
        std::map<std::string, std::string> tree;
        const std::string strData = folder() + "/tree/data";
        for (const auto& entry : fs::recursive_directory_iterator(strData)) {
            tree[entry.path().string().substr(strData.size())] =
                entry.is_regular_file() ? test::readFile(entry.path().string()) : "";
        }
        tree.erase("/vendor");
        return tree;
    }
};

TEST_F(VsetFiles, DieWithThePower) {
    const std::string strOther = folder() + "/other";
    const std::function<void()> kNextLives[] = {vset::powerCycle, [&] {
                                                    vset::detach();
                                                    vset::attach(strOther);
                                                }};
    for (const std::function<void()>& nextLife : kNextLives) {
        const Opened stFiles = openAll();
        EXPECT_EQ(HW_FS_Fwrite("kept", 4, 1, stFiles.pStream), 1);
        nextLife();
        expectDead(stFiles);
        EXPECT_EQ(test::readFile(folder() + "/tree/data/w"), "kept") << "what was written before, and no more";
        EXPECT_EQ(test::readFile(folder() + "/tree/data/r"), "before");
        EXPECT_EQ(test::readFile(folder() + "/tree/data/p"), "");
    }
}

TEST_F(VsetFiles, OnlyWhatTheSetHasOpenedIsClosed) {
    const Opened stFiles = openAll();
    EXPECT_EQ(HW_FS_Fclose(stFiles.pStream), 0);
    EXPECT_EQ(HW_FS_Fclose(stFiles.pStream), -1) << "a second time";
    EXPECT_EQ(HW_FS_Close(stFiles.s32Fd), 0);
    EXPECT_EQ(HW_FS_Close(stFiles.s32Fd), -1);
    FILE* const pForeign = std::tmpfile();
    char cByte = 0;
    errno = 0;
    EXPECT_EQ(HW_FS_Fwrite("x", 1, 1, pForeign) + HW_FS_Fread(&cByte, 1, 1, pForeign), -2);
    EXPECT_EQ(HW_FS_Fseek(pForeign, 0, SEEK_SET) + HW_FS_Fclose(pForeign), -2);
    EXPECT_EQ(errno, EBADF);
    for (const HW_S32 s32Fd : {-1, 65535, 65536, 0x7FFFFFFF, fileno(pForeign)}) {
        errno = 0;
        EXPECT_EQ(HW_FS_Write(s32Fd, "x", 1) + HW_FS_Close(s32Fd), -2);
        EXPECT_EQ(errno, EBADF) << s32Fd;
    }
    EXPECT_EQ(dup2(fileno(pForeign), stFiles.s32Plain), stFiles.s32Plain) << "closed, and its number taken again";
    for (int s32Fd = 1; s32Fd < 1024; ++s32Fd) {
        EXPECT_EQ(HW_FS_Close(s32Fd), -1) << s32Fd;
    }
    std::vector<int> others;
    while (others.empty() || others.back() < 600) {
        others.push_back(dup(0));
    }
    const HW_S32 s32High = HW_FS_Open("/data/r", 2);
    EXPECT_EQ(HW_FS_Write(s32High, "x", 1) + HW_FS_Close(s32High), 1) << "above the set's own";
    std::for_each(others.begin(), others.end(), close);
    EXPECT_EQ(std::fclose(pForeign) + close(stFiles.s32Plain), 0) << "was left open";
    EXPECT_THROW(vset::Hold{folder()}, vset::SetError) << "the set's own lock is held";
}

TEST_F(VsetFiles, APowerCutTakesBackWhatWasNotSynced) {
    SKIP_UNDER_EMULATION();
    using Tree = std::map<std::string, std::string>;
    const auto writeFile = [](const char* pszPath, const char* pszMode, const std::string& strBytes) {
        FILE* const pStream = HW_FS_Fopen(pszPath, pszMode);
        HW_FS_Fwrite(strBytes.data(), 1, static_cast<HW_U32>(strBytes.size()), pStream);
        HW_FS_Fclose(pStream);
    };
    const auto writePlain = [](const char* pszPath, int s32Flags) {
        const int s32Fd = ::open(pszPath, s32Flags, 0644);
        HW_FS_Write(s32Fd, "new", 3);
        HW_FS_Close(s32Fd);
    };
    const Step renew = [&] { writeFile("/data/f", "w", "new"); },
               renewAgain = [&] { writeFile("/data/f", "w", "newer"); };
    const Step sync = [] { HW_FS_Sync(); };
    HW_S32 s32Open = -1;
    const Step begin = [&] { HW_FS_Write(s32Open = HW_FS_Open("/data/f", 2), "n", 1); };
    const struct {
        const char* pszName;
        std::vector<Step> steps;
        Tree tree;
        Step last = makeFolder;
    } kRows[] = {
        {"cut at a removal", {}, {{"/f", "old"}}, [] { HW_FS_Unlink("/data/f"); }},
        {"at what is made", {}, {{"/f", "old"}}, [] { HW_FS_Fwrite("x", 1, 1, HW_FS_Fopen("/data/g", "w")); }},
        {"at a write", {}, {{"/f", "old"}}, [] { HW_FS_Write(HW_FS_Open("/data/f", 2), "x", 1); }},
        {"overwritten", {renew}, {{"/f", "old"}}},
        {"written", {[] { HW_FS_Write(HW_FS_Open("/data/f", 2), "new", 3); }}, {{"/f", "old"}}},
        {"appended", {[&] { writeFile("/data/f", "a", "new"); }}, {{"/f", "old"}}},
        {"made", {[&] { writeFile("/data/g", "w", "new"); }}, {{"/f", "old"}}},
        {"by libc", {[&] { writePlain("/data/f", O_WRONLY | O_CREAT | O_TRUNC); }}, {{"/f", "old"}}},
        {"a link removed", {[] { HW_FS_Unlink("/data/l"); }}, {{"/f", "old"}}},
        {"by a link", {[&] { writeFile("/data/l", "w", "new"); }}, {{"/f", "old"}}},
        {"made by libc", {[&] { writePlain("/data/g", O_WRONLY | O_CREAT); }}, {{"/f", "old"}}},
        {"removed", {[] { HW_FS_Unlink("/data/f"); }}, {{"/f", "old"}}},
        {"a folder", {makeFolder, [&] { writeFile("/data/d/g", "w", "new"); }}, {{"/f", "old"}}},
        {"synced", {renew, sync}, {{"/f", "new"}}},
        {"synced between", {renew, sync, renewAgain}, {{"/f", "new"}}},
        {"synced while open", {begin, sync, [&] { HW_FS_Write(s32Open, "e", 1); }}, {{"/f", "nld"}}},
        {"power cycle before", {renew, vset::powerCycle}, {{"/f", "new"}}},
    };
    for (const auto& stRow : kRows) {
        write("/data/f", "old");
        chmod((folder() + "/tree/data/f").c_str(), 0604);
        fs::create_symlink("f", folder() + "/tree/data/l");
        Tree tree = stRow.tree;
        tree["/l"] = tree["/f"];
        EXPECT_EQ(treeAfterCut(stRow.steps, stRow.last), tree) << stRow.pszName;
        struct stat stStat = {};
        EXPECT_EQ(HW_FS_Stat("/data/f", &stStat), 0);
        EXPECT_EQ(stStat.st_mode & 07777, 0604u) << stRow.pszName;
        fs::remove(folder() + "/tree/data/f");
        fs::remove(folder() + "/tree/data/l");
    }
    write("/data/f", "old");
    const std::string strPc = folder() + "/of-the-pc";
    treeAfterCut({[&] { writeFile(strPc.c_str(), "w", "new"); }});
    EXPECT_EQ(test::readFile(strPc), "new");
    test::runInChild(renew);
    EXPECT_EQ(read("/data/f"), "new") << "the end of a process is no power cut";
}

// A PC that cannot store a file is the station's trouble, and reported once.
TEST_F(VsetFiles, TroublesOfThePcAreReported) {
    SKIP_UNDER_EMULATION();
    const rlimit stLimit = {4096, 4096};
    const int s32Exit = test::runInChild([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        setrlimit(RLIMIT_FSIZE, &stLimit);
        const int s32Fd = ::open("/data/large", O_RDWR | O_CREAT, 0644);
        const std::string strTrouble = folder() + "/tree/data/large: cannot be stored: File too large";
        testing::internal::CaptureStderr();
        EXPECT_EQ(HW_FS_Write(s32Fd, std::string(5000, 'x').data(), 5000), 4096);
        EXPECT_EQ(HW_FS_Write(s32Fd, "x", 1), -1);
        EXPECT_EQ(errno, EFBIG);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "virtual set: " + strTrouble + "\n");
        EXPECT_THAT(vset::takeHostTroubles(), ElementsAre(strTrouble));
        for (const int s32Error : {ENOENT, ENOSPC, EDQUOT, EFBIG, EIO, EROFS, EACCES}) {
            vset::noteHostTrouble(std::to_string(s32Error), s32Error);
        }
        EXPECT_THAT(vset::takeHostTroubles(),
                    ElementsAre("the disk of the virtual set is full: 28", "the disk of the virtual set is full: 122",
                                HasSubstr("27: cannot"), HasSubstr("5: cannot"), HasSubstr("30: cannot")));
        EXPECT_THAT(vset::takeHostTroubles(), IsEmpty());
        _exit(HasFailure() ? 1 : 0);
    });
    EXPECT_EQ(s32Exit, 0);
}

}  // namespace
