#include "cli/simulate/VoicePackets.h"

#include "cli/voice/WavFile.h"

#include <algorithm>
#include <array>
#include <memory>
#include <stdexcept>
#include <string>

#include <opus.h>

namespace tessline::cli {

namespace {

constexpr std::uint8_t expectedTableOfContents = 0xB8;
constexpr std::size_t largestPacket = 255;
constexpr opus_int32 bitsPerSecond = 32000;

struct EncoderDeleter {
  void operator()(OpusEncoder* encoder) const { opus_encoder_destroy(encoder); }
};
using EncoderPointer = std::unique_ptr<OpusEncoder, EncoderDeleter>;

void require(int result) {
  if (result < 0) throw std::runtime_error(std::string("Opus encoder: ") + opus_strerror(result));
}

EncoderPointer makeEncoder() {
  int error = OPUS_OK;
  EncoderPointer encoder(
      opus_encoder_create(voiceSampleRate, 1, OPUS_APPLICATION_RESTRICTED_LOWDELAY, &error));
  require(error);
  require(opus_encoder_ctl(encoder.get(), OPUS_SET_BANDWIDTH(OPUS_BANDWIDTH_WIDEBAND)));
  require(opus_encoder_ctl(encoder.get(), OPUS_SET_BITRATE(bitsPerSecond)));
  require(opus_encoder_ctl(encoder.get(), OPUS_SET_VBR(1)));
  require(opus_encoder_ctl(encoder.get(), OPUS_SET_VBR_CONSTRAINT(1)));
  return encoder;
}

}  // namespace

VoicePackets VoicePackets::encode(std::span<const std::int16_t> samples) {
  const EncoderPointer encoder = makeEncoder();
  VoicePackets packets;
  std::array<std::int16_t, samplesPerVoicePacket> block{};
  std::array<std::uint8_t, largestPacket> packet{};
  for (std::size_t begin = 0; begin < samples.size(); begin += block.size()) {
    const auto some = samples.subspan(begin, std::min(block.size(), samples.size() - begin));
    std::fill(std::copy(some.begin(), some.end(), block.begin()), block.end(), std::int16_t{0});
    const opus_int32 length = opus_encode(encoder.get(), block.data(), samplesPerVoicePacket,
                                          packet.data(), static_cast<opus_int32>(packet.size()));
    require(length);
    if (packet[0] != expectedTableOfContents) {
      throw std::runtime_error("Opus encoder: not the kind of packet that the remote sends");
    }
    packets.bytes_.insert(packets.bytes_.end(), packet.begin(), packet.begin() + length);
    packets.ends_.push_back(packets.bytes_.size());
  }
  return packets;
}

std::span<const std::uint8_t> VoicePackets::operator[](std::size_t index) const {
  const std::size_t begin = index == 0 ? 0 : ends_[index - 1];
  return std::span(bytes_).subspan(begin, ends_[index] - begin);
}

}  // namespace tessline::cli
