#include "tessline/platform/Platform.h"

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

TEST(HostPlatform, IsOneForAll) {
  EXPECT_NE(platform::hostPlatform(), nullptr);
  EXPECT_EQ(platform::hostPlatform(), platform::hostPlatform());
}

}  // namespace
}  // namespace tessline::test
