/// @file
/// Porting contract: the host's Bluetooth LE, as the side that finds and connects.
#pragma once

#include "tessline/model/BluetoothUUID.h"
#include "tessline/platform/BluetoothPeripheral.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tessline::platform {

/// Whether Bluetooth can be used. A host may have further states, by other numbers.
enum class BluetoothState : std::int64_t {
  unknown = 0,
  resetting = 1,
  unsupported = 2,
  unauthorized = 3,
  poweredOff = 4,
  poweredOn = 5,
};

/// What an advertisement says.
struct BluetoothAdvertisement {
  std::optional<std::string> localName;     ///< None if it says none; may be empty.
  std::vector<BluetoothUUID> serviceUUIDs;  ///< None if it lists none, or something else.
};

/// How to scan.
struct BluetoothScanOptions {
  bool allowDuplicates = false;  ///< Whether one peripheral is reported more than once in a scan.
};

/// Told what a central finds and what becomes of connections, on its queue. An error is null where
/// there is none, and lasts for the call. The host keeps the delegate alive for the call; one that
/// is gone is not called, and misses what happens.
class BluetoothCentralDelegate {
 public:
  virtual ~BluetoothCentralDelegate() = default;

  /// The central's state has become known, or another.
  virtual void centralManagerDidUpdateState() = 0;
  /// A peripheral was heard while scanning: the same object as before if anyone has kept that.
  /// `rssi` is in dBm, 127 if the host cannot tell.
  virtual void didDiscover(const std::shared_ptr<BluetoothPeripheral>& peripheral,
                           const BluetoothAdvertisement& advertisement, std::int64_t rssi) = 0;
  /// A connection stands.
  virtual void didConnect(const std::shared_ptr<BluetoothPeripheral>& peripheral) = 0;
  /// It could not be made, and is not tried again.
  virtual void didFailToConnect(const std::shared_ptr<BluetoothPeripheral>& peripheral,
                                const TesslineError* error) = 0;
  /// It has ended, with an error unless that was asked for. Told once for each that stood, for an
  /// attempt that was cancelled, and for one that the host ends.
  virtual void didDisconnectPeripheral(const std::shared_ptr<BluetoothPeripheral>& peripheral,
                                       const TesslineError* error) = 0;
};

/// Finds peripherals and connects to them. The operations are those of CoreBluetooth's central
/// manager, and a backend performs each when it is called, in the order of the calls; in any state
/// but `poweredOn` it performs none.
///
/// All operations are called on the queue the central was made with, on which it also calls its
/// delegate, and never from within an operation. A new central calls `centralManagerDidUpdateState`
/// once it knows its state. It may be destroyed on any thread; it then ends its scan and its
/// connections and calls nothing more, the delegates of its peripherals included.
///
/// When the state ceases to be `poweredOn` a scan ends, and does not begin again by itself. What
/// becomes of attempts and connections then is up to the host; none is made before it is
/// `poweredOn` again.
class BluetoothCentral {
 public:
  virtual ~BluetoothCentral() = default;

  /// Its state now.
  virtual BluetoothState state() const = 0;
  /// The peripherals that the host has connected already, for whomever, and that offer any of
  /// `services`: each once, in the host's order. They must be connected here before they are used.
  virtual std::vector<std::shared_ptr<BluetoothPeripheral>> retrieveConnectedPeripherals(
      std::span<const BluetoothUUID> services) = 0;
  /// Reports every peripheral that advertises, of whatever services, from now on; those that are
  /// connected, for whomever, do not. Replaces an earlier scan, of which it remembers nothing.
  virtual void scanForPeripherals(const BluetoothScanOptions& options) = 0;
  /// Ends that.
  virtual void stopScan() = 0;
  /// Connects, now or whenever the peripheral comes into reach: this never times out. Letting go of
  /// the peripheral ends the attempt, which nobody is told. If it is connected that is told again;
  /// if it is being tried already there is still one attempt; if its connection is just being
  /// ended, the attempt follows the end.
  virtual void connect(const std::shared_ptr<BluetoothPeripheral>& peripheral) = 0;
  /// Ends a connection or an attempt; nothing if there is neither.
  virtual void cancelPeripheralConnection(
      const std::shared_ptr<BluetoothPeripheral>& peripheral) = 0;
};

}  // namespace tessline::platform
