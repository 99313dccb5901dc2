#include "cli/voice/VoiceDecoder.h"
#include "tests/cli/voice/VoiceTestSupport.h"

#include <cstddef>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::cli {
namespace {

using test::ByteVector;

const ByteVector lost;
/// Two frames of 20 ms, so 40 ms.
const ByteVector twiceAsLong = {0xB9, 0x11, 0x22};
/// One frame of 10 ms.
const ByteVector halfAsLong = {0xB0, 0x11, 0x22};
/// Two frames of the same size in an odd number of bytes.
const ByteVector malformed = {0xB1, 0x11, 0x22, 0x33};

class VoiceDecoding : public testing::Test {
 protected:
  /// Decodes the next packet and returns whether it was accepted.
  bool decode(const ByteVector& packet) {
    const bool isAccepted = decoder_.decode(packet);
    samples_.insert(samples_.end(), decoder_.samples().begin(), decoder_.samples().end());
    return isAccepted;
  }

  VoiceDecoder decoder_;
  std::vector<std::int16_t> samples_;
};

TEST_F(VoiceDecoding, IsSilentBeforeTheFirstPacket) {
  for (const std::int16_t sample : decoder_.samples()) EXPECT_EQ(sample, 0);
}

TEST_F(VoiceDecoding, YieldsWhatLibopusYields) {
  const auto packets = test::encodedPackets(75);
  for (const ByteVector& packet : packets) EXPECT_TRUE(decode(packet));
  EXPECT_EQ(samples_, test::libopusSamples(packets));
}

TEST_F(VoiceDecoding, ConcealsWhatLibopusRefuses) {
  const auto good = test::encodedPackets(12);
  std::vector<ByteVector> expected;
  for (const ByteVector& bad : {lost, twiceAsLong, halfAsLong, malformed}) {
    for (const ByteVector& packet : good) {
      EXPECT_TRUE(decode(packet));
      expected.push_back(packet);
    }
    EXPECT_FALSE(decode(bad));
    expected.push_back(lost);
  }
  EXPECT_EQ(samples_, test::libopusSamples(expected));
}

TEST_F(VoiceDecoding, BeginsWithSilenceWhenTheFirstPacketIsRefused) {
  EXPECT_FALSE(decode(malformed));
  EXPECT_EQ(samples_, std::vector<std::int16_t>(320, 0));
}

TEST_F(VoiceDecoding, TellsByTheLayoutAloneWhatItAccepts) {
  for (const ByteVector& packet : test::encodedPackets(5)) {
    EXPECT_TRUE(VoiceDecoder::accepts(packet));
  }
  for (const ByteVector& bad : {lost, twiceAsLong, halfAsLong, malformed}) {
    EXPECT_FALSE(VoiceDecoder::accepts(bad));
  }
}

TEST_F(VoiceDecoding, AcceptsByLayoutExactlyWhatItDecodes) {
  std::uint32_t random = 1;
  for (int round = 0; round < 20'000; ++round) {
    ByteVector packet;
    random = random * 1664525 + 1013904223;
    const std::size_t size = 1 + (random >> 16) % 40;
    while (packet.size() < size) {
      random = random * 1664525 + 1013904223;
      packet.push_back(static_cast<std::uint8_t>(random >> 24));
    }
    EXPECT_EQ(decoder_.decode(packet), VoiceDecoder::accepts(packet));
  }
}

}  // namespace
}  // namespace tessline::cli
