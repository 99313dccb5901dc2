/// @file
/// A Bluetooth service on a simulated host, with verbs for what happens to it.
#pragma once

#include "tessline/bluetooth/BluetoothRemoteDiscoveryService.h"
#include "tessline/model/Overloaded.h"
#include "tessline/platform/simulated/SimulatedHost.h"
#include "tests/support/Bytes.h"
#include "tests/support/EventNotation.h"
#include "tests/support/PlatformDecorator.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {

using namespace std::chrono_literals;
using platform::BluetoothAdvertisement;
using platform::BluetoothState;
using platform::simulated::SimulatedCharacteristicPlan;
using platform::simulated::SimulatedPeripheralPlan;
using platform::simulated::SimulatedServicePlan;
using Lines = std::vector<std::string>;
using Remote = std::shared_ptr<platform::simulated::SimulatedPeripheral>;

inline constexpr std::string_view voiceService = "8341F2B4-C013-4F04-8197-C4CDB42E26DC";
inline constexpr std::string_view voiceNotify = "30E69638-3752-4FEB-A3AA-3226BCD05ACE";

inline BluetoothUUID uuid(std::string_view text) {
  return BluetoothUUID::parse(text).value();
}

/// An identifier that is told apart by its last byte.
inline UUID identifier(std::uint8_t number) {
  UUID id;
  id.bytes.back() = number;
  return id;
}

inline SimulatedCharacteristicPlan characteristic(
    std::string_view text, std::uint32_t properties,
    std::optional<std::vector<std::uint8_t>> value = std::nullopt) {
  return {uuid(text), {properties}, std::move(value)};
}

inline SimulatedServicePlan offering(
    std::string_view text, std::vector<SimulatedCharacteristicPlan> characteristics = {}) {
  return {uuid(text), std::move(characteristics), std::nullopt};
}

/// A peripheral that can be connected.
inline SimulatedPeripheralPlan named(std::optional<std::string> name,
                                     std::vector<SimulatedServicePlan> services = {}) {
  SimulatedPeripheralPlan plan;
  plan.name = std::move(name);
  plan.services = std::move(services);
  return plan;
}

/// One whose connection is never made.
inline SimulatedPeripheralPlan outOfReach(std::optional<std::string> name) {
  SimulatedPeripheralPlan plan = named(std::move(name));
  plan.isReachable = false;
  return plan;
}

/// One that the host has connected, but that cannot be connected here.
inline SimulatedPeripheralPlan heldBySystem(std::optional<std::string> name,
                                            std::string_view service = "180F") {
  SimulatedPeripheralPlan plan = outOfReach(std::move(name));
  plan.services = {offering(service)};
  plan.isConnectedToSystem = true;
  return plan;
}

/// An advertisement with that local name.
inline BluetoothAdvertisement saying(std::optional<std::string> name,
                                     std::vector<BluetoothUUID> services = {}) {
  return {std::move(name), std::move(services)};
}

/// A call as one line: its name and its arguments, lists in brackets.
inline std::string notation(const platform::simulated::PlatformCall& call) {
  const auto listed = [](const auto& items, auto text) {
    std::string list;
    for (const auto& item : items) list += (list.empty() ? "" : " ") + text(item);
    return "[" + list + "]";
  };
  std::string line = call.operation;
  for (const auto& [name, argument] : call.arguments) {
    line += " " +
            std::visit(Overloaded{[](bool truth) { return std::string(truth ? "true" : "false"); },
                                  [](const std::string& text) { return text; },
                                  [](std::int64_t number) { return std::to_string(number); },
                                  [](double number) { return std::to_string(number); },
                                  [&](const std::vector<std::int64_t>& numbers) {
                                    return listed(numbers,
                                                  [](auto each) { return std::to_string(each); });
                                  },
                                  [&](const std::vector<std::string>& texts) {
                                    return listed(texts, [](const auto& each) { return each; });
                                  }},
                       argument);
  }
  return line;
}

/// Keeps the queue that a service makes.
class QueueWatch : public PlatformDecorator {
 public:
  using PlatformDecorator::PlatformDecorator;

  std::shared_ptr<platform::SerialQueue> makeSerialQueue(
      std::string_view label, platform::QualityOfService quality) override {
    queue = PlatformDecorator::makeSerialQueue(label, quality);
    return queue;
  }

  std::shared_ptr<platform::SerialQueue> queue;
};

/// Keeps a journal of what the service asks of its host and of what it tells, in order, and expects
/// all of it on the service's queue.
class BluetoothServiceTest : public testing::Test {
 protected:
  BluetoothServiceTest() : BluetoothServiceTest(platform::simulated::SimulatedHost::create()) {}
  explicit BluetoothServiceTest(std::shared_ptr<platform::simulated::SimulatedHost> simulatedHost)
      : host(std::move(simulatedHost)), watch(std::make_shared<QueueWatch>(host)) {
    host->calls().onCall = [this](const platform::simulated::PlatformCall& call) {
      if (call.operation != "dispatch_queue_create") expectQueue(call.operation);
      journal.push_back(notation(call));
    };
    makeService(watch);
  }
  // What the host still asks when all comes down is not looked at.
  ~BluetoothServiceTest() override { host->calls().onCall = nullptr; }

  void makeService(const std::shared_ptr<QueueWatch>& platform) {
    watch = platform;
    service = BluetoothRemoteDiscoveryService::create(platform);
    journal.clear();
    service->onSnapshotChanged = [this](const BluetoothRemoteDiscoverySnapshot& snapshot) {
      note("publish " + snapshot.status);
      snapshots.push_back(snapshot);
      times.push_back(host->scheduler().now());
    };
    service->onBatteryLevelChanged = [this](std::optional<std::int64_t> level) {
      note("battery " + (level ? std::to_string(*level) : "none"));
    };
    service->onRawPayload = [this](const std::vector<std::uint8_t>& payload) {
      note("payload " + hexText(payload));
    };
    service->onTransportEvents = [this](const std::vector<TesslineEvent>& events) {
      note("events " + notation(std::span(events)));
    };
  }

  void note(std::string line) {
    expectQueue(line);
    journal.push_back(std::move(line));
  }
  void expectQueue(const std::string& what) const {
    EXPECT_TRUE(watch->queue && watch->queue->isCurrent()) << what;
  }
  /// What happened since the last time, in order.
  Lines happened() { return std::exchange(journal, {}); }
  /// The last thing that happened; "" if nothing did.
  std::string last() const { return journal.empty() ? "" : journal.back(); }
  /// What happens next, once `act` has been done.
  template <class Act>
  Lines happensWhen(Act act) {
    journal.clear();
    act();
    host->runReady();
    return happened();
  }

  void startScanning() {
    service->startScanning();
    host->runReady();
  }
  void stopScanning() {
    service->stopScanning();
    host->runReady();
  }
  void setState(BluetoothState state) {
    host->bluetooth().setState(state);
    host->runReady();
  }
  Remote add(const SimulatedPeripheralPlan& plan) {
    return host->bluetooth().addPeripheral(identifier(++added), plan);
  }
  void hear(const Remote& remote, const BluetoothAdvertisement& advertisement = {},
            std::int64_t rssi = -60) {
    host->bluetooth().advertise(remote, advertisement, rssi);
    host->runReady();
  }
  /// A peripheral that was heard and is connected, if it is reachable.
  Remote connected(const SimulatedPeripheralPlan& plan) {
    const Remote remote = add(plan);
    startScanning();
    hear(remote);
    return remote;
  }
  void drop(const Remote& remote, std::optional<TesslineError> error = std::nullopt) {
    host->bluetooth().drop(remote, std::move(error));
    host->runReady();
  }
  void makeReachable(const Remote& remote) {
    remote->plan.isReachable = true;
    host->bluetooth().retryAttempts(remote);
    host->runReady();
  }
  /// The last snapshot; an empty one if there was none.
  BluetoothRemoteDiscoverySnapshot latest() const {
    return snapshots.empty() ? BluetoothRemoteDiscoverySnapshot() : snapshots.back();
  }
  std::string status() const { return latest().status; }
  std::vector<BluetoothRemoteDevice> devices() const { return latest().devices; }

  const std::shared_ptr<platform::simulated::SimulatedHost> host;
  std::shared_ptr<QueueWatch> watch;
  Lines journal;
  std::vector<BluetoothRemoteDiscoverySnapshot> snapshots;
  std::vector<platform::QueueTime> times;
  std::uint8_t added = 0;
  std::shared_ptr<BluetoothRemoteDiscoveryService> service;
};

}  // namespace tessline::test
