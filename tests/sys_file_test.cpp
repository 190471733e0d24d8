// SPDX-License-Identifier: Apache-2.0
// File services.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "a_vextvfapi_sys.h"
#include "support/descriptors.h"
#include "support/log_capture.h"
#include "support/refusals.h"
#include "support/set_fixture.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

using test::u8;

// These work before a_vextvfapi_sys_init, so no test of this file calls it.
class SysFile : public test::SetTest {
protected:
    std::string hostPath(const std::string& strPath) { return vset::hostPath(strPath); }
    bool exists(const std::string& strPath) {
        struct stat stStat = {};
        return stat(hostPath(strPath).c_str(), &stStat) == 0;
    }
    mode_t modeOf(const std::string& strPath) {
        struct stat stStat = {};
        return stat(hostPath(strPath).c_str(), &stStat) == 0 ? stStat.st_mode & 07777 : 0;
    }
};

TEST_F(SysFile, CheckAndRemove) {
    write("/data/a", "x");
    EXPECT_EQ(a_vextvfapi_sys_check_file(u8("/data/a")), 0);
    EXPECT_EQ(a_vextvfapi_sys_remove_file(u8("/data/a")), 0);
    EXPECT_EQ(a_vextvfapi_sys_check_file(u8("/data/a")), -1);
    const std::string strLog = test::logOf([] {
        EXPECT_EQ(a_vextvfapi_sys_remove_file(u8("/data/a")), -1);
        EXPECT_EQ(a_vextvfapi_sys_check_file(nullptr), -1);
        EXPECT_EQ(a_vextvfapi_sys_remove_file(nullptr), -1);
    });
    EXPECT_THAT(strLog, HasSubstr("[D] <a_vextvfapi_sys_remove_file> Remove file: /data/a\n\n"));
    EXPECT_THAT(strLog, HasSubstr("[E] <a_vextvfapi_sys_remove_file> Error: failed to HW_FS_Unlink(/data/a)\n\n"));
    EXPECT_THAT(strLog, HasSubstr("[E] <a_vextvfapi_sys_check_file> pu8FilePath NULL\n"));
    EXPECT_THAT(strLog, HasSubstr("[E] <a_vextvfapi_sys_remove_file> filePath NULL\n"));
}

TEST_F(SysFile, Folders) {
    EXPECT_EQ(a_vextvfapi_sys_create_folder(u8("/mnt/usb/a")), 0);
    EXPECT_EQ(modeOf("/mnt/usb/a"), 0755u);
    EXPECT_EQ(a_vextvfapi_sys_create_folder(u8("/mnt/usb/a")), 0) << "exists already";
    EXPECT_EQ(a_vextvfapi_sys_create_folder(u8("/mnt/usb/b/c")), -1) << "one level only";
    EXPECT_EQ(a_vextvfapi_sys_check_folder(u8("/mnt/usb/a")), 0);
    EXPECT_EQ(a_vextvfapi_sys_check_folder(u8("/mnt/usb/b")), -1);
    write("/mnt/usb/file", "");
    EXPECT_EQ(a_vextvfapi_sys_check_folder(u8("/mnt/usb/file")), 0) << "a file counts too";
    const unsigned char u8Empty = 0;
    for (const unsigned char* pu8Bad : {static_cast<const unsigned char*>(nullptr), &u8Empty}) {
        EXPECT_EQ(a_vextvfapi_sys_create_folder(pu8Bad), -1);
        EXPECT_EQ(a_vextvfapi_sys_check_folder(pu8Bad), -1);
    }
    const std::string strLog = test::logOf([] {
        a_vextvfapi_sys_create_folder(u8("/mnt/usb/b/c"));
        a_vextvfapi_sys_create_folder(nullptr);
        a_vextvfapi_sys_check_folder(u8("/mnt/usb"));
    });
    EXPECT_THAT(strLog, HasSubstr("Folder not found, create failed\n\nVexTvFApiSystem(imp) [D] "
                                  "<a_vextvfapi_sys_create_folder> PASS!\n"));
    EXPECT_THAT(strLog, HasSubstr("[Factory] Create Folder ((null))\nVexTvFApiSystem(imp) [E] "
                                  "<a_vextvfapi_sys_create_folder> FolderPath is null.\nVexTvFApiSystem(imp) [E]"));
    EXPECT_THAT(strLog, HasSubstr("[E] <a_vextvfapi_sys_check_folder> Folder Exist (/mnt/usb)\n"));
}

TEST_F(SysFile, CreateFile) {
    EXPECT_EQ(a_vextvfapi_sys_create_file(u8("/data/new/file")), 0) << "makes the missing folder";
    EXPECT_EQ(modeOf("/data/new/file"), 0644u);
    EXPECT_EQ(modeOf("/data/new"), 0755u);
    write("/data/new/file", "kept");
    EXPECT_EQ(a_vextvfapi_sys_create_file(u8("/data/new/file")), -1);
    EXPECT_EQ(read("/data/new/file"), "kept");
    EXPECT_EQ(a_vextvfapi_sys_create_file(u8("/data/no/such/file")), -1);
    EXPECT_EQ(a_vextvfapi_sys_create_file(nullptr), -1);
    EXPECT_EQ(a_vextvfapi_sys_create_file(u8("")), -1);

    vset::clearJournal();
    ASSERT_EQ(a_vextvfapi_sys_create_file(u8("/data/another")), 0);
    EXPECT_THAT(calls(), ElementsAre("HW_FS_Stat", "HW_FS_Open", "HW_FS_Sync", "HW_FS_Close", "HW_FS_Close"));
    EXPECT_EQ(vset::journal().back().strArguments, "fd=0") << "descriptor 0 is closed last";

    // Its result is that of the last close, although the file is there.
    vset::inject({"HW_FS_Close", -1, 2});
    EXPECT_EQ(a_vextvfapi_sys_create_file(u8("/data/third")), -1);
    EXPECT_TRUE(exists("/data/third"));
    // A probe that fails otherwise than by absence ends the operation.
    vset::inject({"HW_FS_Open", -2});
    const std::string strLog = test::logOf([] {
        // The switch of the log looks for a file itself.
        vset::clearFaults();
        vset::inject({"HW_FS_Open", -2});
        EXPECT_EQ(a_vextvfapi_sys_create_file(u8("/data/fourth")), -1);
    });
    EXPECT_FALSE(exists("/data/fourth"));
    EXPECT_THAT(strLog, HasSubstr("[E] <a_vextvfapi_sys_create_file> open Write File error\n"));
}

TEST_F(SysFile, CopyAnswersMinusOneAndCopies) {
    std::string strBytes(3000, '\0');
    for (std::size_t i = 0; i < strBytes.size(); ++i) {
        strBytes[i] = static_cast<char>(i * 7);
    }
    write("/mnt/usb/src", strBytes);
    vset::clearJournal();
    EXPECT_EQ(a_vextvfapi_sys_copy_file(u8("/mnt/usb/src"), u8("/data/sub/dst"), true), -1);
    EXPECT_EQ(read("/data/sub/dst"), strBytes);
    EXPECT_EQ(modeOf("/data/sub/dst"), 0644u);
    std::vector<std::string> sizes;
    for (const vset::JournalEntry& stEntry : vset::journal()) {
        if (std::string(stEntry.pszCall) == "HW_FS_Write") {
            sizes.push_back(stEntry.strArguments.substr(stEntry.strArguments.find("size=")));
        }
    }
    EXPECT_THAT(sizes, ElementsAre("size=1024", "size=1024", "size=952"));

    write("/data/keep", "old");
    a_vextvfapi_sys_copy_file(u8("/mnt/usb/src"), u8("/data/keep"), true);
    EXPECT_EQ(read("/data/keep"), "old");
    a_vextvfapi_sys_copy_file(u8("/mnt/usb/src"), u8("/data/keep"), false);
    EXPECT_EQ(read("/data/keep"), strBytes);
}

TEST_F(SysFile, CopyFailuresSayWhyAndCloseWhatTheyOpened) {
    const struct {
        const char* pszSrc;
        const char* pszDst;
        vset::Fault stFault;
        const char* pszText;
    } kRows[] = {
        {nullptr, "/data/d", {}, " SrcFileName is null.\n\n"},
        {"", "/data/d", {}, " SrcFileName is null.\n\n"},
        {"/data/s", nullptr, {}, " DestFilename is null.\n\n"},
        {"/data/s", "/data/d", {vset::kAllocation}, "[D] <a_vextvfapi_sys_copy_file> FAPI_MALLOC fail\n"},
        {"/data/none", "/data/d", {}, "failed\n\n"},
        {"/data/s", "/data/x/y/d", {}, "DIR not found, re-create failed\n\n"},
        {"/data/s", "/data/keep", {}, "Dest File Exist, and fail trigger by b_fail_if_exist(1) /data/keep \n\n"},
        {"/data/s", "/data/d", {"HW_FS_Open", -2, 1, 1, EACCES}, "open Write File:/data/d error:Permission denied\n\n"},
        {"/data/s", "/data", {"HW_FS_Open", -1}, "open Write File:/data error:Is a directory\n\n"},
        {"/data/s", "/data/d", {"HW_FS_Write", 3}, "failed,x=3\n\n"},
    };
    write("/data/s", std::string(2000, 's'));
    write("/data/keep", "old");
    for (const auto& stRow : kRows) {
        SCOPED_TRACE(stRow.pszText);
        const int s32Descriptors = test::openDescriptors();
        const std::string strLog = test::logOf([&] {
            if (!stRow.stFault.strCall.empty()) {
                vset::inject(stRow.stFault);
            }
            EXPECT_EQ(a_vextvfapi_sys_copy_file(reinterpret_cast<const unsigned char*>(stRow.pszSrc),
                                                reinterpret_cast<const unsigned char*>(stRow.pszDst), true),
                      -1);
            vset::clearFaults();
        });
        EXPECT_THAT(strLog, HasSubstr(stRow.pszText));
        EXPECT_EQ(test::openDescriptors(), s32Descriptors);
        EXPECT_EQ(read("/data/keep"), "old");
        std::remove(hostPath("/data/d").c_str());
    }
    const std::string strLog = test::logOf([] { a_vextvfapi_sys_copy_file(u8("/data/s"), u8("/data/d"), false); });
    const std::string strFirst =
        "VexTvFApiSystem(imp) [D] <a_vextvfapi_sys_copy_file> [Factory][a_vextvfapi_sys_copy_file] Copy File from "
        "(/data/s) to (/data/d) b_fail_if_exist(0)\n \n";
    EXPECT_EQ(strLog.compare(0, strFirst.size(), strFirst), 0);
    // Printed again, then the names, then the source.
    const std::string strTag = "VexTvFApiSystem(imp) [D] ";
    EXPECT_THAT(strLog, HasSubstr("b_fail_if_exist(0)\n \n" + strFirst + strTag +
                                  "<a_vextvfapi_sys_copy_file> pu8FileName:/data/d\n" + strTag +
                                  "<a_vextvfapi_sys_copy_file> pszFilePath:/data\n" + strTag +
                                  "<a_vextvfapi_sys_copy_file> Open source file  /data/s\n\n"));
    EXPECT_THAT(strLog, HasSubstr("Bytes Read = 976\n\n"));
}

TEST_F(SysFile, ReadBlock) {
    write("/data/f", "0123456789");
    const struct {
        unsigned int u32Length;
        unsigned long long u64Position;
        int s32Status;
        std::string strRead;
    } kRows[] = {
        {4, 3, 0, "3456"}, {20, 8, 0, "89"},        {1, 10, -1, ""},
        {5, 1000, -1, ""}, {5, 1ull << 63, -1, ""}, {5, 0xFFFFFFFFFFFFFFFFull, -1, ""},
    };
    for (const auto& stRow : kRows) {
        SCOPED_TRACE(stRow.u64Position);
        std::vector<unsigned char> buffer(stRow.u32Length, '#');
        unsigned int u32Read = 99;
        EXPECT_EQ(a_vextvfapi_sys_read_file(u8("/data/f"), buffer.data(), stRow.u32Length, stRow.u64Position, &u32Read),
                  stRow.s32Status);
        EXPECT_EQ(std::string(buffer.begin(), buffer.begin() + u32Read), stRow.strRead);
    }
    unsigned char u8Byte = 0;
    unsigned int u32Read = 99;
    EXPECT_EQ(a_vextvfapi_sys_read_file(u8("/data/none"), &u8Byte, 1, 0, &u32Read), -1);
    EXPECT_EQ(a_vextvfapi_sys_read_file(nullptr, &u8Byte, 1, 0, &u32Read), -1);
    EXPECT_EQ(a_vextvfapi_sys_read_file(u8("/data/f"), nullptr, 1, 0, &u32Read), -1);
    EXPECT_EQ(a_vextvfapi_sys_read_file(u8("/data/f"), &u8Byte, 0, 0, &u32Read), -1);
    EXPECT_EQ(u32Read, 99u) << "untouched until the file is open";
    EXPECT_EQ(a_vextvfapi_sys_read_file(u8("/data/f"), &u8Byte, 1, 0, nullptr), -1);

    vset::inject({"HW_FS_Fread", -1});
    EXPECT_EQ(a_vextvfapi_sys_read_file(u8("/data/f"), &u8Byte, 1, 0, &u32Read), 0) << "an error reads as nothing";
    EXPECT_EQ(u32Read, 0u);
    vset::inject({"HW_FS_Fclose", -1});
    EXPECT_EQ(a_vextvfapi_sys_read_file(u8("/data/f"), &u8Byte, 1, 4, &u32Read), -1);
    EXPECT_EQ(u32Read, 1u) << "a failed close keeps what was read";
    EXPECT_EQ(u8Byte, '4');
    vset::inject({"HW_FS_Fopen"});
    EXPECT_EQ(a_vextvfapi_sys_read_file(u8("/data/f"), &u8Byte, 1, 0, &u32Read), -1);
    EXPECT_EQ(u32Read, 0u);
}

TEST_F(SysFile, ReadOneLine) {
    write("/data/f", "first\nsecond line\n\nlast");
    const struct {
        unsigned int u32Length;
        unsigned long long u64Position;
        int s32Status;
        const char* pszLine;
    } kRows[] = {
        {64, 0, 0, "first\n"}, {64, 6, 0, "second line\n"},  {4, 6, 0, "sec"}, {64, 18, 0, "\n"},
        {64, 19, 0, "last"},   {0xFFFFFFFFu, 19, 0, "last"}, {64, 23, -1, ""}, {64, 1ull << 63, -1, "first\n"},
    };
    for (const auto& stRow : kRows) {
        SCOPED_TRACE(stRow.u64Position);
        unsigned char au8Line[65] = {};
        EXPECT_EQ(a_vextvfapi_sys_read_file_one_line(u8("/data/f"), au8Line, stRow.u32Length, stRow.u64Position),
                  stRow.s32Status);
        EXPECT_STREQ(reinterpret_cast<char*>(au8Line), stRow.pszLine);
    }
    unsigned char u8Byte = 0;
    const std::string strLog = test::logOf([&] {
        EXPECT_EQ(a_vextvfapi_sys_read_file_one_line(u8("/data/f"), &u8Byte, 0, 0), -1);
        EXPECT_EQ(a_vextvfapi_sys_read_file_one_line(nullptr, &u8Byte, 1, 0), -1);
        EXPECT_EQ(a_vextvfapi_sys_read_file_one_line(u8("/data/none"), &u8Byte, 1, 0), -1);
        vset::inject({"HW_FS_Fclose", -1});
        EXPECT_EQ(a_vextvfapi_sys_read_file_one_line(u8("/data/f"), &u8Byte, 1, 0), -1);
    });
    EXPECT_THAT(strLog, HasSubstr("<a_vextvfapi_sys_read_file_one_line> Invalid paramerters\n"));
    EXPECT_THAT(strLog, HasSubstr("[E] <a_vextvfapi_sys_read_file_one_line> Read file (null) fail\n"));
    EXPECT_THAT(strLog, HasSubstr("Error: HW_FS_Fclose(...) fail\n\n"));
}

TEST_F(SysFile, Checksum) {
    const struct {
        std::string strBytes;
        unsigned int u32Sum;
    } kRows[] = {
        {"", 0},
        {std::string("\xFF\x01", 2), 0x0100},
        {std::string(257, '\xFF'), 0xFFFF},
        {std::string(258, '\xFF'), 0x00FE},
    };
    for (const auto& stRow : kRows) {
        write("/data/f", stRow.strBytes);
        unsigned int u32Sum = 0xABCD1234;
        EXPECT_EQ(a_vextvfapi_sys_get_file_checksum(u8("/data/f"), &u32Sum), 0);
        EXPECT_EQ(u32Sum, stRow.u32Sum);
    }
    write("/data/f", "abc");
    vset::clearJournal();
    unsigned int u32Sum = 7;
    a_vextvfapi_sys_get_file_checksum(u8("/data/f"), &u32Sum);
    EXPECT_EQ(count("HW_FS_Fread"), 4u) << "a byte a call, and the end";
    u32Sum = 7;
    EXPECT_EQ(a_vextvfapi_sys_get_file_checksum(u8("/data/f"), nullptr), -1);
    EXPECT_EQ(a_vextvfapi_sys_get_file_checksum(nullptr, &u32Sum), -1);
    EXPECT_EQ(a_vextvfapi_sys_get_file_checksum(u8("/data/none"), &u32Sum), -1);
    EXPECT_EQ(u32Sum, 7u);
}

TEST_F(SysFile, WriteFile) {
    const unsigned char au8Data[] = {'a', 0, 'b'};
    EXPECT_EQ(a_vextvfapi_sys_write_file(u8("/data/w/f"), au8Data, 3, u8("wb")), 0);
    EXPECT_EQ(read("/data/w/f"), std::string("a\0b", 3));
    EXPECT_EQ(a_vextvfapi_sys_write_file(u8("/data/w/f"), au8Data, 1, u8("ab")), 0);
    EXPECT_EQ(read("/data/w/f"), std::string("a\0ba", 4));

    const struct {
        const char* pszPath;
        const unsigned char* pu8Data;
        unsigned int u32Length;
        const char* pszMode;
        vset::Fault stFault;
        int s32Status;
        const char* pszText;
    } kRows[] = {
        {nullptr, nullptr, 0, nullptr, {}, -1, "[E] <a_vextvfapi_sys_write_file> FileName is null.\n"},
        {"", au8Data, 3, "wb", {}, -1, "FileName is null.\n"},
        {"/data/f", nullptr, 0, "", {}, -1, "pu8FileMode is null.\n"},
        {"/data/f", nullptr, 3, "wb", {}, -1, "pu8DataBuff is invalid.\n"},
        {"/data/f", au8Data, 0, "wb", {}, -1, "pu8DataBuff is invalid.\n"},
        {"/data/f", au8Data, 3, "wb", {vset::kAllocation}, -1, "pu8Data is NULL\n"},
        {"/data/f", au8Data, 3, "wb", {vset::kAllocation, 0, 2}, -1, "FAPI_MALLOC fail\n"},
        {"/data/x/y/f", au8Data, 3, "wb", {}, -1, "Folder not found, create failed\n"},
        {"/data/f", au8Data, 3, "wb", {"HW_FS_Fopen"}, -1, "Error: HW_FS_Fopen(...) fail\n\n"},
        {"/data/f", au8Data, 3, "wb", {"HW_FS_Fclose", -1}, -1, "failed,x=-1\n\n"},
        {"/data/f", au8Data, 3, "wb", {"HW_FS_Fwrite", 1}, 0, "PASS!\n"},
    };
    for (const auto& stRow : kRows) {
        SCOPED_TRACE(stRow.pszText);
        const std::string strLog = test::logOf([&] {
            if (!stRow.stFault.strCall.empty()) {
                vset::inject(stRow.stFault);
            }
            EXPECT_EQ(
                a_vextvfapi_sys_write_file(reinterpret_cast<const unsigned char*>(stRow.pszPath), stRow.pu8Data,
                                           stRow.u32Length, reinterpret_cast<const unsigned char*>(stRow.pszMode)),
                stRow.s32Status);
            vset::clearFaults();
        });
        EXPECT_THAT(strLog, HasSubstr(stRow.pszText));
    }
    // A failed close counts only if something was written.
    vset::inject({"HW_FS_Fwrite", 0});
    vset::inject({"HW_FS_Fclose", -1});
    EXPECT_EQ(a_vextvfapi_sys_write_file(u8("/data/f"), au8Data, 3, u8("wb")), 0);
}

TEST_F(SysFile, ModeAndSync) {
    write("/data/f", "x");
    EXPECT_EQ(a_vextvfapi_sys_change_file_mode(u8("/data/f"), 0600), 0);
    EXPECT_EQ(modeOf("/data/f"), 0600u);
    EXPECT_EQ(a_vextvfapi_sys_change_file_mode(u8("/data/none"), 0600), -1);
    const std::string strLog = test::logOf([] { EXPECT_EQ(a_vextvfapi_sys_change_file_mode(nullptr, 0644), -1); });
    EXPECT_EQ(strLog,
              "VexTvFApiSystem(imp) [D] <a_vextvfapi_sys_change_file_mode> chmod (null) 644\n\n"
              "VexTvFApiSystem(imp) [E] <a_vextvfapi_sys_change_file_mode> chmod (null) failed!\n\n");
    EXPECT_EQ(a_vextvfapi_sys_sync_fs(), 0);
    vset::inject({"HW_FS_Sync", -7});
    EXPECT_EQ(a_vextvfapi_sys_sync_fs(), -7) << "the raw result";
}

}  // namespace
