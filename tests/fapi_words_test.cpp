// SPDX-License-Identifier: Apache-2.0
// What a user types: words, numbers, bytes, arguments.
#include <algorithm>
#include <climits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "shell/completion.h"
#include "support/refusals.h"
#include "support/waiting.h"
#include "target/command.h"

namespace {

using test::errorOf;
using testing::ElementsAre;
using testing::HasSubstr;

TEST(Words, SplitAndQuote) {
    EXPECT_THAT(tool::splitWords("  a\tb  \"c d\" 'e \\n f' g\"h i\"j "),
                ElementsAre("a", "b", "c d", "e \\n f", "gh ij"));
    EXPECT_THAT(tool::splitWords(R"("\n\t\r\\\"\x41\xff" "")"), ElementsAre("\n\t\r\\\"A\xff", ""));
    EXPECT_THAT(tool::splitWords("a#b # c"), ElementsAre("a#b"));
    EXPECT_THAT(tool::splitWords("# all"), ElementsAre());
    EXPECT_EQ(errorOf([] { tool::splitWords("\"abc"); }), "the quote \" is not closed");
    EXPECT_EQ(errorOf([] { tool::splitWords(R"("\q")"); }), "unknown escape \\q");
    EXPECT_EQ(errorOf([] { tool::splitWords(R"("\x4")"); }), "\\x needs two hexadecimal digits");
    for (const std::string word : {"plain", "", "a b", "quo\"te's", "#x", "line\nend\\", "\x7f"}) {
        EXPECT_THAT(tool::splitWords(tool::quoteWord(word)), ElementsAre(word));
    }
}

TEST(Words, Nearest) {
    const std::vector<std::string> names = {"sys_check_file", "sys_check_folder", "sys_init"};
    EXPECT_EQ(tool::nearest("sys_chek_file", names), "sys_check_file");
    EXPECT_EQ(tool::nearest("sys_int", names), "sys_init");
    EXPECT_EQ(tool::nearest("acb", {"xyz", "abc"}), "abc");
    EXPECT_EQ(tool::nearest("check_folder", names), "sys_check_folder") << "the end of the name alone";
    EXPECT_EQ(tool::nearest("banana", names), "");
    // Far too long for any of them: not compared letter by letter, which would take minutes.
    const std::vector<std::string> many(200, "sys_check_folder");
    EXPECT_LT(test::secondsOf([&] { EXPECT_EQ(tool::nearest(std::string(1 << 20, 's'), many), ""); }),
              test::patient(20));
}

TEST(Values, Numbers) {
    const std::pair<const char*, long long> good[] = {
        {"0", 0}, {"-5", -5}, {"0x1F", 31}, {"010", 8}, {"-0x10", -16}, {"9223372036854775807", LLONG_MAX},
    };
    for (const auto& [pszText, expected] : good) {
        long long number = 1;
        EXPECT_TRUE(tool::parseNumber(pszText, number)) << pszText;
        EXPECT_EQ(number, expected) << pszText;
    }
    for (const char* pszText : {"9223372036854775808", "", " 1", "1 ", "1x", "0x", "one", "1.5"}) {
        long long number = 0;
        EXPECT_FALSE(tool::parseNumber(pszText, number)) << pszText;
        EXPECT_EQ(number, 0) << pszText;
    }
}

TEST(Values, BytesAndDisplay) {
    EXPECT_EQ(tool::parseBytes("hex:00 fF10"), (tool::Bytes{0x00, 0xFF, 0x10}));
    EXPECT_EQ(tool::parseBytes("text:hex:00"), (tool::Bytes{'h', 'e', 'x', ':', '0', '0'}));
    EXPECT_EQ(tool::parseBytes("ab"), (tool::Bytes{'a', 'b'}));
    EXPECT_EQ(tool::parseBytes("repeat:3:ab"), (tool::Bytes{'a', 'b', 'a', 'b', 'a', 'b'}));
    EXPECT_EQ(tool::parseBytes("hex:"), tool::Bytes());
    EXPECT_EQ(tool::parseBytes("repeat:9000000000000000000:"), tool::Bytes()) << "at once";
    for (const char* bad : {"hex:0", "hex:0g", "hex:\x10\x11", "repeat:x:a", "repeat:5", "repeat:-1:a",
                            "repeat:99999999:ab", "file:/no/such/file", "file:/dev/zero"}) {
        EXPECT_THAT(errorOf([&] { tool::parseBytes(bad); }), testing::Ne("no error")) << bad;
    }
    EXPECT_EQ(tool::display(42LL), "42");
    EXPECT_EQ(tool::display(std::string("a\n\"\x01")), "\"a\\n\\\"\\x01\"");
    EXPECT_EQ(tool::display(tool::Bytes{1, 0xAB}), "2 bytes: 01 ab");
    EXPECT_EQ(tool::display(std::string("abcdef"), 4), "\"abc...");
}

TEST(Results, AreReadByTheirKind) {
    using tool::Result;
    const struct {
        Result result;
        long long status;
        bool good;
        const char* word;
    } rows[] = {
        {Result::status, 0, true, "ok"},
        {Result::status, -2, false, "invalid parameter"},
        {Result::status, 1, false, "failed"},
        {Result::oneIsGood, 1, true, "ok"},
        {Result::oneIsGood, 0, false, "failed"},
        {Result::zeroOr255, 255, false, "failed"},
        {Result::alwaysFails, -1, true, "as always"},
        {Result::countOrNegative, 0, true, "ok"},
        {Result::countOrNegative, 7, true, "ok"},
        {Result::countOrNegative, -1, false, "failed"},
        {Result::value, -1, true, "value"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(tool::isGood(row.result, row.status), row.good) << row.status;
        EXPECT_EQ(tool::statusWord(row.result, row.status), row.word) << row.status;
    }
}

std::string lineError(const std::string& strLine) {
    return errorOf([&] { tool::Command::parse(tool::splitWords(strLine)); });
}

TEST(Arguments, AreCheckedBeforeAnythingIsCalled) {
    const std::string str28 = "hex:" + std::string(56, '0');
    const std::pair<std::string, const char*> rows[] = {
        {"", "an operation or \"set\" is missing"},
        {"common_hw_err_msg five", "CODE is \"five\", expected a number from 0 to 4294967295"},
        {"common_hw_err_msg 4294967296", "CODE is \"4294967296\""},
        {"_bytes_to_int hex:010203", "DATA is \"hex:010203\", expected bytes"},
        {"_sys_set_env_var k v floppy", "TYPE is \"floppy\", expected one of spi_nor (0), nand (1), emmc (2)"},
        {"prphrl_std_factory_uart_custom_config line ;;", "END is \";;\", expected bytes"},
        {"set", "set: what is to be done is missing"},
        {"set fault HW_FS_Sync 3 0", "set fault: FROM is \"0\", expected a number from 1"},
        // Sound.
        {"aud_adv_snd_enable_sub dbx atmos on", "SUB is \"atmos\", which is a part of dolby-dap and not of dbx"},
        {"aud_basic_snd_set_param eq 1,2,3,4,5,6,7,8,9", "expected at most 8 levels of eq: LEVEL,LEVEL,..."},
        {"aud_basic_snd_set_param bass 1,", "VALUES is \"1,\", expected one number"},
        {"aud_set_volume_table all T 1,65536", "ENTRIES is \"1,65536\", expected numbers from 0 to 65535"},
        // Panel.
        {"disptst_gen_gop_test_pattern_draw_line 0 0 1 1 rde", "COLOR is \"rde\", expected a color: #RRGGBB, #RRGGB"},
        {"disptst_gen_gop_test_pattern_draw_rect 0 0 1 1 red 1 #12345", "BORDERCOLOR is \"#12345\""},
        {"disptst_set_burning_mode_adv on red,blau", "COLORS has \"blau\", expected red/green/blue"},
        {"disptst_set_burning_mode_adv on 1/2/1024", "COLORS is \"1/2/1024\", expected red/green/blue, each from 0"},
        {"disptst_gen_test_pattern mod on 1 red,red", "VALUE has 2 colors, expected 1"},
        {"_output_bmp_file /data/f hex:0011 4 1 1", "PIXELS has 2 bytes, expected PITCH x HEIGHT = 4 at least"},
        {"_output_bmp_file /data/f x 0xffffffff 1 0xffffffff", "= 18446744065119617025 at least"},
        {"set pixel 1 1 surface", "WHAT is \"surface\""},
        {"set pixel 1 1 panel:1", "WHAT is \"panel:1\""},
        // Inputs and picture.
        {"inpsrc_set_adc_gain_offset vga 1 2 3 4 5", "BLUE_OFFSET is missing"},
        {"disp_set_picture_param_struct 23 " + str28, "DATA has 28 bytes, expected 29 at least, which type 23 reads"},
        {"disp_set_picture_param_struct record " + str28 + " 29", "DATA has 28 bytes, expected 29"},
        {"disp_set_picture_param_struct 27 text:", "DATA has 0 bytes, expected 1 at least, which type 27 reads"},
        {"disp_set_gamma_curve linear power:0", "GREEN is \"power:0\", expected power:EXPONENT"},
        {"disp_set_gamma_curve same", "RED is \"same\", expected linear"},
        {"set pq-version hd0 0 " + std::string(33, 'v'), "expected a text of at most 32 characters"},
    };
    for (const auto& [strLine, pszError] : rows) {
        EXPECT_THAT(lineError(strLine), HasSubstr(pszError)) << strLine;
    }
    // What the operation itself refuses, or does not read.
    for (const char* pszLine : {"disp_set_picture_param_struct 5 text:", "disp_set_picture_param_struct 27 text:x 0",
                                "inpsrc_get_adc_phase 4000000000", "disp_get_pq_version 9 9 0"}) {
        EXPECT_EQ(lineError(pszLine), "no error") << pszLine;
    }
    const tool::Command other = tool::Command::parse({"_sys_get_flash_handle", "9"});
    EXPECT_EQ(std::get<long long>(other.arguments()[0]), 9) << "a type without a name, for the library to refuse";
    const tool::Command start = tool::Command::parse({"prphrl_start_factory_uart", "230400", "-1"});
    EXPECT_EQ(std::get<long long>(start.arguments()[0]), 3) << "by the name of the speed";
    EXPECT_EQ(std::get<long long>(start.arguments()[1]), -1) << "for the library to refuse";
    const tool::Command command = tool::Command::parse(tool::splitWords("a_vextvfapi_sys_write_file '/a b' x"));
    EXPECT_EQ(command.text(), "sys_write_file \"/a b\" x");
    EXPECT_EQ(std::get<std::string>(command.arguments()[2]), "wb") << "the default";
}

TEST(Arguments, APartOfAnEffectIsNoOthers) {
    const std::size_t effects[] = {0, 5, 12, 4, 12, 0, 2, 3};
    for (std::size_t effect = 0; effect < std::size(effects); ++effect) {
        const auto& choices = tool::findOperation("aud_adv_snd_enable_sub")->arguments[1].choices;
        const auto isAPart = [&](const tool::Choice& choice) {
            const std::string strWords = std::to_string(effect) + " " + choice.name + " on";
            return lineError("aud_adv_snd_enable_sub " + strWords) == "no error";
        };
        EXPECT_EQ(std::count_if(choices.begin(), choices.end(), isAPart), effects[effect]) << effect;
    }
}

TEST(Completion, GoesAsFarAsThereIsOnlyOneWay) {
    EXPECT_THAT(tool::completions("_sys_get_flash_handle "), ElementsAre("emmc", "nand", "spi_nor"));
    EXPECT_THAT(tool::completions("common_hw_err_msg "), ElementsAre());
    EXPECT_THAT(tool::completions("sys_check_file \"/da"), ElementsAre()) << "inside an open quote";
    EXPECT_EQ(tool::completion("sys_chec"), "k_f");
    EXPECT_EQ(tool::completion("sys_check_f"), "");
    EXPECT_EQ(tool::completion("sys_check_fi"), "le ");
    EXPECT_EQ(tool::completion("sys_copy_file \"/a b\" /c of"), "f ");
    EXPECT_EQ(tool::completion("sys_check_file /da"), "ta/");
}

}  // namespace
