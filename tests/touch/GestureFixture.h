/// @file
/// A gesture controller on a simulated host, with verbs for what happens to it.
#pragma once

#include "tessline/platform/simulated/SimulatedHost.h"
#include "tessline/touch/SiriRemoteGestureController.h"
#include "tests/support/GeometryPrinting.h"

#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {

using namespace std::chrono_literals;

/// A mouse event that was posted: the short name of its type, and where.
struct PostedMouse {
  std::string type;
  Point position;

  bool operator==(const PostedMouse&) const = default;
  friend void PrintTo(const PostedMouse& mouse, std::ostream* out) {
    *out << mouse.type << " at " << mouse.position.x << ", " << mouse.position.y;
  }
};

class GestureControllerTest : public testing::Test {
 protected:
  GestureControllerTest() { makeController(); }

  void makeController(const GestureSettings& settings = {},
                      std::shared_ptr<platform::Platform> platform = nullptr) {
    controller = SiriRemoteGestureController::create(platform ? platform : host, settings);
    controller->onDragLockChargePhase = [this](DragLockChargePhase phase) {
      phases.push_back(ordinal(phase));
    };
    host->calls().clear();
  }

  void press() { controller->handleButton(RemoteCommand::select, RemoteButtonPhase::pressed); }
  void release() { controller->handleButton(RemoteCommand::select, RemoteButtonPhase::released); }
  void touch(std::vector<Point> fingers) {
    std::vector<SiriRemoteTouchPoint> points;
    for (const Point& finger : fingers) {
      points.push_back({static_cast<std::int32_t>(points.size()), static_cast<float>(finger.x),
                        static_cast<float>(finger.y), 4});
    }
    controller->handleTouches(points);
  }
  /// One finger goes by halves and quarters, which are exact in single precision.
  void stroke(Point from, Point to) {
    touch({from});
    touch({to});
    touch({});
  }
  void placeWindow(const Rect& frame = {{300, 200}, {600, 400}}) {
    host->desktop().setWindow({.name = "editor", .frame = frame, .titleBarHeight = 28, .depth = 2});
  }
  Rect windowFrame() { return host->desktop().windows().front().frame; }

  std::vector<PostedMouse> mouseEvents() const {
    std::vector<PostedMouse> events;
    for (const auto& call : host->calls().calls()) {
      if (call.operation != "CGEventCreateMouseEvent") continue;
      const auto type = call.argument<std::string>("type");
      events.push_back({type.substr(std::string("kCGEvent").size()),
                        {call.argument<double>("x"), call.argument<double>("y")}});
    }
    return events;
  }
  std::vector<std::string> mouseTypes() const {
    std::vector<std::string> types;
    for (const PostedMouse& event : mouseEvents()) types.push_back(event.type);
    return types;
  }
  std::vector<std::pair<std::int64_t, std::int64_t>> scrolls() const {
    std::vector<std::pair<std::int64_t, std::int64_t>> amounts;
    for (const auto& call : host->calls().calls()) {
      if (call.operation != "CGEventCreateScrollWheelEvent2") continue;
      amounts.emplace_back(call.argument<std::int64_t>("wheel1"),
                           call.argument<std::int64_t>("wheel2"));
    }
    return amounts;
  }
  std::size_t callCount(const std::string& operation) const {
    std::size_t count = 0;
    for (const auto& call : host->calls().calls()) {
      if (call.operation == operation) ++count;
    }
    return count;
  }

  using Types = std::vector<std::string>;
  using Phases = std::vector<int>;
  using Scrolls = std::vector<std::pair<std::int64_t, std::int64_t>>;

  std::shared_ptr<platform::simulated::SimulatedHost> host =
      platform::simulated::SimulatedHost::create();
  Phases phases;
  std::shared_ptr<SiriRemoteGestureController> controller;
};

using ButtonTest = GestureControllerTest;

// The title bar of the window that `placeWindow` places.
inline constexpr Point onTitleBar = {400, 210};
inline constexpr Point belowTitleBar = {400, 300};

class TitleBarTest : public GestureControllerTest {
 protected:
  TitleBarTest() {
    placeWindow();
    host->desktop().setPointer(onTitleBar);
  }
};

// With a long press that comes later than the timeout for lost releases.
class LostReleaseTest : public TitleBarTest {
 protected:
  LostReleaseTest() { makeController({.dragLockLongPressDuration = 10s}); }
};

}  // namespace tessline::test
