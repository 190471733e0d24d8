// SPDX-License-Identifier: Apache-2.0
// The bench with agents of other ages: what both know works, and what one of them lacks is named in a line.
#include "support/tool_fixture.h"

namespace {

using ::testing::HasSubstr;

class OtherAgentTest : public test::ToolTest {};

TEST_F(OtherAgentTest, WhatBothKnowWorksAndWhatIsMissingIsNamed) {
    setenv("FAPI_AGENT", FAPI_OTHER_AGENT, 1);
    setenv("XDG_CACHE_HOME", (folder() + "/cache").c_str(), 1);
    const std::string strLook = writeFile("look.plan", "plan P\nstep a\nsys_look\nexpect depth is 42\n");
    const std::string strKey = writeFile("key.plan", "plan P\nstep a\nset key 0\n");
    struct Row {
        std::vector<std::string> words;
        int exit;
        const char* text;  // a part of what it says
        bool mayAsk = false;
    };
    const std::vector<Row> both = {{{"list"}, 0, "sys_look"},
                                   {{"call", "sys_look"}, 0, "depth: 42"},
                                   {{"run", "--no-report", strLook}, 0, "PASS"},
                                   {{"run", "--report", folder(), strLook}, 0, "PASS"},
                                   {{"watch", "--idle", "1", "--do", "sys_look"}, 0, "depth: 42"},
                                   {{"run", "--no-report", strKey}, 2, "key.plan:3:5: no such command: set key"},
                                   {{"set", "show"}, 3, "no such method: set.show"}};
    const struct {
        const char* age;
        std::vector<Row> rows;
    } ages[] = {{"old", {{{"call", "sys_beam", "x"}, 2, "no such operation: sys_beam"}}},
                {"new",
                 {{{"call", "sys_beam", "x"}, 0, "depth: 42"},
                  // A danger that the bench does not know is the worst one.
                  {{"call", "sys_beam", "x"}, 4, "this may destroy what the set stores", true}}},
                {"next", {{{"call", "sys_look"}, 3, "no common version of the protocol"}}}};
    for (const auto& [age, own] : ages) {
        setenv("AGE", age, 1);
        std::vector<Row> rows = age == std::string("next") ? std::vector<Row>() : both;
        rows.insert(rows.end(), own.begin(), own.end());
        for (const Row& row : rows) {
            std::vector<std::string> words = {FAPI_BINARY, "--set", folder() + "/" + age};
            words.insert(words.end(), row.mayAsk ? 0 : 1, "--yes");
            words.insert(words.end(), row.words.begin(), row.words.end());
            const test::ProcessResult result = test::runProcess(words);
            EXPECT_EQ(result.s32Exit, row.exit) << age << ": " << testing::PrintToString(words) << result.strError;
            EXPECT_THAT(result.strOutput + result.strError, HasSubstr(row.text)) << age;
        }
    }
}

}  // namespace
