/// @file
/// Whose address a capture shows.
#pragma once

#include "tessline/platform/ChildProcess.h"

#include <optional>
#include <string>
#include <string_view>

namespace tessline {

/// The program that reports the system's Bluetooth devices.
inline constexpr std::string_view bluetoothReportTool = "/usr/sbin/system_profiler";

/// The address of the first Siri Remote in the system's report of its Bluetooth devices, as it is
/// printed there; none if there is none or the report cannot be had. Runs a program and waits for
/// it. Any thread.
std::optional<std::string> detectConnectedSiriRemoteAddress(platform::ChildProcesses& processes);

/// The same, in the report's text (UTF-8). A device is told by its product id alone; whether it is
/// connected does not count.
std::optional<std::string> detectConnectedSiriRemoteAddress(std::string_view text);

}  // namespace tessline
