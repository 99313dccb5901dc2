#include "tessline/touch/GestureRecognizer.h"

#include "tessline/model/Integers.h"

#include <cmath>
#include <utility>

namespace tessline {

using namespace gestureConstants;

// Where a finger is, also as seen from the centre.
struct GestureRecognizer::Finger {
  explicit Finger(const SiriRemoteTouchPoint& touch)
      : position{touch.x, touch.y},
        r(std::sqrt((touch.x - centre) * (touch.x - centre) +
                    (touch.y - centre) * (touch.y - centre))),
        theta(std::atan2(touch.y - centre, touch.x - centre)) {}

  Point position;
  float r;
  float theta;
};

GestureAction GestureRecognizer::handleTouches(std::span<const SiriRemoteTouchPoint> touches) {
  switch (touches.size()) {
    case 0:
      mode_ = NoGesture();
      return NoAction();
    case 1:
      return handleOneFinger(Finger(touches[0]));
    case 2:
      return handleTwoFingers(
          {(touches[0].x + touches[1].x) * 0.5F, (touches[0].y + touches[1].y) * 0.5F});
    default:
      // More fingers mean nothing, and end nothing.
      return NoAction();
  }
}

GestureAction GestureRecognizer::handleOneFinger(const Finger& finger) {
  return std::visit([&](auto& mode) { return handle(mode, finger); }, mode_);
}

GestureAction GestureRecognizer::handle(NoGesture, const Finger& finger) {
  lastSingleFingerPos_ = finger.position;
  if (finger.r > rimRadius) {
    lastTheta_ = finger.theta;
    mode_ = Undecided{finger.r, finger.theta, 0, {}};
  } else {
    mode_ = Cursor();
  }
  return NoAction();
}

GestureAction GestureRecognizer::handle(TwoFingerScroll, const Finger& finger) {
  mode_ = NoGesture();
  return handle(NoGesture(), finger);
}

GestureAction GestureRecognizer::handle(Cursor, const Finger& finger) {
  return MoveCursor{movedTo(finger)};
}

GestureAction GestureRecognizer::handle(CircularScroll, const Finger& finger) {
  if (finger.r < scrollRadius) {
    mode_ = Cursor();
    lastSingleFingerPos_ = finger.position;
    return NoAction();
  }
  return Scroll{truncatedToInt32(turnedTo(finger) * -settings_.circularScrollScale), 0};
}

GestureAction GestureRecognizer::handle(Undecided& undecided, const Finger& finger) {
  undecided.accumulatedAngle += turnedTo(finger);
  undecided.bufferedDeltas.push_back(movedTo(finger));
  if (std::abs(undecided.accumulatedAngle) > decidingAngle) {
    mode_ = CircularScroll();
    return NoAction();
  }
  if (std::abs(finger.r - undecided.rStart) <= decidingTravel) return NoAction();
  ReplayMoves replay{std::move(undecided.bufferedDeltas)};
  mode_ = Cursor();
  return replay;
}

GestureAction GestureRecognizer::handleTwoFingers(Point middle) {
  const Point last = std::exchange(lastTwoFingerPos_, middle);
  if (!std::holds_alternative<TwoFingerScroll>(mode_)) {
    mode_ = TwoFingerScroll();
    return NoAction();
  }
  return Scroll{.vertical = truncatedToInt32((middle.y - last.y) * settings_.scrollScale),
                .horizontal = truncatedToInt32((middle.x - last.x) * -settings_.scrollScale)};
}

Point GestureRecognizer::movedTo(const Finger& finger) {
  const Point last = std::exchange(lastSingleFingerPos_, finger.position);
  return {finger.position.x - last.x, finger.position.y - last.y};
}

// The shorter way round, across the seam behind the left edge if need be.
float GestureRecognizer::turnedTo(const Finger& finger) {
  const float turn = finger.theta - std::exchange(lastTheta_, finger.theta);
  if (turn > halfTurn) return turn - fullTurn;
  if (turn < -halfTurn) return turn + fullTurn;
  return turn;
}

}  // namespace tessline
