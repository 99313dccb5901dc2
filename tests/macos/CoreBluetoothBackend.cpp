#include "tests/macos/CoreBluetoothBackend.h"

#include "tessline/platform/macos/CoreBluetoothCentral.h"
#include "tessline/platform/macos/DispatchQueue.h"

#include <string_view>
#include <utility>

#include <standin/dispatch.h>
#include <standin/objc.h>

namespace tessline::test {

namespace {

// Has what the tests of Bluetooth need.
class QueuesAndBluetooth : public platform::Platform {
 public:
  std::shared_ptr<platform::SerialQueue> makeSerialQueue(
      std::string_view label, platform::QualityOfService quality) override {
    return platform::makeDispatchQueue(label, quality);
  }
  std::shared_ptr<platform::BluetoothCentral> makeBluetoothCentral(
      std::weak_ptr<platform::BluetoothCentralDelegate> delegate,
      std::shared_ptr<platform::SerialQueue> queue) override {
    return platform::makeCoreBluetoothCentral(std::move(delegate), std::move(queue));
  }

  std::shared_ptr<platform::MainRunLoop> mainRunLoop() override { return nullptr; }
  std::shared_ptr<platform::LogSink> logSink() override { return nullptr; }
  std::shared_ptr<platform::HIDManager> makeHIDManager() override { return nullptr; }
  std::shared_ptr<platform::MultitouchLibrary> openMultitouchLibrary(std::string_view) override {
    return nullptr;
  }
  std::shared_ptr<platform::Accessibility> accessibility() override { return nullptr; }
  std::shared_ptr<platform::Screens> screens() override { return nullptr; }
  std::shared_ptr<platform::PointerEvents> pointerEvents() override { return nullptr; }
  std::shared_ptr<platform::ChildProcesses> childProcesses() override { return nullptr; }
  std::shared_ptr<platform::FileManager> fileManager() override { return nullptr; }
  std::shared_ptr<platform::HostEnvironment> environment() override { return nullptr; }
  std::shared_ptr<platform::Permissions> permissions() override { return nullptr; }
};

std::optional<standin::bluetooth::Error> made(const std::optional<std::string>& error) {
  if (!error) return std::nullopt;
  return standin::bluetooth::Error{"CBErrorDomain", 0, *error};
}

}  // namespace

BluetoothBackendChoice coreBluetooth(const std::string& name, const BluetoothSystem& system) {
  return {name, [system] { return std::make_unique<CoreBluetoothBackend>(system); }};
}

std::vector<BluetoothBackendChoice> bluetoothBackends() {
  using standin::bluetooth::CancelledAttempt;
  return {coreBluetooth("CoreBluetooth"),
          coreBluetooth("CoreBluetoothLateAboutCancels", {CancelledAttempt::isToldLate}),
          coreBluetooth("CoreBluetoothSilentAboutCancels", {CancelledAttempt::isSilent}),
          coreBluetooth("CoreBluetoothKeepingItsObjects", {.keepsObjects = true})};
}

CoreBluetoothBackend::CoreBluetoothBackend(const BluetoothSystem& system)
    : objectsBefore_(standin::objc::liveObjects()),
      queuesBefore_(standin::dispatch::liveObjects()),
      platform_(std::make_shared<QueuesAndBluetooth>()) {
  standin::bluetooth::reset();
  standin::bluetooth::setCancelledAttempt(system.cancelledAttempt);
  standin::bluetooth::setKeepsObjects(system.keepsObjects);
}

CoreBluetoothBackend::~CoreBluetoothBackend() {
  settle();
  EXPECT_EQ(standin::bluetooth::liveManagers(), 0U);
  EXPECT_EQ(standin::objc::liveObjects(), objectsBefore_);
  EXPECT_EQ(standin::dispatch::liveObjects(), queuesBefore_);
}

bool CoreBluetoothBackend::waitUntil(const std::function<bool()>& isDone) {
  settle();
  return isDone();
}

void CoreBluetoothBackend::settle() {
  standin::dispatch::waitUntilIdle();
}

std::vector<platform::BluetoothState> CoreBluetoothBackend::otherStates() {
  using enum platform::BluetoothState;
  constexpr auto ofALaterSystem = static_cast<platform::BluetoothState>(6);
  return {unknown, resetting, unsupported, unauthorized, poweredOff, ofALaterSystem};
}

void CoreBluetoothBackend::setState(platform::BluetoothState state) {
  standin::bluetooth::setState(static_cast<long>(state));
}

std::size_t CoreBluetoothBackend::makePeripheral(const ExistingPeripheral& peripheral) {
  standin::bluetooth::PeripheralPlan plan;
  plan.name = peripheral.name;
  plan.isReachable = peripheral.isReachable;
  plan.isConnectedToSystem = peripheral.isConnectedToSystem;
  for (const OfferedService& offered : peripheral.services) {
    standin::bluetooth::ServicePlan service{offered.uuid, {}, std::nullopt};
    for (const OfferedCharacteristic& each : offered.characteristics) {
      service.characteristics.push_back({each.uuid, each.properties, each.value});
    }
    plan.services.push_back(std::move(service));
  }
  static int made = 0;
  UUID identifier;
  identifier.bytes.back() = static_cast<std::uint8_t>(++made);
  plan.identifier = identifier.text();
  return standin::bluetooth::addPeripheral(std::move(plan));
}

void CoreBluetoothBackend::advertise(std::size_t peripheral,
                                     const platform::BluetoothAdvertisement& advertisement,
                                     std::int64_t rssi) {
  standin::bluetooth::Advertisement values;
  if (advertisement.localName) values["kCBAdvDataLocalName"] = *advertisement.localName;
  standin::bluetooth::UUIDs uuids;
  for (const BluetoothUUID& uuid : advertisement.serviceUUIDs) uuids.texts.push_back(uuid.text());
  if (!uuids.texts.empty()) values["kCBAdvDataServiceUUIDs"] = uuids;
  standin::bluetooth::advertise(peripheral, values, rssi);
}

void CoreBluetoothBackend::setReachable(std::size_t peripheral, bool isReachable) {
  standin::bluetooth::change(peripheral, [&](auto& plan) { plan.isReachable = isReachable; });
}

void CoreBluetoothBackend::setConnectedToSystem(std::size_t peripheral, bool isConnected) {
  standin::bluetooth::change(peripheral,
                             [&](auto& plan) { plan.isConnectedToSystem = isConnected; });
}

void CoreBluetoothBackend::setConnectError(std::size_t peripheral,
                                           std::optional<std::string> error) {
  standin::bluetooth::change(peripheral, [&](auto& plan) { plan.connectError = made(error); });
}

void CoreBluetoothBackend::setServicesError(std::size_t peripheral,
                                            std::optional<std::string> error) {
  standin::bluetooth::change(peripheral, [&](auto& plan) { plan.servicesError = made(error); });
}

void CoreBluetoothBackend::setCharacteristicsError(std::size_t peripheral, std::size_t service,
                                                   std::optional<std::string> error) {
  standin::bluetooth::change(peripheral,
                             [&](auto& plan) { plan.services.at(service).error = made(error); });
}

void CoreBluetoothBackend::drop(std::size_t peripheral, std::optional<std::string> error) {
  standin::bluetooth::drop(peripheral, made(error));
}

void CoreBluetoothBackend::notify(std::size_t peripheral, CharacteristicPlace place,
                                  std::vector<std::uint8_t> value) {
  standin::bluetooth::notify(peripheral, place, std::move(value));
}

std::vector<std::vector<std::uint8_t>> CoreBluetoothBackend::written(std::size_t peripheral,
                                                                     CharacteristicPlace place) {
  return standin::bluetooth::written(peripheral, place);
}

}  // namespace tessline::test
