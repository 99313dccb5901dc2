#include "tests/macos/BluetoothPlayer.h"

#include "cli/replay/Replay.h"
#include "tests/support/PlatformDecorator.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <standin/corebluetooth.h>

namespace tessline::test {

namespace {

using nlohmann::json;
using standin::bluetooth::Error;
using standin::bluetooth::PeripheralPlan;
using standin::bluetooth::ServicePlan;

std::optional<Error> error(const json& members, const char* name) {
  const std::string text = members.value(name, "");
  if (text.empty()) return std::nullopt;
  return Error{"CBErrorDomain", 0, text};
}

std::vector<ServicePlan> services(const json& list) {
  std::vector<ServicePlan> result;
  for (const json& each : list) {
    ServicePlan service = {each["uuid"], {}, error(each, "error")};
    for (const json& one : each["characteristics"]) {
      standin::bluetooth::CharacteristicPlan characteristic = {one["uuid"], 0, std::nullopt};
      for (const json& name : one["properties"]) {
        characteristic.properties |= cli::bluetoothProperty(name.get<std::string>()).value();
      }
      if (one.contains("value")) characteristic.value = cli::memberBytes(one["value"]);
      service.characteristics.push_back(std::move(characteristic));
    }
    result.push_back(std::move(service));
  }
  return result;
}

void change(PeripheralPlan& plan, const json& members) {
  cli::changePeripheral(plan, members, services, error);
}

standin::bluetooth::Advertisement advertisement(const json& members) {
  standin::bluetooth::Advertisement result;
  if (members.contains("localName")) {
    result["kCBAdvDataLocalName"] = members["localName"].get<std::string>();
  }
  if (members.contains("serviceUUIDs")) {
    result["kCBAdvDataServiceUUIDs"] =
        standin::bluetooth::UUIDs{members["serviceUUIDs"].get<std::vector<std::string>>()};
  }
  return result;
}

// The host's own, but for the date.
class DatedEnvironment : public platform::HostEnvironment {
 public:
  explicit DatedEnvironment(std::function<platform::QueueTime()> now) : now_(std::move(now)) {}

  std::chrono::system_clock::time_point currentDate() override {
    constexpr std::chrono::seconds beginningOf2026(1767225600);
    return std::chrono::system_clock::time_point(
        std::chrono::duration_cast<std::chrono::system_clock::duration>(beginningOf2026 + now_()));
  }

  std::map<std::string, std::string> variables() override { return host().variables(); }
  std::uint32_t effectiveUserID() override { return host().effectiveUserID(); }
  std::string homeDirectory() override { return host().homeDirectory(); }
  std::optional<std::string> applicationSupportDirectory() override {
    return host().applicationSupportDirectory();
  }
  std::optional<std::string> mainBundleIdentifier() override {
    return host().mainBundleIdentifier();
  }
  std::optional<std::string> resource(platform::Bundle bundle, std::string_view name,
                                      std::string_view extension) override {
    return host().resource(bundle, name, extension);
  }

 private:
  static platform::HostEnvironment& host() { return *platform::hostPlatform()->environment(); }

  const std::function<platform::QueueTime()> now_;
};

class DatedPlatform : public PlatformDecorator {
 public:
  explicit DatedPlatform(std::function<platform::QueueTime()> now)
      : PlatformDecorator(platform::hostPlatform()),
        environment_(std::make_shared<DatedEnvironment>(std::move(now))) {}

  std::shared_ptr<platform::HostEnvironment> environment() override { return environment_; }

 private:
  const std::shared_ptr<platform::HostEnvironment> environment_;
};

UUID identifier(const json& members) {
  return UUID::parse(members["identifier"].get<std::string>()).value();
}

}  // namespace

BluetoothPlayer::BluetoothPlayer(std::function<platform::QueueTime()> now, Observe observe)
    : platform_(std::make_shared<DatedPlatform>(std::move(now))), observe_(std::move(observe)) {
  standin::bluetooth::reset();
}

void BluetoothPlayer::create() {
  service_ = BluetoothRemoteDiscoveryService::create(platform_);
  service_->onSnapshotChanged = [this](const BluetoothRemoteDiscoverySnapshot& snapshot) {
    observe_(cli::BluetoothPublication{.snapshot = snapshot, .connected = {}});
  };
  service_->onBatteryLevelChanged = [this](std::optional<std::int64_t> percent) {
    observe_(cli::BatteryLevel{percent});
  };
  service_->onRawPayload = [this](const std::vector<std::uint8_t>& bytes) {
    observe_(cli::BluetoothRawPayload{bytes});
  };
  service_->onTransportEvents = [this](const std::vector<TesslineEvent>& events) {
    observe_(cli::BluetoothEvents{events});
    if (onEvents) onEvents(events);
  };
}

void BluetoothPlayer::apply(const cli::Record& record) {
  const std::string& type = record.type;
  const json& members = record.members;
  const auto peripheral = [&] { return peripherals_.at(members["peripheral"]); };
  if (type == "bluetooth.create") {
    create();
  } else if (type == "bluetooth.release") {
    service_.reset();
  } else if (type == "bluetooth.startScanning") {
    service_->startScanning();
  } else if (type == "bluetooth.stopScanning") {
    service_->stopScanning();
  } else if (type == "bluetooth.connect") {
    service_->connect(identifier(members));
  } else if (type == "bluetooth.disconnect") {
    service_->disconnect();
  } else if (type == "bluetooth.host") {
    standin::bluetooth::setState(
        static_cast<long>(cli::bluetoothState(members["state"].get<std::string>()).value()));
  } else if (type == "bluetooth.peripheralAppeared") {
    PeripheralPlan plan;
    plan.identifier = members["identifier"];
    change(plan, members);
    peripherals_[members["peripheral"]] = standin::bluetooth::addPeripheral(std::move(plan));
  } else if (type == "bluetooth.peripheralChanged") {
    standin::bluetooth::change(peripheral(), [&](PeripheralPlan& plan) { change(plan, members); });
  } else if (type == "bluetooth.advertisement") {
    standin::bluetooth::advertise(peripheral(), advertisement(members), members["rssi"]);
  } else if (type == "bluetooth.notification") {
    standin::bluetooth::notify(peripheral(), {members["service"], members["characteristic"]},
                               cli::memberBytes(members["bytes"]), error(members, "error"));
  } else if (type == "bluetooth.drop") {
    standin::bluetooth::drop(peripheral(), error(members, "error"));
  } else {
    FAIL() << "nobody plays " << type;
  }
}

}  // namespace tessline::test
