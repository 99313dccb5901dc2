/// @file
/// Stand-in for the system's header: the variable goes by the system's name.
#pragma once

#include <underneath/errno.h>

#ifdef __cplusplus
extern "C" {
#endif

int* __error(void);

#ifdef __cplusplus
}
#endif

#undef errno
#define errno (*__error())
