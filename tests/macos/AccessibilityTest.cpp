#include "tessline/platform/macos/AccessibilityElements.h"
#include "tests/support/GeometryPrinting.h"

#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include <gtest/gtest.h>
#include <standin/accessibility.h>
#include <standin/corefoundation.h>

namespace tessline::test {
namespace {

namespace ax = standin::accessibility;
using platform::AccessibilityValue;
using platform::OtherAccessibilityValue;
using Calls = std::vector<std::string>;
using Element = std::shared_ptr<platform::AccessibilityElement>;

constexpr AXError everyError[] = {
    kAXErrorFailure,
    kAXErrorIllegalArgument,
    kAXErrorInvalidUIElement,
    kAXErrorCannotComplete,
    kAXErrorAttributeUnsupported,
    kAXErrorNotImplemented,
    kAXErrorAPIDisabled,
    kAXErrorNoValue,
};

// One window of 300 x 200 points at (100, 600), the element 1. Expects at the end that every object
// has been released.
class AccessibilityTest : public testing::Test {
 protected:
  AccessibilityTest() {
    ax::reset();
    window = ax::makeElement();
    give("AXPosition", CGPoint{100, 600});
    give("AXSize", CGSize{300, 200});
    ax::show(window, window);
  }
  AccessibilityTest(const AccessibilityTest&) = delete;
  AccessibilityTest& operator=(const AccessibilityTest&) = delete;
  ~AccessibilityTest() override { EXPECT_EQ(standin::liveCFObjects(), objectsBefore); }

  void give(const std::string& attribute, ax::Value value) {
    ax::setAttribute(window, attribute, {std::move(value), kAXErrorSuccess, kAXErrorSuccess});
  }
  Element find() { return accessibility->copyElementAtPosition(150, 650); }
  // As it is copied from the window.
  AccessibilityValue copied(ax::Value value) {
    give("AXThing", std::move(value));
    return find()->copyAttributeValue("AXThing");
  }
  Calls takeCalls() {
    Calls calls = ax::calls();
    ax::clearCalls();
    return calls;
  }

  const long objectsBefore = standin::liveCFObjects();
  ax::Element window;
  const std::shared_ptr<platform::Accessibility> accessibility =
      platform::makeAccessibilityElements();
};

TEST_F(AccessibilityTest, TrustIsAskedForEachTime) {
  EXPECT_TRUE(accessibility->isProcessTrusted());
  ax::setTrusted(false);
  EXPECT_FALSE(accessibility->isProcessTrusted());
  EXPECT_EQ(takeCalls(), (Calls{"AXIsProcessTrusted", "AXIsProcessTrusted"}));
}

TEST_F(AccessibilityTest, ElementIsLookedForInTheWholeSystem) {
  EXPECT_NE(accessibility->copyElementAtPosition(112.5F, 603), nullptr);
  EXPECT_EQ(takeCalls(), (Calls{"AXUIElementCreateSystemWide",
                                "AXUIElementCopyElementAtPosition system 112.5 603"}));
}

TEST_F(AccessibilityTest, LookingLeavesOneReferenceBehindOrNone) {
  Element found = find();
  EXPECT_EQ(standin::liveCFObjects(), objectsBefore + 1);
  found = accessibility->copyElementAtPosition(-1, -1);
  EXPECT_EQ(found, nullptr);
  EXPECT_EQ(standin::liveCFObjects(), objectsBefore);
}

TEST_F(AccessibilityTest, WhatIsFoundAsNothingIsNull) {
  ax::show(window, {});
  EXPECT_EQ(find(), nullptr);
}

TEST_F(AccessibilityTest, ProcessThatIsNotTrustedLearnsNothing) {
  const Element element = find();
  ax::setTrusted(false);
  EXPECT_EQ(find(), nullptr);
  EXPECT_EQ(element->copyAttributeValue("AXSize"), AccessibilityValue());
  EXPECT_FALSE(element->setAttributeValue("AXPosition", {1, 2}));
}

TEST_F(AccessibilityTest, AttributeIsAskedForByItsName) {
  const Element element = find();
  takeCalls();
  element->copyAttributeValue("AXRole");
  element->copyAttributeValue("AXGröße");
  EXPECT_EQ(takeCalls(), (Calls{"AXUIElementCopyAttributeValue 1 AXRole",
                                "AXUIElementCopyAttributeValue 1 AXGröße"}));
}

TEST_F(AccessibilityTest, NameThatIsNoTextIsOfNoAttribute) {
  const Element element = find();
  takeCalls();
  EXPECT_EQ(element->copyAttributeValue("AX\xFF"), AccessibilityValue());
  EXPECT_FALSE(element->setAttributeValue("AX\xFF", {1, 2}));
  for (const std::string& call : takeCalls()) EXPECT_EQ(call.rfind("AXUIElement", 0), call.npos);
}

TEST_F(AccessibilityTest, TextIsText) {
  EXPECT_EQ(copied(standin::CFValue("AXWindow")), AccessibilityValue(std::string("AXWindow")));
  EXPECT_EQ(copied(standin::CFValue("")), AccessibilityValue(std::string()));
  EXPECT_EQ(copied(standin::CFValue("Größe 😀")), AccessibilityValue(std::string("Größe 😀")));
  EXPECT_EQ(copied(standin::CFValue(u"a\xD800z")), AccessibilityValue(std::string("a\uFFFDz")));
}

TEST_F(AccessibilityTest, PointsAndSizesAreToldApart) {
  EXPECT_EQ(copied(CGPoint{-1.5, 2}), AccessibilityValue(Point{-1.5, 2}));
  EXPECT_EQ(copied(CGSize{3, 4.25}), AccessibilityValue(Size{3, 4.25}));
}

TEST_F(AccessibilityTest, AllElseIsOfAnotherType) {
  const ax::Value others[] = {CGRect{{1, 2}, {3, 4}},         CFRange{1, 2},
                              standin::CFValue(1.5),          standin::CFValue(true),
                              standin::CFValue(INT64_C(600)), standin::CFValue(standin::CFBytes())};
  for (const ax::Value& other : others) {
    EXPECT_EQ(copied(other), AccessibilityValue(OtherAccessibilityValue())) << other.index();
  }
}

TEST_F(AccessibilityTest, SuccessWithoutAValueIsNone) {
  EXPECT_EQ(copied(std::monostate()), AccessibilityValue());
}

TEST_F(AccessibilityTest, EveryErrorIsNone) {
  const Element element = find();
  for (const AXError error : everyError) {
    ax::setAttribute(window, "AXThing", {CGPoint{1, 2}, error});
    EXPECT_EQ(element->copyAttributeValue("AXThing"), AccessibilityValue()) << error;
  }
}

TEST_F(AccessibilityTest, ValuesAreReleasedOnceTheyAreRead) {
  const Element element = find();
  const long before = standin::liveCFObjects();
  for (const ax::Value& value : {ax::Value(standin::CFValue("text")), ax::Value(CGPoint{1, 2}),
                                 ax::Value(CGSize{1, 2}), ax::Value(CFRange{1, 2})}) {
    give("AXThing", value);
    element->copyAttributeValue("AXThing");
    EXPECT_EQ(standin::liveCFObjects(), before) << value.index();
  }
}

TEST_F(AccessibilityTest, ElementOutlivesTheOneThatItIsCopiedFrom) {
  const ax::Element parent = ax::makeElement();
  ax::setAttribute(parent, "AXRole", {standin::CFValue("AXApplication")});
  const AccessibilityValue value = copied(parent);
  const auto element = std::get<Element>(value);
  EXPECT_EQ(standin::liveCFObjects(), objectsBefore + 1);
  EXPECT_EQ(element->copyAttributeValue("AXRole"),
            AccessibilityValue(std::string("AXApplication")));
}

TEST_F(AccessibilityTest, PointIsSetAsAValueOfItsType) {
  const Element element = find();
  takeCalls();
  EXPECT_TRUE(element->setAttributeValue("AXPosition", {-20.5, 30}));
  EXPECT_EQ(takeCalls(), (Calls{"AXValueCreate 1", "AXUIElementSetAttributeValue 1 AXPosition 1"}));
  EXPECT_EQ(element->copyAttributeValue("AXPosition"), AccessibilityValue(Point{-20.5, 30}));
}

TEST_F(AccessibilityTest, EveryErrorOfSettingIsFalse) {
  const Element element = find();
  const long before = standin::liveCFObjects();
  for (const AXError error : everyError) {
    ax::setAttribute(window, "AXPosition", {CGPoint{1, 2}, kAXErrorSuccess, error});
    EXPECT_FALSE(element->setAttributeValue("AXPosition", {3, 4})) << error;
  }
  EXPECT_EQ(standin::liveCFObjects(), before);
}

TEST_F(AccessibilityTest, ValueThatCannotBeMadeIsNotSet) {
  const Element element = find();
  ax::setValuesCanBeCreated(false);
  takeCalls();
  EXPECT_FALSE(element->setAttributeValue("AXPosition", {3, 4}));
  EXPECT_EQ(takeCalls(), Calls{"AXValueCreate 1"});
}

TEST_F(AccessibilityTest, ElementsAreUsedByAnyThread) {
  const Element element = find();
  constexpr int count = 3;
  std::vector<std::thread> threads;
  threads.reserve(count);
  for (int number = 0; number < count; ++number) {
    threads.emplace_back([&, place = Point{static_cast<double>(number), 600}] {
      for (int turn = 0; turn < 50; ++turn) {
        EXPECT_TRUE(element->setAttributeValue("AXPosition", place));
        const auto position = element->copyAttributeValue("AXPosition");
        EXPECT_EQ(std::get<Point>(position).y, 600);
        EXPECT_NE(accessibility->copyElementAtPosition(50, 650), nullptr);
      }
    });
  }
  for (auto& thread : threads) thread.join();
}

}  // namespace
}  // namespace tessline::test
