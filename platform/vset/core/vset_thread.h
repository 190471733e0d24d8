// SPDX-License-Identifier: Apache-2.0
// Threads of the middleware. They never end; their names distinguish them from those of the library and the service.
#ifndef VSET_THREAD_H
#define VSET_THREAD_H

#include <sys/prctl.h>

namespace vset {

// Names the calling thread: at most 15 characters, which begin with "hw3-".
inline void nameThread(const char* pszName) {
    prctl(PR_SET_NAME, pszName);
}

}  // namespace vset

#endif
