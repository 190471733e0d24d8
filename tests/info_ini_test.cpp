// SPDX-License-Identifier: Apache-2.0
// Parameters of INI files.
#include <gmock/gmock.h>

#include "a_vextvfapi_info.h"
#include "a_vextvfapi_sys.h"
#include "support/library_fixture.h"
#include "support/log_capture.h"
#include "support/refusals.h"

namespace {

using test::u8;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr char kFile[] = "/data/test.ini";

// A buffer of `size` bytes that the caller has not cleared.
struct Read {
    int s32Status;
    std::string strData;
};

Read get(const char* pszKey, unsigned int size, const char* pszFile = kFile) {
    std::vector<unsigned char> exact(size, '#');
    const int s32Status = a_vextvfapi_info_get_ini_para(u8(pszFile), u8(pszKey), exact.data(), size);
    return {s32Status, {exact.begin(), exact.end()}};
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
    EXPECT_EQ(get("s:four", 5).strData, std::string("abcd\0", 5));
    EXPECT_EQ(get("s:four", 8).strData, std::string("abcd\0\0\0\0", 8)) << "zeros fill the buffer up";
    EXPECT_EQ(get("s:four", 4).s32Status, -1);
    EXPECT_EQ(get("s:four", 4).strData, std::string(4, '\0')) << "a value that does not fit leaves nothing";
    unsigned char u8Byte = '#';
    EXPECT_EQ(a_vextvfapi_info_get_ini_para(u8(kFile), u8("s:four"), &u8Byte, 0), -1);
    EXPECT_EQ(u8Byte, '#');
    EXPECT_EQ(get("s:quoted", 8).strData, std::string(" a b \0\0\0", 8));
    EXPECT_EQ(get("s:none", 3).strData, std::string(3, '\0'));
    EXPECT_EQ(get("s:none", 3).s32Status, 0);
    EXPECT_THAT(test::logOf([] {
                    get("s:four", 8);
                    get("s:four", 4);
                }),
                AllOf(HasSubstr("VexTvFApiInformation(imp) [D] <a_vextvfapi_info_get_ini_para> s:four = abcd\n\n"),
                      HasSubstr("[E] <a_vextvfapi_info_get_ini_para> Data overflow.\n\n")));
}

TEST_F(Ini, AMissingKeyIsNoFailure) {
    const Read stRead = get("s:missing", 3);
    EXPECT_EQ(stRead.s32Status, 0);
    EXPECT_EQ(stRead.strData, "###") << "the caller's bytes stay";
    // Unless the file cannot be closed, whose code then counts.
    vset::inject({"HW_SYS_CloseConfigFile", HW_ERR_NOT_SUPPORT});
    EXPECT_EQ(get("s:missing", 3).s32Status, -6);
    vset::powerCycle();
}

TEST_F(Ini, RefusesWhatCannotBeRead) {
    refuses("HW_SYS_OpenConfigFile");
    unsigned char au8Data[4] = {'#', '#', '#', '#'};
    EXPECT_EQ(a_vextvfapi_info_get_ini_para(nullptr, u8("s:four"), au8Data, 4), -2);
    EXPECT_EQ(a_vextvfapi_info_get_ini_para(u8(kFile), nullptr, au8Data, 4), -2);
    EXPECT_TRUE(calls().empty()) << "null is refused before the middleware is asked";
    EXPECT_EQ(a_vextvfapi_info_get_ini_para(u8(kFile), u8("s:four"), nullptr, 4), -2);
    EXPECT_THAT(calls(), ElementsAre("HW_SYS_OpenConfigFile", "HW_SYS_GetConfigData", "HW_SYS_CloseConfigFile"));
    EXPECT_EQ(get("s:four", 4, "/data/missing.ini").s32Status, -1);
    vset::inject({"HW_SYS_OpenConfigFile", HW_ERR_MEMORY_ALLOCATE});
    EXPECT_EQ(get("s:four", 4).s32Status, -4);
    vset::inject({"HW_SYS_CloseConfigFile", HW_ERR_FAILED});
    EXPECT_EQ(get("s:four", 8).s32Status, -1) << "a failed close takes the place of success";
    vset::powerCycle();
}

TEST_F(Ini, WritesValues) {
    EXPECT_EQ(a_vextvfapi_info_set_ini_para(u8(kFile), u8("s:four"), u8("4")), 0);
    EXPECT_EQ(a_vextvfapi_info_set_ini_para(u8(kFile), u8("new:key"), u8("value")), 0);
    EXPECT_EQ(a_vextvfapi_info_set_ini_para(u8(kFile), u8("s:quoted"), u8("")), 0);
    EXPECT_THAT(read(kFile), AllOf(HasSubstr("[s]"), HasSubstr("four = 4"), HasSubstr("[new]\nkey = value")));
    EXPECT_EQ(get("s:four", 3).strData, std::string("4\0\0", 3));
    EXPECT_EQ(get("s:quoted", 2).strData, std::string(2, '\0'));
}

TEST_F(Ini, RefusesWhatCannotBeWritten) {
    const std::string strBefore = read(kFile);
    EXPECT_EQ(a_vextvfapi_info_set_ini_para(nullptr, u8("s:k"), u8("v")), -2);
    EXPECT_EQ(a_vextvfapi_info_set_ini_para(u8(kFile), nullptr, u8("v")), -2);
    EXPECT_EQ(a_vextvfapi_info_set_ini_para(u8(kFile), u8("s:k"), nullptr), -2);
    EXPECT_TRUE(calls().empty());
    for (const char* pszCall : {"HW_SYS_OpenConfigFile", "HW_SYS_SetConfigData"}) {
        vset::inject({pszCall, HW_ERR_NOT_SUPPORT});
        EXPECT_EQ(a_vextvfapi_info_set_ini_para(u8(kFile), u8("s:k"), u8("v")), -1) << pszCall;
    }
    EXPECT_EQ(read(kFile), strBefore);
    const std::string strLog = test::logOf([] {
        vset::inject({"HW_SYS_CloseConfigFile", HW_ERR_FAILED});
        EXPECT_EQ(a_vextvfapi_info_set_ini_para(u8(kFile), u8("s:k"), u8("v")), -1);
    });
    EXPECT_THAT(strLog, AllOf(HasSubstr("[a_vextvfapi_info_set_ini_para] key= s:k\n"),
                              HasSubstr("[E] <a_vextvfapi_info_set_ini_para> close config file failed\n\n")));
    vset::powerCycle();
}

}  // namespace
