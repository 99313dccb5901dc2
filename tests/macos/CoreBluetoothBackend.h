/// @file
/// CoreBluetooth over the stand-in SDK, as a backend under test.
#pragma once

#include "tests/platform/BluetoothContract.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <standin/corebluetooth.h>

namespace tessline::test {

/// What differs from one version of the system to the next.
struct BluetoothSystem {
  standin::bluetooth::CancelledAttempt cancelledAttempt =
      standin::bluetooth::CancelledAttempt::isTold;
  bool keepsObjects = false;
};

/// Expects at its end that nothing is left of what was made meanwhile.
class CoreBluetoothBackend : public BluetoothBackend {
 public:
  explicit CoreBluetoothBackend(const BluetoothSystem& system = {});
  CoreBluetoothBackend(const CoreBluetoothBackend&) = delete;
  CoreBluetoothBackend& operator=(const CoreBluetoothBackend&) = delete;
  ~CoreBluetoothBackend() override;

  std::shared_ptr<platform::Platform> platform() override { return platform_; }
  bool waitUntil(const std::function<bool()>& isDone) override;
  void settle() override;

  std::vector<platform::BluetoothState> otherStates() override;
  void setState(platform::BluetoothState state) override;

  std::size_t makePeripheral(const ExistingPeripheral& peripheral) override;
  void advertise(std::size_t peripheral, const platform::BluetoothAdvertisement& advertisement,
                 std::int64_t rssi) override;
  void setReachable(std::size_t peripheral, bool isReachable) override;
  void setConnectedToSystem(std::size_t peripheral, bool isConnected) override;
  void setConnectError(std::size_t peripheral, std::optional<std::string> error) override;
  void setServicesError(std::size_t peripheral, std::optional<std::string> error) override;
  void setCharacteristicsError(std::size_t peripheral, std::size_t service,
                               std::optional<std::string> error) override;
  void drop(std::size_t peripheral, std::optional<std::string> error) override;
  void notify(std::size_t peripheral, CharacteristicPlace place,
              std::vector<std::uint8_t> value) override;
  std::vector<std::vector<std::uint8_t>> written(std::size_t peripheral,
                                                 CharacteristicPlace place) override;

 private:
  const long objectsBefore_;
  const std::size_t queuesBefore_;
  std::shared_ptr<platform::Platform> platform_;
};

/// That system by that name.
BluetoothBackendChoice coreBluetooth(const std::string& name, const BluetoothSystem& system = {});

}  // namespace tessline::test
