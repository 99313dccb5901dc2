/// @file
/// A Bluetooth LE peripheral made up by a test or a recording.
#pragma once

#include "tessline/model/BluetoothUUID.h"
#include "tessline/model/TesslineError.h"
#include "tessline/model/UUID.h"
#include "tessline/platform/BluetoothPeripheral.h"
#include "tessline/platform/SerialQueue.h"
#include "tessline/platform/simulated/CallLog.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace tessline::platform::simulated {

class SimulatedCentral;
class SimulatedService;

/// A characteristic as it is to be.
struct SimulatedCharacteristicPlan {
  BluetoothUUID uuid;                              ///< What it is.
  BluetoothProperties properties;                  ///< What may be done with it.
  std::optional<std::vector<std::uint8_t>> value;  ///< What a read gives; an error without one.
};

/// A service as it is to be.
struct SimulatedServicePlan {
  BluetoothUUID uuid;                                        ///< What it is.
  std::vector<SimulatedCharacteristicPlan> characteristics;  ///< In its order.
  std::optional<TesslineError> error;  ///< What looking for its characteristics ends in.
};

/// How a peripheral is to be; may be changed at any time.
struct SimulatedPeripheralPlan {
  std::optional<std::string> name;             ///< What the host remembers.
  std::vector<SimulatedServicePlan> services;  ///< What it offers from the next connection on.
  bool isReachable = true;                     ///< Whether it answers; an attempt waits otherwise.
  bool isConnectedToSystem = false;            ///< Whether the host holds it connected already.
  std::optional<TesslineError> connectError;   ///< What an attempt to connect ends in.
  std::optional<TesslineError> servicesError;  ///< What looking for services ends in.
};

/// A characteristic by its place: the service's and its own, from 0.
struct SimulatedCharacteristicPlace {
  std::size_t service = 0;         ///< Which service.
  std::size_t characteristic = 0;  ///< Which of its characteristics.
};

/// Answers what it is asked as its plan says. Services and characteristics are new objects in each
/// connection. Its number tells it apart in the recorded calls; characteristics are told by UUID
/// and place. One central at a time has it connected, or tries to.
class SimulatedPeripheral : public BluetoothPeripheral,
                            public std::enable_shared_from_this<SimulatedPeripheral> {
 public:
  /// Made by `SimulatedBluetooth::addPeripheral`.
  SimulatedPeripheral(std::int64_t number, const UUID& identifier, SimulatedPeripheralPlan about,
                      std::shared_ptr<CallLog> calls);

  UUID identifier() const override { return identifier_; }
  std::optional<std::string> name() const override { return plan.name; }
  BluetoothPeripheralState state() const override { return reportedState_.value_or(state_); }
  std::vector<std::shared_ptr<BluetoothService>> services() const override;
  void setDelegate(std::weak_ptr<BluetoothPeripheralDelegate> delegate) override;
  void discoverServices(std::span<const BluetoothUUID> uuids) override;
  void discoverCharacteristics(std::span<const BluetoothUUID> uuids,
                               const std::shared_ptr<BluetoothService>& service) override;
  void readValue(const std::shared_ptr<BluetoothCharacteristic>& characteristic) override;
  void writeValue(std::span<const std::uint8_t> value,
                  const std::shared_ptr<BluetoothCharacteristic>& characteristic,
                  BluetoothWriteType type) override;
  void setNotifyValue(bool enabled,
                      const std::shared_ptr<BluetoothCharacteristic>& characteristic) override;

  /// How it is.
  SimulatedPeripheralPlan plan;

  /// Counts from 1, in the order of appearance.
  std::int64_t number() const { return number_; }
  /// A characteristic has a new value, which reads give from now on, and the peripheral tells of it
  /// if it was asked to; of an error instead if there is one. Whether it was asked to.
  bool notify(const SimulatedCharacteristicPlace& place, std::vector<std::uint8_t> value,
              std::optional<TesslineError> error = std::nullopt);
  /// What was written to a characteristic in this connection, in order.
  std::vector<std::vector<std::uint8_t>> written(const SimulatedCharacteristicPlace& place) const;
  /// Reports another state than it has until that changes, as a host may that knows more states.
  void setState(BluetoothPeripheralState state) { reportedState_ = state; }

 private:
  friend class SimulatedCentral;
  struct Handle;

  // What users are given: its address is that of the peripheral, its count the number of those who
  // hold on to it. The same as long as anyone does.
  std::shared_ptr<BluetoothPeripheral> handle();
  bool isConnected() const {
    return plan.isConnectedToSystem || state_ == BluetoothPeripheralState::connected;
  }
  void become(BluetoothPeripheralState state);
  void beginAttempt(std::weak_ptr<SimulatedCentral> central,
                    std::weak_ptr<BluetoothPeripheral> wanted);
  void beginConnection();
  void endConnection();
  bool has(const BluetoothService& service) const;
  bool has(const BluetoothCharacteristic& characteristic) const;
  std::vector<std::pair<std::string, CallArgument>> told(
      const BluetoothCharacteristic& characteristic) const;
  template <class Call>
  void answer(Call call);
  template <class Call>
  void tell(Call call);

  const std::int64_t number_;
  const UUID identifier_;
  std::shared_ptr<CallLog> calls_;
  BluetoothPeripheralState state_ = BluetoothPeripheralState::disconnected;
  std::optional<BluetoothPeripheralState> reportedState_;
  std::weak_ptr<BluetoothPeripheral> handle_;
  std::weak_ptr<BluetoothPeripheralDelegate> delegate_;
  std::weak_ptr<SimulatedCentral> central_;    // Who connected it, or tries to.
  std::weak_ptr<BluetoothPeripheral> wanted_;  // As it was given to who tries to.
  bool isWantedAgain_ = false;                 // Once the connection at hand has ended.
  std::int64_t connection_ = 0;                // Counts those that have ended.
  std::vector<std::shared_ptr<SimulatedService>> services_;
};

}  // namespace tessline::platform::simulated
