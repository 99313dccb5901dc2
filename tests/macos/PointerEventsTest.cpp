#include "tessline/platform/macos/CoreGraphicsEvents.h"
#include "tests/support/GeometryPrinting.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <standin/accessibility.h>
#include <standin/corefoundation.h>
#include <standin/events.h>

namespace tessline::test {
namespace {

using platform::MouseEventType;
using Calls = std::vector<std::string>;
using Fields = std::map<CGEventField, std::int64_t>;

// Expects at the end that every event has been released.
class PointerEventsTest : public testing::Test {
 protected:
  PointerEventsTest() {
    standin::accessibility::reset();
    standin::events::reset();
  }
  PointerEventsTest(const PointerEventsTest&) = delete;
  PointerEventsTest& operator=(const PointerEventsTest&) = delete;
  ~PointerEventsTest() override { EXPECT_EQ(standin::liveCFObjects(), objectsBefore); }

  Calls takeCalls() {
    Calls calls = standin::events::calls();
    standin::events::clearCalls();
    return calls;
  }

  const long objectsBefore = standin::liveCFObjects();
  const std::shared_ptr<platform::PointerEvents> events = platform::makeCoreGraphicsEvents();
};

TEST_F(PointerEventsTest, LocationIsThatOfAnEmptyEvent) {
  standin::events::setPointer(CGPoint{-5, 12.25});
  EXPECT_EQ(events->currentLocation(), (Point{-5, 12.25}));
  EXPECT_EQ(takeCalls(), (Calls{"CGEventCreate", "CGEventGetLocation"}));
}

TEST_F(PointerEventsTest, WithoutAnEventThereIsNoLocation) {
  standin::events::setPointer(std::nullopt);
  EXPECT_EQ(events->currentLocation(), std::nullopt);
  EXPECT_EQ(takeCalls(), Calls{"CGEventCreate"});
}

TEST_F(PointerEventsTest, MouseEventsAreOfTheLeftButtonAndEnterWhereThoseOfDevicesDo) {
  EXPECT_TRUE(events->postMouseEvent(MouseEventType::leftMouseDown, {1, 2}, std::nullopt));
  EXPECT_TRUE(events->postMouseEvent(MouseEventType::leftMouseUp, {3, 4}, std::nullopt));
  EXPECT_TRUE(events->postMouseEvent(MouseEventType::mouseMoved, {10.5, -20}, std::nullopt));
  EXPECT_TRUE(events->postMouseEvent(MouseEventType::leftMouseDragged, {7, 8}, std::nullopt));
  EXPECT_EQ(takeCalls(), (Calls{"CGEventCreateMouseEvent 1 1 2 0", "CGEventPost 0",
                                "CGEventCreateMouseEvent 2 3 4 0", "CGEventPost 0",
                                "CGEventCreateMouseEvent 5 10.5 -20 0", "CGEventPost 0",
                                "CGEventCreateMouseEvent 6 7 8 0", "CGEventPost 0"}));
}

TEST_F(PointerEventsTest, ClickStateIsSetBeforeTheEventIsPosted) {
  constexpr std::int64_t clickState = INT64_C(0x1'0000'0002);
  EXPECT_TRUE(events->postMouseEvent(MouseEventType::leftMouseDown, {1, 2}, clickState));
  EXPECT_EQ(takeCalls(), (Calls{"CGEventCreateMouseEvent 1 1 2 0",
                                "CGEventSetIntegerValueField 1 4294967298", "CGEventPost 0"}));
  EXPECT_EQ(standin::events::posts().front().fields,
            (Fields{{kCGMouseEventClickState, clickState}}));
}

TEST_F(PointerEventsTest, NoFieldIsSetWithoutAClickState) {
  events->postMouseEvent(MouseEventType::leftMouseUp, {1, 2}, std::nullopt);
  events->postMouseEvent(MouseEventType::leftMouseUp, {1, 2}, 0);
  EXPECT_EQ(standin::events::posts().at(0).fields, Fields());
  EXPECT_EQ(standin::events::posts().at(1).fields, (Fields{{kCGMouseEventClickState, 0}}));
}

TEST_F(PointerEventsTest, ScrollEventsHaveTwoWheelsInPixels) {
  constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();
  EXPECT_TRUE(events->postScrollEvent(-5, 6));
  EXPECT_TRUE(events->postScrollEvent(0, least));
  EXPECT_EQ(takeCalls(),
            (Calls{"CGEventCreateScrollWheelEvent2 0 2 -5 6 0", "CGEventPost 0",
                   "CGEventCreateScrollWheelEvent2 0 2 0 -2147483648 0", "CGEventPost 0"}));
}

TEST_F(PointerEventsTest, WhatCannotBeMadeIsNotTouched) {
  standin::events::setCanBeCreated(false);
  EXPECT_FALSE(events->postMouseEvent(MouseEventType::leftMouseDown, {1, 2}, 1));
  EXPECT_FALSE(events->postScrollEvent(3, 4));
  EXPECT_EQ(takeCalls(),
            (Calls{"CGEventCreateMouseEvent 1 1 2 0", "CGEventCreateScrollWheelEvent2 0 2 3 4 0"}));
}

TEST_F(PointerEventsTest, EachEventIsReleasedOnceItIsPosted) {
  events->currentLocation();
  EXPECT_EQ(standin::liveCFObjects(), objectsBefore);
  events->postMouseEvent(MouseEventType::leftMouseDown, {1, 2}, 1);
  EXPECT_EQ(standin::liveCFObjects(), objectsBefore);
  events->postScrollEvent(1, 2);
  EXPECT_EQ(standin::liveCFObjects(), objectsBefore);
}

// The system tells nobody, so that this is as much as can be said.
TEST_F(PointerEventsTest, PostsOfAProcessThatIsNotTrustedAreLost) {
  standin::accessibility::setTrusted(false);
  EXPECT_TRUE(events->postMouseEvent(MouseEventType::mouseMoved, {1, 2}, std::nullopt));
  EXPECT_TRUE(events->postScrollEvent(3, 4));
  EXPECT_TRUE(standin::events::posts().empty());
  EXPECT_EQ(events->currentLocation(), (Point{100, 200}));
}

TEST_F(PointerEventsTest, EventsOfEachThreadStayInOrder) {
  constexpr std::int32_t count = 100;
  const auto scroll = [&](std::int32_t thread) {
    for (std::int32_t number = 0; number < count; ++number) {
      events->postScrollEvent(thread, number);
    }
  };
  std::thread first([&] { scroll(1); });
  std::thread second([&] { scroll(2); });
  first.join();
  second.join();
  for (const std::int32_t thread : {1, 2}) {
    std::vector<std::int32_t> numbers;
    for (const auto& post : standin::events::posts()) {
      if (post.wheels.at(0) == thread) numbers.push_back(post.wheels.at(1));
    }
    EXPECT_EQ(numbers.size(), static_cast<std::size_t>(count));
    EXPECT_TRUE(std::ranges::is_sorted(numbers));
  }
}

}  // namespace
}  // namespace tessline::test
