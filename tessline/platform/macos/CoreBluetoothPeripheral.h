/// @file
/// What CoreBluetooth knows of a peripheral. Objective-C++ alone; on the central's queue.
///
/// Objects of the system are given out by reference, so that no pool holds them longer than needed.
#pragma once

#include "tessline/model/TesslineError.h"
#include "tessline/platform/BluetoothCentral.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <CoreBluetooth/CoreBluetooth.h>

namespace tessline::platform {

NSArray<CBUUID*>* makeCBUUIDs(std::span<const BluetoothUUID> uuids);
std::optional<TesslineError> errorOf(NSError* error);
/// Null for none.
inline const TesslineError* pointerTo(const std::optional<TesslineError>& error) {
  return error ? &*error : nullptr;
}

class CoreBluetoothCharacteristic : public BluetoothCharacteristic {
 public:
  explicit CoreBluetoothCharacteristic(CBCharacteristic* object);

  CBCharacteristic* const& object() const { return object_; }
  /// Keeps the value of now, as the system replaces its own when it likes.
  void takeValue() { value_ = [object_.value copy]; }

  const BluetoothUUID& uuid() const override { return uuid_; }
  BluetoothProperties properties() const override;
  std::optional<std::span<const std::uint8_t>> value() const override;

 private:
  CBCharacteristic* const object_;
  const BluetoothUUID uuid_;
  NSData* value_ = nil;
};

/// Holds the characteristics that were seen, so that each stays the same object.
class CoreBluetoothService : public BluetoothService {
 public:
  explicit CoreBluetoothService(CBService* object);

  CBService* const& object() const { return object_; }
  /// Null for one that nobody has seen.
  std::shared_ptr<CoreBluetoothCharacteristic> seen(CBCharacteristic* object) const;
  /// Its characteristics are those of this connection; the system may have kept earlier ones.
  void characteristicsDiscovered() { hasCharacteristics_ = true; }

  const BluetoothUUID& uuid() const override { return uuid_; }
  std::vector<std::shared_ptr<BluetoothCharacteristic>> characteristics() const override;

 private:
  CBService* const object_;
  const BluetoothUUID uuid_;
  bool hasCharacteristics_ = false;
  mutable std::vector<std::shared_ptr<CoreBluetoothCharacteristic>> seen_;
};

/// Letting go of this lets go of the system's object, which ends an attempt.
class CoreBluetoothPeripheral : public BluetoothPeripheral,
                                public std::enable_shared_from_this<CoreBluetoothPeripheral> {
 public:
  CoreBluetoothPeripheral(CBPeripheral* object, std::weak_ptr<BluetoothCentral> central)
      : object_(object), central_(std::move(central)) {}

  CBPeripheral* const& object() const { return object_; }
  bool isOf(const BluetoothCentral& central) const { return central_.lock().get() == &central; }
  void moveTo(CBPeripheral* object, std::weak_ptr<BluetoothCentral> central);

  // What becomes of its connection, as the central is told.
  void connected();
  void failed() { forget(); }
  void ended() { forget(); }
  /// An attempt was cancelled. Not every version of the system tells that, or at once.
  void owesEnd() { owedEnd_ = OwedEnd::toTell; }
  /// Whether nobody has told that yet; the system may do so later.
  bool takesOwedEnd();
  /// Whether the system tells now what was told already.
  bool isLateEnd() const { return owedEnd_ == OwedEnd::told; }
  bool isConnected() const { return isConnected_; }

  // What it is told itself.
  void servicesDiscovered(NSError* error);
  void characteristicsDiscovered(CBService* service, NSError* error);
  void valueUpdated(CBCharacteristic* characteristic, NSError* error);

  UUID identifier() const override;
  std::optional<std::string> name() const override;
  BluetoothPeripheralState state() const override;
  std::vector<std::shared_ptr<BluetoothService>> services() const override;
  void setDelegate(std::weak_ptr<BluetoothPeripheralDelegate> delegate) override {
    delegate_ = std::move(delegate);
  }
  void discoverServices(std::span<const BluetoothUUID> uuids) override;
  void discoverCharacteristics(std::span<const BluetoothUUID> uuids,
                               const std::shared_ptr<BluetoothService>& service) override;
  void readValue(const std::shared_ptr<BluetoothCharacteristic>& characteristic) override;
  void writeValue(std::span<const std::uint8_t> value,
                  const std::shared_ptr<BluetoothCharacteristic>& characteristic,
                  BluetoothWriteType type) override;
  void setNotifyValue(bool enabled,
                      const std::shared_ptr<BluetoothCharacteristic>& characteristic) override;

 private:
  void forget();
  std::shared_ptr<CoreBluetoothService> service(CBService* object) const;
  std::shared_ptr<CoreBluetoothService> seen(CBService* object) const;
  std::shared_ptr<CoreBluetoothCharacteristic> seen(CBCharacteristic* object) const;
  CBPeripheral* usable() const;
  CBCharacteristic* current(const BluetoothCharacteristic& characteristic) const;

  CBPeripheral* object_;
  std::weak_ptr<BluetoothCentral> central_;
  std::weak_ptr<BluetoothPeripheralDelegate> delegate_;
  // Since this was told, until the end was.
  bool isConnected_ = false;
  // Whether those that the system has are of this connection.
  bool hasServices_ = false;
  // Of an attempt that was cancelled.
  enum class OwedEnd : std::uint8_t { none, toTell, told };
  OwedEnd owedEnd_ = OwedEnd::none;
  // Those of this connection that were seen.
  mutable std::vector<std::shared_ptr<CoreBluetoothService>> services_;
};

}  // namespace tessline::platform
