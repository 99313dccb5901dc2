/// @file
/// What is said to people about permissions.
#pragma once

#include "tessline/platform/Permissions.h"

#include <string>
#include <string_view>

namespace tessline::cli {

/// As the host's settings name it.
std::string_view nameOf(platform::Permission permission);

/// How to give it, as an instruction without a full stop.
std::string remedyFor(platform::Permission permission);

/// Why something that needs the permission does not work, and what to do about it; empty if the
/// permission is not in the way.
std::string hintFor(platform::Permission permission, platform::PermissionState state);

}  // namespace tessline::cli
