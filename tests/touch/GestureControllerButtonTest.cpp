#include "tests/touch/GestureFixture.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tessline::test {
namespace {

TEST_F(ButtonTest, ClickIsOneDownAndOneUpWhereThePointerIs) {
  press();
  EXPECT_TRUE(controller->isDragging());
  host->advance(200ms);
  release();
  EXPECT_FALSE(controller->isDragging());
  EXPECT_EQ(mouseEvents(),
            (std::vector<PostedMouse>{{"LeftMouseDown", {720, 450}}, {"LeftMouseUp", {720, 450}}}));
  EXPECT_EQ(phases, Phases());
  EXPECT_EQ(host->scheduler().pendingCount(), 0U);
}

TEST_F(ButtonTest, ButtonEventsAreSingleClicks) {
  press();
  stroke({0.5, 0.5}, {0.5625, 0.5});
  release();
  std::vector<std::int64_t> clickStates;
  for (const auto& call : host->calls().calls()) {
    if (call.operation == "CGEventCreateMouseEvent") {
      clickStates.push_back(call.argument<std::int64_t>("clickState"));
    }
  }
  // The drag in between has none.
  EXPECT_EQ(clickStates, (std::vector<std::int64_t>{1, 0, 1}));
}

TEST_F(ButtonTest, OtherCommandsChangeNothing) {
  for (std::size_t index = 0; index < remoteCommandCount; ++index) {
    const auto command = *remoteCommandWithOrdinal(index);
    if (command == RemoteCommand::select) continue;
    controller->currentPositionProvider = [] {
      ADD_FAILURE() << "asked for the position";
      return Point();
    };
    controller->handleButton(command, RemoteButtonPhase::pressed);
    EXPECT_FALSE(controller->isDragging());
    controller->handleButton(command, RemoteButtonPhase::released);
  }
  EXPECT_TRUE(host->calls().calls().empty());
  EXPECT_EQ(host->scheduler().pendingCount(), 0U);
}

TEST_F(ButtonTest, OtherCommandsDoNotEndAPress) {
  press();
  controller->handleButton(RemoteCommand::home, RemoteButtonPhase::released);
  EXPECT_TRUE(controller->isDragging());
}

TEST_F(ButtonTest, SecondPressWithoutReleaseIsIgnored) {
  press();
  host->advance(500ms);
  press();
  host->advance(600ms);
  EXPECT_TRUE(controller->isDragLocked()) << "the second press armed the timer anew";
  EXPECT_EQ(mouseTypes(), Types{"LeftMouseDown"});
}

TEST_F(ButtonTest, ReleaseWithoutPressIsIgnored) {
  release();
  EXPECT_TRUE(mouseEvents().empty());
  EXPECT_FALSE(controller->isDragging());
}

TEST_F(ButtonTest, PosterGetsButtonEventsInsteadOfTheHost) {
  std::vector<std::pair<platform::MouseEventType, Point>> given;
  controller->syntheticMouseEventPoster = [&](platform::MouseEventType type, Point position) {
    given.emplace_back(type, position);
  };
  press();
  release();
  EXPECT_EQ(given, (std::vector<std::pair<platform::MouseEventType, Point>>{
                       {platform::MouseEventType::leftMouseDown, {720, 450}},
                       {platform::MouseEventType::leftMouseUp, {720, 450}}}));
  EXPECT_TRUE(mouseEvents().empty());
}

TEST_F(ButtonTest, ButtonEventsAreClampedToTheScreens) {
  Point position = {5000, -20};
  controller->currentPositionProvider = [&] { return position; };
  press();
  position = {-5, 5000};
  release();
  EXPECT_EQ(mouseEvents(),
            (std::vector<PostedMouse>{{"LeftMouseDown", {1439, 0}}, {"LeftMouseUp", {0, 899}}}));
}

TEST_F(ButtonTest, MovingWhileHeldDrags) {
  press();
  stroke({0.5, 0.5}, {0.5625, 0.5});
  release();
  EXPECT_EQ(mouseEvents(), (std::vector<PostedMouse>{{"LeftMouseDown", {720, 450}},
                                                     {"LeftMouseDragged", {795, 450}},
                                                     {"LeftMouseUp", {795, 450}}}));
}

TEST_F(TitleBarTest, ShortPressOnATitleBarBeginsAndCancelsACharge) {
  press();
  EXPECT_EQ(phases, Phases{0});
  host->advance(999ms);
  release();
  EXPECT_EQ(phases, (Phases{0, 2}));
  EXPECT_EQ(mouseTypes(), (Types{"LeftMouseDown", "LeftMouseUp"}));
}

TEST_F(TitleBarTest, ChargeBeginsBeforeTheButtonGoesDown) {
  std::size_t eventsBefore = 1;
  controller->onDragLockChargePhase = [&](DragLockChargePhase) {
    eventsBefore = mouseEvents().size();
  };
  press();
  EXPECT_EQ(eventsBefore, 0U);
}

TEST_F(TitleBarTest, CallbackMayAskWhetherTheButtonIsHeld) {
  std::vector<std::pair<bool, bool>> states;
  controller->onDragLockChargePhase = [&](DragLockChargePhase) {
    states.emplace_back(controller->isDragging(), controller->isDragLocked());
  };
  press();
  host->advance(1s);
  EXPECT_EQ(states, (std::vector<std::pair<bool, bool>>{{true, false}, {true, true}}));
}

TEST_F(TitleBarTest, LongPressLocksTheButtonUntilTheNextPress) {
  press();
  host->advance(1s);
  EXPECT_TRUE(controller->isDragLocked());
  EXPECT_EQ(phases, (Phases{0, 1}));
  release();
  EXPECT_TRUE(controller->isDragging());
  stroke({0.5, 0.5}, {0.5, 0.4375});
  EXPECT_EQ(mouseTypes(), (Types{"LeftMouseDown", "LeftMouseDragged"}));
  press();
  EXPECT_FALSE(controller->isDragLocked());
  EXPECT_FALSE(controller->isDragging());
  release();
  EXPECT_EQ(mouseTypes(), (Types{"LeftMouseDown", "LeftMouseDragged", "LeftMouseUp"}));
  EXPECT_EQ(phases, (Phases{0, 1}));
  EXPECT_EQ(host->scheduler().pendingCount(), 0U);
}

TEST_F(TitleBarTest, LockedButtonIsNotForcedUp) {
  press();
  host->advance(1h);
  EXPECT_TRUE(controller->isDragging());
  EXPECT_EQ(mouseTypes(), Types{"LeftMouseDown"});
}

TEST_F(TitleBarTest, LockBeginsAfterOneSecondAndNotBefore) {
  press();
  host->advance(1s - 1ns);
  EXPECT_FALSE(controller->isDragLocked());
  host->advance(1ns);
  EXPECT_TRUE(controller->isDragLocked());
}

TEST_F(ButtonTest, LongPressElsewhereLocksWithoutACharge) {
  press();
  host->advance(1s);
  EXPECT_TRUE(controller->isDragLocked());
  release();
  press();
  release();
  EXPECT_EQ(phases, Phases());
  EXPECT_EQ(mouseTypes(), (Types{"LeftMouseDown", "LeftMouseUp"}));
}

TEST_F(ButtonTest, PressThatEndsALockIsNoPress) {
  press();
  host->advance(1s);
  release();
  press();
  host->advance(10s);
  EXPECT_FALSE(controller->isDragLocked());
  release();
  press();
  release();
  EXPECT_EQ(mouseTypes(), (Types{"LeftMouseDown", "LeftMouseUp", "LeftMouseDown", "LeftMouseUp"}));
}

TEST_F(ButtonTest, LockEndedWhileStillHeldIgnoresTheReleasesThatFollow) {
  // The release that came with the lock was lost.
  press();
  host->advance(1s);
  press();
  release();
  release();
  EXPECT_EQ(mouseTypes(), (Types{"LeftMouseDown", "LeftMouseUp"}));
}

TEST_F(ButtonTest, PressAfterASuppressedReleaseThatNeverCameCounts) {
  press();
  host->advance(1s);
  release();
  press();
  press();
  EXPECT_TRUE(controller->isDragging());
  release();
  EXPECT_EQ(mouseTypes(), (Types{"LeftMouseDown", "LeftMouseUp", "LeftMouseDown", "LeftMouseUp"}));
}

TEST_F(ButtonTest, LostReleaseBecomesADragLock) {
  // The long press is over before the timeout for lost releases, so that the lock comes first.
  press();
  host->advance(1h);
  EXPECT_TRUE(controller->isDragLocked());
  release();
  EXPECT_EQ(mouseTypes(), Types{"LeftMouseDown"});
}

TEST_F(LostReleaseTest, ButtonIsForcedUpAfterThreeSeconds) {
  press();
  host->advance(3s - 1ns);
  EXPECT_TRUE(controller->isDragging());
  host->advance(1ns);
  EXPECT_FALSE(controller->isDragging());
  EXPECT_EQ(phases, (Phases{0, 2}));
  EXPECT_EQ(mouseTypes(), (Types{"LeftMouseDown", "LeftMouseUp"}));
  EXPECT_EQ(host->scheduler().pendingCount(), 0U) << "the long press is still armed";
  release();
  EXPECT_EQ(mouseTypes(), (Types{"LeftMouseDown", "LeftMouseUp"}));
}

TEST_F(LostReleaseTest, ForcedUpIsWhereThePointerIsThen) {
  press();
  stroke({0.5, 0.5}, {0.5625, 0.5});
  host->advance(3s);
  EXPECT_EQ(mouseEvents().back(), (PostedMouse{"LeftMouseUp", {475, 210}}));
}

TEST_F(LostReleaseTest, ForcedUpEndsTheCharge) {
  press();
  host->advance(3s);
  host->desktop().setPointer(belowTitleBar);
  press();
  release();
  EXPECT_EQ(phases, (Phases{0, 2}));
}

TEST_F(LostReleaseTest, ReleaseInTimeEndsTheTimeout) {
  press();
  host->advance(2s);
  release();
  host->advance(10s);
  EXPECT_EQ(mouseTypes(), (Types{"LeftMouseDown", "LeftMouseUp"}));
}

TEST_F(LostReleaseTest, EachPressHasItsOwnTimeout) {
  press();
  host->advance(2s);
  release();
  press();
  host->advance(2s);
  EXPECT_TRUE(controller->isDragging());
  host->advance(1s);
  EXPECT_FALSE(controller->isDragging());
}

TEST_F(TitleBarTest, PressLooksForTheWindowAndThenForItsTitleBar) {
  press();
  std::vector<std::string> calls;
  for (const auto& call : host->calls().calls()) {
    calls.push_back(call.operation + " " + call.argument<std::string>("element") +
                    call.argument<std::string>("attribute"));
  }
  const std::vector<std::string> walk = {"AXUIElementCopyElementAtPosition ",
                                         "AXUIElementCopyAttributeValue editor/2AXRole",
                                         "AXUIElementCopyAttributeValue editor/2AXParent",
                                         "AXUIElementCopyAttributeValue editor/1AXRole",
                                         "AXUIElementCopyAttributeValue editor/1AXParent",
                                         "AXUIElementCopyAttributeValue editorAXRole"};
  std::vector<std::string> expected = walk;
  expected.insert(expected.end(), walk.begin(), walk.end());
  expected.insert(expected.end(),
                  {"AXUIElementCopyAttributeValue editorAXPosition",
                   "AXUIElementCopyAttributeValue editorAXSize", "CGEventCreateMouseEvent "});
  EXPECT_EQ(calls, expected);
}

TEST_F(TitleBarTest, DraggedWindowIsTheOneThatWasPressed) {
  press();
  // Another window comes to lie under the pointer.
  host->desktop().setWindow({.name = "front", .frame = {{0, 0}, {1440, 900}}, .depth = 0});
  touch({{0.5, 0.5}});
  touch({{0.5, 1}});
  EXPECT_EQ(windowFrame().origin, (Point{300, 0}));
}

TEST_F(ButtonTest, ResetWithTheButtonUpPostsNothing) {
  controller->resetButtonState();
  EXPECT_TRUE(mouseEvents().empty());
}

TEST_F(TitleBarTest, ResetReleasesAPressAndCancelsItsCharge) {
  press();
  host->advance(500ms);
  controller->resetButtonState();
  EXPECT_FALSE(controller->isDragging());
  EXPECT_EQ(phases, (Phases{0, 2}));
  EXPECT_EQ(mouseTypes(), (Types{"LeftMouseDown", "LeftMouseUp"}));
  host->advance(10s);
  release();
  EXPECT_EQ(mouseTypes(), (Types{"LeftMouseDown", "LeftMouseUp"}));
}

TEST_F(TitleBarTest, ResetEndsADragLockWithoutCancellingItsCharge) {
  press();
  host->advance(1s);
  release();
  controller->resetButtonState();
  EXPECT_FALSE(controller->isDragLocked());
  EXPECT_FALSE(controller->isDragging());
  EXPECT_EQ(phases, (Phases{0, 1}));
  EXPECT_EQ(mouseTypes(), (Types{"LeftMouseDown", "LeftMouseUp"}));
}

TEST_F(ButtonTest, ResetForgetsTheReleaseThatWasToBeSuppressed) {
  press();
  host->advance(1s);
  release();
  press();
  controller->resetButtonState();
  press();
  release();
  EXPECT_EQ(mouseTypes(), (Types{"LeftMouseDown", "LeftMouseUp", "LeftMouseDown", "LeftMouseUp"}));
}

TEST_F(ButtonTest, SecondResetPostsNothing) {
  press();
  controller->resetButtonState();
  controller->resetButtonState();
  EXPECT_EQ(mouseTypes(), (Types{"LeftMouseDown", "LeftMouseUp"}));
}

TEST_F(TitleBarTest, WindowThatCannotBeReadHasNoTitleBar) {
  host->desktop().setWindow(
      {.name = "editor", .frame = {{300, 200}, {600, 400}}, .failingAttributes = {"AXSize"}});
  press();
  EXPECT_EQ(phases, Phases());
  EXPECT_EQ(mouseTypes(), Types{"LeftMouseDown"});
}

TEST_F(ButtonTest, ControllerThatGoesPostsNothingAndItsTimersDoNothing) {
  press();
  controller.reset();
  host->advance(10s);
  EXPECT_EQ(mouseTypes(), Types{"LeftMouseDown"});
}

TEST_F(ButtonTest, ArmedTimersDoNotKeepTheControllerAlive) {
  press();
  const std::weak_ptr<SiriRemoteGestureController> weak = controller;
  controller.reset();
  EXPECT_TRUE(weak.expired());
}

TEST_F(TitleBarTest, ControllerMayGoWithItsOwnTimer) {
  // What the timer's work holds is the last of it.
  controller->onDragLockChargePhase = [this](DragLockChargePhase phase) {
    if (phase == DragLockChargePhase::completed) controller.reset();
  };
  press();
  const std::weak_ptr<SiriRemoteGestureController> weak = controller;
  host->advance(1s);
  EXPECT_TRUE(weak.expired());
}

}  // namespace
}  // namespace tessline::test
