/// @file
/// What the user of macOS has allowed this process.
#pragma once

#include "tessline/platform/Permissions.h"

#include <memory>

namespace tessline::platform {

/// What the privacy settings say. Any thread.
std::shared_ptr<Permissions> makeMacPermissions();

}  // namespace tessline::platform
