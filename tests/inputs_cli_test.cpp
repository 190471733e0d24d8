// SPDX-License-Identifier: Apache-2.0
// The bench tool before inputs and picture settings: gamma curves as people write them, wrong words, the shipped plan
// and the data that it keeps, what a person plugs in and sees.
#include <cmath>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "operations/gamma_curve.h"
#include "operations/input_words.h"
#include "plan/data.h"
#include "support/plan_fixture.h"
#include "support/refusals.h"
#include "target/command.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

// "1,1,1" of so many numbers.
std::string numbers(std::size_t count, const std::string& strNumber = "1", const std::string& strBetween = ",") {
    std::string strText;
    for (std::size_t i = 0; i < count; ++i) {
        strText += (i > 0 ? strBetween : "") + strNumber;
    }
    return strText;
}

class InputsCli : public test::PlanTest {};

TEST_F(InputsCli, AGammaCurveIsReadAsPeopleWriteIt) {
    const std::string strBlanks = writeFile("blanks", "\n" + numbers(255, "7", " \t\r\n") + ",\n65535\n");
    const std::string strListed = numbers(255, "7") + ",0xFFFF";
    const struct {
        std::string strText;
        unsigned int u32First, u32Middle, u32Last;
    } rows[] = {
        {"linear", 0, 128 * 257, 65535},         {"power:1", 0, 128 * 257, 65535},    {"power:2.2", 0, 14386, 65535},
        {"power:0.1", 0, 61170, 65535},          {"power:10", 0, 67, 65535},          {"flat:0", 0, 0, 0},
        {"flat:0x8000", 0x8000, 0x8000, 0x8000}, {"flat:65535", 65535, 65535, 65535}, {strListed, 7, 7, 65535},
        {"file:" + strBlanks, 7, 7, 65535},
    };
    for (const auto& row : rows) {
        const tool::GammaCurve curve = tool::parseGammaCurve("RED", row.strText);
        EXPECT_EQ(curve[0], row.u32First) << row.strText;
        EXPECT_EQ(curve[128], row.u32Middle) << row.strText;
        EXPECT_EQ(curve[255], row.u32Last) << row.strText;
    }
}

TEST_F(InputsCli, AWrongGammaCurveSaysWhatWasExpected) {
    const std::pair<std::string, const char*> rows[] = {
        {"",
         "RED is \"\", expected linear, power:EXPONENT (0.1 to 10), flat:VALUE (0 to 65535), file:PATH or 256 numbers"},
        {"Linear", "RED is \"Linear\", expected linear"},
        {"12", "RED is \"12\", expected linear"},
        {"power:", "expected power:EXPONENT with an exponent from 0.1 to 10"},
        {"power:0.09", "expected power:EXPONENT"},
        {"power:10.1", "expected power:EXPONENT"},
        {"power:nan", "expected power:EXPONENT"},
        {"power:inf", "expected power:EXPONENT"},
        {"power:2.2x", "expected power:EXPONENT"},
        {"power:-1", "expected power:EXPONENT"},
        {"flat:", "expected flat:VALUE from 0 to 65535"},
        {"flat:65536", "expected flat:VALUE"},
        {"flat:-1", "expected flat:VALUE"},
        {numbers(255), "RED has 255 numbers, expected 256"},
        {numbers(257), "RED has 257 numbers, expected 256"},
        {numbers(255) + ",", "RED: number 256 is \"\", expected one from 0 to 65535"},
        {numbers(255) + ",65536", "RED: number 256 is \"65536\""},
        {"x," + numbers(255), "RED: number 1 is \"x\""},
        {"file:" + writeFile("empty", ""), "RED has 0 numbers, expected 256"},
        {"file:/no/such/file", "/no/such/file"},
        {"file:" + writeFile("short", numbers(255, "1", "\n")), "RED has 255 numbers"},
    };
    for (const auto& row : rows) {
        EXPECT_THAT(test::errorOf([&] { tool::parseGammaCurve("RED", row.first); }), HasSubstr(row.second));
    }
}

TEST(InputWords, SourcesHaveNames) {
    const std::pair<unsigned int, const char*> rows[] = {
        {0, "VGA"},      {1, "video decoder"}, {2, "CVBS 0"},  {9, "CVBS 7"}, {10, "?"},       {14, "S-Video 3"},
        {16, "YPbPr 0"}, {21, "SCART 1"},      {26, "HDMI 3"}, {28, "none"},  {45, "unknown"}, {255, "?"}};
    for (const auto& [u32Number, pszName] : rows) {
        EXPECT_EQ(tool::sourceName(u32Number), pszName) << u32Number;
    }
}

TEST_F(InputsCli, DataOfAPlanMayFail) {
    EXPECT_THAT(verdicts(R"(
on-failure continue
step never retry 1
    set player window on 1
    data first values a=1 b=-0x10
    data second gamma 1
step good
    set calibration vga
    keep gain red_gain
    set input vga
    keep zero handle
    data third values is=${gain} was=0
    data fourth calibration scart ${zero}
step wrong
    set calibration vga
    keep words calibration
    data fifth values is=${words}
)"),
                ElementsAre(Pair("never", "failed"), Pair("good", "passed"), Pair("wrong", "failed")));
    const nlohmann::json json = report();
    EXPECT_EQ(json["steps"][0]["attempts"].size(), 2u);
    EXPECT_THAT(stepText(0), HasSubstr("line 5: set player window on 1")) << "the player has it from the first attempt";
    EXPECT_EQ(json["steps"][0]["attempts"][0]["commands"][2]["error"], "window 1 has been sent no gamma curves");
    EXPECT_EQ(json["steps"][0]["attempts"][0]["commands"][1]["data"]["series"][1]["values"][0], -16);
    EXPECT_EQ(json["steps"][0]["data"].size(), 0u) << "of the last attempt";
    EXPECT_EQ(json["steps"][1]["data"][0]["series"][0]["values"][0], 1024);
    EXPECT_EQ(json["steps"][1]["data"][1]["kind"], "values");
    EXPECT_EQ(json["steps"][1]["data"][1]["series"].size(), 6u);
    EXPECT_THAT(json["steps"][1]["data"][1]["series"][5].dump(), R"({"name":"blue_offset","values":[128]})");
    EXPECT_THAT(stepText(2), HasSubstr("expected WORD=NUMBER"));
}

// Actions that no shipped plan uses.
TEST_F(InputsCli, WhatAPersonDoesToInputsAndPanel) {
    runPlan(R"(
step "inputs"
    sys_init
    inpsrc_init
    set plug scart 0 720 576 50000 interlaced unknown 9
    set input scart
    expect plugged is "720x576i 50.000 Hz, unknown signal, TV system 9"
    expect handle is 0
    set unplug scart 0
    set input scart
    expect plugged is nothing
    set player vga on
    set input vga
    expect player is 1
    expect handle is-not 0
step "tuners"
    set tuner-text 0 streams 2
    set tuner-text 0 changes "a, b"
    set tuner 0
    expect locked is 1
    expect streams is 2
    expect changes is "a, b"
    set lock-tuner 1
    set player tuner off 1
    set tuner 1
    expect open is 0
step "picture and panel"
    disp_init
    set gamma
    expect red is ""
    disp_set_gamma_curve flat:1 flat:2 flat:3
    set gamma
    expect blue starts-with 3,3,3
    keep curve green
    disp_set_gamma_curve ${curve}
    set picture-settings
    expect curves is "red 2/2/2, green 2/2/2, blue 2/2/2"
    set panel-attr 16 hex:ff000000
    disp_get_frc_connect_status
    expect status is 255
    set panel-attr 17
    expect words is "project VSETTCON-FHD-060, customer LUMORA"
    disp_set_picture_param_struct gamma hex:01 -1
    disp_set_picture_param_struct gamma hex:01 0
    expect status failed
)");
    EXPECT_EQ(_result.s32Exit, 0) << _result.strOutput;
    // Calibration stays in the set's folder, and needs no session.
    EXPECT_EQ(fapiJson({"set", "calibration", "ypbpr"})["outputs"]["green_offset"], 128);
}

}  // namespace
