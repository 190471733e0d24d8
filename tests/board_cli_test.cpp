// SPDX-License-Identifier: Apache-2.0
// The bench tool at the board: files of bytes, events of keys and pads in words, the shipped plan.
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/plan_fixture.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;

class BoardCli : public test::PlanTest {
protected:
    std::string file() const { return folder() + "/out.bin"; }

    static std::string hexOf(const std::string& strBytes) {
        std::string strHex;
        for (const char c : strBytes) {
            char acHex[3];
            std::snprintf(acHex, sizeof(acHex), "%02x", static_cast<unsigned char>(c));
            strHex += acHex;
        }
        return strHex;
    }
};

TEST_F(BoardCli, ThePlanPasses) {
    const test::ProcessResult result = test::runProcess(
        {FAPI_BINARY, "run", "--fresh", "--report", reports(), std::string(FAPI_PLANS) + "/board.plan"});
    EXPECT_EQ(result.s32Exit, 0) << result.strOutput << result.strError;
    EXPECT_THAT(result.strOutput, HasSubstr(" passed, 0 marginal, 0 failed, 0 not run in "));
}

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
    EXPECT_EQ(json["outputs"]["data"]["hex"], hexOf(strBytes)) << "printed all the same";

    ASSERT_EQ(fapi({"set", "edid", "0", "1", ""}).s32Exit, 0);
    EXPECT_EQ(fapi({"call", "prphrl_get_hdmi_edid_data", "0", "--output", file()}).s32Exit, 0);
    EXPECT_EQ(readFile(file()), "") << "no byte is what it answered";
}

TEST_F(BoardCli, EveryEdidIsValidAndMayBeReplaced) {
    const bool bDecoder = test::runProcess({"edid-decode", "--version"}).s32Exit == 0;
    for (const char* pszVersion : {"default", "1", "2", "3"}) {
        SCOPED_TRACE(pszVersion);
        ASSERT_EQ(fapi({"set", "hdmi", "0", pszVersion, "--output", file()}).s32Exit, 0);
        if (bDecoder) {
            const test::ProcessResult check = test::runProcess({"edid-decode", "--check", file()});
            EXPECT_THAT(check.strOutput, HasSubstr("EDID conformity: PASS")) << check.strError;
        }
    }
    std::string strEdid = readFile(file());
    ASSERT_GE(strEdid.size(), 128u);
    // Another serial number, and the checksum of the first block.
    strEdid[12] = static_cast<char>(strEdid[12] + 1);
    strEdid[127] = static_cast<char>(strEdid[127] - 1);
    writeFile("new.bin", strEdid);
    ASSERT_EQ(fapi({"set", "edid", "0", "1", "file:" + folder() + "/new.bin"}).s32Exit, 0);
    ASSERT_EQ(fapi({"call", "prphrl_get_hdmi_edid_data", "0", "--output", file()}).s32Exit, 0);
    EXPECT_EQ(readFile(file()), strEdid);
    if (!bDecoder) {
        GTEST_SKIP() << "there is no edid-decode";
    }
    EXPECT_THAT(test::runProcess({"edid-decode", "--check", file()}).strOutput, HasSubstr("EDID conformity: PASS"));
}

TEST_F(BoardCli, AFileThatCannotBeHadIsAFailure) {
    fapi({"call", "sys_write_file", "/data/f", "hex:00ff"});
    const struct {
        std::vector<std::string> words;
        int s32Exit;
        const char* error;
    } rows[] = {
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
        const test::ProcessResult result = fapi(row.words);
        EXPECT_EQ(result.s32Exit, row.s32Exit) << row.error;
        EXPECT_THAT(result.strError, HasSubstr(row.error));
        EXPECT_EQ(result.strOutput.empty(), row.s32Exit == 2) << row.error;
        EXPECT_EQ(readFile(file()), "kept") << row.error;
    }
}

TEST_F(BoardCli, KeysReadingsAndPadsAreToldInWords) {
    const struct {
        const char* event;
        const char* shown;
    } rows[] = {
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
        words.insert(words.end(), {"--do", row.event});
    }
    const std::string strOutput = fapi(words).strOutput;
    std::istringstream lines(strOutput);
    for (const auto& row : rows) {
        std::string strLine;
        std::getline(lines, strLine);
        EXPECT_THAT(strLine, EndsWith(row.shown)) << strOutput;
    }
}

// Actions that the plan does not use.
TEST_F(BoardCli, WhatAPersonSeesOfTheBoard) {
    const std::string strInput =
        "set pad 9\nset adc 3\nset keypad\nset iic\nset cec\nset daemon-commands\n"
        "set drive 256 1\n";
    const test::ProcessResult result = fapi({"shell"}, strInput);
    EXPECT_EQ(result.s32Exit, 2);
    EXPECT_THAT(result.strError, HasSubstr("PAD is \"256\", expected a number from 0 to 255"));
    EXPECT_THAT(result.strOutput, HasSubstr("set pad: 0 (ok)\n  level: 0\n  wired: 0\n  direction: \"in\"\n"));
    EXPECT_THAT(result.strOutput, HasSubstr("set adc: 0 (ok)\n  value: 255\n"));
    EXPECT_THAT(result.strOutput, HasSubstr("set keypad: 0 (ok)\n  keys: \"\"\n  open: 0\n"));
    EXPECT_THAT(result.strOutput, HasSubstr("set cec: 0 (ok)\n  enabled: 0\n  earc: 0\n"));
    EXPECT_THAT(result.strOutput, HasSubstr("set daemon-commands: 0 (ok)\n  commands: \"\"\n  count: 0\n"));
}

}  // namespace
