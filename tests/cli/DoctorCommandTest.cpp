#include "cli/TextStyle.h"
#include "cli/doctor/CheckReport.h"
#include "tests/cli/support/Command.h"
#include "tests/support/EnvironmentVariable.h"
#include "tests/support/Files.h"

#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace tessline::test {
namespace {

using cli::Check;
using cli::CheckState;

const std::vector<Check> checks = {{"runtime", CheckState::ok, "there"},
                                   {"helper", CheckState::missing, "not there", "install it"},
                                   {"tool", CheckState::warning, "odd", "correct it"},
                                   {"permission", CheckState::missing, "denied"},
                                   {"remote address", CheckState::note, "none"}};

TEST(DoctorReport, IsReadAtAGlance) {
  EXPECT_EQ(cli::textReport(checks, {}),
            "✓ runtime         there\n"
            "✗ helper          not there\n"
            "                  do: install it\n"
            "! tool            odd\n"
            "                  do: correct it\n"
            "✗ permission      denied\n"
            "· remote address  none\n"
            "\n2 missing, 1 warning\n");
  EXPECT_EQ(cli::missingCount(checks), 2U);
}

TEST(DoctorReport, ColoursMarksForPeopleAlone) {
  cli::TextStyle style;
  style.green = "<g>";
  style.reset = "<r>";
  const std::string text = cli::textReport(checks, style);
  EXPECT_TRUE(text.starts_with("<g>✓<r> runtime ")) << text;
}

TEST(DoctorReport, IsOneObjectACheckForPrograms) {
  EXPECT_EQ(cli::jsonReport(checks),
            R"({"check":"runtime","state":"ok","detail":"there","remedy":""})"
            "\n"
            R"({"check":"helper","state":"missing","detail":"not there","remedy":"install it"})"
            "\n"
            R"({"check":"tool","state":"warning","detail":"odd","remedy":"correct it"})"
            "\n"
            R"({"check":"permission","state":"missing","detail":"denied","remedy":""})"
            "\n"
            R"({"check":"remote address","state":"note","detail":"none","remedy":""})"
            "\n");
}

TEST(DoctorReport, WritesPathsThatAreNotUtf8) {
  const auto object =
      nlohmann::json::parse(cli::jsonReport({{"tool", CheckState::ok, "/\xFF/packetlogger"}}));
  EXPECT_EQ(object["detail"], "/\xEF\xBF\xBD/packetlogger");
}

class DoctorCommand : public testing::Test {
 protected:
  // The state of each check, as programs are told.
  static std::map<std::string, std::string> statesIn(const std::string& lines) {
    std::map<std::string, std::string> states;
    std::istringstream stream(lines);
    for (std::string line; std::getline(stream, line);) {
      const auto object = nlohmann::json::parse(line);
      EXPECT_EQ(object.size(), 4U) << line;
      states[object.at("check")] = object.at("state");
    }
    return states;
  }

  const TemporaryDirectory directory;
  const EnvironmentVariable home{"HOME", directory.path()};
  const EnvironmentVariable data{"XDG_DATA_HOME", std::nullopt};
  const EnvironmentVariable named{"PACKETLOGGER_PATH", std::nullopt};
};

TEST_F(DoctorCommand, LooksAtDevicesToo) {
  const auto states = statesIn(runCommand({"doctor", "--format", "jsonl"}).output);
  EXPECT_TRUE(states.contains("HID interfaces"));
  EXPECT_TRUE(states.contains("Bluetooth LE"));
}

TEST_F(DoctorCommand, InstallsNothing) {
  runCommand({"doctor"});
  EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
}

TEST_F(DoctorCommand, WantsToBeUnderstood) {
  EXPECT_EQ(runCommand({"doctor", "--cure"}).exitCode, 2);
  EXPECT_EQ(runCommand({"doctor", "--tool"}).exitCode, 2);
  EXPECT_EQ(runCommand({"doctor", "capture"}).exitCode, 2);
}

}  // namespace
}  // namespace tessline::test
