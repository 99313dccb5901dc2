/// @file
/// Where a process runs on macOS.
#pragma once

#include "tessline/platform/HostEnvironment.h"

#include <memory>

namespace tessline::platform {

/// What Foundation says: resources are those of bundles, data go to Application Support.
std::shared_ptr<HostEnvironment> makeMacEnvironment();

}  // namespace tessline::platform
