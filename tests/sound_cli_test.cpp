// SPDX-License-Identifier: Apache-2.0
// The bench tool at the audio outputs: names for numbers, what the chip holds, lists, the shipped plan.
#include <algorithm>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "command.h"
#include "support/plan_fixture.h"

namespace {

using SoundCli = test::PlanTest;

std::string errorOf(const std::string& strLine) {
    try {
        tool::Command::parse(tool::splitWords(strLine));
    } catch (const tool::UsageError& error) {
        return error.what();
    }
    return "";
}

TEST_F(SoundCli, ThePlanPasses) {
    const test::ProcessResult result = fapi({"run", "--report", reports(), std::string(FAPI_PLANS) + "/sound.plan"});
    EXPECT_EQ(result.s32Exit, 0) << result.strOutput << result.strError;
}

TEST_F(SoundCli, NamesMeanWhatTheirNumbersDo) {
    const char* const rows[][3] = {
        {"aud_adv_snd_enable dts-virtualx", "aud_adv_snd_enable 7", "advanced sound: DTS Virtual X"},
        {"aud_basic_snd_set_param eq 1,2", "aud_basic_snd_set_param 1 0x1,2 2", "EQ on, 2 bands: level 1 2"},
    };
    for (const auto& row : rows) {
        for (const char* pszLine : {row[0], row[1]}) {
            EXPECT_EQ(fapiJson(tool::splitWords(std::string("call ") + pszLine))["outputs"]["chip"], row[2]) << pszLine;
        }
    }
}

std::string chipOfPart(int s32Type, std::string strName) {
    const auto has = [&](const char* pszMode) { return strName.find(pszMode) != std::string::npos; };
    if (s32Type == 4) {
        const std::string strVolume = has("night") ? "night" : "off";
        return std::string("DBX: sonic ") + (has("sonic") ? "on" : "off") + ", volume " +
               (has("normal") ? "normal" : strVolume) + ", surround " + (has("surround") ? "on" : "off");
    }
    std::replace(strName.begin(), strName.end(), '-', ' ');
    return ": " + strName + " on, rest off";
}

TEST_F(SoundCli, APartIsSwitchedByItsName) {
    const auto& choices = tool::findOperation("aud_adv_snd_enable_sub")->arguments[1].choices;
    std::vector<std::string> chips;
    std::string strInput;
    for (int s32Type = 1; s32Type <= 7; ++s32Type) {
        for (const tool::Choice& choice : choices) {
            const std::string strLine = "aud_adv_snd_enable_sub " + std::to_string(s32Type) + " " + choice.name + " on";
            if (errorOf(strLine).empty()) {
                chips.push_back(chipOfPart(s32Type, choice.name));
                strInput += strLine + "\n";
            }
        }
    }
    EXPECT_EQ(chips.size(), choices.size()) << "each is a part of one effect";
    std::istringstream output(fapi({"shell"}, strInput).strOutput);
    for (const std::string& strChip : chips) {
        std::string strLine;  // after the line with the status
        std::getline(std::getline(output, strLine), strLine);
        EXPECT_THAT(strLine, testing::EndsWith(strChip + "\""));
    }
}

TEST_F(SoundCli, WhatDoesNotGoTogetherIsRefusedBeforeAnythingIsCalled) {
    const char* const rows[][2] = {
        {"aud_adv_snd_enable_sub dbx atmos on", "SUB is \"atmos\", which is a part of dolby-dap and not of dbx"},
        {"aud_basic_snd_set_param eq 1,2,3,4,5,6,7,8,9", "expected at most 8 levels of eq: LEVEL,LEVEL,..."},
        {"aud_basic_snd_set_param bass 1,", "VALUES is \"1,\", expected one number"},
        {"aud_set_volume_table all T 1,65536", "ENTRIES is \"1,65536\", expected numbers from 0 to 65535"},
    };
    for (const auto& row : rows) {
        EXPECT_THAT(errorOf(row[0]), testing::HasSubstr(row[1]));
    }
    // Variables may stand for anything until they have a value.
    verdicts(
        "step \"s\"\nsys_init\nkeep zero status\naud_basic_snd_set_param ${zero} ${zero}\nexpect status failed\nexpect "
        "refusals is 18\n");
    EXPECT_EQ(_result.s32Exit, 0) << _result.strOutput << _result.strError;
}

}  // namespace
