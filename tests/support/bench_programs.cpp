// SPDX-License-Identifier: Apache-2.0
// The programs of this build, and a folder of the build for what the bench keeps of agents: also for a test program
// that only lists its tests.
#include <cstdlib>

namespace {

const bool kAreSet = [] {
    setenv("FAPI_AGENT", FAPI_AGENT_BINARY, 0);
    setenv("FAPI_HUB", FAPI_BINARY, 0);
    setenv("XDG_CACHE_HOME", FAPI_TEST_FOLDER "/cache", 0);
    // The terminals of tests are no other program's.
    unsetenv("KITTY_WINDOW_ID");
    unsetenv("TERM_PROGRAM");
    return true;
}();

}  // namespace
