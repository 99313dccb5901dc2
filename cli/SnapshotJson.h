/// @file
/// The JSON form of what services publish, which all outputs for programs share.
#pragma once

#include "tessline/bluetooth/BluetoothRemoteDiscoverySnapshot.h"
#include "tessline/capture/PacketLoggerCaptureSnapshot.h"
#include "tessline/hid/ConnectedRemoteHIDSnapshot.h"

#include <string>

namespace tessline::cli {

/// The members of a snapshot's object, from `"status":` on, without the braces. Names of devices
/// may be broken text; a program gets valid JSON all the same.
std::string snapshotMembers(const PacketLoggerCaptureSnapshot& snapshot);
std::string snapshotMembers(const ConnectedRemoteHIDSnapshot& snapshot);
std::string snapshotMembers(const BluetoothRemoteDiscoverySnapshot& snapshot);

}  // namespace tessline::cli
