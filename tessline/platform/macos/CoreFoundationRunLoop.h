/// @file
/// The main thread's run loop.
#pragma once

#include "tessline/platform/MainRunLoop.h"

#include <memory>

namespace tessline::platform {

/// Delivers on CoreFoundation's main run loop, in its common modes, whether the application runs
/// that loop itself or calls `run`; `stop` ends `run` alone. What is left when it is destroyed is
/// not delivered any more. Any thread.
std::shared_ptr<MainRunLoop> makeCoreFoundationRunLoop();

}  // namespace tessline::platform
