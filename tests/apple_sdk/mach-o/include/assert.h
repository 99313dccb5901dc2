/// @file
/// Stand-in for the system's header: a failed assertion goes by the system's name. Included again,
/// it follows NDEBUG anew.
#include <underneath/assert.h>

#ifdef __cplusplus
extern "C" {
#endif

void __assert_rtn(const char* function, const char* file, int line, const char* expression)
    __attribute__((noreturn));

#ifdef __cplusplus
}
#endif

#ifndef NDEBUG
#undef assert
#define assert(expression) \
  ((expression) ? (void)0 : __assert_rtn(__func__, __FILE__, __LINE__, #expression))
#endif
