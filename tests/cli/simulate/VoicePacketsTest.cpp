#include "cli/simulate/Melody.h"
#include "cli/simulate/VoicePackets.h"
#include "tests/cli/simulate/PlayedScenario.h"
#include "tests/cli/voice/VoiceTestSupport.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include <gtest/gtest.h>
#include <opus.h>

namespace tessline::test {
namespace {

using Samples = std::vector<std::int16_t>;

std::vector<ByteVector> packetsOf(const cli::VoicePackets& voice) {
  std::vector<ByteVector> packets;
  for (std::size_t index = 0; index < voice.size(); ++index) {
    packets.emplace_back(voice[index].begin(), voice[index].end());
  }
  return packets;
}

/// What libopus itself makes of samples whose number is a multiple of 320.
std::vector<ByteVector> libopusPackets(const Samples& samples) {
  int error = 0;
  OpusEncoder* const encoder =
      opus_encoder_create(16000, 1, OPUS_APPLICATION_RESTRICTED_LOWDELAY, &error);
  opus_encoder_ctl(encoder, OPUS_SET_BANDWIDTH(OPUS_BANDWIDTH_WIDEBAND));
  opus_encoder_ctl(encoder, OPUS_SET_BITRATE(32000));
  std::vector<ByteVector> packets;
  for (std::size_t begin = 0; begin < samples.size(); begin += 320) {
    std::array<std::uint8_t, 255> packet{};
    const int size = opus_encode(encoder, samples.data() + begin, 320, packet.data(), 255);
    packets.emplace_back(packet.begin(), packet.begin() + size);
  }
  opus_encoder_destroy(encoder);
  return packets;
}

Samples sine(std::size_t count) {
  Samples samples(count);
  for (std::size_t index = 0; index < count; ++index) {
    samples[index] = static_cast<std::int16_t>(9000 * std::sin(static_cast<double>(index) * 0.17));
  }
  return samples;
}

double loudness(const Samples& samples) {
  double sum = 0;
  for (const std::int16_t sample : samples) sum += double{1} * sample * sample;
  return std::sqrt(sum / static_cast<double>(samples.size()));
}

TEST(VoicePackets, AreOfTheKindTheRemoteSends) {
  for (const ByteVector& packet : packetsOf(melodyPackets())) {
    EXPECT_EQ(packet[0], 0xB8);
    EXPECT_LE(packet.size(), 255U);
    EXPECT_EQ(opus_packet_get_nb_samples(packet.data(), static_cast<int>(packet.size()), 16000),
              320);
  }
}

TEST(VoicePackets, AreWhatLibopusMakes) {
  const Samples samples = sine(50 * cli::samplesPerVoicePacket);
  EXPECT_EQ(packetsOf(cli::VoicePackets::encode(samples)), libopusPackets(samples));
}

TEST(VoicePackets, BeginAfreshWithEveryEncoding) {
  const Samples samples = sine(20 * cli::samplesPerVoicePacket);
  EXPECT_EQ(packetsOf(cli::VoicePackets::encode(samples)),
            packetsOf(cli::VoicePackets::encode(samples)));
}

TEST(VoicePackets, FillTheLastOneUpWithSilence) {
  Samples samples = sine(700);
  const auto packets = packetsOf(cli::VoicePackets::encode(samples));
  samples.resize(960);
  EXPECT_EQ(packets, libopusPackets(samples));
}

TEST(VoicePackets, AreNoneForNoSamples) {
  EXPECT_EQ(cli::VoicePackets::encode({}).size(), 0U);
}

TEST(VoicePackets, TakeAboutThirtyTwoKilobitsASecondInVaryingSizes) {
  std::vector<std::size_t> sizes;
  double total = 0;
  for (const ByteVector& packet : packetsOf(melodyPackets())) {
    sizes.push_back(packet.size());
    total += static_cast<double>(packet.size());
  }
  EXPECT_NEAR(total / static_cast<double>(sizes.size()), 80, 10);
  EXPECT_GT(*std::max_element(sizes.begin(), sizes.end()),
            *std::min_element(sizes.begin(), sizes.end()) + 20);
}

TEST(VoicePackets, SoundLikeTheMelody) {
  const Samples original = cli::melody();
  const Samples decoded = libopusSamples(packetsOf(melodyPackets()));
  constexpr std::size_t delay = 40;
  Samples difference;
  for (std::size_t index = delay; index < original.size(); ++index) {
    difference.push_back(static_cast<std::int16_t>(decoded[index] - original[index - delay]));
  }
  EXPECT_LT(loudness(difference), loudness(original) / 4);
}

TEST(Melody, LastsAFewSecondsAndIsNeitherFaintNorClipped) {
  const Samples samples = cli::melody();
  const std::size_t seconds = samples.size() / 16000;
  EXPECT_GE(seconds, 3U);
  EXPECT_LE(seconds, 10U);
  int peak = 0;
  for (const std::int16_t sample : samples) peak = std::max(peak, std::abs(int{sample}));
  EXPECT_GT(peak, 6000);
  EXPECT_LT(peak, 30000);
}

}  // namespace
}  // namespace tessline::test
