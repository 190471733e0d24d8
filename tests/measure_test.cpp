// SPDX-License-Identifier: Apache-2.0
// Units, parameters and measurements: from the plan's words to the reports.
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pugixml.hpp>

#include "base/picture.h"
#include "judge/measure.h"
#include "plan/plan.h"
#include "support/plan_fixture.h"
#include "support/waiting.h"

namespace {

using nlohmann::json;
using testing::HasSubstr;

class Measured : public test::PlanTest {
protected:
    static constexpr char kUnit[] =
        "param serial matches \"^[A-Z0-9-]+$\" \"serial number\"\nparam raw default 131 \"what the converter reads\"\n"
        "unit serial ${serial}\n";
    static constexpr char kRail[] =
        "step Rail\nsys_init\nprphrl_init\nset voltage 3 ${raw}\nprphrl_get_sar_adc 3\n"
        "measure \"5 V rail\" = status scale 0.0384 V in 4.75..5.25 margin 0.05\n";

    void SetUp() override {
        test::PlanTest::SetUp();
        writeFile("model.limits", "# a model\nrail 4.75 5.25 V\nopen - 7\ncurve 1,2,3 4,5,-\n");
    }
    std::vector<std::string> problems(const std::string& strLines) const {
        std::vector<tool::Problem> found;
        tool::parsePlan("plan P\nlimits model.limits\nparam serial \"s\"\nstep S\nprphrl_get_sar_adc 3\n" + strLines,
                        found, folder() + "/p.plan");
        std::vector<std::string> lines;
        for (const tool::Problem& problem : found) {
            lines.push_back(std::to_string(problem.line) + ":" + std::to_string(problem.column) + ": " + problem.text);
        }
        return lines;
    }
    // Returns the verdict of a value, and why.
    std::string judged(const std::string& strWords, const tool::Value& value) const {
        const tool::Limits limits = tool::readLimits(folder() + "/model.limits");
        const tool::Measure measure = tool::parseMeasure(tool::splitWords("measure M = status " + strWords));
        const tool::Judgement judgement = tool::judge(measure, &value, "", limits).judgement;
        return tool::verdictName(judgement.verdict) + (judgement.text.empty() ? "" : ": " + judgement.text);
    }
};

TEST_F(Measured, ValuesAreJudgedInTheirUnit) {
    const struct {
        const char* words;
        tool::Value value;
        const char* verdict;
    } rows[] = {
        {"scale 0.0384 V in 4.75..5.25 margin 0.05", 131ll, "passed"},
        {"scale 0.0384 V in 4.75..5.25 margin 0.05", 136ll, "marginal: M is 5.2224 V, nearer than 0.05 V to an end"},
        {"scale 0.0384 V in 4.75..5.25", 137ll, "failed: M is 5.2608 V, expected 4.75..5.25 V"},
        // A product that binary fractions make a little larger.
        {"scale 0.1 dB at most 0.3", 3ll, "passed"},
        {"scale -2 offset 1.5 at least -4.5", 3ll, "passed"},
        {"scale -2 offset 1.5 at least -4.4", 3ll, "failed: M is -4.5, expected at least -4.4"},
        {"nominal -200 within 2.5%", -205ll, "passed"},
        {"nominal -200 within 2.5%", -206ll, "failed"},
        {"limits rail", std::string("5.3"), "failed: M is 5.3 V, expected 4.75..5.25 V"},
        {"limits open", -1000ll, "passed"},
        {"limits curve", std::string("1, 5 900"), "passed"},
        {"limits curve", tool::Bytes{1, 6, 3}, "failed: M[1] is 6, expected 2..5"},
        {"limits curve", std::string("1 2"), "failed: M has 2 values, expected 3"},
        {"in 0..9", std::string("3 4 10"), "failed: M[2] is 10"},
        {"in 0..9", std::string("nan"), "failed: M is \"nan\", expected a number"},
    };
    for (const auto& row : rows) {
        EXPECT_THAT(judged(row.words, row.value), testing::StartsWith(row.verdict)) << row.words;
    }
}

TEST_F(Measured, EveryMisuseIsFoundInItsPlace) {
    const std::pair<const char*, const char*> rows[] = {
        {"measure A = status in 1..2\nmeasure A = status in 1..2", "7:9: there is a measurement A already"},
        {"measure A = stats in 1..2", "6:13: no such output: stats, expected one of status"},
        {"measure A = status scal 2 V in 1..2",
         "6:20: \"scal\": expected scale, offset, in, at, nominal, limits or "
         "margin; did you mean scale?"},
        {"measure A = status in 2..1", "6:23: \"2..1\": expected a range like 4.75..5.25"},
        {"measure A = status in 1..inf", "6:23: \"1..inf\": expected a range"},
        {"measure A = status nominal 5 within 5", "6:37: within is \"5\", expected percent like 5%"},
        {"measure A = status scale 2 V", "6:29: the limits are missing"},
        {"measure A = status in 1..2 margin 1", "6:35: margin 1: every number in 1..2 is nearer"},
        {"measure A = status limits rial", "6:27: no such limits: \"rial\", did you mean rail?"},
        {"measure A = status scale 1 A limits rail", "6:37: the limits rail are in V, and the measurement in A"},
        {"keep serial status", "6:6: serial is a parameter, which nothing changes"},
        {"sys_check_file ${seral}", "6:16: ${seral} has not been kept before, did you mean ${serial}?"},
        {"unit serial X", "6:1: unit stands before the first step"},
        {"mesure A = status in 1..2", "6:1: no such operation: mesure, did you mean measure?"},
    };
    for (const auto& [lines, problem] : rows) {
        EXPECT_THAT(problems(lines), testing::ElementsAre(testing::StartsWith(problem))) << lines;
    }
    writeFile("model.limits", "rail 4.75 x V\n");
    EXPECT_THAT(problems("").front(), HasSubstr("model.limits:1:11: HIGH is \"x\", expected a number"));
}

TEST_F(Measured, TheRecordSaysWhatWasSeenOfWhichUnit) {
    runPlan(std::string(kUnit) + "on-failure continue\n" + kRail +
                "step Large\nset put /data/large repeat:5000000:x\nsys_read_file /data/large 5000000 0\n"
                "step Bad\nsys_check_file /data/none\n",
            {"--param", "serial=LM/55-1", "--param", "raw=137"});
    EXPECT_EQ(_result.s32Exit, 2) << "the serial number does not match";
    runPlan(std::string(kUnit) + "on-failure continue\n" + kRail +
                "step Large\nset put /data/large repeat:5000000:x\nsys_read_file /data/large 5000000 0\n"
                "picture shot\nsys_read_file /data/large 3 0\nmeasure Curve = data in 100..130\n"
                "step Bad\nsys_check_file /data/none\n",
            {"--param", "serial=LM55-1", "--waive", "Bad", "--reason", "'; DROP TABLE run"});
    EXPECT_EQ(_result.s32Exit, 0) << _result.strOutput << _result.strError;
    EXPECT_THAT(_result.strOutput, HasSubstr("unit: LM55-1\n"));
    EXPECT_THAT(_result.strOutput, HasSubstr("waived: Bad: '; DROP TABLE run\nWAIVED\n"));
    EXPECT_LT(_result.strOutput.size(), 100000u);
    EXPECT_THAT(reportFile(".json"), HasSubstr("/test-LM55-1-"));
    const std::string strSchema = std::string(FAPI_PLANS) + "/../docs/record.schema.json";
    const std::string strCheck =
        "import json, sys\nreport, schema = (json.load(open(name)) for name in sys.argv[1:])\n"
        "try:\n    import jsonschema\n    jsonschema.validate(report, schema)\nexcept ImportError:\n"
        "    missing = [key for key in schema['required'] if key not in report]\n"
        "    missing += [key for key in schema['properties']['run']['required'] if key not in report['run']]\n"
        "    sys.exit('missing: %s' % missing if missing else 0)\n";
    const test::ProcessResult valid = test::runProcess({"python3", "-c", strCheck, reportFile(".json"), strSchema});
    EXPECT_EQ(valid.s32Exit, 0) << valid.strError;
    const json record = report();
    EXPECT_EQ(record["run"]["unit"], "LM55-1");
    EXPECT_EQ(record["run"]["verdict"], "failed") << "a waiver changes no fact";
    EXPECT_EQ(record["run"]["deciding_step"], "Bad");
    EXPECT_EQ(record["run"]["parameters"], (json{{"raw", "131"}, {"serial", "LM55-1"}}));
    EXPECT_EQ(record["run"]["plan"]["sha256"].get<std::string>().size(), 64u);
    const json& measured = record["steps"][0]["measurements"][0];
    EXPECT_EQ(measured["value"], 5.0304);
    EXPECT_EQ(measured["unit"], "V");
    EXPECT_EQ(record["steps"][1]["attempts"][0]["commands"][1]["outputs"]["data"]["hex"].get<std::string>().size(),
              10000000u);
    const json stored = fapiJson({"history", "show", "last", "--report", reports()});
    const json& curve = stored["steps"][1]["measurements"][0];
    EXPECT_EQ(curve["text"], "120 120 120");
    EXPECT_EQ(curve["value"], 10) << "of 120 from 130";
    EXPECT_EQ(curve["low"], 0);
    EXPECT_EQ(stored["events"][0]["data"]["reason"], "'; DROP TABLE run");
    EXPECT_EQ(stored["attachments"].size(), 4u);
    for (const json& attached : stored["attachments"]) {
        const std::string strFile = reports() + "/" + attached["file"].get<std::string>();
        EXPECT_EQ(test::runProcess({"sha256sum", strFile}).strOutput,
                  attached["hash"].get<std::string>() + "  " + strFile + "\n");
        EXPECT_EQ(attached["bytes"], std::filesystem::file_size(strFile));
    }
    pugi::xml_document junit;
    ASSERT_TRUE(junit.load_file(reportFile(".xml").c_str()));
    EXPECT_TRUE(junit.select_node("//testsuite/properties/property[@name='parameter.serial' and @value='LM55-1']"));
    EXPECT_TRUE(junit.select_node("//property[@name='measurement.5 V rail' and starts-with(@value, '5.0304 V')]"));
    EXPECT_LT(std::filesystem::file_size(reportFile(".xml")), 200000u);
    EXPECT_LT(std::filesystem::file_size(reportFile(".html")), 300000u);
    EXPECT_THAT(test::readFile(reportFile(".html")), HasSubstr("LM55-1, attempt 1"));
}

TEST_F(Measured, OnlyApprovedVersionsDecideUnlessSomebodySaysWhyNot) {
    const std::string strPlan = "limits model.limits\nstep S\nsys_init\n", strNever(64, '0');
    const auto hash = [&](const std::string& strFile) {
        return test::runProcess({"sha256sum", folder() + "/" + strFile}).strOutput.substr(0, 64);
    };
    writeFile("test.plan", "plan \"Test\"\n" + strPlan);
    const std::string strLimits = "model.limits = " + hash("model.limits") + "\n";
    const struct {
        std::string approved;
        std::vector<std::string> words;
        int exit;
        const char* error;
    } rows[] = {
        {strLimits + "test.plan = " + strNever + " " + hash("test.plan"), {}, 0, ""},
        {strLimits, {}, 2, "[plans]: test.plan is missing (SHA-256 "},
        {strLimits + "test.plan = " + strNever, {}, 2, "test.plan is not a version of line 3 (SHA-256 "},
        {"test.plan = " + hash("test.plan"), {"--no-report"}, 2, "[plans]: model.limits is missing"},
        {"", {"--unapproved"}, 2, "requires --reason"},
        {"", {"--unapproved", "--reason", " "}, 2, "--unapproved: expected --reason TEXT, too"},
        {"", {"--unapproved", "--reason", "a trial"}, 0, ""},
    };
    for (const auto& row : rows) {
        std::vector<std::string> words = {"--station", writeFile("station.ini", "[plans]\n" + row.approved + "\n")};
        words.insert(words.end(), row.words.begin(), row.words.end());
        runPlan(strPlan, words);
        EXPECT_EQ(_result.s32Exit, row.exit) << row.approved << _result.strError;
        EXPECT_THAT(_result.strError, HasSubstr(row.error));
    }
    EXPECT_THAT(report()["run"]["waiver"]["text"].get<std::string>(), testing::EndsWith("): a trial"));
    EXPECT_EQ(fapiJson({"history", "show", "last", "--report", reports()})["events"][0]["step"], -1);
}

TEST_F(Measured, WhatAPlanBringsAlongIsApprovedWithIt) {
    const std::string strStation = writeFile("station.ini", "[plans]\nother.plan = " + std::string(64, '0') + "\n");
    const std::string strAnswers = writeFile("answers", "Red? yes\n");
    const auto hashWith = [&](const std::string& strLine, unsigned int u32Version) {
        std::filesystem::permissions(writeFile("probe.sh", "exit " + std::to_string(u32Version)),
                                     std::filesystem::perms::owner_all);
        tool::writePng({1, 1, {u32Version}}, folder() + "/red.png");
        runPlan("step S\n" + strLine + "\n", {"--station", strStation, "--answers", strAnswers});
        return _result.strError;
    };
    for (const char* pszLine :
         {"run ./probe.sh", "run sh -e ${PLAN_DIR}/probe.sh", "ask \"Red?\" with picture panel beside red.png"}) {
        EXPECT_THAT(hashWith(pszLine, 0), HasSubstr("test.plan is missing (SHA-256 ")) << pszLine;
        EXPECT_EQ(hashWith(pszLine, 0), hashWith(pszLine, 0)) << pszLine;
        EXPECT_NE(hashWith(pszLine, 0), hashWith(pszLine, 1)) << pszLine;
    }
    for (const std::string& strLine : {std::string("run true"), "run true " + std::string(300, 'x'),
                                       std::string("run true /proc/uptime"), std::string("run true ${PLAN_DIR}")}) {
        EXPECT_EQ(hashWith(strLine, 0), hashWith(strLine, 1)) << strLine;
    }
}

TEST_F(Measured, ATableIsRefusedAsAWholeByTheRowThatIsWrong) {
    const std::pair<std::string, const char*> rows[] = {
        {"serail\nA\n", ":1: no such parameter: \"serail\", did you mean serial?"},
        {"raw\n1\n", ":1: the column serial is missing (serial number)"},
        {"serial,raw\nA,1\nB\n", ":3: 1 field, expected 2"},
        {"serial\r\n\"A\r\n", ":2: the quote is not closed"},
        {"serial\nA\"B\n", ":2: \"A\\\"B\": a field with a quote stands in quotes, and has each quote twice"},
        {"serial\n", ": has no row but the one with the names"},
        {"serial\nA\nb\n", ":3: serial is \"b\", expected something that matches \"^[A-Z0-9-]+$\" (serial number)"},
    };
    for (const auto& [strTable, strProblem] : rows) {
        runPlan(std::string(kUnit) + kRail, {"--params", writeFile("units.csv", strTable)});
        EXPECT_EQ(_result.s32Exit, 2);
        EXPECT_THAT(_result.strError, testing::EndsWith("units.csv" + std::string(strProblem) + "\n"));
        const test::ProcessResult dry =
            fapi({"run", "--dry-run", "--params", folder() + "/units.csv", folder() + "/test.plan"});
        EXPECT_EQ(dry.strError, _result.strError);
    }
    const std::string strGood = "\xEF\xBB\xBFraw,serial\r\n\"1\"\"31\",\"A\"\r\n\r\n137,B\r\n131,C";
    runPlan(std::string(kUnit) + kRail, {"--params", writeFile("units.csv", strGood)});
    EXPECT_EQ(_result.s32Exit, 1) << _result.strError;
    for (const char* pszText : {"run 3 of 3", "unit: A", "5 V rail is 5.2608 V", "unit: C"}) {
        EXPECT_THAT(_result.strOutput, HasSubstr(pszText));
    }
}

TEST_F(Measured, AUnitIsInOneRunAtATime) {
    const std::string strPlan =
        writeFile("wait.plan", "plan \"First run\"\n" + std::string(kUnit) +
                                   "step Begin\nset put /data/began x\n"
                                   "step Wait retry 1000 every 100ms\nsys_check_file /data/end\n");
    const std::vector<std::string> run = {FAPI_BINARY, "--set",   set(),      "run",  "--report",
                                          reports(),   "--param", "serial=A", strPlan};
    test::ProcessResult first;
    std::thread station([&] { first = test::runProcess(run); });
    EXPECT_TRUE(test::eventually([&] { return std::filesystem::exists(set() + "/tree/data/began"); }));
    std::vector<std::string> other = run;
    other.push_back("--fresh");
    const test::ProcessResult second = test::runProcess(other);
    EXPECT_EQ(second.s32Exit, 2);
    EXPECT_THAT(second.strError, HasSubstr("unit \"A\" is in run 1 (First run), which began "));
    test::writeFile(set() + "/tree/data/end", "x");
    station.join();
    EXPECT_EQ(first.s32Exit, 0) << first.strOutput;
}

}  // namespace
