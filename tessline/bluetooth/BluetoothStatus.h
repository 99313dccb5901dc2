/// @file
/// What Bluetooth says to people when it ends, or cannot begin.
#pragma once

#include <string_view>

namespace tessline::bluetoothStatus {

/// The host has no Bluetooth LE.
inline constexpr std::string_view unsupported = "Bluetooth is not supported on this Mac";
/// The user does not allow it.
inline constexpr std::string_view unauthorized = "Bluetooth permission is not authorized";
/// The application ended the scan.
inline constexpr std::string_view stopped = "Scan stopped";

}  // namespace tessline::bluetoothStatus
