/// @file
/// Stand-in for the system's header: a process that does not let others look into it.
#pragma once

#include <sys/types.h>

#define PT_DENY_ATTACH 31

#ifdef __cplusplus
extern "C" {
#endif

int ptrace(int request, pid_t process, char* address, int data);

#ifdef __cplusplus
}
#endif
