// SPDX-License-Identifier: Apache-2.0
// A mutex that Clang's thread-safety analysis understands and that nothing destroys at exit.
#ifndef FAPI_MUTEX_H
#define FAPI_MUTEX_H

#include <pthread.h>

#if defined(__clang__)
#define FAPI_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define FAPI_THREAD_ANNOTATION(x)
#endif
#define FAPI_CAPABILITY(name) FAPI_THREAD_ANNOTATION(capability(name))
#define FAPI_SCOPED_CAPABILITY FAPI_THREAD_ANNOTATION(scoped_lockable)
#define FAPI_GUARDED_BY(mutex) FAPI_THREAD_ANNOTATION(guarded_by(mutex))
#define FAPI_PT_GUARDED_BY(mutex) FAPI_THREAD_ANNOTATION(pt_guarded_by(mutex))
#define FAPI_REQUIRES(mutex) FAPI_THREAD_ANNOTATION(requires_capability(mutex))
#define FAPI_EXCLUDES(mutex) FAPI_THREAD_ANNOTATION(locks_excluded(mutex))
#define FAPI_ACQUIRE(...) FAPI_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define FAPI_RELEASE(...) FAPI_THREAD_ANNOTATION(release_capability(__VA_ARGS__))

namespace fapi {

// Has no destructor, unlike some std::mutex: detached threads may hold or take it while the process exits.
class FAPI_CAPABILITY("mutex") Mutex {
public:
    constexpr Mutex() = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock() FAPI_ACQUIRE() { pthread_mutex_lock(&_mutex); }
    void unlock() FAPI_RELEASE() { pthread_mutex_unlock(&_mutex); }

private:
    pthread_mutex_t _mutex = PTHREAD_MUTEX_INITIALIZER;
};

class FAPI_SCOPED_CAPABILITY MutexLock {
public:
    explicit MutexLock(Mutex& mutex) FAPI_ACQUIRE(mutex) : _mutex(mutex) { _mutex.lock(); }
    ~MutexLock() FAPI_RELEASE() { _mutex.unlock(); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

private:
    Mutex& _mutex;
};

}  // namespace fapi

#endif
