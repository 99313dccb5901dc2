#include "tessline/platform/Platform.h"
#include "tessline/platform/simulated/SimulatedHost.h"
#include "tests/support/EnvironmentVariable.h"
#include "tests/support/Needs.h"

#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

// Not every system declares it.
extern char** environ;  // NOLINT(readability-redundant-declaration)

namespace tessline::test {
namespace {

class HostEnvironment : public testing::Test {
 protected:
  const std::shared_ptr<platform::HostEnvironment> environment =
      platform::hostPlatform()->environment();
};

TEST_F(HostEnvironment, VariablesAreReadAnew) {
  const std::string name = "TESSLINE_TEST";
  EXPECT_FALSE(environment->variables().contains(name));
  {
    const EnvironmentVariable variable(name.c_str(), "a=b=");
    EXPECT_EQ(environment->variables()[name], "a=b=");
  }
  {
    const EnvironmentVariable variable(name.c_str(), "");
    ASSERT_TRUE(environment->variables().contains(name));
    EXPECT_EQ(environment->variables()[name], "");
  }
  EXPECT_FALSE(environment->variables().contains(name));
}

TEST_F(HostEnvironment, VariablesAreAllThereAre) {
  std::size_t count = 0;
  for (char** each = environ; *each != nullptr; ++each) ++count;
  EXPECT_EQ(environment->variables().size(), count);
}

TEST_F(HostEnvironment, DateIsThatOfTheSystemClock) {
  const auto before = std::chrono::system_clock::now();
  const auto date = environment->currentDate();
  const auto after = std::chrono::system_clock::now();
  EXPECT_LE(before, date);
  EXPECT_LE(date, after);
}

TEST(SimulatedEnvironment, DateMovesWithTheVirtualClock) {
  using namespace std::chrono_literals;
  const auto host = platform::simulated::SimulatedHost::create();
  const auto environment = host->environment();
  EXPECT_EQ(environment->currentDate(), host->surroundings().startDate);
  host->advance(1500ms);
  EXPECT_EQ(environment->currentDate(), host->surroundings().startDate + 1500ms);
  host->surroundings().startDate = std::chrono::system_clock::time_point(7s);
  EXPECT_EQ(environment->currentDate(), std::chrono::system_clock::time_point(8500ms));
}

class HostEnvironmentDeathTest : public HostEnvironment {
 protected:
  HostEnvironmentDeathTest() { testing::GTEST_FLAG(death_test_style) = "threadsafe"; }

  // `work` returns 0 in a process of its own, started by root.
  template <class Work>
  void expectWellInAFreshProcess(Work work) {
    TESSLINE_NEEDS_ROOT();
    EXPECT_EXIT(std::_Exit(work()), testing::ExitedWithCode(0), "");
  }
};

TEST_F(HostEnvironmentDeathTest, RightsAreThoseOfTheEffectiveAccount) {
  EXPECT_EQ(environment->effectiveUserID(), ::geteuid());
  expectWellInAFreshProcess([&] {
    if (environment->effectiveUserID() != 0) return 1;
    if (::seteuid(65534) != 0) return 2;
    return environment->effectiveUserID() == 65534 ? 0 : 3;
  });
}

}  // namespace
}  // namespace tessline::test
