/// @file
/// A central of the simulated host.
#pragma once

#include "tessline/platform/simulated/SimulatedBluetooth.h"

#include <memory>
#include <optional>
#include <set>
#include <vector>

namespace tessline::platform::simulated {

/// How UUIDs are noted in calls.
CallArgument textsOf(std::span<const BluetoothUUID> uuids);

/// Sees what `SimulatedBluetooth` lets happen.
class SimulatedCentral : public BluetoothCentral,
                         public std::enable_shared_from_this<SimulatedCentral> {
 public:
  /// Made by `SimulatedBluetooth::makeCentral`.
  SimulatedCentral(std::shared_ptr<SimulatedBluetooth> bluetooth,
                   std::weak_ptr<BluetoothCentralDelegate> delegate,
                   std::shared_ptr<SerialQueue> queue);
  SimulatedCentral(const SimulatedCentral&) = delete;
  SimulatedCentral& operator=(const SimulatedCentral&) = delete;
  /// Ends its connections.
  ~SimulatedCentral() override;

  BluetoothState state() const override { return bluetooth_->state_; }
  std::vector<std::shared_ptr<BluetoothPeripheral>> retrieveConnectedPeripherals(
      std::span<const BluetoothUUID> services) override;
  void scanForPeripherals(const BluetoothScanOptions& options) override;
  void stopScan() override;
  void connect(const std::shared_ptr<BluetoothPeripheral>& peripheral) override;
  void cancelPeripheralConnection(const std::shared_ptr<BluetoothPeripheral>& peripheral) override;

  /// Whether it scans.
  bool isScanning() const { return scan_.has_value(); }
  /// The adapter has another state.
  void stateChanged();
  /// A peripheral advertises.
  void heard(const std::shared_ptr<SimulatedPeripheral>& peripheral,
             const BluetoothAdvertisement& advertisement, std::int64_t rssi);
  /// A connection breaks.
  void dropped(const std::shared_ptr<SimulatedPeripheral>& peripheral,
               std::optional<TesslineError> error);
  /// Tries what waits again.
  void retry(const std::shared_ptr<SimulatedPeripheral>& peripheral);

  /// Runs `call` with this on the queue, if it still lives then.
  template <class Call>
  void later(Call call) {
    queue_->async([weak = weak_from_this(), call = std::move(call)] {
      if (const auto self = weak.lock()) call(*self);
    });
  }

 private:
  struct Scan {
    bool allowsDuplicates = false;
    std::set<const SimulatedPeripheral*> reported;
  };

  bool isReady() const { return state() == BluetoothState::poweredOn; }
  // Calls the delegate, if it lives. On the queue.
  template <class Call>
  void tell(Call call) const {
    if (const auto delegate = delegate_.lock()) call(*delegate);
  }
  void start(const std::shared_ptr<SimulatedPeripheral>& peripheral,
             std::weak_ptr<BluetoothPeripheral> wanted);
  void attempt(const std::shared_ptr<SimulatedPeripheral>& peripheral);
  void confirm(const std::shared_ptr<SimulatedPeripheral>& peripheral,
               std::weak_ptr<BluetoothPeripheral> wanted);
  void end(const std::shared_ptr<SimulatedPeripheral>& peripheral,
           std::optional<TesslineError> error);
  bool isMine(const SimulatedPeripheral& peripheral) const;

  std::shared_ptr<SimulatedBluetooth> bluetooth_;
  std::weak_ptr<BluetoothCentralDelegate> delegate_;
  std::shared_ptr<SerialQueue> queue_;
  std::optional<Scan> scan_;
};

}  // namespace tessline::platform::simulated
