/// @file
/// Programs started through posix_spawn.
#pragma once

#include "tessline/platform/ChildProcess.h"

#include <memory>

namespace tessline::platform {

/// Pipes and processes of POSIX. A thread for each running child waits for its end.
std::shared_ptr<ChildProcesses> makePosixChildProcesses();

}  // namespace tessline::platform
