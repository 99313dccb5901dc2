// A central manager. What happens to it happens on its queue, where alone it may be used.
#include "CoreBluetoothRadio.h"

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <utility>

#include <standin/dispatch.h>

using standin::bluetooth::Advertisement;
using standin::bluetooth::CancelledAttempt;
using standin::bluetooth::dictionaryOf;
using standin::bluetooth::Error;
using standin::bluetooth::fail;
using standin::bluetooth::made;
using standin::bluetooth::note;
using standin::bluetooth::PeripheralPlan;
using standin::bluetooth::planOf;
using standin::bluetooth::radio;

NSString* const CBCentralManagerScanOptionAllowDuplicatesKey = @"kCBScanOptionAllowDuplicates";

namespace {

using Lock = std::lock_guard<std::recursive_mutex>;

// An unfinished piece of work, and whose it is.
struct Piece {
  __weak CBCentralManager* manager;
  std::function<void(CBCentralManager*)> work;
};

// The system drains a pool around what it delivers.
void runPiece(void* context) {
  @autoreleasepool {
    const std::unique_ptr<Piece> piece(static_cast<Piece*>(context));
    CBCentralManager* manager = piece->manager;
    if (manager != nil) piece->work(manager);
  }
}

struct WeakPeripheral {
  __weak CBPeripheral* peripheral;
};

bool offersAnyOf(const PeripheralPlan& plan, NSArray<CBUUID*>* wanted) {
  for (const auto& service : plan.services) {
    CBUUID* offered = [CBUUID UUIDWithString:made(service.uuid)];
    for (CBUUID* each in wanted) {
      if ([each isEqual:offered]) return true;
    }
  }
  return false;
}

}  // namespace

@interface CBManager ()
- (instancetype)initManager;
@end

@implementation CBManager

- (instancetype)initManager {
  return [super init];
}

+ (CBManagerAuthorization)authorization {
  const Lock lock(radio().mutex);
  return radio().authorization;
}

- (CBManagerState)state {
  fail("manager of no kind");
}

@end

@implementation CBCentralManager {
  dispatch_queue_t queue_;
  CBManagerState state_;
  BOOL isScanning_;
  BOOL allowsDuplicates_;
  std::set<std::size_t> reported_;
  // Those that anyone holds.
  std::map<std::size_t, WeakPeripheral> peripherals_;
}

- (instancetype)initWithDelegate:(id<CBCentralManagerDelegate>)delegate
                           queue:(dispatch_queue_t)queue {
  return [self initWithDelegate:delegate queue:queue options:nil];
}

- (instancetype)initWithDelegate:(id<CBCentralManagerDelegate>)delegate
                           queue:(dispatch_queue_t)queue
                         options:(NSDictionary<NSString*, id>*)options {
  if ((self = [super initManager]) == nil) return nil;
  if (options != nil) fail("a manager with options is not what the backend makes");
  if (![delegate conformsToProtocol:@protocol(CBCentralManagerDelegate)]) {
    fail("delegate of another kind");
  }
  self.delegate = delegate;
  queue_ = queue == nullptr ? dispatch_get_main_queue() : queue;
  dispatch_retain(queue_);
  note("initWithDelegate");
  CBManagerState state;
  {
    const Lock lock(radio().mutex);
    state = radio().state;
    ++radio().managerCount;
    radio().managers.push_back({self});
  }
  [self post:[state](CBCentralManager* manager) { [manager stateBecame:state]; }];
  return self;
}

- (void)dealloc {
  if (isScanning_) note("scan ended with its manager");
  for (auto& [number, weak] : peripherals_) {
    CBPeripheral* peripheral = weak.peripheral;
    if (peripheral == nil || peripheral.state == CBPeripheralStateDisconnected) continue;
    if (peripheral.state != CBPeripheralStateDisconnecting) {
      note("connection " + std::to_string(number) + " ended with its manager");
    }
    [peripheral endConnection];
  }
  dispatch_release(queue_);
  const Lock lock(radio().mutex);
  --radio().managerCount;
  std::erase_if(radio().managers, [](const auto& each) { return each.manager == nil; });
}

- (void)post:(std::function<void(CBCentralManager*)>)work {
  dispatch_async_f(queue_, new Piece{self, std::move(work)}, &runPiece);
}

- (dispatch_queue_t)queue {
  return queue_;
}

- (CBManagerState)state {
  return state_;
}

- (BOOL)isScanning {
  return isScanning_;
}

// The one object for it.
- (CBPeripheral*)peripheral:(std::size_t)number {
  CBPeripheral* known = peripherals_[number].peripheral;
  if (known != nil) return known;
  CBPeripheral* fresh = [CBPeripheral make:number manager:self];
  peripherals_[number].peripheral = fresh;
  return fresh;
}

// Notes a call; false if it does nothing in this state.
- (BOOL)begin:(const std::string&)call {
  if (!standin::dispatch::isCurrent(queue_)) fail(call + " on another queue");
  note(call);
  if (state_ == CBManagerStatePoweredOn) return YES;
  note("API MISUSE: not powered on");
  return NO;
}

- (void)expectMine:(CBPeripheral*)peripheral {
  if (![peripheral isKindOfClass:[CBPeripheral class]]) fail("no peripheral");
  if (peripheral.manager != self) fail("peripheral of another manager");
}

// What is asked of it.

- (NSArray<CBPeripheral*>*)retrievePeripheralsWithIdentifiers:(NSArray<NSUUID*>*)identifiers {
  NSMutableArray<CBPeripheral*>* found = [[NSMutableArray alloc] init];
  if (![self begin:"retrievePeripheralsWithIdentifiers"]) return found;
  const Lock lock(radio().mutex);
  for (NSUUID* identifier in identifiers) {
    for (std::size_t number = 0; number < radio().remotes.size(); ++number) {
      const std::string& text = radio().remotes[number].plan.identifier;
      if (text == identifier.UUIDString.UTF8String) [found addObject:[self peripheral:number]];
    }
  }
  return found;
}

- (NSArray<CBPeripheral*>*)retrieveConnectedPeripheralsWithServices:
    (NSArray<CBUUID*>*)serviceUUIDs {
  NSMutableArray<CBPeripheral*>* found = [[NSMutableArray alloc] init];
  std::string call = "retrieveConnectedPeripheralsWithServices";
  for (CBUUID* each in serviceUUIDs) {
    if (![each isKindOfClass:[CBUUID class]]) fail("no UUID");
    call.append(" ").append(each.UUIDString.UTF8String);
  }
  if (![self begin:call]) return found;
  const Lock lock(radio().mutex);
  for (std::size_t number = 0; number < radio().remotes.size(); ++number) {
    const auto& remote = radio().remotes[number];
    if (!remote.isConnected() || !offersAnyOf(remote.plan, serviceUUIDs)) continue;
    [found addObject:[self peripheral:number]];
  }
  return found;
}

- (void)scanForPeripheralsWithServices:(NSArray<CBUUID*>*)serviceUUIDs
                               options:(NSDictionary<NSString*, id>*)options {
  id duplicates = options[CBCentralManagerScanOptionAllowDuplicatesKey];
  if (options.count != (duplicates == nil ? 0 : 1)) fail("unknown option of a scan");
  if (duplicates != nil && ![duplicates isKindOfClass:[NSNumber class]]) fail("no truth value");
  std::string call = "scanForPeripheralsWithServices";
  call.append(serviceUUIDs == nil ? " nil" : " some");
  call.append(duplicates == nil ? " nil" : [duplicates boolValue] ? " YES" : " NO");
  if (![self begin:call]) return;
  isScanning_ = YES;
  allowsDuplicates_ = [duplicates boolValue];
  reported_.clear();
}

- (void)stopScan {
  if ([self begin:"stopScan"]) isScanning_ = NO;
}

- (void)connectPeripheral:(CBPeripheral*)peripheral options:(NSDictionary<NSString*, id>*)options {
  [self expectMine:peripheral];
  const std::string number = std::to_string(peripheral.number);
  if (![self begin:"connectPeripheral " + number + (options == nil ? " nil" : " some")]) return;
  switch (peripheral.state) {
    case CBPeripheralStateDisconnected:
      return [self start:peripheral];
    case CBPeripheralStateConnecting:
      return;
    case CBPeripheralStateConnected:
      return [self confirm:peripheral];
    case CBPeripheralStateDisconnecting:
      peripheral.isWantedAgain = YES;
  }
}

- (void)cancelPeripheralConnection:(CBPeripheral*)peripheral {
  [self expectMine:peripheral];
  const std::string number = std::to_string(peripheral.number);
  if (![self begin:"cancelPeripheralConnection " + number]) return;
  peripheral.isWantedAgain = NO;
  CancelledAttempt kind;
  {
    const Lock lock(radio().mutex);
    kind = radio().cancelledAttempt;
  }
  const BOOL isAttempt = peripheral.state == CBPeripheralStateConnecting;
  if (isAttempt && kind == CancelledAttempt::isSilent) return [peripheral endConnection];
  if (!isAttempt && peripheral.state != CBPeripheralStateConnected) return;
  [peripheral become:CBPeripheralStateDisconnecting];
  __weak CBPeripheral* weak = peripheral;
  if (isAttempt && kind == CancelledAttempt::isAFailure) {
    return [self post:[weak](CBCentralManager* manager) {
      if (CBPeripheral* failed = weak) {
        [manager fail:failed error:Error{"CBErrorDomain", 5, "It was cancelled."}];
      }
    }];
  }
  const auto end = [weak, link = peripheral.linkNumber](CBCentralManager* manager) {
    [manager end:weak link:link error:std::nullopt];
  };
  if (!isAttempt || kind == CancelledAttempt::isTold) return [self post:end];
  // Behind what this call leads to, too.
  [self post:[end](CBCentralManager* manager) {
    [manager post:[end](CBCentralManager* same) { [same post:end]; }];
  }];
}

// What becomes of it.

- (void)start:(CBPeripheral*)peripheral {
  [peripheral become:CBPeripheralStateConnecting];
  const std::size_t number = peripheral.number;
  [self post:[number](CBCentralManager* manager) { [manager retry:number]; }];
}

- (void)retry:(std::size_t)number {
  CBPeripheral* peripheral = peripherals_[number].peripheral;
  const PeripheralPlan plan = planOf(number);
  if (state_ != CBManagerStatePoweredOn || !plan.isReachable || peripheral == nil ||
      peripheral.state != CBPeripheralStateConnecting) {
    return;
  }
  id<CBCentralManagerDelegate> delegate = self.delegate;
  if (!plan.connectError) {
    [peripheral beginConnection];
    if ([delegate respondsToSelector:@selector(centralManager:didConnectPeripheral:)]) {
      [delegate centralManager:self didConnectPeripheral:peripheral];
    }
    return;
  }
  [self fail:peripheral error:plan.connectError];
}

- (void)fail:(CBPeripheral*)peripheral error:(const std::optional<Error>&)error {
  [peripheral endConnection];
  id<CBCentralManagerDelegate> delegate = self.delegate;
  if ([delegate respondsToSelector:@selector(centralManager:didFailToConnectPeripheral:error:)]) {
    [delegate centralManager:self didFailToConnectPeripheral:peripheral error:made(error)];
  }
}

// Says again that a connection stands, or makes another if it has just ended.
- (void)confirm:(CBPeripheral*)peripheral {
  __weak CBPeripheral* weak = peripheral;
  [self post:[weak](CBCentralManager* manager) {
    CBPeripheral* wanted = weak;
    if (wanted == nil) return;
    if (wanted.state == CBPeripheralStateDisconnected && manager.state == CBManagerStatePoweredOn) {
      return [manager start:wanted];
    }
    if (wanted.state != CBPeripheralStateConnected) return;
    id<CBCentralManagerDelegate> delegate = manager.delegate;
    if ([delegate respondsToSelector:@selector(centralManager:didConnectPeripheral:)]) {
      [delegate centralManager:manager didConnectPeripheral:wanted];
    }
  }];
}

- (void)endAttempt:(std::size_t)number error:(const std::optional<Error>&)error {
  const auto known = peripherals_.find(number);
  CBPeripheral* peripheral = known == peripherals_.end() ? nil : known->second.peripheral;
  if (peripheral == nil || peripheral.state != CBPeripheralStateConnecting) return;
  [self end:peripheral link:peripheral.linkNumber error:error];
}

- (void)end:(CBPeripheral*)peripheral
       link:(std::uint64_t)number
      error:(const std::optional<Error>&)error {
  if (peripheral == nil || peripheral.linkNumber != number) return;
  const BOOL isWantedAgain = peripheral.isWantedAgain;
  [peripheral endConnection];
  id<CBCentralManagerDelegate> delegate = self.delegate;
  if ([delegate respondsToSelector:@selector(centralManager:didDisconnectPeripheral:error:)]) {
    [delegate centralManager:self didDisconnectPeripheral:peripheral error:made(error)];
  }
  if (isWantedAgain && state_ == CBManagerStatePoweredOn &&
      peripheral.state == CBPeripheralStateDisconnected) {
    [self start:peripheral];
  }
}

- (void)stateBecame:(CBManagerState)state {
  state_ = state;
  if (state != CBManagerStatePoweredOn) isScanning_ = NO;
  [self.delegate centralManagerDidUpdateState:self];
  if (state_ != CBManagerStatePoweredOn) return;
  std::vector<std::size_t> numbers;
  for (const auto& [number, weak] : peripherals_) numbers.push_back(number);
  for (const std::size_t number : numbers) [self retry:number];
}

- (void)heard:(std::size_t)number
    advertisement:(const Advertisement&)advertisement
             rssi:(long)rssi {
  if (!isScanning_) return;
  {
    const Lock lock(radio().mutex);
    if (radio().remotes.at(number).isConnected()) return;
  }
  if (!reported_.insert(number).second && !allowsDuplicates_) return;
  id<CBCentralManagerDelegate> delegate = self.delegate;
  if (![delegate respondsToSelector:@selector(centralManager:
                                        didDiscoverPeripheral:advertisementData:RSSI:)]) {
    return;
  }
  [delegate centralManager:self
      didDiscoverPeripheral:[self peripheral:number]
          advertisementData:dictionaryOf(advertisement)
                       RSSI:[NSNumber numberWithLong:rssi]];
}

@end
