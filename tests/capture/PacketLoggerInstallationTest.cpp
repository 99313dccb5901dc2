#include "tessline/capture/PacketLoggerInstallation.h"
#include "tessline/model/TesslineError.h"
#include "tests/capture/FakeInstallationHost.h"
#include "tests/capture/PackedRuntime.h"
#include "tests/support/Bytes.h"
#include "tests/support/ZipArchive.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using Install = PacketLoggerInstallation;
namespace fs = std::filesystem;

const std::string unzip = "/usr/bin/unzip";
const std::string osascript = "/usr/bin/osascript";
const std::string helper = "/Library/PrivilegedHelperTools/com.morvane.helper";
constexpr std::uint32_t executableFile = ZipEntry::regularFile | 0755;

// What was thrown; equality is that of all three parts.
struct Thrown {
  std::string domain;
  std::int64_t code = 0;
  std::string description;
  bool operator==(const Thrown&) const = default;
};
std::ostream& operator<<(std::ostream& stream, const Thrown& error) {
  return stream << error.domain << " " << error.code << " \"" << error.description << "\"";
}
const Thrown nothing;

Thrown thrownBy(const std::function<void()>& action) {
  try {
    action();
    return nothing;
  } catch (const TesslineError& error) {
    return {error.domain(), error.code(), error.localizedDescription()};
  }
}

Thrown scriptedFailure(const std::string& step) {
  return {"Test", 77, "cannot " + step};
}

class PacketLoggerInstallationTest : public testing::Test {
 protected:
  PacketLoggerInstallationTest() {
    environment.applicationSupport = directory / "Application Support";
    environment.identifier = "org.example.app";
  }

  std::string root() const {
    return (directory / "Application Support/org.example.app/PacketLoggerHost").native();
  }
  std::string tool() const { return root() + "/Resources/packetlogger"; }
  std::string marker() const { return root() + "/.install-version"; }
  std::string archivePath() const { return root() + "/runtime.zip"; }

  // A file of that content, with the directories it stands in.
  void put(const std::string& path, std::string_view content, unsigned permissions = 0644) const {
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << content;
    fs::permissions(path, static_cast<fs::perms>(permissions));
  }
  void putInstalledRuntime() const {
    put(tool(), "old tool", 0755);
    put(marker(), "1");
  }
  // A runtime that somebody installed before, in another version.
  void putOldRuntime() const {
    putInstalledRuntime();
    put(marker(), "0");
  }
  // The packed runtime comes with the application.
  void bundleData(const std::vector<std::uint8_t>& data) {
    environment.mainResources["PacketLoggerRuntime.payload"] = directory.file(
        "the payload", std::string_view(reinterpret_cast<const char*>(data.data()), data.size()));
  }
  void bundle(const std::vector<std::uint8_t>& archive) {
    bundleData(PackedRuntime{.key = bytes("13 37 c0"), .archive = archive}.packed());
  }
  void bundleEntries(const std::vector<ZipEntry>& entries) { bundle(zipArchive(entries)); }
  void bundleGoodRuntime() { bundleEntries({goodTool}); }

  Thrown installingRuntime() {
    return thrownBy([this] { Install::installRuntime(host); });
  }
  Thrown installingHelper() {
    return thrownBy([this] { Install::installPrivilegedHelper(host); });
  }
  unsigned permissionsOf(const std::string& path) const {
    return static_cast<unsigned>(fs::status(path).permissions());
  }
  // Everything in the test's directory, relative to it, without the payload.
  std::vector<std::string> everything() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(directory.path())) {
      const auto name = entry.path().lexically_relative(directory.path()).native();
      if (!entry.is_directory() && name != "the payload") names.push_back(name);
    }
    std::ranges::sort(names);
    return names;
  }
  static std::string inRoot(const std::string& name) {
    return "Application Support/org.example.app/PacketLoggerHost/" + name;
  }

  const TemporaryDirectory directory;
  FakeInstallationHost host;
  ScriptedEnvironment& environment = *host.scriptedEnvironment;
  ScriptedFiles& files = *host.files;
  const ZipEntry goodTool{"Resources/packetlogger", "#!/bin/sh\necho new tool\n", executableFile};
};

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

using RuntimeInstallation = PacketLoggerInstallationTest;

TEST_F(RuntimeInstallation, UnpacksTheRuntimeAndMarksIt) {
  bundleEntries({goodTool,
                 {"Frameworks/Kit.framework/", "", ZipEntry::directory | 0755},
                 {"Frameworks/Kit.framework/Kit", "code"}});
  ASSERT_EQ(installingRuntime(), nothing);
  EXPECT_TRUE(Install::isRuntimeInstalled(host));
  EXPECT_EQ(readText(tool()), goodTool.content);
  EXPECT_EQ(readText(marker()), "1");
  EXPECT_EQ(everything(), (std::vector<std::string>{inRoot(".install-version"),
                                                    inRoot("Frameworks/Kit.framework/Kit"),
                                                    inRoot("Resources/packetlogger")}));
}

TEST_F(RuntimeInstallation, TakesThePayloadOfTheLibraryToo) {
  bundleGoodRuntime();
  std::swap(environment.mainResources, environment.libraryResources);
  EXPECT_EQ(installingRuntime(), nothing);
  EXPECT_EQ(readText(tool()), goodTool.content);
}

TEST_F(RuntimeInstallation, RunsUnzipAsItIsMeantTo) {
  bundleGoodRuntime();
  installingRuntime();
  ASSERT_EQ(host.launched.size(), 1U);
  EXPECT_EQ(host.launched[0].executable, unzip);
  EXPECT_EQ(host.launched[0].arguments,
            (std::vector<std::string>{"-o", "-q", archivePath(), "-d", root()}));
}

TEST_F(RuntimeInstallation, GoesStepByStepWithTheMarkerLast) {
  putOldRuntime();
  put(root() + "/Frameworks/Old", "old");
  bundleEntries({{"Resources/packetlogger", "tool", ZipEntry::regularFile | 0644}});
  ASSERT_EQ(installingRuntime(), nothing);
  EXPECT_EQ(files.log,
            (std::vector<std::string>{
                "read " + environment.mainResources["PacketLoggerRuntime.payload"],
                "make " + root(), "write " + archivePath(), "remove " + root() + "/Resources",
                "remove " + root() + "/Frameworks", "run " + unzip, "remove " + archivePath(),
                "test " + tool(), "chmod " + tool(), "test " + tool(), "write " + marker()}));
}

TEST_F(RuntimeInstallation, MakesTheToolExecutable) {
  bundleEntries({{"Resources/packetlogger", "tool", ZipEntry::regularFile | 0644}});
  ASSERT_EQ(installingRuntime(), nothing);
  EXPECT_EQ(permissionsOf(tool()), 0755U);
  EXPECT_TRUE(Install::isRuntimeInstalled(host));
}

TEST_F(RuntimeInstallation, KeepsTheModeOfAToolThatIsExecutable) {
  bundleEntries({{"Resources/packetlogger", "tool", ZipEntry::regularFile | 0700}});
  ASSERT_EQ(installingRuntime(), nothing);
  EXPECT_EQ(permissionsOf(tool()), 0700U);
}

TEST_F(RuntimeInstallation, ReplacesResourcesAndFrameworksAndKeepsTheRest) {
  putOldRuntime();
  put(root() + "/Resources/deep/old", "old");
  put(root() + "/Frameworks/Old.framework/Old", "old");
  put(root() + "/notes", "the user's");
  bundleGoodRuntime();
  ASSERT_EQ(installingRuntime(), nothing);
  EXPECT_EQ(everything(),
            (std::vector<std::string>{inRoot(".install-version"), inRoot("Resources/packetlogger"),
                                      inRoot("notes")}));
  EXPECT_EQ(readText(tool()), goodTool.content);
  EXPECT_EQ(readText(root() + "/notes"), "the user's");
}

TEST_F(RuntimeInstallation, ReplacesFilesThatStandWhereItsFoldersGo) {
  put(root() + "/Resources", "a file");
  put(root() + "/Frameworks", "another");
  bundleGoodRuntime();
  EXPECT_EQ(installingRuntime(), nothing);
  EXPECT_FALSE(fs::exists(root() + "/Frameworks"));
}

TEST_F(RuntimeInstallation, RemovesALinkedFolderAndNotWhatItLeadsTo) {
  put(directory / "elsewhere/precious", "precious");
  fs::create_directories(root());
  fs::create_directory_symlink(directory / "elsewhere", root() + "/Resources");
  bundleGoodRuntime();
  ASSERT_EQ(installingRuntime(), nothing);
  EXPECT_FALSE(fs::is_symlink(root() + "/Resources"));
  EXPECT_EQ(everything(),
            (std::vector<std::string>{inRoot(".install-version"), inRoot("Resources/packetlogger"),
                                      "elsewhere/precious"}));
}

TEST_F(RuntimeInstallation, MayBeRepeated) {
  bundleGoodRuntime();
  ASSERT_EQ(installingRuntime(), nothing);
  EXPECT_EQ(installingRuntime(), nothing);
  EXPECT_TRUE(Install::isRuntimeInstalled(host));
}

TEST_F(RuntimeInstallation, IfNeededDoesNothingToOneThatIsInstalled) {
  putInstalledRuntime();
  Install::installRuntimeIfNeeded(host);
  EXPECT_EQ(readText(tool()), "old tool");
  EXPECT_TRUE(host.launched.empty());
}

TEST_F(RuntimeInstallation, IfNeededReplacesAnOldOne) {
  putOldRuntime();
  bundleGoodRuntime();
  Install::installRuntimeIfNeeded(host);
  EXPECT_EQ(readText(tool()), goodTool.content);
  EXPECT_TRUE(Install::isRuntimeInstalled(host));
}

TEST_F(RuntimeInstallation, NeedsThePayload) {
  putOldRuntime();
  const Thrown expected{"Morvane", 404,
                        "PacketLoggerRuntime.payload not found in the application bundle."};
  EXPECT_EQ(installingRuntime(), expected);
  EXPECT_EQ(thrownBy([this] { Install::installRuntimeIfNeeded(host); }), expected);
  EXPECT_EQ(readText(tool()), "old tool");
}

TEST_F(RuntimeInstallation, PassesOnThatThePayloadCannotBeRead) {
  environment.mainResources["PacketLoggerRuntime.payload"] = (directory / "gone").native();
  const Thrown error = installingRuntime();
  EXPECT_EQ(error.domain, "POSIX");
  EXPECT_EQ(error.code, ENOENT);
  EXPECT_FALSE(fs::exists(root()));
}

TEST_F(RuntimeInstallation, RefusesAPayloadBeforeAnythingChanges) {
  putOldRuntime();
  bundleData(bytes("4d 52 50 4c 01 00 01 00 00 00 00"));
  EXPECT_EQ(
      installingRuntime(),
      (Thrown{"Morvane", 400, "PacketLoggerRuntime.payload did not decode to a zip archive."}));
  EXPECT_EQ(readText(tool()), "old tool");
  EXPECT_EQ(readText(marker()), "0");
  EXPECT_FALSE(fs::exists(archivePath()));
}

TEST_F(RuntimeInstallation, PassesOnThatThereIsNoToolToMakeExecutable) {
  putOldRuntime();
  bundleEntries({{"Resources/readme", "nothing else"}});
  const Thrown error = installingRuntime();
  EXPECT_EQ(error.domain, "POSIX");
  EXPECT_EQ(error.code, ENOENT);
  EXPECT_EQ(files.log.back(), "chmod " + tool());
  EXPECT_EQ(readText(marker()), "0");
  EXPECT_FALSE(fs::exists(archivePath()));
}

TEST_F(RuntimeInstallation, RefusesAToolThatIsADirectory) {
  putOldRuntime();
  bundleEntries({{"Resources/packetlogger/", "", ZipEntry::directory | 0755}});
  EXPECT_EQ(installingRuntime(),
            (Thrown{"Morvane", 500,
                    "PacketLogger extract succeeded but " + tool() + " is not executable."}));
  EXPECT_EQ(readText(marker()), "0");
  EXPECT_FALSE(Install::isRuntimeInstalled(host));
}

TEST_F(RuntimeInstallation, FailsWithWhatUnzipSaysOfABrokenArchive) {
  putOldRuntime();
  bundle(bytes("50 4b 03 04 00 00 00 00 00 00 00 00"));
  const Thrown error = installingRuntime();
  EXPECT_EQ(error.domain, "Morvane");
  EXPECT_EQ(error.code, 9);
  const std::string prefix = "Failed to extract PacketLogger runtime: ";
  ASSERT_TRUE(error.description.starts_with(prefix)) << error.description;
  const std::string said = error.description.substr(prefix.size());
  EXPECT_NE(said.find("End-of-central-directory signature not found"), std::string::npos) << said;
  EXPECT_EQ(said.find_first_not_of(" \t\r\n"), 0U) << said;
  EXPECT_EQ(said.find_last_not_of(" \t\r\n"), said.size() - 1) << said;
  EXPECT_FALSE(fs::exists(archivePath()));
  EXPECT_FALSE(fs::exists(root() + "/Resources"));
  EXPECT_EQ(readText(marker()), "0");
  EXPECT_FALSE(Install::isRuntimeInstalled(host));
}

TEST_F(RuntimeInstallation, FailsWhereAFileIsNotWhatItsChecksumSays) {
  auto archive = zipArchive({goodTool});
  archive[30 + goodTool.name.size()] ^= 1;
  bundle(archive);
  EXPECT_EQ(installingRuntime().code, 2);
  EXPECT_FALSE(fs::exists(marker()));
}

class FailingUnzip : public PacketLoggerInstallationTest {
 protected:
  Thrown installingWhileUnzipRuns(const std::string& command) {
    putOldRuntime();
    bundleGoodRuntime();
    host.processes->redirect(unzip, command);
    Thrown error = installingRuntime();
    EXPECT_EQ(readText(marker()), "0");
    EXPECT_FALSE(fs::exists(archivePath()));
    return error;
  }
};

TEST_F(FailingUnzip, IsQuotedWithoutTheBlanksAround) {
  EXPECT_EQ(installingWhileUnzipRuns("printf ' \\n\\tdisk full\\nsorry \\r\\n\\n' >&2; exit 50"),
            (Thrown{"Morvane", 50, "Failed to extract PacketLogger runtime: disk full\nsorry"}));
}

TEST_F(FailingUnzip, ThatSaysNothingIsQuotedWithNothing) {
  EXPECT_EQ(installingWhileUnzipRuns("exit 3"),
            (Thrown{"Morvane", 3, "Failed to extract PacketLogger runtime: "}));
}

TEST_F(FailingUnzip, ThatCannotBeReadIsAnUnknownError) {
  EXPECT_EQ(installingWhileUnzipRuns("printf 'disk \\377 full' >&2; exit 3"),
            (Thrown{"Morvane", 3, "Failed to extract PacketLogger runtime: unknown error"}));
}

TEST_F(FailingUnzip, ThatASignalEndedHasItsNumber) {
  EXPECT_EQ(installingWhileUnzipRuns("kill -9 $$").code, 9);
}

TEST_F(FailingUnzip, ThatComplainsWithoutEndMayComeToAnEnd) {
  const Thrown error = installingWhileUnzipRuns("yes | head -c 1000000 >&2; exit 4");
  EXPECT_EQ(error.code, 4);
  EXPECT_EQ(error.description.size(),
            std::string_view("Failed to extract PacketLogger runtime: ").size() + 1'000'000 - 1);
}

TEST_F(FailingUnzip, ThatComplainsAndSucceedsIsNone) {
  bundleGoodRuntime();
  host.processes->redirect(unzip, R"(echo complaint >&2; /usr/bin/unzip "$@")");
  EXPECT_EQ(installingRuntime(), nothing);
}

TEST_F(RuntimeInstallation, PassesOnThatUnzipCannotBeStarted) {
  putOldRuntime();
  bundleGoodRuntime();
  host.processes->redirect(unzip, "");
  host.processes->onLaunch = [](const auto& description) {
    throw TesslineError("POSIX", ENOENT, description.executable + ": gone");
  };
  EXPECT_EQ(installingRuntime(), (Thrown{"POSIX", ENOENT, "/usr/bin/unzip: gone"}));
  EXPECT_EQ(readText(marker()), "0");
}

TEST_F(RuntimeInstallation, EveryStepThatFailsIsPassedOnAndLeavesTheOldMarker) {
  bundleEntries({{"Resources/packetlogger", "tool", ZipEntry::regularFile | 0644}});
  const std::string payload = environment.mainResources["PacketLoggerRuntime.payload"];
  for (const std::string& step : std::vector<std::string>{
           "read " + payload, "make " + root(), "write " + archivePath(),
           "remove " + root() + "/Resources", "remove " + root() + "/Frameworks", "chmod " + tool(),
           "write " + marker()}) {
    putOldRuntime();
    put(root() + "/Frameworks/Old", "old");
    files.failing = {step};
    files.log.clear();
    EXPECT_EQ(installingRuntime(), scriptedFailure(step));
    EXPECT_EQ(files.log.back(), step);
    EXPECT_EQ(readText(marker()), "0") << step;
  }
}

TEST_F(RuntimeInstallation, ArchiveThatCannotBeRemovedDoesNotMatter) {
  bundleGoodRuntime();
  files.failing = {"remove " + archivePath()};
  EXPECT_EQ(installingRuntime(), nothing);
  EXPECT_TRUE(Install::isRuntimeInstalled(host));
  bundle(bytes("50 4b 03 04 00 00 00 00"));
  EXPECT_EQ(installingRuntime().code, 9);
}

// What an archive names must not reach beyond the root. Nothing here looks at the names; it is
// unzip that holds them back. It takes "../" off a name, about which it is silent when told to be
// quiet, and a leading "/", which it reports by a status that is not 0. It makes links only when
// all else has been unpacked, so that nothing goes through one of the same archive.
class TraversingArchive : public PacketLoggerInstallationTest {
 protected:
  // What stands outside of the root after an installation.
  std::vector<std::string> strayed() const {
    std::vector<std::string> names = everything();
    std::erase_if(names, [](const std::string& name) { return name.starts_with(inRoot("")); });
    return names;
  }
};

TEST_F(TraversingArchive, WithNamesThatLeadUpStaysInTheRoot) {
  bundleEntries({goodTool,
                 {"../evil", "evil"},
                 {"../../../../evil", "evil"},
                 {"Resources/../../worse", "evil"}});
  EXPECT_EQ(installingRuntime(), nothing);
  EXPECT_EQ(strayed(), std::vector<std::string>{});
  EXPECT_EQ(readText(root() + "/evil"), "evil");
  EXPECT_EQ(readText(root() + "/Resources/worse"), "evil");
}

TEST_F(TraversingArchive, WithAbsoluteNamesStaysInTheRoot) {
  const std::string target = (directory / "evil").native();
  bundleEntries({goodTool, {target, "evil"}});
  const Thrown error = installingRuntime();
  EXPECT_EQ(error.code, 1);
  EXPECT_NE(error.description.find("stripped absolute path spec"), std::string::npos)
      << error.description;
  EXPECT_EQ(strayed(), std::vector<std::string>{});
  EXPECT_EQ(readText(root() + target), "evil");
  EXPECT_FALSE(fs::exists(marker()));
}

TEST_F(TraversingArchive, WithAFileThroughItsOwnLinkStaysInTheRoot) {
  fs::create_directory(directory / "outside");
  bundleEntries({goodTool,
                 {"link", (directory / "outside").native(), ZipEntry::symbolicLink | 0777},
                 {"link/evil", "evil"}});
  const Thrown error = installingRuntime();
  EXPECT_EQ(error.domain, "Morvane");
  EXPECT_NE(error.code, 0);
  EXPECT_EQ(strayed(), std::vector<std::string>{});
  EXPECT_TRUE(fs::is_empty(directory / "outside"));
  EXPECT_FALSE(fs::exists(marker()));
}

class HelperInstallation : public PacketLoggerInstallationTest {
 protected:
  HelperInstallation() {
    putInstalledRuntime();
    environment.mainResources["siri-remote-helper"] = "/Applications/A.app/siri-remote-helper";
  }
  // A program that asks the administrator in the place of the system's.
  Thrown installingWhileOsascriptRuns(const std::string& command) {
    host.processes->redirect(osascript, command);
    return installingHelper();
  }
};

TEST_F(HelperInstallation, AsksWithAScript) {
  EXPECT_EQ(installingWhileOsascriptRuns("exit 0"), nothing);
  ASSERT_EQ(host.launched.size(), 1U);
  EXPECT_EQ(host.launched[0].executable, osascript);
  EXPECT_EQ(host.launched[0].arguments,
            (std::vector<std::string>{
                "-e",
                "do shell script \"mkdir -p /Library/PrivilegedHelperTools && cp "
                "'/Applications/A.app/siri-remote-helper' "
                "'/Library/PrivilegedHelperTools/com.morvane.helper' && chown root:wheel "
                "'/Library/PrivilegedHelperTools/com.morvane.helper' && chmod 4755 "
                "'/Library/PrivilegedHelperTools/com.morvane.helper'\" with administrator "
                "privileges"}));
}

TEST_F(HelperInstallation, TakesTheHelperOfTheApplicationBeforeTheLibrarys) {
  environment.libraryResources["siri-remote-helper"] = "/library/helper";
  installingWhileOsascriptRuns("exit 0");
  EXPECT_NE(host.launched.back().arguments[1].find("'/Applications/A.app/siri-remote-helper'"),
            std::string::npos);
  environment.mainResources.clear();
  installingHelper();
  EXPECT_NE(host.launched.back().arguments[1].find("'/library/helper'"), std::string::npos);
}

TEST_F(HelperInstallation, InstallsTheRuntimeFirst) {
  put(marker(), "0");
  bundleGoodRuntime();
  EXPECT_EQ(installingWhileOsascriptRuns("exit 0"), nothing);
  EXPECT_EQ(host.runs(unzip), 1);
  EXPECT_EQ(host.launched.back().executable, osascript);
  EXPECT_TRUE(Install::isRuntimeInstalled(host));
}

TEST_F(HelperInstallation, DoesNotInstallTheRuntimeAgain) {
  bundleGoodRuntime();
  EXPECT_EQ(installingWhileOsascriptRuns("exit 0"), nothing);
  EXPECT_EQ(host.runs(unzip), 0);
  EXPECT_EQ(readText(tool()), "old tool");
}

TEST_F(HelperInstallation, FailsAsTheRuntimesDoes) {
  put(marker(), "0");
  environment.mainResources.clear();
  EXPECT_EQ(
      installingHelper(),
      (Thrown{"Morvane", 404, "PacketLoggerRuntime.payload not found in the application bundle."}));
  EXPECT_EQ(host.runs(osascript), 0);
}

TEST_F(HelperInstallation, NeedsTheHelperButInstallsTheRuntimeWithoutIt) {
  put(marker(), "0");
  environment.mainResources.clear();
  bundleGoodRuntime();
  EXPECT_EQ(installingHelper(),
            (Thrown{"Morvane", 404, "siri-remote-helper binary not found in application bundle."}));
  EXPECT_TRUE(Install::isRuntimeInstalled(host));
  EXPECT_EQ(host.runs(osascript), 0);
}

TEST_F(HelperInstallation, FailsWithWhatTheScriptRunnerSays) {
  EXPECT_EQ(
      installingWhileOsascriptRuns("printf '\\n 0:9: User canceled. (-128) \\n' >&2; exit 1"),
      (Thrown{"Morvane", 1, "Failed to install privileged helper: 0:9: User canceled. (-128)"}));
  EXPECT_EQ(installingWhileOsascriptRuns("exit 77"),
            (Thrown{"Morvane", 77, "Failed to install privileged helper: "}));
}

TEST_F(HelperInstallation, FailsWithAnUnknownErrorIfThatCannotBeRead) {
  EXPECT_EQ(installingWhileOsascriptRuns("printf 'no\\377' >&2; exit 2"),
            (Thrown{"Morvane", 2, "Failed to install privileged helper: Unknown error"}));
}

TEST_F(HelperInstallation, ComplaintsOfAScriptThatSucceedsDoNotMatter) {
  EXPECT_EQ(installingWhileOsascriptRuns("echo warning >&2"), nothing);
}

TEST_F(HelperInstallation, PassesOnThatTheScriptRunnerCannotBeStarted) {
  host.processes->onLaunch = [](const auto& description) {
    throw TesslineError("POSIX", ENOENT, description.executable + ": gone");
  };
  EXPECT_EQ(installingHelper(), (Thrown{"POSIX", ENOENT, "/usr/bin/osascript: gone"}));
}

// The command of the script, run by a real shell that has harmless functions in the place of the
// commands. They write their words, each between brackets.
class HelperInstallationCommand : public testing::Test {
 protected:
  static std::string commandFor(const std::string& source) {
    const std::string script = Install::helperInstallationScript(source);
    const std::string begin = "do shell script \"";
    const std::string end = "\" with administrator privileges";
    EXPECT_TRUE(script.starts_with(begin) && script.ends_with(end)) << script;
    return script.substr(begin.size(), script.size() - begin.size() - end.size());
  }
  // What the command says that it does.
  std::string words(const std::string& source, const std::string& moreFunctions = "") {
    const std::string functions =
        "say() { printf '[%s]' \"$@\"; echo; }\n"
        "mkdir() { say mkdir \"$@\"; }\ncp() { say cp \"$@\"; }\n"
        "chown() { say chown \"$@\"; }\nchmod() { say chmod \"$@\"; }\n";
    const auto processes = platform::hostPlatform()->childProcesses();
    const auto output = processes->makePipe();
    const auto process =
        processes->makeProcess({.executable = "/bin/sh",
                                .arguments = {"-c", functions + moreFunctions + commandFor(source)},
                                .standardOutput = output,
                                .standardError = nullptr});
    process->launch();
    const auto data = output->readDataToEndOfFile();
    status = process->waitUntilExit();
    return {data.begin(), data.end()};
  }
  static std::string expectedWords(const std::string& source) {
    return "[mkdir][-p][/Library/PrivilegedHelperTools]\n[cp][" + source + "][" + helper +
           "]\n[chown][root:wheel][" + helper + "]\n[chmod][4755][" + helper + "]\n";
  }
  std::int32_t status = -1;
};

TEST_F(HelperInstallationCommand, CopiesTheHelperAndGivesItToRoot) {
  EXPECT_EQ(words("/A/helper"), expectedWords("/A/helper"));
  EXPECT_EQ(status, 0);
}

TEST_F(HelperInstallationCommand, QuotesAsAShellWantsIt) {
  EXPECT_NE(commandFor("/It's/'here'").find(R"(cp '/It'\''s/'\''here'\''' ')"), std::string::npos);
}

TEST_F(HelperInstallationCommand, HandsOverTheVeryPath) {
  for (const std::string path :
       {"/Applications/My Remote.app/helper", "/It's mine/helper", "/'", "/''", "/a'b'c/''d''/e'",
        "/two  blanks/ end ", "/$HOME/${PATH}/$(date)/`date`", "/a;b&c|d>e<f", "/*?[a-z]~#!",
        "/back\\slash\\", "/new\nline", "/tab\there", "/caf\xC3\xA9", "/double\"quote"}) {
    EXPECT_EQ(words(path), expectedWords(path)) << path;
    EXPECT_EQ(status, 0) << path;
  }
}

TEST_F(HelperInstallationCommand, EndsAtTheFirstStepThatFails) {
  EXPECT_EQ(words("/A", "mkdir() { return 5; }\n"), "");
  EXPECT_EQ(status, 5);
  EXPECT_EQ(words("/A", "cp() { return 6; }\n"), "[mkdir][-p][/Library/PrivilegedHelperTools]\n");
  EXPECT_EQ(status, 6);
  EXPECT_EQ(words("/A", "chown() { return 7; }\n").find("chmod"), std::string::npos);
  EXPECT_EQ(status, 7);
}

// The script language has rules of its own, which are left alone.
TEST_F(HelperInstallationCommand, IsNotQuotedForTheScriptLanguage) {
  EXPECT_NE(Install::helperInstallationScript("/a\"b\\c").find("cp '/a\"b\\c' "),
            std::string::npos);
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
