#include "tests/cli/support/Command.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace tessline::test {
namespace {

TEST(ListenWithoutDevices, FailsForHID) {
  const CommandResult result = runCommand({"listen", "hid"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_TRUE(result.output.ends_with(" s  · Could not create HID manager\n")) << result.output;
  EXPECT_EQ(result.errors, "");
}

TEST(ListenWithoutDevices, FailsForBluetooth) {
  const CommandResult result = runCommand({"listen", "bluetooth"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_TRUE(result.output.ends_with(" s  · Bluetooth is not supported on this Mac\n"))
      << result.output;
  EXPECT_EQ(result.errors, "");
}

TEST(ListenWithoutDevices, TellsProgramsWhyItFails) {
  const auto object =
      nlohmann::json::parse(runCommand({"listen", "hid", "--format", "jsonl"}).output);
  EXPECT_EQ(object.at("status"), "Could not create HID manager");
  EXPECT_EQ(object.at("isListening"), false);
}

}  // namespace
}  // namespace tessline::test
