#include "tessline/packetlog/TesslineService.h"
#include "tests/cli/support/Command.h"
#include "tests/support/Files.h"

#include <filesystem>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace tessline::test {
namespace {

TEST(StatusCommand, PrintsTheSnapshotForPeople) {
  const CommandResult result = runCommand({"status"});
  const TesslineSnapshot snapshot = TesslineService().makeSnapshot();
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_TRUE(result.output.starts_with(snapshot.summary + "\n"));
  for (const auto& finding : snapshot.findings) {
    for (const auto& text : {finding.identifier, finding.title, finding.detail}) {
      EXPECT_NE(result.output.find(text), std::string::npos) << text;
    }
  }
  for (const auto& workstream : snapshot.workstreams) {
    for (const auto& text : {workstream.identifier, workstream.title, workstream.detail}) {
      EXPECT_NE(result.output.find(text), std::string::npos) << text;
    }
  }
}

TEST(StatusCommand, PrintsTheSnapshotAsOneJsonObject) {
  const CommandResult result = runCommand({"status", "--format", "jsonl"});
  const TesslineSnapshot snapshot = TesslineService().makeSnapshot();
  EXPECT_EQ(result.output.find('\n'), result.output.size() - 1);
  const auto object = nlohmann::json::parse(result.output);
  EXPECT_EQ(object["summary"], snapshot.summary);
  ASSERT_EQ(object["findings"].size(), snapshot.findings.size());
  for (std::size_t index = 0; index < snapshot.findings.size(); ++index) {
    EXPECT_EQ(object["findings"][index]["identifier"], snapshot.findings[index].identifier);
    EXPECT_EQ(object["findings"][index]["title"], snapshot.findings[index].title);
    EXPECT_EQ(object["findings"][index]["detail"], snapshot.findings[index].detail);
  }
  ASSERT_EQ(object["workstreams"].size(), snapshot.workstreams.size());
  for (std::size_t index = 0; index < snapshot.workstreams.size(); ++index) {
    EXPECT_EQ(object["workstreams"][index]["identifier"], snapshot.workstreams[index].identifier);
    EXPECT_EQ(object["workstreams"][index]["title"], snapshot.workstreams[index].title);
    EXPECT_EQ(object["workstreams"][index]["detail"], snapshot.workstreams[index].detail);
    EXPECT_EQ(object["workstreams"][index]["stage"], snapshot.workstreams[index].stage);
  }
}

TEST(CommandLine, HelpListsTheSubcommandsAndTheExitCodes) {
  const CommandResult result = runCommand({"--help"});
  EXPECT_EQ(result.exitCode, 0);
  for (const char* text : {"decode", "simulate", "status", "Exit codes: 0 done"}) {
    EXPECT_NE(result.output.find(text), std::string::npos) << text;
  }
}

TEST(CommandLine, VersionIsOneLine) {
  const CommandResult result = runCommand({"--version"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_TRUE(result.output.starts_with("tessline ")) << result.output;
}

TEST(CommandLine, UnderThePacketLoggersNameStreamsUntilItsOutputCloses) {
  const TemporaryDirectory directory;
  const std::filesystem::path link = directory.path() / "packetlogger";
  std::filesystem::create_symlink(TESSLINE_COMMAND, link);
  Command command({"convert", "-s", "-f", "nhdr"}, link);
  EXPECT_NE(command.readUntil("RECV"), "");
  command.closeOutput();
  const CommandResult result = command.finish();
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.errors, "");
}

TEST(CommandLine, UnderThePacketLoggersNameOtherArgumentsAreTesslines) {
  const TemporaryDirectory directory;
  const std::filesystem::path link = directory.path() / "packetlogger";
  std::filesystem::create_symlink(TESSLINE_COMMAND, link);
  EXPECT_EQ(Command({"convert", "-s"}, link).finish().exitCode, 2);
  EXPECT_EQ(Command({"status"}, link).finish().exitCode, 0);
}

}  // namespace
}  // namespace tessline::test
