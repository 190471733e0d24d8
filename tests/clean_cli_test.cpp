// SPDX-License-Identifier: Apache-2.0
// What runs leave on the disk of the PC: how much of it stays by itself, and what `fapi clean` removes.
#include <set>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/plan_fixture.h"
#include "support/results_fixture.h"

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::SizeIs;

namespace fs = std::filesystem;
using Strings = std::vector<std::string>;
using Names = std::set<std::string>;

class CleanCli : public test::PlanTest {
protected:
    void SetUp() override {
        PlanTest::SetUp();
        fs::create_directories(temporary());
        fs::create_directories(reports());
        setenv("TMPDIR", temporary().c_str(), 1);
        _strGood = writeFile("good.plan", "plan Good\nstep a\nsys_init\npicture shot\nrun sh -c 'echo attach " +
                                              writeFile("curve.csv", "1,2\n") + " >&3'\n");
        _strBad = writeFile("bad.plan", "plan Bad\nstep a\nsys_check_file /data/none\n");
    }
    void TearDown() override {
        unsetenv("TMPDIR");
        PlanTest::TearDown();
    }

    std::string temporary() const { return folder() + "/tmp"; }
    test::ProcessResult run(const std::string& strPlan, Strings words = {}) const {
        words.insert(words.begin(), {"run", "--report", reports(), strPlan});
        return fapi(words);
    }
    test::ProcessResult clean(Strings words = {}) const {
        words.insert(words.begin(), {"-y", "clean", "--report", reports()});
        return fapi(words);
    }
    // Everything there is, without what lies in folders that begin with fapi-set-.
    Names everything() const {
        Names found;
        for (auto entry = fs::recursive_directory_iterator(folder()); entry != fs::recursive_directory_iterator();
             ++entry) {
            found.insert(entry->path().string());
            if (entry->path().filename().string().rfind("fapi-set-", 0) == 0) {
                entry.disable_recursion_pending();
            }
        }
        return found;
    }
    static Names without(Names all, const Names& removed) {
        for (const std::string& strName : removed) {
            EXPECT_EQ(all.erase(strName), 1u) << strName;
        }
        return all;
    }
    Names setsIn() const {
        Names found;
        for (const auto& entry : fs::directory_iterator(temporary())) {
            found.insert(entry.path().string());
        }
        return found;
    }
    Names reportFiles(const Names& extensions) const {
        Names found;
        for (const auto& entry : fs::directory_iterator(reports())) {
            if (extensions.count(entry.path().extension().string()) != 0) {
                found.insert(entry.path().string());
            }
        }
        return found;
    }

    std::string _strGood, _strBad;
};

TEST_F(CleanCli, ReportsLeaveWithTheHistory) {
    EXPECT_EQ(run(_strGood).s32Exit, 0);
    const std::string strStem = fs::path(reportFile(".json")).replace_extension().string();
    const Names foreign = {strStem + "-mine.png", strStem + ".txt", reports() + "/other.html"};
    for (const std::string& strFile : foreign) {
        std::ofstream(strFile) << "mine";
    }
    EXPECT_EQ(run(_strGood, {"--repeat", "4", "--keep", "3"}).s32Exit, 0);
    EXPECT_THAT(reportFiles({".xml", ".json"}), SizeIs(6));
    EXPECT_THAT(reportFiles({".html", ".png", ".csv"}), SizeIs(9 + 2));
    EXPECT_THAT(everything(), IsSupersetOf(foreign));
    // A report that has just been written stays, even without a notice.
    EXPECT_EQ(run(_strGood, {"--keep", "0"}).s32Exit, 0);
    EXPECT_THAT(reportFiles({".json"}), SizeIs(1));
}

TEST_F(CleanCli, LimitsSayWhichRunsAreForgottenButNoneThatWaits) {
    const std::tuple<Strings, std::set<int>> rows[] = {
        {{}, {1, 2, 3, 4, 5, 6}},
        {{"--keep-runs", "3"}, {2, 4, 5, 6}},
        {{"--keep-runs", "0"}, {2, 6}},
        {{"--keep-days", "2"}, {2, 5, 6}},
        {{"--keep-bytes", "2500"}, {2, 4, 5, 6}},
        {{"--keep-bytes", "9000", "--keep-days", "5", "--keep-runs", "4"}, {2, 3, 4, 5, 6}},
        {{"--keep-runs", "3", "--dry-run"}, {1, 2, 3, 4, 5, 6}},
    };
    for (const auto& [words, stay] : rows) {
        SCOPED_TRACE(testing::PrintToString(words));
        fs::remove_all(reports());
        fs::create_directories(reports());
        std::vector<tool::WholeRun> runs;
        for (int i = 0; i < 6; ++i) {
            tool::RunRecord& run = runs.emplace_back(test::sampleRun("Line 1", i, 1)).run;
            // The last one began an hour less than a day ago.
            run.began = tool::utcText(std::chrono::system_clock::now() - std::chrono::hours(24 * (6 - i) - 1));
            run.report = "line-20260101-00000" + std::to_string(i + 1);
            std::ofstream(reports() + "/" + run.report + ".json") << std::string(1000, ' ');
        }
        tool::ResultsStore store(reports() + "/results.sqlite");
        store.addWhole(runs);
        tool::runOnce(store.database(), "delete from outbox where run <> :a", {runs[1].run.id});
        store.database().execute("insert into feed values ('service=line', '', '')");
        EXPECT_EQ(clean(words).s32Exit, 0);
        std::set<int> known, files;
        for (const nlohmann::json& json :
             test::objectsOf(fapi({"history", "--report", reports(), "--json"}).strOutput)) {
            known.insert(json["number"].get<int>());
        }
        for (const std::string& strFile : reportFiles({".json"})) {
            files.insert(strFile[strFile.size() - std::string("1.json").size()] - '0');
        }
        EXPECT_EQ(known, stay);
        EXPECT_EQ(files, stay);
    }
}

TEST_F(CleanCli, TemporarySetsOfFailedRunsAreFew) {
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(run(_strBad, {"--fresh"}).s32Exit, 1);
        EXPECT_EQ(run(_strGood, {"--fresh"}).s32Exit, 0);
    }
    EXPECT_THAT(setsIn(), SizeIs(5));
}

TEST_F(CleanCli, TemporarySetsHaveLimitsOfTheirOwn) {
    EXPECT_EQ(run(_strBad, {"--fresh", "--repeat", "4"}).s32Exit, 1);
    const Names sets = setsIn();
    ASSERT_THAT(sets, SizeIs(4));
    const timespec old[2] = {{time(nullptr) - 10 * 24 * 60 * 60, 0}, {time(nullptr) - 10 * 24 * 60 * 60, 0}};
    EXPECT_EQ(utimensat(AT_FDCWD, sets.begin()->c_str(), old, 0), 0);
    const std::string strStation = writeFile("station.ini", "[results]\nkeep-days = 9\n");
    const std::pair<Strings, std::size_t> rows[] = {
        {{"--dry-run"}, 0},
        {{"--dry-run", "--keep-days", "9"}, 1},
        {{"--dry-run", "--station", strStation}, 1},
        {{"--dry-run", "--keep-sets", "1"}, 3},
        {{"--dry-run", "--keep-bytes", "1"}, 4 + 3},
        {{"--keep-sets", "2", "--json"}, 2},
    };
    for (const auto& [words, removed] : rows) {
        EXPECT_THAT(clean(words).strOutput, testing::ContainsRegex((words.back() == "--json" ? "\"removed\":" : "\n") +
                                                                   std::to_string(removed)));
    }
    EXPECT_THAT(setsIn(), SizeIs(2));
}

TEST_F(CleanCli, RemovesWhatItSaysAndNothingElse) {
    // Files that no run made: a set of the user's, one reached by a link, and files with similar names.
    const std::string strOwn = temporary() + "/fapi-set-mine01";
    EXPECT_EQ(test::runProcess({FAPI_BINARY, "--set", strOwn, "set", "create"}).s32Exit, 0);
    EXPECT_EQ(run(_strBad, {"--fresh"}).s32Exit, 1);
    const std::string strUsed = *std::prev(without(setsIn(), {strOwn}).end());
    fs::rename(strUsed, folder() + "/elsewhere");
    fs::create_directory_symlink(folder() + "/elsewhere", strUsed);
    std::ofstream(reports() + "/scan-20260101-000000.json") << R"({"plan": 1})";
    std::ofstream(reports() + "/scan-20260101-000000.xml") << "<testsuites/>";

    const Names foreign = setsIn();
    EXPECT_EQ(run(_strBad, {"--fresh", "--repeat", "2"}).s32Exit, 1);
    const Names sets = without(setsIn(), foreign);
    // A run that was killed, and a report that the history does not know.
    const std::string strKilled = reports() + "/bad-20260101-000000";
    std::ofstream(strKilled + ".json") << "";
    std::ofstream(strKilled + ".unfinished")
        << R"({"plan":"p","hash":"","faults":"","set":")" << *sets.begin() << R"(/set","fresh":true})"
        << "\n";
    EXPECT_EQ(run(_strGood, {"--keep", "0"}).s32Exit, 0);
    fs::remove(reports() + "/results.sqlite");
    const std::string strStem = fs::path(*reportFiles({".png"}).begin()).replace_extension().string();
    const std::string strForgotten = strStem.substr(0, strStem.size() - std::string("-shot").size());
    const Names forgotten = {strForgotten + ".json", strForgotten + ".xml", strForgotten + ".html",
                             strForgotten + "-curve.csv", strStem + ".png"};
    const Names killed = {strKilled + ".json", strKilled + ".unfinished"};
    EXPECT_EQ(run(_strGood).s32Exit, 0);
    const Names before = everything();

    const auto told = [this](const Strings& words) {
        Names paths;
        for (const nlohmann::json& json : test::objectsOf(clean(words).strOutput)) {
            if (json.contains("path") && json.contains("bytes")) {
                paths.insert(json["path"].get<std::string>());
            }
        }
        return paths;
    };
    Names all = sets;
    all.insert({strKilled + ".unfinished", strForgotten});
    EXPECT_EQ(told({"--dry-run", "--json"}), Names({strForgotten}));
    EXPECT_EQ(told({"--dry-run", "--json", "--all"}), all);
    EXPECT_EQ(everything(), before) << "nothing is removed by a dry run";

    EXPECT_EQ(told({"--json"}), Names({strForgotten}));
    EXPECT_EQ(everything(), without(before, forgotten)) << "the newest sets stay, and what can be resumed";

    const int s32Lock = open((*sets.rbegin() + "/fapi-run.lock").c_str(), O_RDONLY);
    EXPECT_EQ(flock(s32Lock, LOCK_EX), 0);
    const test::ProcessResult result = clean({"--all"});
    close(s32Lock);
    EXPECT_THAT(result.strOutput, HasSubstr("set " + *sets.rbegin() + ": stays, in use\n"));
    EXPECT_THAT(result.strOutput, HasSubstr("\n2 removed, "));
    EXPECT_EQ(everything(), without(without(without(before, forgotten), {*sets.begin()}), killed));
    EXPECT_TRUE(fs::exists(folder() + "/elsewhere/set/set.json")) << "links are not followed";
}

}  // namespace
