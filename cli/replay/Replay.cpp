#include "cli/replay/Replay.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>

namespace tessline::cli {

namespace {

using nlohmann::json;

std::string_view kindText(MemberKind kind) {
  switch (kind) {
    case MemberKind::text:
      return "text";
    case MemberKind::texts:
      return "a list of texts";
    case MemberKind::integer:
      return "an integer";
    case MemberKind::number:
      return "a number";
    case MemberKind::truth:
      return "true or false";
    case MemberKind::bytes:
      return "bytes as hex text, two digits each";
    case MemberKind::properties:
      return R"(an object of text, numbers, true, false or {"other":true})";
    case MemberKind::point:
      return "[x, y]";
    case MemberKind::rectangle:
      return "[x, y, width, height]";
    case MemberKind::rectangles:
      return "a list of [x, y, width, height]";
    case MemberKind::contacts:
      return "a list of [identifier, state, x, y, velocity x, velocity y]";
    case MemberKind::services:
      return R"(a list of {"uuid", "characteristics": a list of {"uuid", "properties", "value"?}, )"
             R"("error"?})";
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

bool areNumbers(const json& value, std::size_t count) {
  return value.is_array() && value.size() == count &&
         std::ranges::all_of(value, [](const json& number) { return number.is_number(); });
}

bool isContact(const json& value) {
  constexpr std::size_t numbersOfAContact = 6;
  return areNumbers(value, numbersOfAContact) && value[0].is_number_integer() &&
         value[1].is_number_integer();
}

template <class IsElement>
bool isListOf(const json& value, IsElement isElement) {
  return value.is_array() && std::ranges::all_of(value, isElement);
}

bool isUUIDText(const json& value) {
  return value.is_string() && BluetoothUUID::parse(value.get_ref<const std::string&>());
}

// Whether the object has these members, no others, and each is as it should be.
bool hasMembers(const json& value, const std::map<std::string, bool (*)(const json&)>& required,
                const std::map<std::string, bool (*)(const json&)>& optional) {
  if (!value.is_object()) return false;
  const auto isPresent = [&value](const auto& member) { return value.contains(member.first); };
  return std::ranges::all_of(required, isPresent) &&
         std::ranges::all_of(value.items(), [&](const auto& item) {
           for (const auto* const members : {&required, &optional}) {
             const auto found = members->find(item.key());
             if (found != members->end()) return found->second(item.value());
           }
           return false;
         });
}

bool isCharacteristic(const json& value) {
  const auto areProperties = [](const json& names) {
    return isListOf(names, [](const json& each) {
      return each.is_string() && bluetoothProperty(each.get_ref<const std::string&>());
    });
  };
  return hasMembers(value, {{"uuid", isUUIDText}, {"properties", areProperties}},
                    {{"value", isHexText}});
}

bool isService(const json& value) {
  return hasMembers(
      value,
      {{"uuid", isUUIDText},
       {"characteristics", [](const json& each) { return isListOf(each, isCharacteristic); }}},
      {{"error", [](const json& each) { return each.is_string(); }}});
}

bool isOfKind(const json& value, MemberKind kind) {
  constexpr std::size_t numbersOfAPoint = 2;
  constexpr std::size_t numbersOfARectangle = 4;
  const auto isRectangle = [](const json& each) { return areNumbers(each, numbersOfARectangle); };
  switch (kind) {
    case MemberKind::text:
      return value.is_string();
    case MemberKind::texts:
      return isListOf(value, [](const json& each) { return each.is_string(); });
    case MemberKind::integer:
      return value.is_number_integer();
    case MemberKind::number:
      return value.is_number();
    case MemberKind::truth:
      return value.is_boolean();
    case MemberKind::bytes:
      return isHexText(value);
    case MemberKind::properties:
      return isProperties(value);
    case MemberKind::point:
      return areNumbers(value, numbersOfAPoint);
    case MemberKind::rectangle:
      return isRectangle(value);
    case MemberKind::rectangles:
      return isListOf(value, isRectangle);
    case MemberKind::contacts:
      return isListOf(value, isContact);
    case MemberKind::services:
      return isListOf(value, isService);
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
  static const std::vector<RecordType> all = [] {
    std::vector<RecordType> types;
    for (const auto& each : {hidRecordTypes(), bluetoothRecordTypes(), touchRecordTypes(),
                             desktopRecordTypes(), captureRecordTypes()}) {
      types.insert(types.end(), each.begin(), each.end());
    }
    return types;
  }();
  return all;
}

Replay::Replay(Observer observer) : observer_(std::move(observer)) {
  host_->calls().onCall = [this](const platform::simulated::PlatformCall& call) { observe(call); };
}

Replay::~Replay() {
  // What ends with the replay is no part of the recording.
  observer_ = [](platform::QueueTime, const Observation&) {};
  hid_.service.reset();
  bluetooth_.service.reset();
  capture_.service.reset();
  touch_.service.reset();
  touch_.controller.reset();
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
  runUntil(record.time);
  type->apply(*this, record.members);
  observeChanges();
  runUntil(record.time);
  // The observer has seen them; a long recording must not pile them up.
  host_->calls().clear();
}

// Piece by piece, so that each change is seen at its own time.
void Replay::runUntil(platform::QueueTime time) {
  auto& scheduler = host_->scheduler();
  for (auto due = scheduler.nextDue(); due && *due <= time; due = scheduler.nextDue()) {
    scheduler.runNext();
    observeChanges();
  }
  host_->advance(time - scheduler.now());
}

void Replay::observeChanges() {
  if (const auto& controller = touch_.controller) {
    const GestureMode mode = controller->mode();
    if (std::exchange(mode_, mode.index()) != mode.index()) observe(ModeChanged{name(mode)});
    const DragChanged drag{controller->isDragging(), controller->isDragLocked()};
    const bool wasDragging = std::exchange(isDragging_, drag.isDragging);
    const bool wasDragLocked = std::exchange(isDragLocked_, drag.isDragLocked);
    if (wasDragging != drag.isDragging || wasDragLocked != drag.isDragLocked) observe(drag);
  }
  for (const auto& window : host_->desktop().windows()) {
    const auto [known, isNew] = windows_.try_emplace(window.name, window.frame);
    if (isNew || known->second == window.frame) continue;
    known->second = window.frame;
    observe(WindowPlaced{window.name, window.frame, false});
  }
}

void Replay::windowPlaced(const std::string& window, const Rect& frame) {
  windows_.insert_or_assign(window, frame);
  observe(WindowPlaced{window, frame, true});
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

std::shared_ptr<platform::simulated::SimulatedPeripheral> Replay::Bluetooth::peripheral(
    const std::string& name) const {
  const auto found = peripherals.find(name);
  if (found == peripherals.end()) {
    throw RecordingError(
        fmt::format("there is no peripheral \"{}\"; expected one that has appeared", name));
  }
  return found->second;
}

BluetoothRemoteDiscoveryService& Replay::Bluetooth::requireService() const {
  if (!service) {
    throw RecordingError("there is no Bluetooth service; expected bluetooth.create before");
  }
  return *service;
}

std::shared_ptr<platform::simulated::SimulatedTouchDevice> Replay::Touch::surface(
    const std::string& name) const {
  const auto found = surfaces.find(name);
  if (found == surfaces.end()) {
    throw RecordingError(
        fmt::format("there is no surface \"{}\"; expected one that has appeared", name));
  }
  return found->second;
}

SiriRemoteMultitouchService& Replay::Touch::requireService() const {
  requireController();
  return *service;
}

SiriRemoteGestureController& Replay::Touch::requireController() const {
  if (!controller) {
    throw RecordingError("there is no gesture controller; expected touch.create before");
  }
  return *controller;
}

PacketLoggerCaptureService& Replay::Capture::requireService() const {
  if (!service) throw RecordingError("there is no capture service; expected capture.create before");
  return *service;
}

void passButtons(Replay& replay, const std::vector<TesslineEvent>& events) {
  const auto controller = replay.touch().controller;
  if (!controller) return;
  for (const TesslineEvent& event : events) {
    if (const auto* const button = std::get_if<RemoteButtonEvent>(&event)) {
      controller->handleButton(button->command, button->phase);
    }
  }
}

std::vector<std::uint8_t> memberBytes(const json& value) {
  const auto& text = value.get_ref<const std::string&>();
  std::vector<std::uint8_t> bytes;
  for (std::size_t at = 0; at < text.size(); at += 2) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoul(text.substr(at, 2), nullptr, 16)));
  }
  return bytes;
}

std::int32_t memberInt32(const json& value, std::string_view what) {
  using Limits = std::numeric_limits<std::int32_t>;
  const auto number = value.get<std::int64_t>();
  if (number < Limits::min() || number > Limits::max()) {
    throw RecordingError(fmt::format("the {} {} does not fit 32 bits; expected {} to {}", what,
                                     value.dump(), Limits::min(), Limits::max()));
  }
  return static_cast<std::int32_t>(number);
}

double memberNumber(const json& value) {
  constexpr double largest = 1e9;
  const auto number = value.get<double>();
  if (number < -largest || number > largest) {
    throw RecordingError(
        fmt::format("the number {} is out of all range; expected at most {} either way",
                    value.dump(), largest));
  }
  return number;
}

}  // namespace tessline::cli
