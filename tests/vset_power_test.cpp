// SPDX-License-Identifier: Apache-2.0
// What the virtual set's switch does to calls that run, to files, and to the PC around the set.
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <thread>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "hw3/hw_flash.h"
#include "hw3/hw_fs.h"
#include "hw3/hw_net.h"
#include "hw3/hw_sys.h"
#include "support/emulation.h"
#include "support/process.h"
#include "support/refusals.h"
#include "support/set_fixture.h"
#include "support/waiting.h"
#include "vset/sys.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class VsetSwitch : public test::MiddlewareTest {};

TEST_F(VsetSwitch, ACallThatRunsLeavesNothingInTheNextLife) {
    SKIP_UNDER_EMULATION();
    write("/data/fw", "");
    fs::resize_file(vset::hostPath("/data/fw"), 32u << 20);
    for (int i = 0; i < 3; ++i) {
        HW_SYS_Init(nullptr);
        std::thread flasher([] { HW_SYS_UpgradeFw(E_HW_SYS_FW_0, test::u8("/data/fw")); });
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
        const HW_FLASH_InitParams_t stFlash = {};
        const std::function<void()> callAll = [&] {
            HW_NET_OpenParams_t stNet = {"eth0"};
            HW_FLASH_OpenParams_t stOpen = {E_HW_FLASH_TYPE_EMMC, {}};
            HW_Handle_t hNet = HW_HANDLE_NONE, hFlash = HW_HANDLE_NONE;
            HW_SYS_Init(nullptr);
            HW_NET_Init(nullptr);
            HW_FLASH_Init(&stFlash);
            HW_NET_Open(&stNet, &hNet);
            HW_NET_SetMac(hNet, "02:00:5E:00:53:01");
            HW_NET_Close(hNet);
            HW_FLASH_Open(&stOpen, &hFlash);
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
    EXPECT_THAT(testing::internal::GetCapturedStderr(), Not(HasSubstr("virtual set: /set.json")));
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
    // Takes the steps and cuts the power at a write after them. Returns the tree: path and content, folders without
    // one.
    std::map<std::string, std::string> treeAfterCut(const std::vector<std::function<void()>>& steps) {
        const int s32Exit = test::runInChild([&] {
            for (const std::function<void()>& step : steps) {
                step();
            }
            vset::cutPowerAtWrite(1);
            HW_FS_MkDir("/data/cut", 0755);
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
    const std::function<void()> attachOther = [&] {
        vset::detach();
        vset::attach(strOther);
    };
    for (const std::function<void()>& nextLife : {std::function<void()>(vset::powerCycle), attachOther}) {
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
    EXPECT_EQ(HW_FS_Close(stFiles.s32Plain), 0);
    FILE* const pForeign = std::tmpfile();
    EXPECT_EQ(HW_FS_Fclose(pForeign), -1);
    for (int s32Fd = 1; s32Fd < 1024; ++s32Fd) {
        EXPECT_EQ(HW_FS_Close(s32Fd), -1) << s32Fd;
    }
    EXPECT_EQ(std::fclose(pForeign), 0) << "was left open";
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
    using Step = std::function<void()>;
    const Step renew = [&] { writeFile("/data/f", "w", "new"); },
               renewAgain = [&] { writeFile("/data/f", "w", "newer"); };
    const Step sync = [] { HW_FS_Sync(); }, makeFolder = [] { HW_FS_MkDir("/data/d", 0755); };
    HW_S32 s32Open = -1;
    const Step begin = [&] { HW_FS_Write(s32Open = HW_FS_Open("/data/f", 2), "n", 1); };
    const struct {
        const char* pszName;
        std::vector<Step> steps;
        Tree tree;
    } kRows[] = {
        {"overwritten", {renew}, {{"/f", "old"}}},
        {"appended", {[&] { writeFile("/data/f", "a", "new"); }}, {{"/f", "old"}}},
        {"made", {[&] { writeFile("/data/g", "w", "new"); }}, {{"/f", "old"}}},
        {"by libc", {[&] { writePlain("/data/f", O_WRONLY | O_CREAT | O_TRUNC); }}, {{"/f", "old"}}},
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
        EXPECT_EQ(treeAfterCut(stRow.steps), stRow.tree) << stRow.pszName;
        fs::remove(folder() + "/tree/data/f");
    }
    write("/data/f", "old");
    test::runInChild(renew);
    EXPECT_EQ(read("/data/f"), "new") << "the end of a process is no power cut";
}

// All changes of the tree are writes at which the power can be cut.
TEST_F(VsetFiles, EveryWriteCanBeTheLast) {
    SKIP_UNDER_EMULATION();
    const std::function<void()> kWrites[] = {
        [] { HW_FS_MkDir("/data/d", 0755); },
        [] { HW_FS_Unlink("/data/f"); },
        [] { HW_FS_Fwrite("x", 1, 1, HW_FS_Fopen("/data/g", "w")); },
        [] { HW_FS_Write(HW_FS_Open("/data/f", 2), "x", 1); },
    };
    write("/data/f", "old");
    for (const auto& makeWrite : kWrites) {
        const int s32Exit = test::runInChild([&] {
            vset::cutPowerAtWrite(1);
            makeWrite();
        });
        EXPECT_GT(s32Exit, 128) << "write " << &makeWrite - kWrites;
        EXPECT_EQ(read("/data/f"), "old");
    }
}

}  // namespace
