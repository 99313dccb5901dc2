/// @file
/// What a live capture needs of the machine.
#pragma once

#include "cli/doctor/Check.h"
#include "tessline/platform/Platform.h"

#include <optional>
#include <string>
#include <vector>

namespace tessline::cli {

/// Looks at everything that a capture started now would need, and changes nothing: the runtime, its
/// version, the privileged helper, the tool that would run, whether it may run as root, and the
/// remote's address. `tool` is the one that the capture is to be given; none lets it look for one.
/// Runs the system's report of Bluetooth devices and waits for it.
std::vector<Check> captureChecks(platform::Platform& platform,
                                 const std::optional<std::string>& tool);

}  // namespace tessline::cli
