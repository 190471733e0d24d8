// SPDX-License-Identifier: Apache-2.0
// The bench tool's command line: outputs, messages, exit codes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "actions/action.h"
#include "base/words.h"
#include "hw3/hw_os.h"
#include "support/tool_fixture.h"
#include "support/waiting.h"
#include "vset/vset.h"

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

class Cli : public test::ToolTest {};

TEST_F(Cli, CallPrintsStatusAndOutputs) {
    test::ProcessResult result = fapi({"call", "sys_get_emmc_env_var", "serial"});
    EXPECT_EQ(result.s32Exit, 0);
    EXPECT_EQ(result.strOutput, "sys_get_emmc_env_var: 0 (ok)\n  value: \"VSET00000001\"\n");
    EXPECT_THAT(result.strError, IsEmpty());

    result = fapi({"call", "a_vextvfapi_sys_get_emmc_env_var", "nosuch"});
    EXPECT_EQ(result.s32Exit, 1);
    EXPECT_THAT(result.strOutput, StartsWith("sys_get_emmc_env_var: -1 (failed)\n"));
    EXPECT_EQ(fapi({"call", "sys_set_emmc_env_var", "skew", "--", "-5"}).s32Exit, 0);
    EXPECT_EQ(fapiJson({"call", "sys_get_emmc_env_var", "skew"})["outputs"]["value"], "-5");

    EXPECT_EQ(fapi({"call", "sys_set_emmc_env_var", "serial", "A B"}).s32Exit, 0);
    EXPECT_EQ(fapiJson({"call", "sys_get_emmc_env_var", "serial"}),
              nlohmann::json({{"command", "sys_get_emmc_env_var serial"},
                              {"operation", "a_vextvfapi_sys_get_emmc_env_var"},
                              {"status", 0},
                              {"word", "ok"},
                              {"good", true},
                              {"outputs", {{"value", "A B"}}}}));

    fapi({"call", "sys_write_file", "/data/f", "hex:00ff"});
    EXPECT_EQ(fapiJson({"call", "sys_read_file", "/data/f"})["outputs"]["data"]["hex"], "00ff");
}

TEST_F(Cli, ACopyIsGoodWhenTheDestinationHoldsIt) {
    fapi({"set", "put", "/data/f", "one"});
    fapi({"set", "put", "/data/other", "two"});
    const std::pair<std::string, int> rows[] = {{"/data/f /data/g", 0},
                                                {"/data/none /data/h", 1},
                                                {"/data/f /data/f/g", 1},
                                                {"/data/f /data/other on", 1},
                                                {"/data/f /data/f", 1}};
    for (const auto& [strWords, s32Exit] : rows) {
        const test::ProcessResult result = fapi(tool::splitWords("call sys_copy_file " + strWords));
        EXPECT_EQ(result.s32Exit, s32Exit) << strWords;
        EXPECT_THAT(result.strOutput, StartsWith("sys_copy_file: -1 ")) << "whatever becomes of it";
    }
}

TEST_F(Cli, AFailureNamesTheCallsThatFailed) {
    EXPECT_EQ(fapi({"call", "sys_check_file", "/data/none"}).strOutput,
              "sys_check_file: -1 (failed)\n"
              "  because: HW_FS_Open(path=\"/data/none\" flags=0) = -1 (No such file or directory)\n");
    const nlohmann::json json = fapiJson({"call", "prphrl_get_gpio_status", "300"});
    EXPECT_EQ(json["failed_calls"].back(), nlohmann::json({{"call", "HW_GPIO_Open"},
                                                           {"arguments", "pad=300"},
                                                           {"result", 8},
                                                           {"word", "invalid-parameter"},
                                                           {"fault", false}}));
    const std::string strShell = fapi({"shell"},
                                      "set fault HW_FLASH_StoreEnv busy 1 2\nsys_set_emmc_env_var a b\n"
                                      "prphrl_get_gpio_status 12\nsys_check_file /data\n")
                                     .strOutput;
    EXPECT_THAT(strShell, testing::ContainsRegex("sys_set_emmc_env_var: -1 \\(failed\\)\n"
                                                 "  because: HW_FLASH_StoreEnv\\(.*\\) = 0xf \\(busy, by fault\\)\n"
                                                 "prphrl_get_gpio_status: "))
        << "one call, and no look-up of what is opened then";
    EXPECT_FALSE(fapiJson({"call", "sys_check_file", "/data"}).contains("failed_calls"));
    const nlohmann::json refused = fapiJson({"call", "net_set_mac", "nonsense"})["refusals"];
    ASSERT_EQ(refused.size(), 1u);
    EXPECT_EQ(refused[0]["call"], "HW_NET_SetMac");
}

TEST_F(Cli, TheJournalTellsEverythingOfACall) {
    const std::string strShell =
        fapi({"shell"}, "prphrl_get_gpio_status 12\nset journal 2\nnet_open lo\nnet_close\nnet_close\nset refusals\n")
            .strOutput;
    EXPECT_THAT(strShell, testing::ContainsRegex("\n[0-9]+ t1 HW_GPIO_GetInput\\(handle=0x[0-9a-f]+\\) = 0, level=[01] "
                                                 "inverted=[01]\n[0-9]+ t1 HW_GPIO_Close\\("));
    EXPECT_THAT(strShell,
                testing::ContainsRegex("refused: .1 the chip refused HW_NET_Close.* = 0x7 \\(invalid-handle\\)"));
    EXPECT_THAT(strShell, HasSubstr("\n  count: 1\n"));
    // Two threads call until one of the calls has ended within another.
    vset::attach(folder() + "/here");
    vset::clearJournal();
    HW_OS_DelayTask(0);
    const testing::Matcher<std::string> within =
        testing::ContainsRegex("t2 begin HW_OS_DelayTask\\(ms=2\\)\n[0-9]+ t1 HW_OS_DelayTask\\(ms=0\\) = 0\n");
    {
        const test::Repeating sleeper([] { HW_OS_DelayTask(2); });
        EXPECT_TRUE(test::eventually([&] {
            HW_OS_DelayTask(0);
            const tool::Outcome outcome = tool::findActionRow("journal")->perform({65536LL});
            return testing::Matches(within)(std::get<std::string>(*outcome.find("calls")));
        }));
    }
    vset::detach();
}

TEST_F(Cli, TheSetIsBroughtUpUnlessToldOtherwise) {
    EXPECT_EQ(fapi({"call", "common_get_fapi_status"}).s32Exit, 0);
    const test::ProcessResult result = fapi({"call", "--no-init", "common_get_fapi_status"});
    EXPECT_EQ(result.s32Exit, 1);
    EXPECT_EQ(result.strOutput, "common_get_fapi_status: -5 (not in factory mode)\n");
    EXPECT_EQ(fapiJson({"call", "common_get_fapi_status", "--no-init"})["status"], -5) << "options after the words";
    EXPECT_EQ(fapi({"shell"}, "sys_init\nset fault HW_SYS_Init 3 1 0\nsys_check_file /\n").strError, "")
        << "the library has been brought up by hand";
}

TEST_F(Cli, AWrongWordIsNamedAndCallsNothing) {
    const std::pair<std::vector<std::string>, const char*> rows[] = {
        {{"call", "sys_chek_file", "/x"}, "did you mean sys_check_file?"},
        {{"call", "set", "put"}, "fapi set"},
        {{"help", "banana"}, "no such operation: banana"},
        {{"set", "fault", "HW_FS_Sync", "-1"}, "acts on a running session only"},
        {{"watch", "--event", "x"}, "--event: is \"x\", expected a number from 0 to 4294967295"},
        {{"watch", "--count", "0"}, "--count: is \"0\", expected a number from 1 to 4294967295"},
        {{"watch", "--idle", "-1"}, "--idle: is \"-1\", expected seconds"},
        {{"watch", "--module", "tv"}, "no such module: tv"},
        {{"watch", "--do", "sys_int"}, "did you mean sys_init?"},
        {{"run", "/no/such.plan"}, "/no/such.plan: cannot be read"},
        {{"fly"}, "no such command: fly"},
        {{"set", "shwo"}, "no such command: shwo, did you mean show?"},
        {{"--fast", "list"}, "--fast"},
        {{"list", "a", "b", "c"}, "not expected: \"b\" \"c\"; see fapi list --help"},
        {{"call", "sys_check_file", "/a", "--", "-b", "c"}, "\"-b\" and \"c\" are 2 arguments too many"},
        {{"help", "set", "drve"}, "did you mean drive?"},
        {{"completion", "fish"}, "expected bash or zsh"},
        {{}, "subcommand"},
    };
    for (const auto& [words, pszError] : rows) {
        EXPECT_THAT(expectImpossible({words, 2, pszError}).strOutput, IsEmpty());
    }
    EXPECT_FALSE(std::filesystem::exists(set())) << "no set has been made on the way";
}

TEST_F(Cli, TheLogGoesToStandardErrorOnly) {
    const test::ProcessResult result = fapi({"--log", "call", "sys_check_file", "/data/none"});
    EXPECT_THAT(result.strOutput, StartsWith("sys_check_file: -1 (failed)\n"));
    EXPECT_THAT(result.strError, HasSubstr("VexTvFApiSystem(imp) [E] <a_vextvfapi_sys_check_file:"));
    EXPECT_THAT(fapi({"call", "sys_check_file", "/data/none"}).strError, IsEmpty()) << "for one call";
    EXPECT_EQ(fapi({"--log", "shell"}, "set log off\nsys_init\nsys_check_file /data/none\n").strError, "");
    fapi({"--log", "set", "log", "on"});
    EXPECT_THAT(fapi({"call", "sys_check_file", "/data/none"}).strError, HasSubstr("[E] <a_vextvfapi_sys_check_file:"));
}

TEST_F(Cli, ListAndHelpComeFromTheTable) {
    const test::ProcessResult list = fapi({"list", "env_var"});
    EXPECT_THAT(list.strOutput, StartsWith("sys:\n  _sys_get_env_var KEY [SIZE] [TYPE]\n"));
    EXPECT_THAT(list.strOutput, Not(HasSubstr("check_file")));
    EXPECT_THAT(fapi({"help", "sys_copy_file"}).strOutput, HasSubstr("sys_copy_file SOURCE DESTINATION [KEEP]\n"));
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"help", "set", "drive"}, {"help", "drive"}, {"--json", "help", "set", "drive"}}) {
        EXPECT_THAT(fapi(words).strOutput, HasSubstr("set drive PAD LEVEL"));
    }
    EXPECT_THAT(fapi({"shell"}, "help set\n").strOutput, HasSubstr("\nset drive PAD LEVEL    Drive a pad"));
    EXPECT_THAT(fapi({"help", "plan"}).strOutput, HasSubstr("\nstep \"Bring the set up\"\n"));
    const std::string strFaults = fapi({"help", "faults"}).strOutput;
    EXPECT_THAT(strFaults, testing::AllOf(StartsWith("## "), HasSubstr("always in"), Not(HasSubstr("teardown"))));
    EXPECT_THAT(fapi({"--help"}).strOutput, HasSubstr("Exit codes"));
}

TEST_F(Cli, AFullDiskIsAFailure) {
    const test::ProcessResult result =
        test::runProcess({"sh", "-c", std::string("exec '") + FAPI_BINARY + "' list >/dev/full"});
    EXPECT_EQ(result.s32Exit, 1);
    EXPECT_EQ(result.strError, "fapi: standard output cannot be written\n");
}

TEST_F(Cli, SetCommands) {
    EXPECT_EQ(fapi({"set", "path"}).strOutput, set() + "\n");
    EXPECT_FALSE(std::filesystem::exists(set()));
    EXPECT_EQ(fapi({"set", "create"}).s32Exit, 0);
    const test::ProcessResult again = fapi({"set", "create"});
    EXPECT_EQ(again.s32Exit, 3);
    EXPECT_EQ(again.strError, "fapi: " + set() + ": is a set already\n");

    EXPECT_EQ(fapi({"set", "put", "--", "/mnt/usb/a/b", "-\xff"}).s32Exit, 0);
    EXPECT_EQ(fapiJson({"set", "get", "/mnt/usb/a/b"})["outputs"]["content"]["hex"], "2dff") << "no text of JSON";
    EXPECT_EQ(fapi({"set", "put", "/mnt/usb/a/b", "one\ntwo\x1b[1m\n"}).s32Exit, 0);
    EXPECT_EQ(fapi({"set", "get", "/mnt/usb/a/b"}).strOutput, "set get: 0 (ok)\n  content:\none\ntwo?[1m\n");
    EXPECT_EQ(fapi({"set", "get", "/etc/passwd"}).s32Exit, 1) << "not the PC's files";
    EXPECT_EQ(fapi({"set", "remove", "/mnt/usb/a"}).s32Exit, 0);
    EXPECT_EQ(fapi({"set", "remove", "/mnt/usb/a"}).s32Exit, 1);

    const int boots = fapiJson({"set", "power-cycle"})["boots"];
    const nlohmann::json shown = fapiJson({"set", "show"});
    EXPECT_EQ(shown["boots"], boots + 1);
    EXPECT_EQ(shown["environment"]["emmc"]["serial"], "VSET00000001");
    EXPECT_THAT(shown["damage"], IsEmpty());

    fapi({"call", "sys_set_emmc_env_var", "serial", "changed"});
    EXPECT_EQ(fapi({"set", "reset"}).s32Exit, 0);
    EXPECT_EQ(fapiJson({"set", "show"})["environment"]["emmc"]["serial"], "VSET00000001");
}

TEST_F(Cli, ADamagedFolderIsNamedAndLeftAlone) {
    fapi({"set", "create"});
    const std::string strImage = set() + "/env/emmc.img";
    std::string strBytes = readFile(strImage);
    strBytes[1000] = 'x';
    writeFile("set/env/emmc.img", strBytes);
    const std::string strConfig = readFile(set() + "/set.json");
    const std::string strPlan = writeFile("a.plan", "plan A\nstep B\nsys_init\n");
    for (const std::vector<std::string>& words : {std::vector<std::string>{"call", "sys_init"},
                                                  {"shell"},
                                                  {"watch", "--idle", "1"},
                                                  {"set", "power-cycle"},
                                                  {"run", "--no-report", strPlan}}) {
        expectImpossible({words, 3, "fapi: " + strImage + ": wrong checksum\n"});
    }
    EXPECT_EQ(readFile(set() + "/set.json"), strConfig) << "not even a boot is counted";
    EXPECT_EQ(readFile(strImage), strBytes);
    EXPECT_EQ(fapi({"--damaged", "call", "sys_get_emmc_env_var", "serial"}).s32Exit, 1);
}

TEST_F(Cli, AFolderThatIsNoSetIsRefused) {
    std::filesystem::create_directories(set());
    writeFile("set/letter.txt", "mine");
    expectImpossible({{"call", "sys_init"}, 3, "fapi: " + set() + ": is neither a set nor empty\n"});
    EXPECT_EQ(fapi({"-y", "set", "reset"}).s32Exit, 3);
    EXPECT_EQ(readFile(set() + "/letter.txt"), "mine");
    const test::ProcessResult result = test::runProcess({FAPI_BINARY, "--set", "/proc/none", "call", "sys_init"});
    EXPECT_EQ(result.s32Exit, 3);
    EXPECT_THAT(result.strError, StartsWith("fapi: /proc/none"));
}

TEST_F(Cli, ShellOnAPipeStopsAtAWrongWord) {
    test::ProcessResult result =
        fapi({"shell"}, "sys_check_file /data/none\nset put /data/x hi\nsys_check_file /data/x\n");
    EXPECT_EQ(result.s32Exit, 1) << "one operation failed";
    EXPECT_THAT(result.strOutput, testing::EndsWith("\nset put: 0 (ok)\nsys_check_file: 0 (ok)\n"));
    result = fapi({"shell"}, "sys_check_file /data/x\nbanana\nsys_check_file /data/x\n");
    EXPECT_EQ(result.s32Exit, 2);
    EXPECT_EQ(result.strOutput, "sys_check_file: 0 (ok)\n");
    EXPECT_EQ(result.strError, "fapi: line 2: no such operation: banana\n");
    result = fapi({"shell", "-e"}, "set power-cycle\n\nsys_check_file /data/none\nsys_check_file /data/x\n");
    EXPECT_EQ(result.s32Exit, 1);
    EXPECT_THAT(result.strOutput, Not(HasSubstr("(ok)")));
    EXPECT_EQ(result.strError, "power cycle\nfapi: line 3 has failed, and -e ends the shell\n");
}

TEST_F(Cli, ShellOnAPipeGoesOnBehindAPowerCycle) {
    const test::ProcessResult result =
        fapi({"shell"},
             "sys_reg_callback\nwatch on\nsys_check_file /data/none\nsys_nty_event 1\nset power-cycle\n"
             "sys_nty_event 2\nsys_reg_callback\nwatch on\nsys_nty_event 3");
    EXPECT_EQ(result.s32Exit, 1) << "for the failure before the power cycle, too";
    EXPECT_THAT(result.strOutput, HasSubstr("sys_nty_event: 0 (ok)\n"));
    EXPECT_THAT(result.strOutput, HasSubstr("sys_nty_event: -1 (failed)\n")) << "the callback is forgotten";
    EXPECT_THAT(result.strOutput, HasSubstr(" sys 0x3 value 0\n")) << "printed although the lines have ended";
    EXPECT_EQ(fapiJson({"set", "show"})["boots"], 3);
}

TEST_F(Cli, TheShellGoesOnBehindACrashOfTheLibrary) {
    // The set's lock names the process that has it.
    const char* pszScript = R"sh(cd "$1"
        { echo 'sys_check_file /data'
          until grep -qs ok out; do sleep 0.05; done
          died=$(cat set/lock)
          kill -KILL $died
          until test -s set/lock && test "$(cat set/lock)" != $died; do sleep 0.05; done
          echo 'sys_check_file /vendor'; } | "$2" --set set shell > out)sh";
    const test::ProcessResult result = test::runProcess({"sh", "-c", pszScript, "sh", folder(), FAPI_BINARY});
    EXPECT_EQ(result.s32Exit, 1) << "the crash is a failure";
    EXPECT_EQ(result.strError, "fapi: the library has died: SIGKILL (Killed); a new worker starts\n");
    EXPECT_EQ(readFile(folder() + "/out"), "sys_check_file: 0 (ok)\nsys_check_file: 0 (ok)\n");
}

TEST_F(Cli, ShellOnATerminal) {
    const test::ProcessResult result =
        test::runOnTerminal({FAPI_BINARY, "--set", set(), "shell"},
                            {{"fapi> ", "sys_check_fi\t/ven\tfactory/bin/factory_svc\r"},
                             {"sys_check_file: 0 (ok)", ""},
                             {"fapi> ", "sys_check\t\t"},
                             {"sys_check_file  sys_check_folder", "\x03sys_set_emmc_env_var serial TYPED\r"},
                             {"Go on? [y/N]", "y\r"},
                             {"sys_set_emmc_env_var: 0 (ok)", ""},
                             {"fapi> ", "set power-cycle\r"},
                             {"power cycle", ""},
                             {"fapi> ", "common_get_fapi_status\r"},
                             {"common_get_fapi_status: 0 (ok)", ""},
                             {"fapi> ", "sys_get_emmc_env_var serial\r"},
                             {"\"TYPED\"", ""},
                             {"fapi> ", "quit\r"}});
    EXPECT_EQ(result.s32Exit, 0) << result.strOutput;
    EXPECT_THAT(result.strOutput, HasSubstr("\"TYPED\""));
    EXPECT_EQ(fapiJson({"set", "show"})["boots"], 3);
    EXPECT_THAT(readFile(folder() + "/state/fapi/history"), HasSubstr("quit"));
}

TEST_F(Cli, WhatDestroysDataAsksOnATerminal) {
    fapi({"set", "put", "/data/f", "x"});
    const std::vector<std::string> remove = {FAPI_BINARY, "--set", set(), "call", "sys_remove_file", "/data/f"};
    test::ProcessResult result = test::runOnTerminal(remove, {{"Go on? [y/N]", "n\r"}});
    EXPECT_EQ(result.s32Exit, 4);
    EXPECT_EQ(fapi({"set", "get", "/data/f"}).s32Exit, 0);
    std::vector<std::string> yes = remove;
    yes.insert(yes.begin() + 1, "-y");
    result = test::runOnTerminal(yes, {});
    EXPECT_EQ(result.s32Exit, 0);
    EXPECT_THAT(result.strOutput, Not(HasSubstr("Go on?")));
}

TEST_F(Cli, WhatDestroysDataIsRefusedWhereNobodyCanBeAsked) {
    fapi({"set", "put", "/data/f", "x"});
    const std::pair<std::vector<std::string>, const char*> rows[] = {
        {{"call", "sys_remove_file", "/data/f"}, "y\n"},
        {{"set", "reset"}, "y\n"},
        {{"partition", "write", "misc", writeFile("misc.bin", "x")}, ""},
        {{"shell"}, "sys_remove_file /data/f\nset remove /data/f\n"},
        {{"watch", "--idle", "0.1", "--do", "sys_remove_file /data/f"}, ""},
        {{"screen", folder() + "/a.png", "--do", "sys_remove_file /data/f"}, ""},
    };
    for (const auto& [asked, pszInput] : rows) {
        std::vector<std::string> words = {FAPI_BINARY, "--set", set()};
        words.insert(words.end(), asked.begin(), asked.end());
        const test::ProcessResult result = test::runProcess(words, pszInput);
        EXPECT_EQ(result.s32Exit, 4) << asked[0];
        EXPECT_THAT(result.strError, HasSubstr("-y")) << asked[0];
        EXPECT_EQ(fapi({"set", "get", "/data/f"}).s32Exit, 0) << asked[0];
    }
    EXPECT_EQ(fapi({"shell"}, "sys_remove_file /data/f\n").s32Exit, 0) << "with --yes";
}

// The fixed channel counts from the shell's first reading, a power cycle forgets it.
TEST_F(Cli, WarnsOfWhatIsNotAsItLooks) {
    const std::pair<const char*, const char*> rows[] = {
        {"net_set_mac nonsense\n",
         "fapi: warning: net_set_mac: \"nonsense\" is no MAC address: the set keeps its own, and the status is 0 all "
         "the "
         "same\nfapi: note: the chip refused HW_NET_SetMac\\(handle=0x[0-9a-f]+ mac=\"nonsense\"\\) = 0x8 "
         "\\(invalid-parameter\\)\n"},
        {"net_set_mac 02-00-5e-00-53-0A\n", ""},
        {"prphrl_get_sar_adc 3\nprphrl_get_sar_adc 3 0\nprphrl_get_sar_adc 4\n",
         "fapi: warning: prphrl_get_sar_adc: asks for channel 4, but reads channel 3, which was the first to be "
         "read\n"},
        {"prphrl_get_sar_adc 3\nset power-cycle\nprphrl_get_sar_adc 4\n", "power cycle\n"},
    };
    for (const auto& [pszLines, pszWarnings] : rows) {
        EXPECT_THAT(fapi({"shell"}, pszLines).strError, testing::MatchesRegex(pszWarnings));
    }
    EXPECT_THAT(fapi({"call", "net_set_mac", "02:00"}).strError, HasSubstr("warning: net_set_mac"));
}

TEST_F(Cli, AnEventLeavesTheLineThatIsTyped) {
    const test::ProcessResult result =
        test::runOnTerminal({FAPI_BINARY, "--set", set(), "shell"}, {{"fapi> ", "watch on\r"},
                                                                     {"fapi> ", "prphrl_start_factory_uart 115200 0\r"},
                                                                     {"(ok)", ""},
                                                                     {"fapi> ", "sys_ini"},
                                                                     {"sys_ini", "SER\r", set() + "/ports/uart0"},
                                                                     {"bytes 53 45 52", ""},
                                                                     {"fapi> sys_ini", "t\r"},
                                                                     {"sys_init: 0 (ok)", ""},
                                                                     // What is typed ahead while a line runs.
                                                                     {"fapi> ", "set await-reboot 1\r"},
                                                                     {"reboot 1\r\n", "sys_check_file /\rsys_dei"},
                                                                     {"sys_dei", "TV\r", set() + "/ports/uart0"},
                                                                     {"bytes 54 56", ""},
                                                                     {"fapi> sys_check_file /\r\n", ""},
                                                                     {"fapi> sys_dei", "nit\r"},
                                                                     {"sys_deinit: 0 (ok)", ""},
                                                                     {"fapi> ", "quit\r"}});
    EXPECT_EQ(result.s32Exit, 0) << result.strOutput;
}

// Another process has the set meanwhile.
TEST_F(Cli, PortsAreShownWithoutTakingTheSet) {
    expectImpossible({{"set", "ports"}, 3, "fapi: " + set() + ": is switched off"});
    EXPECT_FALSE(std::filesystem::exists(set())) << "no set has been made on the way";
    vset::attach(set());
    EXPECT_THAT(fapi({"set", "ports"}).strOutput, StartsWith("0 " + set() + "/ports/uart0 -> /dev/pts/"));
    const nlohmann::json json = fapiJson({"set", "ports"});
    EXPECT_EQ(json["folder"], set());
    ASSERT_EQ(json["ports"].size(), 5u);
    EXPECT_EQ(json["ports"][4]["number"], 4);
    EXPECT_EQ(json["ports"][4]["path"], set() + "/ports/uart4");
    EXPECT_TRUE(std::filesystem::is_character_file(json["ports"][4]["terminal"].get<std::string>()));
    expectImpossible({{"call", "sys_init"}, 3, "fapi: " + set() + ": in use by process "});
    vset::detach();
    EXPECT_EQ(fapi({"set", "ports"}).s32Exit, 3) << "switched off again";
}

TEST_F(Cli, SerialPortsByHand) {
    const std::string strOutput =
        fapi({"shell"},
             "set type 1 \"AB\\n\"\n"
             // Takes a second, after which the line has come through.
             "prphrl_std_factory_uart_stop\nset ports\n"
             "prphrl_start_factory_uart 57600 1 9\nset ports\nprphrl_write_factory_uart hex:4100\n"
             "set sent 1 clear\nset sent 1\nprphrl_stop_factory_uart 1\n"
             "prphrl_std_factory_uart_start 115200 0\nset hang-up 0\nset ports\n")
            .strOutput;
    for (const char* pszPart :
         {"port 1: closed; 3 received, 3 waiting, 0 dropped\n",
          "port 1: open in the library, 57600 baud, device 9, has a callback; 3 received, ",
          "bytes: 4 bytes: 41 00 0d 0a\n  text: \"A\\x00\\x0d\\n\"\n", "bytes: 0 bytes\n  text: \"\"\n",
          "prphrl_std_factory_uart_start: 0 (ok)\nset hang-up: 0 (ok)\n"}) {
        EXPECT_THAT(strOutput, HasSubstr(pszPart));
    }
    EXPECT_THAT(strOutput, Not(HasSubstr("tty open"))) << "it has been taken away";
}

TEST_F(Cli, WatchShowsEventsWithTimeAndPayload) {
    const auto watch = [&](std::vector<std::string> words) {
        words.insert(words.begin(), {"watch", "--do", "prphrl_nty_event 0x100001 3 'A\nB' hex:4142", "--do",
                                     "sys_nty_event 7", "--do", "prphrl_nty_event 0x100005 255"});
        return fapi(words);
    };
    test::ProcessResult result = watch({"--idle", "0.2"});
    EXPECT_EQ(result.s32Exit, 0);
    EXPECT_THAT(result.strOutput,
                testing::MatchesRegex(
                    "[0-9]+:[0-9]+:[0-9]+\\.[0-9]+ prphrl 0x100001 value 3 text \"A\\\\nB\" bytes 41 42 \"AB\"\n"
                    ".* sys 0x7 value 0\n.* prphrl 0x100005 value 255 \\(pad monitor failed\\)\n"));
    result = watch({"--event", "0x100005", "--count", "1", "--json"});
    EXPECT_EQ(result.s32Exit, 0);
    EXPECT_EQ(nlohmann::json::parse(result.strOutput)["objects"][0]["value"], 255);
    EXPECT_EQ(nlohmann::json::parse(result.strOutput)["objects"][0]["data"]["size"], 0);
    EXPECT_EQ(watch({"--module", "disp", "--idle", "0.2"}).strOutput, "");
    EXPECT_EQ(watch({"--count", "9", "--idle", "0.2"}).s32Exit, 1) << "fewer than wanted";
}

// Lines and bytes of a serial link: the terminal neither obeys nor is flooded by what was sent.
TEST_F(Cli, WatchShowsBytesAsHexAndAsText) {
    const struct {
        const char* payload;
        std::string strShown;
        const char* hex;
        const char* text;
    } rows[] = {
        {"0 '' hex:41001b7fff0d0a", " bytes 41 00 1b 7f ff 0d 0a \"A\\x00\\x1b\\x7f\\xff\\x0d\\n\"", "41001b7fff0d0a",
         "A\\x00\\x1b\\x7f\\xff\\x0d\\n"},
        {"0 'a\"b\\' 'a\"b\\'", " text \"a\\\"b\\\\\" bytes 61 22 62 5c \"a\\\"b\\\\\"", "6122625c", "a\\\"b\\\\"},
        {"0 repeat:65:x", " text \"" + std::string(64, 'x') + "\"... (65 characters)", nullptr, nullptr},
        {"0 '' repeat:70000:z", std::string(64, 'z') + "\"... (70000 bytes)", nullptr, nullptr},
    };
    for (const auto& row : rows) {
        const std::string strLine = std::string("prphrl_nty_event 0x100001 ") + row.payload;
        EXPECT_THAT(fapi({"watch", "--count", "1", "--do", strLine}).strOutput, HasSubstr(row.strShown + "\n"));
        if (row.hex != nullptr) {
            const nlohmann::json event = fapiJson({"watch", "--count", "1", "--do", strLine});
            EXPECT_EQ(event["objects"][0]["data"]["hex"], row.hex);
            EXPECT_EQ(event["objects"][0]["data"]["text"], row.text);
        }
    }
}

}  // namespace
