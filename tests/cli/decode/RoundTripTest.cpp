#include "cli/simulate/VoicePackets.h"
#include "cli/voice/WavFile.h"
#include "tests/cli/support/Command.h"
#include "tests/cli/voice/VoiceTestSupport.h"
#include "tests/support/Files.h"

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <numbers>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

constexpr int frameSize = 320;  // 20 ms at 16 kHz.

// A rising tone with a tremolo, `frames` times 20 ms and a bit.
std::vector<std::int16_t> speech(int frames) {
  std::vector<std::int16_t> samples(static_cast<std::size_t>(frames * frameSize));
  for (std::size_t index = 0; index < samples.size(); ++index) {
    const double time = static_cast<double>(index) / cli::voiceSampleRate;
    const double tone = std::sin(2 * std::numbers::pi * (200 + 300 * time) * time);
    samples[index] = static_cast<std::int16_t>(9000 * tone * (1 + 0.5 * std::sin(40 * time)));
  }
  return samples;
}

TEST(RoundTrip, SpeechThroughSimulateAndDecodeSoundsAsLibopusAloneWouldMakeIt) {
  const TemporaryDirectory directory;
  cli::WavWriter wav(directory / "speech.wav");
  wav.write(speech(75));
  wav.finish();

  const CommandResult capture =
      runCommand({"simulate", "--duration", "60", "--speech", (directory / "speech.wav").native()});
  ASSERT_EQ(capture.exitCode, 0) << capture.errors;
  const std::string file = directory.file("capture.txt", capture.output);
  const CommandResult decoded =
      runCommand({"decode", "--summary", "--wav", "--voice", (directory / "voice").native(), file});
  ASSERT_EQ(decoded.exitCode, 0) << decoded.errors;

  const cli::VoicePackets spoken = cli::VoicePackets::encode(speech(75));
  std::vector<ByteVector> spokenPackets;
  for (std::size_t index = 0; index < spoken.size(); ++index) {
    spokenPackets.emplace_back(spoken[index].begin(), spoken[index].end());
  }
  std::size_t wholeSessions = 0;
  for (const auto& entry : std::filesystem::directory_iterator(directory / "voice")) {
    if (entry.path().extension() != ".wav") continue;
    auto opusFile = entry.path();
    if (readOpusPackets(opusFile.replace_extension(".opus")) != spokenPackets) continue;
    ++wholeSessions;
    EXPECT_EQ(cli::readWav(entry.path()), libopusSamples(spokenPackets)) << entry.path();
  }
  EXPECT_GE(wholeSessions, 5U);
}

TEST(RoundTrip, SampleCaptureDecodesAsRecordedBesideIt) {
  const std::filesystem::path data = std::filesystem::path(TESSLINE_SOURCE_DIR) / "tests/data";
  const CommandResult result =
      runCommand({"decode", "--format", "jsonl", (data / "living-room.txt").native()});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_TRUE(result.output == readText(data / "living-room.jsonl"));
}

}  // namespace
}  // namespace tessline::test
