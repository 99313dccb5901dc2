/// @file
/// The system's log.
#pragma once

#include "tessline/platform/LogSink.h"

#include <memory>

namespace tessline::platform {

/// Lines go to the default log, one entry each, for everyone to read.
std::shared_ptr<LogSink> makeSystemLog();

}  // namespace tessline::platform
