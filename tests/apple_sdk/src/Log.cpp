#include "standin/log.h"

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <optional>
#include <string_view>
#include <utility>

#include <os/log.h>

struct os_log_default_s {};

namespace standin::log {

namespace {

std::mutex mutex;
std::vector<Entry> stored;
os_log_default_s defaultLog;

[[noreturn]] void fail(const char* what, std::string_view format) {
  std::fprintf(stderr, "os_log: %s: %.*s\n", what, static_cast<int>(format.size()), format.data());
  std::abort();
}

bool take(std::string_view& text, std::string_view start) {
  if (!text.starts_with(start)) return false;
  text.remove_prefix(start.size());
  return true;
}

// As much of the text as the log reads: up to the length, if one is given, or its end.
std::string textOf(const char* text, std::optional<int> length) {
  if (!length) return text;
  const auto most = static_cast<std::size_t>(*length);
  return {text, strnlen(text, most)};
}

// Texts alone, as nothing else is logged.
std::string formatted(std::string_view format, va_list arguments) {
  std::string text;
  for (std::string_view rest = format; !rest.empty();) {
    if (take(rest, "%%")) {
      text += '%';
    } else if (take(rest, "%")) {
      const bool isPublic = take(rest, "{public}");
      std::optional<int> length;
      if (take(rest, ".*")) length = va_arg(arguments, int);
      if (!take(rest, "s")) fail("a conversion that the stand-in does not know", format);
      if (length && *length < 0) fail("a negative length", format);
      const char* const given = va_arg(arguments, const char*);
      if (given == nullptr) fail("no text", format);
      const std::string argument = textOf(given, length);
      text += isPublic ? argument : "<private>";
    } else {
      text += rest.front();
      rest.remove_prefix(1);
    }
  }
  return text;
}

}  // namespace

std::vector<Entry> entries() {
  const std::lock_guard lock(mutex);
  return stored;
}

void clear() {
  const std::lock_guard lock(mutex);
  stored.clear();
}

}  // namespace standin::log

using namespace standin::log;

extern "C" {

os_log_t standin_os_log_default() {
  return reinterpret_cast<os_log_t>(&defaultLog);
}

void standin_os_log(os_log_t log, os_log_type_t type, const char* format, ...) {
  if (log != standin_os_log_default()) fail("not a log", format);
  va_list arguments;
  va_start(arguments, format);
  std::string text = formatted(format, arguments);
  va_end(arguments);
  const std::lock_guard lock(mutex);
  stored.push_back({"default", type, std::move(text)});
}

}  // extern "C"
