// SPDX-License-Identifier: Apache-2.0
// A set whose audio module is up.
#ifndef TESTS_SUPPORT_AUDIO_FIXTURE_H
#define TESTS_SUPPORT_AUDIO_FIXTURE_H

#include <algorithm>

#include "a_vextvfapi_aud.h"
#include "a_vextvfapi_sys.h"
#include "support/log_capture.h"
#include "support/set_fixture.h"
#include "vset/aout.h"

namespace test {

class AudioTest : public SetTest {
protected:
    void SetUp() override {
        SetTest::SetUp();
        ASSERT_EQ(a_vextvfapi_sys_init(), 0);
        ASSERT_EQ(a_vextvfapi_aud_init(), 0);
        vset::clearJournal();
    }

    static std::size_t count(const std::string& strCall) {
        const std::vector<std::string> made = calls();
        return static_cast<std::size_t>(std::count(made.begin(), made.end(), strCall));
    }
};

}  // namespace test

#endif
