#include "tests/support/ReferenceGestures.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <random>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using Touches = std::vector<SiriRemoteTouchPoint>;

/// Fingers that come and go, wander, circle, go in and out, and jump, also to where decisions are
/// made and off the clickpad.
class FingerPlay {
 public:
  explicit FingerPlay(std::uint32_t seed) : random_(seed) {}

  const Touches& next() {
    if (below(30) == 0) changeCount();
    if (below(20) == 0) {
      play_ = below(5);
      drift_ = -drift_;
    }
    for (auto& touch : touches_) move(touch);
    return touches_;
  }

 private:
  std::size_t below(std::size_t bound) { return random_() % bound; }
  double between(double low, double high) {
    return low + (high - low) * (static_cast<double>(random_()) / 4294967296.0);
  }

  void changeCount() {
    constexpr std::array<std::size_t, 10> counts = {0, 0, 1, 1, 1, 1, 1, 2, 2, 3};
    touches_.resize(counts[below(counts.size())]);
    for (auto& touch : touches_) place(touch, between(-3.2, 3.2), between(0.2, 0.6));
  }

  void move(SiriRemoteTouchPoint& touch) {
    const double x = double{touch.x} - 0.5;
    const double y = double{touch.y} - 0.5;
    const double radius = std::hypot(x, y);
    const double angle = std::atan2(y, x);
    switch (play_) {
      case 0:
        touch.x += static_cast<float>(between(-0.02, 0.02));
        touch.y += static_cast<float>(between(-0.02, 0.02));
        return;
      case 1:
        return place(touch, angle + between(-0.05, 0.15), std::clamp(radius, 0.25, 0.5));
      case 2:
        return place(touch, angle + between(-0.15, 0.05), radius + between(-0.005, 0.005));
      case 3:
        return place(touch, angle + between(-0.01, 0.01), radius + drift_ * between(-0.005, 0.025));
      default:
        return jump(touch);
    }
  }

  void jump(SiriRemoteTouchPoint& touch) {
    constexpr std::array<float, 12> marks = {
        0,     0.1F, 0.5F - 0.35F,   0.5F - 0.28F,   0.5F, 0.85F,
        0.78F, 0.9F, 0x1.000002p-1F, 0x1.fffffep-2F, 1,    -0.0F};
    if (below(2) == 0) {
      touch.x = marks[below(marks.size())];
      touch.y = marks[below(marks.size())];
    } else {
      touch.x = static_cast<float>(between(-1, 2));
      touch.y = static_cast<float>(between(-1, 2));
    }
  }

  static void place(SiriRemoteTouchPoint& touch, double angle, double radius) {
    touch.x = static_cast<float>(0.5 + radius * std::cos(angle));
    touch.y = static_cast<float>(0.5 + radius * std::sin(angle));
  }

  std::mt19937 random_;
  Touches touches_;
  std::size_t play_ = 0;
  double drift_ = -1;
};

/// How often what was seen.
struct Coverage {
  std::array<int, std::variant_size_v<GestureMode>> modes{};
  std::array<int, std::variant_size_v<GestureAction>> actions{};
  int longReplays = 0;

  void add(const GestureMode& mode, const GestureAction& action) {
    ++modes[mode.index()];
    ++actions[action.index()];
    const auto* const replay = std::get_if<ReplayMoves>(&action);
    if (replay != nullptr && replay->deltas.size() > 3) ++longReplays;
  }
};

class GestureRecognizerAgainstReference : public testing::TestWithParam<std::uint32_t> {};

TEST_P(GestureRecognizerAgainstReference, AgreesToTheLastBit) {
  FingerPlay play(GetParam());
  GestureRecognizer recognizer;
  ReferenceGestures reference;
  Coverage coverage;
  for (int frame = 0; frame < 100'000; ++frame) {
    const Touches& touches = play.next();
    const GestureAction action = recognizer.handleTouches(touches);
    const GestureAction expected = reference.handleTouches(touches);
    ASSERT_EQ(reference.differenceFrom(recognizer.mode(), expected, action), "") << frame;
    coverage.add(recognizer.mode(), action);
  }
  // Whoever changes the play sees whether it still leads everywhere.
  for (const int count : coverage.modes) EXPECT_GT(count, 500);
  for (const int count : coverage.actions) EXPECT_GT(count, 40);
  EXPECT_GT(coverage.longReplays, 10);
  EXPECT_GT(reference.wrapsUp, 50);
  EXPECT_GT(reference.wrapsDown, 50);
}

INSTANTIATE_TEST_SUITE_P(Seeds, GestureRecognizerAgainstReference,
                         testing::Values(11U, 12U, 13U, 14U, 15U, 16U));

}  // namespace
}  // namespace tessline::test
