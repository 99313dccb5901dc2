#include "tests/support/ReferenceGestures.h"

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <variant>

namespace tessline::test {

namespace {

std::int32_t wholeNumber(double value) {
  const double whole = std::trunc(value);
  if (!(whole >= -2147483648.0 && whole <= 2147483647.0)) {
    throw std::range_error("no integer of 32 bits");
  }
  return static_cast<std::int32_t>(whole);
}

bool isSame(float one, float other) {
  return std::bit_cast<std::uint32_t>(one) == std::bit_cast<std::uint32_t>(other);
}

bool isSame(Point one, Point other) {
  return std::bit_cast<std::uint64_t>(one.x) == std::bit_cast<std::uint64_t>(other.x) &&
         std::bit_cast<std::uint64_t>(one.y) == std::bit_cast<std::uint64_t>(other.y);
}

bool isSame(const std::vector<Point>& one, const std::vector<Point>& other) {
  if (one.size() != other.size()) return false;
  for (std::size_t index = 0; index < one.size(); ++index) {
    if (!isSame(one[index], other[index])) return false;
  }
  return true;
}

bool isSame(const GestureAction& one, const GestureAction& other) {
  if (one.index() != other.index()) return false;
  if (const auto* const move = std::get_if<MoveCursor>(&one)) {
    return isSame(move->delta, std::get<MoveCursor>(other).delta);
  }
  if (const auto* const replay = std::get_if<ReplayMoves>(&one)) {
    return isSame(replay->deltas, std::get<ReplayMoves>(other).deltas);
  }
  return one == other;
}

}  // namespace

GestureAction ReferenceGestures::handleTouches(const std::vector<SiriRemoteTouchPoint>& touches) {
  if (touches.empty()) {
    mode = Mode::none;
    return NoAction();
  }
  if (touches.size() >= 3) return NoAction();

  if (touches.size() == 2) {
    const float sumX = touches[0].x + touches[1].x;
    const float sumY = touches[0].y + touches[1].y;
    const double middleX = sumX * 0.5F;
    const double middleY = sumY * 0.5F;
    if (mode != Mode::twoFingerScroll) {
      mode = Mode::twoFingerScroll;
      lastMiddleX = middleX;
      lastMiddleY = middleY;
      return NoAction();
    }
    const double travelX = middleX - lastMiddleX;
    const double travelY = middleY - lastMiddleY;
    lastMiddleX = middleX;
    lastMiddleY = middleY;
    Scroll scroll;
    scroll.horizontal = wholeNumber(travelX * -200.0);
    scroll.vertical = wholeNumber(travelY * 200.0);
    return scroll;
  }

  const double x = touches[0].x;
  const double y = touches[0].y;
  const float fromCentreX = touches[0].x - 0.5F;
  const float fromCentreY = touches[0].y - 0.5F;
  const float squareX = fromCentreX * fromCentreX;
  const float squareY = fromCentreY * fromCentreY;
  const float squares = squareX + squareY;
  const float r = std::sqrt(squares);
  const float theta = std::atan2(fromCentreY, fromCentreX);

  if (mode == Mode::twoFingerScroll) mode = Mode::none;

  if (mode == Mode::none) {
    if (r > 0.35F) {
      mode = Mode::undecided;
      rStart = r;
      thetaStart = theta;
      accumulatedAngle = 0;
      bufferedDeltas.clear();
      lastTheta = theta;
    } else {
      mode = Mode::cursor;
    }
    lastX = x;
    lastY = y;
    return NoAction();
  }

  if (mode == Mode::cursor) {
    const Point delta = {x - lastX, y - lastY};
    lastX = x;
    lastY = y;
    return MoveCursor{delta};
  }

  if (mode == Mode::circularScroll) {
    if (r < 0.28F) {
      mode = Mode::cursor;
      lastX = x;
      lastY = y;
      return NoAction();
    }
    const float turn = wrapped(theta - lastTheta);
    lastTheta = theta;
    const float amount = turn * -300.0F;
    return Scroll{.vertical = wholeNumber(amount), .horizontal = 0};
  }

  const float turn = wrapped(theta - lastTheta);
  lastTheta = theta;
  const Point delta = {x - lastX, y - lastY};
  lastX = x;
  lastY = y;
  bufferedDeltas.push_back(delta);
  const float angle = accumulatedAngle + turn;
  if (angle > 0.28F || angle < -0.28F) {
    mode = Mode::circularScroll;
    return NoAction();
  }
  const float travel = r - rStart;
  if (travel <= 0.12F && travel >= -0.12F) {
    accumulatedAngle = angle;
    return NoAction();
  }
  mode = Mode::cursor;
  return ReplayMoves{bufferedDeltas};
}

float ReferenceGestures::wrapped(float difference) {
  if (difference > 3.1415925F) {
    ++wrapsDown;
    return difference - 6.283185F;
  }
  if (difference < -3.1415925F) {
    ++wrapsUp;
    return difference + 6.283185F;
  }
  return difference;
}

std::string ReferenceGestures::differenceFrom(const GestureMode& otherMode,
                                              const GestureAction& expected,
                                              const GestureAction& actual) const {
  if (otherMode.index() != static_cast<std::size_t>(mode)) {
    return "mode is " + std::string(name(otherMode)) + " instead of " +
           std::string(gestureModeNames[static_cast<std::size_t>(mode)]);
  }
  if (const auto* const undecided = std::get_if<Undecided>(&otherMode)) {
    if (!isSame(undecided->rStart, rStart)) return "rStart";
    if (!isSame(undecided->thetaStart, thetaStart)) return "thetaStart";
    if (!isSame(undecided->accumulatedAngle, accumulatedAngle)) return "accumulatedAngle";
    if (!isSame(undecided->bufferedDeltas, bufferedDeltas)) return "bufferedDeltas";
  }
  if (!isSame(actual, expected)) {
    return "action " + std::to_string(actual.index()) + " instead of " +
           std::to_string(expected.index()) + ", or other numbers in it";
  }
  return {};
}

}  // namespace tessline::test
