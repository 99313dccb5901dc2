/// @file
/// Stand-in for the system's header: the environment, which libraries cannot refer to by name.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

char*** _NSGetEnviron(void);

#ifdef __cplusplus
}
#endif
