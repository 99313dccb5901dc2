#include "tessline/model/Integers.h"

#include <csignal>
#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t smallest = std::numeric_limits<std::int64_t>::min();

TEST(CheckedSum, AddsWhatFits) {
  EXPECT_EQ(checkedSum(0, 0), 0);
  EXPECT_EQ(checkedSum(2, 3), 5);
  EXPECT_EQ(checkedSum(-2, 3), 1);
  EXPECT_EQ(checkedSum(2147483647, 1), 2147483648);
}

TEST(CheckedSum, ReachesTheLimits) {
  EXPECT_EQ(checkedSum(largest - 1, 1), largest);
  EXPECT_EQ(checkedSum(0, largest), largest);
  EXPECT_EQ(checkedSum(smallest + 1, -1), smallest);
  EXPECT_EQ(checkedSum(0, smallest), smallest);
  EXPECT_EQ(checkedSum(largest, smallest), -1);
}

class CheckedSumDeathTest : public testing::Test {
 protected:
  // A child that starts anew has none of the threads that other tests leave behind.
  CheckedSumDeathTest() { testing::GTEST_FLAG(death_test_style) = "threadsafe"; }

  void expectDeath(std::int64_t left, std::int64_t right) {
    EXPECT_EXIT(checkedSum(left, right), testing::KilledBySignal(SIGABRT),
                "a counter does not fit 64 bits\n")
        << left << " + " << right;
  }
};

TEST_F(CheckedSumDeathTest, EndsTheProcessAboveTheLargest) {
  expectDeath(largest, 1);
  expectDeath(1, largest);
  expectDeath(largest, largest);
}

TEST_F(CheckedSumDeathTest, EndsTheProcessBelowTheSmallest) {
  expectDeath(smallest, -1);
  expectDeath(-1, smallest);
  expectDeath(smallest, smallest);
}

}  // namespace
}  // namespace tessline::test
