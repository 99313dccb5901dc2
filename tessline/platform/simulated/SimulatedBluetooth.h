/// @file
/// The simulated host's Bluetooth LE, to be scripted.
#pragma once

#include "tessline/platform/BluetoothCentral.h"
#include "tessline/platform/simulated/CallLog.h"
#include "tessline/platform/simulated/SimulatedPeripheral.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace tessline::platform::simulated {

class SimulatedCentral;

/// Peripherals come, advertise, drop and go; centrals that were made see of it what their scans and
/// connections let them. Everything is handed to a central's queue first, as on a real host. Not
/// synchronised.
class SimulatedBluetooth : public std::enable_shared_from_this<SimulatedBluetooth> {
 public:
  /// Powered on, without peripherals. Notes what centrals and peripherals are asked in `calls`.
  explicit SimulatedBluetooth(std::shared_ptr<CallLog> calls) : calls_(std::move(calls)) {}

  /// Another state; scans end unless it is `poweredOn`, and attempts to connect wait until it is.
  /// Connections are ended by `drop` alone.
  void setState(BluetoothState state);

  /// The state.
  BluetoothState state() const { return state_; }
  /// Whether any central scans.
  bool isScanning() const;
  /// The peripherals, in the order of their appearance.
  const std::vector<std::shared_ptr<SimulatedPeripheral>>& peripherals() const {
    return peripherals_;
  }

  /// A peripheral of that identifier.
  std::shared_ptr<SimulatedPeripheral> addPeripheral(const UUID& identifier,
                                                     SimulatedPeripheralPlan plan);
  /// It is heard by every scan, once in each that does not want duplicates; not while it is
  /// connected, to the host or here.
  void advertise(const std::shared_ptr<SimulatedPeripheral>& peripheral,
                 const BluetoothAdvertisement& advertisement, std::int64_t rssi);
  /// Its connection breaks, with an error if there is one; nothing without a connection.
  void drop(const std::shared_ptr<SimulatedPeripheral>& peripheral,
            const std::optional<TesslineError>& error);
  /// Attempts to connect to it that wait are tried again, as its plan now says.
  void retryAttempts(const std::shared_ptr<SimulatedPeripheral>& peripheral);

  /// A central.
  std::shared_ptr<BluetoothCentral> makeCentral(std::weak_ptr<BluetoothCentralDelegate> delegate,
                                                std::shared_ptr<SerialQueue> queue);

 private:
  friend class SimulatedCentral;

  std::vector<std::shared_ptr<SimulatedCentral>> centrals() const;

  std::shared_ptr<CallLog> calls_;
  BluetoothState state_ = BluetoothState::poweredOn;
  std::vector<std::shared_ptr<SimulatedPeripheral>> peripherals_;
  std::vector<std::weak_ptr<SimulatedCentral>> centrals_;
  std::int64_t nextNumber_ = 1;
};

}  // namespace tessline::platform::simulated
