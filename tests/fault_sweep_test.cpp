// SPDX-License-Identifier: Apache-2.0
// Every operation with every one of its middleware calls and allocations made to fail in turn: the operation answers a
// status of its kind, and leaves no handle, descriptor or thread that it does not leave on purpose.
#include <algorithm>
#include <chrono>
#include <cstring>
#include <limits>
#include <map>

#include <gtest/gtest.h>

#include "a_vextvfapi_prphrl.h"
#include "a_vextvfapi_sys.h"
#include "fault_sweep.h"
#include "operations/operation.h"
#include "support/descriptors.h"
#include "support/set_fixture.h"
#include "support/waiting.h"

namespace {

using test::sweep::Calls;
using test::sweep::LeftOpen;
using test::sweep::nameWithWords;
using test::sweep::Sample;

// The most repetitions of one call that fail in turn: some calls are made for each row of a picture.
constexpr std::size_t kMostOfACall = 20;

bool isEventOperation(const std::string& strName) {
    return strName.find("reg_callback") != std::string::npos || strName.find("_nty_event") != std::string::npos;
}

bool contains(const std::vector<std::string>& names, const std::string& strName) {
    return std::find(names.begin(), names.end(), strName) != names.end();
}

// The table's row, or one that says that nothing stays open.
const LeftOpen& leftOpenBy(const Sample& stSample) {
    for (const LeftOpen& stRow : test::sweep::leftOpen()) {
        if (contains(stRow.operations, stSample.pszOperation) || contains(stRow.operations, nameWithWords(stSample))) {
            return stRow;
        }
    }
    static const LeftOpen kNothing = {{}, 0, 0, "", ""};
    return kNothing;
}

class FaultSweep : public test::sweep::SampleTest {
protected:
    static std::size_t handles() { return vset::openHandles().size(); }
    // Counts the open handles except those that a failure leaves open on purpose.
    static std::size_t handlesBeside(const LeftOpen& stLeftOpen) {
        const std::vector<vset::OpenHandle> open = vset::openHandles();
        const std::string strFamilies = " " + std::string(stLeftOpen.pszFamiliesOnFailure) + " ";
        return static_cast<std::size_t>(std::count_if(open.begin(), open.end(), [&](const vset::OpenHandle& stHandle) {
            return stHandle.bPlayer || strFamilies.find(" " + stHandle.strFamily + " ") == std::string::npos;
        }));
    }
};

TEST_F(FaultSweep, CoversEveryOperation) {
    for (const tool::OperationRow& operation : tool::operationRows()) {
        const auto isSampled = [&](const Sample& stSample) {
            return std::string(stSample.pszOperation) == operation.name;
        };
        const auto isExcused = [&](const auto& row) { return contains(row.operations, operation.name); };
        const auto& samples = test::sweep::samples();
        const auto& notSwept = test::sweep::notSwept();
        const bool bSampled = std::any_of(samples.begin(), samples.end(), isSampled);
        const bool bExcused = std::any_of(notSwept.begin(), notSwept.end(), isExcused);
        EXPECT_NE(bSampled || isEventOperation(operation.name), bExcused) << operation.name;
    }
}

// Calls that the chip refuses because an earlier one has failed.
constexpr struct {
    const char* pszModule;
    const char* pszCall;
    const char* pszReason;
} kRefusedAfterFailures[] = {
    {"aud", "HW_AUDIO_DeInit", "ends what a failed Init has not begun"},
    {"disp", "HW_DISP_Open", "follows a look-up that failed, with the window open"},
    {"disp", "HW_OSD_SurfaceDestroy", "a failed capture leaves the surface locked (contract)"},
    {"disptst", "HW_DISP_Open", "follows a look-up that failed, with the window open"},
    {"inpsrc", "HW_EXTIN_DeInit", "ends what a failed Init has not begun"},
    {"net", "HW_NET_DeInit", "ends what a failed Init has not begun"},
    {"net", "HW_NET_Open", "follows a close that failed"},
    {"prphrl", "HW_PWM_", "follows an Init that is told to have been done"},
    {"prphrl", "HW_SAR_", "the handle of the set before, for it is never obtained twice (contract)"},
    {"prphrl", "HW_UART_UnRegisterCallback", "ends what a failed start has not registered"},
};

// One module's operations.
class FaultSweepOf : public FaultSweep, public ::testing::WithParamInterface<const char*> {
protected:
    FaultSweepOf() {
        for (const auto& stRow : kRefusedAfterFailures) {
            if (std::strcmp(stRow.pszModule, GetParam()) == 0) {
                refuses(stRow.pszCall);
            }
        }
    }

    // The number of calls of the middleware, and of allocations, that have failed.
    std::size_t failed = 0;

    void sweep(const Sample& stSample, const tool::OperationRow& operation);

private:
    struct Run {
        const Sample& stSample;
        const tool::OperationRow& operation;
        const LeftOpen& stLeftOpen;
        std::vector<tool::Value> arguments;
        bool bRepeatable;        // after a success
        bool bLeftSome = false;  // a failure has left handles open
    };

    static void expectStatus(const Run& run, const vset::Fault& stFault, const tool::Outcome& outcome);
    std::size_t throwingAllocationsOf(const Run& run);
    void runWith(Run& run, const vset::Fault& stFault);
    // Fails the call once, then from there on.
    void failWith(Run& run, vset::Fault stFault) {
        for (const unsigned int u32Times : {1u, 0u}) {
            stFault.u32Times = u32Times;
            runWith(run, stFault);
            ++failed;
        }
    }
};

// A failed call or allocation must not end in a success, unless the table of successes says why.
void FaultSweepOf::expectStatus(const Run& run, const vset::Fault& stFault, const tool::Outcome& outcome) {
    using tool::Result;
    const Result eResult = run.operation.result;
    const bool bJudged = eResult != Result::value && eResult != Result::alwaysFails && eResult != Result::nothing;
    if (bJudged && outcome.good) {
        EXPECT_NE(test::sweep::reasonOfSuccess(run.operation.name, stFault.strCall, stFault.s64Result), "")
            << "a success: " << outcome.status;
    } else if (bJudged) {
        EXPECT_GE(outcome.status, eResult == Result::zeroOr255 || eResult == Result::oneIsGood ? 0 : -6);
    }
}

// The operation, run from the prepared state with a fault.
void FaultSweepOf::runWith(Run& run, const vset::Fault& stFault) {
    SCOPED_TRACE(std::string(run.operation.name) + " while call " + std::to_string(stFault.u32From) + " of " +
                 stFault.strCall + " answers " + std::to_string(stFault.s64Result));
    prepare(run.stSample);
    const LeftOpen& stLeftOpen = run.stLeftOpen;
    const std::size_t handlesBefore = handles();
    const int s32DescriptorsBefore = test::openDescriptors();
    vset::inject(stFault);
    expectStatus(run, stFault, run.operation.invoke(run.arguments));
    vset::clearFaults();

    EXPECT_LE(test::openDescriptors(), s32DescriptorsBefore + stLeftOpen.s32Descriptors);
    // A handle stays open when its close is refused.
    const bool bCloseRefused = stFault.strCall.find("_Close") != std::string::npos;
    if (!bCloseRefused) {
        EXPECT_LE(handlesBeside(stLeftOpen), handlesBefore + stLeftOpen.handles);
        run.bLeftSome = run.bLeftSome || handles() > handlesBefore + stLeftOpen.handles;
    }
    // The next call works, where one can follow and nothing was left open.
    if (run.bRepeatable && !bCloseRefused && stLeftOpen.operations.empty()) {
        EXPECT_TRUE(run.operation.invoke(run.arguments).good) << "the next call";
    }
    finish(run.stSample);
}

// Counts them in a run without a fault.
std::size_t FaultSweepOf::throwingAllocationsOf(const Run& run) {
    constexpr unsigned int kNever = std::numeric_limits<unsigned int>::max();
    prepare(run.stSample);
    vset::inject({vset::kThrowingAllocation, 0, kNever});
    const std::size_t before = vset::throwingAllocations();
    run.operation.invoke(run.arguments);
    const std::size_t made = vset::throwingAllocations() - before;
    finish(run.stSample);
    return made;
}

void FaultSweepOf::sweep(const Sample& stSample, const tool::OperationRow& operation) {
    const LeftOpen& stLeftOpen = leftOpenBy(stSample);
    Run run = {stSample, operation, stLeftOpen, {}, false};
    prepare(stSample);
    run.arguments = test::sweep::argumentsOf(operation, stSample.words);
    const std::size_t handlesBefore = handles();
    const int s32DescriptorsBefore = test::openDescriptors();
    const std::size_t allocationsBefore = vset::allocations();
    EXPECT_TRUE(operation.invoke(run.arguments).good) << "the sample is to be a good call";
    const std::size_t allocations = vset::allocations() - allocationsBefore;
    // An operation that closes leaves less.
    EXPECT_LE(handles(), handlesBefore + stLeftOpen.handles);
    EXPECT_LE(test::openDescriptors(), s32DescriptorsBefore + stLeftOpen.s32Descriptors);
    if (stLeftOpen.handles != 0 && stSample.eCalls != Calls::sometimes) {
        EXPECT_EQ(handles(), handlesBefore + stLeftOpen.handles);
    }
    if (stLeftOpen.s32Descriptors != 0) {
        EXPECT_EQ(test::openDescriptors(), s32DescriptorsBefore + stLeftOpen.s32Descriptors);
    }

    std::map<std::string, std::size_t> made;
    for (const std::string& strCall : calls()) {
        ++made[strCall];
    }
    run.bRepeatable = operation.invoke(run.arguments).good;
    finish(stSample);
    if (stSample.eCalls == Calls::sometimes) {
        made.clear();
    } else {
        EXPECT_EQ(made.empty(), stSample.eCalls == Calls::none);
    }
    for (const auto& [strCall, count] : made) {
        for (unsigned int u32From = 1; u32From <= std::min(count, kMostOfACall); ++u32From) {
            for (const long long s64Result : test::sweep::failuresOf(strCall)) {
                failWith(run, {strCall, s64Result, u32From});
            }
        }
    }
    for (unsigned int u32From = 1; u32From <= std::min(allocations, kMostOfACall); ++u32From) {
        failWith(run, {vset::kAllocation, 0, u32From});
    }
    const std::size_t throwing = throwingAllocationsOf(run);
    for (unsigned int u32From = 1; u32From <= std::min(throwing, kMostOfACall); ++u32From) {
        failWith(run, {vset::kThrowingAllocation, 0, u32From});
    }
    EXPECT_EQ(run.bLeftSome, *stLeftOpen.pszFamiliesOnFailure != '\0') << "what failures leave open";
}

TEST_P(FaultSweepOf, LeavesNothingBehind) {
    inFreshProcess([&] {
        std::size_t operations = 0;
        test::sweep::forEachSampleOf(GetParam(), [&](const Sample& stSample, const tool::OperationRow& operation) {
            sweep(stSample, operation);
            ++operations;
        });
        std::printf("fault sweep: %-8s %3zu operations, %5zu calls failed, %s\n", GetParam(), operations, failed,
                    HasFailure() ? "FINDINGS" : "no finding");
        EXPECT_NE(operations, 0u);
    });
}

INSTANTIATE_TEST_SUITE_P(Modules, FaultSweepOf, ::testing::ValuesIn(test::sweep::kModules),
                         [](const auto& module) { return std::string(module.param); });

}  // namespace
