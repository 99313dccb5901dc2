#include "tests/touch/ClamperFixture.h"

namespace tessline::test {
namespace {

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
