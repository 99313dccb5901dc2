/// @file
/// What the Bluetooth service shows of itself.
#pragma once

#include "tessline/model/BluetoothRemoteDevice.h"
#include "tessline/model/UUID.h"

#include <optional>
#include <string>
#include <vector>

namespace tessline {

/// The state at one moment.
struct BluetoothRemoteDiscoverySnapshot {
  std::string status;       ///< For people.
  bool isScanning = false;  ///< Whether a scan is running.
  std::vector<BluetoothRemoteDevice>
      devices;                            ///< All known remotes: strongest first, then by name.
  std::optional<UUID> connectedDeviceID;  ///< The connected remote, if any.

  bool operator==(const BluetoothRemoteDiscoverySnapshot&) const = default;
};

}  // namespace tessline
