#include "tessline/touch/DragWindowBoundsClamper.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

namespace tessline {

namespace {

constexpr std::string_view roleAttribute = "AXRole";
constexpr std::string_view parentAttribute = "AXParent";
constexpr std::string_view positionAttribute = "AXPosition";
constexpr std::string_view sizeAttribute = "AXSize";
constexpr std::string_view windowRole = "AXWindow";

constexpr int searchDepth = 12;
constexpr double smallestVisiblePart = 48;
constexpr double titleBarShare = 0.12;
constexpr double smallestTitleBar = 22;
constexpr double largestTitleBar = 40;
constexpr double smallestMove = 0.5;
constexpr double edgeInset = 1;

template <class Value>
std::optional<Value> attribute(platform::AccessibilityElement& element, std::string_view name) {
  const auto value = element.copyAttributeValue(name);
  const auto* const found = std::get_if<Value>(&value);
  return found == nullptr ? std::nullopt : std::optional(*found);
}

bool isWindow(platform::AccessibilityElement& element) {
  return attribute<std::string>(element, roleAttribute) == windowRole;
}

bool hasArea(const Rect& screens) {
  return !screens.isNull() && screens.width() > 0 && screens.height() > 0;
}

// One axis of a window that starts at `start`, on screens from `low` to `high`.
double clampedStart(double start, double length, double low, double high, double room) {
  if (length <= room) return std::min(std::max(start, low), high - length);
  return std::min(std::max(start, low + smallestVisiblePart - length), high - smallestVisiblePart);
}

double clampedCoordinate(double value, double low, double high) {
  return std::min(std::max(value, low), high - edgeInset);
}

}  // namespace

DragWindowBoundsClamper::Element DragWindowBoundsClamper::windowAncestor(Element element) {
  for (int depth = 0; depth < searchDepth; ++depth) {
    if (isWindow(*element)) return element;
    auto parent = attribute<Element>(*element, parentAttribute);
    if (!parent || !*parent) return nullptr;
    element = std::move(*parent);
  }
  return nullptr;
}

DragWindowBoundsClamper::Element DragWindowBoundsClamper::windowElement(
    platform::Accessibility& accessibility, Point atQuartzPoint) {
  Element hit = accessibility.copyElementAtPosition(static_cast<float>(atQuartzPoint.x),
                                                    static_cast<float>(atQuartzPoint.y));
  return hit ? windowAncestor(std::move(hit)) : nullptr;
}

std::optional<Rect> DragWindowBoundsClamper::frame(platform::AccessibilityElement& element) {
  const auto position = element.copyAttributeValue(positionAttribute);
  // Whoever does not answer once would only keep us waiting again.
  if (std::holds_alternative<std::monostate>(position)) return std::nullopt;
  const auto extent = element.copyAttributeValue(sizeAttribute);
  const auto* const origin = std::get_if<Point>(&position);
  const auto* const size = std::get_if<Size>(&extent);
  if (origin == nullptr || size == nullptr) return std::nullopt;
  return Rect{*origin, *size};
}

Rect DragWindowBoundsClamper::quartzRect(platform::Screens& screens, const Rect& fromAppKit) {
  const auto frames = screens.frames();
  const Rect& reference = frames->empty() ? fromAppKit : frames->front();
  return {{fromAppKit.minX(), reference.maxY() - fromAppKit.minY() - fromAppKit.height()},
          {fromAppKit.width(), fromAppKit.height()}};
}

Rect DragWindowBoundsClamper::screenUnionInQuartzCoordinates(platform::Screens& screens) {
  const auto frames = screens.frames();
  if (frames->empty()) return Rect::null();
  Rect all = Rect::null();
  for (const Rect& frame : *frames) all = all.united(frame);
  return quartzRect(screens, all);
}

Point DragWindowBoundsClamper::clampedOrigin(const Rect& window, const Rect& within) {
  return {
      clampedStart(window.minX(), window.width(), within.minX(), within.maxX(), within.width()),
      clampedStart(window.minY(), window.height(), within.minY(), within.maxY(), within.height())};
}

bool DragWindowBoundsClamper::clampWindowToScreens(platform::Screens& screens,
                                                   platform::AccessibilityElement& window) {
  const auto windowFrame = frame(window);
  if (!windowFrame) return false;
  const Rect all = screenUnionInQuartzCoordinates(screens);
  if (!hasArea(all) || all.isInfinite()) return false;
  const Point origin = clampedOrigin(*windowFrame, all);
  if (std::abs(origin.x - windowFrame->minX()) <= smallestMove &&
      std::abs(origin.y - windowFrame->minY()) <= smallestMove) {
    return false;
  }
  return window.setAttributeValue(positionAttribute, origin);
}

Point DragWindowBoundsClamper::clampQuartzPointToScreens(platform::Screens& screens, Point point) {
  const Rect all = screenUnionInQuartzCoordinates(screens);
  if (!hasArea(all)) return point;
  return {clampedCoordinate(point.x, all.minX(), all.maxX()),
          clampedCoordinate(point.y, all.minY(), all.maxY())};
}

bool DragWindowBoundsClamper::isTitleBarRegion(platform::Accessibility& accessibility,
                                               Point atQuartzPoint) {
  const Element window = windowElement(accessibility, atQuartzPoint);
  if (!window) return false;
  const auto windowFrame = frame(*window);
  if (!windowFrame || windowFrame->isEmpty()) return false;
  const double height =
      std::min(std::max(windowFrame->height() * titleBarShare, smallestTitleBar), largestTitleBar);
  const Rect strip = {{windowFrame->minX(), windowFrame->minY()}, {windowFrame->width(), height}};
  return strip.contains(atQuartzPoint);
}

}  // namespace tessline
