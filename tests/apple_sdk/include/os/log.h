/// @file
/// Stand-in for the system's header: the default log.
#pragma once

#include <stdint.h>

struct os_log_s {
  os_log_s() = delete;
  os_log_s(const os_log_s&) = delete;
  os_log_s& operator=(const os_log_s&) = delete;
};
struct os_log_default_s;

typedef os_log_s* os_log_t;
typedef uint8_t os_log_type_t;

#define OS_LOG_TYPE_DEFAULT (static_cast<os_log_type_t>(0x00))
#define OS_LOG_DEFAULT (standin_os_log_default())

extern "C" {

os_log_t standin_os_log_default(void);
void standin_os_log(os_log_t log, os_log_type_t type, const char* format, ...)
    __attribute__((format(os_log, 3, 4)));

}  // extern "C"

/// A macro, as the system's is: the format is a literal.
#define os_log(log, format, ...) \
  standin_os_log(log, OS_LOG_TYPE_DEFAULT, "" format "" __VA_OPT__(, ) __VA_ARGS__)
