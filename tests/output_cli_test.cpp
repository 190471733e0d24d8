// SPDX-License-Identifier: Apache-2.0
// The bench tool's output at terminals of all kinds, in pipes, and without a reader.
#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/table.h"
#include "base/terminal.h"
#include "protocol/characters.h"
#include "support/plan_fixture.h"

namespace {

using testing::Each;
using testing::HasSubstr;
using testing::Not;
using testing::Property;

using Strings = std::vector<std::string>;

class OutputCli : public test::PlanTest {
protected:
    // `strShell` may use $FAPI, which has the set, and $PLAN.
    test::ProcessResult shell(const std::string& strShell) const {
        return test::runProcess({"bash", "-c",
                                 "set -o pipefail; FAPI='" FAPI_BINARY " --set " + set() + "'; PLAN='run --report " +
                                     reports() + " " + folder() + "/test.plan'; TREE='" + set() + "/tree'; " +
                                     strShell});
    }
    void writePlan(const std::string& strSteps) const { writeFile("test.plan", "plan T\n" + strSteps); }
};

TEST_F(OutputCli, ARunEndsInOrderWhoeverReadsIt) {
    const struct {
        const char* name;
        const char* shell;
        int exit;
        const char* verdict;
    } rows[] = {
        {"a reader that goes away", "$FAPI $PLAN | head -1", 1, "passed"},
        {"a full disk", "$FAPI $PLAN >/dev/full", 1, "passed"},
        {"a reader that is not even there", "$FAPI $PLAN 2>&1 | true", 1, "passed"},
        {"a terminal that is closed",
         "$FAPI $PLAN & while [ ! -e $TREE/data/begun ]; do sleep 0.02; done; kill -HUP $!; wait $!", 4, "interrupted"},
        {"a terminal that is closed under nohup",
         "trap '' HUP; $FAPI $PLAN & while [ ! -e $TREE/data/begun ]; do sleep 0.02; done; kill -HUP $!; wait $!", 0,
         "passed"},
    };
    writePlan(
        "step a\nsys_init\nset put /data/begun x\nstep b\nsys_init\nexpect no event 1 within 1s\n"
        "teardown\nstep c\nset put /data/cleaned x\n");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::filesystem::remove_all(reports());
        std::filesystem::remove_all(set());
        const test::ProcessResult result = shell(row.shell);
        EXPECT_EQ(result.s32Exit, row.exit) << result.strOutput << result.strError;
        EXPECT_EQ(readFile(set() + "/tree/data/cleaned"), "x");
        EXPECT_EQ(report()["verdict"], row.verdict);
        EXPECT_EQ(report()["steps"][2]["verdict"], "passed");
    }
}

// The second step waits for what the reader does when it sees the end of the first one.
TEST_F(OutputCli, ProgressComesLineByLine) {
    writePlan("step first\nsys_init\nstep second retry 1000 every 20ms\nsys_check_file /data/seen\n");
    for (const std::string strOption : {"", "--json"}) {
        std::filesystem::remove_all(set());
        const test::ProcessResult result = shell("$FAPI " + strOption +
                                                 " $PLAN | while read -r line; do case $line in *first*) "
                                                 "touch $TREE/data/seen;; esac; done");
        EXPECT_EQ(result.s32Exit, 0) << strOption << result.strError;
    }
}

TEST_F(OutputCli, TheLastLineIsTheVerdict) {
    const struct {
        const char* steps;
        Strings options;
        const char* word;
        const char* verdict;
    } rows[] = {
        {"step a\nsys_init\n", {}, "PASS", "passed"},
        {"step a\nsys_init\nexpect status in 0..9 margin 1\n", {}, "MARGINAL", "marginal"},
        {"step a\nsys_check_file /data/none\n", {}, "FAIL", "failed"},
        {"step a\nsys_check_file /data/x\nexpect status failed\nset put /data/x x\n",
         {"--repeat", "2"},
         "FAIL",
         "failed"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.steps);
        std::filesystem::remove_all(set());
        writePlan(row.steps);
        Strings words = {"run", "--no-report", folder() + "/test.plan"};
        words.insert(words.end(), row.options.begin(), row.options.end());
        EXPECT_EQ(test::linesOf(fapi(words).strOutput).back(), row.word);
        std::filesystem::remove_all(set());
        EXPECT_EQ(fapiJson(words)["verdict"], row.verdict);
        std::filesystem::remove_all(set());
        words.insert(words.begin(), {FAPI_BINARY, "--set", set()});
        const std::string strScreen = test::linesOf(test::runOnTerminal(words, {}).strOutput).back();
        EXPECT_THAT(strScreen, testing::ContainsRegex(std::string("\033\\[1;7m +") + row.word + " +\033\\[0m"))
            << "a bar";
        EXPECT_THAT(strScreen, testing::SizeIs(testing::Gt(200u))) << "as wide as the terminal";
    }
}

TEST_F(OutputCli, ColorsAndRewrittenLinesAreForTerminalsThatTakeThem) {
    const struct {
        bool onTerminal;
        Strings environment;
        Strings options;
        bool colored;
        bool rewritten;
    } rows[] = {
        {true, {}, {}, true, true},
        {true, {"NO_COLOR=1"}, {}, false, true},
        {true, {"NO_COLOR="}, {}, true, true},
        {true, {"TERM=dumb"}, {}, false, false},
        {true, {"NO_COLOR=1", "TERM=dumb"}, {"--color=always"}, true, false},
        {true, {}, {"--color", "never"}, false, true},
        {false, {}, {}, false, false},
        {false, {"NO_COLOR=1"}, {"--color", "always"}, true, false},
    };
    writePlan("step a\nsys_init\n");
    for (const auto& row : rows) {
        Strings words = {"env"};
        words.insert(words.end(), row.environment.begin(), row.environment.end());
        words.insert(words.end(), {FAPI_BINARY, "--set", set()});
        words.insert(words.end(), row.options.begin(), row.options.end());
        words.insert(words.end(), {"run", "--no-report", folder() + "/test.plan"});
        SCOPED_TRACE(testing::PrintToString(words));
        const std::string strOutput =
            row.onTerminal ? test::runOnTerminal(words, {}).strOutput : test::runProcess(words).strOutput;
        EXPECT_THAT(strOutput, HasSubstr("PASS"));
        EXPECT_EQ(strOutput.find("\033[32m") != std::string::npos, row.colored) << strOutput;
        EXPECT_EQ(strOutput.find("\033[K") != std::string::npos, row.rewritten) << strOutput;
    }
    EXPECT_EQ(fapi({"--color=blue", "list"}).s32Exit, 2);
}

// A Han character takes three bytes and two columns.
std::size_t columnsTaken(const std::string& strLine) {
    std::size_t columns = 0;
    for (std::size_t i = 0; i < strLine.size(); ++i) {
        const auto byte = static_cast<unsigned char>(strLine[i]);
        if (byte == 0x1B) {
            i = strLine.find('m', i);
        } else if (byte != '\r' && (byte & 0xC0) != 0x80) {
            columns += byte >= 0xE4 ? 2 : 1;
        }
    }
    return columns;
}

TEST_F(OutputCli, TablesFitTheTerminal) {
    std::string strWide;
    for (int i = 0; i < 30; ++i) {
        strWide += "漢字";
    }
    writePlan("on-failure continue\nstep '" + strWide + "'\nsys_init\nstep '" + std::string(200, 'x') +
              "'\nsys_check_file /data/none\nstep ok\nsys_init\n");
    for (const unsigned int u32Columns : {80u, 40u, 20u}) {
        const test::ProcessResult result = test::runOnTerminal(
            {FAPI_BINARY, "--set", set(), "run", "--report", reports(), folder() + "/test.plan"}, {}, u32Columns);
        const Strings lines = test::linesOf(result.strOutput);
        const auto titles = std::find_if(lines.begin(), lines.end(),
                                         [](const std::string& strLine) { return strLine.rfind("no  step", 0) == 0; });
        ASSERT_GE(lines.end() - titles, 4);
        for (auto line = titles; line < titles + 4; ++line) {
            EXPECT_LE(columnsTaken(*line), u32Columns) << *line;
        }
        EXPECT_THAT(titles[1], HasSubstr("…"));
        EXPECT_THAT(titles[3], HasSubstr("ok")) << "what fits is whole";
        EXPECT_THAT(titles[1], HasSubstr("passed"));
        EXPECT_LE(columnsTaken(lines.back()), u32Columns);
        for (const std::string& strLine : test::linesOf(
                 test::runOnTerminal({FAPI_BINARY, "history", "--report", reports()}, {}, u32Columns).strOutput)) {
            EXPECT_LE(columnsTaken(strLine), u32Columns) << strLine;
        }
    }
    EXPECT_THAT(fapi({"run", "--no-report", folder() + "/test.plan"}).strOutput,
                HasSubstr(" 1  " + strWide + std::string(80, ' ') + "  passed "))
        << "a pipe gets everything";

    EXPECT_EQ(tool::inColumns({"a", "bbbb", "cc", "d", "e"}, 12), "a     cc  e\nbbbb  d\n");
    EXPECT_EQ(tool::inColumns({"longer than all", "b"}, 5), "longer than all\nb\n");
    EXPECT_EQ(tool::inColumns({}, 5), "");
}

// Whatever is stored or typed: a terminal obeys none of it.
TEST_F(OutputCli, NothingReachesATerminalUnescaped) {
    const std::string strEvil = "a\033[31m\x07\x7f\xff\xc2\x9b\xe2\x80\xae|\xed\xa0\x80|\xc0\xaf|\xf4\x90\x80\x80";
    EXPECT_EQ(fapi({"call", "sys_set_emmc_env_var", "evil", strEvil}).s32Exit, 0);
    EXPECT_EQ(fapi({"set", "put", "/data/f", strEvil + "\nx\n"}).s32Exit, 0);
    const std::string strPlan = writeFile(
        "p.plan", "plan 'P " + strEvil + "'\nstep 'S " + strEvil + "'\nsys_get_emmc_env_var evil\nexpect value is b\n");
    const Strings rows[] = {
        {"set", "show"},
        {"call", "sys_get_emmc_env_var", "evil"},
        {"set", "get", "/data/f"},
        {"call", "sys_check_file", "/data/" + strEvil},
        {"call", "sys_chek_" + strEvil},
        {"run", strEvil},
        {"run", "--report", reports(), strPlan},
        {"run", "--dry-run", strPlan},
        {"history", "--report", reports()},
        {"history", "show", "last", "--report", reports()},
        {"watch", "--count", "1", "--do", "prphrl_nty_event 1 1 \"" + strEvil + "\""},
        {"partition", "read", "misc", folder() + "/none" + strEvil + "/x"},
    };
    for (const Strings& row : rows) {
        const test::ProcessResult result = fapi(row);
        const std::string strAll = result.strOutput + result.strError;
        EXPECT_EQ(tool::printable(strAll, "\n"), strAll) << testing::PrintToString(row);
        EXPECT_FALSE(strAll.empty());
        Strings words = row;
        words.insert(words.begin(), "--json");
        const std::string strJson = fapi(words).strOutput;
        EXPECT_THAT(test::objectsOf(strJson), Each(Property(&nlohmann::json::is_discarded, false))) << strJson;
        EXPECT_THAT(strJson, Not(HasSubstr("\xEF\xBF\xBD"))) << "no byte is lost";
    }
    EXPECT_EQ(fapiJson({"set", "show"})["environment"]["emmc"]["evil"],
              fapiJson({"call", "sys_get_emmc_env_var", "evil"})["outputs"]["value"])
        << "bytes are the same object everywhere";
}

TEST_F(OutputCli, LargeValuesAreBounded) {
    constexpr std::size_t kMuch = 200000;
    writeFile("large", std::string(5000000, 'x'));
    writePlan("on-failure continue\nstep '" + std::string(50000, 'n') + "'\nset put /data/f file:" + folder() +
              "/large\nstep b\nsys_check_file repeat:5000000:y\nstep c\nset get /data/f\nexpect content is b\nstep '" +
              "d'\nsys_check_file /data/" + std::string(5000000, 'z') + "\n");
    const test::ProcessResult result = shell("$FAPI $PLAN");
    EXPECT_EQ(result.s32Exit, 1);
    EXPECT_LT(result.strOutput.size(), kMuch);
    EXPECT_THAT(result.strOutput, HasSubstr("(5000")) << "the full size is given";
    for (const char* pszEnding : {".xml", ".html"}) {
        EXPECT_LT(readFile(reportFile(pszEnding)).size(), 5 * kMuch) << pszEnding;
    }
    EXPECT_LT(readFile(reports() + "/results.sqlite").size(), 2 * kMuch);
    EXPECT_EQ(report()["steps"][2]["attempts"][0]["commands"][0]["outputs"]["content"].get<std::string>().size(),
              5000000u)
        << "the JSON has the whole value";
    fapi({"set", "put", "/data/lines", "repeat:500000:line\n"});
    EXPECT_LT(fapi({"set", "get", "/data/lines"}).strOutput.size(), kMuch);
    EXPECT_EQ(fapiJson({"set", "get", "/data/lines"})["outputs"]["content"].get<std::string>().size(), 2500000u);
}

// Programs need not cut lines.
TEST_F(OutputCli, ListsAreArrays) {
    const std::vector<nlohmann::json> answers =
        test::objectsOf(fapi({"--json", "shell"},
                             "sys_init\nset net\nset ports\nset journal 2\nset handles\nset iic\nset keypad\n"
                             "set leds\nset memory\nset gamma\nset osd\nset sound\nset firmware\n")
                            .strOutput);
    // The output, and a field of its first entry; without one they are no objects.
    const std::pair<const char*, std::string> rows[] = {{"interfaces", "mac"}, {"ports", "terminal"}, {"calls", "call"},
                                                        {"player", "family"},  {"devices", "slave"},  {"keys", ""},
                                                        {"ring", ""},          {"areas", "region"},   {"red", ""},
                                                        {"osd", ""},           {"sound", ""},         {"flashed", ""}};
    ASSERT_EQ(answers.size(), std::size(rows) + 1);
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        const auto& [pszOutput, strField] = rows[i];
        const nlohmann::json list = answers[i + 1]["outputs"][pszOutput];
        EXPECT_TRUE(list.is_array()) << answers[i + 1];
        EXPECT_TRUE(strField.empty() || (!list.empty() && list[0].contains(strField))) << answers[i + 1];
    }
    EXPECT_EQ(answers[3]["outputs"]["calls"].size(), 2u);
    runPlan(
        "step a\nsys_init\nset net\nexpect interfaces contains 'eth0 '\nset net-interface w0 "
        "02:00:5E:00:53:09\nset net\nkeep all interfaces\nexpect interfaces is ${all}\n");
    EXPECT_EQ(_result.s32Exit, 0) << "plans go on to compare the text";
}

}  // namespace
