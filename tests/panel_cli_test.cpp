// SPDX-License-Identifier: Apache-2.0
// The bench tool before the panel: colors, pictures as files and on the terminal, captures that other programs read,
// pictures that plans keep, the shipped plan.
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/terminal_picture.h"
#include "protocol/color.h"
#include "support/plan_fixture.h"
#include "target/command.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

TEST(Color, IsReadAsPeopleWriteIt) {
    const std::pair<const char*, const char*> rows[] = {
        {"#12aBcD", "#12ABCDFF"}, {"#12ABCD80", "#12ABCD80"}, {"red", "#FF0000FF"}, {"transparent", "#00000000"}};
    for (const auto& [pszWord, pszColor] : rows) {
        EXPECT_EQ(tool::colorText(tool::parseColor(pszWord).value()), pszColor);
    }
    for (const char* pszWrong : {"#12ABC", "#12ABCD8", "12ABCD", "#12ABCG", "", "#", "Red", "#12ABCD,", "#-2ABCD",
                                 "#12ABCD 1", "#123456789"}) {
        EXPECT_FALSE(tool::parseColor(pszWrong)) << pszWrong;
    }
}

TEST(Color, OfTenBitsIsSpreadOverAllOfThem) {
    const std::vector<tool::DeepColor> colors = tool::parseDeepColors("C", "#FF8000,1/2/1023,white", 0, 3);
    EXPECT_THAT(colors, ElementsAre(ElementsAre(1023, 514, 0), ElementsAre(1, 2, 1023), ElementsAre(1023, 1023, 1023)));
    EXPECT_TRUE(tool::parseDeepColors("C", "", 0, 3).empty());
    for (const char* pszWrong : {"1/2", "1/2/1024", "red,", "transparent", "#FF000080", "1/2/-3", "red,red,red,red"}) {
        EXPECT_THROW(tool::parseDeepColors("C", pszWrong, 0, 3), tool::UsageError) << pszWrong;
    }
}

TEST(Color, IsNoComment) {
    EXPECT_THAT(tool::splitWords("a #FF0000 #FF000080 # comment"), ElementsAre("a", "#FF0000", "#FF000080"));
    EXPECT_THAT(tool::splitWords("a #FF0000,#00FF00"), ElementsAre("a", "#FF0000,#00FF00"));
    EXPECT_THAT(tool::splitWords("a #12345"), ElementsAre("a", "#12345")) << "a slip is no comment";
    EXPECT_THAT(tool::splitWords("#FF0000 a"), ElementsAre()) << "no line begins with a color";
    for (const char* pszComment : {"a #comment", "a #12 b", "a #FF0000.", "a #FF0000x", "a #", "a # add"}) {
        EXPECT_THAT(tool::splitWords(pszComment), ElementsAre("a")) << pszComment;
    }
}

TEST(Preview, ShowsTwoPixelsInACharacter) {
    constexpr tool::Color kRed = 0xFFFF0000, kBlue = 0xFF0000FF;
    const tool::Picture picture = {2, 2, {kRed, kRed, kBlue, 0x800000FF}};
    EXPECT_EQ(tool::previewText(picture, 80, 24),
              "\033[38;2;255;0;0;48;2;0;0;255m\u2580\033[38;2;255;0;0;48;2;0;0;128m\u2580\033[0m\n");
    EXPECT_EQ(tool::previewText(picture, 1, 24), "\033[38;2;255;0;0;48;2;0;0;191m\u2580\033[0m\n") << "averages";
    EXPECT_EQ(tool::previewText({}, 80, 24), "there is no picture\n");
    // Neither limit is exceeded.
    for (const auto& [u32Width, u32Height] : {std::pair{3000u, 1u}, {1u, 3000u}, {1920u, 1080u}, {1u, 1u}}) {
        const tool::Picture flat = {u32Width, u32Height, std::vector<std::uint32_t>(u32Width * u32Height, kRed)};
        const std::string strText = tool::previewText(flat, 80, 24);
        const std::string strLine = strText.substr(0, strText.find('\n'));
        std::size_t columns = 0;
        for (std::size_t i = strLine.find("\u2580"); i != std::string::npos; i = strLine.find("\u2580", i + 1)) {
            ++columns;
        }
        EXPECT_TRUE(columns >= 1 && columns <= 80) << u32Width << " x " << u32Height;
        EXPECT_LE(std::count(strText.begin(), strText.end(), '\n'), 24) << u32Width << " x " << u32Height;
    }
}

class PanelCli : public test::PlanTest {
protected:
    void SetUp() override {
        test::PlanTest::SetUp();
        if (test::runProcess({"identify", "-version"}).s32Exit != 0) {
            GTEST_SKIP() << "there is no ImageMagick";
        }
    }

    std::string file() const { return folder() + "/out.png"; }
    std::string stick(const std::string& strName) const { return set() + "/tree/mnt/usb/" + strName; }

    // "PNG 1920x1080"
    static std::string kindOf(const std::string& strFile) {
        return test::runProcess({"identify", "-format", "%m %wx%h", strFile}).strOutput;
    }
    // "12,34,56,255"
    static std::string pixelOf(const std::string& strFile, int s32X, int s32Y) {
        const std::string strPlace = "p{" + std::to_string(s32X) + "," + std::to_string(s32Y) + "}";
        const auto channel = [&](const char* pszName) { return "%[fx:round(255*" + strPlace + "." + pszName + ")]"; };
        const std::string strFormat = channel("r") + "," + channel("g") + "," + channel("b") + "," + channel("a");
        return test::runProcess({"convert", strFile, "-format", strFormat, "info:"}).strOutput;
    }
};

TEST_F(PanelCli, AQuestionShowsThePanelBesideItsReference) {
    ASSERT_EQ(test::runProcess({"convert", "-size", "64x36", "xc:red", folder() + "/red.png"}).s32Exit, 0);
    const std::string strPlan =
        writeFile("ask.plan", "plan t\nstep s\nset freeze-video 0\nask \"Blue?\" with picture panel beside red.png\n");
    const struct {
        std::string strTerminal, strBegin, strReference, strPanel;
    } rows[] = {{"FAPI_PICTURES=", "\033_G", "255,0,0,255", "0,0,191,255"},
                // Of colors 5 bits are left.
                {"FAPI_PICTURES=sixel", "\033P", "247,0,0,255", "0,0,184,255"}};
    for (const auto& row : rows) {
        const test::ProcessResult result = test::runOnTerminal(
            {"env", "KITTY_WINDOW_ID=1", row.strTerminal, FAPI_BINARY, "--set", set(), "run", "--no-report", strPlan},
            {{"[y/n]", "y\n"}});
        EXPECT_EQ(result.s32Exit, 0) << result.strOutput;
        const bool bPng = row.strBegin == rows[0].strBegin;
        std::string strPicture;
        for (std::size_t at = 0; (at = result.strOutput.find(row.strBegin, at)) != std::string::npos;) {
            const std::size_t end = result.strOutput.find("\033\\", at);
            const std::size_t begin = bPng ? result.strOutput.find(';', at) + 1 : at;
            strPicture += result.strOutput.substr(begin, end - begin);
            at = end;
        }
        if (bPng) {
            EXPECT_THAT(result.strOutput, HasSubstr("q=2")) << "an answer of the terminal would be read as a person's";
            strPicture = test::runProcess({"base64", "-d"}, strPicture).strOutput;
        }
        const std::string strFile = writeFile(bPng ? "shown.png" : "shown.six", strPicture);
        test::runProcess({"convert", strFile, file()});
        EXPECT_EQ(kindOf(file()), "PNG 1600x443");
        EXPECT_EQ(pixelOf(file(), 400, 200), row.strReference);
        EXPECT_EQ(pixelOf(file(), 1427, 205), row.strPanel);
    }
}

TEST_F(PanelCli, APictureIsWrittenAsAFile) {
    const std::vector<std::string> lines = {"set freeze-video 0", "disptst_gen_gop_test_pattern_on 64 48",
                                            "disptst_gen_gop_test_pattern_draw_rect 0 0 64 48 #12345680 4 #ABCDEF",
                                            "disptst_gen_gop_test_pattern_show"};
    const struct {
        const char* what;
        const char* kind;
        int s32X, s32Y;
        const char* pixel;
    } rows[] = {
        {"panel", "PNG 1920x1080", 1500, 500, "0,0,191,255"},     {"panel", "PNG 1920x1080", 63, 47, "171,205,239,255"},
        {"layer:1", "PNG 64x48", 20, 20, "18,52,86,128"},         {"layer:0", "PNG 1920x1080", 0, 0, "0,0,0,0"},
        {"window:0", "PNG 1920x1080", 63, 47, "191,191,191,255"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        std::vector<std::string> words = {"screen", file(), "--what", row.what};
        for (const std::string& strLine : lines) {
            words.insert(words.end(), {"--do", strLine});
        }
        const test::ProcessResult result = fapi(words);
        EXPECT_EQ(result.s32Exit, 0) << result.strError;
        EXPECT_THAT(result.strOutput, StartsWith(file() + ": " + row.what + ", "));
        EXPECT_EQ(kindOf(file()), row.kind);
        EXPECT_EQ(pixelOf(file(), row.s32X, row.s32Y), row.pixel);
    }
    EXPECT_EQ(fapiJson({"screen", file()})["width"], 1920);
}

TEST_F(PanelCli, APictureThatCannotBeHadIsAFailure) {
    const test::Impossible rows[] = {
        {{file(), "--what", "window:3"}, 2, "WHAT is \"window:3\", expected one of panel, window:N (0 to 2)"},
        {{file(), "--what", ""}, 2, "WHAT is \"\""},
        {{""}, 2, "a file is missing"},
        {{file(), "--do", "set power-cycle"}, 2, "ends the process that takes the picture"},
        {{file(), "--what", "layer:3"}, 1, "there is no layer 3"},
        {{file(), "--what", "layer:1"}, 1, "layer 1 has no surface"},
        {{file(), "--what", "surface:1"}, 1, "fapi: "},
        {{file(), "--what", "capture"}, 1, "nothing has been captured"},
        {{"/no/such/folder/f.png"}, 1, "/no/such/folder/f.png: cannot be written: No such file or directory"},
        {{"/dev/full"}, 1, "the disk is full: /dev/full"},
    };
    for (const auto& row : rows) {
        std::vector<std::string> words = {"screen"};
        words.insert(words.end(), row.words.begin(), row.words.end());
        EXPECT_EQ(expectImpossible({words, row.exit, row.error}).strOutput, "") << row.error;
        EXPECT_FALSE(std::filesystem::exists(file())) << row.error;
    }
    const test::ProcessResult shell =
        fapi({"shell"}, "screen /no/such/f.png\nscreen " + file() + "\nset pixel 1920 0\nset pixel 0 0 layer:1\n");
    EXPECT_EQ(shell.s32Exit, 1) << "one line has failed";
    EXPECT_EQ(kindOf(file()), "PNG 1920x1080") << "the others have run";
    EXPECT_THAT(shell.strOutput, HasSubstr("the picture has 1920 x 1080 pixels"));
    EXPECT_THAT(shell.strOutput, HasSubstr("layer 1 has no surface"));
}

TEST_F(PanelCli, ThePictureIsShownOnTheTerminal) {
    const char* const pszGreen = "disptst_gen_test_pattern mod on 1 green";
    const std::string strCell = "\033[38;2;0;255;0;48;2;0;255;0m\u2580\u2580";
    for (const char* pszOption : {"--preview", "--yes"}) {
        const test::ProcessResult result = fapi({"screen", "--color=always", pszOption, "--do", pszGreen});
        EXPECT_THAT(result.strOutput, StartsWith(strCell)) << result.strError;
        EXPECT_THAT(result.strOutput, testing::EndsWith("\033[0m\npanel, 1920 x 1080\n"));
    }
    EXPECT_THAT(fapi({"shell", "--color=always"}, std::string(pszGreen) + "\nscreen\n").strOutput,
                HasSubstr("\n" + strCell));
    EXPECT_EQ(fapi({"screen"}).strOutput, "panel, 1920 x 1080\n") << "a pipe shows no colors";
    const test::ProcessResult both = fapi({"screen", file(), "--preview", "--color=always"});
    EXPECT_THAT(both.strOutput, HasSubstr("\u2580"));
    EXPECT_EQ(kindOf(file()), "PNG 1920x1080");
}

TEST_F(PanelCli, OtherProgramsReadCaptures) {
    runPlan(R"(step s
    sys_init
    disp_init
    disptst_init
    set freeze-video 0
    disptst_gen_gop_test_pattern_on 640 480
    disptst_gen_gop_test_pattern_draw_rect 0 0 640 480 #123456
    disptst_gen_gop_test_pattern_draw_rect 0 0 100 10 yellow
    disptst_gen_gop_test_pattern_show
    disp_capture_screen_to_usb /mnt/usb/screen.bmp screen
    disp_capture_screen_to_usb /mnt/usb/video.bmp video
    _disp_capture_osd_to_usb /mnt/usb/canvas.bmp 1
)");
    ASSERT_EQ(_result.s32Exit, 0) << _result.strOutput << _result.strError;
    const struct {
        const char* file;
        const char* kind;
        int s32X, s32Y;
        const char* pixel;
    } rows[] = {
        {"screen.bmp", "BMP3 1920x1080", 99, 9, "255,255,0"},   {"screen.bmp", "BMP3 1920x1080", 639, 479, "18,52,86"},
        {"screen.bmp", "BMP3 1920x1080", 1500, 100, "0,0,191"}, {"video.bmp", "BMP3 1920x1080", 99, 9, "191,191,191"},
        {"canvas.bmp", "BMP3 640x480", 99, 9, "255,255,0"},     {"canvas.bmp", "BMP3 640x480", 99, 10, "18,52,86"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.file);
        EXPECT_EQ(kindOf(stick(row.file)), row.kind);
        EXPECT_THAT(pixelOf(stick(row.file), row.s32X, row.s32Y), StartsWith(std::string(row.pixel) + ","));
    }
}

TEST_F(PanelCli, APictureOfAPlanMayFail) {
    using testing::Pair;
    EXPECT_THAT(verdicts(R"(
on-failure continue
step never retry 1
    picture first
    picture second layer:3
step good
    set osd 0
    keep s surface
    picture third surface:${s}
    set put /mnt/usb/plan file:${PLAN_DIR}/test.plan
step wrong
    set osd 1
    keep s surface
    picture fourth surface:${s}
)"),
                ElementsAre(Pair("never", "failed"), Pair("good", "passed"), Pair("wrong", "failed")));
    const nlohmann::json json = report();
    EXPECT_EQ(stepText(0), "line 6: picture second layer:3: there is no layer 3");
    EXPECT_EQ(json["steps"][0]["attempts"][1]["commands"][1]["error"], "there is no layer 3");
    const std::string strFirst = json["steps"][0]["pictures"][0]["file"];
    EXPECT_EQ(kindOf(reports() + "/" + strFirst), "PNG 1920x1080");
    EXPECT_EQ(json["steps"][0]["pictures"].size(), 1u);
    EXPECT_EQ(json["steps"][1]["pictures"][0]["name"], "third");
    EXPECT_EQ(readFile(stick("plan")), readFile(folder() + "/test.plan"));
    EXPECT_THAT(readFile(reportFile(".xml")), HasSubstr("<property name=\"picture\" value=\"" + strFirst));
}

// Actions that no shipped plan uses.
TEST_F(PanelCli, WhatAPersonDoesToTheDisplay) {
    runPlan(R"(
step "who has what"
    sys_init
    disp_init
    disptst_init
    set player output off
    set output
    expect open is 0
    set player window on 1
    set window 1
    expect player is 1
    set player window off 1
    set window 1
    expect open is 0
    set player capture on
    disp_capture_screen_to_usb /mnt/usb/x.bmp video
    expect status failed
    expect refusals is 1
    set player capture off
    disp_capture_screen_to_usb /mnt/usb/x.bmp video
step "memory"
    set iommu 0
    set mmap-size 378 1000
    set memory
    expect areas matches "region 378 at 0x[0-9a-f]+, 0x3e8 bytes"
    disptst_gen_gop_test_pattern_on 16 16
    expect status failed
    set mmap-size 378 1024
    disptst_gen_gop_test_pattern_on 16 16
    disptst_gen_gop_test_pattern_off
)");
    EXPECT_EQ(_result.s32Exit, 0) << _result.strOutput;
}

}  // namespace
