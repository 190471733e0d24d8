// SPDX-License-Identifier: Apache-2.0
// A clock that five minutes have passed on as soon as the file $LATER is not empty, for limits that no test can wait
// for: that of the program "run", and not of those that it has started.
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>
#include <string>

#include <dlfcn.h>
#include <sys/stat.h>

static bool isRun() {
    std::ifstream file("/proc/self/cmdline", std::ios::binary);
    const std::string strWords(std::istreambuf_iterator<char>(file), {});
    return strWords.find(std::string("\0run", 5)) != std::string::npos;
}

extern "C" __attribute__((visibility("default"))) int clock_gettime(clockid_t clock, timespec* pstTime) noexcept {
    static const auto next = reinterpret_cast<int (*)(clockid_t, timespec*)>(dlsym(RTLD_NEXT, "clock_gettime"));
    static const char* const kpszFile = isRun() ? std::getenv("LATER") : nullptr;
    const int s32Result = next(clock, pstTime);
    struct stat stFile = {};
    if (clock == CLOCK_MONOTONIC && kpszFile != nullptr && stat(kpszFile, &stFile) == 0 && stFile.st_size != 0) {
        pstTime->tv_sec += 300;
    }
    return s32Result;
}
