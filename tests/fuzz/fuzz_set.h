// SPDX-License-Identifier: Apache-2.0
// The one virtual set of a fuzzer: in memory where the PC has such a folder, attached by the first input, and gone when
// the program ends.
#ifndef TESTS_FUZZ_FUZZ_SET_H
#define TESTS_FUZZ_FUZZ_SET_H

#include <cstdlib>
#include <filesystem>
#include <string>

#include "vset/vset.h"

namespace test {

inline const unsigned char* u8(const char* pszText) {
    return reinterpret_cast<const unsigned char*>(pszText);
}

inline void require(bool bTrue) {
    if (!bTrue) {
        std::abort();
    }
}

class FuzzSet {
public:
    FuzzSet() : _strFolder(freshFolder()) {
        vset::attach(_strFolder);
        // Millions of calls follow.
        vset::keepJournal(0);
    }
    ~FuzzSet() {
        vset::detach();
        std::error_code error;
        std::filesystem::remove_all(_strFolder, error);
    }
    FuzzSet(const FuzzSet&) = delete;
    FuzzSet& operator=(const FuzzSet&) = delete;

private:
    static std::string freshFolder() {
        std::error_code error;
        const bool bMemory = std::filesystem::is_directory("/dev/shm", error);
        const std::filesystem::path parent = bMemory ? "/dev/shm" : std::filesystem::temp_directory_path();
        std::string strFolder = parent / "vset-fuzz-XXXXXX";
        require(mkdtemp(strFolder.data()) != nullptr);
        return strFolder;
    }

    const std::string _strFolder;
};

}  // namespace test

#endif
