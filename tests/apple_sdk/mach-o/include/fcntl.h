/// @file
/// Stand-in for the system's header: what it has beyond POSIX.
#pragma once

#include <underneath/fcntl.h>

/// Opens a symbolic link itself.
#define O_SYMLINK 0x00200000
/// Opens to look, without keeping the volume from being unmounted.
#define O_EVTONLY 0x00008000
