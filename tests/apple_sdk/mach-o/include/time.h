/// @file
/// Stand-in for the system's header: what it has beyond POSIX.
#pragma once

#include <stdint.h>
#include <underneath/time.h>

/// Counts while the machine is awake.
#define CLOCK_UPTIME_RAW 8

#ifdef __cplusplus
extern "C" {
#endif

uint64_t clock_gettime_nsec_np(clockid_t clock);

#ifdef __cplusplus
}
#endif
