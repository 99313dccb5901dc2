#include "tessline/platform/simulated/SimulatedHost.h"
#include "tessline/touch/DragWindowBoundsClamper.h"
#include "tests/support/GeometryPrinting.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using platform::AccessibilityValue;
using platform::simulated::CallLog;
using platform::simulated::PlatformCall;
using platform::simulated::SimulatedElement;
using platform::simulated::SimulatedHost;
using Clamper = DragWindowBoundsClamper;
using Element = Clamper::Element;
using Attributes = std::map<std::string, AccessibilityValue, std::less<>>;
using Lines = std::vector<std::string>;

// Whatever the place, the same element is shown there.
class OneElementEverywhere : public platform::Accessibility {
 public:
  explicit OneElementEverywhere(Element element) : element_(std::move(element)) {}

  bool isProcessTrusted() override { return true; }
  Element copyElementAtPosition(float, float) override { return element_; }

 private:
  Element element_;
};

std::string numberText(double number) {
  return std::to_string(static_cast<int>(number));
}

// "w AXRole" for a look, "w AXPosition 1,2" for a move, "at 1,2" for a hit test.
std::string lineOf(const PlatformCall& call) {
  const auto text = [&](std::size_t index) {
    return std::get<std::string>(call.arguments.at(index).second);
  };
  const auto number = [&](std::size_t index) {
    return numberText(std::get<double>(call.arguments.at(index).second));
  };
  if (call.operation == "AXUIElementCopyElementAtPosition") {
    return "at " + number(0) + "," + number(1);
  }
  if (call.operation == "AXUIElementCopyAttributeValue") return text(0) + " " + text(1);
  if (call.operation == "AXUIElementSetAttributeValue") {
    return text(0) + " " + text(1) + " " + number(2) + "," + number(3);
  }
  return call.operation;
}

class ClamperTest : public testing::Test {
 protected:
  ClamperTest() { setScreens({primary}); }

  // An element of these attributes; all others fail.
  Element element(const std::string& name, Attributes attributes) {
    return std::make_shared<SimulatedElement>(
        name, std::shared_ptr<CallLog>(host, &host->calls()),
        [attributes = std::move(attributes)](std::string_view attribute) {
          const auto found = attributes.find(attribute);
          return found == attributes.end() ? AccessibilityValue() : found->second;
        });
  }
  Element windowElementOf(const Rect& frame) {
    return element("w", {{"AXRole", std::string("AXWindow")},
                         {"AXPosition", frame.origin},
                         {"AXSize", frame.size}});
  }
  Element group(const std::string& name, AccessibilityValue parent) {
    return element(name, {{"AXRole", std::string("AXGroup")}, {"AXParent", std::move(parent)}});
  }

  // The desktop's window `w`, with `depth` elements between it and what is hit.
  void showWindow(const Rect& frame, int depth = 0) {
    platform::simulated::SimulatedWindow window;
    window.name = "w";
    window.frame = frame;
    window.depth = depth;
    host->desktop().setWindow(window);
  }
  void changeWindow(const std::function<void(platform::simulated::SimulatedWindow&)>& change) {
    auto window = host->desktop().windows().front();
    change(window);
    host->desktop().setWindow(window);
  }
  void fail(const std::string& attribute) {
    changeWindow([&](auto& window) { window.failingAttributes.insert(attribute); });
  }
  Rect windowFrame() const { return host->desktop().windows().front().frame; }
  void setScreens(platform::ScreenFrames frames) { host->desktop().setScreens(std::move(frames)); }

  Element hit(Point point) { return Clamper::windowElement(accessibility, point); }
  // Of a window that shows somewhere on the screens; what it takes to find it is no longer noted.
  bool clampShownWindow() {
    const Element window = shownWindow();
    host->calls().clear();
    return Clamper::clampWindowToScreens(screens, *window);
  }
  Element shownWindow() {
    const Rect frame = windowFrame();
    return hit({frame.minX() + frame.width() / 2, frame.minY() + frame.height() / 2});
  }
  bool clampWindowAt(const Rect& frame) {
    showWindow(frame);
    return clampShownWindow();
  }
  Rect screenUnion() { return Clamper::screenUnionInQuartzCoordinates(screens); }
  Point clamp(Point point) { return Clamper::clampQuartzPointToScreens(screens, point); }
  bool isTitleBar(const Rect& frame, Point point) {
    OneElementEverywhere everywhere(windowElementOf(frame));
    return Clamper::isTitleBarRegion(everywhere, point);
  }
  Lines calls() const {
    Lines lines;
    for (const PlatformCall& call : host->calls().calls()) lines.push_back(lineOf(call));
    return lines;
  }
  std::ptrdiff_t countOfCallsEnding(std::string_view end) const {
    const Lines lines = calls();
    return std::ranges::count_if(lines, [&](const auto& line) { return line.ends_with(end); });
  }

  static constexpr Rect primary = {{0, 0}, {1440, 900}};

  std::shared_ptr<SimulatedHost> host = SimulatedHost::create();
  platform::Screens& screens = host->desktop().screens();
  platform::Accessibility& accessibility = host->desktop().accessibility();
};

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

// From the coordinates of the window system to global ones.

using QuartzRect = ClamperTest;

TEST_F(QuartzRect, HangsFromTheTopOfThePrimaryScreen) {
  EXPECT_EQ(Clamper::quartzRect(screens, primary), primary);
  EXPECT_EQ(Clamper::quartzRect(screens, {{100, 200}, {300, 50}}), (Rect{{100, 650}, {300, 50}}));
}

TEST_F(QuartzRect, MayLieOutsideOfThePrimaryScreen) {
  EXPECT_EQ(Clamper::quartzRect(screens, {{-1920, -180}, {1920, 1080}}),
            (Rect{{-1920, 0}, {1920, 1080}}));
  EXPECT_EQ(Clamper::quartzRect(screens, {{200, 900}, {1000, 500}}),
            (Rect{{200, -500}, {1000, 500}}));
}

TEST_F(QuartzRect, TakesTheFirstScreenForThePrimaryOne) {
  setScreens({{{-10, -20}, {640, 480}}, primary});
  EXPECT_EQ(Clamper::quartzRect(screens, {{5, 10}, {20, 30}}), (Rect{{5, 420}, {20, 30}}));
  setScreens({primary, {{1440, 0}, {640, 2000}}});
  EXPECT_EQ(Clamper::quartzRect(screens, {{5, 10}, {20, 30}}), (Rect{{5, 860}, {20, 30}}));
}

TEST_F(QuartzRect, WithoutScreensIsMeasuredFromItself) {
  setScreens({});
  EXPECT_EQ(Clamper::quartzRect(screens, {{100, 200}, {300, 50}}), (Rect{{100, 0}, {300, 50}}));
  EXPECT_EQ(Clamper::quartzRect(screens, {{-7, -90}, {300, 50}}), (Rect{{-7, 0}, {300, 50}}));
}

// All screens together.

using ScreenUnion = ClamperTest;

TEST_F(ScreenUnion, OfOneScreenIsThatScreen) {
  EXPECT_EQ(screenUnion(), primary);
}

TEST_F(ScreenUnion, WithoutScreensIsNull) {
  setScreens({});
  EXPECT_EQ(screenUnion(), Rect::null());
}

TEST_F(ScreenUnion, ReachesToTheRightAndBelow) {
  setScreens({primary, {{1440, -300}, {1000, 1200}}});
  EXPECT_EQ(screenUnion(), (Rect{{0, 0}, {2440, 1200}}));
}

TEST_F(ScreenUnion, ReachesToTheLeftAndAbove) {
  setScreens({primary, {{-1920, -180}, {1920, 1080}}, {{0, 900}, {1440, 900}}});
  EXPECT_EQ(screenUnion(), (Rect{{-1920, -900}, {3360, 1980}}));
}

TEST_F(ScreenUnion, HoldsTheGapsBetweenScreens) {
  setScreens({primary, {{3000, 2000}, {100, 100}}});
  EXPECT_EQ(screenUnion(), (Rect{{0, -1200}, {3100, 2100}}));
}

TEST_F(ScreenUnion, HangsFromTheFirstScreenWhicheverIsTheHighest) {
  setScreens({{{1440, 100}, {800, 600}}, primary});
  EXPECT_EQ(screenUnion(), (Rect{{0, -200}, {2240, 900}}));
}

TEST_F(ScreenUnion, CountsAnEmptyScreen) {
  setScreens({primary, {{2000, 1000}, {0, 0}}});
  EXPECT_EQ(screenUnion(), (Rect{{0, -100}, {2000, 1000}}));
}

TEST_F(ScreenUnion, IsReadAnewEachTime) {
  EXPECT_EQ(screenUnion(), primary);
  setScreens({{{0, 0}, {800, 600}}});
  EXPECT_EQ(screenUnion(), (Rect{{0, 0}, {800, 600}}));
}

// Where a window has to go. Each row is one axis, with screens from -200 to 800.

struct AxisRow {
  std::string name;
  double start;
  double length;
  double expected;
};

class ClampedAxis : public testing::TestWithParam<AxisRow> {};

TEST_P(ClampedAxis, KeepsTheWindowInSightAcross) {
  const AxisRow& row = GetParam();
  EXPECT_EQ(Clamper::clampedOrigin({{row.start, 40}, {row.length, 10}}, {{-200, 30}, {1000, 60}}),
            (Point{row.expected, 40}));
}

TEST_P(ClampedAxis, KeepsTheWindowInSightUpAndDown) {
  const AxisRow& row = GetParam();
  EXPECT_EQ(Clamper::clampedOrigin({{40, row.start}, {10, row.length}}, {{30, -200}, {60, 1000}}),
            (Point{40, row.expected}));
}

TEST_P(ClampedAxis, TakesScreensHoweverTheyAreWritten) {
  const AxisRow& row = GetParam();
  EXPECT_EQ(Clamper::clampedOrigin({{row.start, 40}, {row.length, 10}}, {{800, 90}, {-1000, -60}}),
            (Point{row.expected, 40}));
}

std::string axisRowName(const testing::TestParamInfo<AxisRow>& info) {
  return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Smaller, ClampedAxis,
                         testing::Values(AxisRow{"Within", 100, 300, 100},
                                         AxisRow{"AtTheLowEdge", -200, 300, -200},
                                         AxisRow{"BeyondTheLowEdge", -201, 300, -200},
                                         AxisRow{"FarBeyondTheLowEdge", -5000, 300, -200},
                                         AxisRow{"AtTheHighEdge", 500, 300, 500},
                                         AxisRow{"BeyondTheHighEdge", 500.5, 300, 500},
                                         AxisRow{"FarBeyondTheHighEdge", 5000, 300, 500},
                                         AxisRow{"OneThatHasNoLength", 900, 0, 800},
                                         AxisRow{"OneOfNegativeLength", -100, -300, -200}),
                         axisRowName);

INSTANTIATE_TEST_SUITE_P(Equal, ClampedAxis,
                         testing::Values(AxisRow{"InPlace", -200, 1000, -200},
                                         AxisRow{"TooLow", -300, 1000, -200},
                                         AxisRow{"TooHigh", 300, 1000, -200}),
                         axisRowName);

INSTANTIATE_TEST_SUITE_P(Larger, ClampedAxis,
                         testing::Values(AxisRow{"AcrossBothEdges", -300, 1500, -300},
                                         AxisRow{"LastPointsAtTheLowEdge", -1652, 1500, -1652},
                                         AxisRow{"BeyondTheLowEdge", -1652.5, 1500, -1652},
                                         AxisRow{"FarBeyondTheLowEdge", -9000, 1500, -1652},
                                         AxisRow{"FirstPointsAtTheHighEdge", 752, 1500, 752},
                                         AxisRow{"BeyondTheHighEdge", 752.5, 1500, 752},
                                         AxisRow{"FarBeyondTheHighEdge", 9000, 1500, 752},
                                         AxisRow{"ByHalfAPointWithin", 700, 1000.5, 700},
                                         AxisRow{"ByHalfAPointTooLow", -1153, 1000.5, -1152.5}),
                         axisRowName);

TEST(ClampedOrigin, TreatsEachAxisForItself) {
  const Rect within = {{0, 0}, {1000, 500}};
  EXPECT_EQ(Clamper::clampedOrigin({{-1900, -30}, {1500, 200}}, within), (Point{-1452, 0}));
  EXPECT_EQ(Clamper::clampedOrigin({{990, 990}, {200, 600}}, within), (Point{800, 452}));
  EXPECT_EQ(Clamper::clampedOrigin({{10, -1000}, {1000, 501}}, within), (Point{0, -453}));
}

TEST(ClampedOrigin, LetsTheHighEdgeWinWhereScreensAreTooNarrowForThePartInSight) {
  const Rect within = {{0, 0}, {40, 40}};
  EXPECT_EQ(Clamper::clampedOrigin({{5, -500}, {50, 50}}, within), (Point{-8, -8}));
}

// Moving a window.

using ClampWindow = ClamperTest;

TEST_F(ClampWindow, MovesItBackToTheScreens) {
  EXPECT_TRUE(clampWindowAt({{-30, 800}, {400, 300}}));
  EXPECT_EQ(windowFrame(), (Rect{{0, 600}, {400, 300}}));
}

TEST_F(ClampWindow, ReadsTheFrameOnceAndSetsThePositionOnce) {
  clampWindowAt({{-30, 800}, {400, 300}});
  EXPECT_EQ(calls(), (Lines{"w AXPosition", "w AXSize", "w AXPosition 0,600"}));
}

TEST_F(ClampWindow, LeavesOneAloneThatIsOnTheScreens) {
  EXPECT_FALSE(clampWindowAt({{0, 0}, {1440, 900}}));
  EXPECT_EQ(calls(), (Lines{"w AXPosition", "w AXSize"}));
}

TEST_F(ClampWindow, ActsOnOverHalfAPointAlone) {
  const double justMore = 0.5 + 1.0 / 1024;
  for (const Rect& frame :
       {Rect{{-0.5, 10}, {50, 50}}, Rect{{1390.5, 10}, {50, 50}}, Rect{{10, -0.5}, {50, 50}},
        Rect{{10, 850.5}, {50, 50}}, Rect{{-0.5, 850.5}, {50, 50}}}) {
    EXPECT_FALSE(clampWindowAt(frame)) << frame.origin.x << ' ' << frame.origin.y;
    EXPECT_EQ(windowFrame(), frame);
  }
  for (const Rect& frame :
       {Rect{{-justMore, 10}, {50, 50}}, Rect{{1390 + justMore, 10}, {50, 50}},
        Rect{{10, -justMore}, {50, 50}}, Rect{{10, 850 + justMore}, {50, 50}}}) {
    EXPECT_TRUE(clampWindowAt(frame)) << frame.origin.x << ' ' << frame.origin.y;
    EXPECT_NE(windowFrame(), frame);
  }
}

TEST_F(ClampWindow, TakesSmallPartsAlongWithAMove) {
  EXPECT_TRUE(clampWindowAt({{-0.25, -3}, {50, 50}}));
  EXPECT_EQ(windowFrame().origin, (Point{0, 0}));
}

TEST_F(ClampWindow, KeepsAPartOfALargerOneInSight) {
  showWindow({{-5000, -50}, {5040, 100}});
  EXPECT_TRUE(clampShownWindow());
  EXPECT_EQ(windowFrame().origin, (Point{48 - 5040, 0}));
}

TEST_F(ClampWindow, TakesAllScreensForOne) {
  setScreens({primary, {{-1000, 900}, {1000, 500}}});
  EXPECT_FALSE(clampWindowAt({{-900, 700}, {100, 100}}));
  EXPECT_TRUE(clampWindowAt({{-1010, -490}, {100, 100}}));
  EXPECT_EQ(windowFrame().origin, (Point{-1000, -490}));
}

TEST_F(ClampWindow, MovesTheAreaHoweverTheFrameIsWritten) {
  EXPECT_TRUE(clampWindowAt({{100, 300}, {-200, -100}}));
  EXPECT_EQ(windowFrame().origin, (Point{0, 200}));
}

TEST_F(ClampWindow, LeavesAnAreaOnTheScreensAloneHoweverTheFrameIsWritten) {
  EXPECT_FALSE(clampWindowAt({{300, 300}, {-200, -100}}));
  EXPECT_EQ(windowFrame(), (Rect{{300, 300}, {-200, -100}}));
}

TEST_F(ClampWindow, DoesNothingToOneWithoutAFrame) {
  for (const std::string attribute : {"AXPosition", "AXSize"}) {
    showWindow({{-30, 800}, {400, 300}});
    const Element window = shownWindow();
    fail(attribute);
    EXPECT_FALSE(Clamper::clampWindowToScreens(screens, *window)) << attribute;
    EXPECT_EQ(windowFrame().origin, (Point{-30, 800})) << attribute;
  }
}

TEST_F(ClampWindow, DoesNothingWithoutScreens) {
  setScreens({});
  EXPECT_FALSE(clampWindowAt({{-30, 800}, {400, 300}}));
  EXPECT_EQ(calls(), (Lines{"w AXPosition", "w AXSize"}));
}

TEST_F(ClampWindow, DoesNothingOnAScreenThatIsNone) {
  setScreens({{{std::numeric_limits<double>::infinity(), 0}, {1440, 900}}});
  EXPECT_FALSE(clampWindowAt({{-30, 800}, {400, 300}}));
  EXPECT_EQ(calls(), (Lines{"w AXPosition", "w AXSize"}));
}

TEST_F(ClampWindow, DoesNothingOnScreensWithoutArea) {
  for (const Size size : {Size{0, 0}, Size{0, 900}, Size{1440, 0}}) {
    setScreens({{{0, 0}, size}});
    EXPECT_FALSE(clampWindowAt({{-30, 800}, {400, 300}})) << size.width << ' ' << size.height;
    EXPECT_EQ(calls(), (Lines{"w AXPosition", "w AXSize"}));
  }
}

TEST_F(ClampWindow, DoesNothingOnScreensWithoutEnd) {
  setScreens({primary, Rect::infinite()});
  ASSERT_TRUE(screenUnion().isInfinite());
  // So far out that the edges would move it, were they looked at.
  const Element window = windowElementOf({{-1e308, -1e308}, {400, 300}});
  EXPECT_FALSE(Clamper::clampWindowToScreens(screens, *window));
  EXPECT_EQ(calls(), (Lines{"w AXPosition", "w AXSize"}));
}

TEST_F(ClampWindow, IsFalseWhereThePositionCannotBeSet) {
  showWindow({{-30, 800}, {400, 300}});
  changeWindow([](auto& window) { window.canBeMoved = false; });
  EXPECT_FALSE(clampShownWindow());
  EXPECT_EQ(calls(), (Lines{"w AXPosition", "w AXSize", "w AXPosition 0,600"}));
}

// Keeping the pointer in.

using ClampPoint = ClamperTest;

TEST_F(ClampPoint, LeavesPointsOnTheScreensAlone) {
  for (const Point point : {Point{0, 0}, Point{700.25, 449.5}, Point{1439, 899}}) {
    EXPECT_EQ(clamp(point), point);
  }
}

TEST_F(ClampPoint, GoesToTheNearestPlace) {
  EXPECT_EQ(clamp({-0.5, 10}), (Point{0, 10}));
  EXPECT_EQ(clamp({10, -0.5}), (Point{10, 0}));
  EXPECT_EQ(clamp({-5000, -5000}), (Point{0, 0}));
}

TEST_F(ClampPoint, StaysOnePointWithinTheRightAndTheLowerEdge) {
  EXPECT_EQ(clamp({1439.5, 10}), (Point{1439, 10}));
  EXPECT_EQ(clamp({10, 899.5}), (Point{10, 899}));
  EXPECT_EQ(clamp({1440, 900}), (Point{1439, 899}));
  EXPECT_EQ(clamp({5000, 5000}), (Point{1439, 899}));
}

TEST_F(ClampPoint, TakesAllScreensForOne) {
  setScreens({primary, {{-1000, 900}, {1000, 500}}});
  EXPECT_EQ(clamp({-500, 800}), (Point{-500, 800}));
  EXPECT_EQ(clamp({-1001, -501}), (Point{-1000, -500}));
  EXPECT_EQ(clamp({1440, 900}), (Point{1439, 899}));
}

TEST_F(ClampPoint, LetsTheHighEdgeWinOnScreensOfLessThanAPoint) {
  setScreens({{{0, 0}, {0.5, 0.25}}});
  EXPECT_EQ(clamp({10, 10}), (Point{-0.5, -0.75}));
  EXPECT_EQ(clamp({-10, -10}), (Point{-0.5, -0.75}));
}

TEST_F(ClampPoint, ChangesNothingWithoutScreens) {
  setScreens({});
  EXPECT_EQ(clamp({-5000, 5000}), (Point{-5000, 5000}));
}

TEST_F(ClampPoint, ChangesNothingOnAScreenThatIsNone) {
  setScreens({{{std::numeric_limits<double>::infinity(), 0}, {1440, 900}}});
  ASSERT_TRUE(screenUnion().isNull());
  EXPECT_EQ(clamp({-5000, 5000}), (Point{-5000, 5000}));
}

TEST_F(ClampPoint, ChangesNothingOnScreensWithoutArea) {
  for (const Size size : {Size{0, 0}, Size{0, 900}, Size{1440, 0}}) {
    setScreens({{{0, 0}, size}});
    EXPECT_EQ(clamp({-5000, 5000}), (Point{-5000, 5000})) << size.width << ' ' << size.height;
  }
}

TEST_F(ClampPoint, HoldsOnScreensWithoutEndToo) {
  setScreens({primary, Rect::infinite()});
  EXPECT_EQ(clamp({-5000, 5000}), (Point{-5000, 5000}));
  EXPECT_EQ(clamp({-1e308, 10}), (Point{Rect::infinite().minX(), 10}));
}

// The strip along the top of a window.

struct StripRow {
  std::string name;
  double windowHeight;
  double stripHeight;
};

class TitleBarStripHeight : public ClamperTest, public testing::WithParamInterface<StripRow> {};

TEST_P(TitleBarStripHeight, IsAShareOfTheWindowWithinLimits) {
  const StripRow& row = GetParam();
  const Rect window = {{100, -50}, {400, row.windowHeight}};
  EXPECT_TRUE(isTitleBar(window, {300, -50}));
  EXPECT_TRUE(isTitleBar(window, {300, -50 + row.stripHeight - 0.001}));
  EXPECT_FALSE(isTitleBar(window, {300, -50 + row.stripHeight + 0.001}));
}

std::string stripRowName(const testing::TestParamInfo<StripRow>& info) {
  return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Of, TitleBarStripHeight,
                         testing::Values(StripRow{"WindowLowerThanTheStrip", 10, 22},
                                         StripRow{"LowWindow", 100, 22},
                                         StripRow{"WindowBelowTheLowLimit", 183, 22},
                                         StripRow{"WindowAboveTheLowLimit", 184, 22.08},
                                         StripRow{"OrdinaryWindow", 250, 30},
                                         StripRow{"WindowBelowTheHighLimit", 333, 39.96},
                                         StripRow{"WindowAboveTheHighLimit", 334, 40},
                                         StripRow{"HighWindow", 2000, 40}),
                         stripRowName);

using TitleBarStrip = ClamperTest;

TEST_F(TitleBarStrip, HoldsItsUpperAndLeftEdge) {
  const Rect window = {{100, 50}, {400, 100}};
  EXPECT_TRUE(isTitleBar(window, {100, 50}));
  EXPECT_FALSE(isTitleBar(window, {99.999, 60}));
  EXPECT_FALSE(isTitleBar(window, {300, 49.999}));
}

TEST_F(TitleBarStrip, DoesNotHoldItsRightEdge) {
  const Rect window = {{100, 50}, {400, 100}};
  EXPECT_TRUE(isTitleBar(window, {499.999, 60}));
  EXPECT_FALSE(isTitleBar(window, {500, 60}));
}

TEST_F(TitleBarStrip, DoesNotHoldItsLowerEdge) {
  EXPECT_FALSE(isTitleBar({{100, 50}, {400, 100}}, {300, 50 + 22}));
  EXPECT_FALSE(isTitleBar({{100, 50}, {400, 250}}, {300, 50 + 30}));
  EXPECT_FALSE(isTitleBar({{100, 50}, {400, 1000}}, {300, 50 + 40}));
}

TEST_F(TitleBarStrip, IsAlongTheTopOfTheAreaHoweverTheFrameIsWritten) {
  // From 100 to 300 across, from 50 to 300 down.
  for (const Rect& window : {Rect{{300, 300}, {-200, -250}}, Rect{{100, 300}, {200, -250}},
                             Rect{{300, 50}, {-200, 250}}}) {
    EXPECT_TRUE(isTitleBar(window, {100, 50}));
    EXPECT_TRUE(isTitleBar(window, {299, 79}));
    EXPECT_FALSE(isTitleBar(window, {300, 60}));
    EXPECT_FALSE(isTitleBar(window, {200, 80}));
    EXPECT_FALSE(isTitleBar(window, {200, 299}));
  }
}

TEST_F(TitleBarStrip, IsLookedForInThePrecisionOfThePoint) {
  // Single precision would take this for the edge.
  EXPECT_FALSE(isTitleBar({{100, 50}, {400, 100}}, {99.9999999, 60}));
}

TEST_F(TitleBarStrip, IsNoneOfAWindowWithoutArea) {
  EXPECT_FALSE(isTitleBar({{100, 50}, {0, 100}}, {100, 50}));
  EXPECT_FALSE(isTitleBar({{100, 50}, {400, 0}}, {100, 50}));
  EXPECT_FALSE(isTitleBar({{100, 50}, {0, 0}}, {100, 50}));
}

TEST_F(TitleBarStrip, IsNoneWhereNothingIsHit) {
  OneElementEverywhere nothing(nullptr);
  EXPECT_FALSE(Clamper::isTitleBarRegion(nothing, {0, 0}));
}

TEST_F(TitleBarStrip, IsNoneOfWhatIsInNoWindow) {
  OneElementEverywhere menu(element("menu", {{"AXRole", std::string("AXMenu")},
                                             {"AXPosition", Point{0, 0}},
                                             {"AXSize", Size{100, 100}}}));
  EXPECT_FALSE(Clamper::isTitleBarRegion(menu, {5, 5}));
  EXPECT_EQ(calls(), (Lines{"menu AXRole", "menu AXParent"}));
}

TEST_F(TitleBarStrip, IsNoneOfAWindowWithoutAFrame) {
  for (const std::string attribute : {"AXPosition", "AXSize"}) {
    showWindow({{100, 50}, {400, 100}});
    EXPECT_TRUE(Clamper::isTitleBarRegion(accessibility, {150, 60})) << attribute;
    fail(attribute);
    EXPECT_FALSE(Clamper::isTitleBarRegion(accessibility, {150, 60})) << attribute;
  }
}

TEST_F(TitleBarStrip, IsThatOfTheWindowAndNotOfWhatIsHit) {
  showWindow({{100, 50}, {400, 100}}, 2);
  EXPECT_TRUE(Clamper::isTitleBarRegion(accessibility, {150, 60}));
  EXPECT_EQ(calls(), (Lines{"at 150,60", "w/2 AXRole", "w/2 AXParent", "w/1 AXRole", "w/1 AXParent",
                            "w AXRole", "w AXPosition", "w AXSize"}));
  EXPECT_FALSE(Clamper::isTitleBarRegion(accessibility, {150, 100}));
}

}  // namespace
}  // namespace tessline::test
