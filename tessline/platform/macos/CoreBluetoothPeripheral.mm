#include "tessline/platform/macos/CoreBluetoothPeripheral.h"

#include "tessline/platform/macos/FoundationText.h"

#include <algorithm>
#include <cstdint>

namespace tessline::platform {

namespace {

// Texts of the system are those of UUIDs always.
BluetoothUUID uuidOf(CBAttribute* attribute) {
  return BluetoothUUID::parse(textOf(attribute.UUID.UUIDString).value()).value();
}

// Null for one that is not among them.
template <class Seen, class Object>
Seen findObject(const std::vector<Seen>& all, Object* object) {
  const auto found =
      std::ranges::find_if(all, [object](const auto& each) { return each->object() == object; });
  return found == all.end() ? nullptr : *found;
}

}  // namespace

NSArray<CBUUID*>* makeCBUUIDs(std::span<const BluetoothUUID> uuids) {
  NSMutableArray<CBUUID*>* all = [[NSMutableArray alloc] init];
  for (const BluetoothUUID& uuid : uuids) {
    [all addObject:[CBUUID UUIDWithString:makeNSString(uuid.text())]];
  }
  return all;
}

std::optional<TesslineError> errorOf(NSError* error) {
  if (error == nil) return std::nullopt;
  return TesslineError(textOf(error.domain).value_or(""), error.code,
                       textOf(error.localizedDescription).value_or(""));
}

// Characteristics.

CoreBluetoothCharacteristic::CoreBluetoothCharacteristic(CBCharacteristic* object)
    : object_(object), uuid_(uuidOf(object)) {}

BluetoothProperties CoreBluetoothCharacteristic::properties() const {
  return {static_cast<std::uint32_t>(object_.properties)};
}

std::optional<std::span<const std::uint8_t>> CoreBluetoothCharacteristic::value() const {
  if (value_ == nil) return std::nullopt;
  @autoreleasepool {
    const NSUInteger length = value_.length;
    return std::span(static_cast<const std::uint8_t*>(value_.bytes), length);
  }
}

// Services.

CoreBluetoothService::CoreBluetoothService(CBService* object)
    : object_(object), uuid_(uuidOf(object)) {}

std::shared_ptr<CoreBluetoothCharacteristic> CoreBluetoothService::seen(
    CBCharacteristic* object) const {
  return findObject(seen_, object);
}

std::vector<std::shared_ptr<BluetoothCharacteristic>> CoreBluetoothService::characteristics()
    const {
  std::vector<std::shared_ptr<BluetoothCharacteristic>> all;
  if (!hasCharacteristics_) return all;
  @autoreleasepool {
    for (CBCharacteristic* each in object_.characteristics) {
      auto characteristic = seen(each);
      if (!characteristic) {
        characteristic = std::make_shared<CoreBluetoothCharacteristic>(each);
        seen_.push_back(characteristic);
      }
      all.push_back(std::move(characteristic));
    }
  }
  return all;
}

// Peripherals.

void CoreBluetoothPeripheral::moveTo(CBPeripheral* object,
                                     std::weak_ptr<BluetoothCentral> central) {
  object_ = object;
  central_ = std::move(central);
  forget();
}

void CoreBluetoothPeripheral::connected() {
  isConnected_ = true;
  owedEnd_ = OwedEnd::none;
}

bool CoreBluetoothPeripheral::takesOwedEnd() {
  if (owedEnd_ != OwedEnd::toTell) return false;
  forget();
  owedEnd_ = OwedEnd::told;
  return true;
}

void CoreBluetoothPeripheral::forget() {
  isConnected_ = false;
  hasServices_ = false;
  owedEnd_ = OwedEnd::none;
  services_.clear();
}

void CoreBluetoothPeripheral::servicesDiscovered(NSError* error) {
  if (error == nil) hasServices_ = true;
  const auto delegate = delegate_.lock();
  if (!delegate) return;
  const auto reason = errorOf(error);
  delegate->didDiscoverServices(shared_from_this(), pointerTo(reason));
}

void CoreBluetoothPeripheral::characteristicsDiscovered(CBService* service, NSError* error) {
  const auto asked = this->service(service);
  if (error == nil) asked->characteristicsDiscovered();
  const auto delegate = delegate_.lock();
  if (!delegate) return;
  const auto reason = errorOf(error);
  delegate->didDiscoverCharacteristicsFor(shared_from_this(), asked, pointerTo(reason));
}

void CoreBluetoothPeripheral::valueUpdated(CBCharacteristic* characteristic, NSError* error) {
  const auto updated = seen(characteristic);
  if (!updated) return;
  const auto reason = errorOf(error);
  if (!reason) updated->takeValue();
  const auto delegate = delegate_.lock();
  if (delegate) delegate->didUpdateValueFor(shared_from_this(), updated, pointerTo(reason));
}

UUID CoreBluetoothPeripheral::identifier() const {
  UUID identifier;
  @autoreleasepool {
    [object_.identifier getUUIDBytes:identifier.bytes.data()];
  }
  return identifier;
}

std::optional<std::string> CoreBluetoothPeripheral::name() const {
  @autoreleasepool {
    return textOf(object_.name);
  }
}

// Without its central there is nothing to ask, and it is disconnected.
BluetoothPeripheralState CoreBluetoothPeripheral::state() const {
  @autoreleasepool {
    return static_cast<BluetoothPeripheralState>(usable().state);
  }
}

std::vector<std::shared_ptr<BluetoothService>> CoreBluetoothPeripheral::services() const {
  std::vector<std::shared_ptr<BluetoothService>> all;
  if (!isConnected_ || !hasServices_) return all;
  @autoreleasepool {
    for (CBService* each in usable().services) all.push_back(service(each));
  }
  return all;
}

void CoreBluetoothPeripheral::discoverServices(std::span<const BluetoothUUID> uuids) {
  @autoreleasepool {
    [usable() discoverServices:makeCBUUIDs(uuids)];
  }
}

void CoreBluetoothPeripheral::discoverCharacteristics(
    std::span<const BluetoothUUID> uuids, const std::shared_ptr<BluetoothService>& service) {
  const auto& asked = static_cast<const CoreBluetoothService&>(*service);
  if (seen(asked.object()).get() != &asked) return;
  @autoreleasepool {
    [usable() discoverCharacteristics:makeCBUUIDs(uuids) forService:asked.object()];
  }
}

void CoreBluetoothPeripheral::readValue(
    const std::shared_ptr<BluetoothCharacteristic>& characteristic) {
  @autoreleasepool {
    CBCharacteristic* asked = current(*characteristic);
    if (asked != nil) [usable() readValueForCharacteristic:asked];
  }
}

void CoreBluetoothPeripheral::writeValue(
    std::span<const std::uint8_t> value,
    const std::shared_ptr<BluetoothCharacteristic>& characteristic, BluetoothWriteType type) {
  @autoreleasepool {
    CBCharacteristic* asked = current(*characteristic);
    if (asked == nil) return;
    [usable() writeValue:[NSData dataWithBytes:value.data() length:value.size()]
        forCharacteristic:asked
                     type:type == BluetoothWriteType::withResponse
                              ? CBCharacteristicWriteWithResponse
                              : CBCharacteristicWriteWithoutResponse];
  }
}

void CoreBluetoothPeripheral::setNotifyValue(
    bool enabled, const std::shared_ptr<BluetoothCharacteristic>& characteristic) {
  @autoreleasepool {
    CBCharacteristic* asked = current(*characteristic);
    if (asked != nil) [usable() setNotifyValue:enabled forCharacteristic:asked];
  }
}

std::shared_ptr<CoreBluetoothService> CoreBluetoothPeripheral::service(CBService* object) const {
  if (auto found = seen(object)) return found;
  return services_.emplace_back(std::make_shared<CoreBluetoothService>(object));
}

// Null for one that nobody has seen in this connection.
std::shared_ptr<CoreBluetoothService> CoreBluetoothPeripheral::seen(CBService* object) const {
  return findObject(services_, object);
}
std::shared_ptr<CoreBluetoothCharacteristic> CoreBluetoothPeripheral::seen(
    CBCharacteristic* object) const {
  for (const auto& service : services_) {
    if (auto found = service->seen(object)) return found;
  }
  return nullptr;
}

// Nil, to which everything may be sent, once the central is gone.
CBPeripheral* CoreBluetoothPeripheral::usable() const {
  return central_.expired() ? nil : object_;
}

// Nil for one of an earlier connection.
CBCharacteristic* CoreBluetoothPeripheral::current(
    const BluetoothCharacteristic& characteristic) const {
  const auto& wanted = static_cast<const CoreBluetoothCharacteristic&>(characteristic);
  return seen(wanted.object()).get() == &wanted ? wanted.object() : nil;
}

}  // namespace tessline::platform
