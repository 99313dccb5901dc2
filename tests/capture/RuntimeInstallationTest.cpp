#include "tests/capture/InstallationFixture.h"

#include <chrono>
#include <future>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tessline::test {
namespace {

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

// Somebody who holds the complaints until the test is over.
class LingeringUnzip : public FailingUnzip {
 protected:
  LingeringUnzip() {
    if (::mkfifo(gate_.c_str(), 0600) != 0 || (opener_ = ::open(gate_.c_str(), O_RDWR)) < 0) {
      ADD_FAILURE() << "there is no gate";
    }
  }
  ~LingeringUnzip() override { ::close(opener_); }

  std::string leavingSomebody() const { return "(read -r line <'" + gate_ + "') & "; }
  Thrown inTime(const std::function<Thrown()>& action) const {
    auto error = std::async(std::launch::async, action);
    EXPECT_EQ(error.wait_for(std::chrono::seconds(60)), std::future_status::ready)
        << "waits for somebody else";
    EXPECT_EQ(::write(opener_, "\n", 1), 1);
    return error.get();
  }

 private:
  const TemporaryDirectory place_;
  const std::string gate_ = place_ / "gate";
  int opener_ = -1;
};

TEST_F(LingeringUnzip, ThatSucceedsIsOver) {
  bundleGoodRuntime();
  host.processes->redirect(
      unzip, leavingSomebody() + R"(echo complaint >&2; /usr/bin/unzip "$@"; exit $?)");
  EXPECT_EQ(inTime([this] { return installingRuntime(); }), nothing);
  EXPECT_TRUE(Install::isRuntimeInstalled(host));
}

TEST_F(LingeringUnzip, ThatFailsIsQuotedWithWhatItSaidUntilItsEnd) {
  EXPECT_EQ(inTime([this] {
              return installingWhileUnzipRuns(leavingSomebody() + "echo disk full >&2; exit 50");
            }),
            (Thrown{"Morvane", 50, "Failed to extract PacketLogger runtime: disk full"}));
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

}  // namespace
}  // namespace tessline::test
