// SPDX-License-Identifier: Apache-2.0
// The agent of a board, which runs beside middleware that does nothing: what it says, and what it refuses.
#include <filesystem>

#include "protocol/description.h"
#include "support/agent_client.h"
#include "support/emulation.h"
#include "support/tool_fixture.h"

using ::testing::Contains;
using ::testing::HasSubstr;
using tool::ErrorCode;
using tool::Field;
namespace fs = std::filesystem;

namespace {

class BoardAgentTest : public test::ToolTest {
protected:
    void SetUp() override {
        SKIP_UNDER_EMULATION();
        ToolTest::SetUp();
        setenv("LD_LIBRARY_PATH", BOARD_LIBRARIES, 1);
        setenv("BOARD_CALLS", (folder() + "/calls").c_str(), 1);
        // The marker that the tested agent was built for is a file of this name in the working directory.
        fs::current_path(folder());
        writeFile("marker", "");
        fs::create_directories(folder() + "/store/below");
        fs::create_symlink("/etc", folder() + "/store/etc");
        fs::create_symlink(folder() + "/made", folder() + "/store/nowhere");
        _agent = std::make_unique<test::AgentClient>(
            std::vector<std::string>{BOARD_AGENT, "--folder", folder() + "/store", "--partition", "factory=0x1000"});
        _hello = _agent->ask("hello", {{"protocol", Field::List{1, 1}}});
    }
    void TearDown() override {
        _agent.reset();
        ToolTest::TearDown();
    }

    test::AgentClient& agent() { return *_agent; }
    const Field& hello() const { return _hello; }
    std::vector<std::string> calls() const { return test::linesOf(readFile(folder() + "/calls")); }
    // Why the request was refused; none: it was not.
    std::optional<ErrorCode> refusal(const std::string& method, Field params) {
        const tool::Answer answer = agent().request(method, std::move(params));
        return answer.failure ? std::optional(answer.failure->code) : std::nullopt;
    }

private:
    std::unique_ptr<test::AgentClient> _agent;
    Field _hello;
};

}  // namespace

TEST_F(BoardAgentTest, ItHasEveryOperationAndNoAction) {
    EXPECT_EQ(hello()["kind"], Field("board"));
    EXPECT_FALSE(hello().has("set"));
    const tool::Description description = tool::parseDescription(agent().ask("describe"));
    EXPECT_EQ(description.hash, hello()["description"].text());
    std::ifstream exports(FAPI_EXPORTS_FILE);
    std::size_t count = 0;
    for (std::string line; std::getline(exports, line); count += line.find('(') != std::string::npos) {
    }
    EXPECT_EQ(description.operations.size(), count);
    EXPECT_TRUE(description.actions.empty());
    for (const tool::Operation& operation : description.operations) {
        for (const tool::Output& output : operation.outputs) {
            EXPECT_NE(output.name, "chip") << operation.name;
        }
    }
    EXPECT_EQ(refusal("power", {{"to", "cycle"}}), ErrorCode::notSupported);
    EXPECT_EQ(refusal("set.show", {}), ErrorCode::notSupported);
    EXPECT_EQ(refusal("act", {{"action", "key"}}), ErrorCode::wrongParameters);
}

TEST_F(BoardAgentTest, ACallReachesTheBoardAndItsEndKeepsTheChip) {
    agent().ask("log", {{"on", true}});
    const Field set = agent().call("sys_set_wdt", {1});
    EXPECT_EQ(set["prepared"].list().front(), Field("a_vextvfapi_sys_init"));
    EXPECT_THAT(calls(), Contains("HW_SYS_Init"));
    EXPECT_THAT(calls(), Contains("HW_WDT_SetAttr"));
    EXPECT_TRUE(agent().call("aud_init")["good"].flag());
    // The log is on although the board's own switch is off.
    EXPECT_FALSE(agent().ask("set.log")["on"].flag());
    EXPECT_FALSE(agent().next("log").isNull());
    agent().killWorker(SIGSEGV);
    const auto ended = [](const Field& worker) { return worker["state"] == Field("ended"); };
    Field worker = agent().next("worker");
    for (; !worker.isNull() && !ended(worker); worker = agent().next("worker")) {
    }
    EXPECT_EQ(worker["kept"], Field(true));
}

TEST_F(BoardAgentTest, FilesAndPartitionsOutsideOfItsLimitsAreRefused) {
    const std::string store = folder() + "/store";
    const Field bytes = tool::Bytes{1, 2, 3};
    EXPECT_EQ(refusal("file.write", {{"path", store + "/below/file"}, {"bytes", bytes}}), std::nullopt);
    EXPECT_EQ(readFile(store + "/below/file"), "\1\2\3");
    for (const std::string& path :
         {folder() + "/calls", folder() + "/store2", store + "/../calls", store + "/etc/hostname",
          store + "/below/../../calls", store + "/nowhere", std::string("store"), std::string()}) {
        EXPECT_EQ(refusal("file.write", {{"path", path}, {"bytes", bytes}}), ErrorCode::unavailable) << path;
        EXPECT_EQ(refusal("file.read", {{"path", path}}), ErrorCode::unavailable) << path;
        EXPECT_EQ(refusal("file.remove", {{"path", path}}), ErrorCode::unavailable) << path;
    }
    EXPECT_FALSE(fs::exists(folder() + "/made"));
    EXPECT_EQ(agent().ask("partition.list")["partitions"].list().size(), 1u);
    EXPECT_EQ(agent().ask("partition.read", {{"partition", "factory"}})["bytes"], Field(0x1000));
    EXPECT_EQ(refusal("partition.read", {{"partition", "boot"}}), ErrorCode::wrongParameters);
    EXPECT_EQ(refusal("partition.write", {{"partition", "factory"}, {"offset", 0xFFF}, {"data", bytes}}),
              ErrorCode::wrongParameters);
}

TEST_F(BoardAgentTest, ItStartsWithItsMarkerAndRightOptionsAlone) {
    const struct {
        std::vector<std::string> command;
        int exit;
        std::string error;
    } rows[] = {{{BOARD_AGENT, "--folder", "relative"}, 2, "--folder: unknown"},
                {{BOARD_AGENT, "--partition", "factory"}, 2, "--partition: unknown"},
                {{BOARD_AGENT, "--partition", "factory=-1"}, 2, "--partition: unknown"},
                {{BOARD_AGENT, "--set", folder()}, 2, "--set: unknown"},
                {{BOARD_AGENT, "--folder"}, 2, "--folder: unknown"},
                {{BOARD_AGENT}, 0, ""}};
    for (const auto& row : rows) {
        const test::ProcessResult result = test::runProcess(row.command);
        EXPECT_EQ(result.s32Exit, row.exit) << row.error;
        EXPECT_THAT(result.strError, HasSubstr(row.error));
    }
    fs::remove("marker");
    const test::ProcessResult refused = test::runProcess({BOARD_AGENT});
    EXPECT_EQ(refused.s32Exit, 1);
    EXPECT_EQ(refused.strError, "fapi-agent: marker: No such file or directory: this set is not in factory mode\n");
}
