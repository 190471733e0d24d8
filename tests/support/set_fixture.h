// SPDX-License-Identifier: Apache-2.0
// A set of its own for each test: a fresh folder, attached and switched on, and gone afterwards.
#ifndef TESTS_SUPPORT_SET_FIXTURE_H
#define TESTS_SUPPORT_SET_FIXTURE_H

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "actions/contract_refusals.h"
#include "support/emulation.h"
#include "vset/vset.h"

namespace test {

// Reads a file of the PC; a missing one as an empty one.
inline std::string readFile(const std::string& strFile) {
    const vset::HostPaths hostPaths;
    std::ifstream file(strFile, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void writeFile(const std::string& strFile, const std::string& strBytes) {
    const vset::HostPaths hostPaths;
    std::filesystem::create_directories(std::filesystem::path(strFile).parent_path());
    std::ofstream file(strFile, std::ios::binary);
    file << strBytes;
    EXPECT_TRUE(file.flush()) << strFile;
}

class SetTest : public ::testing::Test {
protected:
    static constexpr const char* kAnyCall = "";

    void SetUp() override {
        std::string strFolder = ::testing::TempDir() + "/vset-XXXXXX";
        ASSERT_NE(mkdtemp(strFolder.data()), nullptr);
        _strFolder = std::filesystem::path(strFolder).lexically_normal().string();
        vset::attach(_strFolder);
        vset::clearJournal();
    }

    void TearDown() override {
        for (const vset::OpenHandle& stHandle : opened()) {
            EXPECT_TRUE(stHandle.bPlayer || mayStayOpen(stHandle.strFamily)) << stHandle.strFamily << " is left open";
        }
        checkRefusals();
        vset::clearFaults();
        vset::cutPowerAtWrite(0);
        vset::detach();
        vset::clearJournal();
        std::filesystem::remove_all(_strFolder);
    }

    // Runs `body` in a process in which the library has not been used yet.
    template <class Body>
    void inFreshProcess(Body&& body) {
        if (isEmulated()) {
            body();  // CTest gives each test a process of its own
            return;
        }
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        const auto run = [&] {
            body();
            TearDown();
            tellFailures();
            std::exit(HasFailure() ? 1 : 0);
        };
        EXPECT_EXIT(run(), ::testing::ExitedWithCode(0), "");
        _refused.clear();  // that was there
    }

    const std::string& folder() const { return _strFolder; }

    // Files under the set's own paths: "/vendor/factory/config/board.ini".
    static std::string read(const std::string& strPath) { return readFile(vset::hostPath(strPath)); }
    static void write(const std::string& strPath, const std::string& strBytes) {
        writeFile(vset::hostPath(strPath), strBytes);
    }

    // Names what the test leaves open, by the beginning of the family's name ("HW_AOUT"). All else must be closed at
    // the end.
    void leavesOpen(const std::string& strFamily) { _leftOpen.push_back(strFamily); }

    // Names a function of which the test makes the chip refuse a call, by the beginning of its name. Every other
    // refusal that the library does not bring about by contract fails the test at its end.
    void refuses(const std::string& strCall) { _refused.push_back({strCall}); }

    // Returns what is open, except the display, graphics, tuner and watchdog that the set's player always has.
    static std::vector<vset::OpenHandle> opened() {
        std::vector<vset::OpenHandle> handles = vset::openHandles();
        const auto isOfTheScene = [](const vset::OpenHandle& stHandle) {
            constexpr const char* kScene[] = {"HW_DISP", "HW_OSD", "HW_TUNER", "HW_VIDEO", "HW_WDT"};
            return stHandle.bPlayer && std::any_of(std::begin(kScene), std::end(kScene), [&](const char* pszFamily) {
                       return stHandle.strFamily.rfind(pszFamily, 0) == 0;
                   });
        };
        handles.erase(std::remove_if(handles.begin(), handles.end(), isOfTheScene), handles.end());
        return handles;
    }

    // Returns the names of the middleware calls since the journal was cleared, oldest first.
    static std::vector<std::string> calls() {
        std::vector<std::string> names;
        for (const vset::JournalEntry& stEntry : vset::journal()) {
            names.emplace_back(stEntry.pszCall);
        }
        return names;
    }

    static std::size_t count(const std::string& strCall) {
        const std::vector<std::string> made = calls();
        return static_cast<std::size_t>(std::count(made.begin(), made.end(), strCall));
    }

private:
    struct RefusedCall {
        std::string strBegin;
        bool bSeen = false;
    };

    // The parent sees standard error alone.
    static void tellFailures() {
        const ::testing::TestResult& result = *::testing::UnitTest::GetInstance()->current_test_info()->result();
        for (int i = 0; i < result.total_part_count(); ++i) {
            const ::testing::TestPartResult& part = result.GetTestPartResult(i);
            if (part.failed()) {
                std::fprintf(stderr, "%s:%d: %s\n", part.file_name(), part.line_number(), part.message());
            }
        }
    }

    void checkRefusals() {
        for (const vset::Refusal& refusal : vset::refusals(_u64Refusals)) {
            const auto named = std::find_if(_refused.begin(), _refused.end(), [&](const RefusedCall& stCall) {
                return refusal.strCall.rfind(stCall.strBegin, 0) == 0;
            });
            if (named != _refused.end()) {
                named->bSeen = true;
            } else if (tool::contractReason(refusal).empty()) {
                ADD_FAILURE() << "the chip refused " << refusal.strCall << '(' << refusal.strArguments << ") = 0x"
                              << std::hex << refusal.s64Result << ' ' << refusal.strReason;
            }
        }
        for (const RefusedCall& stCall : _refused) {
            EXPECT_TRUE(stCall.bSeen || stCall.strBegin == kAnyCall || IsSkipped())
                << stCall.strBegin << " was not refused";
        }
    }

    bool mayStayOpen(const std::string& strFamily) const {
        return std::any_of(_leftOpen.begin(), _leftOpen.end(),
                           [&](const std::string& strLeft) { return strFamily.rfind(strLeft, 0) == 0; });
    }

    std::string _strFolder;
    std::vector<std::string> _leftOpen;
    std::vector<RefusedCall> _refused;
    std::uint64_t _u64Refusals = vset::refusalCount();
};

// A test of the middleware itself, which leaves its handles to the end of the set, and asks for what is refused.
class MiddlewareTest : public SetTest {
protected:
    MiddlewareTest() {
        leavesOpen("HW_");
        refuses(kAnyCall);
    }
};

}  // namespace test

#endif
