#include "tests/touch/ClamperFixture.h"

namespace tessline::test {
namespace {

// Which window an element belongs to.

using WindowAncestor = ClamperTest;

TEST_F(WindowAncestor, OfAWindowIsItself) {
  const Element window = windowElementOf({{0, 0}, {10, 10}});
  EXPECT_EQ(Clamper::windowAncestor(window), window);
  EXPECT_EQ(calls(), Lines{"w AXRole"});
}

TEST_F(WindowAncestor, IsLookedForUpwards) {
  const Element window = windowElementOf({{0, 0}, {10, 10}});
  EXPECT_EQ(Clamper::windowAncestor(group("a", group("b", window))), window);
  EXPECT_EQ(calls(), (Lines{"a AXRole", "a AXParent", "b AXRole", "b AXParent", "w AXRole"}));
}

TEST_F(WindowAncestor, IsTheNearestWindow) {
  const Element outer = windowElementOf({{0, 0}, {10, 10}});
  const Element inner =
      element("inner", {{"AXRole", std::string("AXWindow")}, {"AXParent", outer}});
  EXPECT_EQ(Clamper::windowAncestor(group("a", inner)), inner);
}

TEST_F(WindowAncestor, IsFoundAsTheTwelfthElement) {
  const Element window = windowElementOf({{0, 0}, {10, 10}});
  Element chain = window;
  for (int depth = 0; depth < 11; ++depth) chain = group("g", chain);
  EXPECT_EQ(Clamper::windowAncestor(chain), window);
}

TEST_F(WindowAncestor, IsNotLookedForBeyondTheTwelfthElement) {
  Element chain = windowElementOf({{0, 0}, {10, 10}});
  for (int depth = 0; depth < 12; ++depth) chain = group("g", chain);
  EXPECT_EQ(Clamper::windowAncestor(chain), nullptr);
  EXPECT_EQ(countOfCallsEnding("g AXRole"), 12);
  EXPECT_EQ(countOfCallsEnding("w AXRole"), 0);
}

TEST_F(WindowAncestor, IsNotLookedForInCirclesForEver) {
  std::weak_ptr<platform::AccessibilityElement> self;
  const auto circle =
      std::make_shared<SimulatedElement>("circle", std::shared_ptr<CallLog>(host, &host->calls()),
                                         [&](std::string_view attribute) -> AccessibilityValue {
                                           if (attribute == "AXParent") return self.lock();
                                           return std::string("AXGroup");
                                         });
  self = circle;
  EXPECT_EQ(Clamper::windowAncestor(circle), nullptr);
  EXPECT_EQ(countOfCallsEnding("circle AXRole"), 12);
}

TEST_F(WindowAncestor, NeedsTheRoleOfAWindow) {
  const Element window = windowElementOf({{0, 0}, {10, 10}});
  const std::vector<AccessibilityValue> otherRoles = {std::monostate(),
                                                      std::string(),
                                                      std::string("AXwindow"),
                                                      std::string("Window"),
                                                      std::string("AXSheet"),
                                                      std::string("AXWindows"),
                                                      Point{1, 2},
                                                      Size{1, 2},
                                                      window,
                                                      Element(),
                                                      platform::OtherAccessibilityValue()};
  for (const AccessibilityValue& role : otherRoles) {
    const Element alone = element("a", {{"AXRole", role}});
    EXPECT_EQ(Clamper::windowAncestor(alone), nullptr);
    const Element child = element("a", {{"AXRole", role}, {"AXParent", window}});
    EXPECT_EQ(Clamper::windowAncestor(child), window);
  }
}

TEST_F(WindowAncestor, IsNoneWhereNoParentIs) {
  const std::vector<AccessibilityValue> noParents = {
      std::monostate(), Element(),  std::string("AXWindow"),
      Point{1, 2},      Size{1, 2}, platform::OtherAccessibilityValue()};
  for (const AccessibilityValue& parent : noParents) {
    host->calls().clear();
    EXPECT_EQ(Clamper::windowAncestor(group("a", group("b", parent))), nullptr);
    EXPECT_EQ(calls(), (Lines{"a AXRole", "a AXParent", "b AXRole", "b AXParent"}));
  }
}

// The window at a place.

using WindowElement = ClamperTest;

TEST_F(WindowElement, IsTheWindowOfWhatIsHit) {
  showWindow({{100, 50}, {300, 200}}, 2);
  const Element window = hit({150, 60});
  ASSERT_NE(window, nullptr);
  EXPECT_EQ(window->copyAttributeValue("AXPosition"), AccessibilityValue(Point{100, 50}));
}

TEST_F(WindowElement, IsAskedOfTheHostOnce) {
  showWindow({{100, 50}, {300, 200}}, 1);
  hit({150, 60});
  EXPECT_EQ(calls(), (Lines{"at 150,60", "w/1 AXRole", "w/1 AXParent", "w AXRole"}));
}

TEST_F(WindowElement, IsNoneWhereNothingIsHit) {
  showWindow({{100, 50}, {300, 200}});
  EXPECT_EQ(hit({99, 60}), nullptr);
  EXPECT_EQ(calls(), Lines{"at 99,60"});
}

TEST_F(WindowElement, IsNoneWhereWhatIsHitHasNoWindow) {
  showWindow({{100, 50}, {300, 200}}, 1);
  fail("AXParent");
  EXPECT_EQ(hit({150, 60}), nullptr);
}

TEST_F(WindowElement, IsFoundElevenLevelsUpAndNotTwelve) {
  showWindow({{100, 50}, {300, 200}}, 11);
  EXPECT_NE(hit({150, 60}), nullptr);
  showWindow({{100, 50}, {300, 200}}, 12);
  EXPECT_EQ(hit({150, 60}), nullptr);
}

TEST_F(WindowElement, IsAskedForInSinglePrecision) {
  hit({0.1, 16777217});
  const auto& arguments = host->calls().calls().at(0).arguments;
  EXPECT_EQ(std::get<double>(arguments.at(0).second), static_cast<double>(0.1F));
  EXPECT_EQ(std::get<double>(arguments.at(1).second), 16777216.0);
}

// The frame of a window.

using WindowFrame = ClamperTest;

TEST_F(WindowFrame, IsPositionAndSize) {
  const Element window = windowElementOf({{100, 50}, {300, 200}});
  EXPECT_EQ(Clamper::frame(*window), (Rect{{100, 50}, {300, 200}}));
  EXPECT_EQ(calls(), (Lines{"w AXPosition", "w AXSize"}));
}

TEST_F(WindowFrame, IsAsTheWindowWritesIt) {
  const Rect written = {{-100, 50}, {-300, -200}};
  EXPECT_EQ(Clamper::frame(*windowElementOf(written)), written);
}

TEST_F(WindowFrame, NeedsNoRole) {
  const Element panel = element("p", {{"AXPosition", Point{1, 2}}, {"AXSize", Size{3, 4}}});
  EXPECT_EQ(Clamper::frame(*panel), (Rect{{1, 2}, {3, 4}}));
}

TEST_F(WindowFrame, IsNoneIfEitherCannotBeCopied) {
  EXPECT_EQ(Clamper::frame(*element("p", {{"AXSize", Size{3, 4}}})), std::nullopt);
  EXPECT_EQ(Clamper::frame(*element("p", {{"AXPosition", Point{1, 2}}})), std::nullopt);
  EXPECT_EQ(Clamper::frame(*element("p", {})), std::nullopt);
}

TEST_F(WindowFrame, IsNoneIfPositionAndSizeAreSwapped) {
  const Element swapped = element("p", {{"AXPosition", Size{3, 4}}, {"AXSize", Point{1, 2}}});
  EXPECT_EQ(Clamper::frame(*swapped), std::nullopt);
}

TEST_F(WindowFrame, IsNoneIfEitherIsOfAnotherType) {
  const std::vector<AccessibilityValue> others = {std::string("1,2"),
                                                  platform::OtherAccessibilityValue(), Element()};
  for (const AccessibilityValue& other : others) {
    EXPECT_EQ(Clamper::frame(*element("p", {{"AXPosition", other}, {"AXSize", Size{3, 4}}})),
              std::nullopt);
    EXPECT_EQ(Clamper::frame(*element("p", {{"AXPosition", Point{1, 2}}, {"AXSize", other}})),
              std::nullopt);
  }
  EXPECT_EQ(Clamper::frame(*element("p", {{"AXPosition", Size{1, 2}}, {"AXSize", Size{3, 4}}})),
            std::nullopt);
  EXPECT_EQ(Clamper::frame(*element("p", {{"AXPosition", Point{1, 2}}, {"AXSize", Point{3, 4}}})),
            std::nullopt);
}

TEST_F(WindowFrame, IsCopiedWholeBeforeItsTypesAreLookedAt) {
  Clamper::frame(*element("p", {{"AXPosition", std::string("1,2")}, {"AXSize", Size{3, 4}}}));
  EXPECT_EQ(calls(), (Lines{"p AXPosition", "p AXSize"}));
}

TEST_F(WindowFrame, IsNotAskedForAgainOfWhoDoesNotAnswer) {
  Clamper::frame(*element("p", {{"AXSize", Size{3, 4}}}));
  EXPECT_EQ(calls(), Lines{"p AXPosition"});
}

}  // namespace
}  // namespace tessline::test
