#include "tessline/platform/Platform.h"
#include "tessline/platform/simulated/SimulatedHost.h"
#include "tests/support/Files.h"
#include "tests/support/Needs.h"

#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

namespace tessline::test {
namespace {

namespace fs = std::filesystem;

using platform::Bundle;

// As it was, once this is gone.
class ChangedVariable {
 public:
  ChangedVariable(const std::string& name, const std::optional<std::string>& value) : name_(name) {
    if (const char* before = std::getenv(name.c_str())) before_ = before;
    set(value);
  }
  ChangedVariable(const ChangedVariable&) = delete;
  ChangedVariable& operator=(const ChangedVariable&) = delete;
  ~ChangedVariable() { set(before_); }

 private:
  void set(const std::optional<std::string>& value) {
    if (value) {
      ::setenv(name_.c_str(), value->c_str(), 1);
    } else {
      ::unsetenv(name_.c_str());
    }
  }

  std::string name_;
  std::optional<std::string> before_;
};

class HostEnvironment : public testing::Test {
 protected:
  const std::shared_ptr<platform::HostEnvironment> environment =
      platform::hostPlatform()->environment();
};

TEST_F(HostEnvironment, VariablesAreReadAnew) {
  const std::string name = "TESSLINE_TEST";
  EXPECT_FALSE(environment->variables().contains(name));
  {
    const ChangedVariable variable(name, "a=b=");
    EXPECT_EQ(environment->variables()[name], "a=b=");
  }
  {
    const ChangedVariable variable(name, "");
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

TEST_F(HostEnvironment, WithoutVariablesThereAreNone) {
  char** const before = std::exchange(environ, nullptr);
  const auto variables = environment->variables();
  environ = before;
  EXPECT_TRUE(variables.empty());
}

TEST_F(HostEnvironment, HomeIsWhatItsVariableSays) {
  const ChangedVariable home("HOME", "/some/where");
  EXPECT_EQ(environment->homeDirectory(), "/some/where");
}

TEST_F(HostEnvironment, HomeIsTheAccountsWithoutAnAbsolutePath) {
  const passwd* account = ::getpwuid(::getuid());
  ASSERT_NE(account, nullptr);
  const std::string expected = account->pw_dir;
  for (const std::optional<std::string>& value : {std::optional<std::string>(), {""}, {"some"}}) {
    const ChangedVariable home("HOME", value);
    EXPECT_EQ(environment->homeDirectory(), expected);
  }
}

TEST_F(HostEnvironment, DataGoWhereTheirVariableSays) {
  const ChangedVariable home("HOME", "/some/where");
  const ChangedVariable data("XDG_DATA_HOME", "/data");
  EXPECT_EQ(environment->applicationSupportDirectory(), "/data");
}

TEST_F(HostEnvironment, DataGoBelowTheHomeWithoutAnAbsolutePath) {
  const ChangedVariable home("HOME", "/some/where");
  for (const std::optional<std::string>& value : {std::optional<std::string>(), {""}, {"data"}}) {
    const ChangedVariable data("XDG_DATA_HOME", value);
    EXPECT_EQ(environment->applicationSupportDirectory(), "/some/where/.local/share");
  }
}

TEST_F(HostEnvironment, ApplicationHasNoIdentifier) {
  EXPECT_EQ(environment->mainBundleIdentifier(), std::nullopt);
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

TEST_F(HostEnvironmentDeathTest, AccountThatNobodyKnowsIsAtHomeAtTheRoot) {
  expectWellInAFreshProcess([&] {
    const ChangedVariable home("HOME", std::nullopt);
    if (::setuid(54321) != 0 || ::getpwuid(54321) != nullptr) return 1;
    return environment->homeDirectory() == "/" ? 0 : 2;
  });
}

// Resources stand beside the program, so a copy of this one looks for them in a place of its own.
class HostEnvironmentResources : public HostEnvironment {
 protected:
  static constexpr const char* nameOfCopy = "remote-app";

  static fs::path program() { return fs::read_symlink("/proc/self/exe"); }
  static bool isCopy() { return program().filename() == nameOfCopy; }
  std::optional<std::string> resource(Bundle bundle, const char* name, const char* extension) {
    return environment->resource(bundle, name, extension);
  }
  static std::string pathInCopy(const std::string& name) {
    return program().parent_path().parent_path() / "share" / name;
  }

  // Runs the test that asks for it once more, in the copy.
  static void expectWellInCopy() {
    const TemporaryDirectory root;
    for (const char* folder : {"bin", "share", "share/remote-app", "share/tessline"}) {
      fs::create_directory(root / folder);
    }
    root.file("share/remote-app/packetlogger", "");
    root.file("share/remote-app/payload.zip", "");
    root.file("share/tessline/helper", "");
    const std::string copy = root / "bin" / nameOfCopy;
    fs::copy_file(program(), copy);
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    const auto processes = platform::hostPlatform()->childProcesses();
    const auto output = processes->makePipe();
    // All of that one test, even if this process runs a part of all.
    const auto process = processes->makeProcess(
        {.executable = "/usr/bin/env",
         .arguments = {"-u", "GTEST_TOTAL_SHARDS", "-u", "GTEST_SHARD_INDEX", copy,
                       "--gtest_filter=" + std::string(test->test_suite_name()) + "." +
                           test->name()},
         .standardOutput = output,
         .standardError = output});
    process->launch();
    const auto text = output->readDataToEndOfFile();
    const std::string result(text.begin(), text.end());
    EXPECT_EQ(process->waitUntilExit(), 0) << result;
    EXPECT_NE(result.find("[  PASSED  ] 1 test"), std::string::npos) << result;
  }
};

TEST_F(HostEnvironmentResources, ApplicationsStandUnderItsProgramsName) {
  if (!isCopy()) return expectWellInCopy();
  EXPECT_EQ(resource(Bundle::main, "packetlogger", ""), pathInCopy("remote-app/packetlogger"));
  EXPECT_EQ(resource(Bundle::main, "payload", "zip"), pathInCopy("remote-app/payload.zip"));
  EXPECT_EQ(resource(Bundle::main, "helper", ""), std::nullopt);
}

TEST_F(HostEnvironmentResources, LibrarysStandUnderItsOwn) {
  if (!isCopy()) return expectWellInCopy();
  EXPECT_EQ(resource(Bundle::library, "helper", ""), pathInCopy("tessline/helper"));
  EXPECT_EQ(resource(Bundle::library, "packetlogger", ""), std::nullopt);
}

TEST_F(HostEnvironmentResources, ExtensionIsPartOfTheName) {
  if (!isCopy()) return expectWellInCopy();
  EXPECT_EQ(resource(Bundle::main, "packetlogger", "zip"), std::nullopt);
  EXPECT_EQ(resource(Bundle::main, "payload", ""), std::nullopt);
  EXPECT_EQ(resource(Bundle::main, "payload.zip", ""), pathInCopy("remote-app/payload.zip"));
}

TEST_F(HostEnvironmentResources, WhatIsNotThereIsNone) {
  EXPECT_EQ(resource(Bundle::main, "no-such-resource", ""), std::nullopt);
  EXPECT_EQ(resource(Bundle::library, "no-such-resource", "zip"), std::nullopt);
}

}  // namespace
}  // namespace tessline::test
