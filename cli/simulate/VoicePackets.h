/// @file
/// What the simulated microphone sends.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace tessline::cli {

/// Samples in one packet: 20 ms at 16 kHz.
inline constexpr std::size_t samplesPerVoicePacket = 320;

/// A sequence of Opus packets as a remote makes them: CELT-only, wideband, 20 ms, mono, 16 kHz, one
/// frame a packet, so that each begins with the byte 0xB8; 1 to 255 bytes long. Immutable.
class VoicePackets {
 public:
  /// Encodes samples at 16 kHz, mono, with one fresh encoder. The last packet is filled up with
  /// silence. About 32 kbit/s, constrained to stay close to it but of varying length, so that each
  /// frame's length byte matters to whoever reads it. Throws std::runtime_error when the codec
  /// refuses to work.
  static VoicePackets encode(std::span<const std::int16_t> samples);

  std::size_t size() const { return ends_.size(); }
  std::span<const std::uint8_t> operator[](std::size_t index) const;

 private:
  std::vector<std::uint8_t> bytes_;
  std::vector<std::size_t> ends_;
};

}  // namespace tessline::cli
