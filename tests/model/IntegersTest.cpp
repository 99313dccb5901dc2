#include "tessline/model/Integers.h"

#include <cmath>
#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

constexpr double endless = std::numeric_limits<double>::infinity();
constexpr double firstTooLarge = 2147483648.0;
constexpr double firstTooSmall = -2147483649.0;

TEST(TruncatedToInt32, LeavesWholeNumbersAlone) {
  EXPECT_EQ(truncatedToInt32(0), 0);
  EXPECT_EQ(truncatedToInt32(-0.0), 0);
  EXPECT_EQ(truncatedToInt32(1), 1);
  EXPECT_EQ(truncatedToInt32(-1), -1);
  EXPECT_EQ(truncatedToInt32(2147483647), 2147483647);
  EXPECT_EQ(truncatedToInt32(-2147483648.0), std::numeric_limits<std::int32_t>::min());
}

TEST(TruncatedToInt32, GoesTowardsZero) {
  EXPECT_EQ(truncatedToInt32(0.5), 0);
  EXPECT_EQ(truncatedToInt32(0.999999), 0);
  EXPECT_EQ(truncatedToInt32(1.5), 1);
  EXPECT_EQ(truncatedToInt32(2.5), 2);
  EXPECT_EQ(truncatedToInt32(-0.5), 0);
  EXPECT_EQ(truncatedToInt32(-0.999999), 0);
  EXPECT_EQ(truncatedToInt32(-1.5), -1);
  EXPECT_EQ(truncatedToInt32(-2.999999), -2);
}

TEST(TruncatedToInt32, TakesEveryFractionOfTheLimits) {
  EXPECT_EQ(truncatedToInt32(2147483647.9), std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(truncatedToInt32(std::nextafter(firstTooLarge, 0)),
            std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(truncatedToInt32(-2147483648.9), std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(truncatedToInt32(std::nextafter(firstTooSmall, 0)),
            std::numeric_limits<std::int32_t>::min());
}

TEST(TruncatedToInt32, TakesTheSmallestNumbers) {
  EXPECT_EQ(truncatedToInt32(std::numeric_limits<double>::denorm_min()), 0);
  EXPECT_EQ(truncatedToInt32(-std::numeric_limits<double>::denorm_min()), 0);
}

class TruncatedToInt32DeathTest : public testing::Test {
 protected:
  // A child that starts anew has none of the threads that other tests leave behind.
  TruncatedToInt32DeathTest() { testing::GTEST_FLAG(death_test_style) = "threadsafe"; }

  void expectDeath(double value) {
    EXPECT_DEATH(truncatedToInt32(value), "does not fit an integer of 32 bits\n") << value;
  }
};

TEST_F(TruncatedToInt32DeathTest, EndsTheProcessAboveTheLargest) {
  expectDeath(firstTooLarge);
  expectDeath(1e300);
}

TEST_F(TruncatedToInt32DeathTest, EndsTheProcessBelowTheSmallest) {
  expectDeath(firstTooSmall);
  expectDeath(-1e300);
}

TEST_F(TruncatedToInt32DeathTest, EndsTheProcessWithoutANumber) {
  expectDeath(std::numeric_limits<double>::quiet_NaN());
  expectDeath(-std::numeric_limits<double>::quiet_NaN());
}

TEST_F(TruncatedToInt32DeathTest, EndsTheProcessAtInfinity) {
  expectDeath(endless);
  expectDeath(-endless);
}

}  // namespace
}  // namespace tessline::test
