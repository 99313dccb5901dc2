#include "tests/cli/support/Command.h"
#include "tests/support/EnvironmentVariable.h"
#include "tests/support/Files.h"
#include "tests/support/Needs.h"

#include <filesystem>
#include <optional>
#include <string>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

// Neither a tool nor anything that a user would have to allow.
class DoctorOfAnEmptyMachine : public testing::Test {
 protected:
  const TemporaryDirectory directory;
  const EnvironmentVariable home{"HOME", directory.path()};
  const EnvironmentVariable data{"XDG_DATA_HOME", std::nullopt};
  const EnvironmentVariable named{"PACKETLOGGER_PATH", std::nullopt};
};

TEST_F(DoctorOfAnEmptyMachine, FailsWithoutATool) {
  const CommandResult result = runCommand({"doctor"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_NE(result.output.find("✗ runtime"), std::string::npos) << result.output;
  EXPECT_NE(result.output.find("✗ tool"), std::string::npos) << result.output;
  EXPECT_EQ(result.errors, "");
}

TEST_F(DoctorOfAnEmptyMachine, SucceedsForRootWithATool) {
  TESSLINE_NEEDS_ROOT();
  const std::string tool = directory.file("packetlogger", "the tool");
  std::filesystem::permissions(tool, std::filesystem::perms::owner_all);
  const CommandResult result = runCommand({"doctor", "--tool", tool});
  EXPECT_EQ(result.exitCode, 0) << result.output;
  EXPECT_NE(result.output.find("\n0 missing"), std::string::npos) << result.output;
}

TEST_F(DoctorOfAnEmptyMachine, TellsProgramsWhatIsMissing) {
  const CommandResult result = runCommand({"doctor", "--format", "jsonl"});
  EXPECT_EQ(result.exitCode, 1);
  for (const std::string check : {"runtime", "tool"}) {
    const std::string begin = R"({"check":")" + check + R"(","state":"missing",)";
    EXPECT_NE(result.output.find(begin), std::string::npos) << result.output;
  }
}

}  // namespace
}  // namespace tessline::test
