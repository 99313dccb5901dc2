#include "tessline/platform/simulated/SimulatedDesktop.h"

#include <algorithm>
#include <utility>

namespace tessline::platform::simulated {

namespace {

std::string_view typeName(MouseEventType type) {
  switch (type) {
    case MouseEventType::leftMouseDown:
      return "kCGEventLeftMouseDown";
    case MouseEventType::leftMouseUp:
      return "kCGEventLeftMouseUp";
    case MouseEventType::mouseMoved:
      return "kCGEventMouseMoved";
    case MouseEventType::leftMouseDragged:
      return "kCGEventLeftMouseDragged";
  }
  return {};
}

}  // namespace

SimulatedElement::SimulatedElement(std::string name, std::shared_ptr<CallLog> calls,
                                   std::function<AccessibilityValue(std::string_view)> onCopy,
                                   std::function<bool(std::string_view, Point)> onSet)
    : name_(std::move(name)),
      calls_(std::move(calls)),
      onCopy_(std::move(onCopy)),
      onSet_(std::move(onSet)) {}

AccessibilityValue SimulatedElement::copyAttributeValue(std::string_view attribute) {
  calls_->add("AXUIElementCopyAttributeValue",
              {{"element", name_}, {"attribute", std::string(attribute)}});
  return onCopy_(attribute);
}

bool SimulatedElement::setAttributeValue(std::string_view attribute, Point value) {
  const bool works = onSet_ && onSet_(attribute, value);
  calls_->add("AXUIElementSetAttributeValue", {{"element", name_},
                                               {"attribute", std::string(attribute)},
                                               {"x", value.x},
                                               {"y", value.y},
                                               {"works", works}});
  return works;
}

class DesktopAccessibility : public Accessibility {
 public:
  explicit DesktopAccessibility(SimulatedDesktop& desktop) : desktop_(desktop) {}

  bool isProcessTrusted() override {
    desktop_.calls_->add("AXIsProcessTrusted", {{"result", desktop_.isTrusted_}});
    return desktop_.isTrusted_;
  }
  std::shared_ptr<AccessibilityElement> copyElementAtPosition(float x, float y) override {
    desktop_.calls_->add("AXUIElementCopyElementAtPosition",
                         {{"x", static_cast<double>(x)}, {"y", static_cast<double>(y)}});
    return desktop_.elementAt({x, y});
  }

 private:
  SimulatedDesktop& desktop_;
};

class DesktopScreens : public Screens {
 public:
  explicit DesktopScreens(SimulatedDesktop& desktop) : desktop_(desktop) {}

  std::shared_ptr<const ScreenFrames> frames() override { return desktop_.frames_; }
  std::optional<Rect> mainFrame() override { return desktop_.mainFrame_; }
  Point mouseLocation() override { return desktop_.mouseLocation(); }

 private:
  SimulatedDesktop& desktop_;
};

class DesktopPointerEvents : public PointerEvents {
 public:
  explicit DesktopPointerEvents(SimulatedDesktop& desktop) : desktop_(desktop) {}

  std::optional<Point> currentLocation() override { return desktop_.pointer_; }

  bool postMouseEvent(MouseEventType type, Point position,
                      std::optional<std::int64_t> clickState) override {
    std::vector<std::pair<std::string, CallArgument>> arguments = {
        {"type", std::string(typeName(type))}, {"x", position.x}, {"y", position.y}};
    if (clickState) arguments.emplace_back("clickState", *clickState);
    return post("CGEventCreateMouseEvent", std::move(arguments),
                [&] { desktop_.take(type, position); });
  }

  bool postScrollEvent(std::int32_t vertical, std::int32_t horizontal) override {
    return post("CGEventCreateScrollWheelEvent2",
                {{"wheel1", std::int64_t{vertical}}, {"wheel2", std::int64_t{horizontal}}}, [] {});
  }

 private:
  // One call for making an event and posting it, unless it cannot be made.
  template <class Take>
  bool post(std::string_view operation, std::vector<std::pair<std::string, CallArgument>> arguments,
            Take take) {
    arguments.emplace_back("posted", desktop_.canCreateEvents_);
    desktop_.calls_->add(operation, std::move(arguments));
    if (desktop_.canCreateEvents_) take();
    return desktop_.canCreateEvents_;
  }

  SimulatedDesktop& desktop_;
};

SimulatedDesktop::SimulatedDesktop(std::shared_ptr<CallLog> calls)
    : calls_(std::move(calls)),
      pointer_(Point{720, 450}),
      accessibility_(std::make_unique<DesktopAccessibility>(*this)),
      screens_(std::make_unique<DesktopScreens>(*this)),
      pointerEvents_(std::make_unique<DesktopPointerEvents>(*this)) {
  setScreens({{{0, 0}, {1440, 900}}});
}

SimulatedDesktop::~SimulatedDesktop() = default;

void SimulatedDesktop::setScreens(ScreenFrames frames) {
  mainFrame_ = frames.empty() ? std::nullopt : std::optional(frames.front());
  frames_ = std::make_shared<const ScreenFrames>(std::move(frames));
}

void SimulatedDesktop::setWindow(SimulatedWindow window) {
  if (SimulatedWindow* const known = this->window(window.name)) {
    *known = std::move(window);
  } else {
    windows_.push_back(std::move(window));
  }
}

bool SimulatedDesktop::removeWindow(std::string_view name) {
  if (draggedWindow_ == name) draggedWindow_.reset();
  return std::erase_if(windows_, [&](const auto& each) { return each.name == name; }) > 0;
}

SimulatedWindow* SimulatedDesktop::window(std::string_view name) {
  const auto found = std::ranges::find(windows_, name, &SimulatedWindow::name);
  return found == windows_.end() ? nullptr : &*found;
}

std::shared_ptr<AccessibilityElement> SimulatedDesktop::element(const std::string& window,
                                                                int depth) {
  return std::make_shared<SimulatedElement>(
      depth == 0 ? window : window + "/" + std::to_string(depth), calls_,
      [weak = weak_from_this(), window, depth](std::string_view name) {
        const auto self = weak.lock();
        return self ? self->attribute(window, depth, name) : AccessibilityValue();
      },
      [weak = weak_from_this(), window](std::string_view name, Point position) {
        const auto self = weak.lock();
        return self && self->setPosition(window, name, position);
      });
}

Point SimulatedDesktop::mouseLocation() const {
  if (mouseLocation_) return *mouseLocation_;
  const Point location = pointer_.value_or(Point());
  return {location.x, frames_->empty() ? location.y : frames_->front().maxY() - location.y};
}

std::shared_ptr<AccessibilityElement> SimulatedDesktop::elementAt(Point point) {
  if (!isTrusted_) return nullptr;
  const auto hit = std::find_if(windows_.rbegin(), windows_.rend(),
                                [&](const auto& each) { return each.frame.contains(point); });
  return hit == windows_.rend() ? nullptr : element(hit->name, hit->depth);
}

AccessibilityValue SimulatedDesktop::attribute(const std::string& windowName, int depth,
                                               std::string_view name) {
  const SimulatedWindow* const found = window(windowName);
  if (found == nullptr || !isTrusted_ || found->failingAttributes.contains(name)) return {};
  if (name == "AXRole") return std::string(depth == 0 ? "AXWindow" : "AXGroup");
  if (name == "AXParent" && depth > 0) return element(windowName, depth - 1);
  if (depth > 0) return {};
  if (name == "AXPosition") return found->frame.origin;
  if (name == "AXSize") return found->frame.size;
  return {};
}

bool SimulatedDesktop::setPosition(const std::string& windowName, std::string_view attribute,
                                   Point position) {
  SimulatedWindow* const found = window(windowName);
  const bool works = found != nullptr && isTrusted_ && attribute == "AXPosition" &&
                     found->canBeMoved && !found->failingAttributes.contains(attribute);
  if (works) found->frame.origin = position;
  return works;
}

void SimulatedDesktop::take(MouseEventType type, Point position) {
  const Point before = pointer_.value_or(position);
  pointer_ = position;
  switch (type) {
    case MouseEventType::leftMouseDown: {
      const auto hit = std::find_if(windows_.rbegin(), windows_.rend(), [&](const auto& each) {
        return each.frame.contains(position);
      });
      draggedWindow_.reset();
      if (hit != windows_.rend() && position.y < hit->frame.minY() + hit->titleBarHeight) {
        draggedWindow_ = hit->name;
      }
      return;
    }
    case MouseEventType::leftMouseUp:
      draggedWindow_.reset();
      return;
    case MouseEventType::mouseMoved:
      return;
    case MouseEventType::leftMouseDragged:
      if (!draggedWindow_) return;
      SimulatedWindow* const dragged = window(*draggedWindow_);
      dragged->frame.origin.x += position.x - before.x;
      dragged->frame.origin.y += position.y - before.y;
      return;
  }
}

}  // namespace tessline::platform::simulated
