#include "cli/replay/Replay.h"

#include <cstdint>
#include <limits>
#include <utility>

#include <fmt/format.h>

namespace tessline::cli {

namespace {

using nlohmann::json;
using platform::HIDProperty;
using Properties = platform::simulated::SimulatedHIDDevice::Properties;

HIDProperty property(const json& value) {
  if (value.is_string()) return value.get<std::string>();
  if (value.is_boolean()) return value.get<bool>();
  if (value.is_number_unsigned()) return static_cast<std::int64_t>(value.get<std::uint64_t>());
  if (value.is_number_integer()) return value.get<std::int64_t>();
  if (value.is_number()) return value.get<double>();
  return platform::OtherHIDProperty();
}

Properties properties(const json& object) {
  Properties result;
  for (const auto& [key, value] : object.items()) result.emplace(key, property(value));
  return result;
}

void createHID(Replay& replay, const json& members) {
  Replay::HID& hid = replay.hid();
  if (hid.service)
    throw RecordingError("there is a HID service already; expected hid.release before");
  std::optional<std::string> prefix;
  if (members.contains("productNamePrefix")) prefix = members["productNamePrefix"];
  hid.service = ConnectedRemoteHIDService::create(std::move(prefix), replay.host());
  hid.service->onSnapshotChanged = [&replay](const ConnectedRemoteHIDSnapshot& snapshot) {
    replay.observe(snapshot);
  };
  hid.service->onRawPayload = [&replay](const std::vector<std::uint8_t>& bytes) {
    replay.observe(HIDRawPayload{bytes});
  };
  hid.service->onTransportEvents = [&replay](const std::vector<TesslineEvent>& events) {
    replay.observe(HIDEvents{events});
    passButtons(replay, events);
  };
  replay.observe(HIDServiceCreated{});
}

void releaseHID(Replay& replay, const json&) {
  replay.hid().requireService();
  replay.hid().service.reset();
  replay.observe(HIDServiceReleased{});
}

void startListening(Replay& replay, const json&) {
  replay.hid().requireService().startListening();
}
void stopListening(Replay& replay, const json&) {
  replay.hid().requireService().stopListening();
}

void configureHIDHost(Replay& replay, const json& members) {
  auto& bus = replay.host()->hid();
  if (members.contains("canCreateManager"))
    bus.setManagersCanBeCreated(members["canCreateManager"]);
  if (members.contains("canCopyDevices")) bus.setDevicesCanBeCopied(members["canCopyDevices"]);
  if (members.contains("openResult")) {
    bus.setOpenResult(static_cast<std::int32_t>(members["openResult"].get<std::int64_t>()));
  }
}

void deviceAppeared(Replay& replay, const json& members) {
  const std::string name = members["device"];
  if (replay.hid().devices.contains(name)) {
    throw RecordingError(
        fmt::format("the device \"{}\" is there already; expected another name", name));
  }
  replay.hid().devices.emplace(name,
                               replay.host()->hid().connect(properties(members["properties"])));
}

void deviceChanged(Replay& replay, const json& members) {
  replay.hid().device(members["device"])->setProperties(properties(members["properties"]));
}

void deviceGone(Replay& replay, const json& members) {
  const std::string name = members["device"];
  replay.host()->hid().disconnect(replay.hid().device(name));
  replay.hid().devices.erase(name);
}

void report(Replay& replay, const json& members) {
  const auto reportID = members["reportID"].get<std::int64_t>();
  if (reportID < 0 || reportID > std::numeric_limits<std::uint32_t>::max()) {
    throw RecordingError(
        fmt::format("the reportID {} does not exist; expected 0 to 4294967295", reportID));
  }
  replay.host()->hid().sendReport(replay.hid().device(members["device"]),
                                  static_cast<std::uint32_t>(reportID),
                                  memberBytes(members["bytes"]));
}

const std::vector<RecordType> hidTypes = {
    {"hid.create", {{"productNamePrefix", MemberKind::text, false}}, createHID},
    {"hid.release", {}, releaseHID},
    {"hid.startListening", {}, startListening},
    {"hid.stopListening", {}, stopListening},
    {"hid.host",
     {{"canCreateManager", MemberKind::truth, false},
      {"openResult", MemberKind::integer, false},
      {"canCopyDevices", MemberKind::truth, false}},
     configureHIDHost},
    {"hid.deviceAppeared",
     {{"device", MemberKind::text, true}, {"properties", MemberKind::properties, true}},
     deviceAppeared},
    {"hid.deviceChanged",
     {{"device", MemberKind::text, true}, {"properties", MemberKind::properties, true}},
     deviceChanged},
    {"hid.deviceGone", {{"device", MemberKind::text, true}}, deviceGone},
    {"hid.report",
     {{"device", MemberKind::text, true},
      {"reportID", MemberKind::integer, true},
      {"bytes", MemberKind::bytes, true}},
     report},
};

}  // namespace

std::span<const RecordType> hidRecordTypes() {
  return hidTypes;
}

}  // namespace tessline::cli
