/// @file
/// Stand-in for the system's header: streams go by the system's names.
#pragma once

#include <underneath/stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

extern FILE* __stdinp;
extern FILE* __stdoutp;
extern FILE* __stderrp;

#ifdef __cplusplus
}
#endif

#undef stdin
#undef stdout
#undef stderr
#define stdin __stdinp
#define stdout __stdoutp
#define stderr __stderrp
