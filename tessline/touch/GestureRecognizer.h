/// @file
/// From fingers to what they mean.
#pragma once

#include "tessline/model/Geometry.h"
#include "tessline/model/SiriRemoteTouchPoint.h"
#include "tessline/touch/GestureConstants.h"
#include "tessline/touch/GestureMode.h"

#include <cstdint>
#include <span>
#include <variant>
#include <vector>

namespace tessline {

/// Nothing happens.
struct NoAction {
  bool operator==(const NoAction&) const = default;
};

/// The pointer moves, by fractions of the clickpad, y upwards.
struct MoveCursor {
  Point delta;  ///< In one step.

  bool operator==(const MoveCursor&) const = default;
};

/// The pointer catches up with motion that was held back.
struct ReplayMoves {
  std::vector<Point> deltas;  ///< Step by step, the oldest first.

  bool operator==(const ReplayMoves&) const = default;
};

/// What is under the pointer scrolls, by pixels.
struct Scroll {
  std::int32_t vertical = 0;    ///< Positive is up.
  std::int32_t horizontal = 0;  ///< Positive is left.

  bool operator==(const Scroll&) const = default;
};

/// What one touch frame leads to.
using GestureAction = std::variant<NoAction, MoveCursor, ReplayMoves, Scroll>;

/// Follows the fingers frame by frame. Only how many there are and where they are counts. A value:
/// no clock, lock or event; docs/gestures.md draws its states. Angles and distances are computed in
/// single precision. Allocates while it is undecided alone.
class GestureRecognizer {
 public:
  /// No gesture yet, with these scales.
  explicit GestureRecognizer(const GestureSettings& settings = {}) : settings_(settings) {}

  /// Takes the next frame. An amount of scrolling that does not fit 32 bits ends the process.
  GestureAction handleTouches(std::span<const SiriRemoteTouchPoint> touches);

  /// The gesture at hand.
  const GestureMode& mode() const { return mode_; }

 private:
  struct Finger;

  GestureAction handleOneFinger(const Finger& finger);
  GestureAction handleTwoFingers(Point middle);
  // What one finger does in each mode.
  GestureAction handle(NoGesture, const Finger& finger);
  GestureAction handle(TwoFingerScroll, const Finger& finger);
  GestureAction handle(Cursor, const Finger& finger);
  GestureAction handle(CircularScroll, const Finger& finger);
  GestureAction handle(Undecided& undecided, const Finger& finger);

  Point movedTo(const Finger& finger);
  float turnedTo(const Finger& finger);

  GestureSettings settings_;
  GestureMode mode_ = NoGesture();
  Point lastSingleFingerPos_;
  Point lastTwoFingerPos_;
  float lastTheta_ = 0;
};

}  // namespace tessline
