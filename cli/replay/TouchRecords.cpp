#include "cli/replay/Replay.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace tessline::cli {

namespace {

using nlohmann::json;
using platform::simulated::SimulatedContact;
using platform::simulated::SimulatedSurface;

constexpr std::array<std::string_view, 9> functionNames = {
    "MTDeviceCreateList",
    "MTDeviceGetDeviceID",
    "MTDeviceStart",
    "MTDeviceStop",
    "MTDeviceIsBuiltIn",
    "MTDeviceGetSensorSurfaceDimensions",
    "MTDeviceGetSensorDimensions",
    "MTRegisterContactFrameCallbackWithRefcon",
    "MTUnregisterContactFrameCallback"};

// Beyond any surface, and small enough for scroll amounts to stay in their range.
constexpr double largestCoordinate = 1e6;

std::chrono::nanoseconds duration(const json& members, const char* name,
                                  std::chrono::nanoseconds otherwise) {
  if (!members.contains(name)) return otherwise;
  const auto seconds = members[name].get<double>();
  if (seconds < 0 || seconds > longestSeconds) {
    throw RecordingError(
        fmt::format("the {} of {} is no duration; expected seconds from 0", name, seconds));
  }
  return std::chrono::nanoseconds(std::llround(seconds * 1e9));
}

void createTouch(Replay& replay, const json& members) {
  Replay::Touch& touch = replay.touch();
  if (touch.controller) {
    throw RecordingError("there is a gesture controller already; expected touch.release before");
  }
  GestureSettings settings;
  settings.selectDownSafetyTimeout =
      duration(members, "selectDownSafetyTimeout", settings.selectDownSafetyTimeout);
  settings.dragLockLongPressDuration =
      duration(members, "dragLockLongPressDuration", settings.dragLockLongPressDuration);
  replay.observe(TouchCreated{settings});
  replay.observe(ScreensChanged{replay.host()->desktop().screenFrames()});
  touch.controller = SiriRemoteGestureController::create(replay.host(), settings);
  touch.controller->cursorSpeedProvider = [&touch] { return touch.cursorSpeed.value_or(1); };
  touch.controller->onDragLockChargePhase = [&replay](DragLockChargePhase phase) {
    replay.observe(ChargePhase{phase});
  };
  touch.service = SiriRemoteMultitouchService::create(replay.host());
  touch.service->onTouchesChanged = [&replay](std::span<const SiriRemoteTouchPoint> points) {
    replay.observe(TouchPoints{{points.begin(), points.end()}});
    replay.touch().controller->handleTouches(points);
  };
}

void releaseTouch(Replay& replay, const json&) {
  replay.touch().requireController();
  // The service's last, empty report still reaches the controller.
  replay.touch().service.reset();
  replay.observeChanges();
  replay.touch().controller.reset();
  replay.observe(TouchReleased{});
}

void startTouch(Replay& replay, const json&) {
  replay.touch().requireService().start();
}
void stopTouch(Replay& replay, const json&) {
  replay.touch().requireService().stop();
}

void configureTouchHost(Replay& replay, const json& members) {
  auto& multitouch = replay.host()->multitouch();
  if (members.contains("canOpenLibrary")) multitouch.setCanBeOpened(members["canOpenLibrary"]);
  if (members.contains("createsList")) multitouch.setCreatesList(members["createsList"]);
  if (members.contains("missingFunctions")) {
    const auto& names = members["missingFunctions"];
    for (const std::string name : names) {
      if (std::ranges::find(functionNames, name) != functionNames.end()) continue;
      throw RecordingError(fmt::format("there is no function \"{}\"; expected one of {}", name,
                                       fmt::join(functionNames, " ")));
    }
    multitouch.setMissingFunctions({names.begin(), names.end()});
  }
}

void surfaceAppeared(Replay& replay, const json& members) {
  const std::string name = members["surface"];
  if (replay.touch().surfaces.contains(name)) {
    throw RecordingError(
        fmt::format("the surface \"{}\" is there already; expected another name", name));
  }
  SimulatedSurface surface;
  surface.isBuiltIn = members.value("isBuiltIn", false);
  const auto read = [&](const char* member, std::int32_t& field) {
    if (members.contains(member)) field = memberInt32(members[member], member);
  };
  read("sensorRows", surface.sensorRows);
  read("sensorColumns", surface.sensorColumns);
  read("surfaceWidth", surface.surfaceWidth);
  read("surfaceHeight", surface.surfaceHeight);
  read("startStatus", surface.startStatus);
  replay.touch().surfaces.emplace(name, replay.host()->multitouch().connect(surface));
}

void surfaceGone(Replay& replay, const json& members) {
  const std::string name = members["surface"];
  replay.host()->multitouch().disconnect(replay.touch().surface(name));
  replay.touch().surfaces.erase(name);
}

float coordinate(const json& value) {
  const auto number = value.get<double>();
  if (std::abs(number) > largestCoordinate) {
    throw RecordingError(
        fmt::format("the contact's {} is far off the surface; expected 0 to 1", number));
  }
  return static_cast<float>(number);
}

void frame(Replay& replay, const json& members) {
  const auto surface = replay.touch().surface(members["surface"]);
  std::vector<SimulatedContact> contacts;
  for (const json& contact : members["contacts"]) {
    contacts.push_back({.identifier = memberInt32(contact[0], "identifier"),
                        .state = memberInt32(contact[1], "state"),
                        .x = coordinate(contact[2]),
                        .y = coordinate(contact[3]),
                        .velocityX = coordinate(contact[4]),
                        .velocityY = coordinate(contact[5])});
  }
  replay.host()->multitouch().sendFrame(*surface, contacts);
}

void button(Replay& replay, const json& members) {
  const std::string command = members["command"];
  const std::string phase = members["phase"];
  const auto found = std::ranges::find(remoteCommandNames, command);
  if (found == remoteCommandNames.end()) {
    throw RecordingError(fmt::format("there is no command \"{}\"; expected one of {}", command,
                                     fmt::join(remoteCommandNames, " ")));
  }
  const auto rawPhase = remoteButtonPhase(phase);
  if (!rawPhase) {
    throw RecordingError(
        fmt::format("there is no phase \"{}\"; expected pressed or released", phase));
  }
  replay.touch().requireController().handleButton(
      *remoteCommandWithOrdinal(static_cast<std::size_t>(found - remoteCommandNames.begin())),
      *rawPhase);
}

void reset(Replay& replay, const json&) {
  replay.touch().requireController().resetButtonState();
  replay.observe(ButtonsReset{});
}

void setCursorSpeed(Replay& replay, const json& members) {
  replay.touch().cursorSpeed = memberNumber(members["speed"]);
}

const std::vector<RecordType> touchTypes = {
    {"touch.create",
     {{"selectDownSafetyTimeout", MemberKind::number, false},
      {"dragLockLongPressDuration", MemberKind::number, false}},
     createTouch},
    {"touch.release", {}, releaseTouch},
    {"touch.start", {}, startTouch},
    {"touch.stop", {}, stopTouch},
    {"touch.host",
     {{"canOpenLibrary", MemberKind::truth, false},
      {"missingFunctions", MemberKind::texts, false},
      {"createsList", MemberKind::truth, false}},
     configureTouchHost},
    {"touch.surfaceAppeared",
     {{"surface", MemberKind::text, true},
      {"isBuiltIn", MemberKind::truth, false},
      {"sensorRows", MemberKind::integer, false},
      {"sensorColumns", MemberKind::integer, false},
      {"surfaceWidth", MemberKind::integer, false},
      {"surfaceHeight", MemberKind::integer, false},
      {"startStatus", MemberKind::integer, false}},
     surfaceAppeared},
    {"touch.surfaceGone", {{"surface", MemberKind::text, true}}, surfaceGone},
    {"touch.frame",
     {{"surface", MemberKind::text, true}, {"contacts", MemberKind::contacts, true}},
     frame},
    {"touch.button",
     {{"command", MemberKind::text, true}, {"phase", MemberKind::text, true}},
     button},
    {"touch.reset", {}, reset},
    {"touch.cursorSpeed", {{"speed", MemberKind::number, true}}, setCursorSpeed},
};

}  // namespace

std::span<const RecordType> touchRecordTypes() {
  return touchTypes;
}

}  // namespace tessline::cli
