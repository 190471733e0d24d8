// SPDX-License-Identifier: Apache-2.0
// The tty of the standard factory link: opening, line settings, reading and writing.
#define FAPI_LOG_TAG "VexTvFApiPeripheral"
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include "a_vextvfapi_prphrl_tty.h"
#include "base/fapi_log.h"

// -1 while no tty is open, so that the exported read and write cannot reach another descriptor.
std::atomic<int> fapi::prphrl::s32UartFd{-1};

bool _a_vextvfapi_prphrl_setInterfaceAttr(int fd, int speed, int parity) {
    termios stTty = {};
    if (tcgetattr(fd, &stTty) != 0) {
        FAPI_LOGE("[STD UART]error %d from tcgetattr\n\n", errno);
        return false;
    }
    cfsetospeed(&stTty, static_cast<speed_t>(speed));
    cfsetispeed(&stTty, static_cast<speed_t>(speed));
    constexpr tcflag_t kFormat = CSIZE | CSTOPB | CREAD | CLOCAL | CRTSCTS;
    stTty.c_iflag &= ~static_cast<tcflag_t>(IGNBRK | ICRNL | IXON | IXANY | IXOFF);
    stTty.c_oflag = 0;
    stTty.c_lflag = 0;
    stTty.c_cflag &= ~(kFormat | PARENB | PARODD);
    stTty.c_cflag |= (static_cast<tcflag_t>(parity) & ~kFormat) | CS8 | CREAD | CLOCAL;
    stTty.c_cc[VTIME] = 5;
    stTty.c_cc[VMIN] = 0;
    if (tcsetattr(fd, TCSANOW, &stTty) != 0) {
        FAPI_LOGE("[STD UART]error %d from tcsetattr\n\n", errno);
        return false;
    }
    return true;
}

bool _a_vextvfapi_prphrl_setBlocking(int fd, int shouldBlock) {
    termios stTty = {};
    if (tcgetattr(fd, &stTty) != 0) {
        FAPI_LOGE("[STD UART]error %d from tggetattr\n\n", errno);
        return false;
    }
    stTty.c_cc[VMIN] = shouldBlock != 0 ? 1 : 0;
    stTty.c_cc[VTIME] = 5;
    if (tcsetattr(fd, TCSANOW, &stTty) != 0) {
        FAPI_LOGE("[STD UART]error %d setting term attributes\n\n", errno);
        return false;
    }
    return true;
}

// Returns the access mode, or -1 for an unknown configuration.
static int accessMode(fapi_core::VexTvFApiStdFactoryUartConfig config, const char* pszCaller = __builtin_FUNCTION()) {
    switch (config) {
        case fapi_core::E_VEXTVFAPI_STD_FACTORY_UART_READ:
            FAPI_LOGI_AS(pszCaller, "[STD UART]STD factory uart config: READ only\n\n");
            return O_RDONLY;
        case fapi_core::E_VEXTVFAPI_STD_FACTORY_UART_WRITE:
            FAPI_LOGI_AS(pszCaller, "[STD UART]STD factory uart config: WRITE only\n\n");
            return O_WRONLY;
        case fapi_core::E_VEXTVFAPI_STD_FACTORY_UART_READ_WRITE:
            FAPI_LOGI_AS(pszCaller, "[STD UART]STD factory uart config: READ and WRITE\n\n");
            return O_RDWR;
    }
    FAPI_LOGE_AS(pszCaller, "[STD UART] Invalid STD factory uart config\n\n");
    return -1;
}

bool _a_vextvfapi_prphrl_uartOpen(const char* path, int speed, int blocking,
                                  fapi_core::VexTvFApiStdFactoryUartConfig config) {
    const int s32Access = accessMode(config);
    if (s32Access < 0) {
        return false;
    }
    // open() would report this for a null path.
    errno = EFAULT;
    const int s32Fd = path != nullptr ? open(path, s32Access | O_NOCTTY | O_SYNC) : -1;
    if (s32Fd < 0) {
        const int s32Error = errno;
        FAPI_LOGE("[STD UART]error %d opening %s: %s\n\n", s32Error, fapi::logText(path), strerror(s32Error));
        return false;
    }
    fapi::prphrl::s32UartFd.store(s32Fd);
    if (!_a_vextvfapi_prphrl_setInterfaceAttr(s32Fd, speed, 0) || !_a_vextvfapi_prphrl_setBlocking(s32Fd, blocking)) {
        close(fapi::prphrl::s32UartFd.exchange(-1));
        return false;
    }
    FAPI_LOGI("[STD UART]Port %s opened.\n\n", path);
    return true;
}

ssize_t _a_vextvfapi_prphrl_uartWritestr(const char* s) {
    return s != nullptr ? write(fapi::prphrl::s32UartFd.load(), s, strlen(s)) : -1;
}

ssize_t _a_vextvfapi_prphrl_uartWrite(void* buf, unsigned long n) {
    return write(fapi::prphrl::s32UartFd.load(), buf, n);
}

ssize_t _a_vextvfapi_prphrl_uartRead(void* buf, unsigned long n) {
    return read(fapi::prphrl::s32UartFd.load(), buf, n);
}
