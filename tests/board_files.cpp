// SPDX-License-Identifier: Apache-2.0
// Middleware as a board has it, where the virtual set is kinder: this object is loaded before libhw3.
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include "hw3/hw_fs.h"
#include "hw3/hw_sys.h"

#define BOARD_API extern "C" __attribute__((visibility("default")))

// Closes any descriptor it is given. The virtual set closes only what it has opened.
BOARD_API HW_S32 HW_FS_Close(HW_S32 s32Fd) {
    static const auto next = reinterpret_cast<HW_S32 (*)(HW_S32)>(dlsym(RTLD_NEXT, "HW_FS_Close"));
    return s32Fd == STDIN_FILENO ? close(s32Fd) : next(s32Fd);
}

// Takes its time: until the file, which may be a pipe, ends.
BOARD_API HW_Result_t HW_SYS_UpgradeFw(HW_U32, const HW_U8* pu8Path) {
    const int s32Fd = open(reinterpret_cast<const char*>(pu8Path), O_RDONLY | O_CLOEXEC);
    char acPiece[64];
    while (s32Fd >= 0 && read(s32Fd, acPiece, sizeof(acPiece)) > 0) {
    }
    close(s32Fd);
    return s32Fd >= 0 ? HW_OK : HW_ERR_FAILED;
}
