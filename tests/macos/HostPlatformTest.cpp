#include "tessline/platform/Platform.h"

#include <cstdlib>

#include <gtest/gtest.h>
#include <standin/appkit.h>

namespace tessline::test {
namespace {

TEST(MacPlatform, GivesWhatIsNeverNull) {
  const auto host = platform::hostPlatform();
  EXPECT_NE(host->makeSerialQueue("queue"), nullptr);
  EXPECT_NE(host->mainRunLoop(), nullptr);
  EXPECT_NE(host->logSink(), nullptr);
  EXPECT_NE(host->accessibility(), nullptr);
  EXPECT_NE(host->screens(), nullptr);
  EXPECT_NE(host->pointerEvents(), nullptr);
  EXPECT_NE(host->childProcesses(), nullptr);
  EXPECT_NE(host->fileManager(), nullptr);
  EXPECT_NE(host->environment(), nullptr);
  EXPECT_NE(host->permissions(), nullptr);
  EXPECT_EQ(host->screens(), host->screens());
  EXPECT_EQ(host, platform::hostPlatform());
}

// In a process of its own, whose platform nobody has used yet.
TEST(MacPlatformDeathTest, AsksForNoScreensUntilSomebodyDoes) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto askLate = [] {
    const auto host = platform::hostPlatform();
    const bool isQuiet = standin::appkit::questions() == 0;
    host->screens()->frames();
    std::exit(isQuiet && standin::appkit::questions() > 0 ? EXIT_SUCCESS : EXIT_FAILURE);
  };
  EXPECT_EXIT(askLate(), testing::ExitedWithCode(EXIT_SUCCESS), "");
}

}  // namespace
}  // namespace tessline::test
