// SPDX-License-Identifier: Apache-2.0
// A set of its own for each test: a fresh folder, attached and switched on, and gone afterwards.
#ifndef TESTS_SUPPORT_SET_FIXTURE_H
#define TESTS_SUPPORT_SET_FIXTURE_H

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "vset/vset.h"

namespace test {

// Files of the PC, as bytes. A missing file reads as an empty one.
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
    void SetUp() override {
        std::string strFolder = ::testing::TempDir() + "/vset-XXXXXX";
        ASSERT_NE(mkdtemp(strFolder.data()), nullptr);
        _strFolder = std::filesystem::path(strFolder).lexically_normal().string();
        vset::attach(_strFolder);
        vset::clearJournal();
    }

    void TearDown() override {
        vset::clearFaults();
        vset::cutPowerAtWrite(0);
        vset::detach();
        vset::clearJournal();
        std::filesystem::remove_all(_strFolder);
    }

    const std::string& folder() const { return _strFolder; }

    // Files under the set's own paths: "/vendor/factory/config/board.ini".
    static std::string read(const std::string& strPath) { return readFile(vset::hostPath(strPath)); }
    static void write(const std::string& strPath, const std::string& strBytes) {
        writeFile(vset::hostPath(strPath), strBytes);
    }

    // What is open beside the display, graphics, tuner and watchdog that the set's player always has.
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

    // Names of the middleware calls since the journal was cleared, oldest first.
    static std::vector<std::string> calls() {
        std::vector<std::string> names;
        for (const vset::JournalEntry& stEntry : vset::journal()) {
            names.emplace_back(stEntry.pszCall);
        }
        return names;
    }

private:
    std::string _strFolder;
};

}  // namespace test

#endif
