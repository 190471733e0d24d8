// SPDX-License-Identifier: Apache-2.0
// The bench tool before inputs and picture settings: gamma curves as people write them, wrong words, the shipped plan
// and the data that it keeps, what a person plugs in and sees.
#include <cmath>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "command.h"
#include "gamma_curve.h"
#include "input_words.h"
#include "plan_data.h"
#include "support/plan_fixture.h"

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

template <class Function>
std::string errorOf(Function&& run) {
    try {
        run();
    } catch (const tool::UsageError& error) {
        return error.what();
    }
    return "";
}

std::string lineError(const std::string& strLine) {
    return errorOf([&] { tool::Command::parse(tool::splitWords(strLine)); });
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
    const struct {
        std::string strText;
        std::string strError;
    } rows[] = {
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
        EXPECT_THAT(errorOf([&] { tool::parseGammaCurve("RED", row.strText); }), HasSubstr(row.strError));
    }
}

TEST(InputWords, WrongArgumentsAreNamedBeforeAnythingIsCalled) {
    const std::string str28 = "hex:" + numbers(28, "00", "");
    const struct {
        std::string strLine;
        const char* pszError;
    } rows[] = {
        {"inpsrc_get_adc_phase component", "DEVICE is \"component\", expected one of vga (0), ypbpr (1), scart (2)"},
        {"inpsrc_get_adc_phase -1", "DEVICE is \"-1\""},
        {"inpsrc_set_adc_phase vga 1 2 0x100000000", "BLUE_PHASE is \"0x100000000\", expected a number from 0"},
        {"inpsrc_set_adc_gain_offset vga 1 2 3 4 5", "BLUE_OFFSET is missing"},
        {"disp_set_picture_param_struct 23 " + str28, "DATA has 28 bytes, expected 29 at least, which type 23 reads"},
        {"disp_set_picture_param_struct record " + str28 + " 29", "DATA has 28 bytes, expected 29"},
        {"disp_set_picture_param_struct 27 text:", "DATA has 0 bytes, expected 1 at least, which type 27 reads"},
        {"disp_set_gamma_curve linear power:0", "GREEN is \"power:0\", expected power:EXPONENT"},
        {"disp_set_gamma_curve same", "RED is \"same\", expected linear"},
        {"disp_get_pq_version hd2 0", "WINDOW is \"hd2\", expected one of hd0 (0), hd1 (1), sd0 (2)"},
        {"disp_set_over_scan 0 0 65536 1", "WIDTH is \"65536\""},
        {"set plug vcr 0", "TYPE is \"vcr\", expected one of hdmi (0)"},
        {"set calibration hdmi", "TYPE is \"hdmi\", expected one of vga (2), ypbpr (1), scart (5)"},
        {"set tuner-text 0 colour x", "WHICH is \"colour\", expected one of name (0)"},
        {"set tuner 8", "SLOT is \"8\", expected a number from 0 to 7"},
        {"set decoder 17", "PARAMETER is \"17\", expected a number from 1 to 16"},
        {"set timing-supported 47 on", "TIMING is \"47\""},
        {"set pq-version hd0 0 " + std::string(33, 'v'), "expected a text of at most 32 characters"},
    };
    for (const auto& row : rows) {
        EXPECT_THAT(lineError(row.strLine), HasSubstr(row.pszError)) << row.strLine;
    }
    // Values that the operation itself refuses or does not read.
    for (const char* pszLine : {"disp_set_picture_param_struct 5 text:", "disp_set_picture_param_struct 27 text:x 0",
                                "inpsrc_get_adc_phase 4000000000", "disp_get_pq_version 9 9 0"}) {
        EXPECT_EQ(lineError(pszLine), "") << pszLine;
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

TEST_F(InputsCli, ThePlanPassesAndKeepsItsData) {
    const test::ProcessResult result = fapi({"run", "--report", reports(), std::string(FAPI_PLANS) + "/inputs.plan"});
    ASSERT_EQ(result.s32Exit, 0) << result.strOutput << result.strError;
    std::map<std::string, nlohmann::json> data;
    const nlohmann::json json = report();
    for (const auto& step : json["steps"]) {
        for (const auto& kept : step["data"]) {
            EXPECT_TRUE(data.emplace(kept["name"], kept).second) << kept["name"];
        }
    }
    const auto values = [&](const std::string& strName) {
        std::map<std::string, int> all;
        EXPECT_EQ(data[strName]["kind"], "values") << strName;
        for (const auto& series : data[strName]["series"]) {
            EXPECT_EQ(series["values"].size(), 1u) << strName;
            all[series["name"]] = series["values"][0];
        }
        return all;
    };
    std::map<std::string, int> uncalibrated;
    for (const char* pszColor : {"red", "green", "blue"}) {
        uncalibrated[std::string(pszColor) + "_gain"] = 1024;
        uncalibrated[std::string(pszColor) + "_offset"] = 128;
    }
    EXPECT_EQ(values("vga-before"), uncalibrated);
    EXPECT_EQ(values("ypbpr-before"), uncalibrated);
    EXPECT_THAT(values("vga-after"),
                ElementsAre(Pair("blue_gain", 1071), Pair("blue_offset", 134), Pair("green_gain", 1052),
                            Pair("green_offset", 127), Pair("red_gain", 1064), Pair("red_offset", 131)));
    EXPECT_THAT(values("ypbpr-green"), ElementsAre(Pair("after", 1018), Pair("before", 1024), Pair("needed", 1018)));

    const nlohmann::json& curves = data["gamma-corrected"];
    EXPECT_EQ(curves["kind"], "curves");
    const std::pair<const char*, double> colors[] = {{"red", 2.2}, {"green", 2.1}, {"blue", 2.3}};
    ASSERT_EQ(curves["series"].size(), std::size(colors));
    for (std::size_t i = 0; i < std::size(colors); ++i) {
        const nlohmann::json& series = curves["series"][i];
        EXPECT_EQ(series["name"], colors[i].first);
        ASSERT_EQ(series["values"].size(), 256u);
        for (const std::size_t entry : {0u, 1u, 100u, 254u, 255u}) {
            EXPECT_EQ(series["values"][entry],
                      std::lround(65535 * std::pow(static_cast<double>(entry) / 255, colors[i].second)))
                << colors[i].first << ' ' << entry;
        }
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
    EXPECT_THAT(json["steps"][0]["text"].get<std::string>(), HasSubstr("line 5: set player window on 1"))
        << "the player has it from the first attempt";
    EXPECT_EQ(json["steps"][0]["attempts"][0]["commands"][2]["error"], "window 1 has been sent no gamma curves");
    EXPECT_EQ(json["steps"][0]["attempts"][0]["commands"][1]["data"]["series"][1]["values"][0], -16);
    EXPECT_EQ(json["steps"][0]["data"].size(), 0u) << "of the last attempt";
    EXPECT_EQ(json["steps"][1]["data"][0]["series"][0]["values"][0], 1024);
    EXPECT_EQ(json["steps"][1]["data"][1]["series"].size(), 6u);
    EXPECT_THAT(json["steps"][2]["text"].get<std::string>(), HasSubstr("expected WORD=NUMBER"));
}

TEST_F(InputsCli, TheLineOfDataIsChecked) {
    const std::string strPlan = writeFile("wrong.plan", R"(plan "Wrong"
data early gamma 0
step s
    data
    data a/b gamma 0
    data a gamma
    data a gamma 3
    data a gamma 0 1
    data a calibration hdmi 0
    data a calibration vga
    data a values x
    data a values =1
    data a values x=y
    data a pictures 0
    data b gamma 0
    data b gamma 1
    expect status ok
    data c values x=${none}
)");
    const std::string strError = fapi({"check", strPlan}).strError;
    const char* const problems[] = {":2:1: \"data\" stands before the first step",
                                    ":4:9: expected: data NAME gamma WINDOW",
                                    ":5:10: expected: data NAME gamma WINDOW",
                                    ":6:10: expected: data NAME gamma WINDOW",
                                    ":7:18: WINDOW is \"3\", expected a number from 0 to 2",
                                    ":8:20: \"1\" is one argument too many",
                                    ":9:24: TYPE is \"hdmi\", expected one of vga",
                                    ":10:27: INDEX is missing",
                                    ":11:19: \"x\": expected WORD=NUMBER",
                                    ":12:19: \"=1\": expected WORD=NUMBER",
                                    ":13:19: \"x=y\": expected WORD=NUMBER",
                                    ":14:12: expected: data NAME gamma WINDOW",
                                    ":16:5: there are data b already",
                                    ":17:5: expect stands behind data, which answers nothing",
                                    ":18:19: ${none} has not been kept before"};
    for (const char* pszProblem : problems) {
        EXPECT_THAT(strError, HasSubstr(strPlan + pszProblem));
    }
    EXPECT_EQ(std::count(strError.begin(), strError.end(), '\n'), static_cast<long>(std::size(problems))) << strError;
}

// Actions that the shipped plan does not use.
TEST_F(InputsCli, WhatAPersonDoesToInputsAndPanel) {
    verdicts(R"(
step "inputs"
    sys_init
    inpsrc_init
    set plug hdmi 0
    set input hdmi 0
    expect plugged is "1920x1080p 60.000 Hz, locked"
    set plug scart 0 720 576 50000 interlaced unknown 9
    set input scart
    expect plugged is "720x576i 50.000 Hz, unknown signal, TV system 9"
    expect open is 0
    expect handle is 0
    set unplug scart 0
    set input scart
    expect plugged is nothing
    set player vga on
    set input vga
    expect player is 1
    expect handle is-not 0
    set player vga off
step "tuners"
    set tuner
    expect locked is 1
    expect tuner is LM-TUNER
    set tuner-text 0 tuner "other tuner"
    set tuner-text 0 streams 2
    set tuner-text 0 changes "a, b"
    set tuner 0
    expect tuner is "other tuner"
    expect streams is 2
    expect changes is "a, b"
    set lock-tuner 1
    set tuner 1
    expect player is 1
    set unlock-tuner 1
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
    set window 0
    expect window is "window 0: open, player; video 1920x1080p 59.940 Hz"
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

TEST_F(InputsCli, AnActionOnAMissingPartIsRefused) {
    const char* const rows[][2] = {
        {"set unplug vga 0", "nothing is plugged in"},
        {"set needed ypbpr 0 1 2 3 4 5 6", "nothing is plugged into YPbPr 0"},
        {"set input hdmi 99", "99"},
        {"set tuner 5", "tuner slot 5: there are only 2"},
        {"set panel-attr 10", "10"},
        {"set panel-attr 16 hex:ff", "16"},
    };
    for (const auto& row : rows) {
        const test::ProcessResult result = fapi({"shell"}, std::string(row[0]) + "\n");
        EXPECT_EQ(result.s32Exit, 1) << row[0];
        EXPECT_THAT(result.strOutput, HasSubstr(row[1])) << row[0];
    }
}

}  // namespace
