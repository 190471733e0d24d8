// SPDX-License-Identifier: Apache-2.0
// The mechanisms that the library's modules share: handle lease, background task, byte order.
#include <cerrno>
#include <cstring>
#include <thread>

#include <gtest/gtest.h>
#include <sys/prctl.h>

#include "base/fapi_background_task.h"
#include "base/fapi_byte_order.h"
#include "base/fapi_handle_lease.h"
#include "support/emulation.h"
#include "support/waiting.h"

namespace {

// A family whose answers a test sets and whose calls it counts.
struct Fake {
    static inline HW_Result_t u32Find = HW_OK, u32Open = HW_OK, u32Close = HW_OK;
    static inline int s32Opened = 0, s32Closed = 0;

    static HW_Result_t getHandle(const int* ps32Key, HW_Handle_t* phHandle) {
        if (u32Find == HW_OK) {
            *phHandle = static_cast<HW_Handle_t>(*ps32Key);
        }
        return u32Find;
    }
    static HW_Result_t open(const int* ps32Key, HW_Handle_t* phHandle) {
        ++s32Opened;
        if (u32Open == HW_OK) {
            *phHandle = static_cast<HW_Handle_t>(*ps32Key);
        }
        return u32Open;
    }
    static HW_Result_t close(HW_Handle_t) {
        ++s32Closed;
        return u32Close;
    }
    static void reset() {
        u32Find = u32Open = u32Close = HW_OK;
        s32Opened = s32Closed = 0;
    }
};
using Lease = fapi::HandleLease<Fake>;

TEST(HandleLease, ClosesOnlyWhatItOpened) {
    Fake::reset();
    {
        Lease lease;
        EXPECT_EQ(lease.find(7), HW_OK);
        EXPECT_EQ(lease.handle(), 7u);
        EXPECT_FALSE(lease.isOpened());
        EXPECT_EQ(lease.release(), HW_OK);
    }
    EXPECT_EQ(Fake::s32Closed, 0) << "a shared handle stays open";
    {
        Lease lease;
        EXPECT_EQ(lease.open(8), HW_OK);
        EXPECT_TRUE(lease.isOpened());
        Fake::u32Close = HW_ERR_BUSY;
        EXPECT_EQ(lease.release(), HW_ERR_BUSY) << "the failed close is reported";
    }
    EXPECT_EQ(Fake::s32Closed, 1) << "release and destructor together close once";
    {
        Lease lease;
        lease.open(9);
    }
    EXPECT_EQ(Fake::s32Closed, 2) << "an early return closes";
    {
        Lease lease;
        lease.open(9);
        EXPECT_TRUE(lease.keepOpen()) << "the caller learns that it is to close";
    }
    EXPECT_EQ(Fake::s32Closed, 2);
}

TEST(HandleLease, AFailedCallChangesNothing) {
    Fake::reset();
    Lease lease;
    lease.find(5);
    Fake::u32Find = Fake::u32Open = HW_ERR_FAILED;
    EXPECT_EQ(lease.find(7), HW_ERR_FAILED);
    EXPECT_EQ(lease.open(8), HW_ERR_FAILED);
    EXPECT_EQ(lease.handle(), 5u);
    EXPECT_FALSE(lease.isOpened());
    Fake::u32Open = HW_OK;
    EXPECT_EQ(lease.open(0), HW_OK);
    EXPECT_EQ(lease.release(), HW_OK);
    EXPECT_EQ(Fake::s32Closed, 0) << "a handle of 0 is never closed";
}

fapi::BackgroundTask g_task;
std::atomic<int> g_s32Runs{0};
char g_acName[16];

void* runWhileEnabled(void*) {
    fapi::nameThisThread("StdFactoryUart_Task");
    prctl(PR_GET_NAME, g_acName, 0, 0, 0);
    while (g_task.isEnabled()) {
        std::this_thread::yield();
    }
    ++g_s32Runs;
    g_task.markStopped();
    return nullptr;
}

void* endAtOnce(void*) {
    g_task.markStopped();
    return nullptr;
}

bool waitStopped() {
    return test::eventually([] { return !g_task.isStarted(); });
}

TEST(BackgroundTask, RunsUntilItIsDisabled) {
    SKIP_UNDER_EMULATION();
    g_s32Runs = 0;
    EXPECT_FALSE(g_task.isStarted());
    ASSERT_EQ(g_task.start(runWhileEnabled, nullptr), 0);
    EXPECT_TRUE(g_task.isStarted());
    g_task.disable();
    ASSERT_TRUE(waitStopped());
    EXPECT_EQ(g_s32Runs, 1);
    EXPECT_STREQ(g_acName, "StdFactoryUart_") << "cut to what the kernel keeps, not refused";
}

TEST(BackgroundTask, AWorkerThatEndsAtOnceDoesNotStayStarted) {
    SKIP_UNDER_EMULATION();
    for (int i = 0; i < 200; ++i) {
        ASSERT_EQ(g_task.start(endAtOnce, nullptr), 0);
        ASSERT_TRUE(waitStopped());
    }
}

TEST(BackgroundTask, PollsOnlyAsOftenAsAsked) {
    int s32Waits = 0;
    const auto wait = [&](const char* /*pszCaller*/) { ++s32Waits; };
    EXPECT_TRUE(fapi::pollUntil(10, wait, [&] { return s32Waits == 3; }));
    EXPECT_EQ(s32Waits, 3) << "waits first, then looks";
    s32Waits = 0;
    EXPECT_FALSE(fapi::pollUntil(10, wait, [] { return false; }));
    EXPECT_EQ(s32Waits, 10);
}

TEST(ByteOrder, MostSignificantByteFirst) {
    const signed char as8Bytes[] = {-128, 0x01, -1, 0x7F};
    EXPECT_EQ(fapi::loadBigEndian<unsigned int>(as8Bytes), 0x8001FF7Fu);
    EXPECT_EQ(fapi::loadBigEndian<unsigned short>(as8Bytes + 1), 0x01FFu);
}

}  // namespace
