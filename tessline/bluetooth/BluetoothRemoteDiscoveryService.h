/// @file
/// Finds Siri Remotes by Bluetooth LE, connects to them and reads what they send.
#pragma once

#include "tessline/bluetooth/BluetoothRemoteDiscoverySnapshot.h"
#include "tessline/events/SiriRemoteReportParser.h"
#include "tessline/events/TesslineEvent.h"
#include "tessline/platform/BluetoothCentral.h"
#include "tessline/platform/Platform.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tessline {

/// Connects to the remotes that the host has connected already and to the first one that it hears,
/// whom it knows by name; subscribes to battery, reports and voice; turns the remote's input on. A
/// remote that drops is connected again, whatever the reason, `disconnect` included.
///
/// The public operations only hand work to the service's queue, where everything happens and all
/// callbacks are called; set these before. Failures show as the status of the next snapshot. A
/// change of status, scanning or connection is published at once, changes of the devices alone at
/// most once a second. After the last owner lets go nothing is called any more.
class BluetoothRemoteDiscoveryService
    : public std::enable_shared_from_this<BluetoothRemoteDiscoveryService>,
      private platform::BluetoothCentralDelegate,
      private platform::BluetoothPeripheralDelegate {
 public:
  /// A service that looks for nothing yet.
  static std::shared_ptr<BluetoothRemoteDiscoveryService> create(
      std::shared_ptr<platform::Platform> platform = platform::hostPlatform());

  BluetoothRemoteDiscoveryService(const BluetoothRemoteDiscoveryService&) = delete;
  BluetoothRemoteDiscoveryService& operator=(const BluetoothRemoteDiscoveryService&) = delete;
  ~BluetoothRemoteDiscoveryService() override = default;

  /// Told of the state.
  std::function<void(const BluetoothRemoteDiscoverySnapshot&)> onSnapshotChanged;
  /// Told of the events of one notification, in order; never of none.
  std::function<void(const std::vector<TesslineEvent>&)> onTransportEvents;
  /// Told of the bytes of every report before they are decoded, as they were notified.
  std::function<void(const std::vector<std::uint8_t>&)> onRawPayload;
  /// Told of the battery's level in percent (0 to 255, as the remote says it), and of none when a
  /// remote is gone.
  std::function<void(std::optional<std::int64_t>)> onBatteryLevelChanged;

  /// Begins to scan, or begins anew, as soon as Bluetooth is on. Any thread.
  void startScanning();
  /// Ends the scan; connections stay. Any thread.
  void stopScanning();
  /// Connects to a remote of a snapshot. Any thread.
  void connect(const UUID& id);
  /// Ends the connection, after which the remote is connected again. Any thread.
  void disconnect();

 private:
  using Peripheral = std::shared_ptr<platform::BluetoothPeripheral>;
  using Service = std::shared_ptr<platform::BluetoothService>;
  using Characteristic = std::shared_ptr<platform::BluetoothCharacteristic>;
  // What is in a set is kept alive, so that no other object takes its address.
  using CharacteristicIDs = std::set<Characteristic>;

  explicit BluetoothRemoteDiscoveryService(std::shared_ptr<platform::Platform> platform);

  // Discovery.
  void startScanningOnBluetoothQueue();
  void stopScanningOnBluetoothQueue();
  void scanIfReady();
  void connectToRetrievedRemotes();
  void centralManagerDidUpdateState() override;
  void didDiscover(const Peripheral& peripheral,
                   const platform::BluetoothAdvertisement& advertisement,
                   std::int64_t rssi) override;

  // By the name alone, whatever is advertised.
  static bool isSiriRemote(const std::optional<std::string>& name,
                           std::span<const BluetoothUUID> advertisedServiceUUIDs);
  static bool isSiriRemote(const platform::BluetoothPeripheral& peripheral);

  // Connection.
  void connectOnBluetoothQueue(const UUID& id);
  void disconnectOnBluetoothQueue();
  void didConnect(const Peripheral& peripheral) override;
  void didFailToConnect(const Peripheral& peripheral, const TesslineError* error) override;
  void didDisconnectPeripheral(const Peripheral& peripheral, const TesslineError* error) override;
  void didDiscoverServices(const Peripheral& peripheral, const TesslineError* error) override;
  void didDiscoverCharacteristicsFor(const Peripheral& peripheral, const Service& service,
                                     const TesslineError* error) override;
  void configure(const Characteristic& characteristic, platform::BluetoothPeripheral& peripheral);
  void enableInputIfNeeded(const Characteristic& characteristic,
                           platform::BluetoothPeripheral& peripheral);
  void didUpdateValueFor(const Peripheral& peripheral, const Characteristic& characteristic,
                         const TesslineError* error) override;

  // Publication.
  void setStatusAndPublish(std::string status);
  void publishSnapshot();
  std::vector<BluetoothRemoteDevice> sortedDevicesForPublication() const;
  void emitSnapshot(std::vector<BluetoothRemoteDevice> devices);

  static constexpr std::chrono::seconds snapshotInterval{1};

  const std::shared_ptr<platform::Platform> platform_;
  const std::shared_ptr<platform::SerialQueue> bluetoothQueue_;
  // All that follows belongs to the queue.
  std::shared_ptr<platform::BluetoothCentral> central_;
  // Kept, or the host would forget them.
  std::map<UUID, Peripheral> peripherals_;
  std::map<UUID, BluetoothRemoteDevice> devices_;
  std::optional<UUID> connectedDeviceID_;
  std::string status_ = "Idle";
  bool isScanning_ = false;
  SiriRemoteReportParser reportParser_;
  // Those whose values are reports, and those that the input was enabled on, in this connection.
  CharacteristicIDs transportCharacteristicIDs_;
  CharacteristicIDs inputEnableCharacteristicIDs_;
  bool hasPendingSnapshot_ = false;
  BluetoothRemoteDiscoverySnapshot lastPublished_;
  // Kept between notifications for their storage.
  std::vector<std::uint8_t> bytes_;
  std::vector<TesslineEvent> events_;
};

}  // namespace tessline
