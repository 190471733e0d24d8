// SPDX-License-Identifier: Apache-2.0
// The bench tool's operations: each export has one, and each has an example that does on a new set what it says.
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/tool_fixture.h"
#include "target/arguments.h"
#include "target/target_description.h"

namespace {

std::vector<std::string> modules() {
    std::set<std::string> names;
    for (const tool::Operation& operation : tool::operations()) {
        names.insert(operation.module);
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
        for (const std::string& strLine : stExample.before) {
            strLines += strLine + "\n";
        }
        const test::ProcessResult result = fapi({"shell", "--json"}, strLines + stExample.line + "\n");
        std::vector<nlohmann::json> all = test::objectsOf(result.strOutput);
        ASSERT_EQ(all.size(), stExample.before.size() + 1) << result.strOutput << result.strError;
        EXPECT_EQ(all.back().value("good", false), stExample.failure.empty()) << result.strOutput;
        all.pop_back();
        for (const nlohmann::json& answer : all) {
            EXPECT_TRUE(answer.value("good", false)) << answer;
        }
    }
};

TEST_P(Examples, DoWhatTheySay) {
    for (const tool::Operation& operation : tool::operations()) {
        if (operation.module != GetParam()) {
            continue;
        }
        SCOPED_TRACE(operation.name);
        ASSERT_EQ(operation.example.line.rfind(operation.shortName(), 0), 0u) << "has no example";
        run(operation.example);
    }
}

INSTANTIATE_TEST_SUITE_P(Modules, Examples, testing::ValuesIn(modules()),
                         [](const testing::TestParamInfo<std::string>& tested) { return tested.param; });

using OperationTable = test::ToolTest;

TEST_F(OperationTable, HasARowForEveryExport) {
    std::vector<std::string> exported, listed;
    for (const std::string& strLine : test::linesOf(readFile(FAPI_EXPORTS_FILE))) {
        if (strLine[0] != '#') {
            exported.push_back(strLine.substr(0, strLine.find('(')));
        }
    }
    for (const tool::Operation& operation : tool::operations()) {
        listed.emplace_back(operation.name);
    }
    EXPECT_THAT(listed, testing::UnorderedElementsAreArray(exported));
}

TEST_F(OperationTable, RowsAreComplete) {
    for (const tool::Operation& operation : tool::operations()) {
        SCOPED_TRACE(operation.name);
        EXPECT_EQ(tool::findOperation(operation.shortName())->name, operation.name) << "the short name is taken twice";
        bool bOptional = false;
        for (const tool::Argument& argument : operation.arguments) {
            EXPECT_FALSE(bOptional && !argument.byDefault)
                << argument.name << " must be given but follows one that need not be";
            bOptional = argument.byDefault.has_value();
            if (bOptional) {
                EXPECT_NO_THROW(tool::parseWords({argument}, {})) << argument.name;
            }
        }
        for (const tool::Output& output : operation.outputs) {
            // Plans know these words as something else.
            EXPECT_THAT(output.name, testing::Not(testing::AnyOf(testing::StrEq("status"), testing::StrEq("no"),
                                                                 testing::StartsWith("event"))));
        }
    }
}

}  // namespace
