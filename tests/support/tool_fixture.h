// SPDX-License-Identifier: Apache-2.0
// The bench tool as a program, with a folder of its own for sets, plans and reports.
#ifndef TESTS_SUPPORT_TOOL_FIXTURE_H
#define TESTS_SUPPORT_TOOL_FIXTURE_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "support/process.h"

namespace test {

inline std::vector<std::string> linesOf(const std::string& strText) {
    std::vector<std::string> lines;
    std::istringstream stream(strText);
    for (std::string strLine; std::getline(stream, strLine);) {
        lines.push_back(strLine);
    }
    return lines;
}

// Returns the object of each line; what is no JSON as a discarded value.
inline std::vector<nlohmann::json> objectsOf(const std::string& strText) {
    std::vector<nlohmann::json> objects;
    for (const std::string& strLine : linesOf(strText)) {
        objects.push_back(nlohmann::json::parse(strLine, nullptr, false));
    }
    return objects;
}

// A command that cannot be carried out, and a part of what the tool says of it on standard error.
struct Impossible {
    std::vector<std::string> words;
    int exit;
    std::string error;
};

class ToolTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::string strFolder = ::testing::TempDir() + "/fapi-XXXXXX";
        ASSERT_NE(mkdtemp(strFolder.data()), nullptr);
        _strFolder = std::filesystem::path(strFolder).lexically_normal().string();
        setenv("XDG_STATE_HOME", (_strFolder + "/state").c_str(), 1);
    }
    void TearDown() override { std::filesystem::remove_all(_strFolder); }

    const std::string& folder() const { return _strFolder; }
    std::string set() const { return _strFolder + "/set"; }

    // Runs fapi --set SET --yes WORD...: no person can be asked.
    ProcessResult fapi(std::vector<std::string> words, const std::string& strInput = "") const {
        words.insert(words.begin(), {FAPI_BINARY, "--set", set(), "--yes"});
        return runProcess(words, strInput);
    }

    // Does the same with --json and returns the last object.
    nlohmann::json fapiJson(std::vector<std::string> words) const {
        words.push_back("--json");
        const std::vector<nlohmann::json> objects = objectsOf(fapi(words).strOutput);
        return objects.empty() ? nlohmann::json() : objects.back();
    }

    ProcessResult expectImpossible(const Impossible& row) const {
        ProcessResult result = fapi(row.words);
        EXPECT_EQ(result.s32Exit, row.exit) << row.error;
        EXPECT_THAT(result.strError, ::testing::HasSubstr(row.error));
        return result;
    }

    std::string writeFile(const std::string& strName, const std::string& strText) const {
        const std::string strFile = _strFolder + "/" + strName;
        std::ofstream(strFile, std::ios::binary) << strText;
        return strFile;
    }
    static std::string readFile(const std::string& strFile) {
        std::ifstream file(strFile, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    std::string _strFolder;
};

}  // namespace test

#endif
