// SPDX-License-Identifier: Apache-2.0
// Parameters of INI files.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include "a_vextvfapi_info.h"
#include "a_vextvfapi_sys.h"
#include "support/emulation.h"
#include "support/library_fixture.h"
#include "support/process.h"
#include "support/refusals.h"

namespace {

using test::u8;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr char kFile[] = "/data/test.ini";

struct Read {
    int s32Status;
    std::string strData;
};

// Reads into a buffer that the caller has not cleared, with a byte after its end.
Read get(const char* pszKey, unsigned int size, const char* pszFile = kFile) {
    std::string strData(size + 1, '#');
    const int s32Status =
        a_vextvfapi_info_get_ini_para(u8(pszFile), u8(pszKey), reinterpret_cast<unsigned char*>(strData.data()), size);
    EXPECT_EQ(strData.back(), '#');
    strData.pop_back();
    return {s32Status, strData};
}

class Ini : public test::LibraryTest {
protected:
    void SetUp() override {
        LibraryTest::SetUp();
        write(kFile, "[s]\nfour = abcd\nnone =\nquoted = \" a b \"\n");
        vset::clearJournal();
    }
};

TEST_F(Ini, ReadsValuesThatFit) {
    refuses("HW_SYS_OpenConfigFile");
    const struct {
        Read stRead;
        int s32Status;
        std::string strData;
    } kRows[] = {
        {get("s:four", 5), 0, std::string("abcd\0", 5)},
        {get("s:four", 8), 0, std::string("abcd\0\0\0\0", 8)},  // zeros fill the buffer up
        {get("s:four", 4), -1, std::string(4, '\0')},           // a value that does not fit leaves nothing
        {get("s:four", 0), -1, ""},
        {get("s:quoted", 8), 0, std::string(" a b \0\0\0", 8)},
        {get("s:none", 3), 0, std::string(3, '\0')},
        {get("s:missing", 3), 0, "###"},  // no failure, and the caller's bytes stay
        {get("s:four", 4, "/data/missing.ini"), -1, "####"},
    };
    for (const auto& stRow : kRows) {
        SCOPED_TRACE(&stRow - kRows);
        EXPECT_EQ(stRow.stRead.s32Status, stRow.s32Status);
        EXPECT_EQ(stRow.stRead.strData, stRow.strData);
    }
    vset::inject({"HW_SYS_GetConfigData", HW_OK});
    const Read stRead = get("s:four", 3);
    EXPECT_EQ(stRead.s32Status, 0) << "a record without a text is an empty value";
    EXPECT_EQ(stRead.strData, std::string(3, '\0'));
}

TEST_F(Ini, RefusesWhatCannotBeRead) {
    EXPECT_EQ(a_vextvfapi_info_get_ini_para(u8(kFile), nullptr, nullptr, 0), -2);
    EXPECT_EQ(a_vextvfapi_info_get_ini_para(nullptr, u8("s:four"), nullptr, 0), -2);
    EXPECT_TRUE(calls().empty()) << "a null is refused before the middleware is asked";
    EXPECT_EQ(a_vextvfapi_info_get_ini_para(u8(kFile), u8("s:four"), nullptr, 4), -2);
    EXPECT_THAT(calls(), ElementsAre("HW_SYS_OpenConfigFile", "HW_SYS_GetConfigData", "HW_SYS_CloseConfigFile"));
    vset::inject({"HW_SYS_OpenConfigFile", HW_ERR_MEMORY_ALLOCATE});
    EXPECT_EQ(get("s:four", 4).s32Status, -4);
}

TEST_F(Ini, WritesValues) {
    EXPECT_EQ(a_vextvfapi_info_set_ini_para(u8(kFile), u8("s:four"), u8("4")), 0);
    EXPECT_EQ(a_vextvfapi_info_set_ini_para(u8(kFile), u8("new:key"), u8("value")), 0);
    EXPECT_EQ(a_vextvfapi_info_set_ini_para(u8(kFile), u8("s:quoted"), u8("")), 0);
    EXPECT_THAT(read(kFile), AllOf(HasSubstr("[s]"), HasSubstr("four = 4"), HasSubstr("[new]\nkey = value")));
    EXPECT_EQ(get("s:four", 3).strData, std::string("4\0\0", 3));
    EXPECT_EQ(get("s:quoted", 2).strData, std::string(2, '\0'));
}

// All file systems are synchronized, so that a power cut takes no earlier file back, either.
TEST_F(Ini, AWrittenValueIsOnTheMedium) {
    SKIP_UNDER_EMULATION();
    test::runInChild([] {
        close(open("/data/earlier", O_WRONLY | O_CREAT, 0600));
        a_vextvfapi_info_set_ini_para(u8(kFile), u8("s:k"), u8("v"));
        close(open("/data/later", O_WRONLY | O_CREAT, 0600));
        vset::cutPowerAtWrite(1);
        a_vextvfapi_sys_create_folder(u8("/data/cut"));
    });
    EXPECT_EQ(a_vextvfapi_sys_check_file(u8("/data/earlier")), 0);
    EXPECT_EQ(a_vextvfapi_sys_check_file(u8("/data/later")), -1);
}

}  // namespace
