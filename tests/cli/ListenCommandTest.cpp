// Live captures, with `tessline simulate` in the place of the tool. As root, so that the tool is
// run directly.
#include "tests/cli/support/Command.h"
#include "tests/support/Files.h"
#include "tests/support/Needs.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <poll.h>
#include <sys/stat.h>
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

// A pipe that a tool opens when it begins and holds until its process has ended.
class ToolLife {
 public:
  explicit ToolLife(std::string path) : path_(std::move(path)) {
    if (::mkfifo(path_.c_str(), 0600) != 0) ADD_FAILURE() << path_ << " cannot be made";
    reader_ = ::open(path_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  }
  ToolLife(const ToolLife&) = delete;
  ToolLife& operator=(const ToolLife&) = delete;
  ~ToolLife() { ::close(reader_); }

  // What its script begins with.
  std::string begin() const { return "exec 3>'" + path_ + "'\necho begun >&3\n"; }
  // Whether one has begun, since this was last asked, and still runs.
  bool isThere() const {
    std::array<char, 16> word;
    const ssize_t size = ::read(reader_, word.data(), word.size());
    if (size < 0 || std::string_view(word.data(), static_cast<std::size_t>(size)) != "begun\n") {
      return false;
    }
    return ::read(reader_, word.data(), word.size()) < 0 && errno == EAGAIN;
  }
  // It was asked to end, and does so at its own pace.
  bool ends() const {
    pollfd life = {reader_, POLLIN, 0};
    return ::poll(&life, 1, static_cast<int>(longestWait.count())) == 1;
  }

 private:
  std::string path_;
  int reader_ = -1;
};

class ListenCapture : public testing::Test {
 protected:
  void SetUp() override { TESSLINE_NEEDS_ROOT(); }

  // The simulation under the tool's name.
  std::string simulatedTool() {
    const auto folder = directory / "simulation";
    std::filesystem::create_directory(folder);
    std::filesystem::create_symlink(TESSLINE_COMMAND, folder / "packetlogger");
    return scriptedTool(tool.begin() + "exec '" + folder.native() + "/packetlogger' \"$@\"\n");
  }
  std::string scriptedTool(const std::string& script) {
    const std::string path = directory.file("packetlogger", "#!/bin/sh\n" + script);
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    return path;
  }
  // Writes presses as fast as they are taken.
  std::string floodingTool() {
    return scriptedTool(tool.begin() + "exec yes '" + selectLine + "'\n");
  }

  TemporaryDirectory directory;
  const ToolLife tool{directory / "life"};
};

TEST_F(ListenCapture, ShowsEventsUntilItIsInterruptedAndEndsTheTool) {
  Command command({"listen", "capture", "--tool", simulatedTool(), "--address", "AA:BB"});
  const std::string output = command.readUntil("pressed");
  EXPECT_NE(output.find("PacketLogger capture running; detected remote AA:BB"), std::string::npos);
  EXPECT_TRUE(tool.isThere());
  command.send(SIGINT);
  const CommandResult result = command.finish();
  EXPECT_EQ(result.signal, SIGINT);
  EXPECT_NE(result.output.find("PacketLogger capture stopped"), std::string::npos) << result.output;
  EXPECT_EQ(result.errors, "");
  EXPECT_TRUE(tool.ends());
}

TEST_F(ListenCapture, ReaderThatGoesAwayAmidAFloodEndsItInGoodOrder) {
  const std::string path = floodingTool();
  for (int round = 0; round < 5; ++round) {
    Command command({"listen", "capture", "--tool", path, "--address", "A"});
    ASSERT_NE(command.readUntil("select pressed"), "");
    EXPECT_TRUE(tool.isThere());
    command.closeOutput();
    ASSERT_TRUE(command.endsWithin(longestWait));
    const CommandResult result = command.finish();
    EXPECT_EQ(result.signal, 0);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_TRUE(tool.ends());
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
  EXPECT_TRUE(tool.isThere());
  command.send(SIGINT);
  // One that comes together with the first is none.
  bool hasEnded = false;
  for (int count = 0; count < 100 && !hasEnded; ++count) {
    command.send(SIGTERM);
    hasEnded = command.endsWithin(milliseconds(100));
  }
  ASSERT_TRUE(hasEnded);
  EXPECT_EQ(command.finish().signal, SIGTERM);
  EXPECT_TRUE(tool.ends());
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

}  // namespace
}  // namespace tessline::test
