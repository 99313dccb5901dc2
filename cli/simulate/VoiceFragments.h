/// @file
/// How a voice frame is laid out in the packets of a capture.
#pragma once

#include "cli/simulate/PayloadLayouts.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace tessline::cli {

/// What stands before a frame's length byte in the notification that carries it.
enum class VoiceForm : std::uint8_t {
  shortForm,  ///< Four bytes: length byte at index 15, or 16 with a leading byte.
  longForm,   ///< Six bytes: length byte at index 17, or 18 with a leading byte.
};

/// How the frames of one session are sent.
struct VoiceFrameLayout {
  PacketFraming framing = PacketFraming::handle;
  VoiceForm form = VoiceForm::shortForm;
  /// The most ACL data bytes that one packet carries, at least 27 as every controller offers.
  std::size_t packetCapacity = 251;
};

inline constexpr std::array voiceFramings = {PacketFraming::handle, PacketFraming::leadingByte};
inline constexpr std::array voiceForms = {VoiceForm::shortForm, VoiceForm::longForm};
/// Frames of about 80 bytes take three packets, two and one.
inline constexpr std::array<std::size_t, 3> voicePacketCapacities = {40, 60, 251};

/// Splits voice frames into packets, and sees to it that each packet is read as what it is: Opus
/// bytes may by chance look like a button report, or like the beginning of another frame. Where
/// they do, the frame is cut at another place or sent in the long form. Reuses its storage.
class VoiceFragments {
 public:
  /// Makes the packets for one Opus packet of 1 to 255 bytes, the first of them 0xB8. `sequence`
  /// numbers the frames of a session.
  void split(std::span<const std::uint8_t> opusPacket, const VoiceFrameLayout& layout,
             std::uint16_t sequence);

  std::size_t size() const { return ends_.size(); }
  std::span<const std::uint8_t> operator[](std::size_t index) const;

 private:
  void appendFirst(std::span<const std::uint8_t> opusPacket, const VoiceFrameLayout& layout,
                   VoiceForm form, std::uint16_t sequence);

  std::vector<std::uint8_t> bytes_;
  std::vector<std::size_t> ends_;
  std::span<const std::uint8_t> rest_;
};

}  // namespace tessline::cli
