#include "cli/replay/Replay.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace tessline::cli {

namespace {

using nlohmann::json;
using platform::simulated::SimulatedWindow;

constexpr std::array<std::string_view, 4> attributeNames = {"AXRole", "AXParent", "AXPosition",
                                                            "AXSize"};

Point point(const json& value) {
  return {memberNumber(value[0]), memberNumber(value[1])};
}

Rect rectangle(const json& value) {
  return {{memberNumber(value[0]), memberNumber(value[1])},
          {memberNumber(value[2]), memberNumber(value[3])}};
}

void configureDesktopHost(Replay& replay, const json& members) {
  auto& desktop = replay.host()->desktop();
  if (members.contains("isTrusted")) desktop.setTrusted(members["isTrusted"]);
  if (members.contains("canCreateEvents")) desktop.setCanCreateEvents(members["canCreateEvents"]);
}

void setScreens(Replay& replay, const json& members) {
  platform::ScreenFrames frames;
  for (const json& frame : members["frames"]) frames.push_back(rectangle(frame));
  replay.observe(ScreensChanged{frames});
  replay.host()->desktop().setScreens(std::move(frames));
  if (members.contains("main")) {
    replay.host()->desktop().setMainFrame(rectangle(members["main"]));
  }
}

void setPointer(Replay& replay, const json& members) {
  auto& desktop = replay.host()->desktop();
  desktop.setPointer(members.contains("location") ? std::optional(point(members["location"]))
                                                  : std::nullopt);
  if (members.contains("mouseLocation")) desktop.setMouseLocation(point(members["mouseLocation"]));
}

void setWindow(Replay& replay, const json& members) {
  SimulatedWindow window;
  window.name = members["window"];
  window.frame = rectangle(members["frame"]);
  if (members.contains("titleBarHeight")) {
    window.titleBarHeight = memberNumber(members["titleBarHeight"]);
  }
  window.canBeMoved = members.value("canBeMoved", true);
  if (members.contains("depth")) window.depth = memberInt32(members["depth"], "depth");
  if (window.depth < 0) {
    throw RecordingError(fmt::format("the depth {} is no depth; expected 0 or more", window.depth));
  }
  if (members.contains("failingAttributes")) {
    const auto& names = members["failingAttributes"];
    for (const std::string name : names) {
      if (std::ranges::find(attributeNames, name) != attributeNames.end()) continue;
      throw RecordingError(fmt::format("there is no attribute \"{}\"; expected one of {}", name,
                                       fmt::join(attributeNames, " ")));
    }
    window.failingAttributes = {names.begin(), names.end()};
  }
  replay.windowPlaced(window.name, window.frame);
  replay.host()->desktop().setWindow(std::move(window));
}

void removeWindow(Replay& replay, const json& members) {
  const std::string name = members["window"];
  if (!replay.host()->desktop().removeWindow(name)) {
    throw RecordingError(
        fmt::format("there is no window \"{}\"; expected one that has appeared", name));
  }
  replay.windowGone(name);
}

const std::vector<RecordType> desktopTypes = {
    {"desktop.host",
     {{"isTrusted", MemberKind::truth, false}, {"canCreateEvents", MemberKind::truth, false}},
     configureDesktopHost},
    {"desktop.screens",
     {{"frames", MemberKind::rectangles, true}, {"main", MemberKind::rectangle, false}},
     setScreens},
    {"desktop.pointer",
     {{"location", MemberKind::point, false}, {"mouseLocation", MemberKind::point, false}},
     setPointer},
    {"desktop.window",
     {{"window", MemberKind::text, true},
      {"frame", MemberKind::rectangle, true},
      {"titleBarHeight", MemberKind::number, false},
      {"depth", MemberKind::integer, false},
      {"failingAttributes", MemberKind::texts, false},
      {"canBeMoved", MemberKind::truth, false}},
     setWindow},
    {"desktop.windowGone", {{"window", MemberKind::text, true}}, removeWindow},
};

}  // namespace

std::span<const RecordType> desktopRecordTypes() {
  return desktopTypes;
}

}  // namespace tessline::cli
