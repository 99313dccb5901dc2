/// @file
/// Which captured packets are a remote's.
#pragma once

#include "tessline/events/TesslineEvent.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace tessline {

/// Tests of the bytes that the tool prints of a packet: an ACL packet, in front of which one more
/// byte may stand. The remote's are told by their shape. Buttons and sessions are handle-value
/// notifications (0x1B) of the handles 0x0023 and 0x003A, button reports those of any handle; a
/// voice frame is told by its first byte, in a notification of 0x0036 or two bytes further behind
/// in any first fragment. Pure functions; every read stays within the bytes.
struct PacketLoggerPayload {
  /// How many bytes a preview shows.
  static constexpr std::size_t previewSize = 24;

  /// Whether one of the seven notifications of buttons and sessions stands anywhere.
  static bool containsKnownSiriRemoteControlMarker(std::span<const std::uint8_t> payload);
  /// Whether one of the four of those that begin or end a voice session does.
  static bool containsKnownVoiceBoundaryMarker(std::span<const std::uint8_t> payload);
  /// Whether it is a first fragment in which a voice frame begins.
  static bool isSiriRemoteVoiceFrameStart(std::span<const std::uint8_t> payload);
  /// Whether it is a continuation fragment, of whatever.
  static bool isSiriRemoteVoiceContinuation(std::span<const std::uint8_t> payload);
  /// Whether the first 0xFB, which marks a button report, stands behind a notification.
  static bool isSiriRemoteButtonReport(std::span<const std::uint8_t> payload);

  /// The first `previewSize` bytes, for people: "1B 23 00".
  static std::string payloadPreview(std::span<const std::uint8_t> payload);

  /// Whether someone who looks for voice wants to see a packet that meant these events: while voice
  /// is collected or begins, but not where it ends.
  static bool shouldPrintDebugPayload(bool wasCollectingVoice,
                                      std::span<const TesslineEvent> events);
};

}  // namespace tessline
