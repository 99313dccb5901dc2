/// @file
/// The backends that the contract of Bluetooth is tested on where the contract is compiled for
/// macOS: this folder then comes before the others in which headers are looked for.
#pragma once

#include "tests/macos/CoreBluetoothBackend.h"

#include <memory>

namespace tessline::test {

inline const auto bluetoothBackends = [] {
  using standin::bluetooth::CancelledAttempt;
  const auto choice = [](const char* name, CancelledAttempt kind) {
    return BluetoothBackendChoice{name,
                                  [kind] { return std::make_unique<CoreBluetoothBackend>(kind); }};
  };
  return testing::Values(choice("CoreBluetooth", CancelledAttempt::isTold),
                         choice("CoreBluetoothLateAboutCancels", CancelledAttempt::isToldLate),
                         choice("CoreBluetoothSilentAboutCancels", CancelledAttempt::isSilent));
}();

}  // namespace tessline::test
