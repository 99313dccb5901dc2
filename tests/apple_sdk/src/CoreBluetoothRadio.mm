#include "CoreBluetoothRadio.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace standin::bluetooth {

namespace {

using Lock = std::lock_guard<std::recursive_mutex>;

std::vector<CBCentralManager*> managers() {
  const Lock lock(radio().mutex);
  std::vector<CBCentralManager*> living;
  for (const WeakManager& each : radio().managers) {
    if (CBCentralManager* manager = each.manager) living.push_back(manager);
  }
  return living;
}

// A link that is up, for work on its manager's queue.
struct Reached {
  CBCentralManager* manager;
  std::shared_ptr<Link> link;
  std::uint64_t number;
};

std::vector<Reached> reached(std::size_t peripheral) {
  const Lock lock(radio().mutex);
  std::vector<Reached> all;
  for (const auto& link : radio().remotes.at(peripheral).liveLinks()) {
    CBCentralManager* manager = link->manager;
    if (link->isUp && manager != nil) all.push_back({manager, link, link->number});
  }
  return all;
}

}  // namespace

void fail(const std::string& what) {
  std::fprintf(stderr, "CoreBluetooth stand-in: %s\n", what.c_str());
  std::abort();
}

std::vector<std::shared_ptr<Link>> Remote::liveLinks() const {
  std::vector<std::shared_ptr<Link>> living;
  for (const auto& weak : links) {
    if (auto link = weak.lock()) living.push_back(std::move(link));
  }
  return living;
}

bool Remote::isConnected() const {
  return plan.isConnectedToSystem ||
         std::ranges::any_of(liveLinks(), [](const auto& link) { return link->isUp; });
}

Radio& radio() {
  static auto& one = *new Radio;
  return one;
}

void note(std::string call) {
  const Lock lock(radio().mutex);
  radio().calls.push_back(std::move(call));
}

PeripheralPlan planOf(std::size_t peripheral) {
  const Lock lock(radio().mutex);
  return radio().remotes.at(peripheral).plan;
}

NSString* made(const std::string& text) {
  return [NSString stringWithUTF8String:text.c_str()];
}

NSError* made(const std::optional<Error>& error) {
  if (!error) return nil;
  return [NSError errorWithDomain:made(error->domain)
                             code:error->code
                         userInfo:@{NSLocalizedDescriptionKey : made(error->description)}];
}

void reset() {
  const Lock lock(radio().mutex);
  if (radio().managerCount != 0) fail("reset while there are managers");
  radio().state = CBManagerStatePoweredOn;
  radio().authorization = CBManagerAuthorizationAllowedAlways;
  radio().cancelledAttempt = CancelledAttempt::isTold;
  radio().keepsObjects = false;
  radio().remotes.clear();
  radio().managers.clear();
  radio().calls.clear();
}

void setCancelledAttempt(CancelledAttempt kind) {
  const Lock lock(radio().mutex);
  radio().cancelledAttempt = kind;
}

void setKeepsObjects(bool keeps) {
  const Lock lock(radio().mutex);
  radio().keepsObjects = keeps;
}

void setAuthorization(long authorization) {
  const Lock lock(radio().mutex);
  radio().authorization = static_cast<CBManagerAuthorization>(authorization);
}

void setState(long state) {
  const auto wanted = static_cast<CBManagerState>(state);
  {
    const Lock lock(radio().mutex);
    radio().state = wanted;
  }
  @autoreleasepool {
    for (CBCentralManager* each : managers()) {
      [each post:[wanted](CBCentralManager* manager) { [manager stateBecame:wanted]; }];
    }
  }
}

std::size_t addPeripheral(PeripheralPlan plan) {
  const Lock lock(radio().mutex);
  radio().remotes.push_back({std::move(plan), {}});
  return radio().remotes.size() - 1;
}

void change(std::size_t peripheral, const std::function<void(PeripheralPlan&)>& edit) {
  {
    const Lock lock(radio().mutex);
    edit(radio().remotes.at(peripheral).plan);
  }
  @autoreleasepool {
    for (CBCentralManager* each : managers()) {
      [each post:[peripheral](CBCentralManager* manager) { [manager retry:peripheral]; }];
    }
  }
}

void advertise(std::size_t peripheral, const Advertisement& advertisement, long rssi) {
  @autoreleasepool {
    for (CBCentralManager* each : managers()) {
      [each post:[=](CBCentralManager* manager) {
        [manager heard:peripheral advertisement:advertisement rssi:rssi];
      }];
    }
  }
}

void drop(std::size_t peripheral, std::optional<Error> error) {
  @autoreleasepool {
    for (const Reached& each : reached(peripheral)) {
      [each.manager
          post:[each = each.link, number = each.number, error](CBCentralManager* manager) {
            [manager end:each->peripheral link:number error:error];
          }];
    }
  }
}

void endAttempt(std::size_t peripheral, std::optional<Error> error) {
  @autoreleasepool {
    for (CBCentralManager* each : managers()) {
      [each post:[peripheral, error](CBCentralManager* manager) {
        [manager endAttempt:peripheral error:error];
      }];
    }
  }
}

void notify(std::size_t peripheral, Place place, std::vector<std::uint8_t> value,
            std::optional<Error> error) {
  @autoreleasepool {
    for (const Reached& each : reached(peripheral)) {
      {
        const Lock lock(radio().mutex);
        if (!each.link->notifying.contains(place)) continue;
      }
      [each.manager post:[=, link = each.link, number = each.number](CBCentralManager*) {
        CBPeripheral* told = link->peripheral;
        if (told == nil || told.linkNumber != number) return;
        [told updateValue:value at:place error:error];
      }];
    }
  }
}

std::vector<std::vector<std::uint8_t>> written(std::size_t peripheral, Place place) {
  const Lock lock(radio().mutex);
  std::vector<std::vector<std::uint8_t>> all;
  for (const auto& link : radio().remotes.at(peripheral).liveLinks()) {
    const auto& values = link->written[place];
    all.insert(all.end(), values.begin(), values.end());
  }
  return all;
}

std::size_t liveManagers() {
  const Lock lock(radio().mutex);
  return radio().managerCount;
}

std::vector<std::string> calls() {
  const Lock lock(radio().mutex);
  return radio().calls;
}

void clearCalls() {
  const Lock lock(radio().mutex);
  radio().calls.clear();
}

}  // namespace standin::bluetooth
