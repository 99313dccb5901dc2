#include "cli/replay/Replay.h"

#include <algorithm>
#include <cctype>
#include <utility>

#include <fmt/format.h>

namespace tessline::cli {

namespace {

using nlohmann::json;

std::string_view kindText(MemberKind kind) {
  switch (kind) {
    case MemberKind::text:
      return "text";
    case MemberKind::integer:
      return "an integer";
    case MemberKind::truth:
      return "true or false";
    case MemberKind::bytes:
      return "bytes as hex text, two digits each";
    case MemberKind::properties:
      return R"(an object of text, numbers, true, false or {"other":true})";
  }
  return {};
}

bool isHexText(const json& value) {
  if (!value.is_string()) return false;
  const auto& text = value.get_ref<const std::string&>();
  return text.size() % 2 == 0 && std::ranges::all_of(text, [](char character) {
           return std::isxdigit(static_cast<unsigned char>(character)) != 0;
         });
}

bool isProperties(const json& value) {
  return value.is_object() && std::ranges::all_of(value, [](const json& property) {
           return property.is_string() || property.is_number() || property.is_boolean() ||
                  property == json({{"other", true}});
         });
}

bool isOfKind(const json& value, MemberKind kind) {
  switch (kind) {
    case MemberKind::text:
      return value.is_string();
    case MemberKind::integer:
      return value.is_number_integer();
    case MemberKind::truth:
      return value.is_boolean();
    case MemberKind::bytes:
      return isHexText(value);
    case MemberKind::properties:
      return isProperties(value);
  }
  return false;
}

void check(const RecordType& type, const json& members) {
  for (const RecordMember& member : type.members) {
    const auto found = members.find(member.name);
    if (found == members.end()) {
      if (!member.isRequired) continue;
      throw RecordingError(fmt::format(R"({} lacks "{}"; expected {})", type.name, member.name,
                                       kindText(member.kind)));
    }
    if (!isOfKind(*found, member.kind)) {
      throw RecordingError(fmt::format(R"("{}" of {} is {}; expected {})", member.name, type.name,
                                       found->dump(-1, ' ', false, json::error_handler_t::replace),
                                       kindText(member.kind)));
    }
  }
  for (const auto& [name, value] : members.items()) {
    if (std::ranges::find(type.members, name, &RecordMember::name) != type.members.end()) continue;
    std::string expected;
    for (const RecordMember& member : type.members) expected += fmt::format(" {}", member.name);
    throw RecordingError(fmt::format(R"({} has no "{}"; expected{})", type.name, name,
                                     expected.empty() ? " no more members" : expected));
  }
}

}  // namespace

std::span<const RecordType> recordTypes() {
  return hidRecordTypes();
}

Replay::Replay(Observer observer) : observer_(std::move(observer)) {
  host_->calls().onCall = [this](const platform::simulated::PlatformCall& call) { observe(call); };
}

Replay::~Replay() {
  // What ends with the replay is no part of the recording.
  observer_ = [](platform::QueueTime, const Observation&) {};
  hid_.service.reset();
  host_->calls().onCall = nullptr;
}

void Replay::play(const Record& record) {
  const auto types = recordTypes();
  const auto type = std::ranges::find(types, record.type, &RecordType::name);
  if (type == types.end()) {
    std::string known;
    for (const RecordType& each : types) known += fmt::format(" {}", each.name);
    throw RecordingError(
        fmt::format("there is no type \"{}\"; expected one of{}", record.type, known));
  }
  check(*type, record.members);
  host_->advance(record.time - host_->scheduler().now());
  type->apply(*this, record.members);
  host_->runReady();
  // The observer has seen them; a long recording must not pile them up.
  host_->calls().clear();
}

std::shared_ptr<platform::simulated::SimulatedHIDDevice> Replay::HID::device(
    const std::string& name) const {
  const auto found = devices.find(name);
  if (found == devices.end()) {
    throw RecordingError(
        fmt::format("there is no device \"{}\"; expected one that has appeared", name));
  }
  return found->second;
}

ConnectedRemoteHIDService& Replay::HID::requireService() const {
  if (!service) throw RecordingError("there is no HID service; expected hid.create before");
  return *service;
}

std::vector<std::uint8_t> memberBytes(const json& value) {
  const auto& text = value.get_ref<const std::string&>();
  std::vector<std::uint8_t> bytes;
  for (std::size_t at = 0; at < text.size(); at += 2) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoul(text.substr(at, 2), nullptr, 16)));
  }
  return bytes;
}

}  // namespace tessline::cli
