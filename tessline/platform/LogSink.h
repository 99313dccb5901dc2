/// @file
/// Porting contract: where diagnostic lines go.
#pragma once

#include <string_view>

namespace tessline::platform {

/// The host's log. Never fails; a line that cannot be stored is lost.
class LogSink {
 public:
  virtual ~LogSink() = default;

  /// Stores one line (UTF-8, without a line end), as the host stamps and routes it. Any thread.
  virtual void log(std::string_view line) = 0;
};

}  // namespace tessline::platform
