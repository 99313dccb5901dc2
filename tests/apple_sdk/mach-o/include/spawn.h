/// @file
/// Stand-in for the system's header: what it has beyond POSIX.
#pragma once

#include <underneath/spawn.h>

/// Descriptors that no action names are closed in the child.
#define POSIX_SPAWN_CLOEXEC_DEFAULT 0x4000

#ifdef __cplusplus
extern "C" {
#endif

/// Keeps one of them open.
int posix_spawn_file_actions_addinherit_np(posix_spawn_file_actions_t* actions, int descriptor);

#ifdef __cplusplus
}
#endif
