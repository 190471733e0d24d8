// SPDX-License-Identifier: Apache-2.0
// What the library adds to the middleware's own time on I2C buses, pads, partitions and audio outputs. Each benchmark
// has its peer in the same run. The journal is off, the log is off.
#include <chrono>
#include <cstring>
#include <ctime>
#include <memory>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>
#include <unistd.h>

#include "a_vextvfapi_aud.h"
#include "a_vextvfapi_prphrl.h"
#include "bench_set.h"
#include "hw3/hw_aout.h"
#include "hw3/hw_flash.h"
#include "hw3/hw_gpio.h"
#include "hw3/hw_iic.h"
#include "limits.h"
#include "vset/aout.h"
#include "vset/flash.h"
#include "vset/gpio.h"
#include "vset/iic.h"

namespace {

constexpr unsigned short kSlave = 0x00A0;
constexpr unsigned char kRegister[] = {0x10};
constexpr unsigned short kSize = 16;
constexpr unsigned int kPad = 17;

// --- I2C: the bus is open, so that a call is a look-up and a transfer ------------------------------------------------

void iic_read(benchmark::State& state) {
    unsigned char au8Bytes[kSize];
    for (auto _ : state) {
        if (a_vextvfapi_prphrl_read_from_iic(0, 0, kSlave, 1, kRegister, kSize, au8Bytes) != 0) {
            state.SkipWithError("the device does not answer");
        }
    }
}
BENCHMARK(iic_read);

// Allocates the buffers that the copies of address and data need.
void iic_read_middleware(benchmark::State& state) {
    unsigned char au8Bytes[kSize];
    const HW_IIC_HandleParams_t stQuery = {0};
    for (auto _ : state) {
        const auto address = std::make_unique<HW_U8[]>(1);
        const auto buffer = std::make_unique<HW_U8[]>(kSize);
        address[0] = kRegister[0];
        HW_Handle_t hIic = HW_HANDLE_NONE;
        HW_U8* pu8Buf = buffer.get();
        const HW_IIC_ReadParams_t stParams = {0, kSlave, 1, address.get(), kSize, pu8Buf};
        if (HW_IIC_GetHandle(&stQuery, &hIic) != HW_OK || HW_IIC_Read(hIic, &stParams, &pu8Buf) != HW_OK) {
            state.SkipWithError("the device does not answer");
        }
        std::copy(pu8Buf, pu8Buf + kSize, au8Bytes);
        benchmark::DoNotOptimize(au8Bytes);
    }
}
BENCHMARK(iic_read_middleware);

void iic_write(benchmark::State& state) {
    const unsigned char au8Bytes[kSize] = {};
    for (auto _ : state) {
        if (a_vextvfapi_prphrl_write_to_iic(0, kSlave, 1, kRegister, kSize, au8Bytes) != 0) {
            state.SkipWithError("the device does not answer");
        }
    }
}
BENCHMARK(iic_write);

void iic_write_middleware(benchmark::State& state) {
    const unsigned char au8Bytes[kSize] = {};
    const HW_IIC_HandleParams_t stQuery = {0};
    for (auto _ : state) {
        const auto address = std::make_unique<HW_U8[]>(1);
        const auto buffer = std::make_unique<HW_U8[]>(kSize);
        address[0] = kRegister[0];
        std::copy(au8Bytes, au8Bytes + kSize, buffer.get());
        HW_Handle_t hIic = HW_HANDLE_NONE;
        const HW_IIC_WriteParams_t stParams = {{kSlave, 1, address.get(), kSize, buffer.get()}};
        if (HW_IIC_GetHandle(&stQuery, &hIic) != HW_OK || HW_IIC_Write(hIic, &stParams, nullptr) != HW_OK) {
            state.SkipWithError("the device does not answer");
        }
    }
}
BENCHMARK(iic_write_middleware);

// --- A pad that is open ----------------------------------------------------------------------------------------------

void gpio_read(benchmark::State& state) {
    unsigned char u8Level = 0;
    for (auto _ : state) {
        if (a_vextvfapi_prphrl_get_gpio_status(kPad, &u8Level) != 0) {
            state.SkipWithError("the pad cannot be read");
        }
    }
}
BENCHMARK(gpio_read);

void gpio_read_middleware(benchmark::State& state) {
    const HW_GPIO_HandleParams_t stQuery = {kPad};
    HW_U8 u8Level = 0;
    HW_U8 u8Inverted = 0;
    for (auto _ : state) {
        HW_Handle_t hGpio = HW_HANDLE_NONE;
        if (HW_GPIO_GetHandle(&stQuery, &hGpio) != HW_OK || HW_GPIO_GetInput(hGpio, &u8Level, &u8Inverted) != HW_OK) {
            state.SkipWithError("the pad cannot be read");
        }
    }
}
BENCHMARK(gpio_read_middleware);

void gpio_drive(benchmark::State& state) {
    for (auto _ : state) {
        if (a_vextvfapi_prphrl_control_gpio(kPad, 1) != 0) {
            state.SkipWithError("the pad cannot be driven");
        }
    }
}
BENCHMARK(gpio_drive);

void gpio_drive_middleware(benchmark::State& state) {
    const HW_GPIO_HandleParams_t stQuery = {kPad};
    for (auto _ : state) {
        HW_Handle_t hGpio = HW_HANDLE_NONE;
        if (HW_GPIO_GetHandle(&stQuery, &hGpio) != HW_OK || HW_GPIO_SetOutput(hGpio, 1) != HW_OK) {
            state.SkipWithError("the pad cannot be driven");
        }
    }
}
BENCHMARK(gpio_drive_middleware);

// --- The monitor at 100 us, compared with a thread that only sleeps as often -----------------------------------------

constexpr unsigned int kDelayUs = 100;

double secondsOf(clockid_t clock) {
    timespec time = {};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

void gpio_monitor(benchmark::State& state) {
    double percent = 0;
    for (auto _ : state) {
        const std::uint64_t u64Before = vset::gpio::pad(kPad).u64Reads;
        const double wallStart = secondsOf(CLOCK_MONOTONIC);
        const double start = secondsOf(CLOCK_PROCESS_CPUTIME_ID);
        a_vextvfapi_prphrl_gpio_monitor_start(kPad, kDelayUs, 0);
        sleep(1);
        // Waits a second longer, in which the monitor is gone.
        a_vextvfapi_prphrl_gpio_monitor_stop();
        const double monitor = secondsOf(CLOCK_PROCESS_CPUTIME_ID) - start;
        const double wall = secondsOf(CLOCK_MONOTONIC) - wallStart - 1;
        const std::uint64_t u64Reads = vset::gpio::pad(kPad).u64Reads - u64Before;

        const double sleepStart = secondsOf(CLOCK_PROCESS_CPUTIME_ID);
        std::thread([&] {
            for (std::uint64_t i = 0; i < u64Reads; ++i) {
                usleep(kDelayUs);
            }
        }).join();
        const double sleeps = secondsOf(CLOCK_PROCESS_CPUTIME_ID) - sleepStart;
        percent = (monitor - sleeps) / wall * 100;
    }
    state.counters["percent_of_core"] = percent;
}
BENCHMARK(gpio_monitor)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

// --- A raw transfer of 64 MiB ----------------------------------------------------------------------------------------

constexpr unsigned int kTransfer = 64u << 20;
constexpr char kPartition[] = "bench";

unsigned char* partition() {
    return reinterpret_cast<unsigned char*>(const_cast<char*>(kPartition));
}

std::vector<unsigned char>& transferData() {
    static std::vector<unsigned char> data(kTransfer, 0x5A);
    return data;
}

void emmc_write(benchmark::State& state) {
    for (auto _ : state) {
        if (a_vextvfapi_sys_write_emmc(partition(), 0, kTransfer, transferData().data()) != 0) {
            state.SkipWithError("the partition cannot be written");
        }
    }
}
BENCHMARK(emmc_write)->Unit(benchmark::kMillisecond);

void emmc_read(benchmark::State& state) {
    for (auto _ : state) {
        if (a_vextvfapi_sys_read_emmc(partition(), 0, kTransfer, transferData().data()) != 0) {
            state.SkipWithError("the partition cannot be read");
        }
    }
}
BENCHMARK(emmc_read)->Unit(benchmark::kMillisecond);

// The middleware's call, and one copy from or to memory of its own.
template <class Transfer>
void transferWithOneCopy(benchmark::State& state, bool bWrite, Transfer&& transfer) {
    const HW_FLASH_HandleParams_t stQuery = {E_HW_FLASH_TYPE_EMMC, {}};
    for (auto _ : state) {
        const std::unique_ptr<HW_U8[]> buffer(new HW_U8[kTransfer]);
        HW_Handle_t hFlash = HW_HANDLE_NONE;
        HW_U32 u32Report = 0;
        const HW_FLASH_Transfer_t stTransfer = {E_HW_FLASH_TYPE_EMMC, partition(), 0, buffer.get(), kTransfer};
        if (bWrite) {
            std::memcpy(buffer.get(), transferData().data(), kTransfer);
        }
        if (HW_FLASH_GetHandle(&stQuery, &hFlash) != HW_OK || transfer(hFlash, &stTransfer, &u32Report) != HW_OK) {
            state.SkipWithError("the transfer is refused");
        }
        if (!bWrite) {
            std::memcpy(transferData().data(), buffer.get(), kTransfer);
        }
    }
}

void emmc_write_and_copy(benchmark::State& state) {
    transferWithOneCopy(state, true, HW_FLASH_Write);
}
BENCHMARK(emmc_write_and_copy)->Unit(benchmark::kMillisecond);

void emmc_read_and_copy(benchmark::State& state) {
    transferWithOneCopy(state, false, HW_FLASH_Read);
}
BENCHMARK(emmc_read_and_copy)->Unit(benchmark::kMillisecond);

// --- An advanced sound effect, with all nine paths open --------------------------------------------------------------

void sound_effect(benchmark::State& state) {
    unsigned int u32Type = 2, u32Part = 13;
    unsigned char u8Enable = 1;
    for (auto _ : state) {
        if (a_vextvfapi_aud_adv_snd_enable_sub(&u32Type, &u32Part, &u8Enable) != 0) {
            state.SkipWithError("the effect is refused");
        }
    }
}
BENCHMARK(sound_effect);

// A look-up for every path, and the record sent as it is.
void sound_effect_middleware(benchmark::State& state) {
    static const HW_AOUT_AdvSndParams_t stParams = {E_HW_AOUT_ADV_SND_SRS_THEATER, {}};
    for (auto _ : state) {
        HW_Handle_t hMain = HW_HANDLE_NONE;
        for (HW_U32 u32Path = HW_AOUT_PATH_COUNT; u32Path-- > 0;) {
            const HW_AOUT_HandleParams_t stQuery = {u32Path};
            HW_AOUT_GetHandle(&stQuery, &hMain);
        }
        if (HW_AOUT_SetAttr(hMain, E_HW_AOUT_ATTR_ADV_SND_PARAM, &stParams) != HW_OK) {
            state.SkipWithError("the effect is refused");
        }
    }
}
BENCHMARK(sound_effect_middleware);

constexpr bench::Goal kGoals[] = {
    {"iic_read", "iic_read_middleware", bench::Limit::nanosecondsAbove, 40},
    {"iic_write", "iic_write_middleware", bench::Limit::nanosecondsAbove, 40},
    {"gpio_read", "gpio_read_middleware", bench::Limit::nanosecondsAbove, 25},
    {"gpio_drive", "gpio_drive_middleware", bench::Limit::nanosecondsAbove, 25},
    {"gpio_monitor", "percent_of_core", bench::Limit::counter, 2},
    {"emmc_write", "emmc_write_and_copy", bench::Limit::processorTimesPeer, 1.2},
    {"emmc_read", "emmc_read_and_copy", bench::Limit::processorTimesPeer, 1.2},
    {"sound_effect", "sound_effect_middleware", bench::Limit::nanosecondsAbove, 150},
};

}  // namespace

int main(int argc, char** argv) {
    const bench::Set set;
    if (a_vextvfapi_prphrl_init() != 0 || a_vextvfapi_aud_init() != 0) {
        return 1;
    }
    vset::iic::hold(0);
    vset::gpio::hold(kPad);
    vset::flash::hold(E_HW_FLASH_TYPE_EMMC);
    vset::flash::setPartition(kPartition, kTransfer);
    for (unsigned int u32Path = 0; u32Path < vset::aout::kPaths; ++u32Path) {
        vset::aout::hold(u32Path);
    }
    return bench::runAndJudge(argc, argv, kGoals, static_cast<int>(std::size(kGoals)));
}
