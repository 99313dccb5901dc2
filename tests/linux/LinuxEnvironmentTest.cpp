#include "tessline/platform/Platform.h"
#include "tests/support/EnvironmentVariable.h"
#include "tests/support/Files.h"
#include "tests/support/Needs.h"

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

class LinuxEnvironment : public testing::Test {
 protected:
  const std::shared_ptr<platform::HostEnvironment> environment =
      platform::hostPlatform()->environment();
};

using LinuxEnvironmentDeathTest = LinuxEnvironment;

TEST_F(LinuxEnvironment, WithoutVariablesThereAreNone) {
  char** const before = std::exchange(environ, nullptr);
  const auto variables = environment->variables();
  environ = before;
  EXPECT_TRUE(variables.empty());
}

TEST_F(LinuxEnvironment, HomeIsWhatItsVariableSays) {
  const EnvironmentVariable home("HOME", "/some/where");
  EXPECT_EQ(environment->homeDirectory(), "/some/where");
}

TEST_F(LinuxEnvironment, HomeIsTheAccountsWithoutAnAbsolutePath) {
  const passwd* account = ::getpwuid(::getuid());
  ASSERT_NE(account, nullptr);
  const std::string expected = account->pw_dir;
  for (const std::optional<std::string>& value : {std::optional<std::string>(), {""}, {"some"}}) {
    const EnvironmentVariable home("HOME", value);
    EXPECT_EQ(environment->homeDirectory(), expected);
  }
}

TEST_F(LinuxEnvironment, DataGoWhereTheirVariableSays) {
  const EnvironmentVariable home("HOME", "/some/where");
  const EnvironmentVariable data("XDG_DATA_HOME", "/data");
  EXPECT_EQ(environment->applicationSupportDirectory(), "/data");
}

TEST_F(LinuxEnvironment, DataGoBelowTheHomeWithoutAnAbsolutePath) {
  const EnvironmentVariable home("HOME", "/some/where");
  for (const std::optional<std::string>& value : {std::optional<std::string>(), {""}, {"data"}}) {
    const EnvironmentVariable data("XDG_DATA_HOME", value);
    EXPECT_EQ(environment->applicationSupportDirectory(), "/some/where/.local/share");
  }
}

TEST_F(LinuxEnvironment, ApplicationHasNoIdentifier) {
  EXPECT_EQ(environment->mainBundleIdentifier(), std::nullopt);
}

TEST_F(LinuxEnvironmentDeathTest, AccountThatNobodyKnowsIsAtHomeAtTheRoot) {
  TESSLINE_NEEDS_ROOT();
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  const auto hasItsHome = [&] {
    const EnvironmentVariable home("HOME", std::nullopt);
    if (::setuid(54321) != 0 || ::getpwuid(54321) != nullptr) return 1;
    return environment->homeDirectory() == "/" ? 0 : 2;
  };
  EXPECT_EXIT(std::_Exit(hasItsHome()), testing::ExitedWithCode(0), "");
}

// Resources stand beside the program, so a copy of this one looks for them in a place of its own.
class LinuxResources : public LinuxEnvironment {
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

TEST_F(LinuxResources, ApplicationsStandUnderItsProgramsName) {
  if (!isCopy()) return expectWellInCopy();
  EXPECT_EQ(resource(Bundle::main, "packetlogger", ""), pathInCopy("remote-app/packetlogger"));
  EXPECT_EQ(resource(Bundle::main, "payload", "zip"), pathInCopy("remote-app/payload.zip"));
  EXPECT_EQ(resource(Bundle::main, "helper", ""), std::nullopt);
}

TEST_F(LinuxResources, LibrarysStandUnderItsOwn) {
  if (!isCopy()) return expectWellInCopy();
  EXPECT_EQ(resource(Bundle::library, "helper", ""), pathInCopy("tessline/helper"));
  EXPECT_EQ(resource(Bundle::library, "packetlogger", ""), std::nullopt);
}

TEST_F(LinuxResources, ExtensionIsPartOfTheName) {
  if (!isCopy()) return expectWellInCopy();
  EXPECT_EQ(resource(Bundle::main, "packetlogger", "zip"), std::nullopt);
  EXPECT_EQ(resource(Bundle::main, "payload", ""), std::nullopt);
  EXPECT_EQ(resource(Bundle::main, "payload.zip", ""), pathInCopy("remote-app/payload.zip"));
}

TEST_F(LinuxResources, WhatIsNotThereIsNone) {
  EXPECT_EQ(resource(Bundle::main, "no-such-resource", ""), std::nullopt);
  EXPECT_EQ(resource(Bundle::library, "no-such-resource", "zip"), std::nullopt);
}

}  // namespace
}  // namespace tessline::test
