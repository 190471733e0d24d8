// SPDX-License-Identifier: Apache-2.0
// Plans that expect events: what passes, what fails and why, and what comes late.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/plan_fixture.h"
#include "support/waiting.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::Pair;

class PlanEvents : public test::PlanTest {
protected:
    double secondsOf(std::size_t step) const { return report()["steps"][step]["seconds"]; }
    nlohmann::json attempts(std::size_t step) const { return report()["steps"][step]["attempts"]; }
};

// One event has come with value 3, text "AB" and the bytes 41 00.
TEST_F(PlanEvents, WhatIsLookedAt) {
    const std::string strEvent = "prphrl_nty_event 0x100001 3 AB hex:4100\n";
    expectVerdicts(
        strEvent + "expect event 0x100001 within 1s\nexpect no event 0x100001 within 0s\n" +
            "keep value event.value\nkeep text event.text\nkeep bytes event.bytes\n",
        strEvent,
        {
            {"event 0x100001 within 1s", "passed"},
            {"event 0x100002 within 0s", "failed"},
            {"event 0x100001 of prphrl within 1s", "passed"},
            {"event 0x100001 of sys within 0s", "failed"},
            {"event 0x100001 with text AB with bytes is hex:4100 with value 0x3 within 1s", "passed"},
            {"event 0x100001 with text AB with bytes hex:41 within 0s", "failed"},
            {"event 0x100001 with text is-not AC with value in 1..5 within 1s", "passed"},
            {"event 0x100001 with value in 1..3 margin 1 within 1s", "marginal"},
            {"event 0x100001 with bytes contains hex:00 with text matches ^A.$ within 1s", "passed"},
            {"event 0x100001 with text starts-with B within 0s", "failed"},
            {"event 0x100001 with text is ${text} with bytes ${bytes} with value ${value} within 1s", "passed"},
            {"event 0x100001 with text contains ${bytes} within 0s", "failed"},
            {"no event 0x100001 within 1s", "failed"},
            {"no event 0x100001 with text AC within 0s", "passed"},
            {"no event 0x100001 of sys within 0s", "passed"},
        });
}

TEST_F(PlanEvents, AreExpectedInTheirOrder) {
    const std::string strEvents = "sys_nty_event 1 0 a\nsys_nty_event 2 0 b\nsys_nty_event 1 0 c\n";
    EXPECT_THAT(
        verdicts("on-failure continue\n"
                 "step all\n" +
                 strEvents +
                 "expect event 1 with text a within 0s\nexpect event 2 within 0s\nexpect event 1 within 0s\n"
                 "expect no event 1 within 0s\n"
                 "step 'one is skipped'\n" +
                 strEvents +
                 "expect event 1 with text c within 0s\nexpect no event 2 within 0s\n"
                 "step 'what must not come takes nothing'\n" +
                 strEvents +
                 "expect no event 3 within 0s\nexpect event 1 with text a within 0s\n"
                 "step 'what was skipped is gone'\n" +
                 strEvents +
                 "expect event 2 within 0s\nexpect event 1 with text a within 0s\n"
                 "step 'the queue outlives the lines of a step'\n"
                 "sys_nty_event 1\nsys_nty_event 2\nexpect event 1 within 0s\nsys_nty_event 3\n"
                 "expect event 2 within 0s\nexpect event 3 within 0s\n"
                 "sys_nty_event 4\n"
                 "step 'but not the step'\n"
                 "sys_nty_event 5\nexpect no event 4 within 0s\nexpect event 5 within 0s\n"),
        ElementsAre(Pair("all", "passed"), Pair("one is skipped", "passed"),
                    Pair("what must not come takes nothing", "passed"), Pair("what was skipped is gone", "failed"),
                    Pair("the queue outlives the lines of a step", "passed"), Pair("but not the step", "passed")));
}

TEST_F(PlanEvents, AFailureTellsWhatCameInstead) {
    EXPECT_THAT(
        verdicts("on-failure continue\n"
                 "step nothing\nsys_init\nexpect event 7 with text 'A B' within 100ms\n"
                 "step 'another text'\nsys_nty_event 7 2 AC hex:1b41\nexpect event 7 with text AB within 0s\n"
                 "step many\n"
                 "sys_nty_event 1\nsys_nty_event 2\nsys_nty_event 3\nsys_nty_event 4\nsys_nty_event 5\n"
                 "sys_nty_event 6\nsys_nty_event 7\nexpect event 8 within 0s\n"
                 "step long\nsys_nty_event 7 0 repeat:70000:x repeat:100000:y\nexpect event 8 within 0s\n"
                 "step unwanted\nsys_nty_event 7 0 AC\nexpect no event 7 within 5s\n"
                 "step 'the line itself'\nsys_check_file /data/none\nexpect event 7 within 5s\n"
                 "step 'and what follows'\nsys_init\nexpect event 7 within 0s\nexpect event 8 within 5s\n"
                 "step 'a value that does not fit'\nsys_nty_event 7 0 hex:\nsys_nty_event 7\nexpect event 7 within 0s\n"
                 "keep text event.text\nexpect event 7 with text hex:${text} within 0s\n"),
        testing::Each(testing::Field(&std::pair<std::string, std::string>::second, "failed")));
    EXPECT_EQ(stepText(0), "line 5: expected event 7 with text \"A B\" within 100ms, but no event came");
    EXPECT_EQ(stepText(1),
              "line 8: expected event 7 with text AB within 0s, but this came: "
              "sys 0x7 value 2 text \"AC\" bytes 1b 41 \"\\x1bA\"");
    EXPECT_THAT(stepText(2), AllOf(HasSubstr("this came: sys 0x1 value 0; sys 0x2 value 0;"),
                                   testing::EndsWith("sys 0x5 value 0; and 2 more")));
    EXPECT_THAT(stepText(3), HasSubstr("xxx\"... (70000 characters)"));
    EXPECT_LT(stepText(3).size(), 400u);
    EXPECT_EQ(stepText(4), "line 23: expected no event 7 within 5s, but this came: sys 0x7 text \"AC\"");
    EXPECT_THAT(stepText(5), HasSubstr("sys_check_file /data/none answered -1 (failed)"));
    EXPECT_THAT(stepText(6), HasSubstr("line 29: expected event 7"));
    EXPECT_EQ(attempts(6)[0]["commands"][0]["expectations"][1]["verdict"], "not run");
    EXPECT_THAT(stepText(7), AllOf(HasSubstr("line 36: "), HasSubstr("is no hexadecimal digit")));
    for (const std::size_t step : {4u, 5u, 6u}) {
        EXPECT_LT(secondsOf(step), test::patient(4)) << "nothing waits when it is certain";
    }
}

TEST_F(PlanEvents, AWaitEndsWithTheEventOrAtItsDeadline) {
    EXPECT_THAT(
        verdicts("on-failure continue\n"
                 "step absent\nsys_init\nexpect no event 7 within 300ms\n"
                 "step missing\nsys_init\nexpect event 7 within 300ms\n"
                 "step 'a day is not waited for'\nsys_nty_event 7\nexpect event 7 within 86400s\n"),
        ElementsAre(Pair("absent", "passed"), Pair("missing", "failed"), Pair("a day is not waited for", "passed")));
    EXPECT_GE(secondsOf(0), 0.3);
    EXPECT_GE(secondsOf(1), 0.3);
}

// An attempt knows only its own events, and a power cycle leaves none.
TEST_F(PlanEvents, EachAttemptBeginsWithoutAny) {
    EXPECT_THAT(verdicts("on-failure continue\n"
                         "step again retry 2\nsys_nty_event 1\nsys_init\nexpect event 1 within 0s\nsys_init\n"
                         "expect event 1 within 0s\n"
                         "step 'power cycle'\nsys_nty_event 1\nset power-cycle\nsys_init\nexpect no event 1 within 0s\n"
                         "sys_nty_event 2\nexpect event 2 within 0s\n"
                         "step 'nobody listens'\nsys_unreg_callback\nsys_nty_event 1\nexpect status failed\n"
                         "expect no event 1 within 0s\n"),
                ElementsAre(Pair("again", "failed"), Pair("power cycle", "passed"), Pair("nobody listens", "passed")));
    ASSERT_EQ(attempts(0).size(), 3u);
    for (const auto& attempt : attempts(0)) {
        EXPECT_THAT(attempt["text"].get<std::string>(), HasSubstr("line 8: expected event 1 within 0s, but no event"));
    }
}

TEST_F(PlanEvents, ReportsHoldThem) {
    EXPECT_THAT(verdicts("step a\nsys_nty_event 7 2 AB hex:410a\nexpect event 7 with value 2 within 1s\n"
                         "expect no event 7 within 1ms\nsys_nty_event 8\nexpect no event 8 within 1s\n"),
                ElementsAre(Pair("a", "failed")));
    const nlohmann::json commands = attempts(0)[0]["commands"];
    const nlohmann::json taken = commands[0]["expectations"][0];
    EXPECT_EQ(taken["text"], "expect event 7 with value 2 within 1s");
    EXPECT_EQ(taken["verdict"], "passed");
    EXPECT_EQ(taken["event"]["objects"][0]["text"], "AB");
    EXPECT_EQ(taken["event"]["objects"][0]["data"]["hex"], "410a");
    EXPECT_EQ(taken["event"]["objects"][0]["data"]["text"], "A\\n");
    EXPECT_EQ(commands[0]["expectations"][1]["verdict"], "passed");
    EXPECT_FALSE(commands[0]["expectations"][1].contains("event"));
}

}  // namespace
