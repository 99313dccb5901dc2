#pragma once

#include <sys/types.h>

namespace helper {

// What no standard gives alike on every system. One file Host_<system>.cpp implements it.

/// Forbids core dumps of this process and other processes' looking into it. False if that failed.
bool forbidInspection();

/// Closes every descriptor from `first` on. False if some may be open still.
bool closeDescriptorsFrom(int first);

/// Opens what `name` is in `directory`, a symbolic link itself included, with close-on-exec and
/// without reading it, waiting for it, or any effect on it: only to ask for its attributes, to look
/// up names in it and to execute it. -1 with errno when that fails. `directory` may be AT_FDCWD for
/// "/".
int openToLook(int directory, const char* name);

/// Whether an access control list lets others than the owner write, although the mode does not say
/// so.
bool othersMayWriteByList(int file);

/// Replaces the process image by the very file that was opened to look, never by looking up a path.
/// On return it has failed, with errno. Scripts fail: their interpreter has not been checked.
void execute(int file, char* const* arguments, char* const* environment);

/// Makes the death of `parent`, by whatever signal, kill this process. To be called after the last
/// change of user. False if it failed or the parent is dead already.
bool dieWithParent(pid_t parent);

/// A descriptor that poll finds readable once the process `caller`, this process's parent, has
/// ended; -1 if there is none on this system, and the caller has to be asked for from time to time.
int watchForEnd(pid_t caller);

}  // namespace helper
