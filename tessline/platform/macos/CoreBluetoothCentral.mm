#include "tessline/platform/macos/CoreBluetoothCentral.h"

#include "tessline/platform/macos/DispatchQueue.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <string>
#include <utility>

#include <CoreBluetooth/CoreBluetooth.h>

namespace tessline::platform {
namespace {
class CoreBluetoothCentral;
}
}  // namespace tessline::platform

// Told by the system, and tells the central while that lives. The system holds it weakly.
@interface TesslineCentralObserver : NSObject <CBCentralManagerDelegate, CBPeripheralDelegate>
- (instancetype)initWithCentral:(std::weak_ptr<tessline::platform::CoreBluetoothCentral>)central;
@end

namespace tessline::platform {

namespace {

std::string textOf(NSString* text) {
  const char* const bytes = text.UTF8String;
  return bytes == nullptr ? std::string() : bytes;
}

NSString* made(const std::string& text) {
  return [NSString stringWithUTF8String:text.c_str()];
}

// Texts of the system are those of UUIDs always.
BluetoothUUID uuidOf(CBAttribute* attribute) {
  return BluetoothUUID::parse(textOf(attribute.UUID.UUIDString)).value();
}

NSArray<CBUUID*>* made(std::span<const BluetoothUUID> uuids) {
  NSMutableArray<CBUUID*>* all = [[NSMutableArray alloc] init];
  for (const BluetoothUUID& uuid : uuids) {
    [all addObject:[CBUUID UUIDWithString:made(uuid.text())]];
  }
  return all;
}

std::optional<TesslineError> errorOf(NSError* error) {
  if (error == nil) return std::nullopt;
  return TesslineError(textOf(error.domain), error.code, textOf(error.localizedDescription));
}

const TesslineError* pointerTo(const std::optional<TesslineError>& error) {
  return error ? &*error : nullptr;
}

std::optional<std::string> localNameIn(NSDictionary<NSString*, id>* advertisement) {
  id name = advertisement[CBAdvertisementDataLocalNameKey];
  if (![name isKindOfClass:[NSString class]]) return std::nullopt;
  return textOf(name);
}

std::vector<BluetoothUUID> serviceUUIDsIn(NSDictionary<NSString*, id>* advertisement) {
  id listed = advertisement[CBAdvertisementDataServiceUUIDsKey];
  if (![listed isKindOfClass:[NSArray class]]) return {};
  std::vector<BluetoothUUID> uuids;
  for (id each in listed) {
    if (![each isKindOfClass:[CBUUID class]]) return {};
    const auto uuid = BluetoothUUID::parse(textOf([each UUIDString]));
    if (!uuid) return {};
    uuids.push_back(*uuid);
  }
  return uuids;
}

// Objects of the system are given by reference here, so that no pool holds them longer than needed.
class CoreBluetoothCharacteristic : public BluetoothCharacteristic {
 public:
  explicit CoreBluetoothCharacteristic(CBCharacteristic* object)
      : object_(object), uuid_(uuidOf(object)) {}

  CBCharacteristic* const& object() const { return object_; }
  // The bytes are kept here, as the system replaces its own when it likes.
  void takeValue() { value_ = [object_.value copy]; }

  const BluetoothUUID& uuid() const override { return uuid_; }
  BluetoothProperties properties() const override {
    return {static_cast<std::uint32_t>(object_.properties)};
  }
  std::optional<std::span<const std::uint8_t>> value() const override {
    if (value_ == nil) return std::nullopt;
    @autoreleasepool {
      const NSUInteger length = value_.length;
      return std::span(static_cast<const std::uint8_t*>(value_.bytes), length);
    }
  }

 private:
  CBCharacteristic* const object_;
  const BluetoothUUID uuid_;
  NSData* value_ = nil;
};

// Holds the characteristics that were seen, so that each stays the same object.
class CoreBluetoothService : public BluetoothService {
 public:
  explicit CoreBluetoothService(CBService* object) : object_(object), uuid_(uuidOf(object)) {}

  CBService* const& object() const { return object_; }
  // Null for one that nobody has seen.
  std::shared_ptr<CoreBluetoothCharacteristic> seen(CBCharacteristic* object) const {
    const auto found = std::ranges::find_if(
        seen_, [object](const auto& each) { return each->object() == object; });
    return found == seen_.end() ? nullptr : *found;
  }

  const BluetoothUUID& uuid() const override { return uuid_; }
  std::vector<std::shared_ptr<BluetoothCharacteristic>> characteristics() const override {
    std::vector<std::shared_ptr<BluetoothCharacteristic>> all;
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

 private:
  CBService* const object_;
  const BluetoothUUID uuid_;
  mutable std::vector<std::shared_ptr<CoreBluetoothCharacteristic>> seen_;
};

// Letting go of this lets go of the system's object, which ends an attempt.
class CoreBluetoothPeripheral : public BluetoothPeripheral {
 public:
  CoreBluetoothPeripheral(CBPeripheral* object, std::weak_ptr<CoreBluetoothCentral> central)
      : object_(object), central_(std::move(central)) {}

  CBPeripheral* const& object() const { return object_; }
  bool isOf(const CoreBluetoothCentral& central) const { return central_.lock().get() == &central; }
  void moveTo(CBPeripheral* object, std::weak_ptr<CoreBluetoothCentral> central) {
    object_ = object;
    central_ = std::move(central);
    forget();
  }

  // What becomes of it, as the central is told.
  void connected() {
    isConnected_ = true;
    owesEnd_ = false;
  }
  void failed() { forget(); }
  // Whether this is to be told: it was not, or not for an attempt that has been cancelled.
  bool ended() {
    const bool isNews = isConnected_ || owesEnd_;
    forget();
    return isNews;
  }
  // An attempt was cancelled. Not every version of the system tells that.
  void owesEnd() { owesEnd_ = true; }
  bool doesOweEnd() const { return owesEnd_; }
  bool isConnected() const { return isConnected_; }

  // What it is told, for its delegate.
  template <class Call>
  void tell(Call call) const {
    if (const auto delegate = delegate_.lock()) call(*delegate);
  }
  std::shared_ptr<CoreBluetoothService> service(CBService* object) const {
    if (auto found = seen(object)) return found;
    return services_.emplace_back(std::make_shared<CoreBluetoothService>(object));
  }
  // Null for one of an earlier connection.
  std::shared_ptr<CoreBluetoothCharacteristic> characteristic(CBCharacteristic* object) const {
    for (const auto& service : services_) {
      if (auto found = service->seen(object)) return found;
    }
    return nullptr;
  }

  UUID identifier() const override {
    UUID identifier;
    @autoreleasepool {
      [object_.identifier getUUIDBytes:identifier.bytes.data()];
    }
    return identifier;
  }
  std::optional<std::string> name() const override {
    @autoreleasepool {
      NSString* name = object_.name;
      if (name == nil) return std::nullopt;
      return textOf(name);
    }
  }
  // Without its central there is nothing to ask, and it is disconnected.
  BluetoothPeripheralState state() const override {
    @autoreleasepool {
      return static_cast<BluetoothPeripheralState>(usable().state);
    }
  }
  std::vector<std::shared_ptr<BluetoothService>> services() const override {
    std::vector<std::shared_ptr<BluetoothService>> all;
    if (!isConnected_) return all;
    @autoreleasepool {
      for (CBService* each in usable().services) all.push_back(service(each));
    }
    return all;
  }

  void setDelegate(std::weak_ptr<BluetoothPeripheralDelegate> delegate) override {
    delegate_ = std::move(delegate);
  }
  void discoverServices(std::span<const BluetoothUUID> uuids) override {
    @autoreleasepool {
      [usable() discoverServices:made(uuids)];
    }
  }
  void discoverCharacteristics(std::span<const BluetoothUUID> uuids,
                               const std::shared_ptr<BluetoothService>& service) override {
    const auto& asked = static_cast<const CoreBluetoothService&>(*service);
    if (seen(asked.object()).get() != &asked) return;
    @autoreleasepool {
      [usable() discoverCharacteristics:made(uuids) forService:asked.object()];
    }
  }
  void readValue(const std::shared_ptr<BluetoothCharacteristic>& characteristic) override {
    @autoreleasepool {
      if (CBCharacteristic* asked = current(*characteristic)) {
        [usable() readValueForCharacteristic:asked];
      }
    }
  }
  void writeValue(std::span<const std::uint8_t> value,
                  const std::shared_ptr<BluetoothCharacteristic>& characteristic,
                  BluetoothWriteType type) override {
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
  void setNotifyValue(bool enabled,
                      const std::shared_ptr<BluetoothCharacteristic>& characteristic) override {
    @autoreleasepool {
      if (CBCharacteristic* asked = current(*characteristic)) {
        [usable() setNotifyValue:enabled forCharacteristic:asked];
      }
    }
  }

 private:
  void forget() {
    isConnected_ = false;
    owesEnd_ = false;
    services_.clear();
  }
  // Null for one that nobody has seen in this connection.
  std::shared_ptr<CoreBluetoothService> seen(CBService* object) const {
    const auto found = std::ranges::find_if(
        services_, [object](const auto& each) { return each->object() == object; });
    return found == services_.end() ? nullptr : *found;
  }
  // Nil, to which everything may be sent, once the central is gone.
  CBPeripheral* usable() const { return central_.expired() ? nil : object_; }
  // Nil for one of an earlier connection.
  CBCharacteristic* current(const BluetoothCharacteristic& characteristic) const {
    const auto& wanted = static_cast<const CoreBluetoothCharacteristic&>(characteristic);
    const auto known = this->characteristic(wanted.object());
    return known.get() == &wanted ? wanted.object() : nil;
  }

  CBPeripheral* object_;
  std::weak_ptr<CoreBluetoothCentral> central_;
  std::weak_ptr<BluetoothPeripheralDelegate> delegate_;
  // Since this was told, until the end was.
  bool isConnected_ = false;
  bool owesEnd_ = false;
  // Those of this connection that were seen.
  mutable std::vector<std::shared_ptr<CoreBluetoothService>> services_;
};

class CoreBluetoothCentral : public BluetoothCentral,
                             public std::enable_shared_from_this<CoreBluetoothCentral> {
 public:
  using Peripheral = std::shared_ptr<CoreBluetoothPeripheral>;

  CoreBluetoothCentral(std::weak_ptr<BluetoothCentralDelegate> delegate,
                       std::shared_ptr<SerialQueue> queue)
      : delegate_(std::move(delegate)), queue_(std::move(queue)) {}
  CoreBluetoothCentral(const CoreBluetoothCentral&) = delete;
  CoreBluetoothCentral& operator=(const CoreBluetoothCentral&) = delete;
  // Nobody is told any more as the observer goes. What the manager is to do is for its queue.
  ~CoreBluetoothCentral() override {
    std::vector<CBPeripheral*> peripherals;
    for (const auto& [object, weak] : peripherals_) {
      const Peripheral peripheral = weak.lock();
      if (peripheral && isObjectOf(object, *peripheral)) {
        peripherals.push_back(peripheral->object());
      }
    }
    queue_->async([manager = manager_, peripherals = std::move(peripherals)] {
      @autoreleasepool {
        endAll(manager, peripherals);
      }
    });
  }

  // As soon as there is somebody to tell.
  void start() {
    observer_ = [[TesslineCentralObserver alloc] initWithCentral:weak_from_this()];
    manager_ = [[CBCentralManager alloc] initWithDelegate:observer_ queue:dispatchQueueOf(*queue_)];
  }

  BluetoothState state() const override { return static_cast<BluetoothState>(manager_.state); }
  std::vector<std::shared_ptr<BluetoothPeripheral>> retrieveConnectedPeripherals(
      std::span<const BluetoothUUID> services) override {
    std::vector<std::shared_ptr<BluetoothPeripheral>> all;
    @autoreleasepool {
      NSArray<CBUUID*>* wanted = made(services);
      for (CBPeripheral* each in [manager_ retrieveConnectedPeripheralsWithServices:wanted]) {
        all.push_back(peripheral(each));
      }
    }
    return all;
  }
  void scanForPeripherals(const BluetoothScanOptions& options) override {
    @autoreleasepool {
      NSDictionary<NSString*, id>* all =
          @{CBCentralManagerScanOptionAllowDuplicatesKey : @(options.allowDuplicates)};
      [manager_ scanForPeripheralsWithServices:nil options:all];
    }
  }
  void stopScan() override { [manager_ stopScan]; }
  void connect(const std::shared_ptr<BluetoothPeripheral>& peripheral) override {
    const auto wanted = std::static_pointer_cast<CoreBluetoothPeripheral>(peripheral);
    @autoreleasepool {
      if (!wanted->isOf(*this) && !adopt(wanted)) return;
      [manager_ connectPeripheral:wanted->object() options:nil];
    }
  }
  void cancelPeripheralConnection(const std::shared_ptr<BluetoothPeripheral>& peripheral) override {
    const auto wanted = std::static_pointer_cast<CoreBluetoothPeripheral>(peripheral);
    if (!wanted->isOf(*this)) return;
    @autoreleasepool {
      const bool isAttempt = manager_.state == CBManagerStatePoweredOn && !wanted->isConnected() &&
                             wanted->object().state == CBPeripheralStateConnecting;
      [manager_ cancelPeripheralConnection:wanted->object()];
      if (isAttempt) tellEndLater(wanted);
    }
  }

  // What the observer is told.

  void stateUpdated() {
    tell([](auto& delegate) { delegate.centralManagerDidUpdateState(); });
  }
  void heard(CBPeripheral* object, NSDictionary<NSString*, id>* advertisement, NSNumber* rssi) {
    const BluetoothAdvertisement heard = {localNameIn(advertisement),
                                          serviceUUIDsIn(advertisement)};
    const NSInteger strength = rssi.integerValue;
    const Peripheral found = peripheral(object);
    tell([&](auto& delegate) { delegate.didDiscover(found, heard, strength); });
  }
  void connected(CBPeripheral* object) {
    const Peripheral told = known(object);
    if (!told) return;
    told->connected();
    tell([&](auto& delegate) { delegate.didConnect(told); });
  }
  void failedToConnect(CBPeripheral* object, NSError* error) {
    const Peripheral told = known(object);
    if (!told) return;
    told->failed();
    const auto reason = errorOf(error);
    tell([&](auto& delegate) { delegate.didFailToConnect(told, pointerTo(reason)); });
  }
  void disconnected(CBPeripheral* object, NSError* error) {
    const Peripheral told = known(object);
    if (!told || !told->ended()) return;
    const auto reason = errorOf(error);
    tell([&](auto& delegate) { delegate.didDisconnectPeripheral(told, pointerTo(reason)); });
  }
  // Null for one that nobody holds, to whom nobody is told anything.
  Peripheral known(CBPeripheral* object) const {
    const auto found = peripherals_.find((__bridge const void*)object);
    return found == peripherals_.end() ? nullptr : found->second.lock();
  }

 private:
  static bool isObjectOf(const void* object, const CoreBluetoothPeripheral& peripheral) {
    return (__bridge const void*)peripheral.object() == object;
  }

  static void endAll(CBCentralManager* manager, const std::vector<CBPeripheral*>& peripherals) {
    if (manager.state != CBManagerStatePoweredOn) return;
    if (manager.isScanning) [manager stopScan];
    for (CBPeripheral* each : peripherals) {
      if (each.state != CBPeripheralStateDisconnected) [manager cancelPeripheralConnection:each];
    }
  }

  template <class Call>
  void tell(Call call) const {
    if (const auto delegate = delegate_.lock()) call(*delegate);
  }

  Peripheral peripheral(CBPeripheral* object) {
    if (Peripheral found = known(object)) return found;
    auto fresh = std::make_shared<CoreBluetoothPeripheral>(object, weak_from_this());
    remember(fresh);
    return fresh;
  }

  void remember(const Peripheral& peripheral) {
    std::erase_if(peripherals_, [](const auto& each) { return each.second.expired(); });
    CBPeripheral* object = peripheral->object();
    peripherals_[(__bridge const void*)object] = peripheral;
    object.delegate = observer_;
  }

  // What another central has found is another object of the system for this one.
  bool adopt(const Peripheral& peripheral) {
    NSUUID* identifier = peripheral->object().identifier;
    CBPeripheral* mine = [manager_ retrievePeripheralsWithIdentifiers:@[ identifier ]].firstObject;
    if (mine == nil) return false;
    peripheral->moveTo(mine, weak_from_this());
    remember(peripheral);
    return true;
  }

  // Unless the system tells it first.
  void tellEndLater(const Peripheral& peripheral) {
    peripheral->owesEnd();
    queue_->async([weak = weak_from_this(), weakPeripheral = std::weak_ptr(peripheral)] {
      const auto self = weak.lock();
      const auto told = weakPeripheral.lock();
      if (!self || !told || !told->doesOweEnd()) return;
      told->ended();
      self->tell([&](auto& delegate) { delegate.didDisconnectPeripheral(told, nullptr); });
    });
  }

  const std::weak_ptr<BluetoothCentralDelegate> delegate_;
  const std::shared_ptr<SerialQueue> queue_;
  TesslineCentralObserver* observer_ = nil;
  CBCentralManager* manager_ = nil;
  // By the system's object.
  std::map<const void*, std::weak_ptr<CoreBluetoothPeripheral>> peripherals_;
};

}  // namespace

std::shared_ptr<BluetoothCentral> makeCoreBluetoothCentral(
    std::weak_ptr<BluetoothCentralDelegate> delegate, std::shared_ptr<SerialQueue> queue) {
  auto central = std::make_shared<CoreBluetoothCentral>(std::move(delegate), std::move(queue));
  @autoreleasepool {
    central->start();
  }
  return central;
}

}  // namespace tessline::platform

@implementation TesslineCentralObserver {
  std::weak_ptr<tessline::platform::CoreBluetoothCentral> central_;
}

- (instancetype)initWithCentral:(std::weak_ptr<tessline::platform::CoreBluetoothCentral>)central {
  if ((self = [super init]) == nil) return nil;
  central_ = std::move(central);
  return self;
}

- (void)centralManagerDidUpdateState:(CBCentralManager*)central {
  if (const auto told = central_.lock()) told->stateUpdated();
}

- (void)centralManager:(CBCentralManager*)central
    didDiscoverPeripheral:(CBPeripheral*)peripheral
        advertisementData:(NSDictionary<NSString*, id>*)advertisementData
                     RSSI:(NSNumber*)RSSI {
  if (const auto told = central_.lock()) told->heard(peripheral, advertisementData, RSSI);
}

- (void)centralManager:(CBCentralManager*)central didConnectPeripheral:(CBPeripheral*)peripheral {
  if (const auto told = central_.lock()) told->connected(peripheral);
}

- (void)centralManager:(CBCentralManager*)central
    didFailToConnectPeripheral:(CBPeripheral*)peripheral
                         error:(NSError*)error {
  if (const auto told = central_.lock()) told->failedToConnect(peripheral, error);
}

- (void)centralManager:(CBCentralManager*)central
    didDisconnectPeripheral:(CBPeripheral*)peripheral
                      error:(NSError*)error {
  if (const auto told = central_.lock()) told->disconnected(peripheral, error);
}

- (void)peripheral:(CBPeripheral*)peripheral didDiscoverServices:(NSError*)error {
  const auto central = central_.lock();
  const auto told = central ? central->known(peripheral) : nullptr;
  if (!told) return;
  const auto reason = tessline::platform::errorOf(error);
  told->tell([&](auto& delegate) {
    delegate.didDiscoverServices(told, tessline::platform::pointerTo(reason));
  });
}

- (void)peripheral:(CBPeripheral*)peripheral
    didDiscoverCharacteristicsForService:(CBService*)service
                                   error:(NSError*)error {
  const auto central = central_.lock();
  const auto told = central ? central->known(peripheral) : nullptr;
  if (!told) return;
  const auto reason = tessline::platform::errorOf(error);
  const auto asked = told->service(service);
  told->tell([&](auto& delegate) {
    delegate.didDiscoverCharacteristicsFor(told, asked, tessline::platform::pointerTo(reason));
  });
}

- (void)peripheral:(CBPeripheral*)peripheral
    didUpdateValueForCharacteristic:(CBCharacteristic*)characteristic
                              error:(NSError*)error {
  const auto central = central_.lock();
  const auto told = central ? central->known(peripheral) : nullptr;
  const auto updated = told ? told->characteristic(characteristic) : nullptr;
  if (!updated) return;
  const auto reason = tessline::platform::errorOf(error);
  if (!reason) updated->takeValue();
  told->tell([&](auto& delegate) {
    delegate.didUpdateValueFor(told, updated, tessline::platform::pointerTo(reason));
  });
}

@end
