// A peripheral as one manager sees it.
#include "CoreBluetoothAttributes.h"

#include <algorithm>
#include <atomic>
#include <utility>

#include <standin/dispatch.h>

using standin::bluetooth::Error;
using standin::bluetooth::fail;
using standin::bluetooth::Link;
using standin::bluetooth::made;
using standin::bluetooth::note;
using standin::bluetooth::PeripheralPlan;
using standin::bluetooth::Place;
using standin::bluetooth::planOf;
using standin::bluetooth::radio;

using Lock = std::lock_guard<std::recursive_mutex>;

@interface CBPeer ()
- (instancetype)initPeer;
@end

@implementation CBPeer

- (instancetype)initPeer {
  return [super init];
}

- (NSUUID*)identifier {
  fail("peer of no kind");
}

@end

namespace {

bool keepsObjects() {
  const Lock lock(radio().mutex);
  return radio().keepsObjects;
}

BOOL isWanted(CBAttribute* attribute, NSArray<CBUUID*>* uuids) {
  if (uuids == nil) return YES;
  for (CBUUID* each in uuids) {
    if ([each isEqual:attribute.UUID]) return YES;
  }
  return NO;
}

std::string textOf(NSArray<CBUUID*>* uuids) {
  std::string text;
  for (CBUUID* each in uuids) {
    if (![each isKindOfClass:[CBUUID class]]) fail("no UUID");
    text.append(" ").append(each.UUIDString.UTF8String);
  }
  return uuids == nil ? " nil" : text;
}

std::string textOf(CBAttribute* attribute) {
  return attribute.UUID.UUIDString.UTF8String;
}

std::string textOf(NSData* data) {
  std::string text;
  const auto* bytes = static_cast<const std::uint8_t*>(data.bytes);
  for (std::size_t index = 0; index < data.length; ++index) {
    text += "0123456789ABCDEF"[bytes[index] >> 4];
    text += "0123456789ABCDEF"[bytes[index] & 0xF];
  }
  return text;
}

}  // namespace

@implementation CBPeripheral {
  std::size_t number_;
  NSUUID* identifier_;
  __weak CBCentralManager* manager_;
  // Its manager may end elsewhere than on the queue.
  std::atomic<CBPeripheralState> state_;
  std::shared_ptr<Link> link_;
  std::vector<CBService*> all_;
}

+ (CBPeripheral*)make:(std::size_t)number manager:(CBCentralManager*)manager {
  CBPeripheral* fresh = [[CBPeripheral alloc] initPeer];
  fresh->number_ = number;
  fresh->identifier_ = [[NSUUID alloc] initWithUUIDString:made(planOf(number).identifier)];
  if (fresh->identifier_ == nil) fail("identifier that is no UUID");
  fresh->manager_ = manager;
  fresh->link_ = std::make_shared<Link>();
  const Lock lock(radio().mutex);
  fresh->link_->manager = manager;
  fresh->link_->peripheral = fresh;
  radio().remotes.at(number).links.push_back(fresh->link_);
  return fresh;
}

// Letting go of it ends what it is in the middle of.
- (void)dealloc {
  const CBPeripheralState state = state_;
  if (state != CBPeripheralStateDisconnected) {
    note((state == CBPeripheralStateConnecting ? "attempt " : "connection ") +
         std::to_string(number_) + " ended with its peripheral");
  }
  const Lock lock(radio().mutex);
  link_->isUp = false;
}

- (std::size_t)number {
  return number_;
}

- (CBCentralManager*)manager {
  return manager_;
}

- (std::uint64_t)linkNumber {
  const Lock lock(radio().mutex);
  return link_->number;
}

- (NSUUID*)identifier {
  return identifier_;
}

- (NSString*)name {
  const auto name = planOf(number_).name;
  return name ? made(*name) : nil;
}

- (CBPeripheralState)state {
  return state_;
}

- (NSArray<CBService*>*)services {
  NSMutableArray<CBService*>* found = [[NSMutableArray alloc] init];
  for (CBService* each : all_) {
    if (each->isDiscovered_) [found addObject:each];
  }
  return found.count == 0 ? nil : found;
}

- (void)become:(CBPeripheralState)state {
  state_ = state;
}

- (void)beginConnection {
  const auto plan = planOf(number_);
  state_ = CBPeripheralStateConnected;
  self.isWantedAgain = NO;
  if (!keepsObjects() || ![self hasObjectsOf:plan]) [self makeObjectsOf:plan];
  for (std::size_t index = 0; index < all_.size(); ++index) {
    CBService* service = all_[index];
    service->error_ = plan.services[index].error;
    for (std::size_t each = 0; each < service->all_.size(); ++each) {
      service->all_[each]->plan_ = plan.services[index].characteristics[each];
      service->all_[each]->isNotifying_ = NO;
    }
  }
  [self changeLink:true];
}

- (void)makeObjectsOf:(const PeripheralPlan&)plan {
  all_.clear();
  for (const auto& offered : plan.services) {
    CBService* service = [[CBService alloc] initWithUUIDText:offered.uuid];
    service->peripheral_ = self;
    for (const auto& each : offered.characteristics) {
      CBCharacteristic* characteristic = [[CBCharacteristic alloc] initWithUUIDText:each.uuid];
      characteristic->place_ = {all_.size(), service->all_.size()};
      characteristic->service_ = service;
      service->all_.push_back(characteristic);
    }
    all_.push_back(service);
  }
}

// Whether they are those of what it offers.
- (BOOL)hasObjectsOf:(const PeripheralPlan&)plan {
  const auto isOf = [](CBAttribute* attribute, const auto& offered) {
    return [attribute.UUID isEqual:[CBUUID UUIDWithString:made(offered.uuid)]] != NO;
  };
  return std::ranges::equal(all_, plan.services, [&](CBService* service, const auto& offered) {
    return isOf(service, offered) &&
           std::ranges::equal(service->all_, offered.characteristics, isOf);
  });
}

// The services stay until the next connection, though nothing can be asked of them.
- (void)endConnection {
  state_ = CBPeripheralStateDisconnected;
  self.isWantedAgain = NO;
  [self changeLink:false];
}

- (void)changeLink:(bool)isUp {
  const Lock lock(radio().mutex);
  link_->isUp = isUp;
  ++link_->number;
  link_->notifying.clear();
  link_->written.clear();
}

// Notes a call; false if it does nothing as there is no connection.
- (BOOL)begin:(const std::string&)call {
  CBCentralManager* manager = manager_;
  if (manager != nil && !standin::dispatch::isCurrent(manager.queue)) {
    fail(call + " on another queue");
  }
  note(call);
  if (manager != nil && state_ == CBPeripheralStateConnected) return YES;
  note("API MISUSE: not connected");
  return NO;
}

// Whether it is of this connection.
- (BOOL)has:(CBAttribute*)attribute {
  for (CBService* service : all_) {
    if (service == attribute) return YES;
    for (CBCharacteristic* each : service->all_) {
      if (each == attribute) return YES;
    }
  }
  note("API MISUSE: not of this connection");
  return NO;
}

// Comes behind what was asked for before, if the connection still stands then.
- (void)answer:(std::function<void(CBPeripheral*)>)work {
  __weak CBPeripheral* weak = self;
  [manager_ post:[weak, link = self.linkNumber, work = std::move(work)](CBCentralManager*) {
    CBPeripheral* asked = weak;
    if (asked != nil && asked.linkNumber == link) work(asked);
  }];
}

- (void)discoverServices:(NSArray<CBUUID*>*)serviceUUIDs {
  if (![self begin:"discoverServices " + std::to_string(number_) + textOf(serviceUUIDs)]) return;
  [self answer:[serviceUUIDs](CBPeripheral* self_) {
    const auto error = planOf(self_->number_).servicesError;
    for (CBService* each : self_->all_) {
      if (!error && isWanted(each, serviceUUIDs)) each->isDiscovered_ = YES;
    }
    id<CBPeripheralDelegate> delegate = self_.delegate;
    if ([delegate respondsToSelector:@selector(peripheral:didDiscoverServices:)]) {
      [delegate peripheral:self_ didDiscoverServices:made(error)];
    }
  }];
}

- (void)discoverCharacteristics:(NSArray<CBUUID*>*)characteristicUUIDs
                     forService:(CBService*)service {
  if (![service isKindOfClass:[CBService class]]) fail("no service");
  if (![self begin:"discoverCharacteristics " + std::to_string(number_) + " " + textOf(service) +
                   textOf(characteristicUUIDs)] ||
      ![self has:service]) {
    return;
  }
  [self answer:[characteristicUUIDs, service](CBPeripheral* self_) {
    for (CBCharacteristic* each : service->all_) {
      if (!service->error_ && isWanted(each, characteristicUUIDs)) each->isDiscovered_ = YES;
    }
    id<CBPeripheralDelegate> delegate = self_.delegate;
    if ([delegate respondsToSelector:@selector(peripheral:
                                         didDiscoverCharacteristicsForService:error:)]) {
      [delegate peripheral:self_
          didDiscoverCharacteristicsForService:service
                                         error:made(service->error_)];
    }
  }];
}

- (BOOL)begin:(const std::string&)call with:(CBCharacteristic*)characteristic {
  if (![characteristic isKindOfClass:[CBCharacteristic class]]) fail("no characteristic");
  const std::string about = " " + std::to_string(number_) + " " + textOf(characteristic);
  const auto end = call.find(' ');
  const std::string rest = end == std::string::npos ? "" : call.substr(end);
  return [self begin:call.substr(0, end) + about + rest] && [self has:characteristic];
}

- (void)readValueForCharacteristic:(CBCharacteristic*)characteristic {
  if (![self begin:"readValue" with:characteristic]) return;
  [self answer:[characteristic](CBPeripheral* self_) {
    const auto& value = characteristic->plan_.value;
    constexpr long readNotPermitted = 2;
    std::optional<Error> error;
    if (!value) error = Error{"CBATTErrorDomain", readNotPermitted, "Reading is not permitted."};
    [self_ updateValue:value at:characteristic->place_ error:error];
  }];
}

- (void)writeValue:(NSData*)data
    forCharacteristic:(CBCharacteristic*)characteristic
                 type:(CBCharacteristicWriteType)type {
  if (![data isKindOfClass:[NSData class]]) fail("no data");
  const char* how =
      type == CBCharacteristicWriteWithResponse ? " withResponse" : " withoutResponse";
  if (![self begin:"writeValue " + textOf(data) + how with:characteristic]) return;
  const auto* bytes = static_cast<const std::uint8_t*>(data.bytes);
  const Lock lock(radio().mutex);
  link_->written[characteristic->place_].emplace_back(bytes, bytes + data.length);
}

- (void)setNotifyValue:(BOOL)enabled forCharacteristic:(CBCharacteristic*)characteristic {
  if (![self begin:enabled ? "setNotifyValue YES" : "setNotifyValue NO" with:characteristic])
    return;
  characteristic->isNotifying_ = enabled;
  const Lock lock(radio().mutex);
  if (enabled) {
    link_->notifying.insert(characteristic->place_);
  } else {
    link_->notifying.erase(characteristic->place_);
  }
}

- (void)updateValue:(const std::optional<std::vector<std::uint8_t>>&)value
                 at:(Place)place
              error:(const std::optional<Error>&)error {
  if (place.first >= all_.size() || place.second >= all_[place.first]->all_.size()) return;
  CBCharacteristic* characteristic = all_[place.first]->all_[place.second];
  if (value) {
    characteristic->value_ = [NSData dataWithBytes:value->data() length:value->size()];
  }
  id<CBPeripheralDelegate> delegate = self.delegate;
  if ([delegate respondsToSelector:@selector(peripheral:didUpdateValueForCharacteristic:error:)]) {
    [delegate peripheral:self didUpdateValueForCharacteristic:characteristic error:made(error)];
  }
}

@end
