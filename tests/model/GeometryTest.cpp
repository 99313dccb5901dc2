#include "tessline/model/Geometry.h"
#include "tests/support/GeometryPrinting.h"

#include <limits>
#include <string>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double largestDouble = std::numeric_limits<double>::max();

// One area, from 10 to 40 across and from 20 to 60 along y, in the four ways to write it down.
struct Writing {
  std::string name;
  Rect rect;
};

class WrittenRect : public testing::TestWithParam<Writing> {
 protected:
  const Rect rect = GetParam().rect;
};

TEST_P(WrittenRect, HasTheEdgesOfItsArea) {
  EXPECT_EQ(rect.minX(), 10);
  EXPECT_EQ(rect.maxX(), 40);
  EXPECT_EQ(rect.minY(), 20);
  EXPECT_EQ(rect.maxY(), 60);
}

TEST_P(WrittenRect, HasAnExtentThatIsNotNegative) {
  EXPECT_EQ(rect.width(), 30);
  EXPECT_EQ(rect.height(), 40);
}

TEST_P(WrittenRect, IsAnOrdinaryRect) {
  EXPECT_FALSE(rect.isNull());
  EXPECT_FALSE(rect.isInfinite());
  EXPECT_FALSE(rect.isEmpty());
}

TEST_P(WrittenRect, StandardizesToTheSmallerCorner) {
  EXPECT_EQ(rect.standardized(), (Rect{{10, 20}, {30, 40}}));
}

TEST_P(WrittenRect, UnitesByItsArea) {
  const Rect other = {{0, 50}, {15, 100}};
  EXPECT_EQ(rect.united(other), (Rect{{0, 20}, {40, 130}}));
  EXPECT_EQ(other.united(rect), (Rect{{0, 20}, {40, 130}}));
}

TEST_P(WrittenRect, UnitedWithAPartOfItselfIsItsArea) {
  EXPECT_EQ(rect.united({{20, 30}, {5, 5}}), (Rect{{10, 20}, {30, 40}}));
  EXPECT_EQ(rect.united(rect), (Rect{{10, 20}, {30, 40}}));
}

TEST_P(WrittenRect, UnitedWithNullStaysAsItIsWritten) {
  EXPECT_EQ(rect.united(Rect::null()), rect);
  EXPECT_EQ(Rect::null().united(rect), rect);
}

TEST_P(WrittenRect, ContainsItsSmallerEdges) {
  EXPECT_TRUE(rect.contains({10, 20}));
  EXPECT_TRUE(rect.contains({10, 40}));
  EXPECT_TRUE(rect.contains({25, 20}));
  EXPECT_TRUE(rect.contains({25, 40}));
  EXPECT_TRUE(rect.contains({39.5, 59.5}));
}

TEST_P(WrittenRect, DoesNotContainItsLargerEdges) {
  EXPECT_FALSE(rect.contains({40, 40}));
  EXPECT_FALSE(rect.contains({25, 60}));
  EXPECT_FALSE(rect.contains({40, 60}));
  EXPECT_FALSE(rect.contains({40, 20}));
  EXPECT_FALSE(rect.contains({10, 60}));
}

TEST_P(WrittenRect, DoesNotContainWhatIsAround) {
  EXPECT_FALSE(rect.contains({9.5, 40}));
  EXPECT_FALSE(rect.contains({40.5, 40}));
  EXPECT_FALSE(rect.contains({25, 19.5}));
  EXPECT_FALSE(rect.contains({25, 60.5}));
}

std::string writingName(const testing::TestParamInfo<Writing>& info) {
  return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Ways, WrittenRect,
                         testing::Values(Writing{"Standard", {{10, 20}, {30, 40}}},
                                         Writing{"NegativeWidth", {{40, 20}, {-30, 40}}},
                                         Writing{"NegativeHeight", {{10, 60}, {30, -40}}},
                                         Writing{"NegativeBoth", {{40, 60}, {-30, -40}}}),
                         writingName);

TEST(Geometry, IsZeroUnlessGiven) {
  EXPECT_EQ(Point(), (Point{0, 0}));
  EXPECT_EQ(Size(), (Size{0, 0}));
  EXPECT_EQ(Rect(), (Rect{{0, 0}, {0, 0}}));
}

TEST(Geometry, IsEqualWhenAllNumbersAre) {
  EXPECT_FALSE((Point{1, 2}) == (Point{3, 2}));
  EXPECT_FALSE((Point{1, 2}) == (Point{1, 3}));
  EXPECT_FALSE((Size{1, 2}) == (Size{3, 2}));
  EXPECT_FALSE((Size{1, 2}) == (Size{1, 3}));
  const Rect rect = {{1, 2}, {3, 4}};
  EXPECT_TRUE(rect == (Rect{{1, 2}, {3, 4}}));
  EXPECT_FALSE(rect == (Rect{{0, 2}, {3, 4}}));
  EXPECT_FALSE(rect == (Rect{{1, 0}, {3, 4}}));
  EXPECT_FALSE(rect == (Rect{{1, 2}, {0, 4}}));
  EXPECT_FALSE(rect == (Rect{{1, 2}, {3, 0}}));
}

TEST(Geometry, TwoWaysToWriteOneAreaAreDifferent) {
  EXPECT_FALSE((Rect{{0, 0}, {10, 10}}) == (Rect{{10, 0}, {-10, 10}}));
  EXPECT_FALSE((Rect{{0, 0}, {10, 10}}) == (Rect{{0, 10}, {10, -10}}));
}

TEST(NullRect, StandsAtInfinity) {
  EXPECT_EQ(Rect::null(), (Rect{{infinity, infinity}, {0, 0}}));
}

TEST(NullRect, IsNullAndEmptyAndNotInfinite) {
  EXPECT_TRUE(Rect::null().isNull());
  EXPECT_TRUE(Rect::null().isEmpty());
  EXPECT_FALSE(Rect::null().isInfinite());
}

TEST(NullRect, IsToldByEitherCoordinate) {
  EXPECT_TRUE((Rect{{infinity, 1}, {2, 3}}.isNull()));
  EXPECT_TRUE((Rect{{1, infinity}, {2, 3}}.isNull()));
  EXPECT_FALSE((Rect{{-infinity, 1}, {2, 3}}.isNull()));
  EXPECT_FALSE((Rect{{1, -infinity}, {2, 3}}.isNull()));
  EXPECT_FALSE((Rect{{1, 1}, {infinity, infinity}}.isNull()));
}

TEST(NullRect, IsEmptyWhateverItsExtent) {
  EXPECT_TRUE((Rect{{infinity, 1}, {2, 3}}.isEmpty()));
  EXPECT_TRUE((Rect{{1, infinity}, {2, 3}}.isEmpty()));
}

TEST(NullRect, StandardizesToNull) {
  EXPECT_EQ(Rect::null().standardized(), Rect::null());
  EXPECT_TRUE((Rect{{infinity, 1}, {-2, 3}}.standardized().isNull()));
  EXPECT_TRUE((Rect{{1, infinity}, {2, -3}}.standardized().isNull()));
  EXPECT_TRUE((Rect{{1, infinity}, {2, -infinity}}.standardized().isNull()));
}

TEST(NullRect, ContainsNothing) {
  EXPECT_FALSE(Rect::null().contains({infinity, infinity}));
  EXPECT_FALSE(Rect::null().contains({0, 0}));
  EXPECT_FALSE((Rect{{1, infinity}, {10, -infinity}}.contains({5, 5})));
  EXPECT_FALSE((Rect{{infinity, 1}, {-infinity, 10}}.contains({5, 5})));
}

TEST(NullRect, AddsNothingToAUnion) {
  EXPECT_TRUE(Rect::null().united(Rect::null()).isNull());
  const Rect halfNull = {{infinity, 1}, {2, 3}};
  const Rect rect = {{1, 2}, {3, 4}};
  EXPECT_EQ(rect.united(halfNull), rect);
  EXPECT_EQ(halfNull.united(rect), rect);
}

TEST(InfiniteRect, HasTheLargestExtentAroundZero) {
  EXPECT_EQ(Rect::infinite(),
            (Rect{{-largestDouble / 2, -largestDouble / 2}, {largestDouble, largestDouble}}));
}

TEST(InfiniteRect, IsInfiniteAndNeitherNullNorEmpty) {
  EXPECT_TRUE(Rect::infinite().isInfinite());
  EXPECT_FALSE(Rect::infinite().isNull());
  EXPECT_FALSE(Rect::infinite().isEmpty());
}

TEST(InfiniteRect, IsToldByAllNumbers) {
  const Rect all = Rect::infinite();
  EXPECT_FALSE((Rect{{0, all.origin.y}, all.size}.isInfinite()));
  EXPECT_FALSE((Rect{{all.origin.x, 0}, all.size}.isInfinite()));
  EXPECT_FALSE((Rect{all.origin, {largestDouble / 2, largestDouble}}.isInfinite()));
  EXPECT_FALSE((Rect{all.origin, {largestDouble, largestDouble / 2}}.isInfinite()));
  EXPECT_FALSE((Rect{{0, 0}, {infinity, infinity}}.isInfinite()));
}

TEST(InfiniteRect, ContainsEveryOrdinaryPoint) {
  EXPECT_TRUE(Rect::infinite().contains({0, 0}));
  EXPECT_TRUE(Rect::infinite().contains({-1e300, 1e300}));
}

TEST(InfiniteRect, StaysInfiniteInAUnion) {
  const Rect rect = {{1, 2}, {3, 4}};
  EXPECT_TRUE(Rect::infinite().united(rect).isInfinite());
  EXPECT_TRUE(rect.united(Rect::infinite()).isInfinite());
}

TEST(EmptyRect, LacksWidthOrHeight) {
  EXPECT_TRUE((Rect{{1, 2}, {0, 4}}.isEmpty()));
  EXPECT_TRUE((Rect{{1, 2}, {3, 0}}.isEmpty()));
  EXPECT_TRUE((Rect{{1, 2}, {0, 0}}.isEmpty()));
  EXPECT_FALSE((Rect{{1, 2}, {0.001, 0.001}}.isEmpty()));
}

TEST(EmptyRect, IsNotNull) {
  EXPECT_FALSE((Rect{{1, 2}, {0, 0}}.isNull()));
}

TEST(EmptyRect, ContainsNotEvenItsCorner) {
  EXPECT_FALSE((Rect{{1, 2}, {0, 4}}.contains({1, 3})));
  EXPECT_FALSE((Rect{{1, 2}, {3, 0}}.contains({2, 2})));
  EXPECT_FALSE((Rect{{1, 2}, {0, 0}}.contains({1, 2})));
}

TEST(EmptyRect, CountsInAUnion) {
  const Rect rect = {{0, 0}, {10, 10}};
  EXPECT_EQ(rect.united({{50, -20}, {0, 0}}), (Rect{{0, -20}, {50, 30}}));
  EXPECT_EQ((Rect{{50, -20}, {0, 0}}.united(rect)), (Rect{{0, -20}, {50, 30}}));
  EXPECT_EQ(rect.united({{-5, 5}, {0, 100}}), (Rect{{-5, 0}, {15, 105}}));
  EXPECT_EQ((Rect{{1, 1}, {0, 0}}.united({{4, 5}, {0, 0}})), (Rect{{1, 1}, {3, 4}}));
}

TEST(EmptyRect, StandardizesToItself) {
  EXPECT_EQ((Rect{{1, 2}, {0, 4}}.standardized()), (Rect{{1, 2}, {0, 4}}));
}

}  // namespace
}  // namespace tessline::test
