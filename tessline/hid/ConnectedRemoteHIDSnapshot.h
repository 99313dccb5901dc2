/// @file
/// The published state of the HID listener.
#pragma once

#include "tessline/hid/ConnectedRemoteHIDDevice.h"

#include <string>
#include <vector>

namespace tessline {

/// What the listener is doing and which interfaces it listens to.
struct ConnectedRemoteHIDSnapshot {
  std::string status;                             ///< A line for people.
  bool isListening = false;                       ///< Whether reports are being received.
  std::vector<ConnectedRemoteHIDDevice> devices;  ///< Sorted by name, then by id.

  bool operator==(const ConnectedRemoteHIDSnapshot&) const = default;
};

}  // namespace tessline
