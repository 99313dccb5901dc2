#include "tessline/platform/macos/CoreGraphicsEvents.h"

#include "tessline/platform/macos/CFReference.h"

#include <CoreGraphics/CoreGraphics.h>

namespace tessline::platform {

namespace {

using Event = CFReference<CGEventRef>;

constexpr CGEventSourceRef noSource = nullptr;

constexpr CGEventType typeOf(MouseEventType type) {
  return static_cast<CGEventType>(type);
}
static_assert(typeOf(MouseEventType::leftMouseDown) == kCGEventLeftMouseDown);
static_assert(typeOf(MouseEventType::leftMouseUp) == kCGEventLeftMouseUp);
static_assert(typeOf(MouseEventType::mouseMoved) == kCGEventMouseMoved);
static_assert(typeOf(MouseEventType::leftMouseDragged) == kCGEventLeftMouseDragged);

class CoreGraphicsEvents : public PointerEvents {
 public:
  std::optional<Point> currentLocation() override {
    const auto event = Event::created(CGEventCreate(noSource));
    if (!event) return std::nullopt;
    const CGPoint location = CGEventGetLocation(event.get());
    return Point{location.x, location.y};
  }

  bool postMouseEvent(MouseEventType type, Point position,
                      std::optional<std::int64_t> clickState) override {
    const auto event = Event::created(CGEventCreateMouseEvent(
        noSource, typeOf(type), CGPointMake(position.x, position.y), kCGMouseButtonLeft));
    if (!event) return false;
    if (clickState) CGEventSetIntegerValueField(event.get(), kCGMouseEventClickState, *clickState);
    CGEventPost(kCGHIDEventTap, event.get());
    return true;
  }

  bool postScrollEvent(std::int32_t vertical, std::int32_t horizontal) override {
    constexpr std::uint32_t wheelCount = 2;
    constexpr std::int32_t noThirdWheel = 0;
    const auto event = Event::created(CGEventCreateScrollWheelEvent2(
        noSource, kCGScrollEventUnitPixel, wheelCount, vertical, horizontal, noThirdWheel));
    if (!event) return false;
    CGEventPost(kCGHIDEventTap, event.get());
    return true;
  }
};

}  // namespace

std::shared_ptr<PointerEvents> makeCoreGraphicsEvents() {
  return std::make_shared<CoreGraphicsEvents>();
}

}  // namespace tessline::platform
