/// @file
/// The events of CoreGraphics that the adapters make and post.
#pragma once

#include <cstdint>

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CGGeometry.h>

using CGEventRef = struct __CGEvent*;
using CGEventSourceRef = struct __CGEventSource*;

enum CGEventType : std::uint32_t {
  kCGEventNull = 0,
  kCGEventLeftMouseDown = 1,
  kCGEventLeftMouseUp = 2,
  kCGEventRightMouseDown = 3,
  kCGEventRightMouseUp = 4,
  kCGEventMouseMoved = 5,
  kCGEventLeftMouseDragged = 6,
  kCGEventRightMouseDragged = 7,
  kCGEventScrollWheel = 22,
};

enum CGMouseButton : std::uint32_t {
  kCGMouseButtonLeft = 0,
  kCGMouseButtonRight = 1,
  kCGMouseButtonCenter = 2,
};

enum CGScrollEventUnit : std::uint32_t {
  kCGScrollEventUnitPixel = 0,
  kCGScrollEventUnitLine = 1,
};

enum CGEventField : std::uint32_t {
  kCGMouseEventNumber = 0,
  kCGMouseEventClickState = 1,
  kCGMouseEventPressure = 2,
  kCGMouseEventButtonNumber = 3,
};

enum CGEventTapLocation : std::uint32_t {
  kCGHIDEventTap = 0,
  kCGSessionEventTap = 1,
  kCGAnnotatedSessionEventTap = 2,
};

extern "C" {

// What is created may be NULL; so may a source, and the event that is given to the others.

CGEventRef CGEventCreate(CGEventSourceRef source);
CGEventRef CGEventCreateMouseEvent(CGEventSourceRef source, CGEventType mouseType,
                                   CGPoint mouseCursorPosition, CGMouseButton mouseButton);
CGEventRef CGEventCreateScrollWheelEvent2(CGEventSourceRef source, CGScrollEventUnit units,
                                          std::uint32_t wheelCount, std::int32_t wheel1,
                                          std::int32_t wheel2, std::int32_t wheel3);
CGPoint CGEventGetLocation(CGEventRef event);
void CGEventSetIntegerValueField(CGEventRef event, CGEventField field, std::int64_t value);
void CGEventPost(CGEventTapLocation tap, CGEventRef event);
}
