#include "tests/touch/GestureRecognizerFixture.h"

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tessline::test {
namespace {

struct TransitionRow {
  std::string_view from;
  std::size_t fingerCount;
  std::string_view to;
  GestureAction actionKind;
};

const TransitionRow transitionRows[] = {
    {"undecided", 0, "none", NoAction()},
    {"undecided", 1, "undecided", NoAction()},
    {"undecided", 2, "twoFingerScroll", NoAction()},
    {"undecided", 3, "undecided", NoAction()},
    {"undecided", 5, "undecided", NoAction()},
    {"none", 0, "none", NoAction()},
    {"none", 1, "undecided", NoAction()},
    {"none", 2, "twoFingerScroll", NoAction()},
    {"none", 3, "none", NoAction()},
    {"none", 5, "none", NoAction()},
    {"cursor", 0, "none", NoAction()},
    {"cursor", 1, "cursor", MoveCursor()},
    {"cursor", 2, "twoFingerScroll", NoAction()},
    {"cursor", 3, "cursor", NoAction()},
    {"cursor", 5, "cursor", NoAction()},
    {"circularScroll", 0, "none", NoAction()},
    {"circularScroll", 1, "circularScroll", Scroll()},
    {"circularScroll", 2, "twoFingerScroll", NoAction()},
    {"circularScroll", 3, "circularScroll", NoAction()},
    {"circularScroll", 5, "circularScroll", NoAction()},
    {"twoFingerScroll", 0, "none", NoAction()},
    {"twoFingerScroll", 1, "undecided", NoAction()},
    {"twoFingerScroll", 2, "twoFingerScroll", Scroll()},
    {"twoFingerScroll", 3, "twoFingerScroll", NoAction()},
    {"twoFingerScroll", 5, "twoFingerScroll", NoAction()},
};

class GestureTransition : public GestureRecognizerTest,
                          public testing::WithParamInterface<TransitionRow> {};
INSTANTIATE_TEST_SUITE_P(, GestureTransition, testing::ValuesIn(transitionRows),
                         [](const auto& row) {
                           return std::string(row.param.from) + "_" +
                                  std::to_string(row.param.fingerCount);
                         });

TEST_P(GestureTransition, GoesByTheModeAndTheNumberOfFingers) {
  const TransitionRow& row = GetParam();
  enter(row.from);
  const auto action = fingers(std::vector<Place>(row.fingerCount, {0.9F, 0.5F}));
  EXPECT_EQ(action.index(), row.actionKind.index());
  EXPECT_EQ(mode(), row.to);
}

TEST_F(GestureRecognizerTest, NothingIsGoingOnAtFirst) {
  EXPECT_EQ(mode(), "none");
}

TEST_F(GestureRecognizerTest, FingerInTheMiddleMovesThePointerFromTheNextFrameOn) {
  EXPECT_EQ(finger({0.5F, 0.5F}), GestureAction(NoAction()));
  EXPECT_EQ(moved({0.625F, 0.25F}), (Point{0.125, -0.25}));
  EXPECT_EQ(moved({0.5F, 0.375F}), (Point{-0.125, 0.125}));
  EXPECT_EQ(moved({0.5F, 0.375F}), (Point{0, 0}));
}

TEST_F(GestureRecognizerTest, PointerStaysAPointerBeyondTheRim) {
  enter("cursor");
  EXPECT_EQ(moved({1, 0.5F}), (Point{0.5, 0}));
  EXPECT_EQ(moved({0, 0}), (Point{-1, -0.5}));
  EXPECT_EQ(mode(), "cursor");
}

TEST_F(GestureRecognizerTest, LandingAnewMovesNothing) {
  enter("cursor");
  lift();
  EXPECT_EQ(finger({0.25F, 0.5F}), GestureAction(NoAction()));
  EXPECT_EQ(moved({0.375F, 0.5F}), (Point{0.125, 0}));
}

TEST_F(GestureRecognizerTest, FingerGoingRoundScrollsOneFrameAfterTheDecision) {
  finger(around(0));
  EXPECT_EQ(finger(around(0.2)), GestureAction(NoAction()));
  EXPECT_EQ(mode(), "undecided");
  EXPECT_EQ(finger(around(0.4)), GestureAction(NoAction()));
  EXPECT_EQ(mode(), "circularScroll");
  EXPECT_EQ(finger(around(0.505)), GestureAction(Scroll{-31, 0}));
  EXPECT_EQ(finger(around(0.4)), GestureAction(Scroll{31, 0}));
  EXPECT_EQ(finger(around(0.4)), GestureAction(Scroll{0, 0}));
}

TEST_F(GestureRecognizerTest, PointerCatchesUpWithEveryFrameHeldBack) {
  finger({0, 0.5F});
  finger({0.0625F, 0.5F});
  finger({0.09375F, 0.53125F});
  finger({0.0625F, 0.53125F});
  EXPECT_EQ(undecided().bufferedDeltas.size(), 3U);
  EXPECT_EQ(
      replayed({0.1875F, 0.5F}),
      (std::vector<Point>{{0.0625, 0}, {0.03125, 0.03125}, {-0.03125, 0}, {0.125, -0.03125}}));
  EXPECT_EQ(moved({0.25F, 0.5F}), (Point{0.0625, 0}));
}

TEST_F(GestureRecognizerTest, HeldBackMotionHasNoLimit) {
  finger({0, 0.5F});
  for (int frame = 0; frame < 10'000; ++frame) {
    ASSERT_EQ(finger({frame % 2 == 0 ? 0.0625F : 0, 0.5F}), GestureAction(NoAction()));
  }
  const std::vector<Point> deltas = replayed({0.25F, 0.5F});
  ASSERT_EQ(deltas.size(), 10'001U);
  EXPECT_EQ(deltas.front(), (Point{0.0625, 0}));
  EXPECT_EQ(deltas[9'999], (Point{-0.0625, 0}));
  EXPECT_EQ(deltas.back(), (Point{0.25, 0}));
}

TEST_F(GestureRecognizerTest, MotionBeforeAScrollIsDropped) {
  enter("circularScroll");
  EXPECT_EQ(finger({0.625F, 0.5F}), GestureAction(NoAction()));
  EXPECT_EQ(moved({0.625F, 0.75F}), (Point{0, 0.25}));
}

TEST_F(GestureRecognizerTest, MotionBeforeALiftIsDropped) {
  finger({0, 0.5F});
  finger({0.0625F, 0.5F});
  lift();
  finger({0, 0.5F});
  EXPECT_EQ(replayed({0.25F, 0.5F}), (std::vector<Point>{{0.25, 0}}));
}

TEST_F(GestureRecognizerTest, PointerContinuesFromWhereScrollingEnded) {
  enter("circularScroll");
  finger(around(0.3));
  finger(around(0.6));
  finger({0.75F, 0.5F});
  EXPECT_EQ(mode(), "cursor");
  EXPECT_EQ(moved({0.875F, 0.5625F}), (Point{0.125, 0.0625}));
  EXPECT_EQ(mode(), "cursor");
}

TEST_F(GestureRecognizerTest, TwoFingersScrollByTheirMiddleFromTheSecondFrameOn) {
  EXPECT_EQ(fingers({{0.25F, 0.25F}, {0.5F, 0.5F}}), GestureAction(NoAction()));
  EXPECT_EQ(fingers({{0.375F, 0.25F}, {0.625F, 0.5F}}), GestureAction(Scroll{0, -25}));
  EXPECT_EQ(fingers({{0.375F, 0.5F}, {0.625F, 0.5F}}), GestureAction(Scroll{25, 0}));
  EXPECT_EQ(fingers({{0.625F, 0.5F}, {0.375F, 0.5F}}), GestureAction(Scroll{0, 0}));
  EXPECT_EQ(fingers({{0.25F, 0.25F}, {0.5F, 0.5F}}), GestureAction(Scroll{-25, 25}));
}

TEST_F(GestureRecognizerTest, TwoFingersLandingAnewScrollNothing) {
  twoFingersAt(0.25F, 0.25F);
  lift();
  EXPECT_EQ(twoFingersAt(0.75F, 0.75F), GestureAction(NoAction()));
  EXPECT_EQ(twoFingersAt(0.75F, 0.875F), GestureAction(Scroll{25, 0}));
}

TEST_F(GestureRecognizerTest, LiftingOneOfTwoFingersDecidesAnew) {
  twoFingersAt(0.5F, 0.5F);
  finger(leftOfCentre(0.35F));
  EXPECT_EQ(mode(), "cursor");
  EXPECT_EQ(moved({0.275F, 0.5F}).y, 0);
  twoFingersAt(0.5F, 0.5F);
  finger({0, 0.5F});
  EXPECT_EQ(undecided(), (Undecided{0.5F, angleOf({0, 0.5F}), 0, {}}));
  EXPECT_EQ(replayed({0.25F, 0.5F}), (std::vector<Point>{{0.25, 0}}));
}

TEST_F(GestureRecognizerTest, SecondFingerForgetsMotionHeldBack) {
  finger({0, 0.5F});
  finger({0.0625F, 0.5F});
  twoFingersAt(0.5F, 0.5F);
  finger({0, 0.5F});
  EXPECT_TRUE(undecided().bufferedDeltas.empty());
}

TEST_F(GestureRecognizerTest, ThreeFingersLeaveEverythingAsItIs) {
  enter("cursor");
  threeFingers();
  EXPECT_EQ(moved({0.625F, 0.5F}), (Point{0.125, 0}));
  lift();
  finger({0, 0.5F});
  finger({0.0625F, 0.5F});
  threeFingers();
  EXPECT_EQ(undecided().bufferedDeltas.size(), 1U);
  EXPECT_EQ(replayed({0.25F, 0.5F}), (std::vector<Point>{{0.0625, 0}, {0.1875, 0}}));
  lift();
  enter("circularScroll");
  threeFingers();
  EXPECT_EQ(scrolled(around(0.105)), -31);
  twoFingersAt(0.5F, 0.5F);
  threeFingers();
  EXPECT_EQ(twoFingersAt(0.625F, 0.5F), GestureAction(Scroll{0, -25}));
}

TEST_F(GestureRecognizerTest, OnlyTheirPlacesTellFingersApart) {
  using Touches = std::array<SiriRemoteTouchPoint, 1>;
  recognizer.handleTouches(Touches{{{1, 0.5F, 0.5F, 3}}});
  EXPECT_EQ(recognizer.handleTouches(Touches{{{2, 0.75F, 0.5F, 3}}}),
            GestureAction(MoveCursor{{0.25, 0}}));
  EXPECT_EQ(recognizer.handleTouches(Touches{{{-9, 0.75F, 0.75F, 77}}}),
            GestureAction(MoveCursor{{0, 0.25}}));
}

}  // namespace
}  // namespace tessline::test
