// SPDX-License-Identifier: Apache-2.0
// What bash and zsh complete on the command line of the bench tool.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/tool_fixture.h"

namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsSupersetOf;
using testing::Not;

class Completion : public test::ToolTest {
protected:
    std::vector<std::string> complete(const std::string& strRest) const {
        const test::ProcessResult result = fapi({"complete", "fapi --set " + set() + " " + strRest});
        EXPECT_EQ(result.s32Exit, strRest.find('"') == std::string::npos ? 0 : 2) << result.strError;
        return test::linesOf(result.strOutput);
    }

    // Returns what bash receives in a folder with a file notes.txt and a folder records.
    std::vector<std::string> completeInBash(const std::string& strRest) const {
        const std::string strLine = std::string(FAPI_BINARY) + " " + strRest;
        const std::string strScript = "cd '" + folder() + "'; source <('" FAPI_BINARY "' completion bash) || exit 9\n" +
                                      "COMP_LINE='" + strLine + "' COMP_POINT=" + std::to_string(strLine.size()) +
                                      "\n_fapi '" FAPI_BINARY "'\nprintf '%s\\n' \"${COMPREPLY[@]}\"";
        const test::ProcessResult result = test::runProcess({"bash", "-c", strScript});
        EXPECT_EQ(result.s32Exit, 0) << result.strError;
        return test::linesOf(result.strOutput);
    }
};

TEST_F(Completion, OffersWhatCanStandThere) {
    fapi({"set", "create"});
    fapi({"set", "put", "/mnt/usb/a.txt", "text:a"});
    fapi({"run", "--fresh", "--report", folder() + "/reports", "--repeat", "2",
          writeFile("a.plan", "plan A\nstep B\n sys_init\n")});
    const std::string strStation =
        writeFile("station.ini", "[target slot]\nset = /s\n[target board]\nwire = adb\n[actions]\npress = run true\n");
    const std::pair<std::string, std::vector<std::string>> rows[] = {
        {"par", {"partition"}},
        {"--json he", {"help"}},
        {"call sys_check_f", {"sys_check_file", "sys_check_folder"}},
        {"call a_vextvfapi_sys_check_fi", {"a_vextvfapi_sys_check_file"}},
        {"call --no-init _bytes_to_i", {"_bytes_to_int"}},
        {"help net_o", {"net_open"}},
        {"call prphrl_enable_cec ", {"off", "on"}},
        {"call prphrl_set_mic_led c", {"cycle"}},
        {"call -- sys_set_wdt o", {"off", "on"}},
        {"call sys_check_file /mnt/u", {"/mnt/usb/"}},
        {"call sys_check_file /mnt/usb/", {"/mnt/usb/a.txt"}},
        {"call sys_read_emmc ", {"factory", "misc", "persist"}},
        {"call sys_init ", {}},
        {"call sys_write_file /mnt/usb/b text:a ", {}},
        {"set power", {"power-cycle"}},
        {"set fac", {"factory"}},
        {"set factory ", {"off", "on"}},
        {"set jour", {}},
        {"set fault HW_FLASH_StoreE", {"HW_FLASH_StoreEnv"}},
        {"set fault HW_FLASH_StoreEnv ti", {"timeout"}},
        {"help set play-", {"play-pad"}},
        {"help pl", {"plan"}},
        {"history --report " + folder() + "/reports show ", {"1", "2", "last"}},
        {"partition read m", {"misc"}},
        {"partition read misc ", {":files"}},
        {"env get m", {"model"}},
        {"env unset --flash nand m", {}},
        {"env get --flash s", {"spi_nor"}},
        {"run li", {":files", "line", "line-LM43", "line-LM65"}},
        {"run line --param se", {"serial="}},
        {"run line --param serial=A --param se", {}},
        {"run one.plan --report ", {":folders"}},
        {"--station " + strStation + " --target ", {":folders", "board", "slot", "virtual"}},
        {"--station " + strStation + " --target board set p", {"power-cycle", "press"}},
        {"--station " + strStation + " --target board call sys_check_f", {"sys_check_file", "sys_check_folder"}},
        {"run one.plan two", {":files"}},
        {"screen --what p", {"panel"}},
        {"watch --module pr", {"prphrl"}},
        {"watch --count ", {}},
        {"partition read --le", {"--length"}},
        {"--color ", {"always", "auto", "never"}},
        {"history --verdict f", {"failed"}},
        {"history show --report /no/such l", {"last"}},
        {"partition read --js", {"--json"}},
        {"call sys_write_file /mnt/usb/b \"text:a ", {}},
        {"completion ", {"bash", "zsh"}},
        {"nonsense ", {}},
    };
    for (const auto& [strLine, all] : rows) {
        EXPECT_EQ(complete(strLine), all) << strLine;
    }
    EXPECT_EQ(fapiJson({"set", "show"})["boots"], 2) << "completing switches no set on";
}

TEST_F(Completion, KnowsEveryCommand) {
    EXPECT_THAT(complete(""), AllOf(IsSupersetOf({"call", "check", "completion", "help", "history", "list", "partition",
                                                  "reference", "run", "screen", "set", "shell", "watch"}),
                                    Not(Contains("complete"))));
    EXPECT_THAT(complete("run --"), IsSupersetOf({"--fresh", "--report", "--dry-run", "--set", "--yes"}));
}

TEST_F(Completion, Bash) {
    writeFile("notes.txt", "");
    std::filesystem::create_directory(folder() + "/records");
    EXPECT_THAT(completeInBash("call sys_check_f"), ElementsAre("sys_check_file", "sys_check_folder"));
    EXPECT_THAT(completeInBash("aud"), ElementsAre("")) << "nothing";
    EXPECT_THAT(completeInBash("run n"), ElementsAre("notes.txt"));
    EXPECT_THAT(completeInBash("run pan"), ElementsAre("panel"));
    EXPECT_THAT(completeInBash("run --report "), ElementsAre("records"));
    EXPECT_THAT(completeInBash("targets --target "), ElementsAre("records", "virtual"));
    EXPECT_THAT(completeInBash("screen --what window:"), ElementsAre("")) << "bash has the part up to the colon";
    EXPECT_THAT(completeInBash("call sys_write_file /mnt/usb/b text:a:b"), ElementsAre(""));
}

TEST_F(Completion, Zsh) {
    if (test::runProcess({"sh", "-c", "command -v zsh"}).s32Exit != 0) {
        GTEST_SKIP() << "there is no zsh";
    }
    writeFile("notes.txt", "");
    std::filesystem::create_directories(folder() + "/functions");
    writeFile("functions/_fapi", test::runProcess({FAPI_BINARY, "completion", "zsh"}).strOutput);
    setenv("ZDOTDIR", folder().c_str(), 1);
    const std::string strDirectory = std::filesystem::path(FAPI_BINARY).parent_path();
    writeFile(".zshrc", "PS1='ready> '\npath=('" + strDirectory + "' $path)\nfpath=('" + folder() +
                            "/functions' $fpath)\nautoload -U compinit\ncompinit -D -u\ncd '" + folder() + "'\n");
    ASSERT_EQ(test::runProcess({FAPI_BINARY, "set", "create"}).s32Exit, 0);
    const test::ProcessResult result =
        test::runOnTerminal({"zsh", "-d", "-i"}, {{"ready> ", "fapi call sys_check_fi\t/ven\tfac\tb\tfac\t\r"},
                                                  {"sys_check_file: ", "fapi check no\t\r"},
                                                  {"notes.txt:1:1", "exit\r"}});
    EXPECT_THAT(result.strOutput, HasSubstr("sys_check_file: 0 (ok)"));
    EXPECT_THAT(result.strOutput, HasSubstr("notes.txt:1:1: the plan has no name"));
}

}  // namespace
