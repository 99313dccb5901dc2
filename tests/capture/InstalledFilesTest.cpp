#include "tests/capture/InstallationFixture.h"

namespace tessline::test {
namespace {

using InstallationPaths = PacketLoggerInstallationTest;

TEST_F(InstallationPaths, StandInTheFolderOfTheApplication) {
  EXPECT_EQ(Install::installedRuntimeRootURL(host), root());
  EXPECT_EQ(Install::installedPacketLoggerPath(host), root() + "/Resources/packetlogger");
  EXPECT_EQ(Install::installedVersionMarkerPath(host), root() + "/.install-version");
}

TEST_F(InstallationPaths, WithoutAnIdentifierAreOursAlone) {
  environment.applicationSupport = "/support";
  environment.identifier = std::nullopt;
  EXPECT_EQ(Install::installedRuntimeRootURL(host), "/support/com.morvane/PacketLoggerHost");
}

TEST_F(InstallationPaths, WithoutApplicationSupportStandInTheHome) {
  environment.applicationSupport = std::nullopt;
  EXPECT_EQ(Install::installedRuntimeRootURL(host),
            "/home/someone/Library/Application Support/org.example.app/PacketLoggerHost");
  environment.identifier = std::nullopt;
  EXPECT_EQ(Install::installedPacketLoggerPath(host),
            "/home/someone/Library/Application Support/com.morvane/PacketLoggerHost/Resources/"
            "packetlogger");
}

TEST_F(InstallationPaths, AreComputedAnewByEveryCall) {
  Install::installedRuntimeRootURL(host);
  environment.identifier = "another";
  environment.applicationSupport = "/elsewhere";
  EXPECT_EQ(Install::installedRuntimeRootURL(host), "/elsewhere/another/PacketLoggerHost");
}

TEST_F(InstallationPaths, PayloadOfTheApplicationOutranksTheLibrarys) {
  EXPECT_EQ(Install::bundledPayloadURL(host), std::nullopt);
  environment.libraryResources["PacketLoggerRuntime.payload"] = "/library/payload";
  EXPECT_EQ(Install::bundledPayloadURL(host), "/library/payload");
  environment.mainResources["PacketLoggerRuntime.payload"] = "/main/payload";
  EXPECT_EQ(Install::bundledPayloadURL(host), "/main/payload");
}

using InstalledRuntime = PacketLoggerInstallationTest;

TEST_F(InstalledRuntime, IsAToolWithTheMarkerOfToday) {
  EXPECT_FALSE(Install::isRuntimeInstalled(host));
  putInstalledRuntime();
  EXPECT_TRUE(Install::isRuntimeInstalled(host));
}

TEST_F(InstalledRuntime, MarkerMayStandAmongBlanks) {
  putInstalledRuntime();
  for (const std::string_view text : {"1", "1\n", " 1 ", "\t1\r\n", "\n\n1", "\xC2\xA0\x31"}) {
    put(marker(), text);
    EXPECT_TRUE(Install::isRuntimeInstalled(host)) << '"' << text << '"';
  }
}

TEST_F(InstalledRuntime, MarkerOfAnotherTextIsNone) {
  putInstalledRuntime();
  for (const std::string_view text : {"1.0", "", "\n", "01", "2", "11", "1 1", "1\xFF", "\xFF"}) {
    put(marker(), text);
    EXPECT_FALSE(Install::isRuntimeInstalled(host)) << '"' << text << '"';
  }
}

TEST_F(InstalledRuntime, NeedsAMarkerThatCanBeRead) {
  putInstalledRuntime();
  fs::remove(marker());
  EXPECT_FALSE(Install::isRuntimeInstalled(host));
  fs::create_directory(marker());
  EXPECT_FALSE(Install::isRuntimeInstalled(host));
}

TEST_F(InstalledRuntime, NeedsAToolThatIsExecutable) {
  putInstalledRuntime();
  fs::permissions(tool(), fs::perms::owner_read);
  EXPECT_FALSE(Install::isRuntimeInstalled(host));
  fs::remove(tool());
  EXPECT_FALSE(Install::isRuntimeInstalled(host));
  fs::create_directory(tool());
  EXPECT_FALSE(Install::isRuntimeInstalled(host));
}

class InstalledHelper : public PacketLoggerInstallationTest {
 protected:
  bool isInstalledWith(std::optional<platform::FileAttributes> attributes) {
    files.scriptedAttributes[helper] = attributes;
    return Install::isPrivilegedHelperInstalled(host);
  }
  void putHelper() { files.scriptedAttributes[helper] = {{0, 04755}}; }
};

TEST_F(InstalledHelper, IsRootsAndSetUserID) {
  EXPECT_TRUE(isInstalledWith({{0, 04755}}));
  EXPECT_TRUE(isInstalledWith({{0, 04700}}));
  EXPECT_TRUE(isInstalledWith({{0, 04000}}));
  EXPECT_TRUE(isInstalledWith({{0, 07777}}));
}

TEST_F(InstalledHelper, OfAnotherOwnerOrModeIsNone) {
  EXPECT_FALSE(isInstalledWith({{501, 04755}}));
  EXPECT_FALSE(isInstalledWith({{-2, 04755}}));
  EXPECT_FALSE(isInstalledWith({{0, 0755}}));
  EXPECT_FALSE(isInstalledWith({{0, 02755}}));
  EXPECT_FALSE(isInstalledWith({{0, 03777}}));
}

TEST_F(InstalledHelper, ThatCannotBeLookedAtIsNone) {
  EXPECT_FALSE(isInstalledWith(std::nullopt));
}

TEST_F(InstalledHelper, IsNeededForAFullInstallation) {
  putInstalledRuntime();
  isInstalledWith(std::nullopt);
  EXPECT_FALSE(Install::isFullyInstalled(host));
  putHelper();
  EXPECT_TRUE(Install::isFullyInstalled(host));
}

TEST_F(InstalledHelper, IsNotAFullInstallationWithoutTheRuntime) {
  putHelper();
  EXPECT_FALSE(Install::isFullyInstalled(host));
}

TEST_F(InstalledHelper, IsLookedForBeforeTheRuntime) {
  putHelper();
  Install::isFullyInstalled(host);
  EXPECT_EQ(files.log, (std::vector<std::string>{"look at " + helper, "test " + tool()}));
  files.log.clear();
  isInstalledWith(std::nullopt);
  files.log.clear();
  Install::isFullyInstalled(host);
  EXPECT_EQ(files.log, std::vector<std::string>{"look at " + helper});
}

class FindPacketLoggerPath : public PacketLoggerInstallationTest {
 protected:
  FindPacketLoggerPath() {
    environment.applicationSupport = "/support";
    environment.mainResources["packetlogger"] = "/main/packetlogger";
    environment.libraryResources["packetlogger"] = "/library/packetlogger";
    files.executables.emplace();
  }
  std::optional<std::string> found() { return Install::findPacketLoggerPath(variables, host); }
  // Where a tool is looked for when there is none.
  std::vector<std::string> places() {
    files.executables->clear();
    files.log.clear();
    EXPECT_EQ(found(), std::nullopt);
    std::vector<std::string> paths;
    for (const std::string& step : files.log) {
      EXPECT_TRUE(step.starts_with("test ")) << step;
      paths.push_back(step.substr(5));
    }
    return paths;
  }

  const std::string installed = "/support/org.example.app/PacketLoggerHost/Resources/packetlogger";
  const std::vector<std::string> allPlaces = {
      installed,
      "/variable/packetlogger",
      "/main/packetlogger",
      "/library/packetlogger",
      "/Applications/PacketLogger.app/Contents/Resources/packetlogger",
      "/home/someone/Desktop/SiriRemote/PacketLogger.app/Contents/Resources/packetlogger",
      "/Applications/Additional Tools/Hardware/PacketLogger.app/Contents/Resources/packetlogger",
      "/Applications/Utilities/PacketLogger.app/Contents/Resources/packetlogger"};
  std::map<std::string, std::string> variables = {{"PACKETLOGGER_PATH", "/variable/packetlogger"}};
};

TEST_F(FindPacketLoggerPath, LooksInEightPlacesInTheirOrder) {
  EXPECT_EQ(places(), allPlaces);
}

TEST_F(FindPacketLoggerPath, TakesTheFirstThatIsExecutable) {
  files.executables->insert(allPlaces.begin(), allPlaces.end());
  for (const std::string& place : allPlaces) {
    EXPECT_EQ(found(), place);
    files.executables->erase(place);
  }
  EXPECT_EQ(found(), std::nullopt);
}

TEST_F(FindPacketLoggerPath, TakesAnyOfThemAlone) {
  for (const std::string& place : allPlaces) {
    files.executables = {place};
    EXPECT_EQ(found(), place);
  }
}

TEST_F(FindPacketLoggerPath, InstalledRuntimeOutranksTheVariable) {
  files.executables = {installed, "/variable/packetlogger"};
  EXPECT_EQ(found(), installed);
  files.executables = {"/variable/packetlogger"};
  EXPECT_EQ(found(), "/variable/packetlogger");
}

TEST_F(FindPacketLoggerPath, InstalledRuntimeNeedsNoMarker) {
  environment.applicationSupport = directory / "Application Support";
  files.executables.reset();
  put(tool(), "tool", 0755);
  EXPECT_EQ(found(), tool());
}

TEST_F(FindPacketLoggerPath, PassesOverWhatIsAbsent) {
  variables = {{"PACKETLOGGER", "/x"}, {"packetlogger_path", "/y"}};
  environment.mainResources = {{"packetlogger.payload", "/z"}};
  environment.libraryResources.clear();
  std::vector<std::string> expected = allPlaces;
  expected.erase(expected.begin() + 1, expected.begin() + 4);
  EXPECT_EQ(places(), expected);
}

TEST_F(FindPacketLoggerPath, PassesOverTheFilesThatAreNotExecutable) {
  environment.applicationSupport = directory / "Application Support";
  files.executables.reset();
  put(tool(), "tool", 0644);
  put(directory / "variable", "tool", 0644);
  fs::create_directory(directory / "main");
  put(directory / "library", "tool", 0755);
  variables["PACKETLOGGER_PATH"] = directory / "variable";
  environment.mainResources["packetlogger"] = directory / "main";
  environment.libraryResources["packetlogger"] = directory / "library";
  EXPECT_EQ(found(), directory / "library");
}

TEST_F(FindPacketLoggerPath, ReadsTheHomeAnewByEveryCall) {
  places();
  environment.home = "/Users/other";
  EXPECT_EQ(places()[5],
            "/Users/other/Desktop/SiriRemote/PacketLogger.app/Contents/Resources/packetlogger");
}

}  // namespace
}  // namespace tessline::test
