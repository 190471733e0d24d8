// SPDX-License-Identifier: Apache-2.0
// Plans run by the bench tool, and what came of them.
#ifndef TESTS_SUPPORT_PLAN_FIXTURE_H
#define TESTS_SUPPORT_PLAN_FIXTURE_H

#include <utility>
#include <vector>

#include "support/tool_fixture.h"

namespace test {

class PlanTest : public ToolTest {
protected:
    // Runs a plan of that text; returns the verdict of each step, by name and in order.
    std::vector<std::pair<std::string, std::string>> verdicts(const std::string& strText) {
        runPlan(strText);
        std::vector<std::pair<std::string, std::string>> found;
        const nlohmann::json json = report();
        for (const auto& step : json["steps"]) {
            found.emplace_back(step["name"], step["verdict"]);
        }
        return found;
    }
    void runPlan(const std::string& strText, const std::vector<std::string>& options = {}) {
        std::vector<std::string> words = {"run", "--report", reports(),
                                          writeFile("test.plan", "plan \"Test\"\n" + strText)};
        words.insert(words.end(), options.begin(), options.end());
        _result = fapi(words);
    }
    // Returns the verdicts of the newest report's steps.
    std::vector<std::string> reportedVerdicts() const {
        std::vector<std::string> found;
        const nlohmann::json json = report();
        for (const auto& step : json["steps"]) {
            found.push_back(step["verdict"]);
        }
        return found;
    }
    // Runs a plan with a step for each row: `strCommands`, and what the row expects of them. The row has its verdict.
    void expectVerdicts(const std::string& strFirst, const std::string& strCommands,
                        const std::vector<std::pair<std::string, std::string>>& rows) {
        std::string strPlan = "on-failure continue\nstep first\n" + strFirst;
        for (const auto& row : rows) {
            strPlan += "step row\n" + strCommands + "expect " + row.first + "\n";
        }
        runPlan(strPlan);
        const std::vector<std::string> found = reportedVerdicts();
        ASSERT_EQ(found.size(), rows.size() + 1) << _result.strError;
        EXPECT_EQ(found[0], "passed");
        for (std::size_t i = 0; i < rows.size(); ++i) {
            EXPECT_EQ(found[i + 1], rows[i].second) << rows[i].first << ": " << stepText(i + 1);
        }
    }
    // Returns why a step of the newest report has its verdict.
    std::string stepText(std::size_t step) const { return report()["steps"][step]["text"]; }

    std::string reports() const { return folder() + "/reports"; }
    // Returns the newest report.
    std::string reportFile(const std::string& strEnding) const {
        std::filesystem::directory_entry newest;
        for (const auto& entry : std::filesystem::directory_iterator(reports())) {
            if (entry.path().extension() == strEnding &&
                (newest.path().empty() || entry.last_write_time() > newest.last_write_time())) {
                newest = entry;
            }
        }
        return newest.path().string();
    }
    nlohmann::json report() const { return nlohmann::json::parse(readFile(reportFile(".json"))); }

    ProcessResult _result;
};

}  // namespace test

#endif
