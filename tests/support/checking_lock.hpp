// A lock that tells whoever holds it from everybody else, so that a module can be asked what its own caller holds: the
// answer does not depend on what other threads do meanwhile.
#pragma once

#include <cerrno>
#include <pthread.h>

namespace checking_lock {

// While nobody uses the lock.
inline void make(pthread_mutex_t& lock) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
    pthread_mutex_destroy(&lock);
    pthread_mutex_init(&lock, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

// Whether the calling thread holds it.
inline bool is_mine(pthread_mutex_t& lock) {
    const int result = pthread_mutex_lock(&lock);
    if (result == 0)
        pthread_mutex_unlock(&lock);
    return result == EDEADLK;
}

} // namespace checking_lock
