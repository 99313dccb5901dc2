#include "tessline/platform/Platform.h"

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

TEST(NoHID, ThereIsNoManager) {
  EXPECT_EQ(platform::hostPlatform()->makeHIDManager(), nullptr);
}

}  // namespace
}  // namespace tessline::test
