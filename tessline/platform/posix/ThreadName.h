/// @file
/// Names of threads, for debuggers and those who look at a process from outside.
#pragma once

#include <pthread.h>

namespace tessline::platform {

/// The calling thread is called this from now on; at most 15 bytes.
inline void nameThisThread(const char* name) {
#ifdef __APPLE__
  ::pthread_setname_np(name);
#else
  ::pthread_setname_np(::pthread_self(), name);
#endif
}

}  // namespace tessline::platform
