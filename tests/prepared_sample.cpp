// SPDX-License-Identifier: Apache-2.0
// How a sample is prepared and ended.
#include <chrono>
#include <filesystem>

#include "a_vextvfapi_prphrl.h"
#include "a_vextvfapi_sys.h"
#include "operation_samples.h"
#include "support/descriptors.h"
#include "support/waiting.h"

namespace test {

std::string nameWithWords(const Sample& stSample) {
    std::string strName = stSample.pszOperation;
    for (const std::string& strWord : stSample.words) {
        strName += " " + strWord;
    }
    return strName;
}

void SampleTest::prepare(const Sample& stSample) {
    vset::clearFaults();
    std::error_code error;
    std::filesystem::remove_all(vset::hostPath("/data/new"), error);
    write("/data/file", "one\ntwo\n");
    if (stSample.eCalls != Calls::onFirstPowerOn) {
        vset::powerCycle();
    }
    ASSERT_EQ(a_vextvfapi_sys_init(), 0);
    ASSERT_EQ(a_vextvfapi_prphrl_init(), 0);
    _s32Threads = threads();
    if (stSample.before != nullptr) {
        stSample.before();
    }
    vset::clearJournal();
}

void SampleTest::finish(const Sample& stSample) const {
    // The longest time that a stopped thread may take.
    constexpr std::chrono::seconds kThreadsEnd{5};
    vset::clearFaults();
    if (stSample.after != nullptr) {
        stSample.after();
    }
    EXPECT_TRUE(eventually([this] { return threads() <= _s32Threads; }, kThreadsEnd)) << "threads are left";
}

}  // namespace test
