// SPDX-License-Identifier: Apache-2.0
// The station's file of results: what is reported as stored stays, whatever happens to the process and the disk.
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <thread>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include "record/identity.h"
#include "record/results_writer.h"
#include "record/run_search.h"
#include "support/results_fixture.h"
#include "support/waiting.h"

namespace {

using testing::HasSubstr;
using namespace std::chrono_literals;
using namespace tool;

// --- What SQLite asks of the system ----------------------------------------------------------------------------------

int _callsLeft = -1;  // until something happens; negative: nothing ever does
bool _kills = false;  // the process, in the middle of a write; otherwise the disk is full from then on

bool isOver() {
    if (_callsLeft < 0) {
        return false;
    }
    _callsLeft = std::max(0, _callsLeft - 1);
    return _callsLeft == 0;
}

ssize_t pwriteOrNot(int file, const void* bytes, size_t size, off_t offset) {
    if (!isOver()) {
        return pwrite(file, bytes, size, offset);
    }
    if (_kills) {
        static_cast<void>(!pwrite(file, bytes, size / 2, offset));
        raise(SIGKILL);
    }
    errno = ENOSPC;
    return -1;
}

ssize_t writeOrNot(int file, const void* bytes, size_t size) {
    if (!isOver()) {
        return write(file, bytes, size);
    }
    if (_kills) {
        static_cast<void>(!write(file, bytes, size / 2));
        raise(SIGKILL);
    }
    errno = ENOSPC;
    return -1;
}

int truncateOrNot(int file, off_t size) {
    if (!isOver()) {
        return ftruncate(file, size);
    }
    if (_kills) {
        raise(SIGKILL);
    }
    errno = ENOSPC;
    return -1;
}

int unlinkOrNot(const char* file) {
    if (_kills && isOver()) {
        raise(SIGKILL);
    }
    return unlink(file);
}

template <class Function>
sqlite3_syscall_ptr pointerOf(Function function) {
    return reinterpret_cast<sqlite3_syscall_ptr>(function);
}

void interfereAfter(int calls, bool kills) {
    sqlite3_vfs* files = sqlite3_vfs_find(nullptr);
    ASSERT_EQ(files->xSetSystemCall(files, "pwrite", pointerOf(pwriteOrNot)), SQLITE_OK);
    ASSERT_EQ(files->xSetSystemCall(files, "pwrite64", pointerOf(pwriteOrNot)), SQLITE_OK);
    ASSERT_EQ(files->xSetSystemCall(files, "write", pointerOf(writeOrNot)), SQLITE_OK);
    ASSERT_EQ(files->xSetSystemCall(files, "ftruncate", pointerOf(truncateOrNot)), SQLITE_OK);
    ASSERT_EQ(files->xSetSystemCall(files, "unlink", pointerOf(unlinkOrNot)), SQLITE_OK);
    _kills = kills;
    _callsLeft = calls;
}

// --- Tests -----------------------------------------------------------------------------------------------------------

using ResultsStoreTest = test::ResultsTest;

// The child says what it has been told is stored: 'b' for the begin, 's' for a step, 'e' for the end of a run.
void storeTwoRuns(const std::string& file, const std::function<void(char)>& report) {
    ResultsStore store(file);
    for (int i = 0; i < 2; ++i) {
        WholeRun whole = test::sampleRun("Line 1", i, 3);
        store.begin(whole.run);
        report('b');
        store.add({whole.parts});
        report('s');
        store.end(whole.run, {});
        report('e');
    }
}

struct Stored {
    long long runs, measurements, ended, out;
};

Stored storedIn(const std::string& file) {
    ResultsStore store(file);
    const auto count = [&](const char* what) {
        return findNumber(store.database(), std::string("select count(*) from ") + what).value_or(-1);
    };
    EXPECT_EQ(count("pragma_integrity_check where integrity_check <> 'ok'"), 0);
    EXPECT_EQ(count("run where verdict is null"), 0) << "a run that died has been interrupted";
    return {count("run"), count("measurement"), count("run where verdict = 'passed'"), count("outbox")};
}

TEST_F(ResultsStoreTest, NothingReportedIsLostWhenItIsKilledAtAnyWrite) {
    int survived = 0;
    for (int calls = 1; survived == 0; ++calls) {
        SCOPED_TRACE(calls);
        const std::string strFile = freshFile();
        const std::string strReports = folder() + "/reports-of-child";
        std::ofstream(strReports).close();
        const int s32Exit = test::runInChild([&] {
            const int reports = open(strReports.c_str(), O_WRONLY | O_APPEND);
            interfereAfter(calls, true);
            storeTwoRuns(strFile, [&](char what) { static_cast<void>(!write(reports, &what, 1)); });
        });
        survived = s32Exit == 0 ? calls : 0;
        ASSERT_THAT(s32Exit, testing::AnyOf(0, 128 + SIGKILL));
        const std::string strReported = readFile(strReports);
        const Stored stored = storedIn(strFile);
        EXPECT_GE(stored.runs, std::count(strReported.begin(), strReported.end(), 'b'));
        EXPECT_GE(stored.measurements, 3 * std::count(strReported.begin(), strReported.end(), 's'));
        EXPECT_GE(stored.ended, std::count(strReported.begin(), strReported.end(), 'e'));
        EXPECT_EQ(stored.measurements % 3, 0) << "no half of what belongs together";
        EXPECT_EQ(stored.out, stored.runs) << "each of them is sent, once";
        if (HasFailure()) {
            return;
        }
    }
    EXPECT_GT(survived, 40) << "there were writes to be killed at";
}

TEST_F(ResultsStoreTest, AFullDiskIsSaidInOneLineAndCostsNothingThatWasStored) {
    bool isFull = true;
    for (int calls = 1; isFull; calls += 3) {
        SCOPED_TRACE(calls);
        const std::string strFile = freshFile();
        std::string strReported, strError;
        interfereAfter(calls, false);
        try {
            storeTwoRuns(strFile, [&](char what) { strReported += what; });
            isFull = false;
        } catch (const ResultsError& error) {
            strError = error.what();
        }
        _callsLeft = -1;
        if (isFull) {
            EXPECT_THAT(strError, HasSubstr(strFile));
            EXPECT_THAT(strError, HasSubstr("full"));
            EXPECT_THAT(strError, testing::Not(HasSubstr("\n")));
        }
        EXPECT_EQ(test::runInChild([&] {
                      // Of another process, so that the runs of this one count as ended.
                      ResultsStore store(strFile);
                      const long long runs = findNumber(store.database(), "select count(*) from run").value_or(-1);
                      _exit(runs >= std::count(strReported.begin(), strReported.end(), 'b') ? 0 : 1);
                  }),
                  0);
        if (HasFailure()) {
            return;
        }
    }
}

// There is room again before the run ends.
TEST_F(ResultsStoreTest, TheWriterStoresLaterWhatItCouldNotStoreAtOnce) {
    const std::string strFile = freshFile();
    WholeRun whole = test::sampleRun("Line 1", 0, 3);
    ResultsWriter writer(strFile);
    writer.begin(whole.run);
    interfereAfter(1, false);
    writer.add(whole.parts);
    std::this_thread::sleep_for(300ms);
    _callsLeft = -1;
    writer.end(whole.run);
    EXPECT_EQ(storedIn(strFile).measurements, 3);
}

TEST_F(ResultsStoreTest, TheWriterIsHardlyBehindTheRun) {
    const std::string strFile = freshFile();
    WholeRun whole = test::sampleRun("Line 1", 0, 3);
    ResultsWriter writer(strFile);
    writer.begin(whole.run);
    Database reader(strFile, Access::read);
    writer.add(whole.parts);
    EXPECT_TRUE(test::eventually([&] { return findNumber(reader, "select count(*) from measurement") == 3; }, 200ms));
    writer.end(whole.run);
}

TEST_F(ResultsStoreTest, FilesThatCannotBeUsedAreNamedInOneLine) {
    const auto spoiltFile = [&](const std::string& statement) {
        const std::string strFile = freshFile();
        ResultsStore store(strFile);
        store.database().execute(statement);
        return strFile;
    };
    const auto foreign = [&] {
        const std::string strFile = freshFile();
        Database(strFile, Access::write).execute("create table other (a text)");
        return strFile;
    };
    const auto damaged = [&](std::size_t from) {
        const std::string strFile = spoiltFile("pragma wal_checkpoint(truncate)");
        std::string strBytes = readFile(strFile);
        std::fill(strBytes.begin() + static_cast<std::ptrdiff_t>(from), strBytes.end(), '\x55');
        std::ofstream(strFile) << strBytes;
        return strFile;
    };
    const std::pair<std::string, const char*> rows[] = {
        {damaged(0), "is damaged, or holds no results"},
        {damaged(1000), "is damaged, or holds no results"},
        {writeFile("text.sqlite", "no database at all, but long enough to be taken for one by its first bytes"),
         "is damaged, or holds no results"},
        {foreign(), "holds no results of this bench"},
        {spoiltFile("insert into schema_version (version) values (99)"), "was made by a newer bench (version 99"},
        {folder() + "/none/results.sqlite", "cannot be opened"},
    };
    for (const auto& [strFile, pszError] : rows) {
        const std::string strBefore = readFile(strFile);
        try {
            ResultsStore store(strFile);
            ADD_FAILURE() << pszError;
        } catch (const ResultsError& error) {
            EXPECT_THAT(error.what(), testing::StartsWith(strFile + ": " + pszError));
            EXPECT_THAT(error.what(), testing::Not(HasSubstr("\n")));
        }
        EXPECT_EQ(readFile(strFile), strBefore) << "it stays as it is";
    }
}

TEST_F(ResultsStoreTest, AFileThatIsLockedIsWaitedForAndThenNamed) {
    const std::string strFile = freshFile();
    ResultsStore store(strFile);
    WholeRun whole = test::sampleRun("Line 1", 0, 1);
    Database other(strFile, Access::write);
    {
        const Transaction turn(other);
        try {
            store.begin(whole.run);
            ADD_FAILURE();
        } catch (const ResultsError& error) {
            EXPECT_EQ(error.what(), strFile + ": is locked by another program");
        }
    }
    store.begin(whole.run);
    store.end(whole.run, {});
}

TEST_F(ResultsStoreTest, AnOlderFileIsMigratedBehindACopy) {
    const std::string strFile = freshFile();
    {
        ResultsStore store(strFile);
        store.addWhole({test::sampleRun("Line 1", 0, 3)});
        for (const char* pszView : {"run_overview", "yield_by_day", "failing_steps", "final_measurement"}) {
            store.database().execute(std::string("drop view ") + pszView);
        }
        for (const char* pszColumn :
             {"run drop skipped", "run drop in_calls", "run drop in_waits", "attachment drop kind"}) {
            store.database().execute(std::string("alter table ") + pszColumn);
        }
        store.database().execute("insert into attachment select id, 0, 0, 'curve', '', 'line-curve.csv', 4 from run");
        store.database().execute("delete from schema_version where version > 1");
    }
    ResultsStore store(strFile);
    EXPECT_EQ(findNumber(store.database(), "select count(*) from final_measurement"), 3);
    EXPECT_EQ(findNumber(store.database(), "select 1 from attachment where kind = 'attached'"), 1);
    Database copy(strFile + ".version-1", Access::read);
    EXPECT_EQ(findNumber(copy, "select max(version) from schema_version"), 1);
    EXPECT_EQ(findNumber(copy, "select count(*) from measurement"), 3);
}

TEST_F(ResultsStoreTest, AUnitIsInOneRunOfAStationAtATime) {
    const std::string strFile = freshFile();
    ResultsStore store(strFile);
    WholeRun first = test::sampleRun("Line 1", 0, 1), second = test::sampleRun("Line 1", 0, 1);
    store.begin(first.run);
    EXPECT_EQ(first.run.attempt, 1);
    try {
        store.begin(second.run);
        ADD_FAILURE();
    } catch (const UnitIsBusy& error) {
        EXPECT_THAT(error.what(), HasSubstr("is in run 1 ("));
    }
    store.end(first.run, {});
    store.begin(second.run);
    EXPECT_EQ(second.run.number, 2);
    EXPECT_EQ(second.run.attempt, 2);
    store.remove(second.run.id);
}

// Texts of any kind come back as they were, but for what no database takes.
TEST_F(ResultsStoreTest, TextsAreDataWhateverTheySay) {
    const std::pair<std::string, std::string> rows[] = {
        {"'; DROP TABLE run; --", "'; DROP TABLE run; --"},
        {":a :b $1 ?", ":a :b $1 ?"},
        {std::string(5 << 20, 'x'), std::string(5 << 20, 'x')},
        {std::string("a\0b", 3), "a\\x00b"},
        {"\xff", "\\xff"},
        {"Prüfling \xf0\x9f\x93\xba", "Prüfling \xf0\x9f\x93\xba"},
    };
    for (const auto& [strGiven, strStored] : rows) {
        ResultsStore store(freshFile());
        WholeRun whole = test::sampleRun("Line 1", 0, 1);
        whole.run.unit = strGiven;
        whole.parts.measurements[0].value.reset();
        whole.parts.measurements[0].text = strGiven;
        store.addWhole({whole});
        const RunRecord run = findRun(store.database(), "last");
        EXPECT_TRUE(run.unit == strStored) << strStored.substr(0, 40);
        const RunParts parts = readParts(store.database(), run.id);
        EXPECT_TRUE(parts.measurements[0].text == strStored);
        EXPECT_EQ(parts.measurements[0].value, std::nullopt);
        EXPECT_EQ(parts.measurements[0].low, whole.parts.measurements[0].low);
    }
}

// A process of the same number and age may run after the PC has started again.
TEST_F(ResultsStoreTest, ARunOfAPcThatWentDownIsInterruptedOnce) {
    const std::string strFile = freshFile();
    WholeRun whole = test::sampleRun("Line 1", 0, 3);
    whole.run.verdict.reset();
    whole.run.ended.reset();
    whole.run.passed = 0;
    {
        ResultsStore store(strFile);
        store.begin(whole.run);
        store.add({whole.parts});
        store.database().execute("update active set started = 'before' || substr(started, instr(started, ' '))");
    }
    for (int i = 0; i < 2; ++i) {
        const std::unique_ptr<Database> database = openResults(strFile, "");
        const std::vector<RunRecord> runs = readRows<RunRecord>(*database, "", {});
        ASSERT_EQ(runs.size(), 1u);
        EXPECT_EQ(runs[0].verdict, "interrupted");
        EXPECT_EQ(runs[0].passed, 1);
        EXPECT_EQ(runs[0].ended, runs[0].began) << "the last that is known of it";
        EXPECT_EQ(findNumber(*database, "select count(*) from outbox"), 1);
        EXPECT_EQ(findNumber(*database, "select count(*) from active"), 0);
    }
}

TEST_F(ResultsStoreTest, RunIdsSortByTimeAndNeverRepeat) {
    const auto now = std::chrono::system_clock::now();
    EXPECT_LT(newRunId(now), newRunId(now + 1ms));
    EXPECT_NE(newRunId(now), newRunId(now));
    EXPECT_THAT(newRunId(now),
                testing::MatchesRegex("[0-9a-f]{8}-[0-9a-f]{4}-7[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}"));
    EXPECT_EQ(newRunId(WallTime(1645557742000ms)).substr(0, 14), "017f22e2-79b0-");
}

}  // namespace
