/// @file
/// Stand-in for the system's header: that of the host, and the clock that queues count by.
#pragma once

#include <stdint.h>
#include_next <time.h>

/// Counts while the machine is awake.
#define CLOCK_UPTIME_RAW 8

extern "C" uint64_t clock_gettime_nsec_np(clockid_t clock);
