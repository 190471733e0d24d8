// SPDX-License-Identifier: Apache-2.0
// Files of faults: how they are read, and what they do to a run.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "plan/fault_file.h"
#include "support/plan_fixture.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

TEST(FaultFile, Lines) {
    // The second is empty when nothing is read.
    const std::pair<const char*, std::string> rows[] = {
        {"HW_FLASH_StoreEnv timeout", "HW_FLASH_StoreEnv 0xD"},
        {"\xEF\xBB\xBFHW_FLASH_StoreEnv 0xD from 1 times 1", "HW_FLASH_StoreEnv 0xD"},
        {"  HW_FS_Open\t-1 always from 3 # why\r", "HW_FS_Open -0x1 from 3 always"},
        {"HW_IIC_Write failed in 'two words' times 4 from 2", "HW_IIC_Write 0x3 from 2 times 4 in \"two words\""},
        {"HW_PWM_Init 9 in in", "HW_PWM_Init 0x9 in in"},
        {"allocation memory-allocate from 0x10", "allocation 0xA from 16"},
        {"HW_WDT_Init 0xFFFFFFFF times 4294967295", "HW_WDT_Init 0xFFFFFFFF times 4294967295"},
        {"# nothing's here", ""},
        {"", ""},
    };
    for (const auto& [pszLine, strRead] : rows) {
        std::vector<tool::Problem> problems;
        const std::vector<tool::PlanFault> faults = tool::parseFaults(pszLine, problems);
        EXPECT_TRUE(problems.empty()) << pszLine << ": " << (problems.empty() ? "" : problems[0].text);
        ASSERT_EQ(faults.size(), strRead.empty() ? 0u : 1u) << pszLine;
        EXPECT_EQ(faults.empty() ? "" : faults[0].text(), strRead);
    }
}

TEST(FaultFile, Problems) {
    const struct {
        const char* line;
        std::size_t column;
        const char* text;
    } rows[] = {
        {"HW_FLASH_StorEnv 3", 1, "no such middleware function: \"HW_FLASH_StorEnv\""},
        {"  printf 3", 3, "no such middleware function"},
        {"HW_FS_Sync", 11, "expected what the call answers"},
        {"HW_FS_Sync bussy", 12, "did you mean busy?"},
        {"HW_FS_Open failed", 12, "-1 for a file that does not exist"},
        {"HW_FS_Sync busy", 12, "answers no code when it fails, but -1"},
        {"HW_FS_Sync 0x100000000", 12, "is no code"},
        {"HW_FS_Sync 3 from 0", 19, "from is \"0\""},
        {"HW_FS_Sync 3 from", 18, "from is \"\""},
        {"HW_FS_Sync 3 times 4294967296", 20, "expected how many calls fail"},
        {"HW_FS_Sync 3 times 1 always", 22, "has been said already"},
        {"'HW_FS_Sync'  3  in \"\"", 21, "expected the name of a step"},
        {"HW_FS_Sync 3 in \"a b\" c", 23, "expected from N"},
        {"HW_FS_Sync 3 \"a\\q\" \"b\"", 14, "unknown escape"},
        {"HW_FS_Sync 3 in \"a b", 17, "is not closed"},
        {"HW_FS_Sync 3 twice # isn't known", 14, "\"twice\""},
    };
    std::string strFile;
    for (const auto& row : rows) {
        strFile += std::string(row.line) + "\n";
    }
    std::vector<tool::Problem> problems;
    tool::parseFaults(strFile, problems);
    ASSERT_EQ(problems.size(), std::size(rows));
    for (std::size_t i = 0; i < problems.size(); ++i) {
        EXPECT_EQ(problems[i].line, i + 1);
        EXPECT_EQ(problems[i].column, rows[i].column) << rows[i].line;
        EXPECT_THAT(problems[i].text, HasSubstr(rows[i].text)) << rows[i].line;
    }
}

class FaultRun : public test::PlanTest {
protected:
    std::vector<std::string> verdictsWith(const std::string& strFaults, const std::string& strPlan) {
        runPlan("on-failure continue\n" + strPlan, {"--faults", writeFile("test.faults", strFaults)});
        return reportedVerdicts();
    }
};

// Each sys_get_emmc_env_var loads the environment once.
TEST_F(FaultRun, WhenTheyStrike) {
    const std::string strRead = "sys_get_emmc_env_var model\n";
    const std::string strRows = "step init\nsys_init\nstep a\n" + strRead + strRead + "step b\n" + strRead +
                                "step c\n" + "set power-cycle\nsys_init\n" + strRead + "step d\n" + strRead;
    using Verdicts = std::vector<std::string>;
    const std::pair<const char*, Verdicts> rows[] = {
        // of a, b, c, d
        {"HW_FLASH_LoadEnv timeout", {"failed", "passed", "passed", "passed"}},
        {"HW_FLASH_LoadEnv timeout from 2", {"failed", "passed", "passed", "passed"}},
        {"HW_FLASH_LoadEnv timeout from 3 times 2", {"passed", "failed", "failed", "passed"}},
        {"HW_FLASH_LoadEnv timeout from 4 always", {"passed", "passed", "failed", "failed"}},
        {"HW_FLASH_LoadEnv timeout from 5", {"passed", "passed", "passed", "failed"}},
        {"HW_FLASH_LoadEnv timeout always in b", {"passed", "failed", "passed", "passed"}},
        {"HW_FLASH_LoadEnv timeout in c\nHW_FLASH_LoadEnv timeout from 3 times 1",
         {"passed", "failed", "failed", "passed"}},
        {"HW_FLASH_LoadEnv timeout in b\nHW_FLASH_LoadEnv timeout from 4", {"passed", "failed", "failed", "passed"}},
        {"HW_FLASH_LoadEnv timeout from 2 in c", {"passed", "passed", "passed", "passed"}},
        {"# none\n", {"passed", "passed", "passed", "passed"}},
    };
    for (const auto& [pszFaults, expected] : rows) {
        const Verdicts found = verdictsWith(pszFaults, strRows);
        ASSERT_EQ(found.size(), 5u) << _result.strError;
        EXPECT_EQ(Verdicts(found.begin() + 1, found.end()), expected) << pszFaults;
    }
}

TEST_F(FaultRun, AFurtherAttemptMeetsWhatIsLeft) {
    EXPECT_THAT(verdictsWith("HW_FLASH_LoadEnv busy times 2 in read",
                             "step init\nsys_init\nstep read retry 5\nsys_get_emmc_env_var model\n"),
                ElementsAre("passed", "passed"));
    const nlohmann::json json = report();
    EXPECT_EQ(json["steps"][1]["attempts"].size(), 3u);
    EXPECT_THAT(json["faults"], ElementsAre("HW_FLASH_LoadEnv 0xF times 2 in read"));
    EXPECT_THAT(_result.strOutput, HasSubstr("plan \"Test\" (with 1 fault): 2 passed"));
    EXPECT_EQ(fapiJson({"history", "show", "last", "--report", reports()})["faults"], 1);
}

TEST_F(FaultRun, ProblemsAreFoundBeforeAnythingIsCalled) {
    const std::string strPlan = writeFile("a.plan", "plan A\nstep one\nsys_init\n");
    const std::string strFaults = writeFile("a.faults", "HW_FS_Sync 3 in one\nHW_FS_Sync 3 in two\nHW_NONE 3\n");
    const std::string strUnknown = strFaults + ":3:1: no such middleware function: \"HW_NONE\"";
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"run", "--report", reports(), "--faults", strFaults, strPlan},
          std::vector<std::string>{"check", "--faults", strFaults, strPlan},
          std::vector<std::string>{"check", "--faults", strFaults}}) {
        const test::ProcessResult result = expectImpossible({words, 2, strUnknown});
        const bool bHasPlan = words.back() == strPlan;
        EXPECT_EQ(result.strError.find(strFaults + ":2:17: no plan has a step \"two\"") != std::string::npos, bHasPlan);
    }
    EXPECT_FALSE(std::filesystem::exists(set()));
    EXPECT_FALSE(std::filesystem::exists(reports()));
    EXPECT_EQ(fapi({"check", "--faults", folder() + "/none"}).s32Exit, 2);
    EXPECT_EQ(fapi({"check"}).s32Exit, 2);
    EXPECT_EQ(fapi({"check", "--faults", writeFile("b.faults", "HW_FS_Sync 3 in one\n"), strPlan}).s32Exit, 0);
}

}  // namespace
