/// @file
/// Opus packets of the remote's microphone back into sound.
#pragma once

#include "cli/voice/WavFile.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

struct OpusDecoder;

namespace tessline::cli {

/// Decodes the packets of one voice session, in order, into 16-bit PCM at `voiceSampleRate`, mono.
/// Every packet yields exactly 20 ms, a damaged one too: what it replaces is concealed, so that the
/// sound keeps its length. Decoding allocates nothing. Not synchronised.
class VoiceDecoder {
 public:
  /// 20 ms.
  static constexpr std::size_t samplesPerPacket = std::size_t{voiceSampleRate} / 50;

  VoiceDecoder();

  /// Whether `packet` is an Opus packet of 20 ms by its layout, which is what decides whether it
  /// can be decoded. Cheap: looks at the packet's headers alone.
  static bool accepts(std::span<const std::uint8_t> packet);

  /// Decodes one packet into `samples()`. Returns false when the packet was refused and the samples
  /// are a continuation of the sound before it.
  bool decode(std::span<const std::uint8_t> packet);

  /// The sound of the packet decoded last; silence before the first.
  std::span<const std::int16_t, samplesPerPacket> samples() const { return samples_; }

 private:
  struct Destroy {
    void operator()(OpusDecoder* decoder) const;
  };

  bool decodeInto(std::span<const std::uint8_t> packet);

  std::unique_ptr<OpusDecoder, Destroy> decoder_;
  std::array<std::int16_t, samplesPerPacket> samples_{};
};

}  // namespace tessline::cli
