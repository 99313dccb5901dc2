#include "tests/support/Bytes.h"

#include <stdexcept>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

TEST(BytesNotation, ReadsAndWritesNumbers) {
  EXPECT_EQ(bytes(""), std::vector<std::uint8_t>());
  EXPECT_EQ(bytes("1b 00 ff"), (std::vector<std::uint8_t>{0x1B, 0x00, 0xFF}));
  EXPECT_EQ(hexText(bytes("1b 00 ff")), "1b 00 ff");
}

TEST(BytesNotation, RefusesMistakes) {
  for (const auto* text : {"1", "1b ", " 1b", "1b  23", "1b23", "1b 2", "1B", "xy", "1b,23"}) {
    EXPECT_THROW(bytes(text), std::invalid_argument) << text;
  }
}

}  // namespace
}  // namespace tessline::test
