/// @file
/// The clamper on a simulated host, with elements made by hand and the calls to them as lines.
#pragma once

#include "tessline/platform/simulated/SimulatedHost.h"
#include "tessline/touch/DragWindowBoundsClamper.h"
#include "tests/support/GeometryPrinting.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {

using platform::AccessibilityValue;
using platform::simulated::CallLog;
using platform::simulated::PlatformCall;
using platform::simulated::SimulatedElement;
using platform::simulated::SimulatedHost;
using Clamper = DragWindowBoundsClamper;
using Element = Clamper::Element;
using Attributes = std::map<std::string, AccessibilityValue, std::less<>>;
using Lines = std::vector<std::string>;

// Whatever the place, the same element is shown there.
class OneElementEverywhere : public platform::Accessibility {
 public:
  explicit OneElementEverywhere(Element element) : element_(std::move(element)) {}

  bool isProcessTrusted() override { return true; }
  Element copyElementAtPosition(float, float) override { return element_; }

 private:
  Element element_;
};

inline std::string numberText(double number) {
  return std::to_string(static_cast<int>(number));
}

// "w AXRole" for a look, "w AXPosition 1,2" for a move, "at 1,2" for a hit test.
inline std::string lineOf(const PlatformCall& call) {
  const auto text = [&](std::size_t index) {
    return std::get<std::string>(call.arguments.at(index).second);
  };
  const auto number = [&](std::size_t index) {
    return numberText(std::get<double>(call.arguments.at(index).second));
  };
  if (call.operation == "AXUIElementCopyElementAtPosition") {
    return "at " + number(0) + "," + number(1);
  }
  if (call.operation == "AXUIElementCopyAttributeValue") return text(0) + " " + text(1);
  if (call.operation == "AXUIElementSetAttributeValue") {
    return text(0) + " " + text(1) + " " + number(2) + "," + number(3);
  }
  return call.operation;
}

class ClamperTest : public testing::Test {
 protected:
  ClamperTest() { setScreens({primary}); }

  // An element of these attributes; all others fail.
  Element element(const std::string& name, Attributes attributes) {
    return std::make_shared<SimulatedElement>(
        name, std::shared_ptr<CallLog>(host, &host->calls()),
        [attributes = std::move(attributes)](std::string_view attribute) {
          const auto found = attributes.find(attribute);
          return found == attributes.end() ? AccessibilityValue() : found->second;
        });
  }
  Element windowElementOf(const Rect& frame) {
    return element("w", {{"AXRole", std::string("AXWindow")},
                         {"AXPosition", frame.origin},
                         {"AXSize", frame.size}});
  }
  Element group(const std::string& name, AccessibilityValue parent) {
    return element(name, {{"AXRole", std::string("AXGroup")}, {"AXParent", std::move(parent)}});
  }

  // The desktop's window `w`, with `depth` elements between it and what is hit.
  void showWindow(const Rect& frame, int depth = 0) {
    platform::simulated::SimulatedWindow window;
    window.name = "w";
    window.frame = frame;
    window.depth = depth;
    host->desktop().setWindow(window);
  }
  void changeWindow(const std::function<void(platform::simulated::SimulatedWindow&)>& change) {
    auto window = host->desktop().windows().front();
    change(window);
    host->desktop().setWindow(window);
  }
  void fail(const std::string& attribute) {
    changeWindow([&](auto& window) { window.failingAttributes.insert(attribute); });
  }
  Rect windowFrame() const { return host->desktop().windows().front().frame; }
  void setScreens(platform::ScreenFrames frames) { host->desktop().setScreens(std::move(frames)); }

  Element hit(Point point) { return Clamper::windowElement(accessibility, point); }
  // Of a window that shows somewhere on the screens; what it takes to find it is no longer noted.
  bool clampShownWindow() {
    const Element window = shownWindow();
    host->calls().clear();
    return Clamper::clampWindowToScreens(screens, *window);
  }
  Element shownWindow() {
    const Rect frame = windowFrame();
    return hit({frame.minX() + frame.width() / 2, frame.minY() + frame.height() / 2});
  }
  bool clampWindowAt(const Rect& frame) {
    showWindow(frame);
    return clampShownWindow();
  }
  Rect screenUnion() { return Clamper::screenUnionInQuartzCoordinates(screens); }
  Point clamp(Point point) { return Clamper::clampQuartzPointToScreens(screens, point); }
  bool isTitleBar(const Rect& frame, Point point) {
    OneElementEverywhere everywhere(windowElementOf(frame));
    return Clamper::isTitleBarRegion(everywhere, point);
  }
  Lines calls() const {
    Lines lines;
    for (const PlatformCall& call : host->calls().calls()) lines.push_back(lineOf(call));
    return lines;
  }
  std::ptrdiff_t countOfCallsEnding(std::string_view end) const {
    const Lines lines = calls();
    return std::ranges::count_if(lines, [&](const auto& line) { return line.ends_with(end); });
  }

  static constexpr Rect primary = {{0, 0}, {1440, 900}};

  std::shared_ptr<SimulatedHost> host = SimulatedHost::create();
  platform::Screens& screens = host->desktop().screens();
  platform::Accessibility& accessibility = host->desktop().accessibility();
};

}  // namespace tessline::test
