// SPDX-License-Identifier: Apache-2.0
// The bench tool's operation table against the library's exports.
#include <fstream>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "operation.h"

namespace {

TEST(OperationTable, HasARowForEveryExport) {
    std::set<std::string> exported;
    std::ifstream list(FAPI_EXPORTS_FILE);
    for (std::string strLine; std::getline(list, strLine);) {
        if (strLine.empty() || strLine[0] != '#') {
            exported.insert(strLine.substr(0, strLine.find('(')));
        }
    }
    ASSERT_FALSE(exported.empty());
    for (const tool::Operation& operation : tool::operations()) {
        EXPECT_EQ(exported.erase(operation.name), 1u) << operation.name << " is not exported, or is listed twice";
    }
    for (const std::string& strName : exported) {
        ADD_FAILURE() << strName << " has no row in the operation table";
    }
}

TEST(OperationTable, RowsAreComplete) {
    for (const tool::Operation& operation : tool::operations()) {
        SCOPED_TRACE(operation.name);
        EXPECT_GT(std::string(operation.help).size(), 10u);
        EXPECT_EQ(std::string(operation.help).find('\n'), std::string::npos);
        EXPECT_EQ(tool::findOperation(operation.shortName()), &operation) << "the short name is taken twice";
        bool bOptional = false;
        for (const tool::Argument& argument : operation.arguments) {
            EXPECT_FALSE(std::string(argument.help).empty()) << argument.name;
            EXPECT_FALSE(bOptional && argument.byDefault == nullptr)
                << argument.name << " must be given but follows one that need not be";
            bOptional = argument.byDefault != nullptr;
            if (argument.kind == tool::Kind::choice && argument.byDefault != nullptr) {
                EXPECT_NO_THROW(tool::parseWords({argument}, {})) << argument.name;
            }
            if (argument.byDefault != nullptr && argument.kind == tool::Kind::number) {
                long long number = 0;
                EXPECT_TRUE(tool::parseNumber(argument.byDefault, number)) << argument.name;
                EXPECT_TRUE(number >= argument.min && number <= argument.max) << argument.name;
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
