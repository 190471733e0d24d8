// SPDX-License-Identifier: Apache-2.0
// Detached worker threads.
#include "base/fapi_background_task.h"

#include <cerrno>

#include <pthread.h>
#include <sys/prctl.h>

namespace fapi {

int startDetachedThread(ThreadEntry_t entry, void* pArgument) {
    pthread_attr_t stAttr;
    int s32Error = pthread_attr_init(&stAttr);
    if (s32Error == 0) {
        pthread_t thread;
        pthread_attr_setdetachstate(&stAttr, PTHREAD_CREATE_DETACHED);
        s32Error = pthread_create(&thread, &stAttr, entry, pArgument);
        pthread_attr_destroy(&stAttr);
    }
    if (s32Error != 0) {
        errno = s32Error;
    }
    return s32Error;
}

void nameThisThread(const char* pszName) {
    prctl(PR_SET_NAME, pszName, 0, 0, 0);
}

int BackgroundTask::start(ThreadEntry_t entry, void* pArgument) {
    _bEnabled.store(true);
    _bStarted.store(true);
    const int s32Error = startDetachedThread(entry, pArgument);
    if (s32Error != 0) {
        _bStarted.store(false);
    }
    return s32Error;
}

}  // namespace fapi
