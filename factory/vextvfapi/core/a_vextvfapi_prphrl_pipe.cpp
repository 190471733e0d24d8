// SPDX-License-Identifier: Apache-2.0
// Pipe mode: commands that other processes of the set write into a FIFO.
#define FAPI_LOG_TAG "VexTvFApiPeripheral"
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include "a_vextvfapi_prphrl_internal.h"
#include "base/fapi_background_task.h"
#include "base/fapi_command_scanner.h"
#include "base/fapi_log.h"
#include "base/fapi_memory.h"
#include "hw3/hw_os.h"

namespace {

constexpr char kPipePath[] = "/data/vendor/uartCmdPipe";
constexpr unsigned int kPollTimes = 10;
constexpr HW_U32 kPollMs = 100;
constexpr int kReadWaitMs = 10;
constexpr std::size_t kReadSize = 2048;

}  // namespace

// The thread sets both flags itself. It outlives a stop while it waits for a writer to open the FIFO.
static fapi::BackgroundTask _pipeTask;

namespace {

class CommandRaiser : public fapi::CommandReceiver {
public:
    explicit CommandRaiser(const char* pszCaller) : _pszCaller(pszCaller) {}

    void receive(const unsigned char* pu8Command, std::size_t length) override {
        const char* pszText = reinterpret_cast<const char*>(pu8Command);
        try {
            _object.text = pszText;
            _object.data.assign(pu8Command, pu8Command + length);
        } catch (...) {
            return;
        }
        FAPI_LOGD_AS(_pszCaller, "callback uartPipeBuffer %s, len: %d\n\n", pszText, static_cast<int>(length));
        fapi::prphrl::raiseEvent(fapi_core::E_VEXTVFAPI_EVENT_UART_PIPE, _object);
    }

private:
    const char* const _pszCaller;
    fapi_core::VexTvFApiEventCommonObject _object;
};

}  // namespace

int _a_vextvfapi_prphrl_create_pipe_file() {
    unlink(kPipePath);
    if (mkfifo(kPipePath, 0777) != 0) {
        FAPI_LOGE("%s pipe file create failed!\n\n", kPipePath);
    } else {
        FAPI_LOGD("Create %s pipe file OK.\n\n", kPipePath);
    }
    if (chmod(kPipePath, 0777) != 0) {
        FAPI_LOGE("Chmod %s pipe file failed!\n\n", kPipePath);
    }
    return open(kPipePath, O_RDONLY);
}

static void receiveCommands(int s32Fd, unsigned char u8End, const char* pszCaller = __builtin_FUNCTION()) {
    FAPI_LOGI_AS(pszCaller, "start CmdReceiver\n\n");
    FAPI_LOGI_AS(pszCaller, "######Uart cmd loop start##########\n\n");
    CommandRaiser raiser(pszCaller);
    fapi::CommandScanner scanner(u8End, raiser, pszCaller);
    unsigned char au8Bytes[kReadSize];
    while (_pipeTask.isEnabled()) {
        pollfd stPipe = {s32Fd, POLLIN, 0};
        if (poll(&stPipe, 1, kReadWaitMs) <= 0) {
            continue;
        }
        const ssize_t length = read(s32Fd, au8Bytes, sizeof(au8Bytes));
        if (length < 1) {
            // A FIFO whose writer has gone is always readable.
            usleep(kReadWaitMs * 1000);
            continue;
        }
        if (!scanner.scan(au8Bytes, static_cast<std::size_t>(length))) {
            break;
        }
    }
}

static void* _a_vextvfapi_prphrl_uart_pipe_task(void* pUartPipeCmdEnd) {
    const std::unique_ptr<char, fapi::Free> commandEnd(static_cast<char*>(pUartPipeCmdEnd));
    fapi::nameThisThread("UartPipe_Task");
    FAPI_LOGI("start UartPipe_Task\n\n");
    if (commandEnd == nullptr) {
        FAPI_LOGE("pUartPipeCmdEnd is NUll.\n\n");
        return nullptr;
    }
    FAPI_LOGD("pUartPipeCmdEnd : 0x%s\n\n", commandEnd.get());
    _pipeTask.enable();
    _pipeTask.markStarted();
    const int s32Fd = _a_vextvfapi_prphrl_create_pipe_file();
    if (s32Fd < 0) {
        FAPI_LOGE("Open %s pipe file failed!\n\n", kPipePath);
    } else {
        receiveCommands(s32Fd, static_cast<unsigned char>(*commandEnd));
        close(s32Fd);
    }
    FAPI_LOGI("Stop UartPipe_Task\n\n");
    _pipeTask.disable();
    _pipeTask.markStopped();
    return nullptr;
}

// Starts the thread with a copy of the text, which the caller may free. Returns 0 or an error code.
static int startPipeTask(const unsigned char* pu8CommandEnd) {
    char* pCopy = nullptr;
    if (pu8CommandEnd != nullptr) {
        pCopy = strdup(reinterpret_cast<const char*>(pu8CommandEnd));
        if (pCopy == nullptr) {
            return ENOMEM;
        }
    }
    const int s32Error = fapi::startDetachedThread(_a_vextvfapi_prphrl_uart_pipe_task, pCopy);
    if (s32Error != 0) {
        std::free(pCopy);
    }
    return s32Error;
}

static void waitForInit(const char* pszCaller) {
    FAPI_LOGD_AS(pszCaller, "Waitting for UartPipe task init...\n\n");
    HW_OS_DelayTask(kPollMs);
}

static void waitForExit(const char* pszCaller) {
    FAPI_LOGD_AS(pszCaller, "Waitting for UartPipe task exit...\n\n");
    HW_OS_DelayTask(kPollMs);
}

static int startPipeMode(const unsigned char* pu8CommandEnd, const char* pszCaller = __builtin_FUNCTION()) {
    if (_pipeTask.isEnabled() || _pipeTask.isStarted()) {
        FAPI_LOGD_AS(pszCaller, "The previous task still runing...\n\n");
        return -1;
    }
    FAPI_LOGI_AS(pszCaller, "Start uartCmdPipe mode!\n\n");
    const int s32Error = startPipeTask(pu8CommandEnd);
    if (s32Error != 0) {
        FAPI_LOGE_AS(pszCaller, "uartCmdPipe mode thread create failed!(%s)\n\n", strerror(s32Error));
    }
    // Contract: also waits when no thread was created.
    if (fapi::pollUntil(
            kPollTimes, waitForInit, [] { return _pipeTask.isStarted(); }, pszCaller)) {
        FAPI_LOGD_AS(pszCaller, "UartPipe task started...\n\n");
    }
    return s32Error == 0 ? 0 : -1;
}

static int stopPipeMode(const char* pszCaller = __builtin_FUNCTION()) {
    FAPI_LOGI_AS(pszCaller, "Stop uartCmdPipe mode!\n\n");
    _pipeTask.disable();
    if (fapi::pollUntil(
            kPollTimes, waitForExit, [] { return !_pipeTask.isStarted(); }, pszCaller)) {
        FAPI_LOGD_AS(pszCaller, "UartPipe task stopped...\n\n");
    }
    return 0;
}

int a_vextvfapi_prphrl_set_uart_pipe_mode(unsigned char enable, const unsigned char* pUartPipeCmdEnd) {
    return enable != 0 ? startPipeMode(pUartPipeCmdEnd) : stopPipeMode();
}
