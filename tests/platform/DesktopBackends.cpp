#include "tessline/platform/simulated/SimulatedHost.h"
#include "tessline/touch/ContactRecord.h"
#include "tests/platform/DesktopContract.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {

namespace {

using platform::MouseEventType;
using platform::ScreenFrames;
using platform::simulated::SimulatedHost;

class SimulatedBackend : public ScriptedBackend {
 public:
  std::shared_ptr<platform::Platform> platform() override { return host_; }
  std::string pathOfNoLibrary() override {
    host_->multitouch().setCanBeOpened(false);
    return pathOfLibrary();
  }

  void setScreens(ScreenFrames frames) override { host_->desktop().setScreens(std::move(frames)); }
  void setFocusedScreen(std::optional<Rect> frame) override {
    host_->desktop().setMainFrame(frame);
  }
  void setMouseLocation(Point location) override { host_->desktop().setMouseLocation(location); }
  void setPointer(std::optional<Point> location) override { host_->desktop().setPointer(location); }
  void setCanMakeEvents(bool can) override { host_->desktop().setCanCreateEvents(can); }
  std::vector<Post> posts() override {
    std::vector<Post> posts;
    for (const auto& call : host_->calls().calls()) {
      if (const auto post = postOf(call)) posts.push_back(*post);
    }
    return posts;
  }

  void setTrusted(bool isTrusted) override { host_->desktop().setTrusted(isTrusted); }
  void showWindow(const ShownWindow& window) override {
    platform::simulated::SimulatedWindow simulated;
    simulated.name = "window";
    simulated.frame = window.frame;
    simulated.depth = window.depth;
    simulated.canBeMoved = window.canBeMoved;
    if (window.attributeThatFails) {
      simulated.failingAttributes.insert(*window.attributeThatFails);
    }
    host_->desktop().setWindow(simulated);
  }
  void closeWindow() override { ASSERT_TRUE(host_->desktop().removeWindow("window")); }

  std::string pathOfLibrary() override { return "/Multitouch"; }
  void setMissingFunction(const std::string& name) override {
    host_->multitouch().setMissingFunctions({name});
  }
  void setGivesList(bool gives) override { host_->multitouch().setCreatesList(gives); }
  void connectSurface(const ConnectedSurface& surface) override {
    surfaces_.push_back(
        host_->multitouch().connect({surface.isBuiltIn, surface.rows, surface.columns,
                                     surface.width, surface.height, surface.startStatus}));
  }
  void disconnectSurface(std::size_t index) override {
    host_->multitouch().disconnect(surfaces_.at(index));
  }
  void sendFrame(std::size_t surface, int contacts) override {
    std::vector<platform::simulated::SimulatedContact> frame;
    for (int contact = 1; contact <= contacts; ++contact) {
      frame.push_back({.identifier = contact, .state = contactMoved});
    }
    host_->multitouch().sendFrame(*surfaces_.at(surface), frame);
  }

 private:
  static std::optional<Post> postOf(const platform::simulated::PlatformCall& call) {
    const auto argument = [&](std::string_view name) {
      const auto found = std::ranges::find_if(call.arguments,
                                              [&](const auto& each) { return each.first == name; });
      return found == call.arguments.end() ? std::nullopt : std::optional(found->second);
    };
    const auto posted = argument("posted");
    if (!posted || !std::get<bool>(*posted)) return std::nullopt;
    const auto integer = [&](std::string_view name) {
      return std::get<std::int64_t>(argument(name).value());
    };
    if (call.operation == "CGEventCreateScrollWheelEvent2") {
      return ScrollPost{integer("wheel1"), integer("wheel2")};
    }
    MousePost post = {
        typeCalled(std::get<std::string>(argument("type").value())),
        {std::get<double>(argument("x").value()), std::get<double>(argument("y").value())},
        std::nullopt};
    if (argument("clickState")) post.clickState = integer("clickState");
    return post;
  }
  static MouseEventType typeCalled(std::string_view name) {
    if (name == "kCGEventLeftMouseDown") return MouseEventType::leftMouseDown;
    if (name == "kCGEventLeftMouseUp") return MouseEventType::leftMouseUp;
    if (name == "kCGEventLeftMouseDragged") return MouseEventType::leftMouseDragged;
    EXPECT_EQ(name, "kCGEventMouseMoved");
    return MouseEventType::mouseMoved;
  }

  std::shared_ptr<SimulatedHost> host_ = SimulatedHost::create();
  std::vector<std::shared_ptr<platform::simulated::SimulatedTouchDevice>> surfaces_;
};

class HostBackend : public DesktopBackend {
 public:
  std::shared_ptr<platform::Platform> platform() override { return platform::hostPlatform(); }
  std::string pathOfNoLibrary() override { return "/nowhere/Multitouch"; }
};

}  // namespace

std::vector<BackendChoice<DesktopBackend>> desktopBackends() {
  return {{"Simulated", [] { return std::make_unique<SimulatedBackend>(); }},
          {"Host", [] { return std::make_unique<HostBackend>(); }}};
}

std::vector<BackendChoice<ScriptedBackend>> scriptedBackends() {
  return {{"Simulated", [] { return std::make_unique<SimulatedBackend>(); }}};
}

}  // namespace tessline::test
