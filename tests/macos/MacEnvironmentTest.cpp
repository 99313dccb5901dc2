#include "tessline/platform/macos/MacEnvironment.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>
#include <standin/foundation.h>
#include <standin/objc.h>
#include <unistd.h>

namespace tessline::test {
namespace {

namespace fs = std::filesystem;
namespace foundation = standin::foundation;
using Calls = std::vector<std::string>;
using platform::Bundle;

class MacEnvironmentTest : public testing::Test {
 protected:
  MacEnvironmentTest() {
    for (const char* part : {"app", "library"}) fs::create_directories(folder / part);
    set({});
  }
  MacEnvironmentTest(const MacEnvironmentTest&) = delete;
  MacEnvironmentTest& operator=(const MacEnvironmentTest&) = delete;
  ~MacEnvironmentTest() override {
    EXPECT_EQ(standin::objc::liveObjects(), objectsBefore);
    fs::remove_all(folder);
  }

  void set(foundation::Surroundings surroundings) {
    surroundings.mainBundle.resourceDirectory = folder / "app";
    surroundings.bundlesOfClasses["TesslineLibraryAnchor"] = {std::nullopt, folder / "library"};
    foundation::setSurroundings(std::move(surroundings));
    foundation::clearCalls();
  }
  std::string touch(const std::string& path) {
    std::ofstream(folder / path) << "resource";
    return folder / path;
  }

  const fs::path folder =
      fs::temp_directory_path() / ("tessline-environment-" + std::to_string(::getpid()));
  const long objectsBefore = standin::objc::liveObjects();
  const std::shared_ptr<platform::HostEnvironment> environment = platform::makeMacEnvironment();
};

TEST_F(MacEnvironmentTest, VariablesAreReadAnew) {
  ::setenv("TESSLINE_TEST", "a=b=", 1);
  EXPECT_EQ(environment->variables()["TESSLINE_TEST"], "a=b=");
  ::setenv("TESSLINE_TEST", "", 1);
  EXPECT_EQ(environment->variables().count("TESSLINE_TEST"), 1U);
  EXPECT_EQ(environment->variables()["TESSLINE_TEST"], "");
  ::unsetenv("TESSLINE_TEST");
  EXPECT_EQ(environment->variables().count("TESSLINE_TEST"), 0U);
}

TEST_F(MacEnvironmentTest, UserIsTheOneWhoseRightsCount) {
  EXPECT_EQ(environment->effectiveUserID(), ::geteuid());
}

TEST_F(MacEnvironmentTest, HomeIsWhatTheSystemSays) {
  set({.homeDirectory = "/Users/Zoë"});
  EXPECT_EQ(environment->homeDirectory(), "/Users/Zoë");
}

TEST_F(MacEnvironmentTest, DataGoToTheFirstApplicationSupportOfTheUser) {
  set({.applicationSupport = {"/Users/a/Library/Application Support", "/elsewhere"}});
  EXPECT_EQ(environment->applicationSupportDirectory(), "/Users/a/Library/Application Support");
  constexpr auto applicationSupportOfUser = "URLsForDirectory 14 1";
  EXPECT_EQ(foundation::calls(), Calls{applicationSupportOfUser});
  set({});
  EXPECT_EQ(environment->applicationSupportDirectory(), std::nullopt);
}

TEST_F(MacEnvironmentTest, ApplicationMayHaveAnIdentifier) {
  EXPECT_EQ(environment->mainBundleIdentifier(), std::nullopt);
  set({.mainBundle = {.identifier = "com.example.app", .resourceDirectory = {}}});
  EXPECT_EQ(environment->mainBundleIdentifier(), "com.example.app");
}

TEST_F(MacEnvironmentTest, ResourcesAreThoseOfTheirBundle) {
  const std::string ofApplication = touch("app/tool");
  const std::string ofLibrary = touch("library/data.bin");
  EXPECT_EQ(environment->resource(Bundle::main, "tool", ""), ofApplication);
  EXPECT_EQ(environment->resource(Bundle::library, "tool", ""), std::nullopt);
  EXPECT_EQ(environment->resource(Bundle::library, "data", "bin"), ofLibrary);
  EXPECT_EQ(environment->resource(Bundle::main, "data", "bin"), std::nullopt);
}

TEST_F(MacEnvironmentTest, NameOfAResourceEndsWhereItEnds) {
  const std::string tool = touch("app/tool");
  touch("app/toolbox");
  constexpr std::string_view name = "toolbox";
  EXPECT_EQ(environment->resource(Bundle::main, name.substr(0, 4), ""), tool);
}

TEST_F(MacEnvironmentTest, ResourceWithoutAnExtensionHasNoType) {
  environment->resource(Bundle::main, "tool", "");
  environment->resource(Bundle::library, "data", "bin");
  EXPECT_EQ(foundation::calls(),
            (Calls{"pathForResource tool nil", "bundleForClass TesslineLibraryAnchor",
                   "pathForResource data bin"}));
}

}  // namespace
}  // namespace tessline::test
