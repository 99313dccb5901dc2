// Live captures, with `tessline simulate` in the place of the tool. As root, so that the tool is
// run directly.
#include "tests/cli/support/Command.h"
#include "tests/support/Files.h"
#include "tests/support/Needs.h"

#include <chrono>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace tessline::test {
namespace {

using std::chrono::milliseconds;
constexpr milliseconds longestWait{60'000};
// Select is pressed.
const std::string selectLine = std::string(54, ' ').replace(0, 4, "RECV") + "1B 23 00 03 00";

// Whether the last page of an Ogg file says that it is the last.
bool hasAnEnd(const std::string& ogg) {
  constexpr std::size_t flags = 5;
  constexpr int endOfStream = 4;
  const std::size_t page = ogg.rfind("OggS");
  return page != std::string::npos && (ogg.at(page + flags) & endOfStream) != 0;
}

class ListenCapture : public testing::Test {
 protected:
  void SetUp() override { TESSLINE_NEEDS_ROOT(); }

  // The simulation under the tool's name.
  std::string simulatedTool() {
    const auto tool = directory / "packetlogger";
    std::filesystem::create_symlink(TESSLINE_COMMAND, tool);
    return tool.native();
  }
  std::string scriptedTool(const std::string& script) {
    const std::string tool = directory.file("packetlogger", "#!/bin/sh\n" + script);
    std::filesystem::permissions(tool, std::filesystem::perms::owner_all);
    return tool;
  }
  // Writes presses as fast as they are taken, and says which process does.
  std::string floodingTool() {
    return scriptedTool("echo $$ > '" + numberFile() + "'\nexec yes '" + selectLine + "'\n");
  }
  std::string numberFile() const { return directory / "number"; }
  // A descriptor that can be read once the flood's process has ended.
  int floodingProcess() const {
    return static_cast<int>(::syscall(SYS_pidfd_open, std::stoi(readText(numberFile())), 0));
  }
  // It was asked to end, and does so at its own pace.
  static void expectEnd(int processDescriptor) {
    ASSERT_GE(processDescriptor, 0) << "the tool does not run";
    pollfd process = {processDescriptor, POLLIN, 0};
    EXPECT_EQ(::poll(&process, 1, static_cast<int>(longestWait.count())), 1)
        << "the tool did not end";
    ::close(processDescriptor);
  }
  // The process of that program: a descriptor that can be read once it has ended; none without one.
  static int processOf(const std::string& tool) {
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
      std::ifstream file(entry.path() / "cmdline", std::ios::binary);
      const std::string command{std::istreambuf_iterator<char>(file), {}};
      if (!command.starts_with(tool + '\0')) continue;
      return static_cast<int>(
          ::syscall(SYS_pidfd_open, std::stoi(entry.path().filename().native()), 0));
    }
    return -1;
  }

  TemporaryDirectory directory;
};

TEST_F(ListenCapture, ShowsEventsUntilItIsInterruptedAndEndsTheTool) {
  const std::string tool = simulatedTool();
  Command command({"listen", "capture", "--tool", tool, "--address", "AA:BB"});
  const std::string output = command.readUntil("pressed");
  EXPECT_NE(output.find("PacketLogger capture running; detected remote AA:BB"), std::string::npos);
  const int process = processOf(tool);
  command.send(SIGINT);
  const CommandResult result = command.finish();
  EXPECT_EQ(result.signal, SIGINT);
  EXPECT_NE(result.output.find("PacketLogger capture stopped"), std::string::npos) << result.output;
  EXPECT_EQ(result.errors, "");
  expectEnd(process);
}

TEST_F(ListenCapture, ReaderThatGoesAwayAmidAFloodEndsItInGoodOrder) {
  const std::string tool = floodingTool();
  for (int round = 0; round < 5; ++round) {
    Command command({"listen", "capture", "--tool", tool, "--address", "A"});
    ASSERT_NE(command.readUntil("select pressed"), "");
    const int process = floodingProcess();
    command.closeOutput();
    ASSERT_TRUE(command.endsWithin(longestWait));
    const CommandResult result = command.finish();
    EXPECT_EQ(result.signal, 0);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.errors, "");
    expectEnd(process);
  }
}

TEST_F(ListenCapture, ReaderThatGoesAwayLeavesTheVoiceFilesWhole) {
  const auto voice = directory / "voice";
  Command command({"listen", "capture", "--tool", simulatedTool(), "--address", "A", "--format",
                   "jsonl", "--voice", voice.native(), "--wav"});
  ASSERT_NE(command.readUntil("\"voiceFrame\""), "");
  command.closeOutput();
  EXPECT_EQ(command.finish().exitCode, 0);
  EXPECT_TRUE(hasAnEnd(readText(voice / "voice-001.opus")));
  EXPECT_EQ(readText(voice / "voice-001.wav").substr(0, 4), "RIFF");
}

// The capture's queue hangs in a write; a stop never gets its turn.
TEST_F(ListenCapture, SecondSignalEndsItThoughNobodyReadsItsOutput) {
  constexpr std::size_t almostAPipe = 61440;
  Command command(
      {"listen", "capture", "--tool", floodingTool(), "--address", "A", "--format", "jsonl"});
  ASSERT_TRUE(command.waitForUnreadOutput(almostAPipe));
  const int process = floodingProcess();
  command.send(SIGINT);
  // One that comes together with the first is none.
  bool hasEnded = false;
  for (int count = 0; count < 100 && !hasEnded; ++count) {
    command.send(SIGTERM);
    hasEnded = command.endsWithin(milliseconds(100));
  }
  ASSERT_TRUE(hasEnded);
  EXPECT_EQ(command.finish().signal, SIGTERM);
  expectEnd(process);
}

TEST_F(ListenCapture, WritesJsonLines) {
  Command command(
      {"listen", "capture", "--tool", simulatedTool(), "--address", "A", "--format", "jsonl"});
  EXPECT_NE(command.readUntil("voiceSessionEnded"), "");
  command.send(SIGINT);
  std::istringstream lines(command.finish().output);
  double last = 0;
  std::size_t statusCount = 0;
  for (std::string line; std::getline(lines, line);) {
    const auto object = nlohmann::json::parse(line);
    EXPECT_GE(object.at("time").get<double>(), last);
    last = object["time"];
    if (object.contains("status")) ++statusCount;
    EXPECT_NE(object.contains("status"), object.contains("event")) << line;
  }
  EXPECT_EQ(statusCount, 2U);
}

TEST_F(ListenCapture, CompletesTheVoiceFilesOfAnInterruptedSession) {
  const auto voice = directory / "voice";
  Command command({"listen", "capture", "--tool", simulatedTool(), "--address", "A", "--format",
                   "jsonl", "--voice", voice.native(), "--wav"});
  EXPECT_NE(command.readUntil("\"voiceFrame\""), "");
  command.send(SIGINT);
  EXPECT_EQ(command.finish().signal, SIGINT);
  EXPECT_GT(std::filesystem::file_size(voice / "voice-001.opus"), 0U);
  EXPECT_EQ(readText(voice / "voice-001.wav").substr(0, 4), "RIFF");
}

TEST_F(ListenCapture, EndsWithTheTool) {
  const CommandResult result =
      runCommand({"listen", "capture", "--address", "A", "--tool", scriptedTool("exit 0\n")});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_NE(result.output.find("PacketLogger capture ended"), std::string::npos) << result.output;
}

TEST_F(ListenCapture, FailsWithTheTool) {
  const CommandResult result = runCommand(
      {"listen", "capture", "--address", "A", "--tool", scriptedTool("echo oh >&2; exit 3\n")});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_NE(result.output.find("PacketLogger: oh"), std::string::npos) << result.output;
  EXPECT_NE(result.output.find("exit code 3"), std::string::npos) << result.output;
}

TEST_F(ListenCapture, LastLineBeforeTheEndIsNotLost) {
  const CommandResult result = runCommand({"listen", "capture", "--address", "A", "--tool",
                                           scriptedTool("echo '" + selectLine + "'\nexit 0\n")});
  EXPECT_NE(result.output.find("select pressed"), std::string::npos) << result.output;
  EXPECT_LT(result.output.find("select pressed"), result.output.find("capture ended"));
}

TEST_F(ListenCapture, SaysWhyTheToolCannotBeStarted) {
  const CommandResult result =
      runCommand({"listen", "capture", "--address", "A", "--tool", "/nowhere/packetlogger"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_NE(result.output.find("Could not start PacketLogger: /nowhere/packetlogger: No such file "
                               "or directory"),
            std::string::npos)
      << result.output;
}

TEST(ListenCommand, WantsToKnowToWhat) {
  EXPECT_EQ(runCommand({"listen"}).exitCode, 2);
  EXPECT_EQ(runCommand({"listen", "telephone"}).exitCode, 2);
  for (const char* way : {"capture", "hid", "bluetooth"}) {
    EXPECT_EQ(runCommand({"listen", way, "--wav"}).exitCode, 2) << way;
  }
  EXPECT_EQ(runCommand({"listen", "hid", "--tool", "/opt/packetlogger"}).exitCode, 2);
  EXPECT_EQ(runCommand({"listen", "bluetooth", "--name-prefix", "Siri"}).exitCode, 2);
}

TEST(ListenCommand, FailsWhereThereAreNoHIDInterfaces) {
  const CommandResult result = runCommand({"listen", "hid"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_TRUE(result.output.ends_with(" s  · Could not create HID manager\n")) << result.output;
  EXPECT_EQ(result.errors, "");
}

TEST(ListenCommand, FailsWhereThereIsNoBluetooth) {
  const CommandResult result = runCommand({"listen", "bluetooth"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_TRUE(result.output.ends_with(" s  · Bluetooth is not supported on this Mac\n"))
      << result.output;
  EXPECT_EQ(result.errors, "");
}

TEST(ListenCommand, TellsProgramsWhyItFails) {
  const auto object =
      nlohmann::json::parse(runCommand({"listen", "hid", "--format", "jsonl"}).output);
  EXPECT_EQ(object.at("status"), "Could not create HID manager");
  EXPECT_EQ(object.at("isListening"), false);
}

}  // namespace
}  // namespace tessline::test
