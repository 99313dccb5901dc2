#include "tessline/events/ByteSearch.h"
#include "tests/support/Bytes.h"

#include <cstddef>
#include <optional>
#include <string_view>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

std::optional<std::size_t> indexOf(std::string_view pattern, std::string_view payload) {
  return firstIndex(bytes(payload), bytes(pattern));
}

TEST(ByteSearch, FindsAPatternWhereverItStands) {
  EXPECT_EQ(indexOf("1b 23", "1b 23 00"), 0u);
  EXPECT_EQ(indexOf("1b 23", "00 1b 23 00"), 1u);
  EXPECT_EQ(indexOf("1b 23", "00 00 1b 23"), 2u);
  EXPECT_EQ(indexOf("1b 23", "1b 23"), 0u);
}

TEST(ByteSearch, FindsTheFirstOfSeveral) {
  EXPECT_EQ(indexOf("00", "01 00 00 00"), 1u);
}

TEST(ByteSearch, FindsAPatternBehindAFalseStart) {
  EXPECT_EQ(indexOf("1b 1b 23", "1b 1b 1b 23"), 1u);
  EXPECT_EQ(indexOf("00 00 01", "00 00 00 00 01"), 2u);
}

TEST(ByteSearch, WantsTheBytesInOneRun) {
  EXPECT_EQ(indexOf("1b 23", "1b 00 23"), std::nullopt);
  EXPECT_EQ(indexOf("1b 23", "23 1b"), std::nullopt);
  EXPECT_EQ(indexOf("1b 23", "00 1b"), std::nullopt);
}

TEST(ByteSearch, NeverFindsAnEmptyPattern) {
  EXPECT_EQ(indexOf("", "1b 23"), std::nullopt);
  EXPECT_EQ(indexOf("", ""), std::nullopt);
}

TEST(ByteSearch, NeverFindsAPatternLongerThanTheBytes) {
  EXPECT_EQ(indexOf("1b 23 00", "1b 23"), std::nullopt);
  EXPECT_EQ(indexOf("1b", ""), std::nullopt);
}

}  // namespace
}  // namespace tessline::test
