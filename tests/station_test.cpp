// SPDX-License-Identifier: Apache-2.0
// The station's file, and the sets that it names.
#include <gmock/gmock.h>

#include "station/station.h"
#include "support/tool_fixture.h"

namespace {

using ::testing::HasSubstr;

class StationTest : public test::ToolTest {
protected:
    // Runs fapi with that station's file.
    test::ProcessResult with(const std::string& strText, std::vector<std::string> words) {
        words.insert(words.begin(), {FAPI_BINARY, "--yes", "--station", writeFile("station.ini", strText)});
        return test::runProcess(words);
    }
    std::string agent() const { return std::string(FAPI_AGENT_BINARY) + " --set " + set(); }
};

TEST_F(StationTest, EachBadEntryIsNamedByItsPlace) {
    const struct {
        std::string strText, strProblem;
    } rows[] = {
        {"name = a", "1:1: an entry before the first section"},
        {"[station]\nnmae = a", "2:8: no such key: nmae, did you mean name?"},
        {"[staton]", "1:1: no such section: staton, did you mean station?"},
        {"[target]\nwire = a", "1:1: target: its name is missing: [target NAME]"},
        {"[target a]", "1:1: target a: expected either a wire or a set"},
        {"[target a]\nwire = a\nup-within = 1h", "3:13: up-within: expected a time up to 600s"},
        {"[target a]\nwire = a\nwire = b", "3:1: there is a wire already"},
        {"[target a]\nset = a\n[target a]\nset = b", "3:1: there is a target a already"},
        {"[target a]\nwire = \"a", "2:8: the quote"},
        {"[target a]\nwire = a\nstart = login:", "3:15: start: expected pairs"},
        {"[actions]\nkey = fixture rog\n[fixture rig]\ncommand = a",
         "2:1: key: no such fixture: rog, did you mean rig?"},
        {"[actions]\nkey = press", "2:7: key: expected fixture NAME, run PROGRAM ARGUMENT..., or operator"},
        {"[plans]\nline.plan = 12ab", "2:13: line.plan: expected a SHA-256, 64 digits"},
        {"[results]\nkeep-days = 0", "2:13: keep-days: expected a number from 1 to 10000"},
        {"[results]\nserver = mysql://x", "2:10: server: expected postgresql://HOST/DATABASE or service=NAME"},
        {"[actions]\nkey = run press --key={1}",
         "2:17: key: \"--key={1}\": an argument, {1} to {9}, is a word of its own"},
    };
    for (const auto& row : rows) {
        const test::ProcessResult result = with(row.strText + "\n", {"targets"});
        EXPECT_EQ(result.s32Exit, 2) << row.strText;
        EXPECT_THAT(result.strError, HasSubstr("station.ini:" + row.strProblem));
    }
    // All of them at once.
    const std::string strError = with("[a]\n[b]\n", {"targets"}).strError;
    EXPECT_THAT(strError, HasSubstr("station.ini:1:1"));
    EXPECT_THAT(strError, HasSubstr("station.ini:2:1"));
}

TEST_F(StationTest, TargetsAreNamesFoldersAndCommands) {
    const std::string strStation = "[target one]\nwire = " + agent() + "\n[target two]\nset = " + folder() + "/two\n";
    const std::vector<std::string> call = {"call", "common_get_fapi_version", "32"};
    for (const std::vector<std::string>& target : std::vector<std::vector<std::string>>{
             {"--target", "one"}, {"--target", "two"}, {"--target", folder() + "/three"}}) {
        std::vector<std::string> words = target;
        words.insert(words.end(), call.begin(), call.end());
        EXPECT_THAT(with(strStation, words).strOutput, HasSubstr("v1.0.0.13")) << target[1];
    }
    std::vector<std::string> words = call;
    words.insert(words.end(), {"--target", "--", FAPI_AGENT_BINARY, "--set", set()});
    EXPECT_THAT(with(strStation, words).strOutput, HasSubstr("v1.0.0.13"));
    const test::ProcessResult wrong = with(strStation, {"--target", "tow", "set", "show"});
    EXPECT_EQ(wrong.s32Exit, 2);
    EXPECT_THAT(wrong.strError, HasSubstr("no such target: \"tow\", did you mean two?"));
    EXPECT_THAT(with(strStation, {"targets"}).strOutput, HasSubstr("two"));
}

TEST_F(StationTest, ACheckSaysOfEachWhatIsToBeDone) {
    const test::ProcessResult result =
        with("[target good]\nwire = " + agent() + "\n[target gone]\nwire = /no/wire\n[target ends]\nwire = false\n" +
                 "[target silent]\nwire = sleep 60\nup-within = 1s\n[fixture talks]\ncommand = yes\nwithin = 1s\n" +
                 "[fixture dies]\ncommand = sh -c \"kill -11 $$\"\n[target floods]\nwire = sh -c " +
                 "\"head -c 100000000 /dev/zero; sleep 60\"\nup-within = 9s\n[actions]\nkey = run " +
                 "/no/press {1}\n[instrument scope]\n[plans]\nline.plan = " + std::string(64, 'a') + "\n",
             {"station", "check"});
    EXPECT_EQ(result.s32Exit, 3);
    EXPECT_THAT(result.strOutput, HasSubstr("target good: ok: virtual, agent "));
    for (const char* part :
         {"station.ini:3: target gone: /no/wire: no such program", "target ends: ", "exit code 1",
          "station.ini:7: target silent: silent: no answer to hello within 1 s",
          "fixture talks: fixture talks: hello was not answered within 1000 ms",
          "station.ini:13: fixture dies: fixture dies: sh: ended by signal 11",
          "station.ini:15: target floods: sh: sends more than 16 MiB without a newline",
          "station.ini:19: action key: /no/press: no such program", "instrument scope: ok: free",
          "disk: ok: ", "store: ok: ", "clock: ok: ", "wire of good: ok: 50 answers in ",
          "plan line.plan: is not an approved version: its SHA-256 is ", "NOT READY: 8 things to do"}) {
        EXPECT_THAT(result.strOutput, HasSubstr(part));
    }
}

TEST_F(StationTest, AKnownBadSetMustFailWhereItHasTo) {
    const std::string strPlan = writeFile("bad.plan", "plan B\nstep a\n sys_check_file /data/none\n");
    const std::string strExpected = writeFile("expected.ini", "[step a]\nverdict = failed\nreason = no such file\n");
    const std::string strStation =
        "[station]\nknown-bad = bad " + strPlan + " " + strExpected + "\n[target bad]\nset = " + folder() + "/bad\n";
    const std::vector<std::string> check = {"station", "check", "--report", folder() + "/reports"};
    EXPECT_THAT(with(strStation, check).strOutput, HasSubstr("known-bad bad: ok: fails where it must"));
    // The fault is gone.
    with(strStation, {"--target", "bad", "set", "put", "/data/none", "x"});
    const test::ProcessResult result = with(strStation, check);
    EXPECT_EQ(result.s32Exit, 3);
    EXPECT_THAT(result.strOutput,
                ::testing::AllOf(HasSubstr("station.ini:2: known-bad bad: has not failed where it must"),
                                 HasSubstr("NOT READY: 1 thing")));
}

// The wire begins as a console that wants a login, and the agent starts behind it.
TEST_F(StationTest, AnAgentBehindALoginIsStarted) {
    const std::string strConsole = writeFile("console.sh",
                                             "printf 'boot\\nlogin: '; read name; printf '# '; read line\n"
                                             "[ \"$name\" = root ] && exec $line\n");
    const std::string strStation = "[target console]\nwire = sh " + strConsole +
                                   "\nstart = \"login:\" \"root\\n\" \"# \" \"" + agent() + "\\n\"\n";
    const auto result = with(strStation, {"--target", "console", "call", "common_get_fapi_version", "32"});
    EXPECT_THAT(result.strOutput, HasSubstr("v1.0.0.13")) << result.strError;
}

}  // namespace
