// SPDX-License-Identifier: Apache-2.0
// The bench tool's examples: every operation has one, and each does on a new set what the reference says it does.
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "examples.h"
#include "support/tool_fixture.h"

namespace {

std::vector<std::string> modules() {
    std::set<std::string> names;
    for (const tool::Operation& operation : tool::operations()) {
        names.insert(operation.module());
    }
    return {names.begin(), names.end()};
}

class Examples : public test::ToolTest, public testing::WithParamInterface<std::string> {
protected:
    // Copying a new set is much faster than making one, which waits for the disk.
    void SetUp() override {
        ToolTest::SetUp();
        ASSERT_EQ(fapi({"set", "create"}).s32Exit, 0);
        std::filesystem::rename(set(), folder() + "/new");
    }

    // Runs the lines in a shell of their own; returns the answer to the last one.
    void run(const tool::Example& stExample) const {
        std::filesystem::remove_all(set());
        std::filesystem::copy(folder() + "/new", set(), std::filesystem::copy_options::recursive);
        std::string strLines;
        for (const char* pszLine : stExample.before) {
            strLines += std::string(pszLine) + "\n";
        }
        const test::ProcessResult result = fapi({"shell", "--json"}, strLines + stExample.line + "\n");
        std::istringstream answers(result.strOutput);
        std::vector<nlohmann::json> all;
        for (std::string strLine; std::getline(answers, strLine);) {
            all.push_back(nlohmann::json::parse(strLine, nullptr, false));
        }
        ASSERT_EQ(all.size(), stExample.before.size() + 1) << result.strOutput << result.strError;
        EXPECT_EQ(all.back().value("good", false), stExample.whyNot == nullptr) << result.strOutput;
        all.pop_back();
        for (const nlohmann::json& answer : all) {
            EXPECT_TRUE(answer.value("good", false)) << answer;
        }
    }
};

TEST_P(Examples, DoWhatTheySay) {
    for (const tool::Operation& operation : tool::operations()) {
        if (operation.module() != GetParam()) {
            continue;
        }
        SCOPED_TRACE(operation.name);
        const tool::Example* pExample = tool::exampleOf(operation);
        if (pExample == nullptr) {
            ADD_FAILURE() << "has no example";
        } else {
            run(*pExample);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Modules, Examples, testing::ValuesIn(modules()),
                         [](const testing::TestParamInfo<std::string>& tested) { return tested.param; });

TEST(ExampleTable, HasOneRowForEachOperation) {
    std::set<std::string> names;
    for (const tool::Example& stExample : tool::examples()) {
        const std::string strLine = stExample.line;
        const std::string strName = strLine.substr(0, strLine.find(' '));
        EXPECT_TRUE(names.insert(strName).second) << strName << " is listed twice";
        EXPECT_NE(tool::findOperation(strName), nullptr) << strName;
    }
    EXPECT_EQ(names.size(), tool::operations().size());
}

}  // namespace
