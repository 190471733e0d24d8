// SPDX-License-Identifier: Apache-2.0
// File services.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "a_vextvfapi_sys.h"
#include "support/descriptors.h"
#include "support/log_capture.h"
#include "support/refusals.h"
#include "support/set_fixture.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

using test::u8;

// These work before a_vextvfapi_sys_init, so no test of this file calls it.
class SysFile : public test::SetTest {
protected:
    // Files have the modes that they are made with.
    SysFile() : _maskBefore(umask(0)) {}
    ~SysFile() override { umask(_maskBefore); }

    void SetUp() override {
        SetTest::SetUp();
        _s32Descriptors = test::openDescriptors();
    }
    void TearDown() override {
        EXPECT_EQ(test::openDescriptors(), _s32Descriptors);
        SetTest::TearDown();
    }

    static bool exists(const std::string& strPath) { return access(vset::hostPath(strPath).c_str(), F_OK) == 0; }
    static mode_t modeOf(const std::string& strPath) {
        struct stat stStat = {};
        return stat(vset::hostPath(strPath).c_str(), &stStat) == 0 ? stStat.st_mode & 07777 : 0;
    }

private:
    const mode_t _maskBefore;
    int _s32Descriptors = 0;
};

TEST_F(SysFile, CreateFile) {
    EXPECT_EQ(a_vextvfapi_sys_create_file(u8("/data/new/file")), 0) << "makes the missing folder";
    EXPECT_EQ(modeOf("/data/new/file"), 0644u);
    EXPECT_EQ(modeOf("/data/new"), 0755u);
    write("/data/new/file", "kept");
    EXPECT_EQ(a_vextvfapi_sys_create_file(u8("/data/new/file")), -1);
    EXPECT_EQ(read("/data/new/file"), "kept");
    EXPECT_EQ(a_vextvfapi_sys_create_file(u8("/data/no/such/file")), -1);
    EXPECT_EQ(a_vextvfapi_sys_create_file(u8("")), -1);
    EXPECT_THAT(test::logOf([] { EXPECT_EQ(a_vextvfapi_sys_create_file(u8("/data/new")), -1); }),
                HasSubstr("open Write File error\n"))
        << "a folder cannot be opened for writing";

    vset::clearJournal();
    EXPECT_EQ(a_vextvfapi_sys_check_file(nullptr), -1);
    EXPECT_EQ(a_vextvfapi_sys_remove_file(nullptr), -1);
    ASSERT_EQ(a_vextvfapi_sys_create_file(u8("/data/another")), 0);
    EXPECT_THAT(calls(), ElementsAre("HW_FS_Stat", "HW_FS_Open", "HW_FS_Sync", "HW_FS_Close", "HW_FS_Close"));

    // Its result is that of the last close, although the file is there.
    vset::inject({"HW_FS_Close", -1, 2});
    EXPECT_EQ(a_vextvfapi_sys_create_file(u8("/data/third")), -1);
    EXPECT_TRUE(exists("/data/third"));
    // Descriptor 0 is one, and a probe that fails otherwise than by absence ends the operation.
    vset::inject({"HW_FS_Open", 0});
    EXPECT_EQ(a_vextvfapi_sys_create_file(u8("/data/fourth")), -1);
    vset::inject({"HW_FS_Open", 0});
    a_vextvfapi_sys_copy_file(u8("/data/new/file"), u8("/data/fourth"), true);
    vset::inject({"HW_FS_Open", -2});
    EXPECT_EQ(a_vextvfapi_sys_create_file(u8("/data/fourth")), -1);
    EXPECT_FALSE(exists("/data/fourth"));
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
    vset::clearJournal();
    a_vextvfapi_sys_copy_file(u8("/mnt/usb/src"), u8("/data/keep"), true);
    EXPECT_EQ(read("/data/keep"), "old");
    EXPECT_THAT(calls(), ElementsAre("HW_FS_Fopen", "HW_FS_Stat", "HW_FS_Open", "HW_FS_Fclose", "HW_FS_Close"));
    a_vextvfapi_sys_copy_file(u8("/mnt/usb/src"), u8("/data/keep"), false);
    EXPECT_EQ(read("/data/keep"), strBytes);
    const auto copyToFolder = [] { a_vextvfapi_sys_copy_file(u8("/mnt/usb/src"), u8("/data"), true); };
    EXPECT_THAT(test::logOf(copyToFolder), HasSubstr("open Write File:/data error:Is a directory\n\n"));
    vset::inject({"HW_FS_Open", -1});
    EXPECT_THAT(test::logOf(copyToFolder), HasSubstr("open Write File:/data error:Is a directory\n\n"));
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
    // Not every file system seeks to the largest offset.
    unsigned int u32Unread = 0;
    unsigned char au8Unread[5];
    a_vextvfapi_sys_read_file(u8("/data/f"), au8Unread, 5, (1ull << 63) - 1, &u32Unread);
    EXPECT_EQ(count("HW_FS_Fseek"), 5u) << "positions beyond the largest offset are not sought";
    unsigned char au8Line[6] = {};
    EXPECT_EQ(a_vextvfapi_sys_read_file_one_line(u8("/data/f"), au8Line, 0xFFFFFFFF, 5), 0);
    EXPECT_STREQ(reinterpret_cast<char*>(au8Line), "56789");
    EXPECT_EQ(a_vextvfapi_sys_read_file_one_line(u8("/data/f"), au8Line, 3, 1ull << 63), -1);
    EXPECT_STREQ(reinterpret_cast<char*>(au8Line), "01") << "it is read all the same";
    unsigned char u8Byte = 0;
    unsigned int u32Read = 99;
    EXPECT_EQ(a_vextvfapi_sys_read_file(u8("/data/none"), &u8Byte, 1, 0, &u32Read), -1);
    EXPECT_EQ(a_vextvfapi_sys_read_file(u8("/data/f"), &u8Byte, 0, 0, &u32Read), -1);
    EXPECT_EQ(u32Read, 99u) << "untouched until the file is open";

    vset::inject({"HW_FS_Fclose", -1});
    EXPECT_EQ(a_vextvfapi_sys_read_file(u8("/data/f"), &u8Byte, 1, 4, &u32Read), -1);
    EXPECT_EQ(u32Read, 1u) << "a failed close keeps what was read";
    EXPECT_EQ(u8Byte, '4');
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
    unsigned int u32Sum = 7;
    EXPECT_EQ(a_vextvfapi_sys_get_file_checksum(u8("/data/none"), &u32Sum), -1);
    EXPECT_EQ(u32Sum, 7u);
}

TEST_F(SysFile, WriteFile) {
    const unsigned char au8Data[] = {'a', 0, 'b'};
    EXPECT_EQ(a_vextvfapi_sys_write_file(u8("/data/w/f"), au8Data, 3, u8("wb")), 0);
    EXPECT_EQ(read("/data/w/f"), std::string("a\0b", 3));
    EXPECT_EQ(a_vextvfapi_sys_write_file(u8("/data/w/f"), au8Data, 1, u8("ab")), 0);
    EXPECT_EQ(read("/data/w/f"), std::string("a\0ba", 4));

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
    vset::inject({"HW_FS_Sync", -7});
    EXPECT_EQ(a_vextvfapi_sys_sync_fs(), -7) << "the raw result";
}

}  // namespace
