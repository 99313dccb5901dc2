#include "tests/macos/HIDPlayer.h"

#include "cli/replay/Replay.h"

#include <cstdint>
#include <optional>

#include <gtest/gtest.h>

namespace tessline::test {

using nlohmann::json;

namespace {

standin::CFValue scripted(const json& value) {
  if (value.is_string()) return value.get<std::string>();
  if (value.is_boolean()) return value.get<bool>();
  if (value.is_number_float()) return value.get<double>();
  if (!value.is_number()) return standin::CFBytes();
  const auto number = value.get<std::int64_t>();
  if (value.is_number_unsigned() && number < 0) return value.get<std::uint64_t>();
  return number;
}

standin::HIDProperties properties(const json& members) {
  standin::HIDProperties result;
  for (const auto& [key, value] : members["properties"].items()) result[key] = scripted(value);
  return result;
}

}  // namespace

void HIDPlayer::apply(const cli::Record& record) {
  const json& members = record.members;
  const std::string& type = record.type;
  if (type == "hid.create") {
    create(members);
  } else if (type == "hid.release") {
    service_.reset();
  } else if (type == "hid.startListening") {
    service_->startListening();
  } else if (type == "hid.stopListening") {
    service_->stopListening();
  } else if (type == "hid.host") {
    configureHost(members);
  } else if (type == "hid.report") {
    standin::sendHIDReport(device(members), members["reportID"],
                           cli::memberBytes(members["bytes"]));
  } else if (type == "hid.deviceAppeared") {
    devices_[members["device"]] = standin::connectHIDInterface(properties(members));
  } else if (type == "hid.deviceChanged") {
    standin::configureHIDInterface(device(members), properties(members));
  } else if (type == "hid.deviceGone") {
    standin::disconnectHIDInterface(device(members));
  } else {
    FAIL() << "nobody plays " << type;
  }
  standIn_.settle();
  for (std::string& call : standin::takeHIDCalls()) calls_.push_back(std::move(call));
}

void HIDPlayer::create(const json& members) {
  std::optional<std::string> prefix;
  if (members.contains("productNamePrefix")) prefix = members["productNamePrefix"];
  service_ = ConnectedRemoteHIDService::create(prefix, standIn_.platform());
  service_->onSnapshotChanged = [this](const auto& snapshot) { observe_(snapshot); };
  service_->onRawPayload = [this](const auto& payload) { observe_(cli::HIDRawPayload{payload}); };
  service_->onTransportEvents = [this](const auto& events) {
    observe_(cli::HIDEvents{events});
    if (onEvents) onEvents(events);
  };
}

void HIDPlayer::configureHost(const json& members) {
  if (members.contains("canCreateManager")) {
    standIn_.setManagersCanBeCreated(members["canCreateManager"]);
  }
  if (members.contains("canCopyDevices")) {
    standIn_.setDevicesCanBeCopied(members["canCopyDevices"]);
  }
  if (members.contains("openResult")) standIn_.setOpenResult(members["openResult"]);
}

}  // namespace tessline::test
