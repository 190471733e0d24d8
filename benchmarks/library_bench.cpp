// SPDX-License-Identifier: Apache-2.0
// What the library adds to the middleware's own time. Each benchmark has its peer in the same run: the middleware calls
// alone, or the plainest code that does the same. The journal is off, the log is off.
#include <cstring>
#include <filesystem>
#include <fstream>
#include <mutex>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include "a_vextvfapi_prphrl.h"
#include "a_vextvfapi_sys.h"
#include "bench_set.h"
#include "hw3/hw_flash.h"
#include "hw3/hw_fs.h"
#include "limits.h"

namespace {

namespace fs = std::filesystem;
using fapi_core::VexTvFApiEventCommonObject;

const unsigned char* u8(const char* pszText) {
    return reinterpret_cast<const unsigned char*>(pszText);
}

// --- One call --------------------------------------------------------------------------------------------------------

void call(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(a_vextvfapi_sys_sync_fs());
    }
}
BENCHMARK(call);

void call_middleware(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(HW_FS_Sync());
    }
}
BENCHMARK(call_middleware);

// --- One event -------------------------------------------------------------------------------------------------------

int countEvent(unsigned int event, const VexTvFApiEventCommonObject& a, const VexTvFApiEventCommonObject&,
               const VexTvFApiEventCommonObject&, const VexTvFApiEventCommonObject&) {
    benchmark::DoNotOptimize(event);
    return a.value;
}

void event(benchmark::State& state) {
    const VexTvFApiEventCommonObject a, b, c, d;
    a_vextvfapi_prphrl_reg_callback(countEvent);
    for (auto _ : state) {
        benchmark::DoNotOptimize(a_vextvfapi_prphrl_nty_event(0x100005, a, b, c, d));
    }
    a_vextvfapi_prphrl_unreg_callback();
}
BENCHMARK(event);

void event_locked_call(benchmark::State& state) {
    const VexTvFApiEventCommonObject a, b, c, d;
    std::mutex mutex;
    auto pCallback = countEvent;
    benchmark::DoNotOptimize(pCallback);
    for (auto _ : state) {
        const std::lock_guard<std::mutex> lock(mutex);
        benchmark::DoNotOptimize(pCallback(0x100005, a, b, c, d));
    }
}
BENCHMARK(event_locked_call);

// --- A boot environment variable -------------------------------------------------------------------------------------

void environment_read(benchmark::State& state) {
    unsigned char au8Value[64];
    for (auto _ : state) {
        if (a_vextvfapi_sys_get_emmc_env_var(u8("serial"), au8Value, sizeof(au8Value)) != 0) {
            state.SkipWithError("the variable cannot be read");
        }
    }
}
BENCHMARK(environment_read);

void environment_load_and_clear(benchmark::State& state) {
    static HW_U8 au8Image[HW_FLASH_ENV_IMAGE_SIZE];
    HW_FLASH_OpenParams_t stParams = {};
    stParams.u32FlashType = E_HW_FLASH_TYPE_EMMC;
    HW_Handle_t hFlash = HW_HANDLE_NONE;
    HW_FLASH_Open(&stParams, &hFlash);
    for (auto _ : state) {
        std::memset(au8Image, 0, sizeof(au8Image));
        benchmark::DoNotOptimize(au8Image);
        if (HW_FLASH_LoadEnv(hFlash, au8Image) != HW_OK) {
            state.SkipWithError("the environment cannot be loaded");
        }
    }
    HW_FLASH_Close(hFlash);
}
BENCHMARK(environment_load_and_clear);

// --- A file of 8 MiB -------------------------------------------------------------------------------------------------

constexpr std::size_t kFileSize = 8u << 20;

void file_copy(benchmark::State& state) {
    for (auto _ : state) {
        a_vextvfapi_sys_copy_file(u8("/data/source"), u8("/data/copy"), false);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(kFileSize) * static_cast<std::int64_t>(state.iterations()));
    if (fs::file_size(vset::hostPath("/data/copy")) != kFileSize) {
        state.SkipWithError("the copy is not complete");
    }
}
BENCHMARK(file_copy)->Unit(benchmark::kMillisecond);

void file_copy_plain(benchmark::State& state) {
    const std::string strSource = vset::hostPath("/data/source");
    const std::string strCopy = vset::hostPath("/data/plain");
    for (auto _ : state) {
        const int s32Source = open(strSource.c_str(), O_RDONLY);
        const int s32Copy = open(strCopy.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        char acChunk[1024];
        for (ssize_t length = 0; (length = read(s32Source, acChunk, sizeof(acChunk))) > 0;) {
            if (write(s32Copy, acChunk, static_cast<std::size_t>(length)) != length) {
                state.SkipWithError("the file cannot be written");
            }
        }
        close(s32Source);
        close(s32Copy);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(kFileSize) * static_cast<std::int64_t>(state.iterations()));
}
BENCHMARK(file_copy_plain)->Unit(benchmark::kMillisecond);

constexpr bench::Goal kGoals[] = {
    {"call", "call_middleware", bench::Limit::nanosecondsAbove, 12},
    {"event", "event_locked_call", bench::Limit::nanosecondsAbove, 12},
    {"environment_read", "environment_load_and_clear", bench::Limit::timesPeer, 1.3},
    {"file_copy", "file_copy_plain", bench::Limit::timesPeer, 1.5},
};

}  // namespace

int main(int argc, char** argv) {
    const bench::Set set;
    std::ofstream(vset::hostPath("/data/source")) << std::string(kFileSize, 'x');
    return bench::runAndJudge(argc, argv, kGoals, static_cast<int>(std::size(kGoals)));
}
