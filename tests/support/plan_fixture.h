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
        const std::string strPlan = writeFile("test.plan", "plan \"Test\"\n" + strText);
        _result = fapi({"run", "--report", reports(), strPlan});
        std::vector<std::pair<std::string, std::string>> found;
        const nlohmann::json json = report();
        for (const auto& step : json["steps"]) {
            found.emplace_back(step["name"], step["verdict"]);
        }
        return found;
    }

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
