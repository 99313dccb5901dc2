/// @file
/// Bluetooth LE of macOS.
#pragma once

#include "tessline/platform/BluetoothCentral.h"
#include "tessline/platform/SerialQueue.h"

#include <memory>

namespace tessline::platform {

/// A central manager of CoreBluetooth. `queue` is a dispatch queue of this backend. Called on it.
std::shared_ptr<BluetoothCentral> makeCoreBluetoothCentral(
    std::weak_ptr<BluetoothCentralDelegate> delegate, std::shared_ptr<SerialQueue> queue);

}  // namespace tessline::platform
