/// @file
/// Stand-in for the system's header: what it has beyond POSIX.
#pragma once

#include <time.h>
#include <underneath/pthread.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Of the calling thread.
int pthread_setname_np(const char* name);
int pthread_cond_timedwait_relative_np(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                       const struct timespec* duration);

#ifdef __cplusplus
}
#endif
