// SPDX-License-Identifier: Apache-2.0
// The bench tool at partitions, chip and watchdog: files of raw bytes, dumps, reboots, the shipped plan.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/hub_client.h"
#include "support/plan_fixture.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::Pair;

constexpr std::size_t kMebibyte = 1u << 20;
constexpr std::size_t kFactorySize = 4 * kMebibyte;
constexpr char kRebooted[] = "the watchdog has rebooted the set";

class StorageCli : public test::PlanTest {
protected:
    std::string file() const { return folder() + "/out.bin"; }

    static std::string pattern(std::size_t size) {
        std::string strBytes(size, '\0');
        for (std::size_t i = 0; i < size; ++i) {
            strBytes[i] = static_cast<char>(i * 31 + i / 251);
        }
        return strBytes;
    }
};

TEST_F(StorageCli, PartitionsGoFromAndToFiles) {
    std::string strPartition(kFactorySize, '\xFF');
    const struct {
        std::size_t size, offset;
    } rows[] = {{2 * kMebibyte + 1, 77}, {1, 0}, {kMebibyte, kMebibyte - 1}, {0, 5}, {4095, kFactorySize - 4095}};
    for (const auto& row : rows) {
        const std::string strOffset = std::to_string(row.offset);
        SCOPED_TRACE(strOffset);
        const std::string strBytes = pattern(row.size);
        strPartition.replace(row.offset, row.size, strBytes);
        const std::string strSource = writeFile("in.bin", strBytes);
        ASSERT_EQ(fapi({"partition", "write", "factory", strSource, "--offset", strOffset}).s32Exit, 0);
        const nlohmann::json json = fapiJson(
            {"partition", "read", "factory", file(), "--offset", strOffset, "--length", std::to_string(row.size)});
        EXPECT_EQ(json["length"], row.size);
        EXPECT_TRUE(readFile(file()) == strBytes);
    }
    const test::ProcessResult all = fapi({"partition", "read", "factory", file()});
    EXPECT_EQ(all.strOutput, "factory: 4194304 bytes at offset 0 read into " + file() + "\n");
    EXPECT_TRUE(readFile(file()) == strPartition) << "nothing beside what was written has changed";
}

TEST_F(StorageCli, TransfersThatCannotBeAreRefused) {
    const std::string strSource = writeFile("in.bin", pattern(kMebibyte + 1));
    const test::Impossible rows[] = {
        {{"partition", "read", "fctory", file()}, 2, "no such partition: fctory, expected one of factory, misc, "},
        {{"partition", "read", "factory", file(), "--offset", "4194305"}, 2, "but factory has 4194304 bytes"},
        {{"partition", "read", "factory", file(), "--offset", "1", "--length", "4194304"}, 2, "4194303 bytes"},
        {{"partition", "read", "factory", "/no/folder/f"}, 1, "/no/folder/f: cannot be written: No such file"},
        {{"partition", "read", "factory", "/dev/full"}, 1, "No space left on device; /dev/full is not complete"},
        {{"partition", "write", "misc", strSource}, 2, "misc: 1048577 bytes at offset 0 end beyond the partition"},
        {{"partition", "write", "misc", folder()}, 2, ": cannot be read"},
        {{"partition", "erase", "misc"}, 2, "no such command: erase"},
    };
    writeFile("out.bin", "kept");
    for (const auto& row : rows) {
        expectImpossible(row);
        EXPECT_EQ(readFile(file()), "kept") << row.error;
    }
}

TEST_F(StorageCli, ATransferThatFailsInTheMiddleSaysWhere) {
    const auto other = test::joinHub(set());
    const auto failAtTheSecond = [&](const char* pszCall) {
        other->request("act", {{"action", "fault"}, {"arguments", tool::Field::List{pszCall, 13, 2}}});
    };
    failAtTheSecond("HW_FLASH_Read");
    expectImpossible({{"partition", "read", "factory", file(), "--offset", "5", "--length", "3145728"},
                      1,
                      "factory: sys_read_emmc answered -1 (failed) at offset 1048581; " + file() + " is removed"});
    EXPECT_FALSE(std::filesystem::exists(file()));
    const std::string strSource = writeFile("in.bin", pattern(3 * kMebibyte));
    failAtTheSecond("HW_FLASH_Write");
    expectImpossible({{"partition", "write", "factory", strSource, "--offset", "5"},
                      1,
                      "sys_write_emmc answered -1 (failed) at offset 1048581; 1048576 bytes are written"});
    other->claim();
    expectImpossible({{"partition", "write", "factory", strSource}, 3, "has claimed the set"});
    EXPECT_EQ(fapi({"partition", "read", "misc", file()}).s32Exit, 0) << "anybody may look";
}

TEST_F(StorageCli, ARawWriteAsksOnATerminal) {
    const std::string strSource = writeFile("in.bin", pattern(3 * kMebibyte));
    std::vector<std::string> write = {FAPI_BINARY, "--set", set(), "partition", "write", "factory", strSource};
    const test::Typed question = {"overwrites 3145728 bytes of partition factory at offset 0. Go on? [y/N]", "n\r"};
    test::ProcessResult result = test::runOnTerminal(write, {question});
    EXPECT_EQ(result.s32Exit, 4);
    EXPECT_FALSE(std::filesystem::exists(set() + "/partitions/factory.img"));
    write.emplace_back("--yes");
    result = test::runOnTerminal(write, {});
    EXPECT_EQ(result.s32Exit, 0);
    EXPECT_THAT(result.strOutput, HasSubstr("  33%  1.0 of 3.0 MiB"));
    EXPECT_THAT(result.strOutput, HasSubstr("factory: 3145728 bytes at offset 0 written from "));
}

TEST_F(StorageCli, BytesThatDoNotFitALineAreDumped) {
    fapi({"call", "sys_write_emmc", "misc", "0", "0123456789 ABCDE\x7f~\n"});
    EXPECT_EQ(fapi({"call", "sys_read_emmc", "misc", "0", "16"}).strOutput,
              "sys_read_emmc: 0 (ok)\n  data: 16 bytes: 30 31 32 33 34 35 36 37 38 39 20 41 42 43 44 45\n");
    EXPECT_EQ(fapi({"call", "sys_read_emmc", "misc", "0", "20"}).strOutput,
              "sys_read_emmc: 0 (ok)\n  data: 20 bytes\n"
              "00000000  30 31 32 33 34 35 36 37  38 39 20 41 42 43 44 45  |0123456789 ABCDE|\n"
              "00000010  7f 7e 0a ff                                       |.~..|\n");
    EXPECT_THAT(fapi({"call", "sys_read_emmc", "misc", "0", "1024"}).strOutput, Not(HasSubstr("more")));
    EXPECT_THAT(fapi({"call", "sys_read_emmc", "misc", "0", "5000"}).strOutput,
                HasSubstr("|................|\n... and 3976 more bytes; --output FILE takes them all\n"));
    const nlohmann::json json = fapiJson({"call", "sys_read_emmc", "misc", "0", "5000"});
    EXPECT_EQ(json["outputs"]["data"]["hex"].get<std::string>().size(), 10000u);
}

TEST_F(StorageCli, TheWatchdogEndsTheProcessThatHasTheSet) {
    expectImpossible({{"watch", "--do", "sys_set_wdt on"}, 1, std::string("fapi: ") + kRebooted + "\n"});
    const std::string strAwait = "set await-reboot 1";
    expectImpossible({{"watch", "--do", strAwait}, 2, "--do: " + strAwait + " ends the process that watches"});
    EXPECT_THAT(fapi({"set", "wdt"}).strOutput, HasSubstr("rebooted: 1\n")) << "the set has not forgotten";
}

TEST_F(StorageCli, TheShellGoesOnBehindAReboot) {
    const test::ProcessResult piped =
        fapi({"shell"}, "sys_set_wdt on\nset await-reboot\nset wdt\nset await-reboot 1\n");
    EXPECT_EQ(piped.s32Exit, 1) << "nothing reboots it a second time";
    EXPECT_THAT(piped.strError, HasSubstr(kRebooted));
    EXPECT_THAT(piped.strOutput,
                HasSubstr("set wdt: 0 (ok)\n  present: 1\n  seconds: 0\n  remaining: 0\n  rebooted: 1"));
    EXPECT_THAT(piped.strOutput, HasSubstr("the watchdog has not rebooted the set within 1 s"));

    // While a line is typed. What was typed of it is lost; Ctrl-C at the prompt clears the line, later it ends the
    // call.
    const test::ProcessResult typed =
        test::runOnTerminal({FAPI_BINARY, "--set", set(), "shell"}, {{"fapi> ", "sys_set_wdt on\r"},
                                                                     {"sys_set_wdt: 0 (ok)", "half a li"},
                                                                     {kRebooted, ""},
                                                                     {"fapi> ", "no line\x03sys_read_emmc fac\t0 4\r"},
                                                                     {"4 bytes: ff ff ff ff", ""},
                                                                     {"fapi> ", "set await-reboot 600\r"},
                                                                     {"await-reboot 600\r\n", ""},
                                                                     // Ctrl-C ends the line that runs.
                                                                     {test::kSilence, "\x03"},
                                                                     {"the call is ended", ""},
                                                                     {"fapi> ", "quit\r"}});
    EXPECT_EQ(typed.s32Exit, 0) << typed.strOutput;
}

TEST_F(StorageCli, APlanGoesOnBehindAnAwaitedRebootOnly) {
    EXPECT_THAT(verdicts("on-failure continue\n"
                         "step none\nsys_init\nset await-reboot 1\n"
                         "step awaited\nsys_get_wdt_status\nkeep zero status\n"
                         "sys_set_wdt on\nset await-reboot 1${zero}\n"
                         "teardown\nstep sudden\nsys_init\nsys_set_wdt on\nexpect no event 1 within 20s\n"
                         "step after\nset wdt\nexpect rebooted is 1\n"),
                ElementsAre(Pair("none", "failed"), Pair("awaited", "passed"), Pair("sudden", "died"),
                            Pair("after", "passed")));
    EXPECT_THAT(_result.strOutput, HasSubstr(kRebooted));
    const std::string strPlan = writeFile("test.plan", "plan p\nstep s\nset await-reboot 1\nexpect status ok\n");
    EXPECT_THAT(fapi({"check", strPlan}).strError,
                HasSubstr(":4:1: expect stands behind a reboot, which answers nothing"));
}

// Actions that no plan uses.
TEST_F(StorageCli, WhatAPersonDoesToTheChip) {
    const std::string strOutput =
        fapi({"shell"},
             "set net-interface wlan0 02:00:5E:00:53:02 down static\nset net-remove lo\nset net wlan0\n"
             "set net-remove lo\nset net-interface eth1 02:00\nset wdt-rebooted on\nset wdt\n"
             "set customer-hash hex:00112233445566778899aabbccddeeff\nset customer-hash\nset customer-hash hex:0011\n"
             "set data-index /data/i.ini\nset partition misc 4096\nset partitions\n"
             "set register 1 2 3\nset registers\nset rectangle 0 10 20 30 40\nset modules 0 17\n"
             "set needed ypbpr 0 1 2 3 4 5 6\n")
            .strOutput;
    for (const char* pszAnswer :
         {"wlan0 02:00:5E:00:53:02 static down\n  count: 2\n  mac: \"02:00:5E:00:53:02\"\n  up: 0\n",
          "error: \"lo: no such interface\"", "set net-interface: -1 (failed)", "rebooted: 1\n",
          "set customer-hash: 0 (ok)\n  hash: 16 bytes: 00 11 22 33 44 55 66 77 88 99 aa bb cc dd ee ff",
          "16 bytes, not 2", "path: \"/data/i.ini\"\n", "misc 4096 bytes\n", "0x1 0x2 = 0x3", "set rectangle: 0 (ok)\n",
          "set modules: 0 (ok)\n", "nothing is plugged into YPbPr 0"}) {
        EXPECT_THAT(strOutput, HasSubstr(pszAnswer));
    }
}

TEST_F(StorageCli, ThePlayerOpensEveryPart) {
    std::string strOn;
    for (const char* pszPart : {"window on 1", "capture on", "vga on", "ypbpr on", "scart on", "hdmi on 1", "vd on",
                                "tuner on 1", "audio-path on 3", "uart on 1", "adc on 2", "iic on 1", "pad on 9",
                                "pwm on 1", "cec on", "pm on", "flash on 1", "net on 1"}) {
        strOn += std::string("set player ") + pszPart + "\n";
    }
    const test::ProcessResult result = fapi({"shell"}, strOn + "set handles\nset player pad off 9\nset handles\n");
    EXPECT_EQ(result.s32Exit, 0) << result.strOutput;
    for (const char* pszHandle :
         {"HW_AOUT 3 ", "HW_CAP 0 ", "HW_CEC 0 ", "HW_DISP 1 ", "HW_DISP_CONTROLLER 0 ", "HW_DISPOUT 0 ", "HW_FLASH 1 ",
          "HW_IIC 1 ", "HW_NET 1 ", "HW_PM 0 ", "HW_PWM 1 ", "HW_SAR 2 ", "HW_TUNER 1 ", "HW_UART 1 "}) {
        EXPECT_THAT(result.strOutput, HasSubstr(pszHandle));
    }
    const std::size_t pad = result.strOutput.find("HW_GPIO 9 ");
    EXPECT_NE(pad, std::string::npos);
    EXPECT_EQ(result.strOutput.find("HW_GPIO 9 ", pad + 1), std::string::npos) << "closed again";
    EXPECT_EQ(fapi({"shell"}, "set player net on 7\n").s32Exit, 1);
}

}  // namespace
