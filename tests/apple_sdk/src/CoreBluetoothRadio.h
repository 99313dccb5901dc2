/// @file
/// The air around the stand-in's managers: what they all see, under one lock.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <CoreBluetooth/CoreBluetooth.h>
#include <standin/corebluetooth.h>

namespace standin::bluetooth {

[[noreturn]] void fail(const std::string& what);

/// What one manager has of one peripheral, as the peripheral sees it. Guarded by the radio's lock.
struct Link {
  __weak CBCentralManager* manager = nil;
  __weak CBPeripheral* peripheral = nil;
  bool isUp = false;
  /// Counts what begins and ends, so that what is late is known to be.
  std::uint64_t number = 0;
  std::set<Place> notifying;
  std::map<Place, std::vector<std::vector<std::uint8_t>>> written;
};

/// A peripheral, as it is.
struct Remote {
  PeripheralPlan plan;
  std::vector<std::weak_ptr<Link>> links;

  std::vector<std::shared_ptr<Link>> liveLinks() const;
  bool isConnected() const;
};

struct WeakManager {
  __weak CBCentralManager* manager;
};

/// Everything. One for the process.
struct Radio {
  /// An object that ends while it is held locks it again.
  std::recursive_mutex mutex;
  CBManagerState state = CBManagerStatePoweredOn;
  CBManagerAuthorization authorization = CBManagerAuthorizationAllowedAlways;
  CancelledAttempt cancelledAttempt = CancelledAttempt::isTold;
  bool keepsObjects = false;
  std::vector<Remote> remotes;
  std::vector<WeakManager> managers;
  std::size_t managerCount = 0;
  std::vector<std::string> calls;
};

Radio& radio();
void note(std::string call);
/// A copy of what there is to know now.
PeripheralPlan planOf(std::size_t peripheral);
/// Null for none.
NSError* made(const std::optional<Error>& error);
NSString* made(const std::string& text);
NSDictionary<NSString*, id>* dictionaryOf(const Advertisement& advertisement);

}  // namespace standin::bluetooth

@interface CBCentralManager ()
// Runs `work` on the queue, if the manager still lives then.
- (void)post:(std::function<void(CBCentralManager*)>)work;
- (dispatch_queue_t)queue;
- (void)stateBecame:(CBManagerState)state;
- (void)heard:(std::size_t)number
    advertisement:(const standin::bluetooth::Advertisement&)advertisement
             rssi:(long)rssi;
- (void)retry:(std::size_t)number;
- (void)endAttempt:(std::size_t)number error:(const std::optional<standin::bluetooth::Error>&)error;
- (void)end:(CBPeripheral*)peripheral
       link:(std::uint64_t)number
      error:(const std::optional<standin::bluetooth::Error>&)error;
@end

@interface CBPeripheral ()
+ (CBPeripheral*)make:(std::size_t)number manager:(CBCentralManager*)manager;
- (std::size_t)number;
- (CBCentralManager*)manager;
- (std::uint64_t)linkNumber;
- (void)become:(CBPeripheralState)state;
- (void)beginConnection;
- (void)endConnection;
- (void)updateValue:(const std::optional<std::vector<std::uint8_t>>&)value
                 at:(standin::bluetooth::Place)place
              error:(const std::optional<standin::bluetooth::Error>&)error;
@property(nonatomic) BOOL isWantedAgain;
@end
