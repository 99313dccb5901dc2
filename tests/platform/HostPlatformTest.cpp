#include "tessline/platform/Platform.h"

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

TEST(HostPlatform, OffersNoHIDManagerHere) {
  EXPECT_EQ(platform::hostPlatform()->makeHIDManager(), nullptr);
  EXPECT_EQ(platform::hostPlatform(), platform::hostPlatform());
}

}  // namespace
}  // namespace tessline::test
