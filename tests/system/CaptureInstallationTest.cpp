// What a user's capture looks for and puts on the machine when it starts.
#include "tests/capture/PackedRuntime.h"
#include "tests/support/ZipArchive.h"
#include "tests/system/CaptureMachine.h"

#include <fstream>
#include <iterator>

#include <sys/stat.h>

namespace tessline::test {
namespace {

constexpr const char* installing =
    "Installing privileged helper tool (requires administrator password)...";
const std::string couldNotStart = "Could not start PacketLogger: ";
const std::string couldNotInstall = couldNotStart + "Failed to install privileged helper: ";
const Statuses refusedRuntime = {
    runs, "PacketLogger: siri-remote-helper: /home/someone does not belong to root", exited(67)};

/// A machine whose helper has lost its set-uid bit.
void runWithoutHelper(const std::function<void(CaptureMachine& machine)>& body) {
  CaptureMachine::run([&body](CaptureMachine& machine) {
    machine.install(TESSLINE_HELPER, helperPath, 0, 0755);
    machine.write("/etc/group", "root:x:0:\nwheel:x:0:\n");
    machine.installRuntime("pause\n");
    body(machine);
  });
}

void expectInstalledHelper() {
  struct stat attributes = {};
  ASSERT_EQ(stat(helperPath, &attributes), 0);
  EXPECT_EQ(attributes.st_uid, 0U);
  EXPECT_EQ(attributes.st_gid, 0U);
  EXPECT_EQ(attributes.st_mode & 07777U, 04755U);
}

void expectRefusedInstallation(const std::string& text) {
  CaptureApplication application;
  application.start();
  application.waitForStatus(2);
  application.waitForNoChildren();
  application.expectAll({notCapturing(installing), notCapturing(text)});
}

/// An application's packed runtime, with the stand-in as its tool.
std::string packedRuntime() {
  std::ifstream file(TESSLINE_CAPTURE_TOOL, std::ios::binary);
  const std::string tool(std::istreambuf_iterator<char>(file), {});
  const PackedRuntime runtime{
      .archive = zipArchive({{"Resources/packetlogger", tool},
                             {"Resources/packetlogger.script", "introduce\npause\n"}})};
  const std::vector<std::uint8_t> data = runtime.packed();
  return {data.begin(), data.end()};
}

TEST(CaptureInstallation, AsksTheAdministratorAndInstallsTheHelper) {
  runWithoutHelper([](CaptureMachine& machine) {
    machine.letAdministratorAgree();
    CaptureApplication application;
    application.start();
    application.waitForStatus(2);
    application.stop();
    application.waitForStatus(3);
    application.waitForNoChildren();
    application.expectAll({notCapturing(installing), capturing(runs), notCapturing(stopped)});
    expectInstalledHelper();
  });
}

TEST(CaptureInstallation, AsksOnlyOnce) {
  runWithoutHelper([](CaptureMachine& machine) {
    std::filesystem::remove(helperPath);
    machine.letAdministratorAgree();
    CaptureApplication application;
    for (const int statuses : {3, 5}) {
      application.start();
      application.stop();
      application.waitForStatus(statuses);
    }
    application.expectAll({notCapturing(installing), capturing(runs), notCapturing(stopped),
                           capturing(runs), notCapturing(stopped)});
  });
}

TEST(CaptureInstallation, TellsThatTheAdministratorRefused) {
  runWithoutHelper([](CaptureMachine& machine) {
    machine.standIn(osascript, "complain 0:9: execution error: User canceled. (-128)\nexit 1\n");
    expectRefusedInstallation(couldNotInstall + "0:9: execution error: User canceled. (-128)");
  });
}

TEST(CaptureInstallation, TellsThatNobodyCanBeAsked) {
  runWithoutHelper([](CaptureMachine&) {
    expectRefusedInstallation(couldNotStart + "/usr/bin/osascript: No such file or directory");
  });
}

TEST(CaptureInstallation, TellsThatNothingWasInstalled) {
  runWithoutHelper([](CaptureMachine& machine) {
    std::filesystem::remove(helperPath);
    machine.standIn(osascript, "exit 0\n");
    expectRefusedInstallation(couldNotStart + helperPath + ": No such file or directory");
  });
}

TEST(CaptureInstallation, NeedsARuntimeBeforeTheHelper) {
  runWithoutHelper([](CaptureMachine& machine) {
    std::filesystem::remove(runtimeTool);
    machine.letAdministratorAgree();
    expectRefusedInstallation(couldNotStart +
                              "PacketLoggerRuntime.payload not found in the application bundle.");
  });
}

TEST(CaptureInstallation, HelperThatIsStillNotSetUidRefuses) {
  runWithoutHelper([](CaptureMachine& machine) {
    machine.standIn(osascript, "exit 0\n");
    CaptureApplication application;
    application.start();
    application.waitForStatus(4);
    application.expectAllTexts({installing, runs,
                                "PacketLogger: siri-remote-helper: it is not set-uid root and "
                                "cannot run the tool",
                                exited(71)});
  });
}

TEST(CaptureInstallation, FindsNoToolAnywhere) {
  CaptureMachine::run([](CaptureMachine&) {
    CaptureApplication application;
    application.start("-");
    application.waitForStatus(1);
    application.waitForNoChildren();
    EXPECT_EQ(application.counts(), "0 parsed, 0 accepted, 0 voice, 0 events; none");
    application.expectAll(
        {notCapturing("PacketLogger not found. Use Setup Assistant to install the PacketLogger "
                      "helper, or install Apple's PacketLogger from Additional Tools for Xcode.")});
  });
}

TEST(CaptureInstallation, FindsTheToolOfTheVariable) {
  CaptureMachine::run([](CaptureMachine&) {
    CaptureApplication application(nobody, {"PACKETLOGGER_PATH=/opt/tool/packetlogger"});
    application.start("-");
    application.waitForStatus(1);
    EXPECT_EQ(application.counts(),
              "0 parsed, 0 accepted, 0 voice, 0 events; /opt/tool/packetlogger");
    application.expectAll({capturing(runs)});
  });
}

TEST(CaptureInstallation, PrefersAnInstalledRuntimeToTheVariable) {
  CaptureMachine::run([](CaptureMachine& machine) {
    machine.directory(usersFolder, 0);
    machine.installRuntime("pause\n");
    CaptureApplication application(nobody, {"PACKETLOGGER_PATH=/opt/tool/packetlogger"});
    application.start("-");
    application.waitForStatus(1);
    EXPECT_EQ(application.counts(),
              std::string("0 parsed, 0 accepted, 0 voice, 0 events; ") + runtimeTool);
    application.expectAll({capturing(runs)});
  });
}

TEST(CaptureInstallation, PrefersTheVariableToARuntimeThatIsNotExecutable) {
  CaptureMachine::run([](CaptureMachine& machine) {
    machine.installRuntime("pause\n");
    machine.write(runtimeTool, "", 0, 0644);
    CaptureApplication application(nobody, {"PACKETLOGGER_PATH=/opt/tool/packetlogger"});
    application.start("-");
    application.waitForStatus(1);
    EXPECT_EQ(application.counts(),
              "0 parsed, 0 accepted, 0 voice, 0 events; /opt/tool/packetlogger");
    application.expectAll({capturing(runs)});
  });
}

TEST(CaptureInstallation, UnpacksTheRuntimeWhichTheHelperRefusesAsTheUsers) {
  CaptureMachine::run([](CaptureMachine& machine) {
    machine.addResource("PacketLoggerRuntime.payload", packedRuntime());
    CaptureApplication application(nobody, {"PACKETLOGGER_PATH=/opt/tool/packetlogger"});
    application.start("-");
    application.waitForStatus(3);
    application.expectAllTexts(refusedRuntime);
  });
}

TEST(CaptureInstallation, UnpacksTheRuntimeThatRootThenRuns) {
  CaptureMachine::run([](CaptureMachine& machine) {
    machine.addResource("PacketLoggerRuntime.payload", packedRuntime());
    machine.directory(usersFolder, 0);
    CaptureApplication application(0);
    application.start("-");
    application.waitForStatus(2);
    application.expectAll(
        {capturing(runsDirectly),
         capturing(std::string("PacketLogger: user 0 ") + runtimeTool + " convert -s -f nhdr")});
  });
}

TEST(CaptureInstallation, ShowsTheAddressInTheSystemsReport) {
  CaptureMachine::run([](CaptureMachine& machine) {
    machine.standIn(systemProfiler,
                    "line Bluetooth:\nline   Not Connected:\nline     Keyboard:\n"
                    "line       Address: 00:00:00:00:00:01\nline       Product ID: 0x0200\n"
                    "line     Remote:\nline       Address: 12:34:56:78:9A:BC\n"
                    "line       Product ID: 0x0315\ncomplain not here\nexit 1\n");
    CaptureApplication application;
    application.start();
    application.waitForStatus(1);
    application.expectAll(
        {capturing("PacketLogger capture running; detected remote 12:34:56:78:9A:BC using "
                   "privileged helper")});
  });
}

TEST(CaptureInstallation, AsksTheSystemForBluetoothDevicesAlone) {
  CaptureMachine::run([](CaptureMachine& machine) {
    machine.standIn(systemProfiler,
                    "require SPBluetoothDataType\nline Remote:\nline Address: A\n"
                    "line Product ID: 0x0315\n");
    CaptureApplication application;
    application.start();
    application.waitForStatus(1);
    application.expectAll(
        {capturing("PacketLogger capture running; detected remote A using privileged helper")});
  });
}

TEST(CaptureInstallation, ShowsTheAddressThatItWasGiven) {
  CaptureMachine::run([](CaptureMachine& machine) {
    machine.standIn(systemProfiler, "line Remote:\nline Address: A\nline Product ID: 0x0315\n");
    machine.script("line " + packet("1B 23 00 03 00") + "\npause\n");
    CaptureApplication application;
    application.start(goodTool, "B");
    application.waitForPayload(1);
    application.expectAll(
        {capturing("PacketLogger capture running; detected remote B using privileged helper")});
  });
}

TEST(CaptureInstallation, HelperSaysWhatItRefusesAndTheCaptureIsOver) {
  CaptureMachine::run([](CaptureMachine& machine) {
    machine.standIn("/home/someone/packetlogger", "pause\n");
    CaptureApplication application;
    application.start("/home/someone/packetlogger");
    application.waitForStatus(3);
    application.expectAllTexts(refusedRuntime);
  });
}

}  // namespace
}  // namespace tessline::test
