// SPDX-License-Identifier: Apache-2.0
// With --json every command of the bench tool prints one object a line, its errors included.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/tool_fixture.h"

namespace {

using JsonCli = test::ToolTest;

TEST_F(JsonCli, EveryCommandPrintsObjects) {
    const std::string strPlan = writeFile("good.plan", "plan \"good\"\nstep \"one\"\n    sys_check_file /data\n");
    const std::string strBad = writeFile("bad.plan", "plan \"bad\"\nstep \"one\"\n    sys_chek_file /data\n");
    const std::string strFile = folder() + "/file";
    const std::string strReports = folder() + "/reports";
    const struct {
        std::vector<std::string> words;
        int s32Exit;
        std::vector<std::string> keys;  // of the last object
        const char* pszInput = "";
    } rows[] = {
        {{"list", "env"}, 0, {"name", "usage", "arguments", "outputs", "result", "example"}},
        {{"help", "sys_copy_file"}, 0, {"name", "destroys", "example"}},
        {{"help", "sys_copy_fil"}, 2, {"error"}},
        {{"set", "path"}, 0, {"folder"}},
        {{"set", "show"}, 3, {"error"}},
        {{"set", "create"}, 0, {"folder"}},
        {{"set", "create"}, 3, {"error"}},
        {{"set", "show"}, 0, {"boots", "partitions"}},
        {{"set", "power-cycle"}, 0, {"boots"}},
        {{"set", "ports"}, 3, {"error"}},
        {{"set", "put", "/mnt/usb/a", "text:a"}, 0, {"action", "good"}},
        {{"set", "get", "/mnt/usb/none"}, 1, {"action", "good", "outputs"}},
        {{"set", "journal"}, 2, {"error"}},
        {{"set", "get", "/mnt/usb/a", "--output", strFile}, 2, {"error"}},
        {{"call", "sys_check_file", "/mnt/usb/a"}, 0, {"operation", "status", "word", "good"}},
        {{"call", "sys_check_file", "/mnt/usb/none"}, 1, {"operation", "status", "word", "good"}},
        {{"call", "sys_check_file"}, 2, {"error"}},
        {{"call", "sys_read_file", "/mnt/usb/a", "--output", folder() + "/none/a"}, 1, {"error"}},
        {{"cal"}, 2, {"error"}},
        {{"call", "sys_init", "--nonsense"}, 2, {"error"}},
        {{"partition", "read", "misc", strFile}, 0, {"partition", "length", "file"}},
        {{"partition", "write", "misc", strFile}, 0, {"partition", "length", "file"}},
        {{"partition", "read", "none", strFile}, 2, {"error"}},
        {{"partition", "read", "misc", "/dev/full"}, 1, {"error"}},
        {{"screen", folder() + "/a.png"}, 0, {"what", "width", "height", "file"}},
        {{"screen", folder() + "/a.png", "--what", "surface:1"}, 1, {"error"}},
        {{"screen", "--what", "nonsense"}, 2, {"error"}},
        {{"watch", "--count", "1", "--do", "prphrl_nty_event 0x100005 1"}, 0, {"time", "module", "event", "objects"}},
        {{"watch", "--module", "nonsense"}, 2, {"error"}},
        {{"check", strPlan}, 0, {"file", "plan", "steps"}},
        {{"check", strBad}, 2, {"file", "line", "column", "problem"}},
        {{"check", folder() + "/none.plan"}, 2, {"file", "problem"}},
        {{"run", strPlan, "--dry-run"}, 0, {"file", "plan", "steps"}},
        {{"run", strPlan, "--report", strReports}, 0, {}},
        {{"run", strBad, "--report", strReports}, 2, {"file", "line", "problem"}},
        {{"history", "--report", strReports}, 0, {}},
        {{"history", "show", "last", "--report", strReports}, 0, {}},
        {{"history", "show", "99", "--report", strReports}, 2, {"error"}},
        {{"shell"},
         0,
         {"usage", "help"},
         "list env\nhelp sys_init\nset power-cycle\nsys_check_file /data\nscreen '' panel\nhelp\n"},
        {{"shell"}, 2, {"error"}, "sys_chek_file /data\n"},
        {{"shell"}, 1, {"error"}, "screen '' surface:1\n"},
        {{"set", "reset"}, 0, {"folder"}},
        {{"completion", "fish"}, 2, {"error"}},
    };
    for (const auto& row : rows) {
        std::vector<std::string> words = row.words;
        words.insert(words.begin(), "--json");
        const test::ProcessResult result = fapi(words, row.pszInput);
        SCOPED_TRACE(testing::PrintToString(row.words));
        EXPECT_EQ(result.s32Exit, row.s32Exit) << result.strError;
        const std::vector<nlohmann::json> objects = test::objectsOf(result.strOutput);
        ASSERT_FALSE(objects.empty());
        EXPECT_THAT(objects, testing::Each(testing::Property(&nlohmann::json::is_object, true)));
        for (const std::string& strKey : row.keys) {
            EXPECT_TRUE(objects.back().contains(strKey)) << strKey << " is missing in\n" << result.strOutput;
        }
    }
}

TEST_F(JsonCli, ErrorsAreMessagesToo) {
    const test::ProcessResult result = fapi({"call", "sys_chek_file", "--json"});
    EXPECT_EQ(result.strError, "fapi: " + nlohmann::json::parse(result.strOutput)["error"].get<std::string>() + "\n");
    EXPECT_EQ(fapi({"call", "--", "sys_check_file", "/data", "--json"}).strOutput, "")
        << "an argument of the operation";
}

}  // namespace
