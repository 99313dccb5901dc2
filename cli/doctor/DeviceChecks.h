/// @file
/// What listening without a capture needs of the machine.
#pragma once

#include "cli/doctor/Check.h"
#include "tessline/platform/Platform.h"

#include <chrono>
#include <memory>
#include <vector>

namespace tessline::cli {

/// Looks at the permissions of this process, at a remote's HID interfaces and at Bluetooth, each by
/// itself, so that a permission that is lacking is not taken for a device that is. Permissions that
/// the host does not ask for are left out. Opens nothing, connects to nothing and causes no
/// question to the user: Bluetooth is asked for its state only where that is allowed, and given
/// `patience` to answer. Main thread.
std::vector<Check> deviceChecks(const std::shared_ptr<platform::Platform>& platform,
                                std::chrono::milliseconds patience = std::chrono::seconds(2));

}  // namespace tessline::cli
