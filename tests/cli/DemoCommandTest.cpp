#include "cli/demo/Demo.h"
#include "tests/cli/support/Command.h"
#include "tests/support/Files.h"

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

const std::filesystem::path source = TESSLINE_SOURCE_DIR;

TEST(DemoCommand, ShowsTheWholeSystem) {
  const CommandResult result = runCommand({"demo"});
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  EXPECT_EQ(result.output, readText(source / "tests/data/demo.txt"));
}

TEST(DemoCommand, KeepsTheVoiceThatComesByBluetooth) {
  const TemporaryDirectory directory;
  const CommandResult result = runCommand({"demo", "--voice", directory.path().native(), "--wav"});
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  EXPECT_NE(result.output.find("100 frames  voice-001.opus  voice-001.wav\n"), std::string::npos);
  EXPECT_NE(result.output.find("files    " + directory.path().native() + "\n"), std::string::npos);
  // 100 packets of 320 samples of 2 bytes, behind 44 bytes of header.
  EXPECT_EQ(std::filesystem::file_size(directory.path() / "voice-001.wav"), 64044U);
  EXPECT_TRUE(std::filesystem::exists(directory.path() / "voice-001.opus"));
  EXPECT_FALSE(std::filesystem::exists(directory.path() / "voice-002.opus"));
}

TEST(DemoCommand, InRealTimeLaterThingsComeLater) {
  Command command({"demo", "--realtime"});
  const std::string shown = command.readUntil("Scanning for Bluetooth devices");
  EXPECT_EQ(shown.find("connecting"), std::string::npos) << shown;
  command.send(SIGINT);
  const CommandResult result = command.finish();
  EXPECT_EQ(result.signal, SIGINT);
  EXPECT_EQ(result.output.find("battery"), std::string::npos) << result.output;
  EXPECT_NE(result.output.find("voice    0 sessions"), std::string::npos) << result.output;
}

TEST(DemoCommand, WavNeedsAVoiceDirectory) {
  EXPECT_EQ(runCommand({"demo", "--wav"}).exitCode, 2);
}

TEST(DemoCommand, DirectoryThatCannotBeMadeIsAnError) {
  const CommandResult result = runCommand({"demo", "--voice", "/dev/null/voice"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_NE(result.errors.find("/dev/null/voice"), std::string::npos) << result.errors;
}

class DemoTest : public testing::Test {
 protected:
  TemporaryDirectory directory;
  cli::Output output = cli::Output::file(directory.path() / "shown.txt");
};

TEST_F(DemoTest, WaitsForEveryMomentInOrder) {
  cli::Demo demo(output, std::nullopt);
  std::vector<platform::QueueTime> times;
  demo.play([&](platform::QueueTime time) {
    times.push_back(time);
    return true;
  });
  EXPECT_TRUE(std::ranges::is_sorted(times));
  EXPECT_EQ(times.front(), platform::QueueTime::zero());
  EXPECT_GE(times.back(), std::chrono::seconds(20));
}

TEST_F(DemoTest, EndsEarlyWithWholeVoiceFiles) {
  cli::Demo demo(output,
                 cli::VoiceFileOptions{.directory = directory.path() / "voice", .wav = true});
  demo.play([](platform::QueueTime time) { return time < std::chrono::seconds(3); });
  EXPECT_EQ(demo.totals().voice.sessionCount, 1U);
  EXPECT_EQ(demo.totals().voice.sessionWithoutEndCount, 1U);
  const std::size_t frames = demo.totals().voice.frameCount;
  EXPECT_GT(frames, 40U);
  EXPECT_LT(frames, 50U);
  EXPECT_EQ(std::filesystem::file_size(directory.path() / "voice" / "voice-001.wav"),
            44 + frames * 640);
}

TEST_F(DemoTest, EveryKindOfThingHappens) {
  cli::Demo demo(output, std::nullopt);
  demo.play([](platform::QueueTime) { return true; });
  const cli::DemoTotals& totals = demo.totals();
  EXPECT_GT(totals.buttonEvents, 10U);
  EXPECT_GT(totals.pointerMoves, 30U);
  EXPECT_GT(totals.scrollEvents, 30U);
  EXPECT_EQ(totals.buttonPresses, 2U);
  EXPECT_EQ(totals.voice.sessionCount, 2U);
}

}  // namespace
}  // namespace tessline::test
