// SPDX-License-Identifier: Apache-2.0
// A disk of the PC that gets full: the trouble is reported as such, and nothing half done stays.
#include <fstream>
#include <thread>

#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/plan_fixture.h"
#include "support/waiting.h"

namespace {

using testing::HasSubstr;

namespace fs = std::filesystem;
using Strings = std::vector<std::string>;

// Has a disk of 64 MiB that only this process and its children see.
class FullDisk : public test::PlanTest {
protected:
    void SetUp() override {
        PlanTest::SetUp();
        fs::create_directories(disk());
        if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            mount("tmpfs", disk().c_str(), "tmpfs", 0, "size=64m") != 0) {
            GTEST_SKIP() << "no private file system can be mounted here";
        }
    }
    void TearDown() override {
        umount2(disk().c_str(), MNT_DETACH);
        PlanTest::TearDown();
    }

    std::string disk() const { return folder() + "/disk"; }
    // Fills the disk except for so many KiB.
    void fill(std::uintmax_t kibibytes) const {
        const std::string strFile = disk() + "/filler";
        fs::remove(strFile);
        std::ofstream(strFile) << std::string(fs::space(disk()).available - kibibytes * 1024, 'x');
        ASSERT_EQ(fs::space(disk()).available, kibibytes * 1024);
    }
    // Leaves room for so many more files.
    void limitFiles(std::uintmax_t files) const {
        struct statvfs stDisk = {};
        ASSERT_EQ(statvfs(disk().c_str(), &stDisk), 0);
        const std::string strOptions = "size=64m,nr_inodes=" + std::to_string(stDisk.f_files - stDisk.f_ffree + files);
        ASSERT_EQ(mount("none", disk().c_str(), "tmpfs", MS_REMOUNT, strOptions.c_str()), 0);
    }
    Strings files(const std::string& strFolder) const {
        Strings found;
        for (const auto& entry : fs::recursive_directory_iterator(strFolder)) {
            if (entry.path().filename() != "filler") {
                found.push_back(entry.path().lexically_relative(strFolder).string());
            }
        }
        return found;
    }
    test::ProcessResult run(const std::string& strReports, const std::string& strPlan) const {
        return fapi({"run", "--report", strReports, writeFile("p.plan", "plan P\n" + strPlan)});
    }
    // The disk is full from when the plan's last step runs: "set get" reads a pipe meanwhile.
    test::ProcessResult runAndFill(const std::string& strReports, const std::string& strPlan, std::uintmax_t kibibytes,
                                   const std::string& strRest = "") const {
        const std::string strData = set() + "/tree/data/";
        fs::remove(disk() + "/filler");
        fs::remove_all(set());
        EXPECT_EQ(fapi({"set", "create"}).s32Exit, 0);
        EXPECT_EQ(mkfifo((strData + "go").c_str(), 0600), 0);
        std::thread filler([&] {
            test::eventually([&] { return fs::exists(strData + "ready"); }, std::chrono::seconds(60));
            // What has ended before is stored by then.
            const std::vector<std::string> show = {FAPI_BINARY, "history",  "show",    "last",
                                                   "--json",    "--report", strReports};
            test::eventually([&] {
                const auto run = nlohmann::json::parse(test::runProcess(show).strOutput, nullptr, false);
                return run.is_object() && run.contains("steps") && run["steps"].size() == 1;
            });
            fill(kibibytes);
            std::ofstream(strData + "go") << "go";
        });
        const test::ProcessResult result =
            run(strReports, strPlan + "step full\nset put /data/ready x\nset get /data/go\n" + strRest);
        filler.join();
        return result;
    }
    std::string reportIn(const std::string& strFolder, const char* pszExtension) const {
        for (const std::string& strFile : files(strFolder)) {
            if (fs::path(strFile).extension() == pszExtension) {
                return readFile(strFolder + "/" + strFile);
            }
        }
        return "";
    }
};

TEST_F(FullDisk, ASetIsMadeAsAWholeOrNotAtAll) {
    const std::string strSet = disk() + "/a/set";
    for (const std::uintmax_t kibibytes : {0u, 4u, 32u, 64u, 72u}) {
        for (const bool bExists : {false, true}) {
            SCOPED_TRACE(std::to_string(kibibytes) + (bExists ? " KiB, there is a folder" : " KiB"));
            if (bExists) {
                fs::create_directories(strSet);
            }
            fill(kibibytes);
            const test::ProcessResult result = test::runProcess({FAPI_BINARY, "--set", strSet, "set", "create"});
            EXPECT_EQ(result.s32Exit, 3);
            EXPECT_THAT(result.strError, HasSubstr("fapi: " + strSet + ": no set could be made: " + strSet));
            EXPECT_THAT(result.strError, HasSubstr("No space left on device"));
            EXPECT_THAT(files(disk()), bExists ? Strings({"a", "a/set"}) : Strings());
            fs::remove_all(disk() + "/a");
        }
    }
    fill(200);
    EXPECT_EQ(test::runProcess({FAPI_BINARY, "--set", strSet, "set", "power-cycle"}).s32Exit, 0);
}

// The JSON report is the largest of these, and the page the last.
TEST_F(FullDisk, EachReportIsTriedAndWhatCouldBeWrittenIsWhole) {
    const std::string strPlan = "step a\nsys_init\nset put /data/f repeat:40000:x\nsys_read_file /data/f 40000\n";
    const struct {
        std::uintmax_t kibibytes;
        bool json, html;
    } rows[] = {{0, false, false}, {64, false, true}, {400, true, true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.kibibytes);
        const std::string strReports = disk() + "/reports" + std::to_string(row.kibibytes);
        const test::ProcessResult result = runAndFill(strReports, strPlan, row.kibibytes);
        EXPECT_EQ(result.s32Exit, row.json ? 0 : 3) << result.strError;
        EXPECT_THAT(result.strOutput, HasSubstr("2 passed, 0 marginal, 0 failed, 0 not run"));
        EXPECT_EQ(nlohmann::json::accept(reportIn(strReports, ".json")), row.json);
        EXPECT_EQ(reportIn(strReports, ".html").find("</html>") != std::string::npos, row.html);
        EXPECT_EQ(result.strError.find("fapi: the disk is full: " + strReports) != std::string::npos, !row.json);
        for (const std::string& strFile : files(strReports)) {
            const bool bEmpty = fs::file_size(strReports + "/" + strFile) == 0;
            EXPECT_TRUE(!bEmpty || strFile.find("sqlite-wal") != std::string::npos) << strFile;
        }
        // What was reported as stored is there; a run without room for its end is an interrupted one.
        fs::remove(disk() + "/filler");
        const std::string strVerdict = fapiJson({"history", "show", "last", "--report", strReports})["verdict"].dump();
        EXPECT_EQ(strVerdict,
                  result.strError.find("results.sqlite") == std::string::npos ? "\"passed\"" : "\"interrupted\"");
    }
}

TEST_F(FullDisk, APictureThatCannotBeStoredIsNoFailureOfTheUnit) {
    const test::ProcessResult result = runAndFill(disk() + "/reports", "step a\nsys_init\n", 24, "picture shot\n");
    EXPECT_EQ(result.s32Exit, 3);
    const std::string strNote = "picture shot is not stored: the disk is full: " + disk() + "/reports/p-";
    EXPECT_THAT(result.strError, HasSubstr("fapi: " + strNote));
    const auto report = nlohmann::json::parse(reportIn(disk() + "/reports", ".json"));
    EXPECT_EQ(report["steps"][1]["verdict"], "passed");
    EXPECT_THAT(report["notes"].dump(), HasSubstr(strNote));
    EXPECT_EQ(reportIn(disk() + "/reports", ".png"), "");
}

// An answer of the middleware that a full disk causes says nothing about the unit.
TEST_F(FullDisk, TheSetsOwnDiskIsAnErrorOfTheStation) {
    fs::create_directory_symlink(disk() + "/set", set());
    EXPECT_EQ(test::runProcess({FAPI_BINARY, "--set", disk() + "/set", "set", "power-cycle"}).s32Exit, 0);
    // A line, and the file of the set that it writes.
    const struct {
        std::string strLine;
        const char* pszFile;
        bool bNoFiles = false;
    } rows[] = {
        {"sys_set_emmc_env_var serial X", "env/emmc.img.new"},
        {"sys_write_emmc misc 0 X\nexpect status failed", "partitions/misc.img.new"},
        {"sys_copy_file /data/large /data/copy", "tree/data/copy"},
        {"set put /data/other repeat:9000:x", "tree/data/other"},
        {"sys_copy_file /data/large /data/copy\nsys_copy_file /data/large /data/third", "tree/data/third", true},
    };
    std::ofstream(disk() + "/set/tree/data/large") << std::string(9000, 'x');
    for (const auto& [strLine, pszFile, bNoFiles] : rows) {
        SCOPED_TRACE(strLine);
        // Switching on stores a file.
        fill(bNoFiles ? 100 : 4);
        limitFiles(bNoFiles ? 1 : 1000);
        const test::ProcessResult result = run(reports(), "step a\nsys_init\n" + strLine + "\n");
        EXPECT_EQ(result.s32Exit, 3);
        const std::string strText = std::string("the disk of the virtual set is full: .*/set/") + pszFile;
        EXPECT_EQ(reportedVerdicts(), Strings{"error"});
        EXPECT_THAT(stepText(0), testing::ContainsRegex(strText));
        EXPECT_THAT(readFile(reportFile(".xml")), HasSubstr(R"(failures="0" errors="1")"));
        EXPECT_EQ(fapiJson({"history", "show", "last", "--report", reports()})["verdict"], "error");
        fs::remove_all(reports());
        fs::remove(disk() + "/set/tree/data/copy");
        fs::remove(disk() + "/set/tree/data/other");
    }
    limitFiles(1000);
    fill(4);
    expectImpossible({{"call", "sys_set_emmc_env_var", "serial", "X"}, 3, "the disk of the virtual set is full: "});
    expectImpossible({{"partition", "write", "misc", writeFile("x", "x")}, 3, "the disk of the virtual set is full: "});
    fill(100);
    EXPECT_EQ(fapi({"-y", "call", "sys_set_emmc_env_var", "serial", "X"}).s32Exit, 0);
}

// A partition of the set is larger than the disk.
TEST_F(FullDisk, WhatARepairHasMendedBeforeIsListed) {
    ASSERT_EQ(mount("none", disk().c_str(), "tmpfs", MS_REMOUNT, "size=1m"), 0);
    const std::string strSet = disk() + "/set";
    const auto tool = [&](Strings words) {
        words.insert(words.begin(), {FAPI_BINARY, "--set", strSet, "--yes"});
        return test::runProcess(words);
    };
    ASSERT_EQ(tool({"set", "create"}).s32Exit, 0);
    fs::create_directory(strSet + "/partitions");
    std::ofstream(strSet + "/partitions/misc.img") << "keys";
    std::ofstream(strSet + "/env/nand.img") << "rubbish";
    const test::ProcessResult result = tool({"set", "repair"});
    EXPECT_EQ(result.s32Exit, 3);
    EXPECT_THAT(result.strOutput, testing::StartsWith("env/nand.img: "));
    EXPECT_THAT(result.strOutput, HasSubstr("what was damaged is in " + strSet + "/damaged-"));
    EXPECT_THAT(result.strError, HasSubstr("No space left on device"));
    // Who goes on all the same is told with what.
    const test::ProcessResult damaged = tool({"--damaged", "call", "common_get_fapi_status"});
    EXPECT_EQ(damaged.s32Exit, 0);
    EXPECT_THAT(damaged.strError, HasSubstr("partitions/misc.img"));
}

}  // namespace
