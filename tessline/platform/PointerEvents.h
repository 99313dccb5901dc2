/// @file
/// Porting contract: events that act as those of a pointing device.
#pragma once

#include "tessline/model/Geometry.h"

#include <cstdint>
#include <optional>

namespace tessline::platform {

/// What a mouse event says. The numbers are those of CoreGraphics.
enum class MouseEventType : std::uint32_t {
  leftMouseDown = 1,
  leftMouseUp = 2,
  mouseMoved = 5,
  leftMouseDragged = 6,
};

/// Makes events and posts them where those of devices enter the system. Positions are in global
/// display coordinates: points, y downwards, the origin in the upper left corner of the primary
/// screen. Any thread; events of one thread stay in order.
class PointerEvents {
 public:
  virtual ~PointerEvents() = default;

  /// Where an event made now would be; none if none can be made.
  virtual std::optional<Point> currentLocation() = 0;

  /// Makes an event of the left button or of no button, without a source, at `position`, gives it
  /// the click state if there is one, and posts it. Moves and drags take the pointer along. False,
  /// with nothing posted, if the event cannot be made.
  virtual bool postMouseEvent(MouseEventType type, Point position,
                              std::optional<std::int64_t> clickState) = 0;

  /// Makes a scroll event, without a source, of these amounts in pixels, and posts it. Positive is
  /// up and left. False, with nothing posted, if the event cannot be made.
  virtual bool postScrollEvent(std::int32_t vertical, std::int32_t horizontal) = 0;
};

}  // namespace tessline::platform
