#include "tessline/platform/macos/SystemLog.h"

#include <algorithm>
#include <cstddef>
#include <limits>

#include <os/log.h>

namespace tessline::platform {

namespace {

// No entry is that long; the system cuts far shorter ones.
constexpr std::size_t greatestLength = std::numeric_limits<int>::max();

class SystemLog : public LogSink {
 public:
  void log(std::string_view line) override {
    const int length = static_cast<int>(std::min(line.size(), greatestLength));
    // The log would make a word of a null pointer.
    const char* const text = line.empty() ? "" : line.data();
    os_log(OS_LOG_DEFAULT, "%{public}.*s", length, text);
  }
};

}  // namespace

std::shared_ptr<LogSink> makeSystemLog() {
  return std::make_shared<SystemLog>();
}

}  // namespace tessline::platform
