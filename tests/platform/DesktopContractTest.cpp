#include "tests/platform/DesktopContract.h"
#include "tests/support/GeometryPrinting.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using platform::AccessibilityValue;
using platform::MouseEventType;
using platform::ScreenFrames;

// What holds wherever the library runs, whether there is a desktop or not. Posts nothing but moves
// to where the pointer is, and scrolls by nothing: the host may be somebody's.

class DesktopContract : public testing::TestWithParam<BackendChoice<DesktopBackend>> {
 protected:
  std::unique_ptr<DesktopBackend> backend = GetParam().make();
  std::shared_ptr<platform::Screens> screens = backend->platform()->screens();
  std::shared_ptr<platform::Accessibility> accessibility = backend->platform()->accessibility();
  std::shared_ptr<platform::PointerEvents> events = backend->platform()->pointerEvents();
};

TEST_P(DesktopContract, IsAlwaysThere) {
  EXPECT_NE(screens, nullptr);
  EXPECT_NE(accessibility, nullptr);
  EXPECT_NE(events, nullptr);
  EXPECT_NE(screens->frames(), nullptr);
}

TEST_P(DesktopContract, PrimaryScreenStandsAtTheOrigin) {
  const auto frames = screens->frames();
  EXPECT_TRUE(frames->empty() || frames->front().origin == Point());
}

TEST_P(DesktopContract, ScreenWithTheFocusIsOneOfTheScreens) {
  const auto frames = screens->frames();
  const auto focused = screens->mainFrame();
  EXPECT_TRUE(!focused || std::ranges::find(*frames, *focused) != frames->end());
}

TEST_P(DesktopContract, MoveIsPostedIfEventsCanBeMadeAndNotOtherwise) {
  const auto before = events->currentLocation();
  const bool isPosted =
      events->postMouseEvent(MouseEventType::mouseMoved, before.value_or(Point()), std::nullopt);
  EXPECT_EQ(isPosted, before.has_value());
  EXPECT_EQ(events->currentLocation(), before);
}

TEST_P(DesktopContract, ScrollIsPostedIfEventsCanBeMadeAndNotOtherwise) {
  const auto before = events->currentLocation();
  EXPECT_EQ(events->postScrollEvent(0, 0), before.has_value());
  EXPECT_EQ(events->currentLocation(), before);
}

TEST_P(DesktopContract, NoElementIsShownFarFromAllScreens) {
  EXPECT_EQ(accessibility->copyElementAtPosition(1e7F, -1e7F), nullptr);
}

TEST_P(DesktopContract, LibraryThatCannotBeOpenedIsNull) {
  EXPECT_EQ(backend->platform()->openMultitouchLibrary(backend->pathOfNoLibrary()), nullptr);
}

TEST_P(DesktopContract, FacilitiesOutliveThePlatform) {
  const ScreenFrames frames = *screens->frames();
  const auto location = events->currentLocation();
  const bool isTrusted = accessibility->isProcessTrusted();
  backend.reset();
  EXPECT_EQ(*screens->frames(), frames);
  EXPECT_EQ(events->currentLocation(), location);
  EXPECT_EQ(accessibility->isProcessTrusted(), isTrusted);
}

INSTANTIATE_TEST_SUITE_P(On, DesktopContract, testing::ValuesIn(desktopBackends()), backendName);

class ScreensContract : public ScriptedTest {};

TEST_P(ScreensContract, FramesAreThoseOfNowInOrder) {
  const ScreenFrames two = {{{0, 0}, {1440, 900}}, {{-1920, -180}, {1920, 1080}}};
  backend->setScreens(two);
  EXPECT_EQ(*screens->frames(), two);
  const ScreenFrames other = {{{0, 0}, {800, 600}}};
  backend->setScreens(other);
  EXPECT_EQ(*screens->frames(), other);
}

TEST_P(ScreensContract, FramesAreEmptyAndNotNullWithoutScreens) {
  backend->setScreens({});
  ASSERT_NE(screens->frames(), nullptr);
  EXPECT_TRUE(screens->frames()->empty());
  EXPECT_EQ(screens->mainFrame(), std::nullopt);
}

TEST_P(ScreensContract, FramesThatWereHandedOutDoNotChange) {
  const ScreenFrames two = {{{0, 0}, {1440, 900}}, {{1440, 0}, {800, 600}}};
  backend->setScreens(two);
  const auto handedOut = screens->frames();
  backend->setScreens({{{0, 0}, {800, 600}}});
  backend->setScreens({});
  EXPECT_EQ(*handedOut, two);
}

TEST_P(ScreensContract, MainFrameFollowsTheFocus) {
  const Rect second = {{1440, 0}, {800, 600}};
  backend->setScreens({{{0, 0}, {1440, 900}}, second});
  backend->setFocusedScreen(second);
  EXPECT_EQ(screens->mainFrame(), second);
  backend->setFocusedScreen(std::nullopt);
  EXPECT_EQ(screens->mainFrame(), std::nullopt);
}

TEST_P(ScreensContract, MouseLocationIsThatOfTheWindowSystem) {
  backend->setMouseLocation({-10.5, 20});
  EXPECT_EQ(screens->mouseLocation(), (Point{-10.5, 20}));
}

class PointerEventsContract : public ScriptedTest {};

TEST_P(PointerEventsContract, MovesAndDragsTakeThePointerAlong) {
  EXPECT_TRUE(events->postMouseEvent(MouseEventType::mouseMoved, {100.5, 200}, std::nullopt));
  EXPECT_EQ(events->currentLocation(), (Point{100.5, 200}));
  EXPECT_TRUE(events->postMouseEvent(MouseEventType::leftMouseDragged, {30, 40}, std::nullopt));
  EXPECT_EQ(events->currentLocation(), (Point{30, 40}));
}

TEST_P(PointerEventsContract, EventsArePostedAsGivenAndInOrder) {
  events->postMouseEvent(MouseEventType::leftMouseDown, {1, 2}, 1);
  events->postMouseEvent(MouseEventType::leftMouseDragged, {3, 4}, std::nullopt);
  events->postScrollEvent(-5, 6);
  events->postMouseEvent(MouseEventType::leftMouseUp, {7, 8}, 2);
  events->postMouseEvent(MouseEventType::mouseMoved, {9.5, -10}, std::nullopt);
  EXPECT_EQ(backend->posts(),
            (std::vector<Post>{MousePost{MouseEventType::leftMouseDown, {1, 2}, 1},
                               MousePost{MouseEventType::leftMouseDragged, {3, 4}, std::nullopt},
                               ScrollPost{-5, 6}, MousePost{MouseEventType::leftMouseUp, {7, 8}, 2},
                               MousePost{MouseEventType::mouseMoved, {9.5, -10}, std::nullopt}}));
}

TEST_P(PointerEventsContract, ClickStateIsThereOnlyWhereGiven) {
  events->postMouseEvent(MouseEventType::leftMouseDown, {1, 2}, std::nullopt);
  events->postMouseEvent(MouseEventType::mouseMoved, {1, 2}, 0);
  EXPECT_EQ(backend->posts(),
            (std::vector<Post>{MousePost{MouseEventType::leftMouseDown, {1, 2}, std::nullopt},
                               MousePost{MouseEventType::mouseMoved, {1, 2}, 0}}));
}

TEST_P(PointerEventsContract, NothingIsPostedIfEventsCannotBeMade) {
  const auto before = events->currentLocation();
  backend->setCanMakeEvents(false);
  for (const auto type : {MouseEventType::leftMouseDown, MouseEventType::leftMouseUp,
                          MouseEventType::mouseMoved, MouseEventType::leftMouseDragged}) {
    EXPECT_FALSE(events->postMouseEvent(type, {1, 2}, 1));
  }
  EXPECT_FALSE(events->postScrollEvent(1, 2));
  EXPECT_EQ(backend->posts(), std::vector<Post>());
  backend->setCanMakeEvents(true);
  EXPECT_EQ(events->currentLocation(), before);
}

TEST_P(PointerEventsContract, ScrollLeavesThePointerWhereItIs) {
  const auto before = events->currentLocation();
  EXPECT_TRUE(events->postScrollEvent(100, -100));
  EXPECT_EQ(events->currentLocation(), before);
}

TEST_P(PointerEventsContract, LocationFollowsThePointer) {
  backend->setPointer(Point{-5, 12.25});
  EXPECT_EQ(events->currentLocation(), (Point{-5, 12.25}));
  backend->setPointer(std::nullopt);
  EXPECT_EQ(events->currentLocation(), std::nullopt);
}

class AccessibilityContract : public ScriptedTest {
 protected:
  // What is shown near the upper left corner of that window.
  std::shared_ptr<platform::AccessibilityElement> elementOf(const ShownWindow& window) {
    backend->showWindow(window);
    return accessibility->copyElementAtPosition(static_cast<float>(window.frame.minX() + 5),
                                                static_cast<float>(window.frame.minY() + 5));
  }

  const Rect frame = {{100, 600}, {300, 200}};
};

TEST_P(AccessibilityContract, TrustIsThatOfTheUser) {
  backend->setTrusted(false);
  EXPECT_FALSE(accessibility->isProcessTrusted());
  backend->setTrusted(true);
  EXPECT_TRUE(accessibility->isProcessTrusted());
}

TEST_P(AccessibilityContract, ElementIsFoundWhereItIsShown) {
  backend->showWindow({.frame = frame});
  EXPECT_NE(accessibility->copyElementAtPosition(100, 600), nullptr);
  EXPECT_NE(accessibility->copyElementAtPosition(399, 799), nullptr);
}

TEST_P(AccessibilityContract, ElementIsNullWhereNothingIsShown) {
  EXPECT_EQ(accessibility->copyElementAtPosition(150, 650), nullptr);
  backend->showWindow({.frame = frame});
  // The same place, were y upwards.
  EXPECT_EQ(accessibility->copyElementAtPosition(150, 250), nullptr);
  EXPECT_EQ(accessibility->copyElementAtPosition(401, 650), nullptr);
}

TEST_P(AccessibilityContract, AttributesHaveTheirTypes) {
  const auto window = elementOf({.frame = frame});
  ASSERT_NE(window, nullptr);
  EXPECT_EQ(window->copyAttributeValue("AXRole"), AccessibilityValue(std::string("AXWindow")));
  EXPECT_EQ(window->copyAttributeValue("AXPosition"), AccessibilityValue(Point{100, 600}));
  EXPECT_EQ(window->copyAttributeValue("AXSize"), AccessibilityValue(Size{300, 200}));
}

TEST_P(AccessibilityContract, ParentsLeadToTheWindow) {
  auto element = elementOf({.frame = frame, .depth = 2});
  ASSERT_NE(element, nullptr);
  for (int step = 0; step < 2; ++step) {
    EXPECT_NE(element->copyAttributeValue("AXRole"), AccessibilityValue(std::string("AXWindow")));
    const auto parent = element->copyAttributeValue("AXParent");
    ASSERT_TRUE(std::holds_alternative<decltype(element)>(parent));
    element = std::get<decltype(element)>(parent);
    ASSERT_NE(element, nullptr);
  }
  EXPECT_EQ(element->copyAttributeValue("AXRole"), AccessibilityValue(std::string("AXWindow")));
}

TEST_P(AccessibilityContract, AttributeThatCannotBeCopiedIsNothing) {
  for (const std::string attribute : {"AXRole", "AXPosition", "AXSize"}) {
    const auto window = elementOf({.frame = frame, .attributeThatFails = attribute});
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(window->copyAttributeValue(attribute), AccessibilityValue()) << attribute;
  }
  const auto inner = elementOf({.frame = frame, .depth = 1, .attributeThatFails = "AXParent"});
  ASSERT_NE(inner, nullptr);
  EXPECT_EQ(inner->copyAttributeValue("AXParent"), AccessibilityValue());
}

TEST_P(AccessibilityContract, AttributeThatThereIsNotIsNothing) {
  const auto window = elementOf({.frame = frame});
  ASSERT_NE(window, nullptr);
  EXPECT_EQ(window->copyAttributeValue("AXNoSuchThing"), AccessibilityValue());
  EXPECT_EQ(window->copyAttributeValue(""), AccessibilityValue());
}

TEST_P(AccessibilityContract, PositionThatIsSetIsThePositionFromThenOn) {
  const auto window = elementOf({.frame = frame});
  ASSERT_NE(window, nullptr);
  EXPECT_TRUE(window->setAttributeValue("AXPosition", {-20.5, 30}));
  EXPECT_EQ(window->copyAttributeValue("AXPosition"), AccessibilityValue(Point{-20.5, 30}));
  EXPECT_EQ(window->copyAttributeValue("AXSize"), AccessibilityValue(Size{300, 200}));
  EXPECT_EQ(accessibility->copyElementAtPosition(150, 650), nullptr);
  EXPECT_NE(accessibility->copyElementAtPosition(0, 50), nullptr);
}

TEST_P(AccessibilityContract, PositionThatCannotBeSetStays) {
  const auto window = elementOf({.frame = frame, .canBeMoved = false});
  ASSERT_NE(window, nullptr);
  EXPECT_FALSE(window->setAttributeValue("AXPosition", {1, 2}));
  EXPECT_EQ(window->copyAttributeValue("AXPosition"), AccessibilityValue(Point{100, 600}));
}

TEST_P(AccessibilityContract, AttributeThatHoldsNoPointCannotBeSet) {
  const auto window = elementOf({.frame = frame});
  ASSERT_NE(window, nullptr);
  EXPECT_FALSE(window->setAttributeValue("AXSize", {1, 2}));
  EXPECT_FALSE(window->setAttributeValue("AXNoSuchThing", {1, 2}));
  EXPECT_EQ(window->copyAttributeValue("AXPosition"), AccessibilityValue(Point{100, 600}));
  EXPECT_EQ(window->copyAttributeValue("AXSize"), AccessibilityValue(Size{300, 200}));
}

TEST_P(AccessibilityContract, ElementOfAClosedWindowFailsInEverything) {
  const auto window = elementOf({.frame = frame});
  ASSERT_NE(window, nullptr);
  backend->closeWindow();
  EXPECT_EQ(window->copyAttributeValue("AXRole"), AccessibilityValue());
  EXPECT_EQ(window->copyAttributeValue("AXPosition"), AccessibilityValue());
  EXPECT_FALSE(window->setAttributeValue("AXPosition", {1, 2}));
  EXPECT_EQ(accessibility->copyElementAtPosition(150, 650), nullptr);
}

INSTANTIATE_TEST_SUITE_P(On, ScreensContract, testing::ValuesIn(scriptedBackends()), backendName);
INSTANTIATE_TEST_SUITE_P(On, PointerEventsContract, testing::ValuesIn(scriptedBackends()),
                         backendName);
INSTANTIATE_TEST_SUITE_P(On, AccessibilityContract, testing::ValuesIn(scriptedBackends()),
                         backendName);

}  // namespace
}  // namespace tessline::test
