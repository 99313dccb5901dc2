#include "tessline/platform/macos/CoreBluetoothCentral.h"

#include "tessline/platform/macos/CoreBluetoothPeripheral.h"
#include "tessline/platform/macos/DispatchQueue.h"
#include "tessline/platform/macos/FoundationText.h"

#include <map>
#include <string>
#include <utility>

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
    const auto uuid = BluetoothUUID::parse(textOf([each UUIDString]).value_or(""));
    if (!uuid) return {};
    uuids.push_back(*uuid);
  }
  return uuids;
}

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
      NSArray<CBUUID*>* wanted = makeCBUUIDs(services);
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
    if (!told) return;
    const bool isLate = told->isLateEnd();
    told->ended();
    if (isLate) return;
    const auto reason = errorOf(error);
    tell([&](auto& delegate) { delegate.didDisconnectPeripheral(told, pointerTo(reason)); });
  }
  // Null if there is nobody to tell.
  static Peripheral known(const std::weak_ptr<CoreBluetoothCentral>& weak, CBPeripheral* object) {
    const auto central = weak.lock();
    return central ? central->known(object) : nullptr;
  }

 private:
  // Null for one that nobody holds.
  Peripheral known(CBPeripheral* object) const {
    const auto found = peripherals_.find((__bridge const void*)object);
    return found == peripherals_.end() ? nullptr : found->second.lock();
  }

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
      if (!self || !told || !told->takesOwedEnd()) return;
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

using Central = tessline::platform::CoreBluetoothCentral;

@implementation TesslineCentralObserver {
  std::weak_ptr<Central> central_;
}

- (instancetype)initWithCentral:(std::weak_ptr<Central>)central {
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
                     RSSI:(NSNumber*)rssi {
  if (const auto told = central_.lock()) told->heard(peripheral, advertisementData, rssi);
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
  if (const auto told = Central::known(central_, peripheral)) told->servicesDiscovered(error);
}

- (void)peripheral:(CBPeripheral*)peripheral
    didDiscoverCharacteristicsForService:(CBService*)service
                                   error:(NSError*)error {
  if (const auto told = Central::known(central_, peripheral))
    told->characteristicsDiscovered(service, error);
}

- (void)peripheral:(CBPeripheral*)peripheral
    didUpdateValueForCharacteristic:(CBCharacteristic*)characteristic
                              error:(NSError*)error {
  if (const auto told = Central::known(central_, peripheral))
    told->valueUpdated(characteristic, error);
}

@end
