/// @file
/// A remote that Bluetooth has found.
#pragma once

#include "tessline/model/UUID.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace tessline {

/// What was known of it when it was heard last.
struct BluetoothRemoteDevice {
  UUID id;                      ///< The host's own number for the remote, not its address.
  std::string name;             ///< As advertised, or as the host remembers it.
  std::int64_t rssi = 0;        ///< In dBm; -50 for one that was connected already.
  std::string connectionState;  ///< "Disconnected", "Connecting", "Connected" ...
  std::vector<std::string> serviceUUIDs;           ///< The advertised services, sorted as text.
  std::chrono::system_clock::time_point lastSeen;  ///< When this value was made.

  bool operator==(const BluetoothRemoteDevice&) const = default;
};

}  // namespace tessline
