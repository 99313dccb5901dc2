#include "cli/install/InstallSteps.h"
#include "cli/install/StepWriter.h"
#include "tests/capture/InstallationFixture.h"
#include "tests/cli/support/Command.h"
#include "tests/support/EnvironmentVariable.h"

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace tessline::cli {

inline std::ostream& operator<<(std::ostream& stream, const InstallStep& step) {
  return stream << stepLine(step, OutputFormat::jsonl, {});
}

}  // namespace tessline::cli

namespace tessline::test {
namespace {

using cli::InstallStep;
using cli::StepState;
using Steps = std::vector<InstallStep>;

const std::string unpacking = "Unpacking the runtime...";
const std::string askingForTheAdministrator =
    "Installing privileged helper tool (requires administrator password)...";

class InstallSteps : public PacketLoggerInstallationTest {
 protected:
  // A machine without the helper, and an administrator who approves.
  InstallSteps() {
    environment.mainResources["siri-remote-helper"] = "/app/siri-remote-helper";
    files.scriptedAttributes[helper] = std::nullopt;
    host.processes->redirect(osascript, "exit 0");
    host.processes->onLaunch = [this](const platform::ProcessDescription& description) {
      host.launched.push_back(description);
      if (description.executable == osascript && isApproved) putHelper();
    };
  }
  void putHelper() { files.scriptedAttributes[helper] = platform::FileAttributes{0, 04755}; }
  // What was reported; `isDone` tells how it ended.
  Steps install(bool force = false) {
    Steps steps;
    isDone = cli::installForCapture(host, force,
                                    [&](const InstallStep& step) { steps.push_back(step); });
    return steps;
  }

  const InstallStep runtimeBegun{"runtime", StepState::installing, unpacking};
  const InstallStep runtimeInstalled{"runtime", StepState::installed, root()};
  const InstallStep runtimePresent{"runtime", StepState::present, root()};
  const InstallStep helperBegun{"helper", StepState::installing, askingForTheAdministrator};
  const InstallStep helperInstalled{"helper", StepState::installed, helper};
  const InstallStep helperPresent{"helper", StepState::present, helper};
  bool isApproved = true;
  bool isDone = false;
};

TEST_F(InstallSteps, InstallTheRuntimeAndThenTheHelper) {
  bundleGoodRuntime();
  EXPECT_EQ(install(), (Steps{runtimeBegun, runtimeInstalled, helperBegun, helperInstalled}));
  EXPECT_TRUE(isDone);
  EXPECT_TRUE(Install::isFullyInstalled(host));
}

TEST_F(InstallSteps, LeaveWhatIsThere) {
  bundleGoodRuntime();
  putInstalledRuntime();
  putHelper();
  EXPECT_EQ(install(), (Steps{runtimePresent, helperPresent}));
  EXPECT_TRUE(isDone);
  EXPECT_TRUE(host.launched.empty());
  EXPECT_EQ(readText(tool()), "old tool");
}

TEST_F(InstallSteps, UnpackTheRuntimeAnewByForce) {
  bundleGoodRuntime();
  putInstalledRuntime();
  putHelper();
  EXPECT_EQ(install(true), (Steps{runtimeBegun, runtimeInstalled, helperPresent}));
  EXPECT_TRUE(isDone);
  EXPECT_NE(readText(tool()), "old tool");
}

TEST_F(InstallSteps, FailWhenTheForcedOneDoesAlthoughTheOldOneIsThere) {
  putInstalledRuntime();
  putHelper();
  EXPECT_EQ(install(true),
            (Steps{runtimeBegun,
                   {"runtime", StepState::failed,
                    "PacketLoggerRuntime.payload not found in the application bundle."},
                   helperPresent}));
  EXPECT_FALSE(isDone);
  EXPECT_TRUE(Install::isFullyInstalled(host));
}

TEST_F(InstallSteps, TryTheHelperWhenTheRuntimeFailed) {
  const std::string reason = "PacketLoggerRuntime.payload not found in the application bundle.";
  EXPECT_EQ(install(), (Steps{runtimeBegun,
                              {"runtime", StepState::failed, reason},
                              helperBegun,
                              {"helper", StepState::failed, reason}}));
  EXPECT_FALSE(isDone);
}

TEST_F(InstallSteps, KeepTheRuntimeWhenTheHelperFails) {
  bundleGoodRuntime();
  isApproved = false;
  host.processes->redirect(osascript, "echo 'User canceled.' >&2; exit 1");
  EXPECT_EQ(install(), (Steps{runtimeBegun,
                              runtimeInstalled,
                              helperBegun,
                              {"helper", StepState::failed,
                               "Failed to install privileged helper: User canceled."}}));
  EXPECT_FALSE(isDone);
  EXPECT_TRUE(Install::isRuntimeInstalled(host));
}

TEST_F(InstallSteps, DoNotBelieveInAHelperThatIsNotThere) {
  putInstalledRuntime();
  isApproved = false;
  EXPECT_EQ(install(), (Steps{runtimePresent,
                              helperBegun,
                              {"helper", StepState::failed,
                               "The installation reported success, but " + helper +
                                   " is not there, not root's or not set-uid."}}));
  EXPECT_FALSE(isDone);
}

TEST_F(InstallSteps, TellThatTheyBeginBeforeTheyDo) {
  bundleGoodRuntime();
  std::size_t launchedAtTheBeginning = 0;
  cli::installForCapture(host, false, [&](const InstallStep& step) {
    if (step == helperBegun) launchedAtTheBeginning = host.launched.size();
  });
  EXPECT_EQ(launchedAtTheBeginning, 1U) << "unzip alone";
  EXPECT_EQ(host.launched.size(), 2U);
}

TEST(InstallReport, IsALineForPeople) {
  const auto line = [](const InstallStep& step) {
    return cli::stepLine(step, cli::OutputFormat::text, {});
  };
  EXPECT_EQ(line({"runtime", StepState::present, "/r"}), "✓ runtime  already there: /r\n");
  EXPECT_EQ(line({"runtime", StepState::installing, "Unpacking..."}), "· runtime  Unpacking...\n");
  EXPECT_EQ(line({"helper", StepState::installed, "/h"}), "✓ helper   installed: /h\n");
  EXPECT_EQ(line({"helper", StepState::failed, "No."}), "✗ helper   failed: No.\n");
}

TEST(InstallReport, IsAnObjectForPrograms) {
  const auto line = [](StepState state) {
    return cli::stepLine({"helper", state, "\xFF"}, cli::OutputFormat::jsonl, {});
  };
  const std::string rest = "\",\"detail\":\"\xEF\xBF\xBD\"}\n";
  EXPECT_EQ(line(StepState::present), R"({"step":"helper","state":"present)" + rest);
  EXPECT_EQ(line(StepState::installing), R"({"step":"helper","state":"installing)" + rest);
  EXPECT_EQ(line(StepState::installed), R"({"step":"helper","state":"installed)" + rest);
  EXPECT_EQ(line(StepState::failed), R"({"step":"helper","state":"failed)" + rest);
}

// The command as it was built comes without anything to install.
class InstallCommand : public testing::Test {
 protected:
  const TemporaryDirectory directory;
  const EnvironmentVariable data{"XDG_DATA_HOME", directory.path()};
};

TEST_F(InstallCommand, FailsWithTheReason) {
  const CommandResult result = runCommand({"install"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_NE(result.output.find("✗ runtime  failed: PacketLoggerRuntime.payload not found in the "
                               "application bundle.\n"),
            std::string::npos)
      << result.output;
  EXPECT_NE(result.output.find(" helper "), std::string::npos) << result.output;
  EXPECT_EQ(result.errors, "");
}

TEST_F(InstallCommand, WritesJsonLines) {
  std::istringstream lines(runCommand({"install", "--format", "jsonl"}).output);
  std::vector<std::string> steps;
  for (std::string line; std::getline(lines, line);) {
    const auto object = nlohmann::json::parse(line);
    EXPECT_EQ(object.size(), 3U) << line;
    steps.push_back(object.at("step").get<std::string>() + " " +
                    object.at("state").get<std::string>());
  }
  ASSERT_GE(steps.size(), 3U);
  EXPECT_EQ(steps[0], "runtime installing");
  EXPECT_EQ(steps[1], "runtime failed");
}

TEST_F(InstallCommand, FailsAlsoWhenNobodyReads) {
  // The output is closed before the command starts.
  Command command({"-c", "read go && exec \"$0\" install", TESSLINE_COMMAND}, "/bin/sh");
  command.closeOutput();
  command.write("\n");
  EXPECT_EQ(command.finish().exitCode, 1);
}

TEST_F(InstallCommand, WantsToBeUnderstood) {
  EXPECT_EQ(runCommand({"install", "helper"}).exitCode, 2);
  EXPECT_EQ(runCommand({"install", "--format", "xml"}).exitCode, 2);
}

}  // namespace
}  // namespace tessline::test
