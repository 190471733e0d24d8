// SPDX-License-Identifier: Apache-2.0
// The set that benchmarks run on: a fresh one in a temporary folder, without journal, its system module up.
#ifndef BENCHMARKS_BENCH_SET_H
#define BENCHMARKS_BENCH_SET_H

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <unistd.h>

#include "a_vextvfapi_sys.h"
#include "vset/vset.h"

namespace bench {

// A folder of this process's own below the temporary ones.
inline std::filesystem::path temporaryFolder(const std::string& strName) {
    return std::filesystem::temp_directory_path() / ("fapi-bench-" + std::to_string(getpid()) + "-" + strName);
}

class Set {
public:
    Set() : _folder(temporaryFolder("set")) {
        vset::attach(_folder.string());
        vset::keepJournal(0);
        if (a_vextvfapi_sys_init() != 0) {
            std::fprintf(stderr, "the set does not start\n");
            std::exit(1);
        }
    }
    ~Set() {
        vset::detach();
        std::filesystem::remove_all(_folder);
    }
    Set(const Set&) = delete;
    Set& operator=(const Set&) = delete;

private:
    const std::filesystem::path _folder;
};

}  // namespace bench

#endif
