/// @file
/// Stand-in for the system's header: the default log. The macro calls what the system's calls, with
/// arguments for the compiler to check but without encoding them.
#pragma once

#include <stdint.h>

struct os_log_s {
  os_log_s() = delete;
  os_log_s(const os_log_s&) = delete;
  os_log_s& operator=(const os_log_s&) = delete;
};

typedef os_log_s* os_log_t;
typedef uint8_t os_log_type_t;

#define OS_LOG_TYPE_DEFAULT (static_cast<os_log_type_t>(0x00))
#define OS_LOG_DEFAULT (&_os_log_default)

extern "C" {

extern os_log_s _os_log_default;

bool os_log_type_enabled(os_log_t log, os_log_type_t type);
void _os_log_impl(void* image, os_log_t log, os_log_type_t type, const char* format,
                  uint8_t* arguments, uint32_t size);

}  // extern "C"

__attribute__((format(os_log, 1, 2))) inline void standinCheckLogFormat(const char*, ...) {}

#define os_log(log, format, ...)                                                 \
  do {                                                                           \
    standinCheckLogFormat("" format "" __VA_OPT__(, ) __VA_ARGS__);              \
    if (os_log_type_enabled(log, OS_LOG_TYPE_DEFAULT)) {                         \
      _os_log_impl(nullptr, log, OS_LOG_TYPE_DEFAULT, "" format "", nullptr, 0); \
    }                                                                            \
  } while (false)
