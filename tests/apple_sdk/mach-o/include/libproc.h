/// @file
/// Stand-in for the system's header: the open descriptors of a process.
#pragma once

#include <stdint.h>

#define PROC_PIDLISTFDS 1

struct proc_fdinfo {
  int32_t proc_fd;
  uint32_t proc_fdtype;
};

#ifdef __cplusplus
extern "C" {
#endif

int proc_pidinfo(int process, int flavor, uint64_t argument, void* buffer, int size);

#ifdef __cplusplus
}
#endif
