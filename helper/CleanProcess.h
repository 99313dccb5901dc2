#pragma once

#include <sys/types.h>

namespace helper {

// A set-uid program inherits whatever its caller chose. These bring each of it into a known state,
// for the helper and the tool behind it, or refuse.

/// Standard input becomes /dev/null; so do standard output and error where they are closed or not
/// open for writing, so that no file that is opened later takes their place.
void provideStandardDescriptors();

/// Closes all other descriptors.
void closeOtherDescriptors();

/// No core dumps; of processor time, file size, data, memory, descriptors and stack what a program
/// run by root expects. All other limits, like those on processes and on locked memory, stay the
/// caller's.
void resetLimits();

/// Default dispositions and an empty mask.
void resetSignals();

/// The only environment there is: where system programs are, and the language that text is parsed
/// in.
char* const* fixedEnvironment();

/// Everything above but the standard descriptors, and the directory, mask and environment.
void cleanProcess();

/// Changes the effective user, and keeps other processes from looking into this one.
void actAs(uid_t user);

}  // namespace helper
