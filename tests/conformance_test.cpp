// SPDX-License-Identifier: Apache-2.0
// Rules of boards: the virtual set keeps all of them, and each one notices the misbehaviour that is planted for it.
#include <csignal>
#include <map>
#include <set>

#include <sys/wait.h>
#include <unistd.h>

#include "support/tool_fixture.h"
#include "support/waiting.h"

namespace {

using test::objectsOf;
using ::testing::HasSubstr;

// The rules of the table, each with what is planted for it.
std::map<std::string, std::string> misbehaviours() {
    std::map<std::string, std::string> rows;
    std::ifstream file(FAPI_MISBEHAVIOURS);
    for (std::string line; std::getline(file, line);) {
        const std::size_t end = line.find(' ');
        if (line[0] != '#') {
            rows[line.substr(0, end)] = line.substr(line.find_first_not_of(' ', end));
        }
    }
    return rows;
}

std::vector<std::string> families() {
    std::vector<std::string> names;
    for (const auto& row : misbehaviours()) {
        const std::string family = row.first.substr(0, row.first.find('.'));
        if (names.empty() || names.back() != family) {
            names.push_back(family);
        }
    }
    return names;
}

class ConformanceTest : public test::ToolTest {
protected:
    void SetUp() override {
        ToolTest::SetUp();
        unsetenv("VSET_MISBEHAVIOUR");
    }

    std::vector<nlohmann::json> allRules(const std::vector<std::string>& more = {}) const {
        std::vector<std::string> words = {"conformance", "--json",   "--list", "--danger", "store", "--danger",
                                          "reboot",      "--danger", "pads",   "--danger", "person"};
        words.insert(words.end(), more.begin(), more.end());
        return objectsOf(fapi(words).strOutput);
    }

    // Returns rule -> result and text of all that did not pass.
    std::map<std::string, std::string> notPassed(std::vector<std::string> words) const {
        words.insert(words.begin(), {"conformance", "--json"});
        std::map<std::string, std::string> found;
        for (const nlohmann::json& line : objectsOf(fapi(words).strOutput)) {
            if (line.contains("rule") && line["result"] != "pass") {
                found[line["rule"]] = line["result"].get<std::string>() + ": " + line["text"].get<std::string>();
            }
        }
        return found;
    }
};

TEST_F(ConformanceTest, TheVirtualSetKeepsAllRulesThatAreCheckedUnasked) {
    const nlohmann::json all = fapiJson({"conformance"});
    EXPECT_GE(all["pass"], 120);
    EXPECT_EQ(all["pass"], all["rules"]) << all.dump();
    EXPECT_GE(all["rules"].get<int>() + all["not_chosen"].get<int>(), 150);
}

TEST_F(ConformanceTest, EveryRuleHasAMisbehaviour) {
    std::vector<std::string> rules;
    for (const nlohmann::json& rule : allRules()) {
        rules.push_back(rule["rule"]);
    }
    std::vector<std::string> planted;
    for (const auto& row : misbehaviours()) {
        planted.push_back(row.first);
    }
    EXPECT_THAT(rules, ::testing::UnorderedElementsAreArray(planted));
}

class MisbehaviourTest : public ConformanceTest, public ::testing::WithParamInterface<std::string> {};

// The keypad reads the same key.
const std::map<std::string, std::set<std::string>> kBrokenToo = {
    {"config.index-names-the-board", {"sar.keypad-opens", "sar.keypad-opens-again", "sar.callback-is-let-go"}}};

// Among the rules of its family, or all rules with FAPI_TEST_ALL. Under a sanitizer the first one of each family.
TEST_P(MisbehaviourTest, TurnsItsRuleRedAndNoOther) {
    for (const auto& [rule, planted] : misbehaviours()) {
        if (rule.substr(0, rule.find('.')) != GetParam()) {
            continue;
        }
        setenv("VSET_MISBEHAVIOUR", planted.c_str(), 1);
        const bool isAll = std::getenv("FAPI_TEST_ALL") != nullptr;
        auto found = notPassed({isAll ? "*" : GetParam(), rule});
        if (const auto more = kBrokenToo.find(rule); isAll && more != kBrokenToo.end()) {
            for (const std::string& other : more->second) {
                EXPECT_EQ(found.erase(other), 1u) << other;
            }
        }
        EXPECT_THAT(found, ::testing::ElementsAre(::testing::Pair(rule, ::testing::StartsWith("fail: ")))) << planted;
#ifdef FAPI_SANITIZED
        if (!isAll) {
            break;
        }
#endif
    }
}

INSTANTIATE_TEST_SUITE_P(Families, MisbehaviourTest, ::testing::ValuesIn(families()),
                         [](const auto& family) { return family.param; });

constexpr char kRule[] = R"(# a comment
setup
    sys_init
rule own.register
    promise "A register holds what was written" in "a page"
    breaks sys_write_reg
    danger changes
    limit 3
before
    sys_read_reg 0x1012 0x40
    keep value value
check
    sys_write_reg 0x1012 0x40 0x77
    sys_read_reg 0x1012 0x40
    expect value is 0x77
    wait 30s
restore
    sys_write_reg 0x1012 0x40 ${value}
)";

// The virtual set forgets a register with its power; what is in a file stays.
std::string fileRule(const std::string& strCheck) {
    return "# a comment\nsetup\n    sys_init\nrule own.file\n    promise \"A file stays\" in page\n    breaks "
           "sys_write_file\n"
           "    danger changes\nbefore\n    sys_write_file /data/own before\n    sys_read_file /data/own\n"
           "    keep data data\ncheck\n    sys_write_file /data/own changed\n" +
           strCheck + "restore\n    sys_write_file /data/own ${data}\n";
}

TEST_F(ConformanceTest, ARuleThatDoesNotEndFails) {
    EXPECT_THAT(notPassed({writeFile("own.rules", kRule)})["own.register"],
                HasSubstr("fail: does not end within 3 s: line 16"));
}

TEST_F(ConformanceTest, WhatAKilledCheckHasChangedIsPutBackAtTheNextStart) {
    const std::string strRules = writeFile("own.rules", fileRule("    wait 60s\n"));
    const pid_t pid = fork();
    ASSERT_NE(pid, -1);
    if (pid == 0) {
        execl(FAPI_BINARY, FAPI_BINARY, "--set", set().c_str(), "conformance", strRules.c_str(), nullptr);
        _exit(1);
    }
    EXPECT_TRUE(test::eventually([&] { return readFile(set() + "/tree/data/own") == "changed"; }));
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    const auto result = fapi({"conformance", writeFile("own.rules", fileRule("")), "own.file"});
    EXPECT_THAT(result.strError, HasSubstr("own.file: what an earlier check has changed is put back"));
    EXPECT_EQ(readFile(set() + "/tree/data/own"), "before");
}

TEST_F(ConformanceTest, ADeadWorkerCostsOneRuleWhichIsPutBack) {
    const std::string strRules = writeFile(
        "own.rules", fileRule("    set power-cycle\n    sys_read_file /data/own\n    expect status failed\n"));
    EXPECT_THAT(notPassed({strRules})["own.file"], HasSubstr("fail: "));
    EXPECT_EQ(readFile(set() + "/tree/data/own"), "before");
}

TEST_F(ConformanceTest, FailuresMayBeExpectedAndAnUnexpectedPassIsAFailure) {
    setenv("VSET_MISBEHAVIOUR", misbehaviours()["sys.register-reads-back"].c_str(), 1);
    const std::string strExpected =
        writeFile("expected", "sys.register-reads-back \"no such register\"\nsys.banks-are-apart \"one bank\"\n");
    const std::string strJUnit = folder() + "/junit.xml", strPage = folder() + "/page.html";
    const auto result = fapi({"conformance", "sys.register*", "--expected", strExpected, "--junit", strJUnit});
    EXPECT_EQ(result.s32Exit, 0) << result.strOutput;
    EXPECT_THAT(readFile(strJUnit), HasSubstr("<skipped message=\"fail (expected: no such register): line "));
    const auto passing = fapi({"conformance", "sys", "--expected", strExpected, "--page", strPage});
    EXPECT_EQ(passing.s32Exit, 1);
    EXPECT_THAT(passing.strOutput, HasSubstr("passes, but is expected to fail: one bank"));
    EXPECT_THAT(readFile(strPage), HasSubstr("<title>FAIL: conformance</title>"));
}

// A virtual set in the role of a board, of whose claims each tenth one is taken away, or each one with
// FAPI_TEST_ALL.
TEST_F(ConformanceTest, ABoardIsHeldToWhatItClaimsToHave) {
    std::map<std::string, std::set<std::string>> needing;
    for (const nlohmann::json& rule : allRules()) {
        for (const std::string strNeed : rule["needs"]) {
            needing[strNeed].insert(rule["rule"].get<std::string>());
        }
    }
    const auto boardWithout = [&](const std::string& strClaim) {
        std::string strHas;
        for (const auto& row : needing) {
            strHas += row.first == strClaim ? "" : " " + row.first;
        }
        return writeFile("station.ini", std::string("[target b]\nwire = ") + std::getenv("FAPI_AGENT") + " --set " +
                                            set() + " --as-board " + folder() + "/rig\nhas =" + strHas + "\n");
    };
    const std::vector<std::string> board = {"--target", "b", "--station", boardWithout("")};
    std::size_t number = 0;
    for (const auto& [strClaim, rules] : needing) {
        if (number++ % 10 == 0 || std::getenv("FAPI_TEST_ALL") != nullptr) {
            boardWithout(strClaim);
            std::set<std::string> skipped;
            for (const nlohmann::json& rule : allRules(board)) {
                if (rule.value("skipped", "") == "the board does not claim to have " + strClaim) {
                    skipped.insert(rule["rule"].get<std::string>());
                }
            }
            EXPECT_EQ(skipped, rules) << strClaim;
        }
    }
    std::vector<std::string> words = {"pwm"};
    words.insert(words.end(), board.begin(), board.end());
    boardWithout("pwm");
    EXPECT_THAT(notPassed(words),
                ::testing::AllOf(::testing::SizeIs(6),
                                 ::testing::Each(::testing::Pair(HasSubstr("pwm."),
                                                                 "skipped: the board does not claim to have pwm"))));
    boardWithout("");
    EXPECT_THAT(notPassed(words), ::testing::IsEmpty());
}

TEST_F(ConformanceTest, WhatCannotBeDoneIsNamed) {
    const std::string strBad = writeFile("bad.rules",
                                         "# c\nrule own.bad\n    promise \"x\" in y\n    breaks sys_red_reg\n"
                                         "check\n    sys_init\n");
    const std::string strTwice = writeFile("twice.rules", kRule + std::string(kRule));
    const test::Impossible rows[] = {
        {{"conformance", "sys.registr-reads-back"},
         2,
         "no such rule: \"sys.registr-reads-back\", did you mean sys.register-reads-back?"},
        {{"conformance", "--danger", "mischief"}, 2, "danger is \"mischief\", expected one of reads, changes"},
        {{"conformance", strBad}, 2, "bad.rules:4:12: "},
        {{"conformance", strTwice},
         2,
         "fapi: " + folder() + "/twice.rules:22:6: there are two rules of the name own.register\n"},
        {{"conformance", "--expected", writeFile("e", "none \"why\"\n")}, 2, "e:1: no such rule: \"none\""},
    };
    for (const test::Impossible& row : rows) {
        expectImpossible(row);
    }
}

}  // namespace
