/// @file
/// What the fingers on the clickpad are doing.
#pragma once

#include "tessline/model/Geometry.h"

#include <array>
#include <string_view>
#include <variant>
#include <vector>

namespace tessline {

/// A finger went down near the rim; it will move the pointer or scroll.
struct Undecided {
  float rStart = 0;                   ///< Distance from the centre at which it went down.
  float thetaStart = 0;               ///< Angle at which it went down, in radians.
  float accumulatedAngle = 0;         ///< How far it has gone round since, in radians.
  std::vector<Point> bufferedDeltas;  ///< Its motion since, held back frame by frame.

  bool operator==(const Undecided&) const = default;
};

/// No gesture.
struct NoGesture {
  bool operator==(const NoGesture&) const = default;
};

/// One finger moves the pointer.
struct Cursor {
  bool operator==(const Cursor&) const = default;
};

/// One finger scrolls by going round the centre.
struct CircularScroll {
  bool operator==(const CircularScroll&) const = default;
};

/// Two fingers scroll.
struct TwoFingerScroll {
  bool operator==(const TwoFingerScroll&) const = default;
};

/// The gesture at hand.
using GestureMode = std::variant<Undecided, NoGesture, Cursor, CircularScroll, TwoFingerScroll>;

/// The names of the modes, at their place in the variant.
inline constexpr std::array<std::string_view, 5> gestureModeNames = {
    "undecided", "none", "cursor", "circularScroll", "twoFingerScroll"};

/// The name of a mode, for example "cursor".
inline std::string_view name(const GestureMode& mode) {
  return gestureModeNames[mode.index()];
}

}  // namespace tessline
