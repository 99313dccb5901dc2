/// @file
/// What a capture shows of itself.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tessline {

/// The state of a capture at one time.
struct PacketLoggerCaptureSnapshot {
  std::string status;                             ///< For people.
  bool isCapturing = false;                       ///< Whether the tool runs.
  std::optional<std::string> remoteAddress;       ///< The remote of the last start, if known.
  std::optional<std::string> packetLoggerPath;    ///< The tool of the last start, if any.
  std::int64_t parsedPacketCount = 0;             ///< Lines that were packets.
  std::int64_t acceptedPacketCount = 0;           ///< Packets that look like a remote's.
  std::int64_t acceptedVoiceLikePacketCount = 0;  ///< Of those, the ones that look like voice.
  std::int64_t emittedEventCount = 0;             ///< Events so far.
  std::optional<std::string> lastAcceptedPayloadPreview;  ///< At most 24 bytes, as "1B 23 00".

  bool operator==(const PacketLoggerCaptureSnapshot&) const = default;
};

}  // namespace tessline
