// SPDX-License-Identifier: Apache-2.0
// A set on which the library is up.
#ifndef TESTS_SUPPORT_LIBRARY_FIXTURE_H
#define TESTS_SUPPORT_LIBRARY_FIXTURE_H

#include "a_vextvfapi_disp.h"
#include "a_vextvfapi_sys.h"
#include "support/set_fixture.h"

namespace test {

class LibraryTest : public SetTest {
protected:
    using Init = int (*)();
    explicit LibraryTest(Init init = nullptr) : _init(init) {}

    // Brings the middleware and the test's module up.
    void SetUp() override {
        SetTest::SetUp();
        ASSERT_EQ(a_vextvfapi_sys_init(), 0);
        ASSERT_EQ(_init == nullptr ? 0 : _init(), 0);
        vset::clearJournal();
    }

private:
    Init _init;
};

// A library test that begins with window 0 as the current one, which is remembered beyond the set.
class DisplayTest : public LibraryTest {
protected:
    explicit DisplayTest(Init init = a_vextvfapi_disp_init) : LibraryTest(init) {}

    void SetUp() override {
        a_vextvfapi_disp_switch_window(0);
        LibraryTest::SetUp();
    }
};

}  // namespace test

#endif
