#include "tests/cli/support/Command.h"
#include "tests/support/EnvironmentVariable.h"
#include "tests/support/Files.h"

#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

namespace fs = std::filesystem;

TEST(InstallOfWhatIsThere, IsDoneByForceAlone) {
  const TemporaryDirectory directory;
  const EnvironmentVariable data{"XDG_DATA_HOME", directory.path()};
  const auto folder = directory / "com.morvane" / "PacketLoggerHost";
  fs::create_directories(folder / "Resources");
  std::ofstream(folder / "Resources" / "packetlogger") << "the tool";
  fs::permissions(folder / "Resources" / "packetlogger", fs::perms::owner_all);
  std::ofstream(folder / ".install-version") << "1";
  const std::string present = "✓ runtime  already there: " + folder.native() + "\n";
  EXPECT_TRUE(runCommand({"install"}).output.starts_with(present));
  EXPECT_NE(runCommand({"install", "--force"}).output.find("✗ runtime  failed"), std::string::npos);
}

}  // namespace
}  // namespace tessline::test
