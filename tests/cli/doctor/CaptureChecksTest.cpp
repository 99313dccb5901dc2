#include "cli/doctor/CaptureChecks.h"
#include "tests/cli/doctor/CheckPrinting.h"
#include "tests/cli/doctor/FakeMachine.h"

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using cli::Check;
using cli::CheckState;

constexpr std::string_view remoteReport =
    "Bluetooth:\n  Remote:\n    Address: C0:FF:EE:00:00:01\n    Product ID: 0x0315\n";

class CaptureChecks : public testing::Test {
 protected:
  // Everything is there.
  CaptureChecks() {
    machine.putRuntime();
    machine.putHelper();
    machine.report(remoteReport);
  }

  std::vector<Check> all() { return cli::captureChecks(machine, tool); }
  Check check(const std::string& name) {
    const auto checks = all();
    const auto found = std::ranges::find(checks, name, &Check::name);
    if (found == checks.end()) throw std::runtime_error("there is no check " + name);
    return *found;
  }
  // A check that says `state` and, among other things, `detail` and `remedy`.
  void expect(const std::string& name, CheckState state, std::string_view detail,
              std::string_view remedy = {}) {
    const Check found = check(name);
    EXPECT_EQ(found.state, state) << found;
    EXPECT_NE(found.detail.find(detail), std::string::npos) << found;
    EXPECT_NE(found.remedy.find(remedy), std::string::npos) << found;
    EXPECT_EQ(found.remedy.empty(), remedy.empty()) << found;
  }
  void removeRuntime() {
    machine.remove(machine.runtime());
    machine.remove(machine.marker());
  }
  // A tool of root's, named by the variable.
  void putVariablesTool() {
    machine.put(variablesTool, {});
    nameInVariable(variablesTool);
  }
  void nameInVariable(const std::string& path) {
    machine.surroundings().environmentVariables["PACKETLOGGER_PATH"] = path;
  }
  void becomeRoot() { machine.surroundings().userID = 0; }

  const std::string variablesTool = "/opt/variable/packetlogger";
  FakeMachine machine;
  std::optional<std::string> tool;
};

TEST_F(CaptureChecks, ComeInTheirOrder) {
  std::vector<std::string> names;
  for (const Check& each : all()) names.push_back(each.name);
  EXPECT_EQ(names, (std::vector<std::string>{"runtime", "runtime version", "helper", "tool",
                                             "tool's safety", "remote address"}));
}

TEST_F(CaptureChecks, ChangeNothingAndStartTheReportAlone) {
  all();
  EXPECT_EQ(machine.processes().startedCount(), 1);
}

TEST_F(CaptureChecks, AreAllRightForAToolOfRootsWithTheHelper) {
  removeRuntime();
  putVariablesTool();
  for (const Check& each : all()) {
    EXPECT_TRUE(each.state == CheckState::ok || each.state == CheckState::note) << each;
    EXPECT_EQ(each.remedy, "") << each;
  }
}

// The runtime.

TEST_F(CaptureChecks, FindTheRuntime) {
  expect("runtime", CheckState::ok, machine.runtime() + " is there and executable");
  expect("runtime version", CheckState::ok, machine.marker() + " says \"1\"");
}

TEST_F(CaptureChecks, SendForAMissingRuntimeThatCanBeInstalled) {
  removeRuntime();
  machine.bundle();
  expect("runtime", CheckState::missing, machine.runtime() + " is not there",
         "tessline install; the helper refuses a tool in a user's own folder (exit code 67): for "
         "captures without being root, copy the tool to where root alone can write");
  expect("runtime version", CheckState::note, "no runtime");
}

TEST_F(CaptureChecks, DoNotSendForARuntimeThatCannotBeInstalled) {
  removeRuntime();
  expect("runtime", CheckState::missing, "is not there", "no runtime came with this application");
}

TEST_F(CaptureChecks, TellARuntimeThatIsNotExecutable) {
  machine.entry(machine.runtime()).mode = 0644;
  expect("runtime", CheckState::missing, "is there, but not executable",
         "chmod 755 '" + machine.runtime() + "'");
  machine.bundle();
  expect("runtime", CheckState::missing, "is there, but not executable", "tessline install");
}

TEST_F(CaptureChecks, NeedNoRuntimeWhenThereIsAnotherTool) {
  removeRuntime();
  putVariablesTool();
  expect("runtime", CheckState::note, "not needed, as there is another tool");
}

TEST_F(CaptureChecks, WarnThatTheRuntimeWillTakeTheOtherToolsPlace) {
  removeRuntime();
  putVariablesTool();
  machine.bundle();
  expect("runtime", CheckState::warning,
         "a capture installs it first, and runs it instead of " + variablesTool,
         "tessline listen capture --tool " + variablesTool);
}

TEST_F(CaptureChecks, NeedNoRuntimeForANamedTool) {
  removeRuntime();
  tool = variablesTool;
  expect("runtime", CheckState::note, "not needed, as a tool is named");
  machine.putRuntime();
  machine.putMarker("0");
  expect("runtime version", CheckState::note, "not needed, as a tool is named");
}

// Its version.

TEST_F(CaptureChecks, TellAMissingMarker) {
  machine.remove(machine.marker());
  expect("runtime version", CheckState::missing, machine.marker() + " is not there",
         "tessline listen capture --tool PATH");
  machine.bundle();
  expect("runtime version", CheckState::missing, "a capture installs the runtime anew",
         "tessline install");
}

TEST_F(CaptureChecks, TellAnUnreadableMarker) {
  machine.entry(machine.marker()).isReadable = false;
  expect("runtime version", CheckState::missing,
         "cannot be read: " + machine.marker() + ": Permission denied", "install");
  machine.putMarker("\xFF");
  expect("runtime version", CheckState::missing, "cannot be read: it is not UTF-8", "install");
}

TEST_F(CaptureChecks, TellTheMarkerOfAnotherVersion) {
  machine.putMarker(" 0\n");
  expect("runtime version", CheckState::missing, "says \"0\" instead of \"1\"", "install");
  for (const std::string& text : {std::string(33, '1'), std::string("1\x1b[2J")}) {
    machine.putMarker(text);
    expect("runtime version", CheckState::missing, "says something else instead of \"1\"",
           "install");
  }
}

// The helper.

TEST_F(CaptureChecks, FindTheHelper) {
  expect("helper", CheckState::ok, machine.helper + " has the owner root and the mode 4755");
}

TEST_F(CaptureChecks, TellAMissingHelper) {
  machine.remove(machine.helper);
  expect("helper", CheckState::missing, machine.helper + " is not there",
         "sudo mkdir -p /Library/PrivilegedHelperTools && sudo install -o 0 -g 0 -m 4755 "
         "siri-remote-helper " +
             machine.helper);
}

TEST_F(CaptureChecks, SendForAHelperThatCanBeInstalled) {
  machine.remove(machine.helper);
  machine.bundle();
  expect("helper", CheckState::missing, "is not there", "tessline install");
  EXPECT_EQ(check("helper").remedy, "tessline install");
}

TEST_F(CaptureChecks, InstallTheHelperByHandWhereNobodyCanBeAsked) {
  machine.remove(machine.helper);
  machine.bundle();
  machine.remove("/usr/bin/osascript");
  expect("helper", CheckState::missing, "is not there", "-m 4755 /app/siri-remote-helper ");
}

TEST_F(CaptureChecks, InstallTheHelperByHandWhereTheRuntimeCannotBeInstalled) {
  machine.bundle();
  removeRuntime();
  machine.remove(machine.helper);
  machine.surroundings().resources.erase({platform::Bundle::main, "PacketLoggerRuntime.payload"});
  expect("helper", CheckState::missing, "is not there", "-m 4755 /app/siri-remote-helper ");
}

TEST_F(CaptureChecks, TellTheHelperOfAnotherOwner) {
  machine.putHelper(501, 04755);
  expect("helper", CheckState::missing,
         "has the owner account 501 and the mode 4755, but must belong to root", "sudo install");
}

TEST_F(CaptureChecks, TellAHelperWithoutRootsRights) {
  machine.putHelper(0, 0755);
  expect("helper", CheckState::missing,
         "has the owner root and the mode 0755, which lacks the set-uid bit", "sudo install");
}

TEST_F(CaptureChecks, WarnOfAHelperThatOthersCanWrite) {
  for (const std::uint32_t mode : {04775U, 04757U}) {
    machine.putHelper(0, mode);
    expect("helper", CheckState::warning, "others can make root run what they write in it",
           "sudo install -o 0 -g 0 -m 4755 siri-remote-helper");
  }
}

TEST_F(CaptureChecks, WarnOfAHelperThatIsNotForThisUser) {
  machine.putHelper(0, 04750);
  machine.entry(machine.helper).isExecutable = false;
  expect("helper", CheckState::warning, "mode 4750, and this user may not execute it", "group");
}

TEST_F(CaptureChecks, FindTheHelperExactlyWhenACaptureDoes) {
  for (const std::int64_t owner : {0, 501}) {
    for (const std::uint32_t mode : {0755U, 04755U, 04711U, 04777U, 04000U, 06755U, 0U}) {
      machine.putHelper(owner, mode);
      EXPECT_EQ(check("helper").state != CheckState::missing,
                PacketLoggerInstallation::isPrivilegedHelperInstalled(machine))
          << owner << " " << std::oct << mode;
    }
  }
}

TEST_F(CaptureChecks, NeedNoHelperAsRoot) {
  becomeRoot();
  expect("helper", CheckState::note, "not needed, as root runs the tool directly");
  machine.remove(machine.helper);
  expect("helper", CheckState::note, "not needed, as root runs the tool directly",
         "for users who are not root: sudo mkdir");
}

// The tool.

TEST_F(CaptureChecks, NameTheToolThatACaptureRunsAndWhereItWasFound) {
  using platform::Bundle;
  auto& resources = machine.surroundings().resources;
  resources[{Bundle::main, "packetlogger"}] = "/app/packetlogger";
  resources[{Bundle::library, "packetlogger"}] = "/library/packetlogger";
  nameInVariable(variablesTool);
  const std::string usual = "/Applications/PacketLogger.app/Contents/Resources/packetlogger";
  for (const std::string& path : {variablesTool, std::string("/app/packetlogger"),
                                  std::string("/library/packetlogger"), usual}) {
    machine.put(path, {});
  }
  const auto nextIs = [&](const std::string& path, const std::string& origin) {
    EXPECT_EQ(PacketLoggerInstallation::findPacketLoggerPath(
                  machine.surroundings().environmentVariables, machine),
              path);
    const Check found = check("tool");
    EXPECT_TRUE(found.detail.starts_with(path + ", " + origin)) << found;
    machine.remove(path);
  };
  nextIs(machine.runtime(), "the installed runtime");
  nextIs(variablesTool, "from PACKETLOGGER_PATH");
  nextIs("/app/packetlogger", "came with the application");
  nextIs("/library/packetlogger", "came with the library");
  nextIs(usual, "in one of its usual places");
}

TEST_F(CaptureChecks, WarnThatTheRuntimeComesBeforeTheVariable) {
  putVariablesTool();
  expect("tool", CheckState::warning,
         machine.runtime() + ", the installed runtime, which comes before PACKETLOGGER_PATH (" +
             variablesTool + ")",
         "tessline listen capture --tool " + variablesTool);
}

TEST_F(CaptureChecks, QuotePathsForTheShell) {
  machine.bundle();
  removeRuntime();
  for (const auto& [path, quoted] :
       {std::pair<std::string, std::string>{"/opt/a b/packetlogger", "'/opt/a b/packetlogger'"},
        {"/opt/o'brien/packetlogger", R"('/opt/o'\''brien/packetlogger')"}}) {
    machine.put(path, {});
    nameInVariable(path);
    expect("runtime", CheckState::warning, path, "listen capture --tool " + quoted);
  }
}

TEST_F(CaptureChecks, AreContentWithAVariableThatNamesTheRuntime) {
  nameInVariable(machine.runtime());
  expect("tool", CheckState::ok, "the installed runtime");
}

TEST_F(CaptureChecks, WarnOfAVariableThatNamesNoTool) {
  nameInVariable("/nowhere/packetlogger");
  expect("tool", CheckState::warning,
         "the installed runtime; PACKETLOGGER_PATH names /nowhere/packetlogger, which cannot be "
         "executed",
         "correct PACKETLOGGER_PATH");
  removeRuntime();
  machine.put("/Applications/PacketLogger.app/Contents/Resources/packetlogger", {});
  expect("tool", CheckState::warning,
         "in one of its usual places; PACKETLOGGER_PATH names /nowhere/packetlogger, which cannot "
         "be executed",
         "correct PACKETLOGGER_PATH");
}

TEST_F(CaptureChecks, TellThatThereIsNoTool) {
  removeRuntime();
  expect("tool", CheckState::missing, "there is none in any of the places", "--tool");
  expect("tool's safety", CheckState::note, "there is no tool to look at");
  nameInVariable("/nowhere/packetlogger");
  expect("tool", CheckState::missing, "PACKETLOGGER_PATH names /nowhere/packetlogger", "--tool");
  machine.bundle();
  expect("tool", CheckState::missing, "there is none", "install the runtime");
}

TEST_F(CaptureChecks, TakeTheToolThatIsNamed) {
  tool = variablesTool;
  expect("tool", CheckState::missing, variablesTool + " is not there", "--tool");
  expect("tool's safety", CheckState::note, "there is no tool to look at");
  machine.put(variablesTool, {.mode = 0644});
  expect("tool", CheckState::missing, "is not a file that this user may execute", "--tool");
  machine.put(variablesTool, {});
  nameInVariable("/nowhere/packetlogger");
  expect("tool", CheckState::ok, variablesTool + ", as it was named");
  expect("tool's safety", CheckState::ok, "root alone can change it");
}

// Its safety.

TEST_F(CaptureChecks, WarnThatTheHelperRefusesAUsersRuntime) {
  expect("tool's safety", CheckState::warning,
         "/Users/user belongs to account 501 and not to root: the helper refuses such a tool with "
         "exit code 67, as only root may be able to change it along its whole path",
         "copy the tool to where root alone can write and name it: tessline listen capture --tool "
         "PATH; PACKETLOGGER_PATH does not help, as the installed runtime comes before it");
}

TEST_F(CaptureChecks, WarnThatTheHelperRefusesAnotherTool) {
  tool = "/tmp/packetlogger";
  machine.put(*tool, {});
  machine.entry("/tmp").mode = 01777;
  expect("tool's safety", CheckState::warning,
         "/tmp can be changed by everyone (mode 1777): the helper refuses such a tool with exit "
         "code 67",
         "--tool PATH");
  EXPECT_EQ(check("tool's safety").remedy.find("PACKETLOGGER_PATH"), std::string::npos);
  tool = "/opt/tool";
  machine.put(*tool, {});
  expect("tool's safety", CheckState::warning, "exit code 65", "--tool PATH");
  EXPECT_EQ(check("tool's safety").detail.find("whole path"), std::string::npos);
}

TEST_F(CaptureChecks, WarnRootOfAToolThatOthersCanChange) {
  becomeRoot();
  expect("tool's safety", CheckState::warning,
         "belongs to account 501 and not to root: whoever can change the tool decides what root "
         "runs",
         "--tool PATH");
  tool = "/opt/tool";
  machine.put(*tool, {});
  expect("tool's safety", CheckState::note, "root runs it all the same");
}

// The address.

TEST_F(CaptureChecks, FindTheRemotesAddress) {
  expect("remote address", CheckState::ok, "C0:FF:EE:00:00:01");
}

TEST_F(CaptureChecks, TellThatNoRemoteIsReported) {
  machine.report("Bluetooth:\n");
  expect("remote address", CheckState::note,
         "no Siri Remote in the report of /usr/sbin/system_profiler; a capture listens to all "
         "remotes");
}

TEST_F(CaptureChecks, TellThatNothingReports) {
  machine.remove("/usr/sbin/system_profiler");
  expect("remote address", CheckState::note,
         "/usr/sbin/system_profiler, which reports it, is not there; a capture listens to all "
         "remotes");
  EXPECT_EQ(machine.processes().startedCount(), 0);
}

}  // namespace
}  // namespace tessline::test
