// SPDX-License-Identifier: Apache-2.0
// Plans: what they are read as, and which problems are found before anything runs.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "plan.h"

namespace {

using testing::ElementsAre;

std::vector<std::string> problemsOf(const std::string& text) {
    std::vector<tool::Problem> problems;
    tool::parsePlan(text, problems);
    std::vector<std::string> lines;
    for (const tool::Problem& problem : problems) {
        lines.push_back(std::to_string(problem.line) + ": " + problem.text);
    }
    return lines;
}

TEST(PlanParser, ReadsEverything) {
    std::vector<tool::Problem> problems;
    const tool::Plan plan = tool::parsePlan(R"(# A comment
plan "All of it"
on-failure continue
step First retry 3 every 1.5s on-failure stop
    common_get_fapi_version   # with a default
    expect status ok
    expect version matches "^v[0-9.]+$"
    expect version is-not v2
    keep v version
    sys_get_file_checksum /data/${v}
    expect checksum in -0x10..200 margin 5
step Second
    set power-cycle
teardown
step Last
    sys_init
)",
                                            problems);
    ASSERT_TRUE(problems.empty()) << problems[0].text;
    EXPECT_EQ(plan.name, "All of it");
    ASSERT_EQ(plan.steps.size(), 3u);
    const tool::Step& first = plan.steps[0];
    EXPECT_EQ(first.line, 4u);
    EXPECT_EQ(first.retry, 3u);
    EXPECT_EQ(first.every, std::chrono::milliseconds(1500));
    EXPECT_TRUE(first.stopOnFailure);
    ASSERT_EQ(first.lines.size(), 2u);
    EXPECT_EQ(first.lines[0].expectations.size(), 3u);
    EXPECT_TRUE(first.lines[0].command.has_value());
    EXPECT_FALSE(first.lines[1].command.has_value()) << "made when the variable is known";
    const tool::Expectation& range = first.lines[1].expectations[0];
    EXPECT_EQ(range.compare, tool::Compare::within);
    EXPECT_EQ(range.low, -16);
    EXPECT_EQ(range.high, 200);
    EXPECT_EQ(range.margin, 5);
    EXPECT_FALSE(plan.steps[1].stopOnFailure);
    EXPECT_TRUE(plan.steps[1].lines[0].isPowerCycle());
    EXPECT_FALSE(plan.steps[1].teardown);
    EXPECT_TRUE(plan.steps[2].teardown);
    EXPECT_FALSE(plan.steps[2].stopOnFailure) << "a teardown goes on";
}

TEST(PlanParser, NamesEveryProblem) {
    const std::string head = "plan P\nstep S\n";
    const struct {
        const char* line;
        const char* problem;
    } rows[] = {
        {"sys_int", "3: no such operation: sys_int, did you mean sys_init?"},
        {"sys_check_file", "3: sys_check_file: PATH is missing, expected a path; usage: sys_check_file PATH"},
        {"set fly", "3: no such command: set fly"},
        {"expect status 0", "3: expect stands behind no operation"},
        {"keep a b", "3: keep stands behind no operation"},
        {"sys_check_file ${gone}", "3: ${gone} has not been kept before"},
        {"plan Q", "3: a plan has one name, before its first step"},
        {"on-failure perhaps", "3: expected: on-failure stop or on-failure continue"},
        {"teardown now", "3: \"now\" is one word too many"},
        {"sys_check_file \"/x", "3: the quote \" is not closed"},
    };
    for (const auto& row : rows) {
        const std::vector<std::string> problems = problemsOf(head + row.line + "\n");
        ASSERT_FALSE(problems.empty()) << row.line;
        EXPECT_THAT(problems, testing::Contains(row.problem)) << row.line;
    }
    const struct {
        const char* line;
        const char* problem;
    } expectations[] = {
        {"expect", "expected: expect OUTPUT"},
        {"expect versoin is 1", "no such output: versoin, expected one of status, version"},
        {"expect version", "expected: expect OUTPUT"},
        {"expect version is", "the value behind is is missing"},
        {"expect version is 1 2", "\"2\" is one word too many"},
        {"expect version matches [", "is no regular expression"},
        {"expect status in 5..1", "\"5..1\": expected a range like 100..200"},
        {"expect status in 1..5 margin -1", "margin: expected a number of at least 0"},
        {"expect status nice", "status \"nice\": expected ok, failed or a number"},
        {"expect version is ${x}", "${x} has not been kept before"},
        {"keep 1-2 version", "expected: keep NAME OUTPUT"},
        {"keep a banana", "no such output: banana"},
    };
    for (const auto& row : expectations) {
        const std::vector<std::string> problems = problemsOf(head + "common_get_fapi_version\n" + row.line + "\n");
        ASSERT_EQ(problems.size(), 1u) << row.line;
        EXPECT_THAT(problems[0], testing::AllOf(testing::StartsWith("4: "), testing::HasSubstr(row.problem)))
            << row.line;
    }
    const struct {
        const char* line;
        const char* problem;
    } steps[] = {
        {"step", "expected: step NAME"},
        {"step \"\"", "expected: step NAME"},
        {"step A retry", "retry is \"\""},
        {"step A retry -1", "retry is \"-1\""},
        {"step A every 5", "every is \"5\""},
        {"step A every 1h", "every is \"1h\""},
        {"step A every .s", "the step does nothing"},
        {"step A sometimes", "expected retry, every or on-failure"},
    };
    for (const auto& row : steps) {
        const std::vector<std::string> problems = problemsOf(std::string("plan P\n") + row.line + "\n");
        EXPECT_THAT(problems, testing::Contains(testing::HasSubstr(row.problem))) << row.line;
    }
}

TEST(PlanParser, FindsAllProblemsAtOnce) {
    EXPECT_THAT(problemsOf("step A\nstep B\nbanana\nteardown\nteardown\nsys_init\n"),
                ElementsAre("1: the plan has no name, expected: plan NAME", "1: the step does nothing",
                            "3: no such operation: banana", "5: there is a teardown already",
                            "6: \"sys_init\" stands before the first step"));
    EXPECT_THAT(problemsOf(""), ElementsAre("1: the plan has no name, expected: plan NAME", "1: the plan has no step"));
}

}  // namespace
