// SPDX-License-Identifier: Apache-2.0
// A set whose audio module is up.
#ifndef TESTS_SUPPORT_AUDIO_FIXTURE_H
#define TESTS_SUPPORT_AUDIO_FIXTURE_H

#include "a_vextvfapi_aud.h"
#include "support/library_fixture.h"
#include "support/log_capture.h"
#include "vset/aout.h"

namespace test {

class AudioTest : public LibraryTest {
protected:
    AudioTest() : LibraryTest(a_vextvfapi_aud_init) {}

    // The module keeps its paths after a failure, and remembers which of them it has opened.
    void TearDown() override {
        vset::clearFaults();
        a_vextvfapi_aud_close();
        LibraryTest::TearDown();
    }
};

}  // namespace test

#endif
