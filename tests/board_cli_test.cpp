// SPDX-License-Identifier: Apache-2.0
// The bench tool at the board: files of bytes, events of keys and pads in words, the shipped plan.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/plan_fixture.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;

class BoardCli : public test::PlanTest {
protected:
    std::string file() const { return folder() + "/out.bin"; }
};

TEST_F(BoardCli, BytesAreWrittenToAFile) {
    std::string strBytes(300, '\0');
    for (std::size_t i = 0; i < strBytes.size(); ++i) {
        strBytes[i] = static_cast<char>(i);
    }
    const std::string strSource = writeFile("in.bin", strBytes);
    ASSERT_EQ(fapi({"call", "sys_write_file", "/data/f", "file:" + strSource}).s32Exit, 0);
    writeFile("out.bin", std::string(1000, 'x'));
    const nlohmann::json json = fapiJson({"call", "sys_read_file", "/data/f", "--output", file()});
    EXPECT_EQ(readFile(file()), strBytes) << "what was there before is gone";
    EXPECT_THAT(json["outputs"]["data"]["hex"].get<std::string>(), EndsWith("fdfeff000102030405060708090a0b0c0d0e0f"
                                                                            "101112131415161718191a1b1c1d1e1f2021222324"
                                                                            "25262728292a2b"))
        << "printed all the same";

    ASSERT_EQ(fapi({"set", "edid", "0", "1", ""}).s32Exit, 0);
    EXPECT_EQ(fapi({"call", "prphrl_get_hdmi_edid_data", "0", "--output", file()}).s32Exit, 0);
    EXPECT_EQ(readFile(file()), "") << "no byte is what it answered";
}

TEST_F(BoardCli, EveryEdidIsValid) {
    if (test::runProcess({"edid-decode", "--version"}).s32Exit != 0) {
        GTEST_SKIP() << "there is no edid-decode";
    }
    for (const char* pszVersion : {"default", "1", "2", "3"}) {
        ASSERT_EQ(fapi({"set", "hdmi", "0", pszVersion, "--output", file()}).s32Exit, 0);
        const test::ProcessResult check = test::runProcess({"edid-decode", "--check", file()});
        EXPECT_THAT(check.strOutput, HasSubstr("EDID conformity: PASS")) << pszVersion << check.strError;
    }
}

TEST_F(BoardCli, AFileThatCannotBeHadIsAFailure) {
    fapi({"call", "sys_write_file", "/data/f", "hex:00ff"});
    const test::Impossible rows[] = {
        {{"call", "sys_sync_fs", "--output", file()}, 2, "--output: sys_sync_fs answers no bytes"},
        {{"call", "sys_get_emmc_env_var", "serial", "--output", file()}, 2, "sys_get_emmc_env_var answers no bytes"},
        {{"call", "sys_read_file", "/data/f", "--output", ""}, 2, "--output: a file is missing"},
        {{"set", "put", "/data/f", "x", "--output", file()}, 2, "--output"},
        {{"call", "sys_read_file", "/data/none", "--output", file()}, 1, "sys_read_file has failed, "},
        {{"call", "sys_read_file", "/data/f", "--output", "/no/such/folder/f"},
         1,
         "/no/such/folder/f: cannot be written: No such file or directory\n"},
        {{"call", "sys_read_file", "/data/f", "--output", "/dev/full"},
         1,
         "/dev/full: cannot be written: No space left on device\n"},
    };
    writeFile("out.bin", "kept");
    for (const auto& row : rows) {
        EXPECT_EQ(expectImpossible(row).strOutput.empty(), row.exit == 2) << row.error;
        EXPECT_EQ(readFile(file()), "kept") << row.error;
    }
}

TEST_F(BoardCli, KeysReadingsAndPadsAreToldInWords) {
    const std::pair<const char*, const char*> rows[] = {
        {"prphrl_nty_event 0x100002 31", " prphrl 0x100002 value 31 (key code 0x1f)"},
        {"prphrl_nty_event 0x100004 7", " prphrl 0x100004 value 7 (ADC value 0x07)"},
        {"prphrl_nty_event 0x100004 255", " (ADC value 0xff, or it could not be read)"},
        {"prphrl_nty_event 0x100005 0", " prphrl 0x100005 value 0 (pad low)"},
        {"prphrl_nty_event 0x100005 1", " prphrl 0x100005 value 1 (pad high)"},
        {"prphrl_nty_event 0x100005 255", " prphrl 0x100005 value 255 (pad monitor failed)"},
        {"prphrl_nty_event 0x100005 2", " prphrl 0x100005 value 2"},
        {"prphrl_nty_event 0x100001 1", " prphrl 0x100001 value 1"},
        {"sys_nty_event 0x100002 31", " sys 0x100002 value 31"},
    };
    std::vector<std::string> words = {"watch", "--count", std::to_string(std::size(rows))};
    for (const auto& row : rows) {
        words.insert(words.end(), {"--do", row.first});
    }
    const std::vector<std::string> lines = test::linesOf(fapi(words).strOutput);
    ASSERT_EQ(lines.size(), std::size(rows));
    for (std::size_t i = 0; i < lines.size(); ++i) {
        EXPECT_THAT(lines[i], EndsWith(rows[i].second));
    }
}

}  // namespace
