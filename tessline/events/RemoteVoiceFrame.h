/// @file
/// One Opus packet of the remote's microphone.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace tessline {

/// A complete voice frame: a length byte and that many bytes of one Opus packet (16 kHz mono, 20
/// ms).
struct RemoteVoiceFrame {
  std::int64_t declaredByteCount = 0;     ///< What the length byte says: 0 to 255.
  std::vector<std::uint8_t> packetBytes;  ///< The Opus packet, `declaredByteCount` bytes.
  std::vector<std::uint8_t> rawBytes;     ///< As on the wire: the length byte, then the packet.

  /// Reads the frame at the front of `rawBytes`; bytes after it are left out.
  /// None when `rawBytes` is empty or holds fewer bytes than its first byte declares.
  static std::optional<RemoteVoiceFrame> fromRawBytes(std::span<const std::uint8_t> rawBytes);

  bool operator==(const RemoteVoiceFrame&) const = default;
};

}  // namespace tessline
