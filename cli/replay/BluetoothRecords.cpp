#include "cli/replay/Replay.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace tessline::cli {

namespace {

using nlohmann::json;
using platform::BluetoothProperties;
using platform::BluetoothState;
using platform::simulated::SimulatedCharacteristicPlace;
using platform::simulated::SimulatedCharacteristicPlan;
using platform::simulated::SimulatedPeripheralPlan;
using platform::simulated::SimulatedServicePlan;

constexpr std::array<std::pair<std::string_view, std::uint32_t>, 5> propertyNames = {
    {{"read", BluetoothProperties::read},
     {"writeWithoutResponse", BluetoothProperties::writeWithoutResponse},
     {"write", BluetoothProperties::write},
     {"notify", BluetoothProperties::notify},
     {"indicate", BluetoothProperties::indicate}}};

// At the numbers of the states; the last is none of them.
constexpr std::array<std::string_view, 7> states = {
    "unknown", "resetting", "unsupported", "unauthorized", "poweredOff", "poweredOn", "other"};

// An empty text stands for no error.
std::optional<TesslineError> error(const json& members, const char* name) {
  const std::string text = members.value(name, "");
  constexpr std::int64_t unknown = 0;
  if (text.empty()) return std::nullopt;
  return TesslineError("CBErrorDomain", unknown, text);
}

UUID identifier(const json& value) {
  const auto parsed = UUID::parse(value.get_ref<const std::string&>());
  if (parsed) return *parsed;
  throw RecordingError(
      fmt::format("the identifier {} is no UUID; expected one of 36 characters", value.dump()));
}

std::vector<SimulatedServicePlan> services(const json& list) {
  std::vector<SimulatedServicePlan> result;
  for (const json& each : list) {
    SimulatedServicePlan service{
        .uuid = BluetoothUUID::parse(each["uuid"].get<std::string>()).value(),
        .characteristics = {},
        .error = error(each, "error")};
    for (const json& one : each["characteristics"]) {
      SimulatedCharacteristicPlan characteristic{
          .uuid = BluetoothUUID::parse(one["uuid"].get<std::string>()).value(),
          .properties = {},
          .value = std::nullopt};
      for (const json& name : one["properties"]) {
        characteristic.properties.bits |= bluetoothProperty(name.get<std::string>()).value();
      }
      if (one.contains("value")) characteristic.value = memberBytes(one["value"]);
      service.characteristics.push_back(std::move(characteristic));
    }
    result.push_back(std::move(service));
  }
  return result;
}

void change(SimulatedPeripheralPlan& plan, const json& members) {
  changePeripheral(plan, members, services, error);
}

void publish(Replay& replay, const BluetoothRemoteDiscoverySnapshot& snapshot) {
  auto& bluetooth = replay.host()->bluetooth();
  BluetoothPublication publication{.snapshot = snapshot,
                                   .state = bluetooth.state(),
                                   .isScanning = bluetooth.isScanning(),
                                   .connected = {}};
  for (const auto& peripheral : bluetooth.peripherals()) {
    if (peripheral->state() == platform::BluetoothPeripheralState::connected) {
      publication.connected.push_back(peripheral->identifier());
    }
  }
  replay.observe(publication);
}

void createBluetooth(Replay& replay, const json&) {
  auto& service = replay.bluetooth().service;
  if (service) {
    throw RecordingError("there is a Bluetooth service already; expected bluetooth.release before");
  }
  service = BluetoothRemoteDiscoveryService::create(replay.host());
  service->onSnapshotChanged = [&replay](const BluetoothRemoteDiscoverySnapshot& snapshot) {
    publish(replay, snapshot);
  };
  service->onBatteryLevelChanged = [&replay](std::optional<std::int64_t> percent) {
    replay.observe(BatteryLevel{percent});
  };
  service->onRawPayload = [&replay](const std::vector<std::uint8_t>& bytes) {
    replay.observe(BluetoothRawPayload{bytes});
  };
  service->onTransportEvents = [&replay](const std::vector<TesslineEvent>& events) {
    replay.observe(BluetoothEvents{events});
    passButtons(replay, events);
  };
  replay.observe(BluetoothCreated{});
}

void releaseBluetooth(Replay& replay, const json&) {
  replay.bluetooth().requireService();
  replay.bluetooth().service.reset();
  replay.observe(BluetoothReleased{});
}

BluetoothRemoteDiscoveryService& asked(Replay& replay) {
  auto& service = replay.bluetooth().requireService();
  replay.observe(BluetoothAsked{});
  return service;
}

void startScanning(Replay& replay, const json&) {
  asked(replay).startScanning();
}
void stopScanning(Replay& replay, const json&) {
  asked(replay).stopScanning();
}
void connect(Replay& replay, const json& members) {
  const UUID wanted = identifier(members["identifier"]);
  asked(replay).connect(wanted);
}
void disconnect(Replay& replay, const json&) {
  asked(replay).disconnect();
}

void configureBluetoothHost(Replay& replay, const json& members) {
  const std::string name = members["state"];
  const auto state = bluetoothState(name);
  if (!state) {
    throw RecordingError(
        fmt::format("there is no state \"{}\"; expected one of {}", name, fmt::join(states, " ")));
  }
  replay.observe(BluetoothHostChanged{});
  replay.host()->bluetooth().setState(*state);
}

void peripheralAppeared(Replay& replay, const json& members) {
  const std::string name = members["peripheral"];
  if (replay.bluetooth().peripherals.contains(name)) {
    throw RecordingError(
        fmt::format("the peripheral \"{}\" is there already; expected another name", name));
  }
  SimulatedPeripheralPlan plan;
  change(plan, members);
  replay.bluetooth().peripherals.emplace(
      name,
      replay.host()->bluetooth().addPeripheral(identifier(members["identifier"]), std::move(plan)));
}

void peripheralChanged(Replay& replay, const json& members) {
  const auto peripheral = replay.bluetooth().peripheral(members["peripheral"]);
  change(peripheral->plan, members);
  replay.observe(BluetoothHostChanged{});
  replay.host()->bluetooth().retryAttempts(peripheral);
}

void advertise(Replay& replay, const json& members) {
  platform::BluetoothAdvertisement advertisement;
  if (members.contains("localName")) advertisement.localName = members["localName"];
  for (const json& each : members.value("serviceUUIDs", json::array())) {
    const auto uuid = BluetoothUUID::parse(each.get_ref<const std::string&>());
    if (!uuid) {
      throw RecordingError(
          fmt::format("{} is no UUID; expected 4, 8 or 36 characters", each.dump()));
    }
    advertisement.serviceUUIDs.push_back(*uuid);
  }
  replay.host()->bluetooth().advertise(replay.bluetooth().peripheral(members["peripheral"]),
                                       advertisement, memberInt32(members["rssi"], "rssi"));
}

void notify(Replay& replay, const json& members) {
  const auto place = [&members](const char* name) {
    const std::int32_t number = memberInt32(members[name], name);
    if (number < 0) {
      throw RecordingError(
          fmt::format("the {} {} does not exist; expected 0 or more", name, number));
    }
    return static_cast<std::size_t>(number);
  };
  const SimulatedCharacteristicPlace where{place("service"), place("characteristic")};
  replay.bluetooth()
      .peripheral(members["peripheral"])
      ->notify(where, memberBytes(members["bytes"]), error(members, "error"));
}

void drop(Replay& replay, const json& members) {
  const auto peripheral = replay.bluetooth().peripheral(members["peripheral"]);
  replay.observe(BluetoothHostChanged{});
  replay.host()->bluetooth().drop(peripheral, error(members, "error"));
}

const std::vector<RecordMember> plan = {{"peripheral", MemberKind::text, true},
                                        {"name", MemberKind::text, false},
                                        {"services", MemberKind::services, false},
                                        {"isReachable", MemberKind::truth, false},
                                        {"isConnectedToSystem", MemberKind::truth, false},
                                        {"connectError", MemberKind::text, false},
                                        {"servicesError", MemberKind::text, false}};

std::vector<RecordMember> identified(std::vector<RecordMember> members) {
  members.insert(members.begin() + 1, {"identifier", MemberKind::text, true});
  return members;
}

const std::vector<RecordType> bluetoothTypes = {
    {"bluetooth.create", {}, createBluetooth},
    {"bluetooth.release", {}, releaseBluetooth},
    {"bluetooth.startScanning", {}, startScanning},
    {"bluetooth.stopScanning", {}, stopScanning},
    {"bluetooth.connect", {{"identifier", MemberKind::text, true}}, connect},
    {"bluetooth.disconnect", {}, disconnect},
    {"bluetooth.host", {{"state", MemberKind::text, true}}, configureBluetoothHost},
    {"bluetooth.peripheralAppeared", identified(plan), peripheralAppeared},
    {"bluetooth.peripheralChanged", plan, peripheralChanged},
    {"bluetooth.advertisement",
     {{"peripheral", MemberKind::text, true},
      {"localName", MemberKind::text, false},
      {"serviceUUIDs", MemberKind::texts, false},
      {"rssi", MemberKind::integer, true}},
     advertise},
    {"bluetooth.notification",
     {{"peripheral", MemberKind::text, true},
      {"service", MemberKind::integer, true},
      {"characteristic", MemberKind::integer, true},
      {"bytes", MemberKind::bytes, true},
      {"error", MemberKind::text, false}},
     notify},
    {"bluetooth.drop",
     {{"peripheral", MemberKind::text, true}, {"error", MemberKind::text, false}},
     drop},
};

}  // namespace

std::optional<std::uint32_t> bluetoothProperty(std::string_view name) {
  const auto* const found =
      std::ranges::find(propertyNames, name, &std::pair<std::string_view, std::uint32_t>::first);
  if (found == propertyNames.end()) return std::nullopt;
  return found->second;
}

std::optional<BluetoothState> bluetoothState(std::string_view name) {
  const auto* const found = std::ranges::find(states, name);
  if (found == states.end()) return std::nullopt;
  return static_cast<BluetoothState>(found - states.begin());
}

std::span<const RecordType> bluetoothRecordTypes() {
  return bluetoothTypes;
}

}  // namespace tessline::cli
