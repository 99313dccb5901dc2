/// @file
/// How tests control the stand-in's events, and see what was posted.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <CoreGraphics/CoreGraphics.h>

namespace standin::events {

/// An event that entered the system.
struct PostedEvent {
  CGEventTapLocation tap = kCGHIDEventTap;
  CGEventType type = kCGEventNull;
  CGPoint location = {};
  CGMouseButton button = kCGMouseButtonLeft;         ///< Of mouse events.
  std::map<CGEventField, std::int64_t> fields;       ///< Those that were set.
  CGScrollEventUnit unit = kCGScrollEventUnitPixel;  ///< Of scroll events.
  std::vector<std::int32_t> wheels;                  ///< As many as it has.
};

// All of these from any thread. Posts of a process that is not trusted do not arrive.

/// Events can be made, the pointer is at (100, 200), and nothing was called.
void reset();
/// Where new events are; none if an empty event cannot be made.
void setPointer(std::optional<CGPoint> location);
/// Whether mouse and scroll events can be made from now on.
void setCanBeCreated(bool can);

/// Called for each event that arrives, on the thread that posts it, before that goes on.
void setOnPost(std::function<void(const PostedEvent&)> onPost);

/// What has arrived so far.
std::vector<PostedEvent> posts();
/// The calls so far with their arguments.
std::vector<std::string> calls();
/// Forgets them.
void clearCalls();

}  // namespace standin::events
