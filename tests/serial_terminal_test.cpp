// SPDX-License-Identifier: Apache-2.0
// A station's terminal program on the set's serial connector, while the bench tool has the set.
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/plan_fixture.h"
#include "support/waiting.h"

namespace {

using testing::HasSubstr;

class SerialTerminal : public test::PlanTest {
protected:
    void SetUp() override {
        PlanTest::SetUp();
        if (test::runProcess({"socat", "-V"}).s32Exit != 0) {
            GTEST_SKIP() << "there is no socat";
        }
    }

    // Runs the tool in a process of its own, until the end of the test.
    void start(const std::vector<std::string>& words) {
        _tool = std::thread([this, words] { _result = fapi(words); });
        // Two processes that are started at the same time would inherit each other's pipes.
        test::eventually([this] { return !readFile(set() + "/lock").empty(); });
    }
    void TearDown() override {
        finish();
        PlanTest::TearDown();
    }
    void finish() {
        if (_tool.joinable()) {
            _tool.join();
        }
    }

    // Returns where to connect, as another process than the one that has the set reports it.
    std::string connector(unsigned int u32Number) const {
        nlohmann::json json;
        // An error until the tool has switched the set on.
        const bool bFound = test::eventually([&] {
            json = fapiJson({"set", "ports"});
            return json.is_object() && json.contains("ports") && json["ports"].size() > u32Number;
        });
        return bFound ? json["ports"][u32Number]["path"] : "/no/connector";
    }

    std::thread _tool;
};

TEST_F(SerialTerminal, AStationTalksToTheFactoryUart) {
    start({"run", "--report", reports(), writeFile("station.plan", R"(plan "Station"
step "the station asks"
    sys_init
    prphrl_init
    prphrl_start_factory_uart 115200 0
    expect event 0x100001 with text is SERIAL? with bytes is SERIAL? within 60s
step "and is answered"
    sys_get_emmc_env_var serial
    keep serial value
    prphrl_write_factory_uart "SERIAL=${serial}"
    expect event 0x100001 with text starts-with RESULT= within 60s
    keep result event.text
    prphrl_write_factory_uart "GOT ${result}"
    expect event 0x100001 with text is BYE within 60s
    set sent 0
    expect text is "SERIAL=${serial}\r\nGOT ${result}\r\n"
teardown
step "hang up"
    prphrl_stop_factory_uart 0
)")});
    // Ends when the set is switched off: its line is gone then.
    const test::ProcessResult terminal = test::runOnTerminal(
        {"socat", "-,raw,echo=0", connector(0) + ",raw,echo=0"},
        {{"", "SERIAL?\r"}, {"SERIAL=VSET00000001\r\n", "\r\n\r\nRESULT=0x1f\n"}, {"GOT RESULT=0x1f\r\n", "BYE\r\n"}});
    finish();
    EXPECT_EQ(_result.s32Exit, 0) << _result.strOutput << terminal.strOutput;
    EXPECT_THAT(terminal.strOutput, HasSubstr("SERIAL=VSET00000001\r\nGOT RESULT=0x1f\r\n"));
}

}  // namespace
