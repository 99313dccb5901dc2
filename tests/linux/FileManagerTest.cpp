#include "tessline/platform/Platform.h"
#include "tests/support/Needs.h"

#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

namespace tessline::test {
namespace {

TEST(LinuxFileManager, ReadsFilesThatDoNotKnowTheirSize) {
  TESSLINE_NEEDS_PROC();
  const auto data = platform::hostPlatform()->fileManager()->contents("/proc/self/stat");
  const std::string text(data.begin(), data.end());
  EXPECT_TRUE(text.starts_with(std::to_string(::getpid()) + " ")) << text;
}

}  // namespace
}  // namespace tessline::test
