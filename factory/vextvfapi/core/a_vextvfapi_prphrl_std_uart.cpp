// SPDX-License-Identifier: Apache-2.0
// The standard factory link: bytes of a tty, cut into messages by a thread of its own.
#define FAPI_LOG_TAG "VexTvFApiPeripheral"
#include <cerrno>
#include <cstring>
#include <new>

#include <termios.h>
#include <unistd.h>

#include "a_vextvfapi_prphrl_internal.h"
#include "a_vextvfapi_prphrl_tty.h"
#include "base/fapi_background_task.h"
#include "base/fapi_log.h"
#include "base/fapi_message_framer.h"

namespace {

// The largest message, and the largest read.
constexpr unsigned int kBufferSize = fapi::ReceiveBuffer::kSize;

// The pause after a read without bytes, which a hung-up line answers at once.
constexpr useconds_t kReadPauseUs = 1000;
constexpr unsigned int kStopPollTimes = 10;

// By baud rate index. The order is contract.
constexpr speed_t kSpeeds[] = {B19200, B38400, B57600, B230400, B115200};

constexpr const char* kPaths[] = {"/dev/ttyS0", "/dev/ttyS1"};

// A buffer without a destructor, because none may run at exit while the thread reads.
class ProcessBuffer {
public:
    constexpr ProcessBuffer() = default;

    // Allocates the buffer when there is none. False without memory.
    bool allocate() {
        if (_pu8Data == nullptr) {
            _pu8Data = new (std::nothrow) unsigned char[kBufferSize];
        }
        return _pu8Data != nullptr;
    }

    void release() {
        delete[] _pu8Data;
        _pu8Data = nullptr;
    }

    unsigned char* data() const { return _pu8Data; }

private:
    unsigned char* _pu8Data = nullptr;
};

}  // namespace

// The thread runs while it is enabled. Contract: a write-only link is started without a thread and cannot be stopped.
static fapi::BackgroundTask _stdUartMonitor;
static fapi::FramerSettings _framerSettings;
// The thread's buffer while the link is started.
static ProcessBuffer _readBuffer;

bool fapi::prphrl::isStdFactoryUartStarted() {
    return _stdUartMonitor.isStarted();
}

static void freeBuffers() {
    _readBuffer.release();
    fapi::prphrl::receiveBuffer.release();
}

static bool allocateBuffers(const char* pszCaller = __builtin_FUNCTION()) {
    if (!_readBuffer.allocate()) {
        FAPI_LOGD_AS(pszCaller, "[std_factory_uart] _pu8UartDataBuffer allocate memory failed\n\n");
        freeBuffers();
        return false;
    }
    if (!fapi::prphrl::receiveBuffer.allocate()) {
        FAPI_LOGD_AS(pszCaller, "[std_factory_uart] _pu8UartCbBuff allocate memory failed\n\n");
        freeBuffers();
        return false;
    }
    return true;
}

namespace {

class EventRaiser : public fapi::MessageReceiver {
public:
    void receive(const fapi_core::VexTvFApiEventCommonObject& message) override {
        fapi::prphrl::raiseEvent(fapi_core::E_VEXTVFAPI_EVENT_UART_DATA, message);
    }
};

}  // namespace

static void* _a_vextvfapi_prphrl_stdFactoryUartMonitor(void*) {
    fapi::nameThisThread("StdFactoryUart_Task");
    FAPI_LOGI("[std_factory_uart]start StdFactoryUart_Task\n\n");
    EventRaiser raiser;
    fapi::MessageFramer framer(fapi::prphrl::receiveBuffer, _framerSettings, raiser);
    while (_stdUartMonitor.isEnabled()) {
        if (!fapi::prphrl::receiveBuffer.exists()) {
            // The stop of the other link has released the buffer that both share.
            FAPI_LOGE("[std_factory_uart] _pu8UartCbBuff becomes NULL ptr! Please check it.\n\n");
            break;
        }
        framer.adoptLimit();
        const ssize_t length = _a_vextvfapi_prphrl_uartRead(_readBuffer.data(), kBufferSize);
        if (length <= 0) {
            usleep(kReadPauseUs);
            continue;
        }
        framer.feed(_readBuffer.data(), static_cast<std::size_t>(length));
    }
    // Contract: descriptor 0 stays open. In a host without standard input the tty may have it.
    if (fapi::prphrl::s32UartFd.load() >= 1) {
        FAPI_LOGI("[std_factory_uart] close fd\n\n");
        close(fapi::prphrl::s32UartFd.exchange(-1));
    }
    freeBuffers();
    _stdUartMonitor.markStopped();
    FAPI_LOGI("[std_factory_uart]Stop StdFactoryUartMonitor Task\n\n");
    return nullptr;
}

int a_vextvfapi_prphrl_std_factory_uart_start(signed char baudrate, signed char port,
                                              fapi_core::VexTvFApiStdFactoryUartConfig config) {
    FAPI_LOGI("[std_factory_uart] Start StdFactoryUart\n\n");
    FAPI_LOGD("[std_factory_uart] s8Baudrate = %d, s8Port = %d!\n\n", baudrate, port);
    if (fapi::prphrl::isFactoryUartStarted()) {
        FAPI_LOGE("[std_factory_uart] FactoryUart started already.\n\n");
        FAPI_LOGE("[std_factory_uart] Please call a_vextvfapi_prphrl_stop_factory_uart() to stop it first.\n\n");
        return -1;
    }
    if (_stdUartMonitor.isStarted()) {
        FAPI_LOGE("[std_factory_uart] StdFactoryUart started already.\n\n");
        FAPI_LOGE("[std_factory_uart] Please call a_vextvfapi_prphrl_stop_std_factory_uart() to stop it first.\n\n");
        return -1;
    }
    if (!allocateBuffers()) {
        return -1;
    }
    const auto u8Speed = static_cast<unsigned char>(baudrate);
    if (u8Speed >= sizeof(kSpeeds) / sizeof(kSpeeds[0])) {
        FAPI_LOGE("[std_factory_uart] Invalid baudrate!\n\n");
        freeBuffers();
        return -1;
    }
    if (port != 0 && port != 1) {
        FAPI_LOGE("[std_factory_uart] Invalid port!\n\n");
        freeBuffers();
        return -1;
    }
    // The buffers stay for the next start when the tty cannot be opened.
    if (!_a_vextvfapi_prphrl_uartOpen(kPaths[port], static_cast<int>(kSpeeds[u8Speed]), 0, config)) {
        FAPI_LOGE("[std_factory_uart] start FactoryUart FAIL!\n\n");
        return -1;
    }
    if (config == fapi_core::E_VEXTVFAPI_STD_FACTORY_UART_WRITE) {
        _stdUartMonitor.markStarted();
        return 0;
    }
    _framerSettings.reset();
    if (_stdUartMonitor.start(_a_vextvfapi_prphrl_stdFactoryUartMonitor, nullptr) != 0) {
        // Contract: the tty stays open.
        FAPI_LOGE("[std_factory_uart] StdFactoryUartMonitor thread create failed!(%s)\n\n", strerror(errno));
        freeBuffers();
        return -1;
    }
    return 0;
}

static void waitForMonitor(const char* pszCaller) {
    FAPI_LOGD_AS(pszCaller, "Waitting for stdFactoryUartMonitor task exit...\n\n");
    sleep(1);
}

int a_vextvfapi_prphrl_std_factory_uart_stop() {
    FAPI_LOGI("[std_factory_uart] Stop StdFactoryUart\n\n");
    _stdUartMonitor.disable();
    const bool bStopped = fapi::pollUntil(kStopPollTimes, waitForMonitor, [] { return !_stdUartMonitor.isStarted(); });
    if (bStopped) {
        FAPI_LOGD("stdFactoryUartMonitor task stopped...\n\n");
    }
    _framerSettings.reset();
    if (!bStopped) {
        FAPI_LOGE("Waitting for stdFactoryUartMonitor task timeout...\n\n");
        return -1;
    }
    return 0;
}

// The number after "error:" is the source line (contract), not an error code.
int a_vextvfapi_prphrl_std_factory_uart_write(const unsigned char* data, unsigned char length) {
    if (data == nullptr || length == 0) {
        FAPI_LOGE(FAPI_RED("[write_std_factory_uart] parameter error: %d") "\n\n", __LINE__);
        return -1;
    }
    if (!_stdUartMonitor.isStarted()) {
        FAPI_LOGE(FAPI_RED("[write_std_factory_uart] start factory uart error: %d") "\n\n", __LINE__);
        return -1;
    }
    // Contract: bytes that the line does not take are lost.
    [[maybe_unused]] const ssize_t written = write(fapi::prphrl::s32UartFd.load(), data, length);
    return 0;
}

static void setLimit(signed char mode, unsigned int size, const char* pszCaller = __builtin_FUNCTION()) {
    if (mode == fapi::FramerSettings::line) {
        _framerSettings.u32TargetBufferLimit.store(kBufferSize);
    } else if (mode == fapi::FramerSettings::byte) {
        _framerSettings.u32TargetBufferLimit.store(0);
    } else if (size > kBufferSize) {
        FAPI_LOGE_AS(pszCaller,
                     "[std_factory_uart_custom_config] customized buffer size is larger than "
                     "UART_DEFAULT_AUTO_DATA_TRANS_BUFF_SIZE!\n\n");
        _framerSettings.u32TargetBufferLimit.store(kBufferSize);
    } else if (size != 0) {
        _framerSettings.u32TargetBufferLimit.store(size);
    }
}

int a_vextvfapi_prphrl_std_factory_uart_custom_config(signed char mode, unsigned char semicolon, unsigned int size) {
    if (!_stdUartMonitor.isStarted()) {
        FAPI_LOGE(FAPI_RED("[std_factory_uart_custom_config] start factory uart error: %d") "\n\n", __LINE__);
        return -1;
    }
    // Contract: negative modes pass, and cut by size.
    if (mode > fapi::FramerSettings::byte) {
        FAPI_LOGE(FAPI_RED("[std_factory_uart_custom_config] Invalid UART mode!") "\n\n");
        return -1;
    }
    FAPI_LOGI("[std_factory_uart_custom_config] set to mode: %d\n\n", mode);
    _framerSettings.s8Mode.store(mode);
    if (mode == fapi::FramerSettings::terminator) {
        _framerSettings.u8Terminator.store(semicolon);
        FAPI_LOGI("[std_factory_uart_custom_config] set custom semicolon: 0x%02x\n\n", semicolon);
    } else {
        _framerSettings.u8Terminator.store(fapi::FramerSettings::kCarriageReturn);
        FAPI_LOGI("[std_factory_uart_custom_config] restore custom semicolon: 0x%02x\n\n",
                  fapi::FramerSettings::kCarriageReturn);
    }
    setLimit(mode, size);
    FAPI_LOGI("[std_factory_uart_custom_config] u32TargetBufferLimit: %u\n\n",
              _framerSettings.u32TargetBufferLimit.load());
    return 0;
}
