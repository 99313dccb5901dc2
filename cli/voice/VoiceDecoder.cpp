#include "cli/voice/VoiceDecoder.h"

#include <new>

#include <opus.h>

namespace tessline::cli {

namespace {

constexpr int maximumFramesPerPacket = 48;
/// What libopus takes for a lost packet.
constexpr std::span<const std::uint8_t> lostPacket;

opus_int32 sizeOf(std::span<const std::uint8_t> packet) {
  return static_cast<opus_int32>(packet.size());
}

}  // namespace

VoiceDecoder::VoiceDecoder() {
  int error = OPUS_OK;
  decoder_.reset(opus_decoder_create(voiceSampleRate, 1, &error));
  // The arguments are constants that libopus takes, so memory is all that can be wanting.
  if (decoder_ == nullptr) throw std::bad_alloc();
}

void VoiceDecoder::Destroy::operator()(OpusDecoder* decoder) const {
  opus_decoder_destroy(decoder);
}

bool VoiceDecoder::accepts(std::span<const std::uint8_t> packet) {
  if (packet.empty()) return false;
  std::array<opus_int16, maximumFramesPerPacket> sizes{};
  const bool isWellFormed =
      opus_packet_parse(packet.data(), sizeOf(packet), nullptr, nullptr, sizes.data(), nullptr) > 0;
  return isWellFormed && opus_packet_get_nb_samples(packet.data(), sizeOf(packet),
                                                    voiceSampleRate) == int{samplesPerPacket};
}

bool VoiceDecoder::decode(std::span<const std::uint8_t> packet) {
  if (accepts(packet) && decodeInto(packet)) return true;
  if (!decodeInto(lostPacket)) samples_.fill(0);
  return false;
}

bool VoiceDecoder::decodeInto(std::span<const std::uint8_t> packet) {
  constexpr int withoutForwardErrorCorrection = 0;
  return opus_decode(decoder_.get(), packet.data(), sizeOf(packet), samples_.data(),
                     int{samplesPerPacket}, withoutForwardErrorCorrection) == int{samplesPerPacket};
}

}  // namespace tessline::cli
