#include "tests/touch/GestureRecognizerFixture.h"

#include <chrono>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>
#include <vector>

namespace tessline::test {
namespace {

TEST_F(GestureRecognizerTest, FingerThatLandsExactlyOnTheRimPoints) {
  EXPECT_EQ(finger(leftOfCentre(0.35F)), GestureAction(NoAction()));
  EXPECT_EQ(mode(), "cursor");
  lift();
  finger(leftOfCentre(after(0.35F)));
  EXPECT_EQ(mode(), "undecided");
  lift();
  finger({0.5F, 0.5F - 0.35F});
  EXPECT_EQ(mode(), "cursor");
  lift();
  finger({0.5F, 0.5F - after(0.35F)});
  EXPECT_EQ(mode(), "undecided");
}

TEST_F(GestureRecognizerTest, LandingNearTheRimIsRemembered) {
  EXPECT_EQ(finger({0.5F, 0.125F}), GestureAction(NoAction()));
  EXPECT_EQ(undecided(), (Undecided{0.375F, angleOf({0.5F, 0.125F}), 0, {}}));
}

TEST_F(GestureRecognizerTest, MotionIsADoublePrecisionDifference) {
  finger({0.4F, 0.7F});
  EXPECT_EQ(moved({0.1F, 0.1F}), (Point{double{0.1F} - double{0.4F}, double{0.1F} - double{0.7F}}));
  EXPECT_NE(double{0.1F} - double{0.4F}, double{0.1F - 0.4F});
}

TEST_F(GestureRecognizerTest, AngleOfExactlyTheThresholdDecidesNothing) {
  for (const bool isMirrored : {false, true}) {
    const Place exactly = placeAtExactly(0.28F);
    const Place beyond = placeAtExactly(after(0.28F));
    lift();
    enter("undecided");
    finger(isMirrored ? mirrored(exactly) : exactly);
    ASSERT_EQ(mode(), "undecided");
    EXPECT_EQ(undecided().accumulatedAngle, isMirrored ? -0.28F : 0.28F);
    finger(isMirrored ? mirrored(beyond) : beyond);
    EXPECT_EQ(mode(), "circularScroll");
  }
}

TEST_F(GestureRecognizerTest, AngleIsCountedWithItsSign) {
  enter("undecided");
  for (int count = 0; count < 20; ++count) {
    finger(around(0.2));
    finger(around(-0.2));
  }
  EXPECT_EQ(mode(), "undecided");
  finger(around(-0.3));
  EXPECT_EQ(mode(), "circularScroll");
}

TEST_F(GestureRecognizerTest, SlowTurnAddsUp) {
  enter("undecided");
  for (int step = 1; step <= 28; ++step) finger(around(-0.00999 * step));
  EXPECT_EQ(mode(), "undecided");
  finger(around(-0.00999 * 29));
  EXPECT_EQ(mode(), "circularScroll");
}

// No two distances differ by exactly 0.12F; these are the last below and the first above.
TEST_F(GestureRecognizerTest, RadialTravelDecidesForThePointer) {
  for (const float start : {0.375F, 0.484375F}) {
    for (const float way : {-infinity, infinity}) {
      float outside = start + std::copysign(0.1199F, way);
      while (std::abs(outside - start) <= 0.12F) outside = std::nextafter(outside, way);
      const float inside = std::nextafter(outside, -way);
      lift();
      finger(leftOfCentre(start));
      EXPECT_EQ(finger(leftOfCentre(inside)), GestureAction(NoAction()));
      EXPECT_EQ(mode(), "undecided");
      EXPECT_EQ(replayed(leftOfCentre(outside)).size(), 2U);
      EXPECT_EQ(mode(), "cursor");
    }
  }
}

TEST_F(GestureRecognizerTest, TurnCountsBeforeRadialTravel) {
  enter("undecided");
  EXPECT_EQ(finger(around(0.3, 0.1)), GestureAction(NoAction()));
  EXPECT_EQ(mode(), "circularScroll");
}

TEST_F(GestureRecognizerTest, ScrollingEndsCloserThanTheScrollRadius) {
  enter("circularScroll");
  EXPECT_EQ(finger(leftOfCentre(0.28F)).index(), GestureAction(Scroll()).index());
  EXPECT_EQ(mode(), "circularScroll");
  EXPECT_EQ(finger(leftOfCentre(before(0.28F))), GestureAction(NoAction()));
  EXPECT_EQ(mode(), "cursor");
}

TEST_F(GestureRecognizerTest, ScrollsAcrossTheSeamByASmallStep) {
  enter("circularScroll");
  finger(around(std::numbers::pi - 0.05));
  EXPECT_EQ(scrolled(around(-std::numbers::pi + 0.052)), -30);
  EXPECT_EQ(scrolled(around(std::numbers::pi - 0.05)), 30);
}

TEST_F(GestureRecognizerTest, DecidesAcrossTheSeamBySmallSteps) {
  for (const double way : {1.0, -1.0}) {
    lift();
    finger(around(way * (std::numbers::pi - 0.1)));
    finger(around(way * (std::numbers::pi + 0.1)));
    EXPECT_NEAR(undecided().accumulatedAngle, way * 0.2, 1e-5);
    finger(around(way * (std::numbers::pi + 0.2)));
    EXPECT_EQ(mode(), "circularScroll");
    EXPECT_EQ(scrolled(around(way * (std::numbers::pi + 0.305))), way > 0 ? -31 : 31);
  }
}

// With this scale, an amount shows every bit of the angle: 2^28 pixels a radian.
TEST_F(GestureRecognizerTest, HalfATurnWrapsFromJustBelowPi) {
  useCircularScrollScale(0x1p28F);
  const Place right = {0.9F, 0.5F};
  const Place aboveRight = {0.9F, after(0.5F)};
  const Place left = {0.1F, 0.5F};
  const Place aboveLeft = {0.1F, after(0.5F)};
  const Place belowLeft = {0.1F, before(0.5F)};
  enter("circularScroll");
  ASSERT_EQ(angleOf(left), 0x1.921fb6p1F);
  EXPECT_EQ(scrolled(left), 0x3243F640);
  finger(right);
  ASSERT_EQ(angleOf(aboveLeft), 0x1.921fb4p1F);
  EXPECT_EQ(scrolled(aboveLeft), -0x3243F680);
  finger(right);
  ASSERT_EQ(angleOf(belowLeft), -0x1.921fb4p1F);
  EXPECT_EQ(scrolled(belowLeft), 0x3243F680);
  finger(aboveRight);
  ASSERT_EQ(angleOf(belowLeft) - angleOf(aboveRight), -0x1.921fb6p1F);
  EXPECT_EQ(scrolled(belowLeft), -0x3243F640);
}

TEST_F(GestureRecognizerTest, NearlyAWholeTurnIsNone) {
  finger({0.1F, 0.5F});
  finger({0.1F, before(0.5F)});
  ASSERT_EQ(undecided().thetaStart, 0x1.921fb6p1F);
  EXPECT_EQ(undecided().accumulatedAngle, 0.0F);
}

TEST_F(GestureRecognizerTest, AmountsAreTruncatedTowardsZero) {
  twoFingersAt(0.5F, 0.5F);
  EXPECT_EQ(twoFingersAt(0.5078125F, 0.5078125F), GestureAction(Scroll{1, -1}));  // 1.5625
  EXPECT_EQ(twoFingersAt(0.5F, 0.5F), GestureAction(Scroll{-1, 1}));
  EXPECT_EQ(twoFingersAt(0.50390625F, 0.50390625F), GestureAction(Scroll{0, 0}));  // 0.78125
  EXPECT_EQ(twoFingersAt(0.5F, 0.5F), GestureAction(Scroll{0, 0}));
  lift();
  enter("circularScroll");
  EXPECT_EQ(scrolled(around(0.0066)), -1);  // 1.98
  EXPECT_EQ(scrolled(around(0)), 1);
}

TEST_F(GestureRecognizerTest, MiddleIsASinglePrecisionSum) {
  useScrollScale(0x1p30);
  twoFingersAt(0, 0);
  EXPECT_EQ(fingers({{0.1F, 0.2F}, {0.2F, 0.1F}}), GestureAction(Scroll{161061280, -161061280}));
}

TEST_F(GestureRecognizerTest, ScalesAreTheUsualOnesIfNotToldOtherwise) {
  twoFingersAt(0, 0);
  EXPECT_EQ(twoFingersAt(1, 1), GestureAction(Scroll{200, -200}));
  lift();
  enter("circularScroll");
  EXPECT_EQ(scrolled(around(1.001)), -300);
  EXPECT_EQ(scrolled(around(-1)), 600);
  EXPECT_EQ(GestureSettings().cursorScale, 1200);
  EXPECT_EQ(GestureSettings().selectDownSafetyTimeout, std::chrono::seconds(3));
  EXPECT_EQ(GestureSettings().dragLockLongPressDuration, std::chrono::seconds(1));
}

TEST_F(GestureRecognizerTest, ScalesAreThoseItWasMadeWith) {
  recognizer =
      GestureRecognizer({.cursorScale = 7, .scrollScale = 16, .circularScrollScale = 1000});
  enter("circularScroll");
  EXPECT_EQ(scrolled(around(0.1005)), -100);
  EXPECT_EQ(twoFingersAt(0.5F, 0.5F), GestureAction(NoAction()));
  EXPECT_EQ(twoFingersAt(0.75F, 1), GestureAction(Scroll{8, -4}));
  lift();
  enter("cursor");
  EXPECT_EQ(moved({0.75F, 0.5F}), (Point{0.25, 0}));
}

TEST_F(GestureRecognizerTest, LargestAmountsFit) {
  useScrollScale(2147483647.5);
  twoFingersAt(0, 0);
  EXPECT_EQ(twoFingersAt(-1, 1), GestureAction(Scroll{2147483647, 2147483647}));
  constexpr std::int32_t smallest = std::numeric_limits<std::int32_t>::min();
  useScrollScale(2147483648.5);
  twoFingersAt(0, 0);
  EXPECT_EQ(twoFingersAt(1, -1), GestureAction(Scroll{smallest, smallest}));
}

// The pointer takes any number.
TEST_F(GestureRecognizerTest, PlaceThatIsNoNumberPoints) {
  finger({notANumber, 0.5F});
  EXPECT_EQ(mode(), "cursor");
  EXPECT_TRUE(std::isnan(moved({0.5F, 0.5F}).x));
  lift();
  enter("undecided");
  EXPECT_TRUE(std::isnan(replayed({0.5F, notANumber}).at(0).y));
  EXPECT_EQ(mode(), "cursor");
}

class GestureRecognizerDeathTest : public GestureRecognizerTest {
 protected:
  GestureRecognizerDeathTest() { testing::GTEST_FLAG(death_test_style) = "threadsafe"; }
};

constexpr char dying[] = "does not fit an integer of 32 bits";

TEST_F(GestureRecognizerDeathTest, AmountsThatDoNotFitEndTheProcess) {
  useScrollScale(2147483648.0);
  twoFingersAt(0, 0);
  EXPECT_DEATH(twoFingersAt(0, 1), dying);
  EXPECT_DEATH(twoFingersAt(-1, 0), dying);
  useScrollScale(2147483649.0);
  twoFingersAt(0, 0);
  EXPECT_DEATH(twoFingersAt(0, -1), dying);
  EXPECT_DEATH(twoFingersAt(1, 0), dying);
}

TEST_F(GestureRecognizerDeathTest, CircularAmountThatDoesNotFitEndsTheProcess) {
  useCircularScrollScale(0x1p31F);
  enter("circularScroll");
  EXPECT_DEATH(finger(around(1.01)), dying);
  EXPECT_DEATH(finger(around(-1.01)), dying);
}

TEST_F(GestureRecognizerDeathTest, AmountsThatAreNoNumbersEndTheProcess) {
  twoFingersAt(0, 0);
  EXPECT_DEATH(twoFingersAt(notANumber, 0), dying);
  EXPECT_DEATH(twoFingersAt(0, notANumber), dying);
  EXPECT_DEATH(twoFingersAt(0, infinity), dying);
  EXPECT_DEATH(twoFingersAt(3e38F, 0), dying);  // The sum of both is no float.
  lift();
  enter("circularScroll");
  EXPECT_DEATH(finger({notANumber, 0.5F}), dying);
  EXPECT_DEATH(finger({0.9F, notANumber}), dying);
}

}  // namespace
}  // namespace tessline::test
