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

/// A file of a kind that will not do.
#define EFTYPE 79

#undef errno
#define errno (*__error())
