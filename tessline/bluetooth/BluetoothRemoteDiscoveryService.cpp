#include "tessline/bluetooth/BluetoothRemoteDiscoveryService.h"

#include "tessline/bluetooth/BluetoothStatus.h"
#include "tessline/bluetooth/SiriRemoteBluetoothUUIDs.h"
#include "tessline/text/Unicode.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <compare>
#include <utility>

namespace tessline {

using platform::BluetoothProperties;
using platform::BluetoothState;
using UUIDs = SiriRemoteBluetoothUUIDs;

namespace {

constexpr std::string_view bluetoothQueueLabel = "com.morvane.remote.bluetooth";
constexpr std::string_view unnamedDevice = "Unnamed Device";
constexpr std::string_view retrievedRemote = "Siri Remote";
// For a remote that was retrieved and not heard.
constexpr std::int64_t unknownRSSI = -50;
constexpr std::array<std::uint8_t, 1> inputEnableCommand = {0xAF};

constexpr std::array soughtServices = {UUIDs::batteryService, UUIDs::hidService,
                                       UUIDs::customVoiceService};
constexpr std::array batteryCharacteristics = {UUIDs::batteryLevel, UUIDs::powerState};
constexpr std::array hidCharacteristics = {UUIDs::hidReport};
constexpr std::array voiceCharacteristics = {UUIDs::customVoiceNotify};

namespace status {
using namespace bluetoothStatus;
constexpr std::string_view starting = "Starting Bluetooth";
constexpr std::string_view connecting = "Connecting to ";
constexpr std::string_view notAvailable = "Device is no longer available";
constexpr std::string_view connected = "Connected to ";
constexpr std::string_view failed = "Failed to connect to ";
constexpr std::string_view unknownError = "Unknown error";
constexpr std::string_view disconnected = "Disconnected from ";
constexpr std::string_view servicesFailed = "Service discovery failed: ";
constexpr std::string_view characteristicsFailed = "Characteristic discovery failed: ";

std::string_view of(BluetoothState state) {
  switch (state) {
    case BluetoothState::unknown:
      return "Waiting for Bluetooth state";
    case BluetoothState::resetting:
      return "Bluetooth is resetting";
    case BluetoothState::unsupported:
      return unsupported;
    case BluetoothState::unauthorized:
      return unauthorized;
    case BluetoothState::poweredOff:
      return "Bluetooth is powered off";
    case BluetoothState::poweredOn:
      return "Scanning for Bluetooth devices";
  }
  return "Unknown Bluetooth state";
}
}  // namespace status

std::string_view text(platform::BluetoothPeripheralState state) {
  using State = platform::BluetoothPeripheralState;
  switch (state) {
    case State::disconnected:
      return "Disconnected";
    case State::connecting:
      return "Connecting";
    case State::connected:
      return "Connected";
    case State::disconnecting:
      return "Disconnecting";
  }
  return "Unknown";
}

std::optional<std::string> unlessEmpty(std::optional<std::string> text) {
  return text && text->empty() ? std::nullopt : std::move(text);
}

std::string displayName(const platform::BluetoothPeripheral& peripheral) {
  return unlessEmpty(peripheral.name()).value_or(std::string(unnamedDevice));
}

std::vector<std::string> sortedTexts(std::span<const BluetoothUUID> uuids) {
  std::vector<std::string> texts;
  texts.reserve(uuids.size());
  for (const BluetoothUUID& uuid : uuids) texts.push_back(uuid.text());
  std::ranges::sort(texts);
  return texts;
}

}  // namespace

std::shared_ptr<BluetoothRemoteDiscoveryService> BluetoothRemoteDiscoveryService::create(
    std::shared_ptr<platform::Platform> platform) {
  return std::shared_ptr<BluetoothRemoteDiscoveryService>(
      new BluetoothRemoteDiscoveryService(std::move(platform)));
}

BluetoothRemoteDiscoveryService::BluetoothRemoteDiscoveryService(
    std::shared_ptr<platform::Platform> platform)
    : platform_(std::move(platform)),
      bluetoothQueue_(
          platform_->makeSerialQueue(bluetoothQueueLabel, platform::QualityOfService::standard)) {}

void BluetoothRemoteDiscoveryService::startScanning() {
  bluetoothQueue_->async([weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->startScanningOnBluetoothQueue();
  });
}

void BluetoothRemoteDiscoveryService::stopScanning() {
  bluetoothQueue_->async([weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->stopScanningOnBluetoothQueue();
  });
}

void BluetoothRemoteDiscoveryService::connect(const UUID& id) {
  bluetoothQueue_->async([weak = weak_from_this(), id] {
    if (const auto self = weak.lock()) self->connectOnBluetoothQueue(id);
  });
}

void BluetoothRemoteDiscoveryService::disconnect() {
  bluetoothQueue_->async([weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->disconnectOnBluetoothQueue();
  });
}

void BluetoothRemoteDiscoveryService::startScanningOnBluetoothQueue() {
  assert(bluetoothQueue_->isCurrent());
  if (central_) return scanIfReady();
  setStatusAndPublish(std::string(status::starting));
  // Both bases are private, and stay so.
  central_ = platform_->makeBluetoothCentral(
      std::shared_ptr<platform::BluetoothCentralDelegate>(shared_from_this(), this),
      bluetoothQueue_);
}

void BluetoothRemoteDiscoveryService::stopScanningOnBluetoothQueue() {
  assert(bluetoothQueue_->isCurrent());
  if (central_) central_->stopScan();
  isScanning_ = false;
  setStatusAndPublish(std::string(status::stopped));
}

void BluetoothRemoteDiscoveryService::centralManagerDidUpdateState() {
  assert(bluetoothQueue_->isCurrent());
  scanIfReady();
}

void BluetoothRemoteDiscoveryService::scanIfReady() {
  if (!central_) return;
  const BluetoothState state = central_->state();
  const bool isReady = state == BluetoothState::poweredOn;
  if (isReady) {
    connectToRetrievedRemotes();
    central_->scanForPeripherals({.allowDuplicates = false});
  }
  isScanning_ = isReady;
  setStatusAndPublish(std::string(status::of(state)));
}

void BluetoothRemoteDiscoveryService::connectToRetrievedRemotes() {
  constexpr std::array services = {UUIDs::batteryService};
  for (const Peripheral& peripheral : central_->retrieveConnectedPeripherals(services)) {
    if (!isSiriRemote(*peripheral)) continue;
    const UUID id = peripheral->identifier();
    peripherals_[id] = peripheral;
    devices_[id] = {.id = id,
                    .name = peripheral->name().value_or(std::string(retrievedRemote)),
                    .rssi = unknownRSSI,
                    .connectionState = std::string(text(peripheral->state())),
                    .serviceUUIDs = sortedTexts(services),
                    .lastSeen = platform_->environment()->currentDate()};
    central_->connect(peripheral);
  }
}

void BluetoothRemoteDiscoveryService::didDiscover(
    const Peripheral& peripheral, const platform::BluetoothAdvertisement& advertisement,
    std::int64_t rssi) {
  assert(bluetoothQueue_->isCurrent() && central_);
  auto name = unlessEmpty(advertisement.localName);
  if (!name) name = unlessEmpty(peripheral->name());
  if (!isSiriRemote(name, advertisement.serviceUUIDs)) return;
  const UUID id = peripheral->identifier();
  peripherals_[id] = peripheral;
  devices_[id] = {.id = id,
                  .name = *std::move(name),
                  .rssi = rssi,
                  .connectionState = std::string(text(peripheral->state())),
                  .serviceUUIDs = sortedTexts(advertisement.serviceUUIDs),
                  .lastSeen = platform_->environment()->currentDate()};
  // One remote is wanted, and this is it.
  central_->stopScan();
  isScanning_ = false;
  central_->connect(peripheral);
  publishSnapshot();
}

void BluetoothRemoteDiscoveryService::connectOnBluetoothQueue(const UUID& id) {
  assert(bluetoothQueue_->isCurrent());
  const auto found = peripherals_.find(id);
  if (found == peripherals_.end()) return setStatusAndPublish(std::string(status::notAvailable));
  const Peripheral peripheral = found->second;
  setStatusAndPublish(std::string(status::connecting) + displayName(*peripheral));
  if (central_) central_->connect(peripheral);
}

void BluetoothRemoteDiscoveryService::disconnectOnBluetoothQueue() {
  assert(bluetoothQueue_->isCurrent());
  if (!connectedDeviceID_ || !central_) return;
  const auto found = peripherals_.find(*connectedDeviceID_);
  if (found != peripherals_.end()) central_->cancelPeripheralConnection(found->second);
}

void BluetoothRemoteDiscoveryService::didConnect(const Peripheral& peripheral) {
  assert(bluetoothQueue_->isCurrent());
  connectedDeviceID_ = peripheral->identifier();
  transportCharacteristicIDs_.clear();
  inputEnableCharacteristicIDs_.clear();
  status_ = std::string(status::connected) + displayName(*peripheral);
  peripheral->setDelegate(
      std::shared_ptr<platform::BluetoothPeripheralDelegate>(shared_from_this(), this));
  peripheral->discoverServices(soughtServices);
  publishSnapshot();
}

void BluetoothRemoteDiscoveryService::didFailToConnect(const Peripheral& peripheral,
                                                       const TesslineError* error) {
  assert(bluetoothQueue_->isCurrent());
  const std::string reason =
      error == nullptr ? std::string(status::unknownError) : error->localizedDescription();
  setStatusAndPublish(std::string(status::failed) + displayName(*peripheral) + ": " + reason);
}

void BluetoothRemoteDiscoveryService::didDisconnectPeripheral(const Peripheral& peripheral,
                                                              const TesslineError*) {
  assert(bluetoothQueue_->isCurrent() && central_);
  if (connectedDeviceID_ == peripheral->identifier()) connectedDeviceID_.reset();
  transportCharacteristicIDs_.clear();
  inputEnableCharacteristicIDs_.clear();
  if (isSiriRemote(*peripheral) && onBatteryLevelChanged) onBatteryLevelChanged(std::nullopt);
  setStatusAndPublish(std::string(status::disconnected) + displayName(*peripheral));
  if (isSiriRemote(*peripheral)) central_->connect(peripheral);
}

void BluetoothRemoteDiscoveryService::didDiscoverServices(const Peripheral& peripheral,
                                                          const TesslineError* error) {
  assert(bluetoothQueue_->isCurrent());
  if (error != nullptr) {
    return setStatusAndPublish(std::string(status::servicesFailed) + error->localizedDescription());
  }
  for (const Service& service : peripheral->services()) {
    if (service->uuid() == UUIDs::batteryService) {
      peripheral->discoverCharacteristics(batteryCharacteristics, service);
    } else if (service->uuid() == UUIDs::hidService) {
      peripheral->discoverCharacteristics(hidCharacteristics, service);
    } else if (service->uuid() == UUIDs::customVoiceService) {
      peripheral->discoverCharacteristics(voiceCharacteristics, service);
    }
  }
}

void BluetoothRemoteDiscoveryService::didDiscoverCharacteristicsFor(const Peripheral& peripheral,
                                                                    const Service& service,
                                                                    const TesslineError* error) {
  assert(bluetoothQueue_->isCurrent());
  if (error != nullptr) {
    return setStatusAndPublish(std::string(status::characteristicsFailed) +
                               error->localizedDescription());
  }
  for (const Characteristic& characteristic : service->characteristics()) {
    configure(characteristic, *peripheral);
  }
}

void BluetoothRemoteDiscoveryService::configure(const Characteristic& characteristic,
                                                platform::BluetoothPeripheral& peripheral) {
  const BluetoothProperties properties = characteristic->properties();
  const auto subscribe = [&] {
    if (properties.hasAnyOf(BluetoothProperties::notify | BluetoothProperties::indicate)) {
      peripheral.setNotifyValue(true, characteristic);
    }
    if (properties.hasAnyOf(BluetoothProperties::read)) peripheral.readValue(characteristic);
  };
  const BluetoothUUID& uuid = characteristic->uuid();
  if (uuid == UUIDs::batteryLevel) {
    peripheral.readValue(characteristic);
    peripheral.setNotifyValue(true, characteristic);
  } else if (uuid == UUIDs::powerState) {
    subscribe();
  } else if (uuid == UUIDs::hidReport) {
    transportCharacteristicIDs_.insert(characteristic);
    subscribe();
    enableInputIfNeeded(characteristic, peripheral);
  } else if (uuid == UUIDs::customVoiceNotify) {
    transportCharacteristicIDs_.insert(characteristic);
    subscribe();
  }
}

void BluetoothRemoteDiscoveryService::enableInputIfNeeded(
    const Characteristic& characteristic, platform::BluetoothPeripheral& peripheral) {
  if (inputEnableCharacteristicIDs_.contains(characteristic)) return;
  using platform::BluetoothWriteType;
  const BluetoothProperties properties = characteristic->properties();
  if (properties.hasAnyOf(BluetoothProperties::write)) {
    peripheral.writeValue(inputEnableCommand, characteristic, BluetoothWriteType::withResponse);
  } else if (properties.hasAnyOf(BluetoothProperties::writeWithoutResponse)) {
    peripheral.writeValue(inputEnableCommand, characteristic, BluetoothWriteType::withoutResponse);
  } else {
    return;
  }
  inputEnableCharacteristicIDs_.insert(characteristic);
}

void BluetoothRemoteDiscoveryService::didUpdateValueFor(const Peripheral&,
                                                        const Characteristic& characteristic,
                                                        const TesslineError* error) {
  assert(bluetoothQueue_->isCurrent());
  if (error != nullptr) return;
  const auto value = characteristic->value();
  if (!value) return;
  if (characteristic->uuid() == UUIDs::batteryLevel && !value->empty() && onBatteryLevelChanged) {
    onBatteryLevelChanged(value->front());
  }
  if (!transportCharacteristicIDs_.contains(characteristic)) return;
  bytes_.assign(value->begin(), value->end());
  events_.clear();
  if (onRawPayload) onRawPayload(bytes_);
  reportParser_.ingestPayload(bytes_, events_);
  if (!events_.empty() && onTransportEvents) onTransportEvents(events_);
}

void BluetoothRemoteDiscoveryService::setStatusAndPublish(std::string status) {
  status_ = std::move(status);
  publishSnapshot();
}

void BluetoothRemoteDiscoveryService::publishSnapshot() {
  const bool differs = status_ != lastPublished_.status ||
                       isScanning_ != lastPublished_.isScanning ||
                       connectedDeviceID_ != lastPublished_.connectedDeviceID;
  if (differs) {
    // A publication that is under way already still comes.
    hasPendingSnapshot_ = false;
    return emitSnapshot(sortedDevicesForPublication());
  }
  if (std::exchange(hasPendingSnapshot_, true)) return;
  bluetoothQueue_->asyncAfter(snapshotInterval, [weak = weak_from_this()] {
    const auto self = weak.lock();
    if (!self) return;
    self->hasPendingSnapshot_ = false;
    self->emitSnapshot(self->sortedDevicesForPublication());
  });
}

std::vector<BluetoothRemoteDevice> BluetoothRemoteDiscoveryService::sortedDevicesForPublication()
    const {
  std::vector<BluetoothRemoteDevice> devices;
  devices.reserve(devices_.size());
  for (const auto& [id, device] : devices_) devices.push_back(device);
  std::ranges::stable_sort(devices, [](const auto& left, const auto& right) {
    if (left.rssi != right.rssi) return left.rssi > right.rssi;
    return std::is_lt(compareCanonically(left.name, right.name));
  });
  return devices;
}

void BluetoothRemoteDiscoveryService::emitSnapshot(std::vector<BluetoothRemoteDevice> devices) {
  lastPublished_ = {.status = status_,
                    .isScanning = isScanning_,
                    .devices = std::move(devices),
                    .connectedDeviceID = connectedDeviceID_};
  if (onSnapshotChanged) onSnapshotChanged(lastPublished_);
}

}  // namespace tessline
