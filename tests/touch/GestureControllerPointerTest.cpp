#include "tests/touch/GestureFixture.h"

#include <limits>

namespace tessline::test {
namespace {

using PointerTest = GestureControllerTest;

TEST_F(PointerTest, StartsWithoutGestureAndWithTheButtonUp) {
  EXPECT_EQ(controller->mode(), GestureMode(NoGesture()));
  EXPECT_FALSE(controller->isDragging());
  EXPECT_FALSE(controller->isDragLocked());
  EXPECT_TRUE(controller->inspectsDraggedWindow);
}

TEST_F(PointerTest, MakesItsQueueUnderItsLabel) {
  const auto fresh = platform::simulated::SimulatedHost::create();
  const auto another = SiriRemoteGestureController::create(fresh);
  ASSERT_EQ(fresh->calls().calls().size(), 1U);
  EXPECT_EQ(fresh->calls().calls()[0].argument<std::string>("label"),
            "com.morvane.gesture.select-safety");
}

TEST_F(PointerTest, FingerMovesThePointerBy1200PointsAClickpadWithYTurned) {
  touch({{0.5, 0.5}});
  EXPECT_TRUE(mouseEvents().empty());
  touch({{0.625, 0.5625}});
  EXPECT_EQ(mouseEvents(), (std::vector<PostedMouse>{{"MouseMoved", {720 + 150, 450 - 75}}}));
}

TEST_F(PointerTest, SpeedIsAskedForEveryMove) {
  int asked = 0;
  controller->cursorSpeedProvider = [&] { return ++asked == 1 ? 2.0 : 0.5; };
  touch({{0.5, 0.5}});
  touch({{0.5625, 0.5}});
  touch({{0.5, 0.5}});
  EXPECT_EQ(asked, 2);
  EXPECT_EQ(mouseEvents(), (std::vector<PostedMouse>{{"MouseMoved", {720 + 150, 450}},
                                                     {"MouseMoved", {870 - 37.5, 450}}}));
}

TEST_F(PointerTest, PositionComesFromTheProviderIfThereIsOne) {
  controller->currentPositionProvider = [] { return Point{100, 200}; };
  stroke({0.5, 0.5}, {0.5625, 0.5});
  EXPECT_EQ(mouseEvents(), (std::vector<PostedMouse>{{"MouseMoved", {175, 200}}}));
}

TEST_F(PointerTest, ProvidersAreAskedWithTheSpeedFirst) {
  std::string order;
  controller->cursorSpeedProvider = [&] {
    order += 's';
    return 1.0;
  };
  controller->currentPositionProvider = [&] {
    order += 'p';
    return Point{100, 200};
  };
  stroke({0.5, 0.5}, {0.5625, 0.5});
  EXPECT_EQ(order, "sp");
}

TEST_F(PointerTest, LocationOfZeroIsNoLocation) {
  host->desktop().setScreens({{{10, 20}, {1000, 800}}});
  host->desktop().setPointer(Point{0, 0});
  host->desktop().setMouseLocation({30, 50});
  // The main screen's left edge is added as it is, and y is turned within its frame.
  stroke({0.5, 0.5}, {0.5625, 0.5});
  EXPECT_EQ(mouseEvents(),
            (std::vector<PostedMouse>{{"MouseMoved", {30 + 10 + 75, 20 + (800 - 50)}}}));
}

TEST_F(PointerTest, LocationWithOneZeroIsALocation) {
  host->desktop().setPointer(Point{0, 5});
  stroke({0.5, 0.5}, {0.5625, 0.5});
  EXPECT_EQ(mouseEvents(), (std::vector<PostedMouse>{{"MouseMoved", {75, 5}}}));
}

TEST_F(PointerTest, WithoutEventsTheWindowSystemTellsThePosition) {
  host->desktop().setPointer(std::nullopt);
  host->desktop().setMouseLocation({30, 50});
  stroke({0.5, 0.5}, {0.5625, 0.5});
  EXPECT_EQ(mouseEvents(), (std::vector<PostedMouse>{{"MouseMoved", {105, 850}}}));
}

TEST_F(PointerTest, WithoutAMainScreenTheMouseLocationStands) {
  host->desktop().setScreens({});
  host->desktop().setPointer(std::nullopt);
  host->desktop().setMouseLocation({30, 50});
  stroke({0.5, 0.5}, {0.5625, 0.5});
  EXPECT_EQ(mouseEvents(), (std::vector<PostedMouse>{{"MouseMoved", {105, 50}}}));
}

TEST_F(PointerTest, PointerStopsOnePointInsideTheRightAndLowerEdge) {
  host->desktop().setPointer(Point{1400, 880});
  stroke({0.5, 0.5}, {0.75, 0.25});
  EXPECT_EQ(mouseEvents(), (std::vector<PostedMouse>{{"MouseMoved", {1439, 899}}}));
}

TEST_F(PointerTest, PointerStopsAtTheLeftAndUpperEdge) {
  host->desktop().setPointer(Point{40, 20});
  stroke({0.5, 0.5}, {0.25, 0.75});
  EXPECT_EQ(mouseEvents(), (std::vector<PostedMouse>{{"MouseMoved", {0, 0}}}));
}

TEST_F(PointerTest, PointerCrossesToOtherScreens) {
  host->desktop().setScreens({{{0, 0}, {1440, 900}}, {{-800, -100}, {800, 600}}});
  host->desktop().setPointer(Point{40, 880});
  stroke({0.5, 0.5}, {0.25, 0.25});
  EXPECT_EQ(mouseEvents(), (std::vector<PostedMouse>{{"MouseMoved", {-260, 999}}}));
}

TEST_F(PointerTest, WithoutScreensThePointerGoesAnywhere) {
  host->desktop().setScreens({});
  host->desktop().setPointer(Point{40, 20});
  stroke({0.5, 0.5}, {0.25, 0.75});
  EXPECT_EQ(mouseEvents(), (std::vector<PostedMouse>{{"MouseMoved", {-260, -280}}}));
}

TEST_F(PointerTest, HeldBackMotionIsReplayedStepByStepWithFreshSpeedAndPosition) {
  int speeds = 0;
  int positions = 0;
  controller->cursorSpeedProvider = [&] { return static_cast<double>(++speeds); };
  controller->currentPositionProvider = [&] { return Point{100.0 * ++positions, 400}; };
  touch({{1, 0.5}});
  EXPECT_TRUE(std::holds_alternative<Undecided>(controller->mode()));
  touch({{0.9375, 0.5}});
  EXPECT_TRUE(mouseEvents().empty());
  touch({{0.875, 0.5}});
  EXPECT_EQ(mouseEvents(), (std::vector<PostedMouse>{{"MouseMoved", {100 - 75, 400}},
                                                     {"MouseMoved", {200 - 150, 400}}}));
  EXPECT_EQ(controller->mode(), GestureMode(Cursor()));
}

TEST_F(PointerTest, ReplayedMotionDragsTheWindowAtEachStep) {
  placeWindow({{100, 100}, {300, 200}});
  host->desktop().setPointer(Point{150, 110});
  press();
  touch({{1, 0.5}});
  touch({{0.9375, 0.5}});
  touch({{0.875, 0.5}});
  EXPECT_EQ(mouseTypes(), (Types{"LeftMouseDown", "LeftMouseDragged", "LeftMouseDragged"}));
  EXPECT_EQ(callCount("AXUIElementSetAttributeValue"), 1U);
  EXPECT_EQ(windowFrame().origin, (Point{0, 100}));
}

TEST_F(PointerTest, TwoFingersScrollInBothAxes) {
  touch({{0.25, 0.25}, {0.5, 0.25}});
  EXPECT_TRUE(scrolls().empty());
  touch({{0.5, 0.5}, {0.75, 0.5}});
  EXPECT_EQ(scrolls(), (Scrolls{{50, -50}}));
  EXPECT_TRUE(mouseEvents().empty());
}

TEST_F(PointerTest, ScrollOfNothingIsPosted) {
  touch({{0.25, 0.25}, {0.5, 0.25}});
  touch({{0.25, 0.25}, {0.5, 0.25}});
  EXPECT_EQ(scrolls(), (Scrolls{{0, 0}}));
}

TEST_F(PointerTest, FingerRoundTheRimScrollsVertically) {
  // A quarter turn each: from the right to the top, to the left, and across the seam to the bottom.
  touch({{1, 0.5}});
  touch({{0.5, 1}});
  EXPECT_TRUE(scrolls().empty());
  touch({{0, 0.5}});
  touch({{0.5, 0}});
  EXPECT_EQ(scrolls(), (Scrolls{{-471, 0}, {-471, 0}}));
}

TEST_F(PointerTest, MovesAndScrollsAreNeverGivenToTheButtonPoster) {
  std::vector<platform::MouseEventType> given;
  controller->syntheticMouseEventPoster = [&](platform::MouseEventType type, Point) {
    given.push_back(type);
  };
  stroke({0.5, 0.5}, {0.5625, 0.5});
  touch({{0.25, 0.25}, {0.5, 0.25}});
  touch({{0.5, 0.5}, {0.75, 0.5}});
  EXPECT_TRUE(given.empty());
  EXPECT_EQ(mouseTypes(), Types{"MouseMoved"});
  EXPECT_EQ(scrolls().size(), 1U);
}

TEST_F(PointerTest, ModeFollowsTheFingers) {
  touch({{0.5, 0.5}});
  EXPECT_EQ(name(controller->mode()), "cursor");
  touch({{0.5, 0.5}, {0.25, 0.5}});
  EXPECT_EQ(name(controller->mode()), "twoFingerScroll");
  touch({{1, 0.5}});
  EXPECT_EQ(name(controller->mode()), "undecided");
  touch({{0.5, 1}});
  EXPECT_EQ(name(controller->mode()), "circularScroll");
  touch({});
  EXPECT_EQ(name(controller->mode()), "none");
}

TEST_F(PointerTest, ScalesAreThoseOfTheSettings) {
  makeController({.cursorScale = 400, .scrollScale = 40, .circularScrollScale = 10});
  stroke({0.5, 0.5}, {0.75, 0.5});
  touch({{0.25, 0.25}, {0.5, 0.25}});
  touch({{0.5, 0.5}, {0.75, 0.5}});
  touch({});
  touch({{1, 0.5}});
  touch({{0.5, 1}});
  touch({{0, 0.5}});
  EXPECT_EQ(mouseEvents(), (std::vector<PostedMouse>{{"MouseMoved", {820, 450}}}));
  EXPECT_EQ(scrolls(), (Scrolls{{10, -10}, {-15, 0}}));
}

TEST_F(PointerTest, ScrollBeyond32BitsEndsTheProcess) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  touch({{0, 0}, {0, 0}});
  EXPECT_DEATH(touch({{0, 1e9}, {0, 1e9}}), "does not fit an integer of 32 bits");
  EXPECT_DEATH(touch({{0, 0}, {std::numeric_limits<double>::quiet_NaN(), 0}}), "does not fit");
}

TEST_F(PointerTest, DragLooksForItsWindowOnlyUntilItHasOne) {
  host->desktop().setPointer(Point{150, 110});
  press();
  touch({{0.5, 0.5}});
  host->calls().clear();
  touch({{0.5625, 0.5}});
  EXPECT_EQ(callCount("AXUIElementCopyElementAtPosition"), 1U);
  placeWindow({{100, 100}, {300, 200}});
  touch({{0.625, 0.5}});
  touch({{0.6875, 0.5}});
  EXPECT_EQ(callCount("AXUIElementCopyElementAtPosition"), 2U);
  EXPECT_EQ(callCount("AXUIElementSetAttributeValue"), 0U);
}

TEST_F(PointerTest, MovesLookForNoWindow) {
  placeWindow();
  stroke({0.5, 0.5}, {0.5625, 0.5});
  EXPECT_EQ(callCount("AXUIElementCopyElementAtPosition"), 0U);
}

TEST_F(PointerTest, EventThatCannotBeMadeLeavesTheWindowAlone) {
  placeWindow();
  host->desktop().setPointer(Point{400, 210});
  press();
  host->desktop().setCanCreateEvents(false);
  host->calls().clear();
  stroke({0.5, 0.5}, {0.5625, 0.5});
  ASSERT_EQ(host->calls().calls().size(), 1U);
  EXPECT_EQ(host->calls().calls()[0].operation, "CGEventCreateMouseEvent");
}

}  // namespace
}  // namespace tessline::test
