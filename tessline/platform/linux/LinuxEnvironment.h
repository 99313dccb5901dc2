/// @file
/// Where a process runs on Linux.
#pragma once

#include "tessline/platform/HostEnvironment.h"

#include <memory>

namespace tessline::platform {

/// The application's resources stand in `../share/NAME` beside its program, `NAME` being the
/// program's; the library's in `../share/tessline`. Data of applications go where the XDG base
/// directories say. Applications have no identifier.
std::shared_ptr<HostEnvironment> makeLinuxEnvironment();

}  // namespace tessline::platform
