// SPDX-License-Identifier: Apache-2.0
// Raw transfers from and to eMMC partitions.
#include <cstdlib>

#include <gmock/gmock.h>
#include <sys/resource.h>

#include "a_vextvfapi_sys.h"
#include "support/emulation.h"
#include "support/library_fixture.h"
#include "support/log_capture.h"

namespace {

using ::testing::HasSubstr;
using ::testing::IsSupersetOf;

constexpr unsigned int kSize = 1u << 20;  // of "misc"

int writeEmmc(const std::string& strBytes, unsigned int u32Shift, std::string strPartition = "misc") {
    std::vector<unsigned char> exact(strBytes.begin(), strBytes.end());
    unsigned char u8None = 0;
    return a_vextvfapi_sys_write_emmc(reinterpret_cast<unsigned char*>(strPartition.data()), u32Shift,
                                      static_cast<unsigned int>(exact.size()), exact.empty() ? &u8None : exact.data());
}

struct Read {
    int s32Status;
    std::string strBytes;
};

Read readEmmc(unsigned int u32Shift, unsigned int u32Length, std::string strPartition = "misc") {
    std::vector<unsigned char> exact(u32Length, '#');
    unsigned char u8None = '#';
    const int s32Status = a_vextvfapi_sys_read_emmc(reinterpret_cast<unsigned char*>(strPartition.data()), u32Shift,
                                                    u32Length, exact.empty() ? &u8None : exact.data());
    return {s32Status, {exact.begin(), exact.end()}};
}

class Emmc : public test::LibraryTest {};

TEST_F(Emmc, WhatIsWrittenIsRead) {
    const std::string strBytes("a\0b\xFF", 4);
    EXPECT_EQ(writeEmmc(strBytes, 1000), 0);
    EXPECT_EQ(readEmmc(999, 6).strBytes, "\xFF" + strBytes + "\xFF");
    EXPECT_EQ(writeEmmc("end", kSize - 3), 0);
    EXPECT_EQ(readEmmc(kSize - 3, 3).strBytes, "end");
    vset::powerCycle();
    ASSERT_EQ(a_vextvfapi_sys_init(), 0);
    EXPECT_EQ(readEmmc(1000, 4).strBytes, strBytes);
    vset::clearJournal();
    EXPECT_EQ(writeEmmc("", 0), 0);
    EXPECT_EQ(readEmmc(0, 0).s32Status, 0);
    EXPECT_THAT(calls(), IsSupersetOf({"HW_FLASH_Write", "HW_FLASH_Read"})) << "a length of 0 reaches the middleware";
}

// A sanitizer's own memory counts, too, and is more than any limit here.
#if !defined(FAPI_SANITIZED)
TEST_F(Emmc, AReadNeedsMemoryThatThereIs) {
    SKIP_UNDER_EMULATION();
    const auto readWithin2GiB = [] {
        const rlimit stLimit = {1ull << 31, 1ull << 31};
        setrlimit(RLIMIT_AS, &stLimit);
        unsigned char acName[] = "misc";
        unsigned char u8Byte = 7;
        const int s32Status = a_vextvfapi_sys_read_emmc(acName, 0, 0xFFFFFFFF, &u8Byte);
        std::exit(s32Status == -4 && u8Byte == 7 ? 0 : 1);
    };
    EXPECT_EXIT(readWithin2GiB(), testing::ExitedWithCode(0), "");
}

// No page of the 4 GiB that the chip refuses is touched.
TEST_F(Emmc, ALengthThatIsRefusedCostsNoMemory) {
    refuses("HW_FLASH_Read");
    const auto resident = [] {
        rusage stUsage = {};
        getrusage(RUSAGE_SELF, &stUsage);
        return stUsage.ru_maxrss;
    };
    const long before = resident();
    EXPECT_EQ(readEmmc(0, 1).s32Status, 0);
    unsigned char acName[] = "misc";
    unsigned char u8Byte = 0;
    EXPECT_EQ(a_vextvfapi_sys_read_emmc(acName, 0, 0xFFFFFFFF, &u8Byte), -1);
    EXPECT_LT(resident() - before, 256 * 1024) << "KiB";
}
#endif

TEST_F(Emmc, LogsNoMoreOfTheDataThanThereIs) {
    EXPECT_THAT(test::logOf([] { writeEmmc("abc", 7); }), HasSubstr("length:3 data:abc\n\n"));
    EXPECT_THAT(test::logOf([] { writeEmmc(std::string("ab\0c", 4), 7); }), HasSubstr("length:4 data:ab\n\n"));
}

}  // namespace
