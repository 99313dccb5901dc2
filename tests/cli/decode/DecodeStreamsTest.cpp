#include "tests/cli/support/Command.h"
#include "tests/support/Files.h"

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace tessline::test {
namespace {

std::string simulatedCapture(const std::vector<std::string>& options) {
  std::vector<std::string> arguments = {"simulate"};
  arguments.insert(arguments.end(), options.begin(), options.end());
  return runCommand(arguments).output;
}

TEST(DecodeStreams, AnyNumberOfThreadsGivesTheResultOfOne) {
  const TemporaryDirectory directory;
  // Several times as much as one thread takes at once.
  const std::string file = directory.file("capture.txt", simulatedCapture({"--bytes", "6M"}));
  const std::string expected =
      runCommand({"decode", "--format", "jsonl", "--threads", "1", file}).output;
  EXPECT_GT(expected.size(), 100'000U);
  for (const char* threads : {"2", "3", "8"}) {
    EXPECT_EQ(runCommand({"decode", "--format", "jsonl", "--threads", threads, file}).output,
              expected)
        << threads;
  }
}

TEST(DecodeStreams, SmallPiecesThroughAPipeGiveTheResultOfTheFile) {
  const TemporaryDirectory directory;
  std::string capture = simulatedCapture({"--duration", "3"});
  for (std::size_t at = 0; (at = capture.find('\n', at)) != std::string::npos; at += 2) {
    capture.replace(at, 1, "\r\n");
  }
  const std::string file = directory.file("capture.txt", capture);
  Command command({"decode", "--format", "jsonl"});
  std::size_t size = 1;
  for (std::size_t at = 0; at < capture.size(); at += size, size = size * 7 % 997 + 1) {
    command.write(std::string_view(capture).substr(at, size));
  }
  const std::string expected = runCommand({"decode", "--format", "jsonl", file}).output;
  EXPECT_NE(expected, "");
  EXPECT_EQ(command.finish().output, expected);
}

TEST(DecodeStreams, EventsOfAPipeAppearBeforeItsEnd) {
  Command command({"decode", "--format", "jsonl"});
  command.write("RECV 08 00\n");
  EXPECT_NE(command.readUntil("\"pressed\""), "");
  command.write("RECV 00 00\n");
  EXPECT_NE(command.readUntil("\"released\""), "");
  EXPECT_EQ(command.finish().exitCode, 0);
}

TEST(DecodeStreams, ClosedOutputEndsQuietly) {
  const TemporaryDirectory directory;
  const std::string file = directory.file("capture.txt", simulatedCapture({"--bytes", "2M"}));
  Command command({"decode", "--format", "jsonl", file});
  command.closeOutput();
  const CommandResult result = command.finish();
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.errors, "");
}

class InterruptedDecode : public testing::TestWithParam<int> {};

TEST_P(InterruptedDecode, LeavesWholeVoiceFilesAndEndsByTheSignal) {
  const TemporaryDirectory directory;
  Command command({"decode", "--format", "jsonl", "--wav", "--voice", directory.path().native()});
  const std::string prefix(50, ' ');
  const std::string start = prefix + "RECV40 20 09 00 05 00 04 00 1b 23 00 00 10\n";
  const std::string frame =
      prefix + "RECV40 20 0f 00 0b 00 04 00 1b 36 00 01 02 03 04 03 b8 ff fe\n";
  command.write(start + frame + frame + frame);
  command.readUntil("voiceFrame");
  command.send(GetParam());
  const CommandResult result = command.finish();
  EXPECT_EQ(result.signal, GetParam());

  const std::string opus = readText(directory.path() / "voice-001.opus");
  const std::size_t lastPage = opus.rfind("OggS");
  ASSERT_NE(lastPage, std::string::npos);
  constexpr char endOfStream = 0x04;
  EXPECT_EQ(opus[lastPage + 5] & endOfStream, endOfStream);
  constexpr std::size_t wavHeaderSize = 44;
  constexpr std::size_t frames = 2;  // The third is delivered only when a fourth begins.
  EXPECT_EQ(readText(directory.path() / "voice-001.wav").size(), wavHeaderSize + frames * 640);
}

INSTANTIATE_TEST_SUITE_P(BySignal, InterruptedDecode, testing::Values(SIGINT, SIGTERM));

}  // namespace
}  // namespace tessline::test
