// SPDX-License-Identifier: Apache-2.0
// `fapi history` and `fapi stats` on stores of known content.
#include <cmath>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/results_fixture.h"

namespace {

using testing::HasSubstr;
using testing::Not;
using namespace tool;
using Strings = std::vector<std::string>;

class ResultsCli : public test::ResultsTest {
protected:
    test::ProcessResult onStore(Strings words) const {
        words.insert(words.end(), {"--results", _strFile});
        return fapi(words);
    }
    void store(const std::vector<WholeRun>& runs) { ResultsStore(_strFile).addWhole(runs); }
    // The output of a Python program that is given the file's name.
    nlohmann::json python(const std::string& strProgram) const {
        const test::ProcessResult result = test::runProcess({"python3", "-c", strProgram, _strFile});
        EXPECT_EQ(result.s32Exit, 0) << result.strError;
        return nlohmann::json::parse(result.strOutput, nullptr, false);
    }
    void SetUp() override {
        test::ResultsTest::SetUp();
        _strFile = freshFile();
    }
    std::string _strFile;
};

// A unit a number, its verdicts in the order of its runs.
std::vector<WholeRun> runsOf(const std::vector<std::vector<const char*>>& units) {
    std::vector<WholeRun> runs;
    for (std::size_t unit = 0; unit < units.size(); ++unit) {
        for (const char* pszVerdict : units[unit]) {
            WholeRun whole = test::sampleRun("Line 1", static_cast<int>(runs.size()), 2);
            whole.run.unit = "U" + std::to_string(unit);
            whole.run.verdict = pszVerdict;
            whole.run.decidingStep = whole.run.verdict == "failed" ? "Rails" : "";
            runs.push_back(std::move(whole));
        }
    }
    return runs;
}

TEST_F(ResultsCli, YieldCountsFirstAndLastJudgedRunsOfUnits) {
    store(runsOf({{"passed"},
                  {"failed", "passed"},
                  {"error", "marginal"},
                  {"interrupted", "failed", "failed"},
                  {"passed", "failed", "error"},
                  {"error"}}));
    const nlohmann::json stats = nlohmann::json::parse(onStore({"stats", "--json"}).strOutput);
    EXPECT_EQ(stats["first_pass"], (nlohmann::json{{"units", 5}, {"good", 3}}));
    EXPECT_EQ(stats["final"], (nlohmann::json{{"units", 5}, {"good", 3}}));
    EXPECT_EQ(stats["failing_steps"][0], (nlohmann::json{{"step", "Rails"}, {"runs", 4}}));
    EXPECT_THAT(onStore({"stats"}).strOutput, HasSubstr("first-pass yield: 60.0 % (3 of 5)\n"));
}

TEST_F(ResultsCli, FiguresAgreeWithThoseOfAnotherProgram) {
    std::vector<WholeRun> runs;
    for (int i = 0; i < 500; ++i) {
        runs.push_back(test::sampleRun("Line 1", i, 3));
        // One-sided, and far from zero with hardly a difference.
        runs.back().parts.measurements[1].low.reset();
        *runs.back().parts.measurements[2].value += 1e9;
        runs.back().parts.measurements[2].low = 1e9 + 4.96;
        runs.back().parts.measurements[2].high = 1e9 + 5.25;
    }
    store(runs);
    const nlohmann::json expected = python(R"(
import json, sqlite3, statistics, sys
found = []
base = sqlite3.connect(sys.argv[1])
for name, low, high in base.execute('select name, min(low), min(high) from measurement group by name order by name').fetchall():
    v = [r[0] for r in base.execute('select value from measurement where name = ? order by at', [name])]
    mean, dev = statistics.fmean(v), statistics.stdev(v)
    sides = [(high - mean) / (3 * dev)] + ([(mean - low) / (3 * dev)] if low is not None else [])
    moving = statistics.fmean(abs(b - a) for a, b in zip(v, v[1:]))
    found.append({'name': name, 'count': len(v), 'mean': mean, 'deviation': dev,
                  'cp': (high - low) / (6 * dev) if low is not None else None, 'cpk': min(sides),
                  'high_control': mean + 2.66 * moving, 'low_control': mean - 2.66 * moving,
                  'outside': sum(x > high or (low is not None and x < low) for x in v)})
print(json.dumps(found)))");
    const nlohmann::json stats = nlohmann::json::parse(onStore({"stats", "--json"}).strOutput);
    ASSERT_EQ(expected.size(), 3u);
    for (std::size_t i = 0; i < expected.size(); ++i) {
        for (const auto& [strField, value] : expected[i].items()) {
            const nlohmann::json& found = stats["measurements"][i][strField];
            SCOPED_TRACE(strField + " " + found.dump() + " " + value.dump());
            if (value.is_number_float()) {
                const auto dReference = value.get<double>();
                EXPECT_NEAR(found.get<double>(), dReference, 1e-5 * std::min(1.0, std::abs(dReference)));
            } else {
                EXPECT_EQ(found, value);
            }
        }
    }
    EXPECT_GT(stats["measurements"][2]["outside"], 0);
}

TEST_F(ResultsCli, WhatCannotBeKnownIsSaidAndNeverGuessed) {
    struct Row {
        int runs;
        double spread;
        const char* cpk;
    };
    for (const Row& row : {Row{24, 0.01, "too few"}, {25, 0, "no spread"}, {25, 0.01, "9.53"}}) {
        _strFile = freshFile();
        std::vector<WholeRun> runs;
        for (int i = 0; i < row.runs; ++i) {
            runs.push_back(test::sampleRun("Line 1", i, 1));
            runs.back().parts.measurements[0].value = 5 + row.spread * (i % 3);
        }
        store(runs);
        for (const Strings& words : {Strings{"stats"},
                                     {"stats", "--json"},
                                     {"stats", "--format", "csv"},
                                     {"stats", "--format", "html"},
                                     {"stats", "--measurement", "rail 0"}}) {
            const test::ProcessResult result = onStore(words);
            EXPECT_EQ(result.s32Exit, 0) << result.strError;
            EXPECT_THAT(result.strOutput, Not(testing::ContainsRegex("[^a-z](nan|inf|NaN|Infinity)[^a-z]")));
        }
        EXPECT_THAT(onStore({"stats"}).strOutput, HasSubstr(row.cpk));
    }
    _strFile = freshFile();
    store({});
    EXPECT_THAT(onStore({"stats"}).strOutput, HasSubstr("first-pass yield: too few: no unit\n"));
}

TEST_F(ResultsCli, DriftIsFoundByItsRule) {
    const auto driftOf = [&](const std::function<double(int)>& value) {
        _strFile = freshFile();
        std::vector<WholeRun> runs;
        for (int i = 0; i < 40; ++i) {
            runs.push_back(test::sampleRun("Line 1", i, 1));
            runs.back().parts.measurements[0].value = value(i);
        }
        store(runs);
        return nlohmann::json::parse(onStore({"stats", "--json"}).strOutput)["measurements"][0]["drift"];
    };
    EXPECT_EQ(driftOf([](int i) { return i % 2; }), nullptr);
    EXPECT_EQ(driftOf([](int i) { return i >= 10 && i < 19 ? 3 + i % 2
                                         : i % 4 == 0      ? 9
                                                           : -1; }),
              "values 11 to 19 lie above the mean");
    EXPECT_EQ(driftOf([](int i) { return i >= 20 && i < 25 ? i - 19 : i % 2 == 0 ? 0 : 6; }), "values 21 to 26 rise");
}

TEST_F(ResultsCli, FiltersAndNames) {
    std::vector<WholeRun> runs = runsOf({{"passed", "failed"}, {"error"}});
    runs[2].run.station = "Line 2";
    runs[2].run.number = 1;
    runs[1].run.why = "the rail is at 4.1 V";
    store(runs);
    const std::pair<Strings, int> rows[] = {
        {{}, 3},
        {{"--unit", "U0"}, 2},
        {{"--unit", "U"}, 0},
        {{"--station", "Line 2"}, 1},
        {{"--verdict", "failed"}, 1},
        {{"--verdict", "unfinished"}, 0},
        {{"--text", "4.1 V"}, 1},
        {{"--text", "%"}, 0},
        {{"--plan", "in"}, 3},
        {{"--since", "2026-02-14T09:16Z", "--until", "2026-02-14T09:16Z"}, 1},
        {{"--until", "2026-02-13"}, 0},
    };
    for (const auto& [filter, s32Count] : rows) {
        Strings words = {"history", "--json"};
        words.insert(words.end(), filter.begin(), filter.end());
        const std::string strLines = onStore(words).strOutput;
        EXPECT_EQ(std::count(strLines.begin(), strLines.end(), '\n'), s32Count) << testing::PrintToString(filter);
    }
    const std::tuple<Strings, int, const char*> named[] = {
        {{"show", "2"}, 0, ""},
        {{"show", runs[1].run.id.substr(0, 20)}, 0, ""},
        {{"show", "1"}, 2, "there is more than one run 1"},
        {{"show", "9"}, 2, "there is no run 9"},
        {{"show", "0123456789"}, 2, "there is no run 0123456789"},
        {{"show", "x'; DROP TABLE run"}, 2, "expected the number of a run"},
        {{"--since", "yesterday"}, 2, "expected a time such as"},
        {{"--since", "2026-13-01"}, 2, "expected a time such as"},
        {{"export", "xls"}, 2, "expected csv, jsonl or atml"},
    };
    for (const auto& [words, s32Exit, pszError] : named) {
        Strings all = words;
        all.insert(all.begin(), "history");
        const test::ProcessResult result = onStore(all);
        EXPECT_EQ(result.s32Exit, s32Exit) << testing::PrintToString(words);
        EXPECT_THAT(result.strError, HasSubstr(pszError));
    }
}

// Read by other programs.
TEST_F(ResultsCli, ExportsAreWhole) {
    std::vector<WholeRun> runs = runsOf({{"passed", "failed"}});
    runs[1].parts.measurements[0].name = "a, \"b\"\nc";
    runs[1].parts.measurements[1].value.reset();
    runs[1].parts.measurements[1].text = "<&\x01>";
    runs[1].parts.steps[0].text = std::string("\xff\0", 2);
    store(runs);
    const auto exported = [&](const char* pszFormat) {
        return writeFile("exported", onStore({"history", "export", pszFormat}).strOutput);
    };
    const nlohmann::json csv = nlohmann::json::parse(
        test::runProcess(
            {"python3", "-c",
             "import csv, json, sys; print(json.dumps(list(csv.DictReader(open(sys.argv[1], newline='')))))",
             exported("csv")})
            .strOutput);
    ASSERT_EQ(csv.size(), 4u);
    EXPECT_EQ(csv[2]["measurement"], "a, \"b\"\nc");
    EXPECT_EQ(csv[0]["value"], nlohmann::json(*runs[0].parts.measurements[0].value).dump());

    const std::vector<nlohmann::json> lines = test::objectsOf(readFile(exported("jsonl")));
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[1]["steps"][0]["measurements"][0]["name"], "a, \"b\"\nc");
    EXPECT_EQ(lines[1]["parameters"], nlohmann::json::object());

    const std::string strAtml = exported("atml");
    const test::ProcessResult valid =
        test::runProcess({"xmllint", "--noout", "--relaxng", FAPI_PLANS "/../tests/atml.rng", strAtml});
    EXPECT_EQ(valid.s32Exit, 0) << valid.strError;
    const auto count = [&](const std::string& strPath) {
        const test::ProcessResult result = test::runProcess({"xmllint", "--xpath", "count(" + strPath + ")", strAtml});
        EXPECT_EQ(result.s32Exit, 0) << result.strError;
        return std::atoi(result.strOutput.c_str());
    };
    EXPECT_EQ(count("//*[local-name()='TestResults']"), 2);
    EXPECT_EQ(count("//*[local-name()='ResultSet']/*[local-name()='Outcome'][@value='Failed']"), 1);
    EXPECT_EQ(count("//*[local-name()='TestResult']"), 4);
    EXPECT_EQ(count("//*[local-name()='LimitPair']/*[local-name()='Limit'][@comparator='GE']"), 4);
    EXPECT_EQ(count("//*[local-name()='UUT']/*[local-name()='SerialNumber'][.='U0']"), 2);
}

}  // namespace
