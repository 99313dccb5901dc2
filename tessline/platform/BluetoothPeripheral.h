/// @file
/// Porting contract: one Bluetooth LE peripheral and what it offers.
#pragma once

#include "tessline/model/BluetoothUUID.h"
#include "tessline/model/TesslineError.h"
#include "tessline/model/UUID.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tessline::platform {

/// What may be done with a characteristic: the property bits of its declaration, as the Generic
/// Attribute Profile numbers them.
struct BluetoothProperties {
  static constexpr std::uint32_t read = 0x02;                  ///< May be read.
  static constexpr std::uint32_t writeWithoutResponse = 0x04;  ///< May be written, unanswered.
  static constexpr std::uint32_t write = 0x08;                 ///< May be written, answered.
  static constexpr std::uint32_t notify = 0x10;                ///< Tells of new values.
  static constexpr std::uint32_t indicate = 0x20;  ///< Tells of them and wants an answer.

  std::uint32_t bits = 0;  ///< These and others.

  /// Whether any of `wanted` is there.
  constexpr bool hasAnyOf(std::uint32_t wanted) const { return (bits & wanted) != 0; }

  bool operator==(const BluetoothProperties&) const = default;
};

/// A characteristic. The object's address is its identity: a peripheral may have several of one
/// UUID, and a host gives the same object for the same one as long as the connection lasts, and
/// another in the next. It may be kept and looked at beyond that.
class BluetoothCharacteristic {
 public:
  virtual ~BluetoothCharacteristic() = default;

  /// What it is. The reference lasts as long as the object.
  virtual const BluetoothUUID& uuid() const = 0;
  /// What may be done with it.
  virtual BluetoothProperties properties() const = 0;
  /// The bytes that were read or told of last, an error leaving them as they were; none before.
  /// They stay until the delegate's call at hand returns.
  virtual std::optional<std::span<const std::uint8_t>> value() const = 0;
};

/// A service, identified as characteristics are.
class BluetoothService {
 public:
  virtual ~BluetoothService() = default;

  /// What it is. The reference lasts as long as the object.
  virtual const BluetoothUUID& uuid() const = 0;
  /// The characteristics discovered so far, in the peripheral's order.
  virtual std::vector<std::shared_ptr<BluetoothCharacteristic>> characteristics() const = 0;
};

/// Whether a peripheral and this host are connected. A host may have further states, by other
/// numbers.
enum class BluetoothPeripheralState : std::int64_t {
  disconnected = 0,
  connecting = 1,
  connected = 2,
  disconnecting = 3,
};

/// Whether a write is answered.
enum class BluetoothWriteType : std::uint8_t { withResponse, withoutResponse };

class BluetoothPeripheral;

/// Told what a peripheral answers, in the order of the questions, on the queue of the central that
/// found it. An error is null where there is none, and lasts for the call. The host keeps the
/// delegate alive for the call; one that is gone is not called, and misses what happens.
class BluetoothPeripheralDelegate {
 public:
  virtual ~BluetoothPeripheralDelegate() = default;

  /// The services were asked for and have come, or have not.
  virtual void didDiscoverServices(const std::shared_ptr<BluetoothPeripheral>& peripheral,
                                   const TesslineError* error) = 0;
  /// The characteristics of a service were asked for and have come, or have not.
  virtual void didDiscoverCharacteristicsFor(const std::shared_ptr<BluetoothPeripheral>& peripheral,
                                             const std::shared_ptr<BluetoothService>& service,
                                             const TesslineError* error) = 0;
  /// A characteristic was read or told of its value.
  virtual void didUpdateValueFor(const std::shared_ptr<BluetoothPeripheral>& peripheral,
                                 const std::shared_ptr<BluetoothCharacteristic>& characteristic,
                                 const TesslineError* error) = 0;
};

/// A peripheral that a central has found. The object's address is its identity. All operations are
/// those of the central's queue; what they ask for comes later, through the delegate. While it is
/// not connected by that central they do nothing, and neither do they with a service or a
/// characteristic of an earlier connection. An end of the connection ends what was asked for in it.
/// It, its services and its characteristics may be let go of on any thread.
class BluetoothPeripheral {
 public:
  virtual ~BluetoothPeripheral() = default;

  /// The host's own number for it.
  virtual UUID identifier() const = 0;
  /// The name that the host remembers; none if it knows none.
  virtual std::optional<std::string> name() const = 0;
  /// Whether that central has it connected: `connecting` since `connect` was called,
  /// `disconnecting` since `cancelPeripheralConnection` was, until the outcome is told.
  virtual BluetoothPeripheralState state() const = 0;
  /// The services discovered so far in this connection, in the peripheral's order; none without
  /// one.
  virtual std::vector<std::shared_ptr<BluetoothService>> services() const = 0;

  /// Who is told from now on, of what was asked before too. At any time; connections come and go.
  virtual void setDelegate(std::weak_ptr<BluetoothPeripheralDelegate> delegate) = 0;
  /// Looks for these services. Those that there are join those found before; none if it fails.
  virtual void discoverServices(std::span<const BluetoothUUID> uuids) = 0;
  /// Looks for these characteristics of one of its services, in the same way.
  virtual void discoverCharacteristics(std::span<const BluetoothUUID> uuids,
                                       const std::shared_ptr<BluetoothService>& service) = 0;
  /// Asks for the value. One that cannot be read is an error.
  virtual void readValue(const std::shared_ptr<BluetoothCharacteristic>& characteristic) = 0;
  /// Sends a value. The answer, if there is one, goes nowhere.
  virtual void writeValue(std::span<const std::uint8_t> value,
                          const std::shared_ptr<BluetoothCharacteristic>& characteristic,
                          BluetoothWriteType type) = 0;
  /// Whether the peripheral is to tell of new values. Not in a new connection, until asked again.
  virtual void setNotifyValue(bool enabled,
                              const std::shared_ptr<BluetoothCharacteristic>& characteristic) = 0;
};

}  // namespace tessline::platform
