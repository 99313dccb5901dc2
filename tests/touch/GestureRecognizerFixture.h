/// @file
/// A gesture recogniser, with verbs for fingers, and places that tell single bits apart.
#pragma once

#include "tessline/touch/GestureRecognizer.h"
#include "tests/support/GeometryPrinting.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {

inline constexpr float infinity = std::numeric_limits<float>::infinity();
inline constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

inline float after(float number) {
  return std::nextafter(number, infinity);
}
inline float before(float number) {
  return std::nextafter(number, -infinity);
}

struct Place {
  float x;
  float y;
};

/// A place at about that angle, on the rim unless said otherwise.
inline Place around(double angle, double radius = 0.4) {
  return {static_cast<float>(0.5 + radius * std::cos(angle)),
          static_cast<float>(0.5 + radius * std::sin(angle))};
}

/// The place straight to the left at exactly that distance: no bit of it is lost below one half.
inline Place leftOfCentre(float distance) {
  const Place place = {0.5F - distance, 0.5F};
  EXPECT_EQ(0.5F - place.x, distance);
  return place;
}

/// The angle of a place, as the system's mathematics see it.
inline float angleOf(Place place) {
  return std::atan2(place.y - 0.5F, place.x - 0.5F);
}

inline Place mirrored(Place place) {
  return {place.x, 0.5F - (place.y - 0.5F)};
}

/// A place near the rim whose angle is that to the last bit: found, as not every place has one.
inline Place placeAtExactly(float angle) {
  for (float x = 0.85F; x < 0.9F; x = after(x)) {
    float y = static_cast<float>(0.5 + (double{x} - 0.5) * std::tan(double{angle}));
    for (y = before(before(y)); angleOf({x, y}) <= angle; y = after(y)) {
      if (angleOf({x, y}) == angle) return {x, y};
    }
  }
  ADD_FAILURE() << "no place has the angle " << angle;
  return {};
}

class GestureRecognizerTest : public testing::Test {
 protected:
  GestureAction lift() { return recognizer.handleTouches({}); }
  GestureAction finger(Place place) { return fingers({place}); }
  GestureAction twoFingersAt(float x, float y) { return fingers({{x, y}, {x, y}}); }
  GestureAction fingers(const std::vector<Place>& places) {
    std::vector<SiriRemoteTouchPoint> touches;
    for (const Place place : places) touches.push_back({1, place.x, place.y, 4});
    return recognizer.handleTouches(touches);
  }
  GestureAction threeFingers() { return fingers({{0.1F, 0.9F}, {0.2F, 0.3F}, {0.7F, 0.7F}}); }

  std::string_view mode() const { return name(recognizer.mode()); }
  const Undecided& undecided() const { return std::get<Undecided>(recognizer.mode()); }

  /// Brings it into a mode; the last finger was at the right end of the clickpad, but in the middle
  /// for the pointer.
  void enter(std::string_view target) {
    if (target == "cursor") finger({0.5F, 0.5F});
    if (target == "twoFingerScroll") twoFingersAt(0.9F, 0.5F);
    if (target == "undecided") finger({0.9F, 0.5F});
    if (target == "circularScroll") {
      finger(around(-0.5));
      finger({0.9F, 0.5F});
    }
    ASSERT_EQ(mode(), target);
  }
  /// How far the pointer goes in a frame.
  Point moved(Place place) { return std::get<MoveCursor>(finger(place)).delta; }
  /// What it catches up with.
  std::vector<Point> replayed(Place place) { return std::get<ReplayMoves>(finger(place)).deltas; }
  /// What scrolls vertically when one finger goes there.
  std::int32_t scrolled(Place place) { return std::get<Scroll>(finger(place)).vertical; }
  void useCircularScrollScale(float scale) {
    recognizer = GestureRecognizer({.circularScrollScale = scale});
  }
  void useScrollScale(double scale) { recognizer = GestureRecognizer({.scrollScale = scale}); }

  GestureRecognizer recognizer;
};

}  // namespace tessline::test
