#include "tessline/platform/simulated/SimulatedHost.h"
#include "tests/platform/BluetoothContract.h"
#include "tests/support/VirtualWaiting.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tessline::test {

namespace {

class SimulatedBluetoothBackend : public BluetoothBackend {
 public:
  std::shared_ptr<platform::Platform> platform() override { return host_; }
  bool waitUntil(const std::function<bool()>& isDone) override { return runUntil(*host_, isDone); }
  void settle() override { host_->runReady(); }

  std::vector<platform::BluetoothState> otherStates() override {
    using enum platform::BluetoothState;
    constexpr auto ofAnotherHost = static_cast<platform::BluetoothState>(6);
    return {unknown, resetting, unsupported, unauthorized, poweredOff, ofAnotherHost};
  }
  void setState(platform::BluetoothState state) override { host_->bluetooth().setState(state); }

  std::size_t makePeripheral(const ExistingPeripheral& peripheral) override {
    platform::simulated::SimulatedPeripheralPlan plan;
    plan.name = peripheral.name;
    plan.isReachable = peripheral.isReachable;
    plan.isConnectedToSystem = peripheral.isConnectedToSystem;
    for (const OfferedService& offered : peripheral.services) {
      platform::simulated::SimulatedServicePlan service{
          .uuid = BluetoothUUID::parse(offered.uuid).value(), .characteristics = {}, .error = {}};
      for (const OfferedCharacteristic& each : offered.characteristics) {
        service.characteristics.push_back(
            {BluetoothUUID::parse(each.uuid).value(), {each.properties}, each.value});
      }
      plan.services.push_back(std::move(service));
    }
    UUID identifier;
    identifier.bytes.back() = static_cast<std::uint8_t>(peripherals_.size() + 1);
    peripherals_.push_back(host_->bluetooth().addPeripheral(identifier, std::move(plan)));
    return peripherals_.size() - 1;
  }
  void advertise(std::size_t peripheral, const platform::BluetoothAdvertisement& advertisement,
                 std::int64_t rssi) override {
    host_->bluetooth().advertise(peripherals_.at(peripheral), advertisement, rssi);
  }
  void setReachable(std::size_t peripheral, bool isReachable) override {
    peripherals_.at(peripheral)->plan.isReachable = isReachable;
    host_->bluetooth().retryAttempts(peripherals_.at(peripheral));
  }
  void setConnectedToSystem(std::size_t peripheral, bool isConnected) override {
    peripherals_.at(peripheral)->plan.isConnectedToSystem = isConnected;
  }
  void setConnectError(std::size_t peripheral, std::optional<std::string> error) override {
    peripherals_.at(peripheral)->plan.connectError = made(error);
    host_->bluetooth().retryAttempts(peripherals_.at(peripheral));
  }
  void setServicesError(std::size_t peripheral, std::optional<std::string> error) override {
    peripherals_.at(peripheral)->plan.servicesError = made(error);
  }
  void setCharacteristicsError(std::size_t peripheral, std::size_t service,
                               std::optional<std::string> error) override {
    peripherals_.at(peripheral)->plan.services.at(service).error = made(error);
  }
  void drop(std::size_t peripheral, std::optional<std::string> error) override {
    host_->bluetooth().drop(peripherals_.at(peripheral), made(error));
  }
  void notify(std::size_t peripheral, CharacteristicPlace place,
              std::vector<std::uint8_t> value) override {
    peripherals_.at(peripheral)->notify({place.first, place.second}, std::move(value));
  }
  std::vector<std::vector<std::uint8_t>> written(std::size_t peripheral,
                                                 CharacteristicPlace place) override {
    return peripherals_.at(peripheral)->written({place.first, place.second});
  }

 private:
  static std::optional<TesslineError> made(const std::optional<std::string>& error) {
    if (!error) return std::nullopt;
    return TesslineError("CBErrorDomain", 0, *error);
  }

  std::shared_ptr<platform::simulated::SimulatedHost> host_ =
      platform::simulated::SimulatedHost::create();
  std::vector<std::shared_ptr<platform::simulated::SimulatedPeripheral>> peripherals_;
};

}  // namespace

std::vector<BluetoothBackendChoice> bluetoothBackends() {
  return {{"Simulated", [] { return std::make_unique<SimulatedBluetoothBackend>(); }}};
}

}  // namespace tessline::test
