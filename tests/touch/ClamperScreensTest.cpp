#include "tests/touch/ClamperFixture.h"

namespace tessline::test {
namespace {

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

}  // namespace
}  // namespace tessline::test
