/// @file
/// A second reading of what fingers mean, plain and without structure, to compare the library with.
#pragma once

#include "tessline/touch/GestureRecognizer.h"

#include <string>
#include <vector>

namespace tessline::test {

/// Follows the fingers with all state open to view. Uses the library's values and nothing else of
/// it; numbers are written out where they are used. Every operation is a statement of its own, so
/// that no compiler may fuse two.
class ReferenceGestures {
 public:
  enum class Mode { undecided, none, cursor, circularScroll, twoFingerScroll };

  GestureAction handleTouches(const std::vector<SiriRemoteTouchPoint>& touches);

  /// What is not the same, to the last bit, in the library's mode and action; empty if all is.
  std::string differenceFrom(const GestureMode& otherMode, const GestureAction& expected,
                             const GestureAction& actual) const;

  Mode mode = Mode::none;
  float rStart = 0;
  float thetaStart = 0;
  float accumulatedAngle = 0;
  std::vector<Point> bufferedDeltas;
  double lastX = 0;
  double lastY = 0;
  double lastMiddleX = 0;
  double lastMiddleY = 0;
  float lastTheta = 0;
  int wrapsUp = 0;    ///< How often a turn wrapped from below.
  int wrapsDown = 0;  ///< And from above.

 private:
  float wrapped(float difference);
};

}  // namespace tessline::test
