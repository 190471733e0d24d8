// SPDX-License-Identifier: Apache-2.0
// What the virtual set's power switch does to calls, to files, and to the PC.
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <thread>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "hw3/hw_flash.h"
#include "hw3/hw_fs.h"
#include "hw3/hw_net.h"
#include "hw3/hw_os.h"
#include "support/descriptors.h"
#include "support/emulation.h"
#include "support/fortified_calls.h"
#include "support/middleware_calls.h"
#include "support/process.h"
#include "support/refusals.h"
#include "support/waiting.h"
#include "vset/sys.h"

namespace {

namespace fs = std::filesystem;
using test::errorOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

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
    struct stat stStat = {};
    const std::function<int()> kLate[] = {
        [] { return open("/data/late", O_WRONLY | O_CREAT, 0644); },
        [] { return open64("/data/late", O_WRONLY | O_CREAT, 0644); },
        [] { return __open_2("/data/late", O_WRONLY); },
        [] { return __open64_2("/data/late", O_WRONLY); },
        [] { return fopen("/data/late", "w") == nullptr ? -1 : 0; },
        [] { return fopen64("/data/late", "w") == nullptr ? -1 : 0; },
        [] { return access("/data/late", F_OK); },
        [] { return unlink("/data/late"); },
        [] { return mkfifo("/data/late", 0600); },
        [] { return chmod("/data/late", 0600); },
        [] { return HW_FS_Unlink("/data/late"); },
        [&] { return HW_FS_Stat("/data/late", &stStat); },
    };
    for (const auto& call : kLate) {
        errno = 0;
        EXPECT_EQ(call(), -1) << &call - kLate;
        EXPECT_EQ(errno, ENODEV) << &call - kLate;
    }
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
        // A stream keeps what fits into its buffer, until it is closed.
        const std::string strLong(200000, 'x');
        FILE* pStream = HW_FS_Fopen("/data/stream", "w");
        EXPECT_EQ(HW_FS_Fwrite(strLong.data(), 1, 200000, pStream), 4096);
        EXPECT_THAT(vset::takeHostTroubles(), ElementsAre(HasSubstr("/data/stream: cannot be stored")));
        HW_FS_Fclose(pStream);
        pStream = HW_FS_Fopen("/data/buffered", "w");
        EXPECT_EQ(HW_FS_Fwrite(strLong.data(), 1, 4097, pStream), 4097);
        errno = EFBIG;
        EXPECT_EQ(HW_FS_Fwrite("x", 0, 5, pStream), 0) << "nothing to write is no trouble";
        EXPECT_THAT(vset::takeHostTroubles(), IsEmpty());
        EXPECT_EQ(HW_FS_Fclose(pStream), -1) << "a byte is lost";
        EXPECT_EQ(errno, EFBIG);
        EXPECT_THAT(vset::takeHostTroubles(), ElementsAre(HasSubstr("/data/buffered: cannot be stored")));
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
