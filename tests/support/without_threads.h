// SPDX-License-Identifier: Apache-2.0
// A process in which no more threads can be made.
#ifndef TESTS_SUPPORT_WITHOUT_THREADS_H
#define TESTS_SUPPORT_WITHOUT_THREADS_H

#include <cstddef>

#include <gtest/gtest.h>
#include <pthread.h>

namespace test {

// While it lives a new thread asks for a stack for which there is no room.
class WithoutThreads {
public:
    WithoutThreads() {
        EXPECT_EQ(pthread_getattr_default_np(&_stUsual), 0);
        pthread_attr_t stHuge;
        EXPECT_EQ(pthread_getattr_default_np(&stHuge), 0);
        EXPECT_EQ(pthread_attr_setstacksize(&stHuge, std::size_t{1} << 50), 0);
        EXPECT_EQ(pthread_setattr_default_np(&stHuge), 0);
    }
    ~WithoutThreads() { EXPECT_EQ(pthread_setattr_default_np(&_stUsual), 0); }
    WithoutThreads(const WithoutThreads&) = delete;
    WithoutThreads& operator=(const WithoutThreads&) = delete;

private:
    pthread_attr_t _stUsual;
};

}  // namespace test

#endif
